// One step inside a file system: never over anything, on every kind of file system.
#include "Platform/FileMove.h"
#include "Platform/Linux/TreeFlush.h"

#include "Support/DiskSupport.h"
#include "Support/FaultInjection.h"
#include "Support/LoopFileSystem.h"
#include "Support/OddNames.h"
#include "Support/VKTest.h"

#include <cerrno>
#include <climits>
#include <fcntl.h>

using namespace VKPlatform;

class FileMoveTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void otherSpelling_data();
    void otherSpelling();
    void flushedAsAWhole_data();
    void flushedAsAWhole();
    void renamed_data();
    void renamed();
    void nothingIsOverwritten_data();
    void nothingIsOverwritten();
    void refused_data();
    void refused();
    void names_data();
    void names();
    void caseWhereItCounts();
    void longPaths();
    void acrossFileSystems();
    void mountPoint();
    void readOnly();
    void foldersOfAnotherUser();
    void caseOnlyOnExfat_data();
    void caseOnlyOnExfat();
    void takenOnExfat();
    void everyCallFailingInTurn_data();
    void everyCallFailingInTurn();
    void twoProcesses();

private:
    /// What everything in the folder looks like: names with content.
    QByteArrayList picture() const;
    void makeThings() const;

    QByteArray mRoot;
};

Q_DECLARE_METATYPE(std::vector<QByteArray>)

void FileMoveTest::init() {
    VKTest::init();
    mRoot = makeFolder(QStringLiteral("move")).toUtf8();
}

void FileMoveTest::cleanup() { Disk::removeTree(mRoot); }

void FileMoveTest::makeThings() const {
    Disk::makeFile(mRoot + "/file", "file");
    Disk::makeFolder(mRoot + "/folder");
    Disk::makeFile(mRoot + "/folder/inside", "inside");
    Disk::makeFolder(mRoot + "/empty");
    Disk::makeLink(mRoot + "/link", "folder");
    Disk::makeLink(mRoot + "/dangling", "nothing");
    Disk::makeFifo(mRoot + "/fifo");
}

QByteArrayList FileMoveTest::picture() const {
    QByteArrayList all;
    for (const QByteArray& name : Disk::namesIn(mRoot)) {
        const QByteArray path = mRoot + '/' + name;
        struct stat record;
        Disk::must(::lstat(path.constData(), &record) == 0, "lstat", path);
        if (S_ISDIR(record.st_mode)) {
            all.append(name + '/' + Disk::namesIn(path).join(','));
        } else if (S_ISREG(record.st_mode)) {
            all.append(name + '=' + Disk::contentOf(path));
        } else {
            all.append(name);
        }
    }
    return all;
}

void FileMoveTest::otherSpelling_data() {
    QTest::addColumn<QByteArray>("from");
    QTest::addColumn<QByteArray>("to");
    QTest::addColumn<QByteArrayList>("names");
    QTest::addColumn<QByteArray>("entry"); // empty: false
    QTest::newRow("as listed") << QByteArray("one.jpg") << QByteArray("ONE.jpg")
                               << QByteArrayList{"a", "one.jpg"} << QByteArray("one.jpg");
    QTest::newRow("listed in a third way") << QByteArray("one.jpg") << QByteArray("ONE.JPG")
                                           << QByteArrayList{"One.jpg"} << QByteArray("One.jpg");
    QTest::newRow("both listed") << QByteArray("one.jpg") << QByteArray("ONE.JPG")
                                 << QByteArrayList{"one.jpg", "ONE.JPG"} << QByteArray();
    QTest::newRow("target listed alone")
        << QByteArray("one.jpg") << QByteArray("ONE.JPG") << QByteArrayList{"ONE.JPG"} << QByteArray();
    QTest::newRow("two that are neither") << QByteArray("one.jpg") << QByteArray("ONE.JPG")
                                          << QByteArrayList{"One.jpg", "oNe.jpg"} << QByteArray();
    QTest::newRow("another name") << QByteArray("one.jpg") << QByteArray("two.jpg")
                                  << QByteArrayList{"one.jpg"} << QByteArray();
    QTest::newRow("the same name") << QByteArray("one.jpg") << QByteArray("one.jpg")
                                   << QByteArrayList{"one.jpg"} << QByteArray();
    QTest::newRow("nothing listed") << QByteArray("one.jpg") << QByteArray("ONE.jpg") << QByteArrayList{}
                                    << QByteArray();
    QTest::newRow("other letters than ASCII") << QByteArray("\xC3\xA9.jpg") << QByteArray("\xC3\x89.jpg")
                                              << QByteArrayList{"\xC3\xA9.jpg"} << QByteArray("\xC3\xA9.jpg");
    QTest::newRow("composition") << QByteArray("e\xCC\x81.jpg") << QByteArray("\xC3\xA9.jpg")
                                 << QByteArrayList{"e\xCC\x81.jpg"} << QByteArray("e\xCC\x81.jpg");
}

