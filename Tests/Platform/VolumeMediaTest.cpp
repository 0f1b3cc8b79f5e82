// Whether a device can be taken away, from pictures of /sys; and the real one.
#include "Platform/VolumeMedia.h"

#include "Support/DiskSupport.h"
#include "Support/VKTest.h"

using namespace VKPlatform;

class VolumeMediaTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void machines_data();
    void machines();
    void levels();
    void circle();
    void theRealSystem();
};

namespace {

void makeFolders(const QByteArray& path) {
    for (qsizetype slash = path.indexOf('/', 1); slash >= 0; slash = path.indexOf('/', slash + 1)) {
        if (!Disk::exists(path.first(slash))) {
            Disk::makeFolder(path.first(slash));
        }
    }
    if (!Disk::exists(path)) {
        Disk::makeFolder(path);
    }
}

/// A device in a picture of /sys.
void makeDevice(const QByteArray& system, const QByteArray& number, const QByteArray& folder) {
    makeFolders(system + folder);
    makeFolders(system + "/dev/block");
    Disk::makeLink(system + "/dev/block/" + number, "../.." + folder);
}

void makeFact(const QByteArray& path, const QByteArray& content) {
    makeFolders(path.first(path.lastIndexOf('/')));
    Disk::makeFile(path, content + '\n');
}

QByteArray newFolder() { return VKTest::makeFolder(QStringLiteral("sys")).toUtf8(); }

} // namespace

void VolumeMediaTest::machines_data() {
    QTest::addColumn<QByteArray>("device");
    QTest::addColumn<QByteArrayList>("facts"); // path below /sys, "=", content
    QTest::addColumn<bool>("removable");
    const QByteArray disk = "/devices/pci0/ata1/host0/block/sda";
    const QByteArray stick = "/devices/pci0/usb1/1-1/host6/block/sdb";
    const QByteArray card = "/devices/platform/mmc_host/mmc0/mmc0:0001/block/mmcblk0";
    QTest::newRow("a disk") << disk << QByteArrayList{disk + "/removable=0"} << false;
    QTest::newRow("a partition of a disk")
        << disk + "/sda1" << QByteArrayList{disk + "/removable=0", disk + "/sda1/partition=1"} << false;
    QTest::newRow("a removable disk") << disk << QByteArrayList{disk + "/removable=1"} << true;
    QTest::newRow("a partition of a removable disk")
        << disk + "/sda1" << QByteArrayList{disk + "/removable=1", disk + "/sda1/partition=1"} << true;
    QTest::newRow("a disk on USB, which says fixed")
        << stick << QByteArrayList{stick + "/removable=0"} << true;
    QTest::newRow("a partition on USB")
        << stick + "/sdb1" << QByteArrayList{stick + "/removable=0", stick + "/sdb1/partition=1"} << true;
    QTest::newRow("a memory card") << card + "/mmcblk0p1"
                                   << QByteArrayList{card + "/removable=0", card + "/device/type=SD",
                                                     card + "/mmcblk0p1/partition=1"}
                                   << true;
    QTest::newRow("soldered memory") << card
                                     << QByteArrayList{card + "/removable=0", card + "/device/type=MMC"}
                                     << false;
    QTest::newRow("nothing is said") << disk << QByteArrayList() << false;
    QTest::newRow("nonsense is said") << disk << QByteArrayList{disk + "/removable=10"} << false;
    QTest::newRow("encrypted, on a disk")
        << QByteArray("/devices/virtual/block/dm-0")
        << QByteArrayList{"/devices/virtual/block/dm-0/removable=0",
                          "/devices/virtual/block/dm-0/slaves/sda1->" + disk, disk + "/removable=0"}
        << false;
    QTest::newRow("encrypted, on a stick")
        << QByteArray("/devices/virtual/block/dm-0")
        << QByteArrayList{"/devices/virtual/block/dm-0/removable=0",
                          "/devices/virtual/block/dm-0/slaves/sdb->" + stick, stick + "/removable=0"}
        << true;
    QTest::newRow("of a disk and a stick")
        << QByteArray("/devices/virtual/block/md0")
        << QByteArrayList{"/devices/virtual/block/md0/slaves/sda->" + disk, disk + "/removable=0",
                          "/devices/virtual/block/md0/slaves/sdb->" + stick, stick + "/removable=0"}
        << true;
}

void VolumeMediaTest::machines() {
    QFETCH(QByteArray, device);
    QFETCH(QByteArrayList, facts);
    QFETCH(bool, removable);
    const QByteArray system = newFolder();
    makeDevice(system, "8:17", device);
    for (const QByteArray& fact : facts) {
        if (const qsizetype arrow = fact.indexOf("->"); arrow >= 0) {
            makeFolders(system + fact.sliced(arrow + 2));
            const QByteArray link = system + fact.first(arrow);
            makeFolders(link.first(link.lastIndexOf('/')));
            Disk::makeLink(link, system + fact.sliced(arrow + 2));
        } else {
            const qsizetype equals = fact.lastIndexOf('=');
            makeFact(system + fact.first(equals), fact.sliced(equals + 1));
        }
    }
    QCOMPARE(isRemovableDevice({8, 17}, system), removable);
    QVERIFY(!isRemovableDevice({8, 18}, system));
}

void VolumeMediaTest::levels() {
    // A mapped device upon a mapped device ...: the eighth is looked at, the ninth is not.
    for (const int depth : {7, 8, 9}) {
        const QByteArray system = newFolder();
        const auto folder = [](int level) -> QByteArray {
            return QByteArray("/devices/virtual/block/dm-") + QByteArray::number(level);
        };
        makeDevice(system, "253:0", folder(0));
        for (int level = 1; level < depth; ++level) {
            makeFolders(system + folder(level));
            makeFolders(system + folder(level - 1) + "/slaves");
            Disk::makeLink(system + folder(level - 1) + "/slaves/x", system + folder(level));
        }
        makeFact(system + folder(depth - 1) + "/removable", "1");
        QCOMPARE(isRemovableDevice({253, 0}, system), depth <= 8);
    }
}

void VolumeMediaTest::circle() {
    const QByteArray system = newFolder();
    makeDevice(system, "253:0", "/devices/dm-0");
    makeFolders(system + "/devices/dm-0/slaves");
    Disk::makeLink(system + "/devices/dm-0/slaves/dm-0", system + "/devices/dm-0");
    QVERIFY(!isRemovableDevice({253, 0}, system));
}

void VolumeMediaTest::theRealSystem() {
    QVERIFY(!isRemovableDevice({0, 0}));
    QVERIFY(!isRemovableDevice({4095, 1048575}));
}

VKTEST_MAIN(VolumeMediaTest)
#include "VolumeMediaTest.moc"
