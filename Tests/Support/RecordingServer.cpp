// Sockets below, bytes kept above. A request is noted when its head is complete, and again with its body.
#include "Support/RecordingServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <optional>
#include <utility>

namespace {

constexpr std::chrono::seconds kPatience(10);

bool sendAll(int socket, const QByteArray& bytes) {
    for (qsizetype sent = 0; sent < bytes.size();) {
        const ssize_t n = ::send(socket, bytes.constData() + sent,
                                 static_cast<std::size_t>(bytes.size() - sent), MSG_NOSIGNAL);
        if (n < 0) {
            return false;
        }
        sent += n;
    }
    return true;
}

} // namespace

/// One client, with what it has sent and nobody has read yet.
struct RecordingServer::Connection {
    int socket = -1;
    int number = 0;
    bool isReset = false;
    QByteArray buffer;
    std::thread thread;

    /// False when the client has gone.
    bool readMore() {
        std::array<char, 65536> bytes{};
        const ssize_t n = ::recv(socket, bytes.data(), bytes.size(), 0);
        if (n <= 0) {
            return false;
        }
        buffer.append(bytes.data(), n);
        return true;
    }

    std::optional<QByteArray> takeUpTo(QByteArrayView mark) {
        qsizetype at = -1;
        while ((at = buffer.indexOf(mark)) < 0) {
            if (!readMore()) {
                return std::nullopt;
            }
        }
        const QByteArray taken = buffer.left(at + mark.size());
        buffer.remove(0, taken.size());
        return taken;
    }

    /// Fewer when the client leaves.
    QByteArray take(qsizetype size) {
        while (buffer.size() < size && readMore()) {
        }
        const QByteArray taken = buffer.left(size);
        buffer.remove(0, taken.size());
        return taken;
    }

    void readBody(Request& request) {
        request.isChunked = request.value("Transfer-Encoding").toLower() == "chunked";
        if (!request.isChunked) {
            const qsizetype size = std::max<qsizetype>(0, request.value("Content-Length").toLongLong());
            request.body = take(size);
            request.isWhole = request.body.size() == size;
            return;
        }
        for (;;) {
            const std::optional<QByteArray> line = takeUpTo("\r\n");
            const qsizetype size = line ? line->trimmed().toLongLong(nullptr, 16) : 0;
            const QByteArray chunk = take(size + 2);
            request.isWhole = line && chunk.size() == size + 2;
            if (!request.isWhole || size == 0) {
                return;
            }
            request.body += chunk.chopped(2);
        }
    }
};

void RecordingServer::Gate::open() {
    const std::lock_guard lock(mMutex);
    mIsOpen = true;
    mChange.notify_all();
}

bool RecordingServer::Gate::waitUntilReached() {
    std::unique_lock lock(mMutex);
    return mChange.wait_for(lock, kPatience, [this] { return mIsReached; });
}

void RecordingServer::Gate::pass() {
    std::unique_lock lock(mMutex);
    mIsReached = true;
    mChange.notify_all();
    mChange.wait(lock, [this] { return mIsOpen; });
}

QList<QByteArray> RecordingServer::Request::values(QByteArrayView name) const {
    QList<QByteArray> values;
    for (const QByteArray& line : headerLines) {
        const qsizetype colon = line.indexOf(':');
        if (line.left(colon).compare(name, Qt::CaseInsensitive) == 0) {
            values.append(line.mid(colon + 1).trimmed());
        }
    }
    return values;
}

QByteArray RecordingServer::Request::value(QByteArrayView name) const {
    const QList<QByteArray> all = values(name);
    return all.isEmpty() ? QByteArray() : all.last();
}

RecordingServer::Reply RecordingServer::Reply::ok(const QByteArray& body, const QByteArray& contentType) {
    return status("200 OK", body, contentType);
}

