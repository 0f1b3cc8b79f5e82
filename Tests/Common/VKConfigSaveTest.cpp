// Saving: whatever fails, at whatever moment, the user's file is the old one or the new one, and nobody is told of
// a save that was none.
#include "VKConfig.h"

#include "ConfigStoreSupport.h"
#include "Support/DiskSupport.h"
#include "Support/FaultInjection.h"
#include "VKConfigFile.h"

#include <QFileDevice>

#include <csignal>
#include <random>

using namespace Config;
using CoreKit::LogCapture;

namespace {

int gCalls = 0;
QByteArray gSeen;

void countCall(VKConfig* config) {
    ++gCalls;
    gSeen = Disk::contentOf(config->userFilePath().path().toUtf8());
}

/// A store with a callback, whose folder is `folder`.
struct Store {
    explicit Store(const QString& folder) : defaults(exampleDefaults()), config(make<VKConfig>()) {
        const QString product = newProduct();
        VKFileMgrSetFolderPath(kVKFolderUserAppData, CoreKit::makeUrl(folder.toUtf8(), true).get());
        if (initialize(*config, product) != kVKStatusSuccess) {
            qFatal("the store does not start");
        }
        VKFileMgrSetFolderPath(kVKFolderUserAppData, nullptr);
        file = config->userFilePath().path().toUtf8();
        gCalls = 0;
        gSeen.clear();
        config->registerCallback(u"count"_s, &countCall);
    }
    /// Sets a value and gives the bytes that the file is to hold then.
    QByteArray prepare(int zoom) const {
        QByteArray bytes;
        if (config->setValueInt(u"view"_s, u"zoom"_s, zoom) != 0 ||
            config->createArchive(nullptr, bytes) != 0) {
            qFatal("no archive");
        }
        return bytes;
    }
    [[nodiscard]] QByteArray folder() const { return file.first(file.lastIndexOf('/')); }

    Defaults defaults;
    Owned<VKConfig> config;
    QByteArray file;
};

} // namespace

class VKConfigSaveTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void savesAndTells();
    void keepsModeAndLink();
    void missingFolder();
    void notPermitted();
    void somethingElseInItsPlace();
    void outcomes_data();
    void outcomes();
    void fullDisk();
    void everyFault_data();
    void everyFault();
    void shortWrites();
    void killedWhileSaving();
};

void VKConfigSaveTest::savesAndTells() {
    const Store store(makeFolder());
    const QByteArray first = store.prepare(2);
    QCOMPARE(store.config->save(), kVKStatusSuccess);
    QCOMPARE(gCalls, 1);
    QCOMPARE(gSeen, first); // complete when the callback runs
    const QByteArray second = store.prepare(0);
    QCOMPARE(store.config->save(), kVKStatusSuccess);
    QCOMPARE(gSeen, second);
    QCOMPARE(Disk::namesIn(store.folder()), QByteArrayList(1, "VKConfig.json"));
}

void VKConfigSaveTest::keepsModeAndLink() {
    const Store store(makeFolder());
    Disk::makeFile(store.folder() + "/real.json", "old, and longer than it needs to be");
    QCOMPARE(::chmod(Disk::text(store.folder() + "/real.json"), 0600), 0);
    Disk::makeLink(store.file, "real.json");
    const QByteArray bytes = store.prepare(2);
    QCOMPARE(store.config->save(), kVKStatusSuccess);
    QCOMPARE(Disk::contentOf(store.folder() + "/real.json"), bytes);
    QCOMPARE(Disk::modeOf(store.folder() + "/real.json"), 0600U);
    QCOMPARE(Disk::namesIn(store.folder()),
             QByteArrayList({QByteArray("VKConfig.json"), QByteArray("real.json")}));
    struct stat record;
    QVERIFY(::lstat(store.file.constData(), &record) == 0 && S_ISLNK(record.st_mode));
}

void VKConfigSaveTest::missingFolder() {
    const Store store(makeFolder());
    Disk::removeTree(store.folder());
    LogCapture log;
    QCOMPARE(store.config->save(), VKStatus(QFileDevice::OpenError));
    QCOMPARE(events(log), QStringList());
    QCOMPARE(gCalls, 0);
    QVERIFY(!Disk::exists(store.folder())); // not made
}

