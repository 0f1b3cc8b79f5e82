// The registry of bookmark data and checkouts, and the questions that it answers. What a grant is, and whether
// it stands, the calls of CFURLBookmark know.
#include "VKBookmarkManager.h"

#include "VKQtPathUtils.h"
#include "VKQtStringUtils.h"

#include <CoreFoundation/CFURLBookmark.h>
#include <VKCoreKit/VKLog.h>
#include <VKCoreKit/VKProcess.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <vector>

VKBookmarkManager* VKBookmarkManager::sInstance = nullptr;

namespace {

using Url = VKCFRef<CFURLRef>;
using BookmarkData = VKBookmarkManager::BookmarkData;

// A record, and beside it what the registry knows that callers need not: the path of its URL, so that a search
// through thousands of records makes no path.
struct Record : BookmarkData {
    Record(CFDataRef data, bool isEntitled, bool isFolderRecord) {
        bookmark = data != nullptr ? static_cast<CFDataRef>(CFRetain(data)) : nullptr;
        entitled = isEntitled;
        isFolder = isFolderRecord;
    }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;
    ~Record() { setData(nullptr); }

    void setData(CFDataRef data) {
        if (data != nullptr) {
            CFRetain(data);
        }
        if (bookmark != nullptr) {
            CFRelease(bookmark);
        }
        bookmark = data;
    }

    void setPath(const VKQtPath& newPath) {
        path = newPath;
        pathHash = qHash(newPath);
    }

    // Whether access to this item is access to that of the path: the same, or in this folder.
    [[nodiscard]] bool covers(const VKQtPath& other, std::size_t otherHash) const {
        return (otherHash == pathHash && other == path) || other.startsWith(path);
    }

    VKQtPath path;
    std::size_t pathHash = 0; // equal paths have equal hashes, and comparing without case is slow
};

// All records are made by createBookmarkData().
Record* asRecord(BookmarkData* data) { return static_cast<Record*>(data); }

// Counts change outside the registry's lock while a search reads them under it.
std::atomic_ref<std::int32_t> countOf(BookmarkData& record) {
    return std::atomic_ref<std::int32_t>(record.count);
}

// Down by one, but not below 0.
void countDown(BookmarkData& record) {
    std::int32_t now = countOf(record).load();
    while (now > 0 && !countOf(record).compare_exchange_weak(now, now - 1)) {
    }
}

// Once for each checkout that nobody has checked in.
void stopOutstanding(CFURLRef url, BookmarkData& record) {
    for (std::int32_t left = countOf(record).exchange(0); left > 0; --left) {
        CFURLStopAccessingSecurityScopedResource(url);
    }
}

constexpr std::size_t kAddressBytes = sizeof(void*);

VKCFRef<CFDataRef> addressOf(BookmarkData* record) {
    UInt8 bytes[kAddressBytes];
    std::memcpy(bytes, &record, kAddressBytes);
    return VKCFRef<CFDataRef>::adopt(CFDataCreate(kCFAllocatorDefault, bytes, sizeof bytes));
}

BookmarkData* recordIn(CFDictionaryRef records, CFURLRef url) {
    return VKBookmarkManager::getBookmarkFromCFDataRef(
        static_cast<CFDataRef>(CFDictionaryGetValue(records, url)));
}

VKStatus statusOf(const VKCFRef<CFErrorRef>& error) {
    return error ? static_cast<VKStatus>(CFErrorGetCode(error.get())) : kVKStatusNotUnderstood;
}

} // namespace

VKBookmarkManager::VKBookmarkManager()
    : mRecords(VKCFRef<CFMutableDictionaryRef>::adopt(CFDictionaryCreateMutable(
          kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks))) {
    addEntitlements();
}

VKBookmarkManager::~VKBookmarkManager() {
    const auto count = static_cast<std::size_t>(CFDictionaryGetCount(mRecords.get()));
    std::vector<const void*> urls(count);
    std::vector<const void*> values(count);
    CFDictionaryGetKeysAndValues(mRecords.get(), urls.data(), values.data());
    for (std::size_t i = 0; i < count; ++i) {
        const std::unique_ptr<Record> record(
            asRecord(getBookmarkFromCFDataRef(static_cast<CFDataRef>(values[i]))));
        if (record != nullptr) {
            stopOutstanding(static_cast<CFURLRef>(urls[i]), *record);
        }
    }
}

VKBookmarkManager* VKBookmarkManager::sharedInstance() {
    if (sInstance == nullptr) {
        sInstance = new VKBookmarkManager;
    }
    return sInstance;
}

