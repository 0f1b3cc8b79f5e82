// Between a path's text, the URL with the bytes on disk, and the platform's answers about them.
#include "VKCoreKit/VKFileMgr.h"

#include "Platform/OnDiskName.h"
#include "Platform/Utf8.h"
#include "VKCoreKit/VKCFRef.h"
#include "VKCoreKit/VKItemDetailsInternal.h"
#include "VKCoreKit/VKUtils.h"

#include <CoreFoundation/CFQt.h>

CFURLRef VKFileMgrCreateFileSystemRepresentation(CFStringRef path, bool isFolder) {
    if (path == nullptr || CFStringGetLength(path) == 0) {
        return nullptr;
    }
    const std::optional<QByteArray> bytes = VKPlatform::onDiskPath(CFStringCopyQString(path));
    if (!bytes) {
        return nullptr;
    }
    return CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
                                                   reinterpret_cast<const UInt8*>(bytes->constData()),
                                                   static_cast<CFIndex>(bytes->size()), isFolder);
}

CFStringRef VKFileMgrGetFileSystemRepresentationCopy(CFURLRef url) {
    const QByteArray bytes = CFURLCopyFileSystemBytes(url);
    return bytes.isNull() ? nullptr : CFStringCreateWithQString(VKPlatform::decodeUtf8(bytes));
}

UniChar* VKFileMgrGetFileSystemRepresentationUnicharCopy(CFURLRef url) {
    const auto path = VKCFRef<CFStringRef>::adopt(VKFileMgrGetFileSystemRepresentationCopy(url));
    return VKUtilsGetUniCharStringCopy(path.get());
}

bool VKFileMgrPathExists(CFURLRef url) {
    const QByteArray bytes = CFURLCopyFileSystemBytes(url);
    return !bytes.isNull() && VKPlatform::fileExists(bytes) == 0;
}

VKStatus VKFileMgrGetItemDetails(CFURLRef url, bool followLinks, VKItemDetails* details) {
    if (url == nullptr || details == nullptr) {
        return kVKStatusBadArgument;
    }
    const QByteArray bytes = CFURLCopyFileSystemBytes(url);
    if (bytes.isNull()) {
        return kVKStatusNotConvertible;
    }
    VKPlatform::FileDetails facts;
    const int error = VKPlatform::fileDetails(bytes, linkRule(followLinks), facts);
    if (error == 0) {
        *details = itemDetails(facts);
    }
    return static_cast<VKStatus>(error);
}
