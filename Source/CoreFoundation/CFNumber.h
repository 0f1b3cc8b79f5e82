// Counted numbers and the two booleans. Numbers are equal by value whatever their types: 1 equals 1.0, NaN
// equals NaN, 0.0 differs from -0.0, and nothing is rounded (2^53+1 differs from the double 2^53). A boolean
// never equals a number.
#pragma once

#include "CoreFoundation/CFBase.h"

extern "C" {

using CFBooleanRef = const struct CFBooleanObject*;
using CFNumberRef = const struct CFNumberObject*;

VKCORE_EXPORT extern const CFBooleanRef kCFBooleanTrue;
VKCORE_EXPORT extern const CFBooleanRef kCFBooleanFalse;

[[nodiscard]] VKCORE_EXPORT CFTypeID CFBooleanGetTypeID();

/// True for kCFBooleanTrue; false for kCFBooleanFalse and for null.
[[nodiscard]] VKCORE_EXPORT Boolean CFBooleanGetValue(CFBooleanRef boolean);

/// The type of the C variable that a number is made from or written to.
using CFNumberType = CFIndex;
enum : CFNumberType {
    kCFNumberSInt8Type = 1,
    kCFNumberSInt16Type = 2,
    kCFNumberSInt32Type = 3,
    kCFNumberSInt64Type = 4,
    kCFNumberFloat32Type = 5,
    kCFNumberFloat64Type = 6,
    kCFNumberCharType = 7,
    kCFNumberShortType = 8,
    kCFNumberIntType = 9,
    kCFNumberLongType = 10,
    kCFNumberLongLongType = 11,
    kCFNumberFloatType = 12,
    kCFNumberDoubleType = 13,
    kCFNumberCFIndexType = 14,
    kCFNumberNSIntegerType = 15,
    kCFNumberCGFloatType = 16,
    kCFNumberMaxType = 16
};

[[nodiscard]] VKCORE_EXPORT CFTypeID CFNumberGetTypeID();

/// A number from the variable of that type at `value`. An unknown type and a null pointer stop the program.
[[nodiscard]] VKCORE_EXPORT CFNumberRef CFNumberCreate(CFAllocatorRef allocator, CFNumberType type,
                                                       const void* value);

/// How the number is held, one of the first six types. The integers -1 to 12 are shared values that say
/// kCFNumberSInt32Type whatever they were made from.
[[nodiscard]] VKCORE_EXPORT CFNumberType CFNumberGetType(CFNumberRef number);

/// The bytes of a variable of CFNumberGetType().
[[nodiscard]] VKCORE_EXPORT CFIndex CFNumberGetByteSize(CFNumberRef number);

/// Whether it was made from a floating-point variable.
[[nodiscard]] VKCORE_EXPORT Boolean CFNumberIsFloatType(CFNumberRef number);

/// Writes the number to the variable of that type at `value`, always, and says whether nothing was lost.
///
///     1.0 -> int: 1, true             1.5 -> int: 1, false      2147483648 -> int: -2147483648, false
///     300 -> 8-bit int: 44, false     0.1 -> float: false       2^53+1 -> double: false
///     1e10, NaN, infinity -> int: the smallest int, false       infinity -> float: true     NaN -> float:
///     false
///
/// An unknown type and a null pointer stop the program.
VKCORE_EXPORT Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value);

/// The order by value. -0.0 is before 0.0 (and before the integer 0), NaN before every other number.
[[nodiscard]] VKCORE_EXPORT CFComparisonResult CFNumberCompare(CFNumberRef first, CFNumberRef second,
                                                               void* context);

} // extern "C"
