// Moves by URL, above all those to another file system: everything arrives, and until it has, nothing leaves.
#include "VKCoreKit/VKFileMgr.h"

#include "CoreKitSupport.h"
#include "Support/DiskSupport.h"
#include "Support/FaultInjection.h"
#include "Support/LoopFileSystem.h"
#include "Support/OddNames.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <sys/xattr.h>

using namespace CoreKit;

class VKFileMgrMoveTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void wrongArguments();
    void insideAFileSystem();
    void names_data();
    void names();
    void across_data();
    void across();
    void acrossBindMounts();
    void acrossKeepsEverything();
    void acrossHardLinks();
    void refusedAcross_data();
    void refusedAcross();
    void mountPointInside();
    void intoItselfAcross();
    void fullVolume();
    void readOnlyTarget();
    void otherUser();
    void cancelled_data();
    void cancelled();
    void bytesAreReported();
    void everyCallFailingInTurn_data();
    void everyCallFailingInTurn();
    void memoryIsShort_data();
    void memoryIsShort();
    void acrossToExfat();
    void changedMeanwhile();
    void addedMeanwhile();
    void killed();

private:
    void makeTree(const QByteArray& top) const;
    /// Makes "/tree" as it was at first, and removes what came of it.
    void restoreTree(const QByteArray& moved) const;

    QByteArray mRoot;
};

namespace {

VKStatus move(const QByteArray& from, const QByteArray& to, VKProgress* progress = nullptr) {
    return VKFileMgrMoveFileWithProgress(makeUrl(from).get(), makeUrl(to).get(), progress);
}

/// Everything below a folder, with kinds, contents and modes, in order. Paths relative to the folder.
QByteArrayList pictureOf(const QByteArray& folder, const QByteArray& below = QByteArray()) {
    QByteArrayList all;
    for (const QByteArray& name : Disk::namesIn(folder + below)) {
        const QByteArray path = below + '/' + name;
        struct stat record;
        Disk::must(::lstat(Disk::text(folder + path), &record) == 0, "lstat", path);
        QByteArray line = path + ' ' + QByteArray::number(record.st_mode, 8);
        if (S_ISREG(record.st_mode)) {
            line += ' ' + Disk::contentOf(folder + path);
        } else if (S_ISLNK(record.st_mode)) {
            char target[64];
            const ssize_t size = ::readlink(Disk::text(folder + path), target, sizeof target);
            Disk::must(size > 0, "readlink", path);
            line += " -> " + QByteArray(target, size);
        }
        all.append(line);
        if (S_ISDIR(record.st_mode)) {
            all.append(pictureOf(folder, path));
        }
    }
    return all;
}

} // namespace

void VKFileMgrMoveTest::init() {
    VKTest::init();
    mRoot = makeFolder(QStringLiteral("moves")).toUtf8();
}

void VKFileMgrMoveTest::cleanup() { Disk::removeTree(mRoot); }

void VKFileMgrMoveTest::makeTree(const QByteArray& top) const {
    for (const QByteArray& folder : QByteArrayList{top, top + "/sub", top + "/sub/.hidden", top + "/empty"}) {
        Disk::makeFolder(folder);
    }
    Disk::makeFile(top + "/a.jpg", "photo a");
    Disk::makeFile(top + "/.dot", "dot");
    Disk::makeFile(top + "/sub/b.jpg", "photo b");
    Disk::makeFile(top + "/sub/.hidden/c.jpg", QByteArray(200'000, 'c'));
    Disk::makeFile(top + "/sub/.hidden/lat\xE9", "not UTF-8");
    Disk::makeLink(top + "/sub/link", "../a.jpg");
    Disk::makeLink(top + "/dangling", "nothing");
    Disk::must(::chmod(Disk::text(top + "/sub/b.jpg"), 0640) == 0, "chmod", top);
    Disk::must(::chmod(Disk::text(top + "/sub"), 0750) == 0, "chmod", top);
}

void VKFileMgrMoveTest::restoreTree(const QByteArray& moved) const {
    Disk::removeTree(moved);
    Disk::removeTree(mRoot + "/tree");
    makeTree(mRoot + "/tree");
}

void VKFileMgrMoveTest::wrongArguments() {
    Disk::makeFile(mRoot + "/a", "photo");
    const auto file = makeUrl(mRoot + "/a");
    const auto target = makeUrl(mRoot + "/b");
    const auto web = makeWebUrl();
    QCOMPARE(VKFileMgrMoveFile(nullptr, target.get()), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrMoveFile(file.get(), nullptr), kVKStatusBadArgument);
    QCOMPARE(VKFileMgrMoveFile(web.get(), target.get()), kVKStatusNotConvertible);
    QCOMPARE(VKFileMgrMoveFile(file.get(), web.get()), kVKStatusNotConvertible);
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"a"});
}

