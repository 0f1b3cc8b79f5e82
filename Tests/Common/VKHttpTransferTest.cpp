// A transfer while it runs: progress, cancelling at each point, exceptions in callbacks, the trace.
#include "HttpSupport.h"
#include "Support/VKTest.h"
#include "VKHttp.h"

#include <VKCoreKit/VKLog.h>

#include <QBuffer>

#include <stdexcept>
#include <thread>

using namespace Qt::StringLiterals;
using Reply = RecordingServer::Reply;

class VKHttpTransferTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void amounts();
    void amountsNeedAProgressObject();
    void downloadTellsItsBytes();
    void uploadTellsItsBytes();
    void cancelledBefore();
    void cancelledWhileBytesMove();
    void cancelledWhileHeadersCome();
    void cancelledInAnUpload();
    void cancelledWhileNothingMoves();
    void cancelledWhileItWaitsForAReply();
    void devicesThatFail_data();
    void devicesThatFail();
    void noDevice();
    void deviceThatThrows();
    void observerThatThrows();
    void trace();
    void traceOfAFailure();
    void traceIsChosenAtConstruction();
};

namespace {

constexpr qsizetype kChunk = 65'536;

/// Reads as the test says.
class Device : public QIODevice {
public:
    explicit Device(std::function<qint64(char*, qint64)> read) : mRead(std::move(read)) {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }
    [[nodiscard]] bool isSequential() const override { return true; }

protected:
    qint64 readData(char* data, qint64 size) override { return mRead(data, size); }
    qint64 writeData(const char* /*data*/, qint64 /*size*/) override { return -1; }

private:
    std::function<qint64(char*, qint64)> mRead;
};

struct Observed {
    VKProgress* progress = nullptr;
    QList<VKProgressBytes> bytes;
    std::function<void(const VKProgressBytes&)> then;
};

void observe(const VKProgressBytes& bytes, void* context) {
    auto* const observed = static_cast<Observed*>(context);
    observed->bytes.append(bytes);
    if (observed->then) {
        observed->then(bytes);
    }
}

HttpTest::Progress makeObserved(Observed& observed) {
    HttpTest::Progress progress = HttpTest::makeProgress();
    observed.progress = progress.get();
    VKProgressSetByteObserver(progress.get(), &observe, &observed);
    return progress;
}

/// Texts that are logged while it lives.
class Log {
public:
    Log() {
        VKLogSetHandler([](const VKLogRecord& record,
                           void* context) { static_cast<Log*>(context)->texts.append(record.text); },
                        this);
    }
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;
    ~Log() { VKLogSetHandler(nullptr, nullptr); }

    QStringList texts;
};

const QString kTraceStart = u"***************************** Begin Curl ***********************************"_s;
const QString kTraceEnd = u"***************************** End Curl ***********************************"_s;

/// An object that was cancelled is as good as before. After an upload it still announces that one's length.
void verifyUsable(VKHttpImplCurl& http, RecordingServer& server) {
    http.setProgress(nullptr);
    server.reply(Reply::ok("again").beforeBody().close());
    http.setUrl(server.url(u"/again"_s));
    http.get();
    QCOMPARE(http.error(), 0);
    QCOMPARE(http.httpResultCode(), 200);
    QCOMPARE(http.readAllBytes(), QByteArray("again"));
}

void verifyCancelled(const VKHttpImplCurl& http) {
    QCOMPARE(http.error(), 1007);
    QCOMPARE(http.httpResultCode(), 0);
}

} // namespace

void VKHttpTransferTest::init() {
    VKTest::init();
    VKHttp::sLog = false;
}

