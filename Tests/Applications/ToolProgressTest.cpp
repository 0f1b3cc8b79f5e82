// The line that shows how far a work has come.
#include "ProgressBar.h"

#include "Support/VKTest.h"
#include "Text.h"

using namespace Qt::StringLiterals;
using namespace VKTool;

class ToolProgressTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void lines_data();
    void lines();
    void neverWiderThanTheTerminal();
    void timesLeft_data();
    void timesLeft();
};

void ToolProgressTest::lines_data() {
    QTest::addColumn<quint64>("done");
    QTest::addColumn<quint64>("total");
    QTest::addColumn<qint64>("milliseconds");
    QTest::addColumn<int>("columns");
    QTest::addColumn<QString>("line");
    const QString dots40(40, u'.');
    QTest::newRow("begin") << quint64(0) << quint64(1000) << qint64(0) << 80
                           << QString(u"["_s + dots40 + u"]    0 %  0 B of 1.0 kB"_s);
    QTest::newRow("too early for a rate")
        << quint64(500) << quint64(1000) << qint64(999) << 80
        << QString(u"["_s + QString(20, u'#') + QString(20, u'.') + u"]   50 %  500 B of 1.0 kB"_s);
    QTest::newRow("with a rate") << quint64(300'000'000) << quint64(1'200'000'000) << qint64(2000) << 100
                                 << QString(u"["_s + QString(10, u'#') + QString(30, u'.') +
                                            u"]   25 %  300 MB of 1.2 GB  150 MB/s  6 s left"_s);
    QTest::newRow("done") << quint64(1000) << quint64(1000) << qint64(10) << 80
                          << QString(u"["_s + QString(40, u'#') + u"]  100 %  1.0 kB of 1.0 kB"_s);
    QTest::newRow("more than there was")
        << quint64(3000) << quint64(1000) << qint64(1000) << 80
        << QString(u"["_s + QString(40, u'#') + u"]  100 %  3.0 kB of 1.0 kB  3.0 kB/s"_s);
    QTest::newRow("narrow") << quint64(500) << quint64(1000) << qint64(0) << 40
                            << u"[#######.......]   50 %  500 B of 1.0 kB"_s;
    QTest::newRow("too narrow for a bar")
        << quint64(500) << quint64(1000) << qint64(0) << 25 << u" 50 %  500 B of 1.0 kB"_s;
    QTest::newRow("total not known") << quint64(3000) << quint64(0) << qint64(3000) << 80
                                     << u"3.0 kB  1.0 kB/s"_s;
    QTest::newRow("nothing known") << quint64(0) << quint64(0) << qint64(3000) << 80 << u"0 B"_s;
}

void ToolProgressTest::lines() {
    QFETCH(quint64, done);
    QFETCH(quint64, total);
    QFETCH(qint64, milliseconds);
    QFETCH(int, columns);
    QFETCH(QString, line);
    const WorkFacts facts = {
        .doneBytes = done, .totalBytes = total, .elapsed = std::chrono::milliseconds(milliseconds)};
    QCOMPARE(progressLine(facts, columns), line);
}

void ToolProgressTest::neverWiderThanTheTerminal() {
    for (int columns = 1; columns < 120; ++columns) {
        for (const std::uint64_t total : {std::uint64_t(0), std::uint64_t(123'456'789'012)}) {
            const WorkFacts facts = {
                .doneBytes = 98'765'432, .totalBytes = total, .elapsed = std::chrono::hours(3)};
            QVERIFY(displayWidth(progressLine(facts, columns)) <= columns);
        }
    }
}

void ToolProgressTest::timesLeft_data() {
    QTest::addColumn<qint64>("seconds");
    QTest::addColumn<QString>("text");
    QTest::newRow("none") << qint64(0) << u"0 s left"_s;
    QTest::newRow("just below a minute") << qint64(59) << u"59 s left"_s;
    QTest::newRow("a minute") << qint64(60) << u"1 min left"_s;
    QTest::newRow("just below an hour") << qint64(3599) << u"59 min left"_s;
    QTest::newRow("an hour") << qint64(3600) << u"1 h 0 min left"_s;
    QTest::newRow("more") << qint64(2 * 3600 + 5 * 60 + 7) << u"2 h 5 min left"_s;
}

void ToolProgressTest::timesLeft() {
    QFETCH(qint64, seconds);
    QFETCH(QString, text);
    QCOMPARE(timeLeft(std::chrono::seconds(seconds)), text);
}

VKTEST_MAIN(ToolProgressTest)
#include "ToolProgressTest.moc"
