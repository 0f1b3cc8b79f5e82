// One bookmark: its fields, their kept form, and its checkouts.
// The registry of what is reachable is VKBookmarkManager.
#include "VKBookmark.h"

#include "VKBookmarkManager.h"
#include "VKQtStringUtils.h"

#include <CoreFoundation/CFQt.h>
#include <CoreFoundation/CFURLBookmark.h>
#include <VKCoreKit/VKFileMgr.h>
#include <VKCoreKit/VKLog.h>
#include <VKCoreKit/VKProcess.h>
#include <VKCoreKit/VKUtils.h>

#include <QDir>

#include <utility>

namespace {

using String = VKCFRef<CFStringRef>;
using Url = VKCFRef<CFURLRef>;

String stringOf(const QString& text) {
    return String::adopt(VKQtStringUtils::createCFStringRefFromQString(text));
}

/// The key's value if it is of that type, borrowed; null otherwise.
template <typename T>
T valueOfType(CFDictionaryRef info, CFStringRef key, CFTypeID type) {
    const void* const value = CFDictionaryGetValue(info, key);
    return value != nullptr && CFGetTypeID(value) == type ? static_cast<T>(value) : nullptr;
}

Url resolvedUrl(CFDataRef data) {
    CFURLBookmarkResolutionOptions options = 0;
    if (VKProcessGetSandboxed()) {
        options = kCFURLBookmarkResolutionWithSecurityScope;
    }
    VKCFRef<CFErrorRef> error;
    Url url = Url::adopt(CFURLCreateByResolvingBookmarkData(kCFAllocatorDefault, data, options, nullptr,
                                                            nullptr, nullptr, error.out()));
    const VKStatus status =
        error ? static_cast<VKStatus>(CFErrorGetCode(error.get())) : VKStatus{kVKStatusSuccess};
    if (status != kVKStatusSuccess && status != kVKStatusCancelled) {
        VKLogEvent(status, "VKQtCore/Source/Common/VKBookmark", __LINE__);
    }
    return url;
}

} // namespace

VKBookmark::VKBookmark() = default;

VKBookmark::VKBookmark(CFStringRef path) : mPath(String::retain(path)) {}

VKBookmark::VKBookmark(const VKBookmark& other)
    : CBaseCore(other), mPath(other.mPath), mData(other.mData), mRefcon(other.mRefcon),
      mIsFile(other.mIsFile) {}

VKBookmark::~VKBookmark() { checkInAll(); }

void VKBookmark::init() {
    setUrlPath(nullptr);
    mPath.reset();
    mData.reset();
    mRefcon = 0;
    mCheckoutCount = 0;
    mCheckoutRefused = false;
    mIsFile = false;
    mFileIsRemoved = false;
}

VKStatus VKBookmark::create(const QString& path, bool isFolder, VKBookmark*& out) {
    return create(stringOf(QDir::toNativeSeparators(path)).get(), isFolder, out);
}

VKStatus VKBookmark::create(CFStringRef path, bool isFolder, VKBookmark*& out) {
    return create(Url::adopt(VKFileMgrCreateFileSystemRepresentation(path, isFolder)).get(), isFolder, out);
}

VKStatus VKBookmark::create(CFURLRef url, bool isFolder, VKBookmark*& out) {
    String path = String::adopt(VKFileMgrGetFileSystemRepresentationCopy(url));
    if (!path) {
        return kVKStatusNotConvertible;
    }
    VKCFRef<CFDataRef> token;
    const VKStatus status = VKBookmarkManager::sharedInstance()->createSecurityToken(url, *token.out());
    if (status != kVKStatusSuccess) {
        return status;
    }
    auto* const made = new VKBookmark;
    made->mPath = std::move(path);
    made->mIsFile = !isFolder;
    made->setUrlPath(url);
    made->mData = std::move(token);
    out = made;
    return kVKStatusSuccess;
}

bool VKBookmark::hasSandboxAccess(const QString& path, bool isFolder) {
    return VKBookmarkManager::sharedInstance()->hasSandboxAccess(VKQtPath(path, isFolder), nullptr);
}

CFComparisonResult VKBookmark::compare(VKBookmark* first, VKBookmark* second, void* /*context*/) {
    const CFStringRef left = first->mPath.get();
    const CFStringRef right = second->mPath.get();
    if (left == nullptr || right == nullptr) {
        return CFComparisonResult{left != nullptr} - CFComparisonResult{right != nullptr};
    }
    return CFStringCompare(left, right, 0);
}

void VKBookmark::setPath(CFStringRef path) { mPath = String::retain(path); }

void VKBookmark::setPath(const QString& path) { mPath = stringOf(path); }

void VKBookmark::setData(CFDataRef data) { mData = VKCFRef<CFDataRef>::retain(data); }

void VKBookmark::setUrlPath(CFURLRef url) {
    Url kept = Url::retain(url); // it may be this object's own
    checkInAll();
    mUrl = std::move(kept);
    mIsResolved = url != nullptr;
}

