// Well-known folders: the machine's own, and those that an application or a test puts elsewhere.
#include "VKCoreKit/VKFileMgr.h"

#include "CoreFoundation/CFQt.h"
#include "Platform/OnDiskName.h"
#include "Platform/UserFolders.h"
#include "Platform/Utf8.h"
#include "VKCoreKit/VKCFRef.h"
#include "VKCoreKit/VKFoldersInternal.h"

#include <map>
#include <mutex>

namespace {

/// What the process was told. Never destroyed: threads may outlive main().
struct ToldPlaces {
    std::mutex mutex;
    std::map<std::int32_t, VKCFRef<CFURLRef>> folders;
    VKCFRef<CFURLRef> factoryContent;
};

ToldPlaces& toldPlaces() {
    static auto* const sPlaces = new ToldPlaces;
    return *sPlaces;
}

VKCFRef<CFURLRef> toldFolder(VKFolderType type) {
    ToldPlaces& places = toldPlaces();
    const std::lock_guard lock(places.mutex);
    const auto found = places.folders.find(type);
    return found == places.folders.end() ? VKCFRef<CFURLRef>() : found->second;
}

/// The maker's folder in a base folder; empty without one.
QByteArray makersFolder(const QByteArray& base) { return base.isEmpty() ? base : QByteArray(base + "/VK"); }

/// The machine's own; empty where it has none.
QByteArray machinesFolder(VKFolderType type) {
    switch (type) {
    case kVKFolderUserAppData:
    case kVKFolderRawWork:
        return makersFolder(VKPlatform::userDataFolder());
    case kVKFolderUserCaches:
        return makersFolder(VKPlatform::userCacheFolder());
    case kVKFolderTemporaryItems:
        return VKPlatform::temporaryFolder();
    case kVKFolderCloudDocuments: // programs that synchronise keep their own
        break;
    }
    return QByteArray();
}

VKPlatform::UserFolder platformKind(VKUserFolder folder) {
    switch (folder) {
    case VKUserFolder::Desktop:
        return VKPlatform::UserFolder::Desktop;
    case VKUserFolder::Documents:
        return VKPlatform::UserFolder::Documents;
    case VKUserFolder::Downloads:
        return VKPlatform::UserFolder::Downloads;
    case VKUserFolder::Music:
        return VKPlatform::UserFolder::Music;
    case VKUserFolder::Pictures:
        return VKPlatform::UserFolder::Pictures;
    case VKUserFolder::Videos:
        break;
    }
    return VKPlatform::UserFolder::Videos;
}

} // namespace

VKStatus VKFileMgrGetFolderPathCopy(void* /*domain*/, VKFolderType type, CFStringRef subfolder,
                                    CFURLRef* url) {
    if (url == nullptr) {
        return kVKStatusBadArgument;
    }
    *url = nullptr;
    QByteArray path;
    const VKStatus status = wellKnownFolder(type, path);
    if (status != kVKStatusSuccess) {
        return status;
    }
    if (subfolder != nullptr && CFStringGetLength(subfolder) > 0) {
        std::optional<QByteArray> below = pathInFolder(path, CFStringCopyQString(subfolder));
        if (!below) {
            return kVKStatusNotConvertible;
        }
        path = *std::move(below);
    }
    *url = createFolderUrl(path);
    return kVKStatusSuccess;
}

void VKFileMgrSetFolderPath(VKFolderType type, CFURLRef url) {
    ToldPlaces& places = toldPlaces();
    const std::lock_guard lock(places.mutex);
    if (url == nullptr) {
        places.folders.erase(type);
    } else {
        places.folders[type] = VKCFRef<CFURLRef>::retain(url);
    }
}

VKStatus VKFileMgrGetUserFolderCopy(VKUserFolder folder, CFURLRef* url) {
    if (url == nullptr) {
        return kVKStatusBadArgument;
    }
    *url = nullptr;
    const std::optional<QByteArray> path = VKPlatform::userFolder(platformKind(folder));
    if (!path) {
        return kVKStatusCancelled;
    }
    *url = createFolderUrl(*path);
    return kVKStatusSuccess;
}

void VKFileMgrSetFactoryContentLocation(CFURLRef folder) {
    ToldPlaces& places = toldPlaces();
    const std::lock_guard lock(places.mutex);
    places.factoryContent = VKCFRef<CFURLRef>::retain(folder);
}

CFURLRef VKFileMgrGetFactoryContentLocationCopy() {
    ToldPlaces& places = toldPlaces();
    const std::lock_guard lock(places.mutex);
    return VKCFRef<CFURLRef>(places.factoryContent).release();
}

std::optional<QByteArray> pathInFolder(const QByteArray& folder, QStringView name) {
    const QByteArray prefix = folder.endsWith('/') ? folder : QByteArray(folder + '/');
    std::optional<QByteArray> found =
        VKPlatform::onDiskPath(QString(VKPlatform::displayedName(prefix) + name));
    if (found && found->startsWith(prefix)) {
        return found;
    }
    // The folder's own bytes are known and decide; its text led to another one that reads the same.
    const std::optional<QByteArray> bytes =
        VKPlatform::encodeUtf8(name.toString().normalized(QString::NormalizationForm_C));
    return bytes && !bytes->contains('\0') ? std::optional<QByteArray>(prefix + *bytes) : std::nullopt;
}

CFURLRef createFolderUrl(const QByteArray& path) {
    return CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.constData()), path.size(), true);
}

VKStatus wellKnownFolder(VKFolderType type, QByteArray& path) {
    if (const VKCFRef<CFURLRef> told = toldFolder(type)) {
        path = CFURLCopyFileSystemBytes(told.get());
        if (path.isNull()) {
            return kVKStatusNotConvertible;
        }
    } else {
        path = machinesFolder(type);
        if (path.isEmpty()) {
            return kVKStatusCancelled;
        }
    }
    // The cloud's client makes its own folder: one that is made here would look like a synchronised one.
    return type == kVKFolderCloudDocuments ? kVKStatusSuccess
                                           : static_cast<VKStatus>(VKPlatform::makePrivateFolder(path));
}
