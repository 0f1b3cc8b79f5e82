// The private context and the probe with real drivers: each case is this program again, as an application of its own, on a
// display that the case names. It tells what it saw, a line "key=value" each.
#include "Support/DisplaySupport.h"
#include "Support/ShellCommand.h"
#include "Support/VKTest.h"

#include <VKCoreImage/VKCoreImageHardwareInfo.h>
#include <VKCoreImage/VKCoreImageUtils.h>
#include <VKCoreKit/VKCoreKit.h>
#include <VKQtSysInfo.h>

#include <CoreFoundation/CFQt.h>
#include <QFile>
#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>

#include <cstdio>
#include <memory>
#include <thread>

using Info = VKCoreImageHardwareInfo;
using Utils = VKCoreImageUtils;

namespace {

/// The name of the card that the machine is said to have; none when empty.
QString gCard;

} // namespace

// The linker puts this in the place of VKUtilsGetVideoCardCopy().
extern "C" CFStringRef __wrap__Z23VKUtilsGetVideoCardCopyv() { // NOLINT(bugprone-reserved-identifier)
    return gCard.isEmpty() ? nullptr : CFStringCreateWithQString(gCard);
}

namespace {

// The application that a case runs.

void tell(const char* key, const QString& value) { std::printf("%s=%s\n", key, value.toUtf8().constData()); }

void tell(const char* key, bool value) { tell(key, value ? QStringLiteral("yes") : QStringLiteral("no")); }

void tellEvent(const VKLogRecord& record, void* /*context*/) {
    tell(
        "event",
        QStringLiteral("%1 %2 %3").arg(record.status).arg(QLatin1String(record.source)).arg(record.line > 0));
}

QString tellFlags() {
    return QStringLiteral("%1%2%3")
        .arg(Info::nvida2013MacProblem())
        .arg(Info::intelHD3000Problem())
        .arg(Info::intelHD6xxVideoCard());
}

void tellProbe() {
    tell("status", QString::number(Info::validateOpenGL()));
    tell("vendor", Info::openGLVendor());
    tell("renderer", Info::openGLRenderer());
    tell("version", Info::openGLVersion());
    tell("versionEx", Info::openGLVersionEx());
    tell("shading", Info::openGLShadingLanguageVersion());
    tell("size", QString::number(Info::openGLMaxTextureSize()));
    tell("flags", tellFlags());
    tell("context", Utils::sContext != nullptr);
    tell("created", Utils::sContext != nullptr && Utils::sContext->isValid());
    tell("surface", Utils::sSurface != nullptr && Utils::sSurface->isValid());
    tell("current", Utils::sContext != nullptr && QOpenGLContext::currentContext() == Utils::sContext);
}

void tellScreen() {
    tell("resolution", VKQtSysInfo::resolution());
    tell("rate", VKQtSysInfo::refreshRate() > 0);
}

/// The same context every time, created or not.
void probeAgain() {
    const QOpenGLContext* const context = Utils::sContext;
    const QOffscreenSurface* const surface = Utils::sSurface;
    if (Utils::sContext->isValid()) {
        Utils::sContext->doneCurrent();
    }
    tell("again", QString::number(Utils::aquireMainThreadGLContext()));
    tell("sameContext", Utils::sContext == context);
    tell("sameSurface", Utils::sSurface == surface);
    tell("currentAgain", QOpenGLContext::currentContext() == Utils::sContext);
}

void probeInAnotherThread() {
    std::thread other([] { tell("other", QString::number(Info::validateOpenGL())); });
    other.join();
    tell("otherContext", Utils::sContext != nullptr);
}

/// The flags after a probe with each card, one after the other.
void probeCards() {
    for (const char* card :
         {"", "AMD Radeon", "Intel HD Graphics 3000 512 MB", "NVIDIA GeForce GT 650M", "AMD Radeon"}) {
        gCard = QString::fromLatin1(card);
        const VKStatus status = Info::validateOpenGL();
        tell("card", QStringLiteral("%1 %2").arg(status).arg(tellFlags()));
    }
}

/// A surface that cannot be drawn to any more, as when a driver takes it away.
void loseSurface() {
    Utils::sSurface->destroy();
    tell("lost", Utils::sSurface->isValid());
    tell("afterLoss", QString::number(Utils::aquireMainThreadGLContext()));
}

/// An application object before the one that the case is about, with a context that its window system takes along.
void probeInFirstApplication(int argc, char** argv) {
    const QGuiApplication first(argc, argv);
    tell("first", QString::number(Info::validateOpenGL()));
}

int runApplication(int argc, char** argv, const QByteArray& kind) {
    VKLogSetHandler(&tellEvent, nullptr);
    if (kind == "none" || kind == "core") {
        const std::unique_ptr<QCoreApplication> application =
            kind == "core" ? std::make_unique<QCoreApplication>(argc, argv) : nullptr;
        tellProbe();
        tellScreen();
        return 0;
    }
    if (kind == "share") {
        QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    }
    if (kind == "second") {
        probeInFirstApplication(argc, argv);
    }
    const QGuiApplication application(argc, argv);
    if (kind == "thread") {
        probeInAnotherThread();
    }
    Info::sIntelHD6xxVideoCard = true;
    tellProbe();
    tellScreen();
    probeAgain();
    if (kind == "share") {
        tell("shares", QOpenGLContext::globalShareContext() != nullptr &&
                           Utils::sContext->shareContext() == QOpenGLContext::globalShareContext());
    }
    if (kind == "lose") {
        loseSurface();
    }
    if (kind == "cards") {
        probeCards();
    }
    tell("end", true);
    return 0;
}

// The test.

struct Told {
    int status = -1;
    QMap<QString, QString> values;
    QStringList events;
    QStringList cards;
    QByteArray all;
};

/// Runs an application of that kind in an environment with these changes.
Told run(const QByteArray& kind, const QByteArray& environment) {
    // What the drivers' own libraries keep until the end is none of ours.
    const QByteArray command = "env -u DISPLAY -u WAYLAND_DISPLAY ASAN_OPTIONS=detect_leaks=0 " +
                               environment + " '" + QCoreApplication::applicationFilePath().toUtf8() +
                               "' --application " + kind + " 2>&1";
    const Shell::Output output = Shell::outputOf(command);
    Told told;
    told.status = output.status;
    told.all = output.text;
    for (const QByteArray& line : output.text.split('\n')) {
        const qsizetype equals = line.indexOf('=');
        if (line.startsWith("event=")) {
            told.events << QString::fromUtf8(line.sliced(6));
        } else if (line.startsWith("card=")) {
            told.cards << QString::fromUtf8(line.sliced(5));
        } else if (equals > 0) {
            told.values.insert(QString::fromUtf8(line.first(equals)),
                               QString::fromUtf8(line.sliced(equals + 1)));
        }
    }
    return told;
}

const QString kUtilsSource = QStringLiteral("VKQtCore/Source/Common/VKCoreImage/VKCoreImageUtils");
const QString kInfoSource = QStringLiteral("VKQtCore/Source/Common/VKCoreImage/VKCoreImageHardwareInfo");

QString eventOf(int status, const QString& source) {
    return QStringLiteral("%1 %2 1").arg(status).arg(source);
}

} // namespace

class VKCoreImageUtilsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void configurationNames_data();
    void configurationNames();
    void stopwatchRuns();
    void driver_data();
    void driver();
    void tooOld_data();
    void tooOld();
    void noContext_data();
    void noContext();
    void noGuiApplication_data();
    void noGuiApplication();
    void anotherThread();
    void sharesWithTheApplication();
    void lostSurface();
    void secondApplication();
    void problemCards();
    void screen_data();
    void screen();
    void brokenDriverPath();
    void cleanupTestCase() { mDisplay.reset(); }

private:
    /// One for all cases, as none leaves anything on it.
    const Displays::Virtual& display() {
        if (mDisplay == nullptr) {
            mDisplay = std::make_unique<Displays::Virtual>("2560x1440x24");
        }
        return *mDisplay;
    }

    std::unique_ptr<Displays::Virtual> mDisplay;
};

void VKCoreImageUtilsTest::configurationNames_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("text");
    QTest::newRow("group") << Utils::kConfigGroupVKCoreImageUtils << QStringLiteral("core_image_utils");
    QTest::newRow("error check") << Utils::kConfigGroupVKCoreImageUtilsEnableGLErrorCheck
                                 << QStringLiteral("core_enable_gl_error_check");
    QTest::newRow("passes") << Utils::kConfigGroupVKCoreImageUtilsScalingPasses
                            << QStringLiteral("core_scaling_passes");
    QTest::newRow("three channels") << Utils::kConfigGroupVKCoreImageUtilsThreeChannelImages
                                    << QStringLiteral("core_three_channel_images");
    QTest::newRow("base pixels") << Utils::kConfigGroupVKCoreImageUtilsUseBasePixelTextures
                                 << QStringLiteral("use_base_pixel_textures");
    QTest::newRow("layer") << Utils::kPreviewerLayerName << QStringLiteral("Previewer");
}

