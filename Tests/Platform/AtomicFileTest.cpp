// Replacing a file's content: all of it or nothing, whichever system call fails. The calls that store are
// interposed here, so that each of them can be made to fail in its turn.
#include "Platform/AtomicFile.h"
#include "Platform/ReadableFile.h"

#include "Support/DiskSupport.h"
#include "Support/ItemRecord.h"
#include "Support/ShellCommand.h"
#include "Support/VKTest.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <sys/resource.h>
#include <sys/syscall.h>

using namespace VKPlatform;

namespace {

/// Which of the interposed calls from now on fails, and with what; negative: none.
int gFailAfter = -1;
int gFailWith = 0;
int gShortWrites = 0;
QByteArray gFailed;

bool failsNow(const char* call) {
    if (gFailAfter < 0 || gFailAfter-- != 0) {
        return false;
    }
    gFailed = call;
    errno = gFailWith;
    return true;
}

} // namespace

extern "C" {

ssize_t pwrite(int file, const void* bytes, size_t size, off_t offset) {
    if (failsNow("pwrite")) {
        return -1;
    }
    const size_t some = gShortWrites > 0 ? std::min<size_t>(size, static_cast<size_t>(gShortWrites)) : size;
    return ::syscall(SYS_pwrite64, file, bytes, some, offset);
}

int fdatasync(int file) {
    return failsNow("fdatasync") ? -1 : static_cast<int>(::syscall(SYS_fdatasync, file));
}

int fsync(int file) { return failsNow("fsync") ? -1 : static_cast<int>(::syscall(SYS_fsync, file)); }

int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept {
    return failsNow("renameat") ? -1
                                : static_cast<int>(::syscall(SYS_renameat, fromFolder, from, toFolder, to));
}

int fchmod(int file, mode_t mode) noexcept {
    return failsNow("fchmod") ? -1 : static_cast<int>(::syscall(SYS_fchmod, file, mode));
}

int close(int file) {
    const bool fails = failsNow("close");
    const int result = static_cast<int>(::syscall(SYS_close, file));
    if (fails) {
        errno = gFailWith;
    }
    return fails ? -1 : result;
}

} // extern "C"

class AtomicFileTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void newFile();
    void replacing();
    void abandoned();
    void emptyContent();
    void offsetsAndReadingBack();
    void modes_data();
    void modes();
    void ownerIsKept();
    void attributesAreKept();
    void links();
    void longChains();
    void refused_data();
    void refused();
    void wrongOrder();
    void longNames_data();
    void longNames();
    void temporaryNames_data();
    void temporaryNames();
    void folderRenamedMeanwhile();
    void twoAtOnce();
    void everyCallFailingInTurn_data();
    void everyCallFailingInTurn();
    void shortWritesAreContinued();
    void unknownFlushIsNoFailure();
    void targetBecomesAFolder();
    void fullFileSystem();
    void sizeLimit();
    void foldersOfAnotherUser();
    void reading();

private:
    [[nodiscard]] QByteArray path(const char* name = "config.json") const { return mRoot + '/' + name; }

    QByteArray mRoot;
};

namespace {

int writeAll(AtomicFile& file, const QByteArray& content) {
    return file.writeAt(0, content.constData(), static_cast<std::size_t>(content.size()));
}

int replaceWith(const QByteArray& path, const QByteArray& content) {
    AtomicFile file;
    int error = file.open(path);
    if (error == 0) {
        error = writeAll(file, content);
    }
    return error == 0 ? file.commit() : error;
}

} // namespace

void AtomicFileTest::initTestCase() { mRoot = makeFolder(QStringLiteral("atomic")).toUtf8(); }

// A folder of its own for each test.
void AtomicFileTest::cleanup() {
    gFailAfter = -1;
    gShortWrites = 0;
    Disk::removeTree(mRoot);
    initTestCase();
}

