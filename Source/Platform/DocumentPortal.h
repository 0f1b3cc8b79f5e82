// The desktop's document portal, which lets a sandboxed application reach single files and folders of the host:
// each is a document with an identifier, shown below $XDG_RUNTIME_DIR/doc as ID/NAME while the application holds
// a grant for it. A token is the text "portal:1:ID:NAME"; NAME is percent-encoded and may go on below a folder.
// Any thread.
#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <cstdint>
#include <optional>

namespace VKPlatform {

/// The longest identifier that is taken.
inline constexpr qsizetype kMostDocumentIdBytes = 64;

struct DocumentToken {
    QByteArray id;
    QByteArray name; ///< "a.jpg", or "Photos/2026/a.jpg" for an item in a document that is a folder

    friend bool operator==(const DocumentToken&, const DocumentToken&) = default;
};

/// Where this process sees its documents, without a "/" at the end. It need not be there.
[[nodiscard]] QByteArray documentFolder();

enum class Grant : std::uint8_t {
    Stands,
    ItemIsGone, ///< the document is granted, but nothing has that name there: renamed, moved or deleted
    IsLost,     ///< revoked, deleted, or there is no portal
};

/// How things stand at this moment. Two system calls at most.
[[nodiscard]] Grant grantOf(const DocumentToken& token, const QByteArray& folder);

// Rules.

[[nodiscard]] QByteArray documentTokenText(const DocumentToken& token);

/// Nothing for a text that is no token, or whose identifier or name would lead out of the document.
///
///     "portal:1:9c3e:a%20b.jpg" -> 9c3e, "a b.jpg"        "portal:1:9c3e:..%2Fx", "portal:2:..." -> nothing
[[nodiscard]] std::optional<DocumentToken> parseDocumentToken(QByteArrayView text);

/// The token of an item by its path below the folder of documents; nothing for any other path.
///
///     "/run/user/1/doc/9c3e/a.jpg"                 -> 9c3e, "a.jpg"
///     "/run/user/1/doc/by-app/org.a.B/9c3e/a.jpg"  -> 9c3e, "a.jpg"      how the host sees an application's
///     "/run/user/1/doc/9c3e"                       -> nothing
[[nodiscard]] std::optional<DocumentToken> documentTokenOf(QByteArrayView path, QByteArrayView folder);

[[nodiscard]] QByteArray pathOfDocument(const DocumentToken& token, const QByteArray& folder);

} // namespace VKPlatform
