// Names of systems, machines and processors, from the files of many of them, and from this one.
#include "Platform/MachineFacts.h"

#include "Platform/MachineTree.h"
#include "Support/ShellCommand.h"
#include "Support/VKTest.h"

using namespace VKPlatform;

class MachineFactsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void facts_data();
    void facts();
    void factsTwiceAreTheSame();
    void longestFact();
    void systems_data();
    void systems();
    void machines_data();
    void machines();
    void processors_data();
    void processors();
    void processorKinds_data();
    void processorKinds();
    void mostProcessorKinds();
    void treeEntries_data();
    void treeEntries();
    void systemBelowARoot();
    void systemInAFlatpak();
    void machineBelowARoot();
    void onlyTheStartOfAFileIsRead();
    void processorBelowARoot();
    void nothingBelowARoot();
    void whatIsNoFile();
    void thisMachine();
};

namespace {

QByteArray strings(const QByteArrayList& list) { return list.join('\0') + '\0'; }

} // namespace

void MachineFactsTest::facts_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("fact");
    const auto is = [](const char* text, const char* fact) {
        QTest::addRow("%s", QByteArray(text).simplified().prepend('"').append('"').constData())
            << QByteArray(text) << QByteArray(fact);
    };
    const auto isNone = [&](const char* text) { is(text, ""); };
    is("LENOVO\n", "LENOVO");
    is(" Precision  5560 \n", "Precision 5560");
    is("\tMac\r\nPro", "Mac Pro");
    is("Mac\x7fPro", "Mac Pro");
    is("OptiPlex 7050", "OptiPlex 7050");
    is("7050", "7050");
    is("X1", "X1");
    is("Z", "Z");
    is("方正", "方正");
    is("System x3650 M5", "System x3650 M5");
    is("Unknown Worlds X", "Unknown Worlds X");
    isNone("");
    isNone(" \n");
    isNone("To Be Filled By O.E.M.");
    isNone("To be filled by O.E.M.\n");
    isNone("to be filled by oem");
    isNone("TO BE FILLED");
    isNone("Default string");
    isNone("  Default   string ");
    isNone("System Product Name");
    isNone("System manufacturer");
    isNone("System Version");
    isNone("All Series");
    isNone("Not Specified");
    isNone("Not Applicable");
    isNone("N/A");
    isNone("None");
    isNone("O.E.M.");
    isNone("OEM");
    isNone("unknown");
    isNone("Undefined");
    isNone("INVALID");
    isNone("Type1ProductConfigId");
    isNone("<BAD INDEX>");
    isNone("0123456789");
    isNone("123456789");
    isNone("1234567890");
    isNone("00000000");
    isNone("xxxxxxxxxx");
    isNone("XXXX");
    isNone("xx");
    isNone("1234");
    is("123", "123");
    isNone("-");
    isNone("...");
    isNone("????");
}

void MachineFactsTest::facts() {
    QFETCH(QByteArray, text);
    QTEST(factOf(text), "fact");
}

void MachineFactsTest::factsTwiceAreTheSame() {
    for (const char* text : {" A  b\n", "To be filled", "\x01z\x7f y", "0.1", "\xff\xfe"}) {
        const QByteArray once = factOf(text);
        QCOMPARE(factOf(once), once);
    }
}

void MachineFactsTest::longestFact() {
    const auto textOf = [](qsizetype length) -> QByteArray { return QByteArray(length - 1, 'a') + 'b'; };
    QCOMPARE(factOf(textOf(kFactLengthLimit - 1)), textOf(kFactLengthLimit - 1));
    QCOMPARE(factOf(textOf(kFactLengthLimit)), textOf(kFactLengthLimit));
    QCOMPARE(factOf(textOf(kFactLengthLimit + 1)), QByteArray());
    // Blanks do not count.
    QCOMPARE(factOf(QByteArray(QByteArray(1000, ' ') + textOf(kFactLengthLimit))), textOf(kFactLengthLimit));
}

