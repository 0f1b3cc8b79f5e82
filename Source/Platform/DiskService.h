// The desktop's disk service (UDisks2 on the system bus): what it knows about block devices, and unmounting
// through it, which lets a user unmount what he mounted. The service need not be there. Any thread.
#pragma once

#include "Platform/VolumeIdentity.h"

#include <QByteArray>
#include <QByteArrayList>

#include <cstdint>
#include <map>
#include <variant>
#include <vector>

namespace VKPlatform {

/// No more objects are taken from the service.
inline constexpr std::size_t kMostDiskObjects = 4096;

/// What the service says about one block device that holds a file system.
struct DiskFacts {
    QByteArray objectPath;
    DeviceNumber device;
    QByteArray label;
    QByteArray uuid; ///< in canonical form
    QByteArray name; ///< that the machine's owner chose for it; mostly empty
    QByteArrayList mountPoints;
    bool isSystem = true;     ///< belongs to the machine
    bool isEjectable = false; ///< its drive, or the medium in it, can be taken out
};

/// 0 and what the service knows; ENOENT when there is no service, ETIMEDOUT after half a second, EIO when it
/// gives no sensible answer. Does not start the service.
[[nodiscard]] int askDiskService(std::vector<DiskFacts>& disks);

/// The one of that device; null when there is none.
[[nodiscard]] const DiskFacts* diskOf(const std::vector<DiskFacts>& disks, DeviceNumber device);

/// Unmounts through the service and waits as long as that takes (a stick may have to be written first). The
/// user may be asked for a password. 0, EBUSY, EPERM, EINVAL (not mounted), ETIMEDOUT, ECANCELED (the user
/// refused), EIO for another refusal, ENOENT when the service is not there or does not know the device.
[[nodiscard]] int unmountByDiskService(const DiskFacts& disk);

// Rules.

/// A property's value: a truth, a number, bytes (also texts and object paths), or a list of bytes.
using DiskValue = std::variant<std::monostate, bool, std::uint64_t, QByteArray, QByteArrayList>;

/// An object of the service: its properties by "Interface.Name", without the service's prefix.
using DiskObject = std::map<QByteArray, DiskValue>;

/// The facts about the block devices among the objects (by object path) that hold a file system.
[[nodiscard]] std::vector<DiskFacts> diskFactsFrom(const std::map<QByteArray, DiskObject>& objects);

/// The errno for the name of a refusal of the service or the bus.
///
///     "org.freedesktop.UDisks2.Error.DeviceBusy" -> EBUSY
///     "org.freedesktop.DBus.Error.ServiceUnknown" -> ENOENT        anything else -> EIO
[[nodiscard]] int errorOfDiskService(QByteArrayView name);

} // namespace VKPlatform
