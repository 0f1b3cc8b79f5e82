// The marker file: what is read of it, and that it appears whole and once on file systems of several kinds.
#include "Platform/VolumeMarker.h"

#include "Support/DiskSupport.h"
#include "Support/MountSupport.h"
#include "Support/VKTest.h"

#include <atomic>
#include <cerrno>
#include <sys/file.h>
#include <sys/wait.h>
#include <vector>

using namespace VKPlatform;

class VolumeMarkerTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void reading();
    void limits();
    void creating();
    void notThere();
    void fullDisk();
    void whateverTheMask();
    void amongProcesses_data();
    void amongProcesses();
    void killedMakers();
    void emptyMarkerWhoseMakerIsAtWork();
};

namespace {

QByteArray newFolder() { return VKTest::makeFolder(QStringLiteral("marker")).toUtf8(); }

QByteArray identifier(int number) {
    return QByteArray("00000000-0000-0000-0000-") + QByteArray::number(100000000000LL + number);
}

/// What a process ends up with: the marker that it made or the one that another made; empty on failure.
QByteArray agreedOn(const QByteArray& folder, const QByteArray& mine) {
    QByteArray content;
    const int created = createVolumeMarker(folder, mine);
    if (created == 0) {
        return mine;
    }
    return created == EEXIST && readVolumeMarker(folder, content) == 0 ? content : QByteArray();
}

} // namespace

void VolumeMarkerTest::reading() {
    const QByteArray folder = newFolder();
    QByteArray content = "before";
    QCOMPARE(readVolumeMarker(folder, content), ENOENT);
    QCOMPARE(content, QByteArray());
    Disk::makeFile(folder + "/.browse", QByteArray("abc\0def", 7));
    QCOMPARE(readVolumeMarker(folder, content), 0);
    QCOMPARE(content, QByteArray("abc"));
    QCOMPARE(readVolumeMarker(folder + "/none", content), ENOENT);
    QCOMPARE(readVolumeMarker(folder + "/.browse", content), ENOTDIR);
    const QByteArray other = newFolder();
    Disk::makeFolder(other + "/.browse");
    QCOMPARE(readVolumeMarker(other, content), EINVAL);
    const QByteArray device = newFolder();
    Disk::makeLink(device + "/.browse", "/dev/zero");
    QCOMPARE(readVolumeMarker(device, content), EINVAL);
}

void VolumeMarkerTest::limits() {
    for (const qsizetype size : {kMostMarkerBytes - 1, kMostMarkerBytes, kMostMarkerBytes + 1}) {
        const QByteArray folder = newFolder();
        Disk::makeFile(folder + "/.browse", QByteArray(size, 'm'));
        QByteArray content;
        QCOMPARE(readVolumeMarker(folder, content), 0);
        QCOMPARE(content.size(), qMin(size, kMostMarkerBytes));
    }
}

void VolumeMarkerTest::creating() {
    const QByteArray folder = newFolder();
    QCOMPARE(createVolumeMarker(folder, identifier(1)), 0);
    QCOMPARE(Disk::contentOf(folder + "/.browse"), identifier(1));
    QCOMPARE(createVolumeMarker(folder, identifier(2)), EEXIST);
    QCOMPARE(Disk::contentOf(folder + "/.browse"), identifier(1));
    QCOMPARE(Disk::namesIn(folder), QByteArrayList{".browse"});
    const QByteArray linked = newFolder();
    Disk::makeLink(linked + "/.browse", linked + "/elsewhere");
    QCOMPARE(createVolumeMarker(linked, identifier(3)), EEXIST);
    QCOMPARE(Disk::namesIn(linked), QByteArrayList{".browse"});
}

void VolumeMarkerTest::notThere() {
    const QByteArray folder = newFolder();
    QCOMPARE(createVolumeMarker(folder + "/none", identifier(1)), ENOENT);
    VKTEST_NEEDS(Disk::isRoot(), "root");
    Disk::openForOthers(folder + "/x");
    QCOMPARE(Disk::asOtherUser([&] { return createVolumeMarker(folder, identifier(1)); }), EACCES);
    QVERIFY(Disk::namesIn(folder).isEmpty());
}

void VolumeMarkerTest::fullDisk() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const QByteArray folder = newFolder();
    const Disk::TemporaryFileSystem disk(folder, "size=4k");
    QVERIFY(disk.isMounted());
    Disk::makeFile(folder + "/filler", QByteArray(4096, 'x'));
    QCOMPARE(createVolumeMarker(folder, identifier(1)), ENOSPC);
    QCOMPARE(Disk::namesIn(folder), QByteArrayList{"filler"});
}

