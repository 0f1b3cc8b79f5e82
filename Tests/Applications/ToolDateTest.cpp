// vkqt date, run as a process with time zones and locales of its own.
#include "ToolRunner.h"

#include "Support/VKTest.h"

#include <QJsonObject>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace {

/// Runs it in the pinned time zone, Berlin's.
ToolRun date(const QStringList& arguments) { return runVkqt(QStringList(u"date"_s) + arguments); }

ToolRun dateIn(const QByteArray& zone, const QStringList& arguments) {
    const QByteArray before = qgetenv("TZ");
    qputenv("TZ", zone);
    const ToolRun run = date(arguments);
    qputenv("TZ", before);
    return run;
}

QJsonArray dates(const QStringList& arguments) {
    bool ok = false;
    return jsonArray(date(QStringList(u"--json"_s) + arguments).out, &ok);
}

} // namespace

class ToolDateTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void reads_data();
    void reads();
    void refuses_data();
    void refuses();
    void goesOnAfterARefusal();
    void forPeople();
    void forms_data();
    void forms();
    void zones_data();
    void zones();
    void leftOutByTheZone();
    void locales_data();
    void locales();
    void localeOfTheEnvironment();
    void unknownLocale();
    void json();
    void yearsBeyondIso();
    void everyDocumentedKey();
    void now();
    void hostileText();
};

void ToolDateTest::reads_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("local");
    QTest::newRow("long layout") << u"Monday, January 5, 2015 10:20:30"_s
                                 << QByteArray("2015-01-05T10:20:30+01:00\n");
    QTest::newRow("short layout") << u"Mon Jan 5 10:20:30 2015 +0000 UTC"_s
                                  << QByteArray("2015-01-05T10:20:30+01:00\n");
    QTest::newRow("ISO 8601, UTC") << u"2015-01-05T10:20:30Z"_s << QByteArray("2015-01-05T11:20:30+01:00\n");
    QTest::newRow("ISO 8601, an offset")
        << u"2015-01-05T10:20:30+05:30"_s << QByteArray("2015-01-05T05:50:30+01:00\n");
    QTest::newRow("ISO 8601, local") << u"2015-07-05T10:20:30"_s << QByteArray("2015-07-05T10:20:30+02:00\n");
    QTest::newRow("a date alone") << u"2015-01-05"_s << QByteArray("2015-01-05T00:00:00+01:00\n");
}

void ToolDateTest::reads() {
    QFETCH(const QString, text);
    QFETCH(const QByteArray, local);
    const ToolRun run = date({u"--format"_s, u"local"_s, text});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.err, QByteArray());
    QCOMPARE(run.out, local);
}

void ToolDateTest::refuses_data() {
    QTest::addColumn<QString>("text");
    QTest::newRow("nothing") << QString();
    QTest::newRow("a word") << u"tomorrow"_s;
    QTest::newRow("lower case") << u"monday, january 5, 2015 10:20:30"_s;
    QTest::newRow("no such day") << u"Monday, February 30, 2015 10:20:30"_s;
    QTest::newRow("no such hour") << u"Monday, January 5, 2015 24:00:00"_s;
}

void ToolDateTest::refuses() {
    QFETCH(const QString, text);
    const ToolRun run = date({text});
    QCOMPARE(run.status, 1);
    QCOMPARE(run.out, QByteArray());
    QCOMPARE(run.err, QByteArray("vkqt date: " + text.toUtf8() + ": not a date\n"));
}

void ToolDateTest::goesOnAfterARefusal() {
    const ToolRun run = date({u"--format"_s, u"utc"_s, u"x"_s, u"2015-01-05T10:20:30Z"_s});
    QCOMPARE(run.status, 1);
    QCOMPARE(run.out, QByteArray("2015-01-05T10:20:30Z\n"));
    QCOMPARE(run.err, QByteArray("vkqt date: x: not a date\n"));
}

