// The HTTP client against servers that others wrote, without TLS: httpbin tells what it was sent, nginx keeps files.
#include "Support/DiskSupport.h"
#include "Support/VKTest.h"
#include "Support/WebServers.h"

#include <VKHttp.h>
#include <VKHttpOp.h>
#include <VKHttpPart.h>
#include <VKHttpResult.h>

#include <QBuffer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QUrlQuery>

#include <memory>

using WebServers::Httpbin;
using WebServers::Nginx;

namespace {

/// What a JSON reply holds; empty when the transfer failed.
QJsonObject jsonOf(VKHttp& http) { return QJsonDocument::fromJson(http.readAllBytes()).object(); }

/// Bytes in which a shift, a loss or a repetition shows.
QByteArray sampleBytes(qsizetype size) {
    QByteArray bytes(size, Qt::Uninitialized);
    quint32 state = 1;
    for (char& byte : bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24U);
    }
    return bytes;
}

void addPart(VKHttp& http, const QString& name, const QByteArray& body, const QString& filename = QString()) {
    auto* part = new VKHttpPart;
    part->setName(name);
    part->setBody(body);
    part->setFilename(filename);
    http.addPart(part);
    part->Release();
}

} // namespace

class VKHttpServersTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void verbs_data();
    void verbs();
    void statuses_data();
    void statuses();
    void basicAuthentication_data();
    void basicAuthentication();
    void credentialsAreUtf8();
    void form();
    void multipart();
    void compressedBodyStaysCompressed();
    void chunkedBody();
    void textIsUtf8();
    void connectTimeoutIsNoTotalTimeout();
    void redirectIsNotFollowed();
    void valueWithColonAndBlank();
    void jsonReply();
    void errorReplyWithJson();
    void uploadAndDelete_data();
    void uploadAndDelete();
    void uploadOfAPartOfAFile();
    void largeFile();
    void rangeOfAFile();
    void repeatedHeaderKeepsTheLast();
    void oneConnectionForOneObject();
    void refusedConnection();

private:
    std::unique_ptr<Httpbin> mHttpbin;
    std::unique_ptr<Nginx> mNginx;
};

void VKHttpServersTest::initTestCase() {
    VKHttp::startup();
    if (Httpbin::canBeMade()) {
        mHttpbin = std::make_unique<Httpbin>(makeFolder(QStringLiteral("httpbin")).toUtf8());
    }
    if (Nginx::canBeMade()) {
        mNginx = std::make_unique<Nginx>(makeFolder(QStringLiteral("nginx")).toUtf8());
    }
}

void VKHttpServersTest::cleanupTestCase() {
    mHttpbin.reset();
    mNginx.reset();
    VKHttp::shutdown();
}

void VKHttpServersTest::verbs_data() {
    QTest::addColumn<QString>("verb");
    QTest::addColumn<QString>("method");
    QTest::addColumn<QString>("body");
    const QString body = QStringLiteral("two lines\nof \u00e4 body");
    QTest::newRow("get") << QStringLiteral("get") << QStringLiteral("GET") << QString();
    QTest::newRow("get with a body") << QStringLiteral("getBytes") << QStringLiteral("GET") << body;
    QTest::newRow("post") << QStringLiteral("post") << QStringLiteral("POST") << body;
    QTest::newRow("post of nothing") << QStringLiteral("post") << QStringLiteral("POST") << QString();
    QTest::newRow("patch") << QStringLiteral("patch") << QStringLiteral("PATCH") << body;
    QTest::newRow("delete with a body") << QStringLiteral("deleteBytes") << QStringLiteral("DELETE") << body;
    QTest::newRow("put") << QStringLiteral("put") << QStringLiteral("PUT") << body;
    QTest::newRow("put of nothing") << QStringLiteral("put") << QStringLiteral("PUT") << QString();
}

