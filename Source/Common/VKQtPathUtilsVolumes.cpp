// Volumes: which are mounted, on which one a path lies, how one is known again. The work is VKVolumes.h's.
#include "VKQtPathUtils.h"

#include "VKQtPathUtilsLog.h"
#include "VKQtStringUtils.h"
#include "VKQtVolumeRules.h"

#include <CoreFoundation/CFQt.h>
#include <VKCoreKit/VKFileMgr.h>
#include <VKCoreKit/VKUtils.h>
#include <VKCoreKit/VKVolumes.h>

#include <utility>
#include <vector>

namespace {

using Url = VKCFRef<CFURLRef>;
using String = VKCFRef<CFStringRef>;

String stringOf(const QString& text) {
    return String::adopt(VKQtStringUtils::createCFStringRefFromQString(text));
}

/// The URL of a volume or of something on one; null for a text that names no file. A mounted volume is found in
/// the mount table, because the look-up on the disk would wait for a server that is dead.
Url urlOf(const QString& path, bool isFolder) {
    Url url = Url::adopt(VKVolumesCreateURL(stringOf(path).get()));
    return url ? std::move(url) : Url::adopt(VKQtPath(path, isFolder).createCFUrl());
}

unsigned int checksumOf(const QByteArray& bytes) {
    return VKUtilsCRC32Std(0, bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

/// The checksum of the marker on the volume, which is made if it is missing. `id` changes on success only.
void idFromMarker(CFURLRef root, unsigned int& id) {
    QByteArray content;
    if (VKVolumeReadMarker(root, &content) == kVKStatusSuccess) {
        id = checksumOf(content);
        return;
    }
    const String identifier = String::adopt(VKUtilsCreateUniqueIDString());
    if (!identifier) {
        return;
    }
    content = CFStringCopyQString(identifier.get()).toUtf8();
    // Where another process was faster, its marker is the volume's.
    if (VKVolumeCreateMarker(root, content) == kVKStatusSuccess ||
        VKVolumeReadMarker(root, &content) == kVKStatusSuccess) {
        id = checksumOf(content);
    }
}

} // namespace

QList<VKQtPath> VKQtPathUtils::getVolumes() {
    std::vector<VKVolume> volumes;
    // Where the system does not tell, there is no volume to offer.
    static_cast<void>(VKVolumesGetList(VKVolumeDetail::Places, &volumes));
    QStringList places;
    for (const VKVolume& volume : volumes) {
        places.append(volume.place);
    }
    return VKQtVolumeRules::offeredVolumes(places);
}

bool VKQtPathUtils::isVolume(const VKQtPath& path) { return getVolumes().contains(path); }

bool VKQtPathUtils::isVolumeOnline(const VKQtPath& path) { return path.fullVolume().exists(); }

QString VKQtPathUtils::getVolumeGivenPath(const QString& path) {
    return VKQtVolumeRules::volumeOf(path, VKQtVolumeRules::currentPlatform());
}

VKQtPath VKQtPathUtils::getVolumeGivenPath(const VKQtPath& path) {
    return VKQtPath(getVolumeGivenPath(path.path()), true);
}

QString VKQtPathUtils::getPrettyVolumeName(const VKQtPath& volume, bool /*unused*/) {
    const QString name = getVolumeDisplayName(volume.path());
    return name.isEmpty() ? volume.path() : name;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): callers are built against this signature
QString VKQtPathUtils::getVolumeDisplayName(QString volume) {
    const String name = String::adopt(VKFileMgrGetVolumeDisplayNameCopy(stringOf(volume).get()));
    return CFStringCopyQString(name.get());
}

QString VKQtPathUtils::getVolumeUUID(const QString& path, bool isFolder) {
    const String uuid = String::adopt(VKFileMgrGetVolumeUUIDCopy(urlOf(path, isFolder).get()));
    return CFStringCopyQString(uuid.get());
}

VKStatus VKQtPathUtils::getUniqueVolumeID(const QString& volume, unsigned int& id) {
    id = 0;
    if (volume.isEmpty()) {
        return logged(kVKStatusBadArgument, __LINE__);
    }
    const Url url = urlOf(volume, true);
    VKVolumeIdentity identity;
    if (!url || VKVolumeGetIdentity(url.get(), &identity) != kVKStatusSuccess) {
        return kVKStatusSuccess;
    }
    if (!identity.uuid.isEmpty()) {
        id = VKUtilsCRC32(0, stringOf(identity.uuid).get());
    } else if (!identity.networkSource.isEmpty()) {
        id = checksumOf(identity.networkSource);
    } else if (identity.hasMedium) {
        idFromMarker(identity.root.get(), id);
    }
    return kVKStatusSuccess;
}

VKStatus VKQtPathUtils::makeVolumeIDFromFile(const QString& volume, unsigned int& id) {
    if (const Url url = urlOf(volume, true)) {
        idFromMarker(url.get(), id);
    }
    return kVKStatusSuccess;
}

bool VKQtPathUtils::isRemovable(const VKQtPath& volume) {
    bool ejectable = false;
    if (volume.path().isEmpty()) {
        return false;
    }
    const Url url = urlOf(volume.path(), true);
    return VKVolumeGetEjectable(url.get(), &ejectable) == kVKStatusSuccess && ejectable;
}

VKStatus VKQtPathUtils::removeDrive(const VKQtPath& volume) {
    // What comes of it the list of volumes tells.
    static_cast<void>(VKVolumeUnmount(urlOf(volume.path(), true).get(), nullptr, nullptr));
    return kVKStatusSuccess;
}

QList<QString> VKQtPathUtils::qPathListToStringList(const QList<VKQtPath>& paths) {
    QList<QString> texts;
    texts.reserve(paths.size());
    for (const VKQtPath& path : paths) {
        texts.append(path.path());
    }
    return texts;
}

QList<VKQtPath> VKQtPathUtils::stringListToQPathList(const QList<QString>& texts,
                                                     const std::function<bool(const QString&)>& isFolder) {
    QList<VKQtPath> paths;
    paths.reserve(texts.size());
    for (const QString& text : texts) {
        paths.append(VKQtPath(text, isFolder(text)));
    }
    return paths;
}
