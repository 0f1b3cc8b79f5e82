// Two passes over the tree: the first decides whether all of it may go, the second deletes.
#include "Platform/FileRemoval.h"
#include "Platform/Linux/FolderDescent.h"
#include "Platform/Linux/MountsBelow.h"
#include "Platform/Linux/Place.h"
#include "Platform/Linux/TreeEntries.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace VKPlatform {

namespace {

/// How often a folder is emptied again in which others keep making new items.
constexpr int kEmptyings = 4;

/// The folders that nothing may delete, however they are reached.
std::vector<Identity> protectedFolders() {
    std::vector<Identity> folders;
    const auto protect = [&folders](const char* path) {
        FileDescriptor folder;
        Identity identity;
        if (path != nullptr && *path == '/' && openFolder(path, O_PATH, folder) == 0 &&
            identityOf(folder, QByteArray(), identity) == 0) {
            folders.push_back(identity);
        }
    };
    protect("/");
    protect(std::getenv("HOME"));
    passwd account;
    passwd* found = nullptr;
    char buffer[4096];
    if (::getpwuid_r(::geteuid(), &account, buffer, sizeof buffer, &found) == 0 && found != nullptr) {
        protect(found->pw_dir);
    }
    return folders;
}

/// Gone, or replaced by something else, since it was listed.
bool isNoFolder(int error) { return error == ENOENT || error == ENOTDIR || error == ELOOP; }

/// The first pass: whether anything in the tree forbids that it is deleted.
class Check {
public:
    Check() : mProtected(protectedFolders()) {}

    int run(const Place& place) {
        int error = mDescent.start(place.folder);
        if (error == 0) {
            error = enter(place.name);
        }
        if (error == 0 && mDescent.depth() > 0 && holdsMountPoint(mDescent.here())) {
            error = EBUSY;
        }
        while (error == 0 && !mPending.empty()) {
            if (mPending.back().empty()) {
                mPending.pop_back();
                error = mDescent.leave();
                continue;
            }
            const QByteArray name = std::move(mPending.back().back());
            mPending.back().pop_back();
            error = enter(name);
        }
        return error;
    }

private:
    int enter(const QByteArray& name) {
        if (const int error = mDescent.enter(name); error != 0) {
            return isNoFolder(error) ? 0 : error; // the second pass meets what is there then
        }
        mPending.emplace_back();
        for (const Identity& folder : mProtected) {
            if (folder.isSameItem(mDescent.identity())) {
                return EBUSY;
            }
        }
        std::vector<TreeEntry> entries;
        if (const int error = entriesOf(mDescent.here(), entries); error != 0) {
            return error == ENOENT ? 0 : error;
        }
        if (!entries.empty() && ::faccessat(mDescent.here().get(), ".", W_OK | X_OK, AT_EACCESS) != 0) {
            return errno;
        }
        for (TreeEntry& entry : entries) {
            if (entry.kind == FileKind::Folder) {
                mPending.back().push_back(std::move(entry.name));
            }
        }
        return 0;
    }

    const std::vector<Identity> mProtected;
    FolderDescent mDescent;
    std::vector<std::vector<QByteArray>> mPending; ///< folders still to be entered, level by level
};

int unlinkEntry(const FileDescriptor& folder, const QByteArray& name, int flags) {
    return ::unlinkat(folder.get(), name.constData(), flags) == 0 || errno == ENOENT ? 0 : errno;
}

/// The second pass.
class Deletion {
public:
    int run(const Place& place) {
        int error = mDescent.start(place.folder);
        if (error == 0) {
            mLevels.push_back({{place.name}, 1, QByteArray()});
        }
        while (error == 0 && !mLevels.empty()) {
            error = mLevels.back().folders.empty() ? finishLevel() : descend();
        }
        return error;
    }

private:
    struct Level {
        std::vector<QByteArray> folders; ///< still to be deleted
        int emptyings = 1;
        QByteArray name; ///< its own, in the level above; empty for the folder that holds the tree
    };

    int descend() {
        QByteArray name = std::move(mLevels.back().folders.back());
        mLevels.back().folders.pop_back();
        int error = EISDIR;
        for (int tries = 0; error == EISDIR && tries < kEmptyings; ++tries) {
            error = mDescent.enter(name);
            if (error == 0) {
                mLevels.push_back({{}, 0, std::move(name)});
                return emptyLevel();
            }
            if (isNoFolder(error)) { // swapped for something else: that goes, and it alone
                error = unlinkEntry(mDescent.here(), name, 0);
            }
        }
        return error == EISDIR ? EBUSY : error;
    }

    /// Deletes what is no folder in the present one, and notes the folders.
    int emptyLevel() {
        Level& level = mLevels.back();
        ++level.emptyings;
        std::vector<TreeEntry> entries;
        if (const int error = entriesOf(mDescent.here(), entries); error != 0) {
            return error;
        }
        for (TreeEntry& entry : entries) {
            int error = entry.kind == FileKind::Folder ? EISDIR : unlinkEntry(mDescent.here(), entry.name, 0);
            if (error == EISDIR) {
                level.folders.push_back(std::move(entry.name));
                error = 0;
            }
            if (error != 0) {
                return error;
            }
        }
        return 0;
    }

    int finishLevel() {
        if (mLevels.size() == 1) {
            mLevels.pop_back();
            return 0;
        }
        const QByteArray name = mLevels.back().name;
        const int emptyings = mLevels.back().emptyings;
        mLevels.pop_back();
        if (const int error = mDescent.leave(); error != 0) {
            return error;
        }
        const int error = unlinkEntry(mDescent.here(), name, AT_REMOVEDIR);
        if (error == ENOTDIR) {
            const int unlinked = unlinkEntry(mDescent.here(), name, 0);
            return unlinked == EISDIR ? EBUSY : unlinked;
        }
        if ((error != ENOTEMPTY && error != EEXIST) || emptyings >= kEmptyings) {
            return error;
        }
        if (const int again = mDescent.enter(name); again != 0) {
            return again == ENOENT ? 0 : again;
        }
        mLevels.push_back({{}, emptyings, name});
        return emptyLevel();
    }

    FolderDescent mDescent;
    std::vector<Level> mLevels;
};

} // namespace

int deleteTree(const Place& place) { return Deletion().run(place); }

int removeFile(const QByteArray& path) {
    Place place;
    if (const int error = openPlace(path, place); error != 0) {
        return error == EBUSY || error == EINVAL ? EISDIR : error; // the root, ".", "..": folders
    }
    return ::unlinkat(place.folder.get(), place.name.constData(), 0) == 0 ? 0 : errno;
}

int removeTree(const QByteArray& path) {
    Place place;
    if (const int error = openPlace(path, place); error != 0) {
        return error;
    }
    struct stat record;
    if (::fstatat(place.folder.get(), place.name.constData(), &record,
                  AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT) != 0) {
        return errno;
    }
    if (!S_ISDIR(record.st_mode)) {
        return ::unlinkat(place.folder.get(), place.name.constData(), 0) == 0 ? 0 : errno;
    }
    const int error = Check().run(place);
    if (error == EACCES && ::unlinkat(place.folder.get(), place.name.constData(), AT_REMOVEDIR) == 0) {
        return 0; // it could not be looked into, but it was empty
    }
    return error == 0 ? Deletion().run(place) : error;
}

} // namespace VKPlatform
