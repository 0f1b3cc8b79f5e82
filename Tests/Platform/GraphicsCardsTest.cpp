// Graphics cards of many machines, from pictures of /sys and of the list of names; and the real list.
#include "Platform/GraphicsCards.h"

#include "Platform/MachineTree.h"
#include "Support/VKTest.h"

#include <algorithm>

using namespace VKPlatform;

class GraphicsCardsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void numbers_data();
    void numbers();
    void displayClasses_data();
    void displayClasses();
    void names_data();
    void names();
    void cardNames_data();
    void cardNames();
    void uevents_data();
    void uevents();
    void noCard();
    void oneCard();
    void cardWithADriverOfItsOwn();
    void startCardFirst();
    void cardsOfADeviceTree();
    void noListOfNames();
    void secondPlaceOfTheList();
    void longestList();
    void mostCards();
    void brokenEntries();
    void realList();
    void thisMachine();
};

namespace {

constexpr char kList[] = "# a comment\n"
                         "1002  Advanced Micro Devices, Inc. [AMD/ATI]\n"
                         "\t73bf  Navi 21 [Radeon RX 6800/6800 XT / 6900 XT]\n"
                         "\t\t1002 0e3a  Radeon RX 6900 XT\n"
                         "\t\t1002 2489  not a device\n"
                         "10de  NVIDIA Corporation\n"
                         "# another comment\n"
                         "\n"
                         "\t248  short\n"
                         "\t24890  long\n"
                         "\t2489  GA104 [GeForce RTX 3060 Ti Lite Hash Rate]\n"
                         "8086  Intel Corporation\n"
                         "\t0116  2nd Generation Core Processor Family Integrated Graphics Controller\n"
                         "\t5917  UHD Graphics 620\n"
                         "C 03  Display controller\n"
                         "\t00  VGA compatible controller\n"
                         "ffff  Illegal Vendor ID";

struct Device {
    QByteArray place;
    QByteArray deviceClass = "0x030000";
    QByteArray vendor = "0x10de";
    QByteArray number = "0x2489";
};

QByteArray folderOf(const Device& device) { return "/sys/bus/pci/devices/" + device.place; }

void addDevice(const MachineTree& tree, const Device& device) {
    tree.file(folderOf(device) + "/class", device.deviceClass + '\n');
    tree.file(folderOf(device) + "/vendor", device.vendor + '\n');
    tree.file(folderOf(device) + "/device", device.number + '\n');
}

void addDriver(const MachineTree& tree, const Device& device, const QByteArray& driver) {
    tree.folder("/sys/bus/pci/drivers/" + driver);
    tree.link(folderOf(device) + "/driver", "../../../../bus/pci/drivers/" + driver);
}

void addList(const MachineTree& tree, const QByteArray& text = kList) {
    tree.file("/usr/share/misc/pci.ids", text);
}

} // namespace

void GraphicsCardsTest::numbers_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("digits");
    QTest::addColumn<qint64>("number"); // -1: none
    QTest::newRow("four") << QByteArray("0x10de\n") << 4 << qint64{0x10de};
    QTest::newRow("capitals") << QByteArray("0x10DE") << 4 << qint64{0x10de};
    QTest::newRow("six") << QByteArray("0x030000\n") << 6 << qint64{0x030000};
    QTest::newRow("all ones") << QByteArray("0xffff") << 4 << qint64{0xffff};
    QTest::newRow("one too few") << QByteArray("0x10d") << 4 << qint64{-1};
    QTest::newRow("one too many") << QByteArray("0x10dee") << 4 << qint64{-1};
    QTest::newRow("no digits") << QByteArray("0xzzzz") << 4 << qint64{-1};
    QTest::newRow("no prefix") << QByteArray("10de00") << 4 << qint64{-1};
    QTest::newRow("empty") << QByteArray() << 4 << qint64{-1};
}

void GraphicsCardsTest::numbers() {
    QFETCH(QByteArray, text);
    QFETCH(int, digits);
    QFETCH(qint64, number);
    const std::optional<std::uint32_t> parsed = parsePciNumber(text, digits);
    QCOMPARE(parsed.has_value() ? qint64{*parsed} : qint64{-1}, number);
}

