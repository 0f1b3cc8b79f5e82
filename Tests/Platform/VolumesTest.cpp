// Real volumes: the list, their facts, dead servers, unmounting, and the kernel's word about changes.
#include "Platform/Volumes.h"

#include "Platform/MountWatcher.h"
#include "Platform/ServedSpace.h"
#include "Platform/VolumeUnmount.h"
#include "Support/DiskSupport.h"
#include "Support/MountSupport.h"
#include "Support/VKTest.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sys/statvfs.h>

using namespace VKPlatform;

class VolumesTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void list();
    void snaps();
    void singleFiles();
    void automaticMountsAreLeftAlone();
    void namesWithOddBytes();
    void space();
    void spaceOnReadOnly();
    void notAccessible();
    void deadServers();
    void unmountingOwnUserSpaceDisk();
    void unmountingWithoutTheRight();
    void unmountingWhatIsNotMounted();
    void unmountingTheUpperOfTwo();
    void watching();
    void watchingWithoutOpening();
};

namespace {

constexpr char kVolume[] = "-t tmpfs -o size=1m,x-gvfs-show vktest";

QByteArray newFolder() { return VKTest::makeFolder(QStringLiteral("volumes")).toUtf8(); }

std::vector<Volume> listed() {
    std::vector<Volume> volumes;
    const int error = mountedVolumes(volumes);
    return error == 0 ? volumes : std::vector<Volume>();
}

/// The listed volumes at that place: none or one.
std::vector<Volume> listedAt(const QByteArray& place) {
    std::vector<Volume> found = listed();
    found.erase(
        std::remove_if(found.begin(), found.end(), [&](const Volume& v) { return v.mount.place != place; }),
        found.end());
    return found;
}

VolumeFacts factsAt(const QByteArray& place) {
    const std::vector<VolumeFacts> facts = volumeFacts(listedAt(place));
    return facts.size() == 1 ? facts.front() : VolumeFacts{true, VolumeSpace{77, 77}};
}

} // namespace

void VolumesTest::list() {
    QCOMPARE(listedAt("/").size(), 1U);
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const QByteArray folder = newFolder();
    const Mounts::Mounted shown(kVolume, folder + "/shown");
    const Mounts::Mounted other("-t tmpfs -o size=1m vktest", folder + "/other");
    QVERIFY2(shown.isMounted() && other.isMounted(), other.message());
    QCOMPARE(listedAt(shown.place()).size(), 1U);
    QCOMPARE(listedAt(other.place()).size(), 0U);
}

void VolumesTest::snaps() {
    VKTEST_NEEDS(Disk::isRoot() && Disk::exists("/dev/loop-control") && Disk::exists("/usr/bin/mksquashfs"),
                 "root, loop devices and squashfs-tools");
    const QByteArray folder = newFolder();
    Disk::makeFolder(folder + "/content");
    Disk::makeFile(folder + "/content/a", "a");
    QCOMPARE(Shell::outputOf("mksquashfs '" + folder + "/content' '" + folder +
                             "/x.snap' -quiet -no-progress 2>&1")
                 .status,
             0);
    // In a name space of the test's own: the machine's /snap is not touched.
    const bool existed = Disk::exists("/snap");
    {
        if (!existed) {
            Disk::makeFolder("/snap");
        }
        const Disk::TemporaryFileSystem snaps("/snap", "size=1m");
        QVERIFY(snaps.isMounted());
        Disk::makeFolder("/snap/x");
        const Mounts::Mounted snap("-t squashfs -o loop,ro '" + folder + "/x.snap'", "/snap/x/1");
        QVERIFY2(snap.isMounted(), snap.message());
        QCOMPARE(listedAt(snap.place()).size(), 0U);
    }
    if (!existed) {
        QCOMPARE(::rmdir("/snap"), 0);
    }
    const Mounts::Mounted image("-t squashfs -o loop,ro '" + folder + "/x.snap'", folder + "/image");
    QVERIFY2(image.isMounted(), image.message());
    QCOMPARE(listedAt(image.place()).size(), 1U);
    QVERIFY(listedAt(image.place()).front().isReadOnly);
}

void VolumesTest::singleFiles() {
    VKTEST_NEEDS(Disk::isRoot() && Disk::exists("/dev/loop-control"), "root and loop devices");
    const QByteArray folder = newFolder();
    const Mounts::LoopDisk disk(folder + "/disk", "mkfs.ext4 -q", 8);
    QByteArray place = folder + "/file";
    Disk::makeFile(place);
    {
        const Mounts::Mounted mounted(disk.device(), folder + "/m");
        QVERIFY2(mounted.isMounted(), mounted.message());
        Disk::makeFile(mounted.place() + "/hosts", "x");
        Disk::makeFolder(mounted.place() + "/album");
        QCOMPARE(::mount(Disk::text(mounted.place() + "/hosts"), place, nullptr, MS_BIND, nullptr), 0);
    }
    const auto unmount = qScopeGuard([&] { ::umount2(place, MNT_DETACH); });
    // The whole disk is gone, only this part of it is left: but a file is no volume.
    QCOMPARE(Disk::contentOf(place), QByteArray("x"));
    QCOMPARE(listedAt(place).size(), 0U);
}