void MachineFactsTest::systems_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("version");
    QTest::addColumn<QByteArray>("build");
    const auto row = [](const char* title, const char* text, const char* name, const char* version,
                        const char* build) {
        QTest::newRow(title) << QByteArray(text) << QByteArray(name) << QByteArray(version)
                             << QByteArray(build);
    };
    row("Debian",
        "PRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\nNAME=\"Debian GNU/Linux\"\nVERSION_ID=\"12\"\n"
        "VERSION=\"12 (bookworm)\"\nVERSION_CODENAME=bookworm\nID=debian\n",
        "Debian GNU/Linux", "12", "6.1.0-18-amd64");
    row("Debian testing", "NAME=\"Debian GNU/Linux\"\nVERSION_CODENAME=trixie\nID=debian\n",
        "Debian GNU/Linux", "trixie", "6.1.0-18-amd64");
    row("Ubuntu", "NAME=\"Ubuntu\"\nVERSION_ID=\"22.04\"\nVERSION=\"22.04.4 LTS (Jammy Jellyfish)\"\n",
        "Ubuntu", "22.04", "6.1.0-18-amd64");
    row("Fedora", "NAME=\"Fedora Linux\"\nVERSION=\"39 (Workstation Edition)\"\nID=fedora\nVERSION_ID=39\n",
        "Fedora Linux", "39", "6.1.0-18-amd64");
    row("a system that is renewed all the time", "NAME=\"Arch Linux\"\nID=arch\nBUILD_ID=rolling\n",
        "Arch Linux", "rolling", "6.1.0-18-amd64");
    row("a system with builds", "NAME=\"SteamOS\"\nVERSION_ID=\"3.5.7\"\nBUILD_ID=20231122.1\n", "SteamOS",
        "3.5.7", "20231122.1");
    row("quotes of the other kind", "NAME='openSUSE Leap'\nVERSION_ID='15.5'\n", "openSUSE Leap", "15.5",
        "6.1.0-18-amd64");
    row("no quotes", "NAME=Gentoo\nVERSION_ID=2.14\n", "Gentoo", "2.14", "6.1.0-18-amd64");
    row("marked characters", "NAME=\"A \\\"B\\\" \\$C\"\nVERSION_ID=1\\ 2\n", "A \"B\" $C", "1 2",
        "6.1.0-18-amd64");
    row("a backslash between single quotes", "NAME='A\\B'\n", "A\\B", "", "6.1.0-18-amd64");
    row("the last one counts", "NAME=A\nNAME=Bc\n", "Bc", "", "6.1.0-18-amd64");
    row("comments and other keys", "#NAME=X1\nMYNAME=X2\nNAME_X=X3\n  NAME=Good\n", "Good", "",
        "6.1.0-18-amd64");
    row("lines of another system", "NAME=\"Void\"\r\nVERSION_ID=\"9\"\r\n", "Void", "9", "6.1.0-18-amd64");
    row("no end of line", "NAME=Void", "Void", "", "6.1.0-18-amd64");
    row("an open quote", "NAME=\"Void\nVERSION_ID=9\n", "Void", "9", "6.1.0-18-amd64");
    row("a backslash at the end", "NAME=Void\\", "Void\\", "", "6.1.0-18-amd64");
    row("a version of one digit twice", "NAME=\"Debian GNU/Linux\"\nVERSION_ID=\"11\"\n", "Debian GNU/Linux",
        "11", "6.1.0-18-amd64");
    row("a build like a row of digits", "NAME=Void\nVERSION_ID=33\nBUILD_ID=12345\n", "Void", "33", "12345");
    row("nothing filled in", "NAME=\"\"\nVERSION_ID=unknown\n", "Linux", "", "6.1.0-18-amd64");
    row("no file", "", "Linux", "", "6.1.0-18-amd64");
}

void MachineFactsTest::systems() {
    QFETCH(QByteArray, text);
    const SystemRelease release = parseSystemRelease(text, "6.1.0-18-amd64\n");
    QTEST(release.name, "name");
    QTEST(release.version, "version");
    QTEST(release.build, "build");
}

