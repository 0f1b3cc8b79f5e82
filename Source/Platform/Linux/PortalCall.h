// One question to the document portal, on the user's message bus. Internal to this folder.
#pragma once

#include "Platform/Linux/BusLibrary.h"

namespace VKPlatform {

/// How long the portal is waited for: the bus may have to start it first.
inline constexpr std::uint64_t kPortalMicroseconds = 5'000'000;

class PortalCall {
public:
    /// ENOTCONN when there is no bus. errno, 0 for success.
    [[nodiscard]] int open(const char* method);

    /// For the library's sd_bus_message_append().
    [[nodiscard]] sd_bus_message* message() const { return mCall.get(); }

    /// 0 and the answer, or what errorOfDocumentPortal() makes of a refusal; ETIMEDOUT, ENOTCONN.
    [[nodiscard]] int send(BusMessage& answer);

private:
    Bus mBus;
    BusMessage mCall; // goes before the bus
};

} // namespace VKPlatform
