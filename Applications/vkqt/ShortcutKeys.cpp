// Names and signs of keys, and which shortcuts are meant.
#include "ShortcutKeys.h"

#include <algorithm>
#include <iterator>

namespace VKTool {

namespace {

using namespace Qt::StringLiterals;
using Entry = VKKeySequence::Entry;

struct Modifier {
    Qt::KeyboardModifier modifier;
    const char16_t* text;
};

// The framework's control key is a Mac's Command key, and its meta key the Mac's Control key.
constexpr Modifier kMacModifiers[] = {{Qt::MetaModifier, u"⌃"},
                                      {Qt::AltModifier, u"⌥"},
                                      {Qt::ShiftModifier, u"⇧"},
                                      {Qt::ControlModifier, u"⌘"}};
constexpr Modifier kWindowsModifiers[] = {{Qt::MetaModifier, u"Win"},
                                          {Qt::ControlModifier, u"Ctrl"},
                                          {Qt::AltModifier, u"Alt"},
                                          {Qt::ShiftModifier, u"Shift"}};

struct Sign {
    Qt::Key key;
    const char16_t* text;
};

constexpr Sign kMacSigns[] = {{Qt::Key_Delete, u"⌦"}, {Qt::Key_Backspace, u"⌫"}, {Qt::Key_Tab, u"⇥"},
                              {Qt::Key_Left, u"←"},   {Qt::Key_Right, u"→"},     {Qt::Key_Up, u"↑"},
                              {Qt::Key_Down, u"↓"}};
constexpr Sign kWindowsSigns[] = {
    {Qt::Key_Left, u"←"}, {Qt::Key_Right, u"→"}, {Qt::Key_Up, u"↑"}, {Qt::Key_Down, u"↓"}};

template <std::size_t Count>
QString signOf(Qt::Key key, const Sign (&signs)[Count]) {
    const auto* const found =
        std::find_if(std::begin(signs), std::end(signs), [key](const Sign& sign) { return sign.key == key; });
    return found == std::end(signs) ? QKeySequence(key).toString(QKeySequence::PortableText)
                                    : QString::fromUtf16(found->text);
}

template <std::size_t Count>
QStringList modifiersOf(Qt::KeyboardModifiers pressed, const Modifier (&modifiers)[Count]) {
    QStringList texts;
    for (const Modifier& modifier : modifiers) {
        if (pressed.testFlag(modifier.modifier)) {
            texts << QString::fromUtf16(modifier.text);
        }
    }
    return texts;
}

bool hasWord(const Entry& entry, const QString& word) {
    const QStringList texts = {QString(entry.name), entry.title(), VKKeySequence::groupTitle(entry.group),
                               keysText(entry.sequence, Keyboard::Mac),
                               keysText(entry.sequence, Keyboard::Windows)};
    return std::any_of(texts.begin(), texts.end(),
                       [&word](const QString& text) { return text.contains(word, Qt::CaseInsensitive); });
}

} // namespace

QStringList keyCaps(QKeyCombination keys, Keyboard keyboard) {
    const bool mac = keyboard == Keyboard::Mac;
    QStringList caps = mac ? modifiersOf(keys.keyboardModifiers(), kMacModifiers)
                           : modifiersOf(keys.keyboardModifiers(), kWindowsModifiers);
    caps << (mac ? signOf(keys.key(), kMacSigns) : signOf(keys.key(), kWindowsSigns));
    return caps;
}

QString keysText(const QKeySequence& sequence, Keyboard keyboard) {
    QStringList steps;
    for (int i = 0; i < sequence.count(); ++i) {
        const QStringList caps = keyCaps(sequence[static_cast<uint>(i)], keyboard);
        steps << caps.join(keyboard == Keyboard::Mac ? QString() : u"+"_s);
    }
    return steps.join(u", "_s);
}

bool isBoundOn(const Entry& entry, Keyboard keyboard) {
    return entry.platform == VKKeySequence::Platform::Any ||
           (entry.platform == VKKeySequence::Platform::Mac) == (keyboard == Keyboard::Mac);
}

QList<Entry> entriesWith(const QList<Entry>& entries, const QStringList& words) {
    QList<Entry> found;
    std::copy_if(entries.begin(), entries.end(), std::back_inserter(found), [&words](const Entry& entry) {
        return std::all_of(words.begin(), words.end(),
                           [&entry](const QString& word) { return hasWord(entry, word); });
    });
    return found;
}

QList<Entry> byGroup(const QList<Entry>& entries) {
    QList<Entry> commands;
    std::copy_if(entries.begin(), entries.end(), std::back_inserter(commands),
                 [](const Entry& entry) { return entry.group != VKKeySequence::Group::Undefined; });
    std::stable_sort(commands.begin(), commands.end(),
                     [](const Entry& a, const Entry& b) { return a.group < b.group; });
    return commands;
}

} // namespace VKTool
