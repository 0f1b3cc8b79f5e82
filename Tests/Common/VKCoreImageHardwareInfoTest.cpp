// The probe against drivers that answer, fail or say nothing, row by row; what cards' names tell; what is there before.
// Real drivers have a test of their own: VKCoreImageUtilsTest.
#include "Support/VKTest.h"

#include <VKCoreImage/VKCoreImageHardwareInfo.h>
#include <VKCoreImage/VKCoreImageProbe.h>

#include <QStringList>

using Info = VKCoreImageHardwareInfo;
using VKCoreImageProbe::Driver;

class VKCoreImageHardwareInfoTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void beforeTheProbe();
    void errors_data();
    void errors();
    void order();
    void nullTexts();
    void unicodeTexts();
    void laterProbeOverwritesWhatItReaches();
    void flagsAreTheApplications();
    void versions_data();
    void versions();
    void nvidiaProblem_data();
    void nvidiaProblem();
    void intelProblem_data();
    void intelProblem();
};

namespace {

/// Answers from a list, and notes what it is asked.
class ListedDriver : public Driver {
public:
    int maxTextureSize() override {
        asked << QStringLiteral("size");
        return size;
    }
    const char* text(Text which) override {
        asked << QString::number(int(which));
        return texts[std::size_t(which)];
    }
    std::uint32_t takeError() override {
        asked << QStringLiteral("error");
        return errorsLeft.isEmpty() ? 0 : errorsLeft.takeFirst();
    }

    int size = 16384;
    std::array<const char*, 4> texts = {"Mesa", "llvmpipe", "4.5 Mesa", "4.50"};
    QList<std::uint32_t> errorsLeft; ///< what the error flag holds after each question
    QStringList asked;
};

QStringList facts() {
    return {Info::openGLVendor(), Info::openGLRenderer(), Info::openGLVersionEx(),
            Info::openGLShadingLanguageVersion()};
}

} // namespace

void VKCoreImageHardwareInfoTest::init() {
    VKTest::init();
    Info::sOpenGLMaxTextureSize = 0;
    for (QString* text : {&Info::sOpenGLVendor, &Info::sOpenGLRenderer, &Info::sOpenGLVersion,
                          &Info::sOpenGLVersionEx, &Info::sOpenGLShadingLanguageVersion}) {
        text->clear();
    }
    Info::sNvida2013MacProblem = false;
    Info::sIntelHD3000Problem = false;
    Info::sIntelHD6xxVideoCard = false;
}

void VKCoreImageHardwareInfoTest::beforeTheProbe() {
    QCOMPARE(Info::openGLMaxTextureSize(), 0);
    QCOMPARE(facts(), QStringList({QString(), QString(), QString(), QString()}));
    QCOMPARE(Info::openGLVersion(), QString());
    QVERIFY(!Info::nvida2013MacProblem());
    QVERIFY(!Info::intelHD3000Problem());
    QVERIFY(!Info::intelHD6xxVideoCard());
}

void VKCoreImageHardwareInfoTest::errors_data() {
    QTest::addColumn<QList<std::uint32_t>>("errors");
    QTest::addColumn<std::uint32_t>("status");
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("known"); // of the four texts
    using Errors = QList<std::uint32_t>;
    constexpr std::uint32_t kInvalidEnum = 0x0500;
    constexpr std::uint32_t kOutOfMemory = 0x0505;
    QTest::newRow("none") << Errors{} << 0U << 16384 << 4;
    QTest::newRow("at the size") << Errors{kInvalidEnum} << 0U << 8192 << 4;
    QTest::newRow("at the vendor") << Errors{0, kInvalidEnum} << kInvalidEnum << 16384 << 1;
    QTest::newRow("at the renderer") << Errors{0, 0, kOutOfMemory} << kOutOfMemory << 16384 << 2;
    QTest::newRow("at the version") << Errors{0, 0, 0, kInvalidEnum} << kInvalidEnum << 16384 << 3;
    QTest::newRow("at the shading language")
        << Errors{0, 0, 0, 0, kInvalidEnum} << kInvalidEnum << 16384 << 4;
    QTest::newRow("at the size and the vendor")
        << Errors{kInvalidEnum, kOutOfMemory} << kOutOfMemory << 8192 << 1;
    QTest::newRow("a driver's own number") << Errors{0, 1007} << 1007U << 16384 << 1;
}

