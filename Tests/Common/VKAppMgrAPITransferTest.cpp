// Requests that do not end well, and objects that are shared: failures of the transport, time-outs, cancelling,
// progress objects, threads, replies that are too long.
#include "VKAppMgrAPI.h"

#include "AppMgrServiceSupport.h"

#include <QMap>

#include <array>
#include <mutex>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace AppMgr;
using CoreKit::LogCapture;
using Reply = RecordingServer::Reply;

namespace {

/// A port of loopback that is listened at and never accepted from. Once its queue is full, connecting waits.
class BusyPort {
public:
    BusyPort() {
        mListener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* const plain = reinterpret_cast<sockaddr*>(&address);
        if (::bind(mListener, plain, size) != 0 || ::listen(mListener, 0) != 0 ||
            ::getsockname(mListener, plain, &size) != 0) {
            qFatal("no port");
        }
        mPort = ntohs(address.sin_port);
        for (int& waiting : mWaiting) {
            waiting = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
            static_cast<void>(::connect(waiting, plain, size)); // it is in progress, or stands in the queue
        }
    }
    ~BusyPort() {
        for (const int waiting : mWaiting) {
            ::close(waiting);
        }
        ::close(mListener);
    }
    BusyPort(const BusyPort&) = delete;
    BusyPort& operator=(const BusyPort&) = delete;

    [[nodiscard]] QUrl url() const { return QUrl(u"http://127.0.0.1:%1/"_s.arg(mPort)); }

private:
    int mListener = -1;
    std::array<int, 4> mWaiting{};
    quint16 mPort = 0;
};

/// A base URL that nobody listens at: the port of a server that is gone.
QString refusingURL() {
    const RecordingServer server;
    return server.url(QString()).toString();
}

/// Longer than a name may be, so that no resolver asks anyone.
QString unresolvableURL() {
    const QString label(63, u'a');
    return u"http://"_s + QStringList(5, label).join(u'.');
}

int login(const OwnedClient& client, VKProgress* progress = nullptr) {
    VKAppMgrAPI::t_LoginResponse response;
    return client->login(someone(), progress, response);
}

} // namespace

class VKAppMgrAPITransferTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void failures_data();
    void failures();
    void brokenReplies_data();
    void brokenReplies();
    void connectingTimesOut();
    void cancelledBefore();
    void cancelledWhileTheServiceIsSilent();
    void cancelledWhileProductsCome();
    void theProgressObjectStays();
    void anotherProgressObjectReplacesIt();
    void progressIsGivenBack();
    void longReplies_data();
    void longReplies();
    void sharedByThreads();
    void countedLikeEverythingShared();
};

void VKAppMgrAPITransferTest::failures_data() {
    QTest::addColumn<QString>("baseURL");
    QTest::addColumn<int>("status");
    QTest::newRow("refused") << refusingURL() << 1094;
    QTest::newRow("no such host") << unresolvableURL() << 1105;
    QTest::newRow("no such protocol") << u"ftp://127.0.0.1"_s << 1094;
    QTest::newRow("files are not served") << u"file:///etc"_s << 1094;
    QTest::newRow("no URL") << u"http://["_s << 1094;
}

/// Each call logs what it passes on; what was given to it stays as it was, but for the status of a logout.
void VKAppMgrAPITransferTest::failures() {
    QFETCH(QString, baseURL);
    QFETCH(int, status);
    const OwnedClient client(new Client);
    client->setBaseURL(baseURL);
    const QStringList event{u"event %1"_s.arg(status)};
    LogCapture log;
    VKAppMgrAPI::t_LoginResponse response{-1, u"s"_s, u"n"_s, -1, u"m"_s, u"c"_s};
    QCOMPARE(client->login(someone(), nullptr, response), status);
    QCOMPARE(response.httpCode, -1);
    QCOMPARE(response.session + response.name + response.message + response.channel, u"snmc"_s);
    QCOMPARE(taken(log), event);
    int code = -1;
    QCOMPARE(client->logout({u"S"_s}, nullptr, code), status);
    QCOMPARE(code, 0);
    QCOMPARE(taken(log), event);
    VKAppMgrAPI::t_ProductsResponse products;
    products.httpCode = -1;
    QCOMPARE(client->products({u"S"_s, {}, u"en"_s, {}, {}, {}}, nullptr, products), status);
    QCOMPARE(products.httpCode, -1);
    QVERIFY(products.products.empty());
    QCOMPARE(taken(log), event);
}

void VKAppMgrAPITransferTest::brokenReplies_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("no HTTP") << QByteArray("hello\r\n");
    QTest::newRow("half a body") << QByteArray("HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n"
                                               "Content-Length: 500\r\n\r\n") +
                                        quoted(kGoodLogin);
    QTest::newRow("half a chunk") << QByteArray("HTTP/1.1 200 OK\r\nContent-Type: application/json\r\n"
                                                "Transfer-Encoding: chunked\r\n\r\nff\r\n") +
                                         quoted(kGoodLogin);
}

