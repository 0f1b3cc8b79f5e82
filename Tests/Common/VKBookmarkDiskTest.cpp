// Bookmarks on real files, by the real bookmark calls: kept, loaded by another process, and found again.
#include "Support/DiskSupport.h"
#include "Support/VKTest.h"
#include "VKCoreKit/CoreKitSupport.h"

#include <CoreFoundation/CFURLBookmark.h>
#include <VKBookmark.h>
#include <VKBookmarkManager.h>
#include <VKCoreKit/VKFileMgr.h>
#include <VKCoreKit/VKProcess.h>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

using Data = VKCFRef<CFDataRef>;
using Url = VKCFRef<CFURLRef>;

using Owned = VKOwned<VKBookmark>;

Owned makeBookmark() { return Owned(new VKBookmark); }

/// Kept with data that finds the item again; no bytes when there is none.
QByteArray keptBookmark(const QByteArray& path, bool isFolder) {
    const Url url = CoreKit::makeUrl(path, isFolder);
    VKBookmark* made = nullptr;
    if (VKBookmark::create(url.get(), isFolder, made) != kVKStatusSuccess) {
        return QByteArray();
    }
    const Owned bookmark(made);
    if (bookmark->data() == nullptr) {
        const auto data = Data::adopt(
            CFURLCreateBookmarkData(kCFAllocatorDefault, url.get(), 0, nullptr, nullptr, nullptr));
        bookmark->setData(data.get());
    }
    QByteArray xml;
    return bookmark->save(xml) == kVKStatusSuccess ? xml : QByteArray();
}

/// Where the kept bookmark leads, as another process sees it; null when it leads nowhere.
QByteArray resolvedElsewhere(const QByteArray& xml) {
    int ends[2] = {};
    Disk::must(::pipe(ends) == 0, "pipe", QByteArray());
    const pid_t child = ::fork();
    Disk::must(child >= 0, "fork", QByteArray());
    if (child == 0) {
        VKBookmark bookmark;
        const bool loaded = bookmark.load(xml) == kVKStatusSuccess;
        const QByteArray path = loaded ? CFURLCopyFileSystemBytes(bookmark.resolveUrlPath()) : QByteArray();
        const bool written =
            ::write(ends[1], path.constData(), static_cast<std::size_t>(path.size())) == path.size();
        ::_exit(written ? 0 : 1);
    }
    ::close(ends[1]);
    QByteArray path;
    char block[4096];
    for (ssize_t got = 0; (got = ::read(ends[0], block, sizeof block)) > 0;) {
        path.append(block, got);
    }
    ::close(ends[0]);
    int status = 0;
    Disk::must(::waitpid(child, &status, 0) == child && status == 0, "waitpid", QByteArray());
    return path;
}

} // namespace

class VKBookmarkDiskTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void followsAFolder();
    void followsAFile();
    void followsIntoAFolderThatMoved();
    void anyName_data();
    void anyName();
    void replacedBySaving();
    void gone();
    void neverAnotherFile();
    void damagedData_data();
    void damagedData();

    void sandboxedWithRealCalls();
    void sandboxedAndGone();
    void pathTokens();

private:
    QByteArray mFolder;
};

void VKBookmarkDiskTest::init() {
    VKTest::init();
    mFolder = makeFolder().toUtf8();
    VKProcessSetSandboxed(VKSandboxAnswer::Unsandboxed);
}

void VKBookmarkDiskTest::cleanup() {
    VKBookmarkManager::deleteInstance();
    VKProcessSetSandboxed(VKSandboxAnswer::Detect);
}

void VKBookmarkDiskTest::followsAFolder() {
    Disk::makeFolder(mFolder + "/Trip");
    Disk::makeFile(mFolder + "/Trip/a.jpg", "photo");
    const QByteArray xml = keptBookmark(mFolder + "/Trip", true);
    QVERIFY(!xml.isEmpty());
    QCOMPARE(resolvedElsewhere(xml), mFolder + "/Trip");
    QCOMPARE(::rename(Disk::text(mFolder + "/Trip"), Disk::text(mFolder + "/Journey")), 0);
    QCOMPARE(resolvedElsewhere(xml), mFolder + "/Journey");

    const Owned bookmark = makeBookmark();
    QCOMPARE(bookmark->load(xml), kVKStatusSuccess);
    QVERIFY(CFURLHasDirectoryPath(bookmark->resolveUrlPath()));
    QCOMPARE(bookmark->checkout(), kVKStatusSuccess);
    QVERIFY(!bookmark->checkoutRefused());
    QCOMPARE(bookmark->checkoutCount(), 0); // nothing to count outside a sandbox
}

