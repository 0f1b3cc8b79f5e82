// The rule behind VKQtStringUtils::createBytesFromCFData() for lengths that no data object of this system
// reports.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <QByteArray>

namespace VKQtStringUtilsRules {

/// Replaces `out` by `length` bytes; a negative length means a NUL-terminated C string, null no bytes.
void assignBytes(const void* bytes, CFIndex length, QByteArray& out);

} // namespace VKQtStringUtilsRules