void VKAppMgrAPITransferTest::brokenReplies() {
    QFETCH(QByteArray, bytes);
    Service service;
    const LogCapture log;
    service.server.setHandler([&](const auto& /*request*/) { return Reply::raw(bytes).close(); });
    QCOMPARE(login(service.client), 1094);
    VKAppMgrAPI::t_ProductsResponse products;
    QCOMPARE(service.client->products({u"S"_s, {}, u"en"_s, {}, {}, {}}, nullptr, products), 1094);
    QVERIFY(products.products.empty());
    service.server.reply(json(kGoodLogin));
    QCOMPARE(login(service.client), 0);
}

void VKAppMgrAPITransferTest::connectingTimesOut() {
    const BusyPort port;
    const OwnedClient client(new Client);
    LogCapture log;
    int code = -1;
    QJsonObject reply{{u"old"_s, 1}};
    QCOMPARE(client->getBytesImpl(port.url(), {}, 50, nullptr, code, reply), 1081);
    QCOMPARE(code, 0);
    QCOMPARE(reply.size(), 1);
    QCOMPARE(client->postBytesImpl(port.url(), {}, 50, nullptr, code, reply), 1081);
    QCOMPARE(code, 0);
    QVERIFY(reply.isEmpty());
    QCOMPARE(taken(log), QStringList()); // the calls above log what these answer
}

void VKAppMgrAPITransferTest::cancelledBefore() {
    Service service;
    LogCapture log;
    service.server.setHandler([](const auto& /*request*/) { return json(kGoodLogin); });
    const OwnedProgress progress = newProgress();
    VKProgressSetCancel(progress.get(), true);
    VKAppMgrAPI::t_LoginResponse response;
    response.httpCode = -1;
    QCOMPARE(service.client->login(someone(), progress.get(), response), 1007);
    QCOMPARE(response.httpCode, -1);
    int code = -1;
    QCOMPARE(service.client->logout({u"S"_s}, progress.get(), code), 1007);
    QCOMPARE(code, 0);
    VKAppMgrAPI::t_ProductsResponse products;
    QCOMPARE(service.client->products({u"S"_s, {}, u"en"_s, {}, {}, {}}, progress.get(), products), 1007);
    QCOMPARE(taken(log), QStringList()); // the user's own doing is no event
    VKProgressSetCancel(progress.get(), false);
    QCOMPARE(service.client->login(someone(), progress.get(), response), 0);
}

void VKAppMgrAPITransferTest::cancelledWhileTheServiceIsSilent() {
    Service service;
    LogCapture log;
    const auto gate = RecordingServer::makeGate();
    service.server.reply(Reply().pause(gate));
    const OwnedProgress progress = newProgress();
    bool isReached = false;
    std::thread user([&] {
        isReached = gate->waitUntilReached();
        VKProgressSetCancel(progress.get(), true);
    });
    const int status = login(service.client, progress.get());
    user.join();
    QVERIFY(isReached);
    QCOMPARE(status, 1007);
    QCOMPARE(taken(log), QStringList());
    gate->open();
    VKProgressSetCancel(progress.get(), false);
    service.server.setHandler([](const auto& /*request*/) { return json(kGoodLogin); });
    QCOMPARE(login(service.client, progress.get()), 0);
}

/// What had come of the reply is not read, although it is the beginning of a catalogue.
void VKAppMgrAPITransferTest::cancelledWhileProductsCome() {
    Service service;
    LogCapture log;
    const auto gate = RecordingServer::makeGate();
    const QByteArray good = quoted("{'api_version':1,'products':[{'name':'A','version':'1'}]}");
    service.server.reply(
        Reply::raw("HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 1000\r\n\r\n" + good)
            .pause(gate));
    const OwnedProgress progress = newProgress();
    std::thread user([&] {
        static_cast<void>(gate->waitUntilReached());
        VKProgressSetCancel(progress.get(), true);
    });
    VKAppMgrAPI::t_ProductsResponse products;
    const int status = service.client->products({u"S"_s, {}, u"en"_s, {}, {}, {}}, progress.get(), products);
    user.join();
    gate->open();
    QCOMPARE(status, 1007);
    QVERIFY(products.products.empty());
    QCOMPARE(products.httpCode, 0);
    QCOMPARE(taken(log), QStringList());
}

void VKAppMgrAPITransferTest::theProgressObjectStays() {
    Service service;
    const LogCapture log;
    service.server.setHandler([](const auto& /*request*/) { return json(kGoodLogin); });
    const OwnedProgress progress = newProgress();
    QCOMPARE(login(service.client, progress.get()), 0);
    VKProgressSetCancel(progress.get(), true);
    QCOMPARE(login(service.client, nullptr), 1007); // deliberately: null leaves the one of before
}