void VKFileMgrMoveTest::insideAFileSystem() {
    makeTree(mRoot + "/tree");
    const QByteArrayList before = pictureOf(mRoot + "/tree");
    QCOMPARE(VKFileMgrMoveFile(makeUrl(mRoot + "/tree", true).get(), makeUrl(mRoot + "/new", true).get()),
             kVKStatusSuccess);
    QCOMPARE(pictureOf(mRoot + "/new"), before);
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"new"});
    QCOMPARE(move(mRoot + "/new", mRoot + "/new/sub/new"), VKStatus(22));
    QCOMPARE(move(mRoot + "/new", mRoot + "/new"), VKStatus(17));
    QCOMPARE(move(mRoot + "/new/a.jpg", mRoot + "/new/sub"), VKStatus(17));
    QCOMPARE(move(mRoot + "/none", mRoot + "/newer"), VKStatus(2));
    QCOMPARE(move(mRoot + "/new", mRoot + "/none/new"), VKStatus(2));
    QCOMPARE(pictureOf(mRoot + "/new"), before);
    // A cancelled progress object does not stop what is done in one step.
    VKProgress* const progress = VKProgressCreate(nullptr, nullptr);
    VKProgressSetCancel(progress, true);
    QCOMPARE(move(mRoot + "/new", mRoot + "/newer", progress), kVKStatusSuccess);
    VKProgressRelease(progress);
}

void VKFileMgrMoveTest::names_data() { addOddNameRows(); }

void VKFileMgrMoveTest::names() {
    QFETCH(QByteArray, name);
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    Disk::makeFolder(mRoot + "/other");
    const Disk::TemporaryFileSystem memory(mRoot + "/other", "size=1m");
    VKTEST_NEEDS(memory.isMounted(), "a system that can mount tmpfs");
    Disk::makeFolder(mRoot + '/' + name);
    Disk::makeFile(mRoot + '/' + name + '/' + name, "photo");
    QCOMPARE(move(mRoot + '/' + name, mRoot + "/other/" + name), kVKStatusSuccess);
    QCOMPARE(move(mRoot + "/other/" + name + '/' + name, mRoot + '/' + name), kVKStatusSuccess);
    QCOMPARE(Disk::contentOf(mRoot + '/' + name), QByteArray("photo"));
    QCOMPARE(Disk::namesIn(mRoot + "/other"), QByteArrayList{name});
    QCOMPARE(Disk::namesIn(mRoot + "/other/" + name), QByteArrayList());
}

void VKFileMgrMoveTest::across_data() { Disk::addFileSystemRows(); }

void VKFileMgrMoveTest::across() {
    QFETCH(QByteArray, type);
    Disk::makeFolder(mRoot + "/volume");
    const Disk::LoopFileSystem volume(type.constData(), mRoot + "/volume");
    VKTEST_NEEDS(volume.isMounted(), "root, loop devices and the tools of the file system");
    const QByteArray there = mRoot + "/volume/there";
    makeTree(mRoot + "/tree");
    const QByteArrayList before = pictureOf(mRoot + "/tree");
    QCOMPARE(move(mRoot + "/tree", there), kVKStatusSuccess);
    QVERIFY(!Disk::exists(mRoot + "/tree"));
    QCOMPARE(pictureOf(there), before);
    QCOMPARE(move(there, mRoot + "/tree"), kVKStatusSuccess);
    QCOMPARE(pictureOf(mRoot + "/tree"), before);
    // Each item by itself.
    for (const char* name : {"/a.jpg", "/dangling", "/sub/link", "/empty", "/sub/.hidden"}) {
        QCOMPARE(move(mRoot + "/tree" + name, there), kVKStatusSuccess);
        QVERIFY(!Disk::exists(mRoot + "/tree" + name));
        QCOMPARE(move(there, mRoot + "/tree" + name), kVKStatusSuccess);
        QCOMPARE(pictureOf(mRoot + "/tree"), before);
    }
    // Nothing is overwritten.
    Disk::makeFile(there, "taken");
    Disk::makeFolder(mRoot + "/volume/folder");
    for (const char* name : {"/a.jpg", "/sub", "/dangling"}) {
        QCOMPARE(move(mRoot + "/tree" + name, there), VKStatus(17));
        QCOMPARE(move(mRoot + "/tree" + name, mRoot + "/volume/folder"), VKStatus(17));
    }
    QCOMPARE(Disk::contentOf(there), QByteArray("taken"));
    QCOMPARE(Disk::namesIn(mRoot + "/volume/folder"), QByteArrayList());
    QCOMPARE(pictureOf(mRoot + "/tree"), before);
}

