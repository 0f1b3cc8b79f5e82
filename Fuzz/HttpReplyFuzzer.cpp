// Whole replies, served over loopback: arbitrary bytes, which end the transfer one way or the other, and replies
// composed of headers and a body, which read back; then what is made of them as a reply of a service.

#include "FuzzSupport.h"

#include <VKHttp.h>
#include <VKHttpOp.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>

#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

namespace {

/// More than any input; a reply that promises more is refused before memory is set aside for it.
constexpr std::int64_t kMaxBody = std::int64_t{8} * 1024 * 1024;

QString shownBytes(const QByteArray& bytes) { return QString::fromLatin1(bytes); }

void must(bool done, const char* what) {
    if (!done) {
        std::perror(what);
        std::abort();
    }
}

/// Answers each connection's first request with the bytes that were set last, and closes.
class Server {
public:
    Server() : mListener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        must(::bind(mListener, reinterpret_cast<sockaddr*>(&address), size) == 0 &&
                 ::listen(mListener, 16) == 0 &&
                 ::getsockname(mListener, reinterpret_cast<sockaddr*>(&address), &size) == 0,
             "the server");
        url.setScheme(QStringLiteral("http"));
        url.setHost(QStringLiteral("127.0.0.1"));
        url.setPort(ntohs(address.sin_port));
        url.setPath(QStringLiteral("/"));
        std::thread([this] { serve(); }).detach();
    }

    void setReply(const QByteArray& reply) {
        const std::lock_guard lock(mMutex);
        mReply = reply;
    }

    QUrl url;

private:
    [[noreturn]] void serve() {
        for (;;) {
            const int client = ::accept4(mListener, nullptr, nullptr, SOCK_CLOEXEC);
            must(client >= 0, "accept");
            QByteArray request;
            char block[4096];
            for (ssize_t got = 1; got > 0 && !request.contains("\r\n\r\n");) {
                got = ::recv(client, block, sizeof block, 0);
                request.append(block, std::max<ssize_t>(got, 0));
            }
            QByteArray reply;
            {
                const std::lock_guard lock(mMutex);
                reply = mReply;
            }
            // The client may have had enough before the end.
            [[maybe_unused]] const ssize_t sent =
                ::send(client, reply.constData(), static_cast<std::size_t>(reply.size()), MSG_NOSIGNAL);
            ::close(client);
        }
    }

    int mListener;
    std::mutex mMutex;
    QByteArray mReply;
};

Server& server() {
    static auto* const sServer = new Server; // as long as the process: its thread never ends
    return *sServer;
}

bool isParsed(const VKHttp& http, bool expectJson) {
    const QString type = http.replyContentType();
    if (http.error() != 0 || !(expectJson || type.contains(u"json") || type.contains(u"javascript"))) {
        return false;
    }
    QJsonParseError error;
    error.error = QJsonParseError::NoError;
    if (!http.readAllBytes().isEmpty()) {
        QJsonDocument::fromJson(http.readAllBytes(), &error);
    }
    return error.error == QJsonParseError::NoError;
}

void checkOperation(VKHttp& http, bool expectJson, const QByteArray& reply) {
    VKHttpOp op;
    op.expectJson = expectJson;
    const bool usable = op.processReply(http);
    require(op.result.error == http.error() && op.result.httpCode == http.httpResultCode(),
            "the result is the transfer's", {shownBytes(reply)});
    require(usable == (http.httpResultCode() == 200 || isParsed(http, expectJson)),
            "usable is a status of 200 or a body that parses", {shownBytes(reply)});
    require(usable == op.result.message.isEmpty(), "just what is not usable has a message",
            {shownBytes(reply), op.result.message});
    require(op.object == op.document.object(), "the object is the document's", {shownBytes(reply)});
}

void fetch(VKHttp& http, const QByteArray& reply) {
    server().setReply(reply);
    http.setMaxReplyBytes(kMaxBody);
    http.setUrl(server().url);
    require(http.get() == 0, "a transfer gives 0");
    // Not the other way round: libcurl takes some first lines for a status line that have no status, or finds a number
    // in them that is none ("HTTP/2147483648 Content"). What it says is what the library says.
    require(http.error() == 0 || http.httpResultCode() == 0, "an error has no status", {shownBytes(reply)});
    require(http.readAllBytes().size() <= reply.size(), "a body is a part of its reply", {shownBytes(reply)});
}

QByteArray chunked(const QByteArray& body, int chunkSize) {
    QByteArray text;
    for (qsizetype at = 0; at < body.size();) {
        const QByteArray chunk = body.mid(at, chunkSize);
        text += QByteArray::number(chunk.size(), 16) + "\r\n" + chunk + "\r\n";
        at += chunk.size();
    }
    return text + "0\r\n\r\n";
}

/// Letters, digits and hyphens of the input, so that it is a name whatever the input holds.
QByteArray nameFrom(FuzzInput& input) {
    QByteArray name = "X-";
    for (const char c : input.bytes()) {
        if (std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-') {
            name += c;
        }
    }
    return name;
}

/// Without what would end the line or be split.
QByteArray valueFrom(FuzzInput& input) {
    QByteArray value = "v";
    for (const char c : input.bytes()) {
        if (static_cast<unsigned char>(c) > 0x20 && c != ':') {
            value += c;
        }
    }
    return value;
}

void checkComposed(FuzzInput& input) {
    const int status = input.number(200, 599);
    const bool isChunked = input.flag();
    const bool isJson = input.flag();
    const bool expectJson = input.flag();
    QMap<QByteArray, QByteArray> headers;
    for (int left = input.number(0, 6); left > 0; --left) {
        const QByteArray name = nameFrom(input);
        headers.insert(name, valueFrom(input));
    }
    QByteArray reply = "HTTP/1.1 " + QByteArray::number(status) + " Some\r\n";
    for (auto header = headers.cbegin(); header != headers.cend(); ++header) {
        reply += header.key() + ": " + header.value() + "\r\n";
    }
    const QByteArray type = isJson ? "application/json" : "text/plain";
    reply += "Content-Type: " + type + "\r\n";
    const int chunkSize = input.number(1, 64);
    const QByteArray body = input.rest();
    const QByteArray sent = isChunked ? chunked(body, chunkSize) : body;
    reply += isChunked ? QByteArray("Transfer-Encoding: chunked\r\n\r\n")
                       : "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n";
    reply += sent;

    VKHttp http;
    fetch(http, reply);
    const bool hasNoBody = status == 204 || status == 304;
    require(http.httpResultCode() == status, "the status reads back", {shownBytes(reply)});
    require(http.readAllBytes() == (hasNoBody ? QByteArray() : body), "the body reads back",
            {shownBytes(reply), shownBytes(http.readAllBytes())});
    require(http.replyContentType() == QString::fromLatin1(type), "the content type reads back",
            {shownBytes(reply), http.replyContentType()});
    for (auto header = headers.cbegin(); header != headers.cend(); ++header) {
        require(http.replyHeader(QString::fromLatin1(header.key())) == QString::fromUtf8(header.value()),
                "a header reads back", {shownBytes(reply), shownBytes(header.key())});
    }
    checkOperation(http, expectJson, reply);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    if (input.flag()) {
        checkComposed(input);
        return 0;
    }
    const bool expectJson = input.flag();
    const QByteArray reply = input.rest();
    VKHttp http;
    fetch(http, reply);
    checkOperation(http, expectJson, reply);
    return 0;
}
