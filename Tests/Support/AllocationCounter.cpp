// Stands before the C library's allocator: everything in the program comes through here, the framework too.
#include "Support/AllocationCounter.h"

#if defined(__has_feature)
#    if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer)
#        define ALLOCATOR_IS_TAKEN 1
#    endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#    define ALLOCATOR_IS_TAKEN 1
#endif

namespace {

thread_local bool gCounting = false;
thread_local int gCount = 0;
thread_local std::size_t gLargest = 0;

#ifndef ALLOCATOR_IS_TAKEN
void note(std::size_t bytes) {
    if (gCounting) {
        ++gCount;
        gLargest = bytes > gLargest ? bytes : gLargest;
    }
}
#endif

} // namespace

#ifdef ALLOCATOR_IS_TAKEN
const bool AllocationCounter::kAvailable = false;
#else
const bool AllocationCounter::kAvailable = true;

extern "C" {
// The C library's own entry points behind malloc(), calloc() and realloc().
void* __libc_malloc(std::size_t);              // NOLINT
void* __libc_calloc(std::size_t, std::size_t); // NOLINT
void* __libc_realloc(void*, std::size_t);      // NOLINT

__attribute__((visibility("default"))) void* malloc(std::size_t bytes) {
    note(bytes);
    return __libc_malloc(bytes);
}

__attribute__((visibility("default"))) void* calloc(std::size_t number, std::size_t bytes) {
    note(number * bytes);
    return __libc_calloc(number, bytes);
}

__attribute__((visibility("default"))) void* realloc(void* block, std::size_t bytes) {
    note(bytes);
    return __libc_realloc(block, bytes);
}
}
#endif

AllocationCounter::AllocationCounter() noexcept {
    gCount = 0;
    gLargest = 0;
    gCounting = true;
}

AllocationCounter::~AllocationCounter() { gCounting = false; }

int AllocationCounter::count() const noexcept { return gCount; }

std::size_t AllocationCounter::largest() const noexcept { return gLargest; }