void GraphicsCardsTest::displayClasses_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("isDisplay");
    QTest::newRow("VGA") << QByteArray("0x030000\n") << true;
    QTest::newRow("3D without a plug") << QByteArray("0x030200\n") << true;
    QTest::newRow("other display") << QByteArray("0x038000\n") << true;
    QTest::newRow("a camera") << QByteArray("0x040000\n") << false;
    QTest::newRow("a disk") << QByteArray("0x010802\n") << false;
    QTest::newRow("nothing") << QByteArray() << false;
    QTest::newRow("another shape") << QByteArray("0x0300") << false;
}

void GraphicsCardsTest::displayClasses() {
    QFETCH(QByteArray, text);
    QTEST(isDisplayClass(text), "isDisplay");
}

void GraphicsCardsTest::names_data() {
    QTest::addColumn<int>("vendor");
    QTest::addColumn<int>("device");
    QTest::addColumn<QByteArray>("vendorName");
    QTest::addColumn<QByteArray>("deviceName");
    const QByteArray nvidia = "NVIDIA Corporation";
    QTest::newRow("behind a comment and an empty line")
        << 0x10de << 0x2489 << nvidia << QByteArray("GA104 [GeForce RTX 3060 Ti Lite Hash Rate]");
    QTest::newRow("the first vendor")
        << 0x1002 << 0x73bf << QByteArray("Advanced Micro Devices, Inc. [AMD/ATI]")
        << QByteArray("Navi 21 [Radeon RX 6800/6800 XT / 6900 XT]");
    QTest::newRow("another vendor's device") << 0x10de << 0x73bf << nvidia << QByteArray();
    QTest::newRow("a maker's own name is no device")
        << 0x1002 << 0x1002 << QByteArray("Advanced Micro Devices, Inc. [AMD/ATI]") << QByteArray();
    QTest::newRow("a number in part") << 0x10de << 0x0248 << nvidia << QByteArray();
    QTest::newRow("unknown device") << 0x8086 << 0x0001 << QByteArray("Intel Corporation") << QByteArray();
    QTest::newRow("the last line, without an end")
        << 0xffff << 0x0001 << QByteArray("Illegal Vendor ID") << QByteArray();
    QTest::newRow("unknown vendor") << 0x1234 << 0x1111 << QByteArray() << QByteArray();
    QTest::newRow("a class is no vendor") << 0x0003 << 0x0000 << QByteArray() << QByteArray();
}

void GraphicsCardsTest::names() {
    QFETCH(int, vendor);
    QFETCH(int, device);
    const PciNames found =
        findPciNames(kList, {static_cast<std::uint16_t>(vendor), static_cast<std::uint16_t>(device)});
    QTEST(found.vendor, "vendorName");
    QTEST(found.device, "deviceName");
}

void GraphicsCardsTest::cardNames_data() {
    QTest::addColumn<QByteArray>("vendor");
    QTest::addColumn<QByteArray>("device");
    QTest::addColumn<int>("vendorNumber");
    QTest::addColumn<int>("deviceNumber");
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("both names") << QByteArray("NVIDIA Corporation") << QByteArray("GA104") << 0x10de << 0x2489
                                << QByteArray("NVIDIA Corporation GA104");
    QTest::newRow("the vendor's only") << QByteArray("NVIDIA Corporation") << QByteArray() << 0x10de << 0x0009
                                       << QByteArray("NVIDIA Corporation 10de:0009");
    QTest::newRow("none") << QByteArray() << QByteArray() << 0x1234 << 0x1111
                          << QByteArray("PCI display device 1234:1111");
    for (const int number : {0x0112, 0x0116, 0x0122, 0x0126}) {
        QTest::addRow("HD Graphics 3000, %04x", unsigned(number))
            << QByteArray("Intel Corporation") << QByteArray("2nd Generation Core Processor Family") << 0x8086
            << number << QByteArray("Intel HD Graphics 3000");
    }
    QTest::newRow("HD Graphics 2000 is another")
        << QByteArray("Intel Corporation") << QByteArray("2nd Generation Core Processor Family") << 0x8086
        << 0x0102 << QByteArray("Intel Corporation 2nd Generation Core Processor Family");
    QTest::newRow("that number of another vendor")
        << QByteArray("Acme") << QByteArray("Card") << 0x8087 << 0x0116 << QByteArray("Acme Card");
}

