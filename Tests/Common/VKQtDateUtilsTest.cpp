// Dates read, written and turned into date objects, row by row, and on many threads at once.
#include "VKQtDateUtils.h"
#include "Support/VKTest.h"

#include <VKCoreKit/VKDate.h>

#include <QLocale>
#include <QTimeZone>

#include <atomic>
#include <limits>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

QDateTime local(int year, int month, int day, int hour, int minute, int second) {
    return QDateTime(QDate(year, month, day), QTime(hour, minute, second), Qt::LocalTime);
}

/// The record inside, which is released.
VKDateComponents taken(VKDateRef date) {
    VKDateComponents components;
    const VKStatus status = VKDateGetComponents(date, &components);
    VKDateRelease(date);
    return status == kVKStatusSuccess ? components : VKDateComponents{-1, -1, -1, -1, -1, -1, -1, -1};
}

QDateTime momentOf(const VKDateComponents& components) {
    VKDateRef date = nullptr;
    if (VKDateCreate(&components, &date) != kVKStatusSuccess) {
        return QDateTime();
    }
    const QDateTime moment = VKQtDateUtils::createQDateTimeFromVKDateRef(date);
    VKDateRelease(date);
    return moment;
}

} // namespace

Q_DECLARE_METATYPE(VKDateComponents)

class VKQtDateUtilsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void formats();
    void parses_data();
    void parses();
    void refuses_data();
    void refuses();
    void everyMonth_data();
    void everyMonth();
    void safeText_data();
    void safeText();
    void safeTextOfEveryDayAndMonth();
    void safeTextKnowsNoLocale();
    void fromDateObject_data();
    void fromDateObject();
    void fromNoDateObject();
    void toDateObject_data();
    void toDateObject();
    void datesAndTimesAlone();
    void onManyThreads();
};

void VKQtDateUtilsTest::formats() {
    QCOMPARE(VKQtDateUtils::kDateFormat, u"ddd, dd MMM yyyy"_s);
    QCOMPARE(VKQtDateUtils::kDateTimeFormat, u"ddd, dd MMM yyyy hh:mm:ss"_s);
}

void VKQtDateUtilsTest::parses_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<QDateTime>("expected");
    const QDateTime moment = local(2015, 1, 5, 10, 20, 30);
    QTest::newRow("long layout") << u"Monday, January 5, 2015 10:20:30"_s << moment;
    QTest::newRow("long layout without commas") << u"Monday January 5 2015 10:20:30"_s << moment;
    QTest::newRow("commas anywhere") << u",Mon,day January 5, 20,15 10:20,:30,"_s << moment;
    QTest::newRow("short layout, 7 parts") << u"Mon Jan 5 10:20:30 2015 +0000 UTC"_s << moment;
    QTest::newRow("short layout, 9 parts") << u"Mon Jan 5 10:20:30 2015 +0000 UTC m=+0 x"_s << moment;
    QTest::newRow("what follows the year may be empty") << u"Mon Jan 5 10:20:30 2015  "_s << moment;
    QTest::newRow("the zone is not read") << u"Mon Jan 5 10:20:30 2015 -1100 NUT"_s << moment;
    QTest::newRow("any day of the week") << u"Friday, January 5, 2015 10:20:30"_s << moment;
    QTest::newRow("no day of the week") << u"x January 5 2015 10:20:30"_s << moment;
    QTest::newRow("an empty day of the week") << u" January 5 2015 10:20:30"_s << moment;
    QTest::newRow("its own four letters")
        << u"Thur Jan 01 10:20:30 2015 a b"_s << local(2015, 1, 1, 10, 20, 30);
    QTest::newRow("zeros in front") << u"Monday, January 005, 02015 010:020:030"_s << moment;
    QTest::newRow("a sign in front") << u"Monday, January +5, +2015 +10:+20:+30"_s << moment;
    QTest::newRow("no zeros") << u"Monday, January 5, 2015 1:2:3"_s << local(2015, 1, 5, 1, 2, 3);
    QTest::newRow("more than three parts of time") << u"Monday, January 5, 2015 10:20:30:40"_s << moment;
    QTest::newRow("a fourth part that is no number") << u"Monday, January 5, 2015 10:20:30:x"_s << moment;
    QTest::newRow("a fourth part that is empty") << u"Monday, January 5, 2015 10:20:30:"_s << moment;
    QTest::newRow("first second of a day")
        << u"Monday, January 5, 2015 0:0:0"_s << local(2015, 1, 5, 0, 0, 0);
    QTest::newRow("last second of a day")
        << u"Monday, January 5, 2015 23:59:59"_s << local(2015, 1, 5, 23, 59, 59);
    QTest::newRow("leap day") << u"Monday, February 29, 2016 10:20:30"_s << local(2016, 2, 29, 10, 20, 30);
    QTest::newRow("leap day of a century")
        << u"Monday, February 29, 2000 1:1:1"_s << local(2000, 2, 29, 1, 1, 1);
    QTest::newRow("year of two digits is that year")
        << u"Monday, January 5, 15 1:1:1"_s << local(15, 1, 5, 1, 1, 1);
    QTest::newRow("before the common era") << u"Monday, January 5, -44 1:1:1"_s << local(-44, 1, 5, 1, 1, 1);
    QTest::newRow("far away") << u"Monday, January 5, 12345 1:1:1"_s << local(12345, 1, 5, 1, 1, 1);
    QTest::newRow("in summer time") << u"Monday, July 6, 2015 10:20:30"_s << local(2015, 7, 6, 10, 20, 30);
    QTest::newRow("at the end of summer time")
        << u"Sunday, October 29, 2017 2:30:00"_s << local(2017, 10, 29, 2, 30, 0);
}

