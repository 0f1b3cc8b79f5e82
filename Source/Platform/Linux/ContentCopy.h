// The content of one file into a new one, in the cheapest way that the two file systems know. Internal to this
// folder.
#pragma once

#include "Platform/FileCopy.h"
#include "Platform/FileDescriptor.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <sys/stat.h>
#include <vector>

namespace VKPlatform {

/// Ways to copy, best first. One that two file systems do not know is not tried for them again.
enum class CopyMethod : std::uint8_t {
    Clone,    ///< share the extents
    InKernel, ///< copy_file_range
    Send,     ///< sendfile
    ByHand,   ///< read and write
};

/// Remembers ways and speed from one file to the next; for one thread.
class ContentCopier {
public:
    /// Copies as much as the source has according to `record`, with its holes, into the empty file `to`.
    /// `toDevice` is where that lies, 0 when it is not known (then nothing is remembered). The watcher may be
    /// null. errno, or the watcher's answer.
    [[nodiscard]] int copy(const FileDescriptor& from, const struct stat& record, const FileDescriptor& to,
                           std::uint64_t toDevice, CopyWatcher* watcher);

private:
    struct Pair {
        std::uint64_t from = 0;
        std::uint64_t to = 0;
        CopyMethod method = CopyMethod::Clone;
    };

    /// The file at hand.
    struct Job {
        int from = -1;
        int to = -1;
        std::int64_t size = 0;
        CopyWatcher* watcher = nullptr;
        CopyMethod method = CopyMethod::Clone;
        std::int64_t position = 0; ///< where sendfile would write
        bool atEnd = false;        ///< the source has no more, whatever was said before
    };

    [[nodiscard]] CopyMethod& methodFor(std::uint64_t from, std::uint64_t to);
    [[nodiscard]] int cloneOrNot(Job& job, CopyMethod& remembered);
    [[nodiscard]] int copyExtents(Job& job, CopyMethod& remembered);
    [[nodiscard]] int copyRange(Job& job, std::int64_t begin, std::int64_t end, CopyMethod& remembered);
    [[nodiscard]] std::int64_t transfer(Job& job, std::int64_t offset, std::size_t size);
    [[nodiscard]] std::int64_t transferByHand(const Job& job, std::int64_t offset, std::size_t size);

    std::vector<Pair> mPairs;
    Pair mUnknown;
    std::size_t mStep = kFirstCopyStep;
    std::unique_ptr<char[]> mBuffer;
};

} // namespace VKPlatform
