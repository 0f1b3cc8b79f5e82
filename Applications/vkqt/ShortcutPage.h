// The keyboard shortcuts as one complete page of HTML, to look at and to print.
#pragma once

#include "ShortcutKeys.h"

#include <QList>

namespace VKTool {

/// The page: the entries in the order given, under a heading for each group that begins, with a column for each
/// keyboard. Everything is in the one text; nothing is loaded from elsewhere.
[[nodiscard]] QString shortcutPage(const QList<VKKeySequence::Entry>& entries,
                                   const QList<Keyboard>& keyboards);

} // namespace VKTool
