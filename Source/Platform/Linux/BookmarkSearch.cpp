// Breadth first by inode number, which the folder itself tells; only a number that fits is looked at closer.
#include "Platform/BookmarkSearch.h"

#include "Platform/FileDescriptor.h"
#include "Platform/Linux/Place.h"

#include <QStringBuilder>

#include <cerrno>
#include <deque>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <utility>

namespace VKPlatform {

namespace {

constexpr std::size_t kEntriesBetweenLooks = 256;

struct CloseFolder {
    void operator()(DIR* folder) const { ::closedir(folder); }
};
using OpenFolder = std::unique_ptr<DIR, CloseFolder>;

bool isDotOrDotDot(QByteArrayView name) {
    return name == QByteArrayView(".") || name == QByteArrayView("..");
}

QByteArray parentOf(const QByteArray& path) {
    const qsizetype slash = path.lastIndexOf('/');
    return slash <= 0 ? QByteArray("/") : path.first(slash);
}

QByteArray joined(const QByteArray& folder, QByteArrayView name) {
    return (folder == "/" ? folder : folder + '/') + name.toByteArray();
}

bool isBelowOrEqual(const QByteArray& path, const QByteArray& top) {
    return path == top || top == "/" || (path.startsWith(top) && path.at(top.size()) == '/');
}

} // namespace

/// The walk through one tree: what is still to be read, and the mount that it stays in.
struct BookmarkSearch::Visit {
    std::deque<QByteArray> folders;
    std::optional<Identity> mount;
    QByteArray skipped;
};

BookmarkSearch::BookmarkSearch(const FileIdentity& wanted, const SearchLimits& limits)
    : mWanted(wanted), mLimits(limits), mDeadline(std::chrono::steady_clock::now() + limits.time) {}

int BookmarkSearch::stopReason() {
    if (mLimits.isCancelled && mLimits.isCancelled()) {
        return ECANCELED;
    }
    return std::chrono::steady_clock::now() >= mDeadline ? ETIMEDOUT : 0;
}

int BookmarkSearch::findBelow(const QByteArray& top, const QByteArray& lastPath, QByteArray& found) {
    QByteArray folder = lastPath;
    QByteArray done;
    while (isBelowOrEqual(folder, top) && folder != top) {
        folder = parentOf(folder);
        const int error = searchTree(folder, done, found);
        if (error != ENOENT) {
            return error;
        }
        done = folder;
    }
    return done.isEmpty() ? searchTree(top, done, found) : ENOENT;
}

int BookmarkSearch::searchTree(const QByteArray& root, const QByteArray& skipped, QByteArray& found) {
    Visit visit;
    visit.folders.push_back(root);
    visit.skipped = skipped;
    while (!visit.folders.empty()) {
        const QByteArray folder = std::move(visit.folders.front());
        visit.folders.pop_front();
        if (const int error = searchFolder(visit, folder, found); error != ENOENT) {
            return error;
        }
    }
    return ENOENT;
}

int BookmarkSearch::searchFolder(Visit& visit, const QByteArray& folder, QByteArray& found) {
    if (const int reason = stopReason(); reason != 0) {
        return reason;
    }
    FileDescriptor opened;
    Identity place;
    // What cannot be read is passed over: it is gone, another user's, or no folder.
    if (openFolder(folder, O_RDONLY | O_NOFOLLOW | O_NONBLOCK, opened) != 0 ||
        identityOf(opened, QByteArray(), place) != 0) {
        return ENOENT;
    }
    if (!visit.mount) {
        visit.mount = place;
    } else if (!visit.mount->isSameMount(place)) {
        return ENOENT;
    }
    const OpenFolder entries(::fdopendir(opened.get()));
    if (entries == nullptr) {
        return ENOENT;
    }
    static_cast<void>(opened.release());
    while (const dirent* entry = ::readdir(entries.get())) {
        const QByteArrayView name(entry->d_name);
        if (isDotOrDotDot(name)) {
            continue;
        }
        if (mSearched == mLimits.entries) {
            return ETIMEDOUT;
        }
        ++mSearched;
        if (mSearched % kEntriesBetweenLooks == 0) {
            if (const int reason = stopReason(); reason != 0) {
                return reason;
            }
        }
        QByteArray path;
        if (entry->d_ino == mWanted.inode) {
            path = joined(folder, name);
            FileIdentity identity;
            if (identify(path, identity) == 0 && isSameItem(mWanted, identity)) {
                found = path;
                return 0;
            }
        }
        if (entry->d_type == DT_DIR || entry->d_type == DT_UNKNOWN) {
            path = joined(folder, name);
            if (path != visit.skipped) {
                visit.folders.push_back(path);
            }
        }
    }
    return ENOENT;
}

} // namespace VKPlatform
