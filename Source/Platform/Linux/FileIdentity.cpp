// statx and name_to_handle_at on one open item, so that both speak of the same one.
#include "Platform/FileIdentity.h"

#include "Platform/FileDescriptor.h"
#include "Platform/Linux/OpenPath.h"
#include "Platform/Linux/Place.h"
#include "Platform/Linux/StatxDetails.h"
#include "Platform/WholeFile.h"

#include <QStringBuilder>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace VKPlatform {

namespace {

/// The mount's number that is never given out again, in Linux 6.8 and later; the headers of Debian 12 do not
/// have it yet.
constexpr unsigned kUniqueMountId = 0x4000U;

constexpr std::uint64_t kBootIdLimit = 64;

const QByteArray& bootId() {
    // Never destroyed: threads may ask while the program ends.
    static const QByteArray& sBoot = *[] {
        auto* const text = new QByteArray;
        if (readWholeFile("/proc/sys/kernel/random/boot_id", kBootIdLimit, *text) == 0) {
            *text = text->trimmed();
        }
        return text;
    }();
    return sBoot;
}

int openItem(const QByteArray& path, FileDescriptor& out) {
    constexpr int kFlags = O_PATH | O_NOFOLLOW | O_CLOEXEC;
    if (path.isEmpty()) {
        return ENOENT;
    }
    if (path.size() < PATH_MAX) {
        out = FileDescriptor(::open(path.constData(), kFlags));
        return out.isOpen() ? 0 : errno;
    }
    Place place;
    if (const int error = openPlace(path, place); error != 0) {
        return error;
    }
    out = FileDescriptor(::openat(place.folder.get(), place.name.constData(), kFlags));
    return out.isOpen() ? 0 : errno;
}

FileTime timeOf(const statx_timestamp& time) { return {time.tv_sec, time.tv_nsec}; }

/// A handle with room for the longest one.
struct HandleRoom {
    alignas(file_handle) std::array<std::byte, sizeof(file_handle) + kMostHandleBytes> bytes = {};

    file_handle* handle() { return reinterpret_cast<file_handle*>(bytes.data()); }
};

void readHandle(const FileDescriptor& item, FileIdentity& out) {
    HandleRoom room;
    file_handle* const handle = room.handle();
    handle->handle_bytes = kMostHandleBytes;
    int mount = 0;
    if (::name_to_handle_at(item.get(), "", handle, &mount, AT_EMPTY_PATH) != 0) {
        return; // a file system without handles
    }
    out.handleType = handle->handle_type;
    out.handle = QByteArray(reinterpret_cast<const char*>(handle->f_handle),
                            std::min<qsizetype>(handle->handle_bytes, kMostHandleBytes));
}

} // namespace

int identify(const QByteArray& path, FileIdentity& out) {
    constexpr unsigned kWanted = STATX_TYPE | STATX_INO | STATX_SIZE | STATX_MTIME | STATX_BTIME;
    FileDescriptor item;
    if (const int error = openItem(path, item); error != 0) {
        return error;
    }
    struct statx record;
    if (::statx(item.get(), "", AT_EMPTY_PATH | AT_STATX_DONT_SYNC, kWanted | kUniqueMountId, &record) != 0) {
        return errno;
    }
    out = FileIdentity();
    out.kind = kindOfMode(record.stx_mode);
    out.inode = record.stx_ino;
    out.sizeBytes = record.stx_size;
    out.modified = timeOf(record.stx_mtime);
    if ((record.stx_mask & STATX_BTIME) != 0) {
        out.born = timeOf(record.stx_btime);
    }
    if ((record.stx_mask & kUniqueMountId) != 0) {
        out.mountId = record.stx_mnt_id;
        out.boot = bootId();
    }
    readHandle(item, out);
    return 0;
}

IdentityScope scopeOf(const QByteArray& path) {
    FileDescriptor item;
    struct statfs record;
    if (openItem(path, item) != 0 || ::fstatfs(item.get(), &record) != 0) {
        return IdentityScope::Mount;
    }
    return scopeOfMagic(static_cast<std::uint32_t>(record.f_type));
}

QByteArray pathWithoutLinks(const QByteArray& path) {
    FileDescriptor item;
    return openItem(path, item) == 0 ? pathOfOpen(item) : QByteArray();
}

QByteArray pathOfOpen(const FileDescriptor& item) {
    std::array<char, PATH_MAX> target = {};
    const QByteArray link = "/proc/self/fd/" + QByteArray::number(item.get());
    const ssize_t size = ::readlink(link.constData(), target.data(), target.size());
    // A path as long as the room may have been cut.
    if (size <= 0 || size == static_cast<ssize_t>(target.size()) || target.front() != '/') {
        return QByteArray();
    }
    return QByteArray(target.data(), size);
}

} // namespace VKPlatform