void VKHttpTransferTest::amounts() {
    RecordingServer server;
    const auto http = HttpTest::makeTransport(server.url());
    const auto progress = HttpTest::makeProgress();
    http->setProgress(progress.get());
    server.reply(Reply::ok(QByteArray(kChunk, 'x')));
    http->get();
    std::size_t total = 0;
    std::size_t done = 0;
    QCOMPARE(http->transferAmounts(total, done), 0);
    QCOMPARE(total, std::size_t{kChunk});
    QCOMPARE(done, std::size_t{kChunk});
    // Of a length that nobody stated the total stays unknown.
    server.reply(Reply::raw("HTTP/1.1 200 OK\r\n\r\nbody").close());
    http->get();
    QCOMPARE(http->transferAmounts(total, done), 0);
    QCOMPARE(total, std::size_t{0});
    QCOMPARE(done, std::size_t{4});
}

void VKHttpTransferTest::amountsNeedAProgressObject() {
    RecordingServer server;
    const auto http = HttpTest::makeTransport(server.url());
    server.reply(Reply::ok("body"));
    http->get();
    std::size_t total = 7;
    std::size_t done = 7;
    QCOMPARE(http->transferAmounts(total, done), 0);
    QCOMPARE(total, std::size_t{0});
    QCOMPARE(done, std::size_t{0});
}