RecordingServer::Reply RecordingServer::Reply::status(const QByteArray& status, const QByteArray& body,
                                                      const QByteArray& contentType,
                                                      const QByteArray& headerLines) {
    QByteArray bytes = "HTTP/1.1 " + status + "\r\n";
    if (!contentType.isEmpty()) {
        bytes += "Content-Type: " + contentType + "\r\n";
    }
    bytes += headerLines + "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
    return raw(bytes);
}

RecordingServer::Reply RecordingServer::Reply::raw(const QByteArray& bytes) {
    Reply reply;
    reply.send(bytes);
    return reply;
}

RecordingServer::Reply& RecordingServer::Reply::send(const QByteArray& bytes) { return repeat(bytes, 1); }

RecordingServer::Reply& RecordingServer::Reply::repeat(const QByteArray& bytes, qint64 times) {
    mSteps.emplace_back(Send{bytes, times});
    return *this;
}

RecordingServer::Reply& RecordingServer::Reply::pause(const GatePtr& gate) {
    mSteps.emplace_back(gate);
    return *this;
}

RecordingServer::Reply& RecordingServer::Reply::takeBody(qsizetype bytes) {
    mSteps.emplace_back(Take{bytes});
    return *this;
}

RecordingServer::Reply& RecordingServer::Reply::close() {
    mSteps.emplace_back(Close{false});
    return *this;
}

RecordingServer::Reply& RecordingServer::Reply::reset() {
    mSteps.emplace_back(Close{true});
    return *this;
}

RecordingServer::Reply& RecordingServer::Reply::beforeBody() {
    mIsBeforeBody = true;
    return *this;
}

RecordingServer::Reply& RecordingServer::Reply::withoutContinue() {
    mSendsContinue = false;
    return *this;
}

RecordingServer::RecordingServer() {
    qputenv("no_proxy", "*");
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    if (listener < 0 || ::bind(listener, any, size) != 0 || ::listen(listener, SOMAXCONN) != 0 ||
        ::getsockname(listener, any, &size) != 0) {
        ::close(listener);
        return;
    }
    mListener = listener;
    mPort = ntohs(address.sin_port);
    mAcceptor = std::thread([this] { acceptAll(); });
}

RecordingServer::~RecordingServer() {
    {
        const std::lock_guard lock(mMutex);
        mIsStopping = true;
        for (const GatePtr& gate : mGates) {
            gate->open();
        }
        for (const auto& connection : mConnections) {
            if (connection->socket >= 0) {
                ::shutdown(connection->socket, SHUT_RDWR);
            }
        }
    }
    if (mListener >= 0) {
        ::shutdown(mListener, SHUT_RDWR);
        mAcceptor.join();
        ::close(mListener);
    }
    // Nobody adds connections any more.
    for (const auto& connection : mConnections) {
        connection->thread.join();
        if (connection->socket >= 0) {
            ::close(connection->socket);
        }
    }
}

QUrl RecordingServer::url(const QString& encodedPath) const {
    return QUrl(QStringLiteral("http://127.0.0.1:") + QString::number(mPort) + encodedPath);
}

void RecordingServer::reply(const Reply& reply) {
    const std::lock_guard lock(mMutex);
    mReplies.push_back(reply);
}

void RecordingServer::setHandler(std::function<Reply(const Request&)> handler) {
    const std::lock_guard lock(mMutex);
    mHandler = std::move(handler);
}

bool RecordingServer::waitForRequests(int count) {
    std::unique_lock lock(mMutex);
    return mChange.wait_for(lock, kPatience, [&] { return mRequests.size() >= count; });
}

QList<RecordingServer::Request> RecordingServer::requests() const {
    const std::lock_guard lock(mMutex);
    return mRequests;
}

RecordingServer::Request RecordingServer::request(int index) const {
    const std::lock_guard lock(mMutex);
    return mRequests.value(index);
}

int RecordingServer::connections() const {
    const std::lock_guard lock(mMutex);
    return static_cast<int>(mConnections.size());
}