// One file system in two places: not one step either, and neither device nor number tell.
void VKFileMgrMoveTest::acrossBindMounts() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a folder twice");
    Disk::makeFolder(mRoot + "/real");
    Disk::makeFolder(mRoot + "/again");
    const Disk::BindMount bound(mRoot + "/real", mRoot + "/again");
    VKTEST_NEEDS(bound.isMounted(), "a system that can mount a folder twice");
    makeTree(mRoot + "/real/tree");
    const QByteArrayList before = pictureOf(mRoot + "/real/tree");
    QCOMPARE(move(mRoot + "/real/tree", mRoot + "/again/new"), kVKStatusSuccess);
    QCOMPARE(pictureOf(mRoot + "/real/new"), before);
    QCOMPARE(Disk::namesIn(mRoot + "/real"), QByteArrayList{"new"});
    // The item itself under its other name, and a folder into itself by that way.
    QCOMPARE(move(mRoot + "/real/new", mRoot + "/again/new"), VKStatus(17));
    QCOMPARE(move(mRoot + "/real/new", mRoot + "/again/new/sub/new"), VKStatus(22));
    QCOMPARE(move(mRoot + "/real/new/a.jpg", mRoot + "/again/new/a.jpg"), VKStatus(17));
    QCOMPARE(pictureOf(mRoot + "/real/new"), before);
}

void VKFileMgrMoveTest::acrossKeepsEverything() {
    Disk::makeFolder(mRoot + "/one");
    Disk::makeFolder(mRoot + "/two");
    const Disk::LoopFileSystem one("ext4", mRoot + "/one");
    const Disk::LoopFileSystem two("ext4", mRoot + "/two");
    VKTEST_NEEDS(one.isMounted() && two.isMounted(), "root and loop devices");
    const QByteArray from = mRoot + "/one/folder";
    const QByteArray to = mRoot + "/two/folder";
    Disk::makeFolder(from);
    Disk::makeFile(from + "/a.jpg", "photo");
    const QByteArrayList paths = {from + "/a.jpg", from};
    const timespec times[2] = {{1'600'000'000, 123'456'789}, {1'500'000'000, 987'654'321}};
    for (const QByteArray& path : paths) {
        QCOMPARE(::setxattr(path.constData(), "user.rating", "5", 1, 0), 0);
        QVERIFY(Disk::runs("setfacl -m u:65534:rwx '" + path + '\''));
        QCOMPARE(::chown(path.constData(), 65534, 1234), 0);
    }
    for (const QByteArray& path : paths) {
        QCOMPARE(::utimensat(AT_FDCWD, path.constData(), times, 0), 0);
    }
    QCOMPARE(move(from, to), kVKStatusSuccess);
    QVERIFY(!Disk::exists(from));
    for (const QByteArray& path : QByteArrayList{to, to + "/a.jpg"}) {
        struct stat record;
        QCOMPARE(::stat(path.constData(), &record), 0);
        QCOMPARE(record.st_mtim.tv_sec, times[1].tv_sec);
        QCOMPARE(record.st_mtim.tv_nsec, times[1].tv_nsec);
        QCOMPARE(record.st_uid, 65534U);
        QCOMPARE(record.st_gid, 1234U);
        char value[8] = {};
        QCOMPARE(::getxattr(path.constData(), "user.rating", value, sizeof value), ssize_t(1));
        QVERIFY(::getxattr(path.constData(), "system.posix_acl_access", nullptr, 0) > 0);
    }
}

// Two names of one file are two files afterwards, and both of them leave.
void VKFileMgrMoveTest::acrossHardLinks() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    Disk::makeFolder(mRoot + "/other");
    const Disk::TemporaryFileSystem memory(mRoot + "/other", "size=1m");
    VKTEST_NEEDS(memory.isMounted(), "a system that can mount tmpfs");
    Disk::makeFolder(mRoot + "/tree");
    Disk::makeFile(mRoot + "/tree/a", "photo");
    QCOMPARE(::link(Disk::text(mRoot + "/tree/a"), Disk::text(mRoot + "/tree/b")), 0);
    QCOMPARE(::link(Disk::text(mRoot + "/tree/a"), Disk::text(mRoot + "/outside")), 0);
    QCOMPARE(move(mRoot + "/tree", mRoot + "/other/tree"), kVKStatusSuccess);
    QVERIFY(!Disk::exists(mRoot + "/tree"));
    QCOMPARE(Disk::contentOf(mRoot + "/other/tree/a"), QByteArray("photo"));
    QCOMPARE(Disk::contentOf(mRoot + "/other/tree/b"), QByteArray("photo"));
    QCOMPARE(Disk::contentOf(mRoot + "/outside"), QByteArray("photo"));
}

