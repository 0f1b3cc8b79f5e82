// URLs as their text, the parts of it and perhaps a base. The rules of the text itself are in UrlText.
#include "CoreFoundation/CFURL.h"

#include "CoreFoundation/CFObject.h"
#include "CoreFoundation/CFQt.h"
#include "CoreFoundation/CFStringObject.h"
#include "CoreFoundation/UrlText.h"
#include "Platform/Utf8.h"

#include <cerrno>
#include <cstring>
#include <optional>
#include <unistd.h>

using CoreFoundation::checked;
using CoreFoundation::newString;
using CoreFoundation::Owner;
using CoreFoundation::UrlParts;

namespace {

// What a URL knows of its path beyond the text.
struct PathTraits {
    bool isDirectory = false;
    bool isFromPath = false; // its bytes are a file's whether or not they are UTF-8
};

} // namespace

struct CFURLObject final : CoreFoundation::Object {
    static const CoreFoundation::TypeRecord sType;

    CFURLObject(Owner<CFStringRef> ownText, const UrlParts& textParts, Owner<CFURLRef> ownBase,
                bool directoryPath, bool madeFromPath)
        : Object(sType), string(std::move(ownText)), base(std::move(ownBase)), parts(textParts),
          isDirectory(directoryPath), isFromPath(madeFromPath) {}

    [[nodiscard]] const QString& text() const { return string.get()->text; }
    [[nodiscard]] QStringView part(qsizetype begin, qsizetype end) const {
        return QStringView(text()).sliced(begin, end - begin);
    }
    [[nodiscard]] QStringView path() const { return part(parts.pathBegin, parts.pathEnd); }

    const Owner<CFStringRef> string;
    const Owner<CFURLRef> base;
    const UrlParts parts;
    const bool isDirectory;
    const bool isFromPath; // its bytes are a file's whether or not they are UTF-8
};

