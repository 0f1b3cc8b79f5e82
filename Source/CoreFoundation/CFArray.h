// Counted lists of pointers, usually of counted values (kCFTypeArrayCallBacks), which the list then retains.
// Equal when the elements are, one by one, by the same `equal` function.
#pragma once

#include "CoreFoundation/CFBase.h"

extern "C" {

using CFArrayRef = const struct CFArrayObject*;
using CFMutableArrayRef = struct CFArrayObject*;

/// How a list treats its elements. A null function: not retained, not released, equal when the pointers are.
/// `retain` gives the pointer to keep. The fields are copied at creation.
struct CFArrayCallBacks {
    CFIndex version; ///< 0
    const void* (*retain)(CFAllocatorRef allocator, const void* value);
    void (*release)(CFAllocatorRef allocator, const void* value);
    CFStringRef (*copyDescription)(const void* value); ///< Not called.
    Boolean (*equal)(const void* first, const void* second);
};

/// Elements are counted values, never null.
VKCORE_EXPORT extern const CFArrayCallBacks kCFTypeArrayCallBacks;

[[nodiscard]] VKCORE_EXPORT CFTypeID CFArrayGetTypeID();

/// A list of `count` elements. `callBacks` null: plain pointers. A negative count gives null; a null element
/// under kCFTypeArrayCallBacks, and null `values` with a positive count, stop the program.
[[nodiscard]] VKCORE_EXPORT CFArrayRef CFArrayCreate(CFAllocatorRef allocator, const void* const* values,
                                                     CFIndex count, const CFArrayCallBacks* callBacks);

/// An empty mutable list. The capacity is a hint that limits nothing.
[[nodiscard]] VKCORE_EXPORT CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef allocator, CFIndex capacity,
                                                                   const CFArrayCallBacks* callBacks);

[[nodiscard]] VKCORE_EXPORT CFIndex CFArrayGetCount(CFArrayRef array);

/// The element at `index`, which stays the list's. An index outside the list stops the program.
[[nodiscard]] VKCORE_EXPORT const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index);

/// Adds an element at the end. Null under kCFTypeArrayCallBacks stops the program.
VKCORE_EXPORT void CFArrayAppendValue(CFMutableArrayRef array, const void* value);

} // extern "C"
