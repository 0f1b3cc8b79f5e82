// Making folders: with those above them, next to what is there already, and without traces after a failure.
#include "Platform/FolderCreation.h"

#include "Support/DiskSupport.h"
#include "Support/FaultInjection.h"
#include "Support/OddNames.h"
#include "Support/VKTest.h"

#include <cerrno>
#include <climits>
#include <sys/wait.h>

using namespace VKPlatform;

class FolderCreationTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void made_data();
    void made();
    void there_data();
    void there();
    void mode();
    void deepAndLong();
    void names_data();
    void names();
    void failureLeavesNothing();
    void everyCallFailingInTurn();
    void foldersOfAnotherUser();
    void twoProcesses();

private:
    QByteArray mRoot;
};

void FolderCreationTest::init() {
    VKTest::init();
    mRoot = makeFolder(QStringLiteral("create")).toUtf8();
}

void FolderCreationTest::cleanup() { Disk::removeTree(mRoot); }

void FolderCreationTest::made_data() {
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("folder");
    const auto row = [](const char* path, const char* folder) {
        QTest::newRow(path) << QByteArray(path) << QByteArray(folder);
    };
    row("/a", "/a");
    row("/a/b/c", "/a/b/c");
    row("/a/", "/a");
    row("//a///b//", "/a/b");
    row("/a/./b", "/a/b");
    row("/a/b/../c", "/a/c");
    row("/link/a/b", "/target/a/b");
}

void FolderCreationTest::made() {
    QFETCH(QByteArray, path);
    QFETCH(QByteArray, folder);
    Disk::makeFolder(mRoot + "/target");
    Disk::makeLink(mRoot + "/link", "target");
    QCOMPARE(createFolders(mRoot + path), 0);
    QVERIFY(Disk::exists(mRoot + folder + "/."));
    QCOMPARE(createFolders(mRoot + path), 0);
    const Disk::WorkingFolder working(mRoot + "/target");
    QCOMPARE(createFolders("x" + path), 0);
    QVERIFY(Disk::exists(mRoot + "/target/x/."));
}

void FolderCreationTest::there_data() {
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<int>("result");
    QTest::newRow("folder") << QByteArray("/folder") << 0;
    QTest::newRow("folder itself") << QByteArray("/folder/.") << 0;
    QTest::newRow("link to a folder") << QByteArray("/toFolder") << 0;
    QTest::newRow("file") << QByteArray("/file") << EEXIST;
    QTest::newRow("link to a file") << QByteArray("/toFile") << EEXIST;
    QTest::newRow("link that leads nowhere") << QByteArray("/toNothing") << EEXIST;
    QTest::newRow("link to itself") << QByteArray("/loop") << EEXIST;
    QTest::newRow("fifo") << QByteArray("/fifo") << EEXIST;
    QTest::newRow("below a file") << QByteArray("/file/a") << ENOTDIR;
    QTest::newRow("far below a file") << QByteArray("/file/a/b") << ENOTDIR;
    QTest::newRow("below a link that leads nowhere") << QByteArray("/toNothing/a") << ENOTDIR;
    QTest::newRow("name too long") << '/' + QByteArray(256, 'n') << ENAMETOOLONG;
    QTest::newRow("no name") << QByteArray() << ENOENT;
}

void FolderCreationTest::there() {
    QFETCH(QByteArray, path);
    Disk::makeFolder(mRoot + "/folder");
    Disk::makeFile(mRoot + "/file", "old");
    Disk::makeFifo(mRoot + "/fifo");
    Disk::makeLink(mRoot + "/toFolder", "folder");
    Disk::makeLink(mRoot + "/toFile", "file");
    Disk::makeLink(mRoot + "/toNothing", "nothing");
    Disk::makeLink(mRoot + "/loop", "loop");
    const QByteArrayList before = Disk::namesIn(mRoot);
    QTEST(createFolders(path.isEmpty() ? path : mRoot + path), "result");
    QCOMPARE(Disk::namesIn(mRoot), before);
    QCOMPARE(Disk::contentOf(mRoot + "/file"), QByteArray("old"));
    QCOMPARE(createFolders("/"), 0);
    QCOMPARE(createFolders("."), 0);
}

