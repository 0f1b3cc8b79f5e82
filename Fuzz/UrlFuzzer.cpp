// File URLs: any bytes to a URL and back, any path to a URL and back, any text as a URL; every question that can
// be asked of what comes out, and the laws of equality and resolution.

#include "FuzzSupport.h"

#include <CoreFoundation/CFQt.h>
#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKQtStringUtils.h>

#include <algorithm>
#include <vector>

namespace {

using Url = VKCFRef<CFURLRef>;
using Text = VKCFRef<CFStringRef>;

Text textOf(const QString& text) { return Text::adopt(CFStringCreateWithQString(text)); }
QString stringOf(const Url& url) { return CFStringCopyQString(CFURLGetString(url.get())); }

Url urlOf(const QString& text, const Url& base = {}) {
    return Url::adopt(CFURLCreateWithString(kCFAllocatorDefault, textOf(text).get(), base.get()));
}

Url urlOfBytes(const QByteArray& bytes, bool isFolder) {
    return Url::adopt(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes.constData()), bytes.size(), isFolder));
}

void checkEqual(const Url& a, const Url& b, const char* law, const QString& evidence) {
    require(CFEqual(a.get(), b.get()) && CFHash(a.get()) == CFHash(b.get()), law, {evidence});
}

/// The bytes into a buffer of each size around the one that just fits.
void checkRepresentation(const Url& url, const QByteArray& bytes) {
    for (const qsizetype room : {bytes.size(), bytes.size() + 1, bytes.size() + 2}) {
        std::vector<UInt8> buffer(static_cast<std::size_t>(room), 0xee);
        const bool fits = room > bytes.size();
        const bool done = CFURLGetFileSystemRepresentation(url.get(), true, buffer.data(), room);
        require(done == fits, "a representation needs room for its NUL", {stringOf(url)});
        require(!fits || bytes == reinterpret_cast<const char*>(buffer.data()), "it is the path's bytes",
                {stringOf(url)});
        require(fits || room == 0 || buffer.front() == 0, "without room the buffer is an empty text",
                {stringOf(url)});
    }
}

void checkAbsolute(const Url& absolute, const QString& own) {
    require(CFURLGetBaseURL(absolute.get()) == nullptr, "an absolute form has no base",
            {own, stringOf(absolute)});
    checkEqual(absolute, Url::adopt(CFURLCopyAbsoluteURL(absolute.get())),
               "the absolute form of an absolute URL is itself", own);
}

/// Asks everything; what comes back has to be usable and released without harm.
void askAll(const Url& url, const QString& component) {
    const QString own = stringOf(url);
    const Url absolute = Url::adopt(CFURLCopyAbsoluteURL(url.get()));
    // Against a base without a path (as "mailto:a") a relative text has none.
    const CFURLRef base = CFURLGetBaseURL(url.get());
    require(absolute || (base != nullptr && CFURLCopyFileSystemBytes(base).isNull()),
            "a URL has an absolute form", {own});
    if (absolute) {
        checkAbsolute(absolute, own);
    }
    for (const auto ask :
         {CFURLCopyScheme, CFURLCopyHostName, CFURLCopyLastPathComponent, CFURLCopyPathExtension}) {
        const Text answer = Text::adopt(ask(url.get()));
        require(!answer || CFStringGetLength(answer.get()) >= 0, "an answer is a text", {own});
    }
    const Text path = Text::adopt(CFURLCopyFileSystemPath(url.get(), kCFURLPOSIXPathStyle));
    const QByteArray bytes = CFURLCopyFileSystemBytes(url.get());
    if (!bytes.isNull()) {
        require(!bytes.contains('\0'), "a path's bytes hold no NUL", {own});
        checkRepresentation(url, bytes);
    }
    const Url longer = Url::adopt(CFURLCreateCopyAppendingPathComponent(kCFAllocatorDefault, url.get(),
                                                                        textOf(component).get(), false));
    if (longer) {
        const Url parent =
            Url::adopt(CFURLCreateCopyDeletingLastPathComponent(kCFAllocatorDefault, longer.get()));
        require(static_cast<bool>(parent), "what has a component can lose it", {own, component});
        require(CFURLHasDirectoryPath(parent.get()), "a URL without its last component is a folder's", {own});
    }
}

