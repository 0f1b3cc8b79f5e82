// vkqt account, run as a process against the demonstration service: logins, the file of the session, the catalogue, and
// that no secret is shown or readable by others.
#include "ServiceProcess.h"
#include "ToolRunner.h"

#include "Support/VKTest.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

#include <csignal>
#include <memory>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

class ToolAccountTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void logsInAndOut();
    void keepsTheSessionPrivate();
    void defaultPlace();
    void neverTwo();
    void cannotKeepTheSession();
    void forgets();
    void forgetsSessionsOnly_data();
    void forgetsSessionsOnly();
    void catalogue();
    void languages_data();
    void languages();
    void emptyCatalogue();
    void ofAnInstallation();
    void everyDocumentedKey();
    void passwordOnATerminal();
    void terminalAfterCtrlC();
    void wrongPassword();
    void backslashes();
    void failures_data();
    void failures();
    void sessionHasEnded();
    void nothingListens();
    void interrupted();
    void badSessionFiles_data();
    void badSessionFiles();
    void unusableAuthFiles_data();
    void unusableAuthFiles();
    void sessionFileLimit_data();
    void sessionFileLimit();
    void verbose();
    void wrongLines_data();
    void wrongLines();

private:
    // With the password on standard input.
    [[nodiscard]] ToolRun account(const QString& arguments,
                                  const QString& password = u"golden-hour"_s) const {
        return runShell(u"printf '%s\\n' '%1' | \"$VKQT\" account %2"_s.arg(password, arguments), mFolder);
    }
    [[nodiscard]] ToolRun logIn(const QString& more = QString()) const {
        return account(
            u"login demo@example.test --session-file session --service %1 %2"_s.arg(mService->url(), more));
    }
    [[nodiscard]] QJsonObject sessionObject() const {
        QFile file(mFolder + u"/session"_s);
        return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object()
                                              : QJsonObject();
    }
    [[nodiscard]] QStringList entries() const {
        return QDir(mFolder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
    void write(const QByteArray& content, mode_t mode = 0600) const {
        QFile file(mFolder + u"/session"_s);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
        QCOMPARE(::chmod(QFile::encodeName(file.fileName()).constData(), mode), 0);
    }
    // A session of another service, or one that the service does not know.
    void writeSession(const QString& service) const {
        write(QJsonDocument(
                  QJsonObject{{u"service"_s, service}, {u"session"_s, u"0123"_s}, {u"name"_s, u"Dora"_s}})
                  .toJson());
    }

    std::unique_ptr<ServiceProcess> mService;
    QString mFolder;
};

void ToolAccountTest::initTestCase() {
    mService = std::make_unique<ServiceProcess>(QStringList{u"--plain"_s, u"--log"_s});
    QVERIFY(mService->isRunning());
    qputenv("no_proxy", "*");
}

void ToolAccountTest::cleanupTestCase() { mService.reset(); }

void ToolAccountTest::init() {
    VKTest::init();
    mFolder = makeFolder(u"account"_s);
}

void ToolAccountTest::logsInAndOut() {
    const ToolRun login = logIn();
    QCOMPARE(login.err, QByteArray());
    QCOMPARE(login.status, 0);
    QCOMPARE(login.out, "Logged in as Dora Demonstration. The session is kept in " + mFolder.toUtf8() +
                            "/session.\nWelcome back, Dora Demonstration.\n");
    QCOMPARE(sessionObject().value(u"service"_s), QJsonValue(mService->url()));
    const ToolRun logout = account(u"logout --session-file session"_s);
    QCOMPARE(logout.err, QByteArray());
    QCOMPARE(logout.status, 0);
    QCOMPARE(logout.out, QByteArray("Dora Demonstration is logged out.\n"));
    QCOMPARE(entries(), QStringList());
    const ToolRun again = account(u"logout --session-file session"_s);
    QCOMPARE(again.status, 1);
    QCOMPARE(again.err, "vkqt account: nobody is logged in: there is no " + mFolder.toUtf8() + "/session\n");
}

void ToolAccountTest::keepsTheSessionPrivate() {
    const ToolRun run =
        runShell(u"umask 0; printf 'golden-hour\\n' | \"$VKQT\" account login demo@example.test "
                 "--session-file session --service "_s +
                     mService->url(),
                 mFolder);
    QCOMPARE(run.status, 0);
    struct stat facts = {};
    QCOMPARE(::stat(QFile::encodeName(mFolder + u"/session"_s).constData(), &facts), 0);
    QCOMPARE(facts.st_mode & 07777U, 0600U);
    QCOMPARE(entries(), QStringList{u"session"_s});
    const QByteArray session = sessionObject().value(u"session"_s).toString().toUtf8();
    QCOMPARE(session.size(), 32);
    for (const QString& action : {u"products"_s, u"logout --json"_s}) {
        const ToolRun next = account(action + u" --session-file session"_s);
        QCOMPARE(next.status, 0);
        QVERIFY(!next.out.contains(session) && !next.err.contains(session));
    }
    QVERIFY(!run.out.contains(session) && !run.err.contains(session));
    QVERIFY(!run.out.contains("golden-hour") && !run.err.contains("golden-hour"));
}

void ToolAccountTest::defaultPlace() {
    const ToolRun login = account(u"login demo@example.test --json --service "_s + mService->url());
    QCOMPARE(login.status, 0);
    bool ok = false;
    const QString file = members(jsonArray(login.out, &ok), u"file"_s).value(0);
    QVERIFY(ok);
    QVERIFY2(file.endsWith(u"/Example/AccountSession.json"_s), qPrintable(file));
    QVERIFY(file.startsWith(qEnvironmentVariable("HOME")) || file.startsWith(scratchFolder()));
    QCOMPARE(account(u"products"_s).status, 0);
    QCOMPARE(account(u"logout"_s).status, 0);
    QVERIFY(!QFile::exists(file));
}

void ToolAccountTest::neverTwo() {
    QCOMPARE(logIn().status, 0);
    const QJsonObject before = sessionObject();
    const ToolRun second = logIn();
    QCOMPARE(second.status, 1);
    QCOMPARE(second.err, "vkqt account: a session is kept in " + mFolder.toUtf8() +
                             "/session already: log out first, or \"vkqt account forget\" it\n");
    QCOMPARE(sessionObject(), before);
    QCOMPARE(account(u"products --session-file session"_s).status, 0);
}

void ToolAccountTest::cannotKeepTheSession() {
    ServiceProcess service({u"--plain"_s, u"--log"_s});
    const ToolRun run =
        account(u"login demo@example.test --session-file missing/session --service "_s + service.url());
    QCOMPARE(run.status, 1);
    QVERIFY2(run.err.contains("/missing/session"), run.err.constData());
    // Nobody could end this session later, so it was ended at once.
    QVERIFY(service.process().waitForErr("POST /logout 200\n"));
}

void ToolAccountTest::forgets() {
    QCOMPARE(logIn().status, 0);
    const ToolRun run = account(u"forget --session-file session"_s);
    QCOMPARE(run.status, 0);
    QVERIFY(run.out.contains("The service was not told"));
    QCOMPARE(entries(), QStringList());
    QCOMPARE(account(u"forget --session-file session"_s).status, 1);
}

void ToolAccountTest::forgetsSessionsOnly_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("mode");
    QTest::addColumn<bool>("isForgotten");
    const QByteArray session = R"({"service":"http://127.0.0.1:1","session":"0123","name":"Dora"})";
    QTest::newRow("a session") << session << 0600 << true;
    QTest::newRow("one that others may read") << session << 0644 << true;
    QTest::newRow("a photo") << QByteArray("\xff\xd8\xff\xe0photo") << 0600 << false;
    QTest::newRow("other JSON") << QByteArray(R"({"name":"Dora"})") << 0600 << false;
    QTest::newRow("empty") << QByteArray() << 0600 << false;
}

