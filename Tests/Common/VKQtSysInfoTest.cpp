// The platform answers under each rule, and the version rule over records of systems that are not here.
#include "Support/VKTest.h"

#include <VKQtSysInfo.h>
#include <VKQtSysInfoRules.h>

#include <QOperatingSystemVersion>

using OSType = QOperatingSystemVersion::OSType;

namespace {

const QByteArray kRules = vkTestPlatformRules();

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

VKTEST_MAIN(VKQtSysInfoTest)
#include "VKQtSysInfoTest.moc"
