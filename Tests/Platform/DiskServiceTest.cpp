// The disk service: its objects to facts by rows; a stand-in with drives; the real service on a bus of the test's own.
#include "Platform/DiskService.h"

#include "Platform/VolumeUnmount.h"
#include "Support/BusSupport.h"
#include "Support/DiskSupport.h"
#include "Support/MountSupport.h"
#include "Support/VKTest.h"

#include <QSemaphore>

#include <atomic>
#include <cerrno>
#include <sys/stat.h>
#include <sys/sysmacros.h>

using namespace VKPlatform;

class DiskServiceTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void errors_data();
    void errors();
    void facts();
    void ejectable_data();
    void ejectable();
    void valuesOfAnotherKind();
    void longTexts();
    void noBus();
    void noService();
    void standIn();
    void standInWithManyKinds_data();
    void standInWithManyKinds();
    void silentService();
    void silentBus();
    void unmountByStandIn_data();
    void unmountByStandIn();
    void silentUnmount();
    void severalPlacesGoPastTheService();
    void realService();
};

namespace {

QByteArray newFolder() { return VKTest::makeFolder(QStringLiteral("bus")).toUtf8(); }

DiskObject block(std::uint64_t number) {
    return {{"Block.DeviceNumber", number}, {"Filesystem.MountPoints", QByteArrayList()}};
}

/// The facts of one block device with these properties, and of a drive with those.
DiskFacts factsOf(DiskObject properties, const DiskObject& drive = {}) {
    properties.merge(block(makedev(8, 17)));
    std::map<QByteArray, DiskObject> objects = {{"/block", properties}};
    if (!drive.empty()) {
        objects["/block"]["Block.Drive"] = QByteArray("/drive");
        objects["/drive"] = drive;
    }
    const auto disks = diskFactsFrom(objects);
    return disks.size() == 1 ? disks.front() : DiskFacts();
}

bool isMounted(const QByteArray& place) {
    std::vector<MountEntry> mounts;
    return mountedFileSystems(mounts) == 0 && mountAt(mounts, place) != nullptr;
}

} // namespace

void DiskServiceTest::errors_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("error");
    const auto row = [](const char* name, int error) { QTest::newRow(name) << QByteArray(name) << error; };
    row("org.freedesktop.UDisks2.Error.DeviceBusy", EBUSY);
    row("org.freedesktop.UDisks2.Error.NotMounted", EINVAL);
    row("org.freedesktop.UDisks2.Error.NotAuthorized", EPERM);
    row("org.freedesktop.UDisks2.Error.NotAuthorizedCanObtain", EPERM);
    row("org.freedesktop.UDisks2.Error.NotAuthorizedDismissed", ECANCELED);
    row("org.freedesktop.UDisks2.Error.MountedByOtherUser", EPERM);
    row("org.freedesktop.UDisks2.Error.Timedout", ETIMEDOUT);
    row("org.freedesktop.UDisks2.Error.Failed", EIO);
    row("org.freedesktop.DBus.Error.ServiceUnknown", ENOENT);
    row("org.freedesktop.DBus.Error.NameHasNoOwner", ENOENT);
    row("org.freedesktop.DBus.Error.UnknownMethod", ENOENT);
    row("org.freedesktop.DBus.Error.NoReply", ETIMEDOUT);
    row("org.example.Whatever", EIO);
    row("", EIO);
}

void DiskServiceTest::errors() {
    QFETCH(QByteArray, name);
    QTEST(errorOfDiskService(name), "error");
}

void DiskServiceTest::facts() {
    const QByteArray place("/media/anna/My Card\0", 20);
    DiskObject card = block(makedev(259, 70000));
    card["Block.IdLabel"] = QByteArray("My Card");
    card["Block.IdUUID"] = QByteArray("1a2b-3c4d");
    card["Block.HintName"] = QByteArray("Camera");
    card["Block.HintSystem"] = false;
    card["Filesystem.MountPoints"] = QByteArrayList{place, "/without zero"};
    const auto disks = diskFactsFrom({{"/card", card},
                                      {"/swap", {{"Block.DeviceNumber", std::uint64_t(makedev(8, 2))}}},
                                      {"/odd", {{"Filesystem.MountPoints", QByteArrayList()}}},
                                      {"/manager", {}}});
    QCOMPARE(disks.size(), 1U);
    const DiskFacts& disk = disks.front();
    QCOMPARE(disk.objectPath, QByteArray("/card"));
    QVERIFY((disk.device == DeviceNumber{259, 70000}));
    QCOMPARE(disk.label, QByteArray("My Card"));
    QCOMPARE(disk.uuid, QByteArray("1A2B-3C4D"));
    QCOMPARE(disk.name, QByteArray("Camera"));
    QCOMPARE(disk.mountPoints, (QByteArrayList{"/media/anna/My Card", "/without zero"}));
    QVERIFY(!disk.isSystem);
    QCOMPARE(diskOf(disks, {259, 70000}), &disk);
    QVERIFY(diskOf(disks, {259, 70001}) == nullptr);
    QVERIFY(diskOf({}, {259, 70000}) == nullptr);
}