void MachineFactsTest::machines_data() {
    QTest::addColumn<QByteArrayList>("tables"); // vendor, product, version, board vendor, board
    QTest::addColumn<QByteArrayList>("tree");   // model, compatible...
    QTest::addColumn<QByteArray>("manufacturer");
    QTest::addColumn<QByteArray>("model");
    const QByteArrayList none;
    QTest::newRow("a notebook whose name stands in its version")
        << QByteArrayList{"LENOVO", "20XW0055GE", "ThinkPad X1 Carbon Gen 9", "LENOVO", "20XW0055GE"} << none
        << QByteArray("LENOVO") << QByteArray("ThinkPad X1 Carbon Gen 9 (20XW0055GE)");
    QTest::newRow("the same without a version")
        << QByteArrayList{"LENOVO", "20XW0055GE", "None", "LENOVO", "20XW0055GE"} << none
        << QByteArray("LENOVO") << QByteArray("20XW0055GE");
    QTest::newRow("the same with a version only")
        << QByteArrayList{"LENOVO", "INVALID", "Lenovo Product", "LENOVO", "LNVNB161216"} << none
        << QByteArray("LENOVO") << QByteArray("LNVNB161216");
    QTest::newRow("a version that says the same")
        << QByteArrayList{"Lenovo", "90Q3", "90Q3", "LENOVO", "3716"} << none << QByteArray("Lenovo")
        << QByteArray("90Q3");
    QTest::newRow("another maker's version is none of ours")
        << QByteArrayList{"Dell Inc.", "XPS 13 9310", "01", "Dell Inc.", "0MRT12"} << none
        << QByteArray("Dell Inc.") << QByteArray("XPS 13 9310");
    QTest::newRow("HP") << QByteArrayList{"HP", "HP EliteBook 840 G8 Notebook PC", "", "HP", "880D"} << none
                        << QByteArray("HP") << QByteArray("HP EliteBook 840 G8 Notebook PC");
    QTest::newRow("a Mac") << QByteArrayList{"Apple Inc.", "MacBookPro11,3", "1.0", "Apple Inc.",
                                             "Mac-2BD1B31983FE1663"}
                           << none << QByteArray("Apple Inc.") << QByteArray("MacBookPro11,3");
    QTest::newRow("a board in a case of one's own")
        << QByteArrayList{"System manufacturer", "System Product Name", "System Version",
                          "ASUSTeK COMPUTER INC.", "PRIME X570-PRO"}
        << none << QByteArray("ASUSTeK COMPUTER INC.") << QByteArray("PRIME X570-PRO");
    QTest::newRow("only the maker is filled in")
        << QByteArrayList{"ASUS", "System Product Name", "System Version", "ASUSTeK COMPUTER INC.",
                          "ROG STRIX B650E-F GAMING WIFI"}
        << none << QByteArray("ASUS") << QByteArray("ROG STRIX B650E-F GAMING WIFI");
    QTest::newRow("To Be Filled") << QByteArrayList{"To Be Filled By O.E.M.", "To Be Filled By O.E.M.",
                                                    "To Be Filled By O.E.M.", "ASRock", "B450M Pro4"}
                                  << none << QByteArray("ASRock") << QByteArray("B450M Pro4");
    QTest::newRow("default strings everywhere")
        << QByteArrayList{"Default string", "Default string", "Default string", "Default string",
                          "Default string"}
        << none << QByteArray() << QByteArray();
    QTest::newRow("a virtual machine")
        << QByteArrayList{"QEMU", "Standard PC (Q35 + ICH9, 2009)", "pc-q35-7.2", "", ""} << none
        << QByteArray("QEMU") << QByteArray("Standard PC (Q35 + ICH9, 2009)");
    QTest::newRow("a small board") << none
                                   << QByteArrayList{"Raspberry Pi 4 Model B Rev 1.4",
                                                     "raspberrypi,4-model-b", "brcm,bcm2711"}
                                   << QByteArray("Raspberry Pi")
                                   << QByteArray("Raspberry Pi 4 Model B Rev 1.4");
    QTest::newRow("a Mac with a device tree")
        << none
        << QByteArrayList{"Apple MacBook Air (M1, 2020)", "apple,j313", "apple,t8103", "apple,arm-platform"}
        << QByteArray("Apple") << QByteArray("Apple MacBook Air (M1, 2020)");
    QTest::newRow("a board of an unknown company without a model")
        << none << QByteArrayList{"", "acme,one-board", "acme,chip"} << QByteArray("acme")
        << QByteArray("acme one-board");
    QTest::newRow("both: the tables have the say")
        << QByteArrayList{"SolidRun", "HoneyComb", "", "", ""} << QByteArrayList{"Other", "fsl,other"}
        << QByteArray("SolidRun") << QByteArray("HoneyComb");
    QTest::newRow("neither") << none << none << QByteArray() << QByteArray();
}

