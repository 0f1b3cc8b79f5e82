// The demonstration account service as a process, asked by the library's own client: what it answers, over which
// connection, how it goes wrong on demand, and how it ends.
#include "ServiceProcess.h"
#include "ToolRunner.h"

#include "Support/MountSupport.h"
#include "Support/VKTest.h"

#include <VKAppMgrAPI.h>
#include <VKCoreKit/VKLog.h>
#include <VKCoreKit/VKProgress.h>
#include <VKHttp.h>

#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>

#include <arpa/inet.h>
#include <csignal>
#include <memory>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;

class AccountServiceTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void tellsItsAddress();
    void logsInAndOut();
    void showsItsCatalogue_data();
    void showsItsCatalogue();
    void moreUsers();
    void wrongUsers_data();
    void wrongUsers();
    void manyProducts();
    void everyStatus_data();
    void everyStatus();
    void faults_data();
    void faults();
    void cancelled();
    void bodyLimit_data();
    void bodyLimit();
    void keepsSecrets();
    void overTls();
    void authorityFile();
    void manyAtOnce();
    void hangsUntilTheClientLeaves();
    void idleConnections_data();
    void idleConnections();
    void ends_data();
    void ends();
    void wrongLines_data();
    void wrongLines();
    void help();

private:
    std::unique_ptr<ServiceProcess> mService;
};

namespace {

constexpr char kPassword[] = "golden-hour";

using Client = VKOwned<VKAppMgrAPI>;

Client clientOf(const QString& url) {
    Client client(new VKAppMgrAPI);
    client->setBaseURL(url);
    return client;
}

struct Answer {
    int status = -1;
    VKAppMgrAPI::t_LoginResponse response;
};

Answer logIn(VKAppMgrAPI& client, const QString& email = u"demo@example.test"_s,
             const QString& password = QString::fromLatin1(kPassword)) {
    Answer answer;
    answer.status = client.login({email, password, u"test machine"_s}, nullptr, answer.response);
    return answer;
}

int productsOf(VKAppMgrAPI& client, const QString& session, VKAppMgrAPI::t_ProductsResponse& response) {
    VKAppMgrAPI::t_ProductsData data;
    data.session = session;
    data.language = u"en"_s;
    return client.products(data, nullptr, response);
}

void ignoreLog(const VKLogRecord& /*record*/, void* /*context*/) {}

/// A connection that says nothing; closed with the object.
class IdleConnection {
public:
    explicit IdleConnection(quint16 port) : mSocket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        mIsConnected = ::connect(mSocket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    }
    IdleConnection(const IdleConnection&) = delete;
    IdleConnection& operator=(const IdleConnection&) = delete;
    ~IdleConnection() { ::close(mSocket); }

    [[nodiscard]] bool isConnected() const { return mIsConnected; }
    [[nodiscard]] int descriptor() const { return mSocket; }

private:
    int mSocket;
    bool mIsConnected = false;
};

} // namespace

void AccountServiceTest::initTestCase() {
    // What the client logs is the business of its own tests.
    VKLogSetHandler(&ignoreLog, nullptr);
    qputenv("no_proxy", "*");
    Mounts::enterOwnNamespace();
    mService = std::make_unique<ServiceProcess>(QStringList{u"--plain"_s, u"--log"_s, u"--slow"_s, u"1"_s,
                                                            u"--drip"_s, u"1"_s, u"--huge"_s, u"65"_s});
    QVERIFY(mService->isRunning());
}

void AccountServiceTest::cleanupTestCase() {
    mService.reset();
    VKLogSetHandler(nullptr, nullptr);
}

void AccountServiceTest::tellsItsAddress() {
    static const QRegularExpression sPlain(u"^http://127\\.0\\.0\\.1:[1-9][0-9]*\n$"_s);
    static const QRegularExpression sTls(u"^https://127\\.0\\.0\\.1:[1-9][0-9]* /.*/ca\\.pem\n$"_s);
    QVERIFY(sPlain.match(QString::fromUtf8(mService->process().out())).hasMatch());
    ServiceProcess tls(QStringList{});
    QVERIFY(sTls.match(QString::fromUtf8(tls.process().out())).hasMatch());
    QCOMPARE(tls.process().err(), QByteArray());
}

