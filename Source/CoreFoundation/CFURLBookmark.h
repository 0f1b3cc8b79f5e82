// Bookmarks: opaque bytes by which a file or folder is found again after a restart, a rename or a move, and
// access to what a sandboxed process was granted. Unlike the other headers of this folder these calls look at
// the disk. Any thread.
#pragma once

#include "CoreFoundation/CFArray.h"
#include "CoreFoundation/CFData.h"
#include "CoreFoundation/CFError.h"
#include "CoreFoundation/CFURL.h"

extern "C" {

using CFURLBookmarkCreationOptions = CFOptionFlags;
enum : CFURLBookmarkCreationOptions {
    /// The bookmark carries the sandbox's grant too.
    kCFURLBookmarkCreationWithSecurityScope = 1 << 11,
};

using CFURLBookmarkResolutionOptions = CFOptionFlags;
enum : CFURLBookmarkResolutionOptions {
    /// The URL can be given to CFURLStartAccessingSecurityScopedResource().
    kCFURLBookmarkResolutionWithSecurityScope = 1 << 10,
};

/// New bookmark data for the item that a file URL names, which the caller releases. Null, and `*error` (if
/// `error` is not null; the caller releases it) when there is no such item or it cannot be described: errno in
/// kCFErrorDomainPOSIX; EINVAL for a URL that names no file. A link is the item itself. The bookmark of a document
/// that a sandbox shows carries its grant. The options and the two arguments in front of `error` are not looked
/// at.
[[nodiscard]] VKCORE_EXPORT CFDataRef CFURLCreateBookmarkData(CFAllocatorRef allocator, CFURLRef url,
                                                              CFURLBookmarkCreationOptions options,
                                                              CFArrayRef resourceProperties,
                                                              CFURLRef relativeTo, CFErrorRef* error);

/// The URL of the bookmarked item as it is now, which the caller releases. `*isStale` (may be null) tells that
/// new data should be made: the item has moved, or another one has taken its place, as a save does; or, in a
/// sandbox, the grant is lost, and the URL names the place where the item shows once it is granted again.
/// Null, and `*error` (if `error` is not null; the caller releases it) with errno in kCFErrorDomainPOSIX: ENOENT
/// when the item is not found, EINVAL for data that is no bookmark (null too), EOPNOTSUPP for data of a later
/// version, ETIMEDOUT when the search for a moved item was given up. `*isStale` then stays as it is.
///
/// Without a search this takes five system calls at most. Looking for a moved item takes a second at most. The
/// options and the two arguments in front of `isStale` are not looked at.
[[nodiscard]] VKCORE_EXPORT CFURLRef CFURLCreateByResolvingBookmarkData(
    CFAllocatorRef allocator, CFDataRef bookmark, CFURLBookmarkResolutionOptions options, CFURLRef relativeTo,
    CFArrayRef resourceProperties, Boolean* isStale, CFErrorRef* error);

/// Whether the process may reach the item now: in a sandbox, whether the grant stands, or, where it needs none,
/// whether the item may be read; outside one, true. It looks each time, so a running process notices a grant that
/// was revoked. False for a URL that names no file, null among them. Each true is to be balanced by a stop.
[[nodiscard]] VKCORE_EXPORT Boolean CFURLStartAccessingSecurityScopedResource(CFURLRef url);

/// The counterpart of a start. Null is fine.
VKCORE_EXPORT void CFURLStopAccessingSecurityScopedResource(CFURLRef url);

} // extern "C"
