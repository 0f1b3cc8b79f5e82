// Identifier and label by ioctl on the mounted folder, else by the device manager's links.
#include "Platform/VolumeIdentity.h"

#include "Platform/FileDescriptor.h"

#include <QStringBuilder>

#include <array>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <linux/btrfs.h>
#include <linux/fs.h>
#include <memory>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace VKPlatform {

namespace {

/// The kernel's record for its call that tells a file system's identifier, in 6.9 and later; the headers of
/// Debian 12 do not have it yet.
struct UuidRecord {
    std::uint8_t length = 0;
    std::array<char, 16> bytes = {};
};
constexpr unsigned long kGetUuid = _IOR(0x15, 0, UuidRecord);

FileDescriptor openPlace(const MountEntry& mount) {
    return FileDescriptor(
        ::open(mount.place.constData(), O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

QByteArray uuidByKernel(int folder) {
    UuidRecord record;
    if (::ioctl(folder, kGetUuid, &record) == 0 && record.length <= record.bytes.size()) {
        return uuidText(QByteArrayView(record.bytes.data(), record.length));
    }
    btrfs_ioctl_fs_info_args info = {};
    if (::ioctl(folder, BTRFS_IOC_FS_INFO, &info) == 0) {
        return uuidText(QByteArrayView(info.fsid, sizeof info.fsid));
    }
    return QByteArray();
}

QByteArray labelByKernel(int folder) {
    char label[FSLABEL_MAX] = {};
    if (::ioctl(folder, FS_IOC_GETFSLABEL, label) != 0) {
        return QByteArray();
    }
    return QByteArray(label, static_cast<qsizetype>(::strnlen(label, sizeof label)));
}

struct CloseFolder {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

/// The name of the link in the folder that leads to the device; empty when none does.
QByteArray linkTo(DeviceNumber device, const QByteArray& folder) {
    const std::unique_ptr<DIR, CloseFolder> links(::opendir(folder.constData()));
    while (const dirent* link = links == nullptr ? nullptr : ::readdir(links.get())) {
        struct stat record;
        if (::fstatat(::dirfd(links.get()), link->d_name, &record, 0) == 0 && S_ISBLK(record.st_mode) &&
            device == DeviceNumber{major(record.st_rdev), minor(record.st_rdev)}) {
            return withoutDeviceEscapes(QByteArrayView(link->d_name));
        }
    }
    return QByteArray();
}

/// What `byKernel` says, else the name of the device's link; nothing is asked of served file systems.
QByteArray toldOf(const MountEntry& mount, QByteArray (*byKernel)(int), const QByteArray& links) {
    QByteArray told;
    if (!isServed(mount)) {
        if (const FileDescriptor folder = openPlace(mount); folder.isOpen()) {
            told = byKernel(folder.get());
        }
    }
    if (told.isEmpty()) {
        if (const auto device = deviceOf(mount)) {
            told = linkTo(*device, links);
        }
    }
    return told;
}

} // namespace

std::optional<DeviceNumber> deviceOf(const MountEntry& mount) {
    if (mount.major != 0) {
        return DeviceNumber{mount.major, mount.minor};
    }
    struct stat record;
    if (mount.source.startsWith("/dev/") && ::stat(mount.source.constData(), &record) == 0 &&
        S_ISBLK(record.st_mode)) {
        return DeviceNumber{major(record.st_rdev), minor(record.st_rdev)};
    }
    return std::nullopt;
}

QByteArray volumeUuid(const MountEntry& mount, const QByteArray& devices) {
    return canonicalUuid(toldOf(mount, &uuidByKernel, devices + "/disk/by-uuid"));
}

QByteArray volumeLabel(const MountEntry& mount, const QByteArray& devices) {
    return toldOf(mount, &labelByKernel, devices + "/disk/by-label").left(kMostLabelBytes);
}

} // namespace VKPlatform
