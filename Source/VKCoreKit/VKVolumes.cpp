// Volumes by URL and status: the storey below answers in bytes and errno.
#include "VKCoreKit/VKVolumes.h"

#include "CoreFoundation/CFQt.h"
#include "Platform/DiskService.h"
#include "Platform/MountWatcher.h"
#include "Platform/OnDiskName.h"
#include "Platform/Utf8.h"
#include "Platform/VolumeIdentity.h"
#include "Platform/VolumeMarker.h"
#include "Platform/VolumeMedia.h"
#include "Platform/VolumeNames.h"
#include "Platform/VolumeUnmount.h"
#include "Platform/Volumes.h"
#include "VKCoreKit/VKFileMgr.h"

#include <cerrno>
#include <optional>

using namespace VKPlatform;

namespace {

VKCFRef<CFURLRef> folderUrl(const QByteArray& place) {
    return VKCFRef<CFURLRef>::adopt(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(place.constData()), place.size(), true));
}

/// The bytes of the URL's path: 0, 1005 or 1002.
VKStatus bytesOf(CFURLRef url, QByteArray& path) {
    if (url == nullptr) {
        return kVKStatusBadArgument;
    }
    path = CFURLCopyFileSystemBytes(url);
    return path.isNull() ? kVKStatusNotConvertible : kVKStatusSuccess;
}

VKStatus statusOf(int error) { return static_cast<VKStatus>(error); }

/// The item's path, the mount that holds it, and that of its whole file system; 2 when they cannot be told.
VKStatus mountOf(CFURLRef url, QByteArray& path, MountEntry& mount, MountEntry& whole) {
    if (const VKStatus status = bytesOf(url, path); status != kVKStatusSuccess) {
        return status;
    }
    std::vector<MountEntry> mounts;
    if (const int error = mountedFileSystems(mounts); error != 0) {
        return statusOf(error);
    }
    std::optional<MountEntry> found = mountHolding(mounts, path);
    if (!found) {
        return ENOENT;
    }
    whole = wholeOf(mounts, *found);
    mount = std::move(*found);
    return kVKStatusSuccess;
}

/// What the disk service says of the mount's device; nothing when it says nothing.
std::optional<DiskFacts> diskBelow(const MountEntry& mount, const std::vector<DiskFacts>& disks) {
    const std::optional<DeviceNumber> device = deviceOf(mount);
    const DiskFacts* disk = device ? diskOf(disks, *device) : nullptr;
    return disk == nullptr ? std::nullopt : std::optional<DiskFacts>(*disk);
}

bool isEjectable(const MountEntry& mount, const std::vector<DiskFacts>& disks) {
    if (const auto disk = diskBelow(mount, disks)) {
        return disk->isEjectable;
    }
    const std::optional<DeviceNumber> device = deviceOf(mount);
    return device && isRemovableDevice(*device);
}

/// The identifier by the kernel or the device manager, else by the disk service.
QByteArray uuidOf(const MountEntry& mount, const std::vector<DiskFacts>& disks) {
    QByteArray uuid = volumeUuid(mount);
    if (uuid.isEmpty()) {
        if (const auto disk = diskBelow(mount, disks)) {
            uuid = disk->uuid;
        }
    }
    return uuid;
}

/// Only a device without an identifier that was found nearer is worth a question to the disk service.
QByteArray uuidOf(const MountEntry& mount) {
    QByteArray uuid = volumeUuid(mount);
    std::vector<DiskFacts> disks;
    if (!uuid.isEmpty() || !deviceOf(mount) || askDiskService(disks) != 0) {
        return uuid;
    }
    const auto disk = diskBelow(mount, disks);
    return disk ? disk->uuid : uuid;
}

QByteArray nameOf(const MountEntry& mount, const std::vector<DiskFacts>& disks) {
    VolumeNames names;
    names.label = volumeLabel(mount);
    if (const auto disk = diskBelow(mount, disks)) {
        names.chosen = disk->name;
        names.label = names.label.isEmpty() ? disk->label : names.label;
    }
    names.host = hostName();
    return displayName(mount.place, names);
}

/// The mount at the place that a text names. As everywhere the exact bytes win, then the one place that shows so; a
/// text that two places show leads to neither.
const MountEntry* mountNamed(const std::vector<MountEntry>& mounts, CFStringRef text) {
    const QString place = CFStringCopyQString(text);
    const std::optional<QByteArray> bytes = encodeUtf8(place);
    if (!bytes) {
        return nullptr;
    }
    const QByteArray exact = bytes->size() > 1 && bytes->endsWith('/') ? bytes->chopped(1) : *bytes;
    if (const MountEntry* mount = mountAt(mounts, exact)) {
        return mount;
    }
    const QString shown = displayedName(exact);
    const MountEntry* found = nullptr;
    for (const MountEntry& mount : mounts) {
        if (displayedName(mount.place) == shown) {
            if (found != nullptr && found->place != mount.place) {
                return nullptr;
            }
            found = &mount;
        }
    }
    return found;
}

VKVolume describe(const Volume& volume) {
    const MountEntry& mount = volume.mount;
    VKVolume described;
    described.url = folderUrl(mount.place);
    described.place = displayedName(mount.place);
    described.type = decodeUtf8(mount.type);
    described.source = decodeUtf8(mount.source);
    described.isSystem = mount.place == "/";
    described.isNetwork = volume.isNetwork;
    described.isReadOnly = volume.isReadOnly;
    return described;
}