namespace {

bool equalUrls(const CFURLObject& first, const CFURLObject& second) {
    if (first.text() != second.text() || bool(first.base) != bool(second.base)) {
        return false;
    }
    return !first.base || CoreFoundation::equalObjects(first.base.get(), second.base.get());
}

CFHashCode hashUrl(const CFURLObject& url) {
    const CFHashCode hash = CoreFoundation::hashObject(url.string.get());
    return url.base ? hash ^ (CoreFoundation::hashObject(url.base.get()) * 31) : hash;
}

// For text that these sources made: it always has parts.
CFURLRef newUrl(QString text, Owner<CFURLRef> base, PathTraits traits) {
    const std::optional<UrlParts> parts = CoreFoundation::splitUrl(text);
    if (!parts) {
        return nullptr;
    }
    return new CFURLObject(Owner<CFStringRef>(newString(std::move(text))), *parts, std::move(base),
                           traits.isDirectory, traits.isFromPath);
}

QByteArray currentFolder() {
    QByteArray buffer(512, '\0');
    while (::getcwd(buffer.data(), static_cast<std::size_t>(buffer.size())) == nullptr) {
        if (errno != ERANGE) {
            return QByteArray();
        }
        buffer.resize(buffer.size() * 2);
    }
    buffer.truncate(qsizetype(std::strlen(buffer.constData())));
    return buffer;
}

QByteArrayView withoutFinalSlashes(QByteArrayView path) {
    while (path.size() > 1 && path.endsWith('/')) {
        path.chop(1);
    }
    return path;
}

CFURLRef newFileUrl(QByteArrayView path, PathTraits traits) {
    if (path.isEmpty() || path.contains('\0')) {
        return nullptr;
    }
    const bool isAbsolute = path.startsWith('/');
    if (!traits.isDirectory) {
        path = withoutFinalSlashes(path);
    }
    QString text = CoreFoundation::escapedPath(path, isAbsolute ? CoreFoundation::ColonRule::Keep
                                                                : CoreFoundation::ColonRule::Escape);
    // The root's only slash serves as the file's and as the folder's.
    if (traits.isDirectory && !path.endsWith('/')) {
        text += u'/';
    }
    if (isAbsolute) {
        return newUrl(u"file://" + text, Owner<CFURLRef>(), traits);
    }
    // A current folder that is gone leaves the URL without a base.
    Owner<CFURLRef> base(newFileUrl(currentFolder(), {.isDirectory = true, .isFromPath = true}));
    return newUrl(std::move(text), std::move(base), traits);
}

bool startsWithDrive(QStringView path) {
    return path.size() >= 2 && path[1] == u':' && path[0].unicode() < 0x80 && path[0].isLetter();
}

QString posixFromWindows(QString path) {
    path.replace(u'\\', u'/');
    return startsWithDrive(path) || path.startsWith(u"//") ? u'/' + path : path;
}

QString windowsFromPosix(QString path) {
    if (path.startsWith(u"///") || (path.startsWith(u'/') && startsWithDrive(QStringView(path).sliced(1)))) {
        path.remove(0, 1);
    }
    if (path.size() == 2 && startsWithDrive(path)) {
        path += u'/';
    }
    return path.replace(u'/', u'\\');
}

// The path's bytes without a final "/"; null when there is none, or none that a file can have.
QByteArray fileSystemBytes(const CFURLObject& url) {
    if (!url.parts.hasPath()) {
        return QByteArray();
    }
    QByteArray bytes = CoreFoundation::unescaped(url.path());
    if (bytes.size() > 1 && bytes.endsWith('/')) {
        bytes.chop(1);
    }
    if (bytes.contains('\0') || (!url.isFromPath && !VKPlatform::decodeUtf8Strict(bytes))) {
        return QByteArray();
    }
    return bytes;
}

// The URL resolved against its base; nothing to own when it cannot be.
Owner<CFURLRef> absoluteUrl(const CFURLObject& url) {
    if (!url.base) {
        return Owner<CFURLRef>::sharing(&url);
    }
    Owner<CFURLRef> base = absoluteUrl(*url.base.get());
    if (!base || url.text().isEmpty()) {
        return base;
    }
    std::optional<QString> text =
        CoreFoundation::resolvedUrl(base.get()->text(), base.get()->parts, url.text(), url.parts);
    if (!text) {
        return Owner<CFURLRef>();
    }
    const bool isDirectory = url.parts.hasPath() ? url.isDirectory : base.get()->isDirectory;
    const bool isFromPath = url.isFromPath || base.get()->isFromPath;
    return Owner<CFURLRef>(newUrl(*std::move(text), Owner<CFURLRef>(), {isDirectory, isFromPath}));
}

CFStringRef newStringFromEscaped(QStringView text) {
    std::optional<QString> decoded = VKPlatform::decodeUtf8Strict(CoreFoundation::unescaped(text));
    return decoded ? newString(*std::move(decoded)) : nullptr;
}

// The unescaped last component; "/" for the root, null when there is none or it is not UTF-8.
QString lastComponent(const CFURLObject& url) {
    QStringView path = url.path();
    while (path.size() > 1 && path.endsWith(u'/')) {
        path.chop(1);
    }
    if (!url.parts.hasPath()) {
        return QString();
    }
    if (path.size() > 1 || path[0] != u'/') {
        path = path.sliced(path.lastIndexOf(u'/') + 1);
    }
    return VKPlatform::decodeUtf8Strict(CoreFoundation::unescaped(path)).value_or(QString());
}

// The URL with another path, and with what followed the old one.
CFURLRef newUrlWithPath(const CFURLObject& url, QStringView path, QStringView tail, PathTraits traits) {
    return newUrl(url.part(0, url.parts.pathBegin) + path + tail, url.base, traits);
}

} // namespace

const CoreFoundation::TypeRecord CFURLObject::sType = {
    "CFURL", CoreFoundation::kURLTypeID, &CoreFoundation::destroyValue<CFURLObject>,
    &CoreFoundation::equalValues<CFURLObject, equalUrls>, &CoreFoundation::hashValue<CFURLObject, hashUrl>};