void AccountServiceTest::logsInAndOut() {
    const Client client = clientOf(mService->url());
    const Answer answer = logIn(*client);
    QCOMPARE(answer.status, 0);
    QCOMPARE(answer.response.httpCode, 200);
    QCOMPARE(answer.response.userId, 1);
    QCOMPARE(answer.response.name, u"Dora Demonstration"_s);
    QCOMPARE(answer.response.channel, u"demonstration"_s);
    QCOMPARE(answer.response.message, u"Welcome back, Dora Demonstration."_s);
    QCOMPARE(logIn(*client, u"demo@example.test"_s, u"wrong"_s).status, 1089);
    QCOMPARE(logIn(*client, u"nobody@example.test"_s).status, 1089);

    VKAppMgrAPI::t_ProductsResponse products;
    QCOMPARE(productsOf(*client, answer.response.session, products), 0);
    QCOMPARE(products.products.size(), std::size_t{21});
    int httpCode = 0;
    QCOMPARE(client->logout({answer.response.session}, nullptr, httpCode), 0);
    QCOMPARE(httpCode, 200);
    QCOMPARE(client->logout({answer.response.session}, nullptr, httpCode), 1089);
    QCOMPARE(httpCode, 401);
    QCOMPARE(productsOf(*client, answer.response.session, products), 1089);
}

void AccountServiceTest::showsItsCatalogue_data() {
    QTest::addColumn<QString>("language");
    QTest::addColumn<QString>("edition");
    QTest::addColumn<int>("httpCode");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("tooltip");
    QTest::newRow("English") << u"en"_s << u""_s << 200 << 21
                             << u"Kestrel: Browse, develop and finish photos in one place."_s;
    QTest::newRow("German") << u"de-DE"_s << u"home"_s << 200 << 18
                            << u"Kestrel: Fotos sichten, entwickeln und ausarbeiten, alles an einem Ort."_s;
    QTest::newRow("no such edition") << u"en"_s << u"gold"_s << 404 << 0 << u""_s;
}

void AccountServiceTest::showsItsCatalogue() {
    QFETCH(QString, language);
    QFETCH(QString, edition);
    QFETCH(int, count);
    const Client client = clientOf(mService->url());
    VKAppMgrAPI::t_ProductsData data;
    data.auth = u"demonstration-installation"_s;
    data.language = language;
    data.edition = edition;
    data.productName = u"Kestrel"_s;
    data.currentVersion = u"11.0"_s;
    VKAppMgrAPI::t_ProductsResponse response;
    QCOMPARE(client->products(data, nullptr, response), 0);
    QTEST(int(response.httpCode), "httpCode");
    QCOMPARE(static_cast<int>(response.products.size()), count);
    if (count > 0) {
        const VKAppMgrAPI::t_Product& first = response.products.front();
        QTEST(first.tooltip, "tooltip");
        QCOMPARE(first.releaseDate, QDate(2026, 10, 6));
        QVERIFY(first.updated.isValid());
        QVERIFY(first.updateText.contains(u"12.2.0"_s));
        QCOMPARE(first.macSize, std::int64_t{412'000'000});
        QCOMPARE(first.macMD5.size(), 32);
    }
}

void AccountServiceTest::moreUsers() {
    const QString file = makeFolder(u"users"_s) + u"/users"_s;
    QFile users(file);
    QVERIFY(users.open(QIODevice::WriteOnly));
    users.write("# more\nback@example.test\ta\\b\\\\ \"ü\\\tBert\n");
    users.close();
    ServiceProcess service({u"--plain"_s, u"--users"_s, file, u"--auth"_s, u"other"_s});
    QVERIFY(service.isRunning());
    const Client client = clientOf(service.url());
    const Answer answer = logIn(*client, u"BACK@example.test"_s, u"a\\b\\\\ \"ü\\"_s);
    QCOMPARE(answer.status, 0);
    QCOMPARE(answer.response.userId, 2);
    QCOMPARE(answer.response.name, u"Bert"_s);
    QCOMPARE(logIn(*client, u"back@example.test"_s, u"a\\b\\ \"ü\\"_s).status, 1089);
    QCOMPARE(logIn(*client).status, 0);
    VKAppMgrAPI::t_ProductsData data;
    data.language = u"en"_s;
    VKAppMgrAPI::t_ProductsResponse response;
    data.auth = u"demonstration-installation"_s;
    QCOMPARE(client->products(data, nullptr, response), 1089);
    data.auth = u"other"_s;
    QCOMPARE(client->products(data, nullptr, response), 0);
}

