// How the values of a property list are spelled: integers, reals, dates, base64. Pure. Not installed.
#pragma once

#include "CoreFoundation/CFBase.h"

#include <QByteArray>
#include <QStringView>

#include <optional>

namespace CoreFoundation {

/// 17 significant digits as C's "%.17g" gives them in every locale; "0.0" for both zeros, "nan", "+infinity",
/// "-infinity".
[[nodiscard]] QByteArray realText(double value);

/// Digits with "." and exponent, or nan, inf, infinity in any case; leading white space and a sign ("-nan" not).
[[nodiscard]] std::optional<double> parseReal(QStringView text);

/// Decimal, or hexadecimal after "0x"; leading white space and a sign, white space after the sign too. Nothing
/// outside 64 bits with sign.
///
///     "+5" -> 5     "007" -> 7     "0x1F" -> 31     "-0x10" -> -16     "5 ", "1.5", "", "0x" -> nothing
[[nodiscard]] std::optional<SInt64> parseInteger(QStringView text);

/// "2001-01-01T00:00:00Z", seconds rounded down. Nothing outside the years -9999999 to 9999999, and for NaN.
[[nodiscard]] std::optional<QByteArray> dateText(double secondsSince2001);

/// "[-]Y...-MM-DDThh:mm:ssZ" to seconds since 2001. Fields may be out of range: month 13 is the next January.
[[nodiscard]] std::optional<double> parseDate(QStringView text);

/// Lenient: characters outside the alphabet are skipped, an incomplete last group of four is dropped.
[[nodiscard]] QByteArray decodeBase64(QStringView text);

} // namespace CoreFoundation
