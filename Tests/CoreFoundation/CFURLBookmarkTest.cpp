// Bookmark calls with counted values: made, resolved, refused, counted right.
#include "Support/DiskSupport.h"
#include "Support/VKTest.h"

#include <CoreFoundation/CFQt.h>
#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKProcess.h>

#include <QScopeGuard>

#include <cerrno>

namespace {

using Url = VKCFRef<CFURLRef>;
using Data = VKCFRef<CFDataRef>;
using Error = VKCFRef<CFErrorRef>;

Url urlOf(const QByteArray& path, bool isFolder = false) {
    return Url::adopt(CFURLCreateFromFileSystemRepresentation(
        nullptr, reinterpret_cast<const UInt8*>(path.constData()), path.size(), isFolder ? 1 : 0));
}

Url urlOfText(const char* text) {
    const auto string = VKCFRef<CFStringRef>::adopt(CFStringCreateWithQString(QString::fromUtf8(text)));
    return Url::adopt(CFURLCreateWithString(nullptr, string.get(), nullptr));
}

struct Made {
    Data data;
    Error error;
};

Made make(const Url& url, CFOptionFlags options = kCFURLBookmarkCreationWithSecurityScope) {
    CFErrorRef error = nullptr;
    Data data = Data::adopt(CFURLCreateBookmarkData(nullptr, url.get(), options, nullptr, nullptr, &error));
    return {std::move(data), Error::adopt(error)};
}

struct Resolved {
    Url url;
    Boolean isStale = 2;
    Error error;

    [[nodiscard]] QByteArray path() const { return CFURLCopyFileSystemBytes(url.get()); }
    [[nodiscard]] CFIndex code() const { return error ? CFErrorGetCode(error.get()) : 0; }
};

Resolved resolve(CFDataRef data) {
    Resolved out;
    CFErrorRef error = nullptr;
    out.url = Url::adopt(CFURLCreateByResolvingBookmarkData(
        nullptr, data, kCFURLBookmarkResolutionWithSecurityScope, nullptr, nullptr, &out.isStale, &error));
    out.error = Error::adopt(error);
    return out;
}

Data dataOf(const QByteArray& bytes) { return Data::adopt(CFDataCreateWithQByteArray(bytes)); }

} // namespace

class CFURLBookmarkTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void theNumbersOfOptions();
    void roundTrip_data();
    void roundTrip();
    void linkToAFolderIsAFolder();
    void aRelativeUrlIsResolvedFirst();
    void renamed();
    void movedWithItsFolder();
    void deleted();
    void refusedUrls_data();
    void refusedUrls();
    void refusedData_data();
    void refusedData();
    void argumentsThatMayBeNull();
    void countsAreBalanced();
    void accessOutsideASandbox();
    void accessInASandbox();
    void documentsInASandbox();
};

void CFURLBookmarkTest::theNumbersOfOptions() {
    QCOMPARE(kCFURLBookmarkCreationWithSecurityScope, CFOptionFlags(2048));
    QCOMPARE(kCFURLBookmarkResolutionWithSecurityScope, CFOptionFlags(1024));
}

void CFURLBookmarkTest::roundTrip_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<bool>("isFolder");
    QTest::newRow("file") << QByteArray("a.jpg") << false;
    QTest::newRow("folder") << QByteArray("Photos") << true;
    QTest::newRow("decomposed") << QByteArray("Cafe\xcc\x81.jpg") << false;
    QTest::newRow("not UTF-8") << QByteArray("Caf\xe9.jpg") << false;
    QTest::newRow("line feed and percent") << QByteArray("a\n%41.jpg") << false;
    QTest::newRow("longest name") << QByteArray(255, 'n') << true;
}

void CFURLBookmarkTest::roundTrip() {
    QFETCH(const QByteArray, name);
    QFETCH(const bool, isFolder);
    const QByteArray path = makeFolder().toUtf8() + '/' + name;
    if (isFolder) {
        Disk::makeFolder(path);
    } else {
        Disk::makeFile(path, "photo");
    }
    for (const CFOptionFlags options :
         {CFOptionFlags(0), CFOptionFlags(kCFURLBookmarkCreationWithSecurityScope)}) {
        // What the URL believes about folders does not matter; what is there does.
        const Made made = make(urlOf(path, !isFolder), options);
        QVERIFY(made.data);
        QVERIFY(!made.error);
        const Resolved resolved = resolve(made.data.get());
        QVERIFY(!resolved.error);
        QCOMPARE(resolved.path(), path);
        QCOMPARE(resolved.isStale, Boolean(0));
        QVERIFY(CFEqual(resolved.url.get(), urlOf(path, isFolder).get()));
    }
}

void CFURLBookmarkTest::linkToAFolderIsAFolder() {
    const QByteArray folder = makeFolder().toUtf8();
    Disk::makeFolder(folder + "/real");
    Disk::makeLink(folder + "/link", "real");
    const Resolved resolved = resolve(make(urlOf(folder + "/link")).data.get());
    QCOMPARE(resolved.path(), folder + "/link");
    QVERIFY(CFURLHasDirectoryPath(resolved.url.get()));
}

