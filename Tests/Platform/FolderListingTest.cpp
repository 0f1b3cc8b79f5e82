// Listing real folders, and the details of entries and paths.
#include "Platform/FolderListing.h"

#include "Platform/Utf8.h"
#include "Support/DiskSupport.h"
#include "Support/LoopFileSystem.h"
#include "Support/ShellCommand.h"
#include "Support/VKTest.h"

#include <QDateTime>
#include <QFileInfo>
#include <QMap>

#include <cerrno>

using namespace VKPlatform;

namespace {

QByteArrayList namesOf(FolderListing& listing) {
    QByteArrayList names;
    for (FolderListing::Entry entry; listing.next(entry);) {
        names.append(entry.name.toByteArray());
    }
    std::sort(names.begin(), names.end());
    return names;
}

void setModified(const QByteArray& path, std::int64_t seconds, long nanoseconds) {
    const timespec times[2] = {{0, UTIME_NOW}, {seconds, nanoseconds}};
    Disk::must(::utimensat(AT_FDCWD, path.constData(), times, AT_SYMLINK_NOFOLLOW) == 0, "utimensat", path);
}

} // namespace

class FolderListingTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void kindsAndDetails_data();
    void kindsAndDetails();
    void namesAreBytes();
    void emptyFolder();
    void whatDoesNotOpen_data();
    void whatDoesNotOpen();
    void unreadableFolder();
    void manyEntries();
    void entryThatVanishes();
    void folderThatVanishes();
    void beforeOpenAndAfterTheEnd();
    void anotherFolderAfterwards();
    void moving();
    void byDescriptor();
    void times_data();
    void times();
    void birthTimeIsTheFileSystems();
    void birthTimeThatNobodyRecorded();
    void timesOutOfReach();
    void largeFile();
    void fileSystemWithoutBirthTime();
    void exists();

private:
    QByteArray mRoot;
};

void FolderListingTest::initTestCase() { mRoot = makeFolder(QStringLiteral("listing")).toUtf8(); }

// A folder of its own for each test.
void FolderListingTest::cleanup() {
    Disk::removeTree(mRoot);
    initTestCase();
}

void FolderListingTest::kindsAndDetails_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<FileKind>("kind");
    QTest::addColumn<int>("followError");
    QTest::addColumn<FileKind>("followedKind");
    QTest::addColumn<qint64>("followedSize");
    QTest::newRow("file") << QByteArray("file") << FileKind::File << 0 << FileKind::File << qint64(5);
    QTest::newRow("empty file") << QByteArray("empty") << FileKind::File << 0 << FileKind::File << qint64(0);
    QTest::newRow("folder") << QByteArray("folder") << FileKind::Folder << 0 << FileKind::Folder
                            << qint64(-1);
    QTest::newRow("hidden file") << QByteArray(".hidden") << FileKind::File << 0 << FileKind::File
                                 << qint64(1);
    QTest::newRow("three dots") << QByteArray("...") << FileKind::File << 0 << FileKind::File << qint64(2);
    QTest::newRow("fifo") << QByteArray("fifo") << FileKind::Special << 0 << FileKind::Special << qint64(-1);
    QTest::newRow("socket") << QByteArray("socket") << FileKind::Special << 0 << FileKind::Special
                            << qint64(-1);
    QTest::newRow("link to a file") << QByteArray("toFile") << FileKind::Link << 0 << FileKind::File
                                    << qint64(5);
    QTest::newRow("link to a folder")
        << QByteArray("toFolder") << FileKind::Link << 0 << FileKind::Folder << qint64(-1);
    QTest::newRow("link to nothing") << QByteArray("dangling") << FileKind::Link << ENOENT
                                     << FileKind::Unknown << qint64(-1);
    QTest::newRow("link to itself") << QByteArray("loop") << FileKind::Link << ELOOP << FileKind::Unknown
                                    << qint64(-1);
}

