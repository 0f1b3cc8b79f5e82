// fstatvfs and faccessat on an open folder, so that the path's own errors are told apart from the folder's.
#include "Platform/FileSpace.h"
#include "Platform/Linux/Place.h"
#include "Platform/Linux/ReadAt.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace VKPlatform {

namespace {

/// Opens the item, or the nearest folder above it that is there.
int openNearest(QByteArray path, FileDescriptor& out) {
    for (;;) {
        Place place;
        int error = openPlace(path, place);
        if (error == EBUSY || error == EINVAL) { // the root, ".", ".."
            error = openFolder(path, O_PATH, out);
        } else if (error == 0) {
            out = FileDescriptor(::openat(place.folder.get(), place.name.constData(), O_PATH | O_CLOEXEC));
            if (!out.isOpen() && errno != ENOENT && errno != ELOOP && errno != ENAMETOOLONG) {
                return errno;
            }
            if (!out.isOpen()) {
                out = std::move(place.folder);
            }
        }
        if (error != ENOENT && error != ENOTDIR) {
            return error;
        }
        const qsizetype slash = path.lastIndexOf('/');
        if (path.isEmpty() || path == "." || path == "/") {
            return error;
        }
        path = slash < 0 ? QByteArray(".") : slash == 0 ? QByteArray("/") : path.first(slash);
    }
}

} // namespace

int availableBytes(const QByteArray& path, std::uint64_t& bytes) {
    FileDescriptor item;
    if (const int error = openNearest(path, item); error != 0) {
        return error;
    }
    struct statvfs record;
    if (retried([&] { return ::fstatvfs(item.get(), &record); }) != 0) {
        return errno;
    }
    if (record.f_blocks == 0) {
        return EOPNOTSUPP;
    }
    bytes = bytesOfBlocks(record.f_bavail, record.f_frsize != 0 ? record.f_frsize : record.f_bsize);
    return 0;
}

int folderWritability(const QByteArray& path, Writability& out) {
    FileDescriptor folder;
    if (const int error = path.isEmpty() ? ENOENT : openFolder(path, O_PATH, folder); error != 0) {
        return error;
    }
    const int answer = ::faccessat(folder.get(), ".", W_OK | X_OK, AT_EACCESS) == 0 ? 0 : errno;
    return writabilityOfAnswer(answer, out);
}

} // namespace VKPlatform
