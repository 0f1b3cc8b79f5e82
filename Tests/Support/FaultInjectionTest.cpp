// The calls that fail on demand, on which the tests of what must never lose a file rest.
#include "Support/FaultInjection.h"

#include "Support/DiskSupport.h"
#include "Support/VKTest.h"

#include <memory>
#include <new>
#include <sys/ioctl.h>
#include <sys/sendfile.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <thread>

class FaultInjectionTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void eachCallFails_data();
    void eachCallFails();
    void onlyTheChosenOne();
    void aLoopMeetsEachCallOnce();
    void nothingFailsOutside();
    void otherThreadsToo();
    void aFailedCloseCloses();
    void shortWrites();
    void unsupportedCalls();
    void allocations();

private:
    QByteArray mRoot;
};

void FaultInjectionTest::initTestCase() { mRoot = makeFolder(QStringLiteral("faults")).toUtf8() + '/'; }

using Call = std::function<bool(const char*)>;
Q_DECLARE_METATYPE(Call)

void FaultInjectionTest::eachCallFails_data() {
    QTest::addColumn<unsigned>("group");
    QTest::addColumn<Call>("call");
    const auto row = [](const char* name, unsigned group, auto call) {
        // True: failed with the error that was asked for.
        QTest::newRow(name) << group << Call([call](const char* path) mutable {
            return call(path) == -1 && errno == EIO;
        });
    };
    // An invalid descriptor or a missing file would be another error, so nothing is changed here.
    row("write", Faults::kContent, [](const char*) { return ::write(-1, "", 1); });
    row("pwrite", Faults::kContent, [](const char*) { return ::pwrite(-1, "", 1, 0); });
    row("copy_file_range", Faults::kContent,
        [](const char*) { return ::copy_file_range(-1, nullptr, -1, nullptr, 1, 0); });
    row("sendfile", Faults::kContent, [](const char*) { return ::sendfile(-1, -1, nullptr, 1); });
    row("ftruncate", Faults::kContent, [](const char*) { return ::ftruncate(-1, 0); });
    row("fallocate", Faults::kContent, [](const char*) { return ::fallocate(-1, 0, 0, 1); });
    row("ioctl", Faults::kContent, [](const char*) { return ::ioctl(-1, 0, nullptr); });
    row("fsync", Faults::kFlushes, [](const char*) { return ::fsync(-1); });
    row("fdatasync", Faults::kFlushes, [](const char*) { return ::fdatasync(-1); });
    row("syncfs", Faults::kFlushes, [](const char*) { return ::syncfs(-1); });
    row("sync_file_range", Faults::kFlushes, [](const char*) { return ::sync_file_range(-1, 0, 0, 0); });
    row("link", Faults::kNames, [](const char* path) { return ::link(path, path); });
    row("linkat", Faults::kNames, [](const char* path) { return ::linkat(-1, path, -1, path, 0); });
    row("symlink", Faults::kNames, [](const char* path) { return ::symlink("", path); });
    row("symlinkat", Faults::kNames, [](const char* path) { return ::symlinkat("", -1, path); });
    row("rename", Faults::kNames, [](const char* path) { return ::rename(path, path); });
    row("renameat", Faults::kNames, [](const char* path) { return ::renameat(-1, path, -1, path); });
    row("renameat2", Faults::kNames, [](const char* path) { return ::renameat2(-1, path, -1, path, 1); });
    row("mkdir", Faults::kNames, [](const char*) { return ::mkdir("", 0); });
    row("mkdirat", Faults::kNames, [](const char*) { return ::mkdirat(-1, "", 0); });
    row("unlink", Faults::kRemovals, [](const char* path) { return ::unlink(path); });
    row("unlinkat", Faults::kRemovals, [](const char* path) { return ::unlinkat(-1, path, 0); });
    row("rmdir", Faults::kRemovals, [](const char* path) { return ::rmdir(path); });
    row("chmod", Faults::kAttributes, [](const char* path) { return ::chmod(path, 0); });
    row("fchmod", Faults::kAttributes, [](const char*) { return ::fchmod(-1, 0); });
    row("fchmodat", Faults::kAttributes, [](const char* path) { return ::fchmodat(-1, path, 0, 0); });
    row("fchown", Faults::kAttributes, [](const char*) { return ::fchown(-1, 0, 0); });
    row("fchownat", Faults::kAttributes, [](const char* path) { return ::fchownat(-1, path, 0, 0, 0); });
    row("lchown", Faults::kAttributes, [](const char* path) { return ::lchown(path, 0, 0); });
    row("futimens", Faults::kAttributes, [](const char*) { return ::futimens(-1, nullptr); });
    row("utimensat", Faults::kAttributes,
        [](const char* path) { return ::utimensat(AT_FDCWD, path, nullptr, 0); });
    row("fsetxattr", Faults::kAttributes, [](const char*) { return ::fsetxattr(-1, "user.a", "", 0, 0); });
    row("fremovexattr", Faults::kAttributes, [](const char*) { return ::fremovexattr(-1, "user.a"); });
    row("open", Faults::kOpens, [](const char* path) { return ::open(path, O_RDONLY | O_CLOEXEC); });
    row("openat", Faults::kOpens,
        [](const char* path) { return ::openat(AT_FDCWD, path, O_WRONLY | O_CREAT | O_CLOEXEC, 0600); });
    row("close", Faults::kCloses, [](const char*) { return ::close(-1); });
    char byte = 0;
    row("read", Faults::kReads, [byte](const char*) mutable { return ::read(-1, &byte, 1); });
    row("pread", Faults::kReads, [byte](const char*) mutable { return ::pread(-1, &byte, 1, 0); });
    row("readlink", Faults::kReads, [byte](const char* path) mutable { return ::readlink(path, &byte, 1); });
    row("readlinkat", Faults::kReads,
        [byte](const char* path) mutable { return ::readlinkat(-1, path, &byte, 1); });
    struct stat record = {};
    row("stat", Faults::kReads, [record](const char* path) mutable { return ::stat(path, &record); });
    row("lstat", Faults::kReads, [record](const char* path) mutable { return ::lstat(path, &record); });
    row("fstat", Faults::kReads, [record](const char*) mutable { return ::fstat(-1, &record); });
    row("fstatat", Faults::kReads,
        [record](const char* path) mutable { return ::fstatat(-1, path, &record, 0); });
    row("statx", Faults::kReads, [](const char* path) {
        struct statx details;
        return ::statx(-1, path, 0, 0, &details);
    });
    row("flistxattr", Faults::kReads, [](const char*) { return ::flistxattr(-1, nullptr, 0); });
    row("fgetxattr", Faults::kReads, [](const char*) { return ::fgetxattr(-1, "user.a", nullptr, 0); });
    row("lseek", Faults::kReads, [](const char*) { return ::lseek(-1, 0, SEEK_SET); });
    row("getdents64", Faults::kReads, [](const char*) { return ::syscall(SYS_getdents64, -1, nullptr, 0); });
}

