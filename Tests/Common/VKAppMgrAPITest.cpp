// Logging in and out: the bytes that are sent, the arguments that are missing, every reply, and the log's lines.
#include "VKAppMgrAPI.h"

#include "AppMgrServiceSupport.h"

using namespace AppMgr;
using CoreKit::LogCapture;
using Reply = RecordingServer::Reply;

namespace {

const QByteArray kContentType = "Content-Type: application/json; charset=utf-8";

/// The fields of an answer, in their order.
QString described(const VKAppMgrAPI::t_LoginResponse& response) {
    return u"%1|%2|%3|%4|%5|%6"_s.arg(response.httpCode)
        .arg(response.session, response.name)
        .arg(response.userId)
        .arg(response.message, response.channel);
}

/// An answer that nothing wrote to.
VKAppMgrAPI::t_LoginResponse untouched() { return {-1, u"s"_s, u"n"_s, -1, u"m"_s, u"c"_s}; }

} // namespace

class VKAppMgrAPITest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void apiCall();
    void loginSends();
    void logoutSends();
    void aSecondCallSendsTheHeaderTwice();
    void passwordsAreEscaped_data();
    void passwordsAreEscaped();
    void trailingSlash();
    void loginNeedsArguments_data();
    void loginNeedsArguments();
    void logoutNeedsArguments_data();
    void logoutNeedsArguments();
    void loginReplies_data();
    void loginReplies();
    void repliesThatAreNoJson_data();
    void repliesThatAreNoJson();
    void outcomes_data();
    void outcomes();
    void logoutLooksAtNothingButTheStatus_data();
    void logoutLooksAtNothingButTheStatus();
    void notFound_data();
    void notFound();
    void logging_data();
    void logging();
};

void VKAppMgrAPITest::apiCall() {
    QCOMPARE(QJsonDocument(VKAppMgrAPI::createApiCall()).toJson(QJsonDocument::Compact),
             QByteArray(R"({"api_version":1})"));
}

void VKAppMgrAPITest::loginSends() {
    Service service;
    const LogCapture log;
    service.server.reply(json(kGoodLogin));
    VKAppMgrAPI::t_LoginResponse response;
    QCOMPARE(service.client->login(someone(), nullptr, response), 0);
    const auto request = service.server.request(0);
    QCOMPARE(request.requestLine, QByteArray("POST /login HTTP/1.1"));
    const QByteArray body =
        R"({"api_version":1,"email":"ada@example.test","machine_guid":"GUID","passwd":"secret"})";
    QCOMPARE(request.body, body);
    const QList<QByteArray> headers{"Host: 127.0.0.1:" + QByteArray::number(service.server.port()),
                                    "Accept: */*", kContentType,
                                    "Content-Length: " + QByteArray::number(body.size())};
    QCOMPARE(request.headerLines, headers);
    QCOMPARE(described(response), u"200|S|Ada|7||stable"_s);
}

void VKAppMgrAPITest::logoutSends() {
    Service service;
    service.client->setBaseURL(service.baseURL() + u"/api/v2"_s);
    const LogCapture log;
    service.server.reply(json("{}"));
    int code = -1;
    QCOMPARE(service.client->logout({u"S\u00e9\""_s}, nullptr, code), 0);
    QCOMPARE(code, 200);
    const auto request = service.server.request(0);
    QCOMPARE(request.requestLine, QByteArray("POST /api/v2/logout HTTP/1.1"));
    QCOMPARE(request.body, QByteArray("{\"api_version\":1,\"session\":\"S\xc3\xa9\\\"\"}"));
    QCOMPARE(request.values("Content-Type"), QList<QByteArray>{"application/json; charset=utf-8"});
}

