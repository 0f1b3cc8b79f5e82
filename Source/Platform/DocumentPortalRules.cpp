// Tokens as texts and as paths.
#include "Platform/DocumentPortal.h"

#include <QStringBuilder>

#include <algorithm>
#include <cerrno>

namespace VKPlatform {

namespace {

constexpr QByteArrayView kPrefix("portal:1:");
constexpr QByteArrayView kByApplication("by-app/");

bool isIdCharacter(char character) {
    return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'z') ||
           (character >= 'A' && character <= 'Z') || character == '-' || character == '_';
}

bool isId(QByteArrayView id) {
    return !id.isEmpty() && id.size() <= kMostDocumentIdBytes && id != QByteArrayView("by-app") &&
           std::all_of(id.begin(), id.end(), isIdCharacter);
}

/// Whether every component is a plain name.
bool isNameBelow(QByteArrayView name) {
    if (name.isEmpty() || name.contains('\0')) {
        return false;
    }
    while (true) {
        const qsizetype slash = name.indexOf('/');
        const QByteArrayView component = slash < 0 ? name : name.first(slash);
        if (component.isEmpty() || component == QByteArrayView(".") || component == QByteArrayView("..")) {
            return false;
        }
        if (slash < 0) {
            return true;
        }
        name = name.sliced(slash + 1);
    }
}

std::optional<DocumentToken> checkedToken(QByteArrayView id, QByteArrayView name) {
    return isId(id) && isNameBelow(name) ? std::optional(DocumentToken{id.toByteArray(), name.toByteArray()})
                                         : std::nullopt;
}

} // namespace

QByteArray documentTokenText(const DocumentToken& token) {
    return kPrefix.toByteArray() + token.id + ':' + token.name.toPercentEncoding();
}

std::optional<DocumentToken> parseDocumentToken(QByteArrayView text) {
    if (!text.startsWith(kPrefix)) {
        return std::nullopt;
    }
    const QByteArrayView rest = text.sliced(kPrefix.size());
    const qsizetype colon = rest.indexOf(':');
    if (colon < 0) {
        return std::nullopt;
    }
    const QByteArray name = QByteArray::fromPercentEncoding(rest.sliced(colon + 1).toByteArray());
    std::optional<DocumentToken> token = checkedToken(rest.first(colon), name);
    // One spelling for one token, so that tokens can be compared as texts.
    return token && documentTokenText(*token) == text ? token : std::nullopt;
}

std::optional<DocumentToken> documentTokenOf(QByteArrayView path, QByteArrayView folder) {
    if (folder.isEmpty() || !path.startsWith(folder) || path.size() <= folder.size() ||
        path[folder.size()] != '/') {
        return std::nullopt;
    }
    QByteArrayView below = path.sliced(folder.size() + 1);
    if (below.startsWith(kByApplication)) {
        below = below.sliced(kByApplication.size());
        const qsizetype end = below.indexOf('/');
        below = end < 0 ? QByteArrayView() : below.sliced(end + 1);
    }
    const qsizetype slash = below.indexOf('/');
    return slash < 0 ? std::nullopt : checkedToken(below.first(slash), below.sliced(slash + 1));
}

QByteArray pathOfDocument(const DocumentToken& token, const QByteArray& folder) {
    return folder + '/' + token.id + '/' + token.name;
}

QByteArray hostPath(const DocumentToken& token, QByteArrayView documentPath) {
    const qsizetype slash = documentPath.lastIndexOf('/');
    if (!documentPath.startsWith('/') || documentPath.contains('\0')) {
        return QByteArray();
    }
    const QByteArrayView name = documentPath.sliced(slash + 1);
    const QByteArrayView shown(token.name);
    const qsizetype end = shown.indexOf('/');
    const QByteArrayView first = end < 0 ? shown : shown.first(end);
    return !name.isEmpty() && name == first ? documentPath.first(slash + 1).toByteArray() + token.name
                                            : QByteArray();
}

int errorOfDocumentPortal(QByteArrayView name) {
    struct Row {
        QByteArrayView name;
        int error;
    };
    static constexpr Row kRows[] = {
        {"org.freedesktop.portal.Error.NotAllowed", EACCES},
        {"org.freedesktop.portal.Error.InvalidArgument", EINVAL},
        {"org.freedesktop.portal.Error.NotFound", ENOENT},
        {"org.freedesktop.DBus.Error.AccessDenied", EACCES},
        {"org.freedesktop.DBus.Error.ServiceUnknown", ENOTCONN},
        {"org.freedesktop.DBus.Error.NameHasNoOwner", ENOTCONN},
        {"org.freedesktop.DBus.Error.Disconnected", ENOTCONN},
        {"org.freedesktop.DBus.Error.NoServer", ENOTCONN},
        {"org.freedesktop.DBus.Error.Spawn.ServiceNotFound", ENOTCONN},
        {"org.freedesktop.DBus.Error.NoReply", ETIMEDOUT},
        {"org.freedesktop.DBus.Error.Timeout", ETIMEDOUT},
    };
    const auto* const row = std::find_if(std::begin(kRows), std::end(kRows),
                                         [&](const Row& candidate) { return candidate.name == name; });
    return row == std::end(kRows) ? EIO : row->error;
}

} // namespace VKPlatform
