// The session that a login gave: kept in a file that only its owner can read, together with the service that it belongs to.
#pragma once

#include <VKCoreKit/VKStatus.h>
#include <VKQtPath.h>

#include <QString>

namespace VKTool {

struct AccountSession {
    QString service; ///< The base URL.
    QString session;
    QString name; ///< The user's, for people.
};

/// "AccountSession.json" in the per-user folder of the product "Example"; an empty path when that cannot be had.
[[nodiscard]] VKQtPath defaultSessionFile();

enum class Privacy { Required, Ignored };

/// 2 when there is none, 1003 for a file that is no session, 1 (not permitted) for one that others may read, where
/// privacy is required: it is refused as if it were no secret any more, because it is none. `session` changes only on
/// success.
[[nodiscard]] VKStatus readSession(const VKQtPath& file, AccountSession& session,
                                   Privacy privacy = Privacy::Required);

/// A new file; 17 when there is one.
[[nodiscard]] VKStatus writeSession(const VKQtPath& file, const AccountSession& session);

/// 2 when there is none. Whatever the file is: who did not make its name has to read it before.
[[nodiscard]] VKStatus removeSession(const VKQtPath& file);

/// The longest file that is taken for a session, in bytes.
constexpr qint64 kMostSessionBytes = 65'536;

} // namespace VKTool