void FaultInjectionTest::eachCallFails() {
    QFETCH(unsigned, group);
    QFETCH(Call, call);
    const QByteArray missing = mRoot + "missing";
    bool failed = false;
    {
        const Faults::Armed armed(group, 0, EIO);
        failed = call(missing.constData());
    }
    QVERIFY(failed);
    QCOMPARE(QByteArray(Faults::failedCall()), QByteArray(QTest::currentDataTag()));
    QCOMPARE(Faults::countedCalls(), 1);
    QVERIFY(!call(missing.constData()));
}

void FaultInjectionTest::onlyTheChosenOne() {
    const QByteArray path = mRoot + "chosen";
    int results[4] = {};
    {
        const Faults::Armed armed(Faults::kNames | Faults::kRemovals, 2, ENOSPC);
        results[0] = ::mkdir(path.constData(), 0700);
        results[1] = ::rmdir(path.constData());
        results[2] = ::mkdir(path.constData(), 0700);
        results[3] = ::mkdir(path.constData(), 0700);
    }
    QCOMPARE(results[0] | results[1] | results[3], 0);
    QCOMPARE(results[2], -1);
    QCOMPARE(Faults::countedCalls(), 4);
    QVERIFY(Disk::exists(path));
}

void FaultInjectionTest::aLoopMeetsEachCallOnce() {
    const QByteArray path = mRoot + "loop";
    QByteArrayList failed;
    Faults::Loop faults(Faults::kNames | Faults::kRemovals, EIO);
    while (faults.next()) {
        {
            const Faults::Armed armed = faults.arm();
            if (::mkdir(path.constData(), 0700) == 0) {
                while (::rmdir(path.constData()) != 0) {
                }
            }
        }
        if (faults.wasMet()) {
            failed.append(faults.failedCall());
        }
        QVERIFY(!Disk::exists(path));
    }
    QCOMPARE(failed, (QByteArrayList{"mkdir", "rmdir"}));
    QCOMPARE(faults.met(), 2);
}