void VKFileMgrMoveTest::refusedAcross_data() {
    QTest::addColumn<QByteArray>("special"); // where it lies below the tree
    QTest::newRow("deep") << QByteArray("/sub/.hidden/fifo");
    QTest::newRow("at the top") << QByteArray("/fifo");
}

void VKFileMgrMoveTest::refusedAcross() {
    QFETCH(QByteArray, special);
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    Disk::makeFolder(mRoot + "/other");
    const Disk::TemporaryFileSystem memory(mRoot + "/other", "size=1m");
    VKTEST_NEEDS(memory.isMounted(), "a system that can mount tmpfs");
    makeTree(mRoot + "/tree");
    Disk::makeFifo(mRoot + "/tree" + special);
    const QByteArrayList before = pictureOf(mRoot + "/tree");
    QCOMPARE(move(mRoot + "/tree", mRoot + "/other/tree"), VKStatus(95));
    QCOMPARE(move(mRoot + "/tree" + special, mRoot + "/other/fifo"), VKStatus(95));
    QCOMPARE(move(mRoot + "/tree/a.jpg", mRoot + "/other/none/a.jpg"), VKStatus(2));
    QCOMPARE(pictureOf(mRoot + "/tree"), before);
    QCOMPARE(Disk::namesIn(mRoot + "/other"), QByteArrayList());
}

void VKFileMgrMoveTest::mountPointInside() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    Disk::makeFolder(mRoot + "/other");
    makeTree(mRoot + "/tree");
    const Disk::TemporaryFileSystem other(mRoot + "/other", "size=1m");
    const Disk::TemporaryFileSystem inside(mRoot + "/tree/sub/.hidden", "size=1m");
    VKTEST_NEEDS(other.isMounted() && inside.isMounted(), "a system that can mount tmpfs");
    Disk::makeFile(mRoot + "/tree/sub/.hidden/kept", "kept");
    QCOMPARE(move(mRoot + "/tree", mRoot + "/other/tree"), VKStatus(16));
    QCOMPARE(move(mRoot + "/tree/sub/.hidden", mRoot + "/other/tree"), VKStatus(16));
    QCOMPARE(Disk::contentOf(mRoot + "/tree/sub/.hidden/kept"), QByteArray("kept"));
    QCOMPARE(Disk::namesIn(mRoot + "/tree").size(), 5);
    QCOMPARE(Disk::namesIn(mRoot + "/other"), QByteArrayList());
}

void VKFileMgrMoveTest::intoItselfAcross() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    makeTree(mRoot + "/tree");
    const Disk::TemporaryFileSystem inside(mRoot + "/tree/empty", "size=1m");
    VKTEST_NEEDS(inside.isMounted(), "a system that can mount tmpfs");
    QCOMPARE(move(mRoot + "/tree", mRoot + "/tree/empty/new"), VKStatus(22));
    QCOMPARE(Disk::namesIn(mRoot + "/tree/empty"), QByteArrayList());
}

void VKFileMgrMoveTest::fullVolume() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    Disk::makeFolder(mRoot + "/other");
    const Disk::TemporaryFileSystem memory(mRoot + "/other", "size=1m");
    VKTEST_NEEDS(memory.isMounted(), "a system that can mount tmpfs");
    makeTree(mRoot + "/tree");
    Disk::makeFile(mRoot + "/tree/sub/large", QByteArray(3 << 20, 'x'));
    const QByteArrayList before = pictureOf(mRoot + "/tree");
    QCOMPARE(move(mRoot + "/tree", mRoot + "/other/tree"), VKStatus(28));
    QCOMPARE(move(mRoot + "/tree/sub/large", mRoot + "/other/large"), VKStatus(28));
    QCOMPARE(pictureOf(mRoot + "/tree"), before);
    QCOMPARE(Disk::namesIn(mRoot + "/other"), QByteArrayList());
}

void VKFileMgrMoveTest::readOnlyTarget() {
    Disk::makeFolder(mRoot + "/volume");
    Disk::LoopFileSystem ext4("ext4", mRoot + "/volume");
    VKTEST_NEEDS(ext4.isMounted(), "root and loop devices");
    makeTree(mRoot + "/volume/theirs");
    makeTree(mRoot + "/tree");
    const QByteArrayList before = pictureOf(mRoot + "/tree");
    QVERIFY(ext4.becomeReadOnly());
    QCOMPARE(move(mRoot + "/tree", mRoot + "/volume/tree"), VKStatus(EROFS));
    QCOMPARE(move(mRoot + "/tree/a.jpg", mRoot + "/volume/a.jpg"), VKStatus(EROFS));
    // And away from it: nothing is copied that could not leave.
    QCOMPARE(move(mRoot + "/volume/theirs", mRoot + "/mine"), VKStatus(EROFS));
    QCOMPARE(move(mRoot + "/volume/theirs/a.jpg", mRoot + "/mine"), VKStatus(EROFS));
    QVERIFY(!Disk::exists(mRoot + "/mine"));
    QCOMPARE(pictureOf(mRoot + "/tree"), before);
    QCOMPARE(pictureOf(mRoot + "/volume/theirs"), before);
}

