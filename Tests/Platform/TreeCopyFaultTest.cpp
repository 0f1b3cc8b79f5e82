// Copies of whole folders when something fails: every call in its turn, a full disk, a cancel from another thread, a
// killed process, a folder that is swapped for a link meanwhile.
#include "Platform/TreeCopy.h"

#include "Platform/CopyTestSupport.h"
#include "Support/FaultInjection.h"

#include <atomic>
#include <csignal>
#include <cstring>
#include <functional>
#include <memory>
#include <sys/wait.h>
#include <thread>

using namespace VKPlatform;
using namespace CopyTest;

namespace {

const CopyRules kFlushed = {CopyFlush::ToDisk, CopyOwner::Keep};

constexpr int kFiles = 12;

void makeAlbum(const QByteArray& root, qint64 size, int files = kFiles) {
    Disk::makeFolder(root);
    Disk::makeFolder(root + "/2024");
    Disk::makeFolder(root + "/2024/June");
    for (int i = 0; i < files; ++i) {
        makePhoto(root + (i % 2 == 0 ? "/2024/" : "/2024/June/") + QByteArray::number(i), size);
    }
    Disk::makeLink(root + "/link", "2024");
}

/// Does what the test says at each of its calls.
class Hooks final : public TreeWatcher {
public:
    int folderMade(std::size_t /*number*/) override { return call(onFolder); }
    int itemCopied(std::size_t /*number*/) override {
        ++items;
        return call(onItem);
    }
    int bytesCopied(std::uint64_t bytes) override { return bytes > 0 ? call(onBytes) : 0; }
    [[nodiscard]] bool isCancelled() const override { return cancelled; }

    std::function<void()> onFolder;
    std::function<void()> onItem;
    std::function<void()> onBytes;
    std::atomic<bool> cancelled = false;
    int items = 0;

private:
    static int call(const std::function<void()>& hook) {
        if (hook) {
            hook();
        }
        return 0;
    }
};

int copyShown(const QByteArray& from, const QByteArray& to, TreeWatcher& watcher) {
    TreeCopy copy(TreeScope::Shown, {}, watcher);
    int error = copy.scan(from, false);
    if (error == 0) {
        error = ::mkdir(to.constData(), 0700) == 0 ? copy.openTarget(to, true) : errno;
    }
    if (error == 0) {
        error = copy.makeFolders();
    }
    if (error == 0) {
        error = copy.copyItems();
    }
    return error == 0 ? copy.finishFolders() : error;
}

const char* const kCopyMode = "--copy-until-killed";

/// One copy after the other, until the end comes from outside. Tells each step through the pipe.
int copyUntilKilled(const QByteArray& from, const QByteArray& to, int pipe) {
    Hooks hooks;
    const auto tell = [pipe] { Disk::must(::write(pipe, "s", 1) == 1, "write", QByteArray()); };
    hooks.onFolder = tell;
    hooks.onItem = tell;
    for (int i = 0;; ++i) {
        if (copyShown(from, to + ' ' + QByteArray::number(i), hooks) != 0) {
            return 1;
        }
    }
}

/// Whether each file below `copy` is one of `original`, whole.
bool allAreWhole(const QByteArray& original, const QByteArray& copy) {
    const QByteArrayList records = Disk::recordsBelow(original, Disk::kKindAndContent);
    for (const QByteArray& record : Disk::recordsBelow(copy, Disk::kKindAndContent)) {
        if (!records.contains(record)) {
            return false;
        }
    }
    return true;
}

} // namespace

class TreeCopyFaultTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void everyCallFailing_data();
    void everyCallFailing();
    void everyCallFailingInStages();
    void everyAllocationFailing();
    void fullFileSystem();
    void cancelledFromAnotherThread();
    void endedByACopyWatcher_data();
    void endedByACopyWatcher();
    void folderSwappedForALink_data();
    void folderSwappedForALink();
    void fileVanishes();
    void fileBecomesALink();
    void fileBecomesAFifo();
    void killed();
    void noThreadIsLeft();

private:
    [[nodiscard]] QByteArray at(const char* name) const { return mRoot + '/' + name; }

    QByteArray mRoot;
};

void TreeCopyFaultTest::initTestCase() { mRoot = makeFolder(QStringLiteral("faults")).toUtf8(); }

void TreeCopyFaultTest::cleanup() {
    Disk::removeTree(mRoot);
    Disk::makeFolder(mRoot);
}

void TreeCopyFaultTest::everyCallFailing_data() {
    QTest::addColumn<bool>("flushed");
    QTest::addColumn<int>("error");
    QTest::newRow("broken disk") << false << EIO;
    QTest::newRow("broken disk, flushed") << true << EIO;
}

