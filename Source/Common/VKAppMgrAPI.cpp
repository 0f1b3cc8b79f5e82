// The requests of the account and product service, and the two account calls. The catalogue is in
// VKAppMgrProducts.cpp.
#include "VKAppMgrAPI.h"

#include "VKAppMgrStatus.h"
#include "VKHttpOp.h"

using VKAppMgrDetail::kHttpNotFound;
using VKAppMgrDetail::kHttpOk;
using VKAppMgrDetail::logged;

namespace {

constexpr int kApiVersion = 1;

/// The service undoubles backslashes, so they are doubled, although JSON escapes them already.
QString escapedPassword(QString password) {
    return password.replace(QStringLiteral("\\"), QStringLiteral("\\\\"));
}

VKStatus readLogin(const QJsonObject& reply, VKAppMgrAPI::t_LoginResponse& response) {
    if (reply.value(kAPIVersionField).toInt() != kApiVersion) {
        VKLogUTF8("Login API is speaking a version we don't understand.\n");
        return kVKStatusNotUnderstood;
    }
    response.session = reply.value(kSessionField).toString();
    response.userId = reply.value(kUserIdField).toInt();
    response.name = reply.value(kNameField).toString();
    response.channel = reply.value(kChannelField).toString();
    if (response.session.isEmpty()) {
        VKLogUTF8("Login API did not return a session.\n");
        return kVKStatusNotUnderstood;
    }
    if (response.userId == 0) {
        VKLogUTF8("Login API did not return a user ID.\n");
        return kVKStatusNotUnderstood;
    }
    if (response.name.isEmpty()) {
        VKLogUTF8("Login API did not return a display name.\n");
        return kVKStatusNotUnderstood;
    }
    if (reply.contains(kMessageField)) {
        response.message = reply.value(kMessageField).toString();
    }
    // Deliberately whatever the logging: support looks for this line. Documentation/Account.md warns of it.
    VKLogUTF8("Login Successful. Session ID: %s\n", response.session.toUtf8().constData());
    return kVKStatusSuccess;
}

} // namespace

VKAppMgrAPI::VKAppMgrAPI() { mHttp.setMaxReplyBytes(kMaxReplyBytes); }

VKAppMgrAPI::~VKAppMgrAPI() = default;

void VKAppMgrAPI::setBaseURL(const QString& baseURL) { mBaseURL = baseURL; }

void VKAppMgrAPI::setLogging(int logging) { mLogging = logging; }

QJsonObject VKAppMgrAPI::createApiCall() { return QJsonObject{{kAPIVersionField, kApiVersion}}; }

int VKAppMgrAPI::login(const t_LoginData& data, VKProgress* progress, t_LoginResponse& response) {
    const QUrl url = endpoint(QStringLiteral("/login"));
    if (mBaseURL.isEmpty()) {
        return logged(kVKStatusNoBaseURL, __LINE__);
    }
    if (data.email.isEmpty()) {
        return logged(kVKStatusBadArgument, __LINE__);
    }
    if (data.password.isEmpty()) {
        return logged(kVKStatusBadArgument, __LINE__);
    }
    QJsonObject body = createApiCall();
    body.insert(kEmailField, data.email);
    body.insert(kPasswordField, escapedPassword(data.password));
    body.insert(kMachineGuidField, data.machineGuid);

    int httpCode = 0;
    QJsonObject reply;
    const int status = postBytesImpl(url, QJsonDocument(body), mTimeout, progress, httpCode, reply);
    if (status != 0) {
        return logged(status, __LINE__);
    }
    response.httpCode = httpCode;
    if (httpCode == kHttpOk) {
        return static_cast<int>(readLogin(reply, response));
    }
    VKLogUTF8("Login HTTP Error: %d.\n", httpCode);
    return logged(VKAppMgrDetail::statusOfHttp(httpCode), __LINE__);
}

int VKAppMgrAPI::logout(const t_LogoutData& data, VKProgress* progress, int& httpCode) {
    httpCode = 0;
    const QUrl url = endpoint(QStringLiteral("/logout"));
    if (mBaseURL.isEmpty()) {
        return logged(kVKStatusNoBaseURL, __LINE__);
    }
    if (data.session.isEmpty()) {
        return logged(kVKStatusBadArgument, __LINE__);
    }
    QJsonObject body = createApiCall();
    body.insert(kSessionField, data.session);

    QJsonObject reply;
    const int status = postBytesImpl(url, QJsonDocument(body), mTimeout, progress, httpCode, reply);
    if (status != 0) {
        return logged(status, __LINE__);
    }
    if (httpCode == kHttpOk) {
        if (mLogging != 0) {
            VKLogUTF8("Logout Successful. Session ID: %s\n", data.session.toUtf8().constData());
        }
        return 0;
    }
    VKLogUTF8("Logout HTTP Error: %d.\n", httpCode);
    return logged(VKAppMgrDetail::statusOfHttp(httpCode), __LINE__);
}