void FileMoveTest::otherSpelling() {
    QFETCH(QByteArray, from);
    QFETCH(QByteArray, to);
    QFETCH(QByteArrayList, names);
    QFETCH(QByteArray, entry);
    QByteArray found;
    QCOMPARE(isOtherSpelling(from, to, {names.begin(), names.end()}, &found), !entry.isEmpty());
    QCOMPARE(found, entry);
}

void FileMoveTest::flushedAsAWhole_data() {
    QTest::addColumn<qint64>("type");
    QTest::addColumn<bool>("whole");
    QTest::newRow("ext4") << qint64(0xEF53) << true;
    QTest::newRow("xfs") << qint64(0x58465342) << true;
    QTest::newRow("btrfs") << qint64(0x9123683E) << true;
    QTest::newRow("in memory") << qint64(0x01021994) << true;
    QTest::newRow("in user space") << qint64(0x65735546) << false;
    QTest::newRow("NFS") << qint64(0x6969) << false;
    QTest::newRow("SMB") << qint64(0xFE534D42) << false;
    QTest::newRow("overlay") << qint64(0x794C7630) << false;
    QTest::newRow("none") << qint64(0) << false;
}

void FileMoveTest::flushedAsAWhole() {
    QFETCH(qint64, type);
    QTEST(flushesAsAWhole(type), "whole");
}

void FileMoveTest::renamed_data() {
    QTest::addColumn<QByteArray>("from");
    for (const char* name : {"/file", "/folder", "/empty", "/link", "/dangling", "/fifo"}) {
        QTest::newRow(name) << QByteArray(name);
    }
}

void FileMoveTest::renamed() {
    QFETCH(QByteArray, from);
    makeThings();
    Disk::makeFolder(mRoot + "/place");
    QByteArrayList expected = picture();
    QCOMPARE(renameItem(mRoot + from, mRoot + "/place/new"), 0);
    QVERIFY(!Disk::exists(mRoot + from));
    QVERIFY(Disk::exists(mRoot + "/place/new"));
    QCOMPARE(renameItem(mRoot + "/place/new", mRoot + from), 0);
    QCOMPARE(picture(), expected);
    // On a file system that cannot refuse by itself.
    const Faults::Unsupported noFlag("renameat2", EINVAL);
    QCOMPARE(renameItem(mRoot + from, mRoot + "/place/new"), 0);
    QVERIFY(!Disk::exists(mRoot + from));
    // And that knows no hard links either.
    const Faults::Unsupported noLinks("linkat", EPERM);
    QCOMPARE(renameItem(mRoot + "/place/new", mRoot + from), 0);
    QCOMPARE(picture(), expected);
}

void FileMoveTest::nothingIsOverwritten_data() { renamed_data(); }

void FileMoveTest::nothingIsOverwritten() {
    QFETCH(QByteArray, from);
    makeThings();
    QCOMPARE(::link(Disk::text(mRoot + "/file"), Disk::text(mRoot + "/fileToo")), 0);
    const QByteArrayList before = picture();
    const auto check = [&] {
        for (const QByteArray& name : Disk::namesIn(mRoot)) {
            QCOMPARE(renameItem(mRoot + from, mRoot + '/' + name), EEXIST);
            QCOMPARE(picture(), before);
        }
        QCOMPARE(renameItem(mRoot + from, mRoot + "/folder/inside"), EEXIST);
        QCOMPARE(renameItem(mRoot + from, mRoot + "/folder/."), EEXIST);
        QCOMPARE(renameItem(mRoot + from, "/"), EEXIST);
        QCOMPARE(picture(), before);
    };
    check();
    const Faults::Unsupported noFlag("renameat2", EINVAL);
    check();
    const Faults::Unsupported noLinks("linkat", EPERM);
    check();
}

