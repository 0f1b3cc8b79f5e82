// System calls and allocations that fail when a test says so: the n-th from now on, with a chosen error. A test
// program that names the library VKTestFaults gets its own definitions of the C library's functions, which
// stand before the real ones for everything in the program, the framework included.
//
// A test of "whatever fails, nothing is lost" goes through all of them:
//
//     Faults::Loop faults(Faults::kChanges, ENOSPC);
//     while (faults.next()) {
//         prepare();
//         int error = 0;
//         {
//             const Faults::Armed armed = faults.arm();
//             error = theOperation();
//         }
//         // faults.wasMet(): a call failed, faults.failedCall() tells which ("linkat")
//     }
//     // Here the operation has run once without meeting a fault. faults.met() is the number that it did meet.
//
// Everything between arm() and the end of `armed` counts, on every thread. One loop at a time.
#pragma once

#include <QByteArray>

#include <cstddef>

namespace Faults {

/// Groups of calls; combine them with |.
enum Calls : unsigned {
    kContent = 1U << 0,  ///< write, pwrite, copy_file_range, sendfile, ftruncate, fallocate, ioctl
    kFlushes = 1U << 1,  ///< fsync, fdatasync, syncfs, sync_file_range
    kNames = 1U << 2,    ///< link, linkat, symlink, symlinkat, rename, renameat, renameat2, mkdir, mkdirat
    kRemovals = 1U << 3, ///< unlink, unlinkat, rmdir: also what cleans up, so some debris is to be expected
    kAttributes =
        1U << 4,       ///< fchmod, fchmodat, fchown, fchownat, lchown, futimens, utimensat, fsetxattr, ...
    kOpens = 1U << 5,  ///< open, openat
    kCloses = 1U << 6, ///< close: the file is closed all the same, as by the kernel
    kReads = 1U << 7,  ///< read, pread, readlink, readlinkat, fstat, fstatat, lstat, stat, statx, flistxattr,
                       ///< fgetxattr, lseek, syscall (getdents64)
    kAllocations = 1U << 8, ///< malloc, calloc, realloc: alone, and only where kAllocationsCanFail

    /// What storing and naming a file needs.
    kChanges = kContent | kFlushes | kNames | kAttributes,
};
using CallSet = unsigned;

/// False where a sanitizer owns the allocator.
extern const bool kAllocationsCanFail;

/// What a test of kAllocations starts with: it is skipped where there are none. No failure in CI, which runs the test
/// without a sanitizer as well.
#define VKTEST_NEEDS_ALLOCATION_FAULTS()                                                                     \
    do {                                                                                                     \
        if (!Faults::kAllocationsCanFail) {                                                                  \
            QSKIP("a sanitizer owns the allocator");                                                         \
        }                                                                                                    \
    } while (false)

/// While it lives, calls are counted and one may fail.
class Armed {
public:
    /// The call with this number, from 0, fails with `error`; a negative number: none does.
    Armed(CallSet calls, int number, int error) noexcept;
    Armed(const Armed&) = delete;
    Armed& operator=(const Armed&) = delete;
    ~Armed();
};

/// What the last Armed did: the name of the call that failed, or null; how many calls of the set there were.
[[nodiscard]] const char* failedCall() noexcept;
[[nodiscard]] int countedCalls() noexcept;

/// From the first call to the one that is not reached.
class Loop {
public:
    Loop(CallSet calls, int error) noexcept : mCalls(calls), mError(error) {}

    /// False once the operation has run without a fault.
    [[nodiscard]] bool next() noexcept {
        if (mNumber >= 0 && Faults::failedCall() == nullptr) {
            return false;
        }
        ++mNumber;
        return true;
    }

    [[nodiscard]] Armed arm() const noexcept { return {mCalls, mNumber, mError}; }
    [[nodiscard]] bool wasMet() const noexcept { return Faults::failedCall() != nullptr; }
    [[nodiscard]] QByteArray failedCall() const { return QByteArray(Faults::failedCall()); }

    /// How many faults the operation met so far, one in each round; after the loop all of them.
    [[nodiscard]] int met() const noexcept { return wasMet() ? mNumber + 1 : mNumber; }

private:
    CallSet mCalls;
    int mError;
    int mNumber = -1;
};

/// Writes of a file's content store at most so many bytes at once (0: as many as they can), while it lives.
class ShortWrites {
public:
    explicit ShortWrites(std::size_t bytes) noexcept;
    ShortWrites(const ShortWrites&) = delete;
    ShortWrites& operator=(const ShortWrites&) = delete;
    ~ShortWrites();
};

/// copy_file_range and sendfile say that the source has ended, as some kernels do of files whose size they do not know,
/// while it lives.
class KernelCopiesNothing {
public:
    KernelCopiesNothing() noexcept;
    KernelCopiesNothing(const KernelCopiesNothing&) = delete;
    KernelCopiesNothing& operator=(const KernelCopiesNothing&) = delete;
    ~KernelCopiesNothing();
};

/// Every such call fails with `error`, as on a file system that does not know it, while it lives.
class Unsupported {
public:
    /// `call` is a name such as "copy_file_range"; a literal.
    Unsupported(const char* call, int error) noexcept;
    Unsupported(const Unsupported&) = delete;
    Unsupported& operator=(const Unsupported&) = delete;
    ~Unsupported();

private:
    std::size_t mSlot = 0;
};

} // namespace Faults
