// Small helpers over CoreFoundation values. Any thread; only the question about the graphics card touches the disk.
#pragma once

#include "CoreFoundation/VKCoreExport.h"

#include <CoreFoundation/CoreFoundation.h>

#include <cstddef>
#include <cstdint>

/// The string's UTF-16 units in the machine's byte order, NUL-terminated, from malloc: the caller calls
/// free(). An embedded NUL is copied like any other unit. Null when the string is null or memory is short.
VKCORE_EXPORT UniChar* VKUtilsGetUniCharStringCopy(CFStringRef string);

/// A new string in Unicode form C that the caller releases; null for null.
VKCORE_EXPORT CFStringRef VKUtilsCreatePrecomposedStringWithCanonicalMapping(CFStringRef string);

/// The CRC-32 (the one of zip, PNG and Ethernet) of the string's UTF-8 form, continued from `seed`: 0 to
/// begin, a former result to go on. Null and empty strings give the seed. An unpaired surrogate counts as
/// U+FFFD.
VKCORE_EXPORT std::uint32_t VKUtilsCRC32(std::uint32_t seed, CFStringRef string);

/// The same of bytes. `VKUtilsCRC32Std(0, "123456789", 9)` is 0xCBF43926. Null or no bytes give the seed.
VKCORE_EXPORT std::uint32_t VKUtilsCRC32Std(std::uint32_t seed, const void* bytes, std::size_t size);

/// How a CF array treats counted objects: it takes a reference to each with AddRef() and gives it back with Release().
/// The elements are `CBaseCore*`, never null. The table lives as long as the program.
[[nodiscard]] VKCORE_EXPORT const CFArrayCallBacks* VKUtilsGetArrayCallbacks() noexcept;

/// A new random identifier: 36 characters, lower-case hexadecimal in the groups 8-4-4-4-12. The caller
/// releases it.
VKCORE_EXPORT CFStringRef VKUtilsCreateUniqueIDString();

/// The property list as XML bytes (see CFPropertyListCreateData()), which the caller releases; null when it is
/// no property list. The allocator is not looked at: 0.
VKCORE_EXPORT CFDataRef VKUtilsCreateXMLData(CFAllocatorRef allocator, CFPropertyListRef list);

/// Stores an int as a number. A null dictionary or key changes nothing.
VKCORE_EXPORT void VKUtilsCFDictionarySetValueInt(CFMutableDictionaryRef dictionary, CFStringRef key,
                                                  int value);

/// The number of that key as an int; 0 when the dictionary or the key is null or missing, and when the value
/// is not a number or does not fit.
VKCORE_EXPORT int VKUtilsCFDictionaryGetValueInt(CFDictionaryRef dictionary, CFStringRef key);

/// How VKUtilsCFStringContains() compares.
inline constexpr std::uint32_t kVKUtilsContainsAnyCase = 0; ///< letters without regard to their case
inline constexpr std::uint32_t kVKUtilsContainsExact = 1;   ///< letters as they are

/// Whether `part` stands somewhere in `string`. The empty part stands in every string; null in none, and nothing in
/// null.
///
///     "NVIDIA Corporation" "nvidia" 0 -> true      the same with 1 -> false
[[nodiscard]] VKCORE_EXPORT bool VKUtilsCFStringContains(CFStringRef string, CFStringRef part,
                                                         std::uint32_t options);

/// The graphics card's name, as VKMachineFact::GraphicsCard. The caller releases it; null when the machine has no card
/// that it tells about.
[[nodiscard]] VKCORE_EXPORT CFStringRef VKUtilsGetVideoCardCopy();
