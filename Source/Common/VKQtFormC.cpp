// A table of the composed letters that stand for an ASCII letter and one mark. Whatever the table does not know
// (two marks in a row, other scripts) is left to the framework, as a whole.
#include "VKQtFormC.h"

#include <QChar>

#include <array>

namespace VKQtFormC {
namespace {

constexpr char16_t kFirstLetter = u'A';
constexpr char16_t kLastLetter = u'z';
constexpr char16_t kLastMark = 0x0338;
constexpr size_t kLetters = kLastLetter - kFirstLetter + 1;
constexpr size_t kMarks = kLastMark - kFirstMark + 1;

using Table = std::array<char16_t, kLetters * kMarks>;

bool isKnownPair(char16_t letter, char16_t mark) {
    return letter >= kFirstLetter && letter <= kLastLetter && mark >= kFirstMark && mark <= kLastMark;
}

size_t placeOf(char16_t letter, char16_t mark) {
    return size_t{letter} - kFirstLetter + kLetters * (size_t{mark} - kFirstMark);
}

Table makeTable() {
    Table table{};
    // The two blocks of Unicode that hold all of them.
    constexpr char16_t kBlocks[][2] = {{0x00C0, 0x024F}, {0x1E00, 0x1EFF}};
    for (const auto& [first, last] : kBlocks) {
        for (char16_t unit = first; unit <= last; ++unit) {
            const QString parts = QChar::decomposition(unit);
            if (QChar::decompositionTag(unit) == QChar::Canonical && parts.size() == 2 &&
                isKnownPair(parts[0].unicode(), parts[1].unicode())) {
                table[placeOf(parts[0].unicode(), parts[1].unicode())] = unit;
            }
        }
    }
    return table;
}

// 0 if the two do not compose, or not by this table.
char16_t compositeOf(char16_t letter, char16_t mark) {
    static const Table kTable = makeTable();
    return isKnownPair(letter, mark) ? kTable[placeOf(letter, mark)] : u'\0';
}

} // namespace

QString composed(const QString& text) {
    const QStringView units(text);
    qsizetype pairs = 0;
    for (qsizetype i = 0; i < units.size(); ++i) {
        if (units[i].unicode() < kFirstMark) {
            continue;
        }
        if (i == 0 || compositeOf(units[i - 1].unicode(), units[i].unicode()) == u'\0') {
            return text.normalized(QString::NormalizationForm_C);
        }
        ++pairs;
    }
    if (pairs == 0) {
        return text;
    }
    QString result(units.size() - pairs, Qt::Uninitialized);
    QChar* to = result.data();
    for (const QChar unit : units) {
        if (unit.unicode() < kFirstMark) {
            *to++ = unit;
        } else {
            to[-1] = QChar(compositeOf(to[-1].unicode(), unit.unicode()));
        }
    }
    return result;
}

} // namespace VKQtFormC