/// One connection, and one more line with every call: the object's headers accumulate.
void VKAppMgrAPITest::aSecondCallSendsTheHeaderTwice() {
    Service service;
    const LogCapture log;
    service.server.setHandler([](const auto& /*request*/) { return json(kGoodLogin); });
    VKAppMgrAPI::t_LoginResponse response;
    int code = 0;
    QCOMPARE(service.client->login(someone(), nullptr, response), 0);
    QCOMPARE(service.client->logout({u"S"_s}, nullptr, code), 0);
    QCOMPARE(service.client->login(someone(), nullptr, response), 0);
    for (int call = 0; call < 3; ++call) {
        QCOMPARE(service.server.request(call).headerLines.count(kContentType), call + 1);
    }
    const auto second = service.server.request(1);
    QCOMPARE(second.head,
             "POST /logout HTTP/1.1\r\nHost: 127.0.0.1:" + QByteArray::number(service.server.port()) +
                 "\r\nAccept: */*\r\n" + kContentType + "\r\n" + kContentType +
                 "\r\nContent-Length: " + QByteArray::number(second.body.size()) + "\r\n\r\n");
    QCOMPARE(service.server.connections(), 1);
}

void VKAppMgrAPITest::passwordsAreEscaped_data() {
    QTest::addColumn<QString>("password");
    QTest::addColumn<QByteArray>("sent");
    QTest::newRow("plain") << u"secret"_s << QByteArray("secret");
    QTest::newRow("a backslash is doubled, and each escaped") << uR"(a\b)"_s << QByteArray(R"(a\\\\b)");
    QTest::newRow("two") << uR"(\\)"_s << QByteArray(R"(\\\\\\\\)");
    QTest::newRow("a quote is escaped by JSON alone") << u"a\"b"_s << QByteArray(R"(a\"b)");
    QTest::newRow("both") << uR"(\")"_s << QByteArray(R"(\\\\\")");
    QTest::newRow("letters") << u"p\u00e4\U0001F4F7"_s << QByteArray("p\xc3\xa4\xf0\x9f\x93\xb7");
    QTest::newRow("a line break") << u"a\nb"_s << QByteArray(R"(a\nb)");
}

void VKAppMgrAPITest::passwordsAreEscaped() {
    QFETCH(QString, password);
    QFETCH(QByteArray, sent);
    Service service;
    const LogCapture log;
    service.server.reply(json(kGoodLogin));
    VKAppMgrAPI::t_LoginResponse response;
    QCOMPARE(service.client->login({u"e"_s, password, QString()}, nullptr, response), 0);
    QCOMPARE(service.server.request(0).body,
             "{\"api_version\":1,\"email\":\"e\",\"machine_guid\":\"\",\"passwd\":\"" + sent + "\"}");
}

void VKAppMgrAPITest::trailingSlash() {
    Service service;
    const LogCapture log;
    service.client->setTrailingSlash();
    service.server.setHandler([](const auto& /*request*/) { return json(kGoodLogin); });
    VKAppMgrAPI::t_LoginResponse login;
    int code = 0;
    VKAppMgrAPI::t_ProductsResponse products;
    QCOMPARE(service.client->login(someone(), nullptr, login), 0);
    QCOMPARE(service.client->logout({u"S"_s}, nullptr, code), 0);
    QCOMPARE(service.client->products({u"S"_s, {}, u"en"_s, {}, {}, {}}, nullptr, products), 0);
    QCOMPARE(service.server.request(0).requestLine, QByteArray("POST /login/ HTTP/1.1"));
    QCOMPARE(service.server.request(1).requestLine, QByteArray("POST /logout/ HTTP/1.1"));
    QCOMPARE(service.server.request(2).requestLine, QByteArray("GET /products/ HTTP/1.1"));
}

void VKAppMgrAPITest::loginNeedsArguments_data() {
    QTest::addColumn<bool>("hasURL");
    QTest::addColumn<QString>("email");
    QTest::addColumn<QString>("password");
    QTest::addColumn<int>("status");
    QTest::newRow("nothing: the base URL comes first") << false << QString() << QString() << 1034;
    QTest::newRow("no base URL") << false << u"e"_s << u"p"_s << 1034;
    QTest::newRow("no e-mail") << true << QString() << u"p"_s << 1005;
    QTest::newRow("no password") << true << u"e"_s << QString() << 1005;
}

void VKAppMgrAPITest::loginNeedsArguments() {
    QFETCH(bool, hasURL);
    QFETCH(QString, email);
    QFETCH(QString, password);
    QFETCH(int, status);
    Service service;
    LogCapture log;
    if (!hasURL) {
        service.client->setBaseURL(QString());
    }
    VKAppMgrAPI::t_LoginResponse response = untouched();
    QCOMPARE(service.client->login({email, password, u"G"_s}, nullptr, response), status);
    QCOMPARE(taken(log), QStringList{u"event %1"_s.arg(status)});
    QCOMPARE(described(response), described(untouched()));
    QCOMPARE(service.server.connections(), 0);
}