void VKHttpServersTest::verbs() {
    VKTEST_NEEDS(mHttpbin, "python3-httpbin and gunicorn");
    QFETCH(QString, verb);
    QFETCH(QString, method);
    QFETCH(QString, body);
    QByteArray bytes = body.toUtf8();
    QBuffer device(&bytes);
    QVERIFY(device.open(QIODevice::ReadOnly));

    VKHttp http;
    http.setHeader(kVKHttpContentType, QStringLiteral("text/plain"));
    http.setUrl(mHttpbin->url("/anything/photos?sort=date&page=2"));
    int ran = -1;
    if (verb == u"get") {
        ran = http.get();
    } else if (verb == u"getBytes") {
        ran = http.getBytes(bytes);
    } else if (verb == u"post") {
        ran = http.post(bytes);
    } else if (verb == u"patch") {
        ran = http.patch(bytes);
    } else if (verb == u"deleteBytes") {
        ran = http.deleteBytes(bytes);
    } else {
        ran = http.put(&device, bytes.size());
    }
    QCOMPARE(ran, 0);
    QCOMPARE(http.error(), 0);
    QCOMPARE(http.httpResultCode(), 200);
    QCOMPARE(http.replyContentType(), QStringLiteral("application/json"));
    const QJsonObject reply = jsonOf(http);
    QCOMPARE(reply.value(u"method").toString(), method);
    QCOMPARE(reply.value(u"data").toString(), body);
    QCOMPARE(reply.value(u"args").toObject().value(u"sort").toString(), QStringLiteral("date"));
    QCOMPARE(reply.value(u"args").toObject().value(u"page").toString(), QStringLiteral("2"));
    QCOMPARE(reply.value(u"headers").toObject().value(u"Content-Type").toString(),
             QStringLiteral("text/plain"));
}

void VKHttpServersTest::statuses_data() {
    QTest::addColumn<int>("status");
    for (const int status : {200, 201, 204, 206, 301, 304, 400, 401, 403, 404, 405, 418, 429, 500, 503}) {
        QTest::addRow("%d", status) << status;
    }
}

void VKHttpServersTest::statuses() {
    VKTEST_NEEDS(mHttpbin, "python3-httpbin and gunicorn");
    QFETCH(int, status);
    VKHttp http;
    http.setUrl(mHttpbin->url("/status/" + QByteArray::number(status)));
    QCOMPARE(http.get(), 0);
    QCOMPARE(http.error(), 0);
    QCOMPARE(http.httpResultCode(), status);
    QVERIFY(http.errorMsg().isEmpty());
    VKHttpResult result;
    result.httpCode = http.httpResultCode();
    result.error = http.error();
    QCOMPARE(result.success(), status == 200);
}

void VKHttpServersTest::basicAuthentication_data() {
    QTest::addColumn<QString>("user");
    QTest::addColumn<QString>("password");
    QTest::addColumn<int>("status");
    const QString anna = QStringLiteral("anna");
    const QString secret = QStringLiteral("geheim");
    QTest::newRow("right") << anna << secret << 200;
    QTest::newRow("wrong password") << anna << QStringLiteral("other") << 401;
    QTest::newRow("no password, so nothing is sent") << anna << QString() << 401;
    QTest::newRow("no user, so nothing is sent") << QString() << secret << 401;
    QTest::newRow("neither") << QString() << QString() << 401;
}

void VKHttpServersTest::basicAuthentication() {
    VKTEST_NEEDS(mHttpbin, "python3-httpbin and gunicorn");
    QFETCH(QString, user);
    QFETCH(QString, password);
    QFETCH(int, status);
    VKHttp http;
    http.setBasicAuthentication(user, password);
    http.setUrl(mHttpbin->url("/basic-auth/anna/geheim"));
    http.get();
    QCOMPARE(http.error(), 0);
    QCOMPARE(http.httpResultCode(), status);
    QCOMPARE(http.hasReplyHeader(QStringLiteral("WWW-Authenticate")), status == 401);

    http.setUrl(mHttpbin->url("/headers"));
    http.get();
    const QJsonObject sent = jsonOf(http).value(u"headers").toObject();
    QCOMPARE(sent.contains(kVKHttpAuthorization), !user.isEmpty() && !password.isEmpty());
}

void VKHttpServersTest::credentialsAreUtf8() {
    VKTEST_NEEDS(mHttpbin, "python3-httpbin and gunicorn");
    VKHttp http;
    http.setBasicAuthentication(QStringLiteral("J\u00f6rg"), QStringLiteral("gr\u00fc\u00df:dich"));
    http.setUrl(mHttpbin->url("/headers"));
    http.get();
    const QByteArray credentials = QStringLiteral("J\u00f6rg:gr\u00fc\u00df:dich").toUtf8().toBase64();
    QCOMPARE(jsonOf(http).value(u"headers").toObject().value(u"Authorization").toString(),
             QString::fromLatin1("Basic " + credentials));
}

