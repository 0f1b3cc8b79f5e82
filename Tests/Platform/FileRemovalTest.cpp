// Deleting: all of a tree and nothing else, and nothing at all where something forbids it.
#include "Platform/FileRemoval.h"

#include "Support/DiskSupport.h"
#include "Support/FaultInjection.h"
#include "Support/LoopFileSystem.h"
#include "Support/OddNames.h"
#include "Support/VKTest.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <sys/resource.h>
#include <thread>

using namespace VKPlatform;

class FileRemovalTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void files_data();
    void files();
    void trees_data();
    void trees();
    void wholeTree();
    void linksAreNotFollowed();
    void names_data();
    void names();
    void deepAndLong();
    void manyEntries();
    void protectedFolders_data();
    void protectedFolders();
    void mountPoints_data();
    void mountPoints();
    void mountedFile();
    void subvolume();
    void readOnly();
    void foldersOfAnotherUser();
    void emptyFolderThatCannotBeRead();
    void fewDescriptors();
    void everyCallFailingInTurn();
    void swappedForALink();
    void filledMeanwhile();

private:
    QByteArray makeTree(const QByteArray& name) const;

    QByteArray mRoot;
};

void FileRemovalTest::init() {
    VKTest::init();
    mRoot = makeFolder(QStringLiteral("remove")).toUtf8();
}

void FileRemovalTest::cleanup() { Disk::removeTree(mRoot); }

/// A folder with two levels of everything that has a name.
QByteArray FileRemovalTest::makeTree(const QByteArray& name) const {
    QByteArray top = mRoot + '/' + name;
    for (const QByteArray& folder : QByteArrayList{top, top + "/sub", top + "/sub/.hidden"}) {
        Disk::makeFolder(folder);
        Disk::makeFile(folder + "/a.jpg", "photo");
        Disk::makeFile(folder + "/.b", "hidden");
        Disk::makeLink(folder + "/link", "nowhere");
        Disk::makeFifo(folder + "/fifo");
        Disk::makeSocket(folder + "/socket");
    }
    return top;
}

void FileRemovalTest::files_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("result");
    QTest::newRow("file") << QByteArray("/file") << 0;
    QTest::newRow("file that may not be written") << QByteArray("/readOnly") << 0;
    QTest::newRow("link to a file") << QByteArray("/toFile") << 0;
    QTest::newRow("link to a folder") << QByteArray("/toFolder") << 0;
    QTest::newRow("link that leads nowhere") << QByteArray("/toNothing") << 0;
    QTest::newRow("fifo") << QByteArray("/fifo") << 0;
    QTest::newRow("folder") << QByteArray("/folder") << EISDIR;
    QTest::newRow("the folder itself") << QByteArray("/folder/.") << EISDIR;
    QTest::newRow("nothing") << QByteArray("/none") << ENOENT;
    QTest::newRow("nothing in nothing") << QByteArray("/none/none") << ENOENT;
    QTest::newRow("below a file") << QByteArray("/file/a") << ENOTDIR;
    QTest::newRow("no name") << QByteArray() << ENOENT;
}

void FileRemovalTest::files() {
    QFETCH(QByteArray, name);
    QFETCH(int, result);
    Disk::makeFolder(mRoot + "/folder");
    Disk::makeFile(mRoot + "/file");
    Disk::makeFile(mRoot + "/readOnly");
    QCOMPARE(::chmod(Disk::text(mRoot + "/readOnly"), 0444), 0);
    Disk::makeFifo(mRoot + "/fifo");
    Disk::makeLink(mRoot + "/toFile", "file");
    Disk::makeLink(mRoot + "/toFolder", "folder");
    Disk::makeLink(mRoot + "/toNothing", "nothing");
    QByteArrayList left = Disk::namesIn(mRoot);
    QCOMPARE(removeFile(name.isEmpty() ? name : mRoot + name), result);
    if (result == 0) {
        left.removeOne(name.sliced(1));
    }
    QCOMPARE(Disk::namesIn(mRoot), left);
    QCOMPARE(removeFile("/"), EISDIR);
}

void FileRemovalTest::trees_data() { files_data(); }

