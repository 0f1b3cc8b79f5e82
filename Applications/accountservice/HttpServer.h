// The service on a loopback port, over plain HTTP or TLS. A thread for each connection.
#pragma once

#include "AccountService.h"
#include "TlsIdentity.h"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>

struct MHD_Daemon;

namespace AccountService {

struct Pace {
    std::chrono::milliseconds slow{2000}; ///< Before a late reply.
    std::chrono::milliseconds drip{50};   ///< Between the bytes of a dripping one.
};

class HttpServer {
public:
    HttpServer(Service& service, Pace pace, bool logs);
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;
    /// Ends every connection and waits for their threads, also for those that are slow on purpose.
    ~HttpServer();

    /// Listens on a free port of 127.0.0.1; over TLS when there is an identity. False, with the reason in errno, when
    /// it cannot.
    [[nodiscard]] bool start(const std::optional<TlsIdentity>& identity);

    [[nodiscard]] quint16 port() const;

    /// The most connections at a time; others are closed at once.
    static constexpr unsigned kMostConnections = 256;

    // For the callbacks of the HTTP library.
    [[nodiscard]] Service& service() { return mService; }
    [[nodiscard]] const Pace& pace() const { return mPace; }
    [[nodiscard]] bool logs() const { return mLogs; }
    /// False when the service ends meanwhile.
    [[nodiscard]] bool pause(std::chrono::milliseconds time);
    /// Until the client has closed the connection, or its side of it, or the service ends.
    void pauseUntilLeft(int connection);

private:
    struct Stop {
        void operator()(MHD_Daemon* daemon) const;
    };

    Service& mService;
    const Pace mPace;
    const bool mLogs;
    std::mutex mMutex;
    std::condition_variable mEnding;
    bool mEnds = false;
    std::unique_ptr<MHD_Daemon, Stop> mDaemon;
};

} // namespace AccountService
