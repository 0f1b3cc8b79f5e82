// The security token of a path, and the dictionary that keeps a path with its token.
#include "VKQtPath.h"

#include "VKBookmarkManager.h"

#include <VKCoreKit/VKUtils.h>

VKStatus VKQtPath::makeSecurityToken(CFDataRef& out) {
    out = nullptr;
    const auto url = VKCFRef<CFURLRef>::adopt(createCFUrl());
    if (!url) {
        return kVKStatusSuccess;
    }
    const VKStatus status =
        VKBookmarkManager::sharedInstance()->createSecurityToken(url.get(), *mSecurityToken.out());
    if (status == kVKStatusSuccess) {
        out = mSecurityToken.get();
    }
    return status;
}

CFMutableDictionaryRef VKQtPath::makeVKBookmarkData() const {
    const CFMutableDictionaryRef info = CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    if (info == nullptr) {
        return nullptr;
    }
    const auto text = VKCFRef<CFStringRef>::adopt(makeCFString());
    CFDictionarySetValue(info, kBookmarkPath, text.get());
    if (mSecurityToken) {
        CFDictionarySetValue(info, kBookmarkData, mSecurityToken.get());
    }
    VKUtilsCFDictionarySetValueInt(info, kBookmarkFile, mFolder ? 0 : 1);
    VKUtilsCFDictionarySetValueInt(info, kBookmarkRefcon, 1);
    VKUtilsCFDictionarySetValueInt(info, kBookmarkFileIsRemoved, 0);
    return info;
}

VKStatus VKQtPath::fromVKBookmarkData(CFDictionaryRef info) {
    if (info == nullptr || CFDictionaryContainsKey(info, kBookmarkFile) == 0) {
        return kVKStatusIncompleteBookmark;
    }
    // Before the name is looked for: deliberate, callers have always met a path that is changed so far.
    mFolder = VKUtilsCFDictionaryGetValueInt(info, kBookmarkFile) != 1;
    const void* const name = CFDictionaryGetValue(info, kBookmarkPath);
    if (name == nullptr || CFGetTypeID(name) != CFStringGetTypeID()) {
        return kVKStatusIncompleteBookmark;
    }
    setPath(static_cast<CFStringRef>(name), mFolder);
    const void* const data = CFDictionaryGetValue(info, kBookmarkData);
    if (data != nullptr && CFGetTypeID(data) == CFDataGetTypeID()) {
        setSecurityToken(static_cast<CFDataRef>(data));
    }
    return kVKStatusSuccess;
}
