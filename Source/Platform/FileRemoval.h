// Deleting files and whole folders. On folder descriptors: no link is followed, and a folder that is swapped
// for a link meanwhile does not lead out of the tree. errno on failure, 0 otherwise. Any thread.
#pragma once

#include <QByteArray>

namespace VKPlatform {

/// Deletes a file, a link (never what it names), a fifo, socket or device entry. EISDIR for a folder, EBUSY
/// for a file on which another is mounted.
[[nodiscard]] int removeFile(const QByteArray& path);

/// Deletes an item; of a folder all that is in it first.
/// - EBUSY, and nothing is deleted: the root, the home folder ($HOME and that of the user's account), a mount
///   point, and a folder that holds one of them at any depth.
/// - EACCES, EPERM or EROFS, and nothing is deleted: the tree holds a folder that may not be read or changed.
/// - Any other failure, such as a file that another user put into a folder with the sticky bit, ends the work
///   where it is: what was deleted before stays deleted.
/// - EXDEV: a folder was moved out of the tree while it was deleted, and the work ended there.
/// What vanishes meanwhile is no failure; what is added meanwhile is deleted too or, where that goes on,
/// ENOTEMPTY; EBUSY where somebody goes on putting other things into a folder's place. A part of the tree that the file system itself keeps apart without a mount (a subvolume) belongs
/// to it. Neither depth nor the length of names together has a limit.
[[nodiscard]] int removeTree(const QByteArray& path);

} // namespace VKPlatform