// The same items: everything but the folder goes in the same way.
void FileRemovalTest::trees() {
    QFETCH(QByteArray, name);
    QFETCH(int, result);
    Disk::makeFolder(mRoot + "/folder");
    Disk::makeFile(mRoot + "/file");
    Disk::makeFile(mRoot + "/readOnly");
    Disk::makeFifo(mRoot + "/fifo");
    Disk::makeLink(mRoot + "/toFile", "file");
    Disk::makeLink(mRoot + "/toFolder", "folder");
    Disk::makeLink(mRoot + "/toNothing", "nothing");
    QByteArrayList left = Disk::namesIn(mRoot);
    if (result == EISDIR) {
        result = name.endsWith('.') ? EINVAL : 0;
    }
    QCOMPARE(removeTree(name.isEmpty() ? name : mRoot + name), result);
    if (result == 0) {
        left.removeOne(name.sliced(1));
    }
    QCOMPARE(Disk::namesIn(mRoot), left);
}

void FileRemovalTest::wholeTree() {
    const QByteArray top = makeTree("tree");
    makeTree("treeToo");
    QCOMPARE(removeTree(top + "///"), 0);
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"treeToo"});
    QCOMPARE(Disk::namesIn(mRoot + "/treeToo/sub/.hidden").size(), 5);
    const Disk::WorkingFolder working(mRoot);
    QCOMPARE(removeTree("treeToo"), 0);
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList());
}

void FileRemovalTest::linksAreNotFollowed() {
    const QByteArray precious = makeTree("precious");
    const QByteArray top = makeTree("tree");
    Disk::makeLink(top + "/out", precious);
    Disk::makeLink(top + "/sub/up", "..");
    Disk::makeLink(top + "/sub/outToo", "../../precious/sub");
    QCOMPARE(removeTree(top), 0);
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"precious"});
    QCOMPARE(Disk::namesIn(precious).size(), 6);
    QCOMPARE(Disk::namesIn(precious + "/sub").size(), 6);
}

void FileRemovalTest::names_data() { addOddNameRows(); }

void FileRemovalTest::names() {
    QFETCH(QByteArray, name);
    Disk::makeFolder(mRoot + '/' + name);
    Disk::makeFolder(mRoot + '/' + name + '/' + name);
    Disk::makeFile(mRoot + '/' + name + '/' + name + '/' + name);
    QCOMPARE(removeFile(mRoot + '/' + name + '/' + name + '/' + name), 0);
    Disk::makeFile(mRoot + '/' + name + '/' + name + '/' + name);
    QCOMPARE(removeTree(mRoot + '/' + name), 0);
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList());
}

