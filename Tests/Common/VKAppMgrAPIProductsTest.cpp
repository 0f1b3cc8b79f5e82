// The products call: what is sent, which arguments it needs, every outcome, and that what it does not read at once is
// read by the rules.
#include "VKAppMgrAPI.h"

#include "AppMgrServiceSupport.h"

using namespace AppMgr;
using CoreKit::LogCapture;
using Reply = RecordingServer::Reply;

namespace {

VKAppMgrAPI::t_ProductsData question() {
    return {u"S"_s, QString(), u"en"_s, QString(), QString(), QString()};
}

QStringList names(const VKAppMgrAPI::t_ProductsResponse& response) {
    QStringList texts;
    for (const auto& product : response.products) {
        texts << product.name;
    }
    return texts;
}

/// An answer that nothing wrote to, with a product of before.
VKAppMgrAPI::t_ProductsResponse untouched() {
    VKAppMgrAPI::t_ProductsResponse response;
    response.httpCode = -1;
    response.products.resize(1);
    response.products.front().name = u"before"_s;
    return response;
}

} // namespace

class VKAppMgrAPIProductsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void sends_data();
    void sends();
    void headersOfEarlierPostsAreSentToo();
    void needsArguments_data();
    void needsArguments();
    void replies_data();
    void replies();
    void outcomes_data();
    void outcomes();
    void notFound_data();
    void notFound();
    void requestsAreLogged();
    void aReplyOfUnknownTypeIsNotRead();
    void aLaterReplyOfAnotherTypeIsRead();
    void readingTheReplyItself();
    void getSetsTheReplyOnlyWhenAllIsWell_data();
    void getSetsTheReplyOnlyWhenAllIsWell();
};

void VKAppMgrAPIProductsTest::sends_data() {
    QTest::addColumn<QString>("session");
    QTest::addColumn<QString>("auth");
    QTest::addColumn<QStringList>("more");
    QTest::addColumn<QByteArray>("body");
    const QStringList none{QString(), QString(), QString()};
    QTest::newRow("a session") << u"S"_s << QString() << none
                               << QByteArray(R"({"api_version":1,"language":"en","session":"S"})");
    QTest::newRow("an authorization: the session is sent empty")
        << QString() << u"A"_s << none
        << QByteArray(R"({"api_version":1,"auth":"A","language":"en","session":""})");
    QTest::newRow("both") << u"S"_s << u"A"_s << none
                          << QByteArray(R"({"api_version":1,"auth":"A","language":"en","session":"S"})");
    QTest::newRow("everything")
        << u"S"_s << u"A"_s << QStringList{u"1.2"_s, u"Kestrel"_s, u"pro"_s}
        << QByteArray(
               R"({"api_version":1,"auth":"A","current_version":"1.2","edition":"pro","language":"en","product_name":"Kestrel","session":"S"})");
    QTest::newRow("a product alone")
        << u"S"_s << QString() << QStringList{QString(), u"Kestrel"_s, QString()}
        << QByteArray(R"({"api_version":1,"language":"en","product_name":"Kestrel","session":"S"})");
}

void VKAppMgrAPIProductsTest::sends() {
    QFETCH(QString, session);
    QFETCH(QString, auth);
    QFETCH(QStringList, more);
    QFETCH(QByteArray, body);
    Service service;
    const LogCapture log;
    service.server.reply(json("{'api_version': 1, 'products': [{'name': 'A', 'version': '1'}]}"));
    VKAppMgrAPI::t_ProductsResponse response;
    QCOMPARE(service.client->products({session, auth, u"en"_s, more.at(0), more.at(1), more.at(2)}, nullptr,
                                      response),
             0);
    QCOMPARE(response.httpCode, 200);
    QCOMPARE(names(response), QStringList{u"A"_s});
    const auto request = service.server.request(0);
    QCOMPARE(request.requestLine, QByteArray("GET /products HTTP/1.1"));
    QCOMPARE(request.body, body);
    // No type of ours; libcurl names its own for any body.
    const QList<QByteArray> headers{"Host: 127.0.0.1:" + QByteArray::number(service.server.port()),
                                    "Accept: */*", "Content-Length: " + QByteArray::number(body.size()),
                                    "Content-Type: application/x-www-form-urlencoded"};
    QCOMPARE(request.headerLines, headers);
}

