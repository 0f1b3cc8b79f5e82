// Counted bytes. Equal when the bytes are; a mutable one may have a capacity that it never exceeds.
#pragma once

#include "CoreFoundation/CFBase.h"

extern "C" {

using CFDataRef = const struct CFDataObject*;
using CFMutableDataRef = struct CFDataObject*;

[[nodiscard]] VKCORE_EXPORT CFTypeID CFDataGetTypeID();

/// Data of `length` bytes, copied. A negative length gives null; null with a positive length stops the
/// program.
[[nodiscard]] VKCORE_EXPORT CFDataRef CFDataCreate(CFAllocatorRef allocator, const UInt8* bytes,
                                                   CFIndex length);

/// Data over the caller's memory, not copied: it has to stay as long as the value does, and later changes of
/// it show. `deallocator` says what happens to it with the last reference: kCFAllocatorNull nothing,
/// kCFAllocatorMalloc and kCFAllocatorDefault free(). A negative length gives null, and the memory stays the
/// caller's.
[[nodiscard]] VKCORE_EXPORT CFDataRef CFDataCreateWithBytesNoCopy(CFAllocatorRef allocator,
                                                                  const UInt8* bytes, CFIndex length,
                                                                  CFAllocatorRef deallocator);

/// Immutable data with this content: the same value, retained, if it is immutable and owns its bytes.
[[nodiscard]] VKCORE_EXPORT CFDataRef CFDataCreateCopy(CFAllocatorRef allocator, CFDataRef data);

/// Empty mutable data. A capacity of 0 grows as needed; a positive one is a limit, and a change that would
/// exceed it stops the program; a negative one gives null.
[[nodiscard]] VKCORE_EXPORT CFMutableDataRef CFDataCreateMutable(CFAllocatorRef allocator, CFIndex capacity);

[[nodiscard]] VKCORE_EXPORT CFIndex CFDataGetLength(CFDataRef data);

/// The bytes, until the value is changed or released. Null for immutable data of length 0.
[[nodiscard]] VKCORE_EXPORT const UInt8* CFDataGetBytePtr(CFDataRef data);

/// The bytes of mutable data for writing, until its length changes or it is released. Never null.
[[nodiscard]] VKCORE_EXPORT UInt8* CFDataGetMutableBytePtr(CFMutableDataRef data);

/// Adds bytes, which may be the value's own. Null with length 0 is fine; null with another length, a negative
/// length and a length that memory or the capacity cannot hold stop the program.
VKCORE_EXPORT void CFDataAppendBytes(CFMutableDataRef data, const UInt8* bytes, CFIndex length);

/// Cuts the data, or lengthens it with zero bytes (also after it was cut). Limits as for CFDataAppendBytes.
VKCORE_EXPORT void CFDataSetLength(CFMutableDataRef data, CFIndex length);

} // extern "C"
