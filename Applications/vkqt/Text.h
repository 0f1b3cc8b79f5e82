// Text for people: names made harmless for a terminal, sizes, dates, counts, columns.
#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QString>
#include <QStringList>

namespace VKTool {

/// The text with every character that could drive a terminal or hide what follows made visible: control
/// characters, line and paragraph separators, the marks that turn the direction of writing.
///
///     "a\nb" -> "a\\nb"      ESC "[31m" -> "\\e[31m"      U+202E -> "\\u202e"
[[nodiscard]] QString shown(const QString& text);

/// The number of terminal cells that a text takes: two for wide East Asian characters and pictographs, none
/// for combining marks.
[[nodiscard]] int displayWidth(QStringView text);

/// The text, followed or preceded by blanks up to `width` cells.
[[nodiscard]] QString padded(const QString& text, int width);
[[nodiscard]] QString rightAligned(const QString& text, int width);

/// "0 B", "999 B", "1.0 kB", "48 kB", "1.4 MB": powers of 1000, one decimal below 10.
[[nodiscard]] QString humanSize(qint64 bytes);

/// Digits in groups of three: "1 234 567".
[[nodiscard]] QString groupedNumber(qint64 number);

/// Local time, "2026-11-21 14:03"; "-" when unknown.
[[nodiscard]] QString localMinute(const QDateTime& time);

/// "2026-11-21T13:03:05.250Z", or null when unknown. A year that four digits cannot tell has a sign and at least
/// six: "+011476-08-15T05:20:00.000Z", "-001199-...".
[[nodiscard]] QJsonValue isoUtc(const QDateTime& time);

/// "1 photo", "2 photos".
[[nodiscard]] QString counted(qint64 number, const QString& one, const QString& many);

/// Paragraphs filled to lines of at most `width` cells, each behind `indent` blanks. Words are never split.
[[nodiscard]] QString wrapped(const QString& text, int width, int indent);

/// A word as a shell would take it: quoted where it has to be.
///
///     "a.jpg" -> "a.jpg"      "a b" -> "'a b'"      "it's" -> "'it'\\''s'"      "" -> "''"
[[nodiscard]] QString shellWord(const QString& word);

/// One JSON object on one line. Characters that JSON would leave as they are although a terminal acts on
/// them are escaped.
[[nodiscard]] QByteArray jsonLine(const QJsonObject& object);

/// Each object on its own line, as one JSON array.
[[nodiscard]] QByteArray jsonArrayStart();
[[nodiscard]] QByteArray jsonArrayItem(const QJsonObject& object, bool first);
[[nodiscard]] QByteArray jsonArrayEnd(bool empty);

} // namespace VKTool
