// Bookmark data with statuses, progress and the sandbox's grants; CFURLBookmark.h has the plain calls. What
// survives what stands in Documentation/Bookmarks.md. Any thread; touches the disk.
#pragma once

#include "CoreFoundation/CFData.h"
#include "CoreFoundation/CFString.h"
#include "CoreFoundation/CFURL.h"
#include "CoreFoundation/VKCoreExport.h"

#include <VKCoreKit/VKProgress.h>
#include <VKCoreKit/VKStatus.h>

/// Bookmark data of the item that a file chooser returned, in one call: `url` is the text of its URL
/// ("file:///home/anna/a.jpg", in a Flatpak "file:///run/user/1000/doc/9c3e/a.jpg"). The caller releases `*data`,
/// which changes only on success. 1005 for null, 1002 for a text that is no file's URL, errno when there is no
/// such item.
[[nodiscard]] VKCORE_EXPORT VKStatus VKFileMgrCreateBookmarkFromChooser(CFStringRef url, CFDataRef* data);

/// CFURLCreateByResolvingBookmarkData() with a status, and a search for a moved item that ends as soon as
/// `progress` (may be null) is cancelled: 1007. `*url`, which the caller releases, and `*isStale` (may be null)
/// change only on success. 1005 for null.
[[nodiscard]] VKCORE_EXPORT VKStatus VKFileMgrResolveBookmark(CFDataRef data, VKProgress* progress,
                                                              CFURLRef* url, bool* isStale);

enum class VKFileRights {
    Read,
    ReadAndWrite, ///< also makes new files beside it, for a save that replaces it
};

/// For processes outside a sandbox: bookmark data that the sandboxed application of this identifier
/// ("org.example.Photo") can resolve, too. Registers the item with the desktop's document portal and grants it to
/// the application, for good; waits for the portal for five seconds at most. 1005 for null, 1002 when the URL
/// names no file, ENOTCONN (107) when there is no portal, errno otherwise.
[[nodiscard]] VKCORE_EXPORT VKStatus VKFileMgrGrantBookmark(CFURLRef url, CFStringRef application,
                                                            VKFileRights rights, CFDataRef* data);

/// Takes the grant of such data from the application again. It notices at once; what it has open stays open.
/// EINVAL (22) for data that carries no grant. Otherwise as above.
[[nodiscard]] VKCORE_EXPORT VKStatus VKFileMgrWithdrawBookmark(CFDataRef data, CFStringRef application);
