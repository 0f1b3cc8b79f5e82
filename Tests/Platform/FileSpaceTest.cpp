// How much may be written where: the arithmetic, the answers of real file systems, and other users.
#include "Platform/FileSpace.h"

#include "Support/DiskSupport.h"
#include "Support/LoopFileSystem.h"
#include "Support/VKTest.h"

#include <cerrno>
#include <climits>
#include <limits>
#include <sys/statvfs.h>

using namespace VKPlatform;

class FileSpaceTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void blocks_data();
    void blocks();
    void answers_data();
    void answers();
    void sameAsTheSystem();
    void nearestFolder_data();
    void nearestFolder();
    void followsWhatIsWritten();
    void uncounted();
    void writableOrNot_data();
    void writableOrNot();
    void readOnly();
    void accessLists();
    void immutable();

private:
    QByteArray mRoot;
};

Q_DECLARE_METATYPE(VKPlatform::Writability)

void FileSpaceTest::init() {
    VKTest::init();
    mRoot = makeFolder(QStringLiteral("space")).toUtf8();
}

void FileSpaceTest::cleanup() { Disk::removeTree(mRoot); }

void FileSpaceTest::blocks_data() {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
    QTest::addColumn<quint64>("blocks");
    QTest::addColumn<quint64>("size");
    QTest::addColumn<quint64>("bytes");
    QTest::newRow("none") << quint64(0) << quint64(4096) << quint64(0);
    QTest::newRow("no size") << quint64(5) << quint64(0) << quint64(0);
    QTest::newRow("more than 32 bits") << (quint64(1) << 32) << quint64(4096) << (quint64(1) << 44);
    QTest::newRow("most that fits") << (quint64(1) << 52) - 1 << quint64(4096) << quint64(kMost - 4095);
    QTest::newRow("one more") << (quint64(1) << 52) << quint64(4096) << quint64(kMost);
    QTest::newRow("all bits") << quint64(kMost) << quint64(kMost) << quint64(kMost);
    QTest::newRow("blocks of a byte") << quint64(kMost) << quint64(1) << quint64(kMost);
}

void FileSpaceTest::blocks() {
    QFETCH(quint64, blocks);
    QFETCH(quint64, size);
    QFETCH(quint64, bytes);
    QCOMPARE(quint64(bytesOfBlocks(blocks, size)), bytes);
}

void FileSpaceTest::answers_data() {
    QTest::addColumn<int>("answer");
    QTest::addColumn<int>("error");
    QTest::addColumn<Writability>("writability");
    QTest::newRow("yes") << 0 << 0 << Writability::Yes;
    QTest::newRow("permission") << EACCES << 0 << Writability::No;
    QTest::newRow("immutable") << EPERM << 0 << Writability::No;
    QTest::newRow("read-only") << EROFS << 0 << Writability::No;
    QTest::newRow("no such call") << ENOSYS << 0 << Writability::Unknown;
    QTest::newRow("unknown to the file system") << EINVAL << 0 << Writability::Unknown;
    QTest::newRow("not supported") << EOPNOTSUPP << 0 << Writability::Unknown;
    QTest::newRow("broken disk") << EIO << EIO << Writability::Unknown;
    QTest::newRow("gone") << ENOENT << ENOENT << Writability::Unknown;
}

void FileSpaceTest::answers() {
    QFETCH(int, answer);
    Writability writability = Writability::Unknown;
    QTEST(writabilityOfAnswer(answer, writability), "error");
    QTEST(writability, "writability");
}

void FileSpaceTest::sameAsTheSystem() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    const Disk::TemporaryFileSystem memory(mRoot, "size=8m");
    VKTEST_NEEDS(memory.isMounted(), "a system that can mount tmpfs");
    std::uint64_t bytes = 0;
    QCOMPARE(availableBytes(mRoot, bytes), 0);
    struct statvfs record;
    QCOMPARE(::statvfs(mRoot.constData(), &record), 0);
    QCOMPARE(bytes, std::uint64_t{record.f_bavail} * record.f_frsize);
    QCOMPARE(bytes, std::uint64_t{8} << 20);
}

