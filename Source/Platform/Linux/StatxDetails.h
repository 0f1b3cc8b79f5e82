// What the questions about items have in common: the one statx, and the kind in a mode. Internal to this folder.
#pragma once

#include "Platform/FileFacts.h"

namespace VKPlatform {

/// The kind that a mode says.
[[nodiscard]] FileKind kindOfMode(unsigned mode);

/// The details of `name` relative to an open folder (or AT_FDCWD). errno, 0 for success.
[[nodiscard]] int statxDetails(int folder, const char* name, LinkRule links, FileDetails& out);

} // namespace VKPlatform
