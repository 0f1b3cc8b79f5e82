// Loads the bus library and asks the portal.
#include "Platform/Linux/SessionBus.h"

#include "Platform/DocumentPortal.h"

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

SessionBusLibrary::SessionBusLibrary() {
    // Stays loaded for the next question.
    void* library = ::dlopen("libsystemd.so.0", RTLD_NOW | RTLD_LOCAL);
    isLoaded = library != nullptr && find(library, "sd_bus_open_user", openUser) &&
               find(library, "sd_bus_flush_close_unref", closeUnref) &&
               find(library, "sd_bus_message_new_method_call", newCall) &&
               find(library, "sd_bus_message_append", append) && find(library, "sd_bus_call", call) &&
               find(library, "sd_bus_error_free", freeError) &&
               find(library, "sd_bus_message_unref", unref) &&
               find(library, "sd_bus_message_enter_container", enter) &&
               find(library, "sd_bus_message_read_basic", readBasic) &&
               find(library, "sd_bus_message_read_array", readArray);
}

const SessionBusLibrary& sessionBusLibrary() {
    static const SessionBusLibrary& sLibrary = *new SessionBusLibrary;
    return sLibrary;
}

int PortalCall::open(const char* method) {
    sd_bus* bus = nullptr;
    if (!sessionBusLibrary().isLoaded || sessionBusLibrary().openUser(&bus) < 0) {
        return ENOTCONN;
    }
    mBus.reset(bus);
    sd_bus_message* call = nullptr;
    if (sessionBusLibrary().newCall(bus, &call, "org.freedesktop.portal.Documents",
                                    "/org/freedesktop/portal/documents", "org.freedesktop.portal.Documents",
                                    method) < 0) {
        return EIO;
    }
    mCall.reset(call);
    return 0;
}

int PortalCall::send(SessionMessage& answer) {
    sd_bus_error error = {};
    sd_bus_message* reply = nullptr;
    // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): a call is made by a loaded library only
    const int result = sessionBusLibrary().call(mBus.get(), mCall.get(), kPortalMicroseconds, &error, &reply);
    answer.reset(reply);
    int status = 0;
    if (result < 0) {
        status = error.name != nullptr ? errorOfDocumentPortal(QByteArrayView(error.name))
                                       : (result == -ETIMEDOUT ? ETIMEDOUT : ENOTCONN);
    }
    sessionBusLibrary().freeError(&error);
    return status;
}

} // namespace VKPlatform
