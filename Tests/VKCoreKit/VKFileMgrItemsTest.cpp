// Making and deleting by URL, free space and writability: statuses, null arguments, and one row for each promise.
#include "VKCoreKit/VKFileMgr.h"

#include "CoreKitSupport.h"
#include "Support/DiskSupport.h"
#include "Support/LoopFileSystem.h"
#include "Support/OddNames.h"

#include <cerrno>

using namespace CoreKit;

class VKFileMgrItemsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void wrongArguments();
    void createDirectory_data();
    void createDirectory();
    void deleting_data();
    void deleting();
    void nothingProtectedIsDeleted();
    void names_data();
    void names();
    void freeSpace();
    void writable();
    void readOnlyVolume();

private:
    QByteArray mRoot;
};

void VKFileMgrItemsTest::init() {
    VKTest::init();
    mRoot = makeFolder(QStringLiteral("items")).toUtf8();
}

void VKFileMgrItemsTest::cleanup() { Disk::removeTree(mRoot); }

void VKFileMgrItemsTest::wrongArguments() {
    const auto web = makeWebUrl();
    const auto file = makeUrl(mRoot);
    QCOMPARE(VKFileMgrCreateDirectory(nullptr), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrCreateDirectory(web.get()), kVKStatusNotConvertible);
    QCOMPARE(VKFileMgrDeleteFolder(nullptr), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrDeleteFolder(web.get()), kVKStatusNotConvertible);
    QCOMPARE(VKFileMgrDeleteFile(nullptr), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrDeleteFile(web.get()), kVKStatusNotConvertible);
    unsigned long long bytes = 5;
    QCOMPARE(VKFileMgrGetBytesFreeFromPath(nullptr, &bytes), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrGetBytesFreeFromPath(file.get(), nullptr), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrGetBytesFreeFromPath(web.get(), &bytes), kVKStatusNotConvertible);
    QCOMPARE(bytes, 5ULL);
    bool writable = true;
    QCOMPARE(VKFileMgrGetFolderWritable(file.get(), nullptr), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrGetFolderWritable(nullptr, &writable), kVKStatusBadArgument);
    QVERIFY(!writable);
    writable = true;
    QCOMPARE(VKFileMgrGetFolderWritable(web.get(), &writable), kVKStatusNotConvertible);
    QVERIFY(!writable);
}

void VKFileMgrItemsTest::createDirectory_data() {
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<VKStatus>("status");
    QTest::newRow("new") << QByteArray("/new") << VKStatus(0);
    QTest::newRow("with those above it") << QByteArray("/new/newer/newest") << VKStatus(0);
    QTest::newRow("there already") << QByteArray("/folder") << VKStatus(0);
    QTest::newRow("link to a folder") << QByteArray("/link") << VKStatus(0);
    QTest::newRow("file") << QByteArray("/file") << VKStatus(17);
    QTest::newRow("below a file") << QByteArray("/file/new") << VKStatus(20);
}

void VKFileMgrItemsTest::createDirectory() {
    QFETCH(QByteArray, path);
    QFETCH(VKStatus, status);
    Disk::makeFolder(mRoot + "/folder");
    Disk::makeFile(mRoot + "/file", "old");
    Disk::makeLink(mRoot + "/link", "folder");
    for (const bool isFolder : {true, false}) {
        QCOMPARE(VKFileMgrCreateDirectory(makeUrl(mRoot + path, isFolder).get()), status);
        QCOMPARE(Disk::exists(mRoot + path + "/."), status == 0);
    }
    QCOMPARE(Disk::contentOf(mRoot + "/file"), QByteArray("old"));
}

void VKFileMgrItemsTest::deleting_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<VKStatus>("asFile");
    QTest::addColumn<VKStatus>("asFolder");
    QTest::newRow("file") << QByteArray("file") << VKStatus(0) << VKStatus(0);
    QTest::newRow("folder") << QByteArray("folder") << VKStatus(21) << VKStatus(0);
    QTest::newRow("link to a folder") << QByteArray("link") << VKStatus(0) << VKStatus(0);
    QTest::newRow("link that leads nowhere") << QByteArray("dangling") << VKStatus(0) << VKStatus(0);
    QTest::newRow("nothing") << QByteArray("none") << VKStatus(2) << VKStatus(2);
}

void VKFileMgrItemsTest::deleting() {
    QFETCH(QByteArray, name);
    for (const char* column : {"asFile", "asFolder"}) {
        Disk::removeTree(mRoot);
        Disk::makeFolder(mRoot);
        Disk::makeFile(mRoot + "/file");
        Disk::makeFolder(mRoot + "/folder");
        Disk::makeFile(mRoot + "/folder/inside", "inside");
        Disk::makeLink(mRoot + "/link", "folder");
        Disk::makeLink(mRoot + "/dangling", "nothing");
        QByteArrayList left = Disk::namesIn(mRoot);
        const auto url = makeUrl(mRoot + '/' + name, column == QByteArray("asFolder"));
        const VKStatus status = column == QByteArray("asFile") ? VKFileMgrDeleteFile(url.get())
                                                               : VKFileMgrDeleteFolder(url.get());
        QTEST(status, column);
        if (status == 0) {
            left.removeOne(name);
        }
        QCOMPARE(Disk::namesIn(mRoot), left);
        if (name != "folder") {
            QCOMPARE(Disk::contentOf(mRoot + "/folder/inside"), QByteArray("inside"));
        }
    }
}