void AtomicFileTest::newFile() {
    const mode_t before = ::umask(0027);
    AtomicFile file;
    QVERIFY(!file.isOpen());
    QCOMPARE(file.open(path()), 0);
    QVERIFY(file.isOpen());
    QCOMPARE(writeAll(file, "new"), 0);
    QVERIFY(!Disk::exists(path()));
    QCOMPARE(file.commit(), 0);
    ::umask(before);
    QVERIFY(!file.isOpen());
    QCOMPARE(Disk::contentOf(path()), QByteArray("new"));
    QCOMPARE(Disk::modeOf(path()), 0640U);
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"config.json"});
}

void AtomicFileTest::replacing() {
    Disk::makeFile(path(), "the old content, which is longer");
    AtomicFile file;
    QCOMPARE(file.open(path()), 0);
    QCOMPARE(writeAll(file, "new"), 0);
    QCOMPARE(Disk::contentOf(path()), QByteArray("the old content, which is longer"));
    const QByteArrayList meanwhile = Disk::namesIn(mRoot);
    QCOMPARE(meanwhile.size(), 2);
    QVERIFY(meanwhile.constFirst().startsWith(".config.json."));
    QCOMPARE(meanwhile.constFirst().size(), qsizetype(sizeof(".config.json.XXXXXX")) - 1);
    QCOMPARE(file.commit(), 0);
    QCOMPARE(Disk::contentOf(path()), QByteArray("new"));
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"config.json"});
}

void AtomicFileTest::abandoned() {
    Disk::makeFile(path(), "old");
    {
        AtomicFile file;
        QCOMPARE(file.open(path()), 0);
        QCOMPARE(writeAll(file, "new"), 0);
    }
    AtomicFile file;
    QCOMPARE(file.open(path()), 0);
    file.abandon();
    QVERIFY(!file.isOpen());
    QCOMPARE(Disk::contentOf(path()), QByteArray("old"));
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"config.json"});
}

void AtomicFileTest::emptyContent() {
    Disk::makeFile(path(), "old");
    QCOMPARE(replaceWith(path(), QByteArray()), 0);
    QCOMPARE(Disk::contentOf(path()), QByteArray(""));
}

void AtomicFileTest::offsetsAndReadingBack() {
    AtomicFile file;
    QCOMPARE(file.open(path()), 0);
    QCOMPARE(file.writeAt(4, "efgh", 4), 0);
    QCOMPARE(file.writeAt(0, "ab", 2), 0);
    char buffer[16] = {};
    std::size_t count = 0;
    QCOMPARE(file.readAt(1, buffer, sizeof buffer, count), 0);
    QCOMPARE(QByteArray(buffer, qsizetype(count)), QByteArray("b\0\0efgh", 7));
    QCOMPARE(file.readAt(8, buffer, sizeof buffer, count), 0);
    QCOMPARE(count, std::size_t{0});
    QCOMPARE(file.commit(), 0);
    QCOMPARE(Disk::contentOf(path()), QByteArray("ab\0\0efgh", 8));
}

void AtomicFileTest::modes_data() {
    QTest::addColumn<uint>("mode");
    QTest::newRow("private") << 0600U;
    QTest::newRow("shared for writing") << 0666U;
    QTest::newRow("group") << 0640U;
    QTest::newRow("executable") << 0755U;
    QTest::newRow("set-user") << 04755U;
}

void AtomicFileTest::modes() {
    QFETCH(uint, mode);
    Disk::makeFile(path(), "old");
    QCOMPARE(::chmod(path().constData(), mode), 0);
    QCOMPARE(replaceWith(path(), "new"), 0);
    QCOMPARE(Disk::modeOf(path()), mode);
}

void AtomicFileTest::ownerIsKept() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to give files away");
    Disk::makeFile(path(), "old");
    QCOMPARE(::chown(path().constData(), 65534, 1234), 0);
    QCOMPARE(::chmod(path().constData(), 0640), 0);
    QCOMPARE(replaceWith(path(), "new"), 0);
    struct stat record;
    QCOMPARE(::stat(path().constData(), &record), 0);
    QCOMPARE(record.st_uid, 65534U);
    QCOMPARE(record.st_gid, 1234U);
    QCOMPARE(record.st_mode & 07777U, 0640U);
}

