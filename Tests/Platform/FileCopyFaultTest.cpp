// The copy of one file when something fails: every call in its turn, ways that a file system does not know, a full
// disk, a watcher that ends it, a killed process. Afterwards the source is whole, and the copy too or not there.
#include "Platform/FileCopy.h"

#include "Platform/CopyTestSupport.h"
#include "Support/FaultInjection.h"
#include "Support/ShellCommand.h"

#include <csignal>
#include <fcntl.h>
#include <optional>
#include <sys/wait.h>
#include <unistd.h>

using namespace VKPlatform;
using namespace CopyTest;

namespace {

const CopyRules kFlushed = {CopyFlush::ToDisk, CopyOwner::Keep};

/// Ways of copying that are closed, so that the next one is taken.
enum Closed : unsigned { kNothing = 0, kCloning = 1, kInKernel = 2, kSending = 4 };

class ClosedWays {
public:
    explicit ClosedWays(unsigned ways, int error = EOPNOTSUPP) {
        if ((ways & kCloning) != 0) {
            mCloning.emplace("ioctl", error);
        }
        if ((ways & kInKernel) != 0) {
            mInKernel.emplace("copy_file_range", error);
        }
        if ((ways & kSending) != 0) {
            mSending.emplace("sendfile", error);
        }
    }

private:
    std::optional<Faults::Unsupported> mCloning;
    std::optional<Faults::Unsupported> mInKernel;
    std::optional<Faults::Unsupported> mSending;
};

} // namespace

class FileCopyFaultTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void cleanup();

    void fallingBack_data();
    void fallingBack();
    void namelessFilesUnknown_data();
    void namelessFilesUnknown();
    void shortTransfers_data();
    void shortTransfers();
    void kernelCopiesNothing_data();
    void kernelCopiesNothing();
    void endedByTheWatcher_data();
    void endedByTheWatcher();
    void everyCallFailing_data();
    void everyCallFailing();
    void everyCallFailingForALink();
    void everyAllocationFailing();
    void whatCannotBeKeptIsNoFailure_data();
    void whatCannotBeKeptIsNoFailure();
    void attributesTooLong();
    void attributesRemovedMeanwhile();
    void flushes();
    void sourceThatChanges_data();
    void sourceThatChanges();
    void sourceThatShrinks();
    void fullFileSystem_data();
    void fullFileSystem();
    void targetThatAppearsMeanwhile_data();
    void targetThatAppearsMeanwhile();
    void killed_data();
    void killed();

private:
    [[nodiscard]] QByteArray at(const char* name) const { return mRoot + '/' + name; }

    QByteArray mRoot;
    FileSystems mSystems;
};

void FileCopyFaultTest::initTestCase() {
    mRoot = makeFolder(QStringLiteral("faults")).toUtf8();
    mSystems.mount(makeFolder(QStringLiteral("systems")).toUtf8());
}

void FileCopyFaultTest::cleanupTestCase() { mSystems.unmount(); }

void FileCopyFaultTest::cleanup() {
    mSystems.clear();
    Disk::removeTree(mRoot);
    Disk::makeFolder(mRoot);
}

void FileCopyFaultTest::fallingBack_data() {
    QTest::addColumn<unsigned>("closed");
    QTest::addColumn<int>("error");
    struct Row {
        const char* name;
        unsigned closed;
    };
    for (const Row& row : {Row{"in the kernel", kCloning}, Row{"sending", kCloning | kInKernel},
                           Row{"by hand", kCloning | kInKernel | kSending}}) {
        for (const int error : {EOPNOTSUPP, EXDEV, EINVAL, ENOSYS, ENOTTY, EPERM, ETXTBSY}) {
            QTest::addRow("%s, error %d", row.name, error) << row.closed << error;
        }
    }
}

