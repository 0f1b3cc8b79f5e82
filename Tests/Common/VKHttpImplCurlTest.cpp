// The exact bytes of requests: request line, every header line in its order, bodies; and what an object carries from
// one request to the next.
#include "HttpSupport.h"
#include "Support/VKTest.h"

#include <QBuffer>
#include <QFile>

using namespace Qt::StringLiterals;
using Reply = RecordingServer::Reply;

class VKHttpImplCurlTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void heads_data();
    void heads();
    void urls_data();
    void urls();
    void headerLines_data();
    void headerLines();
    void headersStay();
    void bodies_data();
    void bodies();
    void multipart();
    void multipartWithoutParts();
    void multipartWithFields_data();
    void multipartWithFields();
    void uploadOfAFile();
    void uploadOfNothing();
    void uploadsKeepTheirContentLength();
    void uploadsCountOverAllTransfers();
    void uploadSmallerThanWhatWasSent();
    void malformedUrls_data();
    void malformedUrls();
    void largeUploadWaitsForContinue();
    void uploadLengthStaysForAPost();
    void connectionIsKept();
    void methodsDoNotLinger();
    void redirectionsAreNotFollowed();
    void onlyHttp_data();
    void onlyHttp();
};

namespace {

const QByteArray kRefusal = "HTTP/1.1 400 Bad Request\r\nContent-Length: 0\r\n\r\n";

using Call = int (*)(VKHttpImplCurl&);

QByteArray withPort(QByteArray text, const RecordingServer& server) {
    return text.replace("PORT", QByteArray::number(server.port()));
}

int putOfFive(VKHttpImplCurl& http) {
    QBuffer device;
    device.setData("01234");
    device.open(QIODevice::ReadOnly);
    return http.put(&device, 5);
}

} // namespace

Q_DECLARE_METATYPE(Call)

void VKHttpImplCurlTest::heads_data() {
    QTest::addColumn<Call>("call");
    QTest::addColumn<QByteArray>("head");
    const QByteArray common = "Host: 127.0.0.1:PORT\r\nAuthorization: Basic dTpw\r\nAccept: */*\r\n"
                              "X-One: 1\r\n";
    const QByteArray body = "Content-Length: 4\r\nContent-Type: application/x-www-form-urlencoded\r\n\r\n";
    QTest::newRow("get") << Call([](VKHttpImplCurl& http) { return http.get(); })
                         << "GET /a?b=c HTTP/1.1\r\n" + common + "\r\n";
    QTest::newRow("get with a body") << Call([](VKHttpImplCurl& http) { return http.getBytes("body"); })
                                     << "GET /a?b=c HTTP/1.1\r\n" + common + body;
    QTest::newRow("post") << Call([](VKHttpImplCurl& http) { return http.post("body"); })
                          << "POST /a?b=c HTTP/1.1\r\n" + common + body;
    QTest::newRow("patch") << Call([](VKHttpImplCurl& http) { return http.patch("body"); })
                           << "PATCH /a?b=c HTTP/1.1\r\n" + common + body;
    QTest::newRow("delete") << Call([](VKHttpImplCurl& http) { return http.deleteBytes("body"); })
                            << "DELETE /a?b=c HTTP/1.1\r\n" + common + body;
    QTest::newRow("put") << Call(&putOfFive)
                         << "PUT /a?b=c HTTP/1.1\r\n" + common +
                                "Content-Length: 5\r\nExpect: 100-continue\r\n\r\n";
}

void VKHttpImplCurlTest::heads() {
    QFETCH(Call, call);
    QFETCH(QByteArray, head);
    RecordingServer server;
    const auto http = HttpTest::makeTransport(server.url(u"/a?b=c"_s));
    http->setBasicAuthentication(u"u"_s, u"p"_s);
    http->setHeader(u"X-One"_s, u"1"_s);
    QCOMPARE(call(*http), 0);
    QCOMPARE(http->error(), 0);
    QCOMPARE(server.request(0).head, withPort(head, server));
}

