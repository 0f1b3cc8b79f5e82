// The answers under each platform's rules, and the rules over records of systems and screens that are not here. The
// commands of the macOS rules have a test of their own.
#include "Support/VKTest.h"

#include "Support/ShellCommand.h"

#include <VKCoreImageHardwareInfo.h>
#include <VKCoreKit/VKCoreKit.h>
#include <VKKeySequence.h>
#include <VKQtSysInfo.h>
#include <VKQtSysInfoRules.h>

#include <CoreFoundation/CFQt.h>
#include <QGuiApplication>
#include <QOperatingSystemVersion>
#include <QScreen>

using OSType = QOperatingSystemVersion::OSType;

namespace {

const QByteArray kRules = vkTestPlatformRules();

bool isMac() { return kRules == "macos"; }

/// A fact of the machine as text; a null text for null.
QString machineFact(VKMachineFact fact) {
    return CFStringCopyQString(VKCFRef<CFStringRef>::adopt(VKMachineGetFactCopy(fact)).get());
}

} // namespace

class VKQtSysInfoTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void platformFollowsTheRules();
    void buildKindFollowsTheConfiguration();
    void constants();
    void versionPredicatesAreFalseOffMacOS();
    void releaseOrNewer_data();
    void releaseOrNewer();
    void versionTexts_data();
    void versionTexts();
    void brandStrings_data();
    void brandStrings();
    void brandStringIsLeftAlone();
    void resolutionTexts_data();
    void resolutionTexts();
    void pixels_data();
    void pixels();
    void pixelsOfEveryScale();
    void operatingSystem();
    void platformName();
    void machine();
    void processor();
    void hostName();
    void screen();
    void keys();
    void openGLIsThatOfTheProbe();
    void videoCard();
    void videoDescription();
    void videoDriver();
};

void VKQtSysInfoTest::platformFollowsTheRules() {
    QCOMPARE(VKQtSysInfo::isMacPlatform(), kRules == "macos");
    QCOMPARE(VKQtSysInfo::isWinPlatform(), kRules == "windows");
}

void VKQtSysInfoTest::buildKindFollowsTheConfiguration() {
#if defined(VKQT_DEBUG_BUILD)
    QVERIFY(VKQtSysInfo::isDebugBuild());
    QVERIFY(!VKQtSysInfo::isReleaseBuild());
#else
    QVERIFY(!VKQtSysInfo::isDebugBuild());
    QVERIFY(VKQtSysInfo::isReleaseBuild());
#endif
}

void VKQtSysInfoTest::constants() {
    QVERIFY(VKQtSysInfo::windowOpacitySupported());
    QVERIFY(!VKQtSysInfo::windowsXPOrLess());
    QVERIFY(!VKQtSysInfo::systemUsingLargeFonts());
}

void VKQtSysInfoTest::versionPredicatesAreFalseOffMacOS() {
    VKTEST_NEEDS(QOperatingSystemVersion::currentType() != OSType::MacOS, "a system that is not macOS");
    QVERIFY(!VKQtSysInfo::highSierraOrGreater());
    QVERIFY(!VKQtSysInfo::catalinaOrGreater());
}

void VKQtSysInfoTest::releaseOrNewer_data() {
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("major");
    QTest::addColumn<int>("minor");
    QTest::addColumn<int>("micro");
    QTest::addColumn<bool>("highSierra");
    QTest::addColumn<bool>("catalina");

    const int mac = int(OSType::MacOS);
    QTest::newRow("10.15.0 is Catalina exactly") << mac << 10 << 15 << 0 << true << true;
    QTest::newRow("10.14.6 is between") << mac << 10 << 14 << 6 << true << false;
    QTest::newRow("10.13.0 is High Sierra exactly") << mac << 10 << 13 << 0 << true << false;
    QTest::newRow("10.13 without micro") << mac << 10 << 13 << -1 << true << false;
    QTest::newRow("10.12.6 is older") << mac << 10 << 12 << 6 << false << false;
    QTest::newRow("a greater major wins over a smaller minor") << mac << 11 << 0 << 0 << true << true;
    QTest::newRow("a smaller major loses with a greater minor") << mac << 9 << 99 << 9 << false << false;
    QTest::newRow("Windows 10 of a greater minor") << int(OSType::Windows) << 10 << 20 << 0 << false << false;
    QTest::newRow("Android 13") << int(OSType::Android) << 13 << 0 << 0 << false << false;
    QTest::newRow("iOS 17") << int(OSType::IOS) << 17 << 0 << 0 << false << false;
    QTest::newRow("unknown kind, high numbers") << int(OSType::Unknown) << 99 << 99 << 99 << false << false;
}