void FolderCreationTest::mode() {
    const mode_t before = ::umask(0027);
    const int result = createFolders(mRoot + "/a/b");
    ::umask(before);
    QCOMPARE(result, 0);
    QCOMPARE(Disk::modeOf(mRoot + "/a"), 0750U);
    QCOMPARE(Disk::modeOf(mRoot + "/a/b"), 0750U);
}

void FolderCreationTest::deepAndLong() {
    QByteArray path = mRoot;
    for (int depth = 0; depth < 60; ++depth) {
        path += '/' + QByteArray(100, 'd');
    }
    QVERIFY(path.size() > PATH_MAX);
    QCOMPARE(createFolders(path), 0);
    QCOMPARE(createFolders(path), 0);
    QCOMPARE(createFolders(path + "/one/more"), 0);
}

void FolderCreationTest::names_data() { addOddNameRows(); }

void FolderCreationTest::names() {
    QFETCH(QByteArray, name);
    QCOMPARE(createFolders(mRoot + '/' + name + '/' + name), 0);
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{name});
    QCOMPARE(Disk::namesIn(mRoot + '/' + name), QByteArrayList{name});
}

void FolderCreationTest::failureLeavesNothing() {
    Disk::makeFolder(mRoot + "/there");
    QCOMPARE(createFolders(mRoot + "/there/a/b/" + QByteArray(256, 'n') + "/c"), ENAMETOOLONG);
    QCOMPARE(Disk::namesIn(mRoot + "/there"), QByteArrayList());
}

void FolderCreationTest::everyCallFailingInTurn() {
    Disk::makeFolder(mRoot + "/there");
    Faults::Loop faults(Faults::kNames | Faults::kOpens | Faults::kReads, EIO);
    while (faults.next()) {
        int result = 0;
        {
            const Faults::Armed armed = faults.arm();
            result = createFolders(mRoot + "/there/a/b/c");
        }
        if (faults.wasMet()) {
            QVERIFY2(result == EIO, faults.failedCall().constData());
            QCOMPARE(Disk::namesIn(mRoot + "/there"), QByteArrayList());
        } else {
            QCOMPARE(result, 0);
        }
    }
    QVERIFY(faults.met() > 6);
    QVERIFY(Disk::exists(mRoot + "/there/a/b/c"));
}

void FolderCreationTest::foldersOfAnotherUser() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user");
    Disk::openForOthers(mRoot);
    Disk::makeFolder(mRoot + "/closed");
    Disk::makeFolder(mRoot + "/closed/there");
    QCOMPARE(::chmod(Disk::text(mRoot + "/closed"), 0711), 0);
    const QByteArray root = mRoot;
    QCOMPARE(Disk::asOtherUser([&] { return createFolders(root + "/closed/a"); }), EACCES);
    QCOMPARE(Disk::asOtherUser([&] { return createFolders(root + "/closed/a/b"); }), EACCES);
    QCOMPARE(Disk::asOtherUser([&] { return createFolders(root + "/closed/there"); }), 0);
    QCOMPARE(::chmod(Disk::text(mRoot + "/closed"), 0700), 0);
    QCOMPARE(Disk::asOtherUser([&] { return createFolders(root + "/closed/there"); }), EACCES);
}

void FolderCreationTest::twoProcesses() {
    const auto start = [this] {
        const pid_t child = ::fork();
        if (child == 0) {
            int failures = 0;
            for (int round = 0; round < 200; ++round) {
                failures += createFolders(mRoot + '/' + QByteArray::number(round) + "/a/b/c") == 0 ? 0 : 1;
            }
            ::_exit(failures == 0 ? 0 : 1);
        }
        return child;
    };
    const pid_t first = start();
    const pid_t second = start();
    for (const pid_t child : {first, second}) {
        QVERIFY(child > 0);
        int status = -1;
        QCOMPARE(::waitpid(child, &status, 0), child);
        QCOMPARE(status, 0);
    }
    QCOMPARE(Disk::namesIn(mRoot).size(), 200);
}

VKTEST_MAIN(FolderCreationTest)
#include "FolderCreationTest.moc"