void VKConfigSaveTest::notPermitted() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to become another user");
    const Store store(makeFolder());
    Disk::makeFile(store.file, "old");
    Disk::openForOthers(store.file);
    QCOMPARE(Disk::asOtherUser([&store] {
                 LogCapture log;
                 const VKStatus status = store.config->save();
                 return gCalls == 0 && events(log).isEmpty() ? int(status) : 200;
             }),
             int(QFileDevice::OpenError));
    QCOMPARE(Disk::contentOf(store.file), QByteArray("old"));
}

void VKConfigSaveTest::somethingElseInItsPlace() {
    const Store store(makeFolder());
    LogCapture log;
    Disk::makeFolder(store.file);
    QCOMPARE(store.config->save(), VKStatus(QFileDevice::OpenError));
    QCOMPARE(::rmdir(store.file.constData()), 0);
    Disk::makeFifo(store.file);
    QCOMPARE(store.config->save(), VKStatus(QFileDevice::OpenError));
    QCOMPARE(::unlink(store.file.constData()), 0);
    Disk::makeLink(store.file, "/dev/full");
    QCOMPARE(store.config->save(), VKStatus(QFileDevice::OpenError));
    QCOMPARE(gCalls, 0);
    QCOMPARE(events(log), QStringList());
}

void VKConfigSaveTest::outcomes_data() {
    QTest::addColumn<VKStatus>("status");
    QTest::addColumn<int>("step");
    QTest::addColumn<VKStatus>("answer");
    const int open = int(VKConfigDetail::SaveStep::Open);
    const int write = int(VKConfigDetail::SaveStep::Write);
    QTest::newRow("stored") << VKStatus(0) << int(VKConfigDetail::SaveStep::Done) << VKStatus(0);
    QTest::newRow("full") << VKStatus(ENOSPC) << write << VKStatus(QFileDevice::ResourceError);
    QTest::newRow("quota") << VKStatus(EDQUOT) << write << VKStatus(QFileDevice::WriteError);
    QTest::newRow("broken disk") << VKStatus(EIO) << write << VKStatus(QFileDevice::WriteError);
    QTest::newRow("too large a file") << VKStatus(EFBIG) << write << VKStatus(QFileDevice::WriteError);
    QTest::newRow("too many files") << VKStatus(EMFILE) << open << VKStatus(QFileDevice::ResourceError);
    QTest::newRow("missing folder") << VKStatus(ENOENT) << open << VKStatus(QFileDevice::OpenError);
    QTest::newRow("no permission") << VKStatus(EACCES) << open << VKStatus(QFileDevice::OpenError);
    QTest::newRow("read-only disk") << VKStatus(EROFS) << open << VKStatus(QFileDevice::OpenError);
    QTest::newRow("a folder") << VKStatus(EISDIR) << open << VKStatus(QFileDevice::OpenError);
    QTest::newRow("no path") << VKStatus(kVKStatusBadArgument) << open << VKStatus(QFileDevice::OpenError);
}

void VKConfigSaveTest::outcomes() {
    QFETCH(VKStatus, status);
    const VKConfigDetail::SaveOutcome outcome = VKConfigDetail::saveOutcome(status);
    QTEST(int(outcome.failedAt), "step");
    QTEST(outcome.status, "answer");
}