void AtomicFileTest::attributesAreKept() {
    Disk::makeFile(path(), "old");
    VKTEST_NEEDS(Disk::setAttribute(path(), "user.rating", "5"), "a file system with attributes");
    QCOMPARE(replaceWith(path(), "new"), 0);
    QVERIFY(Disk::attributesOf(path()).contains("user.rating"));
    VKTEST_NEEDS(Shell::outputOf("setfacl -m u:65534:r '" + path() + '\'').status == 0,
                 "setfacl and a file system with access lists");
    const QByteArray before = Disk::attributesOf(path());
    QVERIFY(before.contains("system.posix_acl_access"));
    QCOMPARE(replaceWith(path(), "newer"), 0);
    QCOMPARE(Disk::attributesOf(path()), before);
}

void AtomicFileTest::longChains() {
    Disk::makeFile(mRoot + "/0", "old");
    for (int i = 1; i <= 41; ++i) {
        Disk::makeLink(mRoot + '/' + QByteArray::number(i), QByteArray::number(i - 1));
    }
    QCOMPARE(replaceWith(mRoot + "/40", "forty"), 0);
    QCOMPARE(Disk::contentOf(mRoot + "/0"), QByteArray("forty"));
    QCOMPARE(replaceWith(mRoot + "/41", "x"), ELOOP);
}

void AtomicFileTest::links() {
    Disk::makeFolder(mRoot + "/real");
    Disk::makeFolder(mRoot + "/links");
    Disk::makeFile(mRoot + "/real/a", "old");
    Disk::makeLink(mRoot + "/links/relative", "../real/a");
    Disk::makeLink(mRoot + "/links/absolute", mRoot + "/real/a");
    Disk::makeLink(mRoot + "/links/chain", "relative");
    Disk::makeLink(mRoot + "/links/toNew", "../real/new");
    Disk::makeLink(mRoot + "/links/loop", "loop");
    Disk::makeLink(mRoot + "/links/toFolder", "../real");
    Disk::makeLink(mRoot + "/links/nowhere", "../none/a");
    for (const char* name : {"relative", "absolute", "chain"}) {
        QCOMPARE(replaceWith(mRoot + "/links/" + name, name), 0);
        QCOMPARE(Disk::contentOf(mRoot + "/real/a"), QByteArray(name));
    }
    QCOMPARE(replaceWith(mRoot + "/links/toNew", "new"), 0);
    QCOMPARE(Disk::contentOf(mRoot + "/real/new"), QByteArray("new"));
    QCOMPARE(replaceWith(mRoot + "/links/loop", "x"), ELOOP);
    QCOMPARE(replaceWith(mRoot + "/links/toFolder", "x"), EISDIR);
    QCOMPARE(replaceWith(mRoot + "/links/nowhere", "x"), ENOENT);
    QCOMPARE(Disk::namesIn(mRoot + "/links").size(), 7);
    QCOMPARE(Disk::namesIn(mRoot + "/real"), (QByteArrayList{"a", "new"}));
    char target[32] = {};
    QCOMPARE(::readlink(Disk::text(mRoot + "/links/chain"), target, sizeof target), ssize_t(8));
}

void AtomicFileTest::refused_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("error");
    QTest::newRow("nothing") << QByteArray() << ENOENT;
    QTest::newRow("folder") << QByteArray("/folder") << EISDIR;
    QTest::newRow("folder with a slash") << QByteArray("/folder/") << EISDIR;
    QTest::newRow("new name with a slash") << QByteArray("/new/") << EISDIR;
    QTest::newRow("the folder itself") << QByteArray("/folder/.") << EISDIR;
    QTest::newRow("fifo") << QByteArray("/fifo") << EOPNOTSUPP;
    QTest::newRow("missing folder") << QByteArray("/none/a") << ENOENT;
    QTest::newRow("below a file") << QByteArray("/file/a") << ENOTDIR;
    QTest::newRow("name too long") << '/' + QByteArray(256, 'n') << ENAMETOOLONG;
}

