// Replies of every make: in chunks, after interim ones, cut off, of wrong lengths, with too many headers.
#include "HttpSupport.h"
#include "Support/VKTest.h"
#include "VKHttp.h"
#include "VKHttpTransferRules.h"

#include <QMap>

#include <thread>

using namespace Qt::StringLiterals;
using Reply = RecordingServer::Reply;

class VKHttpReplyTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void replies_data();
    void replies();
    void headers_data();
    void headers();
    void headersStayAndAreReplaced();
    void contentTypesGather();
    void bodyAndStatusAreReplaced();
    void bareLineFeeds();
    void drips();
    void connectionThatWasClosedMeanwhile();
    void nobodyListens();
    void headerLineLimit_data();
    void headerLineLimit();
    void headerByteLimit_data();
    void headerByteLimit();
    void headerLimitsAreForOneTransfer();
    void headerLineLength_data();
    void headerLineLength();
    void bodyLimit_data();
    void bodyLimit();
    void largeMemoryIsGivenBack();
    void negativeBodyLimitIsNone();
};

namespace {

/// What a reply has to begin with to be followed by other headers.
const QByteArray kOk = "HTTP/1.1 200 OK\r\n";

} // namespace

void VKHttpReplyTest::replies_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("closes");
    QTest::addColumn<int>("error");
    QTest::addColumn<int>("httpCode");
    QTest::addColumn<QByteArray>("body");
    const auto row = [](const char* name, const QByteArray& bytes, bool closes, int error, int httpCode,
                        const QByteArray& body) {
        QTest::newRow(name) << bytes << closes << error << httpCode << body;
    };
    const bool keepOpen = false;
    const bool close = true;
    row("a length", kOk + "Content-Length: 4\r\n\r\nbody", keepOpen, 0, 200, "body");
    row("no length, closed", kOk + "\r\nbody", close, 0, 200, "body");
    row("empty", kOk + "Content-Length: 0\r\n\r\n", keepOpen, 0, 200, "");
    row("chunks", kOk + "Transfer-Encoding: chunked\r\n\r\n2\r\nbo\r\n2;x=y\r\ndy\r\n0\r\n\r\n", keepOpen, 0,
        200, "body");
    row("chunks that hold a line end",
        kOk + "Transfer-Encoding: chunked\r\n\r\n2\r\n\r\n\r\n2\r\ndy\r\n0\r\n\r\n", keepOpen, 0, 200,
        "\r\ndy");
    row("a body of a line end", kOk + "Content-Length: 2\r\n\r\n\r\n", keepOpen, 0, 200, "\r\n");
    row("zero bytes", kOk + QByteArray("Content-Length: 3\r\n\r\na\0b", 25), keepOpen, 0, 200,
        QByteArray("a\0b", 3));
    row("compressed stays so", kOk + "Content-Encoding: gzip\r\nContent-Length: 4\r\n\r\n\x1f\x8b\x08\x01",
        keepOpen, 0, 200, "\x1f\x8b\x08\x01");
    row("after early hints",
        "HTTP/1.1 103 Early Hints\r\nLink: a\r\n\r\nHTTP/1.1 102 Processing\r\n\r\n" + kOk +
            "Content-Length: 4\r\n\r\nbody",
        keepOpen, 0, 200, "body");
    row("an error page", "HTTP/1.1 404 Not Found\r\nContent-Length: 4\r\n\r\ngone", keepOpen, 0, 404, "gone");
    row("a status that nobody knows", "HTTP/1.1 799 Odd\r\nContent-Length: 1\r\n\r\nx", keepOpen, 0, 799,
        "x");
    row("HTTP/1.0", "HTTP/1.0 200 OK\r\n\r\nbody", close, 0, 200, "body");
    row("no content", "HTTP/1.1 204 No Content\r\n\r\n", keepOpen, 0, 204, "");
    row("not modified", "HTTP/1.1 304 Not Modified\r\nContent-Length: 10\r\n\r\n", keepOpen, 0, 304, "");
    row("more than the length says", kOk + "Content-Length: 2\r\n\r\nbody", close, 0, 200, "bo");
    row("less than the length says", kOk + "Content-Length: 9\r\n\r\nbody", close, 18, 0, "body");
    row("chunks that end early", kOk + "Transfer-Encoding: chunked\r\n\r\n4\r\nbody\r\n", close, 18, 0,
        "body");
    row("a chunk that ends early", kOk + "Transfer-Encoding: chunked\r\n\r\n9\r\nbody", close, 18, 0, "body");
    row("a chunk of no size", kOk + "Transfer-Encoding: chunked\r\n\r\nxyz\r\nbody", close, 56, 0, "");
    row("a length that lies about terabytes", kOk + "Content-Length: 9000000000000\r\n\r\nbody", close, 18, 0,
        "body");
    row("closed in a header, which libcurl takes for the end", kOk + "Content-Le", close, 0, 200, "");
    row("closed behind the headers", kOk + "Content-Length: 4\r\n\r\n", close, 18, 0, "");
    row("no reply at all", "", close, 52, 0, "");
    row("no HTTP", "220 ready\r\n\r\n", close, 1, 0, "");
    row("a body alone", "{\"a\":1}", close, 1, 0, "");
}

