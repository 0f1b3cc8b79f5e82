// Tokens as texts and as paths.
#include "Platform/DocumentPortal.h"

#include <algorithm>

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

} // namespace VKPlatform
