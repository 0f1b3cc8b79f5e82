// Two layouts to read, one to write, the locale's formats, and records of numbers.
#include "VKQtDateUtils.h"

#include "VKQtLocale.h"

#include <QRegularExpression>
#include <QStringView>

#include <algorithm>
#include <array>
#include <optional>

const QString VKQtDateUtils::kDateFormat = QStringLiteral("ddd, dd MMM yyyy");
const QString VKQtDateUtils::kDateTimeFormat = QStringLiteral("ddd, dd MMM yyyy hh:mm:ss");

namespace {

using namespace Qt::StringLiterals;

using Names = std::array<QStringView, 12>;

constexpr Names kMonths = {u"January", u"February", u"March",     u"April",   u"May",      u"June",
                           u"July",    u"August",   u"September", u"October", u"November", u"December"};
constexpr Names kShortMonths = {u"Jan", u"Feb", u"Mar", u"Apr", u"May", u"Jun",
                                u"Jul", u"Aug", u"Sep", u"Oct", u"Nov", u"Dec"};
// "Thur" has four letters: files hold it.
constexpr std::array<QStringView, 7> kShortDays = {u"Mon", u"Tue", u"Wed", u"Thur", u"Fri", u"Sat", u"Sun"};

/// Which part of a text is what.
struct Layout {
    const Names& months;
    qsizetype year;
    qsizetype time;
};

constexpr qsizetype kMonthPart = 1;
constexpr qsizetype kDayPart = 2;
constexpr Layout kLongLayout = {kMonths, 3, 4};       // weekday month day year time
constexpr Layout kShortLayout = {kShortMonths, 4, 3}; // weekday month day time year, and what is not read

const Layout* layoutOf(qsizetype parts) {
    if (parts == 5) {
        return &kLongLayout;
    }
    return parts == 7 || parts == 9 ? &kShortLayout : nullptr;
}

/// From 1; 0 for a name that is none.
int monthOf(const Names& names, QStringView name) {
    const auto found = std::find(names.begin(), names.end(), name);
    return found == names.end() ? 0 : static_cast<int>(found - names.begin()) + 1;
}

std::optional<int> numberOf(QStringView text) {
    bool understood = false;
    const int number = text.toInt(&understood, 10);
    return understood ? std::optional(number) : std::nullopt;
}

/// Hour, minute and second; what follows them is not read. Invalid for anything else.
QTime timeOf(QStringView text) {
    const QList<QStringView> parts = text.split(u':');
    if (parts.size() < 3) {
        return QTime();
    }
    const std::optional<int> hour = numberOf(parts[0]);
    const std::optional<int> minute = numberOf(parts[1]);
    const std::optional<int> second = numberOf(parts[2]);
    return hour && minute && second ? QTime(*hour, *minute, *second) : QTime();
}

QDateTime momentOf(const Layout& layout, const QList<QStringView>& parts) {
    const int month = monthOf(layout.months, parts[kMonthPart]);
    const std::optional<int> day = numberOf(parts[kDayPart]);
    const std::optional<int> year = numberOf(parts[layout.year]);
    const QTime time = timeOf(parts[layout.time]);
    // A date-time would take an invalid time for midnight.
    if (month == 0 || !day || !year || !time.isValid()) {
        return QDateTime();
    }
    return QDateTime(QDate(*year, month, *day), time, Qt::LocalTime);
}

template <std::size_t Count>
QStringView nameOf(const std::array<QStringView, Count>& names, int number) {
    const auto index = static_cast<std::size_t>(number) - 1;
    return index < Count ? names[index] : QStringView();
}

QString twoDigits(int number) { return QString::number(number).rightJustified(2, u'0'); }

VKDateRef dateOf(const VKDateComponents& components) {
    VKDateRef date = nullptr;
    // It fails for missing arguments only.
    static_cast<void>(VKDateCreate(&components, &date));
    return date;
}

VKDateComponents componentsOf(const QDate& date, const QTime& time) {
    return {.year = date.year(),
            .month = date.month(),
            .day = date.day(),
            .hour = time.hour(),
            .minute = time.minute(),
            .second = time.second()};
}

} // namespace

QDateTime parseEnglishStandard(const QString& text) {
    const QString withoutCommas = QString(text).remove(u',');
    const QList<QStringView> parts = QStringView(withoutCommas).split(u' ');
    const Layout* const layout = layoutOf(parts.size());
    return layout == nullptr ? QDateTime() : momentOf(*layout, parts);
}

QDateTime VKQtDateUtils::multiformatStringToDate(const QString& text) { return parseEnglishStandard(text); }

QString VKQtDateUtils::safeDateToString(const QDateTime& time) {
    const QDate day = time.date();
    const QTime clock = time.time();
    return nameOf(kShortDays, day.dayOfWeek()) + u' ' + nameOf(kShortMonths, day.month()) + u' ' +
           twoDigits(day.day()) + u' ' + twoDigits(clock.hour()) + u':' + twoDigits(clock.minute()) + u':' +
           twoDigits(clock.second()) + u' ' + QString::number(day.year());
}

QString VKQtDateUtils::toLocaleDateTimeString(const QDateTime& time, bool unused) {
    return VKQtLocale().toString(time.toLocalTime(), getLocalDateFormat(unused));
}

QString VKQtDateUtils::getLocalDateFormat(bool /*unused*/) {
    const VKQtLocale current;
    return QLocale(current.language(), current.territory()).dateTimeFormat(QLocale::ShortFormat);
}

QString VKQtDateUtils::getLocaleDateTimeFormatMedium() {
    static const QRegularExpression sShortYear(u"\\b(yy)\\b"_s);
    const VKQtLocale current;
    QString date = current.dateFormat(QLocale::ShortFormat);
    const QRegularExpressionMatch match = sShortYear.match(date);
    if (match.hasMatch()) {
        date.replace(match.captured(1), u"yyyy"_s);
    }
    return date + u' ' + current.timeFormat(QLocale::LongFormat).remove(u't');
}

QString VKQtDateUtils::toLocaleDateTimeStringMedium(const QDateTime& time) {
    return VKQtLocale().toString(time.toLocalTime(), getLocaleDateTimeFormatMedium()).trimmed().toUpper();
}

QDateTime VKQtDateUtils::createQDateTimeFromVKDateRef(VKDateRef date) {
    VKDateComponents from;
    if (VKDateGetComponents(date, &from) != kVKStatusSuccess) {
        return QDateTime();
    }
    const QTime clock(from.hour, from.minute, from.second);
    // A date-time would take an invalid time for midnight.
    if (!clock.isValid()) {
        return QDateTime();
    }
    QDateTime time(QDate(from.year, from.month, from.day), clock, Qt::UTC);
    if (from.offsetFromUtc != 0) {
        time.setOffsetFromUtc(from.offsetFromUtc);
    }
    return time;
}

VKDateRef VKQtDateUtils::createVKDateRefFromQDate(const QDate& date) {
    return dateOf({.year = date.year(), .month = date.month(), .day = date.day()});
}

VKDateRef VKQtDateUtils::createVKDateRefFromQTime(const QTime& time) {
    return dateOf({.hour = time.hour(), .minute = time.minute(), .second = time.second()});
}

VKDateRef VKQtDateUtils::createVKDateRefFromQDateTime(const QDateTime& time, int secondsToAdd,
                                                      const int* /*unused*/) {
    const QDateTime moved = time.timeSpec() == Qt::UTC ? time.addSecs(secondsToAdd) : time;
    return dateOf(componentsOf(moved.date(), moved.time()));
}
