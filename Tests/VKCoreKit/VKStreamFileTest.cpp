// Streams over real files: what is read, and that a file is replaced as a whole or not at all.
#include "VKCoreKit/VKStream.h"

#include "CoreKitSupport.h"
#include "Support/DiskSupport.h"

#include <cerrno>
#include <csignal>
#include <sys/resource.h>

using namespace CoreKit;

namespace {

constexpr bool kRead = false;
constexpr bool kWrite = true;

/// The status of opening, with the stream let go at once.
VKStatus openStatus(CFURLRef url, bool write) {
    VKStream* stream = nullptr;
    const VKStatus status = VKStreamCreateFile(url, write, &stream);
    const OwnedStream owner(stream);
    return (status == kVKStatusSuccess) == (stream != nullptr) ? status : kVKStatusNotUnderstood;
}

} // namespace

class VKStreamFileTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void reading();
    void readingInAnyOrder();
    void readingIsNotWriting();
    void fileThatBecomesShorter();
    void fileThatBecomesLonger();
    void oddNames();

    void newFile();
    void oldFileIsWholeUntilClosing();
    void lastReleaseCloses();
    void lastReleaseOfTwo();
    void readingBack();
    void modeIsKept();
    void linkIsHonoured();
    void afterClosing();
    void closedReader();

    void whatDoesNotOpen_data();
    void whatDoesNotOpen();
    void permissions();
    void targetTakenByAFolder();
    void lastReleaseLogsItsFailure();
    void fullFileSystem();
    void sizeLimit();

private:
    [[nodiscard]] QByteArray path(const char* name = "a.bin") const { return mRoot + '/' + name; }

    QByteArray mRoot;
};

void VKStreamFileTest::initTestCase() { mRoot = makeFolder(QStringLiteral("stream")).toUtf8(); }

void VKStreamFileTest::cleanup() {
    Disk::removeTree(mRoot);
    Disk::makeFolder(mRoot);
}

void VKStreamFileTest::reading() {
    Disk::makeFile(path(), QByteArray("\0\0\1\0abc", 7));
    const OwnedStream stream = makeFileStream(path(), kRead);
    QVERIFY(stream != nullptr);
    QCOMPARE(availableIn(stream), 7U);
    std::uint32_t value = 0;
    QCOMPARE(VKStreamReadUInt32(stream.get(), &value), kVKStatusSuccess);
    QCOMPARE(value, 256U);
    QByteArray bytes(4, 'x');
    QCOMPARE(readBytes(stream, bytes), kVKStatusEndOfStream);
    QCOMPARE(bytes, QByteArray("xxxx"));
    QCOMPARE(positionOf(stream), 4U);
    bytes.resize(3);
    QCOMPARE(readBytes(stream, bytes), kVKStatusSuccess);
    QCOMPARE(bytes, QByteArray("abc"));
    QCOMPARE(VKStreamSetPosition(stream.get(), 8), kVKStatusEndOfStream);
    QCOMPARE(contentOf(stream), QByteArray("\0\0\1\0abc", 7));
    QCOMPARE(VKStreamClose(stream.get()), kVKStatusSuccess);
}

void VKStreamFileTest::readingInAnyOrder() {
    // Sizes and places around those of the blocks that the stream reads.
    QByteArray content(400000, Qt::Uninitialized);
    for (qsizetype i = 0; i < content.size(); ++i) {
        content[i] = static_cast<char>(i * 7 + i / 251);
    }
    Disk::makeFile(path(), content);
    const OwnedStream stream = makeFileStream(path(), kRead);
    for (const qsizetype start : {0, 1, 65535, 65536, 65537, 131071, 399990, 3, 200000, 400000}) {
        for (const qsizetype size : {0, 1, 4, 10, 65535, 65536, 65537, 200000}) {
            const bool fits = start + size <= content.size();
            QCOMPARE(VKStreamSetPosition(stream.get(), static_cast<std::uint64_t>(start)), kVKStatusSuccess);
            QByteArray bytes(size, '?');
            QCOMPARE(readBytes(stream, bytes), fits ? kVKStatusSuccess : kVKStatusEndOfStream);
            QVERIFY(bytes == (fits ? content.sliced(start, size) : QByteArray(size, '?')));
        }
    }
}