void VKAppMgrAPIProductsTest::headersOfEarlierPostsAreSentToo() {
    Service service;
    const LogCapture log;
    service.server.setHandler([](const auto& /*request*/) { return json(kGoodLogin); });
    VKAppMgrAPI::t_LoginResponse login;
    VKAppMgrAPI::t_ProductsResponse response;
    QCOMPARE(service.client->login(someone(), nullptr, login), 0);
    QCOMPARE(service.client->products(question(), nullptr, response), 0);
    QCOMPARE(service.client->products(question(), nullptr, response), 0);
    for (int call = 0; call < 3; ++call) {
        QCOMPARE(service.server.request(call).values("Content-Type"),
                 QList<QByteArray>{"application/json; charset=utf-8"});
    }
}

void VKAppMgrAPIProductsTest::needsArguments_data() {
    QTest::addColumn<bool>("hasURL");
    QTest::addColumn<QString>("session");
    QTest::addColumn<QString>("auth");
    QTest::addColumn<QString>("language");
    QTest::addColumn<int>("status");
    QTest::newRow("nothing: the base URL comes first")
        << false << QString() << QString() << QString() << 1034;
    QTest::newRow("no base URL") << false << u"S"_s << QString() << u"en"_s << 1034;
    QTest::newRow("neither session nor authorization") << true << QString() << QString() << u"en"_s << 1005;
    QTest::newRow("no language") << true << u"S"_s << u"A"_s << QString() << 1005;
}

void VKAppMgrAPIProductsTest::needsArguments() {
    QFETCH(bool, hasURL);
    QFETCH(QString, session);
    QFETCH(QString, auth);
    QFETCH(QString, language);
    QFETCH(int, status);
    Service service;
    LogCapture log;
    if (!hasURL) {
        service.client->setBaseURL(QString());
    }
    VKAppMgrAPI::t_ProductsResponse response = untouched();
    QCOMPARE(service.client->products({session, auth, language, {}, {}, {}}, nullptr, response), status);
    QCOMPARE(response.httpCode, -1);
    QCOMPARE(names(response), QStringList{u"before"_s});
    QCOMPARE(taken(log), QStringList{u"event %1"_s.arg(status)});
    QCOMPARE(service.server.connections(), 0);
}

void VKAppMgrAPIProductsTest::replies_data() {
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("status");
    QTest::addColumn<QStringList>("read");
    QTest::addColumn<QStringList>("log");
    const QString version = u"Products API is speaking a version we don't understand.\n"_s;
    const QString empty = u"Products API returned no entries.\n"_s;
    const QString event = u"event 1003"_s;
    const auto row = [](const char* title, const char* reply, int status, const QStringList& read,
                        const QStringList& log) {
        QTest::newRow(title) << QByteArray(reply) << status << read << log;
    };
    row("plain", "{'api_version':1,'products':[{'name':'A','version':'1'},{'name':'B','version':'1'}]}", 0,
        {u"A"_s, u"B"_s}, {});
    row("not plain: a key twice", "{'api_version':1,'products':[{'name':'X','name':'A','version':'1'}]}", 0,
        {u"A"_s}, {});
    row("an entry without a version between others",
        "{'api_version':1,'products':[{'name':'A','version':'1'},{'name':'X'},{'name':'B','version':'1'}]}",
        0, {u"A"_s, u"B"_s}, {event, event});
    row("no entries", "{'api_version':1,'products':[]}", 0, {}, {empty});
    row("no list", "{'api_version':1}", 0, {}, {empty});
    row("another version", "{'api_version':2,'products':[{'name':'A','version':'1'}]}", 1003, {}, {version});
    row("cut short", "{'api_version':1,'products':[{'name':'A','version':'1'}]", 1003, {}, {version});
    row("empty", "", 1003, {}, {version});
    row("a list", "[{'name':'A','version':'1'}]", 1003, {}, {version});
}

