// An account service for tests: a server on loopback that records what it is sent, and a client of it.
#pragma once

#include "AppMgrSupport.h"
#include "Support/RecordingServer.h"

#include <VKCoreKit/VKProgress.h>

#include <memory>

namespace AppMgr {

using OwnedProgress = VKOwnedProgress;

inline OwnedProgress newProgress() { return OwnedProgress(VKProgressCreate(nullptr, nullptr)); }

/// The client, and what the text does not let callers set.
class Client : public VKAppMgrAPI {
public:
    void setTrailingSlash() { mTrailingSlash = true; }
};
using OwnedClient = VKOwned<Client>;

inline RecordingServer::Reply json(const QByteArray& body) {
    return RecordingServer::Reply::ok(quoted(body), "application/json");
}

inline RecordingServer::Reply status(const QByteArray& line, const QByteArray& body = "{}") {
    return RecordingServer::Reply::status(line, quoted(body), "application/json");
}

struct Service {
    Service() { client->setBaseURL(baseURL()); }

    [[nodiscard]] QString baseURL() const { return server.url(QString()).toString(); }

    RecordingServer server;
    OwnedClient client{new Client};
};

inline const QByteArray kGoodLogin =
    "{'api_version': 1, 'session': 'S', 'user_id': 7, 'name': 'Ada', 'channel': 'stable'}";

inline VKAppMgrAPI::t_LoginData someone() { return {u"ada@example.test"_s, u"secret"_s, u"GUID"_s}; }

/// The answer of the service on every outcome of a call, and what the client makes of it: rows that a test of any
/// call takes. `code` is the HTTP status, `status` the client's; `isEvent`: it is logged as one.
struct Outcome {
    const char* line;
    int code;
    int status;
};
inline constexpr Outcome kOutcomes[] = {
    {"201 Created", 201, 0},         {"204 No Content", 204, 0},
    {"302 Found", 302, 0},           {"400 Bad Request", 400, 1103},
    {"401 Unauthorized", 401, 1089}, {"403 Forbidden", 403, 0},
    {"405 Not Allowed", 405, 0},     {"429 Too Many Requests", 429, 1096},
    {"499 Unknown", 499, 0},         {"500 Internal Server Error", 500, 1102},
    {"501 Not Implemented", 501, 0}, {"503 Service Unavailable", 503, 0},
};

} // namespace AppMgr
