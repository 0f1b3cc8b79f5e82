// Every call of libcurl and every allocation fails in turn: a transfer that lacks anything is not sent, nothing throws,
// and the object goes on.
#include "HttpSupport.h"
#include "Support/FaultInjection.h"
#include "Support/VKTest.h"
#include "VKHttpCurlLibrary.h"

#include <VKCoreKit/VKLog.h>

#include <QBuffer>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <thread>

using namespace Qt::StringLiterals;
using Reply = RecordingServer::Reply;

class VKHttpFaultsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void options_data();
    void options();
    void headers();
    void parts_data();
    void parts();
    void answers();
    void noHandle();
    void noLibrary();
    void performThrows();
    void keepAliveIsNoCondition();
    void allocations_data();
    void allocations();
    void allocationsOfAHeader();
};

namespace {

/// Counts down over the calls that may fail; the one at 0 does. Negative: none.
int gFailAt = -1;
int gCalls = 0;

bool failsNow() { return gCalls++ == gFailAt; }

const VKHttpCurlLibrary& real() { return *VKHttpCurlLibrary::shared(); }

// The signatures are libcurl's, which has enumerators stand before its variable arguments.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wvarargs"

CURLcode failingSetopt(CURL* curl, CURLoption option, ...) {
    if (failsNow()) {
        return CURLE_UNKNOWN_OPTION;
    }
    std::va_list arguments;
    va_start(arguments, option);
    CURLcode result = CURLE_OK;
    if (option < CURLOPTTYPE_OBJECTPOINT) {
        result = real().easySetopt(curl, option, va_arg(arguments, long));
    } else if (option < CURLOPTTYPE_OFF_T) {
        result = real().easySetopt(curl, option, va_arg(arguments, void*));
    } else {
        result = real().easySetopt(curl, option, va_arg(arguments, curl_off_t));
    }
    va_end(arguments);
    return result;
}

CURLcode failingGetinfo(CURL* curl, CURLINFO info, ...) {
    if (failsNow()) {
        return CURLE_BAD_FUNCTION_ARGUMENT;
    }
    std::va_list arguments;
    va_start(arguments, info);
    const CURLcode result = real().easyGetinfo(curl, info, va_arg(arguments, void*));
    va_end(arguments);
    return result;
}

#pragma GCC diagnostic pop

curl_slist* failingAppend(curl_slist* list, const char* text) {
    return failsNow() ? nullptr : real().slistAppend(list, text);
}
curl_mime* failingMimeInit(CURL* curl) { return failsNow() ? nullptr : real().mimeInit(curl); }
curl_mimepart* failingAddpart(curl_mime* mime) { return failsNow() ? nullptr : real().mimeAddpart(mime); }
CURLcode failingName(curl_mimepart* part, const char* name) {
    return failsNow() ? CURLE_BAD_CONTENT_ENCODING : real().mimeName(part, name);
}
CURLcode failingData(curl_mimepart* part, const char* data, std::size_t size) {
    return failsNow() ? CURLE_BAD_CONTENT_ENCODING : real().mimeData(part, data, size);
}
CURLcode failingFilename(curl_mimepart* part, const char* name) {
    return failsNow() ? CURLE_BAD_CONTENT_ENCODING : real().mimeFilename(part, name);
}

HttpTest::Transport makeTransport(const VKHttpCurlLibrary* library, const QUrl& url) {
    gFailAt = -1;
    HttpTest::Transport http(new VKHttpImplCurl(library));
    http->setUrl(url);
    return http;
}

/// From now on the call with this number fails.
void arm(int number) {
    gFailAt = number;
    gCalls = 0;
}

using Call = void (*)(VKHttpImplCurl&);

/// Made before allocations fail.
const QByteArray kBody = "x";

void putOfOne(VKHttpImplCurl& http) {
    QBuffer device;
    device.setData("x");
    device.open(QIODevice::ReadOnly);
    http.put(&device, 1);
}

/// A server whose thread allocates nothing: allocations of every thread may fail.
class PlainServer {
public:
    PlainServer() : mListener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        qputenv("no_proxy", "*");
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* const any = reinterpret_cast<sockaddr*>(&address);
        if (::bind(mListener, any, size) == 0 && ::listen(mListener, 16) == 0 &&
            ::getsockname(mListener, any, &size) == 0) {
            mPort = ntohs(address.sin_port);
            mThread = std::thread([this] { serve(); });
        }
    }
    PlainServer(const PlainServer&) = delete;
    PlainServer& operator=(const PlainServer&) = delete;
    ~PlainServer() {
        ::shutdown(mListener, SHUT_RDWR);
        if (mThread.joinable()) {
            mThread.join();
        }
        ::close(mListener);
    }

