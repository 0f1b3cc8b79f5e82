// The service's rules: from a request to its reply. Safe from any thread.
#pragma once

#include "AccountBook.h"
#include "Exchange.h"

#include <QJsonObject>

namespace AccountService {

struct Settings {
    QList<User> users = {demonstrationUser()};
    QString installation = defaultInstallation(); ///< What "auth" has to be where there is no session.
    int productCount = 0;                         ///< 0: the catalogue as it is.
    qsizetype hugeBytes = qsizetype{80} << 20;    ///< Of the fault "huge".

    static QString defaultInstallation() { return QStringLiteral("demonstration-installation"); }
};

/// Every reply but an empty one is a JSON object with "api_version" 1; errors have a "message".
///
///     POST /login     email, passwd, machine_guid          -> session, user_id, name, channel; 401
///     POST /logout    session                              -> 401 when there is no such session
///     GET  /products  session or auth, language, ...       -> products; 401; 404 for an unknown edition
///
/// 400 for a body that is not understood or has another api_version, 404, 405, 413 and 415 as usual. What a path or an
/// e-mail address asks for beyond that stands in Faults.h.
class Service {
public:
    explicit Service(const Settings& settings);

    [[nodiscard]] Reply answer(const Request& request);

private:
    Reply answerOf(const Request& request, const QByteArray& path);
    Reply logIn(const QJsonObject& body);
    Reply logOut(const QJsonObject& body);
    Reply products(const QJsonObject& body) const;

    AccountBook mBook;
    const QString mInstallation;
    const int mProductCount;
    const qsizetype mHugeBytes;
};

} // namespace AccountService