void TreeCopyFaultTest::everyCallFailing() {
    QFETCH(bool, flushed);
    QFETCH(int, error);
    makeAlbum(at("album"), 100, flushed ? 2 : kFiles); // flushing takes its time
    const QByteArrayList before = Disk::recordsBelow(at("album"), Disk::kAllParts);
    const qsizetype descriptors = Disk::openDescriptors();
    Faults::Loop faults(Faults::kChanges | Faults::kOpens | Faults::kReads | Faults::kCloses, error);
    while (faults.next()) {
        int result = 0;
        {
            const Faults::Armed armed = faults.arm();
            result = copyTree(at("album"), at("copy"), flushed ? kFlushed : CopyRules(), nullptr);
        }
        const QByteArray call = faults.wasMet() ? faults.failedCall() : QByteArray("none");
        QVERIFY2(result == 0 || result == error, call);
        QCOMPARE(Disk::recordsBelow(at("album"), Disk::kAllParts), before);
        if (result == 0) {
            QCOMPARE(Disk::recordsBelow(at("copy"), Disk::kAllParts), before);
            Disk::removeTree(at("copy"));
        }
        QVERIFY2(!Disk::exists(at("copy")), call);
        QCOMPARE(Disk::openDescriptors(), descriptors);
    }
    QVERIFY(faults.met() > 60);
}

void TreeCopyFaultTest::everyCallFailingInStages() {
    makeAlbum(at("album"), 100);
    Faults::Loop faults(Faults::kChanges | Faults::kOpens | Faults::kReads | Faults::kCloses, ENOSPC);
    while (faults.next()) {
        Hooks hooks;
        int result = 0;
        {
            const Faults::Armed armed = faults.arm();
            result = copyShown(at("album"), at("copy"), hooks);
        }
        const QByteArray call = faults.wasMet() ? faults.failedCall() : QByteArray("none");
        QVERIFY2(result == 0 || result == ENOSPC, call);
        QVERIFY2(result != 0 || hooks.items == kFiles + 1, call);
        if (Disk::exists(at("copy"))) {
            QVERIFY2(allAreWhole(at("album"), at("copy")), call);
            Disk::removeTree(at("copy"));
        }
    }
    QVERIFY(faults.met() > 100);
}

void TreeCopyFaultTest::everyAllocationFailing() {
    VKTEST_NEEDS_ALLOCATION_FAULTS();
    makeAlbum(at("album"), 100);
    const QByteArray from = at("album");
    const QByteArray to = at("copy");
    const qsizetype descriptors = Disk::openDescriptors();
    Faults::Loop faults(Faults::kAllocations, ENOMEM);
    int failures = 0;
    while (faults.next()) {
        int result = 0;
        {
            const Faults::Armed armed = faults.arm();
            try {
                result = copyTree(from, to, {}, nullptr);
            } catch (const std::bad_alloc&) {
                result = ENOMEM;
            }
        }
        // Where one thread can do the work of two, memory for the second is not missed.
        QVERIFY(result == 0 || result == ENOMEM);
        failures += result == 0 ? 0 : 1;
        QCOMPARE(Disk::exists(to), result == 0);
        if (result == 0) {
            QVERIFY(allAreWhole(from, to));
            Disk::removeTree(to);
        }
        QCOMPARE(Disk::openDescriptors(), descriptors);
    }
    QVERIFY(failures > 10);
}

