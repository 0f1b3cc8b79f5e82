// The mounted file systems, as the kernel and the mount program list them. Nothing is asked of the file systems
// themselves, so a dead server cannot block a caller, and no automatic mount is set off. Any thread.
#pragma once

#include <QByteArray>

#include <cstdint>
#include <optional>
#include <vector>

namespace VKPlatform {

/// No more lines are taken from one table; the kernel's own limit is 100000 mounts in one namespace.
inline constexpr std::size_t kMostMounts = 100000;

/// Names and texts are bytes with the table's escapes undone.
struct MountEntry {
    int id = 0;
    int parent = 0;
    std::uint32_t major = 0; ///< 0 for file systems without a device of their own, btrfs among them
    std::uint32_t minor = 0;
    QByteArray root;       ///< what of the file system is mounted; "/" but for binds and subvolumes
    QByteArray place;      ///< the mount point
    QByteArray type;       ///< "ext4", "fuse.sshfs"
    QByteArray source;     ///< "/dev/sda1", "//nas/photos"; may be empty
    QByteArray options;    ///< the mount's options and the user's, separated by commas
    bool isPseudo = false; ///< holds no files of a user by its type: proc, tmpfs, cgroup...
};

/// The entries of a text in the form of /proc/self/mountinfo, in its order. A line that makes no sense is left
/// out.
///
///     36 35 98:0 /mnt1 /mnt2 rw,noatime master:1 - ext3 /dev/root rw,errors=continue
[[nodiscard]] std::vector<MountEntry> parseMountInfo(const QByteArray& text);

/// What is mounted now, with the user's options from /run/mount/utab and /etc/fstab. 0, or an errno with an
/// empty list.
[[nodiscard]] int mountedFileSystems(std::vector<MountEntry>& mounts);

/// Whether an option stands in a list of options, alone or with a value.
///
///     "rw,x-gvfs-hide", "x-gvfs-hide" -> true     "rw,x-gvfs-hidden", "x-gvfs-hide" -> false
[[nodiscard]] bool hasOption(QByteArrayView options, QByteArrayView option);

/// The entries that can be reached by their place: without those that another mount covers, those below them,
/// and those whose mount point was deleted.
///
///     ext4 on /a, then tmpfs on /a -> tmpfs       ext4 on /a/b, then tmpfs on /a -> tmpfs
[[nodiscard]] std::vector<MountEntry> reachableMounts(const std::vector<MountEntry>& mounts);

/// The entry whose place is exactly this path; the last one, which covers the others. Null when there is none.
[[nodiscard]] const MountEntry* mountAt(const std::vector<MountEntry>& mounts, QByteArrayView place);

/// The mount of the whole file system that this one shows a part of, when one can be reached; otherwise itself.
[[nodiscard]] MountEntry wholeOf(const std::vector<MountEntry>& mounts, const MountEntry& part);

/// Whether its answers come from another program or machine, so that they may never come: network and
/// user-space file systems.
[[nodiscard]] bool isServed(const MountEntry& mount);

/// The entry of the file system that holds the item; a link is followed. Nothing when the item cannot be
/// looked up or its mount is not listed. Below the place of a served file system the text of the path decides and
/// nothing is looked up, because its server may be dead; a mount point is found by its text as well.
[[nodiscard]] std::optional<MountEntry> mountHolding(const std::vector<MountEntry>& mounts,
                                                     const QByteArray& path);

} // namespace VKPlatform
