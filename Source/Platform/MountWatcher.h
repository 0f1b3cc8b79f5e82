// The kernel's own word that the mount table has changed. Nothing is read again and again.
#pragma once

#include "Platform/FileDescriptor.h"

namespace VKPlatform {

class MountWatcher {
public:
    MountWatcher() noexcept = default;

    /// Starts to watch the mounts that this process sees. 0, or errno.
    [[nodiscard]] int open();

    /// The descriptor that poll() reports POLLPRI for, once for all changes since it was asked last; a select
    /// loop sees an exception. -1 before open(). Stays the watcher's own.
    [[nodiscard]] int descriptor() const noexcept { return mTable.get(); }

    /// Whether something has changed since the last time; waits up to so many milliseconds, -1 for ever.
    [[nodiscard]] bool wait(int milliseconds) const;

private:
    FileDescriptor mTable;
};

} // namespace VKPlatform
