// Pure rules from values to text; nothing here looks at the system but for the local time zone.
#include "Text.h"

#include <QJsonDocument>
#include <QLocale>
#include <QRegularExpression>

#include <algorithm>
#include <cstdlib>
#include <iterator>

namespace VKTool {

using namespace Qt::StringLiterals;

namespace {

// Characters that a terminal acts on instead of showing.
bool drivesTerminal(char32_t c) {
    return c < 0x20 || (c >= 0x7f && c < 0xa0) || c == 0x061c || c == 0x200e || c == 0x200f ||
           (c >= 0x2028 && c <= 0x202e) || (c >= 0x2066 && c <= 0x2069);
}

QString escapeOf(char32_t c) {
    switch (c) {
    case '\n':
        return u"\\n"_s;
    case '\r':
        return u"\\r"_s;
    case '\t':
        return u"\\t"_s;
    case 0x1b:
        return u"\\e"_s;
    default:
        return u"\\u%1"_s.arg(static_cast<uint>(c), 4, 16, QLatin1Char('0'));
    }
}

struct Range {
    char32_t first;
    char32_t last;
};

// Blocks whose characters take two cells, from the East Asian Width property (W and F) of Unicode.
constexpr Range kWide[] = {
    {0x1100, 0x115f},   {0x231a, 0x231b},   {0x2329, 0x232a},   {0x23e9, 0x23ec},   {0x2614, 0x2615},
    {0x2648, 0x2653},   {0x26a1, 0x26a1},   {0x26bd, 0x26be},   {0x2705, 0x2705},   {0x2728, 0x2728},
    {0x274c, 0x274c},   {0x2753, 0x2755},   {0x2795, 0x2797},   {0x2b1b, 0x2b1c},   {0x2b50, 0x2b50},
    {0x2e80, 0x303e},   {0x3041, 0x33ff},   {0x3400, 0x4dbf},   {0x4e00, 0xa4cf},   {0xa960, 0xa97c},
    {0xac00, 0xd7a3},   {0xf900, 0xfaff},   {0xfe10, 0xfe19},   {0xfe30, 0xfe6f},   {0xff01, 0xff60},
    {0xffe0, 0xffe6},   {0x16fe0, 0x18cff}, {0x1aff0, 0x1b2fb}, {0x1f300, 0x1f64f}, {0x1f680, 0x1f6ff},
    {0x1f7e0, 0x1f7eb}, {0x1f90c, 0x1f9ff}, {0x1fa70, 0x1faff}, {0x20000, 0x3fffd},
};

int cellsOf(char32_t c) {
    if (c < 0x300) {
        return 1;
    }
    switch (QChar::category(c)) {
    case QChar::Mark_NonSpacing:
    case QChar::Mark_Enclosing:
    case QChar::Other_Format:
        return 0;
    default:
        break;
    }
    const auto* range = std::upper_bound(std::begin(kWide), std::end(kWide), c,
                                         [](char32_t value, const Range& r) { return value < r.first; });
    return range != std::begin(kWide) && c <= std::prev(range)->last ? 2 : 1;
}

// Calls `visit` with each code point; a lone surrogate comes as itself.
template <typename Visit>
void forEachCodePoint(QStringView text, Visit visit) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        char32_t c = text[i].unicode();
        if (text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            c = QChar::surrogateToUcs4(text[i], text[i + 1]);
            ++i;
        }
        visit(c);
    }
}

} // namespace

QString shown(const QString& text) {
    const auto drives = [](QChar c) { return drivesTerminal(c.unicode()); };
    if (std::none_of(text.begin(), text.end(), drives)) {
        return text;
    }
    QString result;
    for (const QChar c : text) {
        if (drives(c)) {
            result += escapeOf(c.unicode());
        } else {
            result += c;
        }
    }
    return result;
}

int displayWidth(QStringView text) {
    int cells = 0;
    forEachCodePoint(text, [&cells](char32_t c) { cells += cellsOf(c); });
    return cells;
}

QString padded(const QString& text, int width) {
    return text + QString(std::max(0, width - displayWidth(text)), u' ');
}

QString rightAligned(const QString& text, int width) {
    return QString(std::max(0, width - displayWidth(text)), u' ') + text;
}