int VKAppMgrAPI::postBytesImpl(const QUrl& url, const QJsonDocument& body, int timeout, VKProgress* progress,
                               int& httpCode, QJsonObject& reply) {
    const std::lock_guard lock(mMutex);
    httpCode = 0;
    prepareRequest(url, timeout, progress);
    // One more such line with each call, because the object's headers accumulate: deliberately so. The lower case
    // differs from kVKHttpContentApplicationJson.
    mHttp.setHeader(kVKHttpContentType, QStringLiteral("application/json; charset=utf-8"));
    const QByteArray text = body.toJson(QJsonDocument::Compact);
    logRequest("POST", url, text);
    mHttp.post(text);
    httpCode = mHttp.httpResultCode();
    if (httpCode == kHttpNotFound) {
        if (mLogging != 0) {
            VKLogUTF8("404 from URL: %s\n", url.path(QUrl::FullyDecoded).toUtf8().constData());
        }
        return logged(kVKStatusTransportFailed, __LINE__);
    }
    VKHttpOp operation;
    operation.processReply(mHttp);
    reply = operation.object;
    return VKAppMgrDetail::statusOfTransport(mHttp.error());
}

int VKAppMgrAPI::getBytesImpl(const QUrl& url, const QJsonDocument& body, int timeout, VKProgress* progress,
                              int& httpCode, QJsonObject& reply) {
    return getReply(url, body, timeout, progress, httpCode, reply, [](const QByteArray&) { return false; });
}

int VKAppMgrAPI::getReply(const QUrl& url, const QJsonDocument& body, int timeout, VKProgress* progress,
                          int& httpCode, QJsonObject& reply, const ReadBody& readBody) {
    const std::lock_guard lock(mMutex);
    httpCode = 0;
    prepareRequest(url, timeout, progress);
    const QByteArray text = body.toJson(QJsonDocument::Compact);
    logRequest("GET", url, text);
    mHttp.getBytes(text);
    httpCode = mHttp.httpResultCode();
    if (httpCode == kHttpNotFound) {
        if (mLogging != 0) {
            VKLogUTF8("HTTP 404 from URL: %s\n", url.path(QUrl::FullyDecoded).toUtf8().constData());
        }
        return 0;
    }
    const bool isWhole = httpCode == kHttpOk && mHttp.error() == 0;
    if (isWhole && mHttp.replyContentType().contains(u"json") && readBody(mHttp.readAllBytes())) {
        return 0;
    }
    VKHttpOp operation;
    if (operation.processReply(mHttp) && httpCode == kHttpOk) {
        reply = operation.object;
    }
    return VKAppMgrDetail::statusOfTransport(mHttp.error());
}

QUrl VKAppMgrAPI::endpoint(const QString& path) const {
    const QString url = mBaseURL + path;
    return QUrl(mTrailingSlash ? QString(url + u'/') : url);
}

void VKAppMgrAPI::prepareRequest(const QUrl& url, int timeout, VKProgress* progress) {
    if (progress != nullptr) {
        mHttp.setProgress(progress);
    }
    // The service is reached under names that its certificate does not hold. The certificate's chain is verified.
    mHttp.setIgnoreSSLErrors(true);
    mHttp.setUrl(url);
    mHttp.setConnectTimeout(timeout);
}

void VKAppMgrAPI::logRequest(const char* verb, const QUrl& url, const QByteArray& body) const {
    if (mLogging >= 2) {
        VKLogUTF8("\n%s %s\n%s\n\n", verb, url.toDisplayString().toUtf8().constData(), body.constData());
    }
}

namespace VKAppMgrDetail {

int statusOfTransport(int error) {
    switch (error) {
    case 0:
    case static_cast<int>(kVKStatusCancelled):
    case static_cast<int>(kVKStatusTimedOut):
    case static_cast<int>(kVKStatusHostNotResolved):
        return error;
    default:
        return static_cast<int>(kVKStatusTransportFailed);
    }
}

int statusOfHttp(int httpCode) {
    switch (httpCode) {
    case 400:
        return static_cast<int>(kVKStatusBadRequest);
    case 401:
        return static_cast<int>(kVKStatusUnauthorized);
    case 429:
        return static_cast<int>(kVKStatusTooManyRequests);
    case 500:
        return static_cast<int>(kVKStatusServerError);
    default:
        return 0;
    }
}

} // namespace VKAppMgrDetail