/// A name given by mistake is not removed.
void ToolAccountTest::forgetsSessionsOnly() {
    QFETCH(QByteArray, content);
    QFETCH(int, mode);
    QFETCH(bool, isForgotten);
    write(content, static_cast<mode_t>(mode));
    const ToolRun run = account(u"forget --session-file session"_s);
    QCOMPARE(run.status, isForgotten ? 0 : 1);
    QCOMPARE(entries(), isForgotten ? QStringList() : QStringList{u"session"_s});
    QCOMPARE(run.err, isForgotten ? QByteArray()
                                  : "vkqt account: " + mFolder.toUtf8() + "/session holds no session\n");
}

void ToolAccountTest::catalogue() {
    QCOMPARE(logIn().status, 0);
    const ToolRun run = account(u"products --session-file session"_s);
    QCOMPARE(run.err, QByteArray());
    QCOMPARE(run.status, 0);
    const QList<QByteArray> lines = run.out.split('\n');
    QCOMPARE(lines.size(), 1 + 21 + 1);
    QVERIFY(lines[0].startsWith("Name "));
    QVERIFY2(lines[1].startsWith("Kestrel "), lines[1].constData());
    QVERIFY(lines[1].contains("12.2.0   2026-10-06  application"));
    QVERIFY(lines[1].endsWith("Browse, develop and finish photos in one place."));
    QVERIFY(lines[12].contains(" free "));
}