void VKHttpImplCurlTest::urls_data() {
    QTest::addColumn<QString>("given");
    QTest::addColumn<QByteArray>("target");
    QTest::newRow("root") << u"/"_s << QByteArray("/");
    QTest::newRow("no path") << u""_s << QByteArray("/");
    QTest::newRow("blank") << u"/a b"_s << QByteArray("/a%20b");
    QTest::newRow("letters outside ASCII") << u"/Grüße"_s << QByteArray("/Gr%C3%BC%C3%9Fe");
    QTest::newRow("encoded already") << u"/a%2Fb%20c"_s << QByteArray("/a%2Fb%20c");
    QTest::newRow("query") << u"/a?x=1&y=ü z"_s << QByteArray("/a?x=1&y=%C3%BC%20z");
    QTest::newRow("the fragment stays here") << u"/a#b"_s << QByteArray("/a");
    QTest::newRow("brackets and bars are encoded") << u"/a{b}|c\""_s << QByteArray("/a%7Bb%7D%7Cc%22");
}

void VKHttpImplCurlTest::urls() {
    QFETCH(QString, given);
    QFETCH(QByteArray, target);
    RecordingServer server;
    const auto http = HttpTest::makeTransport(QUrl(server.url(QString()).toString() + given));
    http->get();
    QCOMPARE(server.request(0).requestLine, QByteArray("GET " + target + " HTTP/1.1"));
    http->setUrl(server.url(u"/other"_s));
    http->get();
    QCOMPARE(server.request(1).requestLine, QByteArray("GET /other HTTP/1.1"));
}

void VKHttpImplCurlTest::headerLines_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QList<QByteArray>>("lines"); // besides the host's
    const QByteArray accept = "Accept: */*";
    QTest::newRow("a header") << u"X-Name"_s << u"value"_s << QList<QByteArray>{accept, "X-Name: value"};
    QTest::newRow("outside ASCII") << u"X-Größe"_s << u"ü"_s
                                   << QList<QByteArray>{accept, "X-Gr\xc3\xb6\xc3\x9f"
                                                                "e: \xc3\xbc"};
    QTest::newRow("percent signs") << u"X-%2"_s << u"%1 %2"_s << QList<QByteArray>{accept, "X-%2: %1 %2"};
    QTest::newRow("colons") << u"X-A"_s << u"b: c"_s << QList<QByteArray>{accept, "X-A: b: c"};
    QTest::newRow("replaces libcurl's own")
        << u"Accept"_s << u"image/*"_s << QList<QByteArray>{"Accept: image/*"};
    QTest::newRow("empty takes libcurl's own away") << u"Accept"_s << u""_s << QList<QByteArray>{};
    QTest::newRow("the host") << u"Host"_s << u"other"_s << QList<QByteArray>{accept, "Host: other"};
}

void VKHttpImplCurlTest::headerLines() {
    QFETCH(QString, name);
    QFETCH(QString, value);
    QFETCH(QList<QByteArray>, lines);
    RecordingServer server;
    const auto http = HttpTest::makeTransport(server.url());
    http->setHeader(name, value);
    http->get();
    QList<QByteArray> sent = server.request(0).headerLines;
    sent.removeOne(withPort("Host: 127.0.0.1:PORT", server));
    std::sort(sent.begin(), sent.end());
    std::sort(lines.begin(), lines.end());
    QCOMPARE(sent, lines);
}

void VKHttpImplCurlTest::headersStay() {
    RecordingServer server;
    const auto http = HttpTest::makeTransport(server.url());
    http->setHeader(u"X-A"_s, u"1"_s);
    http->get();
    http->setHeader(u"X-B"_s, u"2"_s);
    http->setHeader(u"X-A"_s, u"1"_s);
    http->post("x");
    http->setHeader(u"x-a"_s, u"3"_s);
    http->get();
    QCOMPARE(server.request(0).values("X-A"), QList<QByteArray>{"1"});
    const QList<QByteArray> all = server.request(2).headerLines;
    const QList<QByteArray> own{"X-A: 1", "X-B: 2", "X-A: 1", "x-a: 3"};
    QCOMPARE(all.mid(all.indexOf("X-A: 1")), own);
    QCOMPARE(server.request(1).values("X-A").size(), 2);
}

void VKHttpImplCurlTest::bodies_data() {
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("none") << QByteArray();
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("text") << QByteArray("text");
    QTest::newRow("zero bytes") << QByteArray("a\0b\0", 4);
    QTest::newRow("begins with an @") << QByteArray("@file");
    QTest::newRow("every byte") << [] {
        QByteArray bytes;
        for (int i = 0; i < 256; ++i) {
            bytes.append(static_cast<char>(i));
        }
        return bytes;
    }();
    QTest::newRow("1 MiB") << QByteArray(1 << 20, 'x');
    QTest::newRow("3 MiB, for which libcurl asks first") << QByteArray(3 << 20, 'y');
}