void VKBookmarkDiskTest::followsAFile() {
    Disk::makeFile(mFolder + "/a.jpg", "photo");
    const QByteArray xml = keptBookmark(mFolder + "/a.jpg", false);
    Disk::makeFolder(mFolder + "/below");
    QCOMPARE(::rename(Disk::text(mFolder + "/a.jpg"), Disk::text(mFolder + "/below/b.jpg")), 0);
    QCOMPARE(resolvedElsewhere(xml), mFolder + "/below/b.jpg");
    const Owned bookmark = makeBookmark();
    QCOMPARE(bookmark->load(xml), kVKStatusSuccess);
    QVERIFY(!CFURLHasDirectoryPath(bookmark->resolveUrlPath()));
    QCOMPARE(bookmark->path().toUtf8(), mFolder + "/a.jpg"); // as it was kept
}

void VKBookmarkDiskTest::followsIntoAFolderThatMoved() {
    Disk::makeFolder(mFolder + "/Trip");
    Disk::makeFile(mFolder + "/Trip/a.jpg", "photo");
    const QByteArray xml = keptBookmark(mFolder + "/Trip/a.jpg", false);
    QCOMPARE(::rename(Disk::text(mFolder + "/Trip"), Disk::text(mFolder + "/Journey")), 0);
    QCOMPARE(resolvedElsewhere(xml), mFolder + "/Journey/a.jpg");
}

void VKBookmarkDiskTest::anyName_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("composed") << QByteArray("Caf\xc3\xa9.jpg");
    QTest::newRow("decomposed") << QByteArray("Cafe\xcc\x81.jpg");
    QTest::newRow("not UTF-8") << QByteArray("Caf\xe9.jpg");
    QTest::newRow("line break and quotes") << QByteArray("a\n\"<&>'%41.jpg");
}

void VKBookmarkDiskTest::anyName() {
    QFETCH(QByteArray, name);
    Disk::makeFile(mFolder + '/' + name, "photo");
    const QByteArray xml = keptBookmark(mFolder + '/' + name, false);
    QCOMPARE(resolvedElsewhere(xml), mFolder + '/' + name);
    // From a path as well, which is canonical text: the item is found under its own spelling.
    const Url url = CoreKit::makeUrl(mFolder + '/' + name);
    VKQtPath path;
    path.setPath(url.get(), false, 0);
    VKBookmark* made = nullptr;
    QCOMPARE(VKBookmark::create(path.path(), false, made), kVKStatusSuccess);
    const Owned bookmark(made);
    QCOMPARE(CFURLCopyFileSystemBytes(bookmark->resolveUrlPath()), mFolder + '/' + name);
}

void VKBookmarkDiskTest::replacedBySaving() {
    Disk::makeFile(mFolder + "/a.jpg", "old");
    const QByteArray xml = keptBookmark(mFolder + "/a.jpg", false);
    Disk::makeFile(mFolder + "/a.jpg.new", "new");
    QCOMPARE(::rename(Disk::text(mFolder + "/a.jpg.new"), Disk::text(mFolder + "/a.jpg")), 0);
    QCOMPARE(resolvedElsewhere(xml), mFolder + "/a.jpg");
}

void VKBookmarkDiskTest::gone() {
    VKTEST_NEEDS(Disk::isRoot(), "root, for a small file system");
    const Disk::TemporaryFileSystem volume(mFolder, "size=1m");
    QVERIFY(volume.isMounted());
    Disk::makeFile(mFolder + "/a.jpg", "photo");
    Disk::makeFile(mFolder + "/b.jpg", "another");
    const QByteArray xml = keptBookmark(mFolder + "/a.jpg", false);
    QCOMPARE(::unlink(Disk::text(mFolder + "/a.jpg")), 0);
    CoreKit::LogCapture log;
    const Owned bookmark = makeBookmark();
    QCOMPARE(bookmark->load(xml), kVKStatusSuccess);
    QCOMPARE(bookmark->resolveUrlPath(), nullptr);
    QCOMPARE(bookmark->resolveUrlPath(), nullptr);
    const QList<CoreKit::LogLine> lines = log.take();
    QCOMPARE(lines.size(), 1); // once
    QCOMPARE(lines.first().status, VKStatus{ENOENT});
    QCOMPARE(bookmark->makePath().path().toUtf8(), mFolder + "/a.jpg");
}

