// Volumes of this machine: the mount table through the rules, and statvfs for each that no other program has to
// answer for.
#include "Platform/Volumes.h"

#include "Platform/ServedSpace.h"

#include <QStringBuilder>
#include <QtGlobal>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

namespace VKPlatform {

namespace {

VolumeFacts askFileSystem(const QByteArray& place) {
    struct statvfs record;
    if (::statvfs(place.constData(), &record) != 0) {
        // A device that was pulled out.
        return {errno != EIO && errno != ENXIO && errno != ENODEV, std::nullopt};
    }
    const std::uint64_t block = record.f_frsize;
    return {true, VolumeSpace{record.f_blocks * block, record.f_bavail * block}};
}

VolumeFacts factsOf(const ServedSpace& answer) {
    if (answer.state == ServerState::Silent) {
        return {};
    }
    // A volume without any room is one that does not tell: user-space file systems answer so to users that they
    // are not for.
    return answer.totalBytes == 0 ? VolumeFacts{true, std::nullopt}
                                  : VolumeFacts{true, VolumeSpace{answer.totalBytes, answer.freeBytes}};
}

/// Containers mount single files (/etc/hosts); a volume is a folder. Served ones are not asked.
bool isFolder(const MountEntry& mount) {
    struct stat record;
    return isServed(mount) ||
           ::fstatat(AT_FDCWD, mount.place.constData(), &record, AT_NO_AUTOMOUNT | AT_SYMLINK_NOFOLLOW) !=
               0 ||
           S_ISDIR(record.st_mode);
}

} // namespace

int mountedVolumes(std::vector<Volume>& volumes) {
    volumes.clear();
    std::vector<MountEntry> mounts;
    if (const int error = mountedFileSystems(mounts); error != 0) {
        return error;
    }
    for (Volume& volume : volumesAmong(mounts, qgetenv("HOME"))) {
        if (isFolder(volume.mount)) {
            volumes.push_back(std::move(volume));
        }
    }
    return 0;
}

std::vector<VolumeFacts> volumeFacts(const std::vector<Volume>& volumes) {
    std::vector<ServedPlace> places;
    for (const Volume& volume : volumes) {
        if (isServed(volume.mount)) {
            places.push_back(servedPlace(volume.mount.id, volume.mount.place));
        }
    }
    const std::vector<ServedSpace> answers = askServedSpace(places);
    auto answer = answers.begin();
    std::vector<VolumeFacts> facts;
    facts.reserve(volumes.size());
    for (const Volume& volume : volumes) {
        facts.push_back(isServed(volume.mount) ? factsOf(*answer++) : askFileSystem(volume.mount.place));
    }
    return facts;
}

} // namespace VKPlatform
