// Bookmark calls over the platform's: bytes and errno there, URLs, data and errors here.
#include "CoreFoundation/CFURLBookmark.h"

#include "CoreFoundation/CFObject.h"
#include "CoreFoundation/CFQt.h"
#include "Platform/Bookmarks.h"
#include "Platform/SystemErrors.h"

#include <cerrno>

using CoreFoundation::Owner;

namespace {

CFDictionaryRef newDescription(int code) {
    const char* const text = VKPlatform::systemErrorText(code);
    if (text == nullptr) {
        return nullptr;
    }
    const Owner<CFStringRef> description(CFStringCreateWithQString(QString::fromUtf8(text)));
    const void* key = kCFErrorLocalizedDescriptionKey;
    const void* value = description.get();
    return CFDictionaryCreate(nullptr, &key, &value, 1, &kCFTypeDictionaryKeyCallBacks,
                              &kCFTypeDictionaryValueCallBacks);
}

void tell(int code, CFErrorRef* error) {
    if (error == nullptr) {
        return;
    }
    const Owner<CFDictionaryRef> description(code != 0 ? newDescription(code) : nullptr);
    *error = code != 0 ? CFErrorCreate(nullptr, kCFErrorDomainPOSIX, code, description.get()) : nullptr;
}

} // namespace

extern "C" {

CFDataRef CFURLCreateBookmarkData(CFAllocatorRef, CFURLRef url, CFURLBookmarkCreationOptions, CFArrayRef,
                                  CFURLRef, CFErrorRef* error) {
    const QByteArray path = CFURLCopyFileSystemBytes(url);
    QByteArray data;
    const int code = path.isEmpty() ? EINVAL : VKPlatform::createBookmark(path, data);
    tell(code, error);
    return code == 0 ? CFDataCreateWithQByteArray(data) : nullptr;
}

CFURLRef CFURLCreateByResolvingBookmarkData(CFAllocatorRef, CFDataRef bookmark,
                                            CFURLBookmarkResolutionOptions, CFURLRef, CFArrayRef,
                                            Boolean* isStale, CFErrorRef* error) {
    VKPlatform::ResolvedBookmark item;
    const int code = VKPlatform::resolveBookmark(CFDataCopyQByteArray(bookmark), {}, item);
    tell(code, error);
    if (code != 0) {
        return nullptr;
    }
    if (isStale != nullptr) {
        *isStale = item.isStale ? 1 : 0;
    }
    return CFURLCreateFromFileSystemRepresentation(nullptr,
                                                   reinterpret_cast<const UInt8*>(item.path.constData()),
                                                   item.path.size(), item.isFolder ? 1 : 0);
}

Boolean CFURLStartAccessingSecurityScopedResource(CFURLRef url) {
    const QByteArray path = CFURLCopyFileSystemBytes(url);
    return !path.isEmpty() && VKPlatform::mayReach(path) ? 1 : 0;
}

void CFURLStopAccessingSecurityScopedResource(CFURLRef) {
    // A grant belongs to the whole application and ends when it is revoked: there is nothing to give back.
}

} // extern "C"