void VKFileMgrMoveTest::otherUser() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system and to become another user");
    Disk::openForOthers(mRoot);
    Disk::makeFolder(mRoot + "/other");
    const Disk::TemporaryFileSystem memory(mRoot + "/other", "size=1m,mode=777");
    VKTEST_NEEDS(memory.isMounted(), "a system that can mount tmpfs");
    Disk::makeFolder(mRoot + "/open");
    QCOMPARE(::chmod(Disk::text(mRoot + "/open"), 0777), 0);
    makeTree(mRoot + "/open/tree");
    QCOMPARE(::chmod(Disk::text(mRoot + "/open/tree"), 0777), 0);
    const QByteArrayList before = pictureOf(mRoot + "/open");
    const QByteArray root = mRoot;
    const auto asOther = [&root](const char* from, const char* to) {
        return Disk::asOtherUser([&] { return static_cast<int>(move(root + from, root + to)); });
    };
    // The tree holds a folder that another user may not change; one file of it may leave.
    QCOMPARE(asOther("/open/tree", "/other/tree"), EACCES);
    QCOMPARE(asOther("/open/tree/sub/b.jpg", "/other/b.jpg"), EACCES);
    QCOMPARE(pictureOf(mRoot + "/open"), before);
    QCOMPARE(Disk::namesIn(mRoot + "/other"), QByteArrayList());
    QCOMPARE(asOther("/open/tree/a.jpg", "/other/a.jpg"), 0);
    QCOMPARE(Disk::contentOf(mRoot + "/other/a.jpg"), QByteArray("photo a"));
    QVERIFY(!Disk::exists(mRoot + "/open/tree/a.jpg"));
    // A file that cannot be removed in the end: of another user, in a folder with the sticky bit.
    QCOMPARE(::chmod(Disk::text(mRoot + "/open/tree"), 01777), 0);
    QCOMPARE(asOther("/open/tree/.dot", "/other/dot"), EPERM);
    QCOMPARE(Disk::contentOf(mRoot + "/open/tree/.dot"), QByteArray("dot"));
    QCOMPARE(Disk::namesIn(mRoot + "/other"), QByteArrayList{"a.jpg"});
}

void VKFileMgrMoveTest::cancelled_data() {
    QTest::addColumn<QByteArray>("item");
    QTest::newRow("file") << QByteArray("/tree/a.jpg");
    QTest::newRow("large file") << QByteArray("/tree/large");
    QTest::newRow("folder") << QByteArray("/tree");
}

void VKFileMgrMoveTest::cancelled() {
    QFETCH(QByteArray, item);
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    Disk::makeFolder(mRoot + "/other");
    const Disk::TemporaryFileSystem memory(mRoot + "/other", "size=64m");
    VKTEST_NEEDS(memory.isMounted(), "a system that can mount tmpfs");
    makeTree(mRoot + "/tree");
    Disk::makeFile(mRoot + "/tree/large", QByteArray(20 << 20, 'x'));
    const QByteArrayList before = pictureOf(mRoot + "/tree");
    VKProgress* const progress = VKProgressCreate(nullptr, nullptr);
    // At the first word of it.
    VKProgressSetByteObserver(
        progress,
        [](const VKProgressBytes&, void* context) {
            VKProgressSetCancel(static_cast<VKProgress*>(context), true);
        },
        progress);
    QCOMPARE(move(mRoot + item, mRoot + "/other/new", progress), kVKStatusCancelled);
    QCOMPARE(pictureOf(mRoot + "/tree"), before);
    QCOMPARE(Disk::namesIn(mRoot + "/other"), QByteArrayList());
    VKProgressSetByteObserver(progress, nullptr, nullptr);
    VKProgressSetCancel(progress, false);
    QCOMPARE(move(mRoot + item, mRoot + "/other/new", progress), kVKStatusSuccess);
    VKProgressRelease(progress);
}

