// Both texts are brought to a form in which equal ones are identical, then compared unit by unit.
#include "CoreFoundation/StringOrder.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace {

bool isDigit(QChar unit) { return unit >= u'0' && unit <= u'9'; }

// Moves surrogates above the rest of the basic plane, which turns the order of units into that of code
// points.
char16_t codePointRank(char16_t unit) {
    if (unit < 0xD800) {
        return unit;
    }
    return unit >= 0xE000 ? char16_t(unit - 0x800) : char16_t(unit + 0x2000);
}

// The run of digits at `position`, without leading zeros; `position` moves behind it.
QStringView takeNumber(QStringView text, qsizetype& position) {
    qsizetype begin = position;
    while (position < text.size() && isDigit(text[position])) {
        ++position;
    }
    while (begin < position && text[begin] == u'0') {
        ++begin;
    }
    return text.sliced(begin, position - begin);
}

int sign(qsizetype difference) { return difference < 0 ? -1 : int(difference > 0); }

int compareNumbers(QStringView first, QStringView second) {
    const int byLength = sign(first.size() - second.size());
    return byLength != 0 ? byLength : sign(first.compare(second));
}

int compareUnits(QStringView first, QStringView second, bool byCodePoint, bool numerically) {
    qsizetype i = 0;
    qsizetype j = 0;
    while (i < first.size() && j < second.size()) {
        if (numerically && isDigit(first[i]) && isDigit(second[j])) {
            const int order = compareNumbers(takeNumber(first, i), takeNumber(second, j));
            if (order != 0) {
                return order;
            }
            continue;
        }
        const char16_t a = first[i++].unicode();
        const char16_t b = second[j++].unicode();
        if (a != b) {
            return byCodePoint ? sign(codePointRank(a) - codePointRank(b)) : sign(a - b);
        }
    }
    return sign((first.size() - i) - (second.size() - j));
}

// The framework folds each character to one. Those that fold to several are the ones of which the other case has
// several characters: these are taken through that case.
QString fullyFolded(const QString& text) {
    constexpr char16_t kDottedCapitalI = 0x0130;
    QString folded = text.toCaseFolded();
    if (folded.toUpper().size() == folded.size() && !folded.contains(QChar(kDottedCapitalI))) {
        return folded;
    }
    QString result;
    for (const QChar unit : std::as_const(folded)) {
        const QString character(unit);
        const QString upper = character.toUpper();
        if (upper.size() > 1) {
            result += upper.toCaseFolded();
        } else {
            result += unit == kDottedCapitalI ? character.toLower() : character;
        }
    }
    return result;
}

QString comparable(const QString& text, CFStringCompareFlags options) {
    const bool nonliteral = (options & kCFCompareNonliteral) != 0;
    QString result = nonliteral ? text.normalized(QString::NormalizationForm_D) : text;
    if ((options & kCFCompareCaseInsensitive) != 0) {
        result = fullyFolded(result);
        // Folding can bring composed characters back.
        if (nonliteral) {
            result = result.normalized(QString::NormalizationForm_D);
        }
    }
    return result;
}

} // namespace

CFComparisonResult CoreFoundation::compareText(const QString& first, const QString& second,
                                               CFStringCompareFlags options) {
    constexpr CFStringCompareFlags kKnown =
        kCFCompareCaseInsensitive | kCFCompareNonliteral | kCFCompareNumerically;
    if ((options & kKnown) == 0) {
        return sign(first.compare(second));
    }
    return compareUnits(comparable(first, options), comparable(second, options),
                        (options & kCFCompareNonliteral) != 0, (options & kCFCompareNumerically) != 0);
}

SInt32 CoreFoundation::leadingInt(QStringView text) {
    qsizetype i = 0;
    while (i < text.size() && text[i].isSpace()) {
        ++i;
    }
    const bool negative = i < text.size() && text[i] == u'-';
    if (i < text.size() && (text[i] == u'-' || text[i] == u'+')) {
        ++i;
    }
    constexpr SInt64 kMost = std::numeric_limits<SInt32>::max();
    SInt64 value = 0;
    for (; i < text.size() && isDigit(text[i]); ++i) {
        value = std::min(value * 10 + (text[i].unicode() - u'0'), kMost + 1);
    }
    return static_cast<SInt32>(negative ? -value : std::min(value, kMost));
}
