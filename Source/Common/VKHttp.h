// The HTTP client: one object, one blocking call for each request, over libcurl. HTTP and HTTPS, HTTP/2 where the
// server offers it.
#pragma once

#include "VKQtExport.h"

#include <VKCoreKit/VKProgress.h>

#include <QByteArray>
#include <QString>
#include <QUrl>
#include <QUrlQuery>

#include <cstddef>
#include <cstdint>

class QIODevice;
class VKHttpImpl;
class VKHttpPart;

// Names of headers, and values that they take. Literals: making them allocates nothing.
VKQT_EXPORT extern const QString kVKHttpContentType;             ///< "Content-Type"
VKQT_EXPORT extern const QString kVKHttpContentLength;           ///< "Content-Length"
VKQT_EXPORT extern const QString kVKHttpContentRange;            ///< "Content-Range"
VKQT_EXPORT extern const QString kVKHttpAcceptType;              ///< "Accept"
VKQT_EXPORT extern const QString kVKHttpContentFormUrlEncoded;   ///< "application/x-www-form-urlencoded"
VKQT_EXPORT extern const QString kVKHttpContentApplicationJson;  ///< "application/json; charset=UTF-8"
VKQT_EXPORT extern const QString kVKHttpAuthorization;           ///< "Authorization"
VKQT_EXPORT extern const QString kVKHttpContentApplicationHttp;  ///< "application/http"
VKQT_EXPORT extern const QString kVKHttpContentTransferEncoding; ///< "Content-Transfer-Encoding"
VKQT_EXPORT extern const QString kVKHttpContentTransferEncodingBinary; ///< "Binary"
VKQT_EXPORT extern const QString kVKHttpContentID;                     ///< "Content-ID"
VKQT_EXPORT extern const QString kVKHttpUserAgent;                     ///< "User-Agent"

/// A client for a sequence of requests; the connection is kept between them.
///
///     VKHttp http;
///     http.setUrl(QUrl(u"https://photos.example/list"_s));
///     http.get();
///     if (http.error() == 0 && http.httpResultCode() == 200) { use(http.readAllBytes()); }
///
/// Used by one thread at a time; any number of objects on any threads. Nothing throws. The page
/// Documentation/Http.md shows each kind of request.
///
/// What one request leaves for the next on the same object:
///
///     replaced by each request   body, status, error
///     kept for every later one   request headers, duplicates included, and the "Content-Length" that each put()
///                                adds; parts; what put() has sent so far; credentials and settings
///     gathered                   reply headers (a later one of the same name replaces), reply content types
///                                (one text, each directly behind the one before)
///
/// Where this is not wanted, take a new object.
class VKQT_EXPORT VKHttp {
public:
    /// What a reply may bring before its transfer fails with error 56: header bytes and header lines, status lines
    /// and interim replies included. A single line of more than 100 KiB is too long for libcurl itself: error 27.
    static constexpr qsizetype kMaxReplyHeaderBytes = qsizetype{256} * 1024;
    static constexpr int kMaxReplyHeaderLines = 1000;

    /// When true, every object that is constructed afterwards traces its transfers to the log: the whole of what
    /// is sent and received, passwords and bodies included. Each transfer logs the object's trace so far again.
    static bool sLog;

    /// Set up libcurl for the process, and give back what that took. Called once each, around all use of this
    /// class, while no transfer runs; an application that never calls them works too. Loading libcurl costs some
    /// milliseconds, which otherwise the first object pays.
    static void startup();
    static void shutdown();

    VKHttp();
    VKHttp(const VKHttp&) = delete;
    VKHttp& operator=(const VKHttp&) = delete;
    virtual ~VKHttp();

    void setUrl(const QUrl& url);
    [[nodiscard]] QUrl url() const;

    /// Adds "name: value", as UTF-8, to this and every later request. Never replaces: a name that is set twice is
    /// sent twice. The text is sent as it is, so it must not come from strangers: a line break in it would begin
    /// another header. An empty value takes a header that libcurl itself would send ("Expect", "Accept") away.
    void setHeader(const QString& name, const QString& value);

