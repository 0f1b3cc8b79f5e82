// Whole contents: within the limit, to the true end, from nothing that makes the reader wait.
#include "Platform/WholeFile.h"

#include "Support/DiskSupport.h"
#include "Support/FaultInjection.h"
#include "Support/VKTest.h"

#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <sys/resource.h>

using namespace VKPlatform;

class WholeFileTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void sizes_data();
    void sizes();
    void limits_data();
    void limits();
    void unlimited();
    void madeUpFiles();
    void refused_data();
    void refused();
    void growing();
    void readingFails();
    void memoryIsShort();
    void writing();
    void everyCallFailingInTurn();

private:
    QByteArray mRoot;
};

namespace {

constexpr std::uint64_t kNoLimit = std::numeric_limits<std::uint64_t>::max();

QByteArray bytes(qsizetype size) {
    QByteArray content(size, Qt::Uninitialized);
    for (qsizetype at = 0; at < size; ++at) {
        content[at] = static_cast<char>(at * 31 + at / 256);
    }
    return content;
}

} // namespace

void WholeFileTest::init() {
    VKTest::init();
    mRoot = makeFolder(QStringLiteral("whole")).toUtf8();
}

void WholeFileTest::cleanup() { Disk::removeTree(mRoot); }

void WholeFileTest::sizes_data() {
    QTest::addColumn<int>("size");
    for (const int size : {0, 1, 4095, 4096, 4097, 8192, 65536, 1 << 20, (3 << 20) + 7}) {
        QTest::addRow("%d bytes", size) << size;
    }
}

void WholeFileTest::sizes() {
    QFETCH(int, size);
    QCOMPARE(writeWholeFile(mRoot + "/a", bytes(size)), 0);
    QByteArray content("before");
    QCOMPARE(readWholeFile(mRoot + "/a", kNoLimit, content), 0);
    QCOMPARE(content, bytes(size));
    QVERIFY(!content.isNull());
}

void WholeFileTest::limits_data() {
    QTest::addColumn<int>("size");
    for (const int size : {1, 100, 4096, 4097, 100'000}) {
        QTest::addRow("%d bytes", size) << size;
    }
}

void WholeFileTest::limits() {
    QFETCH(int, size);
    const auto limit = static_cast<std::uint64_t>(size);
    Disk::makeFile(mRoot + "/a", bytes(size));
    QByteArray content;
    QCOMPARE(readWholeFile(mRoot + "/a", limit + 1, content), 0);
    QCOMPARE(readWholeFile(mRoot + "/a", limit, content), 0);
    QCOMPARE(content, bytes(size));
    content = "untouched";
    QCOMPARE(readWholeFile(mRoot + "/a", limit - 1, content), EFBIG);
    QCOMPARE(content, QByteArray("untouched"));
}

void WholeFileTest::unlimited() {
    // Nothing may be set aside for what a file only says to hold, when that is beyond the limit.
    Disk::makeFile(mRoot + "/sparse");
    QCOMPARE(::truncate(Disk::text(mRoot + "/sparse"), std::int64_t{1} << 40), 0);
    QByteArray content;
    QCOMPARE(readWholeFile(mRoot + "/sparse", (std::uint64_t{1} << 40) - 1, content), EFBIG);
    Disk::makeFile(mRoot + "/empty");
    QCOMPARE(readWholeFile(mRoot + "/empty", 0, content), 0);
    QCOMPARE(content, QByteArray(""));
}

// Their length is said to be 0.
void WholeFileTest::madeUpFiles() {
    QByteArray content;
    QCOMPARE(readWholeFile("/proc/self/mountinfo", kNoLimit, content), 0);
    QVERIFY(content.contains(" / "));
    QVERIFY(content.endsWith('\n'));
    QCOMPARE(readWholeFile("/proc/self/mountinfo", static_cast<std::uint64_t>(content.size()), content), 0);
    QCOMPARE(readWholeFile("/proc/self/mountinfo", static_cast<std::uint64_t>(content.size()) - 1, content),
             EFBIG);
    QCOMPARE(readWholeFile("/proc/self/cmdline", 4096, content), 0);
    QVERIFY(content.contains("WholeFileTest"));
}

void WholeFileTest::refused_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("reading");
    QTest::addColumn<int>("writing");
    QTest::newRow("nothing") << QByteArray("/none") << ENOENT << 0;
    QTest::newRow("folder") << QByteArray("/folder") << EISDIR << EISDIR;
    QTest::newRow("fifo that nobody writes to") << QByteArray("/fifo") << EOPNOTSUPP << EOPNOTSUPP;
    QTest::newRow("socket") << QByteArray("/socket") << EOPNOTSUPP << EOPNOTSUPP;
    QTest::newRow("below a file") << QByteArray("/file/a") << ENOTDIR << ENOTDIR;
    QTest::newRow("link to itself") << QByteArray("/loop") << ELOOP << ELOOP;
    QTest::newRow("link to a fifo") << QByteArray("/toFifo") << EOPNOTSUPP << EOPNOTSUPP;
}