void AtomicFileTest::refused() {
    QFETCH(QByteArray, name);
    QFETCH(int, error);
    Disk::makeFolder(mRoot + "/folder");
    Disk::makeFile(mRoot + "/file", "old");
    Disk::makeFifo(mRoot + "/fifo");
    AtomicFile file;
    QCOMPARE(file.open(name.isEmpty() ? name : mRoot + name), error);
    QVERIFY(!file.isOpen());
    QCOMPARE(file.commit(), EBADF);
    QCOMPARE(Disk::namesIn(mRoot), (QByteArrayList{"fifo", "file", "folder"}));
    QCOMPARE(Disk::namesIn(mRoot + "/folder"), QByteArrayList());
    QCOMPARE(Disk::contentOf(mRoot + "/file"), QByteArray("old"));
    // It can be used again.
    QCOMPARE(file.open(mRoot + "/file"), 0);
}

void AtomicFileTest::wrongOrder() {
    AtomicFile file;
    QCOMPARE(file.commit(), EBADF);
    QCOMPARE(file.writeAt(0, "a", 1), EBADF);
    file.abandon();
    QCOMPARE(file.open(path()), 0);
    QCOMPARE(file.open(path("other")), EBUSY);
    QCOMPARE(file.commit(), 0);
    QCOMPARE(file.commit(), EBADF);
    QCOMPARE(file.open(path("other")), 0);
    QCOMPARE(file.commit(), 0);
    QCOMPARE(Disk::namesIn(mRoot), (QByteArrayList{"config.json", "other"}));
}

void AtomicFileTest::longNames_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("one byte") << QByteArray("a");
    QTest::newRow("longest whose temporary name is whole") << QByteArray(247, 'a');
    QTest::newRow("one more") << QByteArray(248, 'a');
    QTest::newRow("longest") << QByteArray(255, 'a');
    QTest::newRow("longest of two-byte characters") << QByteArray("\xC3\xA9").repeated(127) + 'a';
    QTest::newRow("longest, not UTF-8") << QByteArray(255, '\xE9');
    QTest::newRow("longest of continuation bytes") << QByteArray(255, '\x80');
}

void AtomicFileTest::longNames() {
    QFETCH(QByteArray, name);
    QCOMPARE(replaceWith(mRoot + '/' + name, "1"), 0);
    QCOMPARE(replaceWith(mRoot + '/' + name, "2"), 0);
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{name});
    QCOMPARE(Disk::contentOf(mRoot + '/' + name), QByteArray("2"));
}

void AtomicFileTest::temporaryNames_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<qsizetype>("limit");
    QTest::addColumn<QByteArray>("temporary");
    QTest::newRow("short") << QByteArray("a.jpg") << qsizetype(255) << QByteArray(".a.jpg.123456");
    QTest::newRow("fits exactly") << QByteArray("abcd") << qsizetype(12) << QByteArray(".abcd.123456");
    QTest::newRow("one too long") << QByteArray("abcde") << qsizetype(12) << QByteArray(".abcd.123456");
    QTest::newRow("not inside a character")
        << QByteArray("abc\xC3\xA9") << qsizetype(12) << QByteArray(".abc.123456");
    QTest::newRow("before a character")
        << QByteArray("abcd\xC3\xA9") << qsizetype(12) << QByteArray(".abcd.123456");
    QTest::newRow("only continuation bytes")
        << QByteArray("\x80\x80\x80\x80\x80") << qsizetype(12) << QByteArray("..123456");
    QTest::newRow("no room") << QByteArray("abc") << qsizetype(3) << QByteArray("..123456");
}

void AtomicFileTest::temporaryNames() {
    QFETCH(QByteArray, name);
    QFETCH(qsizetype, limit);
    QFETCH(QByteArray, temporary);
    QCOMPARE(temporaryFileName(name, "123456", limit), temporary);
}

void AtomicFileTest::folderRenamedMeanwhile() {
    Disk::makeFolder(mRoot + "/before");
    AtomicFile file;
    QCOMPARE(file.open(mRoot + "/before/a"), 0);
    QCOMPARE(::rename(Disk::text(mRoot + "/before"), Disk::text(mRoot + "/after")), 0);
    QCOMPARE(writeAll(file, "new"), 0);
    QCOMPARE(file.commit(), 0);
    QCOMPARE(Disk::contentOf(mRoot + "/after/a"), QByteArray("new"));
}