QString humanSize(qint64 bytes) {
    if (bytes < 1000) {
        return QString::number(bytes) + " B"_L1;
    }
    constexpr const char* kUnits[] = {" kB", " MB", " GB", " TB", " PB", " EB"};
    const auto size = static_cast<quint64>(bytes);
    quint64 unit = 1000;
    std::size_t name = 0;
    // 999 500 bytes round up to 1.0 MB, never to 1000 kB.
    while (name + 1 < std::size(kUnits) && size >= unit * 1000 - unit / 2) {
        unit *= 1000;
        ++name;
    }
    const quint64 tenths = (size + unit / 20) / (unit / 10);
    const QString number = tenths < 100 ? QString::number(tenths / 10) + u'.' + QString::number(tenths % 10)
                                        : QString::number((size + unit / 2) / unit);
    return number + QLatin1StringView(kUnits[name]);
}

QString groupedNumber(qint64 number) {
    QString digits = QString::number(number);
    for (qsizetype i = digits.size() - 3; i > 0; i -= 3) {
        digits.insert(i, u' ');
    }
    return digits;
}

QString localMinute(const QDateTime& time) {
    return time.isValid() ? time.toLocalTime().toString(u"yyyy-MM-dd HH:mm"_s) : u"-"_s;
}

QJsonValue isoUtc(const QDateTime& time) {
    if (!time.isValid()) {
        return QJsonValue::Null;
    }
    const QDateTime utc = time.toUTC();
    const QString plain = utc.toString(Qt::ISODateWithMs);
    if (!plain.isEmpty()) {
        return plain;
    }
    // The framework writes years of four digits only; files can claim others. It has no year 0, the standard has.
    const int counted = utc.date().year();
    const int year = counted < 0 ? counted + 1 : counted;
    const QString digits = u"%1"_s.arg(std::abs(year), 6, 10, QLatin1Char('0'));
    return QString((year < 0 ? u'-' : u'+') + digits + utc.toString(u"-MM-dd'T'HH:mm:ss.zzz'Z'"_s));
}

QString counted(qint64 number, const QString& one, const QString& many) {
    return groupedNumber(number) + u' ' + (number == 1 ? one : many);
}

QString wrapped(const QString& text, int width, int indent) {
    const QString margin(indent, u' ');
    QString result;
    for (const QString& paragraph : text.split(u"\n\n"_s)) {
        if (!result.isEmpty()) {
            result += u'\n';
        }
        QString line;
        for (const QString& word : paragraph.simplified().split(u' ')) {
            if (!line.isEmpty() && indent + displayWidth(line) + 1 + displayWidth(word) > width) {
                result += margin + line + u'\n';
                line.clear();
            }
            line += line.isEmpty() ? word : u' ' + word;
        }
        result += margin + line + u'\n';
    }
    return result;
}

QString shellWord(const QString& word) {
    static const QRegularExpression kPlain(u"^[A-Za-z0-9_./:@%+=,-]+\\z"_s);
    if (kPlain.match(word).hasMatch()) {
        return word;
    }
    QString quoted = word;
    return u'\'' + quoted.replace(u'\'', u"'\\''"_s) + u'\'';
}

QByteArray jsonLine(const QJsonObject& object) {
    QByteArray plain = QJsonDocument(object).toJson(QJsonDocument::Compact);
    const QString text = QString::fromUtf8(plain);
    const auto drives = [](QChar c) { return drivesTerminal(c.unicode()); };
    if (std::none_of(text.begin(), text.end(), drives)) {
        return plain;
    }
    // Such a character can only stand inside a string, where an escape of four digits means the same.
    QString result;
    for (const QChar c : text) {
        if (drives(c)) {
            result += u"\\u%1"_s.arg(c.unicode(), 4, 16, QLatin1Char('0'));
        } else {
            result += c;
        }
    }
    return result.toUtf8();
}

QByteArray jsonArrayStart() { return "["; }

QByteArray jsonArrayItem(const QJsonObject& object, bool first) {
    return (first ? "\n  " : ",\n  ") + jsonLine(object);
}

QByteArray jsonArrayEnd(bool empty) { return empty ? "]\n" : "\n]\n"; }

} // namespace VKTool
