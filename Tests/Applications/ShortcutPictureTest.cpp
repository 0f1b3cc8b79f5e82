// shortcutpicture: a real picture of the table, and what it says when it cannot write one.
#include "ToolRunner.h"

#include "Support/VKTest.h"

#include <QImage>

using namespace Qt::StringLiterals;

namespace {

ToolRun picture(const QStringList& arguments) {
    return runProgram(QStringLiteral(SHORTCUT_PICTURE_TOOL), arguments);
}

/// Whether the area shows nothing but the paper.
bool isBlank(const QImage& image, const QRect& area) {
    const QRgb paper = image.pixel(0, 0);
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            if (image.pixel(x, y) != paper) {
                return false;
            }
        }
    }
    return true;
}

} // namespace

class ShortcutPictureTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void paints();
    void sameEachTime();
    void cannotWrite();
    void usage_data();
    void usage();
};

// Ink in the middle of each column, none in the margins: nothing is cut at the edges.
void ShortcutPictureTest::paints() {
    const QString file = makeFolder() + u"/shortcuts.png"_s;
    const ToolRun run = picture({file});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.err, QByteArray());
    const QImage image(file);
    QVERIFY(!image.isNull());
    QCOMPARE(run.out, QByteArray(file.toUtf8() + ": " + QByteArray::number(image.width()) + " x " +
                                 QByteArray::number(image.height()) + '\n'));
    QVERIFY2(image.width() > 1500 && image.height() > 1500, run.out.constData());
    constexpr int kMargin = 50;
    QVERIFY(isBlank(image, QRect(0, 0, image.width(), kMargin)));
    QVERIFY(isBlank(image, QRect(0, image.height() - kMargin, image.width(), kMargin)));
    QVERIFY(isBlank(image, QRect(0, 0, kMargin, image.height())));
    QVERIFY(isBlank(image, QRect(image.width() - kMargin, 0, kMargin, image.height())));
    const int column = image.width() / 3;
    for (int i = 0; i < 3; ++i) {
        QVERIFY(!isBlank(image, QRect(i * column + kMargin, image.height() / 2, column - 2 * kMargin, 60)));
    }
}

void ShortcutPictureTest::sameEachTime() {
    const QString folder = makeFolder();
    QCOMPARE(picture({folder + u"/a.png"_s}).status, 0);
    QCOMPARE(picture({folder + u"/b.png"_s}).status, 0);
    QVERIFY(QImage(folder + u"/a.png"_s) == QImage(folder + u"/b.png"_s));
}

void ShortcutPictureTest::cannotWrite() {
    const QString file = makeFolder() + u"/missing/shortcuts.png"_s;
    const ToolRun run = picture({file});
    QCOMPARE(run.status, 1);
    QCOMPARE(run.out, QByteArray());
    QVERIFY2(run.err.startsWith(QByteArray("shortcutpicture: " + file.toUtf8() + ": ")), run.err.constData());
    const ToolRun unknown = picture({makeFolder() + u"/shortcuts.xyz"_s});
    QCOMPARE(unknown.status, 1);
}

void ShortcutPictureTest::usage_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("nothing") << QStringList();
    QTest::newRow("an empty name") << QStringList(QString());
    QTest::newRow("an option") << QStringList(u"--help"_s);
    QTest::newRow("two") << QStringList{u"a.png"_s, u"b.png"_s};
}

void ShortcutPictureTest::usage() {
    QFETCH(const QStringList, arguments);
    const ToolRun run = picture(arguments);
    QCOMPARE(run.status, 2);
    QCOMPARE(run.out, QByteArray());
    QVERIFY(run.err.startsWith("Usage: shortcutpicture FILE\n"));
}

VKTEST_MAIN(ShortcutPictureTest)
#include "ShortcutPictureTest.moc"