void VKStreamFileTest::readingIsNotWriting() {
    Disk::makeFile(path(), "abc");
    {
        const OwnedStream stream = makeFileStream(path(), kRead);
        QCOMPARE(writeBytes(stream, "x"), VKStatus{EBADF});
        QCOMPARE(VKStreamWriteUInt32(stream.get(), 1), VKStatus{EBADF});
        QCOMPARE(positionOf(stream), 0U);
    }
    QCOMPARE(Disk::contentOf(path()), QByteArray("abc"));
}

void VKStreamFileTest::fileThatBecomesShorter() {
    Disk::makeFile(path(), QByteArray(300000, 'a'));
    const OwnedStream stream = makeFileStream(path(), kRead);
    QCOMPARE(::truncate(Disk::text(path()), 200000), 0);
    QCOMPARE(availableIn(stream), 300000U);
    QByteArray bytes(250000, '?');
    QCOMPARE(readBytes(stream, bytes), kVKStatusEndOfStream);
    QCOMPARE(positionOf(stream), 0U);
    QCOMPARE(VKStreamSetPosition(stream.get(), 199998), kVKStatusSuccess);
    bytes.resize(4);
    QCOMPARE(readBytes(stream, bytes), kVKStatusEndOfStream);
    QCOMPARE(positionOf(stream), 199998U);
    bytes = QByteArray(2, '?');
    QCOMPARE(readBytes(stream, bytes), kVKStatusSuccess);
    QCOMPARE(bytes, QByteArray("aa"));
    CFDataRef data = nullptr;
    QCOMPARE(VKStreamGetDataCopy(stream.get(), &data), kVKStatusEndOfStream);
    QVERIFY(data == nullptr);
}

void VKStreamFileTest::fileThatBecomesLonger() {
    Disk::makeFile(path(), "abc");
    const OwnedStream stream = makeFileStream(path(), kRead);
    Disk::makeFile(path(), "abcdef");
    QCOMPARE(availableIn(stream), 3U);
    QCOMPARE(contentOf(stream), QByteArray("abc"));
}

void VKStreamFileTest::oddNames() {
    for (const char* const name : {"e\xCC\x81.bin", "lat\xE9", " ", "a%2Fb?#"}) {
        const OwnedStream written = makeFileStream(path(name), kWrite);
        QCOMPARE(writeBytes(written, name), kVKStatusSuccess);
        QCOMPARE(VKStreamClose(written.get()), kVKStatusSuccess);
        QCOMPARE(contentOf(makeFileStream(path(name), kRead)), QByteArray(name));
    }
    QCOMPARE(Disk::namesIn(mRoot), (QByteArrayList{" ", "a%2Fb?#", "e\xCC\x81.bin", "lat\xE9"}));
}

void VKStreamFileTest::newFile() {
    const OwnedStream stream = makeFileStream(path(), kWrite);
    QCOMPARE(VKStreamWriteUInt32(stream.get(), 0x01020304), kVKStatusSuccess);
    QVERIFY(!Disk::exists(path()));
    QCOMPARE(VKStreamClose(stream.get()), kVKStatusSuccess);
    QCOMPARE(Disk::contentOf(path()), QByteArray("\1\2\3\4"));
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"a.bin"});
    // Nothing written is an empty file.
    QCOMPARE(VKStreamClose(makeFileStream(path("empty"), kWrite).get()), kVKStatusSuccess);
    QVERIFY(Disk::exists(path("empty")));
    QCOMPARE(Disk::contentOf(path("empty")), QByteArray(""));
}

void VKStreamFileTest::oldFileIsWholeUntilClosing() {
    Disk::makeFile(path(), "the old content");
    const OwnedStream stream = makeFileStream(path(), kWrite);
    QCOMPARE(availableIn(stream), 0U);
    QCOMPARE(Disk::contentOf(path()), QByteArray("the old content"));
    QCOMPARE(writeBytes(stream, QByteArray(200000, 'n')), kVKStatusSuccess);
    QCOMPARE(Disk::contentOf(path()), QByteArray("the old content"));
    QCOMPARE(VKStreamClose(stream.get()), kVKStatusSuccess);
    QVERIFY(Disk::contentOf(path()) == QByteArray(200000, 'n'));
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"a.bin"});
}

void VKStreamFileTest::lastReleaseCloses() {
    LogCapture log;
    Disk::makeFile(path(), "old");
    OwnedStream stream = makeFileStream(path(), kWrite);
    QCOMPARE(writeBytes(stream, "new"), kVKStatusSuccess);
    stream.reset();
    QCOMPARE(Disk::contentOf(path()), QByteArray("new"));
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"a.bin"});
    QVERIFY(log.take().isEmpty());
}

