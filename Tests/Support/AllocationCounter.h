// Counts what the calling thread allocates, in programs that link AllocationCounter.cpp. Where a sanitizer owns
// the allocator nothing is counted: `kAvailable` is false there.
#pragma once

#include <cstddef>

class AllocationCounter {
public:
    static const bool kAvailable;

    /// Starts counting at 0. One counter at a time on each thread.
    AllocationCounter() noexcept;
    ~AllocationCounter();
    AllocationCounter(const AllocationCounter&) = delete;
    AllocationCounter& operator=(const AllocationCounter&) = delete;

    [[nodiscard]] int count() const noexcept;
    /// The largest number of bytes that was asked for at once.
    [[nodiscard]] std::size_t largest() const noexcept;
};

/// What a test that only counts starts with: it is skipped where nothing is counted. No failure in CI, which runs the test
/// without a sanitizer as well.
#define VKTEST_NEEDS_ALLOCATION_COUNTS()                                                                     \
    do {                                                                                                     \
        if (!AllocationCounter::kAvailable) {                                                                \
            QSKIP("a sanitizer owns the allocator");                                                         \
        }                                                                                                    \
    } while (false)
