// Item details through statx, which alone knows the birth time.
#include "Platform/FileFacts.h"
#include "Platform/Linux/StatxDetails.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace VKPlatform {

namespace {

std::optional<std::int64_t> milliseconds(const statx_timestamp& time) {
    std::int64_t result = 0;
    // tmpfs stores any 64-bit second, so that a file may claim a time that no millisecond count reaches.
    if (__builtin_mul_overflow(std::int64_t{time.tv_sec}, std::int64_t{1000}, &result) ||
        __builtin_add_overflow(result, std::int64_t{time.tv_nsec / 1000000}, &result)) {
        return std::nullopt;
    }
    return result;
}

// Zero is what tools leave that write an image of a file system without a word about births.
bool isRecordedBirth(const struct statx& record) {
    return (record.stx_mask & STATX_BTIME) != 0 &&
           (record.stx_btime.tv_sec != 0 || record.stx_btime.tv_nsec != 0);
}

} // namespace

FileKind kindOfMode(unsigned mode) {
    switch (mode & S_IFMT) {
    case S_IFREG:
        return FileKind::File;
    case S_IFDIR:
        return FileKind::Folder;
    case S_IFLNK:
        return FileKind::Link;
    default:
        return FileKind::Special;
    }
}

int statxDetails(int folder, const char* name, LinkRule links, FileDetails& out) {
    constexpr unsigned kWanted = STATX_TYPE | STATX_SIZE | STATX_MTIME | STATX_BTIME;
    const int flags =
        AT_STATX_DONT_SYNC | AT_NO_AUTOMOUNT | (links == LinkRule::Keep ? AT_SYMLINK_NOFOLLOW : 0);
    struct statx record;
    if (::statx(folder, name, flags, kWanted, &record) != 0) {
        return errno;
    }
    out.kind = kindOfMode(record.stx_mode);
    out.sizeBytes = static_cast<std::int64_t>(record.stx_size);
    out.modifiedMs = (record.stx_mask & STATX_MTIME) != 0 ? milliseconds(record.stx_mtime) : std::nullopt;
    out.createdMs = isRecordedBirth(record) ? milliseconds(record.stx_btime) : std::nullopt;
    return 0;
}

int fileDetails(const QByteArray& path, LinkRule links, FileDetails& out) {
    return statxDetails(AT_FDCWD, path.constData(), links, out);
}

int fileExists(const QByteArray& path) {
    struct stat record;
    return ::lstat(path.constData(), &record) == 0 ? 0 : errno;
}

} // namespace VKPlatform