void FileSpaceTest::nearestFolder_data() {
    QTest::addColumn<QByteArray>("path");
    QTest::newRow("the folder") << QByteArray();
    QTest::newRow("with a slash") << QByteArray("/");
    QTest::newRow("file") << QByteArray("/file");
    QTest::newRow("missing") << QByteArray("/none");
    QTest::newRow("missing, deep") << QByteArray("/none/none/none");
    QTest::newRow("below a file") << QByteArray("/file/none");
    QTest::newRow("link into it") << QByteArray("/../link");
    QTest::newRow("link that leads nowhere") << QByteArray("/dangling");
    QTest::newRow("name too long") << '/' + QByteArray(256, 'n');
    QTest::newRow("longer than paths may be")
        << '/' + QByteArray(100, 'n') + QByteArray("/n").repeated(PATH_MAX);
}

void FileSpaceTest::nearestFolder() {
    QFETCH(QByteArray, path);
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    Disk::makeFolder(mRoot + "/small");
    Disk::makeLink(mRoot + "/link", "small/file");
    const Disk::TemporaryFileSystem memory(mRoot + "/small", "size=1m");
    VKTEST_NEEDS(memory.isMounted(), "a system that can mount tmpfs");
    Disk::makeFile(mRoot + "/small/file");
    Disk::makeLink(mRoot + "/small/dangling", "/nowhere/at/all");
    std::uint64_t bytes = 0;
    QCOMPARE(availableBytes(mRoot + "/small" + path, bytes), 0);
    QVERIFY(bytes > 0);
    QVERIFY(bytes <= std::uint64_t{1} << 20);
    QCOMPARE(availableBytes("none", bytes), 0);
    QCOMPARE(availableBytes("/none/at/all", bytes), 0);
    bytes = 5;
    QCOMPARE(availableBytes(QByteArray(), bytes), ENOENT);
    QCOMPARE(bytes, std::uint64_t{5});
}

void FileSpaceTest::followsWhatIsWritten() {
    Disk::makeFolder(mRoot + "/volume");
    const Disk::LoopFileSystem ext4("ext4", mRoot + "/volume");
    VKTEST_NEEDS(ext4.isMounted(), "root and loop devices");
    std::uint64_t before = 0;
    std::uint64_t after = 0;
    QCOMPARE(availableBytes(mRoot + "/volume", before), 0);
    Disk::makeFile(mRoot + "/volume/a", QByteArray(4 << 20, 'x'));
    ::sync();
    QCOMPARE(availableBytes(mRoot + "/volume/a", after), 0);
    QVERIFY(before - after >= std::uint64_t{4} << 20);
    QVERIFY(before - after < std::uint64_t{5} << 20);
}

void FileSpaceTest::uncounted() {
    std::uint64_t bytes = 7;
    QCOMPARE(availableBytes("/proc/self", bytes), EOPNOTSUPP);
    QCOMPARE(bytes, std::uint64_t{7});
}

void FileSpaceTest::writableOrNot_data() {
    QTest::addColumn<unsigned>("mode");
    QTest::addColumn<bool>("writable");
    QTest::newRow("all") << 0777U << true;
    QTest::newRow("write and search") << 0773U << true;
    QTest::newRow("write without search") << 0772U << false;
    QTest::newRow("search without write") << 0771U << false;
    QTest::newRow("read and search") << 0775U << false;
    QTest::newRow("nothing") << 0770U << false;
}

