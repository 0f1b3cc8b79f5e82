// The platform answers, and the only place that has them. The build compiles this file once for each rule
// (host, macos, windows) and links the one that VKQT_PLATFORM_RULES names; the tests link each in turn.
#include "VKQtSysInfo.h"

#include "VKCoreImage/VKCoreImageHardwareInfo.h"
#include "VKKeySequence.h"
#include "VKQtSysInfoCommands.h"
#include "VKQtSysInfoRules.h"

#include <CoreFoundation/CFQt.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKMachine.h>
#include <VKCoreKit/VKUtils.h>

#include <QOperatingSystemVersion>

using namespace Qt::StringLiterals;

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

QString machineFact(VKMachineFact fact) {
    const auto text = VKCFRef<CFStringRef>::adopt(VKMachineGetFactCopy(fact));
    return CFStringCopyQString(text.get());
}

QString commandOutput(const QString& program, const QString& argument) {
    return QString::fromUtf8(VKQtSysInfoCommands::outputOf(program, {argument}).value_or(QByteArray()));
}

/// "OpenGL 4.5 (Core Profile) Mesa 22.3.6 by llvmpipe", once the driver was asked.
QString openGLReport() {
    const QString renderer = VKCoreImageHardwareInfo::openGLRenderer();
    const QString version = VKCoreImageHardwareInfo::openGLVersionEx();
    return renderer.isEmpty() ? QString() : u"OpenGL "_s + version + u" by "_s + renderer + u'\n';
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

QString VKQtSysInfo::osName() {
    return kMacRules ? QOperatingSystemVersion::current().name() : machineFact(VKMachineFact::SystemName);
}

QString VKQtSysInfo::osVersion() {
    return kMacRules ? VKQtSysInfoRules::versionText(QOperatingSystemVersion::current())
                     : machineFact(VKMachineFact::SystemVersion);
}

QString VKQtSysInfo::osBuildVersion() {
    return kMacRules ? commandOutput(u"sw_vers"_s, u"-buildVersion"_s).trimmed()
                     : machineFact(VKMachineFact::SystemBuild);
}

QString VKQtSysInfo::osPlatform() {
    if (kMacRules) {
        return u"Macintosh"_s;
    }
    return kWinRules ? u"Windows"_s : u"Linux"_s;
}

QString VKQtSysInfo::hwManufacture() {
    return kMacRules ? u"Apple"_s : machineFact(VKMachineFact::Manufacturer);
}

VKStatus VKQtSysInfo::cpuDescription(QString& out) {
    if (kMacRules) {
        return VKQtSysInfoRules::parseBrandString(commandOutput(u"sysctl"_s, u"machdep.cpu.brand_string"_s),
                                                  out);
    }
    const QString name = machineFact(VKMachineFact::Processor);
    if (name.isEmpty()) {
        return kVKStatusNotUnderstood;
    }
    out = name;
    return kVKStatusSuccess;
}

QString VKQtSysInfo::videoCard() {
    const auto card = VKCFRef<CFStringRef>::adopt(VKUtilsGetVideoCardCopy());
    if (!card && !kMacRules) {
        return VKCoreImageHardwareInfo::openGLRenderer();
    }
    return CFStringCopyQString(card.get());
}

QString VKQtSysInfo::videoDescription() {
    return u'\n' + (kMacRules ? commandOutput(u"system_profiler"_s, u"SPDisplaysDataType"_s)
                              : machineFact(VKMachineFact::GraphicsReport) + openGLReport());
}

QString VKQtSysInfo::videoDriverVersion() {
    const QString version = kMacRules ? QString() : machineFact(VKMachineFact::GraphicsDriverVersion);
    return version.isEmpty() ? u"Unknown"_s : version;
}

QKeySequence VKQtSysInfo::minimizeScreenKeySequence() { return VKKeySequence::kMinimizeMacPlatform; }

QKeySequence VKQtSysInfo::fullScreenKeySequence() {
    return kMacRules ? VKKeySequence::kFullScreenMacPlatform : VKKeySequence::kFullScreenWinPlatform;
}