void VKHttpImplCurlTest::bodies() {
    QFETCH(QByteArray, body);
    RecordingServer server;
    const auto http = HttpTest::makeTransport(server.url());
    http->post(body);
    http->patch(body);
    http->deleteBytes(body);
    http->getBytes(body);
    QCOMPARE(http->httpResultCode(), 204);
    QCOMPARE(server.requests().size(), 4);
    for (const RecordingServer::Request& request : server.requests()) {
        QCOMPARE(request.body, body);
        QCOMPARE(request.values("Content-Length"), QList<QByteArray>{QByteArray::number(body.size())});
    }
}

void VKHttpImplCurlTest::multipart() {
    RecordingServer server;
    const auto http = HttpTest::makeTransport(server.url());
    const auto photo = HttpTest::makePart(u"photo"_s, QByteArray("\xff\xd8\0\r\n--", 7), u"Käse \"1\".jpg"_s);
    photo->setHeader(u"Content-ID"_s, u"never sent"_s);
    http->addPart(photo.get());
    http->addPart(HttpTest::makePart(u"text"_s, "first").get());
    http->addPart(HttpTest::makePart(u"text"_s, "").get());
    QCOMPARE(http->postMultipart(), 0);
    const RecordingServer::Request request = server.request(0);
    QCOMPARE(request.requestLine, QByteArray("POST / HTTP/1.1"));
    const QByteArray type = request.value("Content-Type");
    const QByteArray start = "multipart/form-data; boundary=";
    QVERIFY2(type.startsWith(start), type);
    const QByteArray mark = "--" + type.mid(start.size());
    QCOMPARE(
        request.body,
        mark +
            "\r\nContent-Disposition: form-data; name=\"photo\"; filename=\"K\xc3\xa4se %221%22.jpg\"\r\n"
            "Content-Type: image/jpeg\r\n\r\n" +
            QByteArray("\xff\xd8\0\r\n--", 7) + "\r\n" + mark +
            "\r\nContent-Disposition: form-data; name=\"text\"\r\n\r\nfirst\r\n" + mark +
            "\r\nContent-Disposition: form-data; name=\"text\"\r\n\r\n\r\n" + mark + "--\r\n");
}

void VKHttpImplCurlTest::multipartWithoutParts() {
    RecordingServer server;
    const auto http = HttpTest::makeTransport(server.url());
    QCOMPARE(http->postMultipart(), 0);
    QCOMPARE(http->httpResultCode(), 204);
    QCOMPARE(server.request(0).requestLine, QByteArray("POST / HTTP/1.1"));
    QVERIFY(server.request(0).value("Content-Type").startsWith("multipart/form-data; boundary="));
}

void VKHttpImplCurlTest::multipartWithFields_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("filename");
    QTest::addColumn<QByteArray>("disposition");
    QTest::newRow("no name") << u""_s << u""_s << QByteArray("form-data; name=\"\"");
    QTest::newRow("outside ASCII") << u"größe"_s << u""_s
                                   << QByteArray("form-data; name=\"gr\xc3\xb6\xc3\x9f"
                                                 "e\"");
    QTest::newRow("a file without a type")
        << u"f"_s << u"a"_s << QByteArray("form-data; name=\"f\"; filename=\"a\"");
}

void VKHttpImplCurlTest::multipartWithFields() {
    QFETCH(QString, name);
    QFETCH(QString, filename);
    QFETCH(QByteArray, disposition);
    RecordingServer server;
    const auto http = HttpTest::makeTransport(server.url());
    http->addPart(HttpTest::makePart(name, "x", filename).get());
    http->postMultipart();
    const QByteArray body = server.request(0).body;
    const QByteArray lineStart = "Content-Disposition: ";
    const qsizetype at = body.indexOf(lineStart) + lineStart.size();
    QCOMPARE(body.mid(at, body.indexOf("\r\n", at) - at), disposition);
}

void VKHttpImplCurlTest::uploadOfAFile() {
    QByteArray content;
    for (int i = 0; i < 300'000; ++i) {
        content += QByteArray::number(i);
    }
    QFile file(makeFolder() + u"/upload"_s);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QCOMPARE(file.write(content), content.size());
    // It is read from where it stands.
    QVERIFY(file.seek(1));
    RecordingServer server;
    const auto http = HttpTest::makeTransport(server.url());
    QCOMPARE(http->put(&file, file.size() - 1), 0);
    QCOMPARE(http->httpResultCode(), 204);
    QCOMPARE(server.request(0).body, content.mid(1));
    QVERIFY(!server.request(0).isChunked);
    QVERIFY(file.atEnd());
}

