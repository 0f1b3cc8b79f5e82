// Which mounts a person calls a volume.
#include "Platform/MountFacts.h"
#include "Platform/Volumes.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <utility>

namespace VKPlatform {

namespace {

template <std::size_t N>
bool isOneOf(QByteArrayView text, const QByteArrayView (&list)[N]) {
    return std::find(std::begin(list), std::end(list), text) != std::end(list);
}

bool liesIn(QByteArrayView place, QByteArrayView folder) {
    return place.startsWith(folder) && (place.size() == folder.size() || place.at(folder.size()) == '/');
}

/// Mounted by the system for itself, wherever it is.
bool isSystemType(const MountEntry& mount) {
    static constexpr QByteArrayView kTypes[] = {
        "autofs",        "fuse.gvfsd-fuse", "fuse.lxcfs", "fuse.portal",
        "fuse.snapfuse", "fusectl",         "nsfs",       "overlay",
    };
    // libmount counts the host's folders among what has no device; to a guest they are a disk.
    const bool holdsNoFiles = mount.isPseudo && mount.type != "virtiofs";
    return holdsNoFiles || isOneOf(mount.type, kTypes);
}

/// Folders of the system, after the file-system hierarchy that all distributions follow. A folder for photos
/// may be mounted in /home, /media, /mnt, /opt, /srv and elsewhere.
bool isSystemPlace(QByteArrayView place) {
    static constexpr QByteArrayView kTrees[] = {
        "/bin", "/boot", "/dev", "/efi",  "/etc",  "/lib", "/lib32",   "/lib64", "/libx32",
        "/nix", "/proc", "/run", "/sbin", "/snap", "/sys", "/sysroot", "/usr",   "/var",
    };
    static constexpr QByteArrayView kFolders[] = {"/home", "/media", "/mnt", "/opt", "/root", "/srv", "/tmp"};
    if (liesIn(place, "/run/media") && place.size() > QByteArrayView("/run/media").size()) {
        return false;
    }
    return isOneOf(place, kFolders) || std::any_of(std::begin(kTrees), std::end(kTrees),
                                                   [&](QByteArrayView tree) { return liesIn(place, tree); });
}

bool isVolume(const MountEntry& mount, const QByteArray& home) {
    if (mount.place == "/") {
        return true;
    }
    if (hasOption(mount.options, "x-gvfs-hide")) {
        return false;
    }
    if (hasOption(mount.options, "x-gvfs-show")) {
        return true;
    }
    return !isSystemType(mount) && !isSystemPlace(mount.place) && mount.place != home &&
           !mount.place.contains("/.");
}

using Device = std::pair<std::uint32_t, std::uint32_t>;

Device deviceOf(const MountEntry& mount) { return {mount.major, mount.minor}; }

/// Lets one mount of each file system through: see volumesAmong().
class Duplicates {
public:
    explicit Duplicates(const std::vector<MountEntry>& candidates) {
        for (const MountEntry& mount : candidates) {
            if (mount.place == "/") {
                mWhole.insert_or_assign(deviceOf(mount), mount.id);
            } else if (mount.root == "/") {
                mWhole.emplace(deviceOf(mount), mount.id);
            }
        }
    }

    bool isFirst(const MountEntry& mount) {
        if (const auto whole = mWhole.find(deviceOf(mount)); whole != mWhole.end()) {
            return whole->second == mount.id;
        }
        // Subvolumes are parts that one volume is made of; other parts are folders that someone chose.
        const QByteArray part = mount.type == "btrfs" ? QByteArray() : mount.root;
        return mParts.emplace(deviceOf(mount), part).second;
    }

private:
    std::map<Device, int> mWhole;
    std::set<std::pair<Device, QByteArray>> mParts;
};

} // namespace

std::vector<Volume> volumesAmong(const std::vector<MountEntry>& mounts, const QByteArray& home) {
    std::vector<MountEntry> candidates = reachableMounts(mounts);
    candidates.erase(std::remove_if(candidates.begin(), candidates.end(),
                                    [&](const MountEntry& mount) { return !isVolume(mount, home); }),
                     candidates.end());
    Duplicates duplicates(candidates);
    std::vector<Volume> volumes;
    for (const MountEntry& mount : candidates) {
        if (duplicates.isFirst(mount) || hasOption(mount.options, "x-gvfs-show")) {
            volumes.push_back(
                {mount, isNetworkFileSystem(mount.type, mount.source), hasOption(mount.options, "ro")});
        }
    }
    return volumes;
}

} // namespace VKPlatform