    [[nodiscard]] QUrl url() const { return QUrl(u"http://127.0.0.1:"_s + QString::number(mPort) + u'/'); }

private:
    /// One connection at a time; a request is small and comes at once.
    void serve() const {
        constexpr char kReply[] = "HTTP/1.1 200 OK\r\nContent-Type: a/b\r\nX-Name: ü\r\nContent-Length: 4\r\n"
                                  "Connection: close\r\n\r\nbody";
        for (;;) {
            const int client = ::accept(mListener, nullptr, nullptr);
            if (client < 0) {
                return;
            }
            char request[4096];
            if (::recv(client, request, sizeof request, 0) > 0) {
                static_cast<void>(::send(client, kReply, sizeof kReply - 1, MSG_NOSIGNAL));
                ::shutdown(client, SHUT_WR);
                while (::recv(client, request, sizeof request, 0) > 0) {
                }
            }
            ::close(client);
        }
    }

    int mListener;
    quint16 mPort = 0;
    std::thread mThread;
};

} // namespace

Q_DECLARE_METATYPE(Call)

void VKHttpFaultsTest::options_data() {
    QTest::addColumn<Call>("call");
    QTest::addColumn<int>("leastOptions");
    QTest::newRow("get") << Call([](VKHttpImplCurl& http) { http.get(); }) << 11;
    QTest::newRow("post") << Call([](VKHttpImplCurl& http) { http.post("x"); }) << 13;
    QTest::newRow("patch") << Call([](VKHttpImplCurl& http) { http.patch("x"); }) << 14;
    QTest::newRow("put") << Call(&putOfOne) << 15;
    QTest::newRow("form") << Call([](VKHttpImplCurl& http) { http.postMultipart(); }) << 12;
    QTest::newRow("with everything") << Call([](VKHttpImplCurl& http) {
        const auto progress = HttpTest::makeProgress();
        http.setProgress(progress.get());
        http.setDebugTrace(true);
        http.setIgnoreSSLErrors(true);
        http.setBasicAuthentication(u"u"_s, u"p"_s);
        http.setConnectTimeout(10'000);
        http.getBytes("x");
    }) << 20;
}

void VKHttpFaultsTest::options() {
    QFETCH(Call, call);
    QFETCH(int, leastOptions);
    VKLogSetHandler([](const VKLogRecord&, void*) {}, nullptr); // the trace
    RecordingServer server;
    VKHttpCurlLibrary library = real();
    library.easySetopt = &failingSetopt;
    int number = 0;
    for (;; ++number) {
        const auto http = makeTransport(&library, server.url());
        http->setHeader(u"X-A"_s, u"1"_s);
        const qsizetype before = server.requests().size();
        arm(number);
        call(*http);
        if (gCalls <= number) {
            QCOMPARE(http->error(), 0);
            QCOMPARE(http->httpResultCode(), 204);
            break;
        }
        QCOMPARE(http->error(), 48);
        QCOMPARE(http->httpResultCode(), 0);
        QCOMPARE(gCalls, number + 1); // no further option was set
        QCOMPARE(server.requests().size(), before);
        // The object is as good as before.
        arm(-1);
        call(*http);
        QCOMPARE(http->error(), 0);
        QCOMPARE(http->httpResultCode(), 204);
    }
    VKLogSetHandler(nullptr, nullptr);
    QVERIFY2(number >= leastOptions, qPrintable(QString::number(number)));
}

void VKHttpFaultsTest::headers() {
    RecordingServer server;
    VKHttpCurlLibrary library = real();
    library.slistAppend = &failingAppend;
    const auto http = makeTransport(&library, server.url());
    arm(1);
    http->setHeader(u"X-A"_s, u"1"_s);
    http->setHeader(u"X-B"_s, u"2"_s);
    http->setHeader(u"X-C"_s, u"3"_s);
    // One is missing, so no request is what was asked for.
    for (int i = 0; i < 2; ++i) {
        http->get();
        QCOMPARE(http->error(), 27);
        QCOMPARE(http->httpResultCode(), 0);
    }
    QCOMPARE(server.requests().size(), 0);
    // The one that an upload adds itself.
    const auto upload = makeTransport(&library, server.url());
    arm(0);
    putOfOne(*upload);
    QCOMPARE(upload->error(), 27);
    QCOMPARE(server.requests().size(), 0);
}

void VKHttpFaultsTest::parts_data() {
    QTest::addColumn<int>("number");
    QTest::addColumn<int>("error");
    QTest::newRow("the form") << 0 << 27;
    QTest::newRow("the first part") << 1 << 27;
    QTest::newRow("its name") << 2 << 61;
    QTest::newRow("its body") << 3 << 61;
    QTest::newRow("its file name") << 4 << 61;
    QTest::newRow("the second part") << 5 << 27;
    QTest::newRow("its name too") << 6 << 61;
    QTest::newRow("its body too") << 7 << 61;
    QTest::newRow("nothing") << 8 << 0;
}

void VKHttpFaultsTest::parts() {
    QFETCH(int, number);
    QFETCH(int, error);
    RecordingServer server;
    VKHttpCurlLibrary library = real();
    library.mimeInit = &failingMimeInit;
    library.mimeAddpart = &failingAddpart;
    library.mimeName = &failingName;
    library.mimeData = &failingData;
    library.mimeFilename = &failingFilename;
    const auto http = makeTransport(&library, server.url());
    http->addPart(HttpTest::makePart(u"a"_s, "1", u"file"_s).get());
    http->addPart(HttpTest::makePart(u"b"_s, "2").get());
    arm(number);
    http->postMultipart();
    QCOMPARE(http->error(), error);
    QCOMPARE(http->httpResultCode(), error == 0 ? 204 : 0);
    QCOMPARE(server.requests().size(), error == 0 ? 1 : 0);
    arm(-1);
    http->postMultipart();
    QCOMPARE(http->error(), 0);
    QCOMPARE(server.requests().last().body.count("Content-Disposition"), 2);
}

void VKHttpFaultsTest::answers() {
    RecordingServer server;
    VKHttpCurlLibrary library = real();
    library.easyGetinfo = &failingGetinfo;
    // The length of the body is a hint; the status and the content type are not.
    const int errors[] = {0, 43, 43, 0};
    for (int number = 0; number < 4; ++number) {
        server.reply(Reply::ok("body", "a/b"));
        const auto http = makeTransport(&library, server.url());
        arm(number);
        http->get();
        QCOMPARE(http->error(), errors[number]);
        QCOMPARE(http->httpResultCode(), errors[number] == 0 ? 200 : 0);
        QCOMPARE(http->readAllBytes(), QByteArray("body"));
        QCOMPARE(http->replyContentType(), errors[number] == 0 ? u"a/b"_s : QString());
    }
}

void VKHttpFaultsTest::noHandle() {
    RecordingServer server;
    VKHttpCurlLibrary library = real();
    library.easyInit = [] { return static_cast<CURL*>(nullptr); };
    const auto http = makeTransport(&library, server.url());
    http->setHeader(u"X-A"_s, u"1"_s);
    http->addPart(HttpTest::makePart(u"a"_s, "1").get());
    for (const Call call : {Call([](VKHttpImplCurl& h) { h.get(); }),
                            Call([](VKHttpImplCurl& h) { h.postMultipart(); }), Call(&putOfOne)}) {
        call(*http);
        QCOMPARE(http->error(), 2);
        QCOMPARE(http->httpResultCode(), 0);
    }
    QCOMPARE(server.requests().size(), 0);
}

void VKHttpFaultsTest::noLibrary() {
    const auto http = makeTransport(nullptr, QUrl(u"http://127.0.0.1:1/"_s));
    http->setHeader(u"X-A"_s, u"1"_s);
    QCOMPARE(http->get(), 0);
    QCOMPARE(http->error(), 2);
    QCOMPARE(http->httpResultCode(), 0);
    QCOMPARE(http->readAllBytes(), QByteArray());
    putOfOne(*http);
    QCOMPARE(http->error(), 2);
}

void VKHttpFaultsTest::performThrows() {
    VKHttpCurlLibrary library = real();
    library.easyPerform = [](CURL*) -> CURLcode { throw 7; };
    const auto http = makeTransport(&library, QUrl(u"http://127.0.0.1:1/"_s));
    QCOMPARE(http->get(), 0);
    QCOMPARE(http->error(), 0);
    QCOMPARE(http->httpResultCode(), 0);
}

void VKHttpFaultsTest::keepAliveIsNoCondition() {
    RecordingServer server;
    VKHttpCurlLibrary library = real();
    library.easySetopt = &failingSetopt;
    arm(0);
    const HttpTest::Transport http(new VKHttpImplCurl(&library));
    QCOMPARE(gCalls, 1);
    http->setUrl(server.url());
    http->get();
    QCOMPARE(http->httpResultCode(), 204);
}

void VKHttpFaultsTest::allocations_data() {
    QTest::addColumn<Call>("call");
    QTest::newRow("get") << Call([](VKHttpImplCurl& http) { http.get(); });
    QTest::newRow("post") << Call([](VKHttpImplCurl& http) { http.post(kBody); });
    QTest::newRow("form") << Call([](VKHttpImplCurl& http) { http.postMultipart(); });
}

void VKHttpFaultsTest::allocations() {
    VKTEST_NEEDS_ALLOCATION_FAULTS();
    QFETCH(Call, call);
    const PlainServer server;
    const auto part = HttpTest::makePart(u"a"_s, "1", u"f.jpg"_s);
    Faults::Loop faults(Faults::kAllocations, ENOMEM);
    while (faults.next()) {
        const auto http = makeTransport(&real(), server.url());
        http->setHeader(u"X-A"_s, u"1"_s);
        http->addPart(part.get());
        bool hasThrown = false;
        {
            const Faults::Armed armed = faults.arm();
            try {
                call(*http);
            } catch (...) {
                hasThrown = true;
            }
        }
        QVERIFY(!hasThrown);
        // Either it succeeded all the same, or it has no status.
        if (http->httpResultCode() == 200) {
            QCOMPARE(http->error(), 0);
            QCOMPARE(http->readAllBytes(), QByteArray("body"));
        } else {
            QCOMPARE(http->httpResultCode(), 0);
        }
        call(*http);
        QCOMPARE(http->error(), 0);
        QCOMPARE(http->httpResultCode(), 200);
        QCOMPARE(http->readAllBytes(), QByteArray("body"));
    }
    QVERIFY2(faults.met() > 20, qPrintable(QString::number(faults.met())));
}

void VKHttpFaultsTest::allocationsOfAHeader() {
    VKTEST_NEEDS_ALLOCATION_FAULTS();
    const PlainServer server;
    const QString name = u"X-Größe"_s;
    const QString value = u"ü"_s;
    Faults::Loop faults(Faults::kAllocations, ENOMEM);
    while (faults.next()) {
        const auto http = makeTransport(&real(), server.url());
        bool hasThrown = false;
        {
            const Faults::Armed armed = faults.arm();
            try {
                http->setHeader(name, value);
            } catch (...) {
                hasThrown = true;
            }
        }
        QVERIFY(!hasThrown);
        const bool isMissing = faults.wasMet();
        http->get();
        QCOMPARE(http->error(), isMissing ? 27 : 0);
    }
    QVERIFY(faults.met() > 1);
}

VKTEST_MAIN(VKHttpFaultsTest)
#include "VKHttpFaultsTest.moc"