void FileSpaceTest::writableOrNot() {
    QFETCH(unsigned, mode);
    QFETCH(bool, writable);
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user");
    Disk::openForOthers(mRoot);
    Disk::makeFolder(mRoot + "/folder");
    Disk::makeFolder(mRoot + "/closed");
    Disk::makeFolder(mRoot + "/closed/folder");
    Disk::makeFile(mRoot + "/file");
    Disk::makeLink(mRoot + "/link", "folder");
    QCOMPARE(::chmod(Disk::text(mRoot + "/closed"), 0700), 0);
    QCOMPARE(::chmod(Disk::text(mRoot + "/folder"), mode), 0);
    const QByteArray root = mRoot;
    const auto asOther = [&root](const char* name) {
        return Disk::asOtherUser([&] {
            Writability answer = Writability::Unknown;
            const int error = folderWritability(root + name, answer);
            return error != 0 ? error : 200 + static_cast<int>(answer);
        });
    };
    QCOMPARE(asOther("/folder"), writable ? 201 : 200);
    QCOMPARE(asOther("/link"), writable ? 201 : 200);
    QCOMPARE(asOther("/closed/folder"), EACCES);
    QCOMPARE(asOther("/none"), ENOENT);
    QCOMPARE(asOther("/file"), ENOTDIR);
    // What it says is what happens.
    const bool made =
        Disk::asOtherUser([&] { return ::mkdir(Disk::text(root + "/folder/a"), 0755) == 0 ? 1 : 0; }) == 1;
    QCOMPARE(made, writable);
    Writability mine = Writability::Unknown;
    QCOMPARE(folderWritability(mRoot + "/folder", mine), 0);
    QCOMPARE(mine, Writability::Yes); // root may
    QCOMPARE(folderWritability(QByteArray(), mine), ENOENT);
}

void FileSpaceTest::readOnly() {
    Disk::LoopFileSystem ext4("ext4", mRoot);
    VKTEST_NEEDS(ext4.isMounted(), "root and loop devices");
    Writability answer = Writability::Unknown;
    QCOMPARE(folderWritability(mRoot, answer), 0);
    QCOMPARE(answer, Writability::Yes);
    QVERIFY(ext4.becomeReadOnly());
    QCOMPARE(folderWritability(mRoot, answer), 0);
    QCOMPARE(answer, Writability::No);
}

void FileSpaceTest::accessLists() {
    VKTEST_NEEDS(Disk::isRoot() && Disk::exists("/usr/bin/setfacl"), "root and the package acl");
    Disk::openForOthers(mRoot);
    Disk::makeFolder(mRoot + "/folder");
    QCOMPARE(::chmod(Disk::text(mRoot + "/folder"), 0700), 0);
    const QByteArray root = mRoot;
    const auto answer = [&root] {
        return Disk::asOtherUser([&] {
            Writability found = Writability::Unknown;
            return folderWritability(root + "/folder", found) == 0 ? static_cast<int>(found) : 255;
        });
    };
    QCOMPARE(answer(), static_cast<int>(Writability::No));
    VKTEST_NEEDS(Disk::runs("setfacl -m u:65534:rwx '" + mRoot + "/folder'"),
                 "a file system with access lists");
    QCOMPARE(answer(), static_cast<int>(Writability::Yes));
}

void FileSpaceTest::immutable() {
    Disk::makeFolder(mRoot + "/volume");
    const Disk::LoopFileSystem ext4("ext4", mRoot + "/volume");
    VKTEST_NEEDS(ext4.isMounted(), "root and loop devices");
    const QByteArray folder = mRoot + "/volume/folder";
    Disk::makeFolder(folder);
    QVERIFY(Disk::runs("chattr +i '" + folder + '\''));
    Writability answer = Writability::Unknown;
    QCOMPARE(folderWritability(folder, answer), 0);
    QCOMPARE(answer, Writability::No);
    QVERIFY(Disk::runs("chattr -i '" + folder + '\''));
    QCOMPARE(folderWritability(folder, answer), 0);
    QCOMPARE(answer, Writability::Yes);
}

VKTEST_MAIN(FileSpaceTest)
#include "FileSpaceTest.moc"
