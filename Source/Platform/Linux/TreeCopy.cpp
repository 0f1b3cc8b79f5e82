// The table of the tree, then its folders, its items, and the folders' own modes and times at the end.
#include "Platform/TreeCopy.h"

#include "Platform/FileRemoval.h"
#include "Platform/FolderListing.h"
#include "Platform/Linux/CopyItem.h"
#include "Platform/Linux/FolderTable.h"
#include "Platform/Linux/Place.h"
#include "Platform/Linux/TreeItems.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace VKPlatform {

namespace {

/// While it is filled and nobody else may look in.
constexpr mode_t kUnfinishedMode = 0700;

struct ListedEntry {
    QString key;
    QByteArray name;
    FileKind kind = FileKind::Unknown;
};

bool isBefore(const ListedEntry& a, const ListedEntry& b) {
    const int order = QString::compare(a.key, b.key);
    return order != 0 ? order < 0 : a.name < b.name;
}

bool isGone(int error) { return error == ENOENT || error == ENOTDIR; }

} // namespace

struct TreeCopy::State {
    State(TreeScope wantedScope, CopyRules wantedRules, TreeWatcher& itsWatcher)
        : scope(wantedScope), rules(wantedRules), watcher(itsWatcher) {}

    [[nodiscard]] int scanFolder(FolderWalk& walk, std::uint32_t number);
    [[nodiscard]] int list(int folder, std::vector<ListedEntry>& out);
    [[nodiscard]] int look(const FolderListing::Entry& found, ListedEntry& entry);
    [[nodiscard]] int makeFolder(FolderWalk& walk, std::uint32_t number);
    [[nodiscard]] int finishFolder(FolderWalk& walk, std::uint32_t number) const;
    void openFoldersAgain(std::uint32_t first) const;

    const TreeScope scope;
    const CopyRules rules;
    TreeWatcher& watcher;

    FolderTable table;
    FileDescriptor source;
    FileDescriptor target;
    FolderListing listing; // its block serves for all folders
    bool addSizes = false;
    std::uint64_t bytes = 0;
};

TreeCopy::TreeCopy(TreeScope scope, CopyRules rules, TreeWatcher& watcher)
    : mState(std::make_unique<State>(scope, rules, watcher)) {}

TreeCopy::~TreeCopy() = default;

bool TreeCopy::hasSource() const noexcept { return mState->source.isOpen(); }

std::size_t TreeCopy::folders() const noexcept { return mState->table.folders.size() - 1; }

std::size_t TreeCopy::items() const noexcept { return mState->table.items.size(); }

std::uint64_t TreeCopy::bytes() const noexcept { return mState->bytes; }

int TreeCopy::scan(const QByteArray& from, bool addSizes) {
    mState->addSizes = addSizes;
    mState->table.folders.emplace_back();
    if (const int error = openFolder(from, O_RDONLY, mState->source); error != 0) {
        return isGone(error) ? 0 : error;
    }
    FolderWalk walk(mState->table, mState->source, O_RDONLY);
    for (std::uint32_t number = 0; number < mState->table.folders.size(); ++number) {
        if (mState->watcher.isCancelled()) {
            return ECANCELED;
        }
        if (const int error = mState->scanFolder(walk, number); error != 0) {
            return error;
        }
    }
    return 0;
}

int TreeCopy::State::scanFolder(FolderWalk& walk, std::uint32_t number) {
    const int folder = walk.open(number);
    if (folder < 0) {
        return isGone(errno) ? 0 : errno; // vanished meanwhile: an empty one
    }
    FolderTable::Folder& facts = table.folders[number];
    if (::fstat(folder, &facts.record) != 0) {
        return errno;
    }
    if (const int error = readAttributes(folder, facts.attributes); error != 0) {
        return error;
    }
    std::vector<ListedEntry> entries;
    if (const int error = list(folder, entries); error != 0) {
        return error;
    }
    std::sort(entries.begin(), entries.end(), isBefore);
    for (const ListedEntry& entry : entries) {
        const std::size_t name = table.addName(entry.name);
        if (entry.kind == FileKind::Folder) {
            FolderTable::Folder& below = table.folders.emplace_back();
            below.parent = number;
            below.name = name;
        } else {
            table.items.push_back({.folder = number, .isLink = entry.kind == FileKind::Link, .name = name});
        }
    }
    return 0;
}