void VKBookmarkManager::deleteInstance() {
    delete sInstance;
    sInstance = nullptr;
}

void VKBookmarkManager::addBookmark(CFURLRef url, CFDataRef data, bool entitled) {
    addBookmarkData(url, data, entitled);
}

void VKBookmarkManager::addBookmark(const VKQtPath& path, bool entitled) {
    if (VKProcessGetSandboxed()) {
        addBookmarkData(Url::adopt(path.createCFUrl()).get(), path.securityToken(), entitled);
    }
}

void VKBookmarkManager::addBookmarkData(CFURLRef url, CFDataRef data, bool entitled) {
    if (!VKProcessGetSandboxed()) {
        return;
    }
    if (url == nullptr) {
        VKLogEvent(kVKStatusBadArgument, "VKQtCore/Source/Common/VKBookmarkManager", __LINE__);
        return;
    }
    const QString text = VKQtStringUtils::createQStringFileSystemRepresentationFromCFUrlRef(url);
    if (text.isEmpty()) {
        return;
    }
    VKQtPath path(text, VKQtPathUtils::isFolder(text));
    path.setSecurityToken(data);
    if (data == nullptr) {
        static_cast<void>(VKQtPathUtils::loadSecurityToken(path));
    }
    auto made = std::make_unique<Record>(path.securityToken(), entitled, path.isFolder());
    made->setPath(VKQtPath(path.path(), path.isFolder())); // without the token

    const std::lock_guard lock(mMutex);
    if (BookmarkData* const known = recordIn(mRecords.get(), url)) {
        if (made->bookmark != nullptr) {
            asRecord(known)->setData(made->bookmark);
        }
        known->entitled = known->entitled || entitled;
        return;
    }
    CFDictionarySetValue(mRecords.get(), url, addressOf(made.get()).get());
    mAllRecords.clear();
    static_cast<void>(made.release()); // the registry's from here on
}

void VKBookmarkManager::addEntitledPath(const VKQtPath& path) {
    if (!VKProcessGetSandboxed()) {
        return;
    }
    if (const Url url = Url::adopt(path.createCFUrl())) {
        addBookmarkData(url.get(), path.securityToken(), true);
    }
}

void VKBookmarkManager::addEntitlements() {
    if (!VKProcessGetSandboxed()) {
        return;
    }
    for (const VKFolderType type : {kVKFolderUserAppData, kVKFolderUserCaches}) {
        QString folder;
        if (VKQtPathUtils::getFolderPath(nullptr, type, QString(), folder) == kVKStatusSuccess) {
            addEntitledPath(VKQtPath(folder, true));
        }
    }
    addEntitledPath(VKQtPathUtils::picturesPath());
}

bool VKBookmarkManager::checkOutPath(CFURLRef url) {
    if (url == nullptr || !VKProcessGetSandboxed()) {
        return false;
    }
    const Found found = find(url);
    if (found.record == nullptr || found.entitled || !found.bookmark) {
        return false;
    }
    const Url resolved = Url::adopt(CFURLCreateByResolvingBookmarkData(
        kCFAllocatorDefault, found.bookmark.get(), kCFURLBookmarkResolutionWithSecurityScope, nullptr,
        nullptr, nullptr, nullptr));
    if (!resolved || CFURLStartAccessingSecurityScopedResource(resolved.get()) == 0) {
        return false;
    }
    ++countOf(*found.record);
    return true;
}

bool VKBookmarkManager::checkOutPath(const VKQtPath& path) {
    if (!VKProcessGetSandboxed()) {
        return true;
    }
    const Url url = Url::adopt(path.createCFUrl());
    return !url || checkOutPath(url.get());
}

void VKBookmarkManager::checkInPath(CFURLRef url) {
    if (url == nullptr || !VKProcessGetSandboxed()) {
        return;
    }
    const Found found = find(url);
    if (found.record == nullptr) {
        return;
    }
    if (!found.entitled) {
        countDown(*found.record);
    }
    // Deliberately also for an entitled record, and of the URL as it was given, not of what its data leads to.
    CFURLStopAccessingSecurityScopedResource(url);
}

void VKBookmarkManager::checkInPath(const VKQtPath& path) {
    checkInPath(Url::adopt(path.createCFUrl()).get());
}

