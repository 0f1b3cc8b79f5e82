// What the tests of URLs share: short ways to make them and to read them.
#pragma once

#include "CFTestSupport.h"

namespace CFTest {

using OwnedUrl = Owned<CFURLRef>;

inline OwnedUrl fromPath(const QString& path, bool isDirectory = false,
                         CFURLPathStyle style = kCFURLPOSIXPathStyle) {
    return own(CFURLCreateWithFileSystemPath(nullptr, makeString(path).get(), style, Boolean(isDirectory)));
}

inline OwnedUrl fromText(const QString& text, CFURLRef base = nullptr) {
    return own(CFURLCreateWithString(nullptr, makeString(text).get(), base));
}

inline OwnedUrl fromBytes(const QByteArray& bytes, bool isDirectory = false) {
    return own(CFURLCreateFromFileSystemRepresentation(
        nullptr, reinterpret_cast<const UInt8*>(bytes.constData()), bytes.size(), Boolean(isDirectory)));
}

inline QString textOf(const OwnedUrl& url) { return CFStringCopyQString(CFURLGetString(url.get())); }

inline QString pathOf(const OwnedUrl& url, CFURLPathStyle style = kCFURLPOSIXPathStyle) {
    return takeText(CFURLCopyFileSystemPath(url.get(), style));
}

// The representation in a buffer that is large enough; null if there is none.
inline QByteArray representation(const OwnedUrl& url, bool resolve = true) {
    QByteArray buffer(4096, 'x');
    if (!CFURLGetFileSystemRepresentation(url.get(), Boolean(resolve),
                                          reinterpret_cast<UInt8*>(buffer.data()), buffer.size())) {
        return buffer[0] == '\0' ? QByteArray() : QByteArray("untouched");
    }
    return QByteArray(buffer.constData());
}

inline QString absoluteText(const OwnedUrl& url) { return textOf(own(CFURLCopyAbsoluteURL(url.get()))); }

inline QString e(const char* text) { return QString::fromUtf8(text); }

} // namespace CFTest
