// The rules of the demonstration account service: passwords, users, sessions, what paths ask for, replies and the catalogue.
#include "AccountBook.h"
#include "AccountService.h"
#include "Catalogue.h"
#include "Faults.h"

#include "Support/VKTest.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

using namespace Qt::StringLiterals;
using namespace AccountService;

class AccountRulesTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void unescapes_data();
    void unescapes();
    void readsUsers_data();
    void readsUsers();
    void sessions();
    void mostSessions();
    void demands_data();
    void demands();
    void demandedStatuses_data();
    void demandedStatuses();
    void refuses_data();
    void refuses();
    void bodyLimit_data();
    void bodyLimit();
    void logsInAndOut();
    void passwordWithBackslashes();
    void everyStatus();
    void catalogueFor_data();
    void catalogueFor();
    void catalogueOfAnySize_data();
    void catalogueOfAnySize();
    void entriesAreComplete();
    void tellsOfUpdates_data();
    void tellsOfUpdates();
    void spoils();
};

namespace {

QByteArray compact(const QJsonObject& object) { return QJsonDocument(object).toJson(QJsonDocument::Compact); }

Request post(const QByteArray& path, const QJsonObject& object) {
    return {.method = "POST",
            .path = path,
            .contentType = "application/json; charset=utf-8",
            .body = compact(object)};
}

QJsonObject loginBody(const QString& email, const QString& password) {
    return {{u"api_version"_s, 1},
            {u"email"_s, email},
            {u"passwd"_s, password},
            {u"machine_guid"_s, u"machine"_s}};
}

QJsonObject goodLogin() { return loginBody(u"demo@example.test"_s, u"golden-hour"_s); }

Request getProducts(QJsonObject object) {
    object.insert(u"api_version"_s, 1);
    return {.method = "GET", .path = "/products", .contentType = {}, .body = compact(object)};
}

QJsonObject bodyOf(const Reply& reply) { return QJsonDocument::fromJson(reply.body).object(); }

} // namespace

void AccountRulesTest::unescapes_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("isEscaped");
    QTest::addColumn<QString>("password");
    QTest::newRow("empty") << u""_s << true << u""_s;
    QTest::newRow("nothing to undo") << u"golden-hour"_s << true << u"golden-hour"_s;
    QTest::newRow("one") << uR"(a\\b)"_s << true << uR"(a\b)"_s;
    QTest::newRow("two in a row") << uR"(\\\\)"_s << true << uR"(\\)"_s;
    QTest::newRow("single") << uR"(a\b)"_s << false << u""_s;
    QTest::newRow("single at the end") << uR"(a\)"_s << false << u""_s;
    QTest::newRow("three") << uR"(\\\)"_s << false << u""_s;
}

void AccountRulesTest::unescapes() {
    QFETCH(QString, text);
    QFETCH(bool, isEscaped);
    QFETCH(QString, password);
    const std::optional<QString> plain = unescapedPassword(text);
    QCOMPARE(plain.has_value(), isEscaped);
    QCOMPARE(plain.value_or(QString()), password);
}

void AccountRulesTest::readsUsers_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("wrongLine");
    QTest::addColumn<QStringList>("emails");
    QTest::newRow("nothing") << u""_s << 0 << QStringList();
    QTest::newRow("two") << u"a@x\tp q\tAda\nb@x\tr\tBert\n"_s << 0 << QStringList{u"a@x"_s, u"b@x"_s};
    QTest::newRow("comments") << u"# who\n\na@x\tp\tAda"_s << 0 << QStringList{u"a@x"_s};
    QTest::newRow("no name") << u"a@x\tp\n"_s << 1 << QStringList();
    QTest::newRow("empty password") << u"a@x\tp\tAda\nb@x\t\tBert\n"_s << 2 << QStringList();
    QTest::newRow("a field too many") << u"a@x\tp\tAda\tmore"_s << 1 << QStringList();
}

void AccountRulesTest::readsUsers() {
    QFETCH(QString, text);
    QFETCH(int, wrongLine);
    QFETCH(QStringList, emails);
    int line = -1;
    const auto users = usersFromText(text, 7, line);
    QCOMPARE(line, wrongLine);
    QCOMPARE(users.has_value(), wrongLine == 0);
    QStringList found;
    for (const User& user : users.value_or(QList<User>())) {
        QCOMPARE(user.id, 7 + static_cast<int>(found.size()));
        found << user.email;
    }
    QCOMPARE(found, emails);
}

