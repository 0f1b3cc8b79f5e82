// Whole files that are written for people: never over one that is there unless that was asked for, never in part.
#pragma once

#include <VKCoreKit/VKStatus.h>
#include <VKQtPath.h>

#include <QByteArray>

namespace VKTool {

enum class Existing { Keep, Replace };
enum class Readers { AsUsual, OwnerOnly };

/// Writes the file whole or not at all; 17 when there is one and it is to be kept, also when it came meanwhile. A file that
/// is replaced keeps its mode; a new one is for its owner alone with `OwnerOnly`, from its first byte on. Ctrl-C,
/// SIGTERM and a terminal that is closed do not stop it (see Interruption).
[[nodiscard]] VKStatus writeFile(const VKQtPath& path, const QByteArray& content, Existing existing,
                                 Readers readers = Readers::AsUsual);

} // namespace VKTool
