// Names that are made from other names: those of copies and of sidecars.
#include "VKCoreKit/VKFileMgr.h"

#include "Platform/FileFacts.h"
#include "Platform/OnDiskName.h"
#include "Platform/UniqueName.h"
#include "Platform/Utf8.h"
#include "VKCoreKit/VKFileMgrUrl.h"

namespace {

CFURLRef createUrl(const QByteArray& path, bool isFolder) {
    return CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
                                                   reinterpret_cast<const UInt8*>(path.constData()),
                                                   static_cast<CFIndex>(path.size()), isFolder);
}

/// The image's path with the suffix of its name replaced. A dot in front of a name begins no suffix.
QByteArray sidecarPath(const QByteArray& image) {
    const qsizetype name = image.lastIndexOf('/') + 1;
    const qsizetype dot = image.lastIndexOf('.');
    return (dot > name ? image.first(dot) : image) + ".xmp";
}

/// The sidecar as it is spelled on disk: as the text of its path leads to it; where that leads nowhere, with the
/// image's own bytes if these exist.
QByteArray sidecarOnDisk(const QByteArray& image) {
    const QByteArray own = sidecarPath(image);
    const std::optional<QByteArray> byText = VKPlatform::onDiskPath(VKPlatform::decodeUtf8(own));
    return byText && (*byText == own || VKPlatform::fileExists(own) != 0 ||
                      VKPlatform::fileExists(*byText) == 0)
               ? *byText
               : own;
}

} // namespace

CFURLRef VKFileMgrCreateUniquePathName(CFURLRef place, CFStringRef name, bool isFile, CFStringRef copyWord,
                                       int firstNumber) {
    const QByteArray beside = CFURLCopyFileSystemBytes(place);
    const qsizetype slash = beside.lastIndexOf('/');
    if (name == nullptr || copyWord == nullptr || slash < 0 || beside == "/") {
        return nullptr;
    }
    const QByteArray folder = beside.first(slash + 1);
    const auto shape = isFile ? VKPlatform::NameShape::File : VKPlatform::NameShape::Folder;
    QByteArray unique;
    const int error = VKPlatform::uniqueName(folder, CFStringCopyQString(name), shape,
                                             CFStringCopyQString(copyWord), firstNumber, unique);
    return error == 0 ? createUrl(folder + unique, !isFile) : nullptr;
}

VKStatus VKFileMgrCreateSidecarPathForImage(CFURLRef image, CFURLRef* sidecar) {
    if (sidecar == nullptr) {
        return kVKStatusBadArgument;
    }
    *sidecar = nullptr;
    return withFile(image, [sidecar](const QByteArray& path) {
        if (path == "/") {
            return kVKStatusBadArgument;
        }
        *sidecar = createUrl(sidecarOnDisk(path), false);
        return *sidecar != nullptr ? kVKStatusSuccess : kVKStatusNotConvertible;
    });
}
