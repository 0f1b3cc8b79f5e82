// Bookmark data over the platform's bookmarks: statuses for errno, the progress object's flag for the search's.
#include "VKCoreKit/VKFileBookmark.h"

#include "CoreFoundation/CFQt.h"
#include "Platform/Bookmarks.h"
#include "VKCoreKit/VKCFRef.h"
#include "VKCoreKit/VKFileMgrUrl.h"

#include <cerrno>

namespace {

VKStatus give(const QByteArray& bytes, CFDataRef* data) {
    *data = CFDataCreateWithQByteArray(bytes);
    return kVKStatusSuccess;
}

VKPlatform::DocumentRights rightsOf(VKFileRights rights) {
    return rights == VKFileRights::Read ? VKPlatform::DocumentRights::Read
                                        : VKPlatform::DocumentRights::ReadAndWrite;
}

} // namespace

VKStatus VKFileMgrCreateBookmarkFromChooser(CFStringRef url, CFDataRef* data) {
    if (url == nullptr || data == nullptr) {
        return kVKStatusBadArgument;
    }
    const auto file = VKCFRef<CFURLRef>::adopt(CFURLCreateWithString(nullptr, url, nullptr));
    if (!file) {
        return kVKStatusNotConvertible;
    }
    return withFile(file.get(), [data](const QByteArray& path) {
        QByteArray bytes;
        const int error = VKPlatform::createBookmark(path, bytes);
        return error == 0 ? give(bytes, data) : static_cast<VKStatus>(error);
    });
}

VKStatus VKFileMgrResolveBookmark(CFDataRef data, VKProgress* progress, CFURLRef* url, bool* isStale) {
    if (data == nullptr || url == nullptr) {
        return kVKStatusBadArgument;
    }
    return statusOf([&] {
        VKPlatform::SearchLimits limits;
        limits.isCancelled = [progress] { return VKProgressGetCancel(progress); };
        VKPlatform::ResolvedBookmark item;
        const int error = VKPlatform::resolveBookmark(CFDataCopyQByteArray(data), limits, item);
        if (error != 0) {
            return error == ECANCELED ? kVKStatusCancelled : static_cast<VKStatus>(error);
        }
        *url = CFURLCreateFromFileSystemRepresentation(nullptr,
                                                       reinterpret_cast<const UInt8*>(item.path.constData()),
                                                       item.path.size(), item.isFolder ? 1 : 0);
        if (isStale != nullptr) {
            *isStale = item.isStale;
        }
        return kVKStatusSuccess;
    });
}

VKStatus VKFileMgrGrantBookmark(CFURLRef url, CFStringRef application, VKFileRights rights, CFDataRef* data) {
    if (application == nullptr || data == nullptr) {
        return kVKStatusBadArgument;
    }
    return withFile(url, [&](const QByteArray& path) {
        QByteArray bytes;
        const int error = VKPlatform::createBookmarkFor(CFStringCopyQString(application).toUtf8(),
                                                        rightsOf(rights), path, bytes);
        return error == 0 ? give(bytes, data) : static_cast<VKStatus>(error);
    });
}

VKStatus VKFileMgrWithdrawBookmark(CFDataRef data, CFStringRef application) {
    if (data == nullptr || application == nullptr) {
        return kVKStatusBadArgument;
    }
    return statusOf([&] {
        return VKPlatform::withdrawBookmark(CFDataCopyQByteArray(data),
                                            CFStringCopyQString(application).toUtf8());
    });
}
