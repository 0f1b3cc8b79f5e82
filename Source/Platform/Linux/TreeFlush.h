// One flush for all files of a tree, where the file system has one that can be relied on: for thousands of small
// files that is cheaper by far than a flush of each. Internal to this folder.
#pragma once

#include "Platform/FileCopy.h"
#include "Platform/Linux/Place.h"

#include <cstdint>

namespace VKPlatform {

/// Whether one flush puts everything on the disk and tells what it could not, by the number of the file system's
/// type. File systems in user space and of networks do not: there each file is flushed by itself. Pure.
[[nodiscard]] bool flushesAsAWhole(std::int64_t fileSystemType) noexcept;

/// Follows a copy to a file system and flushes what has come together, so that neither much of it waits in memory
/// nor a person who cancels for long. Asks the other watcher (may be null) as if it were not there.
class TreeFlush final : public CopyWatcher {
public:
    explicit TreeFlush(CopyWatcher* watcher) : mWatcher(watcher) {}

    /// Before the first write, so that no failure of one is missed. False when each file is to be flushed.
    [[nodiscard]] bool begin(const FileDescriptor& folder);

    [[nodiscard]] int copied(std::uint64_t bytes) override;

    /// All that was written is on the disk then. errno.
    [[nodiscard]] int flush() const;

private:
    CopyWatcher* mWatcher;
    FileDescriptor mFolder;
    std::uint64_t mWaiting = 0;
};

} // namespace VKPlatform