void VKHttpImplCurlTest::uploadOfNothing() {
    RecordingServer server;
    const auto http = HttpTest::makeTransport(server.url());
    QBuffer device;
    QVERIFY(device.open(QIODevice::ReadOnly));
    http->put(&device, 0);
    QCOMPARE(http->error(), 0);
    QCOMPARE(http->httpResultCode(), 204);
    QCOMPARE(server.request(0).requestLine, QByteArray("PUT / HTTP/1.1"));
    QCOMPARE(server.request(0).values("Content-Length"), QList<QByteArray>{"0"});
    QCOMPARE(server.request(0).body, QByteArray());
}

void VKHttpImplCurlTest::uploadsKeepTheirContentLength() {
    RecordingServer server;
    const auto http = HttpTest::makeTransport(server.url());
    QBuffer device;
    QVERIFY(device.open(QIODevice::ReadOnly));
    http->put(&device, 0);
    http->put(&device, 0);
    const QList<QByteArray> both{"0", "0"};
    QCOMPARE(server.request(1).values("Content-Length"), both);
}

void VKHttpImplCurlTest::uploadsCountOverAllTransfers() {
    RecordingServer server;
    const auto http = HttpTest::makeTransport(server.url());
    QBuffer device;
    device.setData("0123456789");
    QVERIFY(device.open(QIODevice::ReadOnly));
    http->put(&device, 4);
    QCOMPARE(server.request(0).body, QByteArray("0123"));
    QCOMPARE(device.pos(), 4);
    // The next one stands for six bytes in all: two are sent, and the rest never comes.
    server.reply(Reply::raw("HTTP/1.1 100 Continue\r\n\r\n").takeBody(2).send(kRefusal).close().beforeBody());
    http->put(&device, 6);
    QCOMPARE(device.pos(), 6);
    QCOMPARE(server.request(1).body, QByteArray("45"));
    const QList<QByteArray> both{"4", "6"};
    QCOMPARE(server.request(1).values("Content-Length"), both);
    server.reply(Reply::raw("HTTP/1.1 100 Continue\r\n\r\n").send(kRefusal).close().beforeBody());
    http->put(&device, 6);
    QCOMPARE(device.pos(), 6);
}

void VKHttpImplCurlTest::uploadSmallerThanWhatWasSent() {
    RecordingServer server;
    const auto http = HttpTest::makeTransport(server.url());
    QBuffer device;
    device.setData("0123456789");
    QVERIFY(device.open(QIODevice::ReadOnly));
    http->put(&device, 4);
    // Two bytes less than nothing: a read that fails, without the warning that the device itself would give. The
    // server gets none of the two that it waits for.
    server.reply(Reply::raw("HTTP/1.1 100 Continue\r\n\r\n").takeBody(2).send(kRefusal).close().beforeBody());
    http->put(&device, 2);
    QCOMPARE(http->error(), 26);
    QCOMPARE(http->httpResultCode(), 0);
    QCOMPARE(device.pos(), 4);
}

void VKHttpImplCurlTest::malformedUrls_data() {
    QTest::addColumn<QUrl>("malformed");
    QUrl port(u"http://127.0.0.1/"_s);
    port.setPort(99999);
    QTest::newRow("an impossible port, set") << port;
    QTest::newRow("an impossible port") << QUrl(u"http://127.0.0.1:99999/"_s);
    QTest::newRow("no number") << QUrl(u"http://127.0.0.1:port/"_s);
    QTest::newRow("no host") << QUrl(u"http://a b/"_s);
    QTest::newRow("none") << QUrl();
}

/// Some compare equal to the address that is theirs without the mistake.
void VKHttpImplCurlTest::malformedUrls() {
    QFETCH(QUrl, malformed);
    RecordingServer server;
    QVERIFY(!malformed.isValid());
    // As a proxy the server sees requests for any address.
    const QByteArray before = qgetenv("no_proxy");
    qunsetenv("no_proxy");
    qputenv("http_proxy", server.url().toString().toUtf8());
    const auto http = HttpTest::makeTransport(QUrl(u"http://127.0.0.1/"_s));
    const auto get = [&http](const QUrl& url) {
        http->setUrl(url);
        http->get();
        return http->error();
    };
    const QUrl whole(u"http://127.0.0.1/"_s);
    const int errors[] = {get(whole), get(malformed), get(whole)};
    qunsetenv("http_proxy");
    qputenv("no_proxy", before);
    QCOMPARE(errors[0], 0);
    QCOMPARE(errors[1], 3);
    QCOMPARE(errors[2], 0);
    QCOMPARE(server.requests().size(), 2);
}

