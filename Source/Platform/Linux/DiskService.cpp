// UDisks2 on the system bus: asks, and reads what it answers.
#include "Platform/DiskService.h"

#include "Platform/BoundedQuestion.h"
#include "Platform/Linux/BusLibrary.h"

#include <cerrno>
#include <cstring>

namespace VKPlatform {

namespace {

constexpr char kService[] = "org.freedesktop.UDisks2";
constexpr char kPrefix[] = "org.freedesktop.UDisks2.";
constexpr std::uint64_t kQuestionMicroseconds = std::chrono::microseconds(kPatience).count();
/// Unmounting ends when it ends.
constexpr std::uint64_t kForEver = UINT64_MAX;

BusMessage newCall(const Bus& bus, const char* object, const char* interface, const char* member) {
    BusMessage call = newBusCall(bus, {kService, object, interface, member});
    // Nobody is started by a question: a machine without the service has none.
    // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): a bus is opened by a loaded library only
    return call == nullptr || busLibrary().setAutoStart(call.get(), 0) < 0 ? nullptr : std::move(call);
}

/// 0 and the reply, or the errno of the refusal.
int send(const Bus& bus, const BusMessage& call, std::uint64_t microseconds, BusMessage& reply) {
    const int error = sendBusCall(bus, call, microseconds, &errorOfDiskService, reply);
    return error == ENOTCONN ? ENOENT : error;
}

/// Reads one reply from front to back. A reply of another shape than agreed ends it.
class Reader {
public:
    explicit Reader(sd_bus_message* message) : mMessage(message) {}

    /// Calls `each` for every element of an array whose elements are dictionary entries.
    template <typename Each>
    bool entries(const char* element, const char* array, Each each) {
        // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): a message is made by a loaded library only
        if (busLibrary().enter(mMessage, SD_BUS_TYPE_ARRAY, array) < 0) {
            return false;
        }
        int entered = 0;
        while ((entered = busLibrary().enter(mMessage, SD_BUS_TYPE_DICT_ENTRY, element)) > 0) {
            if (!each() || busLibrary().exit(mMessage) < 0) {
                return false;
            }
        }
        return entered == 0 && busLibrary().exit(mMessage) >= 0;
    }

    bool text(char type, QByteArray& out) {
        const char* value = nullptr;
        // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): a message is made by a loaded library only
        if (busLibrary().readBasic(mMessage, type, &value) < 0) {
            return false;
        }
        out = value;
        return true;
    }

    bool skip(const char* types) { return busLibrary().skip(mMessage, types) >= 0; }

    /// A property's value; kinds that nobody asks for are passed over.
    bool variant(DiskValue& out) {
        char type = 0;
        const char* contents = nullptr;
        if (busLibrary().peekType(mMessage, &type, &contents) < 0 || type != SD_BUS_TYPE_VARIANT) {
            return false;
        }
        const QByteArray kind(contents);
        if (kind != "b" && kind != "t" && kind != "s" && kind != "o" && kind != "ay" && kind != "aay") {
            return skip("v");
        }
        return busLibrary().enter(mMessage, SD_BUS_TYPE_VARIANT, kind.constData()) >= 0 && value(kind, out) &&
               busLibrary().exit(mMessage) >= 0;
    }

private:
    bool value(const QByteArray& kind, DiskValue& out) {
        if (kind == "b") {
            int truth = 0;
            const bool read = busLibrary().readBasic(mMessage, 'b', &truth) >= 0;
            out = truth != 0;
            return read;
        }
        if (kind == "t") {
            std::uint64_t number = 0;
            const bool read = busLibrary().readBasic(mMessage, 't', &number) >= 0;
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
        if (busLibrary().readArray(mMessage, 'y', &data, &size) < 0) {
            return false;
        }
        out = QByteArray(static_cast<const char*>(data), static_cast<qsizetype>(size));
        return true;
    }

    bool lists(QByteArrayList& out) {
        if (busLibrary().enter(mMessage, SD_BUS_TYPE_ARRAY, "ay") < 0) {
            return false;
        }
        const void* data = nullptr;
        std::size_t size = 0;
        int read = 0;
        while ((read = busLibrary().readArray(mMessage, 'y', &data, &size)) > 0) {
            out.append(QByteArray(static_cast<const char*>(data), static_cast<qsizetype>(size)));
        }
        return read == 0 && busLibrary().exit(mMessage) >= 0;
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
    const Bus bus = openBus(BusOwner::System);
    if (bus == nullptr) {
        return {ENOENT, {}};
    }
    const BusMessage call =
        newCall(bus, "/org/freedesktop/UDisks2", "org.freedesktop.DBus.ObjectManager", "GetManagedObjects");
    BusMessage reply;
    if (call == nullptr) {
        return {EIO, {}};
    }
    if (const int error = send(bus, call, kQuestionMicroseconds, reply); error != 0) {
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
    const Bus bus = openBus(BusOwner::System);
    if (bus == nullptr) {
        return ENOENT;
    }
    const BusMessage call =
        newCall(bus, disk.objectPath.constData(), "org.freedesktop.UDisks2.Filesystem", "Unmount");
    if (call == nullptr || busLibrary().setInteractive(call.get(), 1) < 0 ||
        busLibrary().append(call.get(), "a{sv}", 0) < 0) {
        return EIO;
    }
    BusMessage reply;
    return send(bus, call, kForEver, reply);
}

} // namespace VKPlatform
