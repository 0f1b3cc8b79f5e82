// Each function asks whether it is to fail and otherwise calls the next definition, the C library's.
#include "Support/FaultInjection.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#if defined(__has_feature)
#    if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#        define ALLOCATOR_IS_TAKEN 1
#    endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#    define ALLOCATOR_IS_TAKEN 1
#endif

namespace {

std::atomic<unsigned> gCalls = 0;
std::atomic<int> gCount = 0;
std::atomic<int> gNumber = -1;
std::atomic<int> gError = 0;
std::atomic<const char*> gFailed = nullptr;
std::atomic<std::size_t> gShortWrites = 0;
std::atomic<bool> gKernelCopiesNothing = false;

struct UnsupportedCall {
    std::atomic<const char*> name = nullptr;
    std::atomic<int> error = 0;
};
std::array<UnsupportedCall, 8> gUnsupported;

bool failsNow(unsigned group, const char* call) {
    if ((gCalls.load() & group) != 0 && gCount.fetch_add(1) == gNumber.load()) {
        gFailed = call;
        errno = gError.load();
        return true;
    }
    return false;
}

bool isUnsupported(const char* call) {
    for (const UnsupportedCall& entry : gUnsupported) {
        const char* const name = entry.name.load();
        if (name != nullptr && std::strcmp(name, call) == 0) {
            errno = entry.error.load();
            return true;
        }
    }
    return false;
}

bool fails(unsigned group, const char* call) { return isUnsupported(call) || failsNow(group, call); }

std::size_t shortened(std::size_t bytes) {
    const std::size_t limit = gShortWrites.load();
    return limit == 0 ? bytes : std::min(bytes, limit);
}

/// The definition after this program's own.
template <typename Function>
Function* following(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

} // namespace

// The bodies are alike: fail, or pass on.
#define PASS_ON(group, name, ...)                                                                            \
    static auto* const sNext = following<decltype(name)>(#name);                                             \
    return fails(Faults::group, #name) ? -1 : sNext(__VA_ARGS__)

extern "C" {

ssize_t write(int file, const void* bytes, std::size_t size) {
    PASS_ON(kContent, write, file, bytes, shortened(size));
}
ssize_t pwrite(int file, const void* bytes, std::size_t size, off_t offset) {
    PASS_ON(kContent, pwrite, file, bytes, shortened(size), offset);
}
ssize_t copy_file_range(int in, off64_t* from, int out, off64_t* to, std::size_t size, unsigned flags) {
    if (gKernelCopiesNothing) {
        return 0;
    }
    PASS_ON(kContent, copy_file_range, in, from, out, to, shortened(size), flags);
}
ssize_t sendfile(int out, int in, off_t* offset, std::size_t size) noexcept {
    if (gKernelCopiesNothing) {
        return 0;
    }
    PASS_ON(kContent, sendfile, out, in, offset, shortened(size));
}
int ftruncate(int file, off_t size) noexcept { PASS_ON(kContent, ftruncate, file, size); }
int fallocate(int file, int mode, off_t offset, off_t size) {
    PASS_ON(kContent, fallocate, file, mode, offset, size);
}
int ioctl(int file, unsigned long request, ...) noexcept {
    va_list list;
    va_start(list, request);
    void* const argument = va_arg(list, void*);
    va_end(list);
    PASS_ON(kContent, ioctl, file, request, argument);
}

int fsync(int file) { PASS_ON(kFlushes, fsync, file); }
int fdatasync(int file) { PASS_ON(kFlushes, fdatasync, file); }
int syncfs(int file) noexcept { PASS_ON(kFlushes, syncfs, file); }
int sync_file_range(int file, off64_t offset, off64_t size, unsigned flags) {
    PASS_ON(kFlushes, sync_file_range, file, offset, size, flags);
}

int link(const char* from, const char* to) noexcept { PASS_ON(kNames, link, from, to); }
int linkat(int fromFolder, const char* from, int toFolder, const char* to, int flags) noexcept {
    PASS_ON(kNames, linkat, fromFolder, from, toFolder, to, flags);
}
int symlink(const char* target, const char* path) noexcept { PASS_ON(kNames, symlink, target, path); }
int symlinkat(const char* target, int folder, const char* path) noexcept {
    PASS_ON(kNames, symlinkat, target, folder, path);
}
int rename(const char* from, const char* to) noexcept { PASS_ON(kNames, rename, from, to); }
int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept {
    PASS_ON(kNames, renameat, fromFolder, from, toFolder, to);
}
int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) noexcept {
    PASS_ON(kNames, renameat2, fromFolder, from, toFolder, to, flags);
}
int mkdir(const char* path, mode_t mode) noexcept { PASS_ON(kNames, mkdir, path, mode); }
int mkdirat(int folder, const char* path, mode_t mode) noexcept {
    PASS_ON(kNames, mkdirat, folder, path, mode);
}

int unlink(const char* path) noexcept { PASS_ON(kRemovals, unlink, path); }
int unlinkat(int folder, const char* path, int flags) noexcept {
    PASS_ON(kRemovals, unlinkat, folder, path, flags);
}
int rmdir(const char* path) noexcept { PASS_ON(kRemovals, rmdir, path); }

int chmod(const char* path, mode_t mode) noexcept { PASS_ON(kAttributes, chmod, path, mode); }
int fchmod(int file, mode_t mode) noexcept { PASS_ON(kAttributes, fchmod, file, mode); }
int fchmodat(int folder, const char* path, mode_t mode, int flags) noexcept {
    PASS_ON(kAttributes, fchmodat, folder, path, mode, flags);
}
int fchown(int file, uid_t user, gid_t group) noexcept { PASS_ON(kAttributes, fchown, file, user, group); }
int fchownat(int folder, const char* path, uid_t user, gid_t group, int flags) noexcept {
    PASS_ON(kAttributes, fchownat, folder, path, user, group, flags);
}
int lchown(const char* path, uid_t user, gid_t group) noexcept {
    PASS_ON(kAttributes, lchown, path, user, group);
}
int futimens(int file, const timespec times[2]) noexcept { PASS_ON(kAttributes, futimens, file, times); }
int utimensat(int folder, const char* path, const timespec times[2], int flags) noexcept {
    PASS_ON(kAttributes, utimensat, folder, path, times, flags);
}
int fsetxattr(int file, const char* name, const void* value, std::size_t size, int flags) noexcept {
    PASS_ON(kAttributes, fsetxattr, file, name, value, size, flags);
}
int fremovexattr(int file, const char* name) noexcept { PASS_ON(kAttributes, fremovexattr, file, name); }

int open(const char* path, int flags, ...) {
    va_list list;
    va_start(list, flags);
    const mode_t mode =
        (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(list, mode_t) : 0; // NOLINT: started above
    va_end(list);
    PASS_ON(kOpens, open, path, flags, mode);
}
int openat(int folder, const char* path, int flags, ...) {
    va_list list;
    va_start(list, flags);
    const mode_t mode =
        (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(list, mode_t) : 0; // NOLINT: started above
    va_end(list);
    PASS_ON(kOpens, openat, folder, path, flags, mode);
}

int close(int file) {
    static auto* const sNext = following<decltype(close)>("close");
    // The caller's descriptor is gone in any case, as with the kernel's own failures.
    const int result = sNext(file);
    return fails(Faults::kCloses, "close") ? -1 : result;
}

ssize_t read(int file, void* bytes, std::size_t size) { PASS_ON(kReads, read, file, bytes, size); }
ssize_t pread(int file, void* bytes, std::size_t size, off_t offset) {
    PASS_ON(kReads, pread, file, bytes, size, offset);
}
ssize_t readlink(const char* path, char* target, std::size_t size) noexcept {
    PASS_ON(kReads, readlink, path, target, size);
}
ssize_t readlinkat(int folder, const char* path, char* target, std::size_t size) noexcept {
    PASS_ON(kReads, readlinkat, folder, path, target, size);
}
int stat(const char* path, struct stat* record) noexcept { PASS_ON(kReads, stat, path, record); }
int lstat(const char* path, struct stat* record) noexcept { PASS_ON(kReads, lstat, path, record); }
int fstat(int file, struct stat* record) noexcept { PASS_ON(kReads, fstat, file, record); }
int fstatat(int folder, const char* path, struct stat* record, int flags) noexcept {
    PASS_ON(kReads, fstatat, folder, path, record, flags);
}
int statx(int folder, const char* path, int flags, unsigned mask, struct statx* record) noexcept {
    PASS_ON(kReads, statx, folder, path, flags, mask, record);
}
ssize_t flistxattr(int file, char* names, std::size_t size) noexcept {
    PASS_ON(kReads, flistxattr, file, names, size);
}
ssize_t fgetxattr(int file, const char* name, void* value, std::size_t size) noexcept {
    PASS_ON(kReads, fgetxattr, file, name, value, size);
}
off_t lseek(int file, off_t offset, int whence) noexcept { PASS_ON(kReads, lseek, file, offset, whence); }

long syscall(long number, ...) noexcept {
    va_list list;
    va_start(list, number);
    std::array<long, 6> arguments = {};
    for (long& argument : arguments) {
        argument = va_arg(list, long); // NOLINT: started above
    }
    va_end(list);
    static auto* const sNext = following<decltype(syscall)>("syscall");
    if (number == SYS_getdents64 && fails(Faults::kReads, "getdents64")) {
        return -1;
    }
    return sNext(number, arguments[0], arguments[1], arguments[2], arguments[3], arguments[4], arguments[5]);
}

#ifndef ALLOCATOR_IS_TAKEN
// The C library's own entry points behind malloc(), calloc() and realloc().
void* __libc_malloc(std::size_t);              // NOLINT
void* __libc_calloc(std::size_t, std::size_t); // NOLINT
void* __libc_realloc(void*, std::size_t);      // NOLINT

__attribute__((visibility("default"))) void* malloc(std::size_t bytes) {
    return failsNow(Faults::kAllocations, "malloc") ? nullptr : __libc_malloc(bytes);
}
__attribute__((visibility("default"))) void* calloc(std::size_t number, std::size_t bytes) {
    return failsNow(Faults::kAllocations, "calloc") ? nullptr : __libc_calloc(number, bytes);
}
__attribute__((visibility("default"))) void* realloc(void* block, std::size_t bytes) {
    return failsNow(Faults::kAllocations, "realloc") ? nullptr : __libc_realloc(block, bytes);
}
#endif

} // extern "C"

namespace Faults {

#ifdef ALLOCATOR_IS_TAKEN
const bool kAllocationsCanFail = false;
#else
const bool kAllocationsCanFail = true;
#endif

Armed::Armed(CallSet calls, int number, int error) noexcept {
    gCount = 0;
    gFailed = nullptr;
    gNumber = number;
    gError = error;
    gCalls = calls;
}

Armed::~Armed() { gCalls = 0; }

const char* failedCall() noexcept { return gFailed.load(); }

int countedCalls() noexcept { return gCount.load(); }

ShortWrites::ShortWrites(std::size_t bytes) noexcept { gShortWrites = bytes; }

ShortWrites::~ShortWrites() { gShortWrites = 0; }

KernelCopiesNothing::KernelCopiesNothing() noexcept { gKernelCopiesNothing = true; }

KernelCopiesNothing::~KernelCopiesNothing() { gKernelCopiesNothing = false; }

Unsupported::Unsupported(const char* call, int error) noexcept {
    for (UnsupportedCall& entry : gUnsupported) {
        if (entry.name.load() == nullptr) {
            entry.error = error;
            entry.name = call;
            mSlot = static_cast<std::size_t>(&entry - gUnsupported.data());
            return;
        }
    }
    std::abort();
}

Unsupported::~Unsupported() { gUnsupported[mSlot].name = nullptr; }

} // namespace Faults
