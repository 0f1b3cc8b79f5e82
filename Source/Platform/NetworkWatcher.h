// The kernel's own word that a route, a rule, an address or an interface has changed. Nothing is read again and again.
#pragma once

#include "Platform/FileDescriptor.h"

#include <cstdint>

namespace VKPlatform {

class NetworkWatcher {
public:
    enum class Event : std::uint8_t { Change, Wake, Broken };

    /// Starts to listen. `receiveBytes` is asked of the kernel for messages that are not read yet; 0 for its own
    /// choice. 0, or errno.
    [[nodiscard]] int open(int receiveBytes = 0);

    /// Waits, and takes all messages there are. When there were more than the kernel had room for, that is a change.
    /// One thread at a time.
    [[nodiscard]] Event wait();

    /// Ends a wait(), now or the next one. Any thread.
    void wake() noexcept;

private:
    FileDescriptor mMessages;
    FileDescriptor mWake;
};

} // namespace VKPlatform
