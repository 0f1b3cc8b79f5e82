// From an open item back to a path. Internal to this folder.
#pragma once

#include "Platform/FileDescriptor.h"

#include <QByteArray>

namespace VKPlatform {

/// The path that the item has now, without links; empty when it cannot be told: without /proc, and for one that
/// is longer than the kernel writes at once. An item that was deleted meanwhile has " (deleted)" at the end.
[[nodiscard]] QByteArray pathOfOpen(const FileDescriptor& item);

} // namespace VKPlatform
