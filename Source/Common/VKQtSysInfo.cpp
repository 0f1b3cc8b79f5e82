// The rules that need no answer from the build, and the answers that are the same under every platform's rules.
#include "VKQtSysInfo.h"

#include "VKCoreImage/VKCoreImageHardwareInfo.h"
#include "VKQtSysInfoRules.h"

#include <CoreFoundation/CFQt.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKProcess.h>

#include <QGuiApplication>
#include <QOperatingSystemVersion>
#include <QScreen>
#include <QStringList>
#include <QSysInfo>

#include <cmath>

using namespace Qt::StringLiterals;

namespace VKQtSysInfoRules {

bool isReleaseOrNewer(const QOperatingSystemVersion& current, const QOperatingSystemVersion& release) {
    return current.type() == release.type() && current >= release;
}

QString versionText(const QOperatingSystemVersion& version) {
    QStringList parts;
    for (const int part : {version.majorVersion(), version.minorVersion(), version.microVersion()}) {
        if (part < 0) {
            break;
        }
        parts << QString::number(part);
    }
    return parts.join(u'.');
}

VKStatus parseBrandString(const QString& output, QString& out) {
    const QString key = u"machdep.cpu.brand_string"_s;
    const qsizetype found = output.indexOf(key);
    if (found < 0) {
        return kVKStatusNotUnderstood;
    }
    out = output.mid(found + key.size() + 1).trimmed();
    return kVKStatusSuccess;
}

QString resolutionText(QSize pixels) { return u"%1x%2"_s.arg(pixels.width()).arg(pixels.height()); }

int pixelsOfSide(int scaled, qreal ratio) {
    constexpr int kHalvings = 16;
    const int first = static_cast<int>(std::ceil((scaled - 0.5) * ratio));
    const int last = static_cast<int>(std::floor((scaled + 0.5) * ratio));
    for (int step = 1 << kHalvings; step > 1; step /= 2) {
        // The nearest one when there are two that can be halved as often.
        const int candidate = static_cast<int>(std::lround(scaled * ratio / step)) * step;
        if (candidate >= first && candidate <= last) {
            return candidate;
        }
    }
    return static_cast<int>(std::lround(scaled * ratio));
}

} // namespace VKQtSysInfoRules

QString VKQtSysInfo::localHostName() { return QSysInfo::machineHostName(); }

QString VKQtSysInfo::hwModel() {
    const auto model = VKCFRef<CFStringRef>::adopt(VKProcessGetCopyHWMachineModel());
    return CFStringCopyQString(model.get());
}

QString VKQtSysInfo::resolution() {
    const QScreen* const screen = QGuiApplication::primaryScreen();
    if (screen == nullptr) {
        return VKQtSysInfoRules::resolutionText(QSize(0, 0));
    }
    const qreal ratio = screen->devicePixelRatio();
    return VKQtSysInfoRules::resolutionText(
        QSize(VKQtSysInfoRules::pixelsOfSide(screen->size().width(), ratio),
              VKQtSysInfoRules::pixelsOfSide(screen->size().height(), ratio)));
}

double VKQtSysInfo::refreshRate() {
    const QScreen* const screen = QGuiApplication::primaryScreen();
    return screen == nullptr ? 0.0 : screen->refreshRate();
}

QString VKQtSysInfo::openGLVendor() { return VKCoreImageHardwareInfo::openGLVendor(); }

QString VKQtSysInfo::openGLVersion() { return VKCoreImageHardwareInfo::openGLVersionEx(); }