void FileCopyFaultTest::fallingBack() {
    QFETCH(unsigned, closed);
    QFETCH(int, error);
    makePhoto(at("a"), 3'000'000);
    makeSparse(at("sparse"), 3'000'000, {0, 1'000'000});
    {
        const ClosedWays ways(closed, error);
        QCOMPARE(copyFile(at("a"), at("b"), {}, nullptr), 0);
        QCOMPARE(copyFile(at("sparse"), at("sparse b"), {}, nullptr), 0);
    }
    QCOMPARE(Disk::recordOf(at("b"), Disk::kAllParts), Disk::recordOf(at("a"), Disk::kAllParts));
    QCOMPARE(Disk::recordOf(at("sparse b"), Disk::kAllParts), Disk::recordOf(at("sparse"), Disk::kAllParts));
    QVERIFY(allocatedBytes(at("sparse b")) < 1'000'000);
}

void FileCopyFaultTest::namelessFilesUnknown_data() {
    QTest::addColumn<int>("error");
    QTest::addColumn<bool>("isHealed");
    QTest::newRow("the file system") << EOPNOTSUPP << true;
    QTest::newRow("a kernel that sees a folder opened for writing") << EISDIR << true;
    QTest::newRow("a file system that does not know the flag") << EINVAL << true;
    QTest::newRow("a kernel without the call") << ENOSYS << true;
    QTest::newRow("not allowed") << EACCES << false;
}