void ToolAccountTest::languages_data() {
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("description");
    QTest::newRow("the system's") << u""_s << 21 << u"Browse, develop and finish photos in one place."_s;
    QTest::newRow("German") << u"--language de"_s << 21
                            << u"Fotos sichten, entwickeln und ausarbeiten, alles an einem Ort."_s;
    QTest::newRow("edition") << u"--language fr --edition home"_s << 18
                             << u"Trier, développer et finaliser vos photos au même endroit."_s;
}

void ToolAccountTest::languages() {
    QFETCH(QString, arguments);
    QFETCH(int, count);
    QFETCH(QString, description);
    QCOMPARE(logIn().status, 0);
    bool ok = false;
    const QJsonArray products =
        jsonArray(account(u"products --json --session-file session "_s + arguments).out, &ok);
    QVERIFY(ok);
    QCOMPARE(products.size(), count);
    QCOMPARE(members(products, u"description"_s).value(0), description);
}

void ToolAccountTest::emptyCatalogue() {
    QCOMPARE(logIn().status, 0);
    const ToolRun table = account(u"products --session-file session --edition gold"_s);
    QCOMPARE(table.status, 0);
    QCOMPARE(table.out, QByteArray());
    bool ok = false;
    QVERIFY(
        jsonArray(account(u"products --json --session-file session --edition gold"_s).out, &ok).isEmpty());
    QVERIFY(ok);
}

void ToolAccountTest::ofAnInstallation() {
    write("demonstration-installation\n");
    const QString service = u" --service "_s + mService->url();
    bool ok = false;
    QCOMPARE(jsonArray(account(u"products --json --auth-file session"_s + service).out, &ok).size(), 21);
    QVERIFY(ok);
    write("another\n");
    const ToolRun refused = account(u"products --auth-file session"_s + service);
    QCOMPARE(refused.status, 1);
    QVERIFY(refused.err.contains("401"));
    const ToolRun missing = account(u"products --auth-file none"_s + service);
    QCOMPARE(missing.status, 1);
    QCOMPARE(missing.err, QByteArray("vkqt account: none: no such file or folder\n"));
}

void ToolAccountTest::everyDocumentedKey() {
    const QString help = QString::fromUtf8(runVkqt({u"account"_s, u"--help"_s}).out);
    const QString section = help.mid(help.indexOf(u"\nJSON\n"_s));
    bool ok = false;
    const QJsonArray login = jsonArray(logIn(u"--json"_s).out, &ok);
    QVERIFY(ok);
    QCOMPARE(login.size(), 1);
    QCOMPARE(login[0].toObject().value(u"user"_s), QJsonValue(1));
    QCOMPARE(login[0].toObject().value(u"name"_s), QJsonValue(u"Dora Demonstration"_s));
    const QJsonArray products = jsonArray(
        account(u"products --json --session-file session --product Kestrel --current 11"_s).out, &ok);
    QVERIFY(ok);
    const QJsonArray logout = jsonArray(account(u"logout --json --session-file session"_s).out, &ok);
    QVERIFY(ok);
    for (const QJsonArray& answer : {login, products, logout}) {
        for (const QString& key : answer[0].toObject().keys()) {
            QVERIFY2(section.contains(u"\n  "_s + key + u' '), qPrintable(key));
        }
    }
    const QJsonObject first = products[0].toObject();
    QCOMPARE(first.value(u"mac"_s).toObject().value(u"bytes"_s), QJsonValue(412'000'000));
    QCOMPARE(first.value(u"released"_s), QJsonValue(u"2026-10-06"_s));
    QVERIFY(first.value(u"update"_s).toString().contains(u"12.2.0"_s));
    QCOMPARE(first.value(u"ios"_s), QJsonValue());
    QCOMPARE(first.value(u"requirements"_s), QJsonValue()); // Nothing is said about this platform.
    const QJsonObject phone = products[12].toObject();
    QCOMPARE(phone.value(u"mobile"_s), QJsonValue(true));
    QCOMPARE(phone.value(u"mac"_s), QJsonValue());
    QVERIFY(phone.value(u"ios"_s).isString());
    QCOMPARE(phone.value(u"update"_s), QJsonValue());
}