void VKHttpTransferTest::downloadTellsItsBytes() {
    RecordingServer server;
    Observed observed;
    const auto progress = makeObserved(observed);
    const auto http = HttpTest::makeTransport(server.url());
    http->setProgress(progress.get());
    constexpr qint64 kTimes = 40;
    server.reply(
        Reply::raw("HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(kChunk * kTimes) + "\r\n\r\n")
            .repeat(QByteArray(kChunk, 'x'), kTimes));
    http->get();
    QCOMPARE(http->error(), 0);
    QVERIFY(!observed.bytes.isEmpty());
    std::uint64_t before = 0;
    for (const VKProgressBytes& bytes : observed.bytes) {
        QVERIFY(bytes.done >= before);
        before = bytes.done;
    }
    QCOMPARE(quint64{observed.bytes.last().done}, quint64{kChunk * kTimes});
    QCOMPARE(quint64{observed.bytes.last().total}, quint64{kChunk * kTimes});
}

void VKHttpTransferTest::uploadTellsItsBytes() {
    RecordingServer server;
    Observed observed;
    const auto progress = makeObserved(observed);
    const auto http = HttpTest::makeTransport(server.url());
    http->setProgress(progress.get());
    QBuffer device;
    device.setData(QByteArray(4 * kChunk, 'x'));
    QVERIFY(device.open(QIODevice::ReadOnly));
    http->put(&device, device.size());
    QCOMPARE(http->httpResultCode(), 204);
    QCOMPARE(quint64{observed.bytes.last().done}, quint64{4 * kChunk});
    QCOMPARE(quint64{observed.bytes.last().total}, quint64{4 * kChunk});
}

void VKHttpTransferTest::cancelledBefore() {
    RecordingServer server;
    const auto http = HttpTest::makeTransport(server.url());
    const auto progress = HttpTest::makeProgress();
    VKProgressSetCancel(progress.get(), true);
    http->setProgress(progress.get());
    QCOMPARE(http->get(), 0);
    verifyCancelled(*http);
    VKProgressSetCancel(progress.get(), false);
    QCOMPARE(http->get(), 0);
    QCOMPARE(http->error(), 0);
    QCOMPARE(http->httpResultCode(), 204);
}

void VKHttpTransferTest::cancelledWhileBytesMove() {
    RecordingServer server;
    Observed observed;
    const auto progress = makeObserved(observed);
    std::uint64_t doneWhenCancelled = 0;
    observed.then = [&](const VKProgressBytes& bytes) {
        if (bytes.done > 0 && doneWhenCancelled == 0) {
            doneWhenCancelled = bytes.done;
            VKProgressSetCancel(observed.progress, true);
        }
    };
    const auto http = HttpTest::makeTransport(server.url());
    http->setProgress(progress.get());
    server.reply(Reply::raw("HTTP/1.1 200 OK\r\n\r\n").repeat(QByteArray(kChunk, 'x'), INT64_MAX));
    http->get();
    verifyCancelled(*http);
    QVERIFY(doneWhenCancelled > 0);
    // Not one more piece was taken.
    QVERIFY(static_cast<std::uint64_t>(http->readAllBytes().size()) <= doneWhenCancelled);
    verifyUsable(*http, server);
}

void VKHttpTransferTest::cancelledWhileHeadersCome() {
    RecordingServer server;
    const auto gate = RecordingServer::makeGate();
    const auto http = HttpTest::makeTransport(server.url());
    const auto progress = HttpTest::makeProgress();
    http->setProgress(progress.get());
    server.reply(Reply::raw("HTTP/1.1 200 OK\r\n").pause(gate).repeat("X: 1\r\n", 100).send("\r\n").close());
    std::thread canceller([&] {
        static_cast<void>(gate->waitUntilReached());
        VKProgressSetCancel(progress.get(), true);
        gate->open();
    });
    http->get();
    canceller.join();
    verifyCancelled(*http);
    verifyUsable(*http, server);
}

void VKHttpTransferTest::cancelledInAnUpload() {
    RecordingServer server;
    const auto http = HttpTest::makeTransport(server.url());
    const auto progress = HttpTest::makeProgress();
    http->setProgress(progress.get());
    int reads = 0;
    Device device([&](char* data, qint64 size) {
        std::fill_n(data, size, 'x');
        if (++reads == 3) {
            VKProgressSetCancel(progress.get(), true);
        }
        return size;
    });
    http->put(&device, qint64{1} << 40);
    verifyCancelled(*http);
    QCOMPARE(reads, 3);
    verifyUsable(*http, server);
}

void VKHttpTransferTest::cancelledWhileNothingMoves() {
    RecordingServer server;
    const auto gate = RecordingServer::makeGate();
    const auto http = HttpTest::makeTransport(server.url());
    const auto progress = HttpTest::makeProgress();
    http->setProgress(progress.get());
    server.reply(Reply::raw("HTTP/1.1 200 OK\r\nContent-Length: 4\r\n\r\nbo").pause(gate).send("dy").close());
    std::thread canceller([&] {
        static_cast<void>(gate->waitUntilReached());
        VKProgressSetCancel(progress.get(), true);
    });
    http->get();
    canceller.join();
    // The gate never opened.
    verifyCancelled(*http);
    QVERIFY(QByteArray("bo").startsWith(http->readAllBytes()));
    verifyUsable(*http, server);
}

void VKHttpTransferTest::cancelledWhileItWaitsForAReply() {
    RecordingServer server;
    const auto gate = RecordingServer::makeGate();
    const auto http = HttpTest::makeTransport(server.url());
    const auto progress = HttpTest::makeProgress();
    http->setProgress(progress.get());
    Reply silent;
    server.reply(silent.pause(gate).close());
    std::thread canceller([&] {
        static_cast<void>(gate->waitUntilReached());
        VKProgressSetCancel(progress.get(), true);
    });
    http->post("body");
    canceller.join();
    verifyCancelled(*http);
    QCOMPARE(server.request(0).body, QByteArray("body"));
    verifyUsable(*http, server);
}

void VKHttpTransferTest::devicesThatFail_data() {
    QTest::addColumn<int>("goodReads");
    QTest::newRow("at once") << 0;
    QTest::newRow("later") << 2;
}

void VKHttpTransferTest::devicesThatFail() {
    QFETCH(int, goodReads);
    RecordingServer server;
    const auto http = HttpTest::makeTransport(server.url());
    int reads = 0;
    Device device([&](char* data, qint64 size) {
        std::fill_n(data, size, 'x');
        return reads++ < goodReads ? size : qint64{-1};
    });
    http->put(&device, qint64{1} << 30);
    QCOMPARE(http->error(), 26);
    QCOMPARE(http->httpResultCode(), 0);
    QCOMPARE(reads, goodReads + 1);
    verifyUsable(*http, server);
}

void VKHttpTransferTest::noDevice() {
    RecordingServer server;
    const auto http = HttpTest::makeTransport(server.url());
    http->put(nullptr, 5);
    QCOMPARE(http->error(), 26);
    QCOMPARE(http->httpResultCode(), 0);
    const auto empty = HttpTest::makeTransport(server.url());
    empty->put(nullptr, 0);
    QCOMPARE(empty->error(), 0);
    QCOMPARE(empty->httpResultCode(), 204);
}

void VKHttpTransferTest::deviceThatThrows() {
    RecordingServer server;
    const auto http = HttpTest::makeTransport(QUrl(u"other://host/"_s));
    http->get();
    QCOMPARE(http->error(), 1);
    http->setUrl(server.url());
    Device device([](char*, qint64) -> qint64 { throw std::runtime_error("no photo"); });
    QCOMPARE(http->put(&device, 5), 0);
    // The error is deliberately that of the transfer before.
    QCOMPARE(http->error(), 1);
    QCOMPARE(http->httpResultCode(), 0);
    verifyUsable(*http, server);
    QCOMPARE(http->put(&device, 5), 0);
    QCOMPARE(http->error(), 0);
    QCOMPARE(http->httpResultCode(), 0);
}

void VKHttpTransferTest::observerThatThrows() {
    RecordingServer server;
    Observed observed;
    const auto progress = makeObserved(observed);
    observed.then = [](const VKProgressBytes& bytes) {
        if (bytes.done > 0) {
            throw 7;
        }
    };
    const auto http = HttpTest::makeTransport(server.url());
    http->setProgress(progress.get());
    server.reply(Reply::ok("body"));
    QCOMPARE(http->get(), 0);
    QCOMPARE(http->error(), 0);
    QCOMPARE(http->httpResultCode(), 0);
    verifyUsable(*http, server);
}

void VKHttpTransferTest::trace() {
    RecordingServer server;
    server.reply(Reply::ok(QByteArray("a\0b\xfc", 4)));
    server.reply(Reply::ok("second reply"));
    const auto http = HttpTest::makeTransport(server.url(u"/first"_s));
    http->setDebugTrace(true);
    Log log;
    http->post("sent");
    QCOMPARE(log.texts.size(), 3);
    QCOMPARE(log.texts[0], kTraceStart);
    QCOMPARE(log.texts[2], kTraceEnd);
    const QString first = log.texts[1];
    for (const QString& piece : {u"POST /first HTTP/1.1\r\n"_s, u"sent"_s, u"HTTP/1.1 200 OK\r\n"_s,
                                 u"Content-Length: 4\r\n"_s, QString::fromLatin1("a\0b\xfc", 4)}) {
        QVERIFY2(first.contains(piece), qPrintable(piece));
    }
    http->setUrl(server.url(u"/next"_s));
    http->get();
    QCOMPARE(log.texts.size(), 6);
    // Deliberately all that was traced so far.
    QVERIFY(log.texts[4].startsWith(first));
    QVERIFY(log.texts[4].contains(u"GET /next"_s));
    // Without the trace nothing is added to it, but what is there is logged.
    http->setDebugTrace(false);
    http->get();
    QCOMPARE(log.texts.size(), 9);
    QCOMPARE(log.texts[7], log.texts[4]);
}

void VKHttpTransferTest::traceOfAFailure() {
    RecordingServer server;
    server.reply(Reply::raw("no reply").close());
    const auto http = HttpTest::makeTransport(server.url());
    http->setDebugTrace(true);
    Log log;
    http->get();
    QCOMPARE(http->error(), 1);
    QCOMPARE(log.texts.size(), 3);
}

void VKHttpTransferTest::traceIsChosenAtConstruction() {
    RecordingServer server;
    Log log;
    VKHttp silent;
    VKHttp::sLog = true;
    VKHttp traced;
    VKHttp::sLog = false;
    for (VKHttp* http : {&silent, &traced}) {
        http->setUrl(server.url());
        http->get();
        QCOMPARE(log.texts.size(), http == &traced ? 3 : 0);
    }
}

VKTEST_MAIN(VKHttpTransferTest)
#include "VKHttpTransferTest.moc"
