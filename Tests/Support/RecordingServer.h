// An HTTP server on loopback, on a port of its own, that keeps every byte it was sent and answers with the bytes that
// a test gives it, well-formed or not. Plain sockets; a thread for each connection.
//
//     RecordingServer server;
//     server.reply(RecordingServer::Reply::ok("hello"));
//     http.setUrl(server.url(u"/a"_s));
//     http.get();
//     QCOMPARE(server.request(0).requestLine, "GET /a HTTP/1.1");
//
// Requests take the replies in order, over all connections; when there is none left, an empty "204 No Content". All
// functions may be called from any thread.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QUrl>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <variant>
#include <vector>

class RecordingServer {
public:
    /// Where a reply stops until the test lets it go on.
    class Gate {
    public:
        void open();
        /// Whether a reply has come to the gate; waits for that, ten seconds at most.
        [[nodiscard]] bool waitUntilReached();

    private:
        friend class RecordingServer;
        void pass(); // waits until it is open

        std::mutex mMutex;
        std::condition_variable mChange;
        bool mIsReached = false;
        bool mIsOpen = false;
    };
    using GatePtr = std::shared_ptr<Gate>;

    struct Request {
        QByteArray requestLine;        ///< without line end: "GET /a HTTP/1.1"
        QList<QByteArray> headerLines; ///< in order, with duplicates, without line ends: "Accept: */*"
        QByteArray body;               ///< with the chunks of a chunked one put together
        QByteArray head;               ///< the bytes as they came, up to the empty line and with it
        bool isChunked = false;
        bool isWhole = true; ///< false when the client left before the body was complete
        int connection = 0;  ///< which one, from 0

        /// The values of a header, in order; its name's case does not matter.
        [[nodiscard]] QList<QByteArray> values(QByteArrayView name) const;
        [[nodiscard]] QByteArray value(QByteArrayView name) const; ///< the last one; null when there is none
    };

    /// What is answered to one request: a list of steps. After the last one the connection is kept, unless a step
    /// closed it.
    class Reply {
    public:
        /// "HTTP/1.1 200 OK" with "Content-Type" (unless empty), "Content-Length" and the body.
        [[nodiscard]] static Reply ok(const QByteArray& body, const QByteArray& contentType = "text/plain");
        /// The same with another status ("404 Not Found") and more header lines, each with its line end.
        [[nodiscard]] static Reply status(const QByteArray& status, const QByteArray& body = {},
                                          const QByteArray& contentType = "text/plain",
                                          const QByteArray& headerLines = {});
        /// Just these bytes.
        [[nodiscard]] static Reply raw(const QByteArray& bytes);

        Reply& send(const QByteArray& bytes);
        /// Sends the bytes `times` times in a row, or until the client has gone.
        Reply& repeat(const QByteArray& bytes, qint64 times);
        /// The reply goes on when the gate is open.
        Reply& pause(const GatePtr& gate);
        /// Of a reply before the body: waits for so many bytes of it, which are recorded.
        Reply& takeBody(qsizetype bytes);
        /// Ends the connection: orderly, or with a reset.
        Reply& close();
        Reply& reset();
        /// Answers as soon as the head is there. What comes as body after that is not waited for.
        Reply& beforeBody();
        /// Sends no "100 Continue" to a client that waits for it.
        Reply& withoutContinue();

    private:
        friend class RecordingServer;
        struct Send {
            QByteArray bytes;
            qint64 times = 1;
        };
        struct Take {
            qsizetype bytes = 0;
        };
        struct Close {
            bool isReset = false;
        };
        std::vector<std::variant<Send, Take, GatePtr, Close>> mSteps;
        bool mIsBeforeBody = false;
        bool mSendsContinue = true;
    };

    /// Listens already when this returns; isListening() is false when the machine does not let it. Proxies that the
    /// environment names are switched off for the process.
    RecordingServer();
    RecordingServer(const RecordingServer&) = delete;
    RecordingServer& operator=(const RecordingServer&) = delete;
    /// Ends all connections and opens the gates that replies stand at.
    ~RecordingServer();

    [[nodiscard]] static GatePtr makeGate() { return std::make_shared<Gate>(); }

    [[nodiscard]] bool isListening() const noexcept { return mListener >= 0; }
    [[nodiscard]] quint16 port() const noexcept { return mPort; }
    /// "http://127.0.0.1:PORT" and the path, which is encoded already.
    [[nodiscard]] QUrl url(const QString& encodedPath = QStringLiteral("/")) const;

    void reply(const Reply& reply);
    /// Asked, on the connection's thread, when no reply is left.
    void setHandler(std::function<Reply(const Request&)> handler);

    /// Waits until so many requests came, ten seconds at most; false when they did not.
    [[nodiscard]] bool waitForRequests(int count);
    [[nodiscard]] QList<Request> requests() const;
    /// The request with this number, which is there already; an empty one otherwise.
    [[nodiscard]] Request request(int index) const;
    [[nodiscard]] int connections() const;

private:
    struct Connection;

    void acceptAll();
    void serve(Connection& connection);
    bool serveOne(Connection& connection);
    Reply nextReply(const Request& request);
    int note(const Request& request);
    void amend(int index, const Request& request);
    bool play(Connection& connection, const Reply& reply, int index);
    void takeBody(Connection& connection, qsizetype bytes, int index);
    bool stopAt(const GatePtr& gate);

    int mListener = -1;
    quint16 mPort = 0;
    mutable std::mutex mMutex;
    std::condition_variable mChange;
    bool mIsStopping = false;
    QList<Request> mRequests;
    std::vector<Reply> mReplies; // those not used yet, the next one first
    std::function<Reply(const Request&)> mHandler;
    std::vector<GatePtr> mGates; // that replies stand at
    std::vector<std::unique_ptr<Connection>> mConnections;
    std::thread mAcceptor;
};