    /// Basic authentication, sent when both are not empty. The user must hold no ":".
    void setBasicAuthentication(const QString& user, const QString& password);

    /// For connecting, name look-up included; 0 is libcurl's own (five minutes). Over it: error 1081. A look-up that is
    /// given up, so or by a cancel, is not waited for. A transfer that has connected has no time limit: give it a
    /// progress object to be able to end it.
    void setConnectTimeout(int milliseconds);

    /// When true, a certificate for another host name is accepted. Deliberately not one that no trusted authority
    /// signed: those are always refused (error 60).
    void setIgnoreSSLErrors(bool ignore);

    /// Watches the transfers, and may cancel them: the flag is looked at whenever bytes move and once a second
    /// while nothing does. Its byte observer is told what was sent and received. Takes a reference, and gives the
    /// one to the former object back. Null: none.
    void setProgress(VKProgress* progress);

    /// The longest reply body to take; 0, the default, for any. A longer one fails the transfer with error 63, and
    /// at most so many bytes of it were kept.
    void setMaxReplyBytes(std::int64_t bytes);

    // The verbs. Each blocks until the transfer has ended, and gives 0 whatever its outcome: see error() and
    // httpResultCode(). Redirections are not followed; replies are not decompressed.

    int get();
    /// Deliberately a GET with a body: services take long queries so.
    int getBytes(const QByteArray& body);
    int post(const QByteArray& body);

    /// Adds the header "Content-Type: application/x-www-form-urlencoded" and posts the query's text in its default
    /// rendering, in which blanks and letters outside ASCII stand as themselves.
    int postUrlFormEncoded(const QUrlQuery& query);

    /// Posts the parts that addPart() brought, all of them each time.
    int postMultipart();

    /// Sends bytes of the device, which is read from where it stands while the transfer runs: memory use is small
    /// whatever the size. The device is borrowed for the call. It counts what it has sent over the object's whole
    /// life: a second put() sends only what its size exceeds that count by. A device that fails gives error 26, and so
    /// does a size below that count.
    int put(QIODevice* device, std::int64_t size);
    int patch(const QByteArray& body);
    int deleteBytes(const QByteArray& body);

    /// Appends a part for postMultipart() and takes a reference to it. Parts are never removed.
    void addPart(VKHttpPart* part);

    /// The reply's body; of a transfer that failed on its way, what had come.
    [[nodiscard]] QByteArray readAllBytes() const;
    /// The same, decoded as UTF-8.
    [[nodiscard]] QString readAllBytesAsString() const;

    /// The value under just this name (case matters, and HTTP/2 has small letters only); empty when there is none.
    /// Of a repeated name the last one. A header whose value holds ": " itself is deliberately not kept.
    [[nodiscard]] QString replyHeader(const QString& name) const;
    [[nodiscard]] bool hasReplyHeader(const QString& name) const;

    /// The content types of all replies that the object has had, one directly behind the other.
    [[nodiscard]] QString replyContentType() const;

    /// The HTTP status; 0 when the transfer failed.
    [[nodiscard]] int httpResultCode() const;

    /// 0 when a whole reply came, whatever its status; 1105 when the host's name has no address, 1081 when
    /// connecting took too long, 1007 when cancelled, otherwise libcurl's own code (7 refused, 18 cut short, 35
    /// and 60 for TLS, 2 when libcurl is not there).
    [[nodiscard]] int error() const;

    /// Always empty: the transport has no texts.
    [[nodiscard]] QString errorMsg() const;

    /// The bytes of the reply's body, whole and so far, as the last transfer with a progress object told them;
    /// `total` is 0 when it is not known. Always 0.
    int transferAmounts(std::size_t& total, std::size_t& done);

private:
    VKHttpImpl* mImpl; // one reference, given back by Release()
};