/// What a maker keeps of the slashes at the end: all go for a file, one for a folder that has some.
QByteArray withoutFinalSlash(QByteArray bytes, bool isFolder) {
    if (isFolder && bytes.endsWith('/') && bytes.size() > 1) {
        bytes.chop(1);
    }
    while (!isFolder && bytes.endsWith('/') && bytes.size() > 1) {
        bytes.chop(1);
    }
    return bytes;
}

void checkBytes(const QByteArray& bytes, bool isFolder) {
    const Url url = urlOfBytes(bytes, isFolder);
    require(static_cast<bool>(url) == (!bytes.isEmpty() && !bytes.contains('\0')),
            "bytes make a URL unless cut by a NUL");
    if (!url) {
        return;
    }
    const QString own = stringOf(url);
    checkEqual(url, urlOfBytes(bytes, isFolder), "the same bytes make equal URLs", own);
    if (bytes.startsWith('/')) {
        require(CFURLHasDirectoryPath(url.get()) == isFolder, "the maker's word decides about a folder",
                {own});
        const QByteArray expected = withoutFinalSlash(bytes, isFolder);
        require(CFURLCopyFileSystemBytes(url.get()) == expected, "the bytes come back", {own});
        checkRepresentation(url, expected);
        if (QString::fromUtf8(expected).toUtf8() == expected) {
            const Url same = urlOf(own);
            require(static_cast<bool>(same), "the URL's text is a URL", {own});
            require(CFURLCopyFileSystemBytes(same.get()) == expected, "of the same bytes", {own});
        }
    }
    askAll(url, QStringLiteral("IMG 1.jpg"));
}

void checkPath(const QString& path, bool isFolder) {
    const Url url = Url::adopt(CFURLCreateWithFileSystemPath(kCFAllocatorDefault, textOf(path).get(),
                                                             kCFURLPOSIXPathStyle, isFolder));
    const bool nameable = !path.isEmpty() && path.isValidUtf16() && !path.contains(QChar(u'\0'));
    require(static_cast<bool>(url) == nameable, "a path makes a URL if it can name a file", {path});
    if (!url) {
        return;
    }
    const QString expected = QString::fromUtf8(withoutFinalSlash(path.toUtf8(), isFolder));
    if (path.startsWith(u'/')) {
        const Text back = Text::adopt(CFURLCopyFileSystemPath(url.get(), kCFURLPOSIXPathStyle));
        require(back && CFStringCopyQString(back.get()) == expected, "the path comes back",
                {path, stringOf(url)});
        require(VKQtStringUtils::createQStringFileSystemRepresentationFromCFUrlRef(url.get()) == expected,
                "also through the library's own conversion", {path, stringOf(url)});
        checkEqual(url, urlOfBytes(path.toUtf8(), isFolder), "path and bytes make equal URLs", path);
    }
    askAll(url, path);
}

void checkText(const QString& text, const QString& baseText) {
    const Url base = urlOf(baseText);
    const Url url = urlOf(text, base);
    if (!url) {
        return;
    }
    checkEqual(url, urlOf(text, base), "the same text makes equal URLs", text);
    askAll(url, QStringLiteral("a b"));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const unsigned choice = input.byte();
    const bool isFolder = (choice & 1U) != 0;
    const QString text = input.text();
    const QString baseText = input.text();
    const QByteArray bytes = input.rest();
    checkText(text, baseText);
    checkPath(text, isFolder);
    checkPath(u'/' + text, isFolder);
    checkBytes(bytes, isFolder);
    checkBytes('/' + bytes, isFolder);
    return 0;
}
