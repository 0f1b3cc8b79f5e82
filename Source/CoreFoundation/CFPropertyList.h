// Property lists: strings, data, arrays, dictionaries with string keys, numbers, booleans and dates as one
// document, in the XML form, version 1.0 (the document type is "PropertyList-1.0.dtd").
//
//     <plist version="1.0"><dict><key>file</key><integer>1</integer></dict></plist>
#pragma once

#include "CoreFoundation/CFData.h"
#include "CoreFoundation/CFError.h"

extern "C" {

/// A string, data, array, dictionary, number, boolean or date.
using CFPropertyListRef = CFTypeRef;

using CFPropertyListFormat = CFIndex;
enum : CFPropertyListFormat { kCFPropertyListXMLFormat_v1_0 = 100 };

/// What a list that was read may have done to it.
enum : CFOptionFlags {
    kCFPropertyListImmutable = 0,
    kCFPropertyListMutableContainers = 1 << 0,
    kCFPropertyListMutableContainersAndLeaves = 1 << 1, ///< strings and data too
};

/// Codes in kCFErrorDomainCocoa.
enum : CFIndex {
    kCFPropertyListReadCorruptError = 3840,
    kCFPropertyListWriteStreamError = 3851,
};

/// The most bytes that are read as one list.
constexpr CFIndex kCFPropertyListByteLimit = CFIndex{16} * 1024 * 1024;
/// How many arrays and dictionaries may lie inside each other, in reading and in writing.
constexpr CFIndex kCFPropertyListDepthLimit = 512;

/// The list as XML bytes in UTF-8: keys sorted by UTF-16 unit, one tab for each level, data in lines of
/// base64. Texts are written as they are, control characters included, with `&`, `<` and `>` escaped.
///
/// Null, and `*error` (if `error` is not null; the caller releases it) with kCFPropertyListWriteStreamError,
/// for a null list, another format, a value of another type, a key that is no string, an unpaired surrogate,
/// a date outside the years -9999999 to 9999999, and nesting over kCFPropertyListDepthLimit. The options are
/// not looked at.
[[nodiscard]] VKCORE_EXPORT CFDataRef CFPropertyListCreateData(CFAllocatorRef allocator,
                                                               CFPropertyListRef list,
                                                               CFPropertyListFormat format,
                                                               CFOptionFlags options, CFErrorRef* error);

/// The list that XML bytes say, with one reference; `*format` (may be null) becomes
/// kCFPropertyListXMLFormat_v1_0. Null, and `*error` (if `error` is not null; the caller releases it) with
/// kCFPropertyListReadCorruptError and a text for developers that names the line, for anything else.
///
/// Strict: well-formed XML with one value, in a `plist` element or alone. Refused: more than
/// kCFPropertyListByteLimit bytes, nesting over kCFPropertyListDepthLimit, a tag of more than 1024 characters, a
/// document type with declarations of its own, unknown elements, text between elements, comments inside a value,
/// a dictionary that is not made of pairs, content after the end, and numbers that this library's cannot hold
/// (integers outside 64 bits with sign). Of equal keys the last one counts. Texts keep their white space and line ends; control characters,
/// which XML does not allow but CFPropertyListCreateData() writes, are read back. A date's fields may be out of
/// range (the 30th of February is the 1st or 2nd of March); characters that are not base64 are skipped in data.
/// Encodings: UTF-8, UTF-16 with a byte-order mark, ISO-8859-1, as the text declares.
[[nodiscard]] VKCORE_EXPORT CFPropertyListRef CFPropertyListCreateWithData(CFAllocatorRef allocator,
                                                                           CFDataRef data,
                                                                           CFOptionFlags options,
                                                                           CFPropertyListFormat* format,
                                                                           CFErrorRef* error);

} // extern "C"
