// A file of bookmarks: an XML property list, an array of the dictionaries that the library's bookmarks keep.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKStatus.h>
#include <VKQtPath.h>

#include <vector>

namespace VKTool {

/// One bookmark's dictionary; keys that the tool does not know are kept.
using BookmarkInfo = VKCFRef<CFMutableDictionaryRef>;

/// The bookmarks of a file in their order; a file that holds one dictionary alone has one. 1003 for any other
/// content, 1009 for a dictionary without a path or kind, 27 for more than a property list may have; the errno,
/// 2 when there is no file. `bookmarks` changes only on success.
[[nodiscard]] VKStatus readBookmarks(const VKQtPath& file, std::vector<BookmarkInfo>& bookmarks);

/// Replaces the file's content, or makes the file; after a failure the old one is whole.
[[nodiscard]] VKStatus writeBookmarks(const VKQtPath& file, const std::vector<BookmarkInfo>& bookmarks);

/// Keeps other runs of the tool from changing the file while the object lives; waits for one that is at it. The
/// lock is on the folder: nothing is left behind, and the system gives it back when the process ends.
class BookmarkFileLock {
public:
    explicit BookmarkFileLock(const VKQtPath& file);
    BookmarkFileLock(const BookmarkFileLock&) = delete;
    BookmarkFileLock& operator=(const BookmarkFileLock&) = delete;
    ~BookmarkFileLock();

    /// Success, or the errno: 2 when the folder is missing.
    [[nodiscard]] VKStatus status() const { return mStatus; }

private:
    int mFolder;
    VKStatus mStatus = kVKStatusSuccess;
};

} // namespace VKTool