void FolderListingTest::kindsAndDetails() {
    QFETCH(QByteArray, name);
    QFETCH(FileKind, kind);
    QFETCH(int, followError);
    QFETCH(FileKind, followedKind);
    QFETCH(qint64, followedSize);
    const QByteArray root = mRoot + '/';
    Disk::makeFile(root + "file", "12345");
    Disk::makeFile(root + "empty");
    Disk::makeFolder(root + "folder");
    Disk::makeFile(root + ".hidden", "1");
    Disk::makeFile(root + "...", "12");
    Disk::makeFifo(root + "fifo");
    Disk::makeSocket(root + "socket");
    Disk::makeLink(root + "toFile", "file");
    Disk::makeLink(root + "toFolder", "folder");
    Disk::makeLink(root + "dangling", "nothing");
    Disk::makeLink(root + "loop", "loop");

    FolderListing listing;
    QCOMPARE(listing.open(mRoot), 0);
    int met = 0;
    for (FolderListing::Entry entry; listing.next(entry);) {
        if (entry.name != name) {
            continue;
        }
        ++met;
        QVERIFY(entry.kind == kind || entry.kind == FileKind::Unknown);
        QCOMPARE(entry.name.data()[entry.name.size()], '\0');
        FileDetails kept;
        QCOMPARE(listing.details(entry, LinkRule::Keep, kept), 0);
        QCOMPARE(kept.kind, kind);
        QVERIFY(kept.modifiedMs.has_value());
        FileDetails followed;
        QCOMPARE(listing.details(entry, LinkRule::Follow, followed), followError);
        QCOMPARE(followed.kind, followedKind);
        if (followedSize >= 0) {
            QCOMPARE(followed.sizeBytes, followedSize);
        }
        // The same by path.
        FileDetails byPath;
        QCOMPARE(fileDetails(root + name, LinkRule::Keep, byPath), 0);
        QCOMPARE(byPath.kind, kept.kind);
        QCOMPARE(byPath.sizeBytes, kept.sizeBytes);
        QCOMPARE(byPath.modifiedMs, kept.modifiedMs);
        QCOMPARE(byPath.createdMs, kept.createdMs);
        QCOMPARE(fileDetails(root + name, LinkRule::Follow, byPath), followError);
    }
    QCOMPARE(met, 1);
    QCOMPARE(listing.error(), 0);
}

void FolderListingTest::namesAreBytes() {
    QByteArrayList names;
    for (int byte = 1; byte < 256; ++byte) {
        if (byte != '/' && byte != '.') {
            names.append(QByteArray(1, char(byte)));
        }
    }
    names.append(QByteArray(255, '\xE9'));
    names.append("..a");
    std::sort(names.begin(), names.end());
    for (const QByteArray& name : names) {
        Disk::makeFile(mRoot + '/' + name);
    }
    FolderListing listing;
    QCOMPARE(listing.open(mRoot), 0);
    QCOMPARE(namesOf(listing), names);
}

void FolderListingTest::emptyFolder() {
    FolderListing listing;
    QCOMPARE(listing.open(mRoot), 0);
    QCOMPARE(namesOf(listing), QByteArrayList());
    QCOMPARE(listing.error(), 0);
}

void FolderListingTest::whatDoesNotOpen_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("error");
    QTest::newRow("nothing") << QByteArray("/none") << ENOENT;
    QTest::newRow("file") << QByteArray("/file") << ENOTDIR;
    QTest::newRow("below a file") << QByteArray("/file/a") << ENOTDIR;
    QTest::newRow("fifo") << QByteArray("/fifo") << ENOTDIR;
    QTest::newRow("link to nothing") << QByteArray("/dangling") << ENOENT;
    QTest::newRow("name too long") << '/' + QByteArray(256, 'a') << ENAMETOOLONG;
}

void FolderListingTest::whatDoesNotOpen() {
    QFETCH(QByteArray, name);
    QFETCH(int, error);
    Disk::makeFile(mRoot + "/file");
    Disk::makeLink(mRoot + "/dangling", "nothing");
    Disk::makeFifo(mRoot + "/fifo");
    FolderListing listing;
    QCOMPARE(listing.open(mRoot + name), error);
    FolderListing::Entry entry;
    QVERIFY(!listing.next(entry));
    FileDetails details;
    details.sizeBytes = 7;
    if (error != ENOTDIR || name.endsWith("/a")) {
        QCOMPARE(fileDetails(mRoot + name, LinkRule::Follow, details), error);
        QCOMPARE(details.sizeBytes, 7);
    }
    QCOMPARE(fileExists(QByteArray()), ENOENT);
    QCOMPARE(listing.open(QByteArray()), ENOENT);
}