void AtomicFileTest::twoAtOnce() {
    AtomicFile first;
    AtomicFile second;
    QCOMPARE(first.open(path()), 0);
    QCOMPARE(second.open(path()), 0);
    QCOMPARE(writeAll(first, "first"), 0);
    QCOMPARE(writeAll(second, "second"), 0);
    QCOMPARE(second.commit(), 0);
    QCOMPARE(Disk::contentOf(path()), QByteArray("second"));
    QCOMPARE(first.commit(), 0);
    QCOMPARE(Disk::contentOf(path()), QByteArray("first"));
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"config.json"});
}

void AtomicFileTest::everyCallFailingInTurn_data() {
    QTest::addColumn<int>("error");
    QTest::newRow("input/output error") << EIO;
    QTest::newRow("no space") << ENOSPC;
    QTest::newRow("quota") << EDQUOT;
}

void AtomicFileTest::everyCallFailingInTurn() {
    QFETCH(int, error);
    Disk::makeFile(path(), "old");
    QByteArrayList failed;
    for (int n = 0;; ++n) {
        QVERIFY(n < 100);
        gFailed.clear();
        gFailWith = error;
        gShortWrites = 2;
        gFailAfter = n;
        const int result = replaceWith(path(), "new content");
        const bool allPassed = gFailAfter >= 0;
        gFailAfter = -1;
        QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"config.json"});
        if (allPassed) {
            QCOMPARE(result, 0);
            QCOMPARE(Disk::contentOf(path()), QByteArray("new content"));
            break;
        }
        if (gFailed == "fsync" || (gFailed == "close" && result == 0)) {
            // The folder's flush comes when the content is in place already; closing a folder stores nothing.
            QCOMPARE(result, gFailed == "fsync" ? error : 0);
            QCOMPARE(Disk::contentOf(path()), QByteArray("new content"));
            Disk::makeFile(path(), "old");
        } else {
            QCOMPARE(result, error);
            QCOMPARE(Disk::contentOf(path()), QByteArray("old"));
        }
        failed.append(gFailed);
    }
    for (const char* call : {"pwrite", "fdatasync", "close", "renameat", "fsync", "fchmod"}) {
        QVERIFY2(failed.contains(call), call);
    }
    QCOMPARE(failed.count("pwrite"), 6);
}

void AtomicFileTest::shortWritesAreContinued() {
    gShortWrites = 1;
    QCOMPARE(replaceWith(path(), "many small pieces"), 0);
    QCOMPARE(Disk::contentOf(path()), QByteArray("many small pieces"));
}

void AtomicFileTest::unknownFlushIsNoFailure() {
    for (const int error : {EINVAL, ENOSYS, EROFS}) {
        for (const QByteArray call : {"fdatasync", "fsync"}) {
            for (int n = 0;; ++n) {
                gFailed.clear();
                gFailWith = error;
                gFailAfter = n;
                const int result = replaceWith(path(), "content");
                gFailAfter = -1;
                if (gFailed == call) {
                    QCOMPARE(result, 0);
                    break;
                }
                QVERIFY(!gFailed.isEmpty());
            }
        }
    }
}

void AtomicFileTest::targetBecomesAFolder() {
    AtomicFile file;
    QCOMPARE(file.open(path()), 0);
    QCOMPARE(writeAll(file, "new"), 0);
    Disk::makeFolder(path());
    QCOMPARE(file.commit(), EISDIR);
    QVERIFY(!file.isOpen());
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"config.json"});
}

void AtomicFileTest::fullFileSystem() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    const Disk::TemporaryFileSystem memory(mRoot, "size=1m");
    VKTEST_NEEDS(memory.isMounted(), "a system that can mount tmpfs");
    Disk::makeFile(path(), "old");
    AtomicFile file;
    QCOMPARE(file.open(path()), 0);
    const QByteArray content(3 << 20, 'x');
    QCOMPARE(writeAll(file, content), ENOSPC);
    file.abandon();
    QCOMPARE(Disk::contentOf(path()), QByteArray("old"));
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"config.json"});
    QCOMPARE(replaceWith(path(), QByteArray(512 << 10, 'y')), 0);
    QCOMPARE(Disk::contentOf(path()).size(), 512 << 10);
}

