// Opens long paths in pieces; asks for the mount beside device and inode.
#include "Platform/Linux/Place.h"

#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <utility>

namespace VKPlatform {

namespace {

QByteArrayView withoutFinalSlashes(QByteArrayView path) {
    while (path.size() > 1 && path.back() == '/') {
        path.chop(1);
    }
    return path;
}

} // namespace

int openFolder(QByteArrayView path, int flags, FileDescriptor& out) {
    constexpr qsizetype kPiece = PATH_MAX - 1; // the kernel counts the NUL too
    FileDescriptor here;
    while (path.size() > kPiece) {
        const qsizetype slash = path.first(kPiece + 1).lastIndexOf('/');
        if (slash <= 0) {
            return ENAMETOOLONG;
        }
        FileDescriptor next(::openat(here.isOpen() ? here.get() : AT_FDCWD,
                                     path.first(slash).toByteArray().constData(),
                                     O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!next.isOpen()) {
            return errno;
        }
        here = std::move(next);
        path = path.sliced(slash);
        // A slash in front of a later piece would make it absolute.
        while (!path.isEmpty() && path.front() == '/') {
            path = path.sliced(1);
        }
    }
    const QByteArray rest = path.isEmpty() ? QByteArray(".") : path.toByteArray();
    FileDescriptor folder(
        ::openat(here.isOpen() ? here.get() : AT_FDCWD, rest.constData(), flags | O_DIRECTORY | O_CLOEXEC));
    if (!folder.isOpen()) {
        return errno;
    }
    out = std::move(folder);
    return 0;
}

int openPlace(const QByteArray& path, Place& out) {
    const QByteArrayView whole = withoutFinalSlashes(path);
    if (whole.isEmpty()) {
        return ENOENT;
    }
    if (whole == QByteArrayView("/")) {
        return EBUSY;
    }
    const qsizetype slash = whole.lastIndexOf('/');
    const QByteArrayView name = whole.sliced(slash + 1);
    if (name == QByteArrayView(".") || name == QByteArrayView("..")) {
        return EINVAL;
    }
    const QByteArrayView folder = slash < 0    ? QByteArrayView(".")
                                  : slash == 0 ? QByteArrayView("/")
                                               : whole.first(slash);
    Place place;
    if (const int error = openFolder(folder, O_PATH, place.folder); error != 0) {
        return error;
    }
    place.name = name.toByteArray();
    out = std::move(place);
    return 0;
}

int identityOf(const FileDescriptor& folder, const QByteArray& name, Identity& out) {
    struct statx record;
    const int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | (name.isEmpty() ? AT_EMPTY_PATH : 0);
    if (::statx(folder.get(), name.isNull() ? "" : name.constData(), flags, STATX_INO | STATX_MNT_ID,
                &record) != 0) {
        return errno;
    }
    out.device = makedev(record.stx_dev_major, record.stx_dev_minor);
    out.inode = record.stx_ino;
    out.mount = (record.stx_mask & STATX_MNT_ID) != 0 ? record.stx_mnt_id : 0;
    return 0;
}

} // namespace VKPlatform
