// What a list of mounts says by itself: which can be reached, which one has a place, which are served.
#include "Platform/MountFacts.h"
#include "Platform/MountTable.h"

#include <QByteArrayView>
#include <QHash>
#include <QSet>

#include <algorithm>
#include <utility>

namespace VKPlatform {

namespace {

/// The table as a way to walk: which mounts stand on which places of which mount.
class Reach {
public:
    explicit Reach(const std::vector<MountEntry>& mounts) {
        for (const MountEntry& mount : mounts) {
            mById.insert(mount.id, &mount);
            mPlaces.insert({mount.parent, mount.place}, mount.id);
        }
    }

    /// Whether a path leads to the mount and stays on it. No real path holds "//": that is the kernel's mark
    /// for a mount point that is gone.
    bool leadsTo(const MountEntry& mount) {
        return !mount.place.endsWith("//deleted") && isWalkable(mount) && !carries(mount.id, mount.place);
    }

private:
    bool carries(int parent, const QByteArray& place) const {
        const auto child = mPlaces.constFind({parent, place});
        return child != mPlaces.constEnd() && *child != parent;
    }

    /// Whether the way from the parent's place to this one crosses no other mount on the parent. (Had this one
    /// been mounted later, that other would be its parent.)
    bool isStepFree(const MountEntry& parent, const MountEntry& mount) const {
        QByteArray way = mount.place;
        while (way.size() > parent.place.size()) {
            const qsizetype slash = way.lastIndexOf('/');
            const bool atRoot = slash <= 0;
            way = atRoot ? QByteArray("/") : way.first(slash);
            if (carries(parent.id, way)) {
                return false;
            }
            if (atRoot) {
                break;
            }
        }
        return true;
    }

    /// From the mount up to one whose parent is not listed: the root. What was found is kept for the way of
    /// the next. A table whose parents go in a circle leads nowhere.
    bool isWalkable(const MountEntry& start) {
        std::vector<const MountEntry*> way;
        QSet<int> passed;
        bool walkable = true;
        for (const MountEntry* at = &start;;) {
            if (const auto known = mWalkable.constFind(at->id); known != mWalkable.constEnd()) {
                walkable = *known;
                break;
            }
            if (passed.contains(at->id)) {
                walkable = false;
                break;
            }
            way.push_back(at);
            passed.insert(at->id);
            const MountEntry* parent = mById.value(at->parent, nullptr);
            if (parent == nullptr || at->parent == at->id) {
                break;
            }
            at = parent;
        }
        for (auto mount = way.rbegin(); mount != way.rend(); ++mount) {
            const MountEntry* parent = mById.value((*mount)->parent, nullptr);
            if (walkable && parent != nullptr && parent->id != (*mount)->id) {
                walkable = isStepFree(*parent, **mount);
            }
            mWalkable.insert((*mount)->id, walkable);
        }
        return walkable;
    }

    QHash<int, const MountEntry*> mById;
    QHash<std::pair<int, QByteArray>, int> mPlaces;
    QHash<int, bool> mWalkable;
};

} // namespace

bool hasOption(QByteArrayView options, QByteArrayView option) {
    for (qsizetype start = 0; start <= options.size();) {
        const qsizetype comma = options.indexOf(',', start);
        const qsizetype end = comma < 0 ? options.size() : comma;
        const QByteArrayView word = options.sliced(start, end - start);
        if (word.startsWith(option) && (word.size() == option.size() || word.at(option.size()) == '=')) {
            return !option.isEmpty();
        }
        start = end + 1;
    }
    return false;
}

std::vector<MountEntry> reachableMounts(const std::vector<MountEntry>& mounts) {
    Reach reach(mounts);
    std::vector<MountEntry> reachable;
    for (const MountEntry& mount : mounts) {
        if (reach.leadsTo(mount)) {
            reachable.push_back(mount);
        }
    }
    return reachable;
}

const MountEntry* mountAt(const std::vector<MountEntry>& mounts, QByteArrayView place) {
    const auto found = std::find_if(mounts.rbegin(), mounts.rend(),
                                    [&](const MountEntry& mount) { return mount.place == place; });
    return found == mounts.rend() ? nullptr : &*found;
}

MountEntry wholeOf(const std::vector<MountEntry>& mounts, const MountEntry& part) {
    if (part.root == "/") {
        return part;
    }
    const std::vector<MountEntry> reachable = reachableMounts(mounts);
    const auto whole = std::find_if(reachable.begin(), reachable.end(), [&](const MountEntry& mount) {
        return mount.root == "/" && mount.major == part.major && mount.minor == part.minor;
    });
    return whole == reachable.end() ? part : *whole;
}

bool isServed(const MountEntry& mount) {
    return mount.type.startsWith("fuse") || isNetworkFileSystem(mount.type, mount.source);
}

} // namespace VKPlatform
