// The system's own word that something was mounted or unmounted, or that the mount program has noted options of a
// user for it, which it does a moment after. Nothing is read again and again. One thread at a time.
#pragma once

#include <memory>

struct libmnt_monitor;

namespace VKPlatform {

class MountWatcher {
public:
    MountWatcher() noexcept = default;

    /// Starts to watch the mounts that this process sees. 0, or errno.
    [[nodiscard]] int open();

    /// The descriptor that becomes readable after a change and stays so until acknowledge(). -1 before open().
    /// Stays the watcher's own; nothing is to be read from it.
    [[nodiscard]] int descriptor() const noexcept { return mDescriptor; }

    /// Takes note of all changes so far. To be called before the mount table is read again.
    void acknowledge() const;

    /// Waits for a change, so many milliseconds at most, -1 for ever, and acknowledges it. Whether there was one.
    [[nodiscard]] bool wait(int milliseconds) const;

private:
    struct Unreference {
        void operator()(libmnt_monitor* monitor) const;
    };

    std::unique_ptr<libmnt_monitor, Unreference> mMonitor;
    int mDescriptor = -1;
};

} // namespace VKPlatform
