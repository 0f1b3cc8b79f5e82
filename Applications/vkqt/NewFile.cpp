// A file that may not overwrite gets its content under a hidden name beside its place, and then its name, exclusively.
#include "NewFile.h"

#include "Interruption.h"
#include "Results.h"

#include <CoreFoundation/CFQt.h>
#include <VKCoreKit/VKFileMgr.h>

#include <QRandomGenerator>

#include <cerrno>
#include <sys/stat.h>

namespace VKTool {

namespace {

/// New files of the process are for their owner only while one lives.
class OwnerOnlyMask {
public:
    explicit OwnerOnlyMask(Readers readers) : mBefore(::umask(0)) {
        ::umask(readers == Readers::OwnerOnly ? S_IRWXG | S_IRWXO : mBefore);
    }
    OwnerOnlyMask(const OwnerOnlyMask&) = delete;
    OwnerOnlyMask& operator=(const OwnerOnlyMask&) = delete;
    ~OwnerOnlyMask() { ::umask(mBefore); }

private:
    mode_t mBefore;
};

VKCFRef<CFURLRef> hiddenSibling(CFURLRef url) {
    const QByteArray path = bytesOf(url);
    const QByteArray folder = path.left(path.lastIndexOf('/') + 1);
    const QByteArray name = ".vkqt-" + QByteArray::number(QRandomGenerator::system()->generate64(), 16);
    const QByteArray sibling = folder + name;
    return VKCFRef<CFURLRef>::adopt(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(sibling.constData()), sibling.size(), false));
}

} // namespace

VKStatus writeFile(const VKQtPath& path, const QByteArray& content, Existing existing, Readers readers) {
    const auto url = VKCFRef<CFURLRef>::adopt(path.createCFUrl());
    const auto data = VKCFRef<CFDataRef>::adopt(CFDataCreateWithQByteArray(content));
    if (!url || !data) {
        return kVKStatusNotConvertible;
    }
    const OwnerOnlyMask mask(readers);
    // Ctrl-C would leave the hidden file, which may be large.
    const Interruption waits(nullptr);
    if (existing == Existing::Replace) {
        return VKFileMgrWriteFileContents(data.get(), url.get());
    }
    const VKCFRef<CFURLRef> hidden = hiddenSibling(url.get());
    VKStatus status = VKFileMgrWriteFileContents(data.get(), hidden.get());
    if (status == kVKStatusSuccess) {
        status = VKFileMgrMoveFile(hidden.get(), url.get());
    }
    if (status != kVKStatusSuccess) {
        // Also after a failed write: it may be there, and only its folder could not be flushed.
        static_cast<void>(VKFileMgrDeleteFile(hidden.get()));
    }
    return status;
}

} // namespace VKTool
