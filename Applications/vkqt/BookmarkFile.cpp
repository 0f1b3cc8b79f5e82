// Reading and writing the list; what a bookmark means the library knows.
#include "BookmarkFile.h"

#include "Items.h"

#include <VKBookmark.h>
#include <VKCoreKit/VKCoreKit.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace VKTool {

namespace {

bool isOfType(const void* value, CFTypeID type) { return value != nullptr && CFGetTypeID(value) == type; }

VKStatus take(const void* value, std::vector<BookmarkInfo>& bookmarks) {
    if (!isOfType(value, CFDictionaryGetTypeID())) {
        return kVKStatusNotUnderstood;
    }
    // Lists are read with containers that may be changed.
    const auto info = static_cast<CFMutableDictionaryRef>(const_cast<void*>(value)); // NOLINT
    if (!isOfType(CFDictionaryGetValue(info, kBookmarkPath), CFStringGetTypeID()) ||
        CFDictionaryContainsKey(info, kBookmarkFile) == 0) {
        return kVKStatusIncompleteBookmark;
    }
    bookmarks.push_back(BookmarkInfo::retain(info));
    return kVKStatusSuccess;
}

VKStatus takeAll(CFPropertyListRef root, std::vector<BookmarkInfo>& bookmarks) {
    if (!isOfType(root, CFArrayGetTypeID())) {
        return take(root, bookmarks);
    }
    const auto array = static_cast<CFArrayRef>(root);
    VKStatus status = kVKStatusSuccess;
    for (CFIndex i = 0; i < CFArrayGetCount(array) && status == kVKStatusSuccess; ++i) {
        status = take(CFArrayGetValueAtIndex(array, i), bookmarks);
    }
    return status;
}

} // namespace

VKStatus readBookmarks(const VKQtPath& file, std::vector<BookmarkInfo>& bookmarks) {
    const auto url = VKCFRef<CFURLRef>::adopt(file.createCFUrl());
    if (!url) {
        return kVKStatusNotConvertible;
    }
    VKCFRef<CFDataRef> content;
    VKStatus status =
        VKFileMgrGetFileContentsWithLimitCopy(url.get(), kCFPropertyListByteLimit, content.out());
    if (status != kVKStatusSuccess) {
        return status;
    }
    const auto root = VKCFRef<CFPropertyListRef>::adopt(CFPropertyListCreateWithData(
        kCFAllocatorDefault, content.get(), kCFPropertyListMutableContainers, nullptr, nullptr));
    if (!root) {
        return kVKStatusNotUnderstood;
    }
    std::vector<BookmarkInfo> found;
    status = takeAll(root.get(), found);
    if (status == kVKStatusSuccess) {
        bookmarks = std::move(found);
    }
    return status;
}

VKStatus writeBookmarks(const VKQtPath& file, const std::vector<BookmarkInfo>& bookmarks) {
    const auto url = VKCFRef<CFURLRef>::adopt(file.createCFUrl());
    if (!url) {
        return kVKStatusNotConvertible;
    }
    const auto array = VKCFRef<CFMutableArrayRef>::adopt(
        CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks));
    for (const BookmarkInfo& info : bookmarks) {
        CFArrayAppendValue(array.get(), info.get());
    }
    const auto xml = VKCFRef<CFDataRef>::adopt(VKUtilsCreateXMLData(kCFAllocatorDefault, array.get()));
    return xml ? VKFileMgrWriteFileContents(xml.get(), url.get()) : kVKStatusNotConvertible;
}

BookmarkFileLock::BookmarkFileLock(const VKQtPath& file)
    : mFolder(::open(bytesOnDisk(file.pathOnly()).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    int result = mFolder < 0 ? -1 : ::flock(mFolder, LOCK_EX);
    while (mFolder >= 0 && result != 0 && errno == EINTR) {
        result = ::flock(mFolder, LOCK_EX);
    }
    if (result != 0) {
        mStatus = static_cast<VKStatus>(errno);
    }
}

BookmarkFileLock::~BookmarkFileLock() {
    if (mFolder >= 0) {
        ::close(mFolder);
    }
}

} // namespace VKTool
