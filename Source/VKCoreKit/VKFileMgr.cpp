// Between a path's text, the URL with the bytes on disk, and the platform's answers about them.
#include "VKCoreKit/VKFileMgr.h"

#include "Platform/OnDiskName.h"
#include "Platform/Utf8.h"
#include "VKCoreKit/VKCFRef.h"
#include "VKCoreKit/VKItemDetailsInternal.h"
#include "VKCoreKit/VKUtils.h"

#include <CoreFoundation/CFQt.h>

namespace {

CFURLRef newUrlOfBytes(const QByteArray& path, bool isFolder) {
    return CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
                                                   reinterpret_cast<const UInt8*>(path.constData()),
                                                   static_cast<CFIndex>(path.size()), isFolder);
}

bool hasParentComponent(const QByteArray& path) {
    return path == ".." || path.startsWith("../") || path.endsWith("/..") || path.contains("/../");
}

} // namespace

CFURLRef VKFileMgrCreateFileSystemRepresentation(CFStringRef path, bool isFolder) {
    if (path == nullptr || CFStringGetLength(path) == 0) {
        return nullptr;
    }
    const std::optional<QByteArray> bytes = VKPlatform::onDiskPath(CFStringCopyQString(path));
    if (!bytes) {
        return nullptr;
    }
    auto url = VKCFRef<CFURLRef>::adopt(newUrlOfBytes(*bytes, isFolder));
    const CFURLRef base = url ? CFURLGetBaseURL(url.get()) : nullptr;
    if (base != nullptr && hasParentComponent(*bytes)) {
        // Resolving a relative URL takes ".." away together with the name before it, which may be a link's:
        // that would be another file than the path's. An absolute one keeps every component.
        QByteArray absolute = CFURLCopyFileSystemBytes(base);
        absolute += absolute.endsWith('/') ? "" : "/";
        url = VKCFRef<CFURLRef>::adopt(newUrlOfBytes(absolute + *bytes, isFolder));
    }
    return url.release();
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
