// The least work that could give each answer, written for the processor at hand: what the path benchmarks
// measure the library against. Called through functions, as the library is. ASCII input only, except
// shareIfCanonical().
#pragma once

#include <QString>
#include <QStringView>

#include <cstddef>
#include <cstdint>

namespace PathFloors {

/// One pass for a backslash, a non-ASCII character or a trailing slash; the very same string if there is
/// none, otherwise a null string.
QString shareIfCanonical(const QString& text);

/// A new string with every backslash made a slash, unit by unit.
QString withSlashes(const QString& text);

/// A new string of the same length with the same units.
QString copied(const QString& text);

/// Equal but for the case of ASCII letters; no branch inside the loop.
bool equalIgnoringCase(QStringView a, QStringView b);

/// Whether `text` starts with `prefix` but for the case of ASCII letters, and a component ends there.
bool startsWithIgnoringCase(QStringView text, QStringView prefix);

/// Folds eight units at once and mixes them with one wide multiplication.
std::size_t hashIgnoringCase(QStringView text, std::size_t seed);

/// The text before the last slash.
QStringView parent(QStringView text);

/// Up to eight characters after the last full stop, lower-cased, one to a byte; 0 if longer or none.
std::uint64_t packedSuffix(QStringView text);

} // namespace PathFloors
