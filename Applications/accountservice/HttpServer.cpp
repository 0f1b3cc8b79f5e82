// libmicrohttpd speaks HTTP; here its callbacks become requests, and replies go out whole or in the wrong ways asked for.
#include "HttpServer.h"

#include <microhttpd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <netinet/in.h>
#include <poll.h>

namespace AccountService {

namespace {

constexpr unsigned kIdleSeconds = 60;

/// One request while it is read.
struct Exchange {
    Request request;
};

/// One body while it is sent.
struct Sending {
    HttpServer* server;
    QByteArray body;
    Delivery delivery;
};

ssize_t sendSome(void* context, std::uint64_t position, char* buffer, std::size_t most) {
    auto* const sending = static_cast<Sending*>(context);
    const auto at = static_cast<qsizetype>(position);
    const qsizetype left = sending->body.size() - at;
    if (left <= 0) {
        return MHD_CONTENT_READER_END_OF_STREAM;
    }
    auto size = std::min(left, static_cast<qsizetype>(most));
    if (sending->delivery == Delivery::CutOff) {
        const qsizetype half = sending->body.size() / 2;
        if (at >= half) {
            return MHD_CONTENT_READER_END_WITH_ERROR;
        }
        size = std::min(size, half - at);
    } else if (sending->delivery == Delivery::Drip) {
        if (at > 0 && !sending->server->pause(sending->server->pace().drip)) {
            return MHD_CONTENT_READER_END_WITH_ERROR;
        }
        size = 1;
    }
    std::memcpy(buffer, sending->body.constData() + at, static_cast<std::size_t>(size));
    return size;
}

struct Destroy {
    void operator()(MHD_Response* response) const { MHD_destroy_response(response); }
};
using Response = std::unique_ptr<MHD_Response, Destroy>;

bool addHeader(const Response& response, const char* name, const QByteArray& value) {
    return MHD_add_response_header(response.get(), name, value.constData()) == MHD_YES;
}

/// The announced length where it is to be a wrong one; -1 otherwise.
qsizetype announcedLength(const Reply& reply) {
    switch (reply.delivery) {
    case Delivery::AnnouncesMore:
        return reply.body.size() * 2;
    case Delivery::AnnouncesLess:
        return reply.body.size() / 2;
    default:
        return -1;
    }
}

Response streamed(HttpServer& server, const Reply& reply, std::uint64_t size) {
    constexpr std::size_t kBlockBytes = 4096;
    auto sending = std::make_unique<Sending>(Sending{&server, reply.body, reply.delivery});
    Response response(
        MHD_create_response_from_callback(size, kBlockBytes, &sendSome, sending.get(),
                                          [](void* context) { delete static_cast<Sending*>(context); }));
    if (response) {
        static_cast<void>(sending.release());
    }
    return response;
}

/// A body whose end the library tells by closing the connection, so that the only length in the header is the wrong one.
Response wronglyAnnounced(HttpServer& server, const Reply& reply, qsizetype length) {
    constexpr auto kFlags = static_cast<MHD_ResponseFlags>(MHD_RF_INSANITY_HEADER_CONTENT_LENGTH |
                                                           MHD_RF_HTTP_1_0_COMPATIBLE_STRICT);
    Response response = streamed(server, reply, MHD_SIZE_UNKNOWN);
    const bool isFine = response && MHD_set_response_options(response.get(), kFlags, MHD_RO_END) == MHD_YES &&
                        addHeader(response, MHD_HTTP_HEADER_CONTENT_LENGTH, QByteArray::number(length));
    return isFine ? std::move(response) : Response();
}

Response responseOf(HttpServer& server, const Reply& reply) {
    Response response;
    if (const qsizetype length = announcedLength(reply); length >= 0) {
        response = wronglyAnnounced(server, reply, length);
    } else if (reply.delivery == Delivery::CutOff || reply.delivery == Delivery::Drip) {
        response = streamed(server, reply, static_cast<std::uint64_t>(reply.body.size()));
    } else {
        response.reset(MHD_create_response_from_buffer(static_cast<std::size_t>(reply.body.size()),
                                                       const_cast<char*>(reply.body.constData()),
                                                       MHD_RESPMEM_MUST_COPY));
    }
    if (!response || (!reply.contentType.isEmpty() &&
                      !addHeader(response, MHD_HTTP_HEADER_CONTENT_TYPE, reply.contentType))) {
        return {};
    }
    return response;
}

/// -1, which no client ever leaves, when the library does not tell.
int socketOf(MHD_Connection* connection) {
    const MHD_ConnectionInfo* const info =
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
    return info != nullptr ? info->connect_fd : -1;
}

MHD_Result send(HttpServer& server, MHD_Connection* connection, const Request& request, const Reply& reply) {
    if (server.logs()) {
        // What a client sent as path may hold anything.
        std::fprintf(stderr, "%s %s %d\n", request.method.toPercentEncoding().constData(),
                     request.path.toPercentEncoding("/").constData(), reply.status);
    }
    if (reply.delivery == Delivery::Late && !server.pause(server.pace().slow)) {
        return MHD_NO;
    }
    if (reply.delivery == Delivery::Never) {
        server.pauseUntilLeft(socketOf(connection));
        return MHD_NO;
    }
    const Response response = responseOf(server, reply);
    if (!response) {
        return MHD_NO;
    }
    return MHD_queue_response(connection, static_cast<unsigned>(reply.status), response.get());
}

QByteArray contentTypeOf(MHD_Connection* connection) {
    return MHD_lookup_connection_value(connection, MHD_HEADER_KIND, MHD_HTTP_HEADER_CONTENT_TYPE);
}

/// Called once when the header is there, then for each piece of the body, and at its end with no bytes.
MHD_Result handle(void* context, MHD_Connection* connection, const char* path, const char* method,
                  const char* /*version*/, const char* data, std::size_t* size, void** state) try {
    if (*state == nullptr) {
        auto exchange = std::make_unique<Exchange>();
        exchange->request.method = method;
        exchange->request.path = path;
        exchange->request.contentType = contentTypeOf(connection);
        *state = exchange.release();
        return MHD_YES;
    }
    Request& request = static_cast<Exchange*>(*state)->request;
    if (*size > 0) {
        const auto more = static_cast<qsizetype>(*size);
        *size = 0;
        request.isTooLong = request.isTooLong || request.body.size() + more > kMostBodyBytes;
        if (request.isTooLong) {
            request.body.clear();
        } else {
            request.body.append(data, more);
        }
        return MHD_YES;
    }
    auto* const server = static_cast<HttpServer*>(context);
    return send(*server, connection, request, server->service().answer(request));
} catch (const std::exception&) {
    return MHD_NO; // Out of memory: the connection is closed, the service goes on.
}

void completed(void* /*context*/, MHD_Connection* /*connection*/, void** state,
               MHD_RequestTerminationCode /*reason*/) {
    delete static_cast<Exchange*>(*state);
    *state = nullptr;
}

} // namespace

HttpServer::HttpServer(Service& service, Pace pace, bool logs)
    : mService(service), mPace(pace), mLogs(logs) {}

HttpServer::~HttpServer() {
    {
        const std::lock_guard lock(mMutex);
        mEnds = true;
    }
    mEnding.notify_all();
    mDaemon.reset();
}

void HttpServer::Stop::operator()(MHD_Daemon* daemon) const { MHD_stop_daemon(daemon); }

bool HttpServer::start(const std::optional<TlsIdentity>& identity) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    unsigned flags = MHD_USE_THREAD_PER_CONNECTION | MHD_USE_INTERNAL_POLLING_THREAD | MHD_USE_POLL;
    std::vector<MHD_OptionItem> options;
    if (identity.has_value()) {
        flags |= MHD_USE_TLS;
        options.push_back({MHD_OPTION_HTTPS_MEM_KEY, 0, const_cast<char*>(identity->key.constData())});
        options.push_back(
            {MHD_OPTION_HTTPS_MEM_CERT, 0, const_cast<char*>(identity->certificate.constData())});
    }
    options.push_back({MHD_OPTION_END, 0, nullptr});
    mDaemon.reset(MHD_start_daemon(flags, 0, nullptr, nullptr, &handle, this, MHD_OPTION_SOCK_ADDR,
                                   reinterpret_cast<sockaddr*>(&address), MHD_OPTION_NOTIFY_COMPLETED,
                                   &completed, nullptr, MHD_OPTION_CONNECTION_LIMIT, kMostConnections,
                                   MHD_OPTION_CONNECTION_TIMEOUT, kIdleSeconds, MHD_OPTION_ARRAY,
                                   options.data(), MHD_OPTION_END));
    return mDaemon != nullptr;
}

quint16 HttpServer::port() const {
    const MHD_DaemonInfo* const info = MHD_get_daemon_info(mDaemon.get(), MHD_DAEMON_INFO_BIND_PORT);
    return info != nullptr ? info->port : quint16{0};
}

bool HttpServer::pause(std::chrono::milliseconds time) {
    std::unique_lock lock(mMutex);
    return !mEnding.wait_for(lock, time, [this] { return mEnds; });
}

void HttpServer::pauseUntilLeft(int connection) {
    constexpr std::chrono::milliseconds kBetweenLooks(50);
    pollfd client = {.fd = connection, .events = POLLRDHUP, .revents = 0};
    while (::poll(&client, 1, 0) == 0 && pause(kBetweenLooks)) {
    }
}

} // namespace AccountService