void FolderListingTest::unreadableFolder() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user");
    Disk::openForOthers(mRoot);
    Disk::makeFile(mRoot + "/file");
    QCOMPARE(::chmod(mRoot.constData(), 0711), 0);
    const QByteArray root = mRoot;
    QCOMPARE(Disk::asOtherUser([&root] {
                 FolderListing listing;
                 const int error = listing.open(root);
                 FolderListing::Entry entry;
                 return listing.next(entry) ? 200 : error;
             }),
             EACCES);
    QCOMPARE(Disk::asOtherUser([&root] { return fileExists(root + "/file"); }), 0);
}

void FolderListingTest::manyEntries() {
    // Several blocks of the kernel's records.
    constexpr int kCount = 20000;
    QByteArrayList names;
    for (int i = 0; i < kCount; ++i) {
        names.append("IMG_" + QByteArray::number(i).rightJustified(6, '0') + ".jpg");
        Disk::makeFile(mRoot + '/' + names.constLast());
    }
    FolderListing listing;
    QCOMPARE(listing.open(mRoot), 0);
    QCOMPARE(namesOf(listing), names);
    QCOMPARE(listing.error(), 0);
}

void FolderListingTest::entryThatVanishes() {
    for (const char* name : {"a", "b", "c", "d"}) {
        Disk::makeFile(mRoot + '/' + name);
    }
    FolderListing listing;
    QCOMPARE(listing.open(mRoot), 0);
    int met = 0;
    for (FolderListing::Entry entry; listing.next(entry);) {
        QCOMPARE(::unlink(Disk::text(mRoot + '/' + entry.name.toByteArray())), 0);
        FileDetails details;
        QCOMPARE(listing.details(entry, LinkRule::Keep, details), ENOENT);
        QCOMPARE(details.kind, FileKind::Unknown);
        ++met;
    }
    QCOMPARE(met, 4);
    QCOMPARE(listing.error(), 0);
}

void FolderListingTest::folderThatVanishes() {
    QCOMPARE(::mkdir(Disk::text(mRoot + "/gone"), 0755), 0);
    FolderListing listing;
    QCOMPARE(listing.open(mRoot + "/gone"), 0);
    QCOMPARE(::rmdir(Disk::text(mRoot + "/gone")), 0);
    FolderListing::Entry entry;
    QVERIFY(!listing.next(entry));
    QCOMPARE(listing.error(), ENOENT);
    QVERIFY(!listing.next(entry));
    QCOMPARE(listing.error(), ENOENT);
}

void FolderListingTest::beforeOpenAndAfterTheEnd() {
    FolderListing listing;
    FolderListing::Entry entry;
    FileDetails details;
    QVERIFY(!listing.next(entry));
    QCOMPARE(listing.error(), 0);
    QCOMPARE(listing.details(entry, LinkRule::Keep, details), EBADF);
    QCOMPARE(listing.open(mRoot), 0);
    QVERIFY(!listing.next(entry));
    Disk::makeFile(mRoot + "/late");
    QVERIFY(!listing.next(entry));
    QCOMPARE(listing.details(entry, LinkRule::Keep, details), EBADF);
}

void FolderListingTest::anotherFolderAfterwards() {
    Disk::makeFile(mRoot + "/a");
    Disk::makeFolder(mRoot + "/sub");
    Disk::makeFile(mRoot + "/sub/b");
    FolderListing listing;
    FolderListing::Entry entry;
    QCOMPARE(listing.open(mRoot), 0);
    QVERIFY(listing.next(entry));
    QCOMPARE(listing.open(mRoot + "/sub"), 0);
    QCOMPARE(namesOf(listing), QByteArrayList{"b"});
    QCOMPARE(listing.open(mRoot), 0);
    QCOMPARE(namesOf(listing), (QByteArrayList{"a", "sub"}));
    QCOMPARE(listing.open(mRoot + "/none"), ENOENT);
    QVERIFY(!listing.next(entry));
}

