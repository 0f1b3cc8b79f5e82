// The facade: the constants, what each verb sends, and what carries over from one request to the next.
#include "VKHttp.h"

#include "Support/RecordingServer.h"
#include "Support/VKTest.h"
#include "VKHttpPart.h"

#include <QBuffer>

#include <VKCoreKit/VKProgress.h>

using namespace Qt::StringLiterals;
using Reply = RecordingServer::Reply;

class VKHttpTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void constants_data();
    void constants();
    void aNewObject();
    void verbs_data();
    void verbs();
    void formTextIsTheDefaultRendering();
    void formAddsItsHeaderToThoseThatAreThere();
    void credentialsNeedBoth_data();
    void credentialsNeedBoth();
    void partsAreSentAgain();
    void partsAreRetained();
    void progressIsRetained();
    void startAndShutDown();
    void objectsMadeWithoutStartUp();
};

void VKHttpTest::constants_data() {
    QTest::addColumn<QString>("constant");
    QTest::addColumn<QString>("text");
    QTest::newRow("content type") << kVKHttpContentType << u"Content-Type"_s;
    QTest::newRow("content length") << kVKHttpContentLength << u"Content-Length"_s;
    QTest::newRow("content range") << kVKHttpContentRange << u"Content-Range"_s;
    QTest::newRow("accept") << kVKHttpAcceptType << u"Accept"_s;
    QTest::newRow("form") << kVKHttpContentFormUrlEncoded << u"application/x-www-form-urlencoded"_s;
    QTest::newRow("JSON") << kVKHttpContentApplicationJson << u"application/json; charset=UTF-8"_s;
    QTest::newRow("authorization") << kVKHttpAuthorization << u"Authorization"_s;
    QTest::newRow("HTTP") << kVKHttpContentApplicationHttp << u"application/http"_s;
    QTest::newRow("encoding") << kVKHttpContentTransferEncoding << u"Content-Transfer-Encoding"_s;
    QTest::newRow("binary") << kVKHttpContentTransferEncodingBinary << u"Binary"_s;
    QTest::newRow("content ID") << kVKHttpContentID << u"Content-ID"_s;
    QTest::newRow("user agent") << kVKHttpUserAgent << u"User-Agent"_s;
}

void VKHttpTest::constants() {
    QFETCH(QString, constant);
    QFETCH(QString, text);
    QCOMPARE(constant, text);
}

void VKHttpTest::aNewObject() {
    VKHttp http;
    QCOMPARE(http.url(), QUrl());
    QCOMPARE(http.error(), 0);
    QCOMPARE(http.httpResultCode(), 0);
    QCOMPARE(http.errorMsg(), QString());
    QCOMPARE(http.readAllBytes(), QByteArray());
    QCOMPARE(http.readAllBytesAsString(), QString());
    QCOMPARE(http.replyContentType(), QString());
    QVERIFY(!http.hasReplyHeader(u"Date"_s));
    QCOMPARE(http.replyHeader(u"Date"_s), QString());
    std::size_t total = 7;
    std::size_t done = 8;
    QCOMPARE(http.transferAmounts(total, done), 0);
    QCOMPARE(total, std::size_t{0});
    QCOMPARE(done, std::size_t{0});
    QVERIFY(!VKHttp::sLog);
}

void VKHttpTest::verbs_data() {
    QTest::addColumn<int>("verb");
    QTest::addColumn<QByteArray>("requestLine");
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("get") << 0 << QByteArray("GET /a HTTP/1.1") << QByteArray();
    QTest::newRow("getBytes") << 1 << QByteArray("GET /a HTTP/1.1") << QByteArray("one");
    QTest::newRow("post") << 2 << QByteArray("POST /a HTTP/1.1") << QByteArray("two");
    QTest::newRow("postUrlFormEncoded")
        << 3 << QByteArray("POST /a HTTP/1.1") << QByteArray("name=value&b=c");
    QTest::newRow("put") << 4 << QByteArray("PUT /a HTTP/1.1") << QByteArray("three");
    QTest::newRow("patch") << 5 << QByteArray("PATCH /a HTTP/1.1") << QByteArray("four");
    QTest::newRow("deleteBytes") << 6 << QByteArray("DELETE /a HTTP/1.1") << QByteArray("five");
}

void VKHttpTest::verbs() {
    QFETCH(int, verb);
    QFETCH(QByteArray, requestLine);
    QFETCH(QByteArray, body);
    RecordingServer server;
    server.reply(Reply::status("201 Created", "gr\xc3\xbc\xc3\x9f", "text/plain", "X-Name: x\r\n"));
    QBuffer device;
    device.setData(body);
    QVERIFY(device.open(QIODevice::ReadOnly));
    const QUrlQuery query{{u"name"_s, u"value"_s}, {u"b"_s, u"c"_s}};
    VKHttp http;
    http.setUrl(server.url(u"/a"_s));
    const std::function<int()> calls[] = {
        [&] { return http.get(); },
        [&] { return http.getBytes(body); },
        [&] { return http.post(body); },
        [&] { return http.postUrlFormEncoded(query); },
        [&] { return http.put(&device, body.size()); },
        [&] { return http.patch(body); },
        [&] { return http.deleteBytes(body); },
    };
    QCOMPARE(calls[verb](), 0);
    QCOMPARE(http.error(), 0);
    QCOMPARE(http.httpResultCode(), 201);
    QCOMPARE(http.url(), server.url(u"/a"_s));
    QCOMPARE(http.readAllBytes(), QByteArray("gr\xc3\xbc\xc3\x9f"));
    QCOMPARE(http.readAllBytesAsString(), u"grüß"_s);
    QCOMPARE(http.replyHeader(u"X-Name"_s), u"x"_s);
    QVERIFY(http.hasReplyHeader(u"X-Name"_s));
    QCOMPARE(http.replyContentType(), u"text/plain"_s);
    QCOMPARE(http.errorMsg(), QString());
    QCOMPARE(server.requests().size(), 1);
    QCOMPARE(server.request(0).requestLine, requestLine);
    QCOMPARE(server.request(0).body, body);
}