void VKAppMgrAPITest::logoutNeedsArguments_data() {
    QTest::addColumn<bool>("hasURL");
    QTest::addColumn<QString>("session");
    QTest::addColumn<int>("status");
    QTest::newRow("nothing: the base URL comes first") << false << QString() << 1034;
    QTest::newRow("no base URL") << false << u"S"_s << 1034;
    QTest::newRow("no session") << true << QString() << 1005;
}

void VKAppMgrAPITest::logoutNeedsArguments() {
    QFETCH(bool, hasURL);
    QFETCH(QString, session);
    QFETCH(int, status);
    Service service;
    LogCapture log;
    if (!hasURL) {
        service.client->setBaseURL(QString());
    }
    int code = -1;
    QCOMPARE(service.client->logout({session}, nullptr, code), status);
    QCOMPARE(code, 0);
    QCOMPARE(taken(log), QStringList{u"event %1"_s.arg(status)});
    QCOMPARE(service.server.connections(), 0);
}

void VKAppMgrAPITest::loginReplies_data() {
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("response");
    QTest::addColumn<QString>("line");
    const QString version = u"Login API is speaking a version we don't understand.\n"_s;
    const QString session = u"Login API did not return a session.\n"_s;
    const QString user = u"Login API did not return a user ID.\n"_s;
    const QString name = u"Login API did not return a display name.\n"_s;
    const QString success = u"Login Successful. Session ID: S\n"_s;
    const auto row = [](const char* title, const char* reply, int status, const QString& response,
                        const QString& line) {
        QTest::newRow(title) << QByteArray(reply) << status << response << line;
    };
    row("complete", "{'api_version':1,'session':'S','user_id':7,'name':'A','channel':'c2','message':'hi'}", 0,
        u"200|S|A|7|hi|c2"_s, success);
    row("without a channel, which is emptied, and a message, which is left",
        "{'api_version':1,'session':'S','user_id':7,'name':'A'}", 0, u"200|S|A|7|m|"_s, success);
    row("a message of another type", "{'api_version':1,'session':'S','user_id':7,'name':'A','message':5}", 0,
        u"200|S|A|7||"_s, success);
    row("a negative user", "{'api_version':1,'session':'S','user_id':-7,'name':'A'}", 0, u"200|S|A|-7|m|"_s,
        success);
    row("a user with a point", "{'api_version':1,'session':'S','user_id':7.0,'name':'A'}", 0,
        u"200|S|A|7|m|"_s, success);
    row("another version", "{'api_version':2,'session':'S','user_id':7,'name':'A'}", 1003,
        u"200|s|n|-1|m|c"_s, version);
    row("no version", "{'session':'S','user_id':7,'name':'A'}", 1003, u"200|s|n|-1|m|c"_s, version);
    row("the version as a text", "{'api_version':'1','session':'S','user_id':7,'name':'A'}", 1003,
        u"200|s|n|-1|m|c"_s, version);
    row("a version and a half", "{'api_version':1.5,'session':'S','user_id':7,'name':'A'}", 1003,
        u"200|s|n|-1|m|c"_s, version);
    row("an empty object", "{}", 1003, u"200|s|n|-1|m|c"_s, version);
    row("no session", "{'api_version':1,'user_id':7,'name':'A','message':'x'}", 1003, u"200||A|7|m|"_s,
        session);
    row("an empty session", "{'api_version':1,'session':'','user_id':7,'name':'A'}", 1003, u"200||A|7|m|"_s,
        session);
    row("a session that is a number", "{'api_version':1,'session':5,'user_id':7,'name':'A'}", 1003,
        u"200||A|7|m|"_s, session);
    row("user 0", "{'api_version':1,'session':'S','user_id':0,'name':'A'}", 1003, u"200|S|A|0|m|"_s, user);
    row("no user", "{'api_version':1,'session':'S','name':'A'}", 1003, u"200|S|A|0|m|"_s, user);
    row("a user that is a text", "{'api_version':1,'session':'S','user_id':'7','name':'A'}", 1003,
        u"200|S|A|0|m|"_s, user);
    row("a user beyond 32 bits", "{'api_version':1,'session':'S','user_id':4294967297,'name':'A'}", 1003,
        u"200|S|A|0|m|"_s, user);
    row("a user with a fraction", "{'api_version':1,'session':'S','user_id':7.5,'name':'A'}", 1003,
        u"200|S|A|0|m|"_s, user);
    row("no name", "{'api_version':1,'session':'S','user_id':7,'channel':'x'}", 1003, u"200|S||7|m|x"_s,
        name);
    row("a name that is a list", "{'api_version':1,'session':'S','user_id':7,'name':['A']}", 1003,
        u"200|S||7|m|"_s, name);
    row("nothing but the version: the session comes first", "{'api_version':1}", 1003, u"200|||0|m|"_s,
        session);
    row("everything of another type", "{'api_version':1,'session':[],'user_id':null,'name':{},'channel':1}",
        1003, u"200|||0|m|"_s, session);
}