void TreeCopyFaultTest::fullFileSystem() {
    const QByteArray folder = at("full");
    Disk::makeFolder(folder);
    const Disk::TemporaryFileSystem system(folder, "size=1m");
    VKTEST_NEEDS(system.isMounted(), "root, to mount a file system");
    makeAlbum(at("album"), 200'000);
    QCOMPARE(copyTree(at("album"), folder + "/copy", {}, nullptr), ENOSPC);
    QVERIFY(Disk::namesIn(folder).isEmpty());
    Hooks hooks;
    QCOMPARE(copyShown(at("album"), folder + "/copy", hooks), ENOSPC);
    QVERIFY(allAreWhole(at("album"), folder + "/copy"));
}

void TreeCopyFaultTest::cancelledFromAnotherThread() {
    makeAlbum(at("album"), 5'000'000);
    Hooks hooks;
    std::atomic<bool> begun = false;
    hooks.onBytes = [&] { begun = true; };
    std::thread canceller([&] {
        while (!begun) {
            std::this_thread::yield();
        }
        hooks.cancelled = true;
    });
    // Either the cancel was met or all was done before it came.
    const int result = copyShown(at("album"), at("copy"), hooks);
    canceller.join();
    QVERIFY(result == ECANCELED || hooks.items == kFiles + 1);
    QVERIFY(allAreWhole(at("album"), at("copy")));
}

void TreeCopyFaultTest::endedByACopyWatcher_data() {
    QTest::addColumn<int>("call");
    QTest::newRow("first folder") << 0;
    QTest::newRow("first bytes") << 2;
    QTest::newRow("later") << 9;
}

void TreeCopyFaultTest::endedByACopyWatcher() {
    QFETCH(int, call);
    makeAlbum(at("album"), 5'000'000);
    CountingWatcher watcher;
    watcher.endAt = call;
    watcher.error = ECANCELED;
    QCOMPARE(copyTree(at("album"), at("copy"), kFlushed, &watcher), ECANCELED);
    QCOMPARE(watcher.calls, call + 1);
    QCOMPARE(Disk::namesIn(mRoot), QByteArrayList{"album"});
}

void TreeCopyFaultTest::folderSwappedForALink_data() {
    QTest::addColumn<QByteArray>("swapped");
    QTest::newRow("of the source") << QByteArray("album/2024");
    QTest::newRow("of the target") << QByteArray("copy/2024");
}

void TreeCopyFaultTest::folderSwappedForALink() {
    QFETCH(QByteArray, swapped);
    makeAlbum(at("album"), 100);
    Disk::makeFolder(at("outside"));
    for (int i = 0; i < kFiles; ++i) {
        Disk::makeFile(at("outside/secret ") + QByteArray::number(i), "secret");
        Disk::makeFolder(at("outside/June ") + QByteArray::number(i));
    }
    const QByteArrayList before = Disk::recordsBelow(at("outside"), Disk::kKindAndContent);
    Hooks hooks;
    TreeCopy copy(TreeScope::Shown, {}, hooks);
    QCOMPARE(copy.scan(at("album"), false), 0);
    Disk::makeFolder(at("copy"));
    QCOMPARE(copy.openTarget(at("copy"), true), 0);
    QCOMPARE(copy.makeFolders(), 0);
    QCOMPARE(::rename(Disk::text(mRoot + '/' + swapped), at("aside").constData()), 0);
    Disk::makeLink(mRoot + '/' + swapped, "../outside");
    const int error = copy.copyItems();
    QVERIFY2(error == ENOTDIR || error == ELOOP, qPrintable(QString::number(error)));
    QCOMPARE(Disk::recordsBelow(at("outside"), Disk::kKindAndContent), before);
}

void TreeCopyFaultTest::fileVanishes() {
    makeAlbum(at("album"), 100);
    Hooks hooks;
    hooks.onFolder = [this] { ::unlink(at("album/2024/June/11").constData()); };
    QCOMPARE(copyShown(at("album"), at("copy"), hooks), ENOENT);
    QVERIFY(allAreWhole(at("album"), at("copy")));
}

void TreeCopyFaultTest::fileBecomesALink() {
    makeAlbum(at("album"), 100);
    Hooks hooks;
    hooks.onFolder = [this] {
        if (::unlink(at("album/2024/June/11").constData()) == 0) {
            Disk::makeLink(at("album/2024/June/11"), "/etc/passwd");
        }
    };
    QCOMPARE(copyShown(at("album"), at("copy"), hooks), 0);
    QCOMPARE(Disk::linkTarget(at("copy/2024/June/11")), QByteArray("/etc/passwd"));
}

void TreeCopyFaultTest::fileBecomesAFifo() {
    makeAlbum(at("album"), 100);
    Hooks hooks;
    hooks.onFolder = [this] {
        if (::unlink(at("album/2024/June/11").constData()) == 0) {
            Disk::makeFifo(at("album/2024/June/11"));
        }
    };
    QCOMPARE(copyShown(at("album"), at("copy"), hooks), EOPNOTSUPP);
}

void TreeCopyFaultTest::killed() {
    makeAlbum(at("album"), 500'000);
    const QByteArrayList before = Disk::recordsBelow(at("album"), Disk::kAllParts);
    for (int steps = 1; steps < 24; steps += 2) {
        int ends[2];
        QCOMPARE(::pipe2(ends, O_CLOEXEC), 0);
        const pid_t child = ::fork();
        if (child == 0) {
            // Another program: a fork of one that has threads may not start any.
            ::fcntl(ends[1], F_SETFD, 0);
            ::execl("/proc/self/exe", "copy", kCopyMode, at("album").constData(),
                    Disk::text(at("copy ") + QByteArray::number(steps)),
                    QByteArray::number(ends[1]).constData(), nullptr);
            ::_exit(127);
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
    // What was killed may have left a part of a copy, and nothing else.
    QCOMPARE(Disk::recordsBelow(at("album"), Disk::kAllParts), before);
    for (const QByteArray& name : Disk::namesIn(mRoot)) {
        QVERIFY2(name == "album" || name.startsWith("copy "), name);
    }
}

void TreeCopyFaultTest::noThreadIsLeft() {
    makeAlbum(at("album"), 100);
    const qsizetype threads = Disk::namesIn("/proc/self/task").size();
    Hooks hooks;
    QCOMPARE(copyShown(at("album"), at("copy"), hooks), 0);
    QCOMPARE(Disk::namesIn("/proc/self/task").size(), threads);
}

int main(int argc, char** argv) {
    if (argc == 5 && std::strcmp(argv[1], kCopyMode) == 0) {
        return copyUntilKilled(argv[2], argv[3], QByteArray(argv[4]).toInt());
    }
    return vkTestRun(argc, argv,
                     [] { return std::unique_ptr<QObject>(std::make_unique<TreeCopyFaultTest>()); });
}
#include "TreeCopyFaultTest.moc"