void VolumeMarkerTest::whateverTheMask() {
    const QByteArray folder = newFolder();
    const mode_t before = ::umask(0777);
    const int error = createVolumeMarker(folder, identifier(1));
    ::umask(before);
    QCOMPARE(error, 0);
    QCOMPARE(Disk::modeOf(folder + "/.browse"), 0644U);
}

void VolumeMarkerTest::amongProcesses_data() {
    QTest::addColumn<QByteArray>("make");
    QTest::addColumn<QByteArray>("options");
    QTest::newRow("ext4") << QByteArray("mkfs.ext4 -q") << QByteArray();
    // Neither links nor renames that spare what is there.
    QTest::newRow("exfat through user space") << QByteArray("mkfs.exfat") << QByteArray("-t exfat-fuse ");
}

void VolumeMarkerTest::amongProcesses() {
    VKTEST_NEEDS(Disk::isRoot() && Disk::exists("/dev/loop-control") && Disk::exists("/dev/fuse"),
                 "root, loop devices and FUSE");
    QFETCH(QByteArray, make);
    QFETCH(QByteArray, options);
    const QByteArray folder = newFolder();
    const Mounts::LoopDisk disk(folder + "/disk", make, 8);
    const Mounts::Mounted mounted(options + disk.device(), folder + "/m");
    QVERIFY2(mounted.isMounted(), mounted.message());
    constexpr int kProcesses = 6;
    for (int round = 0; round < 10; ++round) {
        const QByteArray root = mounted.place() + '/' + QByteArray::number(round);
        Disk::makeFolder(root);
        std::vector<pid_t> children;
        for (int i = 0; i < kProcesses; ++i) {
            const pid_t child = ::fork();
            QVERIFY(child >= 0);
            if (child == 0) {
                const QByteArray agreed = agreedOn(root, identifier(i));
                Disk::makeFile(folder + "/agreed" + QByteArray::number(i), agreed);
                ::_exit(0);
            }
            children.push_back(child);
        }
        for (const pid_t child : children) {
            QCOMPARE(::waitpid(child, nullptr, 0), child);
        }
        const QByteArray content = Disk::contentOf(root + "/.browse");
        QCOMPARE(content.size(), 36);
        for (int i = 0; i < kProcesses; ++i) {
            QCOMPARE(Disk::contentOf(folder + "/agreed" + QByteArray::number(i)), content);
        }
        QCOMPARE(Disk::namesIn(root), QByteArrayList{".browse"});
    }
}

void VolumeMarkerTest::killedMakers() {
    // Wherever it is killed, there is no marker or a whole one.
    for (int round = 0; round < 200; ++round) {
        const QByteArray folder = newFolder();
        int ends[2];
        QCOMPARE(::pipe(ends), 0);
        const pid_t child = ::fork();
        QVERIFY(child >= 0);
        if (child == 0) {
            static_cast<void>(::write(ends[1], "x", 1));
            ::_exit(createVolumeMarker(folder, identifier(round)));
        }
        char started = 0;
        QCOMPARE(::read(ends[0], &started, 1), ssize_t(1));
        // The further it gets, the later it is killed.
        std::atomic<int> spin = 0;
        while (++spin < round * 500) {
        }
        ::kill(child, SIGKILL);
        ::waitpid(child, nullptr, 0);
        ::close(ends[0]);
        ::close(ends[1]);
        QByteArray content;
        const int error = readVolumeMarker(folder, content);
        QVERIFY(error == ENOENT || (error == 0 && content == identifier(round)));
    }
}

void VolumeMarkerTest::emptyMarkerWhoseMakerIsAtWork() {
    const QByteArray folder = newFolder();
    Disk::makeFile(folder + "/.browse");
    const int lock = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    QCOMPARE(::flock(lock, LOCK_EX), 0);
    int ends[2];
    QCOMPARE(::pipe(ends), 0);
    const pid_t child = ::fork();
    QVERIFY(child >= 0);
    if (child == 0) {
        ::close(lock);
        static_cast<void>(::write(ends[1], "x", 1));
        QByteArray content;
        ::_exit(readVolumeMarker(folder, content) == 0 && content == "written" ? 0 : 1);
    }
    char started = 0;
    QCOMPARE(::read(ends[0], &started, 1), ssize_t(1));
    Disk::makeFile(folder + "/.browse", "written");
    ::close(lock);
    int status = -1;
    QCOMPARE(::waitpid(child, &status, 0), child);
    QCOMPARE(status, 0);
    ::close(ends[0]);
    ::close(ends[1]);
    // One that stays empty is an empty marker.
    Disk::makeFile(folder + "/.browse");
    QByteArray content = "before";
    QCOMPARE(readVolumeMarker(folder, content), 0);
    QCOMPARE(content, QByteArray());
}

VKTEST_MAIN_WITH_OWN_MOUNTS(VolumeMarkerTest)
#include "VolumeMarkerTest.moc"