void GraphicsCardsTest::cardNames() {
    QFETCH(QByteArray, vendor);
    QFETCH(QByteArray, device);
    QFETCH(int, vendorNumber);
    QFETCH(int, deviceNumber);
    QTEST(pciCardName({vendor, device},
                      {static_cast<std::uint16_t>(vendorNumber), static_cast<std::uint16_t>(deviceNumber)}),
          "name");
}

void GraphicsCardsTest::uevents_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("value");
    QTest::newRow("among others") << QByteArray("OF_NAME=gpu\nDRIVER=vc4-drm\nMODALIAS=x\n")
                                  << QByteArray("vc4-drm");
    QTest::newRow("the first") << QByteArray("DRIVER=a1\nDRIVER=b2\n") << QByteArray("a1");
    QTest::newRow("without an end") << QByteArray("DRIVER=a1") << QByteArray("a1");
    QTest::newRow("a longer key") << QByteArray("DRIVERS=a1\nXDRIVER=a1\n") << QByteArray();
    QTest::newRow("the bare key") << QByteArray("DRIVER\n") << QByteArray();
    QTest::newRow("empty") << QByteArray() << QByteArray();
}

void GraphicsCardsTest::uevents() {
    QFETCH(QByteArray, text);
    QTEST(ueventValue(text, "DRIVER"), "value");
}

void GraphicsCardsTest::noCard() {
    const MachineTree tree;
    QVERIFY(graphicsCards(tree.root()).empty());
    addDevice(tree, {.place = "0000:00:02.0", .deviceClass = "0x020000"});
    addList(tree);
    QVERIFY(graphicsCards(tree.root()).empty());
}

void GraphicsCardsTest::oneCard() {
    const MachineTree tree;
    const Device device = {.place = "0000:00:02.0", .vendor = "0x8086", .number = "0x5917"};
    addDevice(tree, device);
    addDriver(tree, device, "i915");
    addList(tree);
    const std::vector<GraphicsCard> cards = graphicsCards(tree.root());
    QCOMPARE(cards.size(), std::size_t{1});
    const GraphicsCard expected = {.place = "0000:00:02.0",
                                   .numbers = PciNumbers{0x8086, 0x5917},
                                   .isStartCard = false,
                                   .driver = "i915",
                                   .driverVersion = "",
                                   .name = "Intel Corporation UHD Graphics 620"};
    QVERIFY(cards.front() == expected);
}

void GraphicsCardsTest::cardWithADriverOfItsOwn() {
    const MachineTree tree;
    const Device device = {.place = "0000:01:00.0"};
    addDevice(tree, device);
    addDriver(tree, device, "nvidia");
    tree.folder("/sys/module/nvidia");
    tree.file("/sys/module/nvidia/version", "535.129.03\n");
    tree.link("/sys/bus/pci/drivers/nvidia/module", "../../../../module/nvidia");
    // The devices of /sys are links as well: what they lead to is found through them.
    QVERIFY(graphicsCards(tree.root()).front().driver == "nvidia");
    tree.folder("/sys/devices");
    QVERIFY(::rename(Disk::text(tree.root() + folderOf(device)),
                     Disk::text(tree.root() + "/sys/devices/card")) == 0);
    tree.link(folderOf(device), "../../../devices/card");
    QVERIFY(::unlink(Disk::text(tree.root() + "/sys/devices/card/driver")) == 0);
    tree.link("/sys/devices/card/driver", "../../bus/pci/drivers/nvidia");
    const GraphicsCard card = graphicsCards(tree.root()).front();
    QCOMPARE(card.driver, QByteArray("nvidia"));
    QCOMPARE(card.driverVersion, QByteArray("535.129.03"));
    QCOMPARE(card.name, QByteArray("PCI display device 10de:2489"));
}

