// The platform answers, and the only place that has them. The build compiles this file once for each rule
// (host, macos, windows) and links the one that VKQT_PLATFORM_RULES names; the tests link each in turn.
#include "VKQtSysInfo.h"

#include "VKQtSysInfoRules.h"

#include <QOperatingSystemVersion>

namespace {

#if defined(VKQT_PLATFORM_RULES_MACOS)
constexpr bool kMacRules = true;
constexpr bool kWinRules = false;
#elif defined(VKQT_PLATFORM_RULES_WINDOWS)
constexpr bool kMacRules = false;
constexpr bool kWinRules = true;
#elif defined(VKQT_PLATFORM_RULES_HOST)
constexpr bool kMacRules = false;
constexpr bool kWinRules = false;
#else
#    error "Which platform's rules? Define VKQT_PLATFORM_RULES_HOST, _MACOS or _WINDOWS."
#endif

#if defined(VKQT_DEBUG_BUILD)
constexpr bool kDebugBuild = true;
#else
constexpr bool kDebugBuild = false;
#endif

// Under macOS rules on another system the framework's record decides, so the answer is false there too.
bool runsMacRelease(const QOperatingSystemVersion& release) {
    return kMacRules && VKQtSysInfoRules::isReleaseOrNewer(QOperatingSystemVersion::current(), release);
}

} // namespace

bool VKQtSysInfo::isMacPlatform() { return kMacRules; }

bool VKQtSysInfo::isWinPlatform() { return kWinRules; }

bool VKQtSysInfo::isReleaseBuild() { return !kDebugBuild; }

bool VKQtSysInfo::isDebugBuild() { return kDebugBuild; }

bool VKQtSysInfo::windowOpacitySupported() { return true; }

bool VKQtSysInfo::windowsXPOrLess() { return false; }

bool VKQtSysInfo::systemUsingLargeFonts() { return false; }

bool VKQtSysInfo::highSierraOrGreater() { return runsMacRelease(QOperatingSystemVersion::MacOSHighSierra); }

bool VKQtSysInfo::catalinaOrGreater() { return runsMacRelease(QOperatingSystemVersion::MacOSCatalina); }