void VKStreamFileTest::lastReleaseOfTwo() {
    OwnedStream stream = makeFileStream(path(), kWrite);
    OwnedStream second(VKStreamRetain(stream.get()));
    QCOMPARE(writeBytes(stream, "abc"), kVKStatusSuccess);
    stream.reset();
    QVERIFY(!Disk::exists(path()));
    second.reset();
    QCOMPARE(Disk::contentOf(path()), QByteArray("abc"));
}

void VKStreamFileTest::readingBack() {
    const OwnedStream stream = makeFileStream(path(), kWrite);
    QCOMPARE(writeBytes(stream, "abc"), kVKStatusSuccess);
    QCOMPARE(VKStreamSetPosition(stream.get(), 1), kVKStatusSuccess);
    QByteArray bytes(2, '?');
    QCOMPARE(readBytes(stream, bytes), kVKStatusSuccess);
    QCOMPARE(bytes, QByteArray("bc"));
    QCOMPARE(writeBytes(stream, "d"), kVKStatusSuccess);
    QCOMPARE(contentOf(stream), QByteArray("abcd"));
    QCOMPARE(VKStreamClose(stream.get()), kVKStatusSuccess);
    QCOMPARE(Disk::contentOf(path()), QByteArray("abcd"));
}

void VKStreamFileTest::modeIsKept() {
    Disk::makeFile(path(), "old");
    QCOMPARE(::chmod(Disk::text(path()), 0640), 0);
    QCOMPARE(VKStreamClose(makeFileStream(path(), kWrite).get()), kVKStatusSuccess);
    QCOMPARE(Disk::modeOf(path()), 0640U);
}

void VKStreamFileTest::linkIsHonoured() {
    Disk::makeFile(path(), "old");
    Disk::makeLink(path("link"), "a.bin");
    QCOMPARE(contentOf(makeFileStream(path("link"), kRead)), QByteArray("old"));
    const OwnedStream stream = makeFileStream(path("link"), kWrite);
    QCOMPARE(writeBytes(stream, "new"), kVKStatusSuccess);
    QCOMPARE(VKStreamClose(stream.get()), kVKStatusSuccess);
    QCOMPARE(Disk::contentOf(path()), QByteArray("new"));
    struct stat record;
    QCOMPARE(::lstat(Disk::text(path("link")), &record), 0);
    QVERIFY(S_ISLNK(record.st_mode));
}

void VKStreamFileTest::afterClosing() {
    const OwnedStream stream = makeFileStream(path(), kWrite);
    QCOMPARE(writeBytes(stream, "abc"), kVKStatusSuccess);
    QCOMPARE(VKStreamClose(stream.get()), kVKStatusSuccess);
    std::uint64_t number = 7;
    std::uint32_t integer = 7;
    CFDataRef data = nullptr;
    QCOMPARE(writeBytes(stream, "d"), VKStatus{EBADF});
    QCOMPARE(VKStreamWriteUInt32(stream.get(), 1), VKStatus{EBADF});
    QCOMPARE(VKStreamReadUInt32(stream.get(), &integer), VKStatus{EBADF});
    QCOMPARE(VKStreamSetPosition(stream.get(), 0), VKStatus{EBADF});
    QCOMPARE(VKStreamGetPosition(stream.get(), &number), VKStatus{EBADF});
    QCOMPARE(VKStreamGetAvailable(stream.get(), &number), VKStatus{EBADF});
    QCOMPARE(VKStreamGetDataCopy(stream.get(), &data), VKStatus{EBADF});
    QCOMPARE(number, 7U);
    QCOMPARE(integer, 7U);
    // A second close stores nothing again.
    Disk::makeFile(path(), "of another program");
    QCOMPARE(VKStreamClose(stream.get()), kVKStatusSuccess);
    QCOMPARE(Disk::contentOf(path()), QByteArray("of another program"));
}

void VKStreamFileTest::closedReader() {
    Disk::makeFile(path(), "abc");
    const OwnedStream stream = makeFileStream(path(), kRead);
    QByteArray bytes(1, '?');
    QCOMPARE(readBytes(stream, bytes), kVKStatusSuccess);
    QCOMPARE(VKStreamClose(stream.get()), kVKStatusSuccess);
    QCOMPARE(readBytes(stream, bytes), VKStatus{EBADF});
    QCOMPARE(VKStreamClose(stream.get()), kVKStatusSuccess);
}

