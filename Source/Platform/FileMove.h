// Giving an item a new place and name without ever overwriting. errno on failure, 0 otherwise. Any thread.
#pragma once

#include "Platform/FileFacts.h"

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
/// removal of the old name, which is as safe; where it knows no links, and for folders, the target is looked
/// for first: another process that creates it in that instant loses what it created.
[[nodiscard]] int renameItem(const QByteArray& from, const QByteArray& to);

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
