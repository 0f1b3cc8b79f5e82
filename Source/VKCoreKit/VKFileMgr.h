// Files and folders by URL. A path's text becomes a URL that holds the bytes of the name on disk by the first
// function, and every file operation takes that URL. Functions block as the disk does; any thread.
#pragma once

#include "CoreFoundation/VKCoreExport.h"

#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/VKProgress.h>
#include <VKCoreKit/VKStatus.h>
#include <VKCoreKit/VKTypes.h>

#include <cstdint>

/// A new file URL for a path, or null when the text is null or empty, or holds a NUL or an unpaired
/// surrogate.
///
/// The URL carries the bytes of the name on disk. Where an item with the text's bytes in Unicode form C
/// exists, or none at all, these are they; where only a differently spelled one exists (decomposed, or not
/// UTF-8 and shown with U+FFFD), that one's. When several such items answer to the text and none is in form
/// C, none is taken. `isFolder` makes it a folder's URL, which ends in "/". A text of ASCII without 'K', ';'
/// and '`' costs no system call.
///
/// A relative text is one of the folder that is current now. Its ".." are left to the system, for which the parent
/// of a link is the parent of what it names: such a text gives an absolute URL with the ".." in it.
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

// Making, copying, moving, deleting. Statuses of all of them: 1005 for a null URL, 1002 for one that names no
// file, otherwise those that are told, or the errno. A call that fails leaves the disk as it was, unless told.

/// Makes the folder and those above it that are missing (mode 0777 less the process's mask). 0 when it is a
/// folder already, or a link to one; 17 when something else has the name, 20 when something else stands in the
/// way. Folders that were made before a failure are removed again.
VKCORE_EXPORT VKStatus VKFileMgrCreateDirectory(CFURLRef url);

/// Deletes a file, a link (never what it names), or a folder with everything in it. Does not follow links,
/// does not enter another file system, and refuses the root, the home folder and a mount point (16). A tree
/// that holds one of these, or a folder that may not be read or changed (13, 1, 30), is refused before anything
/// is deleted. 2 when there is nothing. Any other failure ends the work where it is: what was deleted before
/// stays deleted.
VKCORE_EXPORT VKStatus VKFileMgrDeleteFolder(CFURLRef url);

/// Deletes a file or a link. 21 for a folder, 2 when there is nothing.
VKCORE_EXPORT VKStatus VKFileMgrDeleteFile(CFURLRef url);

/// Copies one file: content with its holes, times to the nanosecond, mode, access lists and user attributes,
/// by sharing extents where the file system can. What the destination's file system cannot keep, an attribute that
/// is too long for it included, is left out. A link is copied as a link. The final name appears only when the content
/// is whole. 17 when the destination exists (it stays as it is), 21 for a folder, 95 for a fifo,
/// socket or device.
VKCORE_EXPORT VKStatus VKFileMgrCopyFile(CFURLRef from, CFURLRef to);

/// The same, cancellable: `progress` (may be null) is looked at at least every 100 ms while bytes move, and
/// told of the bytes (see VKProgressSetByteObserver). 1007 once cancelled; then nothing is left at `to`.
VKCORE_EXPORT VKStatus VKFileMgrCopyFileWithProgress(CFURLRef from, CFURLRef to, VKProgress* progress);

/// Copies the content of a folder into `to`, which is made if it is missing. In stages: scan (0 steps),
/// folders, files; with `progress` each finished folder and file is reported to it, and a non-zero answer
/// ends the copy with that status. Links are copied as links and never followed; hidden entries, fifos,
/// sockets and devices are left out. A missing source gives an empty destination and 0. Two threads at most,
/// which end before the call does; the observer is called on the calling thread only. Does not clean up:
/// after a failure `to` holds what was made.
VKCORE_EXPORT VKStatus VKFileMgrCopyFolder(CFURLRef from, CFURLRef to, VKProgress* progress);

