// Opening without side effects, copying, checking that the source stood still where that matters.
#include "Platform/Linux/CopyItem.h"

#include "Platform/Linux/ReadAt.h"

#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace VKPlatform {

namespace {

bool isSame(const struct stat& before, const struct stat& now) {
    return before.st_size == now.st_size && before.st_mtim.tv_sec == now.st_mtim.tv_sec &&
           before.st_mtim.tv_nsec == now.st_mtim.tv_nsec;
}

/// Of a file system that has nothing to flush.
bool isUnknownCall(int error) {
    return error == EINVAL || error == ENOSYS || error == EROFS || error == ENOTSUP;
}

/// Sends what has come together on its way to the disk, and waits for what went before it: at the end it would all have
/// to be written at once, where nobody who cancels is heard. No flush: that comes at the end all the same.
class PacingWatcher final : public CopyWatcher {
public:
    PacingWatcher(int file, CopyWatcher* watcher) : mFile(file), mWatcher(watcher) {}

    int copied(std::uint64_t bytes) override {
        if (const int answer = mWatcher == nullptr ? 0 : mWatcher->copied(bytes); answer != 0) {
            return answer;
        }
        mCopied += static_cast<std::int64_t>(bytes);
        if (mCopied - mSent < kPaceBytes) {
            return 0;
        }
        const std::int64_t before = std::exchange(mSent, mCopied);
        int error = write(before, mSent, SYNC_FILE_RANGE_WRITE);
        if (error == 0 && before > mWritten) {
            error = write(mWritten, before,
                          SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE | SYNC_FILE_RANGE_WAIT_AFTER);
        }
        mWritten = before;
        return error;
    }

private:
    static constexpr std::int64_t kPaceBytes = kLargestCopyStep;

    /// A failure to store is told once only, so that it must not be passed over here.
    [[nodiscard]] int write(std::int64_t begin, std::int64_t end, unsigned flags) const {
        if (retried([&] { return ::sync_file_range(mFile, begin, end - begin, flags); }) == 0) {
            return 0;
        }
        return isUnknownCall(errno) || errno == ESPIPE || errno == EPERM ? 0 : errno;
    }

    int mFile;
    CopyWatcher* mWatcher;
    std::int64_t mCopied = 0;
    std::int64_t mSent = 0;    // on its way
    std::int64_t mWritten = 0; // waited for
};

} // namespace

int openSource(int folder, const char* name, CopySource& out) {
    // O_NONBLOCK: a fifo that took the file's place meanwhile is not waited for.
    FileDescriptor file(retried(
        [&] { return ::openat(folder, name, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY); }));
    if (!file.isOpen()) {
        return errno == ENXIO ? EOPNOTSUPP : errno; // ENXIO: a socket
    }
    if (::fstat(file.get(), &out.record) != 0) {
        return errno;
    }
    if (!S_ISREG(out.record.st_mode)) {
        return S_ISDIR(out.record.st_mode) ? EISDIR : EOPNOTSUPP;
    }
    out.file = std::move(file);
    return 0;
}

int copyInto(ContentCopier& copier, const CopySource& source, const CopyTarget& target, CopyRules rules,
             CopyWatcher* watcher) {
    const int to = target.file.get();
    PacingWatcher pacing(to, watcher);
    CopyWatcher* const follower = rules.flush == CopyFlush::Leave ? watcher : &pacing;
    if (const int error = copier.copy(source.file, source.record, target.file, target.device, follower);
        error != 0) {
        return error;
    }
    std::vector<Attribute> attributes;
    if (const int error = readAttributes(source.file.get(), attributes); error != 0) {
        return error;
    }
    if (const int error = copyMetadata(to, source.record, attributes, target.inherited, rules.owner);
        error != 0) {
        return error;
    }
    if (rules.flush != CopyFlush::ToDisk) {
        return 0;
    }
    struct stat now;
    if (::fstat(source.file.get(), &now) != 0) {
        return errno;
    }
    return isSame(source.record, now) ? flushToDisk(to) : EBUSY;
}

int copyLink(int fromFolder, const char* name, int toFolder, const char* newName, CopyOwner owner) {
    struct stat record;
    if (::fstatat(fromFolder, name, &record, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno;
    }
    std::array<char, PATH_MAX> target; // the kernel makes no longer ones
    const ssize_t size = ::readlinkat(fromFolder, name, target.data(), target.size() - 1);
    if (size < 0) {
        return errno;
    }
    target[static_cast<std::size_t>(size)] = '\0';
    if (::symlinkat(target.data(), toFolder, newName) != 0) {
        return errno;
    }
    const int error = copyLinkMetadata(toFolder, newName, record, owner);
    if (error != 0) {
        ::unlinkat(toFolder, newName, 0);
    }
    return error;
}

int flushToDisk(int file) {
    if (retried([&] { return ::fsync(file); }) == 0) {
        return 0;
    }
    return isUnknownCall(errno) ? 0 : errno;
}

int flushFolder(const FileDescriptor& folder) {
    const FileDescriptor readable(::openat(folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!readable.isOpen()) {
        return errno == EACCES ? 0 : errno;
    }
    return flushToDisk(readable.get());
}

} // namespace VKPlatform