void VKAppMgrAPIProductsTest::replies() {
    QFETCH(QByteArray, reply);
    QFETCH(int, status);
    QFETCH(QStringList, read);
    QFETCH(QStringList, log);
    Service service;
    service.server.reply(json(reply));
    LogCapture capture;
    VKAppMgrAPI::t_ProductsResponse response = untouched();
    QCOMPARE(service.client->products(question(), nullptr, response), status);
    QCOMPARE(response.httpCode, 200);
    QCOMPARE(names(response), QStringList{u"before"_s} + read);
    QCOMPARE(taken(capture), log);
}

void VKAppMgrAPIProductsTest::outcomes_data() {
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("status");
    for (const Outcome& outcome : kOutcomes) {
        QTest::newRow(outcome.line) << QByteArray(outcome.line) << outcome.code << outcome.status;
    }
}

void VKAppMgrAPIProductsTest::outcomes() {
    QFETCH(QByteArray, line);
    QFETCH(int, code);
    QFETCH(int, status);
    Service service;
    const QByteArray good = "{'api_version':1,'products':[{'name':'A','version':'1'}]}";
    service.server.reply(AppMgr::status(line, code == 204 ? QByteArray() : good));
    LogCapture log;
    VKAppMgrAPI::t_ProductsResponse response = untouched();
    QCOMPARE(service.client->products(question(), nullptr, response), status);
    QCOMPARE(response.httpCode, code);
    QCOMPARE(names(response), QStringList{u"before"_s});
    QStringList lines{u"Products HTTP Error: %1.\n"_s.arg(code)};
    if (status != 0) {
        lines << u"event %1"_s.arg(status);
    }
    QCOMPARE(taken(log), lines);
}

void VKAppMgrAPIProductsTest::notFound_data() {
    QTest::addColumn<int>("logging");
    QTest::newRow("quiet") << 0;
    QTest::newRow("logging") << 1;
}

void VKAppMgrAPIProductsTest::notFound() {
    QFETCH(int, logging);
    Service service;
    service.client->setBaseURL(service.baseURL() + u"/%C3%A4"_s);
    service.client->setLogging(logging);
    service.server.reply(
        AppMgr::status("404 Not Found", "{'api_version':1,'products':[{'name':'A','version':'1'}]}"));
    LogCapture log;
    VKAppMgrAPI::t_ProductsResponse response = untouched();
    QCOMPARE(service.client->products(question(), nullptr, response), 0);
    QCOMPARE(response.httpCode, 404);
    QCOMPARE(names(response), QStringList{u"before"_s});
    QStringList lines{u"No products were found.\n"_s};
    if (logging != 0) {
        lines.prepend(u"HTTP 404 from URL: /\u00e4/products\n"_s);
    }
    QCOMPARE(taken(log), lines);
}

void VKAppMgrAPIProductsTest::requestsAreLogged() {
    Service service;
    service.client->setLogging(2);
    service.server.reply(json("{'api_version':1,'products':[{'name':'A','version':'1'}]}"));
    LogCapture log;
    VKAppMgrAPI::t_ProductsResponse response;
    QCOMPARE(service.client->products(question(), nullptr, response), 0);
    QCOMPARE(taken(log),
             QStringList{u"\nGET "_s + service.baseURL() +
                         u"/products\n{\"api_version\":1,\"language\":\"en\",\"session\":\"S\"}\n\n"_s});
}

/// JSON that is not said to be JSON is not parsed, so there is no version in it.
void VKAppMgrAPIProductsTest::aReplyOfUnknownTypeIsNotRead() {
    Service service;
    const LogCapture log;
    const QByteArray good = quoted("{'api_version':1,'products':[{'name':'A','version':'1'}]}");
    service.server.reply(Reply::ok(good, "text/plain"));
    service.server.reply(Reply::ok(good, "APPLICATION/JSON"));
    VKAppMgrAPI::t_ProductsResponse response;
    QCOMPARE(service.client->products(question(), nullptr, response), 1003);
    QCOMPARE(service.client->products(question(), nullptr, response), 1003);
    QVERIFY(response.products.empty());
}