void VKFileMgrMoveTest::bytesAreReported() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    Disk::makeFolder(mRoot + "/other");
    const Disk::TemporaryFileSystem memory(mRoot + "/other", "size=64m");
    VKTEST_NEEDS(memory.isMounted(), "a system that can mount tmpfs");
    Disk::makeFile(mRoot + "/a", QByteArray(20 << 20, 'x'));
    VKProgressBytes last;
    VKProgress* const progress = VKProgressCreate(nullptr, nullptr);
    VKProgressSetByteObserver(
        progress,
        [](const VKProgressBytes& bytes, void* context) { *static_cast<VKProgressBytes*>(context) = bytes; },
        &last);
    QCOMPARE(move(mRoot + "/a", mRoot + "/other/a", progress), kVKStatusSuccess);
    VKProgressRelease(progress);
    QCOMPARE(last.done, std::uint64_t{20} << 20);
    QCOMPARE(last.total, std::uint64_t{20} << 20);
}

void VKFileMgrMoveTest::everyCallFailingInTurn_data() {
    QTest::addColumn<QByteArray>("item");
    QTest::addColumn<int>("error");
    for (const int error : {EIO, ENOSPC}) {
        QTest::addRow("file, error %d", error) << QByteArray("/tree/a.jpg") << error;
        QTest::addRow("link, error %d", error) << QByteArray("/tree/dangling") << error;
        QTest::addRow("folder, error %d", error) << QByteArray("/tree") << error;
    }
}

void VKFileMgrMoveTest::everyCallFailingInTurn() {
    QFETCH(QByteArray, item);
    QFETCH(int, error);
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    Disk::makeFolder(mRoot + "/other");
    const Disk::TemporaryFileSystem memory(mRoot + "/other", "size=8m");
    VKTEST_NEEDS(memory.isMounted(), "a system that can mount tmpfs");
    makeTree(mRoot + "/tree");
    const QByteArrayList before = pictureOf(mRoot + "/tree");
    const QByteArray from = mRoot + item;
    const QByteArray to = mRoot + "/other/new";
    Faults::Loop faults(Faults::kChanges | Faults::kOpens | Faults::kReads | Faults::kCloses, error);
    while (faults.next()) {
        VKStatus status = 0;
        {
            const auto source = makeUrl(from);
            const auto target = makeUrl(to);
            const Faults::Armed armed = faults.arm();
            status = VKFileMgrMoveFile(source.get(), target.get());
        }
        if (status == kVKStatusSuccess) {
            QVERIFY(!Disk::exists(from));
            QCOMPARE(Disk::namesIn(mRoot + "/other"), QByteArrayList{"new"});
            restoreTree(to);
        } else {
            QVERIFY2(faults.wasMet(), "it failed without a fault");
            if (Disk::exists(to)) {
                // Only a removal of the source that had begun leaves the target, which is whole then.
                QVERIFY2(item == "/tree", faults.failedCall());
                QCOMPARE(pictureOf(to), before);
                QVERIFY(pictureOf(mRoot + "/tree").size() < before.size());
                restoreTree(to);
            }
            QVERIFY2(Disk::namesIn(mRoot + "/other").isEmpty(), faults.failedCall());
        }
        QVERIFY2(pictureOf(mRoot + "/tree") == before, faults.failedCall());
    }
    QVERIFY(faults.met() > 5);
}

void VKFileMgrMoveTest::memoryIsShort_data() {
    QTest::addColumn<QByteArray>("item");
    QTest::addColumn<bool>("across");
    QTest::newRow("file inside a file system") << QByteArray("/tree/a.jpg") << false;
    QTest::newRow("file") << QByteArray("/tree/a.jpg") << true;
    QTest::newRow("folder") << QByteArray("/tree") << true;
}

void VKFileMgrMoveTest::memoryIsShort() {
    QFETCH(QByteArray, item);
    QFETCH(bool, across);
    VKTEST_NEEDS_ALLOCATION_FAULTS();
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    Disk::makeFolder(mRoot + "/other");
    Disk::makeFolder(mRoot + "/here");
    const Disk::TemporaryFileSystem memory(mRoot + "/other", "size=8m");
    VKTEST_NEEDS(memory.isMounted(), "a system that can mount tmpfs");
    makeTree(mRoot + "/tree");
    const QByteArrayList before = pictureOf(mRoot + "/tree");
    const QByteArray from = mRoot + item;
    const QByteArray place = mRoot + (across ? "/other" : "/here");
    const QByteArray to = place + "/new";
    const auto source = makeUrl(from);
    const auto target = makeUrl(to);
    Faults::Loop faults(Faults::kAllocations, ENOMEM);
    while (faults.next()) {
        VKStatus status = 0;
        {
            const Faults::Armed armed = faults.arm();
            status = VKFileMgrMoveFile(source.get(), target.get());
        }
        QVERIFY2(status == kVKStatusSuccess || (status == VKStatus(ENOMEM) && faults.wasMet()),
                 QByteArray::number(status));
        const bool arrived = Disk::exists(to);
        if (arrived) {
            // All of it went, or its removal had begun.
            QCOMPARE(Disk::namesIn(place), QByteArrayList{"new"});
            if (item == "/tree") {
                QCOMPARE(pictureOf(to), before);
            }
            QVERIFY(status != kVKStatusSuccess || !Disk::exists(from));
            restoreTree(to);
        } else {
            QVERIFY(status != kVKStatusSuccess);
            QCOMPARE(Disk::namesIn(place), QByteArrayList());
        }
        QCOMPARE(pictureOf(mRoot + "/tree"), before);
    }
    QVERIFY(faults.met() > 3);
}

