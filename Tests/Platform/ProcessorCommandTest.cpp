// The processor of a machine whose kernel gives numbers only: the system's own lscpu on the files of such a machine, and
// stand-ins for one that is not there, fails, hangs, or writes without end.
#include "Platform/MachineFacts.h"

#include "Platform/MachineTree.h"
#include "Support/ShellCommand.h"
#include "Support/VKTest.h"

using namespace VKPlatform;

class ProcessorCommandTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void cleanup();
    void realCommand_data();
    void realCommand();
    void standIns_data();
    void standIns();
    void endlessOutput();
    void architectureAtLast();
    void noCommand();

private:
    QByteArray mPath = qgetenv("PATH");
};

namespace {

QByteArray core(const char* implementer, const char* part) {
    return QByteArray("processor\t: 0\nBogoMIPS\t: 108.00\nFeatures\t: fp asimd\nCPU implementer\t: ") +
           implementer + "\nCPU architecture: 8\nCPU variant\t: 0x0\nCPU part\t: " + part +
           "\nCPU revision\t: 3\n\n";
}

void makeArm(const MachineTree& tree, const QByteArray& cpuInfo) {
    tree.file("/proc/cpuinfo", cpuInfo);
    tree.file("/proc/device-tree/compatible", QByteArray("raspberrypi,4-model-b\0brcm,bcm2711\0", 35));
    tree.folder("/sys/devices/system/cpu/cpu0");
    for (const char* list : {"possible", "present", "online"}) {
        tree.file(QByteArray("/sys/devices/system/cpu/") + list, "0\n");
    }
}

/// Puts a program before all others on PATH.
void standIn(const QByteArray& script) {
    const QByteArray folder = VKTest::makeFolder(QStringLiteral("bin")).toUtf8();
    Disk::makeFile(folder + "/lscpu", "#!/bin/sh\n" + script);
    Disk::must(::chmod(Disk::text(folder + "/lscpu"), 0755) == 0, "chmod", folder);
    qputenv("PATH", folder + ':' + qgetenv("PATH"));
}

} // namespace

void ProcessorCommandTest::cleanup() { qputenv("PATH", mPath); }

void ProcessorCommandTest::realCommand_data() {
    QTest::addColumn<QByteArray>("implementer");
    QTest::addColumn<QByteArray>("part");
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("Cortex-A72") << QByteArray("0x41") << QByteArray("0xd08") << QByteArray("Cortex-A72");
    QTest::newRow("Neoverse-N1") << QByteArray("0x41") << QByteArray("0xd0c") << QByteArray("Neoverse-N1");
    QTest::newRow("ThunderX2") << QByteArray("0x43") << QByteArray("0x0af") << QByteArray("ThunderX2-99xx");
}

void ProcessorCommandTest::realCommand() {
    VKTEST_NEEDS(Shell::outputOf("lscpu --version").status == 0, "lscpu");
    QFETCH(QByteArray, implementer);
    QFETCH(QByteArray, part);
    const MachineTree tree;
    makeArm(tree, core(implementer.constData(), part.constData()));
    QTEST(processorName(tree.root()), "name");
}

void ProcessorCommandTest::standIns_data() {
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QByteArray>("name");
    const QByteArray answer = R"(echo '{"lscpu":[{"field":"Model name:","data":"Cortex-X9"}]}')";
    QTest::newRow("a name") << answer << QByteArray("Cortex-X9");
    QTest::newRow("it speaks the language that is understood")
        << QByteArray(R"(echo "{\"lscpu\":[{\"field\":\"Model name:\",\"data\":\"$LC_ALL-x\"}]}")")
        << QByteArray("C-x");
    QTest::newRow("it fails") << QByteArray(answer + "; exit 1") << QByteArray("Broadcom bcm2711");
    QTest::newRow("it crashes") << QByteArray(answer + "; kill -9 $$") << QByteArray("Broadcom bcm2711");
    QTest::newRow("it knows no name")
        << QByteArray(R"(echo '{"lscpu":[{"field":"Model name:","data":"-"}]}')")
        << QByteArray("Broadcom bcm2711");
    QTest::newRow("it writes nothing") << QByteArray("exit 0") << QByteArray("Broadcom bcm2711");
    QTest::newRow("it asks for input") << QByteArray("read line; " + answer) << QByteArray("Cortex-X9");
    QTest::newRow("it complains at length")
        << QByteArray("head -c 300000 /dev/zero >&2; " + answer) << QByteArray("Cortex-X9");
}

void ProcessorCommandTest::standIns() {
    QFETCH(QByteArray, script);
    const MachineTree tree;
    makeArm(tree, core("0x41", "0xd08"));
    standIn(script);
    QTEST(processorName(tree.root()), "name");
}

void ProcessorCommandTest::endlessOutput() {
    const MachineTree tree;
    makeArm(tree, core("0x41", "0xd08"));
    standIn("exec yes");
    // It is ended as soon as it has written too much, not after its time.
    QCOMPARE(processorName(tree.root()), QByteArray("Broadcom bcm2711"));
}

void ProcessorCommandTest::architectureAtLast() {
    const MachineTree tree;
    tree.file("/proc/cpuinfo", core("0x41", "0xd08"));
    tree.file("/proc/sys/kernel/arch", "aarch64\n");
    standIn("exit 1");
    QCOMPARE(processorName(tree.root()), QByteArray("aarch64"));
}

void ProcessorCommandTest::noCommand() {
    const MachineTree tree;
    makeArm(tree, core("0x41", "0xd08"));
    qputenv("PATH", VKTest::makeFolder().toUtf8());
    QCOMPARE(processorName(tree.root()), QByteArray("Broadcom bcm2711"));
}

VKTEST_MAIN(ProcessorCommandTest)
#include "ProcessorCommandTest.moc"