void AccountRulesTest::sessions() {
    AccountBook book({demonstrationUser()});
    QVERIFY(!book.logIn(u"demo@example.test"_s, u"Golden-hour"_s).has_value());
    QVERIFY(!book.logIn(u"demo@example.test"_s, u""_s).has_value());
    QVERIFY(!book.logIn(u"nobody@example.test"_s, u"nobody"_s).has_value());
    const auto one = book.logIn(u"demo@example.test"_s, u"golden-hour"_s);
    const auto two = book.logIn(u"Demo@Example.test"_s, u"golden-hour"_s);
    QVERIFY(one.has_value() && two.has_value());
    QCOMPARE(one->user.id, 1);
    QCOMPARE(one->user.password, QString());
    QCOMPARE(one->session.size(), 32);
    QVERIFY(one->session != two->session);
    QVERIFY(book.logOut(one->session));
    QVERIFY(!book.logOut(one->session));
    QVERIFY(!book.isLoggedIn(one->session));
    QVERIFY(book.isLoggedIn(two->session));
    QVERIFY(!book.isLoggedIn(QString()));
}

void AccountRulesTest::mostSessions() {
    AccountBook book({demonstrationUser()});
    const auto logIn = [&book] { return book.logIn(u"demo@example.test"_s, u"golden-hour"_s)->session; };
    const QString first = logIn();
    const QString second = logIn();
    for (qsizetype i = 2; i < AccountBook::kMostSessions; ++i) {
        static_cast<void>(logIn());
    }
    QVERIFY(book.isLoggedIn(first));
    const QString last = logIn();
    QVERIFY(!book.isLoggedIn(first));
    QVERIFY(book.isLoggedIn(second));
    QVERIFY(book.isLoggedIn(last));
}

void AccountRulesTest::demands_data() {
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<bool>("isKnown");
    QTest::addColumn<int>("fault");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("rest");
    const auto row = [](const char* path, bool isKnown, Fault fault, int status, const char* rest) {
        QTest::newRow(path) << QByteArray(path) << isKnown << int(fault) << status << QByteArray(rest);
    };
    row("/login", true, Fault::None, 0, "/login");
    row("", true, Fault::None, 0, "");
    row("/fault/drip/login", true, Fault::Drip, 0, "/login");
    row("/fault/cut-off/products/", true, Fault::CutOff, 0, "/products/");
    row("/fault/drip", true, Fault::Drip, 0, "");
    row("/fault/nonsense/login", false, Fault::None, 0, "");
    row("/fault/", false, Fault::None, 0, "");
    row("/fault", true, Fault::None, 0, "/fault");
    row("/status/429/login", true, Fault::None, 429, "/login");
    row("/status/200", true, Fault::None, 200, "");
    row("/status/599/x", true, Fault::None, 599, "/x");
    row("/status/199/login", false, Fault::None, 0, "");
    row("/status/600/login", false, Fault::None, 0, "");
    row("/status/0429/login", false, Fault::None, 0, "");
    row("/status/4x9/login", false, Fault::None, 0, "");
}

void AccountRulesTest::demands() {
    QFETCH(QByteArray, path);
    QFETCH(bool, isKnown);
    const std::optional<Demand> demand = demandOf(path);
    QCOMPARE(demand.has_value(), isKnown);
    if (isKnown) {
        QTEST(int(demand->fault), "fault");
        QTEST(demand->status, "status");
        QTEST(demand->path, "rest");
    }
}

void AccountRulesTest::demandedStatuses_data() {
    QTest::addColumn<QString>("email");
    QTest::addColumn<int>("status");
    QTest::newRow("429") << u"status-429@example.test"_s << 429;
    QTest::newRow("no final reply") << u"status-100@example.test"_s << 0;
    QTest::newRow("too short") << u"status-42@example.test"_s << 0;
    QTest::newRow("no number") << u"status-abc@example.test"_s << 0;
    QTest::newRow("nothing") << u"status-@example.test"_s << 0;
    QTest::newRow("overlapping") << u"status-example.test"_s << 0;
    QTest::newRow("elsewhere") << u"status-429@example.com"_s << 0;
    QTest::newRow("somebody") << u"demo@example.test"_s << 0;
}