int TreeCopy::State::list(int folder, std::vector<ListedEntry>& out) {
    const FileDescriptor place(::fcntl(folder, F_DUPFD_CLOEXEC, 0));
    if (!place.isOpen()) {
        return errno;
    }
    if (const int error = listing.openAt(place); error != 0) {
        return error;
    }
    for (FolderListing::Entry found; listing.next(found);) {
        // Each time: on a slow server a few entries take as long as a person waits.
        if (watcher.isCancelled()) {
            return ECANCELED;
        }
        if (scope == TreeScope::Shown && isHiddenName(found.name)) {
            continue;
        }
        ListedEntry entry;
        if (const int error = look(found, entry); error != 0) {
            return error;
        }
        if (entry.kind == FileKind::Special && scope == TreeScope::Everything) {
            return EOPNOTSUPP;
        }
        if (entry.kind != FileKind::Special && entry.kind != FileKind::Unknown) {
            out.push_back(std::move(entry));
        }
    }
    return listing.error();
}

/// Leaves the kind unknown for what vanished meanwhile.
int TreeCopy::State::look(const FolderListing::Entry& found, ListedEntry& entry) {
    entry.kind = found.kind;
    if (found.kind == FileKind::Unknown || (addSizes && found.kind == FileKind::File)) {
        FileDetails details;
        if (const int error = listing.details(found, LinkRule::Keep, details); error != 0) {
            entry.kind = FileKind::Unknown;
            return isGone(error) ? 0 : error;
        }
        entry.kind = details.kind;
        if (addSizes && details.kind == FileKind::File) {
            bytes += static_cast<std::uint64_t>(details.sizeBytes);
        }
    }
    entry.name = found.name.toByteArray();
    entry.key = listingKey(found.name);
    return 0;
}

int TreeCopy::openTarget(const QByteArray& to, bool made) {
    // The source's own folder has no facts when it was not there.
    mState->table.folders.front().isMade = made && hasSource();
    return openFolder(to, O_PATH, mState->target);
}

int TreeCopy::makeFolders() {
    FolderWalk walk(mState->table, mState->target, O_PATH);
    for (std::uint32_t number = 1; number < mState->table.folders.size(); ++number) {
        if (const int error = mState->makeFolder(walk, number); error != 0) {
            return error;
        }
        if (const int answer = mState->watcher.folderMade(number - 1); answer != 0) {
            return answer;
        }
    }
    return 0;
}

int TreeCopy::State::makeFolder(FolderWalk& walk, std::uint32_t number) {
    FolderTable::Folder& folder = table.folders[number];
    const int parent = walk.open(folder.parent);
    if (parent < 0) {
        return errno;
    }
    const char* const name = table.name(folder.name);
    if (::mkdirat(parent, name, kUnfinishedMode) == 0) {
        folder.isMade = true;
        return 0;
    }
    const int error = errno;
    struct stat existing;
    const bool serves = error == EEXIST && ::fstatat(parent, name, &existing, AT_SYMLINK_NOFOLLOW) == 0 &&
                        S_ISDIR(existing.st_mode);
    return serves ? 0 : error;
}

int TreeCopy::copyItems() {
    return mState->table.items.empty()
               ? 0
               : TreeItems(mState->table, mState->source, mState->target, mState->rules, mState->watcher)
                     .copy();
}