void AccountServiceTest::wrongUsers_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("complaint");
    QTest::newRow("no name") << QByteArray("\na@x\tp\n")
                             << QByteArray(": line 2 is not \"E-MAIL<Tab>PASSWORD<Tab>NAME\"\n");
    const QByteArray line = "a@x\tp\tn\n";
    constexpr qsizetype kMost = 1 << 20;
    QTest::newRow("one byte too long")
        << line + QByteArray(kMost - line.size() + 1, '\n') << QByteArray(": too long\n");
    QTest::newRow("as long as may be") << line + QByteArray(kMost - line.size(), '\n') << QByteArray();
    QTest::newRow("a byte shorter") << line + QByteArray(kMost - line.size() - 1, '\n') << QByteArray();
}

void AccountServiceTest::wrongUsers() {
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, complaint);
    const QString path = makeFolder(u"users"_s) + u"/users"_s;
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    file.close();
    ServiceProcess service({u"--plain"_s, u"--users"_s, path});
    QCOMPARE(service.isRunning(), complaint.isEmpty());
    if (!complaint.isEmpty()) {
        QCOMPARE(service.process().waitForEnd(), 1);
        QCOMPARE(service.process().err(), QByteArray("accountservice: " + path.toUtf8() + complaint));
    }
}

void AccountServiceTest::manyProducts() {
    ServiceProcess service({u"--plain"_s, u"--products"_s, u"7200"_s});
    const Client client = clientOf(service.url());
    VKAppMgrAPI::t_ProductsResponse response;
    QCOMPARE(productsOf(*client, logIn(*client).response.session, response), 0);
    QCOMPARE(response.products.size(), std::size_t{7200});
}

void AccountServiceTest::everyStatus_data() {
    QTest::addColumn<int>("httpCode");
    QTest::addColumn<int>("login");
    QTest::addColumn<int>("products");
    const auto row = [](int httpCode, int login, int products) {
        QTest::newRow(qPrintable(QString::number(httpCode))) << httpCode << login << products;
    };
    row(201, 0, 0);
    row(204, 0, 0);
    row(302, 0, 0);
    row(304, 0, 0);
    row(400, 1103, 1103);
    row(401, 1089, 1089);
    row(403, 0, 0);
    row(404, 1094, 0);
    row(418, 0, 0);
    row(429, 1096, 1096);
    row(500, 1102, 1102);
    row(503, 0, 0);
    row(599, 0, 0);
}

void AccountServiceTest::everyStatus() {
    QFETCH(int, httpCode);
    QFETCH(int, login);
    const Client byEmail = clientOf(mService->url());
    const Answer answer = logIn(*byEmail, u"status-%1@example.test"_s.arg(httpCode), u"any"_s);
    QCOMPARE(answer.status, login);
    QCOMPARE(answer.response.httpCode, login == 1094 ? 0 : httpCode);
    const Client byPath = clientOf(mService->url(u"/status/%1"_s.arg(httpCode)));
    QCOMPARE(logIn(*byPath).status, login);
    VKAppMgrAPI::t_ProductsResponse response;
    QTEST(productsOf(*byPath, u"any"_s, response), "products");
    QCOMPARE(int(response.httpCode), httpCode);
    int logoutCode = 0;
    QCOMPARE(byPath->logout({u"any"_s}, nullptr, logoutCode), login);
}

