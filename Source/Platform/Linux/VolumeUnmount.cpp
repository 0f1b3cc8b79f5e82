// The ways to unmount, from the one that may do most for a user to the one that every user has.
#include "Platform/VolumeUnmount.h"

#include "Platform/BoundedQuestion.h"
#include "Platform/DiskService.h"
#include "Platform/MountTable.h"

#include <cerrno>
#include <spawn.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace VKPlatform {

namespace {

/// Nothing when the table cannot be read, or when nothing is mounted there.
std::optional<MountEntry> mountedAt(const QByteArray& place) {
    std::vector<MountEntry> mounts;
    if (mountedFileSystems(mounts) != 0) {
        return std::nullopt;
    }
    const MountEntry* mount = mountAt(mounts, place);
    return mount == nullptr ? std::nullopt : std::optional<MountEntry>(*mount);
}

int unmountByKernel(const QByteArray& place) {
    return ::umount2(place.constData(), UMOUNT_NOFOLLOW) == 0 ? 0 : errno;
}

/// The service unmounts a device, not a place: one that is mounted at several is not for it.
int unmountByService(const MountEntry& mount) {
    const std::optional<DeviceNumber> device = deviceOf(mount);
    std::vector<DiskFacts> disks;
    if (!device || askDiskService(disks) != 0) {
        return ENOENT;
    }
    const DiskFacts* disk = diskOf(disks, *device);
    return disk == nullptr || disk->mountPoints != QByteArrayList{mount.place} ? ENOENT
                                                                               : unmountByDiskService(*disk);
}

/// The set-user-id helper lets a user unmount his own user-space file system.
int unmountByHelper(const MountEntry& mount) {
    for (const char* name : {"fusermount3", "fusermount"}) {
        std::string words[] = {name, "-u", "--", mount.place.toStdString()};
        char* arguments[] = {words[0].data(), words[1].data(), words[2].data(), words[3].data(), nullptr};
        pid_t child = 0;
        if (::posix_spawnp(&child, name, nullptr, nullptr, arguments, ::environ) != 0) {
            continue;
        }
        int status = 0;
        while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
        const auto now = mountedAt(mount.place);
        return now && now->id == mount.id ? EBUSY : 0;
    }
    return EPERM;
}

} // namespace

int unmountVolume(const QByteArray& place) {
    // The kernel would make the root read-only instead of unmounting it.
    if (place == "/") {
        return EBUSY;
    }
    const std::optional<MountEntry> mount = mountedAt(place);
    if (!mount) {
        return EINVAL;
    }
    if (const int error = unmountByService(*mount); error != ENOENT && error != EIO) {
        return error;
    }
    const int error = unmountByKernel(place);
    return error == EPERM && mount->type.startsWith("fuse") ? unmountByHelper(*mount) : error;
}

bool startUnmount(const QByteArray& place, std::function<void(int)> done) {
    return runDetached([place, done = std::move(done)] {
        const int error = unmountVolume(place);
        if (done) {
            done(error);
        }
    });
}

} // namespace VKPlatform