void AccountRulesTest::demandedStatuses() {
    QFETCH(QString, email);
    QTEST(demandedStatus(email), "status");
}

void AccountRulesTest::refuses_data() {
    QTest::addColumn<Request>("request");
    QTest::addColumn<int>("status");
    const auto with = [](auto change) {
        Request request = post("/login", goodLogin());
        change(request);
        return request;
    };
    const auto withBody = [](const QString& key, const QJsonValue& value) {
        QJsonObject body = goodLogin();
        body.insert(key, value);
        return post("/login", body);
    };
    QTest::newRow("nothing wrong") << with([](Request&) {}) << 200;
    QTest::newRow("trailing slash") << with([](Request& request) { request.path = "/login/"; }) << 200;
    QTest::newRow("other letters of the type")
        << with([](Request& request) { request.contentType = "Application/JSON"; }) << 200;
    QTest::newRow("another place") << with([](Request& request) { request.path = "/log"; }) << 404;
    QTest::newRow("unknown fault") << with([](Request& request) { request.path = "/fault/x/login"; }) << 404;
    QTest::newRow("GET") << with([](Request& request) { request.method = "GET"; }) << 405;
    QTest::newRow("POST for products") << with([](Request& request) { request.path = "/products"; }) << 405;
    QTest::newRow("too long") << with([](Request& request) { request.isTooLong = true; }) << 413;
    QTest::newRow("no type") << with([](Request& request) { request.contentType.clear(); }) << 415;
    QTest::newRow("form") << with([](Request& request) {
        request.contentType = "application/x-www-form-urlencoded";
    }) << 415;
    QTest::newRow("no JSON") << with([](Request& request) { request.body = "{"; }) << 400;
    QTest::newRow("an array") << with([](Request& request) { request.body = "[]"; }) << 400;
    QTest::newRow("empty") << with([](Request& request) { request.body.clear(); }) << 400;
    QTest::newRow("version 2") << withBody(u"api_version"_s, 2) << 400;
    QTest::newRow("version as text") << withBody(u"api_version"_s, u"1"_s) << 400;
    QTest::newRow("no e-mail") << withBody(u"email"_s, u""_s) << 400;
    QTest::newRow("no machine") << withBody(u"machine_guid"_s, QJsonValue::Null) << 400;
    QTest::newRow("no password") << withBody(u"passwd"_s, u""_s) << 400;
    QTest::newRow("password not escaped") << withBody(u"passwd"_s, uR"(a\b)"_s) << 400;
    QTest::newRow("wrong password") << withBody(u"passwd"_s, u"blue-hour"_s) << 401;
    QTest::newRow("unknown user") << withBody(u"email"_s, u"x@example.test"_s) << 401;
}

void AccountRulesTest::refuses() {
    QFETCH(Request, request);
    QFETCH(int, status);
    Service service((Settings()));
    const Reply reply = service.answer(request);
    QCOMPARE(reply.status, status);
    QCOMPARE(reply.contentType, QByteArray("application/json; charset=utf-8"));
    QCOMPARE(bodyOf(reply).value(u"api_version"_s), QJsonValue(1));
    QVERIFY(!bodyOf(reply).value(u"message"_s).toString().isEmpty());
    QCOMPARE(bodyOf(reply).contains(u"session"_s), status == 200);
}

void AccountRulesTest::bodyLimit_data() {
    QTest::addColumn<qsizetype>("bytes");
    QTest::newRow("far below") << qsizetype{100};
    QTest::newRow("the most") << kMostBodyBytes;
}

void AccountRulesTest::bodyLimit() {
    // The server cuts off what is longer; see AccountServiceTest.
    QFETCH(qsizetype, bytes);
    Service service((Settings()));
    Request request = post("/login", goodLogin());
    request.body.append(bytes - std::min(bytes, request.body.size()), ' ');
    QCOMPARE(service.answer(request).status, 200);
}