void AccountServiceTest::faults_data() {
    QTest::addColumn<QString>("fault");
    QTest::addColumn<int>("status");
    QTest::newRow("slow") << u"slow"_s << 0;
    QTest::newRow("drip") << u"drip"_s << 0;
    QTest::newRow("cut-off") << u"cut-off"_s << 1094;
    QTest::newRow("too-long") << u"too-long"_s << 1094;
    QTest::newRow("too-short") << u"too-short"_s << 1003;
    QTest::newRow("garbage") << u"garbage"_s << 1003;
    QTest::newRow("not-json") << u"not-json"_s << 1003;
    QTest::newRow("empty") << u"empty"_s << 1003;
    QTest::newRow("huge") << u"huge"_s << 1094;
    QTest::newRow("version") << u"version"_s << 1003;
    QTest::newRow("missing") << u"missing"_s << 1003;
    QTest::newRow("types") << u"types"_s << 1003;
    QTest::newRow("nonsense") << u"nonsense"_s << 1094; // HTTP 404
}

void AccountServiceTest::faults() {
    QFETCH(QString, fault);
    QFETCH(int, status);
    const Client client = clientOf(mService->url(u"/fault/"_s + fault));
    const Answer answer = logIn(*client);
    QCOMPARE(answer.status, status);
    QCOMPARE(answer.response.session.isEmpty(), status != 0);
    // The service is none the worse for it.
    QCOMPARE(logIn(*clientOf(mService->url())).status, 0);
}

void AccountServiceTest::cancelled() {
    const Client client = clientOf(mService->url(u"/fault/hang"_s));
    VKProgress* const progress = VKProgressCreate(nullptr, nullptr);
    VKAppMgrAPI::t_LoginResponse response;
    int status = -1;
    std::thread waiting([&] {
        status = client->login({u"demo@example.test"_s, QString::fromLatin1(kPassword), u"x"_s}, progress,
                               response);
    });
    const bool isReached = mService->process().waitForErr("POST /fault/hang/login 200\n");
    VKProgressSetCancel(progress, true);
    waiting.join();
    QVERIFY(isReached);
    VKProgressRelease(progress);
    QCOMPARE(status, 1007);
}

void AccountServiceTest::bodyLimit_data() {
    QTest::addColumn<int>("bytes");
    QTest::addColumn<int>("httpCode");
    QTest::newRow("one less") << 65'535 << 200;
    QTest::newRow("the most") << 65'536 << 200;
    QTest::newRow("one more") << 65'537 << 413;
}

void AccountServiceTest::bodyLimit() {
    QFETCH(int, bytes);
    QByteArray body =
        R"({"api_version":1,"email":"demo@example.test","passwd":"golden-hour","machine_guid":"x"})";
    body.append(bytes - body.size(), ' ');
    VKHttp http;
    http.setUrl(QUrl(mService->url(u"/login"_s)));
    http.setHeader(kVKHttpContentType, kVKHttpContentApplicationJson);
    http.post(body);
    QCOMPARE(http.error(), 0);
    QTEST(http.httpResultCode(), "httpCode");
}

void AccountServiceTest::keepsSecrets() {
    const Client client = clientOf(mService->url());
    const QString session = logIn(*client).response.session;
    QVERIFY(!session.isEmpty());
    VKAppMgrAPI::t_ProductsResponse response;
    QCOMPARE(productsOf(*client, session, response), 0);
    static_cast<void>(logIn(*client, u"demo@example.test"_s, u"blue-hour"_s));
    Conversation& process = mService->process();
    QVERIFY(process.waitForErr("POST /login 200\n"));
    QVERIFY(process.waitForErr("GET /products 200\n"));
    QVERIFY(process.waitForErr("POST /login 401\n"));
    const QByteArray told = process.out() + process.err();
    QVERIFY(!told.contains(kPassword));
    QVERIFY(!told.contains("blue-hour"));
    QVERIFY(!told.contains(session.toUtf8()));
    // A path cannot write lines of its own.
    VKHttp http;
    http.setUrl(QUrl(mService->url(u"/x%0Aforged%1B"_s)));
    http.get();
    QCOMPARE(http.httpResultCode(), 404);
    QVERIFY(process.waitForErr("GET /x%0Aforged%1B 404\n"));
}

