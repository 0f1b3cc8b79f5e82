// The commands of the macOS rules, by stand-ins on PATH: what they are asked, and what comes of output, silence, failure,
// a hang and a flood. Under other rules none is run.
#include "Support/DiskSupport.h"
#include "Support/VKTest.h"

#include <VKCoreKit/VKLog.h>
#include <VKQtSysInfo.h>
#include <VKQtSysInfoCommands.h>

#include <QStringList>

#include <csignal>

using namespace std::chrono_literals;

class VKQtSysInfoCommandsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void whatIsAsked();
    void processor_data();
    void processor();
    void build_data();
    void build();
    void video_data();
    void video();
    void noneOnThePath();
    void outputs_data();
    void outputs();
    void outputLimit_data();
    void outputLimit();
    void hangs_data();
    void hangs();
    void usualBound();
    void answersComeAtOnce();

private:
    QByteArray mPath = qgetenv("PATH");
    QByteArray mFolder;
};

namespace {

bool isMac() { return QByteArray(vkTestPlatformRules()) == "macos"; }

/// Makes the program of that name. It says how it was called in the file "calls" first.
void standIn(const QByteArray& folder, const QByteArray& name, const QByteArray& script) {
    const QByteArray path = folder + '/' + name;
    Disk::makeFile(path, "#!/bin/sh\necho \"" + name + "|$#|$*\" >> " + folder + "/calls\n" + script + '\n');
    Disk::must(::chmod(Disk::text(path), 0755) == 0, "chmod", path);
}

void countRecord(const VKLogRecord& /*record*/, void* count) { ++*static_cast<int*>(count); }

} // namespace

void VKQtSysInfoCommandsTest::init() {
    VKTest::init();
    mFolder = makeFolder(QStringLiteral("bin")).toUtf8();
    qputenv("PATH", mFolder + ':' + mPath);
}

void VKQtSysInfoCommandsTest::cleanup() { qputenv("PATH", mPath); }

void VKQtSysInfoCommandsTest::whatIsAsked() {
    for (const char* name : {"sysctl", "sw_vers", "system_profiler"}) {
        standIn(mFolder, name, "exit 0");
    }
    QString out;
    const VKStatus status = VKQtSysInfo::cpuDescription(out);
    QCOMPARE(status, VKStatus{isMac() ? 1003U : 0U});
    (void)VKQtSysInfo::osBuildVersion();
    (void)VKQtSysInfo::videoDescription();
    (void)VKQtSysInfo::videoDriverVersion();
    (void)VKQtSysInfo::videoCard();
    (void)VKQtSysInfo::hwModel();
    QCOMPARE(Disk::contentOf(mFolder + "/calls"), isMac()
                                                      ? QByteArray("sysctl|1|machdep.cpu.brand_string\n"
                                                                   "sw_vers|1|-buildVersion\n"
                                                                   "system_profiler|1|SPDisplaysDataType\n")
                                                      : QByteArray());
}

void VKQtSysInfoCommandsTest::processor_data() {
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<uint>("status");
    QTest::addColumn<QString>("name");
    const QString before = QStringLiteral("before");
    QTest::newRow("a name") << QByteArray("echo 'machdep.cpu.brand_string: Apple M1'") << 0U
                            << QStringLiteral("Apple M1");
    QTest::newRow("a name and a failure") << QByteArray("echo 'machdep.cpu.brand_string: Apple M1'; exit 3")
                                          << 0U << QStringLiteral("Apple M1");
    QTest::newRow("UTF-8") << QByteArray("echo 'machdep.cpu.brand_string: Ä'") << 0U << QStringLiteral("Ä");
    QTest::newRow("nothing") << QByteArray("exit 0") << 1003U << before;
    QTest::newRow("on the other channel")
        << QByteArray("echo 'machdep.cpu.brand_string: Apple M1' >&2") << 1003U << before;
    QTest::newRow("a failure") << QByteArray("echo 'sysctl: unknown oid' >&2; exit 1") << 1003U << before;
    QTest::newRow("another key") << QByteArray("echo 'hw.model: Mac'") << 1003U << before;
}

void VKQtSysInfoCommandsTest::processor() {
    if (!isMac()) {
        return; // nothing is run: whatIsAsked()
    }
    QFETCH(QByteArray, script);
    standIn(mFolder, "sysctl", script);
    int records = 0;
    VKLogSetHandler(&countRecord, &records);
    QString out = QStringLiteral("before");
    QTEST(uint(VKQtSysInfo::cpuDescription(out)), "status");
    VKLogSetHandler(nullptr, nullptr);
    QTEST(out, "name");
    QCOMPARE(records, 0);
}

void VKQtSysInfoCommandsTest::build_data() {
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("build");
    QTest::newRow("a build") << QByteArray("echo 22F82") << QStringLiteral("22F82");
    QTest::newRow("blanks at both ends")
        << QByteArray("printf ' \\n\t22F82  \\n\\n'") << QStringLiteral("22F82");
    QTest::newRow("several lines") << QByteArray("printf 'a\\nb\\n'") << QStringLiteral("a\nb");
    QTest::newRow("nothing") << QByteArray("exit 0") << QString();
    QTest::newRow("a failure that says something")
        << QByteArray("echo 22F82; exit 1") << QStringLiteral("22F82");
}

void VKQtSysInfoCommandsTest::build() {
    if (!isMac()) {
        return; // nothing is run: whatIsAsked()
    }
    QFETCH(QByteArray, script);
    standIn(mFolder, "sw_vers", script);
    QTEST(VKQtSysInfo::osBuildVersion(), "build");
}