void VKCoreImageHardwareInfoTest::errors() {
    QFETCH(QList<std::uint32_t>, errors);
    QFETCH(int, known);
    ListedDriver driver;
    driver.errorsLeft = errors;
    QTEST(VKCoreImageProbe::askDriver(driver), "status");
    QTEST(Info::openGLMaxTextureSize(), "size");
    QStringList expected = {QStringLiteral("Mesa"), QStringLiteral("llvmpipe"), QStringLiteral("4.5 Mesa"),
                            QStringLiteral("4.50")};
    for (int i = known; i < 4; ++i) {
        expected[i].clear();
    }
    QCOMPARE(facts(), expected);
    QCOMPARE(Info::openGLVersion(), QString());
    // Nothing is asked behind the error.
    QCOMPARE(driver.asked.size(), 2 * (known + 1));
    QCOMPARE(driver.asked.last(), QStringLiteral("error"));
}

void VKCoreImageHardwareInfoTest::order() {
    ListedDriver driver;
    QCOMPARE(VKCoreImageProbe::askDriver(driver), VKStatus{0});
    QCOMPARE(driver.asked.join(u' '), QStringLiteral("size error 0 error 1 error 2 error 3 error"));
}

void VKCoreImageHardwareInfoTest::nullTexts() {
    ListedDriver driver;
    driver.texts = {};
    QCOMPARE(VKCoreImageProbe::askDriver(driver), VKStatus{0});
    QCOMPARE(facts(), QStringList({QString(), QString(), QString(), QString()}));
}

void VKCoreImageHardwareInfoTest::unicodeTexts() {
    ListedDriver driver;
    driver.texts[0] = "\xc3\x84\xff";
    QCOMPARE(VKCoreImageProbe::askDriver(driver), VKStatus{0});
    QCOMPARE(Info::openGLVendor(), QStringLiteral("Ä\uFFFD"));
}

void VKCoreImageHardwareInfoTest::laterProbeOverwritesWhatItReaches() {
    ListedDriver driver;
    QCOMPARE(VKCoreImageProbe::askDriver(driver), VKStatus{0});
    ListedDriver other;
    other.size = 4096;
    other.texts = {"Other", "other renderer", "3.3", "3.30"};
    other.errorsLeft = {0, 0, 0x0502};
    QCOMPARE(VKCoreImageProbe::askDriver(other), VKStatus{0x0502});
    QCOMPARE(Info::openGLMaxTextureSize(), 4096);
    QCOMPARE(facts(), QStringList({QStringLiteral("Other"), QStringLiteral("other renderer"),
                                   QStringLiteral("4.5 Mesa"), QStringLiteral("4.50")}));
}

void VKCoreImageHardwareInfoTest::flagsAreTheApplications() {
    Info::sIntelHD6xxVideoCard = true;
    Info::sIntelHD3000Problem = true;
    Info::sNvida2013MacProblem = true;
    ListedDriver driver;
    QCOMPARE(VKCoreImageProbe::askDriver(driver), VKStatus{0});
    QVERIFY(Info::intelHD6xxVideoCard());
    QVERIFY(Info::intelHD3000Problem());
    QVERIFY(Info::nvida2013MacProblem());
}