VKStatus VKBookmarkManager::createSecurityToken(CFURLRef url, CFDataRef& token) {
    token = nullptr;
    if (!VKProcessGetSandboxed()) {
        return kVKStatusSuccess;
    }
    if (url == nullptr) {
        return kVKStatusBadArgument;
    }
    const BookmarkData* const known = getBookmarkData(url, false);
    if (known != nullptr && known->bookmark != nullptr) {
        token = VKCFRef<CFDataRef>::retain(known->bookmark).release();
        return kVKStatusSuccess;
    }
    VKCFRef<CFErrorRef> error;
    token = CFURLCreateBookmarkData(kCFAllocatorDefault, url, kCFURLBookmarkCreationWithSecurityScope,
                                    nullptr, nullptr, error.out());
    return token != nullptr ? kVKStatusSuccess : statusOf(error);
}

VKStatus VKBookmarkManager::createSecurityToken(VKQtPath& path, CFDataRef& token) {
    token = nullptr;
    if (!VKProcessGetSandboxed()) {
        return kVKStatusSuccess;
    }
    const Url url = Url::adopt(path.createCFUrl());
    if (!url) {
        return kVKStatusSuccess;
    }
    const VKStatus status = createSecurityToken(url.get(), token);
    if (status == kVKStatusSuccess) {
        path.setSecurityToken(token);
    }
    return status;
}

bool VKBookmarkManager::hasSandboxAccess(const VKQtPath& path, CFDataRef* token) {
    if (token != nullptr) {
        *token = nullptr;
    }
    if (!VKProcessGetSandboxed() || path.path().isEmpty()) {
        return true;
    }
    const std::size_t hash = qHash(path);
    // Nothing is called out to while the lock is held: paths are compared as text.
    const std::lock_guard lock(mMutex);
    for (BookmarkData* const data : allRecords()) {
        Record* const record = asRecord(data);
        if (!record->covers(path, hash)) {
            continue;
        }
        // One that is neither checked out nor entitled decides nothing: a folder further up may.
        if (record->entitled || countOf(*record).load() >= 1) {
            if (token != nullptr) {
                *token = record->bookmark;
            }
            return true;
        }
    }
    return false;
}

VKBookmarkManager::BookmarkData* VKBookmarkManager::getBookmarkData(CFURLRef url, bool lock) {
    if (url == nullptr) {
        return nullptr;
    }
    std::unique_lock guard(mMutex, std::defer_lock);
    if (lock) {
        guard.lock();
    }
    return recordIn(mRecords.get(), url);
}

VKBookmarkManager::BookmarkData* VKBookmarkManager::getBookmarkFromCFDataRef(CFDataRef value) {
    BookmarkData* record = nullptr;
    if (value != nullptr && CFDataGetLength(value) == CFIndex{kAddressBytes}) {
        std::memcpy(&record, CFDataGetBytePtr(value), kAddressBytes);
    }
    return record;
}

VKBookmarkManager::BookmarkData* VKBookmarkManager::createBookmarkData(CFDataRef data, bool entitled,
                                                                       bool isFolder) {
    return new Record(data, entitled, isFolder);
}

void VKBookmarkManager::destroyBookmarkData(CFURLRef url, BookmarkData* record) {
    const std::unique_ptr<Record> owned(asRecord(record));
    if (!owned || url == nullptr) {
        return;
    }
    {
        const std::lock_guard lock(mMutex);
        if (recordIn(mRecords.get(), url) == record) {
            CFDictionaryRemoveValue(mRecords.get(), url);
            mAllRecords.clear();
        }
    }
    owned->setData(nullptr);
    if (VKProcessGetSandboxed()) {
        stopOutstanding(url, *owned);
    }
}

VKBookmarkManager::Found VKBookmarkManager::find(CFURLRef url) {
    const std::lock_guard lock(mMutex);
    Found found;
    found.record = recordIn(mRecords.get(), url);
    if (found.record != nullptr) {
        found.bookmark = VKCFRef<CFDataRef>::retain(found.record->bookmark);
        found.entitled = found.record->entitled;
    }
    return found;
}

const std::vector<VKBookmarkManager::BookmarkData*>& VKBookmarkManager::allRecords() {
    const auto count = static_cast<std::size_t>(CFDictionaryGetCount(mRecords.get()));
    if (mAllRecords.size() != count) {
        std::vector<const void*> values(count);
        CFDictionaryGetKeysAndValues(mRecords.get(), nullptr, values.data());
        for (const void* const value : values) {
            mAllRecords.push_back(getBookmarkFromCFDataRef(static_cast<CFDataRef>(value)));
        }
    }
    return mAllRecords;
}