void VKCoreImageUtilsTest::configurationNames() {
    QFETCH(QString, name);
    QTEST(name, "text");
}

void VKCoreImageUtilsTest::stopwatchRuns() {
    const auto first = Utils::sGlobalSW.elapsed();
    QVERIFY(first.count() > 0);
    QVERIFY(Utils::sGlobalSW.elapsed() >= first);
    // Since this program was loaded, not since the clock's own beginning.
    QVERIFY(Utils::sGlobalSW.elapsedAt(VKStopwatch::Clock::time_point()).count() < 0);
}

void VKCoreImageUtilsTest::driver_data() {
    QTest::addColumn<QByteArray>("platform");
    QTest::newRow("a window system") << QByteArray("QT_QPA_PLATFORM=xcb");
    QTest::newRow("its other way to the driver")
        << QByteArray("QT_QPA_PLATFORM=xcb QT_XCB_GL_INTEGRATION=xcb_egl");
    QTest::newRow("off the screen") << QByteArray("QT_QPA_PLATFORM=offscreen");
}

void VKCoreImageUtilsTest::driver() {
    VKTEST_NEEDS(Displays::Virtual::isInstalled(), "Xvfb");
    QFETCH(QByteArray, platform);
    QVERIFY(display().isRunning());
    const Told told = run("probe", platform + " DISPLAY=" + display().name());
    QVERIFY2(told.status == 0, told.all.constData());
    const QMap<QString, QString>& values = told.values;
    QCOMPARE(values[QStringLiteral("status")], QStringLiteral("0"));
    QCOMPARE(told.events, QStringList());
    QVERIFY2(values[QStringLiteral("vendor")].contains(QStringLiteral("Mesa")), told.all.constData());
    QVERIFY2(values[QStringLiteral("renderer")].contains(QStringLiteral("llvmpipe")), told.all.constData());
    QCOMPARE(values[QStringLiteral("version")], QString());
    QVERIFY2(values[QStringLiteral("versionEx")].contains(QStringLiteral("Mesa")), told.all.constData());
    QVERIFY2(values[QStringLiteral("shading")].toDouble() >= 3.3, told.all.constData());
    QVERIFY(values[QStringLiteral("size")].toInt() >= 8192);
    QCOMPARE(values[QStringLiteral("flags")], QStringLiteral("001"));
    for (const char* key :
         {"created", "surface", "current", "sameContext", "sameSurface", "currentAgain", "end"}) {
        QVERIFY2(values[QLatin1String(key)] == QStringLiteral("yes"), key);
    }
    QCOMPARE(values[QStringLiteral("again")], QStringLiteral("0"));
}

void VKCoreImageUtilsTest::tooOld_data() {
    QTest::addColumn<QByteArray>("environment");
    QTest::newRow("2.1") << QByteArray("QT_QPA_PLATFORM=xcb MESA_GL_VERSION_OVERRIDE=2.1");
    QTest::newRow("one minor too old") << QByteArray("QT_QPA_PLATFORM=xcb MESA_GL_VERSION_OVERRIDE=3.2");
    QTest::newRow("a platform that takes the wish for the fact")
        << QByteArray("QT_QPA_PLATFORM=offscreen MESA_GL_VERSION_OVERRIDE=2.1");
}

void VKCoreImageUtilsTest::tooOld() {
    VKTEST_NEEDS(Displays::Virtual::isInstalled(), "Xvfb");
    QFETCH(QByteArray, environment);
    QVERIFY(display().isRunning());
    const Told told = run("probe", environment + " DISPLAY=" + display().name());
    QVERIFY2(told.status == 0, told.all.constData());
    QCOMPARE(told.values[QStringLiteral("status")], QStringLiteral("1003"));
    QCOMPARE(told.events, QStringList({eventOf(1003, kInfoSource)}));
    QCOMPARE(told.values[QStringLiteral("vendor")], QString());
    QCOMPARE(told.values[QStringLiteral("size")], QStringLiteral("0"));
    QCOMPARE(told.values[QStringLiteral("created")], QStringLiteral("yes"));
    QCOMPARE(told.values[QStringLiteral("again")], QStringLiteral("0"));
}