void VKQtSysInfoTest::releaseOrNewer() {
    QFETCH(int, type);
    QFETCH(int, major);
    QFETCH(int, minor);
    QFETCH(int, micro);
    const QOperatingSystemVersion current(static_cast<OSType>(type), major, minor, micro);
    QTEST(VKQtSysInfoRules::isReleaseOrNewer(current, QOperatingSystemVersion::MacOSHighSierra),
          "highSierra");
    QTEST(VKQtSysInfoRules::isReleaseOrNewer(current, QOperatingSystemVersion::MacOSCatalina), "catalina");
}

void VKQtSysInfoTest::versionTexts_data() {
    QTest::addColumn<int>("major");
    QTest::addColumn<int>("minor");
    QTest::addColumn<int>("micro");
    QTest::addColumn<QString>("text");
    QTest::newRow("all parts") << 13 << 4 << 1 << QStringLiteral("13.4.1");
    QTest::newRow("zeros are parts") << 11 << 0 << 0 << QStringLiteral("11.0.0");
    QTest::newRow("no micro") << 10 << 13 << -1 << QStringLiteral("10.13");
    QTest::newRow("no minor") << 12 << -1 << -1 << QStringLiteral("12");
    QTest::newRow("nothing known") << -1 << -1 << -1 << QString();
    QTest::newRow("a part behind an unknown one says nothing") << 12 << -1 << 3 << QStringLiteral("12");
}

void VKQtSysInfoTest::versionTexts() {
    QFETCH(int, major);
    QFETCH(int, minor);
    QFETCH(int, micro);
    QTEST(VKQtSysInfoRules::versionText(QOperatingSystemVersion(OSType::MacOS, major, minor, micro)), "text");
}

void VKQtSysInfoTest::brandStrings_data() {
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("name"); // null: 1003
    const auto row = [](const char* title, const char* output, const char* name) {
        QTest::newRow(title) << QString::fromUtf8(output) << QString::fromUtf8(name);
    };
    row("a chip", "machdep.cpu.brand_string: Apple M1\n", "Apple M1");
    row("Intel", "machdep.cpu.brand_string: Intel(R) Core(TM) i7-8750H CPU @ 2.20GHz\n",
        "Intel(R) Core(TM) i7-8750H CPU @ 2.20GHz");
    row("no blank", "machdep.cpu.brand_string:Apple M1", "Apple M1");
    row("any one character", "machdep.cpu.brand_string=Apple M1", "Apple M1");
    row("blanks and lines at both ends", "\n machdep.cpu.brand_string:  \t Apple M1 \r\n\n", "Apple M1");
    row("text before it", "warning: x\nmachdep.cpu.brand_string: Apple M1\n", "Apple M1");
    row("nothing behind it", "machdep.cpu.brand_string:\n", "");
    row("the bare key", "machdep.cpu.brand_string", "");
    row("another key", "machdep.cpu.brand: Apple M1\n", nullptr);
    row("capitals", "MACHDEP.CPU.BRAND_STRING: Apple M1\n", nullptr);
    row("nothing", "", nullptr);
}

void VKQtSysInfoTest::brandStrings() {
    QFETCH(QString, output);
    QFETCH(QString, name);
    QString out = QStringLiteral("before");
    const VKStatus status = VKQtSysInfoRules::parseBrandString(output, out);
    QCOMPARE(status, name.isNull() ? VKStatus{1003} : VKStatus{0});
    QCOMPARE(out, name.isNull() ? QStringLiteral("before") : name);
}

void VKQtSysInfoTest::brandStringIsLeftAlone() {
    QString out;
    QCOMPARE(VKQtSysInfoRules::parseBrandString(QString(), out), VKStatus{1003});
    QVERIFY(out.isNull());
}

