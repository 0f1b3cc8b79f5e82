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

bool mayBe(FileKind kind, const dirent& entry) {
    switch (entry.d_type) {
    case DT_UNKNOWN:
        return true;
    case DT_REG:
        return kind == FileKind::File;
    case DT_DIR:
        return kind == FileKind::Folder;
    case DT_LNK:
        return kind == FileKind::Link;
    default:
        return kind == FileKind::Special;
    }
}

/// Whether an entry is worth a closer look. File systems in user space do not tell inode numbers in their folders.
bool mayBe(const FileIdentity& wanted, const dirent& entry) {
    return wanted.scope == IdentityScope::Mount ? mayBe(wanted.kind, entry) : wanted.inode == entry.d_ino;
}

} // namespace

/// The walk through one tree: what is still to be read, and the mount that it stays in.
struct BookmarkSearch::Visit {
    std::deque<QByteArray> folders;
    std::optional<Identity> mount;
    QByteArray skipped;

    void add(const QByteArray& folder) {
        if (folder != skipped) {
            folders.push_back(folder);
        }
    }

    /// Null for what is passed over: gone, another user's, another file system's, no folder.
    OpenFolder open(const QByteArray& folder) {
        FileDescriptor opened;
        Identity place;
        if (openFolder(folder, O_RDONLY | O_NOFOLLOW | O_NONBLOCK, opened) != 0 ||
            identityOf(opened, QByteArray(), place) != 0) {
            return nullptr;
        }
        if (!mount) {
            mount = place;
        }
        if (!mount->isSameMount(place)) {
            return nullptr;
        }
        OpenFolder entries(::fdopendir(opened.get()));
        if (entries != nullptr) {
            static_cast<void>(opened.release());
        }
        return entries;
    }
};

BookmarkSearch::BookmarkSearch(const FileIdentity& wanted, const SearchLimits& limits)
    : mWanted(wanted), mLimits(limits), mDeadline(std::chrono::steady_clock::now() + limits.time) {}

int BookmarkSearch::stopReason() const {
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
    const OpenFolder entries = visit.open(folder);
    while (const dirent* entry = entries == nullptr ? nullptr : ::readdir(entries.get())) {
        if (isDotOrDotDot(QByteArrayView(entry->d_name))) {
            continue;
        }
        if (const int reason = countEntry(); reason != 0) {
            return reason;
        }
        if (isWanted(*entry, folder)) {
            found = joined(folder, QByteArrayView(entry->d_name));
            return 0;
        }
        if (mayBe(FileKind::Folder, *entry)) {
            visit.add(joined(folder, QByteArrayView(entry->d_name)));
        }
    }
    return ENOENT;
}

int BookmarkSearch::countEntry() {
    if (mSearched == mLimits.entries) {
        return ETIMEDOUT;
    }
    ++mSearched;
    return mSearched % kEntriesBetweenLooks == 0 ? stopReason() : 0;
}

bool BookmarkSearch::isWanted(const dirent& entry, const QByteArray& folder) const {
    FileIdentity identity;
    return mayBe(mWanted, entry) && identify(joined(folder, QByteArrayView(entry.d_name)), identity) == 0 &&
           isSameItem(mWanted, identity);
}

} // namespace VKPlatform
