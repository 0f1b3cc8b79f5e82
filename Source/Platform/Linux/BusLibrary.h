// The message buses, through the bus library of systemd. The library is loaded by the first question: most
// programs never ask, and their start must not pay for it. Internal to this folder. Any thread.
#pragma once

#include <QByteArrayView>

#include <cstdint>
#include <memory>
#include <systemd/sd-bus.h>

namespace VKPlatform {

/// The functions of the bus library that are used here; all are null when it cannot be loaded.
struct BusLibrary {
    decltype(&sd_bus_open_system) openSystem = nullptr;
    decltype(&sd_bus_open_user) openUser = nullptr;
    decltype(&sd_bus_flush_close_unref) closeUnref = nullptr;
    decltype(&sd_bus_message_new_method_call) newCall = nullptr;
    decltype(&sd_bus_message_set_auto_start) setAutoStart = nullptr;
    decltype(&sd_bus_message_set_allow_interactive_authorization) setInteractive = nullptr;
    decltype(&sd_bus_message_append) append = nullptr;
    decltype(&sd_bus_call) call = nullptr;
    decltype(&sd_bus_error_free) freeError = nullptr;
    decltype(&sd_bus_message_unref) unref = nullptr;
    decltype(&sd_bus_message_enter_container) enter = nullptr;
    decltype(&sd_bus_message_exit_container) exit = nullptr;
    decltype(&sd_bus_message_peek_type) peekType = nullptr;
    decltype(&sd_bus_message_read_basic) readBasic = nullptr;
    decltype(&sd_bus_message_read_array) readArray = nullptr;
    decltype(&sd_bus_message_skip) skip = nullptr;
    bool isLoaded = false;

    BusLibrary();
};

/// Loaded by the first call, and for good: threads that wait for an answer may outlive everything else.
[[nodiscard]] const BusLibrary& busLibrary();

struct CloseBus {
    // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): a bus is opened by a loaded library only
    void operator()(sd_bus* bus) const { busLibrary().closeUnref(bus); }
    // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): and so is a message made
    void operator()(sd_bus_message* message) const { busLibrary().unref(message); }
};
using Bus = std::unique_ptr<sd_bus, CloseBus>;
using BusMessage = std::unique_ptr<sd_bus_message, CloseBus>;

enum class BusOwner : std::uint8_t { System, User };

/// What is called.
struct BusMethod {
    const char* service;
    const char* object;
    const char* interface;
    const char* member;
};

/// A connection of the caller's own; null when there is no bus.
[[nodiscard]] Bus openBus(BusOwner owner);

/// A call without arguments yet (see BusLibrary::append); null where a name is no name.
[[nodiscard]] BusMessage newBusCall(const Bus& bus, const BusMethod& method);

/// The errno for the name of a refusal.
using ErrorOfRefusal = int (*)(QByteArrayView name);

/// Sends a call and waits for the reply: 0 and the reply, the errno of the refusal, ETIMEDOUT, or ENOTCONN when
/// the bus went away.
[[nodiscard]] int sendBusCall(const Bus& bus, const BusMessage& call, std::uint64_t microseconds,
                              ErrorOfRefusal errorOf, BusMessage& reply);

} // namespace VKPlatform
