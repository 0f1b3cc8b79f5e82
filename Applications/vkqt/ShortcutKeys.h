// Keyboard shortcuts as the two families of keyboards show them.
#pragma once

#include <VKKeySequence.h>

#include <QKeyCombination>
#include <QString>
#include <QStringList>

namespace VKTool {

enum class Keyboard { Mac, Windows };

/// What stands on the keys that are pressed together, in the order in which the platform writes them.
///
///     Ctrl+Alt+C -> "⌥", "⌘", "C" on a Mac, "Ctrl", "Alt", "C" on Windows
[[nodiscard]] QStringList keyCaps(QKeyCombination keys, Keyboard keyboard);

/// All of a shortcut as one text; the steps of a chord are separated by ", ". Empty without keys.
///
///     Ctrl+Alt+C -> "⌥⌘C" on a Mac, "Ctrl+Alt+C" on Windows
[[nodiscard]] QString keysText(const QKeySequence& sequence, Keyboard keyboard);

/// Whether applications bind the shortcut on that platform.
[[nodiscard]] bool isBoundOn(const VKKeySequence::Entry& entry, Keyboard keyboard);

/// Those of the entries that all words are found in, ignoring case: in the name, the title, the group or the keys of
/// a keyboard.
[[nodiscard]] QList<VKKeySequence::Entry> entriesWith(const QList<VKKeySequence::Entry>& entries,
                                                      const QStringList& words);

/// The commands in the order of their groups, each group in table order. What is no command is left out.
[[nodiscard]] QList<VKKeySequence::Entry> byGroup(const QList<VKKeySequence::Entry>& entries);

} // namespace VKTool