/// The transport gathers content types: once one was JSON, everything is read as such.
void VKAppMgrAPIProductsTest::aLaterReplyOfAnotherTypeIsRead() {
    Service service;
    const LogCapture log;
    const QByteArray good = quoted("{'api_version':1,'products':[{'name':'A','version':'1'}]}");
    service.server.reply(Reply::ok(good, "text/javascript"));
    service.server.reply(Reply::ok(good, "text/plain"));
    service.server.reply(Reply::ok(good, "application/json"));
    service.server.reply(Reply::ok(good, "text/plain"));
    VKAppMgrAPI::t_ProductsResponse response;
    for (int call = 1; call <= 4; ++call) {
        QCOMPARE(service.client->products(question(), nullptr, response), 0);
        QCOMPARE(response.products.size(), static_cast<std::size_t>(call));
    }
}

/// The request that the call is made of gives the whole object.
void VKAppMgrAPIProductsTest::readingTheReplyItself() {
    Service service;
    const LogCapture log;
    service.server.reply(json("{'api_version':1,'products':[{'name':'A','version':'1'}],'more':5}"));
    int code = -1;
    QJsonObject reply;
    const QJsonDocument body(QJsonObject{{u"a"_s, 1}});
    QCOMPARE(service.client->getBytesImpl(service.server.url(u"/x?y=z"_s), body, 4000, nullptr, code, reply),
             0);
    QCOMPARE(code, 200);
    QCOMPARE(reply.value(u"more"_s).toInt(), 5);
    QCOMPARE(service.server.request(0).requestLine, QByteArray("GET /x?y=z HTTP/1.1"));
    QCOMPARE(service.server.request(0).body, QByteArray(R"({"a":1})"));
}

void VKAppMgrAPIProductsTest::getSetsTheReplyOnlyWhenAllIsWell_data() {
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<bool>("getSets");
    QTest::addColumn<bool>("postSets");
    QTest::newRow("well") << QByteArray("200 OK") << QByteArray("{'new': 1}") << true << true;
    QTest::newRow("broken JSON, which empties it") << QByteArray("200 OK") << QByteArray("{") << true << true;
    QTest::newRow("an error told in JSON")
        << QByteArray("500 Oops") << QByteArray("{'new': 1}") << false << true;
    QTest::newRow("another success") << QByteArray("201 Created") << QByteArray("{'new': 1}") << false
                                     << true;
    QTest::newRow("an error told in words") << QByteArray("503 Oops") << QByteArray("new") << false << true;
    QTest::newRow("not found") << QByteArray("404 No") << QByteArray("{'new': 1}") << false << false;
}

void VKAppMgrAPIProductsTest::getSetsTheReplyOnlyWhenAllIsWell() {
    QFETCH(QByteArray, line);
    QFETCH(QByteArray, body);
    QFETCH(bool, getSets);
    QFETCH(bool, postSets);
    Service service;
    service.server.setHandler([&](const auto& /*request*/) { return AppMgr::status(line, body); });
    const QJsonObject before{{u"old"_s, 1}};
    const bool isWellFormed = body.endsWith('}');
    const QJsonObject after = isWellFormed ? QJsonObject{{u"new"_s, 1}} : QJsonObject();
    LogCapture log;
    int code = -1;
    QJsonObject reply = before;
    const int got = service.client->getBytesImpl(service.server.url(), {}, 4000, nullptr, code, reply);
    QCOMPARE(got, 0);
    QCOMPARE(code, line.left(3).toInt());
    QCOMPARE(reply, getSets ? after : before);
    QCOMPARE(taken(log), QStringList());

    reply = before;
    const int posted = service.client->postBytesImpl(service.server.url(), {}, 4000, nullptr, code, reply);
    QCOMPARE(posted, postSets ? 0 : 1094);
    QCOMPARE(reply, postSets ? after : before);
    QCOMPARE(taken(log), postSets ? QStringList() : QStringList{u"event 1094"_s});
}

VKTEST_MAIN(VKAppMgrAPIProductsTest)
#include "VKAppMgrAPIProductsTest.moc"
