// Counted moments: seconds since the first of January 2001, 00:00 UTC, equal by value.
#pragma once

#include "CoreFoundation/CFBase.h"

extern "C" {

/// Seconds; fractions count.
using CFTimeInterval = double;
/// Seconds since 2001-01-01 00:00 UTC; negative before.
using CFAbsoluteTime = CFTimeInterval;
using CFDateRef = const struct CFDateObject*;

/// From the other two epochs to 2001: add to an absolute time to count from 1970 or from 1904.
constexpr CFTimeInterval kCFAbsoluteTimeIntervalSince1970 = 978307200.0;
constexpr CFTimeInterval kCFAbsoluteTimeIntervalSince1904 = 3061152000.0;

[[nodiscard]] VKCORE_EXPORT CFTypeID CFDateGetTypeID();

[[nodiscard]] VKCORE_EXPORT CFDateRef CFDateCreate(CFAllocatorRef allocator, CFAbsoluteTime time);

[[nodiscard]] VKCORE_EXPORT CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef date);

/// The earlier moment is the lesser. The context is not looked at.
[[nodiscard]] VKCORE_EXPORT CFComparisonResult CFDateCompare(CFDateRef first, CFDateRef second,
                                                             void* context);

} // extern "C"
