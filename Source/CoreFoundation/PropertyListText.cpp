// Spelling of property-list values. Locale-free: <charconv> for numbers, a civil calendar for dates.
#include "CoreFoundation/PropertyListText.h"

#include <QString>

#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace CoreFoundation {

namespace {

constexpr SInt64 kSecondsPerDay = 86400;
constexpr SInt64 kYearLimit = 9999999;

bool isSpace(QChar c) { return c == u' ' || (c >= u'\t' && c <= u'\r'); }

bool isDigit(QChar c) { return c >= u'0' && c <= u'9'; }

QStringView skipSpace(QStringView text) {
    while (!text.isEmpty() && isSpace(text.front())) {
        text = text.sliced(1);
    }
    return text;
}

/// Takes a sign off the front.
bool takeSign(QStringView& text) {
    const bool negative = text.startsWith(u'-');
    if (negative || text.startsWith(u'+')) {
        text = text.sliced(1);
    }
    return negative;
}

/// The whole text as ASCII; empty when it is not, so that no number comes of it.
std::string asciiOf(QStringView text) {
    std::string ascii;
    for (const QChar c : text) {
        if (c.unicode() >= 0x80) {
            return {};
        }
        ascii += static_cast<char>(c.unicode());
    }
    return ascii;
}

/// The whole text as an unsigned number.
template <class Number, class... Format>
std::optional<Number> wholeNumber(const std::string& ascii, Format... format) {
    Number number{};
    const auto [end, error] = std::from_chars(ascii.data(), ascii.data() + ascii.size(), number, format...);
    if (ascii.empty() || error != std::errc() || end != ascii.data() + ascii.size()) {
        return std::nullopt;
    }
    return number;
}

SInt64 floorDivide(SInt64 value, SInt64 by) { return value / by - (value % by < 0 ? 1 : 0); }

/// Days since 2001-01-01 of a date in the Gregorian calendar, which is continued before its introduction.
/// Years begin in March here, so that a leap day is the last of its year.
SInt64 daysOfDate(SInt64 year, SInt64 month, SInt64 day) {
    year += floorDivide(month - 1, 12);
    month = (month - 1) - floorDivide(month - 1, 12) * 12 + 1;
    const SInt64 marchYear = month > 2 ? year : year - 1;
    const SInt64 marchMonth = month > 2 ? month - 3 : month + 9;
    const SInt64 daysBefore = 365 * marchYear + floorDivide(marchYear, 4) - floorDivide(marchYear, 100) +
                              floorDivide(marchYear, 400);
    constexpr SInt64 kDaysBefore2001 = 730791; // the same sum for 2001-01-01
    return daysBefore + (153 * marchMonth + 2) / 5 + day - 1 - kDaysBefore2001;
}

struct Date {
    SInt64 year;
    SInt64 month;
    SInt64 day;
};

Date dateOfDays(SInt64 days) {
    // An estimate that is at most a year off, then the true one.
    SInt64 year = 2001 + floorDivide(days * 400, 146097);
    while (daysOfDate(year, 1, 1) > days) {
        --year;
    }
    while (daysOfDate(year + 1, 1, 1) <= days) {
        ++year;
    }
    SInt64 month = 12;
    while (daysOfDate(year, month, 1) > days) {
        --month;
    }
    return {year, month, days - daysOfDate(year, month, 1) + 1};
}

QByteArray padded(SInt64 value, qsizetype width) {
    return QByteArray::number(static_cast<qlonglong>(value)).rightJustified(width, '0');
}

/// Two digits and the mark after them, from the front; nothing when they are not there.
std::optional<SInt64> takeField(QStringView& text, QChar mark) {
    if (text.size() < 3 || !isDigit(text[0]) || !isDigit(text[1]) || text[2] != mark) {
        return std::nullopt;
    }
    const SInt64 value = (text[0].unicode() - u'0') * 10 + (text[1].unicode() - u'0');
    text = text.sliced(3);
    return value;
}

int base64Value(QChar c) {
    if (c >= u'A' && c <= u'Z') {
        return c.unicode() - u'A';
    }
    if (c >= u'a' && c <= u'z') {
        return c.unicode() - u'a' + 26;
    }
    if (isDigit(c)) {
        return c.unicode() - u'0' + 52;
    }
    return c == u'+' ? 62 : c == u'/' ? 63 : -1;
}

} // namespace

QByteArray realText(double value) {
    if (std::isnan(value)) {
        return "nan";
    }
    if (std::isinf(value)) {
        return value < 0 ? "-infinity" : "+infinity";
    }
    if (value == 0) {
        return "0.0";
    }
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::general, 17).ptr;
    return QByteArray(text, end - text);
}