void VKHttpReplyTest::replies() {
    QFETCH(QByteArray, bytes);
    QFETCH(bool, closes);
    QFETCH(int, error);
    QFETCH(int, httpCode);
    QFETCH(QByteArray, body);
    RecordingServer server;
    Reply reply = Reply::raw(bytes);
    server.reply(closes ? reply.close() : reply);
    const auto http = HttpTest::makeTransport(server.url());
    QCOMPARE(http->get(), 0);
    QCOMPARE(http->error(), error);
    QCOMPARE(http->httpResultCode(), httpCode);
    QCOMPARE(http->readAllBytes(), body);
    QCOMPARE(http->errorMsg(), QString());
    // Whatever came, the object is as good as new.
    server.reply(Reply::ok("again"));
    http->get();
    QCOMPARE(http->error(), 0);
    QCOMPARE(http->httpResultCode(), 200);
    QCOMPARE(http->readAllBytes(), QByteArray("again"));
}

void VKHttpReplyTest::headers_data() {
    QTest::addColumn<QByteArray>("lines");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isThere");
    QTest::addColumn<QString>("value");
    QTest::newRow("a header") << QByteArray("X-A: 1\r\n") << u"X-A"_s << true << u"1"_s;
    QTest::newRow("another case") << QByteArray("x-a: 1\r\n") << u"X-A"_s << false << u""_s;
    QTest::newRow("repeated") << QByteArray("X-A: 1\r\nX-B: 0\r\nX-A: 2\r\n") << u"X-A"_s << true << u"2"_s;
    QTest::newRow("both cases") << QByteArray("X-A: 1\r\nx-a: 2\r\n") << u"X-A"_s << true << u"1"_s;
    QTest::newRow("the separator in its value") << QByteArray("X-A: b: c\r\n") << u"X-A"_s << false << u""_s;
    QTest::newRow("no blank behind the colon") << QByteArray("X-A:1\r\n") << u"X-A"_s << false << u""_s;
    QTest::newRow("outside ASCII") << QByteArray("X-A: \xc3\xbc\r\n") << u"X-A"_s << true << u"ü"_s;
    QTest::newRow("the status line") << QByteArray() << u"HTTP/1.1 200 OK"_s << false << u""_s;
    QTest::newRow("a long one") << "X-A: " + QByteArray(90'000, 'v') + "\r\n"
                                << u"X-A"_s << true << QString(90'000, u'v');
}

void VKHttpReplyTest::headers() {
    QFETCH(QByteArray, lines);
    QFETCH(QString, name);
    QFETCH(bool, isThere);
    QFETCH(QString, value);
    RecordingServer server;
    server.reply(Reply::raw(kOk + lines + "Content-Length: 0\r\n\r\n"));
    const auto http = HttpTest::makeTransport(server.url());
    http->get();
    QCOMPARE(http->httpResultCode(), 200);
    QCOMPARE(http->hasReplyHeader(name), isThere);
    QCOMPARE(http->replyHeader(name), value);
}

void VKHttpReplyTest::headersStayAndAreReplaced() {
    RecordingServer server;
    server.reply(
        Reply::raw("HTTP/1.1 103 Early Hints\r\nLink: early\r\n\r\n" + kOk +
                   "X-A: 1\r\nX-B: 1\r\nTransfer-Encoding: chunked\r\n\r\n0\r\nX-Trailer: t\r\n\r\n"));
    server.reply(Reply::raw(kOk + "X-B: 2\r\nContent-Length: 0\r\n\r\n"));
    const auto http = HttpTest::makeTransport(server.url());
    http->get();
    http->get();
    const QMap<QString, QString> expected{
        {u"Link"_s, u"early"_s}, {u"X-A"_s, u"1"_s}, {u"X-B"_s, u"2"_s}, {u"X-Trailer"_s, u"t"_s}};
    for (auto header = expected.begin(); header != expected.end(); ++header) {
        QCOMPARE(http->replyHeader(header.key()), header.value());
    }
}

void VKHttpReplyTest::contentTypesGather() {
    RecordingServer server;
    server.reply(Reply::ok("1", "text/a"));
    server.reply(Reply::ok("2", "image/b; c=d"));
    server.reply(Reply::ok("3", ""));
    server.reply(Reply::raw(kOk + "Content-Type: text/lost\r\nContent-Length: 9\r\n\r\n").close());
    server.reply(Reply::ok("5", "x/\xc3\xbc"));
    const auto http = HttpTest::makeTransport(server.url());
    QCOMPARE(http->replyContentType(), QString());
    http->get();
    QCOMPARE(http->replyContentType(), u"text/a"_s);
    http->get();
    QCOMPARE(http->replyContentType(), u"text/aimage/b; c=d"_s);
    http->get();
    http->get();
    QCOMPARE(http->error(), 18);
    http->get();
    QCOMPARE(http->replyContentType(), u"text/aimage/b; c=dx/ü"_s);
}

void VKHttpReplyTest::bodyAndStatusAreReplaced() {
    RecordingServer server;
    server.reply(Reply::ok("first and long"));
    server.reply(Reply::status("404 Not Found", "2"));
    const auto http = HttpTest::makeTransport(server.url());
    http->get();
    const QByteArray kept = http->readAllBytes();
    http->get();
    QCOMPARE(http->httpResultCode(), 404);
    QCOMPARE(http->readAllBytes(), QByteArray("2"));
    QCOMPARE(kept, QByteArray("first and long"));
    http->setUrl(QUrl());
    http->get();
    QCOMPARE(http->httpResultCode(), 0);
    QCOMPARE(http->readAllBytes(), QByteArray());
}

/// The end of the headers is a line end of two bytes, and nothing else: servers that end lines by one lose their bodies
/// until a proper reply has come.
void VKHttpReplyTest::bareLineFeeds() {
    const QByteArray bare = "HTTP/1.1 200 OK\nX-Name: value\nContent-Length: 4\n\nbody";
    RecordingServer server;
    server.reply(Reply::raw(bare));
    server.reply(Reply::ok("proper"));
    server.reply(Reply::raw(bare));
    const auto http = HttpTest::makeTransport(server.url());
    http->get();
    QCOMPARE(http->httpResultCode(), 200);
    QCOMPARE(http->readAllBytes(), QByteArray());
    QCOMPARE(http->replyHeader(u"X-Name"_s), u"valu"_s);
    http->get();
    QCOMPARE(http->readAllBytes(), QByteArray("proper"));
    http->get();
    QCOMPARE(http->readAllBytes(), QByteArray("body"));
}

void VKHttpReplyTest::drips() {
    RecordingServer server;
    Reply reply;
    std::vector<RecordingServer::GatePtr> gates;
    for (const char c : QByteArray(kOk + "Content-Length: 4\r\n\r\nbody")) {
        gates.push_back(RecordingServer::makeGate());
        reply.send(QByteArray(1, c)).pause(gates.back());
    }
    server.reply(reply);
    std::thread opener([&] {
        for (const auto& gate : gates) {
            static_cast<void>(gate->waitUntilReached());
            gate->open();
        }
    });
    const auto http = HttpTest::makeTransport(server.url());
    http->get();
    opener.join();
    QCOMPARE(http->error(), 0);
    QCOMPARE(http->readAllBytes(), QByteArray("body"));
}

void VKHttpReplyTest::connectionThatWasClosedMeanwhile() {
    RecordingServer server;
    server.reply(Reply::ok("1").close());
    server.reply(Reply::ok("2"));
    const auto http = HttpTest::makeTransport(server.url());
    http->get();
    QCOMPARE(http->readAllBytes(), QByteArray("1"));
    http->get();
    QCOMPARE(http->error(), 0);
    QCOMPARE(http->readAllBytes(), QByteArray("2"));
    QCOMPARE(server.connections(), 2);
}

void VKHttpReplyTest::nobodyListens() {
    QUrl url;
    {
        const RecordingServer server;
        url = server.url();
    }
    const auto http = HttpTest::makeTransport(url);
    http->get();
    QCOMPARE(http->error(), 7);
    QCOMPARE(http->httpResultCode(), 0);
    RecordingServer server;
    server.reply(Reply::raw(kOk).reset());
    http->setUrl(server.url());
    http->get();
    QCOMPARE(http->error(), 56);
}

void VKHttpReplyTest::headerLineLimit_data() {
    QTest::addColumn<int>("lines");
    QTest::addColumn<int>("error");
    // The status line and the empty line are lines too.
    QTest::newRow("one below") << VKHttp::kMaxReplyHeaderLines - 1 << 0;
    QTest::newRow("as many as may be") << VKHttp::kMaxReplyHeaderLines << 0;
    QTest::newRow("one above") << VKHttp::kMaxReplyHeaderLines + 1 << 56;
}

void VKHttpReplyTest::headerLineLimit() {
    QFETCH(int, lines);
    QFETCH(int, error);
    RecordingServer server;
    QByteArray bytes = kOk + "Content-Length: 0\r\n";
    for (int i = 0; i < lines - 3; ++i) {
        bytes += "X: 1\r\n";
    }
    server.reply(Reply::raw(bytes + "\r\n"));
    const auto http = HttpTest::makeTransport(server.url());
    http->get();
    QCOMPARE(http->error(), error);
    QCOMPARE(http->httpResultCode(), error == 0 ? 200 : 0);
}

void VKHttpReplyTest::headerByteLimit_data() {
    QTest::addColumn<int>("more");
    QTest::addColumn<int>("error");
    QTest::newRow("one below") << -1 << 0;
    QTest::newRow("as many as may be") << 0 << 0;
    QTest::newRow("one above") << 1 << 56;
}

void VKHttpReplyTest::headerByteLimit() {
    QFETCH(int, more);
    QFETCH(int, error);
    QByteArray bytes = kOk + "Content-Length: 0\r\n\r\n";
    // Before the empty line, in lines that libcurl takes.
    qsizetype missing = VKHttp::kMaxReplyHeaderBytes + more - bytes.size();
    while (missing > 0) {
        const qsizetype length = std::min<qsizetype>(missing, 60'000);
        const qsizetype rest = missing - length;
        const qsizetype now = rest > 0 && rest < 10 ? length - 10 : length;
        bytes.insert(kOk.size(), "X: " + QByteArray(now - 5, 'v') + "\r\n");
        missing -= now;
    }
    RecordingServer server;
    server.reply(Reply::raw(bytes));
    const auto http = HttpTest::makeTransport(server.url());
    http->get();
    QCOMPARE(http->error(), error);
    QCOMPARE(http->httpResultCode(), error == 0 ? 200 : 0);
}

void VKHttpReplyTest::headerLimitsAreForOneTransfer() {
    RecordingServer server;
    const auto http = HttpTest::makeTransport(server.url());
    for (int i = 0; i < 6; ++i) {
        server.reply(Reply::raw(kOk + "X: " + QByteArray(80'000, 'v') + "\r\nContent-Length: 0\r\n\r\n"));
        http->get();
        QCOMPARE(http->httpResultCode(), 200);
    }
}

void VKHttpReplyTest::headerLineLength_data() {
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("error");
    QTest::newRow("as libcurl takes") << 100'000 << 0;
    QTest::newRow("too long for libcurl") << 110'000 << 27;
}

/// One line is libcurl's to limit.
void VKHttpReplyTest::headerLineLength() {
    QFETCH(int, length);
    QFETCH(int, error);
    RecordingServer server;
    server.reply(
        Reply::raw(kOk + "X: " + QByteArray(length - 5, 'v') + "\r\nContent-Length: 0\r\n\r\n").close());
    const auto http = HttpTest::makeTransport(server.url());
    http->get();
    QCOMPARE(http->error(), error);
    QCOMPARE(http->httpResultCode(), error == 0 ? 200 : 0);
}

void VKHttpReplyTest::bodyLimit_data() {
    QTest::addColumn<QByteArray>("framing");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("limit");
    QTest::addColumn<int>("error");
    QTest::addColumn<QByteArray>("kept");
    const auto row = [](const char* name, const char* framing, const char* body, int limit, int error,
                        const char* kept) {
        QTest::newRow(name) << QByteArray(framing) << QByteArray(body) << limit << error << QByteArray(kept);
    };
    row("stated, one below", "Content-Length: 3", "abc", 4, 0, "abc");
    row("stated, as long as may be", "Content-Length: 4", "abcd", 4, 0, "abcd");
    row("stated, one above", "Content-Length: 5", "abcde", 4, 63, "");
    row("stated, one above, of which a part comes", "Content-Length: 5", "abc", 4, 63, "");
    row("not stated, as long as may be", "X: 1", "abcd", 4, 0, "abcd");
    row("not stated, one above", "X: 1", "abcde", 4, 63, "");
    row("in chunks, one below", "Transfer-Encoding: chunked", "3\r\nabc\r\n0\r\n\r\n", 4, 0, "abc");
    row("in chunks, as long as may be", "Transfer-Encoding: chunked", "3\r\nabc\r\n1\r\nd\r\n0\r\n\r\n", 4, 0,
        "abcd");
    row("in chunks, one above", "Transfer-Encoding: chunked", "3\r\nabc\r\n2\r\nde\r\n0\r\n\r\n", 4, 63,
        "abc");
    row("no limit", "Content-Length: 5", "abcde", 0, 0, "abcde");
}

void VKHttpReplyTest::bodyLimit() {
    QFETCH(QByteArray, framing);
    QFETCH(QByteArray, body);
    QFETCH(int, limit);
    QFETCH(int, error);
    QFETCH(QByteArray, kept);
    RecordingServer server;
    server.reply(Reply::raw(kOk + framing + "\r\n\r\n" + body).close());
    const auto http = HttpTest::makeTransport(server.url());
    http->setMaxReplyBytes(limit);
    http->get();
    QCOMPARE(http->error(), error);
    QCOMPARE(http->httpResultCode(), error == 0 ? 200 : 0);
    QCOMPARE(http->readAllBytes(), kept);
    // The next transfer is counted from its own begin.
    server.reply(Reply::ok("wxyz"));
    http->setUrl(server.url(u"/next"_s));
    http->get();
    QCOMPARE(http->readAllBytes(), QByteArray("wxyz"));
}

void VKHttpReplyTest::largeMemoryIsGivenBack() {
    RecordingServer server;
    server.reply(Reply::ok(QByteArray(static_cast<qsizetype>(kVKHttpMaxKeptCapacity) * 4, 'x')));
    server.reply(Reply::ok("small"));
    const auto http = HttpTest::makeTransport(server.url());
    http->get();
    QCOMPARE(http->readAllBytes().size(), kVKHttpMaxKeptCapacity * 4);
    http->get();
    QCOMPARE(http->readAllBytes(), QByteArray("small"));
    QVERIFY(http->readAllBytes().capacity() <= kVKHttpMaxKeptCapacity);
}

void VKHttpReplyTest::negativeBodyLimitIsNone() {
    RecordingServer server;
    server.reply(Reply::ok("body"));
    const auto http = HttpTest::makeTransport(server.url());
    http->setMaxReplyBytes(-1);
    http->get();
    QCOMPARE(http->readAllBytes(), QByteArray("body"));
}

VKTEST_MAIN(VKHttpReplyTest)
#include "VKHttpReplyTest.moc"
