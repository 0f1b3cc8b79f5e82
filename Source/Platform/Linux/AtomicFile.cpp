// Works on the descriptor of the containing folder, so that a folder renamed meanwhile does not divert the
// result.
#include "Platform/AtomicFile.h"
#include "Platform/Linux/CopyMetadata.h"
#include "Platform/Linux/ReadAt.h"
#include "Platform/Linux/TemporaryName.h"

#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace VKPlatform {

namespace {

constexpr int kLinkLimit = 40;

/// Where a flush is not known to a file system there is nothing to be flushed by it.
int flushError() {
    return errno == EINVAL || errno == ENOSYS || errno == EROFS || errno == ENOTSUP ? 0 : errno;
}

/// What the link at `path` leads to in the end, which need not exist. errno.
int resolveLinks(QByteArray& path) {
    for (int links = 0; links <= kLinkLimit; ++links) {
        QByteArray target(PATH_MAX, Qt::Uninitialized);
        const ssize_t size =
            ::readlink(path.constData(), target.data(), static_cast<std::size_t>(target.size()));
        if (size < 0) {
            return errno == EINVAL || errno == ENOENT ? 0 : errno;
        }
        target.truncate(size);
        if (!target.startsWith('/')) {
            target.prepend(QByteArrayView(path).first(path.lastIndexOf('/') + 1));
        }
        path = target;
    }
    return ELOOP;
}

/// The folder for names and for flushing; only for names where it may not be read.
int openFolder(const QByteArray& path, FileDescriptor& folder) {
    folder = FileDescriptor(::open(path.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.isOpen() && errno == EACCES) {
        folder = FileDescriptor(::open(path.constData(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    }
    return folder.isOpen() ? 0 : errno;
}

/// Opens the file to ask for its attributes; one that may be written but not read has its access lists at least.
int openExisting(const FileDescriptor& folder, const QByteArray& name, FileDescriptor& file) {
    for (const int access : {O_RDONLY, O_WRONLY}) {
        constexpr int kFlags = O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
        file = FileDescriptor(::openat(folder.get(), name.constData(), access | kFlags));
        if (file.isOpen() || errno != EACCES) {
            break;
        }
    }
    return file.isOpen() ? 0 : errno;
}

/// Owner first: changing it can take set-user bits away. Then the lists, which change the mode; then the mode.
/// What the process may not give away stays its own.
int copyWhatBelongsToTheFile(int to, const FileDescriptor& existing, const struct stat& from) {
    if (::fchown(to, from.st_uid, from.st_gid) != 0 &&
        ::fchown(to, static_cast<uid_t>(-1), from.st_gid) != 0 && errno != EPERM && errno != ENOSYS &&
        errno != ENOTSUP && errno != EINVAL) {
        return errno;
    }
    std::vector<Attribute> attributes;
    int error = readAttributes(existing.get(), attributes);
    if (error == 0) {
        error = setAttributes(to, attributes, inheritedLists(to));
    }
    if (error == 0 && ::fchmod(to, from.st_mode & 07777U) != 0 && errno != EPERM && errno != ENOSYS &&
        errno != ENOTSUP) {
        return errno;
    }
    return error;
}

} // namespace

AtomicFile::~AtomicFile() { abandon(); }

int AtomicFile::open(const QByteArray& target) {
    if (isOpen()) {
        return EBUSY;
    }
    QByteArray path = target;
    if (const int error = resolveLinks(path); error != 0) {
        return error;
    }
    const qsizetype slash = path.lastIndexOf('/');
    mName = path.sliced(slash + 1);
    if (mName.isEmpty()) {
        return path.isEmpty() ? ENOENT : EISDIR;
    }
    const QByteArray folder = slash < 0 ? QByteArray(".") : slash == 0 ? QByteArray("/") : path.first(slash);
    if (const int error = openFolder(folder, mFolder); error != 0) {
        return error;
    }
    struct stat existing;
    if (::fstatat(mFolder.get(), mName.constData(), &existing, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno == ENOENT ? openTemporary(0666) : errno;
    }
    if (!S_ISREG(existing.st_mode)) {
        return S_ISDIR(existing.st_mode) ? EISDIR : EOPNOTSUPP;
    }
    if (::faccessat(mFolder.get(), mName.constData(), W_OK, AT_EACCESS) != 0) {
        return errno;
    }
    FileDescriptor file;
    int error = openExisting(mFolder, mName, file);
    if (error == 0) {
        error = openTemporary(0600);
    }
    if (error == 0) {
        error = copyWhatBelongsToTheFile(mFile.get(), file, existing);
    }
    if (error != 0) {
        abandon();
    }
    return error;
}

int AtomicFile::openTemporary(unsigned mode) {
    return createTemporary(mName, [&](const QByteArray& name) {
        mFile = FileDescriptor(retried([&] {
            return ::openat(mFolder.get(), name.constData(),
                            O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
        }));
        if (!mFile.isOpen()) {
            return errno;
        }
        mTemporaryName = name; // only what was created here: abandon() removes it
        return 0;
    });
}

int AtomicFile::writeAt(std::int64_t offset, const void* data, std::size_t size) {
    const char* from = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t written = retried([&] { return ::pwrite(mFile.get(), from, size, offset); });
        if (written < 0) {
            return errno;
        }
        if (written == 0) {
            return ENOSPC;
        }
        from += written;
        size -= static_cast<std::size_t>(written);
        offset += written;
    }
    return 0;
}

int AtomicFile::readAt(std::int64_t offset, void* buffer, std::size_t size, std::size_t& count) const {
    return readFullyAt(mFile.get(), offset, buffer, size, count);
}

int AtomicFile::finish() {
    if (retried([&] { return ::fdatasync(mFile.get()); }) != 0) {
        if (const int error = flushError(); error != 0) {
            return error;
        }
    }
    // A network file system may report here what it could not store. Interrupted, it is closed all the same.
    if (const int error = mFile.close(); error != 0 && error != EINTR) {
        return error;
    }
    if (::renameat(mFolder.get(), mTemporaryName.constData(), mFolder.get(), mName.constData()) != 0) {
        return errno;
    }
    mTemporaryName.clear();
    if (::fsync(mFolder.get()) != 0 && errno != EBADF) { // EBADF: open only for names
        return flushError();
    }
    return 0;
}

int AtomicFile::commit() {
    if (!isOpen()) {
        return EBADF;
    }
    const int error = finish();
    abandon();
    return error;
}

void AtomicFile::abandon() noexcept {
    mFile.close();
    if (!mTemporaryName.isEmpty()) {
        ::unlinkat(mFolder.get(), mTemporaryName.constData(), 0);
        mTemporaryName.clear();
    }
    mFolder.close();
}

} // namespace VKPlatform