void VKHttpTest::formTextIsTheDefaultRendering() {
    RecordingServer server;
    QUrlQuery query;
    query.addQueryItem(u"q"_s, u"Käse & Brot"_s);
    query.addQueryItem(u"encoded"_s, u"a%20b%26c"_s);
    VKHttp http;
    http.setUrl(server.url());
    QCOMPARE(http.postUrlFormEncoded(query), 0);
    QCOMPARE(server.request(0).body, query.toString().toUtf8());
    QVERIFY(server.request(0).body.contains("q=K\xc3\xa4se "));
    QVERIFY(server.request(0).body.contains("a b%26c"));
    QCOMPARE(server.request(0).values("Content-Type"),
             QList<QByteArray>{"application/x-www-form-urlencoded"});
}

void VKHttpTest::formAddsItsHeaderToThoseThatAreThere() {
    RecordingServer server;
    VKHttp http;
    http.setUrl(server.url());
    http.setHeader(kVKHttpContentType, u"text/plain"_s);
    http.postUrlFormEncoded(QUrlQuery(u"a=b"_s));
    const QList<QByteArray> both{"text/plain", "application/x-www-form-urlencoded"};
    QCOMPARE(server.request(0).values("Content-Type"), both);
}

void VKHttpTest::credentialsNeedBoth_data() {
    QTest::addColumn<QString>("user");
    QTest::addColumn<QString>("password");
    QTest::addColumn<QByteArray>("sent");
    QTest::newRow("none") << QString() << QString() << QByteArray();
    QTest::newRow("no password") << u"user"_s << u""_s << QByteArray();
    QTest::newRow("no user") << u""_s << u"secret"_s << QByteArray();
    QTest::newRow("both") << u"user"_s << u"secret"_s << "Basic " + QByteArray("user:secret").toBase64();
    QTest::newRow("outside ASCII") << u"Jörg"_s << u"ß:%1 %2"_s
                                   << "Basic " + QByteArray("J\xc3\xb6rg:\xc3\x9f:%1 %2").toBase64();
}

void VKHttpTest::credentialsNeedBoth() {
    QFETCH(QString, user);
    QFETCH(QString, password);
    QFETCH(QByteArray, sent);
    RecordingServer server;
    VKHttp http;
    http.setUrl(server.url());
    http.setBasicAuthentication(user, password);
    http.get();
    QCOMPARE(server.request(0).value("Authorization"), sent);
}

void VKHttpTest::partsAreSentAgain() {
    RecordingServer server;
    VKHttp http;
    http.setUrl(server.url());
    for (const QString& name : {u"first"_s, u"second"_s}) {
        auto* const part = new VKHttpPart;
        part->setName(name);
        part->setBody("x");
        http.addPart(part);
        part->Release();
    }
    http.addPart(nullptr);
    QCOMPARE(http.postMultipart(), 0);
    QCOMPARE(http.postMultipart(), 0);
    for (const RecordingServer::Request& request : server.requests()) {
        QCOMPARE(request.body.count("Content-Disposition"), 2);
        QVERIFY(request.body.indexOf("name=\"first\"") < request.body.indexOf("name=\"second\""));
        QVERIFY(request.body.contains("name=\"first\""));
    }
    QCOMPARE(server.requests().size(), 2);
}

void VKHttpTest::partsAreRetained() {
    auto* const part = new VKHttpPart;
    {
        VKHttp http;
        http.addPart(part);
        http.addPart(part);
        QCOMPARE(part->AddRef(), 4U);
        QCOMPARE(part->Release(), 3U);
    }
    QCOMPARE(part->AddRef(), 2U);
    QCOMPARE(part->Release(), 1U);
    QCOMPARE(part->Release(), 0U);
}

void VKHttpTest::progressIsRetained() {
    RecordingServer server;
    VKHttp http;
    http.setUrl(server.url());
    VKProgress* const progress = VKProgressCreate(nullptr, nullptr);
    VKProgressSetCancel(progress, true);
    http.setProgress(progress);
    http.setProgress(progress);
    VKProgressRelease(progress);
    // The object's own reference still counts.
    http.get();
    QCOMPARE(http.error(), 1007);
    QCOMPARE(http.httpResultCode(), 0);
    http.setProgress(nullptr);
    http.get();
    QCOMPARE(http.error(), 0);
    QCOMPARE(http.httpResultCode(), 204);
}

void VKHttpTest::startAndShutDown() {
    RecordingServer server;
    for (int round = 0; round < 3; ++round) {
        VKHttp::startup();
        {
            VKHttp http;
            http.setUrl(server.url());
            http.get();
            QCOMPARE(http.httpResultCode(), 204);
        }
        VKHttp::shutdown();
    }
}

void VKHttpTest::objectsMadeWithoutStartUp() {
    RecordingServer server;
    VKHttp first;
    VKHttp second;
    for (VKHttp* http : {&first, &second}) {
        http->setUrl(server.url());
        http->get();
        QCOMPARE(http->httpResultCode(), 204);
    }
}

VKTEST_MAIN(VKHttpTest)
#include "VKHttpTest.moc"