void VKQtDateUtilsTest::parses() {
    QFETCH(const QString, text);
    QFETCH(const QDateTime, expected);
    QVERIFY(expected.isValid());
    const QDateTime result = parseEnglishStandard(text);
    QVERIFY(result.isValid());
    QCOMPARE(result, expected);
    QCOMPARE(result.timeSpec(), Qt::LocalTime);
    QCOMPARE(result.time().msec(), 0);
    QCOMPARE(VKQtDateUtils::multiformatStringToDate(text), expected);
}

void VKQtDateUtilsTest::refuses_data() {
    QTest::addColumn<QString>("text");
    QTest::newRow("nothing") << QString();
    QTest::newRow("blanks") << u"    "_s;
    QTest::newRow("commas") << u",,,,"_s;
    QTest::newRow("4 parts") << u"Monday, January 5, 2015"_s;
    QTest::newRow("6 parts") << u"Mon Jan 5 10:20:30 2015 UTC"_s;
    QTest::newRow("8 parts") << u"Mon Jan 5 10:20:30 2015 +0000 UTC x"_s;
    QTest::newRow("10 parts") << u"Mon Jan 5 10:20:30 2015 +0000 UTC x y z"_s;
    QTest::newRow("two blanks in a row count") << u"Monday,  January 5, 2015 10:20:30"_s;
    QTest::newRow("a blank at the end counts") << u"Monday, January 5, 2015 10:20:30 "_s;
    QTest::newRow("a tab is no blank") << u"Monday,\tJanuary 5, 2015 10:20:30"_s;
    QTest::newRow("5 parts are the long layout") << u"Mon Jan 5 10:20:30 2015"_s;
    QTest::newRow("an abbreviation in the long layout") << u"Monday, Jan 5, 2015 10:20:30"_s;
    QTest::newRow("a full month in the short layout") << u"Mon January 5 10:20:30 2015 +0000 UTC"_s;
    QTest::newRow("lower case") << u"monday, january 5, 2015 10:20:30"_s;
    QTest::newRow("upper case") << u"MONDAY, JANUARY 5, 2015 10:20:30"_s;
    QTest::newRow("another language") << u"Montag, Januar 5, 2015 10:20:30"_s;
    QTest::newRow("the month is a number") << u"Monday, 1 5, 2015 10:20:30"_s;
    QTest::newRow("an empty month") << u"Monday,  5 2015 10:20:30"_s;
    QTest::newRow("the order of the other layout") << u"Mon Jan 5 2015 10:20:30 +0000 UTC"_s;
    QTest::newRow("a day with an ending") << u"Monday, January 5th, 2015 10:20:30"_s;
    QTest::newRow("a day of base 16") << u"Monday, January 0x5, 2015 10:20:30"_s;
    QTest::newRow("a year with a point") << u"Monday, January 5, 2015. 10:20:30"_s;
    QTest::newRow("a year beyond the integers") << u"Monday, January 5, 2147483648 10:20:30"_s;
    QTest::newRow("digits of another script") << u"Monday, January ٥, 2015 10:20:30"_s;
    QTest::newRow("two parts of time") << u"Monday, January 5, 2015 10:20"_s;
    QTest::newRow("one part of time") << u"Monday, January 5, 2015 10"_s;
    QTest::newRow("an empty part of time") << u"Monday, January 5, 2015 10::30"_s;
    QTest::newRow("an hour that is none") << u"Monday, January 5, 2015 ten:20:30"_s;
    QTest::newRow("a second with a point") << u"Monday, January 5, 2015 10:20:30.5"_s;
    QTest::newRow("hour 24") << u"Monday, January 5, 2015 24:00:00"_s;
    QTest::newRow("minute 60") << u"Monday, January 5, 2015 10:60:00"_s;
    QTest::newRow("second 60") << u"Monday, January 5, 2015 10:20:60"_s;
    QTest::newRow("a negative hour") << u"Monday, January 5, 2015 -1:20:30"_s;
    QTest::newRow("day 0") << u"Monday, January 0, 2015 10:20:30"_s;
    QTest::newRow("day 32") << u"Monday, January 32, 2015 10:20:30"_s;
    QTest::newRow("30 February") << u"Monday, February 30, 2016 10:20:30"_s;
    QTest::newRow("29 February of another year") << u"Monday, February 29, 2015 10:20:30"_s;
    QTest::newRow("29 February of most centuries") << u"Monday, February 29, 1900 10:20:30"_s;
    QTest::newRow("31 April") << u"Monday, April 31, 2015 10:20:30"_s;
    QTest::newRow("year 0") << u"Monday, January 5, 0 10:20:30"_s;
}