/// Gives the item a new place and name. One step inside a file system; from one to another it is copied and
/// flushed first and then deleted, so that the source or the destination is whole at every moment. 17 when
/// the destination exists (nothing is touched), 22 for a folder into itself, 2 when there is nothing.
///
/// From one file system to another also: 95 for what is or holds a fifo, socket or device, 16 for what is or
/// holds a mount point; 16 when somebody changed the source meanwhile, which then stays, without a copy. Only a
/// removal of the source that fails after it began leaves both: the destination, which is whole, and of the
/// source what could not go (39: somebody added to it meanwhile).
///
/// A new spelling of its own name in another case is a new name where case counts, and changes the spelling where
/// it does not; 95 where the file system keeps the old one.
VKCORE_EXPORT VKStatus VKFileMgrMoveFile(CFURLRef from, CFURLRef to);

/// The same; `progress` (may be null) hears of bytes that are copied and can cancel until they all are: 1007, and
/// the source is untouched.
VKCORE_EXPORT VKStatus VKFileMgrMoveFileWithProgress(CFURLRef from, CFURLRef to, VKProgress* progress);

/// A name for an item beside `place` (the item whose copy is to be named) that does not exist at the moment,
/// as a URL that the caller releases: `name` itself if it is free, then "name copy.ext", "name copy 2.ext"...
/// with `copyWord` for "copy". At most 255 bytes, cut between characters. `isFile` false keeps the dots of a
/// folder's name together and makes a folder URL. `firstNumber` 0 begins with the name itself. Whoever creates
/// the item does it exclusively: another process may take the name first.
///
///     "a.jpg"        -> "a copy.jpg"        "b.tar.gz" -> "b copy.tar.gz"      ".profile" -> ".profile copy"
///     "a copy 3.jpg" -> "a copy 4.jpg"      folder "2026.11" -> "2026.11 copy"
///
/// A name is taken when an item has it in any spelling that the same path leads to. Null when an argument is null
/// or no name can be made: a name that is empty, ".", ".." or has a "/", an empty word, a negative number, no room
/// for a character of the name, a folder that does not tell, 100,000 names taken.
VKCORE_EXPORT CFURLRef VKFileMgrCreateUniquePathName(CFURLRef place, CFStringRef name, bool isFile,
                                                     CFStringRef copyWord, int firstNumber);

/// Replaces the whole content of the file, or creates it (mode 0666 less the mask), atomically: the old file
/// stays whole until the new one is stored. Mode, access lists and user attributes of an existing file are
/// kept; a link is honoured. 1005 for null data, 21 for a folder, 95 for a fifo, socket or device, 13 for a file
/// without write permission, 28 on a full disk. Other hard links of the file keep the old content.
VKCORE_EXPORT VKStatus VKFileMgrWriteFileContents(CFDataRef data, CFURLRef url);

/// The whole content as a new data object that the caller releases. 27 when it is longer than the limit that
/// VKFileMgrSetReadLimit() sets; 21 for a folder, 95 for a fifo, socket or device (which is not waited for). A file
/// that grows or shrinks meanwhile gives what was there, without a guarantee that it was there at one moment.
/// `*out` is null after a failure.
VKCORE_EXPORT VKStatus VKFileMgrGetFileContentsCopy(CFURLRef url, CFDataRef* out);

/// The same with a limit of the caller's own, in bytes.
VKCORE_EXPORT VKStatus VKFileMgrGetFileContentsWithLimitCopy(CFURLRef url, std::uint64_t limitInBytes,
                                                             CFDataRef* out);

/// The most that VKFileMgrGetFileContentsCopy() reads, in bytes: 2 GiB at first. Process-wide, any thread.
VKCORE_EXPORT void VKFileMgrSetReadLimit(std::uint64_t limitInBytes) noexcept;