void VKQtSysInfoCommandsTest::video_data() {
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("description");
    QTest::newRow("as it is written") << QByteArray("printf 'Graphics/Displays:\\n\\n    Apple M1:\\n \\n'")
                                      << QStringLiteral("\nGraphics/Displays:\n\n    Apple M1:\n \n");
    QTest::newRow("percent signs") << QByteArray("echo 'a %1 b'") << QStringLiteral("\na %1 b\n");
    QTest::newRow("nothing") << QByteArray("exit 0") << QStringLiteral("\n");
    QTest::newRow("a failure") << QByteArray("exit 2") << QStringLiteral("\n");
}

void VKQtSysInfoCommandsTest::video() {
    if (!isMac()) {
        return; // nothing is run: whatIsAsked()
    }
    QFETCH(QByteArray, script);
    standIn(mFolder, "system_profiler", script);
    QTEST(VKQtSysInfo::videoDescription(), "description");
    QCOMPARE(VKQtSysInfo::videoDriverVersion(), QStringLiteral("Unknown"));
}

void VKQtSysInfoCommandsTest::noneOnThePath() {
    qputenv("PATH", mFolder);
    if (isMac()) {
        QString out = QStringLiteral("before");
        QCOMPARE(VKQtSysInfo::cpuDescription(out), VKStatus{1003});
        QCOMPARE(out, QStringLiteral("before"));
        QCOMPARE(VKQtSysInfo::osBuildVersion(), QString());
        QCOMPARE(VKQtSysInfo::videoDescription(), QStringLiteral("\n"));
    }
    QVERIFY(!VKQtSysInfoCommands::outputOf(QStringLiteral("sw_vers"), {}).has_value());
    // A file that is no program.
    Disk::makeFile(mFolder + "/sw_vers", "x");
    QVERIFY(!VKQtSysInfoCommands::outputOf(QStringLiteral("sw_vers"), {}).has_value());
}

void VKQtSysInfoCommandsTest::outputs_data() {
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QByteArray>("output");
    QTest::newRow("words") << QByteArray("printf ab") << QByteArray("ab");
    QTest::newRow("bytes") << QByteArray("printf '\\377\\000z'") << QByteArray("\xff\0z", 3);
    QTest::newRow("nothing") << QByteArray("exit 0") << QByteArray("");
    QTest::newRow("killed from elsewhere") << QByteArray("printf ab; kill -9 $$") << QByteArray("ab");
    QTest::newRow("much on the other channel")
        << QByteArray("head -c 300000 /dev/zero >&2; printf ab") << QByteArray("ab");
    QTest::newRow("more than a pipe holds")
        << QByteArray("head -c 300000 /dev/zero | tr '\\0' a") << QByteArray(300000, 'a');
}

void VKQtSysInfoCommandsTest::outputs() {
    QFETCH(QByteArray, script);
    standIn(mFolder, "told", script);
    const auto output = VKQtSysInfoCommands::outputOf(QStringLiteral("told"), {});
    QVERIFY(output.has_value());
    QTEST(*output, "output");
}

void VKQtSysInfoCommandsTest::outputLimit_data() {
    QTest::addColumn<int>("size");
    QTest::addColumn<bool>("isTaken");
    QTest::newRow("one less") << 99999 << true;
    QTest::newRow("the limit") << 100000 << true;
    QTest::newRow("one more") << 100001 << false;
    QTest::newRow("without end") << -1 << false;
}

void VKQtSysInfoCommandsTest::outputLimit() {
    QFETCH(int, size);
    QFETCH(bool, isTaken);
    standIn(mFolder, "flood",
            size < 0 ? QByteArray("exec yes") : "head -c " + QByteArray::number(size) + " /dev/zero");
    const auto output =
        VKQtSysInfoCommands::outputOf(QStringLiteral("flood"), {}, VKQtSysInfoCommands::kBound, 100000);
    QCOMPARE(output.has_value(), isTaken);
    QCOMPARE(output.value_or(QByteArray()).size(), isTaken ? size : 0);
}

void VKQtSysInfoCommandsTest::hangs_data() {
    QTest::addColumn<QByteArray>("script");
    QTest::newRow("silently") << QByteArray("");
    QTest::newRow("after an answer") << QByteArray("echo 'machdep.cpu.brand_string: Apple M1'");
    QTest::newRow("deaf to what asks it to end") << QByteArray("trap '' TERM INT HUP");
}

void VKQtSysInfoCommandsTest::hangs() {
    QFETCH(QByteArray, script);
    // What it waits for never comes: its own fifo has no writer.
    Disk::makeFifo(mFolder + "/never");
    standIn(mFolder, "hang", script + "\necho $$ > " + mFolder + "/pid\nexec cat < " + mFolder + "/never");
    QVERIFY(!VKQtSysInfoCommands::outputOf(QStringLiteral("hang"), {}, 300ms).has_value());
    // It is gone, and no zombie of it stays.
    const int pid = Disk::contentOf(mFolder + "/pid").trimmed().toInt();
    if (pid > 0) {
        QCOMPARE(::kill(pid, 0), -1);
        QCOMPARE(errno, ESRCH);
    }
    QCOMPARE(::waitpid(-1, nullptr, WNOHANG), -1);
    QCOMPARE(errno, ECHILD);
}

void VKQtSysInfoCommandsTest::usualBound() { QVERIFY(VKQtSysInfoCommands::kBound == 30s); }

void VKQtSysInfoCommandsTest::answersComeAtOnce() {
    // Whoever answers is not waited for until the bound: a bound of years would never end.
    standIn(mFolder, "told", "printf ab");
    QCOMPARE(VKQtSysInfoCommands::outputOf(QStringLiteral("told"), {}, 24h * 20), QByteArray("ab"));
}

VKTEST_MAIN(VKQtSysInfoCommandsTest)
#include "VKQtSysInfoCommandsTest.moc"