std::optional<double> parseReal(QStringView text) {
    text = skipSpace(text);
    const bool isSigned = text.startsWith(u'-') || text.startsWith(u'+');
    const bool negative = takeSign(text);
    if (text.compare(u"nan", Qt::CaseInsensitive) == 0) {
        return isSigned ? std::nullopt : std::optional(std::numeric_limits<double>::quiet_NaN());
    }
    const double sign = negative ? -1.0 : 1.0;
    if (text.compare(u"inf", Qt::CaseInsensitive) == 0 ||
        text.compare(u"infinity", Qt::CaseInsensitive) == 0) {
        return sign * std::numeric_limits<double>::infinity();
    }
    if (text.isEmpty() || (!isDigit(text.front()) && text.front() != u'.')) {
        return std::nullopt; // from_chars has names and signs of its own
    }
    const std::string ascii = asciiOf(text);
    double value = 0;
    const char* const last = ascii.data() + ascii.size();
    const auto [end, error] = std::from_chars(ascii.data(), last, value);
    if (ascii.empty() || end != last || error == std::errc::invalid_argument) {
        return std::nullopt;
    }
    if (error == std::errc::result_out_of_range) {
        // Too large or too small to tell apart by the answer: the exponent's sign does.
        const std::size_t exponent = ascii.find_first_of("eE");
        const bool tiny = exponent != std::string::npos ? ascii[exponent + 1] == '-' : ascii.front() == '.';
        value = tiny ? 0 : std::numeric_limits<double>::infinity();
    }
    return sign * value;
}

std::optional<SInt64> parseInteger(QStringView text) {
    text = skipSpace(text);
    const bool negative = takeSign(text);
    text = skipSpace(text);
    int base = 10;
    if (text.startsWith(u"0x", Qt::CaseInsensitive)) {
        text = text.sliced(2);
        base = 16;
    }
    // The unsigned parser takes no second sign.
    const std::optional<UInt64> magnitude = wholeNumber<UInt64>(asciiOf(text), base);
    constexpr UInt64 kLargest = std::numeric_limits<SInt64>::max();
    if (!magnitude || *magnitude > kLargest + (negative ? 1 : 0)) {
        return std::nullopt;
    }
    return negative ? static_cast<SInt64>(0 - *magnitude) : static_cast<SInt64>(*magnitude);
}

std::optional<QByteArray> dateText(double secondsSince2001) {
    constexpr double kMost = double(kYearLimit + 2001) * 366 * kSecondsPerDay;
    if (!(std::abs(secondsSince2001) < kMost)) {
        return std::nullopt;
    }
    const auto seconds = static_cast<SInt64>(std::floor(secondsSince2001));
    const SInt64 days = floorDivide(seconds, kSecondsPerDay);
    const SInt64 inDay = seconds - days * kSecondsPerDay;
    const Date date = dateOfDays(days);
    if (std::abs(date.year) > kYearLimit) {
        return std::nullopt;
    }
    return (date.year < 0 ? "-" : "") + padded(std::abs(date.year), 4) + '-' + padded(date.month, 2) + '-' +
           padded(date.day, 2) + 'T' + padded(inDay / 3600, 2) + ':' + padded(inDay / 60 % 60, 2) + ':' +
           padded(inDay % 60, 2) + 'Z';
}

std::optional<double> parseDate(QStringView text) {
    const bool negative = text.startsWith(u'-');
    if (negative) {
        text = text.sliced(1);
    }
    const qsizetype dash = text.indexOf(u'-');
    if (dash < 1 || !isDigit(text.front())) {
        return std::nullopt;
    }
    const std::optional<SInt64> year = wholeNumber<SInt64>(asciiOf(text.first(dash)));
    if (!year || *year > kYearLimit) {
        return std::nullopt;
    }
    text = text.sliced(dash + 1);
    SInt64 fields[5] = {};
    constexpr QChar kMarks[5] = {u'-', u'T', u':', u':', u'Z'};
    for (int i = 0; i < 5; ++i) {
        const std::optional<SInt64> field = takeField(text, kMarks[i]);
        if (!field) {
            return std::nullopt;
        }
        fields[i] = *field;
    }
    if (!text.isEmpty()) {
        return std::nullopt;
    }
    const SInt64 month = fields[0] == 0 ? 1 : fields[0]; // month 0 has always been read as January
    const SInt64 days = daysOfDate(negative ? -*year : *year, month, fields[1]);
    const auto seconds =
        static_cast<double>(days * kSecondsPerDay + fields[2] * 3600 + fields[3] * 60 + fields[4]);
    // Month 13 of the last year that is written lies in one that is not.
    return dateText(seconds) ? std::optional(seconds) : std::nullopt;
}

QByteArray decodeBase64(QStringView text) {
    QByteArray bytes;
    bytes.reserve(text.size() / 4 * 3);
    UInt32 group = 0;
    int filled = 0;
    int padding = 0;
    for (const QChar c : text) {
        const int value = base64Value(c);
        if (value < 0 && c != u'=') {
            continue;
        }
        padding += c == u'=' ? 1 : 0;
        group = group << 6 | static_cast<UInt32>(value < 0 ? 0 : value);
        if (++filled == 4) {
            const char three[] = {static_cast<char>(group >> 16), static_cast<char>(group >> 8),
                                  static_cast<char>(group)};
            bytes.append(three, 3 - std::min(padding, 2));
            group = 0;
            filled = 0;
            padding = 0;
        }
    }
    return bytes;
}

} // namespace CoreFoundation