int TreeCopy::finishFolders() {
    FolderWalk walk(mState->table, mState->target, O_PATH);
    for (auto number = static_cast<std::uint32_t>(mState->table.folders.size()); number-- > 0;) {
        if (!mState->table.folders[number].isMade) {
            continue;
        }
        int error = mState->finishFolder(walk, number);
        if (error == 0 && mState->watcher.isCancelled()) {
            error = ECANCELED;
        }
        if (error != 0) {
            mState->openFoldersAgain(number);
            return error;
        }
    }
    return 0;
}

int TreeCopy::State::finishFolder(FolderWalk& walk, std::uint32_t number) const {
    const int place = walk.open(number);
    const FileDescriptor folder(place < 0 ? -1 : ::openat(place, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.isOpen()) {
        return errno;
    }
    const FolderTable::Folder& facts = table.folders[number];
    if (const int error = copyMetadata(folder.get(), facts.record, facts.attributes,
                                       inheritedLists(folder.get()), rules.owner);
        error != 0) {
        return error;
    }
    return rules.flush == CopyFlush::ToDisk ? flushToDisk(folder.get()) : 0;
}

/// Who cleans up has to get into the folders that have their modes already. Those above come first.
void TreeCopy::State::openFoldersAgain(std::uint32_t first) const {
    FolderWalk walk(table, target, O_PATH);
    for (std::uint32_t number = first; number < table.folders.size(); ++number) {
        const int place = table.folders[number].isMade ? walk.open(number) : -1;
        if (place >= 0) {
            const QByteArray path = "/proc/self/fd/" + QByteArray::number(place);
            ::chmod(path.constData(), kUnfinishedMode);
        }
    }
}

namespace {

/// Tells a CopyWatcher, which knows only bytes, and hands its answer to both threads.
class ByteTeller final : public TreeWatcher {
public:
    explicit ByteTeller(CopyWatcher* watcher) : mWatcher(watcher) {}

    int folderMade(std::size_t /*number*/) override { return ask(0); }
    int itemCopied(std::size_t /*number*/) override { return mAnswer; }
    int bytesCopied(std::uint64_t bytes) override {
        const std::uint64_t more = bytes - std::exchange(mTold, bytes);
        return ask(more);
    }
    [[nodiscard]] bool isCancelled() const override { return mAnswer != 0; }

private:
    int ask(std::uint64_t more) {
        if (mWatcher != nullptr && mAnswer == 0) {
            mAnswer = mWatcher->copied(more);
        }
        return mAnswer;
    }

    CopyWatcher* mWatcher;
    std::uint64_t mTold = 0;
    std::atomic<int> mAnswer = 0;
};

int fillTree(TreeCopy& copy, const QByteArray& to) {
    int error = copy.openTarget(to, true);
    if (error == 0) {
        error = copy.makeFolders();
    }
    if (error == 0) {
        error = copy.copyItems();
    }
    return error == 0 ? copy.finishFolders() : error;
}

} // namespace

int copyTree(const QByteArray& from, const QByteArray& to, CopyRules rules, CopyWatcher* watcher) {
    ByteTeller teller(watcher);
    TreeCopy copy(TreeScope::Everything, rules, teller);
    struct stat record;
    if (::lstat(from.constData(), &record) != 0) {
        return errno;
    }
    if (!S_ISDIR(record.st_mode)) {
        return ENOTDIR;
    }
    if (const int error = copy.scan(from, false); error != 0) {
        return error;
    }
    if (!copy.hasSource()) {
        return ENOENT;
    }
    if (::mkdir(to.constData(), kUnfinishedMode) != 0) {
        return errno;
    }
    int error = 0;
    try {
        error = fillTree(copy, to);
    } catch (const std::bad_alloc&) {
        error = ENOMEM;
    }
    if (error != 0 && removeTree(to) != 0) {
        return error; // what could not be removed stays, and the first failure is the one to know
    }
    return error;
}

} // namespace VKPlatform
