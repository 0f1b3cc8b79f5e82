// How two texts are ordered under the options of CFStringCompare, and the number that a text starts with.
// Pure.
#pragma once

#include "CoreFoundation/CFString.h"

#include <QString>

namespace CoreFoundation {

/// kCFCompareLessThan, kCFCompareEqualTo or kCFCompareGreaterThan; the options are those of CFStringCompare.
[[nodiscard]] CFComparisonResult compareText(const QString& first, const QString& second,
                                             CFStringCompareFlags options);

/// As CFStringGetIntValue.
[[nodiscard]] SInt32 leadingInt(QStringView text);

} // namespace CoreFoundation
