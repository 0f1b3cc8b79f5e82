// The constants of the table, made of key codes: parsing texts costs twelve times as much, at each start of each
// application.
#include "VKKeySequence.h"

#include <algorithm>
#include <array>
#include <iterator>

// The constants. What has no key shares the one empty sequence, as kUndefinedKeySequence does.
#define VK_KEY(group, name, ...) const QKeySequence VKKeySequence::name(__VA_ARGS__);
#define VK_NO_KEY(group, name) const QKeySequence VKKeySequence::name;
#include "VKKeySequenceTable.inc"
#undef VK_KEY
#undef VK_NO_KEY

namespace {

using namespace Qt::StringLiterals;

/// A row as it lies in the library: letters instead of pointers, which would have to be worked out at each start.
struct Row {
    VKKeySequence::Group group;
    std::array<char, 32> name;
    std::array<QKeyCombination, 2> keys;
};

constexpr QKeyCombination kNoKey = QKeyCombination::fromCombined(0);

template <std::size_t Size>
constexpr Row row(VKKeySequence::Group group, const char (&name)[Size], QKeyCombination first,
                  QKeyCombination second = kNoKey) {
    Row made = {group, {}, {first, second}};
    static_assert(Size <= std::tuple_size_v<decltype(made.name)>, "the name is too long for a row");
    std::copy(std::begin(name), std::end(name), made.name.begin());
    return made;
}

#define VK_KEY(group, name, ...) row(VKKeySequence::Group::group, #name, __VA_ARGS__),
#define VK_NO_KEY(group, name) row(VKKeySequence::Group::group, #name, kNoKey),
constexpr Row kRows[] = {
#include "VKKeySequenceTable.inc"
};
#undef VK_KEY
#undef VK_NO_KEY

constexpr QLatin1StringView kMacEnding("MacPlatform");
constexpr QLatin1StringView kWindowsEnding("WinPlatform");

VKKeySequence::Platform platformOf(QLatin1StringView name) {
    if (name.endsWith(kMacEnding)) {
        return VKKeySequence::Platform::Mac;
    }
    return name.endsWith(kWindowsEnding) ? VKKeySequence::Platform::Windows : VKKeySequence::Platform::Any;
}

QKeySequence sequenceOf(const Row& row) {
    return row.keys[0] == kNoKey ? QKeySequence() : QKeySequence(row.keys[0], row.keys[1]);
}

/// Where one word of a name ends and the next begins: before a capital behind a small letter or a digit, before a
/// number, and before the last of several capitals ("CWTurn" -> "CW turn").
bool startsWord(QLatin1StringView name, qsizetype at) {
    const QChar before = name[at - 1];
    const QChar here = name[at];
    if (here.isDigit() || !here.isUpper()) {
        return here.isDigit() && !before.isDigit();
    }
    const bool endsCapitals = at + 1 < name.size() && QChar(name[at + 1]).isLower();
    return !before.isUpper() || endsCapitals;
}

/// An inner word: small, unless it is an abbreviation.
QString innerWord(QLatin1StringView word) {
    const bool abbreviation = word.size() > 1 && QChar(word[1]).isUpper();
    return abbreviation ? QString(word) : QString(word).toLower();
}

} // namespace

QString VKKeySequence::Entry::title() const {
    QLatin1StringView rest = name.sliced(1); // without the "k"
    if (platform != Platform::Any) {
        rest.chop(platform == Platform::Mac ? kMacEnding.size() : kWindowsEnding.size());
    }
    QString title;
    for (qsizetype from = 0; from < rest.size();) {
        qsizetype end = from + 1;
        while (end < rest.size() && !startsWord(rest, end)) {
            ++end;
        }
        const QLatin1StringView word = rest.sliced(from, end - from);
        title += from == 0 ? QString(word) : u' ' + innerWord(word);
        from = end;
    }
    return title;
}

QList<VKKeySequence::Entry> VKKeySequence::entries() {
    QList<Entry> list;
    list.reserve(std::size(kRows));
    for (const Row& row : kRows) {
        const QLatin1StringView name(row.name.data());
        list.append({name, row.group, platformOf(name), sequenceOf(row)});
    }
    return list;
}

QString VKKeySequence::groupTitle(Group group) {
    switch (group) {
    case Group::Undefined:
        break;
    case Group::Modules:
        return u"Modules"_s;
    case Group::DevelopSliders:
        return u"Sliders of Develop"_s;
    case Group::Tools:
        return u"Tools"_s;
    case Group::Brushes:
        return u"Brushes"_s;
    case Group::Masks:
        return u"Masks"_s;
    case Group::Layers:
        return u"Layers"_s;
    case Group::Files:
        return u"Files and application"_s;
    case Group::Editing:
        return u"Editing"_s;
    case Group::Zoom:
        return u"Zoom and thumbnails"_s;
    case Group::Search:
        return u"Search and filter"_s;
    case Group::Preview:
        return u"Preview"_s;
    case Group::ViewModes:
        return u"Views"_s;
    case Group::Albums:
        return u"Albums"_s;
    case Group::Ratings:
        return u"Ratings and labels"_s;
    case Group::Pictures:
        return u"Pictures and stacks"_s;
    case Group::Settings:
        return u"Settings of pictures"_s;
    case Group::Windows:
        return u"Windows and panes"_s;
    }
    return {};
}