void FolderListingTest::moving() {
    static_assert(std::is_nothrow_move_constructible_v<FolderListing>);
    static_assert(!std::is_copy_constructible_v<FolderListing>);
    Disk::makeFile(mRoot + "/a");
    Disk::makeFile(mRoot + "/b");
    FolderListing first;
    QCOMPARE(first.open(mRoot), 0);
    FolderListing::Entry entry;
    QVERIFY(first.next(entry));
    const QByteArray name = entry.name.toByteArray();
    FolderListing second = std::move(first);
    FileDetails details;
    QCOMPARE(second.details(entry, LinkRule::Keep, details), 0);
    QCOMPARE(namesOf(second), QByteArrayList{name == "a" ? "b" : "a"});
}

void FolderListingTest::byDescriptor() {
    Disk::makeFile(mRoot + "/a");
    const FileDescriptor place(::open(mRoot.constData(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    FolderListing listing;
    QCOMPARE(listing.openAt(place), 0);
    QCOMPARE(namesOf(listing), QByteArrayList{"a"});
    QCOMPARE(listing.openAt(FileDescriptor()), EBADF);
}

void FolderListingTest::times_data() {
    QTest::addColumn<qint64>("seconds");
    QTest::addColumn<long>("nanoseconds");
    QTest::addColumn<qint64>("milliseconds");
    QTest::newRow("whole") << qint64(1700000000) << 0L << qint64(1700000000000);
    QTest::newRow("rounded down") << qint64(1700000000) << 999999999L << qint64(1700000000999);
    QTest::newRow("epoch") << qint64(0) << 0L << qint64(0);
    QTest::newRow("before the epoch") << qint64(-1) << 0L << qint64(-1000);
    QTest::newRow("before the epoch, rounded down") << qint64(-1) << 1L << qint64(-1000);
    QTest::newRow("after 2038") << qint64(4102444800) << 1000000L << qint64(4102444800001);
}

void FolderListingTest::times() {
    QFETCH(qint64, seconds);
    QFETCH(long, nanoseconds);
    QFETCH(qint64, milliseconds);
    const QByteArray path = mRoot + "/a";
    Disk::makeFile(path);
    setModified(path, seconds, nanoseconds);
    FileDetails details;
    QCOMPARE(fileDetails(path, LinkRule::Keep, details), 0);
    QCOMPARE(details.modifiedMs, std::optional<std::int64_t>(milliseconds));
}

void FolderListingTest::birthTimeIsTheFileSystems() {
    const QByteArray path = mRoot + "/a";
    Disk::makeFile(path);
    setModified(path, 1000, 0);
    FileDetails details;
    QCOMPARE(fileDetails(path, LinkRule::Keep, details), 0);
    const QDateTime asked = QFileInfo(QString::fromUtf8(path)).birthTime();
    QCOMPARE(details.createdMs.has_value(), asked.isValid());
    QCOMPARE(details.createdMs.value_or(0), asked.isValid() ? asked.toMSecsSinceEpoch() : 0);
}

// Tools that write an image from outside often leave the birth times zero. That is no year 1970.
void FolderListingTest::birthTimeThatNobodyRecorded() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    const Disk::LoopFileSystem image("ext4", mRoot,
                                     "printf 'write /dev/null a\\nset_inode_field a crtime 0\\n"
                                     "set_inode_field a crtime_extra 0\\nwrite /dev/null b\\n"
                                     "set_inode_field b crtime @1\\nset_inode_field b crtime_extra 0\\n'"
                                     " | 2>/dev/null debugfs -w -f -");
    VKTEST_NEEDS(image.isMounted(), "mkfs.ext4, debugfs, losetup and a loop device");
    FileDetails details;
    QCOMPARE(fileDetails(mRoot + "/b", LinkRule::Keep, details), 0);
    QCOMPARE(details.createdMs, std::optional<std::int64_t>(1000));
    QCOMPARE(fileDetails(mRoot + "/a", LinkRule::Keep, details), 0);
    QVERIFY(!details.createdMs.has_value());
    QVERIFY(details.modifiedMs.has_value());
}

void FolderListingTest::timesOutOfReach() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    const Disk::TemporaryFileSystem memory(mRoot, "size=1m");
    VKTEST_NEEDS(memory.isMounted(), "a system that can mount tmpfs");
    const QByteArray path = mRoot + "/a";
    Disk::makeFile(path);
    FileDetails details;
    for (const std::int64_t seconds : {INT64_MAX / 1000 + 1, INT64_MIN / 1000 - 1, INT64_MAX, INT64_MIN}) {
        setModified(path, seconds, 0);
        QCOMPARE(fileDetails(path, LinkRule::Keep, details), 0);
        QVERIFY(!details.modifiedMs.has_value());
    }
    setModified(path, INT64_MAX / 1000 - 1, 0);
    QCOMPARE(fileDetails(path, LinkRule::Keep, details), 0);
    QCOMPARE(details.modifiedMs, std::optional<std::int64_t>((INT64_MAX / 1000 - 1) * 1000));
}

void FolderListingTest::largeFile() {
    const QByteArray path = mRoot + "/large";
    Disk::makeFile(path);
    QCOMPARE(::truncate(path.constData(), (std::int64_t{5} << 30) + 1), 0);
    FileDetails details;
    QCOMPARE(fileDetails(path, LinkRule::Keep, details), 0);
    QCOMPARE(details.sizeBytes, (std::int64_t{5} << 30) + 1);
}

void FolderListingTest::fileSystemWithoutBirthTime() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    VKTEST_NEEDS(Disk::exists("/usr/sbin/mkfs.exfat") && Disk::exists("/usr/sbin/mount.exfat-fuse") &&
                     Disk::exists("/dev/fuse") && Disk::exists("/dev/loop-control"),
                 "exfatprogs, exfat-fuse, FUSE and loop devices");
    const QByteArray image = mRoot + "/image";
    const QByteArray folder = mRoot + "/exfat";
    Disk::makeFile(image);
    Disk::makeFolder(folder);
    QCOMPARE(::truncate(image.constData(), 8 << 20), 0);
    const auto run = [](const QByteArray& command) { return Shell::outputOf(command + " 2>&1"); };
    QCOMPARE(run("mkfs.exfat '" + image + '\'').status, 0);
    const QByteArray device = Shell::outputOf("losetup --find --show '" + image + '\'').text.trimmed();
    QVERIFY(!device.isEmpty());
    const auto detach = qScopeGuard([&] {
        ::umount2(folder.constData(), MNT_DETACH);
        run("losetup --detach " + device);
    });
    const Shell::Output mounted = run("mount.exfat-fuse " + device + " '" + folder + '\'');
    QVERIFY2(mounted.status == 0, mounted.text.constData());
    FileDetails details;
    Disk::makeFile(folder + "/a.jpg", "123");
    FolderListing listing;
    const int opened = listing.open(folder);
    FolderListing::Entry entry;
    const bool delivered = listing.next(entry);
    const int asked = delivered ? listing.details(entry, LinkRule::Keep, details) : -1;
    const QByteArray name = delivered ? entry.name.toByteArray() : QByteArray();
    const bool more = listing.next(entry);
    QCOMPARE(opened, 0);
    QCOMPARE(name, QByteArray("a.jpg"));
    QVERIFY(!more);
    QCOMPARE(asked, 0);
    QCOMPARE(details.kind, FileKind::File);
    QCOMPARE(details.sizeBytes, 3);
    QVERIFY(details.modifiedMs.has_value());
    QVERIFY(!details.createdMs.has_value());
}

void FolderListingTest::exists() {
    Disk::makeFile(mRoot + "/a");
    Disk::makeLink(mRoot + "/dangling", "nothing");
    QCOMPARE(fileExists(mRoot), 0);
    QCOMPARE(fileExists(mRoot + "/a"), 0);
    QCOMPARE(fileExists(mRoot + "/dangling"), 0);
    QCOMPARE(fileExists(mRoot + "/b"), ENOENT);
    QCOMPARE(fileExists(mRoot + "/a/b"), ENOTDIR);
}

VKTEST_MAIN(FolderListingTest)
#include "FolderListingTest.moc"