void AtomicFileTest::sizeLimit() {
    Disk::makeFile(path(), "old");
    const QByteArray target = path();
    // In a child process: a limit of the whole process, and a signal that it ignores.
    const pid_t child = ::fork();
    QVERIFY(child >= 0);
    if (child == 0) {
        const rlimit limit = {1000, 1000};
        std::signal(SIGXFSZ, SIG_IGN);
        ::_exit(::setrlimit(RLIMIT_FSIZE, &limit) == 0 ? replaceWith(target, QByteArray(1001, 'x')) : 255);
    }
    int status = 0;
    QCOMPARE(::waitpid(child, &status, 0), child);
    QVERIFY(WIFEXITED(status));
    QCOMPARE(WEXITSTATUS(status), EFBIG);
    QCOMPARE(Disk::contentOf(path()), QByteArray("old"));
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"config.json"});
}

void AtomicFileTest::foldersOfAnotherUser() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user");
    Disk::openForOthers(mRoot);
    Disk::makeFile(path("readOnly"), "old");
    QCOMPARE(::chmod(path("readOnly").constData(), 0444), 0);
    Disk::makeFolder(mRoot + "/closed");
    Disk::makeFile(mRoot + "/closed/a", "old");
    QCOMPARE(::chmod(Disk::text(mRoot + "/closed/a"), 0666), 0);
    Disk::makeFolder(mRoot + "/blind");
    QCOMPARE(::chmod(Disk::text(mRoot + "/blind"), 0733), 0);
    QCOMPARE(::chmod(mRoot.constData(), 0777), 0);
    const QByteArray root = mRoot;
    // The folder would let the file be replaced; the file itself says no.
    QCOMPARE(Disk::asOtherUser([&] { return replaceWith(root + "/readOnly", "new"); }), EACCES);
    QCOMPARE(Disk::contentOf(path("readOnly")), QByteArray("old"));
    QCOMPARE(Disk::asOtherUser([&] { return replaceWith(root + "/closed/a", "new"); }), EACCES);
    QCOMPARE(Disk::contentOf(mRoot + "/closed/a"), QByteArray("old"));
    // A folder that may be written but not read.
    QCOMPARE(Disk::asOtherUser([&] { return replaceWith(root + "/blind/a", "new"); }), 0);
    QCOMPARE(Disk::contentOf(mRoot + "/blind/a"), QByteArray("new"));
    QCOMPARE(Disk::namesIn(mRoot + "/blind"), QByteArrayList{"a"});
    QCOMPARE(Disk::namesIn(mRoot + "/closed"), QByteArrayList{"a"});
}

void AtomicFileTest::reading() {
    Disk::makeFile(path(), "0123456789");
    Disk::makeFolder(mRoot + "/folder");
    Disk::makeLink(mRoot + "/link", "config.json");
    Disk::makeFifo(mRoot + "/fifo");
    ReadableFile file;
    QVERIFY(!file.isOpen());
    QCOMPARE(file.open(mRoot + "/folder"), EISDIR);
    QCOMPARE(file.open(mRoot + "/fifo"), EOPNOTSUPP);
    QCOMPARE(file.open("/dev/null"), EOPNOTSUPP);
    QCOMPARE(file.open(mRoot + "/none"), ENOENT);
    QVERIFY(!file.isOpen());
    QCOMPARE(file.open(mRoot + "/link"), 0);
    QCOMPARE(file.size(), 10);
    char buffer[8] = {};
    std::size_t count = 0;
    QCOMPARE(file.readAt(6, buffer, sizeof buffer, count), 0);
    QCOMPARE(QByteArray(buffer, qsizetype(count)), QByteArray("6789"));
    QCOMPARE(file.readAt(100, buffer, sizeof buffer, count), 0);
    QCOMPARE(count, std::size_t{0});
    QCOMPARE(file.readAt(-1, buffer, sizeof buffer, count), EINVAL);
    file.close();
    QVERIFY(!file.isOpen());
    QCOMPARE(file.readAt(0, buffer, sizeof buffer, count), EBADF);
}

VKTEST_MAIN(AtomicFileTest)
#include "AtomicFileTest.moc"
