// Finds the functions of the bus library, opens a bus and sends.
#include "Platform/Linux/BusLibrary.h"

#include <cerrno>
#include <dlfcn.h>

namespace VKPlatform {

namespace {

template <typename Function>
bool find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(::dlsym(library, name));
    return function != nullptr;
}

} // namespace

BusLibrary::BusLibrary() {
    void* library = ::dlopen("libsystemd.so.0", RTLD_NOW | RTLD_LOCAL);
    isLoaded =
        library != nullptr && find(library, "sd_bus_open_system", openSystem) &&
        find(library, "sd_bus_open_user", openUser) &&
        find(library, "sd_bus_flush_close_unref", closeUnref) &&
        find(library, "sd_bus_message_new_method_call", newCall) &&
        find(library, "sd_bus_message_set_auto_start", setAutoStart) &&
        find(library, "sd_bus_message_set_allow_interactive_authorization", setInteractive) &&
        find(library, "sd_bus_message_append", append) && find(library, "sd_bus_call", call) &&
        find(library, "sd_bus_error_free", freeError) && find(library, "sd_bus_message_unref", unref) &&
        find(library, "sd_bus_message_enter_container", enter) &&
        find(library, "sd_bus_message_exit_container", exit) &&
        find(library, "sd_bus_message_peek_type", peekType) &&
        find(library, "sd_bus_message_read_basic", readBasic) &&
        find(library, "sd_bus_message_read_array", readArray) && find(library, "sd_bus_message_skip", skip);
}

const BusLibrary& busLibrary() {
    static const BusLibrary& sLibrary = *new BusLibrary;
    return sLibrary;
}

Bus openBus(BusOwner owner) {
    const BusLibrary& library = busLibrary();
    if (!library.isLoaded) {
        return nullptr;
    }
    sd_bus* bus = nullptr;
    const int result = owner == BusOwner::System ? library.openSystem(&bus) : library.openUser(&bus);
    return result < 0 ? nullptr : Bus(bus);
}

BusMessage newBusCall(const Bus& bus, const BusMethod& method) {
    sd_bus_message* message = nullptr;
    // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): a bus is opened by a loaded library only
    const int result = busLibrary().newCall(bus.get(), &message, method.service, method.object,
                                            method.interface, method.member);
    return result < 0 ? nullptr : BusMessage(message);
}

int sendBusCall(const Bus& bus, const BusMessage& call, std::uint64_t microseconds, ErrorOfRefusal errorOf,
                BusMessage& reply) {
    sd_bus_error error = {};
    sd_bus_message* answer = nullptr;
    // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): a bus is opened by a loaded library only
    const int result = busLibrary().call(bus.get(), call.get(), microseconds, &error, &answer);
    reply.reset(answer);
    int status = 0;
    if (result < 0) {
        status = error.name != nullptr ? errorOf(QByteArrayView(error.name))
                                       : (result == -ETIMEDOUT ? ETIMEDOUT : ENOTCONN);
    }
    busLibrary().freeError(&error);
    return status;
}

} // namespace VKPlatform