void GraphicsCardsTest::startCardFirst() {
    const MachineTree tree;
    addDevice(tree, {.place = "0000:00:02.0", .vendor = "0x8086", .number = "0x5917"});
    addDevice(tree, {.place = "0000:03:00.0", .vendor = "0x1002", .number = "0x73bf"});
    addDevice(tree, {.place = "0000:01:00.0", .deviceClass = "0x030200"});
    tree.file("/sys/bus/pci/devices/0000:00:02.0/boot_vga", "0\n");
    tree.file("/sys/bus/pci/devices/0000:03:00.0/boot_vga", "1\n");
    QByteArrayList places;
    for (const GraphicsCard& card : graphicsCards(tree.root())) {
        places << card.place;
    }
    QCOMPARE(places, QByteArrayList({"0000:03:00.0", "0000:00:02.0", "0000:01:00.0"}));
}

void GraphicsCardsTest::cardsOfADeviceTree() {
    const MachineTree tree;
    const QByteArray folder = "/sys/class/drm/";
    tree.file(folder + "card0/device/uevent",
              "DRIVER=v3d\nOF_COMPATIBLE_0=brcm,2711-v3d\nOF_COMPATIBLE_N=1\n");
    tree.file(folder + "card1/device/uevent", "DRIVER=vc4-drm\nOF_COMPATIBLE_0=brcm,bcm2711-vc5\n");
    tree.file(folder + "card1-HDMI-A-1/device/uevent", "OF_COMPATIBLE_0=brcm,plug\n");
    tree.file(folder + "renderD128/device/uevent", "OF_COMPATIBLE_0=brcm,2711-v3d\n");
    tree.file(folder + "card2/device/uevent", "OF_COMPATIBLE_0=simple-framebuffer\n");
    tree.file(folder + "card3/device/uevent",
              "DRIVER=i915\nPCI_ID=8086:5917\nOF_COMPATIBLE_0=pci8086,5917\n");
    tree.file(folder + "card4/device/uevent", "DRIVER=vkms\n");
    tree.file(folder + "version", "drm 1.1.0 20060810\n");
    const std::vector<GraphicsCard> cards = graphicsCards(tree.root());
    QCOMPARE(cards.size(), std::size_t{2});
    QCOMPARE(cards[0].name, QByteArray("Broadcom 2711-v3d"));
    QCOMPARE(cards[0].driver, QByteArray("v3d"));
    QCOMPARE(cards[0].place, QByteArray("card0"));
    QVERIFY(!cards[0].numbers.has_value());
    QCOMPARE(cards[1].name, QByteArray("Broadcom bcm2711-vc5"));
}

void GraphicsCardsTest::noListOfNames() {
    const MachineTree tree;
    addDevice(tree, {.place = "0000:01:00.0"});
    addDevice(tree, {.place = "0000:02:00.0", .vendor = "0x8086", .number = "0x0116"});
    const std::vector<GraphicsCard> cards = graphicsCards(tree.root());
    QCOMPARE(cards[0].name, QByteArray("PCI display device 10de:2489"));
    QCOMPARE(cards[1].name, QByteArray("Intel HD Graphics 3000"));
}

void GraphicsCardsTest::secondPlaceOfTheList() {
    const MachineTree tree;
    addDevice(tree, {.place = "0000:01:00.0"});
    tree.file("/usr/share/hwdata/pci.ids", "10de  Second\n");
    QCOMPARE(graphicsCards(tree.root()).front().name, QByteArray("Second 10de:2489"));
    addList(tree, "10de  First\n");
    QCOMPARE(graphicsCards(tree.root()).front().name, QByteArray("First 10de:2489"));
}

void GraphicsCardsTest::longestList() {
    const MachineTree tree;
    addDevice(tree, {.place = "0000:01:00.0"});
    addList(tree, "10de  Found\n");
    const QByteArray path = tree.root() + "/usr/share/misc/pci.ids";
    for (const std::uint64_t size : {kPciNamesLimit - 1, kPciNamesLimit, kPciNamesLimit + 1}) {
        QVERIFY(::truncate(path.constData(), static_cast<off_t>(size)) == 0);
        QCOMPARE(graphicsCards(tree.root()).front().name,
                 QByteArray(size <= kPciNamesLimit ? "Found 10de:2489" : "PCI display device 10de:2489"));
    }
}