void VKStreamFileTest::whatDoesNotOpen_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<bool>("write");
    QTest::addColumn<VKStatus>("status");
    const auto row = [](const char* what, const char* name, int reading, int writing) {
        QTest::addRow("%s, read", what) << QByteArray(name) << kRead << static_cast<VKStatus>(reading);
        QTest::addRow("%s, written", what) << QByteArray(name) << kWrite << static_cast<VKStatus>(writing);
    };
    row("missing file", "none", ENOENT, 0);
    row("missing folder", "none/a", ENOENT, ENOENT);
    row("below a file", "file/a", ENOTDIR, ENOTDIR);
    row("folder", "folder", EISDIR, EISDIR);
    row("fifo", "fifo", EOPNOTSUPP, EOPNOTSUPP);
    row("socket", "socket", EOPNOTSUPP, EOPNOTSUPP);
    row("link to a folder", "folder-link", EISDIR, EISDIR);
    row("dangling link", "dangling", ENOENT, 0);
    row("link to itself", "loop", ELOOP, ELOOP);
    QTest::newRow("device, read") << QByteArray("/dev/null") << kRead << VKStatus{EOPNOTSUPP};
    QTest::newRow("device, written") << QByteArray("/dev/null") << kWrite << VKStatus{EOPNOTSUPP};
    QTest::addRow("name too long, read") << QByteArray(256, 'x') << kRead << VKStatus{ENAMETOOLONG};
    QTest::addRow("name too long, written") << QByteArray(256, 'x') << kWrite << VKStatus{ENAMETOOLONG};
}

void VKStreamFileTest::whatDoesNotOpen() {
    QFETCH(QByteArray, name);
    QFETCH(bool, write);
    QFETCH(VKStatus, status);
    Disk::makeFile(path("file"), "old");
    Disk::makeFolder(path("folder"));
    Disk::makeFifo(path("fifo"));
    Disk::makeSocket(path("socket"));
    Disk::makeLink(path("folder-link"), "folder");
    Disk::makeLink(path("dangling"), "nothing");
    Disk::makeLink(path("loop"), "loop");
    const QByteArrayList before = Disk::namesIn(mRoot);
    const auto url = makeUrl(name.startsWith('/') ? name : path(name.constData()));
    VKStream* stream = nullptr;
    QCOMPARE(VKStreamCreateFile(url.get(), write, &stream), status);
    const OwnedStream owner(stream);
    QCOMPARE(stream != nullptr, status == kVKStatusSuccess);
    if (status != kVKStatusSuccess) {
        QCOMPARE(Disk::namesIn(mRoot), before);
    }
}

void VKStreamFileTest::permissions() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user");
    Disk::openForOthers(mRoot + "/x");
    Disk::makeFile(path("secret"), "abc");
    QCOMPARE(::chmod(Disk::text(path("secret")), 0600), 0);
    Disk::makeFile(path("readable"), "abc");
    const QByteArray root = mRoot;
    const auto statusFor = [&root](const char* name, bool write) {
        return Disk::asOtherUser([&root, name, write] {
            return static_cast<int>(openStatus(makeUrl(root + '/' + name).get(), write));
        });
    };
    QCOMPARE(statusFor("secret", kRead), EACCES);
    QCOMPARE(statusFor("secret", kWrite), EACCES);
    QCOMPARE(statusFor("readable", kRead), 0);
    QCOMPARE(statusFor("readable", kWrite), EACCES);
    QCOMPARE(statusFor("new", kWrite), EACCES);
    QCOMPARE(::chmod(mRoot.constData(), 0777), 0);
    // A folder that lets files be replaced does not make a file writable.
    QCOMPARE(statusFor("readable", kWrite), EACCES);
    QCOMPARE(statusFor("new", kWrite), 0);
    QCOMPARE(Disk::contentOf(path("readable")), QByteArray("abc"));
}

void VKStreamFileTest::targetTakenByAFolder() {
    const OwnedStream stream = makeFileStream(path(), kWrite);
    QCOMPARE(writeBytes(stream, "abc"), kVKStatusSuccess);
    Disk::makeFolder(path());
    QCOMPARE(VKStreamClose(stream.get()), VKStatus{EISDIR});
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"a.bin"});
    QCOMPARE(writeBytes(stream, "d"), VKStatus{EBADF});
    QCOMPARE(VKStreamClose(stream.get()), kVKStatusSuccess);
}

