// Where an item is: the descriptor of its folder and its name there. Work on a place is not diverted when
// something above it is renamed, and a path may be longer than the kernel takes at once. Internal to this
// folder.
#pragma once

#include "Platform/FileDescriptor.h"

#include <QByteArray>
#include <QByteArrayView>

#include <cstdint>

namespace VKPlatform {

struct Place {
    FileDescriptor folder; ///< O_PATH: for names, not for reading
    QByteArray name;       ///< one component; not "." or ".."
};

/// The place of an item, which need not exist; its folder has to. Slashes at the end do not count. errno:
/// ENOENT for an empty path, EBUSY for the root, EINVAL when the last component is "." or "..".
[[nodiscard]] int openPlace(const QByteArray& path, Place& out);

/// Opens a folder by its path (links are followed) with `flags` beside O_DIRECTORY and O_CLOEXEC. errno.
[[nodiscard]] int openFolder(QByteArrayView path, int flags, FileDescriptor& out);

/// What tells one item from all others while it is open.
struct Identity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t mount = 0; ///< 0 where the kernel does not say

    friend bool operator==(const Identity&, const Identity&) = default;

    /// Whether it is the same item, through whichever mount it was reached.
    [[nodiscard]] bool isSameItem(const Identity& other) const {
        return device == other.device && inode == other.inode;
    }

    /// Whether both lie on one mounted file system; a part of it that is mounted elsewhere too is another.
    [[nodiscard]] bool isSameMount(const Identity& other) const {
        return mount != 0 && other.mount != 0 ? mount == other.mount : device == other.device;
    }
};

/// Of `name` in the folder (a link is not followed), or, with an empty name, of what is open. errno.
[[nodiscard]] int identityOf(const FileDescriptor& folder, const QByteArray& name, Identity& out);

} // namespace VKPlatform
