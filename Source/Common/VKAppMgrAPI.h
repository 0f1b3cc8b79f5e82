// The client of the suite's account and product service: logging in and out, the catalogue of products. JSON over
// HTTP, one endpoint a call.
#pragma once

#include "VKAppMgrKeys.h"
#include "VKHttp.h"
#include "VKQtExport.h"

#include <VKCoreKit/CBaseCore.h>
#include <VKCoreKit/VKProgress.h>

#include <QDate>
#include <QDateTime>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <QUrl>

#include <cstdint>
#include <functional>
#include <mutex>
#include <vector>

/// One service, at one base URL. An application keeps one object and the session that login() gave it.
///
/// Every call blocks its thread until the reply is there (or the wait for a connection has timed out, or the
/// progress object says cancel), and answers a status:
///
///     0     done. An HTTP status other than 200 that has no status here is 0 too: look at `httpCode`
///     1003  the reply is not understood: another api_version, or a required field is missing
///     1005  a required argument is empty                      1007  cancelled; never logged
///     1034  no base URL was set                               1081  timed out
///     1089  HTTP 401       1096  HTTP 429       1102  HTTP 500       1103  HTTP 400
///     1094  the transport failed in another way, or HTTP 404 on a POST
///     1105  the host's name has no address
///
/// Failures are logged as events, once at each level that passes them on: an HTTP 404 on a login is recorded by
/// postBytesImpl() and by login().
///
/// Any thread may call; the requests of one object run one at a time. The setters belong to the time before.
///
/// What it does not do for its caller (Documentation/Account.md): the server's certificate is checked, but not that
/// it is for this host; a successful login writes the session to the log; `logging` of 2 writes passwords there.
class VKQT_EXPORT VKAppMgrAPI : public CBaseCore {
public:
    struct t_LoginData {
        QString email;
        QString password;
        QString machineGuid; ///< identifies this computer; may be empty
    };

    struct t_LoginResponse {
        std::int32_t httpCode = 0;
        QString session; ///< for the later calls
        QString name;    ///< for people
        std::int32_t userId = 0;
        QString message; ///< from the service for people; mostly empty
        QString channel;
    };

    struct t_LogoutData {
        QString session;
    };

    struct t_ProductsData {
        QString session; ///< this or `auth` is required
        QString auth;
        QString language;       ///< required
        QString currentVersion; ///< this and the rest may be empty
        QString productName;
        QString edition;
    };

    /// What a product needs, on the platform whose rules hold; all 0 when that is not said.
    struct t_Requirements {
        std::int32_t version = 0;
        bool vulkanPresent = false;    ///< Windows
        std::int32_t directXMajor = 0; ///< Windows
        std::int32_t directXMinor = 0; ///< Windows
        std::int64_t vram = 0;
        std::int32_t osMajor = 0; ///< macOS
        std::int32_t osMinor = 0; ///< macOS
        std::int32_t osPatch = 0; ///< macOS
        std::int32_t osBuild = 0; ///< Windows

        friend bool operator==(const t_Requirements&, const t_Requirements&) = default;
    };

    struct t_Product {
        QString type;
        QString name;
        bool ignore = false;
        QString sku;
        bool free = false;
        QString description;
        QString tooltip;
        QString version;
        QDate releaseDate; ///< invalid when unknown
        bool mobile = false;
        bool developer = false; ///< a developer release
        bool prerelease = false;
        QString productUrl;
        QString tutorialUrl;
        QString iconUrl;
        QDateTime updated; ///< invalid when unknown
        QString updateText;
        QString macUrl;
        QString macMD5;
        std::int64_t macSize = 0; ///< bytes
        QString winUrl;
        QString winMD5;
        std::int64_t winSize = 0; ///< bytes
        QString androidUrl;
        QString iosUrl;
        t_Requirements requirements;

        friend bool operator==(const t_Product&, const t_Product&) = default;
    };

    struct t_ProductsResponse {
        std::int32_t httpCode = 0;
        std::vector<t_Product> products; ///< appended to, in the order of the reply
    };

    /// Bytes of a reply at most; a longer one is a transfer that failed, 1094.
    static constexpr qsizetype kMaxReplyBytes = qsizetype{64} * 1024 * 1024;

