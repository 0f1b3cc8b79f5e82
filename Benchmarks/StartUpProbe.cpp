// The program that the start-up benchmark runs. Built twice: linking what the library links, and linking the
// library as well. It ends at once; asked with an argument, it first tells of the allocations made before
// main()
// ("allocations") or of the libraries in the process ("libraries").

#if defined(VKQT_PROBE_USES_LIBRARY)
#    include <VKQtSysInfo.h>
#endif

#include <link.h>

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <string_view>

// The C library's own allocator, under the names that it gives to those who wrap it.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" void* __libc_malloc(std::size_t) noexcept;
extern "C" void* __libc_calloc(std::size_t, std::size_t) noexcept;
extern "C" void* __libc_realloc(void*, std::size_t) noexcept;
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

namespace {

constinit std::atomic<long> gAllocations = 0;

int printLibrary(dl_phdr_info* info, std::size_t /*size*/, void* /*context*/) {
    std::puts(info->dlpi_name);
    return 0;
}

} // namespace

// Every allocation of the process comes through these: the dynamic linker prefers a program's own
// definitions.
extern "C" {
[[gnu::visibility("default")]] void* malloc(std::size_t size) noexcept {
    gAllocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(size);
}
[[gnu::visibility("default")]] void* calloc(std::size_t count, std::size_t size) noexcept {
    gAllocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_calloc(count, size);
}
[[gnu::visibility("default")]] void* realloc(void* old, std::size_t size) noexcept {
    gAllocations.fetch_add(1, std::memory_order_relaxed);
    return __libc_realloc(old, size);
}
}

int main(int argc, char** argv) {
    const long before = gAllocations.load(std::memory_order_relaxed);
    const std::string_view question = argc > 1 ? argv[1] : "";
    if (question == "allocations") {
        std::printf("%ld\n", before);
    } else if (question == "libraries") {
        dl_iterate_phdr(printLibrary, nullptr);
    }
#if defined(VKQT_PROBE_USES_LIBRARY)
    return VKQtSysInfo::isMacPlatform() && VKQtSysInfo::isWinPlatform() ? 1 : 0;
#else
    return 0;
#endif
}
