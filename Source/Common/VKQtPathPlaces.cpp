// The members of VKQtPath about volumes and special places: text only, by the rules of VKQtPathUtils.
#include "VKQtPath.h"

#include "VKQtPathUtils.h"
#include "VKQtSysInfo.h"

QString VKQtPath::volume() const { return VKQtPathUtils::getVolumeGivenPath(mPath); }

QString VKQtPath::extractFullVolume(const QString& /*unused*/) const {
    const QString volume = normalize(VKQtPathUtils::getVolumeGivenPath(mPath), true);
    const bool isName = VKQtSysInfo::isMacPlatform() && !volume.startsWith(u'/');
    return isName ? QString(u"/Volumes/" + volume) : volume;
}

VKQtPath VKQtPath::fullVolume() const { return VKQtPath(extractFullVolume(mPath), true, mVolumeID); }

VKQtPath VKQtPath::fullVolumeCached() {
    if (!mFullVolumeCache) {
        mFullVolumeCache.reset(new VKQtPath(fullVolume()));
    }
    return *mFullVolumeCache;
}

bool VKQtPath::isVolume() const {
    if (VKQtSysInfo::isMacPlatform() && mPath == u"/System/Volumes/Data") {
        return true;
    }
    return !mPath.isEmpty() && mPath == extractFullVolume(mPath);
}

VKStatus VKQtPath::determineVolumeID() { return kVKStatusSuccess; }

bool VKQtPath::isDesktopPath() const { return VKQtPathUtils::isDesktopPath(mPath); }

bool VKQtPath::isPicturesPath() const { return VKQtPathUtils::isPicturesPath(mPath); }