void FaultInjectionTest::nothingFailsOutside() {
    { const Faults::Armed armed(Faults::kNames, 0, EIO); }
    QVERIFY(Faults::failedCall() == nullptr);
    Disk::makeFolder(mRoot + "outside");
    QCOMPARE(Faults::countedCalls(), 0);
    const Faults::Armed onlyCounts(Faults::kNames, -1, EIO);
    Disk::makeFolder(mRoot + "counted");
    QCOMPARE(Faults::countedCalls(), 1);
}

void FaultInjectionTest::otherThreadsToo() {
    const QByteArray path = mRoot + "thread";
    int result = 0;
    {
        const Faults::Armed armed(Faults::kNames, 0, EIO);
        std::thread([&] { result = ::mkdir(path.constData(), 0700); }).join();
    }
    QCOMPARE(result, -1);
}

void FaultInjectionTest::aFailedCloseCloses() {
    const int file = ::dup(0);
    int result = 0;
    {
        const Faults::Armed armed(Faults::kCloses, 0, EIO);
        result = ::close(file);
    }
    QCOMPARE(result, -1);
    QCOMPARE(::fcntl(file, F_GETFD), -1);
}

void FaultInjectionTest::shortWrites() {
    const QByteArray path = mRoot + "short";
    const int file = ::open(path.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    {
        const Faults::ShortWrites some(3);
        QCOMPARE(::write(file, "12345", 5), ssize_t(3));
        QCOMPARE(::pwrite(file, "1", 1, 3), ssize_t(1));
    }
    QCOMPARE(::pwrite(file, "12345", 5, 0), ssize_t(5));
    ::close(file);
}

void FaultInjectionTest::unsupportedCalls() {
    const QByteArray path = mRoot + "unsupported";
    {
        const Faults::Unsupported noFolders("mkdir", EPERM);
        const Faults::Unsupported noLinks("symlink", ENOSYS);
        QCOMPARE(::mkdir(path.constData(), 0700), -1);
        QCOMPARE(errno, EPERM);
        QCOMPARE(::symlink("a", path.constData()), -1);
        QCOMPARE(errno, ENOSYS);
    }
    QCOMPARE(::symlink("a", path.constData()), 0);
}

void FaultInjectionTest::allocations() {
    VKTEST_NEEDS_ALLOCATION_FAULTS();
    bool thrown = false;
    {
        const Faults::Armed armed(Faults::kAllocations, 0, ENOMEM);
        try {
            const QByteArray bytes(1000, 'x');
        } catch (const std::bad_alloc&) {
            thrown = true;
        }
    }
    QVERIFY(thrown);
    QCOMPARE(QByteArray(Faults::failedCall()), QByteArray("malloc"));
}

VKTEST_MAIN(FaultInjectionTest)
#include "FaultInjectionTest.moc"
