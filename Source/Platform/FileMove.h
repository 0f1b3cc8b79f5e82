// Giving an item a new place and name without ever overwriting. errno on failure, 0 otherwise. Any thread.
#pragma once

#include "Platform/FileCopy.h"

#include <QByteArray>
#include <QByteArrayView>

#include <vector>

namespace VKPlatform {

/// One step inside a file system. EEXIST when the target exists, and nothing is touched: two names of one
/// file are two files. EINVAL for a folder into itself, EBUSY for the root and for a mount point, EXDEV when
/// the target is on another file system (or another mount of the same).
///
/// Where names are compared without case the target may be another spelling of the source's own name: then
/// only the spelling changes (EOPNOTSUPP where the file system keeps the old one).
///
/// A file system that cannot refuse to overwrite by itself (many in user space) gets a hard link and the
/// removal of the old name. Where it knows no links, and for folders, an empty item holds the target's name until
/// the rename replaces it: no other process's item is ever replaced, but what one writes into that empty file in
/// that instant is lost, and a killed process may leave the empty item, beside the source.
[[nodiscard]] int renameItem(const QByteArray& from, const QByteArray& to);

/// The same, and to another file system by copy and removal: the source stays until the copy is whole, on the disk
/// and in its place.
/// - A failure leaves the source whole and nothing at the target. ECANCELED and the like: what the watcher
///   (may be null) answered. EBUSY when the source changed meanwhile, or holds a mount point; EOPNOTSUPP, and
///   nothing is touched, when it is or holds a fifo, socket or device.
/// - One exception: when the removal of the source fails after it began (another process locks up a folder in
///   it), the target is whole and stays, and the source holds the rest. The same for what others add to a
///   source folder meanwhile, and for files in it that they change after the copy: they stay at the source,
///   with ENOTEMPTY or EBUSY.
/// - A killed process leaves both, or the source and a hidden folder ".name.XXXXXX" beside the target.
/// Hard links become files of their own; owners are kept as far as permitted.
[[nodiscard]] int moveItem(const QByteArray& from, const QByteArray& to, CopyWatcher* watcher);

/// Whether `to` can be nothing but another spelling of `from`'s own name, given that it was found in the
/// folder: it is not listed as such, and one entry alone equals it when case and composition are ignored.
/// That one is `*entry`. Pure.
///
///     one.jpg -> ONE.JPG in {"One.jpg"}            true, "One.jpg"
///     one.jpg -> ONE.JPG in {"one.jpg", "ONE.JPG"} false: both are listed
///     one.jpg -> two.jpg in {"one.jpg"}            false
[[nodiscard]] bool isOtherSpelling(QByteArrayView from, QByteArrayView to,
                                   const std::vector<QByteArray>& names, QByteArray* entry);

} // namespace VKPlatform