void ToolAccountTest::passwordOnATerminal() {
    const QString command =
        u"\"$VKQT\" account login demo@example.test --session-file session --service %1; stty -a"_s.arg(
            mService->url());
    Conversation terminal(u"script"_s, {u"-qec"_s, command, u"typescript"_s}, mFolder);
    QVERIFY(terminal.waitFor("Password of demo@example.test: "));
    terminal.write("golden-hour\n");
    QCOMPARE(terminal.waitForEnd(), 0);
    QVERIFY2(terminal.out().contains("Logged in as Dora Demonstration."), terminal.out().constData());
    QVERIFY(!terminal.out().contains("golden-hour"));
    QVERIFY(terminal.out().contains(" echo "));
    QFile typescript(mFolder + u"/typescript"_s);
    QVERIFY(typescript.open(QIODevice::ReadOnly));
    QVERIFY(!typescript.readAll().contains("golden-hour"));
}

void ToolAccountTest::terminalAfterCtrlC() {
    const QString command =
        u"trap : INT; \"$VKQT\" account login demo@example.test --session-file session --service %1; "
        "echo \"status $?\"; stty -a"_s.arg(mService->url());
    Conversation terminal(u"script"_s, {u"-qec"_s, command, u"/dev/null"_s}, mFolder);
    QVERIFY(terminal.waitFor("Password of demo@example.test: "));
    terminal.write("gold\x03");
    QCOMPARE(terminal.waitForEnd(), 0);
    QVERIFY2(terminal.out().contains("status 130"), terminal.out().constData());
    QVERIFY(terminal.out().contains(" echo "));
    QVERIFY(!terminal.out().contains("gold"));
    QCOMPARE(entries(), QStringList());
}

void ToolAccountTest::wrongPassword() {
    const ToolRun run =
        account(u"login demo@example.test --session-file session --service "_s + mService->url(), u"blue"_s);
    QCOMPARE(run.status, 1);
    QCOMPARE(run.out, QByteArray());
    QCOMPARE(run.err, QByteArray("vkqt account: e-mail address and password do not belong together\n"));
    QCOMPARE(entries(), QStringList());
    const ToolRun none =
        runVkqt({u"account"_s, u"login"_s, u"demo@example.test"_s, u"--service"_s, mService->url()}, mFolder);
    QCOMPARE(none.status, 1);
    QCOMPARE(none.err, QByteArray("vkqt account: no password was given\n"));
}

void ToolAccountTest::backslashes() {
    const QString users = mFolder + u"/users"_s;
    QFile file(users);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("b@example.test\ta\\b\\\\\tBert\n");
    file.close();
    ServiceProcess service({u"--plain"_s, u"--users"_s, users});
    QVERIFY(service.isRunning());
    const ToolRun run = account(
        u"login b@example.test --session-file session --service "_s + service.url(u"/"_s), u"a\\b\\\\"_s);
    QCOMPARE(run.err, QByteArray());
    QCOMPARE(run.status, 0);
    QCOMPARE(sessionObject().value(u"service"_s), QJsonValue(service.url()));
}

