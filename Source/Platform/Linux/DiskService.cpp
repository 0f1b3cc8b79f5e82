// UDisks2 through the bus library of systemd, which is loaded when a question is asked for the first time:
// most programs never ask, and their start must not pay for it.
#include "Platform/DiskService.h"

#include "Platform/BoundedQuestion.h"

#include <cerrno>
#include <cstring>
#include <dlfcn.h>
#include <memory>
#include <systemd/sd-bus.h>

namespace VKPlatform {

namespace {

constexpr char kService[] = "org.freedesktop.UDisks2";
constexpr char kPrefix[] = "org.freedesktop.UDisks2.";
constexpr std::uint64_t kQuestionMicroseconds = std::chrono::microseconds(kPatience).count();
/// Unmounting ends when it ends.
constexpr std::uint64_t kForEver = UINT64_MAX;

/// The functions of the bus library that are used here.
struct BusLibrary {
    decltype(&sd_bus_open_system) openSystem = nullptr;
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

template <typename Function>
bool find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(::dlsym(library, name));
    return function != nullptr;
}

BusLibrary::BusLibrary() {
    // Stays loaded: threads that wait for an answer may outlive everything else.
    void* library = ::dlopen("libsystemd.so.0", RTLD_NOW | RTLD_LOCAL);
    isLoaded =
        library != nullptr && find(library, "sd_bus_open_system", openSystem) &&
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

const BusLibrary& library() {
    static const BusLibrary& sLibrary = *new BusLibrary;
    return sLibrary;
}

struct CloseBus {
    void operator()(sd_bus* bus) const { library().closeUnref(bus); }
    void operator()(sd_bus_message* message) const { library().unref(message); }
};
using Bus = std::unique_ptr<sd_bus, CloseBus>;
using Message = std::unique_ptr<sd_bus_message, CloseBus>;

/// A connection of this thread's own; null when there is no bus.
Bus openBus() {
    sd_bus* bus = nullptr;
    return library().isLoaded && library().openSystem(&bus) >= 0 ? Bus(bus) : nullptr;
}

Message newCall(sd_bus* bus, const char* object, const char* interface, const char* member) {
    sd_bus_message* message = nullptr;
    if (library().newCall(bus, &message, kService, object, interface, member) < 0) {
        return nullptr;
    }
    Message call(message);
    // Nobody is started by a question: a machine without the service has none.
    return library().setAutoStart(message, 0) < 0 ? nullptr : std::move(call);
}

/// 0 and the reply, or the errno of the refusal.
int send(sd_bus* bus, const Message& call, std::uint64_t microseconds, Message& reply) {
    sd_bus_error error = {};
    sd_bus_message* answer = nullptr;
    const int result = library().call(bus, call.get(), microseconds, &error, &answer);
    reply.reset(answer);
    int status = 0;
    if (result < 0) {
        status = error.name != nullptr ? errorOfDiskService(QByteArrayView(error.name))
                                       : (result == -ETIMEDOUT ? ETIMEDOUT : ENOENT);
    }
    library().freeError(&error);
    return status;
}

/// Reads one reply from front to back. A reply of another shape than agreed ends it.
class Reader {
public:
    explicit Reader(sd_bus_message* message) : mMessage(message) {}

    /// Calls `each` for every element of an array whose elements are dictionary entries.
    template <typename Each>
    bool entries(const char* element, const char* array, Each each) {
        // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): a message is made by a loaded library only
        if (library().enter(mMessage, SD_BUS_TYPE_ARRAY, array) < 0) {
            return false;
        }
        int entered = 0;
        while ((entered = library().enter(mMessage, SD_BUS_TYPE_DICT_ENTRY, element)) > 0) {
            if (!each() || library().exit(mMessage) < 0) {
                return false;
            }
        }
        return entered == 0 && library().exit(mMessage) >= 0;
    }

    bool text(char type, QByteArray& out) {
        const char* value = nullptr;
        // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): a message is made by a loaded library only
        if (library().readBasic(mMessage, type, &value) < 0) {
            return false;
        }
        out = value;
        return true;
    }

    bool skip(const char* types) { return library().skip(mMessage, types) >= 0; }

    /// A property's value; kinds that nobody asks for are passed over.
    bool variant(DiskValue& out) {
        char type = 0;
        const char* contents = nullptr;
        if (library().peekType(mMessage, &type, &contents) < 0 || type != SD_BUS_TYPE_VARIANT) {
            return false;
        }
        const QByteArray kind(contents);
        if (kind != "b" && kind != "t" && kind != "s" && kind != "o" && kind != "ay" && kind != "aay") {
            return skip("v");
        }
        return library().enter(mMessage, SD_BUS_TYPE_VARIANT, kind.constData()) >= 0 && value(kind, out) &&
               library().exit(mMessage) >= 0;
    }

private:
    bool value(const QByteArray& kind, DiskValue& out) {
        if (kind == "b") {
            int truth = 0;
            const bool read = library().readBasic(mMessage, 'b', &truth) >= 0;
            out = truth != 0;
            return read;
        }
        if (kind == "t") {
            std::uint64_t number = 0;
            const bool read = library().readBasic(mMessage, 't', &number) >= 0;
            out = number;
            return read;
        }
        if (kind == "aay") {
            QByteArrayList list;
            const bool read = lists(list);
            out = list;
            return read;
        }
        QByteArray bytesRead;
        const bool read = kind == "ay" ? bytes(bytesRead) : text(kind.at(0), bytesRead);
        out = bytesRead;
        return read;
    }

    bool bytes(QByteArray& out) {
        const void* data = nullptr;
        std::size_t size = 0;
        if (library().readArray(mMessage, 'y', &data, &size) < 0) {
            return false;
        }
        out = QByteArray(static_cast<const char*>(data), static_cast<qsizetype>(size));
        return true;
    }

    bool lists(QByteArrayList& out) {
        if (library().enter(mMessage, SD_BUS_TYPE_ARRAY, "ay") < 0) {
            return false;
        }
        const void* data = nullptr;
        std::size_t size = 0;
        int read = 0;
        while ((read = library().readArray(mMessage, 'y', &data, &size)) > 0) {
            out.append(QByteArray(static_cast<const char*>(data), static_cast<qsizetype>(size)));
        }
        return read == 0 && library().exit(mMessage) >= 0;
    }

    sd_bus_message* mMessage;
};

bool readInterface(Reader& reader, DiskObject& object) {
    QByteArray interface;
    if (!reader.text('s', interface)) {
        return false;
    }
    if (!interface.startsWith(kPrefix)) {
        return reader.skip("a{sv}");
    }
    const QByteArray shortName = interface.sliced(static_cast<qsizetype>(std::strlen(kPrefix)));
    return reader.entries("sv", "{sv}", [&] {
        QByteArray name;
        return reader.text('s', name) && reader.variant(object[shortName + '.' + name]);
    });
}

bool readObjects(sd_bus_message* reply, std::map<QByteArray, DiskObject>& objects) {
    Reader reader(reply);
    return reader.entries("oa{sa{sv}}", "{oa{sa{sv}}}", [&] {
        QByteArray path;
        if (!reader.text('o', path)) {
            return false;
        }
        if (objects.size() >= kMostDiskObjects) {
            return reader.skip("a{sa{sv}}");
        }
        DiskObject& object = objects[path];
        return reader.entries("sa{sv}", "{sa{sv}}", [&] { return readInterface(reader, object); });
    });
}

struct Answer {
    int error = 0;
    std::vector<DiskFacts> disks;
};

Answer askNow() {
    const Bus bus = openBus();
    if (bus == nullptr) {
        return {ENOENT, {}};
    }
    const Message call = newCall(bus.get(), "/org/freedesktop/UDisks2", "org.freedesktop.DBus.ObjectManager",
                                 "GetManagedObjects");
    Message reply;
    if (call == nullptr) {
        return {EIO, {}};
    }
    if (const int error = send(bus.get(), call, kQuestionMicroseconds, reply); error != 0) {
        return {error, {}};
    }
    std::map<QByteArray, DiskObject> objects;
    if (!readObjects(reply.get(), objects)) {
        return {EIO, {}};
    }
    return {0, diskFactsFrom(objects)};
}

BoundedQuestions<Answer>& questions() {
    static auto& sQuestions = *new BoundedQuestions<Answer>;
    return sQuestions;
}

} // namespace

int askDiskService(std::vector<DiskFacts>& disks) {
    disks.clear();
    // Another bus (an application may change the variable) is another question.
    const auto asked = questions().ask(qgetenv("DBUS_SYSTEM_BUS_ADDRESS"), &askNow);
    std::optional<Answer> answer = BoundedQuestions<Answer>::wait(asked);
    if (!answer) {
        return ETIMEDOUT;
    }
    disks = std::move(answer->disks);
    return answer->error;
}

int unmountByDiskService(const DiskFacts& disk) {
    const Bus bus = openBus();
    if (bus == nullptr) {
        return ENOENT;
    }
    const Message call =
        newCall(bus.get(), disk.objectPath.constData(), "org.freedesktop.UDisks2.Filesystem", "Unmount");
    if (call == nullptr || library().setInteractive(call.get(), 1) < 0 ||
        library().append(call.get(), "a{sv}", 0) < 0) {
        return EIO;
    }
    Message reply;
    return send(bus.get(), call, kForEver, reply);
}

} // namespace VKPlatform
