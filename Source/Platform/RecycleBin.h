// The recycle bin in the layout of the freedesktop.org trash specification 1.0: the home bin for what lies on
// the home bin's mount, a bin at the root of the volume for everything else. Items are renamed, never copied.
//
// Paths are absolute bytes. Functions give errno on failure and 0 otherwise, and leave the disk as it was
// after a failure. HOME and XDG_DATA_HOME are read at each call. Any thread. A record is not flushed: after a
// power cut an item may be in the bin without its record.
#pragma once

#include "Platform/FileFacts.h"

#include <QByteArray>
#include <QByteArrayList>

#include <cstdint>
#include <functional>
#include <optional>

namespace VKPlatform {

/// Moves the item into a bin that its mount allows, which is made where it is missing (mode 0700), and gives
/// its path there. A bin that is a link or another user's is not used. Failures of its own:
/// EOPNOTSUPP: the volume has no bin (read-only, none can be made, a system's or network file system);
/// EBUSY: the root, the home folder, a mount point, a bin, what is in one, or a folder that holds one of
/// these, at any depth (a mount would go along, and be emptied with the bin);
/// ENOENT: nothing is there; EACCES, EPERM: its folder does not let it go;
/// EAGAIN: the bin vanished again and again while the item was on its way.
///
/// The bin that was found last for a mount is remembered and looked at again by one system call; six a file.
[[nodiscard]] int recycleItem(const QByteArray& path, QByteArray& recycled);

/// Whether recycleItem() would find a bin. Makes nothing and cannot tell whether the item's folder lets it go.
[[nodiscard]] bool canRecycleItem(const QByteArray& path);

/// Moves an item out of its bin: to `target`, or, when that is empty, to where it came from. Missing folders
/// are made. Its record is removed last. Failures of its own:
/// EBADF: the path is not that of an item in a bin; EPERM: the bin is another user's;
/// ENOENT: the item is no longer there; ENODATA: it has no record, or one without a usable path;
/// EEXIST: something has the place; EXDEV: the target is on another volume.
[[nodiscard]] int restoreItem(const QByteArray& recycled, const QByteArray& target);

struct RecycledItem {
    QByteArray path;
    FileKind kind = FileKind::Unknown;
    /// Where it came from; empty when that is not recorded.
    QByteArray originalPath;
    /// Milliseconds since 1970-01-01 UTC, from the recorded local time by the process's time zone.
    std::optional<std::int64_t> deletedMs;
};

/// The bins of this user that exist: the home bin and those at the roots of mounted volumes. Volumes of a
/// network are not asked, and nobody waits longer than half a second for one that another program serves.
[[nodiscard]] QByteArrayList recycleBins();

/// The bins that exist for the items of one folder.
[[nodiscard]] QByteArrayList recycleBinsFor(const QByteArray& folder);

/// Tells the items of a bin, in no order, until `take` answers false. What vanishes meanwhile is left out, and
/// so are records without an item. A record that is longer than the limit, or no file, tells nothing.
[[nodiscard]] int listRecycleBin(const QByteArray& bin, const std::function<bool(const RecycledItem&)>& take);

} // namespace VKPlatform