void VKQtDateUtilsTest::refuses() {
    QFETCH(const QString, text);
    QVERIFY(!parseEnglishStandard(text).isValid());
    QVERIFY(!VKQtDateUtils::multiformatStringToDate(text).isValid());
}

void VKQtDateUtilsTest::everyMonth_data() {
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("name");
    const char* const names[] = {"January", "February", "March",     "April",   "May",      "June",
                                 "July",    "August",   "September", "October", "November", "December"};
    int number = 0;
    for (const char* name : names) {
        QTest::newRow(name) << ++number << QString::fromLatin1(name);
    }
}

void VKQtDateUtilsTest::everyMonth() {
    QFETCH(const int, number);
    QFETCH(const QString, name);
    const QDateTime expected = local(2015, number, 5, 10, 20, 30);
    QCOMPARE(parseEnglishStandard(u"Monday, %1 5, 2015 10:20:30"_s.arg(name)), expected);
    QCOMPARE(parseEnglishStandard(u"Mon %1 5 10:20:30 2015 +0000 UTC"_s.arg(name.left(3))), expected);
}

void VKQtDateUtilsTest::safeText_data() {
    QTest::addColumn<QDateTime>("time");
    QTest::addColumn<QString>("text");
    QTest::newRow("Thursday has four letters")
        << local(2017, 1, 5, 9, 3, 7) << u"Thur Jan 05 09:03:07 2017"_s;
    QTest::newRow("two digits") << local(2017, 12, 31, 23, 59, 58) << u"Sun Dec 31 23:59:58 2017"_s;
    QTest::newRow("the year is not filled") << local(987, 3, 2, 1, 2, 3) << u"Fri Mar 02 01:02:03 987"_s;
    QTest::newRow("five digits") << local(12345, 3, 2, 1, 2, 3) << u"Fri Mar 02 01:02:03 12345"_s;
    QTest::newRow("UTC is shown as it is")
        << QDateTime(QDate(2017, 7, 3), QTime(4, 5, 6), Qt::UTC) << u"Mon Jul 03 04:05:06 2017"_s;
    QTest::newRow("an offset is shown as it is")
        << QDateTime(QDate(2017, 7, 3), QTime(4, 5, 6), Qt::OffsetFromUTC, 12345)
        << u"Mon Jul 03 04:05:06 2017"_s;
    QTest::newRow("milliseconds are cut")
        << QDateTime(QDate(2017, 7, 3), QTime(4, 5, 6, 999)) << u"Mon Jul 03 04:05:06 2017"_s;
    QTest::newRow("invalid") << QDateTime() << u"  00 -1:-1:-1 0"_s;
}

void VKQtDateUtilsTest::safeText() {
    QFETCH(const QDateTime, time);
    QFETCH(const QString, text);
    QCOMPARE(VKQtDateUtils::safeDateToString(time), text);
}