extern "C" {

CFTypeID CFURLGetTypeID() { return CoreFoundation::kURLTypeID; }

CFURLRef CFURLCreateWithString(CFAllocatorRef allocator, CFStringRef text, CFURLRef base) {
    if (text == nullptr) {
        return nullptr;
    }
    const std::optional<UrlParts> parts = CoreFoundation::splitUrl(CoreFoundation::textOf(text, __func__));
    if (!parts) {
        return nullptr;
    }
    Owner<CFURLRef> ownBase;
    if (base != nullptr && parts->schemeEnd == 0) {
        ownBase = Owner<CFURLRef>::sharing(checked<CFURLObject>(base, __func__));
    }
    Owner<CFStringRef> ownText(CFStringCreateCopy(allocator, text));
    const QStringView path = QStringView(ownText.get()->text).sliced(parts->pathBegin);
    const bool isDirectory = parts->hasPath()
                                 ? CoreFoundation::isFolderPath(path.first(parts->pathEnd - parts->pathBegin))
                                 : ownBase && ownBase.get()->isDirectory;
    return new CFURLObject(std::move(ownText), *parts, std::move(ownBase), isDirectory, false);
}

CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef, CFStringRef path, CFURLPathStyle style,
                                       Boolean isDirectory) {
    const QString& text = CoreFoundation::textOf(path, __func__);
    if (style != kCFURLPOSIXPathStyle && style != kCFURLWindowsPathStyle) {
        return nullptr;
    }
    const std::optional<QByteArray> bytes =
        VKPlatform::encodeUtf8(style == kCFURLWindowsPathStyle ? posixFromWindows(text) : text);
    return bytes ? newFileUrl(*bytes, {.isDirectory = isDirectory != 0, .isFromPath = true}) : nullptr;
}

CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef, const UInt8* bytes, CFIndex length,
                                                 Boolean isDirectory) {
    if (bytes == nullptr || length <= 0) {
        return nullptr;
    }
    return newFileUrl(QByteArrayView(bytes, length), {.isDirectory = isDirectory != 0, .isFromPath = true});
}

CFStringRef CFURLGetString(CFURLRef url) { return checked<CFURLObject>(url, __func__)->string.get(); }

CFURLRef CFURLGetBaseURL(CFURLRef url) { return checked<CFURLObject>(url, __func__)->base.get(); }

CFURLRef CFURLCopyAbsoluteURL(CFURLRef url) {
    return absoluteUrl(*checked<CFURLObject>(url, __func__)).take();
}

CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style) {
    const QByteArray bytes = fileSystemBytes(*checked<CFURLObject>(url, __func__));
    if (bytes.isNull() || (style != kCFURLPOSIXPathStyle && style != kCFURLWindowsPathStyle)) {
        return nullptr;
    }
    std::optional<QString> path = VKPlatform::decodeUtf8Strict(bytes);
    if (!path) {
        return nullptr;
    }
    return newString(style == kCFURLWindowsPathStyle ? windowsFromPosix(*std::move(path)) : *std::move(path));
}

Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase, UInt8* buffer,
                                         CFIndex bufferSize) {
    const CFURLObject& object = *checked<CFURLObject>(url, __func__);
    if (bufferSize <= 0) {
        return 0;
    }
    const Owner<CFURLRef> absolute = resolveAgainstBase != 0 ? absoluteUrl(object) : Owner<CFURLRef>();
    if (resolveAgainstBase != 0 && !absolute) {
        *buffer = 0;
        return 0;
    }
    const QByteArray bytes = fileSystemBytes(absolute ? *absolute.get() : object);
    // A path that fills the buffer has no room for its NUL and would be read beyond the end.
    if (bytes.isNull() || bytes.size() >= bufferSize) {
        *buffer = 0;
        return 0;
    }
    std::memcpy(buffer, bytes.constData(), static_cast<std::size_t>(bytes.size()) + 1);
    return 1;
}

Boolean CFURLHasDirectoryPath(CFURLRef url) {
    return static_cast<Boolean>(checked<CFURLObject>(url, __func__)->isDirectory);
}

CFStringRef CFURLCopyScheme(CFURLRef url) {
    const CFURLObject* object = checked<CFURLObject>(url, __func__);
    while (object->parts.schemeEnd == 0 && object->base) {
        object = object->base.get();
    }
    return object->parts.schemeEnd > 0 ? newString(object->part(0, object->parts.schemeEnd).toString())
                                       : nullptr;
}

