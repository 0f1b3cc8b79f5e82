// Positioned reads, so that one descriptor serves every reader.
#include "Platform/ReadableFile.h"
#include "Platform/Linux/ReadAt.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace VKPlatform {

int readFullyAt(int file, std::int64_t offset, void* buffer, std::size_t size, std::size_t& count) {
    char* to = static_cast<char*>(buffer);
    count = 0;
    while (count < size) {
        const auto at = offset + static_cast<std::int64_t>(count);
        const ssize_t got = retried([&] { return ::pread(file, to + count, size - count, at); });
        if (got <= 0) {
            return got < 0 ? errno : 0;
        }
        count += static_cast<std::size_t>(got);
    }
    return 0;
}

int ReadableFile::open(const QByteArray& path) {
    // Without O_NONBLOCK opening a fifo waits for a writer; a regular file does not know the difference.
    FileDescriptor file(
        retried([&] { return ::open(path.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY); }));
    if (!file.isOpen()) {
        return errno == ENXIO ? EOPNOTSUPP : errno; // ENXIO: a socket, or a device that is not there
    }
    struct stat record;
    if (::fstat(file.get(), &record) != 0) {
        return errno;
    }
    if (!S_ISREG(record.st_mode)) {
        return S_ISDIR(record.st_mode) ? EISDIR : EOPNOTSUPP;
    }
    mFile = std::move(file);
    mSize = record.st_size;
    return 0;
}

int ReadableFile::readAt(std::int64_t offset, void* buffer, std::size_t size, std::size_t& count) const {
    return readFullyAt(mFile.get(), offset, buffer, size, count);
}

} // namespace VKPlatform