void CFURLBookmarkTest::aRelativeUrlIsResolvedFirst() {
    const QByteArray folder = makeFolder().toUtf8();
    Disk::makeFile(folder + "/a.jpg");
    const Disk::WorkingFolder working(folder);
    const Resolved resolved = resolve(make(urlOf("a.jpg")).data.get());
    QCOMPARE(resolved.path(), folder + "/a.jpg");
}

void CFURLBookmarkTest::renamed() {
    const QByteArray folder = makeFolder().toUtf8();
    Disk::makeFile(folder + "/a.jpg", "photo");
    const Made made = make(urlOf(folder + "/a.jpg"));
    QCOMPARE(::rename(Disk::text(folder + "/a.jpg"), Disk::text(folder + "/b.jpg")), 0);
    const Resolved resolved = resolve(made.data.get());
    QCOMPARE(resolved.path(), folder + "/b.jpg");
    QCOMPARE(resolved.isStale, Boolean(1));
    QVERIFY(!resolved.error);
}

void CFURLBookmarkTest::movedWithItsFolder() {
    const QByteArray folder = makeFolder().toUtf8();
    Disk::makeFolder(folder + "/2025");
    Disk::makeFile(folder + "/2025/a.jpg", "photo");
    const Made made = make(urlOf(folder + "/2025/a.jpg"));
    QCOMPARE(::rename(Disk::text(folder + "/2025"), Disk::text(folder + "/2026")), 0);
    const Resolved resolved = resolve(made.data.get());
    QCOMPARE(resolved.path(), folder + "/2026/a.jpg");
    QCOMPARE(resolved.isStale, Boolean(1));
}

void CFURLBookmarkTest::deleted() {
    // A file system of its own: what is not there is looked for everywhere.
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    const QByteArray folder = makeFolder().toUtf8();
    const Disk::TemporaryFileSystem disk(folder, "size=1m");
    VKTEST_NEEDS(disk.isMounted(), "tmpfs");
    Disk::makeFile(folder + "/a.jpg", "photo");
    const Made made = make(urlOf(folder + "/a.jpg"));
    QCOMPARE(::unlink(Disk::text(folder + "/a.jpg")), 0);
    const Resolved resolved = resolve(made.data.get());
    QVERIFY(!resolved.url);
    QCOMPARE(resolved.code(), CFIndex(ENOENT));
    QVERIFY(CFEqual(CFErrorGetDomain(resolved.error.get()), kCFErrorDomainPOSIX));
    QCOMPARE(resolved.isStale, Boolean(2)); // untouched
    const auto text = VKCFRef<CFStringRef>::adopt(CFErrorCopyDescription(resolved.error.get()));
    QCOMPARE(CFStringCopyQString(text.get()), QStringLiteral("No such file or directory"));
}

void CFURLBookmarkTest::refusedUrls_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("code");
    QTest::newRow("not there") << QByteArray("file:///nowhere/at/all") << ENOENT;
    QTest::newRow("below a file") << QByteArray("file:///etc/passwd/a") << ENOTDIR;
    QTest::newRow("another scheme") << QByteArray("https://example.com/a") << EINVAL;
    QTest::newRow("no path") << QByteArray("file:") << EINVAL;
    QTest::newRow("a NUL in the path") << QByteArray("file:///tmp%00x") << EINVAL;
    QTest::newRow("a name that is too long")
        << QByteArray("file:///tmp/" + QByteArray(256, 'n')) << ENAMETOOLONG;
}

void CFURLBookmarkTest::refusedUrls() {
    QFETCH(const QByteArray, text);
    QFETCH(const int, code);
    const Made made = make(urlOfText(text.constData()));
    QVERIFY(!made.data);
    QVERIFY(made.error);
    QCOMPARE(CFErrorGetCode(made.error.get()), CFIndex(code));
    QVERIFY(CFEqual(CFErrorGetDomain(made.error.get()), kCFErrorDomainPOSIX));
}

void CFURLBookmarkTest::refusedData_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("text") << QByteArray("/home/anna/a.jpg");
    QTest::newRow("the beginning alone") << QByteArray("VKBM\x01", 5);
    QTest::newRow("zeros") << QByteArray(64, '\0');
    QTest::newRow("huge") << QByteArray(1 << 20, 'V');
}

void CFURLBookmarkTest::refusedData() {
    QFETCH(const QByteArray, bytes);
    const Resolved resolved = resolve(dataOf(bytes).get());
    QVERIFY(!resolved.url);
    QCOMPARE(resolved.code(), CFIndex(EINVAL));
    QVERIFY(!resolve(nullptr).url);
}

