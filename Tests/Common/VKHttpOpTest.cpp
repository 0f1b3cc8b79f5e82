// What replies come to: when a body is parsed, when a reply is usable, and what is said of one that is not.
#include "VKHttpOp.h"

#include "Support/RecordingServer.h"
#include "Support/VKTest.h"
#include "VKHttp.h"

#include <QJsonArray>

using namespace Qt::StringLiterals;
using Reply = RecordingServer::Reply;

class VKHttpOpTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void aNewOperation();
    void replies_data();
    void replies();
    void transportErrors();
    void earlierMessageStandsInTheNext();
    void whatStaysFromAnEarlierReply();
};

void VKHttpOpTest::aNewOperation() {
    const VKHttpOp op;
    QCOMPARE(op.result.httpCode, 0);
    QCOMPARE(op.result.error, 0);
    QCOMPARE(op.result.message, QString());
    QVERIFY(op.document.isNull());
    QVERIFY(op.object.isEmpty());
    QVERIFY(!op.expectJson);
}

void VKHttpOpTest::replies_data() {
    QTest::addColumn<QByteArray>("status");
    QTest::addColumn<QByteArray>("contentType");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("expectJson");
    QTest::addColumn<bool>("isUsable");
    QTest::addColumn<bool>("hasDocument");
    QTest::addColumn<QString>("message"); // of the object
    const QByteArray json = R"({"message":"busy"})";
    const auto row = [](const char* name, const char* status, const char* type, const QByteArray& body,
                        bool expectJson, bool isUsable, bool hasDocument, const QString& message) {
        QTest::newRow(name) << QByteArray(status) << QByteArray(type) << body << expectJson << isUsable
                            << hasDocument << message;
    };
    row("JSON", "200 OK", "application/json", json, false, true, true, u"busy"_s);
    row("JSON with a charset", "200 OK", "application/json; charset=UTF-8", json, false, true, true,
        u"busy"_s);
    row("JSON of a family", "200 OK", "application/problem+json", json, false, true, true, u"busy"_s);
    row("script", "200 OK", "text/javascript", json, false, true, true, u"busy"_s);
    row("an error told in JSON", "500 Internal Server Error", "application/json", json, false, true, true,
        u"busy"_s);
    row("no success, but JSON", "204 No Content", "application/json", "", false, true, false, {});
    row("text", "200 OK", "text/html", "hello", false, true, false, {});
    row("text that is JSON", "200 OK", "text/html", json, false, true, false, {});
    row("text that is expected to be JSON", "200 OK", "text/html", json, true, true, true, u"busy"_s);
    row("no type, expected", "404 Not Found", "", json, true, true, true, u"busy"_s);
    row("no type", "404 Not Found", "", json, false, false, false, {});
    row("letters of another case", "404 Not Found", "Application/JSON", json, false, false, false, {});
    row("letters of another case, expected", "404 Not Found", "Application/JSON", json, true, true, true,
        u"busy"_s);
    row("broken JSON with 200", "200 OK", "application/json", "{\"message\":", false, true, false, {});
    row("broken JSON with 500", "500 Oh", "application/json", "{\"message\":", false, false, false, {});
    row("an empty body counts as parsed", "500 Oh", "application/json", "", false, true, false, {});
    row("an array", "500 Oh", "application/json", "[1]", false, true, true, {});
    row("a bare number is no document", "500 Oh", "application/json", "1", false, false, false, {});
    row("blanks only", "500 Oh", "application/json", "  ", false, false, false, {});
    row("HTML makes no difference", "404 Not Found", "text/HTML", "<p>", false, false, false, {});
    row("deeper than Qt reads", "500 Oh", "application/json", QByteArray(2000, '['), false, false, false, {});
}

void VKHttpOpTest::replies() {
    QFETCH(QByteArray, status);
    QFETCH(QByteArray, contentType);
    QFETCH(QByteArray, body);
    QFETCH(bool, expectJson);
    QFETCH(bool, isUsable);
    QFETCH(bool, hasDocument);
    QFETCH(QString, message);
    RecordingServer server;
    // A 204 has no length.
    server.reply(status.startsWith("204")
                     ? Reply::raw("HTTP/1.1 " + status + "\r\nContent-Type: " + contentType + "\r\n\r\n")
                     : Reply::status(status, body, contentType));
    VKHttp http;
    http.setUrl(server.url(u"/a?b=%20c"_s));
    http.get();
    VKHttpOp op;
    op.expectJson = expectJson;
    QCOMPARE(op.processReply(http), isUsable);
    QCOMPARE(op.result.httpCode, status.left(3).toInt());
    QCOMPARE(op.result.error, 0);
    QCOMPARE(!op.document.isNull(), hasDocument);
    QCOMPARE(op.object.value("message"_L1).toString(), message);
    QCOMPARE(op.result.message, isUsable ? QString()
                                         : u"Error: 0 -  HttpCode: "_s + QString::fromLatin1(status.left(3)) +
                                               u" Url: "_s + http.url().toString());
}

void VKHttpOpTest::transportErrors() {
    RecordingServer server;
    server.reply(
        Reply::raw("HTTP/1.1 200 OK\r\nContent-Type: application/json\r\nContent-Length: 9\r\n\r\n{}")
            .close());
    VKHttp http;
    http.setUrl(server.url(u"/%2 %1"_s));
    http.get();
    VKHttpOp op;
    op.expectJson = true;
    // What came of the body is not looked at.
    QVERIFY(!op.processReply(http));
    QCOMPARE(op.result.error, 18);
    QCOMPARE(op.result.httpCode, 0);
    QCOMPARE(op.result.message, u"Error: 18 -  HttpCode: 0 Url: "_s + http.url().toString());
    QVERIFY(op.document.isNull());
}

void VKHttpOpTest::earlierMessageStandsInTheNext() {
    RecordingServer server;
    server.reply(Reply::status("404 Not Found"));
    VKHttp http;
    http.setUrl(server.url());
    http.get();
    VKHttpOp op;
    op.result.message = u"before %1"_s;
    QVERIFY(!op.processReply(http));
    QCOMPARE(op.result.message, u"Error: 0 - before %1 HttpCode: 404 Url: "_s + http.url().toString());
}

void VKHttpOpTest::whatStaysFromAnEarlierReply() {
    RecordingServer server;
    server.reply(Reply::ok(R"({"a":1})", "application/json"));
    server.reply(Reply::ok("broken", "application/json"));
    server.reply(Reply::ok("[2]", "application/json"));
    VKHttp http;
    http.setUrl(server.url());
    VKHttpOp op;
    http.get();
    QVERIFY(op.processReply(http));
    QCOMPARE(op.object.value("a"_L1).toInt(), 1);
    http.get();
    QVERIFY(op.processReply(http));
    QVERIFY(op.document.isNull());
    QCOMPARE(op.object.value("a"_L1).toInt(), 1);
    http.get();
    QVERIFY(op.processReply(http));
    QCOMPARE(op.document.array().first().toInt(), 2);
    QVERIFY(op.object.isEmpty());
}

VKTEST_MAIN(VKHttpOpTest)
#include "VKHttpOpTest.moc"