void VKHttpImplCurlTest::largeUploadWaitsForContinue() {
    const QByteArray content(2 << 20, 'z');
    RecordingServer server;
    const auto http = HttpTest::makeTransport(server.url());
    QBuffer device;
    device.setData(content);
    QVERIFY(device.open(QIODevice::ReadOnly));
    http->put(&device, content.size());
    QCOMPARE(http->httpResultCode(), 204);
    QCOMPARE(server.request(0).value("Expect"), QByteArray("100-continue"));
    QCOMPARE(server.request(0).body, content);
    // Where the server refuses, nothing is sent.
    const auto refused = HttpTest::makeTransport(server.url());
    server.reply(Reply::status("413 Too Large").beforeBody().close());
    QVERIFY(device.seek(0));
    refused->put(&device, content.size());
    QCOMPARE(refused->error(), 0);
    QCOMPARE(refused->httpResultCode(), 413);
    QCOMPARE(device.pos(), 0);
}

void VKHttpImplCurlTest::uploadLengthStaysForAPost() {
    RecordingServer server;
    const auto http = HttpTest::makeTransport(server.url());
    QCOMPARE(putOfFive(*http), 0);
    http->post("12345");
    QCOMPARE(server.request(1).values("Content-Length"), QList<QByteArray>{"5"});
    QCOMPARE(server.request(1).body, QByteArray("12345"));
}

void VKHttpImplCurlTest::connectionIsKept() {
    RecordingServer server;
    const auto http = HttpTest::makeTransport(server.url());
    for (int i = 0; i < 5; ++i) {
        server.reply(Reply::ok("body"));
        http->get();
        http->post("x");
        http->addPart(HttpTest::makePart(u"n"_s, "x").get());
        http->postMultipart();
    }
    QCOMPARE(server.requests().size(), 15);
    QCOMPARE(server.connections(), 1);
}

void VKHttpImplCurlTest::methodsDoNotLinger() {
    RecordingServer server;
    const auto http = HttpTest::makeTransport(server.url());
    http->setIgnoreSSLErrors(true);
    http->patch("x");
    http->get();
    http->post("y");
    http->addPart(HttpTest::makePart(u"n"_s, "x").get());
    http->postMultipart();
    http->get();
    QList<QByteArray> lines;
    for (const RecordingServer::Request& request : server.requests()) {
        lines.append(request.requestLine.left(5));
    }
    const QList<QByteArray> expected{"PATCH", "GET /", "POST ", "POST ", "GET /"};
    QCOMPARE(lines, expected);
    QCOMPARE(server.request(4).body, QByteArray());
    QVERIFY(!server.request(4).head.contains("Content"));
}

void VKHttpImplCurlTest::redirectionsAreNotFollowed() {
    RecordingServer server;
    const auto http = HttpTest::makeTransport(server.url());
    server.reply(Reply::status("302 Found", "moved", "text/plain", "Location: /elsewhere\r\n"));
    http->get();
    QCOMPARE(http->httpResultCode(), 302);
    QCOMPARE(http->replyHeader(u"Location"_s), u"/elsewhere"_s);
    QCOMPARE(http->readAllBytes(), QByteArray("moved"));
    QCOMPARE(server.requests().size(), 1);
}

void VKHttpImplCurlTest::onlyHttp_data() {
    QTest::addColumn<QString>("url");
    QTest::addColumn<int>("error");
    QTest::newRow("file") << u"file:///etc/passwd"_s << 1;
    QTest::newRow("ftp") << u"ftp://127.0.0.1/a"_s << 1;
    QTest::newRow("no such scheme") << u"other://127.0.0.1/a"_s << 1;
    QTest::newRow("nothing") << u""_s << 3;
    QTest::newRow("no host") << u"http://"_s << 3;
}

void VKHttpImplCurlTest::onlyHttp() {
    QFETCH(QString, url);
    QFETCH(int, error);
    const auto http = HttpTest::makeTransport(QUrl(url));
    QCOMPARE(http->get(), 0);
    QCOMPARE(http->error(), error);
    QCOMPARE(http->httpResultCode(), 0);
    QCOMPARE(http->readAllBytes(), QByteArray());
}

VKTEST_MAIN(VKHttpImplCurlTest)
#include "VKHttpImplCurlTest.moc"