void VKQtDateUtilsTest::safeTextOfEveryDayAndMonth() {
    const QStringList days = {u"Mon"_s, u"Tue"_s, u"Wed"_s, u"Thur"_s, u"Fri"_s, u"Sat"_s, u"Sun"_s};
    const QStringList months = {u"Jan"_s, u"Feb"_s, u"Mar"_s, u"Apr"_s, u"May"_s, u"Jun"_s,
                                u"Jul"_s, u"Aug"_s, u"Sep"_s, u"Oct"_s, u"Nov"_s, u"Dec"_s};
    const QDate monday(2018, 1, 1);
    for (int i = 0; i < 365; ++i) {
        const QDate day = monday.addDays(i);
        const QString expected = u"%1 %2 %3 12:00:00 2018"_s.arg(days[i % 7], months[day.month() - 1])
                                     .arg(day.day(), 2, 10, QLatin1Char('0'));
        QCOMPARE(VKQtDateUtils::safeDateToString(QDateTime(day, QTime(12, 0))), expected);
    }
}

void VKQtDateUtilsTest::safeTextKnowsNoLocale() {
    const QLocale before;
    for (const auto language : {QLocale::German, QLocale::Arabic, QLocale::Hindi, QLocale::Persian}) {
        QLocale::setDefault(QLocale(language));
        const QString text = VKQtDateUtils::safeDateToString(local(2017, 3, 8, 9, 3, 7));
        const QDateTime back = parseEnglishStandard(u"x March 8 2017 9:3:7"_s);
        QLocale::setDefault(before);
        QCOMPARE(text, u"Wed Mar 08 09:03:07 2017"_s);
        QCOMPARE(back, local(2017, 3, 8, 9, 3, 7));
    }
}

void VKQtDateUtilsTest::fromDateObject_data() {
    QTest::addColumn<VKDateComponents>("components");
    QTest::addColumn<QString>("iso"); // empty: invalid
    QTest::newRow("UTC") << VKDateComponents{2017, 1, 5, 9, 3, 7, 0, 0} << u"2017-01-05T09:03:07Z"_s;
    QTest::newRow("east") << VKDateComponents{2017, 1, 5, 9, 3, 7, 0, 19800}
                          << u"2017-01-05T09:03:07+05:30"_s;
    QTest::newRow("west") << VKDateComponents{2017, 1, 5, 9, 3, 7, 0, -12600}
                          << u"2017-01-05T09:03:07-03:30"_s;
    QTest::newRow("the seventh field is not read")
        << VKDateComponents{2017, 1, 5, 9, 3, 7, 123, 0} << u"2017-01-05T09:03:07Z"_s;
    QTest::newRow("zeros") << VKDateComponents{} << QString();
    QTest::newRow("no such month") << VKDateComponents{2017, 13, 5, 9, 3, 7, 0, 0} << QString();
    QTest::newRow("no such day") << VKDateComponents{2017, 2, 30, 9, 3, 7, 0, 3600} << QString();
    QTest::newRow("no such hour") << VKDateComponents{2017, 1, 5, 24, 0, 0, 0, 0} << QString();
    QTest::newRow("no such minute") << VKDateComponents{2017, 1, 5, 9, -1, 0, 0, 3600} << QString();
    QTest::newRow("no such second") << VKDateComponents{2017, 1, 5, 9, 3, 60, 0, 0} << QString();
}

void VKQtDateUtilsTest::fromDateObject() {
    QFETCH(const VKDateComponents, components);
    QFETCH(const QString, iso);
    const QDateTime moment = momentOf(components);
    QCOMPARE(moment.isValid(), !iso.isEmpty());
    if (!moment.isValid()) {
        return;
    }
    QCOMPARE(moment.toString(Qt::ISODate), iso);
    QCOMPARE(moment.timeSpec(), components.offsetFromUtc == 0 ? Qt::UTC : Qt::OffsetFromUTC);
    QCOMPARE(moment.offsetFromUtc(), components.offsetFromUtc);
    QCOMPARE(moment.time().msec(), 0);
}

void VKQtDateUtilsTest::fromNoDateObject() {
    QVERIFY(!VKQtDateUtils::createQDateTimeFromVKDateRef(nullptr).isValid());
}