void VKConfigSaveTest::fullDisk() {
    const QString folder = makeFolder();
    const Disk::TemporaryFileSystem disk(folder.toUtf8(), "size=64k");
    VKTEST_NEEDS(disk.isMounted(), "root, to mount a file system of 64 KiB");
    const Store store(folder);
    const QByteArray old = store.prepare(2);
    QCOMPARE(store.config->save(), kVKStatusSuccess);
    const int filler = ::open(Disk::text(folder.toUtf8() + "/filler"), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    const QByteArray block(512, 'x');
    while (::write(filler, block.constData(), 512) > 0) {
    }
    QCOMPARE(errno, ENOSPC);
    ::close(filler);
    gCalls = 0;
    const QByteArray next = store.prepare(0);
    LogCapture log;
    QCOMPARE(store.config->save(), VKStatus(QFileDevice::ResourceError));
    QCOMPARE(events(log), QStringList(u"4 VKConfig"_s));
    QCOMPARE(gCalls, 0);
    QCOMPARE(Disk::contentOf(store.file), old);
    QCOMPARE(Disk::namesIn(store.folder()), QByteArrayList(1, "VKConfig.json"));
    // With room again.
    QCOMPARE(::unlink(Disk::text(folder.toUtf8() + "/filler")), 0);
    QCOMPARE(store.config->save(), kVKStatusSuccess);
    QCOMPARE(Disk::contentOf(store.file), next);
    QCOMPARE(gCalls, 1);
}

void VKConfigSaveTest::everyFault_data() {
    QTest::addColumn<int>("error");
    QTest::newRow("full disk") << ENOSPC;
    QTest::newRow("broken disk") << EIO;
    QTest::newRow("no permission") << EACCES;
}

void VKConfigSaveTest::everyFault() {
    QFETCH(int, error);
    const Store store(makeFolder());
    const QByteArray old = store.prepare(2);
    QCOMPARE(store.config->save(), kVKStatusSuccess);
    const QByteArray next = store.prepare(0);
    int failures = 0;
    Faults::Loop faults(Faults::kChanges | Faults::kOpens | Faults::kCloses, error);
    LogCapture log;
    while (faults.next()) {
        Disk::makeFile(store.file, old);
        gCalls = 0;
        VKStatus status = 0;
        {
            const Faults::Armed armed = faults.arm();
            status = store.config->save();
        }
        const QByteArray now = Disk::contentOf(store.file);
        QVERIFY2(now == old || now == next, faults.failedCall().constData());
        QCOMPARE(gCalls, status == 0 ? 1 : 0);
        QVERIFY(status != 0 || now == next);
        QCOMPARE(Disk::namesIn(store.folder()), QByteArrayList(1, "VKConfig.json"));
        failures += status == 0 ? 0 : 1;
    }
    QVERIFY(failures >= 3); // opening, writing and renaming at least
    QCOMPARE(Disk::contentOf(store.file), next);
}

void VKConfigSaveTest::shortWrites() {
    const Store store(makeFolder());
    const QByteArray bytes = store.prepare(2);
    const Faults::ShortWrites few(7);
    QCOMPARE(store.config->save(), kVKStatusSuccess);
    QCOMPARE(gSeen, bytes);
}

// A child process saves one of two states after the other; it is killed at any moment, five hundred times.
void VKConfigSaveTest::killedWhileSaving() {
    const Store store(makeFolder());
    const QByteArray even = store.prepare(0);
    const QByteArray odd = store.prepare(1000000);
    QVERIFY(even.size() != odd.size());
    QCOMPARE(store.config->save(), kVKStatusSuccess);
    std::mt19937 random(500); // NOLINT: the same run every time
    int evens = 0;
    for (int round = 0; round < 500; ++round) {
        int pipe[2];
        QCOMPARE(::pipe2(pipe, O_CLOEXEC), 0);
        const pid_t child = ::fork();
        QVERIFY(child >= 0);
        if (child == 0) {
            for (int turn = 0;; ++turn) {
                store.config->setValueInt(u"view"_s, u"zoom"_s, turn % 2 == 0 ? 0 : 1000000);
                if (::write(pipe[1], "x", 1) != 1 || store.config->save() != kVKStatusSuccess) {
                    ::_exit(1);
                }
            }
        }
        ::close(pipe[1]);
        char byte = 0;
        for (unsigned turns = 1 + static_cast<unsigned>(random() % 3); turns > 0; --turns) {
            QCOMPARE(::read(pipe[0], &byte, 1), ssize_t(1));
        }
        // Anywhere in the save that has just begun: so many steps of work, not a time.
        volatile unsigned work = 0;
        for (unsigned left = static_cast<unsigned>(random() % 200'000); left > 0; --left) {
            work = work + 1;
        }
        QCOMPARE(::kill(child, SIGKILL), 0);
        int status = 0;
        QCOMPARE(::waitpid(child, &status, 0), child);
        ::close(pipe[0]);
        QVERIFY(WIFSIGNALED(status)); // it did not fail by itself
        const QByteArray now = Disk::contentOf(store.file);
        QVERIFY2(now == even || now == odd, now.constData());
        evens += now == even ? 1 : 0;
        // What the killed process had begun may stay, under a hidden name of its own.
        for (const QByteArray& name : Disk::namesIn(store.folder())) {
            QVERIFY(name == "VKConfig.json" || name.startsWith(".VKConfig.json."));
            if (name != "VKConfig.json") {
                QCOMPARE(::unlink(Disk::text(store.folder() + '/' + name)), 0);
            }
        }
    }
    QVERIFY(evens > 0 && evens < 500);
}

VKTEST_MAIN(VKConfigSaveTest)
#include "VKConfigSaveTest.moc"