void DiskServiceTest::ejectable_data() {
    QTest::addColumn<bool>("system");
    QTest::addColumn<QByteArray>("property");
    QTest::addColumn<bool>("ejectable");
    QTest::newRow("a disk of the machine") << true << QByteArray("Drive.Optical=false") << false;
    QTest::newRow("a removable drive") << true << QByteArray("Drive.Removable=true") << true;
    QTest::newRow("a drive that ejects") << true << QByteArray("Drive.Ejectable=true") << true;
    QTest::newRow("a removable medium") << true << QByteArray("Drive.MediaRemovable=true") << true;
    QTest::newRow("USB, which says fixed") << true << QByteArray("Drive.ConnectionBus=usb") << true;
    QTest::newRow("a card slot") << true << QByteArray("Drive.ConnectionBus=sdio") << true;
    QTest::newRow("another bus") << true << QByteArray("Drive.ConnectionBus=ieee1394") << false;
    QTest::newRow("no drive, of the machine") << true << QByteArray() << false;
    QTest::newRow("no drive, of a user") << false << QByteArray() << true;
    QTest::newRow("a fixed drive for users") << false << QByteArray("Drive.Removable=false") << false;
}

void DiskServiceTest::ejectable() {
    QFETCH(bool, system);
    QFETCH(QByteArray, property);
    QFETCH(bool, ejectable);
    DiskObject drive;
    if (const QByteArrayList words = property.split('='); words.size() == 2) {
        drive[words.at(0)] = words.at(1) == "true"    ? DiskValue(true)
                             : words.at(1) == "false" ? DiskValue(false)
                                                      : DiskValue(words.at(1));
    }
    QCOMPARE(factsOf({{"Block.HintSystem", system}}, drive).isEjectable, ejectable);
}

void DiskServiceTest::valuesOfAnotherKind() {
    const DiskFacts disk = factsOf({{"Block.IdLabel", true},
                                    {"Block.IdUUID", std::uint64_t(7)},
                                    {"Block.HintName", std::monostate()},
                                    {"Block.Drive", QByteArray("/none")}});
    QVERIFY(disk.label.isEmpty() && disk.uuid.isEmpty() && disk.name.isEmpty());
    QVERIFY(disk.isSystem);
    QVERIFY(!disk.isEjectable);
    QVERIFY((factsOf({{"Block.DeviceNumber", QByteArray("x")}}).device == DeviceNumber{0, 0}));
}

void DiskServiceTest::longTexts() {
    for (const qsizetype size : {kMostLabelBytes - 1, kMostLabelBytes, kMostLabelBytes + 1}) {
        const DiskFacts disk =
            factsOf({{"Block.IdLabel", QByteArray(size, 'l')}, {"Block.HintName", QByteArray(size, 'n')}});
        QCOMPARE(disk.label.size(), qMin(size, kMostLabelBytes));
        QCOMPARE(disk.name.size(), qMin(size, kMostLabelBytes));
    }
}

void DiskServiceTest::noBus() {
    const QByteArray before = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + newFolder() + "/none");
    std::vector<DiskFacts> disks(1);
    const int error = askDiskService(disks);
    const int unmounted = unmountByDiskService(DiskFacts());
    before.isNull() ? qunsetenv("DBUS_SYSTEM_BUS_ADDRESS") : qputenv("DBUS_SYSTEM_BUS_ADDRESS", before);
    QCOMPARE(error, ENOENT);
    QVERIFY(disks.empty());
    QCOMPARE(unmounted, ENOENT);
}

