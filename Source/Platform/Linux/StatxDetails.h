// The one statx that a path and a folder's entry have in common. Internal to this folder.
#pragma once

#include "Platform/FileFacts.h"

namespace VKPlatform {

/// The details of `name` relative to an open folder (or AT_FDCWD). errno, 0 for success.
[[nodiscard]] int statxDetails(int folder, const char* name, LinkRule links, FileDetails& out);

} // namespace VKPlatform
