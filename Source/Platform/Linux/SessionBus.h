// The user's message bus, as far as the document portal needs it, through the bus library of systemd. The library
// is loaded by the first call: most programs never ask, and their start must not pay for it. Internal to this
// folder.
#pragma once

#include <QByteArray>

#include <cstdint>
#include <memory>
#include <systemd/sd-bus.h>

namespace VKPlatform {

/// The functions of the bus library that are used here.
struct SessionBusLibrary {
    decltype(&sd_bus_open_user) openUser = nullptr;
    decltype(&sd_bus_flush_close_unref) closeUnref = nullptr;
    decltype(&sd_bus_message_new_method_call) newCall = nullptr;
    decltype(&sd_bus_message_append) append = nullptr;
    decltype(&sd_bus_call) call = nullptr;
    decltype(&sd_bus_error_free) freeError = nullptr;
    decltype(&sd_bus_message_unref) unref = nullptr;
    decltype(&sd_bus_message_enter_container) enter = nullptr;
    decltype(&sd_bus_message_read_basic) readBasic = nullptr;
    decltype(&sd_bus_message_read_array) readArray = nullptr;
    bool isLoaded = false;

    SessionBusLibrary();
};

[[nodiscard]] const SessionBusLibrary& sessionBusLibrary();

struct CloseSessionBus {
    // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): a bus is opened by a loaded library only
    void operator()(sd_bus* bus) const { sessionBusLibrary().closeUnref(bus); }
    // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): and so is a message made
    void operator()(sd_bus_message* message) const { sessionBusLibrary().unref(message); }
};
using SessionBus = std::unique_ptr<sd_bus, CloseSessionBus>;
using SessionMessage = std::unique_ptr<sd_bus_message, CloseSessionBus>;

/// How long the portal is waited for: the bus may have to start it first.
inline constexpr std::uint64_t kPortalMicroseconds = 5'000'000;

/// One question to the document portal.
class PortalCall {
public:
    /// ENOTCONN when there is no bus. errno, 0 for success.
    [[nodiscard]] int open(const char* method);

    /// For the library's sd_bus_message_append().
    [[nodiscard]] sd_bus_message* message() const { return mCall.get(); }

    /// 0 and the answer, or what errorOfDocumentPortal() makes of a refusal; ETIMEDOUT, ENOTCONN.
    [[nodiscard]] int send(SessionMessage& answer);

private:
    SessionBus mBus;
    SessionMessage mCall; // goes before the bus
};

} // namespace VKPlatform