void DiskServiceTest::noService() {
    VKTEST_NEEDS(Bus::SystemBus::canBeMade(), "dbus-daemon and gdbus");
    const Bus::SystemBus bus(newFolder());
    QVERIFY(bus.isReady());
    std::vector<DiskFacts> disks;
    QCOMPARE(askDiskService(disks), ENOENT);
}

void DiskServiceTest::standIn() {
    VKTEST_NEEDS(Bus::FakeDiskService::canBeMade(), "dbus-daemon, gdbus, python3-dbus and python3-gi");
    const Bus::SystemBus bus(newFolder());
    const Bus::FakeDiskService service(bus, {QByteArray::number(qulonglong(makedev(8, 17))), "/media/x y",
                                             "ok", "Block.IdLabel=Label", "Block.HintName=Käärd",
                                             "Block.HintSystem=false", "Drive.Ejectable=true"});
    QVERIFY2(service.isReady(), Disk::contentOf(bus.folder() + "/fake.log"));
    std::vector<DiskFacts> disks;
    QCOMPARE(askDiskService(disks), 0);
    QCOMPARE(disks.size(), 1U);
    const DiskFacts& disk = disks.front();
    QVERIFY((disk.device == DeviceNumber{8, 17}));
    QCOMPARE(disk.objectPath, QByteArray("/org/freedesktop/UDisks2/block_devices/fake"));
    QCOMPARE(disk.label, QByteArray("Label"));
    QCOMPARE(disk.name, QByteArray("Käärd"));
    QCOMPARE(disk.mountPoints, QByteArrayList{"/media/x y"});
    QVERIFY(!disk.isSystem);
    QVERIFY(disk.isEjectable);
}

void DiskServiceTest::standInWithManyKinds_data() {
    QTest::addColumn<QByteArrayList>("words");
    QTest::addColumn<bool>("ejectable");
    QTest::newRow("no drive") << QByteArrayList{} << false;
    QTest::newRow("USB") << QByteArrayList{"Drive.ConnectionBus=usb", "Drive.Removable=false"} << true;
    QTest::newRow("fixed") << QByteArrayList{"Drive.ConnectionBus=", "Drive.Removable=false"} << false;
}

void DiskServiceTest::standInWithManyKinds() {
    VKTEST_NEEDS(Bus::FakeDiskService::canBeMade(), "dbus-daemon, gdbus, python3-dbus and python3-gi");
    QFETCH(QByteArrayList, words);
    QFETCH(bool, ejectable);
    const Bus::SystemBus bus(newFolder());
    const Bus::FakeDiskService service(bus, QByteArrayList{"2065", "-", "ok"} + words);
    std::vector<DiskFacts> disks;
    QCOMPARE(askDiskService(disks), 0);
    QCOMPARE(disks.size(), 1U);
    QCOMPARE(disks.front().isEjectable, ejectable);
    QVERIFY(disks.front().mountPoints.isEmpty());
}

void DiskServiceTest::silentService() {
    VKTEST_NEEDS(Bus::FakeDiskService::canBeMade(), "dbus-daemon, gdbus, python3-dbus and python3-gi");
    const Bus::SystemBus bus(newFolder());
    const Bus::FakeDiskService service(bus, {"2065", "-", "silent"});
    QVERIFY(service.isReady());
    std::vector<DiskFacts> disks;
    QCOMPARE(askDiskService(disks), ETIMEDOUT);
}

void DiskServiceTest::silentBus() {
    VKTEST_NEEDS(Bus::SystemBus::canBeMade(), "dbus-daemon and gdbus");
    Bus::SystemBus bus(newFolder());
    QVERIFY(bus.isReady());
    bus.daemon().signal(SIGSTOP);
    std::vector<DiskFacts> disks;
    QCOMPARE(askDiskService(disks), ETIMEDOUT);
    // The first question is still open: no second one is asked.
    QCOMPARE(askDiskService(disks), ETIMEDOUT);
    bus.daemon().signal(SIGCONT);
    QTRY_COMPARE(askDiskService(disks), ENOENT);
}

void DiskServiceTest::unmountByStandIn_data() {
    QTest::addColumn<QByteArray>("behaviour");
    QTest::addColumn<int>("error");
    QTest::addColumn<bool>("staysMounted");
    QTest::newRow("done") << QByteArray("ok") << 0 << false;
    QTest::newRow("busy") << QByteArray("busy") << EBUSY << true;
    QTest::newRow("the user refused") << QByteArray("dismissed") << ECANCELED << true;
    QTest::newRow("not allowed") << QByteArray("forbidden") << EPERM << true;
    QTest::newRow("the service fails: the kernel does it") << QByteArray("failing") << 0 << false;
}