void VKCoreImageUtilsTest::noContext_data() {
    QTest::addColumn<QByteArray>("environment");
    QTest::addColumn<bool>("needsDisplay");
    QTest::newRow("no display") << QByteArray("QT_QPA_PLATFORM=offscreen") << false;
    QTest::newRow("a platform without OpenGL") << QByteArray("QT_QPA_PLATFORM=minimal") << false;
    QTest::newRow("a window system without a way to the driver")
        << QByteArray("QT_QPA_PLATFORM=xcb QT_XCB_GL_INTEGRATION=none") << true;
    // As when every monitor is switched off: the driver is there, nothing to be seen is.
    QFile screens(makeFolder() + QStringLiteral("/screens.json"));
    QVERIFY(screens.open(QIODevice::WriteOnly) && screens.write("{\"screens\":[]}") > 0);
    QTest::newRow("no screen") << "QT_QPA_PLATFORM=offscreen:configfile=" +
                                      QFile::encodeName(screens.fileName())
                               << true;
}

void VKCoreImageUtilsTest::noContext() {
    QFETCH(QByteArray, environment);
    QFETCH(bool, needsDisplay);
    VKTEST_NEEDS(!needsDisplay || Displays::Virtual::isInstalled(), "Xvfb");
    if (needsDisplay) {
        QVERIFY(display().isRunning());
        environment += " DISPLAY=" + display().name();
    }
    const Told told = run("probe", environment);
    QVERIFY2(told.status == 0, told.all.constData());
    QCOMPARE(told.values[QStringLiteral("status")], QStringLiteral("1002"));
    // Where it happened, where it ended the probe, and where it happened again.
    QCOMPARE(told.events, QStringList({eventOf(1002, kUtilsSource), eventOf(1002, kInfoSource),
                                       eventOf(1002, kUtilsSource)}));
    // The context object that could not be created is kept for the next call.
    QCOMPARE(told.values[QStringLiteral("context")], QStringLiteral("yes"));
    QCOMPARE(told.values[QStringLiteral("created")], QStringLiteral("no"));
    QCOMPARE(told.values[QStringLiteral("again")], QStringLiteral("1002"));
    QCOMPARE(told.values[QStringLiteral("sameContext")], QStringLiteral("yes"));
    QCOMPARE(told.values[QStringLiteral("current")], QStringLiteral("no"));
    QCOMPARE(told.values[QStringLiteral("end")], QStringLiteral("yes"));
}

void VKCoreImageUtilsTest::noGuiApplication_data() {
    QTest::addColumn<QByteArray>("kind");
    QTest::newRow("no application object") << QByteArray("none");
    QTest::newRow("one without screens") << QByteArray("core");
}

void VKCoreImageUtilsTest::noGuiApplication() {
    QFETCH(QByteArray, kind);
    const Told told = run(kind, "QT_QPA_PLATFORM=offscreen");
    QVERIFY2(told.status == 0, told.all.constData());
    QCOMPARE(told.values[QStringLiteral("status")], QStringLiteral("1002"));
    QCOMPARE(told.events, QStringList({eventOf(1002, kUtilsSource), eventOf(1002, kInfoSource)}));
    QCOMPARE(told.values[QStringLiteral("context")], QStringLiteral("no"));
    QCOMPARE(told.values[QStringLiteral("resolution")], QStringLiteral("0x0"));
    QCOMPARE(told.values[QStringLiteral("rate")], QStringLiteral("no"));
}

void VKCoreImageUtilsTest::anotherThread() {
    VKTEST_NEEDS(Displays::Virtual::isInstalled(), "Xvfb");
    QVERIFY(display().isRunning());
    const Told told = run("thread", "QT_QPA_PLATFORM=xcb DISPLAY=" + display().name());
    QVERIFY2(told.status == 0, told.all.constData());
    QCOMPARE(told.values[QStringLiteral("other")], QStringLiteral("1002"));
    QCOMPARE(told.values[QStringLiteral("otherContext")], QStringLiteral("no"));
    // The right one comes to its context all the same.
    QCOMPARE(told.values[QStringLiteral("status")], QStringLiteral("0"));
}

void VKCoreImageUtilsTest::sharesWithTheApplication() {
    VKTEST_NEEDS(Displays::Virtual::isInstalled(), "Xvfb");
    QVERIFY(display().isRunning());
    const Told told = run("share", "QT_QPA_PLATFORM=xcb DISPLAY=" + display().name());
    QVERIFY2(told.status == 0, told.all.constData());
    QCOMPARE(told.values[QStringLiteral("status")], QStringLiteral("0"));
    QCOMPARE(told.values[QStringLiteral("shares")], QStringLiteral("yes"));
}

