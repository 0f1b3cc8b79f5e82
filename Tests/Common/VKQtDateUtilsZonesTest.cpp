// Parsed dates in twelve time zones, compared with what the C library says of the same local time, and a million random
// dates written and read back.
#include "Support/VKTest.h"
#include "VKQtDateUtils.h"

#include <QFileInfo>

#include <array>
#include <ctime>
#include <random>

using namespace Qt::StringLiterals;

namespace {

constexpr std::array<const char*, 12> kZones = {
    "UTC",
    "Europe/Berlin",
    "America/New_York",
    "America/St_Johns",    // half an hour, with summer time
    "America/Sao_Paulo",   // summer time used to begin at midnight
    "Asia/Tehran",         // half an hour, summer time at midnight
    "Asia/Kolkata",        // half an hour
    "Asia/Kathmandu",      // three quarters of an hour
    "Australia/Adelaide",  // half an hour, summer time of the south
    "Australia/Lord_Howe", // summer time of half an hour
    "Pacific/Chatham",     // three quarters of an hour, with summer time
    "Pacific/Apia",        // left out a whole day in 2011
};

/// The process's time zone while the object lives.
class TimeZone {
public:
    explicit TimeZone(const char* zone) : mBefore(qgetenv("TZ")) { set(zone); }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;
    ~TimeZone() { set(mBefore); }

private:
    static void set(const QByteArray& zone) {
        qputenv("TZ", zone);
        tzset();
    }

    QByteArray mBefore;
};

struct Moment {
    QDate date;
    QTime time;
};

QString longText(const Moment& moment) {
    static const std::array<const char*, 12> sMonths = {"January",   "February", "March",    "April",
                                                        "May",       "June",     "July",     "August",
                                                        "September", "October",  "November", "December"};
    return u"Day, %1 %2, %3 %4:%5:%6"_s.arg(
        QLatin1StringView(sMonths.at(static_cast<std::size_t>(moment.date.month()) - 1)),
        QString::number(moment.date.day()), QString::number(moment.date.year()),
        QString::number(moment.time.hour()), QString::number(moment.time.minute()),
        QString::number(moment.time.second()));
}

/// What the C library makes of a local time; nothing for one that the zone leaves out.
std::optional<qint64> secondsByLibrary(const Moment& moment) {
    std::tm wanted = {};
    wanted.tm_year = moment.date.year() - 1900;
    wanted.tm_mon = moment.date.month() - 1;
    wanted.tm_mday = moment.date.day();
    wanted.tm_hour = moment.time.hour();
    wanted.tm_min = moment.time.minute();
    wanted.tm_sec = moment.time.second();
    wanted.tm_isdst = -1;
    std::tm made = wanted;
    const std::time_t seconds = std::mktime(&made);
    const bool same =
        made.tm_mday == wanted.tm_mday && made.tm_hour == wanted.tm_hour && made.tm_min == wanted.tm_min;
    return same ? std::optional<qint64>(seconds) : std::nullopt;
}

/// Whether the local time occurs twice, as at the end of summer time.
bool occursTwice(const Moment& moment) {
    const std::optional<qint64> seconds = secondsByLibrary(moment);
    for (const qint64 away : {-3600, -1800, 1800, 3600}) {
        const std::time_t other = *seconds + away;
        std::tm local = {};
        localtime_r(&other, &local);
        if (local.tm_hour == moment.time.hour() && local.tm_min == moment.time.minute()) {
            return true;
        }
    }
    return false;
}

/// An empty text, or what is wrong.
QString complaintAbout(const Moment& moment) {
    const QString text = longText(moment);
    const QDateTime parsed = parseEnglishStandard(text);
    const std::optional<qint64> expected = secondsByLibrary(moment);
    if (!expected) {
        return parsed.isValid() ? text + u": is left out by the zone"_s : QString();
    }
    if (!parsed.isValid() || parsed.date() != moment.date || parsed.time() != moment.time) {
        return text + u": became "_s + parsed.toString(Qt::ISODate);
    }
    return parsed.toSecsSinceEpoch() == *expected || occursTwice(moment)
               ? QString()
               : u"%1: %2 seconds, expected %3"_s.arg(text).arg(parsed.toSecsSinceEpoch()).arg(*expected);
}

/// A number below `bound`; of the generator alone, because the library's distributions differ between systems.
int below(std::mt19937_64& random, int bound) {
    return static_cast<int>(random() % static_cast<std::uint64_t>(bound));
}

} // namespace

class VKQtDateUtilsZonesTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void agreesWithTheLibrary_data();
    void agreesWithTheLibrary();
    void leftOut_data();
    void leftOut();
    void offsets_data();
    void offsets();
    void millionRoundTrips();
};

void VKQtDateUtilsZonesTest::initTestCase() {
    VKTEST_NEEDS(QFileInfo::exists(u"/usr/share/zoneinfo/Pacific/Apia"_s),
                 "the time zones of the package tzdata");
}

void VKQtDateUtilsZonesTest::agreesWithTheLibrary_data() {
    QTest::addColumn<QByteArray>("zone");
    for (const char* zone : kZones) {
        QTest::newRow(zone) << QByteArray(zone);
    }
}

