// FICLONE, copy_file_range, sendfile, read and write: each falls back to the next. Between two steps the
// watcher is asked, and the step follows the speed, so that a slow disk is asked as often as a fast one.
#include "Platform/Linux/ContentCopy.h"

#include "Platform/Linux/ReadAt.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/sendfile.h>
#include <unistd.h>

namespace VKPlatform {

namespace {

constexpr std::size_t kBufferBytes = std::size_t{256} * 1024;

/// Sizes in blocks are in units of 512 bytes, whatever the file system's own are.
constexpr std::int64_t kBlockBytes = 512;

/// A failure of the copy itself, which any other way would meet too.
bool isFinal(int error) {
    return error == ENOSPC || error == EDQUOT || error == EIO || error == EFBIG || error == ENOMEM;
}

/// A failure that every file of these two file systems will meet.
bool isLasting(int error) {
    return error == EXDEV || error == EOPNOTSUPP || error == ENOTTY || error == ENOSYS;
}

CopyMethod after(CopyMethod method) { return static_cast<CopyMethod>(static_cast<std::uint8_t>(method) + 1); }

int tell(CopyWatcher* watcher, std::int64_t bytes) {
    return watcher == nullptr ? 0 : watcher->copied(static_cast<std::uint64_t>(bytes));
}

} // namespace

int ContentCopier::copy(const FileDescriptor& from, const struct stat& record, const FileDescriptor& to,
                        std::uint64_t toDevice, CopyWatcher* watcher) {
    if (const int error = tell(watcher, 0); error != 0) {
        return error;
    }
    mUnknown = Pair();
    CopyMethod& remembered = toDevice == 0 ? mUnknown.method : methodFor(record.st_dev, toDevice);
    Job job = {.from = from.get(), .to = to.get(), .size = record.st_size, .watcher = watcher};
    job.method = remembered;
    if (job.size == 0) {
        // Nothing, or a file that the kernel makes up while it is read.
        job.method = CopyMethod::ByHand;
        return copyRange(job, 0, std::numeric_limits<std::int64_t>::max(), remembered);
    }
    if (job.method == CopyMethod::Clone) {
        const int error = cloneOrNot(job, remembered);
        if (error != 0 || job.method == CopyMethod::Clone) {
            return error;
        }
    }
    const bool hasHoles = record.st_blocks < (job.size + kBlockBytes - 1) / kBlockBytes;
    return hasHoles ? copyExtents(job, remembered) : copyRange(job, 0, job.size, remembered);
}

CopyMethod& ContentCopier::methodFor(std::uint64_t from, std::uint64_t to) {
    const auto found = std::find_if(mPairs.begin(), mPairs.end(), [from, to](const Pair& pair) {
        return pair.from == from && pair.to == to;
    });
    return found != mPairs.end() ? found->method : mPairs.emplace_back(Pair{.from = from, .to = to}).method;
}

/// Leaves the job's method at Clone when that was all there is to do.
int ContentCopier::cloneOrNot(Job& job, CopyMethod& remembered) {
    if (retried([&] { return ::ioctl(job.to, FICLONE, job.from); }) == 0) {
        return tell(job.watcher, job.size);
    }
    if (isFinal(errno)) {
        return errno;
    }
    job.method = CopyMethod::InKernel;
    if (isLasting(errno)) {
        remembered = CopyMethod::InKernel;
    }
    return 0;
}

int ContentCopier::copyExtents(Job& job, CopyMethod& remembered) {
    std::int64_t done = 0;
    while (done < job.size && !job.atEnd) {
        const off_t data = ::lseek(job.from, done, SEEK_DATA);
        if (data < 0 && errno == ENXIO) {
            break; // a hole up to the end
        }
        const off_t hole = data < 0 ? -1 : ::lseek(job.from, data, SEEK_HOLE);
        const bool known = data >= 0 && hole > data;
        // A file system that does not know its holes: everything is data.
        const std::int64_t begin = known ? std::int64_t{data} : done;
        const std::int64_t end = known ? std::min<std::int64_t>(hole, job.size) : job.size;
        if (begin >= job.size) {
            break;
        }
        // A hole is content that is there already.
        if (const int error = begin > done ? tell(job.watcher, begin - done) : 0; error != 0) {
            return error;
        }
        if (const int error = copyRange(job, begin, end, remembered); error != 0) {
            return error;
        }
        done = end;
    }
    if (done >= job.size || job.atEnd) {
        return 0;
    }
    return ::ftruncate(job.to, job.size) == 0 ? tell(job.watcher, job.size - done) : errno;
}

int ContentCopier::copyRange(Job& job, std::int64_t begin, std::int64_t end, CopyMethod& remembered) {
    using Clock = std::chrono::steady_clock;
    for (std::int64_t offset = begin; offset < end && !job.atEnd;) {
        const std::size_t size =
            static_cast<std::size_t>(std::min<std::int64_t>(end - offset, static_cast<std::int64_t>(mStep)));
        const Clock::time_point start = size == mStep ? Clock::now() : Clock::time_point();
        const std::int64_t done = transfer(job, offset, size);
        if (done < 0) {
            const int error = errno;
            if (isFinal(error) || job.method == CopyMethod::ByHand) {
                return error;
            }
            job.method = after(job.method);
            if (isLasting(error)) {
                remembered = std::max(remembered, job.method);
            }
            continue;
        }
        if (done == 0) {
            // The file is shorter than it was, or the kernel cannot tell its size: read what there is.
            job.atEnd = job.method == CopyMethod::ByHand;
            job.method = CopyMethod::ByHand;
            continue;
        }
        offset += done;
        if (size == mStep) {
            mStep = nextCopyStep(mStep, std::chrono::nanoseconds(Clock::now() - start).count());
        }
        if (const int error = tell(job.watcher, done); error != 0) {
            return error;
        }
    }
    return 0;
}

/// How much was copied, 0 at the source's end, -1 with errno.
std::int64_t ContentCopier::transfer(Job& job, std::int64_t offset, std::size_t size) {
    if (job.method == CopyMethod::InKernel) {
        off64_t in = offset;
        off64_t out = offset;
        return retried([&] { return ::copy_file_range(job.from, &in, job.to, &out, size, 0); });
    }
    if (job.method == CopyMethod::ByHand) {
        return transferByHand(job, offset, size);
    }
    if (job.position != offset && ::lseek(job.to, offset, SEEK_SET) != offset) {
        return -1;
    }
    off_t in = offset;
    const ssize_t sent = retried([&] { return ::sendfile(job.to, job.from, &in, size); });
    job.position = sent < 0 ? -1 : offset + sent;
    return sent;
}

std::int64_t ContentCopier::transferByHand(const Job& job, std::int64_t offset, std::size_t size) {
    if (mBuffer == nullptr) {
        mBuffer = std::make_unique_for_overwrite<char[]>(kBufferBytes);
    }
    const ssize_t got =
        retried([&] { return ::pread(job.from, mBuffer.get(), std::min(size, kBufferBytes), offset); });
    for (ssize_t written = 0; written < got;) {
        const ssize_t some = retried([&] {
            return ::pwrite(job.to, mBuffer.get() + written, static_cast<std::size_t>(got - written),
                            offset + written);
        });
        if (some <= 0) {
            errno = some == 0 ? ENOSPC : errno;
            return -1;
        }
        written += some;
    }
    return got;
}

} // namespace VKPlatform
