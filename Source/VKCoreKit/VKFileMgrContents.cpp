// Whole files in and out.
#include "VKCoreKit/VKFileMgr.h"

#include "Platform/WholeFile.h"
#include "VKCoreKit/VKFileMgrUrl.h"

#include <atomic>

namespace {

std::atomic<std::uint64_t> gReadLimit = std::uint64_t{2} << 30;

} // namespace

VKStatus VKFileMgrWriteFileContents(CFDataRef data, CFURLRef url) {
    if (data == nullptr) {
        return kVKStatusBadArgument;
    }
    return withFile(url, [data](const QByteArray& path) {
        return VKPlatform::writeWholeFile(path, CFDataCopyQByteArray(data));
    });
}

VKStatus VKFileMgrGetFileContentsCopy(CFURLRef url, CFDataRef* out) {
    return VKFileMgrGetFileContentsWithLimitCopy(url, gReadLimit.load(std::memory_order_relaxed), out);
}

VKStatus VKFileMgrGetFileContentsWithLimitCopy(CFURLRef url, std::uint64_t limitInBytes, CFDataRef* out) {
    if (out == nullptr) {
        return kVKStatusBadArgument;
    }
    *out = nullptr;
    return withFile(url, [limitInBytes, out](const QByteArray& path) {
        QByteArray content;
        const int error = VKPlatform::readWholeFile(path, limitInBytes, content);
        if (error == 0) {
            *out = CFDataCreateWithQByteArray(content);
        }
        return error;
    });
}

void VKFileMgrSetReadLimit(std::uint64_t limitInBytes) noexcept {
    gReadLimit.store(limitInBytes, std::memory_order_relaxed);
}