void FileMoveTest::refused_data() {
    QTest::addColumn<QByteArray>("from");
    QTest::addColumn<QByteArray>("to");
    QTest::addColumn<int>("error");
    const auto row = [](const char* why, const char* from, const char* to, int error) {
        QTest::newRow(why) << QByteArray(from) << QByteArray(to) << error;
    };
    row("nothing", "/none", "/new", ENOENT);
    row("nothing onto something", "/none", "/file", ENOENT);
    row("into a missing folder", "/file", "/none/new", ENOENT);
    row("from a missing folder", "/none/none", "/new", ENOENT);
    row("below a file", "/file", "/fifo/new", ENOTDIR);
    row("folder into itself", "/folder", "/folder/new", EINVAL);
    row("folder deep into itself", "/outer", "/outer/inner/new", EINVAL);
    row("folder into itself by a link", "/folder", "/link/new", EINVAL);
}

void FileMoveTest::refused() {
    QFETCH(QByteArray, from);
    QFETCH(QByteArray, to);
    QFETCH(int, error);
    makeThings();
    Disk::makeFolder(mRoot + "/outer");
    Disk::makeFolder(mRoot + "/outer/inner");
    const QByteArrayList before = picture();
    QCOMPARE(renameItem(mRoot + from, mRoot + to), error);
    QCOMPARE(renameItem(mRoot + "/file", mRoot + '/' + QByteArray(256, 'n')), ENAMETOOLONG);
    QCOMPARE(renameItem(QByteArray(), mRoot + to), ENOENT);
    QCOMPARE(renameItem(mRoot + "/file", QByteArray()), ENOENT);
    QCOMPARE(renameItem("/", mRoot + "/new"), EBUSY);
    const Faults::Unsupported noFlag("renameat2", EINVAL);
    QCOMPARE(renameItem(mRoot + from, mRoot + to), error);
    QCOMPARE(renameItem(mRoot + "/file", mRoot + '/' + QByteArray(256, 'n')), ENAMETOOLONG);
    QCOMPARE(picture(), before);
}

void FileMoveTest::names_data() { addOddNameRows(); }

void FileMoveTest::names() {
    QFETCH(QByteArray, name);
    Disk::makeFile(mRoot + "/a", "photo");
    Disk::makeFolder(mRoot + '/' + name);
    QCOMPARE(renameItem(mRoot + "/a", mRoot + '/' + name + '/' + name), 0);
    QCOMPARE(Disk::contentOf(mRoot + '/' + name + '/' + name), QByteArray("photo"));
    QCOMPARE(renameItem(mRoot + '/' + name + '/' + name, mRoot + "/b"), 0);
    QCOMPARE(renameItem(mRoot + '/' + name, mRoot + "/c"), 0);
    QCOMPARE(picture(), (QByteArrayList{"b=photo", "c/"}));
}

// Names that differ in case or composition alone are different names here.
void FileMoveTest::caseWhereItCounts() {
    Disk::makeFile(mRoot + "/one.jpg", "1");
    QCOMPARE(renameItem(mRoot + "/one.jpg", mRoot + "/One.jpg"), 0);
    QCOMPARE(picture(), QByteArrayList{"One.jpg=1"});
    Disk::makeFile(mRoot + "/one.jpg", "2");
    QCOMPARE(renameItem(mRoot + "/One.jpg", mRoot + "/one.jpg"), EEXIST);
    QCOMPARE(renameItem(mRoot + "/one.jpg", mRoot + "/One.jpg"), EEXIST);
    QCOMPARE(picture(), (QByteArrayList{"One.jpg=1", "one.jpg=2"}));
    // Two names of one file are two files.
    QCOMPARE(::link(Disk::text(mRoot + "/one.jpg"), Disk::text(mRoot + "/ONE.jpg")), 0);
    QCOMPARE(renameItem(mRoot + "/one.jpg", mRoot + "/ONE.jpg"), EEXIST);
    const Faults::Unsupported noFlag("renameat2", EINVAL);
    QCOMPARE(renameItem(mRoot + "/one.jpg", mRoot + "/ONE.jpg"), EEXIST);
    QCOMPARE(Disk::namesIn(mRoot).size(), 3);
}

void FileMoveTest::longPaths() {
    QByteArray path = mRoot;
    const Disk::WorkingFolder working(mRoot);
    for (int depth = 0; depth < 30; ++depth) {
        const QByteArray name(200, 'd');
        Disk::makeFolder(name);
        QCOMPARE(::chdir(name.constData()), 0);
        path += '/' + name;
    }
    QVERIFY(path.size() > PATH_MAX);
    Disk::makeFile("a", "photo");
    QCOMPARE(renameItem(path + "/a", path + "/b"), 0);
    QCOMPARE(renameItem(path + "/b", mRoot + "/c"), 0);
    QCOMPARE(Disk::contentOf(mRoot + "/c"), QByteArray("photo"));
}