void MachineFactsTest::machines() {
    QFETCH(QByteArrayList, tables);
    QFETCH(QByteArrayList, tree);
    MachineTables texts;
    if (!tables.isEmpty()) {
        texts.systemVendor = tables[0] + '\n';
        texts.productName = tables[1] + '\n';
        texts.productVersion = tables[2] + '\n';
        texts.boardVendor = tables[3] + '\n';
        texts.boardName = tables[4] + '\n';
    }
    if (!tree.isEmpty()) {
        texts.treeModel = strings({tree.first()});
        texts.treeCompatible = strings(tree.sliced(1));
    }
    const MachineMaker maker = describeMachine(texts);
    QTEST(maker.manufacturer, "manufacturer");
    QTEST(maker.model, "model");
}

void MachineFactsTest::processors_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("Intel")
        << QByteArray("processor\t: 0\nvendor_id\t: GenuineIntel\ncpu family\t: 6\nmodel\t\t: 142\n"
                      "model name\t: Intel(R) Core(TM) i7-8550U CPU @ 1.80GHz\nstepping\t: 10\n")
        << QByteArray("Intel(R) Core(TM) i7-8550U CPU @ 1.80GHz");
    QTest::newRow("AMD, padded with blanks")
        << QByteArray("processor\t: 0\nmodel name\t: AMD Ryzen 7 5800X 8-Core Processor            \n")
        << QByteArray("AMD Ryzen 7 5800X 8-Core Processor");
    QTest::newRow("blanks within") << QByteArray(
                                          "model name\t: Intel(R) Xeon(R) CPU           E5430  @ 2.66GHz\n")
                                   << QByteArray("Intel(R) Xeon(R) CPU E5430 @ 2.66GHz");
    QTest::newRow("the first core's")
        << QByteArray("model name\t: A1\n\nmodel name\t: B2\n") << QByteArray("A1");
    QTest::newRow("the first that says something")
        << QByteArray("model name\t: unknown\n\nmodel name\t: B2\n") << QByteArray("B2");
    QTest::newRow("a colon in the name") << QByteArray("model name\t: A: B\n") << QByteArray("A: B");
    QTest::newRow("ARM, numbers only")
        << QByteArray("processor\t: 0\nBogoMIPS\t: 108.00\nCPU implementer\t: 0x41\nCPU part\t: 0xd08\n")
        << QByteArray();
    QTest::newRow("ARM of 32 bits")
        << QByteArray("processor\t: 0\nmodel name\t: ARMv7 Processor rev 4 (v7l)\nCPU implementer\t: 0x41\n")
        << QByteArray("ARMv7 Processor rev 4 (v7l)");
    QTest::newRow("POWER") << QByteArray(
                                  "processor\t: 0\ncpu\t\t: POWER9, altivec supported\nclock\t\t: 3800MHz\n")
                           << QByteArray("POWER9, altivec supported");
    QTest::newRow("MIPS") << QByteArray("system type\t: Loongson\ncpu model\t\t: Loongson-3A R4\n")
                          << QByteArray("Loongson-3A R4");
    QTest::newRow("keys that begin like one that counts")
        << QByteArray("cpu family\t: x6\ncpu models\t: x7\nmodel names\t: x8\n") << QByteArray();
    QTest::newRow("a line without a colon") << QByteArray("model name\n") << QByteArray();
    QTest::newRow("empty") << QByteArray() << QByteArray();
}

void MachineFactsTest::processors() {
    QFETCH(QByteArray, text);
    QTEST(parseProcessorName(text), "name");
}