void DiskServiceTest::unmountByStandIn() {
    VKTEST_NEEDS_SERVED_DISK();
    QFETCH(QByteArray, behaviour);
    QFETCH(int, error);
    QFETCH(bool, staysMounted);
    const Bus::ServedDisk mounted(newFolder(), behaviour);
    QVERIFY2(mounted.isReady(), mounted.message());
    QCOMPARE(unmountVolume(mounted.place()), error);
    QCOMPARE(isMounted(mounted.place()), staysMounted);
}

void DiskServiceTest::silentUnmount() {
    VKTEST_NEEDS_SERVED_DISK();
    // A service that does not answer the question is as good as none.
    const Bus::ServedDisk mounted(newFolder(), "silent");
    QVERIFY2(mounted.isReady(), mounted.message());
    QSemaphore ended;
    std::atomic<int> result = -1;
    QVERIFY(startUnmount(mounted.place(), [&](int error) {
        result = error;
        ended.release();
    }));
    ended.acquire();
    QCOMPARE(result.load(), 0);
    QVERIFY(!isMounted(mounted.place()));
}

void DiskServiceTest::severalPlacesGoPastTheService() {
    VKTEST_NEEDS_SERVED_DISK();
    const QByteArray folder = newFolder();
    const Mounts::LoopDisk disk(folder + "/disk", "mkfs.ext4 -q", 8);
    const Mounts::Mounted first(disk.device(), folder + "/first");
    const Mounts::Mounted second(disk.device(), folder + "/second");
    QVERIFY2(first.isMounted() && second.isMounted(), second.message());
    const Bus::SystemBus bus(folder);
    // It would unmount the first.
    const Bus::FakeDiskService service(bus, {Bus::numberOf(disk.device()), first.place(), "ok"});
    QVERIFY(service.isReady());
    QCOMPARE(unmountVolume(second.place()), 0);
    QVERIFY(isMounted(first.place()));
    QVERIFY(!isMounted(second.place()));
}

void DiskServiceTest::realService() {
    VKTEST_NEEDS(Bus::RealDiskService::canBeMade(),
                 "root, loop devices, dbus-daemon, gdbus, udev and udisks2");
    const QByteArray folder = newFolder();
    const Bus::SystemBus bus(folder);
    const Bus::RealDiskService service(bus);
    QVERIFY2(service.isReady(), Disk::contentOf(bus.folder() + "/udisksd.log"));
    const Mounts::LoopDisk disk(folder + "/disk",
                                "mkfs.ext4 -q -L 'My Card' -U 0f5e0a3c-1111-2222-3333-44445555abcd", 8);
    QVERIFY2(disk.isReady(), disk.message());
    Bus::RealDiskService::settle();
    const Mounts::Mounted mounted(disk.device(), folder + "/m");
    QVERIFY2(mounted.isMounted(), mounted.message());
    struct stat record;
    QCOMPARE(::stat(disk.device(), &record), 0);
    const DeviceNumber number = {major(record.st_rdev), minor(record.st_rdev)};
    std::vector<DiskFacts> disks;
    // It learns of mounts by itself, a little later.
    QTRY_VERIFY(askDiskService(disks) == 0 && diskOf(disks, number) != nullptr &&
                diskOf(disks, number)->mountPoints == QByteArrayList{mounted.place()});
    const DiskFacts* facts = diskOf(disks, number);
    QCOMPARE(facts->label, QByteArray("My Card"));
    QCOMPARE(facts->uuid, QByteArray("0F5E0A3C-1111-2222-3333-44445555ABCD"));
    {
        const Disk::WorkingFolder inside(mounted.place());
        QCOMPARE(unmountByDiskService(*facts), EBUSY);
    }
    QCOMPARE(unmountByDiskService(*facts), 0);
    QVERIFY(!isMounted(mounted.place()));
    QCOMPARE(unmountByDiskService(*facts), EINVAL);
    DiskFacts unknown = *facts;
    unknown.objectPath = "/org/freedesktop/UDisks2/block_devices/none";
    QCOMPARE(unmountByDiskService(unknown), ENOENT);
}

VKTEST_MAIN_WITH_OWN_MOUNTS(DiskServiceTest)
#include "DiskServiceTest.moc"
