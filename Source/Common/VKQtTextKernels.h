// The loops over UTF-16 text that paths are made of, eight or sixteen units at a time. Inner: not installed.
// None of them allocates or looks outside the text.
#pragma once

#include <QByteArrayView>
#include <QStringView>

#include <cstddef>

namespace VKQtTextKernels {

/// Whether every unit is ASCII and none a backslash.
[[nodiscard]] bool isPlain(QStringView text) noexcept;

/// What one pass over a text finds.
struct PathScan {
    bool hasBackslash = false;
    char16_t allBits = 0; ///< every bit that some unit has: an upper bound of the units
};

[[nodiscard]] PathScan scanPath(QStringView text) noexcept;

/// Copies `text` to `to`, which has room for it, with "/" for every backslash.
void copyWithSlashes(char16_t* to, QStringView text) noexcept;

/// Widens a name to `to`, which has room for it, if all of it is ASCII without a backslash; otherwise false, and
/// what is at `to` is of no use.
[[nodiscard]] bool widenPlainName(char16_t* to, QByteArrayView name) noexcept;

/// The position of the last `unit`, -1 if there is none.
[[nodiscard]] qsizetype lastIndexOf(QStringView text, char16_t unit) noexcept;

/// Whether QString::compare(a, b, Qt::CaseInsensitive) is 0, for every text.
[[nodiscard]] bool equalIgnoringCase(QStringView a, QStringView b) noexcept;

/// A hash that is the same for texts that equalIgnoringCase() calls equal.
[[nodiscard]] size_t hashIgnoringCase(QStringView text, size_t seed) noexcept;

} // namespace VKQtTextKernels