void FileMoveTest::acrossFileSystems() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    Disk::makeFolder(mRoot + "/other");
    Disk::makeFile(mRoot + "/a", "photo");
    const Disk::TemporaryFileSystem memory(mRoot + "/other", "size=1m");
    VKTEST_NEEDS(memory.isMounted(), "a system that can mount tmpfs");
    QCOMPARE(renameItem(mRoot + "/a", mRoot + "/other/a"), EXDEV);
    Disk::makeFile(mRoot + "/other/b");
    QCOMPARE(renameItem(mRoot + "/a", mRoot + "/other/b"), EXDEV);
    QCOMPARE(Disk::contentOf(mRoot + "/a"), QByteArray("photo"));
}

void FileMoveTest::mountPoint() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    Disk::makeFolder(mRoot + "/other");
    const Disk::TemporaryFileSystem memory(mRoot + "/other", "size=1m");
    VKTEST_NEEDS(memory.isMounted(), "a system that can mount tmpfs");
    Disk::makeFile(mRoot + "/other/a");
    QCOMPARE(renameItem(mRoot + "/other", mRoot + "/new"), EBUSY);
    QVERIFY(Disk::exists(mRoot + "/other/a"));
}

void FileMoveTest::readOnly() {
    Disk::LoopFileSystem ext4("ext4", mRoot);
    VKTEST_NEEDS(ext4.isMounted(), "root and loop devices");
    Disk::makeFile(mRoot + "/a", "photo");
    QVERIFY(ext4.becomeReadOnly());
    QCOMPARE(renameItem(mRoot + "/a", mRoot + "/b"), EROFS);
    QCOMPARE(Disk::contentOf(mRoot + "/a"), QByteArray("photo"));
}

void FileMoveTest::foldersOfAnotherUser() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user");
    Disk::openForOthers(mRoot);
    makeThings();
    Disk::makeFolder(mRoot + "/open");
    QCOMPARE(::chmod(Disk::text(mRoot + "/open"), 0777), 0);
    Disk::makeFile(mRoot + "/open/a", "photo");
    const QByteArrayList before = picture();
    const QByteArray root = mRoot;
    QCOMPARE(Disk::asOtherUser([&] { return renameItem(root + "/file", root + "/open/b"); }), EACCES);
    QCOMPARE(Disk::asOtherUser([&] { return renameItem(root + "/open/a", root + "/b"); }), EACCES);
    QCOMPARE(picture(), before);
    QCOMPARE(Disk::asOtherUser([&] { return renameItem(root + "/open/a", root + "/open/b"); }), 0);
}

void FileMoveTest::caseOnlyOnExfat_data() {
    QTest::addColumn<QByteArray>("listed");
    QTest::addColumn<QByteArray>("from");
    QTest::addColumn<QByteArray>("to");
    QTest::newRow("capitals") << QByteArray("photo.jpg") << QByteArray("photo.jpg")
                              << QByteArray("PHOTO.JPG");
    QTest::newRow("one letter") << QByteArray("photo.jpg") << QByteArray("photo.jpg")
                                << QByteArray("Photo.jpg");
    QTest::newRow("known by another spelling")
        << QByteArray("Photo.JPG") << QByteArray("photo.jpg") << QByteArray("PHOTO.jpg");
    QTest::newRow("with an accent") << QByteArray("\xC3\xA9.jpg") << QByteArray("\xC3\xA9.jpg")
                                    << QByteArray("\xC3\x89.jpg");
}

void FileMoveTest::caseOnlyOnExfat() {
    QFETCH(QByteArray, listed);
    QFETCH(QByteArray, from);
    QFETCH(QByteArray, to);
    const Disk::LoopFileSystem exfat("exfat", mRoot);
    VKTEST_NEEDS(exfat.isMounted(), "root, loop devices and exfat in user space");
    Disk::makeFile(mRoot + '/' + listed, "photo");
    QCOMPARE(renameItem(mRoot + '/' + from, mRoot + '/' + to), 0);
    QCOMPARE(picture(), QByteArrayList{to + "=photo"});
    QCOMPARE(::unlink(Disk::text(mRoot + '/' + to)), 0);
    Disk::makeFolder(mRoot + '/' + listed);
    Disk::makeFile(mRoot + '/' + listed + "/a");
    QCOMPARE(renameItem(mRoot + '/' + from, mRoot + '/' + to), 0);
    QCOMPARE(picture(), QByteArrayList{to + "/a"});
}