QString VKBookmark::path() const { return VKQtStringUtils::createQStringFromCFStringRef(mPath.get()); }

VKQtPath VKBookmark::makePath() const { return mPath ? VKQtPath(mPath.get(), !mIsFile) : VKQtPath(); }

CFURLRef VKBookmark::resolveUrlPath() {
    if (mIsResolved) {
        return mUrl.get();
    }
    if (mData) {
        mUrl = resolvedUrl(mData.get());
        mIsResolved = true;
    } else if (mPath) {
        mUrl = Url::adopt(VKFileMgrCreateFileSystemRepresentation(mPath.get(), !mIsFile));
        mIsResolved = bool(mUrl);
    }
    return mUrl.get();
}

VKStatus VKBookmark::checkout() {
    const CFURLRef url = resolveUrlPath();
    if (mCheckoutRefused || !VKProcessGetSandboxed()) {
        return kVKStatusSuccess;
    }
    if (VKBookmarkManager::sharedInstance()->checkOutPath(url)) {
        ++mCheckoutCount;
    } else {
        mCheckoutRefused = true;
    }
    return kVKStatusSuccess;
}

VKStatus VKBookmark::checkin() {
    if (mCheckoutCount < 1) {
        return kVKStatusSuccess;
    }
    // Once the manager is gone it has stopped the access itself.
    VKBookmarkManager* const manager = VKBookmarkManager::existingInstance();
    if (manager != nullptr && VKProcessGetSandboxed() && !mCheckoutRefused) {
        manager->checkInPath(mUrl.get());
    }
    --mCheckoutCount;
    return kVKStatusSuccess;
}

void VKBookmark::checkInAll() {
    while (mCheckoutCount > 0) {
        checkin();
    }
}

CFMutableDictionaryRef VKBookmark::getInfoCopy() const {
    const CFMutableDictionaryRef info = CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
    if (mPath) {
        CFDictionarySetValue(info, kBookmarkPath, mPath.get());
    }
    if (mData) {
        CFDictionarySetValue(info, kBookmarkData, mData.get());
    }
    VKUtilsCFDictionarySetValueInt(info, kBookmarkFile, mIsFile ? 1 : 0);
    VKUtilsCFDictionarySetValueInt(info, kBookmarkRefcon, mRefcon);
    VKUtilsCFDictionarySetValueInt(info, kBookmarkFileIsRemoved, mFileIsRemoved ? 1 : 0);
    return info;
}

VKStatus VKBookmark::save(QByteArray& out) const {
    const auto info = VKCFRef<CFMutableDictionaryRef>::adopt(getInfoCopy());
    const auto xml = VKCFRef<CFDataRef>::adopt(VKUtilsCreateXMLData(kCFAllocatorDefault, info.get()));
    if (!xml) {
        return kVKStatusNotConvertible;
    }
    out.append(CFDataCopyQByteArray(xml.get()));
    return kVKStatusSuccess;
}

VKStatus VKBookmark::load(CFDictionaryRef info) {
    const auto name =
        info != nullptr ? valueOfType<CFStringRef>(info, kBookmarkPath, CFStringGetTypeID()) : nullptr;
    if (name == nullptr) {
        return kVKStatusIncompleteBookmark;
    }
    setUrlPath(nullptr);
    setPath(name);
    setData(valueOfType<CFDataRef>(info, kBookmarkData, CFDataGetTypeID()));
    if (const CFURLRef url = resolveUrlPath()) {
        VKBookmarkManager::sharedInstance()->addBookmark(url, mData.get(), false);
    }
    if (CFDictionaryContainsKey(info, kBookmarkFile) == 0) {
        return kVKStatusIncompleteBookmark;
    }
    mIsFile = VKUtilsCFDictionaryGetValueInt(info, kBookmarkFile) != 0;
    mRefcon = VKUtilsCFDictionaryGetValueInt(info, kBookmarkRefcon);
    mFileIsRemoved = VKUtilsCFDictionaryGetValueInt(info, kBookmarkFileIsRemoved) != 0;
    return kVKStatusSuccess;
}

VKStatus VKBookmark::load(const QByteArray& xml) {
    const auto bytes = VKCFRef<CFDataRef>::adopt(CFDataCreateWithBytesNoCopy(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(xml.constData()), xml.size(), kCFAllocatorNull));
    const auto list = VKCFRef<CFTypeRef>::adopt(CFPropertyListCreateWithData(
        kCFAllocatorDefault, bytes.get(), kCFPropertyListImmutable, nullptr, nullptr));
    if (!list || CFGetTypeID(list.get()) != CFDictionaryGetTypeID()) {
        return kVKBookmarkNotAList;
    }
    const auto info = static_cast<CFDictionaryRef>(list.get());
    return CFDictionaryGetCount(info) > 0 ? load(info) : kVKBookmarkNotAList;
}
