// The rules behind VKQtSysInfo's answers, apart from the machine that they are asked about.
#pragma once

#include <VKCoreKit/VKStatus.h>

#include <QByteArray>
#include <QSize>
#include <QString>

class QOperatingSystemVersion;

namespace VKQtSysInfoRules {

/// Whether `current` is the same kind of system as `release` and at least that version (major, then minor,
/// then micro). Two different kinds of system never compare: false whatever the numbers are.
[[nodiscard]] bool isReleaseOrNewer(const QOperatingSystemVersion& current,
                                    const QOperatingSystemVersion& release);

/// "13.4.1", without the parts that the record does not know; empty when it knows none.
[[nodiscard]] QString versionText(const QOperatingSystemVersion& version);

/// The processor's name in what "sysctl machdep.cpu.brand_string" wrote, which is the key, one character, and the name.
/// 1003 without the key; `out` is then left alone.
///
///     "machdep.cpu.brand_string: Apple M1\n" -> "Apple M1"      "" -> 1003
[[nodiscard]] VKStatus parseBrandString(const QString& output, QString& out);

/// "2560x1440".
[[nodiscard]] QString resolutionText(QSize pixels);

/// The pixels of a side of a screen that the framework measures in scaled units, for which it rounds. Of the numbers that
/// it may have rounded, the one that can be halved most often, as sides of screens can.
///
///     1280 at 2 -> 2560      1707 at 1.5 -> 2560      1234 at 1.75 -> 2160
[[nodiscard]] int pixelsOfSide(int scaled, qreal ratio);

} // namespace VKQtSysInfoRules