void VKQtSysInfoTest::resolutionTexts_data() {
    QTest::addColumn<QSize>("pixels");
    QTest::addColumn<QString>("text");
    QTest::newRow("usual") << QSize(2560, 1440) << QStringLiteral("2560x1440");
    QTest::newRow("none") << QSize(0, 0) << QStringLiteral("0x0");
    QTest::newRow("no groups, no padding") << QSize(12800, 8) << QStringLiteral("12800x8");
}

void VKQtSysInfoTest::resolutionTexts() {
    QFETCH(QSize, pixels);
    QTEST(VKQtSysInfoRules::resolutionText(pixels), "text");
}

void VKQtSysInfoTest::pixels_data() {
    QTest::addColumn<int>("scaled");
    QTest::addColumn<double>("ratio");
    QTest::addColumn<int>("expected");
    QTest::newRow("not scaled") << 1366 << 1.0 << 1366;
    QTest::newRow("not scaled, odd") << 1367 << 1.0 << 1367;
    QTest::newRow("doubled") << 1280 << 2.0 << 2560;
    QTest::newRow("rounded up at 150 %") << 1707 << 1.5 << 2560;
    QTest::newRow("rounded down at 175 %") << 1234 << 1.75 << 2160;
    QTest::newRow("a small window system") << 1 << 1.0 << 1;
    QTest::newRow("nothing") << 0 << 2.0 << 0;
}

void VKQtSysInfoTest::pixels() {
    QFETCH(int, scaled);
    QFETCH(double, ratio);
    QTEST(VKQtSysInfoRules::pixelsOfSide(scaled, ratio), "expected");
}

void VKQtSysInfoTest::pixelsOfEveryScale() {
    const int sides[] = {480,  600,  720,  768,  800,  864,  900,  960,  1024, 1050, 1080, 1152, 1200, 1280,
                         1366, 1400, 1440, 1504, 1600, 1680, 1800, 1824, 1920, 2048, 2160, 2256, 2304, 2560,
                         2736, 2880, 3000, 3072, 3200, 3240, 3440, 3456, 3840, 4096, 4320, 5120, 6016, 7680};
    for (const int side : sides) {
        for (const double ratio : {1.0, 1.25, 1.5, 1.75, 2.0, 2.25, 2.5, 3.0, 4.0}) {
            const int scaled = qRound(side / ratio);
            const int found = VKQtSysInfoRules::pixelsOfSide(scaled, ratio);
            // Never a number that the framework would not have rounded to this one.
            QCOMPARE(qRound(found / ratio), scaled);
            if (ratio <= 2.0) {
                QVERIFY2(found == side,
                         qPrintable(QStringLiteral("%1 at %2: %3").arg(side).arg(ratio).arg(found)));
            }
        }
    }
}

void VKQtSysInfoTest::operatingSystem() {
    if (isMac()) {
        const QOperatingSystemVersion current = QOperatingSystemVersion::current();
        QCOMPARE(VKQtSysInfo::osName(), current.name());
        QCOMPARE(VKQtSysInfo::osVersion(), VKQtSysInfoRules::versionText(current));
        return;
    }
    QCOMPARE(VKQtSysInfo::osName(), machineFact(VKMachineFact::SystemName));
    QCOMPARE(VKQtSysInfo::osVersion(), machineFact(VKMachineFact::SystemVersion));
    QCOMPARE(VKQtSysInfo::osBuildVersion(), machineFact(VKMachineFact::SystemBuild));
    const QByteArray words = Shell::outputOf(". /etc/os-release && printf %s \"$NAME\"").text;
    QCOMPARE(VKQtSysInfo::osName().toUtf8(), words);
    QVERIFY(!VKQtSysInfo::osBuildVersion().isEmpty());
}

void VKQtSysInfoTest::platformName() {
    const QHash<QByteArray, QString> names = {{"macos", QStringLiteral("Macintosh")},
                                              {"windows", QStringLiteral("Windows")},
                                              {"host", QStringLiteral("Linux")}};
    QCOMPARE(VKQtSysInfo::osPlatform(), names.value(kRules));
}

void VKQtSysInfoTest::machine() {
    QCOMPARE(VKQtSysInfo::hwManufacture(),
             isMac() ? QStringLiteral("Apple") : machineFact(VKMachineFact::Manufacturer));
    QCOMPARE(VKQtSysInfo::hwModel(), machineFact(VKMachineFact::Model));
}

