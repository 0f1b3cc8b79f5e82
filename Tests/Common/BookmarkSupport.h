// What tests of bookmarks share: a sandbox that is stood in for, bookmarks, their kept forms, managers.
#pragma once

#include "BookmarkStandIn.h"

#include "Support/VKTest.h"
#include "VKCoreKit/CoreKitSupport.h"

#include <VKBookmark.h>
#include <VKBookmarkManager.h>
#include <VKCoreKit/VKUtils.h>

#include <memory>
#include <utility>

namespace BookmarkTest {

using Data = VKCFRef<CFDataRef>;
using Url = VKCFRef<CFURLRef>;
using Info = VKCFRef<CFMutableDictionaryRef>;
using Record = VKBookmarkManager::BookmarkData;
using Owned = VKOwned<VKBookmark>;
using OwnedManager = VKOwned<VKBookmarkManager>;

/// The base of such a test class, whose init() and cleanup() call these: each test starts in a sandbox that grants
/// nothing, without a manager.
class Test : public VKTest {
protected:
    void begin() {
        VKTest::init();
        BookmarkStandIn::reset();
        mProcess = std::make_unique<BookmarkStandIn::Process>(VKSandboxAnswer::Sandboxed);
    }
    void end() {
        VKBookmarkManager::deleteInstance();
        mProcess.reset();
    }

private:
    std::unique_ptr<BookmarkStandIn::Process> mProcess;
};

inline Owned makeBookmark() { return Owned(new VKBookmark); }

inline Info makeInfo() {
    return Info::adopt(CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                 &kCFTypeDictionaryValueCallBacks));
}

/// A dictionary as a former run kept it; null data is left out.
inline Info makeInfo(const QString& path, CFDataRef data, int file) {
    Info info = makeInfo();
    CFDictionarySetValue(info.get(), kBookmarkPath, CoreKit::makeString(path).get());
    if (data != nullptr) {
        CFDictionarySetValue(info.get(), kBookmarkData, data);
    }
    VKUtilsCFDictionarySetValueInt(info.get(), kBookmarkFile, file);
    VKUtilsCFDictionarySetValueInt(info.get(), kBookmarkRefcon, 42);
    return info;
}

inline QByteArray textOf(CFURLRef url) {
    return url != nullptr ? CFStringCopyQString(CFURLGetString(url)).toUtf8() : QByteArray("(null)");
}

inline Record* recordOf(const QByteArray& path, bool isFolder = false) {
    return VKBookmarkManager::sharedInstance()->getBookmarkData(CoreKit::makeUrl(path, isFolder).get(), true);
}

/// Loaded from its kept form; granted and registered.
inline Owned makeLoaded(const QByteArray& path) {
    BookmarkStandIn::grant(path);
    Owned bookmark = makeBookmark();
    const Info info = makeInfo(QString::fromUtf8(path), BookmarkStandIn::dataOf(path).get(), 1);
    return bookmark->load(info.get()) == kVKStatusSuccess ? std::move(bookmark) : Owned();
}

inline OwnedManager makeManager() { return OwnedManager(new VKBookmarkManager); }

inline Url urlOf(const QByteArray& path, bool isFolder = false) { return CoreKit::makeUrl(path, isFolder); }

inline QByteArray textOf(const Url& url) { return textOf(url.get()); }

inline VKQtPath filePath(const char* text) { return VKQtPath(QString::fromUtf8(text), false); }
inline VKQtPath folderPath(const char* text) { return VKQtPath(QString::fromUtf8(text), true); }

} // namespace BookmarkTest
