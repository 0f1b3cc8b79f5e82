// The rules behind VKQtSysInfo's answers, apart from the machine that they are asked about.
#pragma once

class QOperatingSystemVersion;

namespace VKQtSysInfoRules {

/// Whether `current` is the same kind of system as `release` and at least that version (major, then minor,
/// then micro). Two different kinds of system never compare: false whatever the numbers are.
[[nodiscard]] bool isReleaseOrNewer(const QOperatingSystemVersion& current,
                                    const QOperatingSystemVersion& release);

} // namespace VKQtSysInfoRules
