// vkqt system and vkqt graphics, run as processes: on a display of the test's own, without one, and with one that kills or
// silences whoever asks it.
#include "ToolRunner.h"

#include "Support/DisplaySupport.h"
#include "Support/VKTest.h"

#include <QFile>
#include <QJsonObject>

#include <arpa/inet.h>
#include <memory>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

class ToolSystemTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void everyDocumentedKey_data();
    void everyDocumentedKey();
    void systemForPeople();
    void systemJson();
    void systemOnADisplay();
    void graphicsOnADisplay();
    void graphicsForPeople();
    void graphicsHere();
    void graphicsTooOld();
    void graphicsWithoutADisplay();
    void graphicsDies();
    void systemLivesOn();
    void graphicsHangs();
    void verbose();
    void wrongLines_data();
    void wrongLines();
    void cleanupTestCase() { mDisplay.reset(); }

private:
    void useDisplay();

    std::unique_ptr<Displays::Virtual> mDisplay;
};

namespace {

QJsonObject objectOf(const QByteArray& output) {
    bool ok = false;
    const QJsonArray array = jsonArray(output, &ok);
    return ok && array.size() == 1 ? array.first().toObject() : QJsonObject();
}

/// The answer of the table's row of that name; a null text when there is no such row.
QString rowOf(const QByteArray& table, const QString& name) {
    for (const QString& line : QString::fromUtf8(table).split(u'\n')) {
        if (line.startsWith(name + u' ')) {
            return line.sliced(name.size()).trimmed();
        }
    }
    return QString();
}

/// A display that takes a call and never says a word: on this machine's own address, where display n is port 6000 + n.
class SilentDisplay {
public:
    SilentDisplay() {
        constexpr int kFirstPort = 6000;
        for (mNumber = 100; mNumber < 400; ++mNumber) {
            mListener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
            sockaddr_in address{};
            address.sin_family = AF_INET;
            address.sin_port = htons(static_cast<std::uint16_t>(kFirstPort + mNumber));
            address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            if (::bind(mListener, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                ::listen(mListener, 8) == 0) {
                return;
            }
            ::close(mListener);
            mListener = -1;
        }
    }
    SilentDisplay(const SilentDisplay&) = delete;
    SilentDisplay& operator=(const SilentDisplay&) = delete;
    ~SilentDisplay() { ::close(mListener); }

    [[nodiscard]] bool isListening() const { return mListener >= 0; }
    [[nodiscard]] QByteArray name() const { return "127.0.0.1:" + QByteArray::number(mNumber); }

    /// Takes the first call that came and reads until its other end is closed. False when nobody called.
    [[nodiscard]] bool callerIsGone() const {
        const int call = ::accept(mListener, nullptr, nullptr);
        char buffer[4096];
        ssize_t got = 1;
        while (call >= 0 && got > 0) {
            got = ::read(call, buffer, sizeof buffer);
        }
        ::close(call);
        return call >= 0 && got <= 0;
    }

private:
    int mNumber = 0;
    int mListener = -1;
};

QString textOf(const QString& file) {
    QFile source(file);
    return source.open(QFile::ReadOnly) ? QString::fromUtf8(source.readAll()).trimmed() : QString();
}

} // namespace

void ToolSystemTest::init() {
    VKTest::init();
    qunsetenv("DISPLAY");
    qunsetenv("WAYLAND_DISPLAY");
    // The tool chooses by itself, as at a person's desk.
    qunsetenv("QT_QPA_PLATFORM");
    qunsetenv("MESA_GL_VERSION_OVERRIDE");
    // What the driver's own libraries keep until the end is none of ours.
    qputenv("ASAN_OPTIONS", "detect_leaks=0");
}

void ToolSystemTest::useDisplay() {
    if (mDisplay == nullptr) {
        mDisplay = std::make_unique<Displays::Virtual>("1600x900x24");
    }
    QVERIFY(mDisplay->isRunning());
    qputenv("DISPLAY", mDisplay->name());
}

void ToolSystemTest::everyDocumentedKey_data() {
    QTest::addColumn<QString>("command");
    QTest::newRow("system") << u"system"_s;
    QTest::newRow("graphics") << u"graphics"_s;
}

void ToolSystemTest::everyDocumentedKey() {
    QFETCH(QString, command);
    const QByteArray help = runVkqt({command, u"--help"_s}).out;
    const QStringList keys = objectOf(runVkqt({command, u"--json"_s}).out).keys();
    QCOMPARE(keys.size(), 12);
    for (const QString& key : keys) {
        QVERIFY2(help.indexOf(QByteArray("\n  " + key.toUtf8() + ' '), help.indexOf("JSON")) > 0,
                 qPrintable(key));
    }
}

void ToolSystemTest::systemForPeople() {
    const ToolRun run = runVkqt({u"system"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.err, QByteArray());
    QVERIFY(run.out.startsWith("What "));
    const QJsonObject facts = objectOf(runVkqt({u"system"_s, u"--json"_s}).out);
    QCOMPARE(rowOf(run.out, u"System"_s),
             QStringList({facts[u"name"_s].toString(), facts[u"version"_s].toString()}).join(u' ').trimmed());
    QCOMPARE(rowOf(run.out, u"Platform"_s), u"Linux"_s);
    QCOMPARE(rowOf(run.out, u"Processor"_s), facts[u"processor"_s].toString());
    // The framework's imaginary screen is none.
    QCOMPARE(rowOf(run.out, u"Screen"_s), u"-"_s);
    QCOMPARE(run.out.count('\n'), 10);
}

void ToolSystemTest::systemJson() {
    const QJsonObject facts = objectOf(runVkqt({u"system"_s, u"--json"_s}).out);
    QCOMPARE(facts[u"host"_s].toString(), textOf(u"/proc/sys/kernel/hostname"_s));
    QCOMPARE(facts[u"platform"_s].toString(), u"Linux"_s);
    QVERIFY(textOf(u"/etc/os-release"_s).contains(facts[u"name"_s].toString()));
    QVERIFY(!facts[u"processor"_s].toString().isEmpty());
    for (const QString& key : facts.keys()) {
        // Unknown is null, never an empty text.
        QVERIFY2(facts[key].isNull() || facts[key].isDouble() || !facts[key].toString().isEmpty(),
                 qPrintable(key));
    }
    QVERIFY(facts[u"resolution"_s].isNull());
    QVERIFY(facts[u"refreshRate"_s].isNull());
}

void ToolSystemTest::systemOnADisplay() {
    VKTEST_NEEDS(Displays::Virtual::isInstalled(), "Xvfb");
    useDisplay();
    const QJsonObject facts = objectOf(runVkqt({u"system"_s, u"--json"_s}).out);
    QCOMPARE(facts[u"resolution"_s].toString(), u"1600x900"_s);
    QVERIFY(facts[u"refreshRate"_s].toDouble() > 0);
    // A machine without a card draws with its processor.
    QVERIFY(facts[u"graphicsCard"_s].isString());
    QVERIFY(rowOf(runVkqt({u"system"_s}).out, u"Screen"_s).startsWith(u"1600x900, "_s));
}

void ToolSystemTest::graphicsOnADisplay() {
    VKTEST_NEEDS(Displays::Virtual::isInstalled(), "Xvfb");
    useDisplay();
    const ToolRun run = runVkqt({u"graphics"_s, u"--json"_s});
    QCOMPARE(run.err, QByteArray());
    QCOMPARE(run.status, 0);
    const QJsonObject facts = objectOf(run.out);
    QVERIFY(facts[u"error"_s].isNull());
    QCOMPARE(facts[u"windowSystem"_s].toString(), u"xcb"_s);
    QCOMPARE(facts[u"resolution"_s].toString(), u"1600x900"_s);
    QVERIFY2(facts[u"renderer"_s].toString().contains(u"llvmpipe"_s), run.out);
    QVERIFY2(facts[u"version"_s].toString().contains(u"Mesa"_s), run.out);
    QVERIFY(facts[u"maxTextureSize"_s].toInt() >= 8192);
    QCOMPARE(facts[u"problems"_s].toArray(), QJsonArray());
}

void ToolSystemTest::graphicsForPeople() {
    VKTEST_NEEDS(Displays::Virtual::isInstalled(), "Xvfb");
    useDisplay();
    const ToolRun run = runVkqt({u"graphics"_s});
    QCOMPARE(run.status, 0);
    QVERIFY(rowOf(run.out, u"Screen"_s).startsWith(u"1600x900, "_s));
    QVERIFY(rowOf(run.out, u"Renderer"_s).contains(u"llvmpipe"_s));
    QVERIFY(rowOf(run.out, u"Longest texture side"_s).toInt() >= 8192);
    QVERIFY(rowOf(run.out, u"Known problem"_s).isNull());
}

void ToolSystemTest::graphicsHere() {
    VKTEST_NEEDS(Displays::Virtual::isInstalled(), "Xvfb");
    useDisplay();
    const ToolRun here = runVkqt({u"graphics"_s, u"--here"_s, u"--json"_s});
    QCOMPARE(here.status, 0);
    QCOMPARE(here.out, runVkqt({u"graphics"_s, u"--json"_s}).out);
}

void ToolSystemTest::graphicsTooOld() {
    VKTEST_NEEDS(Displays::Virtual::isInstalled(), "Xvfb");
    useDisplay();
    qputenv("MESA_GL_VERSION_OVERRIDE", "2.1");
    const ToolRun run = runVkqt({u"graphics"_s, u"--json"_s});
    QCOMPARE(run.status, 1);
    QCOMPARE(run.err, QByteArray("vkqt graphics: the driver is too old: it has no OpenGL 3.3\n"));
    const QJsonObject facts = objectOf(run.out);
    QCOMPARE(facts[u"error"_s].toString(), u"the driver is too old: it has no OpenGL 3.3"_s);
    QVERIFY(facts[u"version"_s].isNull());
    QVERIFY(facts[u"maxTextureSize"_s].isNull());
    // The screen is known all the same.
    QCOMPARE(facts[u"resolution"_s].toString(), u"1600x900"_s);
}

void ToolSystemTest::graphicsWithoutADisplay() {
    const ToolRun run = runVkqt({u"graphics"_s});
    QCOMPARE(run.status, 1);
    QCOMPARE(run.err,
             QByteArray("vkqt graphics: there is no OpenGL here: no display, or no driver for it\n"));
    QCOMPARE(rowOf(run.out, u"Window system"_s), u"offscreen"_s);
    QCOMPARE(rowOf(run.out, u"Screen"_s), u"-"_s);
    QCOMPARE(rowOf(run.out, u"OpenGL"_s), u"-"_s);
}

void ToolSystemTest::graphicsDies() {
    // No server is behind it, and the framework then ends the program that wants it.
    qputenv("DISPLAY", ":64999");
    qputenv("QT_QPA_PLATFORM", "xcb");
    const ToolRun run = runVkqt({u"graphics"_s, u"--json"_s});
    QCOMPARE(run.status, 1);
    QCOMPARE(
        run.err,
        QByteArray(
            "vkqt graphics: the display could not be opened, or the graphics driver gave up (signal 6)\n"));
    const QJsonObject facts = objectOf(run.out);
    QVERIFY(facts[u"error"_s].toString().startsWith(u"the display "_s));
    QVERIFY(facts[u"windowSystem"_s].isNull());
    QVERIFY(facts[u"cards"_s].isArray());
}

void ToolSystemTest::systemLivesOn() {
    qputenv("DISPLAY", ":64999");
    qputenv("QT_QPA_PLATFORM", "xcb");
    const ToolRun run = runVkqt({u"system"_s, u"--json"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.err, QByteArray());
    QVERIFY(objectOf(run.out)[u"resolution"_s].isNull());
    QVERIFY(!objectOf(run.out)[u"processor"_s].toString().isEmpty());
}

void ToolSystemTest::graphicsHangs() {
    const SilentDisplay silent;
    QVERIFY(silent.isListening());
    qputenv("DISPLAY", silent.name());
    qputenv("QT_QPA_PLATFORM", "xcb");
    const ToolRun run = runVkqt({u"graphics"_s, u"--timeout"_s, u"1"_s});
    QCOMPARE(run.err, QByteArray("vkqt graphics: the graphics driver did not answer in time\n"));
    QCOMPARE(run.status, 1);
    QCOMPARE(rowOf(run.out, u"OpenGL"_s), u"-"_s);
    // The process that called is gone as well: otherwise its end would stay open, and this would not return.
    QVERIFY(silent.callerIsGone());
}

void ToolSystemTest::verbose() {
    const ToolRun run = runVkqt({u"graphics"_s, u"--verbose"_s});
    QCOMPARE(run.status, 1);
    QVERIFY2(run.err.contains("VKCoreImageUtils"), run.err);
    QVERIFY2(run.err.contains("VKCoreImageHardwareInfo"), run.err);
}

void ToolSystemTest::wrongLines_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("sentence");
    const QByteArray seconds = "vkqt graphics: --timeout takes a number of seconds from 1 to 3600\n";
    QTest::newRow("an argument") << QStringList{u"system"_s, u"x"_s}
                                 << QByteArray("vkqt system: nothing is expected at \"x\"\n");
    QTest::newRow("no time") << QStringList{u"graphics"_s, u"--timeout"_s, u"0"_s} << seconds;
    QTest::newRow("too much time") << QStringList{u"graphics"_s, u"--timeout"_s, u"3601"_s} << seconds;
    QTest::newRow("no number") << QStringList{u"graphics"_s, u"--timeout"_s, u"1s"_s} << seconds;
}

void ToolSystemTest::wrongLines() {
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, sentence);
    const ToolRun run = runVkqt(arguments);
    QCOMPARE(run.status, 2);
    QCOMPARE(run.out, QByteArray());
    QVERIFY2(run.err.startsWith(sentence), run.err);
}

VKTEST_MAIN(ToolSystemTest)
#include "ToolSystemTest.moc"