void VKStreamFileTest::lastReleaseLogsItsFailure() {
    LogCapture log;
    OwnedStream stream = makeFileStream(path(), kWrite);
    QCOMPARE(writeBytes(stream, "abc"), kVKStatusSuccess);
    Disk::makeFolder(path());
    stream.reset();
    const QList<LogLine> lines = log.take();
    QCOMPARE(lines.size(), 1);
    QCOMPARE(lines[0].status, VKStatus{EISDIR});
    QCOMPARE(lines[0].source, QByteArray("VKQtCore/Source/VKCoreKit/VKStream"));
    QVERIFY(lines[0].line > 0);
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"a.bin"});
    // What the caller was told is not logged as well.
    Disk::makeFolder(path("b.bin"));
    OwnedStream told = makeFileStream(path("c.bin"), kWrite);
    Disk::makeFolder(path("c.bin"));
    QCOMPARE(VKStreamClose(told.get()), VKStatus{EISDIR});
    told.reset();
    QVERIFY(log.take().isEmpty());
}

void VKStreamFileTest::fullFileSystem() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    const Disk::TemporaryFileSystem memory(mRoot, "size=1m");
    VKTEST_NEEDS(memory.isMounted(), "a system that can mount tmpfs");
    LogCapture log;
    const QByteArray old(300000, 'o');
    Disk::makeFile(path(), old);
    const QByteArray block(50000, 'n');
    const auto fill = [&block](const OwnedStream& stream) {
        VKStatus status = kVKStatusSuccess;
        for (int i = 0; status == kVKStatusSuccess && i < 100; ++i) {
            status = writeBytes(stream, block);
        }
        return status;
    };
    {
        const OwnedStream stream = makeFileStream(path(), kWrite);
        QCOMPARE(fill(stream), VKStatus{ENOSPC});
        // It never becomes right again: what follows would leave a gap.
        const std::uint64_t position = positionOf(stream);
        QCOMPARE(writeBytes(stream, "x"), VKStatus{ENOSPC});
        QCOMPARE(positionOf(stream), position);
        QCOMPARE(VKStreamClose(stream.get()), VKStatus{ENOSPC});
        QVERIFY(Disk::contentOf(path()) == old);
        QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"a.bin"});
        QVERIFY(log.take().isEmpty());
    }
    {
        OwnedStream stream = makeFileStream(path(), kWrite);
        QCOMPARE(fill(stream), VKStatus{ENOSPC});
        stream.reset();
        QVERIFY(Disk::contentOf(path()) == old);
        QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"a.bin"});
        const QList<LogLine> lines = log.take();
        QCOMPARE(lines.size(), 1);
        QCOMPARE(lines[0].status, VKStatus{ENOSPC});
    }
    // The failure may show only when the last bytes are stored.
    {
        const OwnedStream stream = makeFileStream(path(), kWrite);
        Disk::makeFile(path("rest"));
        const int file = ::open(Disk::text(path("rest")), O_WRONLY | O_CLOEXEC);
        QVERIFY(::fallocate(file, 0, 0, 720 << 10) == 0);
        ::close(file);
        QCOMPARE(writeBytes(stream, block), kVKStatusSuccess);
        QCOMPARE(VKStreamClose(stream.get()), VKStatus{ENOSPC});
        QVERIFY(Disk::contentOf(path()) == old);
        QCOMPARE(Disk::namesIn(mRoot), (QByteArrayList{"a.bin", "rest"}));
    }
}

void VKStreamFileTest::sizeLimit() {
    Disk::makeFile(path(), "old");
    rlimit before = {};
    QCOMPARE(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto signalBefore = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit = {100000, before.rlim_max};
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    VKStatus written = kVKStatusSuccess;
    VKStatus closed = kVKStatusSuccess;
    {
        const OwnedStream stream = makeFileStream(path(), kWrite);
        written = writeBytes(stream, QByteArray(150000, 'n'));
        closed = VKStreamClose(stream.get());
    }
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, signalBefore);
    QCOMPARE(written, VKStatus{EFBIG});
    QCOMPARE(closed, VKStatus{EFBIG});
    QCOMPARE(Disk::contentOf(path()), QByteArray("old"));
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"a.bin"});
}

VKTEST_MAIN(VKStreamFileTest)
#include "VKStreamFileTest.moc"