void VKQtDateUtilsTest::toDateObject_data() {
    QTest::addColumn<QDateTime>("time");
    QTest::addColumn<int>("seconds");
    QTest::addColumn<VKDateComponents>("expected");
    const QDate day(2017, 1, 5);
    const QTime clock(9, 3, 7, 999);
    const VKDateComponents same = {2017, 1, 5, 9, 3, 7, 0, 0};
    QTest::newRow("UTC") << QDateTime(day, clock, Qt::UTC) << 0 << same;
    QTest::newRow("UTC, later") << QDateTime(day, clock, Qt::UTC) << 3600
                                << VKDateComponents{2017, 1, 5, 10, 3, 7, 0, 0};
    QTest::newRow("UTC, earlier") << QDateTime(day, clock, Qt::UTC) << -36000
                                  << VKDateComponents{2017, 1, 4, 23, 3, 7, 0, 0};
    QTest::newRow("UTC, into another year") << QDateTime(QDate(2017, 12, 31), QTime(23, 59, 59), Qt::UTC) << 1
                                            << VKDateComponents{2018, 1, 1, 0, 0, 0, 0, 0};
    QTest::newRow("UTC, by the most seconds")
        << QDateTime(QDate(1970, 1, 1), QTime(0, 0), Qt::UTC) << std::numeric_limits<int>::max()
        << VKDateComponents{2038, 1, 19, 3, 14, 7, 0, 0};
    QTest::newRow("local time is taken as it is") << QDateTime(day, clock, Qt::LocalTime) << 3600 << same;
    QTest::newRow("so is an offset") << QDateTime(day, clock, Qt::OffsetFromUTC, 19800) << 3600 << same;
    QTest::newRow("so is a zone") << QDateTime(day, clock, QTimeZone("Asia/Kathmandu")) << 3600 << same;
    QTest::newRow("an invalid one has the framework's numbers")
        << QDateTime() << 0 << VKDateComponents{0, 0, 0, -1, -1, -1, 0, 0};
}

void VKQtDateUtilsTest::toDateObject() {
    QFETCH(const QDateTime, time);
    QFETCH(const int, seconds);
    QFETCH(const VKDateComponents, expected);
    QVERIFY(taken(VKQtDateUtils::createVKDateRefFromQDateTime(time, seconds, nullptr)) == expected);
    const int others[] = {7, 8};
    QVERIFY(taken(VKQtDateUtils::createVKDateRefFromQDateTime(time, seconds, others)) == expected);
}

void VKQtDateUtilsTest::datesAndTimesAlone() {
    const VKDateComponents date = taken(VKQtDateUtils::createVKDateRefFromQDate(QDate(2017, 1, 5)));
    QVERIFY((date == VKDateComponents{2017, 1, 5, 0, 0, 0, 0, 0}));
    const VKDateComponents time = taken(VKQtDateUtils::createVKDateRefFromQTime(QTime(9, 3, 7, 999)));
    QVERIFY((time == VKDateComponents{0, 0, 0, 9, 3, 7, 0, 0}));
    const VKDateComponents noDate = taken(VKQtDateUtils::createVKDateRefFromQDate(QDate()));
    QVERIFY((noDate == VKDateComponents{}));
    const VKDateComponents noTime = taken(VKQtDateUtils::createVKDateRefFromQTime(QTime()));
    QVERIFY((noTime == VKDateComponents{0, 0, 0, -1, -1, -1, 0, 0}));
}

// The thread sanitizer's build looks at what they share.
void VKQtDateUtilsTest::onManyThreads() {
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int number = 0; number < 8; ++number) {
        threads.emplace_back([number, &wrong] {
            for (int turn = 0; turn < 200; ++turn) {
                const QDateTime time =
                    local(2000 + turn % 30, 1 + turn % 12, 1 + turn % 28, number, 30, turn % 60);
                const QString text = VKQtDateUtils::safeDateToString(time);
                const bool parsed = parseEnglishStandard(text + u" x y"_s) == time;
                const bool shown = !VKQtDateUtils::toLocaleDateTimeString(time, true).isEmpty() &&
                                   !VKQtDateUtils::toLocaleDateTimeStringMedium(time).isEmpty();
                VKDateRef date = VKQtDateUtils::createVKDateRefFromQDateTime(time, 0, nullptr);
                const QDateTime back = VKQtDateUtils::createQDateTimeFromVKDateRef(date);
                VKDateRelease(date);
                const bool kept = back.date() == time.date() && back.time() == time.time();
                wrong += parsed && shown && kept ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    QCOMPARE(wrong.load(), 0);
}

VKTEST_MAIN(VKQtDateUtilsTest)
#include "VKQtDateUtilsTest.moc"