void AccountServiceTest::overTls() {
    ServiceProcess service(QStringList{});
    QVERIFY(service.isRunning());
    // Nobody trusts an authority that was made a moment ago.
    QCOMPARE(logIn(*clientOf(service.url())).status, 1094);

    VKTEST_NEEDS(::geteuid() == 0, "root, to trust an authority in a mount namespace of its own");
    const Mounts::Mounted trusted("--bind '" + service.authorityFile().toUtf8() + '\'',
                                  "/etc/ssl/certs/ca-certificates.crt");
    QVERIFY2(trusted.isMounted(), trusted.message());
    const Client client = clientOf(service.url());
    const Answer answer = logIn(*client);
    QCOMPARE(answer.status, 0);
    VKAppMgrAPI::t_ProductsResponse response;
    QCOMPARE(productsOf(*client, answer.response.session, response), 0);
    QCOMPARE(response.products.size(), std::size_t{21});
    // Another run's authority is another one.
    ServiceProcess other(QStringList{});
    QCOMPARE(logIn(*clientOf(other.url())).status, 1094);
    // The certificate is for this host.
    VKHttp http;
    http.setUrl(QUrl(service.url(u"/status/200"_s)));
    http.get();
    QCOMPARE(http.error(), 0);
    QCOMPARE(http.httpResultCode(), 200);
}

void AccountServiceTest::authorityFile() {
    const QString folder = makeFolder(u"authority"_s);
    const QString file = folder + u"/ca.pem"_s;
    {
        ServiceProcess service({u"--folder"_s, folder});
        QCOMPARE(service.authorityFile(), file);
        QFile authority(file);
        QVERIFY(authority.open(QIODevice::ReadOnly));
        const QByteArray pem = authority.readAll();
        QVERIFY(pem.startsWith("-----BEGIN CERTIFICATE-----\n"));
        QVERIFY(!pem.contains("PRIVATE KEY"));
        // It is not overwritten, not even by another service.
        ServiceProcess second({u"--folder"_s, folder});
        QVERIFY(!second.isRunning());
        QCOMPARE(second.process().waitForEnd(), 1);
        QVERIFY(second.process().err().contains(file.toUtf8()));
        QVERIFY(QFile::exists(file));
        service.process().closeInput();
        QCOMPARE(service.process().waitForEnd(), 0);
    }
    QVERIFY(!QFile::exists(file));
    QVERIFY(QFileInfo(folder).isDir());
    ServiceProcess nowhere({u"--folder"_s, folder + u"/missing"_s});
    QCOMPARE(nowhere.process().waitForEnd(), 1);
    QCOMPARE(nowhere.process().out(), QByteArray());
}