void FileMoveTest::takenOnExfat() {
    const Disk::LoopFileSystem exfat("exfat", mRoot);
    VKTEST_NEEDS(exfat.isMounted(), "root, loop devices and exfat in user space");
    Disk::makeFile(mRoot + "/One.jpg", "1");
    Disk::makeFile(mRoot + "/Two.jpg", "2");
    Disk::makeFolder(mRoot + "/Folder");
    const QByteArrayList before = picture();
    for (const char* to : {"/Two.jpg", "/two.jpg", "/FOLDER", "/One.jpg"}) {
        QCOMPARE(renameItem(mRoot + "/One.jpg", mRoot + to), EEXIST);
        QCOMPARE(picture(), before);
    }
    QCOMPARE(renameItem(mRoot + "/Folder", mRoot + "/one.JPG"), EEXIST);
    QCOMPARE(renameItem(mRoot + "/Folder", mRoot + "/folder/new"), EINVAL);
    QCOMPARE(renameItem(mRoot + "/none", mRoot + "/new"), ENOENT);
    QCOMPARE(renameItem(mRoot + "/One.jpg", mRoot + "/folder/one.jpg"), 0);
    QCOMPARE(renameItem(mRoot + "/Two.jpg", mRoot + "/Three.jpg"), 0);
    QCOMPARE(picture(), (QByteArrayList{"Folder/one.jpg", "Three.jpg=2"}));
}

void FileMoveTest::everyCallFailingInTurn_data() {
    QTest::addColumn<bool>("withoutFlag");
    QTest::addColumn<QByteArray>("from");
    QTest::newRow("file") << false << QByteArray("/file");
    QTest::newRow("folder") << false << QByteArray("/folder");
    QTest::newRow("file by a link") << true << QByteArray("/file");
    QTest::newRow("folder without the flag") << true << QByteArray("/folder");
}

void FileMoveTest::everyCallFailingInTurn() {
    QFETCH(bool, withoutFlag);
    QFETCH(QByteArray, from);
    makeThings();
    const QByteArrayList before = picture();
    std::unique_ptr<Faults::Unsupported> noFlag;
    if (withoutFlag) {
        noFlag = std::make_unique<Faults::Unsupported>("renameat2", EINVAL);
    }
    Faults::Loop faults(Faults::kChanges | Faults::kOpens | Faults::kReads | Faults::kRemovals, EIO);
    while (faults.next()) {
        int result = 0;
        {
            const Faults::Armed armed = faults.arm();
            result = renameItem(mRoot + from, mRoot + "/new");
        }
        if (result == 0) {
            QVERIFY(!Disk::exists(mRoot + from));
            QCOMPARE(::rename(Disk::text(mRoot + "/new"), Disk::text(mRoot + from)), 0);
        } else {
            QVERIFY2(faults.wasMet() && result == EIO, faults.failedCall().constData());
        }
        QCOMPARE(picture(), before);
    }
    QVERIFY(faults.met() >= 3);
}

// Two processes move their own file to the same name: one of them has it, and the other keeps its own.
void FileMoveTest::twoProcesses() {
    for (int round = 0; round < 50; ++round) {
        const auto start = [this](const QByteArray& from) {
            const pid_t child = ::fork();
            if (child == 0) {
                ::_exit(renameItem(mRoot + from, mRoot + "/taken"));
            }
            return child;
        };
        Disk::makeFile(mRoot + "/first", "first");
        Disk::makeFile(mRoot + "/second", "second");
        const pid_t children[] = {start("/first"), start("/second")};
        QList<int> results;
        for (const pid_t child : children) {
            int status = -1;
            QCOMPARE(::waitpid(child, &status, 0), child);
            results.append(WEXITSTATUS(status));
        }
        const bool firstHasIt = results.constFirst() == 0;
        QCOMPARE(results, (firstHasIt ? QList<int>{0, EEXIST} : QList<int>{EEXIST, 0}));
        QCOMPARE(picture(), (firstHasIt ? QByteArrayList{"second=second", "taken=first"}
                                        : QByteArrayList{"first=first", "taken=second"}));
        for (const QByteArray& name : Disk::namesIn(mRoot)) {
            QCOMPARE(::unlink(Disk::text(mRoot + '/' + name)), 0);
        }
    }
}

VKTEST_MAIN(FileMoveTest)
#include "FileMoveTest.moc"