void VKAppMgrAPITest::loginReplies() {
    QFETCH(QByteArray, reply);
    QFETCH(int, status);
    QFETCH(QString, response);
    QFETCH(QString, line);
    Service service;
    service.server.reply(json(reply));
    LogCapture log;
    VKAppMgrAPI::t_LoginResponse read = untouched();
    QCOMPARE(service.client->login(someone(), nullptr, read), status);
    QCOMPARE(described(read), response);
    QCOMPARE(taken(log), QStringList{line}); // the refusals are lines, not events
}

void VKAppMgrAPITest::repliesThatAreNoJson_data() {
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("contentType");
    QTest::newRow("empty") << QByteArray() << QByteArray("application/json");
    QTest::newRow("cut short") << quoted(kGoodLogin).chopped(1) << QByteArray("application/json");
    QTest::newRow("a list") << QByteArray("[" + quoted(kGoodLogin) + "]") << QByteArray("application/json");
    QTest::newRow("a page") << QByteArray("<html></html>") << QByteArray("text/html");
    QTest::newRow("JSON that is not said to be") << quoted(kGoodLogin) << QByteArray("text/plain");
    QTest::newRow("not UTF-8") << quoted("{'api_version':1,'session':'\xff'}")
                               << QByteArray("application/json");
    QTest::newRow("nested without end") << QByteArray(100000, '[') << QByteArray("application/json");
    QTest::newRow("nested in a member")
        << QByteArray(R"({"api_version":1,"x":)" + QByteArray(100000, '[') + QByteArray(100000, ']') + "}")
        << QByteArray("application/json");
}

void VKAppMgrAPITest::repliesThatAreNoJson() {
    QFETCH(QByteArray, body);
    QFETCH(QByteArray, contentType);
    Service service;
    service.server.reply(Reply::ok(body, contentType));
    LogCapture log;
    VKAppMgrAPI::t_LoginResponse read = untouched();
    QCOMPARE(service.client->login(someone(), nullptr, read), 1003);
    QCOMPARE(described(read), u"200|s|n|-1|m|c"_s);
    QCOMPARE(taken(log), QStringList{u"Login API is speaking a version we don't understand.\n"_s});
}

void VKAppMgrAPITest::outcomes_data() {
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("status");
    for (const Outcome& outcome : kOutcomes) {
        QTest::newRow(outcome.line) << QByteArray(outcome.line) << outcome.code << outcome.status;
    }
}

void VKAppMgrAPITest::outcomes() {
    QFETCH(QByteArray, line);
    QFETCH(int, code);
    QFETCH(int, status);
    Service service;
    const QByteArray body = code == 204 ? QByteArray() : kGoodLogin; // not looked at
    service.server.setHandler([&](const auto& /*request*/) { return AppMgr::status(line, body); });
    QStringList lines{u"Login HTTP Error: %1.\n"_s.arg(code)};
    if (status != 0) {
        lines << u"event %1"_s.arg(status);
    }
    LogCapture log;
    VKAppMgrAPI::t_LoginResponse read = untouched();
    QCOMPARE(service.client->login(someone(), nullptr, read), status);
    QCOMPARE(described(read), u"%1|s|n|-1|m|c"_s.arg(code));
    QCOMPARE(taken(log), lines);

    int logoutCode = -1;
    QCOMPARE(service.client->logout({u"S"_s}, nullptr, logoutCode), status);
    QCOMPARE(logoutCode, code);
    lines.front().replace(u"Login"_s, u"Logout"_s);
    QCOMPARE(taken(log), lines);
}

