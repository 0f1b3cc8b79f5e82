// Reading and repeating interrupted calls, for the sources of this folder.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>

namespace VKPlatform {

/// Repeats a system call that a signal interrupted before it did anything.
template <typename Call>
auto retried(Call call) {
    auto result = call();
    while (result < 0 && errno == EINTR) {
        result = call();
    }
    return result;
}

/// Fills the buffer from the offset; `count` tells how much there was before the file's end. errno, 0 for
/// success.
[[nodiscard]] int readFullyAt(int file, std::int64_t offset, void* buffer, std::size_t size,
                              std::size_t& count);

} // namespace VKPlatform