void VKHttpServersTest::form() {
    VKTEST_NEEDS(mHttpbin, "python3-httpbin and gunicorn");
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("album"), QStringLiteral("Sommer"));
    query.addQueryItem(QStringLiteral("rating"), QStringLiteral("5"));
    VKHttp http;
    http.setUrl(mHttpbin->url("/post"));
    QCOMPARE(http.postUrlFormEncoded(query), 0);
    QCOMPARE(http.httpResultCode(), 200);
    const QJsonObject reply = jsonOf(http);
    QCOMPARE(reply.value(u"form").toObject(),
             QJsonObject({{QStringLiteral("album"), QStringLiteral("Sommer")},
                          {QStringLiteral("rating"), QStringLiteral("5")}}));
    QCOMPARE(reply.value(u"headers").toObject().value(u"Content-Type").toString(),
             kVKHttpContentFormUrlEncoded);
}

void VKHttpServersTest::multipart() {
    VKTEST_NEEDS(mHttpbin, "python3-httpbin and gunicorn");
    VKHttp http;
    addPart(http, QStringLiteral("caption"), "Am See");
    addPart(http, QStringLiteral("photo"), "pixels\r\n--not a boundary\r\n",
            QStringLiteral("IMG 1 \"\u00e4\".jpg"));
    http.setUrl(mHttpbin->url("/post"));
    // The parts stay with the object: a second request sends the same two.
    for (int round = 0; round < 2; ++round) {
        QCOMPARE(http.postMultipart(), 0);
        QCOMPARE(http.httpResultCode(), 200);
        const QJsonObject reply = jsonOf(http);
        QCOMPARE(reply.value(u"form").toObject(),
                 QJsonObject({{QStringLiteral("caption"), QStringLiteral("Am See")}}));
        QCOMPARE(reply.value(u"files").toObject(),
                 QJsonObject({{QStringLiteral("photo"), QStringLiteral("pixels\r\n--not a boundary\r\n")}}));
        QVERIFY(reply.value(u"headers")
                    .toObject()
                    .value(u"Content-Type")
                    .toString()
                    .startsWith(u"multipart/form-data; boundary="));
    }
}

void VKHttpServersTest::compressedBodyStaysCompressed() {
    VKTEST_NEEDS(mHttpbin, "python3-httpbin and gunicorn");
    VKHttp http;
    http.setUrl(mHttpbin->url("/gzip"));
    http.get();
    QCOMPARE(http.httpResultCode(), 200);
    QCOMPARE(http.replyHeader(QStringLiteral("Content-Encoding")), QStringLiteral("gzip"));
    const QByteArray body = http.readAllBytes();
    QVERIFY(body.startsWith("\x1f\x8b"));
    QCOMPARE(body.size(), http.replyHeader(kVKHttpContentLength).toLongLong());

    http.setUrl(mHttpbin->url("/headers"));
    http.get();
    QVERIFY(!jsonOf(http).value(u"headers").toObject().contains(u"Accept-Encoding"));
}

void VKHttpServersTest::chunkedBody() {
    VKTEST_NEEDS(mHttpbin, "python3-httpbin and gunicorn");
    VKHttp http;
    http.setUrl(mHttpbin->url("/stream-bytes/100000?chunk_size=1500&seed=7"));
    http.get();
    QCOMPARE(http.httpResultCode(), 200);
    QCOMPARE(http.replyHeader(QStringLiteral("Transfer-Encoding")), QStringLiteral("chunked"));
    const QByteArray first = http.readAllBytes();
    QCOMPARE(first.size(), 100000);
    http.setUrl(mHttpbin->url("/stream-bytes/100000?chunk_size=64000&seed=7"));
    http.get();
    QVERIFY(http.readAllBytes() == first);
}

void VKHttpServersTest::textIsUtf8() {
    VKTEST_NEEDS(mHttpbin, "python3-httpbin and gunicorn");
    VKHttp http;
    const QString text = QStringLiteral("Gr\u00f6\u00dfe \u222e \U0001f4f7");
    http.setUrl(mHttpbin->url("/base64/" + text.toUtf8().toBase64(QByteArray::Base64UrlEncoding)));
    http.get();
    QCOMPARE(http.replyContentType(), QStringLiteral("text/html; charset=utf-8"));
    QCOMPARE(http.readAllBytesAsString(), text);
    QCOMPARE(http.readAllBytes(), text.toUtf8());
}

void VKHttpServersTest::connectTimeoutIsNoTotalTimeout() {
    VKTEST_NEEDS(mHttpbin, "python3-httpbin and gunicorn");
    VKHttp http;
    http.setConnectTimeout(400);
    http.setUrl(mHttpbin->url("/delay/1"));
    http.get();
    QCOMPARE(http.error(), 0);
    QCOMPARE(http.httpResultCode(), 200);
}

