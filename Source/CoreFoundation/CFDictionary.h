// Counted tables from keys to values, usually both counted values, which the table then retains.
// Equal when they have equal keys with equal values, by the same `equal` functions; the order is unspecified.
#pragma once

#include "CoreFoundation/CFBase.h"

extern "C" {

using CFDictionaryRef = const struct CFDictionaryObject*;
using CFMutableDictionaryRef = struct CFDictionaryObject*;

/// How a table treats its keys. A null function: not retained, not released, equal and hashed as pointers.
/// `retain` gives the pointer to keep. The fields are copied at creation.
struct CFDictionaryKeyCallBacks {
    CFIndex version; ///< 0
    const void* (*retain)(CFAllocatorRef allocator, const void* value);
    void (*release)(CFAllocatorRef allocator, const void* value);
    CFStringRef (*copyDescription)(const void* value); ///< Not called.
    Boolean (*equal)(const void* first, const void* second);
    CFHashCode (*hash)(const void* value);
};

/// How a table treats its values; as CFDictionaryKeyCallBacks.
struct CFDictionaryValueCallBacks {
    CFIndex version; ///< 0
    const void* (*retain)(CFAllocatorRef allocator, const void* value);
    void (*release)(CFAllocatorRef allocator, const void* value);
    CFStringRef (*copyDescription)(const void* value); ///< Not called.
    Boolean (*equal)(const void* first, const void* second);
};

/// Keys are counted values, never null. A mutable key must not change while it is in a table.
VKCORE_EXPORT extern const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
/// Keys are strings, never null; a mutable one is copied, so that changing it later does no harm.
VKCORE_EXPORT extern const CFDictionaryKeyCallBacks kCFCopyStringDictionaryKeyCallBacks;
/// Values are counted values, never null.
VKCORE_EXPORT extern const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;

[[nodiscard]] VKCORE_EXPORT CFTypeID CFDictionaryGetTypeID();

/// A table of `count` pairs; of equal keys the first one stays. Null call-backs: plain pointers. A negative
/// count gives null; a null key or value under the call-backs above stops the program.
[[nodiscard]] VKCORE_EXPORT CFDictionaryRef CFDictionaryCreate(
    CFAllocatorRef allocator, const void* const* keys, const void* const* values, CFIndex count,
    const CFDictionaryKeyCallBacks* keyCallBacks, const CFDictionaryValueCallBacks* valueCallBacks);

/// An empty mutable table. The capacity is a hint that limits nothing.
[[nodiscard]] VKCORE_EXPORT CFMutableDictionaryRef CFDictionaryCreateMutable(
    CFAllocatorRef allocator, CFIndex capacity, const CFDictionaryKeyCallBacks* keyCallBacks,
    const CFDictionaryValueCallBacks* valueCallBacks);

[[nodiscard]] VKCORE_EXPORT CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary);

/// The value for an equal key, which stays the table's; null when there is none. A null key under the
/// call-backs above stops the program, here and in the calls below.
[[nodiscard]] VKCORE_EXPORT const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key);

/// Whether there is an equal key; if so `*value` (unless `value` is null) is what it stands for, null
/// included.
[[nodiscard]] VKCORE_EXPORT Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef dictionary, const void* key,
                                                                  const void** value);

[[nodiscard]] VKCORE_EXPORT Boolean CFDictionaryContainsKey(CFDictionaryRef dictionary, const void* key);

/// Copies all keys and values, pair by pair in an unspecified order, to arrays with room for the count.
/// Either may be null. Nothing is retained.
VKCORE_EXPORT void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void** keys,
                                                const void** values);

/// Adds a pair; a table that has an equal key is left as it is.
VKCORE_EXPORT void CFDictionaryAddValue(CFMutableDictionaryRef dictionary, const void* key,
                                        const void* value);

/// Adds a pair, or replaces both the key and the value of the pair with an equal key.
VKCORE_EXPORT void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key,
                                        const void* value);

/// Removes the pair with an equal key, if there is one.
VKCORE_EXPORT void CFDictionaryRemoveValue(CFMutableDictionaryRef dictionary, const void* key);

} // extern "C"