void MachineFactsTest::processorKinds_data() {
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("flat") << QByteArray(R"({"lscpu":[{"field":"Architecture:","data":"aarch64"},
        {"field":"Vendor ID:","data":"ARM"},{"field":"Model name:","data":"Cortex-A72"}]})")
                          << QByteArray("Cortex-A72");
    QTest::newRow("nested") << QByteArray(R"({"lscpu":[{"field":"Vendor ID:","data":"ARM","children":[
        {"field":"Model name:","data":"Neoverse-N1","children":[{"field":"Model:","data":"1"}]}]}]})")
                            << QByteArray("Neoverse-N1");
    QTest::newRow("two kinds of cores")
        << QByteArray(R"({"lscpu":[{"field":"Vendor ID:","data":"ARM","children":[
        {"field":"Model name:","data":"Cortex-A55"},{"field":"Model name:","data":"Cortex-A76"},
        {"field":"Model name:","data":"Cortex-A55"}]}]})")
        << QByteArray("Cortex-A55, Cortex-A76");
    QTest::newRow("a number without a name")
        << QByteArray(R"({"lscpu":[{"field":"Model name:","data":"-"}]})") << QByteArray();
    QTest::newRow("no such field") << QByteArray(R"({"lscpu":[{"field":"CPU(s):","data":"4"}]})")
                                   << QByteArray();
    QTest::newRow("another shape") << QByteArray(R"({"lscpu":{"field":"Model name:","data":"x1"}})")
                                   << QByteArray();
    QTest::newRow("other kinds of values")
        << QByteArray(R"({"lscpu":[7,null,{"field":3,"data":[]}]})") << QByteArray();
    QTest::newRow("no JSON") << QByteArray("Model name: x1") << QByteArray();
    QTest::newRow("empty") << QByteArray() << QByteArray();
}

void MachineFactsTest::processorKinds() {
    QFETCH(QByteArray, json);
    QTEST(parseProcessorKinds(json), "name");
}

void MachineFactsTest::mostProcessorKinds() {
    for (const qsizetype count : {kProcessorKindsLimit - 1, kProcessorKindsLimit, kProcessorKindsLimit + 1}) {
        QByteArrayList entries;
        for (qsizetype i = 0; i < count; ++i) {
            entries.append(R"({"field":"Model name:","data":"Core)" + QByteArray::number(i) + "\"}");
        }
        const QByteArray names = parseProcessorKinds(R"({"lscpu":[)" + entries.join(',') + "]}");
        QCOMPARE(names.split(',').size(), std::min(count, kProcessorKindsLimit));
    }
}

void MachineFactsTest::treeEntries_data() {
    QTest::addColumn<QByteArray>("entry");
    QTest::addColumn<QByteArray>("words");
    QTest::addColumn<QByteArray>("maker");
    QTest::newRow("known") << QByteArray("arm,mali-t860") << QByteArray("ARM mali-t860") << QByteArray("ARM");
    QTest::newRow("unknown") << QByteArray("acme,x1") << QByteArray("acme x1") << QByteArray("acme");
    QTest::newRow("no maker") << QByteArray("x1") << QByteArray("x1") << QByteArray();
    QTest::newRow("a comma more") << QByteArray("acme,x,1") << QByteArray("acme x,1") << QByteArray("acme");
    QTest::newRow("only a comma") << QByteArray(",") << QByteArray() << QByteArray();
    QTest::newRow("empty") << QByteArray() << QByteArray() << QByteArray();
}

void MachineFactsTest::treeEntries() {
    QFETCH(QByteArray, entry);
    QTEST(treeEntryInWords(entry), "words");
    QTEST(makerOfTreeEntry(entry), "maker");
    if (!entry.isEmpty()) {
        // As the last of several it is the chip.
        QTEST(chipOfTree(strings({"first,entry", entry})), "words");
    }
    QTEST(chipOfTree(entry), "words");
}

void MachineFactsTest::systemBelowARoot() {
    const MachineTree tree;
    tree.file("/usr/lib/os-release", "NAME=Second\n");
    tree.file("/proc/sys/kernel/osrelease", "5.4.0\n");
    QCOMPARE(systemRelease(tree.root()), (SystemRelease{"Second", "", "5.4.0"}));
    tree.file("/etc/os-release", "NAME=First\nVERSION_ID=1.2\n");
    QCOMPARE(systemRelease(tree.root()), (SystemRelease{"First", "1.2", "5.4.0"}));
}