// Recycling, in the layout of the freedesktop.org trash specification 1.0, so that the desktop's own tools list
// and restore these items and these calls theirs. The bin is the one of the home folder for items on the same
// mount, otherwise one at the root of the volume. Items are renamed only: never copied, never overwritten.
// Sizes of folders in a bin are not written down (finding them would cost a walk through the folder); a line
// that another program wrote is removed when its folder is restored.

/// Moves the item into its volume's recycle bin, which is made where it is missing; `*recycled` (may be null)
/// becomes its URL there, a folder's if `url` is one, which the caller releases; null after a failure.
///
/// - 1007: the volume has no bin for it: it is read-only, a system's or a network's, or no bin can be made
///   there by this user. The caller may then delete, if the user says so.
/// - 2: nothing is there.
/// - 16: the root, the home folder, a mount point, a bin, an item in one, or a folder around one of these.
/// - 13 or 1: the item's folder does not let it go (no write permission, another user's item in a shared
///   folder, an immutable item), or the item is a folder that this user may not write.
/// - 28: the volume is too full for the item's record.
/// - 11: another program emptied the bin again and again meanwhile.
VKCORE_EXPORT VKStatus VKFileMgrRecycleItemCopy(CFURLRef url, CFURLRef* recycled);

/// Whether VKFileMgrRecycleItemCopy() would find a bin for the item. Makes nothing. Does not tell whether the
/// item's folder lets it go. False for a missing item and where that call answers 16.
VKCORE_EXPORT bool VKFileMgrCanRecycleItem(CFURLRef url);

/// Takes an item out of the bin: to `target`, or, null, to the place that it came from. Missing folders are
/// made. 17 when something is there, nothing is touched then; 2 when the item is no longer in the bin; 1003
/// when its record does not tell a place; 1005 when the URL is not that of an item in a bin; 1 when the bin is
/// another user's; 18 when the target is on another volume (restore it to the remembered place and move it).
VKCORE_EXPORT VKStatus VKFileMgrRestoreRecycledItem(CFURLRef recycled, CFURLRef target);

/// An item of a bin. The URLs are lent for the duration of the call that shows it.
struct VKRecycledItem {
    CFURLRef url = nullptr;      ///< what VKFileMgrRestoreRecycledItem() takes
    CFURLRef original = nullptr; ///< where it came from; null when its record does not tell
    VKItemKind kind = VKItemKind::Unknown;
    bool deletedKnown = false;
    std::int64_t deletedMs = 0; ///< since 1970-01-01 UTC, from a local time to the second; 0 when not known
};

/// Shown one item; false ends the listing. Must not throw.
using VKRecycledItemHandler = bool (*)(const VKRecycledItem& item, void* context);

/// Shows the items in this user's bins, in no order: in those that items of `folder` go to, or, null, in the
/// home bin and those of all mounted volumes but a network's and one that another program serves and that does not
/// answer within half a second. A bin that cannot be read is passed over when all are asked for. Records longer than
/// 64 KiB tell nothing. 1005 for a null handler, 1002 for a URL that names no file, otherwise 0 or the errno.
VKCORE_EXPORT VKStatus VKFileMgrListRecycledItems(CFURLRef folder, VKRecycledItemHandler handler,
                                                  void* context);

// Folders and facts.

/// Kinds of well-known folders. A number that is not in the list has no folder, 1007, unless
/// VKFileMgrSetFolderPath() gives it one.
enum VKFolderType : std::int32_t {
    kVKFolderUserAppData = 2,     ///< per-user application data: $XDG_DATA_HOME/VK
    kVKFolderUserCaches = 4,      ///< per-user caches: $XDG_CACHE_HOME/VK
    kVKFolderCloudDocuments = 6,  ///< the product's documents in the cloud; its parent is the mobile root
    kVKFolderTemporaryItems = 14, ///< $TMPDIR, or /tmp
    kVKFolderRawWork = 16,        ///< where the folder "+raw" is made: beside the application data
};