void FileRemovalTest::deepAndLong() {
    // 300 levels of 200 bytes: no path leads to the bottom.
    int here = ::open(mRoot.constData(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    QVERIFY(here >= 0);
    const QByteArray name(200, 'd');
    QByteArray path = mRoot;
    for (int depth = 0; depth < 300; ++depth) {
        QCOMPARE(::mkdirat(here, name.constData(), 0755), 0);
        const int next = ::openat(here, name.constData(), O_PATH | O_DIRECTORY | O_CLOEXEC);
        QVERIFY(next >= 0);
        ::close(here);
        here = next;
        const int file = ::openat(here, "a.jpg", O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        QVERIFY(file >= 0);
        ::close(file);
        path += '/' + name;
    }
    ::close(here);
    QVERIFY(path.size() > qsizetype{10} * PATH_MAX);
    QCOMPARE(removeFile(path + "/a.jpg"), 0);
    QCOMPARE(removeFile(path + "/a.jpg"), ENOENT);
    QCOMPARE(removeTree(path), 0);
    QCOMPARE(removeTree(path), ENOENT);
    QCOMPARE(removeTree(mRoot + '/' + name), 0);
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList());
}

void FileRemovalTest::manyEntries() {
    Disk::makeFolder(mRoot + "/many");
    for (int n = 0; n < 6'000; ++n) {
        const QByteArray path = mRoot + "/many/photo " + QByteArray::number(n);
        if (n % 40 == 0) {
            Disk::makeFolder(path);
        } else {
            Disk::makeFile(path);
        }
    }
    QCOMPARE(removeTree(mRoot + "/many"), 0);
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList());
}

void FileRemovalTest::protectedFolders_data() {
    QTest::addColumn<QByteArray>("home"); // below the test's folder
    QTest::addColumn<QByteArray>("item");
    QTest::addColumn<int>("result");
    QTest::newRow("home") << QByteArray("/top/home") << QByteArray("/top/home") << EBUSY;
    QTest::newRow("what holds it") << QByteArray("/top/home") << QByteArray("/top") << EBUSY;
    QTest::newRow("home by a link") << QByteArray("/link") << QByteArray("/top/home") << EBUSY;
    QTest::newRow("link to home") << QByteArray("/top/home") << QByteArray("/link") << 0;
    QTest::newRow("in home") << QByteArray("/top/home") << QByteArray("/top/home/pictures") << 0;
    QTest::newRow("beside home") << QByteArray("/top/home") << QByteArray("/top/homeToo") << 0;
    QTest::newRow("a home that is missing") << QByteArray("/none") << QByteArray("/top") << 0;
}

void FileRemovalTest::protectedFolders() {
    QFETCH(QByteArray, home);
    QFETCH(QByteArray, item);
    QFETCH(int, result);
    for (const char* folder : {"/top", "/top/home", "/top/home/pictures", "/top/homeToo"}) {
        Disk::makeFolder(mRoot + folder);
    }
    Disk::makeFile(mRoot + "/top/home/pictures/a.jpg", "photo");
    Disk::makeLink(mRoot + "/link", "top/home");
    const QByteArray before = qgetenv("HOME");
    qputenv("HOME", mRoot + home);
    const int got = removeTree(mRoot + item);
    qputenv("HOME", before);
    QCOMPARE(got, result);
    QCOMPARE(Disk::exists(mRoot + item), result != 0);
    if (result != 0) {
        QCOMPARE(Disk::contentOf(mRoot + "/top/home/pictures/a.jpg"), QByteArray("photo"));
    }
    QCOMPARE(removeTree("/"), EBUSY);
    QCOMPARE(removeTree("///"), EBUSY);
}

void FileRemovalTest::mountPoints_data() {
    QTest::addColumn<QByteArray>("mount");
    QTest::addColumn<QByteArray>("item");
    QTest::newRow("itself") << QByteArray("/tree") << QByteArray("/tree");
    QTest::newRow("in it") << QByteArray("/tree/sub") << QByteArray("/tree");
    QTest::newRow("deep in it") << QByteArray("/tree/sub/.hidden") << QByteArray("/tree");
}

void FileRemovalTest::mountPoints() {
    QFETCH(QByteArray, mount);
    QFETCH(QByteArray, item);
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    makeTree("tree");
    const QByteArray other = makeTree("other");
    {
        const Disk::TemporaryFileSystem memory(mRoot + mount, "size=1m");
        VKTEST_NEEDS(memory.isMounted(), "a system that can mount tmpfs");
        Disk::makeFile(mRoot + mount + "/kept", "kept");
        QCOMPARE(removeTree(mRoot + item), EBUSY);
        QCOMPARE(Disk::contentOf(mRoot + mount + "/kept"), QByteArray("kept"));
    }
    {
        // The same file system once more: neither device nor inode tell.
        const Disk::BindMount bound(other, mRoot + mount);
        QVERIFY(bound.isMounted());
        QCOMPARE(removeTree(mRoot + item), EBUSY);
        QCOMPARE(Disk::namesIn(other).size(), 6);
        QCOMPARE(Disk::namesIn(other + "/sub/.hidden").size(), 5);
    }
    // Nothing of the tree itself had gone.
    QCOMPARE(Disk::namesIn(mRoot + "/tree").size(), 6);
    QCOMPARE(Disk::namesIn(mRoot + "/tree/sub").size(), 6);
    QCOMPARE(removeTree(mRoot + item), 0);
}

void FileRemovalTest::mountedFile() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file");
    const QByteArray top = makeTree("tree");
    Disk::makeFile(mRoot + "/precious", "kept");
    {
        const Disk::BindMount bound(mRoot + "/precious", top + "/sub/a.jpg");
        VKTEST_NEEDS(bound.isMounted(), "a system that can mount a file");
        QCOMPARE(removeFile(top + "/sub/a.jpg"), EBUSY);
        QCOMPARE(removeTree(top + "/sub/a.jpg"), EBUSY);
        QCOMPARE(removeTree(top), EBUSY);
        QCOMPARE(Disk::namesIn(top).size(), 6);
        QCOMPARE(Disk::namesIn(top + "/sub/.hidden").size(), 5);
    }
    QCOMPARE(removeTree(top), 0);
    QCOMPARE(Disk::contentOf(mRoot + "/precious"), QByteArray("kept"));
}