// Every half hour of fourteen months, which hold all changes of a year and the day that Apia left out.
void VKQtDateUtilsZonesTest::agreesWithTheLibrary() {
    QFETCH(const QByteArray, zone);
    const TimeZone inZone(zone);
    for (QDate day(2010, 12, 1); day < QDate(2012, 2, 1); day = day.addDays(1)) {
        for (int halfHour = 0; halfHour < 48; ++halfHour) {
            const QString complaint = complaintAbout({day, QTime(halfHour / 2, halfHour % 2 * 30 + 5, 7)});
            QVERIFY2(complaint.isEmpty(), qPrintable(complaint));
        }
    }
}

void VKQtDateUtilsZonesTest::leftOut_data() {
    QTest::addColumn<QByteArray>("zone");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("before");
    QTest::newRow("an hour") << QByteArray("Europe/Berlin") << u"x March 26 2017 2:30:00"_s
                             << u"x March 26 2017 1:59:59"_s;
    QTest::newRow("its first second")
        << QByteArray("Europe/Berlin") << u"x March 26 2017 2:00:00"_s << u"x March 26 2017 3:00:00"_s;
    QTest::newRow("half an hour") << QByteArray("Australia/Lord_Howe") << u"x October 1 2017 2:15:00"_s
                                  << u"x October 1 2017 2:45:00"_s;
    QTest::newRow("midnight") << QByteArray("America/Sao_Paulo") << u"x October 15 2017 0:00:00"_s
                              << u"x October 15 2017 1:00:00"_s;
    QTest::newRow("a day") << QByteArray("Pacific/Apia") << u"x December 30 2011 12:00:00"_s
                           << u"x December 31 2011 12:00:00"_s;
}

void VKQtDateUtilsZonesTest::leftOut() {
    QFETCH(const QByteArray, zone);
    QFETCH(const QString, text);
    QFETCH(const QString, before);
    const TimeZone inZone(zone);
    QVERIFY(!parseEnglishStandard(text).isValid());
    QVERIFY(parseEnglishStandard(before).isValid());
}

void VKQtDateUtilsZonesTest::offsets_data() {
    QTest::addColumn<QByteArray>("zone");
    QTest::addColumn<int>("january");
    QTest::addColumn<int>("july");
    QTest::newRow("none") << QByteArray("UTC") << 0 << 0;
    QTest::newRow("whole hours") << QByteArray("Europe/Berlin") << 3600 << 7200;
    QTest::newRow("half an hour, west") << QByteArray("America/St_Johns") << -12600 << -9000;
    QTest::newRow("half an hour, east") << QByteArray("Asia/Kolkata") << 19800 << 19800;
    QTest::newRow("three quarters") << QByteArray("Asia/Kathmandu") << 20700 << 20700;
    QTest::newRow("in the south") << QByteArray("Australia/Adelaide") << 37800 << 34200;
    QTest::newRow("summer time of half an hour") << QByteArray("Australia/Lord_Howe") << 39600 << 37800;
    QTest::newRow("three quarters in summer") << QByteArray("Pacific/Chatham") << 49500 << 45900;
}

void VKQtDateUtilsZonesTest::offsets() {
    QFETCH(const QByteArray, zone);
    QFETCH(const int, january);
    QFETCH(const int, july);
    const TimeZone inZone(zone);
    QCOMPARE(parseEnglishStandard(u"x January 5 2015 10:20:30"_s).offsetFromUtc(), january);
    QCOMPARE(parseEnglishStandard(u"Thur Jul 05 10:20:30 2015 x y"_s).offsetFromUtc(), july);
}

// A zone for each twelfth of them. The generator's start is fixed, so that a failure can be repeated.
void VKQtDateUtilsZonesTest::millionRoundTrips() {
    constexpr int kTurns = 1'000'000 / static_cast<int>(kZones.size()) + 1;
    std::mt19937_64 random(20170105);
    const QDate first(1, 1, 1);
    const auto days = static_cast<int>(first.daysTo(QDate(9999, 12, 31))) + 1;
    int leftOut = 0;
    for (const char* zone : kZones) {
        const TimeZone inZone(zone);
        for (int turn = 0; turn < kTurns; ++turn) {
            const QDate date = first.addDays(below(random, days));
            const QTime time(below(random, 24), below(random, 60), below(random, 60));
            const QString text = VKQtDateUtils::safeDateToString(QDateTime(date, time, Qt::UTC));
            const QDateTime back = parseEnglishStandard(text + u" +0000 UTC"_s);
            if (!back.isValid() && !secondsByLibrary({date, time})) {
                ++leftOut;
                continue;
            }
            if (!back.isValid() || back.date() != date || back.time() != time ||
                VKQtDateUtils::safeDateToString(back) != text) {
                QFAIL(qPrintable(text + u" in "_s + QString::fromLatin1(zone)));
            }
        }
    }
    QVERIFY2(leftOut < 1000, qPrintable(QString::number(leftOut)));
}

VKTEST_MAIN(VKQtDateUtilsZonesTest)
#include "VKQtDateUtilsZonesTest.moc"