// A file system that keeps neither modes nor links: what it cannot keep is left out, and a link stays where it is.
void VKFileMgrMoveTest::acrossToExfat() {
    Disk::makeFolder(mRoot + "/card");
    const Disk::LoopFileSystem exfat("exfat", mRoot + "/card");
    VKTEST_NEEDS(exfat.isMounted(), "root, loop devices and exfat in user space");
    Disk::makeFolder(mRoot + "/tree");
    Disk::makeFolder(mRoot + "/tree/sub");
    Disk::makeFile(mRoot + "/tree/sub/a.jpg", "photo");
    Disk::makeFile(mRoot + "/tree/sub/.b", "hidden");
    QCOMPARE(move(mRoot + "/tree", mRoot + "/card/Tree"), kVKStatusSuccess);
    QVERIFY(!Disk::exists(mRoot + "/tree"));
    QCOMPARE(Disk::namesIn(mRoot + "/card"), QByteArrayList{"Tree"});
    QCOMPARE(Disk::contentOf(mRoot + "/card/Tree/sub/a.jpg"), QByteArray("photo"));
    // Taken in another case.
    Disk::makeFile(mRoot + "/b.jpg", "other");
    QCOMPARE(move(mRoot + "/b.jpg", mRoot + "/card/TREE/SUB/A.JPG"), VKStatus(17));
    QCOMPARE(move(mRoot + "/b.jpg", mRoot + "/card/tree"), VKStatus(17));
    QCOMPARE(move(mRoot + "/b.jpg", mRoot + "/card/tree/b.jpg"), kVKStatusSuccess);
    // And back.
    QCOMPARE(move(mRoot + "/card/tree", mRoot + "/tree"), kVKStatusSuccess);
    QCOMPARE(Disk::contentOf(mRoot + "/tree/sub/a.jpg"), QByteArray("photo"));
    QCOMPARE(Disk::contentOf(mRoot + "/tree/sub/.b"), QByteArray("hidden"));
    QCOMPARE(Disk::contentOf(mRoot + "/tree/b.jpg"), QByteArray("other"));
    QCOMPARE(Disk::namesIn(mRoot + "/card"), QByteArrayList());
    Disk::makeLink(mRoot + "/tree/sub/link", "a.jpg");
    QVERIFY(move(mRoot + "/tree/sub/link", mRoot + "/card/link") != kVKStatusSuccess);
    QVERIFY(move(mRoot + "/tree", mRoot + "/card/tree") != kVKStatusSuccess);
    QCOMPARE(Disk::namesIn(mRoot + "/tree/sub").size(), 3);
    QCOMPARE(Disk::namesIn(mRoot + "/card"), QByteArrayList());
}

namespace {

/// Changes a file of the source as soon as bytes are reported.
struct Meddler {
    QByteArray path;
    bool done = false;

    static void meddle(const VKProgressBytes&, void* context) {
        auto* const self = static_cast<Meddler*>(context);
        if (!self->done) {
            self->done = true;
            Disk::makeFile(self->path, "changed meanwhile");
        }
    }
};

} // namespace

void VKFileMgrMoveTest::changedMeanwhile() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    Disk::makeFolder(mRoot + "/other");
    const Disk::TemporaryFileSystem memory(mRoot + "/other", "size=64m");
    VKTEST_NEEDS(memory.isMounted(), "a system that can mount tmpfs");
    makeTree(mRoot + "/tree");
    Meddler meddler{mRoot + "/tree/a.jpg"};
    VKProgress* const progress = VKProgressCreate(nullptr, nullptr);
    VKProgressSetByteObserver(progress, &Meddler::meddle, &meddler);
    for (const char* item : {"/tree", "/tree/a.jpg"}) {
        Disk::makeFile(mRoot + "/tree/a.jpg", "before, and of another length");
        meddler.done = false;
        QCOMPARE(move(mRoot + item, mRoot + "/other/new", progress), VKStatus(EBUSY));
        QCOMPARE(Disk::contentOf(mRoot + "/tree/a.jpg"), QByteArray("changed meanwhile"));
        QCOMPARE(Disk::namesIn(mRoot + "/other"), QByteArrayList());
        QCOMPARE(Disk::namesIn(mRoot + "/tree").size(), 5);
    }
    VKProgressRelease(progress);
}

