// Counted universally unique identifiers, equal when their sixteen bytes are.
#pragma once

#include "CoreFoundation/CFBase.h"

extern "C" {

using CFUUIDRef = const struct CFUUIDObject*;

/// The identifier's bytes in the order of its text form.
struct CFUUIDBytes {
    UInt8 byte0, byte1, byte2, byte3, byte4, byte5, byte6, byte7;
    UInt8 byte8, byte9, byte10, byte11, byte12, byte13, byte14, byte15;
};

[[nodiscard]] VKCORE_EXPORT CFTypeID CFUUIDGetTypeID();

/// A new random identifier (version 4), from the system's random source.
[[nodiscard]] VKCORE_EXPORT CFUUIDRef CFUUIDCreate(CFAllocatorRef allocator);

[[nodiscard]] VKCORE_EXPORT CFUUIDRef CFUUIDCreateFromUUIDBytes(CFAllocatorRef allocator, CFUUIDBytes bytes);

/// Reads a text form leniently: what stands before the first hexadecimal digit, and after the last byte, is
/// skipped, one character of any kind separates the five groups, and from the first missing or broken byte on
/// all are 0. Null for null and for the empty string only.
///
///     "{deadbeef-0001-0203-0405-06070809abcd}" -> DEADBEEF-0001-0203-0405-06070809ABCD
///     "DEADBEEF" -> DEADBEEF-0000-0000-0000-000000000000     "xyz" -> all 0
[[nodiscard]] VKCORE_EXPORT CFUUIDRef CFUUIDCreateFromString(CFAllocatorRef allocator, CFStringRef text);

/// The text form: 36 characters, upper case, no braces.
[[nodiscard]] VKCORE_EXPORT CFStringRef CFUUIDCreateString(CFAllocatorRef allocator, CFUUIDRef uuid);

[[nodiscard]] VKCORE_EXPORT CFUUIDBytes CFUUIDGetUUIDBytes(CFUUIDRef uuid);

} // extern "C"
