// Who may log in, and who is logged in. Safe from any thread.
#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QMutex>
#include <QQueue>
#include <QString>

#include <optional>

namespace AccountService {

struct User {
    QString email;
    QString password;
    QString name;
    int id = 0;
};

/// Whether two secrets are the same, in a time that tells nothing about where they differ.
[[nodiscard]] bool isSameSecret(const QString& one, const QString& other);

/// The user that the service has from the start.
[[nodiscard]] User demonstrationUser();

/// Users from a text of lines "E-MAIL<Tab>PASSWORD<Tab>NAME"; empty lines and such that begin with "#" are left out.
/// Their numbers count from `firstId`. Nothing, and the number of the line in `wrongLine`, for any other line.
[[nodiscard]] std::optional<QList<User>> usersFromText(const QString& text, int firstId, int& wrongLine);

/// What the client did to a password is undone: every backslash arrives doubled. Nothing for a text with a single one.
///
///     "a\\b" -> "a\b"      "" -> ""      "a\b" -> nothing
[[nodiscard]] std::optional<QString> unescapedPassword(const QString& text);

class AccountBook {
public:
    explicit AccountBook(QList<User> users);

    struct Login {
        QString session;
        User user; ///< Without the password.
    };
    /// A new session; nothing where e-mail and password do not belong together. Takes as long whether or not there is
    /// such a user, and however much of the password is right. The e-mail counts without regard to case.
    [[nodiscard]] std::optional<Login> logIn(const QString& email, const QString& password);

    /// False when there is no such session.
    [[nodiscard]] bool logOut(const QString& session);
    [[nodiscard]] bool isLoggedIn(const QString& session) const;

    /// The most sessions at a time; one more ends the oldest.
    static constexpr qsizetype kMostSessions = 10'000;

private:
    const QList<User> mUsers;
    mutable QMutex mMutex;
    QHash<QString, int> mSessions; ///< With the number of the user.
    QQueue<QString> mOldestFirst;
};

} // namespace AccountService