void addDetails(const std::vector<Volume>& volumes, std::vector<VKVolume>& described) {
    std::vector<DiskFacts> disks;
    // Without the service the kernel and the device manager answer alone.
    static_cast<void>(askDiskService(disks));
    const std::vector<VolumeFacts> facts = volumeFacts(volumes);
    for (std::size_t i = 0; i < volumes.size(); ++i) {
        const MountEntry& mount = volumes[i].mount;
        VKVolume& out = described[i];
        out.name = decodeUtf8(nameOf(mount, disks));
        out.uuid = decodeUtf8(uuidOf(mount, disks));
        out.isRemovable = isEjectable(mount, disks);
        out.isOnline = facts[i].isOnline;
        out.isSpaceKnown = facts[i].space.has_value();
        const VolumeSpace space = facts[i].space.value_or(VolumeSpace());
        out.totalBytes = space.totalBytes;
        out.freeBytes = space.freeBytes;
    }
}

} // namespace

VKStatus VKVolumesGetList(VKVolumeDetail detail, std::vector<VKVolume>* volumes) {
    if (volumes == nullptr) {
        return kVKStatusBadArgument;
    }
    volumes->clear();
    std::vector<Volume> found;
    if (const int error = mountedVolumes(found); error != 0) {
        return statusOf(error);
    }
    for (const Volume& volume : found) {
        volumes->push_back(describe(volume));
    }
    if (detail == VKVolumeDetail::Everything) {
        addDetails(found, *volumes);
    }
    return kVKStatusSuccess;
}

CFURLRef VKVolumesCreateURL(CFStringRef place) {
    std::vector<MountEntry> mounts;
    if (place == nullptr || mountedFileSystems(mounts) != 0) {
        return nullptr;
    }
    const MountEntry* mount = mountNamed(mounts, place);
    return mount == nullptr ? nullptr : folderUrl(mount->place).release();
}

VKStatus VKVolumeGetIdentity(CFURLRef url, VKVolumeIdentity* identity) {
    if (identity == nullptr) {
        return kVKStatusBadArgument;
    }
    QByteArray path;
    MountEntry mount;
    MountEntry whole;
    if (const VKStatus status = mountOf(url, path, mount, whole); status != kVKStatusSuccess) {
        return status;
    }
    identity->root = folderUrl(whole.place);
    identity->uuid = decodeUtf8(uuidOf(mount));
    identity->networkSource = networkSource(mount, path);
    identity->hasMedium = deviceOf(mount).has_value();
    return kVKStatusSuccess;
}

VKStatus VKVolumeReadMarker(CFURLRef root, QByteArray* content) {
    if (content == nullptr) {
        return kVKStatusBadArgument;
    }
    QByteArray path;
    const VKStatus status = bytesOf(root, path);
    return status == kVKStatusSuccess ? statusOf(readVolumeMarker(path, *content)) : status;
}

VKStatus VKVolumeCreateMarker(CFURLRef root, const QByteArray& identifier) {
    QByteArray path;
    const VKStatus status = bytesOf(root, path);
    return status == kVKStatusSuccess ? statusOf(createVolumeMarker(path, identifier)) : status;
}

VKStatus VKVolumeGetEjectable(CFURLRef url, bool* ejectable) {
    if (ejectable == nullptr) {
        return kVKStatusBadArgument;
    }
    QByteArray path;
    MountEntry mount;
    MountEntry whole;
    if (const VKStatus status = mountOf(url, path, mount, whole); status != kVKStatusSuccess) {
        return status;
    }
    std::vector<DiskFacts> disks;
    if (deviceOf(mount)) {
        static_cast<void>(askDiskService(disks));
    }
    *ejectable = isEjectable(mount, disks);
    return kVKStatusSuccess;
}

VKStatus VKVolumeUnmount(CFURLRef url, VKVolumeUnmountObserver done, void* context) {
    QByteArray path;
    if (const VKStatus status = bytesOf(url, path); status != kVKStatusSuccess) {
        return status;
    }
    const bool started = startUnmount(path, [done, context](int error) {
        if (done != nullptr) {
            done(statusOf(error), context);
        }
    });
    return started ? kVKStatusSuccess : statusOf(EAGAIN);
}

CFStringRef VKFileMgrGetVolumeDisplayNameCopy(CFStringRef volume) {
    std::vector<MountEntry> mounts;
    if (volume == nullptr || mountedFileSystems(mounts) != 0) {
        return nullptr;
    }
    const MountEntry* mount = mountNamed(mounts, volume);
    if (mount == nullptr) {
        return nullptr;
    }
    std::vector<DiskFacts> disks;
    if (deviceOf(*mount)) {
        static_cast<void>(askDiskService(disks));
    }
    return CFStringCreateWithQString(decodeUtf8(nameOf(*mount, disks)));
}

CFStringRef VKFileMgrGetVolumeUUIDCopy(CFURLRef url) {
    QByteArray path;
    MountEntry mount;
    MountEntry whole;
    if (mountOf(url, path, mount, whole) != kVKStatusSuccess) {
        return nullptr;
    }
    const QByteArray uuid = uuidOf(mount);
    return uuid.isEmpty() ? nullptr : CFStringCreateWithQString(decodeUtf8(uuid));
}

struct VKVolumeWatch::State {
    MountWatcher watcher;
};

VKVolumeWatch::VKVolumeWatch() noexcept = default;
VKVolumeWatch::~VKVolumeWatch() = default;

VKStatus VKVolumeWatch::open() {
    mState = std::make_unique<State>();
    return statusOf(mState->watcher.open());
}

int VKVolumeWatch::descriptor() const noexcept {
    return mState == nullptr ? -1 : mState->watcher.descriptor();
}

void VKVolumeWatch::acknowledge() {
    if (mState != nullptr) {
        mState->watcher.acknowledge();
    }
}