    /// No base URL, quiet, 4000 ms to connect.
    VKAppMgrAPI();
    VKAppMgrAPI(const VKAppMgrAPI&) = delete;
    VKAppMgrAPI& operator=(const VKAppMgrAPI&) = delete;
    ~VKAppMgrAPI() override;

    /// The service's root, an HTTPS URL without a trailing slash. There is no built-in one.
    ///
    ///     "https://service.example/v1" -> ".../v1/login", ".../v1/logout", ".../v1/products"
    void setBaseURL(const QString& baseURL);

    /// 0: quiet, the default. 1: HTTP 404s and logouts. 2 or more: each request's URL and body too, which for a login
    /// holds the password.
    void setLogging(int logging);

    /// A new request body: {"api_version": 1}.
    [[nodiscard]] static QJsonObject createApiCall();

    /// Trades e-mail and password for a session. The argument of 1005 is the e-mail or the password.
    ///
    /// `httpCode` is set once a reply other than 404 has come; the rest only by HTTP 200, the session, user and name
    /// even where one of the others is missing (1003). What is not set stays as it was. The session of a
    /// successful login is written to the log, deliberately whatever the logging.
    [[nodiscard]] int login(const t_LoginData& data, VKProgress* progress, t_LoginResponse& response);

    /// Ends a session. `httpCode` is always set: 0 when no reply came. The reply's content is not looked at.
    [[nodiscard]] int logout(const t_LogoutData& data, VKProgress* progress, int& httpCode);

    /// The catalogue for this language, product and edition. HTTP 404 means that there are no products: 0.
    ///
    /// Entries without name or version are left out; everything else has a default. Products that came before a failure
    /// stay, and so does what was in the list before.
    [[nodiscard]] int products(const t_ProductsData& data, VKProgress* progress,
                               t_ProductsResponse& response);

    /// Reads one entry of the catalogue: 0, or 1003 without name or version (`product` is then filled up to there).
    ///
    /// A missing value, or one of another type, is false, 0, empty or an invalid date: "true" is no boolean, 1.5 no
    /// integer and "5" no number. Dates are ISO 8601. The requirements are a text, Base64 of a JSON object; the ones of the other
    /// platform are not looked at. What cannot be decoded says nothing. Pure; any thread.
    [[nodiscard]] static int productsFromJson(const QJsonObject& entry, t_Product& product);

    /// Posts a JSON body and waits for the reply: what a call of one's own is made of.
    ///
    /// `timeout` is in milliseconds, for connecting. A null progress leaves the one of the request before in
    /// place, deliberately. `httpCode` is set to 0 at once. `reply` gets the JSON object of any reply but a 404, with
    /// whatever HTTP status, or an empty one. Each call adds one more line "Content-Type: application/json;
    /// charset=utf-8" to all later requests of this object: the service has always been spoken to so.
    [[nodiscard]] int postBytesImpl(const QUrl& url, const QJsonDocument& body, int timeout,
                                    VKProgress* progress, int& httpCode, QJsonObject& reply);

    /// The same with a GET that carries the body, as the service expects. Deliberately different: no content type is
    /// added, HTTP 404 is 0 and no event, and `reply` is set by HTTP 200 only.
    [[nodiscard]] int getBytesImpl(const QUrl& url, const QJsonDocument& body, int timeout,
                                   VKProgress* progress, int& httpCode, QJsonObject& reply);

private:
    using ReadBody = std::function<bool(const QByteArray& body)>;

    /// getBytesImpl(), which leaves a whole JSON reply of HTTP 200 to `readBody` first: what that takes is not parsed.
    int getReply(const QUrl& url, const QJsonDocument& body, int timeout, VKProgress* progress, int& httpCode,
                 QJsonObject& reply, const ReadBody& readBody);
    [[nodiscard]] QUrl endpoint(const QString& path) const;
    void prepareRequest(const QUrl& url, int timeout, VKProgress* progress);
    void logRequest(const char* verb, const QUrl& url, const QByteArray& body) const;

    QString mBaseURL;
    int mLogging = 0;
    int mTimeout = 4000; // milliseconds to connect
    VKHttp mHttp;        // all requests; guarded by mMutex
    std::mutex mMutex;

protected:
    /// Whether "/" is appended to each endpoint's URL. Set by a subclass, before any call.
    bool mTrailingSlash = false;
};