void FileRemovalTest::subvolume() {
    Disk::makeFolder(mRoot + "/volume");
    const Disk::LoopFileSystem btrfs("btrfs", mRoot + "/volume");
    VKTEST_NEEDS(btrfs.isMounted() && Disk::exists("/usr/bin/btrfs"), "root, loop devices and btrfs-progs");
    const QByteArray top = mRoot + "/volume/tree";
    Disk::makeFolder(top);
    QVERIFY(Disk::runs("btrfs subvolume create '" + top + "/sub'"));
    Disk::makeFile(top + "/sub/a.jpg");
    QVERIFY(Disk::runs("btrfs subvolume snapshot -r '" + top + "/sub' '" + top + "/snapshot'"));
    // A read-only snapshot cannot go: then nothing does.
    QCOMPARE(removeTree(top), EROFS);
    QVERIFY(Disk::exists(top + "/sub/a.jpg"));
    QVERIFY(Disk::runs("btrfs property set '" + top + "/snapshot' ro false"));
    QCOMPARE(removeTree(top), 0);
    QCOMPARE(Disk::namesIn(mRoot + "/volume"), QByteArrayList());
}

void FileRemovalTest::readOnly() {
    Disk::makeFolder(mRoot + "/volume");
    Disk::LoopFileSystem ext4("ext4", mRoot + "/volume");
    VKTEST_NEEDS(ext4.isMounted(), "root and loop devices");
    Disk::makeFolder(mRoot + "/volume/tree");
    Disk::makeFile(mRoot + "/volume/tree/a.jpg", "photo");
    QVERIFY(ext4.becomeReadOnly());
    QCOMPARE(removeFile(mRoot + "/volume/tree/a.jpg"), EROFS);
    QCOMPARE(removeTree(mRoot + "/volume/tree"), EROFS);
    QCOMPARE(removeTree(mRoot + "/volume/none"), ENOENT);
    QCOMPARE(Disk::contentOf(mRoot + "/volume/tree/a.jpg"), QByteArray("photo"));
}

void FileRemovalTest::foldersOfAnotherUser() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user");
    Disk::openForOthers(mRoot);
    QCOMPARE(::chmod(mRoot.constData(), 0777), 0);
    const QByteArray top = makeTree("tree");
    QCOMPARE(::chmod(top.constData(), 0777), 0);
    const auto removed = [&top] { return Disk::asOtherUser([&top] { return removeTree(top); }); };
    // The folder below may be read and not changed; one that may not even be read.
    QCOMPARE(removed(), EACCES);
    QCOMPARE(Disk::namesIn(top).size(), 6);
    QCOMPARE(::chmod(Disk::text(top + "/sub"), 0700), 0);
    QCOMPARE(removed(), EACCES);
    QCOMPARE(Disk::namesIn(top).size(), 6);
    QCOMPARE(Disk::namesIn(top + "/sub").size(), 6);
    QCOMPARE(::chmod(Disk::text(top + "/sub"), 0777), 0);
    QCOMPARE(::chmod(Disk::text(top + "/sub/.hidden"), 0777), 0);
    QCOMPARE(removed(), 0);
    QVERIFY(!Disk::exists(top));
}

