// The nodes stand in the order in which one walk down and up meets them, so that three walks need no paths.
#include "Platform/Linux/MovedTree.h"
#include "Platform/Linux/MountsBelow.h"
#include "Platform/Linux/TreeEntries.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace VKPlatform {

namespace {

bool isNoFolder(int error) { return error == ENOENT || error == ENOTDIR || error == ELOOP; }

} // namespace

int stampOf(const FileDescriptor& folder, const QByteArray& name, ItemStamp& out) {
    struct statx record;
    constexpr unsigned kWanted = STATX_TYPE | STATX_MODE | STATX_SIZE | STATX_MTIME | STATX_CTIME;
    if (::statx(folder.get(), name.constData(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, kWanted, &record) !=
        0) {
        return errno;
    }
    out.sizeBytes = static_cast<std::int64_t>(record.stx_size);
    out.modifiedSeconds = record.stx_mtime.tv_sec;
    out.modifiedNanoseconds = record.stx_mtime.tv_nsec;
    out.changedSeconds = record.stx_ctime.tv_sec;
    out.changedNanoseconds = record.stx_ctime.tv_nsec;
    out.mode = record.stx_mode;
    return 0;
}

/// Asks the watcher now and then: a person who cancels does not wait for the end of a large tree.
int MovedTree::goOn(std::size_t number) const {
    constexpr std::size_t kEvery = 16;
    return mWatcher != nullptr && number % kEvery == 0 ? mWatcher->copied(0) : 0;
}

int MovedTree::scanFolder(const FileDescriptor& folder, std::size_t number) {
    std::vector<TreeEntry> entries;
    if (const int error = entriesOf(folder, entries); error != 0) {
        return error;
    }
    if (!entries.empty() && ::faccessat(folder.get(), ".", W_OK | X_OK, AT_EACCESS) != 0) {
        return errno;
    }
    for (TreeEntry& entry : entries) {
        if (entry.kind == FileKind::Special) {
            return EOPNOTSUPP;
        }
        Node node{number, std::move(entry.name), entry.kind == FileKind::Folder, {}};
        int error = goOn(mNodes.size());
        if (error == 0 && !node.isFolder) {
            error = stampOf(folder, node.name, node.stamp);
            if (error == ENOENT) {
                continue;
            }
        }
        if (error != 0) {
            return error;
        }
        mNodes.push_back(std::move(node));
    }
    return 0;
}

int MovedTree::scan(const Place& top) {
    FolderDescent descent;
    int error = descent.start(top.folder);
    if (error == 0) {
        error = descent.enter(top.name);
    }
    if (error == 0 && holdsMountPoint(descent.here())) {
        error = EBUSY;
    }
    if (error != 0) {
        return error;
    }
    // Depth first: the entries of the present folder go to the end, its folders wait for their turn.
    std::vector<Node> waiting;
    std::vector<std::size_t> way = {0};
    mNodes = {{0, top.name, true, {}}};
    const auto takeOver = [&](std::size_t number) {
        const std::size_t before = mNodes.size();
        const int scanned = scanFolder(descent.here(), number);
        std::size_t kept = before;
        for (std::size_t at = before; at < mNodes.size(); ++at) {
            if (mNodes[at].isFolder) {
                waiting.push_back(std::move(mNodes[at]));
            } else {
                std::swap(mNodes[kept++], mNodes[at]);
            }
        }
        mNodes.resize(kept);
        return scanned;
    };
    error = takeOver(0);
    while (error == 0 && !waiting.empty()) {
        Node folder = std::move(waiting.back());
        waiting.pop_back();
        while (error == 0 && way.back() != folder.parent) {
            way.pop_back();
            error = descent.leave();
        }
        if (error == 0) {
            error = descent.enter(folder.name);
        }
        if (error == 0) {
            way.push_back(mNodes.size());
            mNodes.push_back(std::move(folder));
            error = takeOver(way.back());
        } else if (isNoFolder(error)) {
            error = 0;
        }
    }
    return error;
}

namespace {

/// Goes through the nodes' folders in their order and tells when one has been left for good.
template <typename Node, typename Visit, typename Left>
int walk(const std::vector<Node>& nodes, const Place& top, Visit visit, Left left) {
    FolderDescent descent;
    int error = descent.start(top.folder);
    std::vector<std::size_t> way;
    const auto leaveTo = [&](std::size_t number, bool all) {
        while (error == 0 && !way.empty() && (all || way.back() != number)) {
            const std::size_t done = way.back();
            way.pop_back();
            error = descent.leave();
            if (error == 0) {
                error = left(descent.here(), nodes[done]);
            }
        }
    };
    for (std::size_t number = 0; error == 0 && number < nodes.size(); ++number) {
        const Node& node = nodes[number];
        leaveTo(node.parent, false);
        if (error == 0 && node.isFolder) {
            error = descent.enter(node.name);
            way.push_back(number);
        } else if (error == 0) {
            error = visit(descent.here(), node);
        }
    }
    leaveTo(0, true);
    return error;
}

} // namespace

int MovedTree::check(const Place& top) const {
    std::size_t number = 0;
    const auto visit = [&](const FileDescriptor& folder, const Node& node) {
        if (const int ended = goOn(++number); ended != 0) {
            return ended;
        }
        ItemStamp now;
        const int error = stampOf(folder, node.name, now);
        return error == ENOENT || (error == 0 && now != node.stamp) ? EBUSY : error;
    };
    const int error = walk(mNodes, top, visit, [](const FileDescriptor&, const Node&) { return 0; });
    return isNoFolder(error) ? EBUSY : error;
}

int MovedTree::remove(const Place& top, bool& begun) const {
    int stays = 0;
    const auto visit = [&](const FileDescriptor& folder, const Node& node) {
        ItemStamp now;
        const int error = stampOf(folder, node.name, now);
        if (error == ENOENT) {
            return 0;
        }
        if (error != 0) {
            return error;
        }
        if (!now.isSameContent(node.stamp)) {
            stays = EBUSY;
            return 0;
        }
        if (::unlinkat(folder.get(), node.name.constData(), 0) != 0) {
            return errno;
        }
        begun = true;
        return 0;
    };
    const auto left = [&](const FileDescriptor& folder, const Node& node) {
        if (::unlinkat(folder.get(), node.name.constData(), AT_REMOVEDIR) == 0) {
            begun = true;
            return 0;
        }
        if (errno == ENOTEMPTY || errno == EEXIST) {
            stays = stays == 0 ? ENOTEMPTY : stays;
            return 0;
        }
        return errno;
    };
    const int error = walk(mNodes, top, visit, left);
    return error != 0 ? error : stays;
}

} // namespace VKPlatform
