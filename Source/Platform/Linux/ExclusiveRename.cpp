// renameat2() with RENAME_NOREPLACE, and what stands in for it.
#include "Platform/Linux/ExclusiveRename.h"

#include "Platform/FileDescriptor.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace VKPlatform {

namespace {

/// The empty item at `path`, so that it is removed again only while it is still that one.
struct Placeholder {
    struct stat record = {};

    [[nodiscard]] int make(const QByteArray& path, bool isFolder) {
        if (isFolder) {
            return ::mkdir(path.constData(), 0700) == 0 && ::lstat(path.constData(), &record) == 0 ? 0
                                                                                                   : errno;
        }
        const FileDescriptor file(
            ::open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        return file.isOpen() && ::fstat(file.get(), &record) == 0 ? 0 : errno;
    }

    void remove(const QByteArray& path) const {
        struct stat now;
        if (::lstat(path.constData(), &now) != 0 || now.st_ino != record.st_ino ||
            now.st_dev != record.st_dev) {
            return;
        }
        if (S_ISDIR(now.st_mode)) {
            ::rmdir(path.constData());
        } else if (now.st_size == 0) {
            ::unlink(path.constData());
        }
    }
};

int renameOverPlaceholder(const QByteArray& from, const QByteArray& to) {
    struct stat item;
    if (::lstat(from.constData(), &item) != 0) {
        return errno;
    }
    Placeholder placeholder;
    if (const int error = placeholder.make(to, S_ISDIR(item.st_mode)); error != 0) {
        return error;
    }
    if (::rename(from.constData(), to.constData()) == 0) {
        return 0;
    }
    const int error = errno;
    placeholder.remove(to);
    return error;
}

} // namespace

int renameExclusively(const QByteArray& from, const QByteArray& to) {
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0) {
        return 0;
    }
    // EINVAL is also what a folder into itself gives; then the plain rename gives it again.
    const bool isNotKnown = errno == EINVAL || errno == ENOSYS || errno == ENOTSUP;
    return isNotKnown ? renameOverPlaceholder(from, to) : errno;
}

} // namespace VKPlatform