void VKCoreImageHardwareInfoTest::versions_data() {
    QTest::addColumn<QByteArray>("version");
    QTest::addColumn<bool>("isEnough");
    QTest::newRow("Mesa, core") << QByteArray("4.5 (Core Profile) Mesa 22.3.6") << true;
    QTest::newRow("exactly") << QByteArray("3.3") << true;
    QTest::newRow("with a release") << QByteArray("3.3.0 NVIDIA 340.108") << true;
    QTest::newRow("one minor less") << QByteArray("3.2 (Core Profile) Mesa 22.3.6") << false;
    QTest::newRow("a great minor of a smaller major") << QByteArray("2.9 Mesa") << false;
    QTest::newRow("two digits") << QByteArray("10.0") << true;
    QTest::newRow("a minor of two digits") << QByteArray("3.10") << true;
    QTest::newRow("too old") << QByteArray("2.1 Mesa 22.3.6") << false;
    QTest::newRow("another interface") << QByteArray("OpenGL ES 3.2 Mesa 22.3.6") << false;
    QTest::newRow("a major only") << QByteArray("4") << true;
    QTest::newRow("no number") << QByteArray("unknown") << false;
    QTest::newRow("empty") << QByteArray("") << false;
}

void VKCoreImageHardwareInfoTest::versions() {
    QFETCH(QByteArray, version);
    QTEST(VKCoreImageProbe::isNewEnough(version.constData()), "isEnough");
    QVERIFY(!VKCoreImageProbe::isNewEnough(nullptr));
}

void VKCoreImageHardwareInfoTest::nvidiaProblem_data() {
    QTest::addColumn<QString>("card");
    QTest::addColumn<QString>("version");
    QTest::addColumn<bool>("hasProblem");
    const auto row = [](const char* name, const char* card, const char* version, bool hasProblem) {
        QTest::newRow(name) << QString::fromLatin1(card) << QString::fromLatin1(version) << hasProblem;
    };
    row("the first version", "NVIDIA GeForce GT 650M", "10.13", true);
    row("a later one", "NVIDIA GeForce GT 650M", "10.14", true);
    row("the one before", "NVIDIA GeForce GT 650M", "10.12", false);
    row("small letters", "nvidia geforce", "10.13", true);
    row("within the name", "Card by nVidia Corp", "10.15", true);
    row("decimal: 10.9 is later than 10.13", "NVIDIA", "10.9", true);
    row("decimal: 10.2 is later too", "NVIDIA", "10.2", true);
    row("decimal: 10.1 is not", "NVIDIA", "10.1", false);
    row("11", "NVIDIA", "11", true);
    row("11.0", "NVIDIA", "11.0", true);
    row("9.9", "NVIDIA", "9.9", false);
    row("another card, any version", "AMD Radeon Pro 560", "99", false);
    row("no card", "", "11", false);
    row("no version", "NVIDIA", "", false);
    row("a version that is no decimal number", "NVIDIA", "10.13.6", false);
}

void VKCoreImageHardwareInfoTest::nvidiaProblem() {
    QFETCH(QString, card);
    QFETCH(QString, version);
    QTEST(VKCoreImageProbe::isNvidia2013Problem(card, version), "hasProblem");
}

void VKCoreImageHardwareInfoTest::intelProblem_data() {
    QTest::addColumn<QString>("card");
    QTest::addColumn<bool>("hasProblem");
    QTest::newRow("the chip") << QStringLiteral("Intel HD Graphics 3000") << true;
    QTest::newRow("with its memory") << QStringLiteral("Intel HD Graphics 3000 512 MB") << true;
    QTest::newRow("its successor") << QStringLiteral("Intel HD Graphics 4000") << false;
    QTest::newRow("another maker") << QStringLiteral("HD Graphics 3000") << false;
    QTest::newRow("none") << QString() << false;
}

void VKCoreImageHardwareInfoTest::intelProblem() {
    QFETCH(QString, card);
    QTEST(VKCoreImageProbe::isIntelHD3000(card), "hasProblem");
}

VKTEST_MAIN(VKCoreImageHardwareInfoTest)
#include "VKCoreImageHardwareInfoTest.moc"