void VKCoreImageUtilsTest::lostSurface() {
    VKTEST_NEEDS(Displays::Virtual::isInstalled(), "Xvfb");
    QVERIFY(display().isRunning());
    const Told told = run("lose", "QT_QPA_PLATFORM=xcb DISPLAY=" + display().name());
    QVERIFY2(told.status == 0, told.all.constData());
    QCOMPARE(told.values[QStringLiteral("lost")], QStringLiteral("no"));
    QCOMPARE(told.values[QStringLiteral("afterLoss")], QStringLiteral("0"));
}

void VKCoreImageUtilsTest::secondApplication() {
    VKTEST_NEEDS(Displays::Virtual::isInstalled(), "Xvfb");
    QVERIFY(display().isRunning());
    const Told told = run("second", "QT_QPA_PLATFORM=xcb DISPLAY=" + display().name());
    QVERIFY2(told.status == 0, told.all.constData());
    QCOMPARE(told.values[QStringLiteral("first")], QStringLiteral("0"));
    QCOMPARE(told.values[QStringLiteral("status")], QStringLiteral("0"));
    QCOMPARE(told.values[QStringLiteral("again")], QStringLiteral("0"));
    QCOMPARE(told.values[QStringLiteral("sameContext")], QStringLiteral("yes"));
    QCOMPARE(told.values[QStringLiteral("end")], QStringLiteral("yes"));
}

void VKCoreImageUtilsTest::problemCards() {
    VKTEST_NEEDS(Displays::Virtual::isInstalled(), "Xvfb");
    QVERIFY(display().isRunning());
    const Told told = run("cards", "QT_QPA_PLATFORM=xcb DISPLAY=" + display().name());
    QVERIFY2(told.status == 0, told.all.constData());
    // NVIDIA's problem is one of macOS, and this system's version is great enough. No flag is taken back.
    QVERIFY(QSysInfo::productVersion().toDouble() >= 10.13);
    const QString nvidia =
        QByteArray(vkTestPlatformRules()) == "macos" ? QStringLiteral("0 111") : QStringLiteral("0 011");
    QCOMPARE(told.cards, QStringList({QStringLiteral("0 001"), QStringLiteral("0 001"),
                                      QStringLiteral("0 011"), nvidia, nvidia}));
}

void VKCoreImageUtilsTest::screen_data() {
    QTest::addColumn<QByteArray>("scale");
    for (const char* scale : {"1", "1.25", "1.5", "1.75", "2"}) {
        QTest::newRow(scale) << QByteArray(scale);
    }
}

void VKCoreImageUtilsTest::screen() {
    VKTEST_NEEDS(Displays::Virtual::isInstalled(), "Xvfb");
    QFETCH(QByteArray, scale);
    QVERIFY(display().isRunning());
    const Told told =
        run("probe", "QT_QPA_PLATFORM=xcb QT_SCALE_FACTOR=" + scale + " DISPLAY=" + display().name());
    QVERIFY2(told.status == 0, told.all.constData());
    QCOMPARE(told.values[QStringLiteral("resolution")], QStringLiteral("2560x1440"));
    QCOMPARE(told.values[QStringLiteral("rate")], QStringLiteral("yes"));
}

void VKCoreImageUtilsTest::brokenDriverPath() {
    VKTEST_NEEDS(Displays::Virtual::isInstalled(), "Xvfb");
    QVERIFY(display().isRunning());
    // No driver is found: whatever the window system's library does without one, the answer is a status.
    const Told told =
        run("probe", "QT_QPA_PLATFORM=xcb LIBGL_DRIVERS_PATH=/nonexistent GBM_BACKENDS_PATH=/nonexistent "
                     "DISPLAY=" +
                         display().name());
    QVERIFY2(told.status == 0, told.all.constData());
    QVERIFY(told.values.contains(QStringLiteral("status")));
    QCOMPARE(told.values[QStringLiteral("end")], QStringLiteral("yes"));
}

int main(int argc, char** argv) {
    if (argc == 3 && qstrcmp(argv[1], "--application") == 0) {
        return runApplication(argc, argv, argv[2]);
    }
    return vkTestRun(argc, argv,
                     [] { return std::unique_ptr<QObject>(std::make_unique<VKCoreImageUtilsTest>()); });
}
#include "VKCoreImageUtilsTest.moc"