void AccountRulesTest::logsInAndOut() {
    Service service((Settings()));
    const QJsonObject login = bodyOf(service.answer(post("/login", goodLogin())));
    const QJsonObject session{{u"api_version"_s, 1}, {u"session"_s, login.value(u"session"_s)}};
    QCOMPARE(login.value(u"user_id"_s), QJsonValue(1));
    QCOMPARE(login.value(u"name"_s), QJsonValue(u"Dora Demonstration"_s));
    QCOMPARE(login.value(u"channel"_s), QJsonValue(u"demonstration"_s));
    QJsonObject query = session;
    query.insert(u"language"_s, u"en"_s);
    QCOMPARE(service.answer(getProducts(query)).status, 200);
    QCOMPARE(service.answer(post("/logout", session)).status, 200);
    QCOMPARE(service.answer(post("/logout", session)).status, 401);
    QCOMPARE(service.answer(getProducts(query)).status, 401);
    query.insert(u"auth"_s, Settings::defaultInstallation());
    QCOMPARE(service.answer(getProducts(query)).status, 401); // The session that was given has ended.
    query.insert(u"session"_s, u""_s);
    QCOMPARE(service.answer(getProducts(query)).status, 200);
    query.insert(u"auth"_s, u"x"_s);
    QCOMPARE(service.answer(getProducts(query)).status, 401);
}

void AccountRulesTest::passwordWithBackslashes() {
    Settings settings;
    settings.users.append({.email = u"b@x"_s, .password = uR"(a\\b\)"_s, .name = u"B"_s, .id = 2});
    Service service(settings);
    QCOMPARE(service.answer(post("/login", loginBody(u"b@x"_s, uR"(a\\\\b\\)"_s))).status, 200);
    QCOMPARE(service.answer(post("/login", loginBody(u"b@x"_s, uR"(a\\b\\)"_s))).status, 401);
}

void AccountRulesTest::everyStatus() {
    Service service((Settings()));
    for (int status = 200; status < 600; ++status) {
        const Reply byPath = service.answer({.method = "GET",
                                             .path = "/status/" + QByteArray::number(status) + "/x",
                                             .contentType = {},
                                             .body = {}});
        const QString email = u"status-%1@example.test"_s.arg(status);
        const Reply byEmail = service.answer(post("/login", loginBody(email, u"any"_s)));
        QCOMPARE(byPath.status, status);
        QCOMPARE(byEmail.status, status);
        QCOMPARE(byPath.body, byEmail.body);
        QCOMPARE(byPath.body.isEmpty(), status == 204 || status == 304);
    }
}

void AccountRulesTest::catalogueFor_data() {
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("edition");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("description");
    const QString english = u"Browse, develop and finish photos in one place."_s;
    const QString german = u"Fotos sichten, entwickeln und ausarbeiten, alles an einem Ort."_s;
    QTest::newRow("English") << u"en"_s << u""_s << 21 << english;
    QTest::newRow("German of Austria") << u"de_AT"_s << u""_s << 21 << german;
    QTest::newRow("French") << u"FR"_s << u""_s << 21
                            << u"Trier, développer et finaliser vos photos au même endroit."_s;
    QTest::newRow("not spoken here") << u"ja"_s << u""_s << 21 << english;
    QTest::newRow("home") << u"en"_s << u"home"_s << 18 << english;
    QTest::newRow("professional") << u"en"_s << u"professional"_s << 18 << english;
}

void AccountRulesTest::catalogueFor() {
    QFETCH(QString, language);
    QFETCH(QString, edition);
    const QJsonArray entries =
        catalogue({.language = language, .currentVersion = {}, .productName = {}, .edition = edition}, 0);
    QTEST(static_cast<int>(entries.size()), "count");
    QTEST(entries.first().toObject().value(u"description"_s).toString(), "description");
}

void AccountRulesTest::catalogueOfAnySize_data() {
    QTest::addColumn<int>("count");
    for (const int count : {1, 20, 21, 22, 43, 7200}) {
        QTest::newRow(qPrintable(QString::number(count))) << count;
    }
}

void AccountRulesTest::catalogueOfAnySize() {
    QFETCH(int, count);
    const QJsonArray entries =
        catalogue({.language = u"en"_s, .currentVersion = {}, .productName = {}, .edition = {}}, count);
    QCOMPARE(entries.size(), count);
    QSet<QString> names;
    for (const auto& entry : entries) {
        names.insert(entry.toObject().value(u"name"_s).toString());
        names.insert(entry.toObject().value(u"sku"_s).toString());
    }
    QCOMPARE(names.size(), 2 * count);
}

