// A new file without a name, filled, then named; a named temporary one where the file system has no other.
#include "Platform/FileCopy.h"

#include "Platform/Linux/CopyItem.h"
#include "Platform/Linux/Place.h"
#include "Platform/Linux/ReadAt.h"
#include "Platform/Linux/Rename.h"
#include "Platform/Linux/TemporaryName.h"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <utility>

namespace VKPlatform {

namespace {

int exists(const Place& place) {
    struct stat record;
    if (::fstatat(place.folder.get(), place.name.constData(), &record, AT_SYMLINK_NOFOLLOW) == 0) {
        return EEXIST;
    }
    return errno == ENOENT ? 0 : errno;
}

/// A file that gets its name when it is complete. Abandoned, it leaves nothing.
class NewFile {
public:
    explicit NewFile(Place& place) : mPlace(place) {}
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile() { removeTemporary(); }

    [[nodiscard]] int open() {
        mFile = FileDescriptor(retried(
            [&] { return ::openat(mPlace.folder.get(), ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600); }));
        if (mFile.isOpen()) {
            return 0;
        }
        const bool isNotKnown = errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL || errno == ENOSYS;
        return isNotKnown ? openTemporary() : errno;
    }

    [[nodiscard]] const FileDescriptor& file() const { return mFile; }

    /// Gives it its name: EEXIST when that is taken.
    [[nodiscard]] int appear(CopyFlush flush) {
        if (const int error = mTemporaryName.isEmpty() ? link() : rename(); error != 0) {
            return error;
        }
        int error = mFile.close();
        if (error == 0 && flush == CopyFlush::ToDisk) {
            error = flushFolder(mPlace.folder);
        }
        if (error != 0) {
            ::unlinkat(mPlace.folder.get(), mPlace.name.constData(), 0);
        }
        return error;
    }

private:
    [[nodiscard]] int openTemporary() {
        return createTemporary(mPlace.name, [this](const QByteArray& name) {
            mFile = FileDescriptor(retried([&] {
                return ::openat(mPlace.folder.get(), name.constData(),
                                O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
            }));
            if (!mFile.isOpen()) {
                return errno;
            }
            mTemporaryName = name;
            return 0;
        });
    }

    [[nodiscard]] int link() const {
        const std::string path = "/proc/self/fd/" + std::to_string(mFile.get());
        return ::linkat(AT_FDCWD, path.c_str(), mPlace.folder.get(), mPlace.name.constData(),
                        AT_SYMLINK_FOLLOW) == 0
                   ? 0
                   : errno;
    }

    [[nodiscard]] int rename() {
        // Here a network file system reports what it could not store.
        if (const int error = mFile.close(); error != 0) {
            return error;
        }
        Place temporary = {
            .folder = FileDescriptor(::openat(mPlace.folder.get(), ".", O_PATH | O_DIRECTORY | O_CLOEXEC)),
            .name = mTemporaryName};
        if (!temporary.folder.isOpen()) {
            return errno;
        }
        const int error = renameWithoutOverwriting(temporary, mPlace);
        if (error == 0) {
            mTemporaryName.clear();
        }
        return error;
    }

    void removeTemporary() noexcept {
        if (!mTemporaryName.isEmpty()) {
            ::unlinkat(mPlace.folder.get(), mTemporaryName.constData(), 0);
        }
    }

    Place& mPlace;
    FileDescriptor mFile;
    QByteArray mTemporaryName;
};

int copyRegularFile(const Place& from, Place& to, CopyRules rules, CopyWatcher* watcher) {
    CopySource source;
    if (const int error = openSource(from.folder.get(), from.name.constData(), source); error != 0) {
        return error;
    }
    NewFile target(to);
    if (const int error = target.open(); error != 0) {
        return error;
    }
    ContentCopier copier;
    const CopyTarget into = {.file = target.file(), .inherited = inheritedLists(target.file().get())};
    if (const int error = copyInto(copier, source, into, rules, watcher); error != 0) {
        return error;
    }
    return target.appear(rules.flush);
}

int copyLinkItem(const Place& from, const Place& to, CopyRules rules, CopyWatcher* watcher) {
    if (const int error = watcher == nullptr ? 0 : watcher->copied(0); error != 0) {
        return error;
    }
    int error =
        copyLink(from.folder.get(), from.name.constData(), to.folder.get(), to.name.constData(), rules.owner);
    if (error == 0 && rules.flush == CopyFlush::ToDisk) {
        error = flushFolder(to.folder);
        if (error != 0) {
            ::unlinkat(to.folder.get(), to.name.constData(), 0);
        }
    }
    return error;
}

} // namespace

int copyFile(const QByteArray& from, const QByteArray& to, CopyRules rules, CopyWatcher* watcher) {
    Place source;
    if (const int error = openPlace(from, source); error != 0) {
        return error == EBUSY || error == EINVAL ? EISDIR : error; // the root, "." and ".."
    }
    struct stat record;
    if (::fstatat(source.folder.get(), source.name.constData(), &record, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno;
    }
    if (S_ISDIR(record.st_mode)) {
        return EISDIR;
    }
    const bool isLink = S_ISLNK(record.st_mode);
    if (!isLink && !S_ISREG(record.st_mode)) {
        return EOPNOTSUPP;
    }
    Place target;
    if (const int error = openPlace(to, target); error != 0) {
        return error == EBUSY || error == EINVAL ? EEXIST : error;
    }
    if (const int error = exists(target); error != 0) {
        return error;
    }
    return isLink ? copyLinkItem(source, target, rules, watcher)
                  : copyRegularFile(source, target, rules, watcher);
}

} // namespace VKPlatform