void VKQtSysInfoTest::processor() {
    if (isMac()) {
        return; // by a command: see its own test
    }
    QString name = QStringLiteral("before");
    QCOMPARE(VKQtSysInfo::cpuDescription(name), VKStatus{0});
    QCOMPARE(name, machineFact(VKMachineFact::Processor));
    QVERIFY(!name.isEmpty());
}

void VKQtSysInfoTest::hostName() {
    QCOMPARE(VKQtSysInfo::localHostName().toUtf8(), Shell::outputOf("uname -n").text.trimmed());
}

void VKQtSysInfoTest::screen() {
    const QScreen* const screen = QGuiApplication::primaryScreen();
    QVERIFY(screen != nullptr);
    QCOMPARE(screen->devicePixelRatio(), 1.0);
    QCOMPARE(VKQtSysInfo::resolution(),
             QStringLiteral("%1x%2").arg(screen->size().width()).arg(screen->size().height()));
    QCOMPARE(VKQtSysInfo::refreshRate(), screen->refreshRate());
    QVERIFY(VKQtSysInfo::refreshRate() > 0);
}

void VKQtSysInfoTest::keys() {
    QCOMPARE(VKQtSysInfo::minimizeScreenKeySequence(), QKeySequence(QStringLiteral("Ctrl+M")));
    QCOMPARE(VKQtSysInfo::minimizeScreenKeySequence(), VKKeySequence::kMinimizeMacPlatform);
    QCOMPARE(VKQtSysInfo::fullScreenKeySequence(),
             QKeySequence(isMac() ? QStringLiteral("Ctrl+Meta+F") : QStringLiteral("F11")));
}

void VKQtSysInfoTest::openGLIsThatOfTheProbe() {
    QCOMPARE(VKQtSysInfo::openGLVendor(), QString());
    QCOMPARE(VKQtSysInfo::openGLVersion(), QString());
    VKCoreImageHardwareInfo::sOpenGLVendor = QStringLiteral("Mesa");
    VKCoreImageHardwareInfo::sOpenGLVersion = QStringLiteral("not this one");
    VKCoreImageHardwareInfo::sOpenGLVersionEx = QStringLiteral("4.5");
    QCOMPARE(VKQtSysInfo::openGLVendor(), QStringLiteral("Mesa"));
    QCOMPARE(VKQtSysInfo::openGLVersion(), QStringLiteral("4.5"));
    VKCoreImageHardwareInfo::sOpenGLVendor.clear();
    VKCoreImageHardwareInfo::sOpenGLVersion.clear();
    VKCoreImageHardwareInfo::sOpenGLVersionEx.clear();
}

void VKQtSysInfoTest::videoCard() {
    const QString card = machineFact(VKMachineFact::GraphicsCard);
    QCOMPARE(VKQtSysInfo::videoCard(), card);
    VKCoreImageHardwareInfo::sOpenGLRenderer = QStringLiteral("llvmpipe");
    QCOMPARE(VKQtSysInfo::videoCard(), card.isEmpty() && !isMac() ? QStringLiteral("llvmpipe") : card);
    VKCoreImageHardwareInfo::sOpenGLRenderer.clear();
}

void VKQtSysInfoTest::videoDescription() {
    if (isMac()) {
        return; // by a command: see its own test
    }
    const QString cards = machineFact(VKMachineFact::GraphicsReport);
    QCOMPARE(VKQtSysInfo::videoDescription(), QString(u'\n' + cards));
    VKCoreImageHardwareInfo::sOpenGLRenderer = QStringLiteral("llvmpipe");
    VKCoreImageHardwareInfo::sOpenGLVersionEx = QStringLiteral("4.5 Mesa");
    QCOMPARE(VKQtSysInfo::videoDescription(),
             QString(u'\n' + cards + QStringLiteral("OpenGL 4.5 Mesa by llvmpipe\n")));
    VKCoreImageHardwareInfo::sOpenGLRenderer.clear();
    VKCoreImageHardwareInfo::sOpenGLVersionEx.clear();
}

void VKQtSysInfoTest::videoDriver() {
    const QString version = machineFact(VKMachineFact::GraphicsDriverVersion);
    QCOMPARE(VKQtSysInfo::videoDriverVersion(),
             isMac() || version.isEmpty() ? QStringLiteral("Unknown") : version);
}

VKTEST_MAIN(VKQtSysInfoTest)
#include "VKQtSysInfoTest.moc"