void ToolAccountTest::failures_data() {
    QTest::addColumn<QString>("base");
    QTest::addColumn<QByteArray>("reason");
    const auto row = [](const char* base, const char* reason) {
        QTest::newRow(base) << QString::fromLatin1(base) << QByteArray(reason);
    };
    row("/status/400", "the server answered 400 (the request was not understood)");
    row("/status/403", "the server answered 403 (forbidden)");
    row("/status/404", "the service cannot be reached there, or is none");
    row("/status/429", "the server answered 429 (too many requests)");
    row("/status/500", "the server answered 500 (an error inside the server)");
    row("/status/503", "the server answered 503 (the server is not available)");
    row("/fault/cut-off", "the service cannot be reached there, or is none");
    row("/fault/garbage", "the reply was not understood");
    row("/fault/not-json", "the reply was not understood");
    row("/fault/version", "the reply was not understood");
    row("/fault/types", "the reply was not understood");
}

void ToolAccountTest::failures() {
    QFETCH(QString, base);
    QFETCH(QByteArray, reason);
    const QString service = mService->url(base);
    const ToolRun run = account(u"login demo@example.test --session-file session --service "_s + service);
    QCOMPARE(run.status, 1);
    QCOMPARE(run.out, QByteArray());
    QCOMPARE(run.err, "vkqt account: " + service.toUtf8() + ": " + reason + '\n');
    QCOMPARE(entries(), QStringList());
}

void ToolAccountTest::sessionHasEnded() {
    writeSession(mService->url());
    const ToolRun logout = account(u"logout --session-file session"_s);
    QCOMPARE(logout.status, 1);
    QVERIFY2(logout.err.contains("the session is not known there any more"), logout.err.constData());
    QCOMPARE(entries(), QStringList{u"session"_s});
    const ToolRun products = account(u"products --session-file session"_s);
    QCOMPARE(products.status, 1);
    QVERIFY(products.err.endsWith(": the server answered 401 (a login is needed, or it is wrong)\n"));
}

void ToolAccountTest::nothingListens() {
    QString gone;
    {
        const ServiceProcess service;
        gone = service.url();
    }
    const ToolRun run = account(u"login demo@example.test --session-file session --service "_s + gone);
    QCOMPARE(run.status, 1);
    QCOMPARE(run.err,
             "vkqt account: " + gone.toUtf8() + ": the service cannot be reached there, or is none\n");
}

void ToolAccountTest::interrupted() {
    Conversation tool(QStringLiteral(VKQT_TOOL),
                      {u"account"_s, u"login"_s, u"demo@example.test"_s, u"--session-file"_s, u"session"_s,
                       u"--service"_s, mService->url(u"/fault/hang"_s)},
                      mFolder);
    tool.write("golden-hour\n");
    QVERIFY(mService->process().waitForErr("POST /fault/hang/login 200\n"));
    ::kill(static_cast<pid_t>(tool.pid()), SIGINT);
    QCOMPARE(tool.waitForEnd(), 1);
    QVERIFY2(tool.err().endsWith(": cancelled\n"), tool.err().constData());
    QCOMPARE(entries(), QStringList());
}

void ToolAccountTest::badSessionFiles_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<int>("mode");
    QTest::addColumn<QByteArray>("reason");
    const QByteArray good = R"({"service":"http://127.0.0.1:1","session":"0123"})";
    const QByteArray others = " is not used: others may read it (\"chmod 600\" would mend that)\n";
    QTest::newRow("others may read it") << good << 0604 << others;
    QTest::newRow("the group may read it") << good << 0640 << others;
    QTest::newRow("others may write it") << good << 0602 << others;
    QTest::newRow("empty") << QByteArray() << 0600 << QByteArray(" holds no session\n");
    QTest::newRow("no JSON") << QByteArray("x") << 0600 << QByteArray(" holds no session\n");
    QTest::newRow("no session in it")
        << QByteArray(R"({"service":"x"})") << 0600 << QByteArray(" holds no session\n");
    QTest::newRow("of another type") << QByteArray(R"({"service":"x","session":1})") << 0600
                                     << QByteArray(" holds no session\n");
}

void ToolAccountTest::badSessionFiles() {
    QFETCH(QByteArray, content);
    QFETCH(int, mode);
    QFETCH(QByteArray, reason);
    write(content, static_cast<mode_t>(mode));
    for (const QString& action : {u"products"_s, u"logout"_s}) {
        const ToolRun run = account(action + u" --session-file session"_s);
        QCOMPARE(run.status, 1);
        QCOMPARE(run.err, "vkqt account: " + mFolder.toUtf8() + "/session" + reason);
    }
    QCOMPARE(entries(), QStringList{u"session"_s});
}

