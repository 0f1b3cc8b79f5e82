// Exclusions and prefixes, in text alone.
#include "VKQtVolumeRules.h"

#include "VKQtSysInfo.h"

#include <algorithm>
#include <iterator>

namespace VKQtVolumeRules {

using namespace Qt::StringLiterals;

namespace {

/// Mount points of the system, never offered.
constexpr QStringView kExcludedMountPoints[] = {
    u"/net",
    u"/home",
    u"/System/Volumes/Data",
    u"/System/Volumes/Data/home",
    u"/Volumes/MobileBackups",
    u"/Volumes/Recovery",
    u"/Volumes/Recovery HD",
    u"/System/Volumes/Preboot",
    u"/System/Volumes/Update",
    u"/System/Volumes/VM",
    u"/System/Volumes/Update/mnt1",
    u"/System/Volumes/Update/SFR/mnt1",
    u"/System/Volumes/xarts",
    u"/System/Volumes/iSCPreboot",
    u"/System/Volumes/Hardware",
};

bool isExcluded(QStringView mountPoint) {
    return mountPoint.isEmpty() || std::find(std::begin(kExcludedMountPoints), std::end(kExcludedMountPoints),
                                             mountPoint) != std::end(kExcludedMountPoints);
}

bool isOffered(const VKQtPath& volume) {
    const QString& path = volume.path();
    return !path.startsWith(u"/private/var"_s) && !volume.filename().startsWith(u'.') &&
           !path.startsWith(u"/Volumes/."_s) && !path.contains(u"com.apple.TimeMachine.localsnapshots"_s);
}

QString volumeOnMac(const QString& path, bool userDataApart) {
    if (path.startsWith(u"/Volumes/"_s)) {
        return u"/Volumes/"_s + path.section(u'/', 2, 2);
    }
    // Deliberately without a look at what follows: "/UsersX" counts too.
    if (userDataApart && path.startsWith(u"/Users"_s)) {
        return u"/System/Volumes/Data"_s;
    }
    return path.startsWith(u'/') ? u"/"_s : QString();
}

QString volumeOnWindows(const QString& path) {
    if (path.startsWith(u"//"_s)) {
        const qsizetype server = path.indexOf(u'/', 2);
        if (server < 0) {
            return QString();
        }
        const qsizetype share = path.indexOf(u'/', server + 1);
        return share < 0 ? path : path.first(share);
    }
    return path.indexOf(u':') == 1 ? path.first(2).toUpper() : QString();
}

} // namespace

QList<VKQtPath> offeredVolumes(const QStringList& mountPoints) {
    QList<VKQtPath> volumes;
    for (const QString& mountPoint : mountPoints) {
        if (isExcluded(mountPoint)) {
            continue;
        }
        VKQtPath volume(mountPoint, true);
        if (isOffered(volume)) {
            volumes.append(std::move(volume));
        }
    }
    return volumes;
}

Platform currentPlatform() {
    if (VKQtSysInfo::isMacPlatform()) {
        return VKQtSysInfo::catalinaOrGreater() ? Platform::MacCatalina : Platform::Mac;
    }
    return VKQtSysInfo::isWinPlatform() ? Platform::Windows : Platform::Other;
}

QString volumeOf(const QString& path, Platform platform) {
    switch (platform) {
    case Platform::Mac:
    case Platform::MacCatalina:
        return volumeOnMac(path, platform == Platform::MacCatalina);
    case Platform::Windows:
        return volumeOnWindows(path);
    case Platform::Other:
        break;
    }
    return u"/"_s;
}

} // namespace VKQtVolumeRules