CFStringRef CFURLCopyHostName(CFURLRef url) {
    const CFURLObject* object = checked<CFURLObject>(url, __func__);
    while (object->parts.authorityBegin < 0 && object->base) {
        object = object->base.get();
    }
    if (object->parts.authorityBegin < 0) {
        return nullptr;
    }
    QStringView host = object->part(object->parts.authorityBegin, object->parts.pathBegin);
    host = host.sliced(host.lastIndexOf(u'@') + 1);
    if (host.startsWith(u'[')) {
        // An address in brackets has colons of its own; one without the closing bracket reaches to the end.
        const qsizetype close = host.indexOf(u']');
        host = host.sliced(1, (close < 0 ? host.size() : close) - 1);
    } else if (const qsizetype colon = host.indexOf(u':'); colon >= 0) {
        host = host.first(colon);
    }
    return host.isEmpty() ? nullptr : newStringFromEscaped(host);
}

CFStringRef CFURLCopyLastPathComponent(CFURLRef url) {
    const QString name = lastComponent(*checked<CFURLObject>(url, __func__));
    return name.isNull() ? nullptr : newString(name);
}

CFStringRef CFURLCopyPathExtension(CFURLRef url) {
    const QString name = lastComponent(*checked<CFURLObject>(url, __func__));
    const qsizetype dot = name.lastIndexOf(u'.');
    return dot <= 0 || dot == name.size() - 1 ? nullptr : newString(name.sliced(dot + 1));
}

CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef, CFURLRef url, CFStringRef component,
                                               Boolean isDirectory) {
    const CFURLObject& object = *checked<CFURLObject>(url, __func__);
    const std::optional<QByteArray> bytes =
        VKPlatform::encodeUtf8(CoreFoundation::textOf(component, __func__));
    // A host alone stands for its root.
    const bool isHostAlone = !object.parts.hasPath() &&
                             object.parts.pathBegin > object.parts.authorityBegin &&
                             object.parts.authorityBegin >= 0;
    if (!bytes || bytes->contains('\0') || (!object.parts.hasPath() && !isHostAlone)) {
        return nullptr;
    }
    QByteArrayView name = *bytes;
    while (name.startsWith('/')) {
        name = name.sliced(1);
    }
    while (name.endsWith('/')) {
        name.chop(1);
    }
    QStringView folder = isHostAlone ? QStringView(u"/") : object.path();
    while (folder.size() > 1 && folder.endsWith(u'/')) {
        folder.chop(1);
    }
    QString path = folder.toString();
    if (!name.isEmpty()) {
        path += path.endsWith(u'/') ? QStringView() : QStringView(u"/");
        path += CoreFoundation::escapedPath(name, CoreFoundation::ColonRule::Keep);
    }
    if (isDirectory != 0 && !path.endsWith(u'/')) {
        path += u'/';
    }
    return newUrlWithPath(object, path, object.part(object.parts.pathEnd, object.text().size()),
                          {isDirectory != 0, object.isFromPath});
}

CFURLRef CFURLCreateCopyDeletingLastPathComponent(CFAllocatorRef, CFURLRef url) {
    const CFURLObject& object = *checked<CFURLObject>(url, __func__);
    if (!object.parts.hasPath()) {
        return nullptr;
    }
    QStringView path = object.path();
    while (path.size() > 1 && path.endsWith(u'/')) {
        path.chop(1);
    }
    QString folder;
    if (CoreFoundation::isFolderPath(path) && path != u"/") {
        folder = path + QStringLiteral("/../"); // what "." and ".." name is known to the disk alone
    } else {
        const qsizetype slash = path.lastIndexOf(u'/');
        folder = slash < 0 ? QStringLiteral("./") : path.first(slash + 1).toString();
    }
    return newUrlWithPath(object, folder, QStringView(), {true, object.isFromPath});
}

} // extern "C"

QByteArray CFURLCopyFileSystemBytes(CFURLRef url) {
    if (url == nullptr) {
        return QByteArray();
    }
    const Owner<CFURLRef> absolute = absoluteUrl(*checked<CFURLObject>(url, __func__));
    if (!absolute) {
        return QByteArray();
    }
    const CFURLObject& object = *absolute.get();
    const QStringView scheme = object.part(0, object.parts.schemeEnd);
    if (!scheme.isEmpty() && scheme.compare(QStringView(u"file"), Qt::CaseInsensitive) != 0) {
        return QByteArray();
    }
    return fileSystemBytes(object);
}
