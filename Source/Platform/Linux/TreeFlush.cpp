// syncfs(), from the kernel on (5.8) that tells its failures: the same that tells mounts apart.
#include "Platform/Linux/TreeFlush.h"
#include "Platform/Linux/ReadAt.h"

#include <cerrno>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>
#include <utility>

namespace VKPlatform {

namespace {

constexpr std::uint64_t kFlushEveryBytes = std::uint64_t{16} << 20;

} // namespace

bool flushesAsAWhole(std::int64_t fileSystemType) noexcept {
    switch (fileSystemType) {
    case EXT4_SUPER_MAGIC: // ext2 and ext3 too
    case XFS_SUPER_MAGIC:
    case BTRFS_SUPER_MAGIC:
    case TMPFS_MAGIC:
        return true;
    default:
        return false;
    }
}

bool TreeFlush::begin(const FileDescriptor& folder) {
    FileDescriptor readable(::openat(folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct statfs record;
    Identity identity;
    if (!readable.isOpen() || ::fstatfs(readable.get(), &record) != 0 ||
        !flushesAsAWhole(static_cast<std::int64_t>(record.f_type)) ||
        identityOf(readable, QByteArray(), identity) != 0 || identity.mount == 0) {
        return false;
    }
    mFolder = std::move(readable);
    return true;
}

int TreeFlush::copied(std::uint64_t bytes) {
    if (const int answer = mWatcher == nullptr ? 0 : mWatcher->copied(bytes); answer != 0) {
        return answer;
    }
    mWaiting += bytes;
    if (!mFolder.isOpen() || mWaiting < kFlushEveryBytes) {
        return 0;
    }
    mWaiting = 0;
    return flush();
}

int TreeFlush::flush() const {
    return !mFolder.isOpen() || retried([this] { return ::syncfs(mFolder.get()); }) == 0 ? 0 : errno;
}

} // namespace VKPlatform
