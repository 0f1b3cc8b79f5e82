// Unicode normalisation form C for paths. Inner: not installed.
#pragma once

#include <QString>

namespace VKQtFormC {

/// Below this no unit is changed by form C, and none joins the one before it.
constexpr char16_t kFirstMark = 0x0300;

/// QString::normalized(NormalizationForm_C), for every text. Letters with one mark each, which is how most
/// decomposed names look, take a shorter way. A text that is in form C already is shared.
[[nodiscard]] QString composed(const QString& text);

} // namespace VKQtFormC
