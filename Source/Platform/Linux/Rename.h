// Moving between two places without overwriting, whatever the file systems offer. Internal to this folder.
#pragma once

#include "Platform/FileCopy.h"
#include "Platform/Linux/Place.h"

namespace VKPlatform {

/// As renameItem(), of which it is all but the look-up of the paths.
[[nodiscard]] int renameWithoutOverwriting(const Place& from, const Place& to);

/// The way of moveItem() to another file system.
[[nodiscard]] int moveAcross(const Place& from, const Place& to, CopyWatcher* watcher);

/// Whether `folder` lies in the item `name` of `top`, at any depth, or is it. errno in `error` when the way
/// up cannot be followed.
[[nodiscard]] bool isInside(const FileDescriptor& folder, const FileDescriptor& top, const QByteArray& name,
                            int& error);

} // namespace VKPlatform