void WholeFileTest::refused() {
    QFETCH(QByteArray, name);
    Disk::makeFolder(mRoot + "/folder");
    Disk::makeFile(mRoot + "/file", "old");
    Disk::makeFifo(mRoot + "/fifo");
    Disk::makeSocket(mRoot + "/socket");
    Disk::makeLink(mRoot + "/loop", "loop");
    Disk::makeLink(mRoot + "/toFifo", "fifo");
    QByteArray content("untouched");
    QTEST(readWholeFile(mRoot + name, kNoLimit, content), "reading");
    QCOMPARE(content, QByteArray("untouched"));
    QTEST(writeWholeFile(mRoot + name, "new"), "writing");
    QCOMPARE(Disk::contentOf(mRoot + "/file"), QByteArray("old"));
    QCOMPARE(readWholeFile("/dev/zero", kNoLimit, content), EOPNOTSUPP);
}

// Another process goes on appending: what is read is a beginning of what there is in the end, and the reading ends.
void WholeFileTest::growing() {
    Disk::makeFile(mRoot + "/log", "0123456789");
    int ready[2];
    QCOMPARE(::pipe2(ready, O_CLOEXEC), 0);
    const pid_t child = ::fork();
    QVERIFY(child >= 0);
    if (child == 0) {
        const int file = ::open(Disk::text(mRoot + "/log"), O_WRONLY | O_APPEND | O_CLOEXEC);
        bool told = false;
        for (int n = 0; n < 20'000 && ::write(file, "0123456789", 10) == 10; ++n) {
            told = told || ::write(ready[1], "x", 1) == 1;
        }
        ::_exit(0);
    }
    char byte = 0;
    QCOMPARE(::read(ready[0], &byte, 1), ssize_t(1));
    QByteArray content;
    int results = 0;
    qsizetype last = 0;
    for (int round = 0; round < 50; ++round) {
        results |= readWholeFile(mRoot + "/log", kNoLimit, content);
        results |= content.size() < last ? 1 : 0;
        last = content.size();
    }
    int status = -1;
    QCOMPARE(::waitpid(child, &status, 0), child);
    ::close(ready[0]);
    ::close(ready[1]);
    QCOMPARE(results, 0);
    QVERIFY(Disk::contentOf(mRoot + "/log").startsWith(content));
}

void WholeFileTest::readingFails() {
    Disk::makeFile(mRoot + "/a", bytes(100'000));
    Faults::Loop faults(Faults::kOpens | Faults::kReads, EIO);
    while (faults.next()) {
        QByteArray content("untouched");
        int result = 0;
        {
            const Faults::Armed armed = faults.arm();
            result = readWholeFile(mRoot + "/a", kNoLimit, content);
        }
        QCOMPARE(result, faults.wasMet() ? EIO : 0);
        QCOMPARE(content, faults.wasMet() ? QByteArray("untouched") : bytes(100'000));
    }
    QVERIFY(faults.met() >= 3);
}

void WholeFileTest::memoryIsShort() {
    VKTEST_NEEDS_ALLOCATION_FAULTS();
    Disk::makeFile(mRoot + "/a", bytes(100'000));
    const QByteArray path = mRoot + "/a";
    Faults::Loop faults(Faults::kAllocations, ENOMEM);
    while (faults.next()) {
        QByteArray content;
        int result = 0;
        {
            const Faults::Armed armed = faults.arm();
            result = readWholeFile(path, kNoLimit, content);
        }
        QCOMPARE(result, faults.wasMet() ? ENOMEM : 0);
        QCOMPARE(content.size(), faults.wasMet() ? 0 : 100'000);
    }
    QVERIFY(faults.met() >= 1);
}

void WholeFileTest::writing() {
    QCOMPARE(writeWholeFile(mRoot + "/a", "first, and longer"), 0);
    QCOMPARE(::chmod(Disk::text(mRoot + "/a"), 0640), 0);
    Disk::makeLink(mRoot + "/link", "a");
    QCOMPARE(writeWholeFile(mRoot + "/link", "second"), 0);
    QCOMPARE(Disk::contentOf(mRoot + "/a"), QByteArray("second"));
    QCOMPARE(Disk::modeOf(mRoot + "/a"), 0640U);
    QCOMPARE(Disk::namesIn(mRoot), (QByteArrayList{"a", "link"}));
}

void WholeFileTest::everyCallFailingInTurn() {
    Disk::makeFile(mRoot + "/a", "old");
    const Faults::ShortWrites shortWrites(3);
    Faults::Loop faults(Faults::kChanges | Faults::kOpens | Faults::kReads, ENOSPC);
    while (faults.next()) {
        int result = 0;
        {
            const Faults::Armed armed = faults.arm();
            result = writeWholeFile(mRoot + "/a", "new content");
        }
        QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"a"});
        const QByteArray content = Disk::contentOf(mRoot + "/a");
        // The folder's flush comes when the content is in place already.
        const bool isNew = result == 0 || faults.failedCall() == "fsync";
        QVERIFY2(content == (isNew ? "new content" : "old"), faults.failedCall().constData());
        QVERIFY(result == 0 || faults.wasMet());
        Disk::makeFile(mRoot + "/a", "old");
    }
    QVERIFY(faults.met() > 8);
}

VKTEST_MAIN(WholeFileTest)
#include "WholeFileTest.moc"