void AccountServiceTest::manyAtOnce() {
    constexpr int kThreads = 16;
    std::vector<Answer> answers(kThreads);
    std::vector<std::thread> threads;
    for (Answer& answer : answers) {
        threads.emplace_back([this, &answer] { answer = logIn(*clientOf(mService->url())); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    QSet<QString> sessions;
    for (const Answer& answer : answers) {
        QCOMPARE(answer.status, 0);
        sessions.insert(answer.response.session);
    }
    QCOMPARE(sessions.size(), kThreads);
}

/// Otherwise the clients that left would use up the connections that the service has.
void AccountServiceTest::hangsUntilTheClientLeaves() {
    const IdleConnection connection(static_cast<quint16>(QUrl(mService->url()).port()));
    QVERIFY(connection.isConnected());
    const timeval longest = {.tv_sec = 20, .tv_usec = 0}; // only where it fails
    QCOMPARE(::setsockopt(connection.descriptor(), SOL_SOCKET, SO_RCVTIMEO, &longest, sizeof longest), 0);
    const QByteArray request("GET /fault/hang/products HTTP/1.1\r\nHost: x\r\n\r\n");
    QCOMPARE(::send(connection.descriptor(), request.constData(), static_cast<std::size_t>(request.size()),
                    MSG_NOSIGNAL),
             request.size());
    QVERIFY(mService->process().waitForErr("GET /fault/hang/products "));
    QCOMPARE(::shutdown(connection.descriptor(), SHUT_WR), 0);
    char byte = 0;
    QCOMPARE(::recv(connection.descriptor(), &byte, 1, 0), 0);
}

void AccountServiceTest::idleConnections_data() {
    QTest::addColumn<int>("count");
    QTest::newRow("room for one more") << 255;
    QTest::newRow("more than are served, which then leave") << 300;
}

void AccountServiceTest::idleConnections() {
    QFETCH(int, count);
    ServiceProcess service;
    const auto port = static_cast<quint16>(QUrl(service.url()).port());
    std::vector<std::unique_ptr<IdleConnection>> idle;
    for (int i = 0; i < count; ++i) {
        idle.push_back(std::make_unique<IdleConnection>(port));
        QVERIFY(idle.back()->isConnected());
    }
    if (count > 255) {
        idle.clear();
    }
    QCOMPARE(logIn(*clientOf(service.url())).status, 0);
}

void AccountServiceTest::ends_data() {
    QTest::addColumn<int>("signal");
    QTest::newRow("its input ends") << 0;
    QTest::newRow("SIGTERM") << SIGTERM;
    QTest::newRow("SIGINT") << SIGINT;
}

void AccountServiceTest::ends() {
    QFETCH(int, signal);
    ServiceProcess service(QStringList{});
    QVERIFY(QFile::exists(service.authorityFile()));
    // A client that waits for a reply that never comes does not keep the service.
    ServiceProcess plain({u"--plain"_s, u"--log"_s});
    int status = -1;
    std::thread waiting([&status, &plain] {
        VKHttp http;
        http.setUrl(QUrl(plain.url(u"/fault/hang/login"_s)));
        http.post({});
        status = http.error();
    });
    const bool isReached = plain.process().waitForErr("POST /fault/hang/login ");
    int ended[] = {-1, -1};
    int* next = ended;
    for (ServiceProcess* const ending : {&plain, &service}) {
        if (signal == 0) {
            ending->process().closeInput();
        } else {
            ::kill(static_cast<pid_t>(ending->process().pid()), signal);
        }
        *next++ = ending->process().waitForEnd();
    }
    waiting.join();
    QVERIFY(isReached);
    QVERIFY(status != 0);
    QCOMPARE(ended[0], 0);
    QCOMPARE(ended[1], 0);
    QCOMPARE(service.process().err(), QByteArray());
    QVERIFY(!QFile::exists(service.authorityFile()));
    QVERIFY(!QFileInfo::exists(QFileInfo(service.authorityFile()).path()));
    QCOMPARE(service.process().out().count('\n'), 1);
}

void AccountServiceTest::wrongLines_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("unknown option") << QStringList{u"--nonsense"_s};
    QTest::newRow("argument") << QStringList{u"8080"_s};
    QTest::newRow("no number") << QStringList{u"--products"_s, u"many"_s};
    QTest::newRow("negative") << QStringList{u"--slow=-1"_s};
    QTest::newRow("too many products") << QStringList{u"--products"_s, u"100001"_s};
    QTest::newRow("too huge") << QStringList{u"--huge"_s, u"1025"_s};
    QTest::newRow("too slow") << QStringList{u"--slow"_s, u"600001"_s};
    QTest::newRow("value missing") << QStringList{u"--drip"_s};
}

void AccountServiceTest::wrongLines() {
    QFETCH(QStringList, arguments);
    const ToolRun run = runProgram(QStringLiteral(ACCOUNT_SERVICE), arguments);
    QCOMPARE(run.status, 2);
    QCOMPARE(run.out, QByteArray());
    QVERIFY(run.err.startsWith("accountservice: "));
    QVERIFY(run.err.endsWith("Try \"accountservice --help\".\n"));
}

void AccountServiceTest::help() {
    const ToolRun run = runProgram(QStringLiteral(ACCOUNT_SERVICE), {u"--help"_s});
    QCOMPARE(run.status, 0);
    for (const char* text :
         {"--plain", "--folder", "--users", "--auth", "--products", "--slow", "--drip", "--huge", "--log",
          "--until-input-ends", "demo@example.test", "cut-off", "types"}) {
        QVERIFY2(run.out.contains(text), text);
    }
}

VKTEST_MAIN(AccountServiceTest)
#include "AccountServiceTest.moc"