void ToolDateTest::forPeople() {
    const ToolRun run = date({u"--locale"_s, u"en_US"_s, u"Thursday, January 5, 2017 09:03:07"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.out, QByteArray("Thursday, January 5, 2017 09:03:07\n"
                                 "  Local         2017-01-05T09:03:07+01:00\n"
                                 "  UTC           2017-01-05T08:03:07Z\n"
                                 "  In the suite  Thur Jan 05 09:03:07 2017\n"
                                 "  Short         1/5/17 9:03 AM\n"
                                 "  Medium        1/5/2017 9:03:07 AM\n"));
}

void ToolDateTest::forms_data() {
    QTest::addColumn<QString>("form");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("local") << u"local"_s << QByteArray("2017-01-05T09:03:07+01:00\n");
    QTest::newRow("utc") << u"utc"_s << QByteArray("2017-01-05T08:03:07Z\n");
    QTest::newRow("suite") << u"suite"_s << QByteArray("Thur Jan 05 09:03:07 2017\n");
    QTest::newRow("short") << u"short"_s << QByteArray("05.01.17 09:03\n");
    QTest::newRow("medium") << u"medium"_s << QByteArray("05.01.2017 09:03:07\n");
}

void ToolDateTest::forms() {
    QFETCH(const QString, form);
    QFETCH(const QByteArray, text);
    const ToolRun run = date({u"--locale"_s, u"de_DE"_s, u"--format"_s, form, u"2017-01-05T08:03:07Z"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.out, text);
}

void ToolDateTest::zones_data() {
    QTest::addColumn<QByteArray>("zone");
    QTest::addColumn<QByteArray>("local");
    QTest::newRow("none") << QByteArray("UTC") << QByteArray("2015-07-05T10:20:30Z\n");
    QTest::newRow("summer time") << QByteArray("Europe/Berlin") << QByteArray("2015-07-05T12:20:30+02:00\n");
    QTest::newRow("half an hour") << QByteArray("Asia/Kolkata") << QByteArray("2015-07-05T15:50:30+05:30\n");
    QTest::newRow("west") << QByteArray("America/St_Johns") << QByteArray("2015-07-05T07:50:30-02:30\n");
    QTest::newRow("three quarters") << QByteArray("Asia/Kathmandu")
                                    << QByteArray("2015-07-05T16:05:30+05:45\n");
}

void ToolDateTest::zones() {
    QFETCH(const QByteArray, zone);
    QFETCH(const QByteArray, local);
    QCOMPARE(dateIn(zone, {u"--format"_s, u"local"_s, u"2015-07-05T10:20:30Z"_s}).out, local);
    // A date of the suite is local time.
    const QStringList suite = {u"--format"_s, u"suite"_s, u"Sun Jul 5 10:20:30 2015 +0000 UTC"_s};
    QCOMPARE(dateIn(zone, suite).out, QByteArray("Sun Jul 05 10:20:30 2015\n"));
}

void ToolDateTest::leftOutByTheZone() {
    const QStringList arguments = {u"--format"_s, u"utc"_s, u"Sunday, March 26, 2017 2:30:00"_s};
    QCOMPARE(dateIn("Europe/Berlin", arguments).status, 1);
    QCOMPARE(dateIn("UTC", arguments).out, QByteArray("2017-03-26T02:30:00Z\n"));
}

void ToolDateTest::locales_data() {
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QByteArray>("medium");
    QTest::newRow("C") << u"C"_s << QByteArray("5 JAN 2017 09:03:07\n");
    QTest::newRow("United States") << u"en_US"_s << QByteArray("1/5/2017 9:03:07 AM\n");
    QTest::newRow("France, a hyphen") << u"fr-FR"_s << QByteArray("05/01/2017 09:03:07\n");
    QTest::newRow("Japan") << u"ja_JP"_s << QByteArray("2017/01/05 9時03分07秒\n");
}

void ToolDateTest::locales() {
    QFETCH(const QString, locale);
    QFETCH(const QByteArray, medium);
    const ToolRun run = date({u"--locale"_s, locale, u"--format"_s, u"medium"_s, u"2017-01-05T08:03:07Z"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.out, medium);
}

void ToolDateTest::localeOfTheEnvironment() {
    const QString command = u"\"$VKQT\" date --format medium 2017-01-05T08:03:07Z"_s;
    QCOMPARE(runShell(u"LC_ALL=C.UTF-8 "_s + command).out, QByteArray("5 JAN 2017 09:03:07\n"));
    QCOMPARE(runShell(u"LC_ALL=de_DE.UTF-8 "_s + command).out, QByteArray("05.01.2017 09:03:07\n"));
}

void ToolDateTest::unknownLocale() {
    const ToolRun run = date({u"--locale"_s, u"xx_YY"_s});
    QCOMPARE(run.status, 2);
    QCOMPARE(run.out, QByteArray());
    QVERIFY2(run.err.startsWith("vkqt date: there is no locale \"xx_YY\"\n"), run.err.constData());
}

void ToolDateTest::json() {
    const QJsonArray array = dates({u"--locale"_s, u"en_US"_s, u"2017-01-05T08:03:07Z"_s, u"x"_s});
    QCOMPARE(array.size(), 2);
    const QJsonObject known = {
        {u"text"_s, u"2017-01-05T08:03:07Z"_s},       {u"seconds"_s, 1483603387},
        {u"local"_s, u"2017-01-05T09:03:07+01:00"_s}, {u"utc"_s, u"2017-01-05T08:03:07Z"_s},
        {u"suite"_s, u"Thur Jan 05 09:03:07 2017"_s}, {u"short"_s, u"1/5/17 9:03 AM"_s},
        {u"medium"_s, u"1/5/2017 9:03:07 AM"_s}};
    QCOMPARE(array[0].toObject(), known);
    const QJsonObject unknown = array[1].toObject();
    QCOMPARE(unknown.value(u"text"_s), QJsonValue(u"x"_s));
    QCOMPARE(unknown.keys(), known.keys());
    for (const QString& key : unknown.keys()) {
        QCOMPARE(unknown.value(key).isNull(), key != u"text"_s);
    }
}

void ToolDateTest::yearsBeyondIso() {
    const QJsonArray array = dates({u"x January 5 12017 9:03:07"_s, u"x January 5 -2017 9:03:07"_s});
    QCOMPARE(array.size(), 2);
    QCOMPARE(array[0].toObject().value(u"suite"_s), QJsonValue(u"Thur Jan 05 09:03:07 12017"_s));
    for (const auto& value : array) {
        const QJsonObject object = value.toObject();
        QVERIFY(object.value(u"seconds"_s).isDouble());
        QVERIFY(object.value(u"local"_s).isNull());
        QVERIFY(object.value(u"utc"_s).isNull());
    }
}

void ToolDateTest::everyDocumentedKey() {
    const QByteArray help = date({u"--help"_s}).out;
    const QStringList keys = dates({u"2017-01-05"_s}).first().toObject().keys();
    QCOMPARE(keys.size(), 7);
    for (const QString& key : keys) {
        QVERIFY2(help.indexOf(QByteArray("\n  " + key.toUtf8() + ' '), help.indexOf("JSON")) > 0,
                 qPrintable(key));
    }
}

// Between two looks at the clock.
void ToolDateTest::now() {
    const qint64 before = QDateTime::currentSecsSinceEpoch();
    const QJsonArray array = dates({});
    const qint64 after = QDateTime::currentSecsSinceEpoch();
    QCOMPARE(array.size(), 1);
    const qint64 seconds = array.first().toObject().value(u"seconds"_s).toInteger();
    QVERIFY(seconds >= before && seconds <= after);
    QCOMPARE(array.first().toObject().value(u"text"_s), QJsonValue(u"now"_s));
}

void ToolDateTest::hostileText() {
    const ToolRun run = date({u"\x1b[2J"_s});
    QCOMPARE(run.status, 1);
    QCOMPARE(run.err, QByteArray("vkqt date: \\e[2J: not a date\n"));
    // A text that is a date although it holds a control character in the part that is not read.
    const ToolRun people = date({u"\x1b[2J January 5 2015 10:20:30"_s});
    QCOMPARE(people.status, 0);
    QVERIFY(!people.out.contains('\x1b'));
}

VKTEST_MAIN(ToolDateTest)
#include "ToolDateTest.moc"
