// What a person calls a volume: the mounted file systems without those that serve the system itself. The list
// comes from the mount table alone; only the facts about each volume are asked of its file system. Any thread.
#pragma once

#include "Platform/MountTable.h"

#include <QByteArray>

#include <cstdint>
#include <optional>
#include <vector>

namespace VKPlatform {

struct Volume {
    MountEntry mount;
    bool isNetwork = false;
    bool isReadOnly = false; ///< mounted so; the medium may be writable
};

/// The volumes among the mounts, in the table's order. `home` is the user's home folder.
///
/// "/" is always one. Otherwise, in this order: the option x-gvfs-hide hides, x-gvfs-show shows; hidden are
/// file systems that hold no files of a user, the pieces that desktops and containers mount for themselves
/// (overlay, autofs triggers, portals, snaps), everything in the system's own folders (/boot, /usr, /var,
/// /run but /run/media ...), the home folder itself, and what lies in a folder whose name begins with ".".
/// Of several mounts of one file system the one at "/" stays, then the first of the whole file system, then,
/// where only parts are mounted, each part (of btrfs the first subvolume).
[[nodiscard]] std::vector<Volume> volumesAmong(const std::vector<MountEntry>& mounts, const QByteArray& home);

/// The volumes of this machine at this moment. 0, or an errno with an empty list. Does not wait for servers.
[[nodiscard]] int mountedVolumes(std::vector<Volume>& volumes);

struct VolumeSpace {
    std::uint64_t totalBytes = 0;
    std::uint64_t freeBytes = 0; ///< for this user
};

struct VolumeFacts {
    bool isOnline = false;            ///< false when its server does not answer in time, or is gone
    std::optional<VolumeSpace> space; ///< nothing when it is not told, as to a user without access
};

/// Asks each volume's file system, served ones at the same time, and waits for all of them together for half a
/// second at most. In the order of the volumes.
[[nodiscard]] std::vector<VolumeFacts> volumeFacts(const std::vector<Volume>& volumes);

} // namespace VKPlatform
