// Looks at the portal's file system, where a grant shows at once, and asks the portal itself.
#include "Platform/DocumentPortal.h"

#include "Platform/FileDescriptor.h"
#include "Platform/FileFacts.h"
#include "Platform/Linux/OpenPath.h"
#include "Platform/Linux/PortalCall.h"

#include <QStringBuilder>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace VKPlatform {

namespace {

// Flags of the portal's AddFull.
constexpr std::uint32_t kReuseDocument = 1;
constexpr std::uint32_t kKeepDocument = 2;
constexpr std::uint32_t kIsFolder = 8;

/// The text of an array of bytes that ends with a NUL.
QByteArray readBytes(sd_bus_message* message) {
    const void* data = nullptr;
    std::size_t size = 0;
    if (busLibrary().readArray(message, 'y', &data, &size) < 0 || data == nullptr) {
        return QByteArray();
    }
    const char* const text = static_cast<const char*>(data);
    return QByteArray(text, static_cast<qsizetype>(::strnlen(text, size)));
}

int sendGrant(const FileDescriptor& item, std::uint32_t flags, const QByteArray& application,
              DocumentRights rights, QByteArray& id) {
    PortalCall call;
    if (const int error = call.open("AddFull"); error != 0) {
        return error;
    }
    const int appended = rights == DocumentRights::Read
                             ? busLibrary().append(call.message(), "ahusas", 1U, item.get(), flags,
                                                   application.constData(), 1U, "read")
                             : busLibrary().append(call.message(), "ahusas", 1U, item.get(), flags,
                                                   application.constData(), 2U, "read", "write");
    if (appended < 0) {
        return EINVAL;
    }
    BusMessage answer;
    if (const int error = call.send(answer); error != 0) {
        return error;
    }
    const char* text = nullptr;
    if (busLibrary().enter(answer.get(), SD_BUS_TYPE_ARRAY, "s") <= 0 ||
        busLibrary().readBasic(answer.get(), SD_BUS_TYPE_STRING, &text) <= 0) {
        return EIO;
    }
    id = text;
    return 0;
}

} // namespace

QByteArray documentFolder() {
    QByteArray runtime = qgetenv("XDG_RUNTIME_DIR");
    while (runtime.size() > 1 && runtime.endsWith('/')) {
        runtime.chop(1);
    }
    return (runtime.startsWith('/') ? runtime : "/run/user/" + QByteArray::number(::getuid())) + "/doc";
}

Grant grantOf(const DocumentToken& token, const QByteArray& folder) {
    if (fileExists(pathOfDocument(token, folder)) == 0) {
        return Grant::Stands;
    }
    return fileExists(folder + '/' + token.id) == 0 ? Grant::ItemIsGone : Grant::IsLost;
}

int grantDocument(const QByteArray& path, const QByteArray& application, DocumentRights rights,
                  DocumentToken& out) {
    FileDetails details;
    if (const int error = fileDetails(path, LinkRule::Follow, details); error != 0) {
        return error;
    }
    const FileDescriptor item(::open(path.constData(), O_PATH | O_CLOEXEC));
    if (!item.isOpen()) {
        return errno;
    }
    const std::uint32_t flags =
        kReuseDocument | kKeepDocument | (details.kind == FileKind::Folder ? kIsFolder : 0U);
    QByteArray id;
    if (const int error = sendGrant(item, flags, application, rights, id); error != 0) {
        return error;
    }
    const QByteArray real = pathOfOpen(item);
    const auto token = parseDocumentToken(documentTokenText({id, real.sliced(real.lastIndexOf('/') + 1)}));
    if (!token) {
        return EIO;
    }
    out = *token;
    return 0;
}

int revokeDocument(const DocumentToken& token, const QByteArray& application) {
    PortalCall call;
    if (const int error = call.open("RevokePermissions"); error != 0) {
        return error;
    }
    if (busLibrary().append(call.message(), "ssas", token.id.constData(), application.constData(), 4U, "read",
                            "write", "grant-permissions", "delete") < 0) {
        return EINVAL;
    }
    BusMessage answer;
    return call.send(answer);
}

int hostPathOfDocument(const DocumentToken& token, QByteArray& path) {
    PortalCall call;
    if (const int error = call.open("Info"); error != 0) {
        return error;
    }
    if (busLibrary().append(call.message(), "s", token.id.constData()) < 0) {
        return EINVAL;
    }
    BusMessage answer;
    if (const int error = call.send(answer); error != 0) {
        return error;
    }
    path = hostPath(token, readBytes(answer.get()));
    return path.isEmpty() ? EIO : 0;
}

} // namespace VKPlatform
