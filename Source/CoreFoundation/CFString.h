// Counted text, as UTF-16 code units. Unpaired surrogates and NUL units are kept: it is text, not a file
// name. Equal when the code units are: a precomposed and a decomposed spelling differ (see
// kCFCompareNonliteral).
#pragma once

#include "CoreFoundation/CFBase.h"

extern "C" {

using CFStringEncoding = UInt32;
/// The encodings that are understood; any other number is an unknown encoding.
enum : CFStringEncoding {
    kCFStringEncodingUTF16 = 0x0100,
    kCFStringEncodingUTF16BE = 0x10000100,
    kCFStringEncodingUTF16LE = 0x14000100,
    kCFStringEncodingUTF8 = 0x08000100,
    kCFStringEncodingASCII = 0x0600,
    kCFStringEncodingISOLatin1 = 0x0201
};

using CFStringCompareFlags = CFOptionFlags;
enum : CFStringCompareFlags {
    kCFCompareCaseInsensitive = 1, ///< By full case folding: "ß" and "ss" are equal.
    kCFCompareNonliteral = 16,     ///< Canonically equal spellings are equal; order of code points.
    kCFCompareNumerically =
        64 ///< Runs of ASCII digits by their value: "a9" before "a10", "a010" equals "a10".
};

using CFStringNormalizationForm = CFIndex;
enum : CFStringNormalizationForm {
    kCFStringNormalizationFormD = 0,
    kCFStringNormalizationFormKD = 1,
    kCFStringNormalizationFormC = 2,
    kCFStringNormalizationFormKC = 3
};

[[nodiscard]] VKCORE_EXPORT CFTypeID CFStringGetTypeID();

/// A string of `count` UTF-16 units, copied. 0 gives the empty string (`characters` may be null then); a
/// negative count gives null; null with a positive count stops the program.
[[nodiscard]] VKCORE_EXPORT CFStringRef CFStringCreateWithCharacters(CFAllocatorRef allocator,
                                                                     const UniChar* characters,
                                                                     CFIndex count);

/// A string from NUL-terminated text in UTF-8, ASCII or Latin-1. Null when the bytes are not valid in the
/// encoding (nothing is replaced), or the encoding is unknown or has NUL bytes of its own (UTF-16). A leading
/// UTF-8 byte order mark is removed. A null `text` stops the program.
[[nodiscard]] VKCORE_EXPORT CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char* text,
                                                                  CFStringEncoding encoding);

/// A string from `count` bytes, NULs included. Null when the bytes are not valid, the encoding is unknown or
/// the count negative; null `bytes` with a positive count stop the program. A leading UTF-8 byte order mark
/// is removed.
///
///     UTF-16, not external   host byte order, a byte order mark is kept as U+FEFF
///     UTF-16, external       a byte order mark is obeyed and removed; without one, big-endian
///     UTF-16BE, UTF-16LE     as named, a byte order mark is kept
///
/// An odd last byte of UTF-16 is left out.
[[nodiscard]] VKCORE_EXPORT CFStringRef CFStringCreateWithBytes(CFAllocatorRef allocator, const UInt8* bytes,
                                                                CFIndex count, CFStringEncoding encoding,
                                                                Boolean isExternalRepresentation);

/// An immutable string with this content: the same one, retained, if it is immutable already.
[[nodiscard]] VKCORE_EXPORT CFStringRef CFStringCreateCopy(CFAllocatorRef allocator, CFStringRef string);

/// A mutable string that starts with this content. `maximumLength` is a hint that is not enforced; 0 is "no
/// limit".
[[nodiscard]] VKCORE_EXPORT CFMutableStringRef CFStringCreateMutableCopy(CFAllocatorRef allocator,
                                                                         CFIndex maximumLength,
                                                                         CFStringRef string);

/// The number of UTF-16 units: 2 for a character outside the basic plane.
[[nodiscard]] VKCORE_EXPORT CFIndex CFStringGetLength(CFStringRef string);

/// The unit at `index`; 0 outside the string.
[[nodiscard]] VKCORE_EXPORT UniChar CFStringGetCharacterAtIndex(CFStringRef string, CFIndex index);

/// Copies the units of `range` to `buffer`, which has room for range.length; no terminator. A range that is
/// not inside the string stops the program.
VKCORE_EXPORT void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar* buffer);

/// Writes the text and a NUL to `buffer` of `bufferSize` bytes. UTF-8, ASCII and Latin-1; a NUL in the text
/// is copied through. False when it does not fit with its NUL, cannot be written in the encoding (an unpaired
/// surrogate in UTF-8, any non-ASCII unit in ASCII) or the encoding is another: the buffer is then an empty
/// text, or untouched if its size is 0 or less.
[[nodiscard]] VKCORE_EXPORT Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize,
                                                       CFStringEncoding encoding);

/// The most bytes that `length` UTF-16 units can need, without a terminator: 3 each in UTF-8, 2 in UTF-16, 1
/// in ASCII and Latin-1. kCFNotFound when that overflows, the length is negative or the encoding is unknown.
[[nodiscard]] VKCORE_EXPORT CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length,
                                                                      CFStringEncoding encoding);

/// The order of two strings: by UTF-16 unit and a prefix first, unless the options (kCFCompare..., or-ed;
/// other bits are not looked at) say otherwise. No locale takes part.
///
///     "a" < "ab"   "B" < "a"   "a10" < "a9"   "é" > "f"   U+1F600 < U+FF61 (surrogates sort low)
///     case-insensitive alone: precomposed and decomposed "é" still differ
[[nodiscard]] VKCORE_EXPORT CFComparisonResult CFStringCompare(CFStringRef first, CFStringRef second,
                                                               CFStringCompareFlags options);

/// The decimal integer at the start: white space is skipped, a sign may follow, the first other character
/// ends it; too large a number gives the nearest 32-bit one; no digits give 0.
///
///     "  12abc" -> 12   "-7" -> -7   "99999999999" -> 2147483647   "0x10" -> 0   "1.9" -> 1   "" -> 0
[[nodiscard]] VKCORE_EXPORT SInt32 CFStringGetIntValue(CFStringRef string);

/// Rewrites a mutable string in a Unicode normalization form. Unpaired surrogates and NULs stay where they
/// are. An unknown form, or an immutable string, stops the program.
VKCORE_EXPORT void CFStringNormalize(CFMutableStringRef string, CFStringNormalizationForm form);

/// The value behind CFSTR(): one string per content, which lives for ever. `text` is UTF-8 up to its NUL;
/// anything else stops the program.
[[nodiscard]] VKCORE_EXPORT CFStringRef CFStringMakeConstant(const char* text);

} // extern "C"

/// A constant string from a literal in UTF-8. It lives for ever; equal literals give the same value.
#define CFSTR(literal)                                                                                       \
    ([]() -> CFStringRef {                                                                                   \
        static const CFStringRef sConstant = CFStringMakeConstant("" literal "");                            \
        return sConstant;                                                                                    \
    }())