void VKHttpServersTest::redirectIsNotFollowed() {
    VKTEST_NEEDS(mHttpbin, "python3-httpbin and gunicorn");
    VKHttp http;
    http.setUrl(mHttpbin->url("/redirect/1"));
    http.get();
    QCOMPARE(http.error(), 0);
    QCOMPARE(http.httpResultCode(), 302);
    QCOMPARE(http.replyHeader(QStringLiteral("Location")), QStringLiteral("/get"));
    QCOMPARE(http.url(), mHttpbin->url("/redirect/1"));
}

void VKHttpServersTest::valueWithColonAndBlank() {
    VKTEST_NEEDS(mHttpbin, "python3-httpbin and gunicorn");
    VKHttp http;
    http.setUrl(mHttpbin->url("/response-headers?X-Plain=a:b&X-Split=a:%20b"));
    http.get();
    QCOMPARE(http.httpResultCode(), 200);
    QCOMPARE(http.replyHeader(QStringLiteral("X-Plain")), QStringLiteral("a:b"));
    QVERIFY(!http.hasReplyHeader(QStringLiteral("X-Split")));
    QVERIFY(!http.hasReplyHeader(QStringLiteral("x-plain")));
}

void VKHttpServersTest::jsonReply() {
    VKTEST_NEEDS(mHttpbin, "python3-httpbin and gunicorn");
    VKHttp http;
    http.setHeader(kVKHttpContentType, kVKHttpContentApplicationJson);
    http.setUrl(mHttpbin->url("/anything"));
    http.post("{\"api_version\": 1}");
    VKHttpOp op;
    QVERIFY(op.processReply(http));
    QVERIFY(op.result.success());
    QCOMPARE(op.object.value(u"json").toObject().value(u"api_version").toInt(), 1);
    QVERIFY(op.result.message.isEmpty());
}

void VKHttpServersTest::errorReplyWithJson() {
    VKTEST_NEEDS(mHttpbin, "python3-httpbin and gunicorn");
    // 418 comes with a text, 406 with a JSON object that tells what could be had.
    VKHttp http;
    http.setUrl(mHttpbin->url("/status/418"));
    http.get();
    VKHttpOp plain;
    QVERIFY(!plain.processReply(http));
    QCOMPARE(plain.result.message, QString(QStringLiteral("Error: 0 -  HttpCode: 418 Url: ") +
                                           mHttpbin->url("/status/418").toString()));
    VKHttp other;
    other.setUrl(mHttpbin->url("/status/406"));
    other.get();
    VKHttpOp json;
    json.expectJson = true;
    QVERIFY(json.processReply(other));
    QCOMPARE(json.result.httpCode, 406);
    QVERIFY(json.object.contains(u"accept"));
}

void VKHttpServersTest::uploadAndDelete_data() {
    QTest::addColumn<int>("size");
    QTest::newRow("nothing") << 0;
    QTest::newRow("one byte") << 1;
    QTest::newRow("a block of 64 KiB") << 65536;
    QTest::newRow("as much as goes without asking") << (1 << 20);
    QTest::newRow("more, so that the server is asked first") << (1 << 20) + 1;
    QTest::newRow("some megabytes") << 7654321;
}

void VKHttpServersTest::uploadAndDelete() {
    VKTEST_NEEDS(mNginx, "nginx-light and libnginx-mod-http-dav-ext");
    QFETCH(int, size);
    const QByteArray content = sampleBytes(size);
    const QByteArray source = makeFolder().toUtf8() + "/IMG.raw";
    Disk::makeFile(source, content);
    QFile file(QString::fromUtf8(source));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray target = mNginx->files() + "new folder/IMG.raw";

    VKHttp http;
    http.setUrl(mNginx->url("/dav/new folder/IMG.raw"));
    QCOMPARE(http.put(&file, size), 0);
    QVERIFY2(http.error() == 0 && http.httpResultCode() == 201, mNginx->complaints().constData());
    QVERIFY(Disk::exists(target));
    QVERIFY(Disk::contentOf(target) == content);

    VKHttp remover;
    remover.setUrl(mNginx->url("/dav/new folder/IMG.raw"));
    remover.deleteBytes(QByteArray());
    QCOMPARE(remover.error(), 0);
    QCOMPARE(remover.httpResultCode(), 204);
    QVERIFY(!Disk::exists(target));
    remover.deleteBytes(QByteArray());
    QCOMPARE(remover.httpResultCode(), 404);
}

