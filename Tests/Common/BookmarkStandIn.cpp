// The stand-in's tables, and the four calls. The linker puts them in the place of the real ones (--wrap).
#include "BookmarkStandIn.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSet>

#include <mutex>

namespace {

struct Tables {
    std::mutex mutex;
    QSet<QByteArray> granted;
    QHash<QByteArray, QByteArray> moved;
    QHash<QByteArray, CFIndex> failing;
    QHash<QByteArray, int> started;
    QHash<QByteArray, int> stopped;
    int created = 0;
    int resolved = 0;
    CFOptionFlags lastOptions = 0;
};

Tables& tables() {
    static Tables sTables;
    return sTables;
}

QByteArray textOf(CFURLRef url) { return CFStringCopyQString(CFURLGetString(url)).toUtf8(); }

bool isFailing(const Tables& all, const QByteArray& path, CFErrorRef* error) {
    if (!all.failing.contains(path)) {
        return false;
    }
    if (error != nullptr) {
        *error = CFErrorCreate(kCFAllocatorDefault, kCFErrorDomainPOSIX, all.failing.value(path), nullptr);
    }
    return true;
}

constexpr char kPrefix[] = "item:";
constexpr qsizetype kPrefixLength = sizeof kPrefix - 1;

} // namespace

extern "C" {

CFDataRef __wrap_CFURLCreateBookmarkData(CFAllocatorRef allocator, CFURLRef url, // NOLINT: the linker's name
                                         CFURLBookmarkCreationOptions options, CFArrayRef properties,
                                         CFURLRef relativeTo, CFErrorRef* error);
CFURLRef __wrap_CFURLCreateByResolvingBookmarkData( // NOLINT
    CFAllocatorRef allocator, CFDataRef bookmark, CFURLBookmarkResolutionOptions options, CFURLRef relativeTo,
    CFArrayRef properties, Boolean* isStale, CFErrorRef* error);
Boolean __wrap_CFURLStartAccessingSecurityScopedResource(CFURLRef url); // NOLINT
void __wrap_CFURLStopAccessingSecurityScopedResource(CFURLRef url);     // NOLINT

CFDataRef __wrap_CFURLCreateBookmarkData(CFAllocatorRef, CFURLRef url, // NOLINT
                                         CFURLBookmarkCreationOptions options, CFArrayRef, CFURLRef,
                                         CFErrorRef* error) {
    Tables& all = tables();
    const std::lock_guard lock(all.mutex);
    ++all.created;
    all.lastOptions = options;
    const QByteArray path = CFURLCopyFileSystemBytes(url);
    return isFailing(all, path, error) ? nullptr : CFDataCreateWithQByteArray(kPrefix + path);
}

CFURLRef __wrap_CFURLCreateByResolvingBookmarkData(CFAllocatorRef, CFDataRef bookmark, // NOLINT
                                                   CFURLBookmarkResolutionOptions options, CFURLRef,
                                                   CFArrayRef, Boolean*, CFErrorRef* error) {
    Tables& all = tables();
    const std::lock_guard lock(all.mutex);
    ++all.resolved;
    all.lastOptions = options;
    const QByteArray data = CFDataCopyQByteArray(bookmark);
    const QByteArray path = data.sliced(kPrefixLength);
    if (isFailing(all, path, error)) {
        return nullptr;
    }
    const QByteArray now = all.moved.value(path, path);
    return CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
                                                   reinterpret_cast<const UInt8*>(now.constData()),
                                                   now.size(), QFileInfo(QFile::decodeName(now)).isDir());
}

Boolean __wrap_CFURLStartAccessingSecurityScopedResource(CFURLRef url) { // NOLINT
    Tables& all = tables();
    const std::lock_guard lock(all.mutex);
    if (!all.granted.contains(CFURLCopyFileSystemBytes(url))) {
        return 0;
    }
    ++all.started[textOf(url)];
    return 1;
}

void __wrap_CFURLStopAccessingSecurityScopedResource(CFURLRef url) { // NOLINT
    Tables& all = tables();
    const std::lock_guard lock(all.mutex);
    ++all.stopped[textOf(url)];
}

} // extern "C"

namespace BookmarkStandIn {

void reset() {
    Tables& all = tables();
    const std::lock_guard lock(all.mutex);
    all.granted.clear();
    all.moved.clear();
    all.failing.clear();
    all.started.clear();
    all.stopped.clear();
    all.created = 0;
    all.resolved = 0;
    all.lastOptions = 0;
}

void grant(const QByteArray& path) {
    const std::lock_guard lock(tables().mutex);
    tables().granted.insert(path);
}

void revoke(const QByteArray& path) {
    const std::lock_guard lock(tables().mutex);
    tables().granted.remove(path);
}

void move(const QByteArray& from, const QByteArray& to) {
    const std::lock_guard lock(tables().mutex);
    tables().moved.insert(from, to);
}

void failAt(const QByteArray& path, CFIndex code) {
    const std::lock_guard lock(tables().mutex);
    tables().failing.insert(path, code);
}

int openScopes(const QByteArray& urlText) {
    const std::lock_guard lock(tables().mutex);
    return tables().started.value(urlText) - tables().stopped.value(urlText);
}

int stops(const QByteArray& urlText) {
    const std::lock_guard lock(tables().mutex);
    return tables().stopped.value(urlText);
}

int created() {
    const std::lock_guard lock(tables().mutex);
    return tables().created;
}

int resolved() {
    const std::lock_guard lock(tables().mutex);
    return tables().resolved;
}

CFOptionFlags lastOptions() {
    const std::lock_guard lock(tables().mutex);
    return tables().lastOptions;
}

VKCFRef<CFDataRef> dataOf(const QByteArray& path) {
    return VKCFRef<CFDataRef>::adopt(CFDataCreateWithQByteArray(kPrefix + path));
}

} // namespace BookmarkStandIn