void AccountRulesTest::entriesAreComplete() {
    for (const auto& value :
         catalogue({.language = u"de"_s, .currentVersion = {}, .productName = {}, .edition = {}}, 0)) {
        const QJsonObject entry = value.toObject();
        for (const QString& key : {u"name"_s, u"version"_s, u"product_type"_s, u"description"_s}) {
            QVERIFY2(!entry.value(key).toString().isEmpty(), qPrintable(key));
        }
        QVERIFY(QDate::fromString(entry.value(u"release_date"_s).toString(), Qt::ISODate).isValid());
        QVERIFY(QDateTime::fromString(entry.value(u"updated"_s).toString(), Qt::ISODate).isValid());
        const bool isMobile = entry.value(u"mobile"_s).toBool();
        QCOMPARE(entry.contains(u"ios_url"_s), isMobile);
        QCOMPARE(entry.contains(u"mac_size"_s), !isMobile);
        for (const QString& key : {u"mac_requirements"_s, u"win_requirements"_s}) {
            QCOMPARE(entry.contains(key), !isMobile);
            const QByteArray base64 = entry.value(key).toString().toLatin1();
            const QJsonObject needs = QJsonDocument::fromJson(QByteArray::fromBase64(base64)).object();
            QCOMPARE(needs.value(u"version"_s).toInt(), isMobile ? 0 : 1);
            QCOMPARE(needs.value(u"os"_s).isObject(), !isMobile);
        }
    }
}

void AccountRulesTest::tellsOfUpdates_data() {
    QTest::addColumn<QString>("product");
    QTest::addColumn<QString>("version");
    QTest::addColumn<QString>("text");
    QTest::newRow("older") << u"Kestrel"_s << u"11.9"_s << u"Version 12.2.0 is ready to be installed."_s;
    QTest::newRow("the same") << u"Kestrel"_s << u"12.2.0"_s << u""_s;
    QTest::newRow("newer") << u"Kestrel"_s << u"13"_s << u""_s;
    QTest::newRow("another product") << u"Kestrel Print"_s << u"1"_s << u""_s;
}

void AccountRulesTest::tellsOfUpdates() {
    QFETCH(QString, product);
    QFETCH(QString, version);
    const QJsonArray entries =
        catalogue({.language = u"en"_s, .currentVersion = version, .productName = product, .edition = {}}, 0);
    QTEST(entries.first().toObject().value(u"update_text"_s).toString(), "text");
}

void AccountRulesTest::spoils() {
    const Reply good = {.body = R"({"api_version":1,"name":"Dora","session":"0123","user_id":1})"};
    const auto now = [&good](Fault fault) { return spoiled(good, fault, 1000); };
    QCOMPARE(now(Fault::None).body, good.body);
    const std::pair<Fault, Delivery> deliveries[] = {{Fault::None, Delivery::Whole},
                                                     {Fault::Slow, Delivery::Late},
                                                     {Fault::Hang, Delivery::Never},
                                                     {Fault::Drip, Delivery::Drip},
                                                     {Fault::CutOff, Delivery::CutOff},
                                                     {Fault::TooLong, Delivery::AnnouncesMore},
                                                     {Fault::TooShort, Delivery::AnnouncesLess}};
    for (const auto& [fault, delivery] : deliveries) {
        QCOMPARE(int(now(fault).delivery), int(delivery));
        QCOMPARE(now(fault).body, good.body);
    }
    QVERIFY(QJsonDocument::fromJson(now(Fault::Garbage).body).isNull());
    QCOMPARE(now(Fault::NotJson).contentType, QByteArray("text/html; charset=utf-8"));
    QCOMPARE(now(Fault::Empty).body, QByteArray());
    QCOMPARE(now(Fault::Version).body,
             QByteArray(R"({"api_version":2,"name":"Dora","session":"0123","user_id":1})"));
    QCOMPARE(now(Fault::Missing).body, QByteArray(R"({"api_version":1})"));
    QCOMPARE(now(Fault::Types).body,
             QByteArray(R"({"api_version":1,"name":17,"session":17,"user_id":"a text"})"));
    const QJsonObject huge = bodyOf(now(Fault::Huge));
    QVERIFY(now(Fault::Huge).body.size() > 1000);
    QCOMPARE(huge.value(u"padding"_s).toString().size(), 1000);
    QCOMPARE(huge.value(u"session"_s), QJsonValue(u"0123"_s));
}

VKTEST_MAIN(AccountRulesTest)
#include "AccountRulesTest.moc"
