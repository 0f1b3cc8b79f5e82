// Files and folders by URL. A path's text becomes a URL that holds the bytes of the name on disk by the first
// function, and every file operation takes that URL. Functions block as the disk does; any thread.
#pragma once

#include "CoreFoundation/VKCoreExport.h"

#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/VKStatus.h>

#include <cstdint>

/// A new file URL for a path, or null when the text is null or empty, or holds a NUL or an unpaired
/// surrogate.
///
/// The URL carries the bytes of the name on disk. Where an item with the text's bytes in Unicode form C
/// exists, or none at all, these are they; where only a differently spelled one exists (decomposed, or not
/// UTF-8 and shown with U+FFFD), that one's. When several such items answer to the text and none is in form
/// C, none is taken. `isFolder` makes it a folder's URL, which ends in "/". A text of ASCII without 'K', ';'
/// and '`' costs no system call.
VKCORE_EXPORT CFURLRef VKFileMgrCreateFileSystemRepresentation(CFStringRef path, bool isFolder);

/// The path of a file URL as text, NUL-terminated UTF-16 in the machine's byte order from malloc: the caller
/// calls free(). Bytes that are not UTF-8 show as U+FFFD; nothing is normalised; a folder has no final "/"
/// (but the root). Null when the URL is null, names no file, or memory is short.
VKCORE_EXPORT UniChar* VKFileMgrGetFileSystemRepresentationUnicharCopy(CFURLRef url);

/// The same as a new string that the caller releases.
VKCORE_EXPORT CFStringRef VKFileMgrGetFileSystemRepresentationCopy(CFURLRef url);

/// Whether the item exists. A symbolic link is an item, whether or not what it names exists. False for a null
/// URL and where a folder on the way cannot be searched.
VKCORE_EXPORT bool VKFileMgrPathExists(CFURLRef url);

enum class VKItemKind : std::uint8_t {
    Unknown, ///< only in folder entries: the file system did not say; ask for the details
    File,
    Folder,
    Link,
    Special, ///< fifo, socket or device
};

/// Times are milliseconds since 1970-01-01 UTC, rounded down; 0 and not known when the file system has none.
struct VKItemDetails {
    VKItemKind kind = VKItemKind::Unknown;
    std::int64_t sizeInBytes = 0;
    std::int64_t createdMs = 0;
    std::int64_t modifiedMs = 0;
    bool createdKnown = false;
    bool modifiedKnown = false;
};

/// Kind, size and times by one system call. A link is asked about itself unless `followLinks`. Statuses: 1005
/// for null pointers, 1002 when the URL names no file, otherwise the errno. `*details` changes only on
/// success.
VKCORE_EXPORT VKStatus VKFileMgrGetItemDetails(CFURLRef url, bool followLinks, VKItemDetails* details);

/// Whether the file system that holds the item is on this machine: `*local` is false for one that gets its
/// files over a network. A link is followed. 1005 for null pointers, 1002 when the URL names no file, 1070
/// when the system cannot tell, as for a missing item. `*local` changes only on success.
VKCORE_EXPORT VKStatus VKFileMgrGetLocal(CFURLRef url, bool* local);
