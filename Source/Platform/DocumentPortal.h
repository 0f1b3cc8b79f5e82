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

enum class DocumentRights : std::uint8_t { Read, ReadAndWrite };

// The following ask the portal over the user's message bus, which may have to start it: they wait for five
// seconds at most. They are for processes outside of sandboxes. errno, 0 for success: ENOTCONN without a bus or a
// portal, ETIMEDOUT, EACCES when it is not allowed, ENOENT for a document that there is not, EINVAL, EIO.

/// Makes an item of the host a document, for good, and grants it to an application ("org.example.Photo"). The same
/// item gives the same document again. A link is followed.
[[nodiscard]] int grantDocument(const QByteArray& path, const QByteArray& application, DocumentRights rights,
                                DocumentToken& out);

/// Takes every right on a document from an application; it is noticed at once, but files that are open stay so.
[[nodiscard]] int revokeDocument(const DocumentToken& token, const QByteArray& application);

/// The item's path on the host, as it was when it became a document.
[[nodiscard]] int hostPathOfDocument(const DocumentToken& token, QByteArray& path);

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

/// The path on the host of a token's item, from that of its document; empty when they do not fit.
///
///     "Photos/2026/a.jpg", "/home/anna/Photos" -> "/home/anna/Photos/2026/a.jpg"        "a.jpg", "/b.jpg" -> ""
[[nodiscard]] QByteArray hostPath(const DocumentToken& token, QByteArrayView documentPath);

/// The errno for the name of a refusal of the portal or the bus.
///
///     "org.freedesktop.portal.Error.NotAllowed" -> EACCES
///     "org.freedesktop.DBus.Error.ServiceUnknown" -> ENOTCONN        anything else -> EIO
[[nodiscard]] int errorOfDocumentPortal(QByteArrayView name);

} // namespace VKPlatform