void RecordingServer::acceptAll() {
    for (;;) {
        const int socket = ::accept4(mListener, nullptr, nullptr, SOCK_CLOEXEC);
        const std::lock_guard lock(mMutex);
        if (socket < 0 || mIsStopping) {
            ::close(socket);
            return;
        }
        const int on = 1;
        ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        auto& connection = *mConnections.emplace_back(std::make_unique<Connection>());
        connection.socket = socket;
        connection.number = static_cast<int>(mConnections.size()) - 1;
        connection.thread = std::thread([this, &connection] { serve(connection); });
    }
}

void RecordingServer::serve(Connection& connection) {
    while (serveOne(connection)) {
    }
    const std::lock_guard lock(mMutex);
    if (connection.isReset) {
        ::close(std::exchange(connection.socket, -1));
    } else {
        // Closing it now would cut off what the client has not read yet, where it sent more than was asked for.
        ::shutdown(connection.socket, SHUT_RDWR);
    }
}

/// False when the connection has ended.
bool RecordingServer::serveOne(Connection& connection) {
    const std::optional<QByteArray> head = connection.takeUpTo("\r\n\r\n");
    if (!head) {
        return false;
    }
    Request request;
    request.head = *head;
    request.connection = connection.number;
    QList<QByteArray> lines = head->chopped(4).split('\n');
    for (QByteArray& line : lines) {
        line = line.endsWith('\r') ? line.chopped(1) : line;
    }
    request.requestLine = lines.takeFirst();
    request.headerLines = lines;
    const int index = note(request);
    const Reply reply = nextReply(request);
    if (reply.mIsBeforeBody) {
        return play(connection, reply, index);
    }
    if (reply.mSendsContinue && request.value("Expect") == "100-continue" &&
        !sendAll(connection.socket, "HTTP/1.1 100 Continue\r\n\r\n")) {
        return false;
    }
    connection.readBody(request);
    amend(index, request);
    return play(connection, reply, index);
}

RecordingServer::Reply RecordingServer::nextReply(const Request& request) {
    std::function<Reply(const Request&)> handler;
    {
        const std::lock_guard lock(mMutex);
        if (!mReplies.empty()) {
            Reply reply = mReplies.front();
            mReplies.erase(mReplies.begin());
            return reply;
        }
        handler = mHandler;
    }
    return handler ? handler(request) : Reply::raw("HTTP/1.1 204 No Content\r\n\r\n");
}

int RecordingServer::note(const Request& request) {
    const std::lock_guard lock(mMutex);
    mRequests.append(request);
    mChange.notify_all();
    return static_cast<int>(mRequests.size()) - 1;
}

void RecordingServer::amend(int index, const Request& request) {
    const std::lock_guard lock(mMutex);
    mRequests[index] = request;
}

void RecordingServer::takeBody(Connection& connection, qsizetype bytes, int index) {
    const QByteArray taken = connection.take(bytes);
    const std::lock_guard lock(mMutex);
    mRequests[index].body += taken;
}

/// False when the server ends.
bool RecordingServer::stopAt(const GatePtr& gate) {
    {
        const std::lock_guard lock(mMutex);
        if (mIsStopping) {
            return false;
        }
        mGates.push_back(gate);
    }
    gate->pass();
    return true;
}

/// False when the connection has ended.
bool RecordingServer::play(Connection& connection, const Reply& reply, int index) {
    for (const auto& step : reply.mSteps) {
        if (const auto* send = std::get_if<Reply::Send>(&step)) {
            for (qint64 i = 0; i < send->times; ++i) {
                if (!sendAll(connection.socket, send->bytes)) {
                    return false;
                }
            }
        } else if (const auto* take = std::get_if<Reply::Take>(&step)) {
            takeBody(connection, take->bytes, index);
        } else if (const auto* gate = std::get_if<GatePtr>(&step)) {
            if (!stopAt(*gate)) {
                return false;
            }
        } else {
            if (std::get<Reply::Close>(step).isReset) {
                const linger now = {.l_onoff = 1, .l_linger = 0};
                ::setsockopt(connection.socket, SOL_SOCKET, SO_LINGER, &now, sizeof now);
                connection.isReset = true;
            }
            return false;
        }
    }
    return true;
}