void MachineFactsTest::systemInAFlatpak() {
    const MachineTree tree;
    tree.file("/etc/os-release", "NAME=Runtime\n");
    tree.file("/run/host/os-release", "NAME=Host\n");
    // Containers of other kinds have such a file too, and are systems of their own.
    QCOMPARE(systemRelease(tree.root()).name, QByteArray("Runtime"));
    tree.file("/.flatpak-info", "[Application]\n");
    QCOMPARE(systemRelease(tree.root()).name, QByteArray("Host"));
}

void MachineFactsTest::machineBelowARoot() {
    const MachineTree tree;
    tree.file("/proc/device-tree/model", strings({"Board"}));
    tree.file("/proc/device-tree/compatible", strings({"radxa,rock", "rockchip,rk3588"}));
    QCOMPARE(machineMaker(tree.root()), (MachineMaker{"Radxa", "Board"}));
    const QByteArray dmi = "/sys/class/dmi/id/";
    tree.file(dmi + "board_vendor", "BoardVendor\n");
    tree.file(dmi + "board_name", "BoardName\n");
    QCOMPARE(machineMaker(tree.root()), (MachineMaker{"BoardVendor", "BoardName"}));
    tree.file(dmi + "sys_vendor", "LENOVO\n");
    tree.file(dmi + "product_name", "20X\n");
    QCOMPARE(machineMaker(tree.root()), (MachineMaker{"LENOVO", "20X"}));
    tree.file(dmi + "product_version", "ThinkPad\n");
    QCOMPARE(machineMaker(tree.root()), (MachineMaker{"LENOVO", "ThinkPad (20X)"}));
}

void MachineFactsTest::onlyTheStartOfAFileIsRead() {
    const QByteArray line = "NAME=Found\n";
    for (const qsizetype end : {kFactFileLimit - 1, kFactFileLimit, kFactFileLimit + 1}) {
        const MachineTree tree;
        // Without its last two bytes the line would be another one; the line's end may be missing.
        tree.file("/etc/os-release", QByteArray(end - line.size() + 1, '\n') + line);
        QCOMPARE(systemRelease(tree.root()).name, QByteArray(end <= kFactFileLimit ? "Found" : "Foun"));
    }
}

void MachineFactsTest::processorBelowARoot() {
    const MachineTree tree;
    tree.file("/proc/cpuinfo", "processor\t: 0\nmodel name\t: Intel(R) Core(TM)  i7\n");
    QCOMPARE(processorName(tree.root()), QByteArray("Intel(R) Core(TM) i7"));
}

void MachineFactsTest::nothingBelowARoot() {
    const MachineTree tree;
    QCOMPARE(systemRelease(tree.root()), (SystemRelease{"Linux", "", ""}));
    QCOMPARE(machineMaker(tree.root()), MachineMaker());
}

void MachineFactsTest::whatIsNoFile() {
    const MachineTree tree;
    tree.folder("/etc/os-release");
    tree.folder("/sys/class/dmi/id");
    Disk::makeFifo(tree.root() + "/sys/class/dmi/id/sys_vendor");
    tree.link("/sys/class/dmi/id/product_name", "product_name");
    QCOMPARE(systemRelease(tree.root()).name, QByteArray("Linux"));
    QCOMPARE(machineMaker(tree.root()), MachineMaker());
}

void MachineFactsTest::thisMachine() {
    const SystemRelease release = systemRelease();
    const Shell::Output words =
        Shell::outputOf(". /etc/os-release && printf '%s\\n%s\\n' \"$NAME\" \"$VERSION_ID\"");
    QCOMPARE(words.status, 0);
    QCOMPARE(QByteArray(release.name + '\n' + release.version + '\n'), words.text);
    if (release.build != Shell::outputOf("uname -r").text.trimmed()) {
        QVERIFY(Shell::outputOf("cat /etc/os-release").text.contains("BUILD_ID"));
    }
    const MachineMaker maker = machineMaker();
    for (const QByteArray& fact :
         {maker.manufacturer, maker.model, release.name, release.version, release.build}) {
        QCOMPARE(factOf(fact), fact);
    }
}

VKTEST_MAIN(MachineFactsTest)
#include "MachineFactsTest.moc"
