// The rules that need no answer from the build or the machine.
#include "VKQtSysInfoRules.h"

#include <QOperatingSystemVersion>

namespace VKQtSysInfoRules {

bool isReleaseOrNewer(const QOperatingSystemVersion& current, const QOperatingSystemVersion& release) {
    return current.type() == release.type() && current >= release;
}

} // namespace VKQtSysInfoRules
