// Dates as records of whole numbers, behind a counted reference.
#pragma once

#include "CoreFoundation/VKCoreExport.h"

#include <VKCoreKit/VKStatus.h>

#include <cstdint>

/// A date as eight numbers, in the order in which other libraries read them as plain memory. They are kept as
/// given: what is no date of the calendar (month 0, hour 25) stays what it is.
struct VKDateComponents {
    std::int32_t year = 0;
    std::int32_t month = 0; ///< 1 to 12
    std::int32_t day = 0;
    std::int32_t hour = 0;
    std::int32_t minute = 0;
    std::int32_t second = 0;
    std::int32_t reserved = 0;      ///< kept as given; nothing here reads it
    std::int32_t offsetFromUtc = 0; ///< in seconds, positive to the east

    friend bool operator==(const VKDateComponents&, const VKDateComponents&) = default;
};

/// One date, which never changes. Its count is atomic: any thread may use, retain and release it.
using VKDateRef = const struct VKDateObject*;

/// A new date with one reference, which the caller releases. 1005, and null in `out`, without components;
/// 1005 without `out`.
[[nodiscard]] VKCORE_EXPORT VKStatus VKDateCreate(const VKDateComponents* components, VKDateRef* out);

/// The numbers that the date was made from. 1005, with nothing written, when either argument is null.
[[nodiscard]] VKCORE_EXPORT VKStatus VKDateGetComponents(VKDateRef date, VKDateComponents* out);

/// Adds a reference and returns the date; null for null.
VKCORE_EXPORT VKDateRef VKDateRetain(VKDateRef date);

/// Gives a reference back; the last one deletes the date. Null does nothing.
VKCORE_EXPORT void VKDateRelease(VKDateRef date);