void VKHttpServersTest::uploadOfAPartOfAFile() {
    VKTEST_NEEDS(mNginx, "nginx-light and libnginx-mod-http-dav-ext");
    QByteArray content = sampleBytes(200000);
    QBuffer device(&content);
    QVERIFY(device.open(QIODevice::ReadOnly));
    QVERIFY(device.seek(1000));
    VKHttp http;
    http.setUrl(mNginx->url("/dav/part.raw"));
    http.put(&device, 150000);
    QCOMPARE(http.httpResultCode(), 201);
    QVERIFY(Disk::contentOf(mNginx->files() + "part.raw") == content.mid(1000, 150000));
    QCOMPARE(device.pos(), 151000);
}

void VKHttpServersTest::largeFile() {
    VKTEST_NEEDS(mNginx, "nginx-light and libnginx-mod-http-dav-ext");
    const QByteArray content = sampleBytes(20 << 20);
    Disk::makeFile(mNginx->files() + "large.raw", content);
    VKHttp http;
    http.setUrl(mNginx->url("/files/large.raw"));
    http.get();
    QCOMPARE(http.error(), 0);
    QCOMPARE(http.httpResultCode(), 200);
    QVERIFY(http.readAllBytes() == content);
    QCOMPARE(http.replyHeader(kVKHttpContentLength), QString::number(content.size()));
}

void VKHttpServersTest::rangeOfAFile() {
    VKTEST_NEEDS(mNginx, "nginx-light and libnginx-mod-http-dav-ext");
    Disk::makeFile(mNginx->files() + "digits", "0123456789");
    VKHttp http;
    http.setHeader(QStringLiteral("Range"), QStringLiteral("bytes=2-4"));
    http.setUrl(mNginx->url("/files/digits"));
    http.get();
    QCOMPARE(http.httpResultCode(), 206);
    QCOMPARE(http.readAllBytes(), QByteArray("234"));
    QCOMPARE(http.replyHeader(kVKHttpContentRange), QStringLiteral("bytes 2-4/10"));
    VKHttpResult result;
    result.httpCode = http.httpResultCode();
    QVERIFY(!result.success());
}

void VKHttpServersTest::repeatedHeaderKeepsTheLast() {
    VKTEST_NEEDS(mNginx, "nginx-light and libnginx-mod-http-dav-ext");
    VKHttp http;
    http.setUrl(mNginx->url("/repeated"));
    http.get();
    QCOMPARE(http.readAllBytes(), QByteArray("twice"));
    QCOMPARE(http.replyHeader(QStringLiteral("X-Repeated")), QStringLiteral("two"));
    // What an earlier reply said stays known until a later one says otherwise.
    http.setUrl(mNginx->url("/small"));
    http.get();
    QCOMPARE(http.readAllBytes().size(), 200);
    QCOMPARE(http.replyHeader(QStringLiteral("X-Repeated")), QStringLiteral("two"));
    QCOMPARE(http.replyHeader(kVKHttpContentLength), QStringLiteral("200"));
    QCOMPARE(http.replyContentType(), QStringLiteral("text/plaintext/plain"));
}

void VKHttpServersTest::oneConnectionForOneObject() {
    VKTEST_NEEDS(mNginx, "nginx-light and libnginx-mod-http-dav-ext");
    VKHttp one;
    VKHttp other;
    one.setUrl(mNginx->url("/connection"));
    other.setUrl(mNginx->url("/connection"));
    one.get();
    const QByteArray connection = one.readAllBytes();
    QVERIFY(connection.toInt() > 0);
    other.get();
    QVERIFY(other.readAllBytes() != connection);
    for (int i = 0; i < 3; ++i) {
        one.post("body");
        QCOMPARE(one.readAllBytes(), connection);
    }
}

void VKHttpServersTest::refusedConnection() {
    WebServers::Listener listener;
    QUrl url(QStringLiteral("http://127.0.0.1/"));
    url.setPort(listener.port());
    listener.close();
    VKHttp http;
    http.setUrl(url);
    QCOMPARE(http.get(), 0);
    QCOMPARE(http.error(), 7); // CURLE_COULDNT_CONNECT
    QCOMPARE(http.httpResultCode(), 0);
    VKHttpOp op;
    QVERIFY(!op.processReply(http));
    QCOMPARE(op.result.message, QString(QStringLiteral("Error: 7 -  HttpCode: 0 Url: ") + url.toString()));
}

VKTEST_MAIN(VKHttpServersTest)
#include "VKHttpServersTest.moc"
