// The marker appears whole under its name: written beside it, then linked or renamed without overwriting. On
// file systems that can do neither, a lock on the folder keeps readers from an unfinished one.
#include "Platform/VolumeMarker.h"

#include "Platform/FileDescriptor.h"

#include <QStringBuilder>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace VKPlatform {

namespace {

/// How often, and for how long in all, a reader tries to get past a writer: half a second.
constexpr int kLockTries = 100;
constexpr long kLockPauseNanoseconds = 5000000;

/// Everyone on the machine has to be able to know the volume by it, whatever mask the first asker has.
constexpr mode_t kMode = 0644;

/// Fills `content`; errno of the failure, 0 otherwise.
int readUpTo(int file, qsizetype limit, QByteArray& content) {
    content.clear();
    while (content.size() < limit) {
        char buffer[kMostMarkerBytes];
        const ssize_t got = ::read(file, buffer, static_cast<std::size_t>(limit - content.size()));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return errno;
        }
        if (got == 0) {
            break;
        }
        content.append(buffer, got);
    }
    return 0;
}

int readOnce(int folder, QByteArray& content) {
    const FileDescriptor file(::openat(folder, kMarkerName, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file.isOpen()) {
        return errno;
    }
    struct stat record;
    if (::fstat(file.get(), &record) != 0) {
        return errno;
    }
    return S_ISREG(record.st_mode) ? readUpTo(file.get(), kMostMarkerBytes, content) : EINVAL;
}

bool lockFolder(int folder, int kind) {
    for (int i = 0; i < kLockTries; ++i) {
        if (::flock(folder, kind | LOCK_NB) == 0) {
            return true;
        }
        if (errno != EWOULDBLOCK && errno != EINTR) {
            return false;
        }
        const timespec pause = {0, kLockPauseNanoseconds};
        ::nanosleep(&pause, nullptr);
    }
    return false;
}

int store(FileDescriptor& file, const QByteArray& content) {
    for (qsizetype done = 0; done < content.size();) {
        const ssize_t wrote =
            ::write(file.get(), content.constData() + done, static_cast<std::size_t>(content.size() - done));
        if (wrote < 0 && errno != EINTR) {
            return errno;
        }
        done += wrote < 0 ? 0 : wrote;
    }
    // File systems without permissions refuse the mode; what they give instead is readable.
    static_cast<void>(::fchmod(file.get(), kMode));
    if (::fsync(file.get()) != 0) {
        return errno;
    }
    return file.close();
}

/// Gives the finished file its name unless that is taken.
int giveName(int folder, const char* temporary) {
    if (::linkat(folder, temporary, folder, kMarkerName, 0) == 0) {
        ::unlinkat(folder, temporary, 0);
        return 0;
    }
    if (errno == EEXIST) {
        return EEXIST;
    }
    return ::renameat2(folder, temporary, folder, kMarkerName, RENAME_NOREPLACE) == 0 ? 0 : errno;
}

/// Where a name can only be given by creating: readers that find the marker empty wait for the lock.
int createInPlace(int folder, const QByteArray& content) {
    if (!lockFolder(folder, LOCK_EX)) {
        return EAGAIN;
    }
    int error = 0;
    FileDescriptor file(
        ::openat(folder, kMarkerName, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kMode));
    if (!file.isOpen()) {
        error = errno;
    } else if (error = store(file, content); error != 0) {
        ::unlinkat(folder, kMarkerName, 0);
    }
    ::flock(folder, LOCK_UN);
    return error;
}

FileDescriptor openRoot(const QByteArray& root) {
    return FileDescriptor(::open(root.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

} // namespace

int readVolumeMarker(const QByteArray& root, QByteArray& content) {
    content.clear();
    const FileDescriptor folder = openRoot(root);
    if (!folder.isOpen()) {
        return errno;
    }
    int error = readOnce(folder.get(), content);
    if (error == 0 && content.isEmpty() && lockFolder(folder.get(), LOCK_SH)) {
        error = readOnce(folder.get(), content);
    }
    if (const qsizetype zero = content.indexOf('\0'); zero >= 0) {
        content.truncate(zero);
    }
    return error;
}

int createVolumeMarker(const QByteArray& root, const QByteArray& identifier) {
    const FileDescriptor folder = openRoot(root);
    if (!folder.isOpen()) {
        return errno;
    }
    const QByteArray temporary = QByteArray(kMarkerName) + '.' + identifier;
    FileDescriptor file(::openat(folder.get(), temporary.constData(),
                                 O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kMode));
    if (!file.isOpen()) {
        return errno;
    }
    int error = store(file, identifier);
    if (error == 0) {
        error = giveName(folder.get(), temporary.constData());
        if (error == 0) {
            static_cast<void>(::fsync(folder.get()));
            return 0;
        }
    }
    ::unlinkat(folder.get(), temporary.constData(), 0);
    const bool cannotName = error == EPERM || error == EOPNOTSUPP || error == EINVAL || error == ENOSYS;
    return cannotName ? createInPlace(folder.get(), identifier) : error;
}

} // namespace VKPlatform