void FileCopyFaultTest::namelessFilesUnknown() {
    QFETCH(int, error);
    makePhoto(at("a"), 100'000);
    int healed = 0;
    for (Faults::Loop loop(Faults::kOpens, error); loop.next();) {
        int result = 0;
        {
            const Faults::Armed armed = loop.arm();
            result = copyFile(at("a"), at("b"), {}, nullptr);
        }
        healed += loop.wasMet() && result == 0 ? 1 : 0;
        if (result == 0) {
            QCOMPARE(Disk::recordOf(at("b"), Disk::kAllParts), Disk::recordOf(at("a"), Disk::kAllParts));
            QCOMPARE(::unlink(at("b").constData()), 0);
        }
    }
    QTEST(healed == 1, "isHealed");
}

void FileCopyFaultTest::shortTransfers_data() {
    QTest::addColumn<unsigned>("closed");
    QTest::newRow("in the kernel") << unsigned(kCloning);
    QTest::newRow("sending") << unsigned(kCloning | kInKernel);
    QTest::newRow("by hand") << unsigned(kCloning | kInKernel | kSending);
}

void FileCopyFaultTest::shortTransfers() {
    QFETCH(unsigned, closed);
    makePhoto(at("a"), 100'000);
    {
        const ClosedWays ways(closed);
        const Faults::ShortWrites some(777);
        QCOMPARE(copyFile(at("a"), at("b"), {}, nullptr), 0);
    }
    QCOMPARE(Disk::recordOf(at("b"), Disk::kAllParts), Disk::recordOf(at("a"), Disk::kAllParts));
}

void FileCopyFaultTest::kernelCopiesNothing_data() {
    QTest::addColumn<unsigned>("closed");
    QTest::newRow("in the kernel") << unsigned(kCloning);
    QTest::newRow("sending") << unsigned(kCloning | kInKernel);
}

/// Taken at its word, the kernel would leave an empty copy that looks whole.
void FileCopyFaultTest::kernelCopiesNothing() {
    QFETCH(unsigned, closed);
    makePhoto(at("a"), 3'000'000);
    {
        const ClosedWays ways(closed);
        const Faults::KernelCopiesNothing silent;
        QCOMPARE(copyFile(at("a"), at("b"), {}, nullptr), 0);
    }
    QCOMPARE(Disk::recordOf(at("b"), Disk::kAllParts), Disk::recordOf(at("a"), Disk::kAllParts));
}

void FileCopyFaultTest::endedByTheWatcher_data() {
    QTest::addColumn<QByteArray>("system");
    QTest::addColumn<unsigned>("closed");
    QTest::addColumn<int>("call");
    struct Row {
        const char* name;
        const char* system;
        unsigned closed;
    };
    for (const Row& row : {Row{"cloning", "xfs", kNothing}, Row{"in the kernel", "ext4", kNothing},
                           Row{"sending", "ext4", kInKernel}, Row{"by hand", "ext4", kInKernel | kSending},
                           Row{"under a temporary name", "exfat", kNothing}}) {
        QTest::addRow("%s, before", row.name) << QByteArray(row.system) << row.closed << 0;
        QTest::addRow("%s, at the first bytes", row.name) << QByteArray(row.system) << row.closed << 1;
        if (row.closed != kNothing || QByteArray(row.system) != "xfs") {
            QTest::addRow("%s, in the middle", row.name) << QByteArray(row.system) << row.closed << 2;
        }
    }
}

void FileCopyFaultTest::endedByTheWatcher() {
    QFETCH(QByteArray, system);
    QFETCH(unsigned, closed);
    QFETCH(int, call);
    VKTEST_NEEDS(mSystems.has(system), "root, loop devices and the file system's tools");
    const QByteArray folder = mSystems.newFolder(system);
    makePhoto(folder + "/a", 8'000'000);
    const qsizetype descriptors = Disk::openDescriptors();
    CountingWatcher watcher;
    watcher.endAt = call;
    watcher.error = ECANCELED;
    {
        const ClosedWays ways(closed);
        QCOMPARE(copyFile(folder + "/a", folder + "/b", {}, &watcher), ECANCELED);
    }
    QCOMPARE(watcher.calls, call + 1); // it is not asked again
    QCOMPARE(Disk::namesIn(folder), QByteArrayList{"a"});
    QCOMPARE(Disk::openDescriptors(), descriptors);
}

void FileCopyFaultTest::everyCallFailing_data() {
    QTest::addColumn<QByteArray>("system");
    QTest::addColumn<bool>("flushed");
    QTest::addColumn<int>("error");
    for (const char* system : {"xfs", "ext4", "exfat", "tmpfs"}) {
        for (const int error : {EIO, ENOSPC}) {
            QTest::addRow("%s, error %d", system, error) << QByteArray(system) << false << error;
            QTest::addRow("%s, flushed, error %d", system, error) << QByteArray(system) << true << error;
        }
    }
}

void FileCopyFaultTest::everyCallFailing() {
    QFETCH(QByteArray, system);
    QFETCH(bool, flushed);
    QFETCH(int, error);
    VKTEST_NEEDS(mSystems.has(system), "root, loop devices and the file system's tools");
    const QByteArray folder = mSystems.newFolder(system);
    makePhoto(folder + "/a", 100'000);
    const QByteArray before = Disk::recordOf(folder + "/a", Disk::kAllParts);
    const unsigned parts = FileSystems::partsKeptBy(system);
    const qsizetype descriptors = Disk::openDescriptors();
    QByteArrayList failed;
    Faults::Loop faults(Faults::kChanges | Faults::kOpens | Faults::kReads | Faults::kCloses, error);
    while (faults.next()) {
        int result = 0;
        {
            const Faults::Armed armed = faults.arm();
            result = copyFile(folder + "/a", folder + "/b", flushed ? kFlushed : CopyRules(), nullptr);
        }
        const QByteArray call = faults.wasMet() ? faults.failedCall() : QByteArray("none");
        failed.append(call);
        QCOMPARE(Disk::recordOf(folder + "/a", Disk::kAllParts), before);
        if (result == 0) {
            QVERIFY2(Disk::recordOf(folder + "/b", parts) == Disk::recordOf(folder + "/a", parts), call);
            QCOMPARE(::unlink(Disk::text(folder + "/b")), 0);
        }
        QVERIFY2(result == 0 || result == error, call);
        QCOMPARE(Disk::namesIn(folder), QByteArrayList{"a"});
        QCOMPARE(Disk::openDescriptors(), descriptors);
    }
    // The calls that store were among them.
    QVERIFY(failed.contains(system == "xfs" ? "ioctl" : "copy_file_range"));
    QVERIFY(failed.contains(system == "exfat" ? "renameat2" : "linkat"));
    QVERIFY(failed.contains("futimens") && failed.contains("fchmod") && failed.contains("openat"));
    QCOMPARE(failed.contains("fsync"), flushed);
}

void FileCopyFaultTest::everyCallFailingForALink() {
    Disk::makeLink(at("a"), "where");
    Faults::Loop faults(Faults::kChanges | Faults::kOpens | Faults::kReads | Faults::kCloses, EIO);
    while (faults.next()) {
        int result = 0;
        {
            const Faults::Armed armed = faults.arm();
            result = copyFile(at("a"), at("b"), kFlushed, nullptr);
        }
        QVERIFY(result == 0 || result == EIO);
        QCOMPARE(Disk::namesIn(mRoot), result == 0 ? (QByteArrayList{"a", "b"}) : QByteArrayList{"a"});
        if (result == 0) {
            QCOMPARE(Disk::linkTarget(at("b")), QByteArray("where"));
            QCOMPARE(::unlink(at("b").constData()), 0);
        }
    }
    QVERIFY(faults.met() > 5);
}

void FileCopyFaultTest::everyAllocationFailing() {
    VKTEST_NEEDS_ALLOCATION_FAULTS();
    makePhoto(at("a"), 100'000);
    const QByteArray from = at("a");
    const QByteArray to = at("b");
    const qsizetype descriptors = Disk::openDescriptors();
    Faults::Loop faults(Faults::kAllocations, ENOMEM);
    while (faults.next()) {
        int result = 0;
        {
            const ClosedWays ways(kCloning | kInKernel | kSending); // by hand, with a buffer
            const Faults::Armed armed = faults.arm();
            try {
                result = copyFile(from, to, {}, nullptr);
            } catch (const std::bad_alloc&) {
                result = ENOMEM;
            }
        }
        QCOMPARE(result, faults.wasMet() ? ENOMEM : 0);
        QCOMPARE(Disk::exists(to), result == 0);
        QCOMPARE(Disk::openDescriptors(), descriptors);
    }
    QVERIFY(faults.met() > 0);
    QCOMPARE(Disk::recordOf(to, Disk::kAllParts), Disk::recordOf(from, Disk::kAllParts));
}

void FileCopyFaultTest::whatCannotBeKeptIsNoFailure_data() {
    QTest::addColumn<QByteArray>("call");
    QTest::addColumn<int>("error");
    for (const char* call : {"fsetxattr", "fchmod", "futimens", "flistxattr", "fchown"}) {
        for (const int error : {EOPNOTSUPP, EPERM, ENOSYS}) {
            QTest::addRow("%s, error %d", call, error) << QByteArray(call) << error;
        }
    }
}

void FileCopyFaultTest::whatCannotBeKeptIsNoFailure() {
    QFETCH(QByteArray, call);
    QFETCH(int, error);
    makePhoto(at("a"), 1000);
    {
        const Faults::Unsupported unsupported(call, error);
        QCOMPARE(copyFile(at("a"), at("b"), {CopyFlush::Leave, CopyOwner::Keep}, nullptr), 0);
    }
    QCOMPARE(Disk::contentOf(at("b")), Disk::contentOf(at("a")));
}

// A user's attribute may be lost, an access list may not: without it the copy would be open to others than the source.
void FileCopyFaultTest::attributesTooLong() {
    makePhoto(at("a"), 1000);
    {
        const Faults::Unsupported unsupported("fsetxattr", E2BIG);
        QCOMPARE(copyFile(at("a"), at("b"), {}, nullptr), 0);
    }
    VKTEST_NEEDS(Shell::outputOf("setfacl -m u:65534:rwx '" + at("a") + '\'').status == 0,
                 "setfacl and a file system with access lists");
    const Faults::Unsupported unsupported("fsetxattr", E2BIG);
    QCOMPARE(copyFile(at("a"), at("c"), {}, nullptr), E2BIG);
    QVERIFY(!Disk::exists(at("c")));
}

void FileCopyFaultTest::attributesRemovedMeanwhile() {
    makePhoto(at("a"), 1000);
    bool wasAsked = false;
    for (Faults::Loop loop(Faults::kReads, ENODATA); loop.next();) {
        const QByteArray to = at("to") + QByteArray::number(loop.met());
        int result = 0;
        {
            const Faults::Armed armed = loop.arm();
            result = copyFile(at("a"), to, {}, nullptr);
        }
        if (loop.failedCall() == "fgetxattr") {
            wasAsked = true;
            QCOMPARE(result, 0);
            QVERIFY(!Disk::attributesOf(to).contains("user.rating"));
        }
    }
    QVERIFY(wasAsked);
}

void FileCopyFaultTest::flushes() {
    makePhoto(at("a"), 1000);
    {
        const Faults::Armed counting(Faults::kFlushes, -1, 0);
        QCOMPARE(copyFile(at("a"), at("b"), {}, nullptr), 0);
    }
    QCOMPARE(Faults::countedCalls(), 0);
    {
        const Faults::Armed counting(Faults::kFlushes, -1, 0);
        QCOMPARE(copyFile(at("a"), at("c"), kFlushed, nullptr), 0);
    }
    QCOMPARE(Faults::countedCalls(), 2); // the file, then its name in the folder
    // A large one goes to the disk bit by bit, and a failure of that is never passed over.
    Disk::makeFile(at("large"), contentOfSize(qint64(12) << 20));
    const ClosedWays ways(kCloning);
    {
        const Faults::Armed counting(Faults::kFlushes, -1, 0);
        QCOMPARE(copyFile(at("large"), at("large copy"), kFlushed, nullptr), 0);
    }
    // A piece is shorter than 4 MiB: at least three are sent and two waited for, then come the file and its folder.
    QVERIFY2(Faults::countedCalls() >= 7, QByteArray::number(Faults::countedCalls()));
    int failures = 0;
    for (int error = EIO; error == EIO; ++failures) {
        const Faults::Armed failing(Faults::kFlushes, failures, EIO);
        error = copyFile(at("large"), at("none"), kFlushed, nullptr);
        QVERIFY(error == 0 || error == EIO);
        QCOMPARE(Disk::exists(at("none")), error == 0);
    }
    QVERIFY(failures > 7);
    const Faults::Unsupported noPace("sync_file_range", ENOSYS);
    QCOMPARE(copyFile(at("large"), at("unpaced"), kFlushed, nullptr), 0);
    const Faults::Unsupported noFlush("fsync", EINVAL);
    QCOMPARE(copyFile(at("a"), at("d"), kFlushed, nullptr), 0);
}

/// Changes the source when bytes have moved.
struct ChangingWatcher final : CopyWatcher {
    int copied(std::uint64_t bytes) override {
        if (bytes > 0 && !std::exchange(changed, true)) {
            change();
        }
        return 0;
    }

    std::function<void()> change;
    bool changed = false;
};

void FileCopyFaultTest::sourceThatChanges_data() {
    QTest::addColumn<bool>("replaces");
    QTest::addColumn<int>("error");
    QTest::newRow("a copy is as of its moment") << false << 0;
    QTest::newRow("what is to replace its source has to equal it") << true << EBUSY;
}

void FileCopyFaultTest::sourceThatChanges() {
    QFETCH(bool, replaces);
    QFETCH(int, error);
    makePhoto(at("a"), 1000);
    ChangingWatcher watcher;
    watcher.change = [this] { Disk::makeFile(at("a"), "something new"); };
    QCOMPARE(copyFile(at("a"), at("b"), replaces ? kFlushed : CopyRules(), &watcher), error);
    QVERIFY(watcher.changed);
    QCOMPARE(Disk::exists(at("b")), error == 0);
    QCOMPARE(Disk::contentOf(at("a")), QByteArray("something new"));
}

void FileCopyFaultTest::sourceThatShrinks() {
    makePhoto(at("a"), 5'000'000);
    const ClosedWays ways(kCloning);
    ChangingWatcher watcher;
    watcher.change = [this] {
        Disk::must(::truncate(at("a").constData(), 2'000'000) == 0, "truncate", at("a"));
    };
    QCOMPARE(copyFile(at("a"), at("b"), {}, &watcher), 0);
    QCOMPARE(Disk::contentOf(at("b")), Disk::contentOf(at("a")));
}

void FileCopyFaultTest::fullFileSystem_data() { shortTransfers_data(); }

void FileCopyFaultTest::fullFileSystem() {
    QFETCH(unsigned, closed);
    const QByteArray folder = at("full");
    Disk::makeFolder(folder);
    const Disk::TemporaryFileSystem system(folder, "size=1m");
    VKTEST_NEEDS(system.isMounted(), "root, to mount a file system");
    makePhoto(at("a"), 2'000'000);
    makePhoto(folder + "/b", 700'000);
    struct statvfs before;
    struct statvfs after;
    QCOMPARE(::statvfs(folder.constData(), &before), 0);
    {
        const ClosedWays ways(closed);
        QCOMPARE(copyFile(at("a"), folder + "/a", {}, nullptr), ENOSPC);
        QCOMPARE(copyFile(folder + "/b", folder + "/c", {}, nullptr), ENOSPC);
    }
    QCOMPARE(Disk::namesIn(folder), QByteArrayList{"b"});
    QCOMPARE(::statvfs(folder.constData(), &after), 0);
    QCOMPARE(after.f_bfree, before.f_bfree);
    QCOMPARE(after.f_ffree, before.f_ffree);
}

void FileCopyFaultTest::targetThatAppearsMeanwhile_data() {
    QTest::addColumn<QByteArray>("system");
    QTest::newRow("without a temporary name") << QByteArray("ext4");
    QTest::newRow("with a temporary name") << QByteArray("exfat");
}

void FileCopyFaultTest::targetThatAppearsMeanwhile() {
    QFETCH(QByteArray, system);
    VKTEST_NEEDS(mSystems.has(system), "root, loop devices and the file system's tools");
    const QByteArray folder = mSystems.newFolder(system);
    makePhoto(folder + "/a", 1000);
    ChangingWatcher watcher;
    watcher.change = [&folder] { Disk::makeFile(folder + "/b", "another's"); };
    QCOMPARE(copyFile(folder + "/a", folder + "/b", {}, &watcher), EEXIST);
    QCOMPARE(Disk::contentOf(folder + "/b"), QByteArray("another's"));
    QCOMPARE(Disk::namesIn(folder), (QByteArrayList{"a", "b"}));
}

void FileCopyFaultTest::killed_data() {
    QTest::addColumn<unsigned>("closed");
    QTest::newRow("in the kernel") << unsigned(kCloning);
    QTest::newRow("by hand") << unsigned(kCloning | kInKernel | kSending);
}

/// Tells of each step through a pipe, so that the parent kills at one of them.
struct TellingWatcher final : CopyWatcher {
    explicit TellingWatcher(int pipe) : mPipe(pipe) {}
    int copied(std::uint64_t /*bytes*/) override { return ::write(mPipe, "s", 1) == 1 ? 0 : EPIPE; }

private:
    int mPipe;
};

void FileCopyFaultTest::killed() {
    QFETCH(unsigned, closed);
    makePhoto(at("a"), 6'000'000);
    const QByteArray before = Disk::recordOf(at("a"), Disk::kAllParts);
    Disk::makeFolder(at("copies"));
    for (int steps = 1; steps < 20; ++steps) {
        int ends[2];
        QCOMPARE(::pipe2(ends, O_CLOEXEC), 0);
        const pid_t child = ::fork();
        if (child == 0) {
            const ClosedWays ways(closed);
            TellingWatcher watcher(ends[1]);
            // One copy after the other, until the end comes from outside.
            for (int i = 0;; ++i) {
                const QByteArray name = "/copies/" + QByteArray::number(steps) + '-' + QByteArray::number(i);
                if (copyFile(at("a"), mRoot + name, {}, &watcher) != 0) {
                    ::_exit(1);
                }
            }
        }
        ::close(ends[1]);
        char step = 0;
        for (int i = 0; i < steps; ++i) {
            QCOMPARE(::read(ends[0], &step, 1), ssize_t(1));
        }
        QCOMPARE(::kill(child, SIGKILL), 0);
        int status = 0;
        QCOMPARE(::waitpid(child, &status, 0), child);
        ::close(ends[0]);
        QVERIFY(WIFSIGNALED(status));
    }
    QCOMPARE(Disk::recordOf(at("a"), Disk::kAllParts), before);
    for (const QByteArray& name : Disk::namesIn(at("copies"))) {
        QVERIFY2(!name.startsWith('.'), name);
        QCOMPARE(Disk::recordOf(at("copies/") + name, Disk::kAllParts), before);
    }
}

VKTEST_MAIN(FileCopyFaultTest)
#include "FileCopyFaultTest.moc"