void FileRemovalTest::emptyFolderThatCannotBeRead() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user");
    Disk::openForOthers(mRoot);
    QCOMPARE(::chmod(mRoot.constData(), 0777), 0);
    Disk::makeFolder(mRoot + "/closed");
    Disk::makeFile(mRoot + "/closed/a.jpg");
    QCOMPARE(::chmod(Disk::text(mRoot + "/closed"), 0), 0);
    const QByteArray root = mRoot;
    QCOMPARE(Disk::asOtherUser([&] { return removeTree(root + "/closed"); }), EACCES);
    QCOMPARE(removeFile(mRoot + "/closed/a.jpg"), 0);
    QCOMPARE(Disk::asOtherUser([&] { return removeTree(root + "/closed"); }), 0);
}

void FileRemovalTest::fewDescriptors() {
    QByteArray path = mRoot + "/deep";
    for (int depth = 0; depth < 100; ++depth) {
        Disk::makeFolder(path);
        path += "/d";
    }
    // Deeper than the descriptors that stay open, and no more than those may be had.
    const pid_t child = ::fork();
    QVERIFY(child >= 0);
    if (child == 0) {
        const rlimit limit = {64, 64};
        ::_exit(::setrlimit(RLIMIT_NOFILE, &limit) == 0 ? removeTree(mRoot + "/deep") : 255);
    }
    int status = 0;
    QCOMPARE(::waitpid(child, &status, 0), child);
    QCOMPARE(status, 0);
    QVERIFY(!Disk::exists(mRoot + "/deep"));
}

void FileRemovalTest::everyCallFailingInTurn() {
    Faults::Loop faults(Faults::kRemovals | Faults::kOpens | Faults::kReads, EIO);
    const QByteArray precious = makeTree("precious");
    while (faults.next()) {
        const QByteArray top = Disk::exists(mRoot + "/tree") ? mRoot + "/tree" : makeTree("tree");
        int result = 0;
        {
            const Faults::Armed armed = faults.arm();
            result = removeTree(top);
        }
        if (result == 0) {
            QVERIFY(!Disk::exists(top)); // what failed did not matter
        } else {
            QVERIFY2(faults.wasMet() && result == EIO, faults.failedCall().constData());
        }
        QCOMPARE(Disk::namesIn(precious).size(), 6);
        if (faults.wasMet() && Disk::exists(top)) {
            Disk::removeTree(top);
        }
    }
    QVERIFY(faults.met() > 30);
    QVERIFY(!Disk::exists(mRoot + "/tree"));
}

// A folder of the tree is exchanged for a link to another place, over and over, while the tree is deleted.
void FileRemovalTest::swappedForALink() {
    const QByteArray precious = makeTree("precious");
    for (int round = 0; round < 30; ++round) {
        const QByteArray top = makeTree("tree");
        Disk::makeLink(mRoot + "/link", precious);
        std::atomic<bool> stop = false;
        std::thread swapper([&] {
            while (!stop) {
                ::renameat2(AT_FDCWD, Disk::text(top + "/sub"), AT_FDCWD, Disk::text(mRoot + "/link"),
                            RENAME_EXCHANGE);
            }
        });
        const int result = removeTree(top);
        stop = true;
        swapper.join();
        // Whatever it says: what the link leads to is whole.
        QVERIFY2(QList<int>({0, EXDEV, ENOTEMPTY, ENOENT, EBUSY}).contains(result), ::strerror(result));
        QCOMPARE(Disk::namesIn(precious).size(), 6);
        QCOMPARE(Disk::namesIn(precious + "/sub").size(), 6);
        QCOMPARE(Disk::namesIn(precious + "/sub/.hidden").size(), 5);
        for (const QByteArray& name : Disk::namesIn(mRoot)) {
            if (name != "precious") {
                Disk::removeTree(mRoot + '/' + name);
            }
        }
    }
}

// Somebody goes on filling the folder: the work ends all the same.
void FileRemovalTest::filledMeanwhile() {
    const QByteArray top = makeTree("tree");
    std::atomic<bool> stop = false;
    std::thread filler([&] {
        while (!stop) {
            const int file = ::open(Disk::text(top + "/sub/again"), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
            if (file >= 0) {
                ::close(file);
            }
        }
    });
    const int result = removeTree(top);
    stop = true;
    filler.join();
    QVERIFY(result == 0 || result == ENOTEMPTY);
    QCOMPARE(Disk::exists(top), result != 0);
}

VKTEST_MAIN(FileRemovalTest)
#include "FileRemovalTest.moc"
