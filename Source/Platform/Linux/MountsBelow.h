// Whether something is mounted inside a folder. Internal to this folder.
#pragma once

#include "Platform/FileDescriptor.h"

namespace VKPlatform {

/// Whether the mount table names a file or folder below this one, at any depth, that something is mounted on.
/// False as well when the folder's path cannot be told.
[[nodiscard]] bool holdsMountPoint(const FileDescriptor& folder);

} // namespace VKPlatform
