// Counted errors: a domain, a code in it, and a table that may describe them. Equal when all three are.
#pragma once

#include "CoreFoundation/CFBase.h"
#include "CoreFoundation/CFDictionary.h"

extern "C" {

using CFErrorRef = const struct CFErrorObject*;

/// Codes of the system's calls: errno.
VKCORE_EXPORT extern const CFStringRef kCFErrorDomainPOSIX;
/// Codes of the calls of this folder, as each of them names its own.
VKCORE_EXPORT extern const CFStringRef kCFErrorDomainCocoa;

/// Keys of the table: a text for people, and one for developers.
VKCORE_EXPORT extern const CFStringRef kCFErrorLocalizedDescriptionKey;
VKCORE_EXPORT extern const CFStringRef kCFErrorDebugDescriptionKey;

[[nodiscard]] VKCORE_EXPORT CFTypeID CFErrorGetTypeID();

/// `userInfo` may be null, which counts as an empty table; it is retained, so it must not change. A null
/// domain stops the program.
[[nodiscard]] VKCORE_EXPORT CFErrorRef CFErrorCreate(CFAllocatorRef allocator, CFStringRef domain,
                                                     CFIndex code, CFDictionaryRef userInfo);

[[nodiscard]] VKCORE_EXPORT CFStringRef CFErrorGetDomain(CFErrorRef error);
[[nodiscard]] VKCORE_EXPORT CFIndex CFErrorGetCode(CFErrorRef error);

/// The table, never null.
[[nodiscard]] VKCORE_EXPORT CFDictionaryRef CFErrorCopyUserInfo(CFErrorRef error);

/// The table's text for people or for developers, or else "<domain> error <code>"; never null.
[[nodiscard]] VKCORE_EXPORT CFStringRef CFErrorCopyDescription(CFErrorRef error);

} // extern "C"