void VKAppMgrAPITest::logoutLooksAtNothingButTheStatus_data() {
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("another version") << QByteArray(R"({"api_version":2})");
    QTest::newRow("no JSON") << QByteArray("bye");
}

void VKAppMgrAPITest::logoutLooksAtNothingButTheStatus() {
    QFETCH(QByteArray, body);
    Service service;
    service.server.reply(Reply::ok(body, "application/json"));
    LogCapture log;
    int code = -1;
    QCOMPARE(service.client->logout({u"S"_s}, nullptr, code), 0);
    QCOMPARE(code, 200);
    QCOMPARE(taken(log), QStringList());
}

void VKAppMgrAPITest::notFound_data() {
    QTest::addColumn<int>("logging");
    QTest::addColumn<bool>("isLogged");
    QTest::newRow("quiet") << 0 << false;
    QTest::newRow("logging") << 1 << true;
    QTest::newRow("any number but 0") << -1 << true;
}

/// The 404 is recorded where it is detected, and again by the call that passes it on.
void VKAppMgrAPITest::notFound() {
    QFETCH(int, logging);
    QFETCH(bool, isLogged);
    Service service;
    service.client->setBaseURL(service.baseURL() + u"/a%20b"_s);
    service.client->setLogging(logging);
    service.server.setHandler(
        [](const auto& /*request*/) { return AppMgr::status("404 Not Found", kGoodLogin); });
    const QStringList events{u"event 1094"_s, u"event 1094"_s};
    LogCapture log;
    VKAppMgrAPI::t_LoginResponse read = untouched();
    QCOMPARE(service.client->login(someone(), nullptr, read), 1094);
    QCOMPARE(described(read), described(untouched())); // the HTTP status included
    QCOMPARE(taken(log), (isLogged ? QStringList{u"404 from URL: /a b/login\n"_s} : QStringList()) + events);

    int code = -1;
    QCOMPARE(service.client->logout({u"S"_s}, nullptr, code), 1094);
    QCOMPARE(code, 404);
    QCOMPARE(taken(log), (isLogged ? QStringList{u"404 from URL: /a b/logout\n"_s} : QStringList()) + events);
}

void VKAppMgrAPITest::logging_data() {
    QTest::addColumn<int>("logging");
    QTest::newRow("quiet") << 0;
    QTest::newRow("logouts") << 1;
    QTest::newRow("requests") << 2;
    QTest::newRow("and more") << 3;
}

void VKAppMgrAPITest::logging() {
    QFETCH(int, logging);
    Service service;
    service.client->setLogging(logging);
    service.server.setHandler([](const auto& /*request*/) { return json(kGoodLogin); });
    LogCapture log;
    VKAppMgrAPI::t_LoginResponse read;
    // A "%" is no format, and passwords are written: Documentation/Account.md warns of it.
    QCOMPARE(service.client->login({u"100%s"_s, u"p"_s, u"G"_s}, nullptr, read), 0);
    QStringList lines{u"Login Successful. Session ID: S\n"_s}; // always
    if (logging >= 2) {
        lines.prepend(
            u"\nPOST "_s + service.baseURL() +
            u"/login\n{\"api_version\":1,\"email\":\"100%s\",\"machine_guid\":\"G\",\"passwd\":\"p\"}\n\n"_s);
    }
    QCOMPARE(taken(log), lines);

    int code = 0;
    QCOMPARE(service.client->logout({u"S"_s}, nullptr, code), 0);
    lines.clear();
    if (logging >= 2) {
        lines << u"\nPOST "_s + service.baseURL() + u"/logout\n{\"api_version\":1,\"session\":\"S\"}\n\n"_s;
    }
    if (logging >= 1) {
        lines << u"Logout Successful. Session ID: S\n"_s;
    }
    QCOMPARE(taken(log), lines);
}

VKTEST_MAIN(VKAppMgrAPITest)
#include "VKAppMgrAPITest.moc"
