// Routes, checks of what a request has to hold, and the three calls.
#include "AccountService.h"

#include "Catalogue.h"
#include "Faults.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

namespace AccountService {

using namespace Qt::StringLiterals;

namespace {

constexpr int kVersion = 1;

enum Status {
    kOk = 200,
    kNoContent = 204,
    kNotModified = 304,
    kBadRequest = 400,
    kUnauthorized = 401,
    kNotFound = 404,
    kWrongMethod = 405,
    kTooLong = 413,
    kWrongType = 415,
};

Reply replyOf(int status, QJsonObject object) {
    object.insert(u"api_version"_s, kVersion);
    return {.status = status, .body = QJsonDocument(object).toJson(QJsonDocument::Compact)};
}

Reply errorOf(int status, const QString& message) { return replyOf(status, {{u"message"_s, message}}); }

/// A reply with the status that somebody wants to see.
Reply demanded(int status) {
    if (status == kNoContent || status == kNotModified) {
        return {.status = status, .contentType = {}, .body = {}};
    }
    return errorOf(status, u"This reply was asked for: %1."_s.arg(status));
}

QString textOf(const QJsonObject& body, QLatin1StringView key) { return body.value(key).toString(); }

} // namespace

Service::Service(const Settings& settings)
    : mBook(settings.users), mInstallation(settings.installation), mProductCount(settings.productCount),
      mHugeBytes(settings.hugeBytes) {}

Reply Service::answer(const Request& request) {
    const std::optional<Demand> demand = demandOf(request.path);
    if (!demand.has_value()) {
        return errorOf(kNotFound, u"There is no such fault or status."_s);
    }
    if (demand->status != 0) {
        return demanded(demand->status);
    }
    return spoiled(answerOf(request, demand->path), demand->fault, mHugeBytes);
}

Reply Service::answerOf(const Request& request, const QByteArray& path) {
    const bool isProducts = path == "/products" || path == "/products/";
    const bool isLogin = path == "/login" || path == "/login/";
    const bool isLogout = path == "/logout" || path == "/logout/";
    if (!isProducts && !isLogin && !isLogout) {
        return errorOf(kNotFound, u"There is nothing at this address."_s);
    }
    if (request.method != (isProducts ? "GET" : "POST")) {
        return errorOf(kWrongMethod, u"This address takes another method."_s);
    }
    if (request.isTooLong) {
        return errorOf(kTooLong, u"The request is too long."_s);
    }
    if (!isProducts && !request.contentType.toLower().startsWith("application/json")) {
        return errorOf(kWrongType, u"The request has to be JSON."_s);
    }
    const QJsonDocument document = QJsonDocument::fromJson(request.body);
    if (!document.isObject()) {
        return errorOf(kBadRequest, u"The request is no JSON object."_s);
    }
    const QJsonObject body = document.object();
    if (body.value("api_version"_L1).toInt() != kVersion) {
        return errorOf(kBadRequest, u"This version of the interface is not spoken here."_s);
    }
    if (isProducts) {
        return products(body);
    }
    return isLogin ? logIn(body) : logOut(body);
}

Reply Service::logIn(const QJsonObject& body) {
    const QString email = textOf(body, "email"_L1);
    const std::optional<QString> password = unescapedPassword(textOf(body, "passwd"_L1));
    if (email.isEmpty() || !body.value("machine_guid"_L1).isString()) {
        return errorOf(kBadRequest, u"email and machine_guid are needed."_s);
    }
    if (!password.has_value() || password->isEmpty()) {
        return errorOf(kBadRequest, u"passwd is missing, or not with its backslashes doubled."_s);
    }
    if (const int status = demandedStatus(email); status != 0) {
        return demanded(status);
    }
    const std::optional<AccountBook::Login> login = mBook.logIn(email, *password);
    if (!login.has_value()) {
        return errorOf(kUnauthorized, u"E-mail address and password do not belong together."_s);
    }
    return replyOf(kOk, {{u"session"_s, login->session},
                         {u"user_id"_s, login->user.id},
                         {u"name"_s, login->user.name},
                         {u"channel"_s, u"demonstration"_s},
                         {u"message"_s, u"Welcome back, %1."_s.arg(login->user.name)}});
}

Reply Service::logOut(const QJsonObject& body) {
    if (!mBook.logOut(textOf(body, "session"_L1))) {
        return errorOf(kUnauthorized, u"There is no such session."_s);
    }
    return replyOf(kOk, {});
}

Reply Service::products(const QJsonObject& body) const {
    const QString session = textOf(body, "session"_L1);
    const bool isAllowed = mBook.isLoggedIn(session) ||
                           (session.isEmpty() && isSameSecret(textOf(body, "auth"_L1), mInstallation));
    if (!isAllowed) {
        return errorOf(kUnauthorized, u"There is no such session or installation."_s);
    }
    const CatalogueQuery query = {.language = textOf(body, "language"_L1),
                                  .currentVersion = textOf(body, "current_version"_L1),
                                  .productName = textOf(body, "product_name"_L1),
                                  .edition = textOf(body, "edition"_L1)};
    if (query.language.isEmpty()) {
        return errorOf(kBadRequest, u"language is needed."_s);
    }
    if (!query.edition.isEmpty() && !editions().contains(query.edition)) {
        return errorOf(kNotFound, u"There is no such edition."_s);
    }
    return replyOf(kOk, {{u"products"_s, catalogue(query, mProductCount)}});
}

} // namespace AccountService
