// Passwords are compared by their digests, in a time that tells nothing about them.
#include "AccountBook.h"

#include <gnutls/gnutls.h>

#include <QCryptographicHash>
#include <QMutexLocker>
#include <QRandomGenerator>

#include <array>

namespace AccountService {

using namespace Qt::StringLiterals;

namespace {

QString newSession() {
    std::array<quint32, 4> random{};
    QRandomGenerator::system()->fillRange(random.data(), random.size());
    return QString::fromLatin1(
        QByteArray(reinterpret_cast<const char*>(random.data()), qsizetype{sizeof random}).toHex());
}

} // namespace

bool isSameSecret(const QString& one, const QString& other) {
    const QByteArray a = QCryptographicHash::hash(one.toUtf8(), QCryptographicHash::Sha256);
    const QByteArray b = QCryptographicHash::hash(other.toUtf8(), QCryptographicHash::Sha256);
    return gnutls_memcmp(a.constData(), b.constData(), static_cast<std::size_t>(a.size())) == 0;
}

User demonstrationUser() {
    return {.email = u"demo@example.test"_s,
            .password = u"golden-hour"_s,
            .name = u"Dora Demonstration"_s,
            .id = 1};
}

std::optional<QList<User>> usersFromText(const QString& text, int firstId, int& wrongLine) {
    constexpr qsizetype kFields = 3;
    QList<User> users;
    wrongLine = 0;
    for (const QString& line : text.split(u'\n')) {
        ++wrongLine;
        if (line.isEmpty() || line.startsWith(u'#')) {
            continue;
        }
        const QStringList fields = line.split(u'\t');
        if (fields.size() != kFields || fields.contains(QString())) {
            return std::nullopt;
        }
        users.append({.email = fields[0],
                      .password = fields[1],
                      .name = fields[2],
                      .id = firstId + static_cast<int>(users.size())});
    }
    wrongLine = 0;
    return users;
}

std::optional<QString> unescapedPassword(const QString& text) {
    QString plain;
    for (qsizetype at = 0; at < text.size(); ++at) {
        if (text[at] == u'\\') {
            ++at;
            if (at == text.size() || text[at] != u'\\') {
                return std::nullopt;
            }
        }
        plain += text[at];
    }
    return plain;
}

AccountBook::AccountBook(QList<User> users) : mUsers(std::move(users)) {}

std::optional<AccountBook::Login> AccountBook::logIn(const QString& email, const QString& password) {
    const User* found = nullptr;
    for (const User& user : mUsers) {
        if (user.email.compare(email, Qt::CaseInsensitive) == 0) {
            found = &user;
        }
    }
    // Somebody unknown is compared with a password too.
    const bool isRight = isSameSecret(password, found != nullptr ? found->password : u"nobody"_s);
    if (found == nullptr || !isRight) {
        return std::nullopt;
    }
    Login login = {.session = newSession(), .user = *found};
    login.user.password.clear();
    const QMutexLocker lock(&mMutex);
    mSessions.insert(login.session, found->id);
    mOldestFirst.enqueue(login.session);
    while (mSessions.size() > kMostSessions) {
        mSessions.remove(mOldestFirst.dequeue());
    }
    return login;
}

bool AccountBook::logOut(const QString& session) {
    const QMutexLocker lock(&mMutex);
    if (!mSessions.remove(session)) {
        return false;
    }
    mOldestFirst.removeOne(session);
    return true;
}

bool AccountBook::isLoggedIn(const QString& session) const {
    const QMutexLocker lock(&mMutex);
    return mSessions.contains(session);
}

} // namespace AccountService
