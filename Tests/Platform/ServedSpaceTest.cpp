// Room on served file systems: what the asking process says by rows, and servers that live, fall silent and die.
#include "Platform/ServedSpace.h"

#include "Support/DiskSupport.h"
#include "Support/MountSupport.h"
#include "Support/VKTest.h"

#include <atomic>
#include <csignal>
#include <memory>
#include <thread>
#include <vector>

using namespace VKPlatform;

class ServedSpaceTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void answers_data();
    void answers();
    void realPlaces();
    void silentServer();
    void programEndsWhileServerIsSilent();
    void severalThreads();
    void childrenThatOthersReap();
};

namespace {

QByteArray newFolder() { return VKTest::makeFolder(QStringLiteral("served")).toUtf8(); }

ServedSpace askOne(const QByteArray& place) { return askServedSpace({{"key " + place, place}}).front(); }

} // namespace

void ServedSpaceTest::answers_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("makesSense");
    QTest::addColumn<bool>("isThere");
    QTest::addColumn<quint64>("total");
    QTest::addColumn<quint64>("free");
    const auto row = [](const char* name, const char* text, bool makesSense, bool isThere = false,
                        quint64 total = 0, quint64 free = 0) {
        QTest::newRow(name) << QByteArray(text) << makesSense << isThere << total << free;
    };
    row("an answer", "4096 1000 10\n", true, true, 4096000, 40960);
    row("no line end", "512 2 1", true, true, 1024, 512);
    row("no room told", "4096 0 0\n", true, true, 0, 0);
    row("nothing told at all", "0 0 0\n", true, true, 0, 0);
    row("the largest", "1 18446744073709551615 0\n", true, true, ~quint64(0), 0);
    row("one more", "1 18446744073709551616 0\n", false);
    row("too large together", "2 9223372036854775808 0\n", false);
    row("free alone too large", "2 1 9223372036854775808\n", false);
    row("blocks of nothing", "0 1 1\n", false);
    row("less than nothing", "4096 -1 1\n", false);
    row("two numbers", "4096 1\n", false);
    row("four numbers", "4096 1 1 1\n", false);
    row("words", "a b c\n", false);
    row("nothing", "", false);
    row("refused", "stat: cannot read file system information for '/x': Permission denied\n", true, true);
    row("gone", "stat: cannot read file system information for '/x': Transport endpoint is not connected\n",
        true);
    row("stale", "stat: cannot read file system information for '/x': Stale file handle\n", true);
    row("a place named like a refusal",
        "stat: cannot read file system information for '/x: Permission denied': Input/output error\n", true);
}

void ServedSpaceTest::answers() {
    QFETCH(QByteArray, text);
    QFETCH(bool, makesSense);
    const std::optional<ServedSpace> space = parseServedSpace(text);
    QCOMPARE(space.has_value(), makesSense);
    if (makesSense) {
        QTEST(space->state == ServerState::Answers, "isThere");
        QTEST(quint64(space->totalBytes), "total");
        QTEST(quint64(space->freeBytes), "free");
    }
}

void ServedSpaceTest::realPlaces() {
    QVERIFY(askServedSpace({}).empty());
    QCOMPARE(askOne("/").state, ServerState::Answers);
    QVERIFY(askOne("/").totalBytes > 0);
    QCOMPARE(askOne("/no such place").state, ServerState::Silent);
    // Names that a program could take for its options, or a shell for more.
    const QByteArray folder = newFolder();
    Disk::makeFolder(folder + "/-t $(x) 'y' \n");
    QCOMPARE(askOne(folder + "/-t $(x) 'y' \n").totalBytes, askOne(folder).totalBytes);
    QCOMPARE(waitingProcesses(), std::size_t(0));
}

void ServedSpaceTest::silentServer() {
    VKTEST_NEEDS(Mounts::NetworkDisk::canBeMade(), "root, FUSE, sshfs and openssh-sftp-server");
    const Mounts::NetworkDisk disk(newFolder());
    QVERIFY2(disk.isMounted(), disk.message());
    QCOMPARE(askOne(disk.place()).state, ServerState::Answers);
    disk.signalServer(SIGSTOP);
    for (int i = 0; i < 200; ++i) {
        QCOMPARE(askOne(disk.place()).state, ServerState::Silent);
        QCOMPARE(waitingProcesses(), std::size_t(1));
    }
    // Others are asked meanwhile.
    const auto both = askServedSpace({{"key " + disk.place(), disk.place()}, {"other", "/"}});
    QCOMPARE(both.at(0).state, ServerState::Silent);
    QCOMPARE(both.at(1).state, ServerState::Answers);
    disk.signalServer(SIGCONT);
    QTRY_COMPARE(waitingProcesses(), std::size_t(0));
    QCOMPARE(askOne(disk.place()).state, ServerState::Answers);
}

void ServedSpaceTest::programEndsWhileServerIsSilent() {
    VKTEST_NEEDS(Mounts::NetworkDisk::canBeMade(), "root, FUSE, sshfs and openssh-sftp-server");
    const Mounts::NetworkDisk disk(newFolder());
    QVERIFY2(disk.isMounted(), disk.message());
    disk.signalServer(SIGSTOP);
    const pid_t child = ::fork();
    QVERIFY(child >= 0);
    if (child == 0) {
        ::_exit(askOne(disk.place()).state == ServerState::Silent ? 0 : 1);
    }
    int status = -1;
    // It does end, and the process that it leaves behind holds nothing of it.
    QCOMPARE(::waitpid(child, &status, 0), child);
    QCOMPARE(status, 0);
}

void ServedSpaceTest::severalThreads() {
    VKTEST_NEEDS(Mounts::NetworkDisk::canBeMade(), "root, FUSE, sshfs and openssh-sftp-server");
    const Mounts::NetworkDisk disk(newFolder());
    QVERIFY2(disk.isMounted(), disk.message());
    std::vector<std::thread> threads;
    std::atomic<int> answered = 0;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] { answered += askOne(disk.place()).state == ServerState::Answers ? 1 : 0; });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    QCOMPARE(answered.load(), 8);
    QCOMPARE(waitingProcesses(), std::size_t(0));
}

void ServedSpaceTest::childrenThatOthersReap() {
    // A program that lets the system take its children's ends.
    struct sigaction before = {};
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    QCOMPARE(::sigaction(SIGCHLD, &ignore, &before), 0);
    const ServedSpace space = askOne("/");
    QCOMPARE(::sigaction(SIGCHLD, &before, nullptr), 0);
    QCOMPARE(space.state, ServerState::Answers);
    QVERIFY(space.totalBytes > 0);
}

VKTEST_MAIN_WITH_OWN_MOUNTS(ServedSpaceTest)
#include "ServedSpaceTest.moc"