void VolumesTest::automaticMountsAreLeftAlone() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const QByteArray folder = newFolder();
    int ends[2];
    QCOMPARE(::pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0);
    Disk::makeFolder(folder + "/auto");
    const QByteArray options = "fd=" + QByteArray::number(ends[1]) +
                               ",pgrp=" + QByteArray::number(::getpgrp()) + ",minproto=5,maxproto=5,direct";
    // The mounter belongs to another group than those who look: their look-ups would ask it.
    const bool mounted = ::mount("vktest", Disk::text(folder + "/auto"), "autofs", 0, options) == 0;
    VKTEST_NEEDS(mounted, "autofs in the kernel");
    const auto unmount = qScopeGuard([&] { ::umount2(Disk::text(folder + "/auto"), MNT_DETACH); });
    const pid_t child = ::fork();
    QVERIFY(child >= 0);
    if (child == 0) {
        ::setpgid(0, 0);
        std::vector<Volume> volumes;
        const bool isListed = mountedVolumes(volumes) != 0 ||
                              std::any_of(volumes.begin(), volumes.end(),
                                          [&](const Volume& v) { return v.mount.place == folder + "/auto"; });
        static_cast<void>(volumeFacts(volumes));
        ::_exit(isListed ? 1 : 0);
    }
    int status = -1;
    QCOMPARE(::waitpid(child, &status, 0), child);
    QCOMPARE(status, 0);
    // Nobody asked for the mount.
    char request[512];
    QCOMPARE(::read(ends[0], request, sizeof request), ssize_t(-1));
    QCOMPARE(errno, EAGAIN);
    ::close(ends[0]);
    ::close(ends[1]);
}

void VolumesTest::namesWithOddBytes() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const QByteArray folder = newFolder();
    for (const QByteArray& name :
         {QByteArray("line\nbreak"), QByteArray("tab\tand blank "), QByteArray("back\\slash"),
          QByteArray("hash#040"), QByteArray("caf\xe9"), QByteArray(255, 'n')}) {
        const Mounts::Mounted mounted(kVolume, folder + '/' + name);
        QVERIFY2(mounted.isMounted(), mounted.message());
        QCOMPARE(listedAt(mounted.place()).size(), 1U);
    }
}

void VolumesTest::space() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const QByteArray folder = newFolder();
    const Mounts::Mounted mounted(kVolume, folder);
    QVERIFY2(mounted.isMounted(), mounted.message());
    const VolumeFacts empty = factsAt(folder);
    QVERIFY(empty.isOnline && empty.space.has_value());
    QCOMPARE(empty.space->totalBytes, std::uint64_t(1 << 20));
    QCOMPARE(empty.space->freeBytes, std::uint64_t(1 << 20));
    Disk::makeFile(folder + "/a", QByteArray(512 << 10, 'x'));
    QCOMPARE(factsAt(folder).space->freeBytes, std::uint64_t(512 << 10));
    Disk::makeFile(folder + "/b", QByteArray(512 << 10, 'x'));
    QCOMPARE(factsAt(folder).space->freeBytes, std::uint64_t(0));
}

void VolumesTest::spaceOnReadOnly() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const Mounts::Mounted mounted("-t tmpfs -o ro,size=1m,x-gvfs-show vktest", newFolder());
    QVERIFY2(mounted.isMounted(), mounted.message());
    QVERIFY(listedAt(mounted.place()).front().isReadOnly);
    QVERIFY(factsAt(mounted.place()).space.has_value());
}

void VolumesTest::notAccessible() {
    VKTEST_NEEDS(Mounts::NetworkDisk::canBeMade(), "root, FUSE, sshfs and openssh-sftp-server");
    const Mounts::NetworkDisk disk(newFolder());
    QVERIFY2(disk.isMounted(), disk.message());
    Disk::openForOthers(disk.place() + "/x");
    // Mounted for root alone: others are told that it is there, and not how large it is.
    QCOMPARE(Disk::asOtherUser([&] {
                 const VolumeFacts facts = factsAt(disk.place());
                 return facts.isOnline && !facts.space ? 0 : 1;
             }),
             0);
    QVERIFY(factsAt(disk.place()).space.has_value());
}

