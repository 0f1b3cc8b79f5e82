// UTF-8 <-> UTF-16 without loss: a U+FEFF stays where it is, a NUL is a character like any other, and what
// cannot be converted either shows (U+FFFD) or is refused, by the function's name. Pure; any thread.
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>

#include <optional>

namespace VKPlatform {

/// The text that the bytes show. Each byte that belongs to no well-formed UTF-8 sequence (stray and overlong
/// forms, encoded surrogates, values above U+10FFFF, a sequence cut short) becomes one U+FFFD.
///
///     "caf\xC3\xA9" -> "café"       "lat\xE9" -> "lat\uFFFD"       "\xEF\xBB\xBFa" -> "\uFEFFa"
///     ""            -> ""           (no bytes give an empty text, never a null one)
[[nodiscard]] QString decodeUtf8(QByteArrayView bytes);

/// The same into a text of the caller's, whose storage is used again when it is large enough and unshared.
void decodeUtf8(QByteArrayView bytes, QString& into);

/// The text that the bytes encode, or nothing when they are not wholly well-formed UTF-8.
[[nodiscard]] std::optional<QString> decodeUtf8Strict(QByteArrayView bytes);

/// The UTF-8 form of the text, or nothing when it holds an unpaired surrogate, which has none.
/// An empty text gives an empty array, never a null one.
[[nodiscard]] std::optional<QByteArray> encodeUtf8(QStringView text);

} // namespace VKPlatform