void CFURLBookmarkTest::argumentsThatMayBeNull() {
    const QByteArray path = makeFolder().toUtf8() + "/a.jpg";
    Disk::makeFile(path);
    const Data data =
        Data::adopt(CFURLCreateBookmarkData(nullptr, urlOf(path).get(), 0, nullptr, nullptr, nullptr));
    QVERIFY(data);
    QVERIFY(!Data::adopt(CFURLCreateBookmarkData(nullptr, nullptr, 0, nullptr, nullptr, nullptr)));
    QVERIFY(Url::adopt(
        CFURLCreateByResolvingBookmarkData(nullptr, data.get(), 0, nullptr, nullptr, nullptr, nullptr)));
    QVERIFY(!Url::adopt(CFURLCreateByResolvingBookmarkData(nullptr, dataOf("x").get(), 0, nullptr, nullptr,
                                                           nullptr, nullptr)));
    QVERIFY(!CFURLStartAccessingSecurityScopedResource(nullptr));
    CFURLStopAccessingSecurityScopedResource(nullptr);
}

void CFURLBookmarkTest::countsAreBalanced() {
    const QByteArray path = makeFolder().toUtf8() + "/a.jpg";
    Disk::makeFile(path);
    const Url url = urlOf(path);
    const Made made = make(url);
    const Resolved resolved = resolve(made.data.get());
    QCOMPARE(CFGetRetainCount(url.get()), CFIndex(1));
    QCOMPARE(CFGetRetainCount(made.data.get()), CFIndex(1));
    QCOMPARE(CFGetRetainCount(resolved.url.get()), CFIndex(1));
    const Made refused = make(urlOf("/nowhere/at/all"));
    QCOMPARE(CFGetRetainCount(refused.error.get()), CFIndex(1));
    QVERIFY(CFURLStartAccessingSecurityScopedResource(url.get()));
    QCOMPARE(CFGetRetainCount(url.get()), CFIndex(1));
    CFURLStopAccessingSecurityScopedResource(url.get());
    QCOMPARE(CFGetRetainCount(url.get()), CFIndex(1));
}

void CFURLBookmarkTest::accessOutsideASandbox() {
    QVERIFY(CFURLStartAccessingSecurityScopedResource(urlOf("/nowhere/at/all").get()));
    QVERIFY(!CFURLStartAccessingSecurityScopedResource(urlOfText("https://example.com/a").get()));
}

void CFURLBookmarkTest::accessInASandbox() {
    const QByteArray folder = makeFolder().toUtf8();
    Disk::makeFile(folder + "/a.jpg");
    VKProcessSetSandboxed(VKSandboxAnswer::Sandboxed);
    const auto detect = qScopeGuard([] { VKProcessSetSandboxed(VKSandboxAnswer::Detect); });
    QVERIFY(CFURLStartAccessingSecurityScopedResource(urlOf(folder + "/a.jpg").get()));
    QVERIFY(CFURLStartAccessingSecurityScopedResource(urlOf(folder).get()));
    QVERIFY(!CFURLStartAccessingSecurityScopedResource(urlOf(folder + "/b.jpg").get()));
}

/// The portal's folder played by a plain one: what shows there is granted.
void CFURLBookmarkTest::documentsInASandbox() {
    const QByteArray documents = qgetenv("XDG_RUNTIME_DIR") + "/doc";
    Disk::makeFolder(documents);
    Disk::makeFolder(documents + "/9c3e");
    const QByteArray path = documents + "/9c3e/a b.jpg";
    Disk::makeFile(path, "photo");
    VKProcessSetSandboxed(VKSandboxAnswer::Sandboxed);
    const auto detect = qScopeGuard([&] {
        VKProcessSetSandboxed(VKSandboxAnswer::Detect);
        Disk::removeTree(documents);
    });

    const Made made = make(urlOf(path));
    QVERIFY(made.data);
    QVERIFY(CFDataCopyQByteArray(made.data.get()).contains("portal:1:9c3e:a%20b.jpg"));
    const Resolved granted = resolve(made.data.get());
    QCOMPARE(granted.path(), path);
    QCOMPARE(granted.isStale, Boolean(0));
    QVERIFY(CFURLStartAccessingSecurityScopedResource(granted.url.get()));

    // Renamed on the host: the document is empty.
    QCOMPARE(::unlink(Disk::text(path)), 0);
    QCOMPARE(resolve(made.data.get()).code(), CFIndex(ENOENT));
    QVERIFY(!CFURLStartAccessingSecurityScopedResource(granted.url.get()));

    // Revoked: the document is gone. The place stays known, for when it is granted again.
    QCOMPARE(::rmdir(Disk::text(documents + "/9c3e")), 0);
    const Resolved revoked = resolve(made.data.get());
    QCOMPARE(revoked.path(), path);
    QCOMPARE(revoked.isStale, Boolean(1));
    QVERIFY(!CFURLStartAccessingSecurityScopedResource(revoked.url.get()));

    Disk::makeFolder(documents + "/9c3e");
    Disk::makeFile(path, "photo");
    QVERIFY(CFURLStartAccessingSecurityScopedResource(revoked.url.get()));
    CFURLStopAccessingSecurityScopedResource(revoked.url.get());
}

VKTEST_MAIN(CFURLBookmarkTest)
#include "CFURLBookmarkTest.moc"