void VKFileMgrItemsTest::nothingProtectedIsDeleted() {
    // The home folder of the tests.
    const QByteArray home = qgetenv("HOME");
    QVERIFY(!home.isEmpty() && home.startsWith(scratchFolder().toUtf8()));
    QCOMPARE(VKFileMgrDeleteFolder(makeUrl(home, true).get()), VKStatus(EBUSY));
    QCOMPARE(VKFileMgrDeleteFolder(makeUrl(home + "/..", true).get()), VKStatus(EINVAL));
    QCOMPARE(VKFileMgrDeleteFolder(makeUrl("/", true).get()), VKStatus(EBUSY));
    QVERIFY(Disk::exists(home));
}

void VKFileMgrItemsTest::names_data() { addOddNameRows(); }

// Made by bytes, found and deleted through the text.
void VKFileMgrItemsTest::names() {
    QFETCH(QByteArray, name);
    QCOMPARE(VKFileMgrCreateDirectory(makeUrl(mRoot + '/' + name + '/' + name, true).get()),
             kVKStatusSuccess);
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{name});
    const QString text =
        takeText(VKFileMgrGetFileSystemRepresentationCopy(makeUrl(mRoot + '/' + name).get()));
    const auto found =
        VKCFRef<CFURLRef>::adopt(VKFileMgrCreateFileSystemRepresentation(makeString(text).get(), true));
    unsigned long long bytes = 0;
    bool writable = false;
    QCOMPARE(VKFileMgrGetBytesFreeFromPath(found.get(), &bytes), kVKStatusSuccess);
    QCOMPARE(VKFileMgrGetFolderWritable(found.get(), &writable), kVKStatusSuccess);
    QVERIFY(bytes > 0 && writable);
    QCOMPARE(VKFileMgrCreateDirectory(found.get()), kVKStatusSuccess);
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{name});
    QCOMPARE(VKFileMgrDeleteFolder(found.get()), kVKStatusSuccess);
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList());
}

void VKFileMgrItemsTest::freeSpace() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    const Disk::TemporaryFileSystem memory(mRoot, "size=1m");
    VKTEST_NEEDS(memory.isMounted(), "a system that can mount tmpfs");
    unsigned long long before = 0;
    unsigned long long after = 0;
    QCOMPARE(VKFileMgrGetBytesFreeFromPath(makeUrl(mRoot, true).get(), &before), kVKStatusSuccess);
    QCOMPARE(before, 1ULL << 20);
    Disk::makeFile(mRoot + "/a", QByteArray(512 << 10, 'x'));
    QCOMPARE(VKFileMgrGetBytesFreeFromPath(makeUrl(mRoot + "/none/at/all").get(), &after), kVKStatusSuccess);
    QCOMPARE(after, 1ULL << 19);
    after = 3;
    QCOMPARE(VKFileMgrGetBytesFreeFromPath(makeUrl("/proc").get(), &after), VKStatus(EOPNOTSUPP));
    QCOMPARE(after, 3ULL);
}

void VKFileMgrItemsTest::writable() {
    bool writable = false;
    QCOMPARE(VKFileMgrGetFolderWritable(makeUrl(mRoot, true).get(), &writable), kVKStatusSuccess);
    QVERIFY(writable);
    QCOMPARE(VKFileMgrGetFolderWritable(makeUrl(mRoot + "/none", true).get(), &writable), VKStatus(ENOENT));
    QVERIFY(!writable);
    Disk::makeFile(mRoot + "/file");
    QCOMPARE(VKFileMgrGetFolderWritable(makeUrl(mRoot + "/file").get(), &writable), VKStatus(ENOTDIR));
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user");
    Disk::openForOthers(mRoot);
    Disk::makeFolder(mRoot + "/mine");
    const int other = Disk::asOtherUser([this] {
        bool flag = true;
        const VKStatus status = VKFileMgrGetFolderWritable(makeUrl(mRoot + "/mine", true).get(), &flag);
        return status == kVKStatusSuccess && !flag ? 0 : 1;
    });
    QCOMPARE(other, 0);
}

void VKFileMgrItemsTest::readOnlyVolume() {
    Disk::LoopFileSystem ext4("ext4", mRoot);
    VKTEST_NEEDS(ext4.isMounted(), "root and loop devices");
    Disk::makeFolder(mRoot + "/folder");
    Disk::makeFile(mRoot + "/folder/a", "photo");
    QVERIFY(ext4.becomeReadOnly());
    bool writable = true;
    QCOMPARE(VKFileMgrGetFolderWritable(makeUrl(mRoot + "/folder", true).get(), &writable), kVKStatusSuccess);
    QVERIFY(!writable);
    QCOMPARE(VKFileMgrCreateDirectory(makeUrl(mRoot + "/new", true).get()), VKStatus(EROFS));
    QCOMPARE(VKFileMgrCreateDirectory(makeUrl(mRoot + "/folder", true).get()), kVKStatusSuccess);
    QCOMPARE(VKFileMgrDeleteFile(makeUrl(mRoot + "/folder/a").get()), VKStatus(EROFS));
    QCOMPARE(VKFileMgrDeleteFolder(makeUrl(mRoot + "/folder", true).get()), VKStatus(EROFS));
    QCOMPARE(Disk::contentOf(mRoot + "/folder/a"), QByteArray("photo"));
}

VKTEST_MAIN(VKFileMgrItemsTest)
#include "VKFileMgrItemsTest.moc"