/// A well-known folder as a new URL that the caller releases, with `subfolder` (may be null) appended. The
/// folder itself is made where it is a place to write; the subfolder and the cloud documents are not. `domain`
/// is for the platform and null by default. 1007 when this machine has no such folder; 1005 for null `url`; 1002
/// for a subfolder that can name no file; otherwise the errno. `*url` is null after a failure.
VKCORE_EXPORT VKStatus VKFileMgrGetFolderPathCopy(void* domain, VKFolderType type, CFStringRef subfolder,
                                                  CFURLRef* url);

/// Says where a well-known folder lies from now on in this process; null goes back to the machine's own. Product
/// folders move with kVKFolderUserAppData. Any thread.
VKCORE_EXPORT void VKFileMgrSetFolderPath(VKFolderType type, CFURLRef url);

/// Folders that the desktop keeps for the user's own files.
enum class VKUserFolder : std::uint8_t { Desktop, Documents, Downloads, Music, Pictures, Videos };

/// Where the user has that folder, by the desktop's settings (user-dirs.dirs), as a new URL that the caller
/// releases. It need not exist and is not made. 1007 when the user has switched it off, 1005 for null `url`.
/// `*url` is null after a failure.
VKCORE_EXPORT VKStatus VKFileMgrGetUserFolderCopy(VKUserFolder folder, CFURLRef* url);

/// What a user without privileges may still write on the volume that holds the item, in bytes. For an item that
/// does not exist yet the nearest folder above it answers. 95 where the file system does not count (such as /proc).
/// `*bytes` changes only on success. A dead network mount can block it.
VKCORE_EXPORT VKStatus VKFileMgrGetBytesFreeFromPath(CFURLRef url, unsigned long long* bytes);

/// Whether this process can create items in the folder: permissions, access lists, read-only volumes and immutable
/// folders count. 1025 only where the system does not tell; a missing folder is 2, another item 20, a folder behind
/// one that may not be searched 13. `*writable` is false after a failure.
VKCORE_EXPORT VKStatus VKFileMgrGetFolderWritable(CFURLRef folder, bool* writable);

/// The image's sidecar as a new URL: its name with the suffix replaced by "xmp" (appended where there is no
/// suffix; the dot in front of a hidden name begins none). Nothing needs to exist. The name is looked up on disk
/// like any other; one that is missing is in form C. 1005 for the root.
///
///     "/a.jpg" -> "/a.xmp"     "/a.b.cr2" -> "/a.b.xmp"     "/a" -> "/a.xmp"     "/.hidden" -> "/.hidden.xmp"
VKCORE_EXPORT VKStatus VKFileMgrCreateSidecarPathForImage(CFURLRef image, CFURLRef* sidecar);

/// The version of a bundle (its Info.plist, in XML) or of a shared library (the digits of its real name: links
/// are followed): `*text` (may be null) is a new string that the caller releases, `*info` (may be null) its
/// numbers. 1007 where the item carries none, 1003 where the record is damaged or of another kind, 27 where it is
/// longer than 1 MiB. After a failure `*text` is null and `*info` as it was.
VKCORE_EXPORT VKStatus VKFileMgrGetFileVersionInfoCopy(CFURLRef url, CFStringRef* text, VKVersionInfo* info);

/// Where the installed content of the product lies; null forgets it. Process-wide, any thread.
VKCORE_EXPORT void VKFileMgrSetFactoryContentLocation(CFURLRef folder);

/// What was set, as a new reference that the caller releases; null when nothing was.
VKCORE_EXPORT CFURLRef VKFileMgrGetFactoryContentLocationCopy();

/// The name that a person knows the volume by; null when there is no such volume. The caller releases it.
VKCORE_EXPORT CFStringRef VKFileMgrGetVolumeDisplayNameCopy(CFStringRef volume);

/// The file system's own identifier of the volume that holds the item, as text ("8-4-4-4-12" upper-case
/// hexadecimal where it is a UUID); null when it has none. The caller releases it.
VKCORE_EXPORT CFStringRef VKFileMgrGetVolumeUUIDCopy(CFURLRef url);
