// The volume monitor on real mounts.
#include "VKQtVolumeMonitor.h"

#include "Support/DiskSupport.h"
#include "Support/MountSupport.h"
#include "Support/VKTest.h"
#include "VKQtPathUtils.h"

#include <QCoreApplication>
#include <QSignalSpy>

using namespace Qt::StringLiterals;

class VKQtVolumeMonitorTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void startsWithTheList();
    void tellsWhatComesAndGoes();
    void isSilentAboutOtherMounts();
    void namesInCaseOnly();
    void severalAtOnce();
    void deletedBySlot();
    void serverThatIsSilent();
};

namespace {

constexpr char kVolume[] = "-t tmpfs -o size=1m,x-gvfs-show vktest";

QStringList texts(const QSignalSpy& spy) {
    QStringList paths;
    for (const QList<QVariant>& arguments : spy) {
        paths.append(arguments.at(0).value<VKQtPath>().path());
    }
    return paths;
}

QStringList texts(const QList<VKQtPath>& paths) { return VKQtPathUtils::qPathListToStringList(paths); }

/// Lets every notification in that is there already: each turn of the loop polls the descriptors once.
void settle() {
    for (int i = 0; i < 3; ++i) {
        QCoreApplication::processEvents();
    }
}

} // namespace

void VKQtVolumeMonitorTest::startsWithTheList() {
    const VKQtVolumeMonitor monitor;
    QVERIFY(monitor.isWatching());
    QCOMPARE(texts(monitor.volumes()), texts(VKQtPathUtils::getVolumes()));
    QVERIFY(texts(monitor.volumes()).contains(u"/"_s));
}

void VKQtVolumeMonitorTest::tellsWhatComesAndGoes() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const QString folder = makeFolder(u"monitor"_s);
    VKQtVolumeMonitor monitor;
    const QStringList before = texts(monitor.volumes());
    QSignalSpy added(&monitor, &VKQtVolumeMonitor::volumeAdded);
    QSignalSpy removed(&monitor, &VKQtVolumeMonitor::volumeRemoved);
    QSignalSpy changed(&monitor, &VKQtVolumeMonitor::volumesChanged);
    {
        const Mounts::Mounted mounted(kVolume, folder.toUtf8());
        QVERIFY2(mounted.isMounted(), mounted.message());
        QTRY_COMPARE(changed.size(), 1);
        QCOMPARE(texts(added), QStringList(folder));
        QVERIFY(added.at(0).at(0).value<VKQtPath>().isFolder());
        QCOMPARE(removed.size(), 0);
        QCOMPARE(texts(monitor.volumes()), before + QStringList(folder));
    }
    QTRY_COMPARE(changed.size(), 2);
    QCOMPARE(texts(removed), QStringList(folder));
    QCOMPARE(added.size(), 1);
    QCOMPARE(texts(monitor.volumes()), before);
}

void VKQtVolumeMonitorTest::isSilentAboutOtherMounts() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const QByteArray folder = makeFolder(u"other"_s).toUtf8();
    VKQtVolumeMonitor monitor;
    QSignalSpy changed(&monitor, &VKQtVolumeMonitor::volumesChanged);
    const Disk::TemporaryFileSystem noVolume(folder, "size=1m");
    QVERIFY(noVolume.isMounted());
    settle();
    QCOMPARE(changed.size(), 0);
    // It has looked: the next one is told of alone.
    const Mounts::Mounted volume(kVolume, makeFolder(u"volume"_s).toUtf8());
    QTRY_COMPARE(changed.size(), 1);
}

void VKQtVolumeMonitorTest::namesInCaseOnly() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const QString folder = makeFolder(u"case"_s);
    const Mounts::Mounted lower(kVolume, folder.toUtf8() + "/card");
    VKQtVolumeMonitor monitor;
    QSignalSpy added(&monitor, &VKQtVolumeMonitor::volumeAdded);
    const Mounts::Mounted upper(kVolume, folder.toUtf8() + "/CARD");
    QVERIFY2(upper.isMounted(), upper.message());
    QTRY_COMPARE(texts(added), QStringList(folder + u"/CARD"_s));
}

void VKQtVolumeMonitorTest::severalAtOnce() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const QString folder = makeFolder(u"several"_s);
    VKQtVolumeMonitor first;
    VKQtVolumeMonitor second;
    QSignalSpy added(&first, &VKQtVolumeMonitor::volumeAdded);
    QSignalSpy addedToSecond(&second, &VKQtVolumeMonitor::volumeAdded);
    QSignalSpy changed(&first, &VKQtVolumeMonitor::volumesChanged);
    const Mounts::Mounted a(kVolume, folder.toUtf8() + "/a");
    const Mounts::Mounted b(kVolume, folder.toUtf8() + "/b");
    QVERIFY(a.isMounted() && b.isMounted());
    QTRY_COMPARE(texts(added), (QStringList{folder + u"/a"_s, folder + u"/b"_s}));
    QTRY_COMPARE(texts(addedToSecond), texts(added));
    // The two came before the loop turned: one notification, one change.
    QCOMPARE(changed.size(), 1);
}

void VKQtVolumeMonitorTest::deletedBySlot() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const QByteArray folder = makeFolder(u"deleted"_s).toUtf8();
    auto* monitor = new VKQtVolumeMonitor;
    QObject::connect(monitor, &VKQtVolumeMonitor::volumeAdded, [&](const VKQtPath&) {
        delete monitor;
        monitor = nullptr;
    });
    const Mounts::Mounted a(kVolume, folder + "/a");
    const Mounts::Mounted b(kVolume, folder + "/b");
    QTRY_VERIFY(monitor == nullptr);
    settle();
}

void VKQtVolumeMonitorTest::serverThatIsSilent() {
    VKTEST_NEEDS(Mounts::NetworkDisk::canBeMade(), "root, FUSE, sshfs and openssh-sftp-server");
    const Mounts::NetworkDisk disk(makeFolder(u"net"_s).toUtf8());
    QVERIFY2(disk.isMounted(), disk.message());
    disk.signalServer(SIGSTOP);
    VKQtVolumeMonitor monitor;
    QVERIFY(texts(monitor.volumes()).contains(QString::fromUtf8(disk.place())));
    QSignalSpy changed(&monitor, &VKQtVolumeMonitor::volumesChanged);
    const Mounts::Mounted volume(kVolume, makeFolder(u"volume"_s).toUtf8());
    QTRY_COMPARE(changed.size(), 1);
}

VKTEST_MAIN_WITH_OWN_MOUNTS(VKQtVolumeMonitorTest)
#include "VKQtVolumeMonitorTest.moc"
