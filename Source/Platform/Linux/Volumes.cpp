// Volumes of this machine: the mount table through the rules, and statvfs for each, on a thread of its own
// where another program has to answer.
#include "Platform/Volumes.h"

#include "Platform/BoundedQuestion.h"

#include <QStringBuilder>
#include <QtGlobal>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

namespace VKPlatform {

namespace {

/// What the file system of a served volume says when nobody serves it any more.
bool meansGone(int error) {
    switch (error) {
    case ENOTCONN:
    case ESTALE:
    case EIO:
    case ENODEV:
    case ENXIO:
    case ETIMEDOUT:
    case EHOSTDOWN:
    case EHOSTUNREACH:
    case ENETUNREACH:
    case ECONNABORTED:
    case ECONNREFUSED:
    case ECONNRESET:
    case ENOENT:
        return true;
    default:
        return false;
    }
}

VolumeFacts askFileSystem(const QByteArray& place) {
    struct statvfs record;
    if (::statvfs(place.constData(), &record) != 0) {
        return {!meansGone(errno), std::nullopt};
    }
    // A volume without any room is one that does not tell: user-space file systems answer so to users that they
    // are not for.
    if (record.f_blocks == 0) {
        return {true, std::nullopt};
    }
    const std::uint64_t block = record.f_frsize;
    return {true, VolumeSpace{record.f_blocks * block, record.f_bavail * block}};
}

BoundedQuestions<VolumeFacts>& questions() {
    static auto& sQuestions = *new BoundedQuestions<VolumeFacts>;
    return sQuestions;
}

/// One question for each mount: another mount at the same place is another server.
QByteArray keyOf(const MountEntry& mount) { return QByteArray::number(mount.id) + ' ' + mount.place; }

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
    std::vector<BoundedQuestions<VolumeFacts>::Handle> asked(volumes.size());
    for (std::size_t i = 0; i < volumes.size(); ++i) {
        if (const MountEntry& mount = volumes[i].mount; isServed(mount)) {
            asked[i] = questions().ask(keyOf(mount), [place = mount.place] { return askFileSystem(place); });
        }
    }
    std::vector<VolumeFacts> facts;
    for (std::size_t i = 0; i < volumes.size(); ++i) {
        facts.push_back(isServed(volumes[i].mount)
                            ? BoundedQuestions<VolumeFacts>::wait(asked[i]).value_or(VolumeFacts())
                            : askFileSystem(volumes[i].mount.place));
    }
    return facts;
}

} // namespace VKPlatform
