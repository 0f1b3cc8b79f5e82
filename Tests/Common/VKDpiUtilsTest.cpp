// Device pixel ratios and screens: each in a process of its own, because an application has one set of screens.
#include "VKDpiUtils.h"
#include "Support/DiskSupport.h"
#include "Support/ShellCommand.h"
#include "Support/VKTest.h"

#include <QGuiApplication>
#include <QImage>
#include <QPainter>

#include <cstdio>
#include <cstring>

using namespace Qt::StringLiterals;

namespace {

/// The child process: every answer on one line.
int reportScreens(int argc, char** argv) {
    const QGuiApplication application(argc, argv);
    QImage image(8, 8, QImage::Format_ARGB32);
    QPainter painter(&image);
    VKDpiUtils::configureQPainterForDpi(&painter);
    std::printf("ratio %d %g rest %g dense %d%d several %d images %d smooth %d",
                VKDpiUtils::devicePixelRatio(), double(VKDpiUtils::devicePixelRatioF()),
                double(VKDpiUtils::fractionalScalingDiff()), VKDpiUtils::isAtLeast2x(),
                VKDpiUtils::isAtLeast3x(), VKDpiUtils::hasMultipleMonitors(),
                VKDpiUtils::canUseHighDpiImages(), painter.testRenderHint(QPainter::SmoothPixmapTransform));
    return 0;
}

/// The child process: the attribute after configuring without and with the flag, and what is answered when
/// there is no application object.
int reportAttribute() {
    const auto attribute = Qt::ApplicationAttribute(20);
    VKDpiUtils::configureDpiForMonitors(true);
    const bool without = QCoreApplication::testAttribute(attribute);
    VKDpiUtils::setHighDpiEnabled(true);
    const bool flagAlone = QCoreApplication::testAttribute(attribute);
    VKDpiUtils::configureDpiForMonitors(false);
    std::printf("%d %d %d ratio %d %g several %d", without, flagAlone,
                QCoreApplication::testAttribute(attribute), VKDpiUtils::devicePixelRatio(),
                double(VKDpiUtils::devicePixelRatioF()), VKDpiUtils::hasMultipleMonitors());
    return 0;
}

QByteArray self() { return " '" + QCoreApplication::applicationFilePath().toUtf8() + "' "; }

} // namespace

class VKDpiUtilsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void screens_data();
    void screens();
    void attribute();
    void flag();
    void fonts();
    void nullPainter();
};

void VKDpiUtilsTest::screens_data() {
    QTest::addColumn<QByteArray>("scale");
    QTest::addColumn<int>("count");
    QTest::addColumn<QByteArray>("expected");
    const auto row = [](const char* name, const char* scale, int count, const char* expected) {
        QTest::newRow(name) << QByteArray(scale) << count << QByteArray(expected);
    };
    row("100 %", "1", 1, "ratio 1 1 rest 0 dense 00 several 0 images 0 smooth 0");
    row("125 %", "1.25", 1, "ratio 1 1.25 rest 0.25 dense 00 several 0 images 1 smooth 1");
    row("150 %", "1.5", 1, "ratio 1 1.5 rest 0.5 dense 00 several 0 images 1 smooth 1");
    row("200 %", "2", 1, "ratio 2 2 rest 0 dense 10 several 0 images 1 smooth 0");
    row("250 %", "2.5", 1, "ratio 2 2.5 rest 0.5 dense 10 several 0 images 1 smooth 1");
    row("300 %", "3", 1, "ratio 3 3 rest 0 dense 11 several 0 images 1 smooth 1");
    row("50 %, which the framework tells as 1", "0.5", 1,
        "ratio 1 1 rest 0 dense 00 several 0 images 0 smooth 0");
    row("100 %, two screens", "1", 2, "ratio 1 1 rest 0 dense 00 several 1 images 1 smooth 1");
    row("200 %, two screens", "2", 2, "ratio 2 2 rest 0 dense 10 several 1 images 1 smooth 1");
}

void VKDpiUtilsTest::screens() {
    QFETCH(QByteArray, scale);
    QFETCH(int, count);
    QFETCH(QByteArray, expected);
    QByteArray configuration = "{\"screens\":[";
    for (int i = 0; i < count; ++i) {
        configuration += QByteArray(i == 0 ? "" : ",") + "{\"name\":\"screen" + QByteArray::number(i) +
                         "\",\"x\":" + QByteArray::number(i * 800) +
                         ",\"y\":0,\"width\":800,\"height\":600,\"logicalDpi\":96,"
                         "\"logicalBaseDpi\":96,\"dpr\":1}";
    }
    const QByteArray file = makeFolder(u"screens"_s).toUtf8() + "/screens.json";
    Disk::makeFile(file, configuration + "]}");
    const Shell::Output output = Shell::outputOf("QT_QPA_PLATFORM='offscreen:configfile=" + file +
                                                 "' QT_SCALE_FACTOR=" + scale + self() + "screens 2>&1");
    QCOMPARE(output.status, 0);
    QCOMPARE(output.text, expected);
}

void VKDpiUtilsTest::attribute() {
    const Shell::Output output = Shell::outputOf(self() + "attribute 2>&1");
    QCOMPARE(output.status, 0);
    QCOMPARE(output.text, QByteArray("0 0 1 ratio 1 1 several 0"));
}

void VKDpiUtilsTest::flag() {
    QCOMPARE(VKDpiUtils::impl(), false);
    VKDpiUtils::setHighDpiEnabled(true);
    QCOMPARE(VKDpiUtils::impl(), true);
    QCOMPARE(&VKDpiUtils::impl(), &VKDpiUtils::impl());
    VKDpiUtils::impl() = false;
    VKDpiUtils::configureDpiForMonitors(true);
    QCOMPARE(QCoreApplication::testAttribute(Qt::ApplicationAttribute(20)), false);
}

void VKDpiUtilsTest::fonts() {
    for (const int size : {-1, 0, 9, 144}) {
        QCOMPARE(VKDpiUtils::scaleFontPointSize(size), size);
    }
    QCOMPARE(VKDpiUtils::fontRatio(), 1.0F);
}

void VKDpiUtilsTest::nullPainter() { VKDpiUtils::configureQPainterForDpi(nullptr); }

int main(int argc, char** argv) {
    if (argc == 2 && std::strcmp(argv[1], "screens") == 0) {
        return reportScreens(argc, argv);
    }
    if (argc == 2 && std::strcmp(argv[1], "attribute") == 0) {
        return reportAttribute();
    }
    return vkTestRun(argc, argv, [] { return std::unique_ptr<QObject>(std::make_unique<VKDpiUtilsTest>()); });
}

#include "VKDpiUtilsTest.moc"