void GraphicsCardsTest::mostCards() {
    for (const std::size_t count : {kGraphicsCardsLimit - 1, kGraphicsCardsLimit, kGraphicsCardsLimit + 1}) {
        const MachineTree tree;
        for (std::size_t i = 0; i < count; ++i) {
            addDevice(tree, {.place = "0000:" + QByteArray::number(quint64{i} + 10) + ":00.0"});
        }
        QCOMPARE(graphicsCards(tree.root()).size(), std::min(count, kGraphicsCardsLimit));
        // Those of a device tree count with them.
        tree.file("/sys/class/drm/card0/device/uevent", "OF_COMPATIBLE_0=brcm,x1\n");
        QCOMPARE(graphicsCards(tree.root()).size(), std::min(count + 1, kGraphicsCardsLimit));
    }
}

void GraphicsCardsTest::brokenEntries() {
    const MachineTree tree;
    addDevice(tree, {.place = "0000:01:00.0", .vendor = "nonsense"});
    addDevice(tree, {.place = "0000:02:00.0", .number = ""});
    tree.folder("/sys/bus/pci/devices/0000:03:00.0");
    tree.link("/sys/bus/pci/devices/0000:04:00.0", "nowhere");
    tree.link("/sys/bus/pci/devices/0000:05:00.0", "0000:05:00.0");
    addDevice(tree, {.place = "0000:06:00.0"});
    // A driver that is no link.
    tree.folder("/sys/bus/pci/devices/0000:06:00.0/driver");
    const std::vector<GraphicsCard> cards = graphicsCards(tree.root());
    QCOMPARE(cards.size(), std::size_t{1});
    QCOMPARE(cards.front().driver, QByteArray());
}

void GraphicsCardsTest::realList() {
    VKTEST_NEEDS(Disk::exists("/usr/share/misc/pci.ids"), "pci.ids");
    const MachineTree tree;
    tree.folder("/usr/share/misc");
    tree.link("/usr/share/misc/pci.ids", "/usr/share/misc/pci.ids");
    addDevice(tree, {.place = "0000:01:00.0"});
    addDevice(tree, {.place = "0000:02:00.0", .vendor = "0x1002", .number = "0x73bf"});
    addDevice(tree, {.place = "0000:03:00.0", .vendor = "0x8086", .number = "0x5917"});
    addDevice(tree, {.place = "0000:04:00.0", .vendor = "0x1af4", .number = "0x1050"});
    const std::vector<GraphicsCard> cards = graphicsCards(tree.root());
    QCOMPARE(cards[0].name, QByteArray("NVIDIA Corporation GA104 [GeForce RTX 3060 Ti Lite Hash Rate]"));
    QCOMPARE(cards[1].name, QByteArray("Advanced Micro Devices, Inc. [AMD/ATI] "
                                       "Navi 21 [Radeon RX 6800/6800 XT / 6900 XT]"));
    QCOMPARE(cards[2].name, QByteArray("Intel Corporation UHD Graphics 620"));
    QVERIFY2(cards[3].name.startsWith("Red Hat, Inc. Virtio"), cards[3].name);
}

void GraphicsCardsTest::thisMachine() {
    std::size_t displays = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/sys/bus/pci/devices")) {
        const QByteArray path = QByteArray::fromStdString(entry.path().string());
        if (Disk::contentOf(path + "/class").startsWith("0x03")) {
            ++displays;
        }
    }
    std::size_t listed = 0;
    for (const GraphicsCard& card : graphicsCards()) {
        if (card.numbers.has_value()) {
            ++listed;
        }
        QVERIFY(!card.name.isEmpty() && !card.place.isEmpty());
    }
    QCOMPARE(listed, displays);
}

VKTEST_MAIN(GraphicsCardsTest)
#include "GraphicsCardsTest.moc"
