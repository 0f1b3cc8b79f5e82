// Which kind of file system a path lies on, from the mount table. The table is the kernel's own list, so a
// dead server is not asked about its file system (only the path itself is looked up). Any thread.
#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <optional>

namespace VKPlatform {

/// False on a network file system, true on another; nothing when the path cannot be looked up or its mount is
/// not listed. A symbolic link is followed.
[[nodiscard]] std::optional<bool> isLocalFileSystem(const QByteArray& path);

/// Whether a mounted file system gets its files over a network, by the type and the source that the mount
/// table gives. A source tells only for user-space types without a known name; other types may call theirs
/// anything.
///
///     "nfs4" "nas:/photos"      -> true        "ext4"       "/dev/sda1"   -> false
///     "fuse.sshfs" "a@nas:/p"   -> true        "fuse.other" "//nas/share" -> true
///     "fuse.portal" "portal"    -> false       "tmpfs"      "nas:/x"      -> false
[[nodiscard]] bool isNetworkFileSystem(QByteArrayView type, QByteArrayView source);

/// The same for the desktop's virtual folder (type "fuse.gvfsd-fuse"), where each first-level name says by
/// itself what stands behind it. `below` is the path below the mount point, without a leading "/".
///
///     "smb-share:server=nas,share=p/a.jpg" -> true        "gphoto2:host=Canon" -> false        "" -> false
[[nodiscard]] bool isNetworkVirtualFolder(QByteArrayView below);

} // namespace VKPlatform