void VKFileMgrMoveTest::addedMeanwhile() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    Disk::makeFolder(mRoot + "/other");
    const Disk::TemporaryFileSystem memory(mRoot + "/other", "size=64m");
    VKTEST_NEEDS(memory.isMounted(), "a system that can mount tmpfs");
    makeTree(mRoot + "/tree");
    const QByteArrayList before = pictureOf(mRoot + "/tree");
    Meddler meddler{mRoot + "/tree/sub/added.jpg"};
    VKProgress* const progress = VKProgressCreate(nullptr, nullptr);
    VKProgressSetByteObserver(progress, &Meddler::meddle, &meddler);
    QCOMPARE(move(mRoot + "/tree", mRoot + "/other/new", progress), VKStatus(ENOTEMPTY));
    VKProgressRelease(progress);
    QCOMPARE(pictureOf(mRoot + "/other/new"), before);
    // What was added stays, with the folders that lead to it, and nothing else does.
    QCOMPARE(Disk::namesIn(mRoot + "/tree"), QByteArrayList{"sub"});
    QCOMPARE(Disk::namesIn(mRoot + "/tree/sub"), QByteArrayList{"added.jpg"});
    QCOMPARE(Disk::contentOf(mRoot + "/tree/sub/added.jpg"), QByteArray("changed meanwhile"));
}

namespace {

/// How many files have come to where the tree goes; the folder may be renamed while this looks.
qsizetype filesArrived(const QByteArray& volume) {
    std::error_code error;
    qsizetype files = 0;
    std::filesystem::recursive_directory_iterator entry(volume.constData(), error);
    for (; !error && entry != std::filesystem::recursive_directory_iterator(); entry.increment(error)) {
        files += entry->is_regular_file(error) ? 1 : 0;
    }
    return files;
}

} // namespace

// Stopped anywhere, each photo is whole on one side at least.
void VKFileMgrMoveTest::killed() {
    Disk::makeFolder(mRoot + "/volume");
    const Disk::LoopFileSystem ext4("ext4", mRoot + "/volume");
    VKTEST_NEEDS(ext4.isMounted(), "root and loop devices");
    int both = 0;
    for (int round = 0; round < 16; ++round) {
        Disk::makeFolder(mRoot + "/tree");
        for (int n = 0; n < 20; ++n) {
            Disk::makeFile(mRoot + "/tree/" + QByteArray::number(n),
                           QByteArray(30'000, static_cast<char>('a' + n)));
        }
        const QByteArrayList before = pictureOf(mRoot + "/tree");
        int ready[2];
        QCOMPARE(::pipe2(ready, O_CLOEXEC), 0);
        const pid_t child = ::fork();
        QVERIFY(child >= 0);
        if (child == 0) {
            ::close(ready[0]);
            VKProgress* const progress = VKProgressCreate(nullptr, nullptr);
            ::_exit(move(mRoot + "/tree", mRoot + "/volume/tree", progress) == kVKStatusSuccess ? 0 : 1);
        }
        ::close(ready[1]);
        // From the start to the end of it, by the number of files at the target; the next look sees it killed.
        for (bool running = true; running;) {
            const qsizetype there = filesArrived(mRoot + "/volume");
            char byte = 0;
            const int flags = ::fcntl(ready[0], F_GETFL);
            ::fcntl(ready[0], F_SETFL, flags | O_NONBLOCK);
            running = there <= round && ::read(ready[0], &byte, 1) < 0;
        }
        ::kill(child, SIGKILL);
        int status = 0;
        QCOMPARE(::waitpid(child, &status, 0), child);
        ::close(ready[0]);
        const QByteArrayList source =
            Disk::exists(mRoot + "/tree") ? pictureOf(mRoot + "/tree") : QByteArrayList();
        const QByteArrayList target =
            Disk::exists(mRoot + "/volume/tree") ? pictureOf(mRoot + "/volume/tree") : QByteArrayList();
        QVERIFY(source == before || target == before);
        both += source == before && target == before ? 1 : 0;
        for (const QByteArray& name : Disk::namesIn(mRoot + "/volume")) {
            if (name != "lost+found") {
                QVERIFY2(name == "tree" || name.startsWith(".tree."), name.constData());
                Disk::removeTree(mRoot + "/volume/" + name);
            }
        }
        Disk::removeTree(mRoot + "/tree");
    }
    qInfo("source and target were both whole in %d of 16 rounds", both);
}

VKTEST_MAIN(VKFileMgrMoveTest)
#include "VKFileMgrMoveTest.moc"
