// The rules inside VKQtStringUtils that its own functions cannot show on this system.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/VKStatus.h>

#include <QByteArray>

namespace VKQtStringUtilsRules {

/// Replaces `out` by `length` bytes; a negative length means a NUL-terminated C string, null no bytes. Data
/// objects of this system never report a negative length.
void assignBytes(const void* bytes, CFIndex length, QByteArray& out);

/// Logs a stream's status unless it is 0 or 1007 (cancelled), and gives it back.
[[nodiscard]] VKStatus logged(VKStatus status, int line);

} // namespace VKQtStringUtilsRules