void VKBookmarkDiskTest::neverAnotherFile() {
    VKTEST_NEEDS(Disk::isRoot(), "root, for a small file system");
    const Disk::TemporaryFileSystem volume(mFolder, "size=1m");
    QVERIFY(volume.isMounted());
    Disk::makeFile(mFolder + "/a.jpg", "photo");
    const QByteArray xml = keptBookmark(mFolder + "/a.jpg", false);
    QCOMPARE(::unlink(Disk::text(mFolder + "/a.jpg")), 0);
    // A folder in its place is not the file, and neither is what may have got its number.
    Disk::makeFolder(mFolder + "/a.jpg");
    for (int i = 0; i < 20; ++i) {
        Disk::makeFile(mFolder + "/other" + QByteArray::number(i) + ".jpg", "another");
    }
    const CoreKit::LogCapture log;
    QCOMPARE(resolvedElsewhere(xml), QByteArray());
}

void VKBookmarkDiskTest::damagedData_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("foreign") << QByteArray("bookmark of somebody else");
    QTest::newRow("long") << QByteArray(100000, 'x');
}

void VKBookmarkDiskTest::damagedData() {
    QFETCH(QByteArray, bytes);
    for (const VKSandboxAnswer answer : {VKSandboxAnswer::Unsandboxed, VKSandboxAnswer::Sandboxed}) {
        VKProcessSetSandboxed(answer);
        CoreKit::LogCapture log;
        const Owned bookmark = makeBookmark();
        bookmark->setPath(QString::fromUtf8(mFolder));
        bookmark->setData(Data::adopt(CFDataCreateWithQByteArray(bytes)).get());
        QCOMPARE(bookmark->resolveUrlPath(), nullptr);
        QCOMPARE(log.take().size(), 1);
        QCOMPARE(bookmark->checkout(), kVKStatusSuccess);
        QCOMPARE(bookmark->checkoutRefused(), answer == VKSandboxAnswer::Sandboxed);
    }
}

void VKBookmarkDiskTest::sandboxedWithRealCalls() {
    VKProcessSetSandboxed(VKSandboxAnswer::Sandboxed);
    Disk::makeFile(mFolder + "/a.jpg", "photo");
    const QByteArray xml = keptBookmark(mFolder + "/a.jpg", false);
    QVERIFY(xml.contains("<key>data</key>"));
    const Owned bookmark = makeBookmark();
    QCOMPARE(bookmark->load(xml), kVKStatusSuccess);
    const QString path = QString::fromUtf8(mFolder + "/a.jpg");
    QVERIFY(!VKBookmark::hasSandboxAccess(path, false));
    QCOMPARE(bookmark->checkout(), kVKStatusSuccess);
    QCOMPARE(bookmark->checkoutCount(), 1);
    QVERIFY(VKBookmark::hasSandboxAccess(path, false));
    QCOMPARE(bookmark->checkin(), kVKStatusSuccess);
    QVERIFY(!VKBookmark::hasSandboxAccess(path, false));
}

void VKBookmarkDiskTest::sandboxedAndGone() {
    VKTEST_NEEDS(Disk::isRoot(), "root, for a small file system");
    const Disk::TemporaryFileSystem volume(mFolder, "size=1m");
    QVERIFY(volume.isMounted());
    VKProcessSetSandboxed(VKSandboxAnswer::Sandboxed);
    Disk::makeFile(mFolder + "/a.jpg", "photo");
    const Owned bookmark = makeBookmark();
    QCOMPARE(bookmark->load(keptBookmark(mFolder + "/a.jpg", false)), kVKStatusSuccess);
    QCOMPARE(::unlink(Disk::text(mFolder + "/a.jpg")), 0);
    bookmark->checkout();
    QVERIFY(bookmark->checkoutRefused());
}

void VKBookmarkDiskTest::pathTokens() {
    VKProcessSetSandboxed(VKSandboxAnswer::Sandboxed);
    Disk::makeFolder(mFolder + "/Trip");
    VKQtPath path(QString::fromUtf8(mFolder + "/Trip"), true);
    CFDataRef token = nullptr;
    QCOMPARE(path.makeSecurityToken(token), kVKStatusSuccess);
    QVERIFY(token != nullptr);
    VKBookmarkManager* const manager = VKBookmarkManager::sharedInstance();
    manager->addBookmark(path, false);
    const VKQtPath inside(QString::fromUtf8(mFolder + "/Trip/a.jpg"), false);
    QVERIFY(!manager->hasSandboxAccess(inside, nullptr));
    QVERIFY(manager->checkOutPath(path));
    QVERIFY(manager->hasSandboxAccess(inside, nullptr));
    manager->checkInPath(path);
    QVERIFY(!manager->hasSandboxAccess(inside, nullptr));

    VKQtPath missing(QString::fromUtf8(mFolder + "/none"), false);
    QCOMPARE(missing.makeSecurityToken(token), VKStatus{ENOENT});
    QCOMPARE(token, nullptr);
}

VKTEST_MAIN(VKBookmarkDiskTest)
#include "VKBookmarkDiskTest.moc"