void ToolAccountTest::unusableAuthFiles_data() {
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("reason");
    const QByteArray noText = "session holds no text that a service could know";
    QTest::newRow("empty") << QByteArray() << noText;
    QTest::newRow("blanks only") << QByteArray(" \n") << noText;
    QTest::newRow("not UTF-8") << QByteArray("\xff\xfe") << noText;
    QTest::newRow("too long") << QByteArray(4097, 'x') << QByteArray("session: file too large");
}

/// The service is not asked, and not blamed.
void ToolAccountTest::unusableAuthFiles() {
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, reason);
    write(content);
    const ToolRun run = account(u"products --auth-file session --service "_s + mService->url());
    QCOMPARE(run.status, 1);
    QCOMPARE(run.out, QByteArray());
    QCOMPARE(run.err, "vkqt account: " + reason + '\n');
}

void ToolAccountTest::sessionFileLimit_data() {
    QTest::addColumn<int>("bytes");
    QTest::addColumn<bool>("isTaken");
    QTest::newRow("a byte less") << 65'535 << true;
    QTest::newRow("the most") << 65'536 << true;
    QTest::newRow("a byte more") << 65'537 << false;
}

void ToolAccountTest::sessionFileLimit() {
    QFETCH(int, bytes);
    QFETCH(bool, isTaken);
    QCOMPARE(logIn().status, 0);
    QByteArray content = QJsonDocument(sessionObject()).toJson();
    content.append(bytes - content.size(), ' ');
    write(content);
    QCOMPARE(account(u"products --session-file session"_s).status, isTaken ? 0 : 1);
}

void ToolAccountTest::verbose() {
    const ToolRun login = logIn(u"--verbose"_s);
    QCOMPARE(login.status, 0);
    // The library writes the session to its log; the password never.
    QVERIFY2(login.err.contains("Login Successful. Session ID: "), login.err.constData());
    QVERIFY(!login.err.contains("golden-hour"));
    QVERIFY(account(u"logout --verbose --session-file session"_s).err.contains("Logout Successful."));
}

void ToolAccountTest::wrongLines_data() {
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QByteArray>("sentence");
    const auto row = [](const char* reason, const QString& arguments, const char* sentence) {
        QTest::newRow(reason) << arguments << QByteArray(sentence);
    };
    row("unknown action", u"signin"_s,
        "\"signin\" is not one of the choices for ACTION: login, logout, products, forget");
    row("no e-mail", u"login --service https://x"_s, "login takes an E-MAIL");
    row("empty e-mail", u"login '' --service https://x"_s, "login takes an E-MAIL");
    row("e-mail for logout", u"logout me@x"_s, "logout takes nothing");
    row("no service", u"login me@x"_s, "--service URL is needed: there is no built-in service");
    row("service for logout", u"logout --service https://x"_s, "the service is the one of the login");
    row("language for login", u"login me@x --service https://x --language de"_s,
        "--language goes with products");
    row("installation without a service", u"products --auth-file f"_s, "--service URL is needed");
    row("no address", u"login me@x --service x"_s,
        "\"x\" is no address that begins with https:// or http://");
    row("plain http elsewhere", u"login me@x --service http://127.example.org"_s,
        "the password and the session would travel unprotected: use https://");
    row("password in the address", u"login me@x --service https://me:secret@x"_s,
        "user and password do not belong into");
    row("query", u"login me@x --service \"https://x/?a\""_s, "a base URL ends with its path");
}

void ToolAccountTest::wrongLines() {
    QFETCH(QString, arguments);
    QFETCH(QByteArray, sentence);
    const ToolRun run = account(arguments + u" --session-file session"_s);
    QCOMPARE(run.status, 2);
    QCOMPARE(run.out, QByteArray());
    QVERIFY2(run.err.startsWith(QByteArray("vkqt account: " + sentence)), run.err.constData());
}

VKTEST_MAIN(ToolAccountTest)
#include "ToolAccountTest.moc"