void VolumesTest::deadServers() {
    VKTEST_NEEDS(Mounts::NetworkDisk::canBeMade(), "root, FUSE, sshfs and openssh-sftp-server");
    const Mounts::NetworkDisk silent(newFolder());
    const Mounts::NetworkDisk alsoSilent(newFolder());
    const Mounts::NetworkDisk alive(newFolder());
    QVERIFY2(silent.isMounted() && alsoSilent.isMounted() && alive.isMounted(), alive.message());
    silent.signalServer(SIGSTOP);
    alsoSilent.signalServer(SIGSTOP);
    std::vector<Volume> volumes;
    for (const Mounts::NetworkDisk* disk : {&silent, &alsoSilent, &alive}) {
        QCOMPARE(listedAt(disk->place()).size(), 1U);
        volumes.push_back(listedAt(disk->place()).front());
    }
    for (int i = 0; i < 50; ++i) {
        const std::vector<VolumeFacts> facts = volumeFacts(volumes);
        QCOMPARE(facts.size(), 3U);
        QVERIFY(!facts.at(0).isOnline && !facts.at(0).space);
        QVERIFY(!facts.at(1).isOnline && !facts.at(1).space);
        // Two that are dead do not take the third's time.
        QVERIFY(facts.at(2).isOnline && facts.at(2).space);
    }
    QCOMPARE(waitingProcesses(), std::size_t(2));
    silent.signalServer(SIGCONT);
    alsoSilent.signalServer(SIGCONT);
    QTRY_VERIFY(volumeFacts(volumes).at(0).isOnline && volumeFacts(volumes).at(1).isOnline);
    alive.killClient();
    QTRY_VERIFY(!volumeFacts(volumes).at(2).isOnline);
}

void VolumesTest::unmountingOwnUserSpaceDisk() {
    VKTEST_NEEDS(Mounts::NetworkDisk::canBeMade(), "root, FUSE, sshfs and openssh-sftp-server");
    const Mounts::NetworkDisk disk(newFolder());
    QVERIFY2(disk.isMounted(), disk.message());
    {
        const Disk::WorkingFolder inside(disk.place());
        QCOMPARE(unmountVolume(disk.place()), EBUSY);
    }
    QCOMPARE(unmountVolume(disk.place()), 0);
    QCOMPARE(listedAt(disk.place()).size(), 0U);
}

void VolumesTest::unmountingWithoutTheRight() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const Mounts::Mounted mounted(kVolume, newFolder());
    QVERIFY2(mounted.isMounted(), mounted.message());
    QCOMPARE(Disk::asOtherUser([&] { return unmountVolume(mounted.place()); }), EPERM);
    QCOMPARE(listedAt(mounted.place()).size(), 1U);
}

void VolumesTest::unmountingWhatIsNotMounted() {
    const QByteArray folder = newFolder();
    QCOMPARE(unmountVolume(folder), EINVAL);
    QCOMPARE(unmountVolume(folder + "/none"), EINVAL);
    QCOMPARE(unmountVolume(QByteArray()), EINVAL);
    QCOMPARE(unmountVolume("/"), EBUSY);
}

void VolumesTest::unmountingTheUpperOfTwo() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const QByteArray folder = newFolder();
    const Mounts::Mounted lower("-t tmpfs -o size=1m,x-gvfs-show vktest", folder);
    const Mounts::Mounted upper("-t tmpfs -o size=2m,x-gvfs-show vktest", folder);
    QVERIFY2(lower.isMounted() && upper.isMounted(), upper.message());
    QCOMPARE(factsAt(folder).space->totalBytes, std::uint64_t(2 << 20));
    QCOMPARE(unmountVolume(folder), 0);
    QCOMPARE(factsAt(folder).space->totalBytes, std::uint64_t(1 << 20));
    QCOMPARE(unmountVolume(folder), 0);
    QCOMPARE(listedAt(folder).size(), 0U);
}

void VolumesTest::watching() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    MountWatcher watcher;
    QCOMPARE(watcher.open(), 0);
    const QByteArray folder = newFolder();
    while (watcher.wait(0)) {
    }
    QVERIFY(!watcher.wait(0));
    {
        const Disk::TemporaryFileSystem first(folder, "size=1m");
        const Disk::TemporaryFileSystem second(folder, "size=1m");
        // Both in one notification.
        QVERIFY(watcher.wait(-1));
        QVERIFY(!watcher.wait(0));
    }
    QVERIFY(watcher.wait(-1));
    QVERIFY(!watcher.wait(0));
}

void VolumesTest::watchingWithoutOpening() {
    const MountWatcher watcher;
    QCOMPARE(watcher.descriptor(), -1);
    QVERIFY(!watcher.wait(0));
}

VKTEST_MAIN_WITH_OWN_MOUNTS(VolumesTest)
#include "VolumesTest.moc"
