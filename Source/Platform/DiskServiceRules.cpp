// From the disk service's objects to facts about devices.
#include "Platform/DiskService.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace VKPlatform {

namespace {

/// The value of a property, or the default of its kind when it is missing or of another kind.
template <typename T>
T valueOf(const DiskObject& object, const char* name) {
    const auto found = object.find(name);
    const T* value = found == object.end() ? nullptr : std::get_if<T>(&found->second);
    return value == nullptr ? T() : *value;
}

bool canBeTakenOut(const DiskObject& drive) {
    return valueOf<bool>(drive, "Drive.Removable") || valueOf<bool>(drive, "Drive.Ejectable") ||
           valueOf<bool>(drive, "Drive.MediaRemovable") ||
           valueOf<QByteArray>(drive, "Drive.ConnectionBus") == "usb" ||
           valueOf<QByteArray>(drive, "Drive.ConnectionBus") == "sdio";
}

/// A device number as the C library packs it.
DeviceNumber unpacked(std::uint64_t number) {
    return {static_cast<std::uint32_t>(((number >> 8) & 0xfffU) | ((number >> 32) & 0xfffff000U)),
            static_cast<std::uint32_t>((number & 0xffU) | ((number >> 12) & 0xffffff00U))};
}

/// Names on the bus end with a zero byte.
QByteArray withoutZero(const QByteArray& bytes) {
    const qsizetype zero = bytes.indexOf('\0');
    return zero < 0 ? bytes : bytes.first(zero);
}

} // namespace

std::vector<DiskFacts> diskFactsFrom(const std::map<QByteArray, DiskObject>& objects) {
    std::vector<DiskFacts> disks;
    for (const auto& [path, object] : objects) {
        const auto mountPoints = object.find("Filesystem.MountPoints");
        if (mountPoints == object.end() || object.find("Block.DeviceNumber") == object.end()) {
            continue;
        }
        DiskFacts disk;
        disk.objectPath = path;
        disk.device = unpacked(valueOf<std::uint64_t>(object, "Block.DeviceNumber"));
        disk.label = valueOf<QByteArray>(object, "Block.IdLabel").left(kMostLabelBytes);
        disk.uuid = canonicalUuid(valueOf<QByteArray>(object, "Block.IdUUID"));
        disk.name = valueOf<QByteArray>(object, "Block.HintName").left(kMostLabelBytes);
        for (const QByteArray& place : valueOf<QByteArrayList>(object, "Filesystem.MountPoints")) {
            disk.mountPoints.append(withoutZero(place));
        }
        const auto hint = object.find("Block.HintSystem");
        disk.isSystem = hint == object.end() || valueOf<bool>(object, "Block.HintSystem");
        // A loop device has no drive; one that a user set up is his to take away.
        const auto drive = objects.find(valueOf<QByteArray>(object, "Block.Drive"));
        disk.isEjectable = drive == objects.end() ? !disk.isSystem : canBeTakenOut(drive->second);
        disks.push_back(std::move(disk));
    }
    return disks;
}

const DiskFacts* diskOf(const std::vector<DiskFacts>& disks, DeviceNumber device) {
    const auto found = std::find_if(disks.begin(), disks.end(),
                                    [&](const DiskFacts& disk) { return disk.device == device; });
    return found == disks.end() ? nullptr : &*found;
}

int errorOfDiskService(QByteArrayView name) {
    static constexpr std::pair<QByteArrayView, int> kErrors[] = {
        {"org.freedesktop.UDisks2.Error.DeviceBusy", EBUSY},
        {"org.freedesktop.UDisks2.Error.NotMounted", EINVAL},
        {"org.freedesktop.UDisks2.Error.NotAuthorized", EPERM},
        {"org.freedesktop.UDisks2.Error.NotAuthorizedCanObtain", EPERM},
        {"org.freedesktop.UDisks2.Error.NotAuthorizedDismissed", ECANCELED},
        {"org.freedesktop.UDisks2.Error.MountedByOtherUser", EPERM},
        {"org.freedesktop.UDisks2.Error.OptionNotPermitted", EPERM},
        {"org.freedesktop.UDisks2.Error.Timedout", ETIMEDOUT},
        {"org.freedesktop.UDisks2.Error.Cancelled", ECANCELED},
        {"org.freedesktop.DBus.Error.AccessDenied", EPERM},
        {"org.freedesktop.DBus.Error.AuthFailed", EPERM},
        {"org.freedesktop.DBus.Error.InteractiveAuthorizationRequired", EPERM},
        {"org.freedesktop.DBus.Error.NoReply", ETIMEDOUT},
        {"org.freedesktop.DBus.Error.Timeout", ETIMEDOUT},
        {"org.freedesktop.DBus.Error.TimedOut", ETIMEDOUT},
        {"org.freedesktop.DBus.Error.ServiceUnknown", ENOENT},
        {"org.freedesktop.DBus.Error.NameHasNoOwner", ENOENT},
        {"org.freedesktop.DBus.Error.NoServer", ENOENT},
        {"org.freedesktop.DBus.Error.FileNotFound", ENOENT},
        {"org.freedesktop.DBus.Error.Disconnected", ENOENT},
        {"org.freedesktop.DBus.Error.UnknownObject", ENOENT},
        {"org.freedesktop.DBus.Error.UnknownMethod", ENOENT},
        {"org.freedesktop.DBus.Error.UnknownInterface", ENOENT},
    };
    const auto found = std::find_if(std::begin(kErrors), std::end(kErrors),
                                    [&](const auto& entry) { return entry.first == name; });
    return found == std::end(kErrors) ? EIO : found->second;
}

} // namespace VKPlatform
