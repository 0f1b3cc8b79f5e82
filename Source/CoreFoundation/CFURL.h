// Counted URLs: a text, kept as it was given, and perhaps a base. A file URL made from a path carries the
// path's bytes, percent-encoded, whether or not they are UTF-8.
//
// Equality and hash are those of the text and of the base: file:///a, file:///a/, file:/a, FILE:///a and
// file://localhost/a all differ, as do %c3 and %C3, and a relative URL and its absolute form. Nothing is
// looked up on a disk, normalized or collapsed; "." and ".." go when a relative URL is resolved against its
// base.
#pragma once

#include "CoreFoundation/CFBase.h"

extern "C" {

using CFURLRef = const struct CFURLObject*;

using CFURLPathStyle = CFIndex;
/// How a path is written. kCFURLHFSPathStyle is known as a name only: every call answers null for it.
enum : CFURLPathStyle { kCFURLPOSIXPathStyle = 0, kCFURLHFSPathStyle = 1, kCFURLWindowsPathStyle = 2 };

[[nodiscard]] VKCORE_EXPORT CFTypeID CFURLGetTypeID();

/// A URL from its text. Nothing is escaped: null for a text with a character that a URL cannot have (space,
/// control, non-ASCII, `^ | < > " \ { }` and the backtick, brackets outside a host), for "%" without two
/// hexadecimal digits, and for a null string. "" is a URL without a path. `base` (null for none) is retained,
/// and ignored by a text with a scheme.
[[nodiscard]] VKCORE_EXPORT CFURLRef CFURLCreateWithString(CFAllocatorRef allocator, CFStringRef text,
                                                           CFURLRef base);

/// A file URL from a path. `isDirectory` decides about the final "/", whatever the path says. Null for "",
/// for an unknown style, and for text with a NUL or an unpaired surrogate: what a file system would make of
/// those is another file's name. A null path stops the program.
///
///     "/a b/é", false -> file:///a%20b/%C3%A9     "/a/", false -> file:///a     "/a", true -> file:///a/
///     "//s/a", false  -> file:////s/a             "/", either  -> file:///      "/a%41" -> file:///a%2541
///     "a", false      -> a      base: the folder that is current now, as file:///current/folder/; no base
///                               when that folder is gone
///     Windows style "C:\a b" -> file:///C:/a%20b      "\\srv\f" -> file://///srv/f
[[nodiscard]] VKCORE_EXPORT CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator, CFStringRef path,
                                                                   CFURLPathStyle style, Boolean isDirectory);

/// As CFURLCreateWithFileSystemPath in POSIX style, from the path's bytes, which need not be UTF-8. Null for
/// null, no bytes, a negative length and a NUL among them.
[[nodiscard]] VKCORE_EXPORT CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef allocator,
                                                                             const UInt8* bytes,
                                                                             CFIndex length,
                                                                             Boolean isDirectory);

/// The URL's own text, without the base: the string that it was made from, if it was. It stays the URL's.
[[nodiscard]] VKCORE_EXPORT CFStringRef CFURLGetString(CFURLRef url);

/// The base, which stays the URL's; null if there is none.
[[nodiscard]] VKCORE_EXPORT CFURLRef CFURLGetBaseURL(CFURLRef url);

/// The URL resolved against its base: the same one, retained, if it has none. Dot segments of a relative path
/// go with that, but for ".." above the root. Null when the base has no path to resolve in (mailto:x).
///
///     "a" in file:///x/y -> file:///x/a       "a" in file:///x/y/ -> file:///x/y/a
///     "../a" in file:///w/ -> file:///a       "?q" in file:///x/y -> file:///x/y?q
///     "/a" -> file:///a       "//h/z" -> file://h/z       "" -> the base
[[nodiscard]] VKCORE_EXPORT CFURLRef CFURLCopyAbsoluteURL(CFURLRef url);

/// The path of the URL's own text (a relative one is not resolved), unescaped, without a final "/". Null when
/// there is no path, when it has a NUL or is not UTF-8, and for an unknown style.
[[nodiscard]] VKCORE_EXPORT CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style);

/// Writes the path's bytes, without a final "/", and a NUL to `buffer` of `bufferSize` bytes; of the absolute
/// URL if `resolveAgainstBase`. False when there is no path, it has a NUL, it is not UTF-8 although the URL
/// was made from text, or it does not fit with its NUL: the buffer is then an empty text, or untouched if its
/// size is 0 or less. The scheme is not looked at: http://h/p gives /p.
[[nodiscard]] VKCORE_EXPORT Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase,
                                                                     UInt8* buffer, CFIndex bufferSize);

/// Whether the path is a folder's: made as one, or, in a URL made from text, ending in "/", "/." or "/..".
/// The root made from the path "/" as a file is deliberately none: the maker's word decides.
[[nodiscard]] VKCORE_EXPORT Boolean CFURLHasDirectoryPath(CFURLRef url);

/// The scheme as written, the base's for a relative URL; null if there is none.
[[nodiscard]] VKCORE_EXPORT CFStringRef CFURLCopyScheme(CFURLRef url);

/// The host, unescaped, without user, port or brackets; the base's for a relative URL; null when absent or
/// empty.
[[nodiscard]] VKCORE_EXPORT CFStringRef CFURLCopyHostName(CFURLRef url);

/// The unescaped last component: "/" for the root; null without a path or if it is not UTF-8.
[[nodiscard]] VKCORE_EXPORT CFStringRef CFURLCopyLastPathComponent(CFURLRef url);

/// What follows the last "." of the last component: null if nothing does, or nothing is before it.
///
///     "/a.tar.gz" -> "gz"     "/a.jpg/" -> "jpg"     "/.hidden", "/a.", "/.." -> null
[[nodiscard]] VKCORE_EXPORT CFStringRef CFURLCopyPathExtension(CFURLRef url);

/// A copy with one more component at the end of the path, escaped; slashes around it are not doubled, and
/// `isDirectory` decides about a final "/". Query, fragment and base stay. Null when the URL has neither
/// path nor host, or the component has a NUL or an unpaired surrogate.
[[nodiscard]] VKCORE_EXPORT CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef allocator,
                                                                           CFURLRef url,
                                                                           CFStringRef component,
                                                                           Boolean isDirectory);

/// A copy without the last component, as a folder: "/a/b" and "/a/b/" give "/a/"; "a" gives "./"; the root
/// stays; after "." or ".." a "../" is added instead. Query and fragment go. Null without a path.
[[nodiscard]] VKCORE_EXPORT CFURLRef CFURLCreateCopyDeletingLastPathComponent(CFAllocatorRef allocator,
                                                                              CFURLRef url);

} // extern "C"