void VKAppMgrAPITransferTest::anotherProgressObjectReplacesIt() {
    Service service;
    const LogCapture log;
    service.server.setHandler([](const auto& /*request*/) { return json(kGoodLogin); });
    const OwnedProgress first = newProgress();
    const OwnedProgress second = newProgress();
    QCOMPARE(login(service.client, first.get()), 0);
    VKProgressSetCancel(first.get(), true);
    QCOMPARE(login(service.client, second.get()), 0);
    QCOMPARE(login(service.client, nullptr), 0);
}

/// The object holds a reference of its own, and the caller's may go. (The leak sanitizer sees to the other end.)
void VKAppMgrAPITransferTest::progressIsGivenBack() {
    Service service;
    const LogCapture log;
    service.server.setHandler([](const auto& /*request*/) { return json(kGoodLogin); });
    QCOMPARE(login(service.client, newProgress().get()), 0);
    QCOMPARE(login(service.client, newProgress().get()), 0);
    QCOMPARE(login(service.client), 0);
}

void VKAppMgrAPITransferTest::longReplies_data() {
    QTest::addColumn<qint64>("size");
    QTest::addColumn<int>("status");
    const qint64 most = VKAppMgrAPI::kMaxReplyBytes;
    QTest::newRow("below the limit") << most - 1 << 1003; // it came, and was not understood
    QTest::newRow("at the limit") << most << 1003;
    QTest::newRow("above the limit") << most + 1 << 1094;
}

void VKAppMgrAPITransferTest::longReplies() {
    QFETCH(qint64, size);
    QFETCH(int, status);
    constexpr qint64 kBlock = qint64{1024} * 1024;
    Service service;
    const LogCapture log;
    Reply reply = Reply::raw("HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nContent-Length: " +
                             QByteArray::number(size) + "\r\n\r\n");
    reply.repeat(QByteArray(kBlock, 'x'), size / kBlock).send(QByteArray(size % kBlock, 'x'));
    service.server.reply(reply);
    QCOMPARE(login(service.client), status);
    service.server.reply(json(kGoodLogin));
    QCOMPARE(login(service.client), 0);
}

/// Sixteen threads and one object: everyone gets the answer to their own question, one request at a time.
void VKAppMgrAPITransferTest::sharedByThreads() {
    constexpr int kThreads = 16;
    constexpr int kCalls = 8;
    Service service;
    const LogCapture log;
    int answered = 0; // there is one connection, so one thread of the server
    service.server.setHandler([&answered](const auto& /*request*/) {
        const QByteArray number = QByteArray::number(answered++);
        return json("{'api_version':1,'session':'" + number +
                    "','user_id':1,'name':'N','products':[{'name':'" + number + "','version':'1'}]}");
    });
    std::mutex mutex;
    QMap<int, QString> asked; // by the number of the answer
    int failed = 0;
    const auto note = [&](int status, const QString& answer, const QString& who) {
        const std::lock_guard lock(mutex);
        failed += status == 0 ? 0 : 1;
        asked.insert(answer.toInt(), who);
    };
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; ++number) {
        threads.emplace_back([&, number] {
            for (int call = 0; call < kCalls; ++call) {
                const QString who = u"<%1-%2>"_s.arg(number).arg(call);
                const OwnedProgress progress = newProgress();
                VKAppMgrAPI::t_LoginResponse response;
                const int login = service.client->login({who, u"p"_s, {}}, progress.get(), response);
                note(login, response.session, who);
                VKAppMgrAPI::t_ProductsResponse products;
                const int status =
                    service.client->products({who, {}, u"en"_s, {}, {}, {}}, nullptr, products);
                note(status, products.products.empty() ? QString() : products.products.front().name, who);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    QCOMPARE(failed, 0);
    QCOMPARE(service.server.connections(), 1);
    QCOMPARE(asked.size(), qsizetype{2} * kThreads * kCalls);
    const QList<RecordingServer::Request> requests = service.server.requests();
    QCOMPARE(requests.size(), asked.size());
    for (qsizetype index = 0; index < requests.size(); ++index) {
        const QByteArray who = '"' + asked.value(static_cast<int>(index)).toUtf8() + '"';
        QVERIFY2(requests.at(index).body.contains(who), who.constData());
    }
}

void VKAppMgrAPITransferTest::countedLikeEverythingShared() {
    auto* const client = new VKAppMgrAPI;
    QCOMPARE(client->AddRef(), 2U);
    QCOMPARE(client->Release(), 1U);
    QCOMPARE(client->Release(), 0U);
}

VKTEST_MAIN(VKAppMgrAPITransferTest)
#include "VKAppMgrAPITransferTest.moc"
