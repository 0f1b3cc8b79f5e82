// What every counted value shares: the plain types, counting, equality, hashing and the type check.
// Included by each of the other headers; an application includes <CoreFoundation/CoreFoundation.h>.
//
// Rules that hold for the whole folder:
// - Ownership: a call with "Create" or "Copy" in its name gives a value with one reference that belongs to
// the
//   caller (CFRelease it); a call with "Get" gives a value that belongs to its owner.
// - Threads: counting is atomic, so a value may be retained and released anywhere. An immutable value may be
// read
//   by any number of threads; a mutable one needs the caller's lock. Nothing here blocks or touches a disk,
//   but for the current folder, which a URL with a relative path reads once at its creation.
// - Misuse: null where a value is needed, a value of another type, an index outside the value, a change to an
//   immutable value each stop the program with one line on stderr, in every build. The check is one
//   comparison; carrying on would read or write foreign memory. What stops and what answers is said where it
//   is not obvious.
// - The allocator argument of a Create call is accepted and not looked at: values live on the C++ heap. Only
// a
//   deallocator (CFDataCreateWithBytesNoCopy) has a meaning.
#pragma once

#include "CoreFoundation/VKCoreExport.h"

#include <cstdint>

extern "C" {

using Boolean = unsigned char;
using SInt8 = std::int8_t;
using UInt8 = std::uint8_t;
using SInt16 = std::int16_t;
using UInt16 = std::uint16_t;
using SInt32 = std::int32_t;
using UInt32 = std::uint32_t;
using SInt64 = std::int64_t;
using UInt64 = std::uint64_t;
/// One UTF-16 code unit.
using UniChar = UInt16;

/// A length, a count or a position; 64-bit.
using CFIndex = long;
using CFTypeID = unsigned long;
using CFHashCode = unsigned long;
using CFOptionFlags = unsigned long;

/// Any counted value.
using CFTypeRef = const void*;
using CFStringRef = const struct CFStringObject*;
using CFMutableStringRef = struct CFStringObject*;
using CFAllocatorRef = const struct CFAllocatorObject*;

/// "Not there", where a position or a size is asked for.
constexpr CFIndex kCFNotFound = -1;

using CFComparisonResult = CFIndex;
enum : CFIndex { kCFCompareLessThan = -1, kCFCompareEqualTo = 0, kCFCompareGreaterThan = 1 };

/// A run of elements: the first one and how many.
struct CFRange {
    CFIndex location;
    CFIndex length;
};

inline CFRange CFRangeMake(CFIndex location, CFIndex length) { return CFRange{location, length}; }

/// The default heap; a null pointer.
VKCORE_EXPORT extern const CFAllocatorRef kCFAllocatorDefault;
/// malloc() and free().
VKCORE_EXPORT extern const CFAllocatorRef kCFAllocatorMalloc;
/// As a deallocator: the memory stays the caller's.
VKCORE_EXPORT extern const CFAllocatorRef kCFAllocatorNull;

/// Adds a reference and gives back its argument. Null stops the program. A value that lives for ever (the
/// booleans, CFSTR, the empty string, small integers) is not counted.
VKCORE_EXPORT CFTypeRef CFRetain(CFTypeRef value);

/// Gives up a reference; the last one destroys the value and what it holds. Null stops the program: a release
/// that has nothing to release belongs to an ownership mistake. A value that lives for ever is not counted.
VKCORE_EXPORT void CFRelease(CFTypeRef value);

/// The number of references; 1152921504606846975 for a value that lives for ever. Null stops the program.
/// Another thread can change it at once: for tests and for looking, not for deciding.
[[nodiscard]] VKCORE_EXPORT CFIndex CFGetRetainCount(CFTypeRef value);

/// Whether two values are of one type and equal by that type's rule (see each header). Mutable and immutable
/// values of one type are compared by content. Null on either side stops the program.
[[nodiscard]] VKCORE_EXPORT Boolean CFEqual(CFTypeRef first, CFTypeRef second);

/// Equal values have equal hashes. Stable while the process lives and the value is unchanged. Null stops the
/// program.
[[nodiscard]] VKCORE_EXPORT CFHashCode CFHash(CFTypeRef value);

/// The number of the value's type, as CF...GetTypeID() of that type gives it. Null stops the program.
[[nodiscard]] VKCORE_EXPORT CFTypeID CFGetTypeID(CFTypeRef value);

} // extern "C"
