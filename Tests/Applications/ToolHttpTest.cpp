// vkqt http, run as a process against a server that keeps what it was sent: requests byte by byte, where replies go, and
// how it ends when they do not come.
#include "ServiceProcess.h"
#include "ToolRunner.h"

#include "Support/RecordingServer.h"
#include "Support/VKTest.h"

#include <QDir>
#include <QFile>
#include <QJsonObject>
#include <QStandardPaths>

#include <csignal>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

using Reply = RecordingServer::Reply;
using Request = RecordingServer::Request;

class ToolHttpTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void requests_data();
    void requests();
    void putsAFile();
    void putsUndecodableNames();
    void forms();
    void formInParts();
    void password();
    void passwordAndBodyFromInput();
    void passwordOnATerminal();
    void wrongPasswords_data();
    void wrongPasswords();
    void exitStatus_data();
    void exitStatus();
    void failures_data();
    void failures();
    void noSuchHost();
    void nothingListens();
    void writesAFile();
    void keepsWhatIsThere();
    void keepsWhatCameMeanwhile();
    void writesNothingWithoutSuccess_data();
    void writesNothingWithoutSuccess();
    void cannotWrite();
    void fileSizeLimit();
    void replyOnATerminal_data();
    void replyOnATerminal();
    void bytesForPrograms();
    void replyLimit_data();
    void replyLimit();
    void json();
    void jsonOfFailures();
    void interrupted_data();
    void interrupted();
    void interruptedWhileItWrites_data();
    void interruptedWhileItWrites();
    void folderThatCannotBeFlushed();
    void bar();
    void verbose_data();
    void verbose();
    void verboseOnATerminal();
    void wrongLines_data();
    void wrongLines();
    void missingFiles_data();
    void missingFiles();

private:
    [[nodiscard]] ToolRun http(const QStringList& arguments) const {
        return runVkqt(QStringList(u"http"_s) + arguments, mFolder);
    }
    [[nodiscard]] QString url(const QString& path = u"/"_s) const { return mServer->url(path).toString(); }
    [[nodiscard]] QStringList entries() const {
        return QDir(mFolder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
    [[nodiscard]] QByteArray contentOf(const QString& name) const {
        QFile file(mFolder + u'/' + name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("missing");
    }
    void write(const QString& name, const QByteArray& content) const {
        QFile file(mFolder + u'/' + name);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    }
    [[nodiscard]] QByteArray sentence(const QString& path, const char* reason) const {
        return "vkqt http: " + url(path).toUtf8() + ": " + reason + '\n';
    }

    std::unique_ptr<RecordingServer> mServer;
    QString mFolder;
};

void ToolHttpTest::initTestCase() { qputenv("no_proxy", "*"); }

void ToolHttpTest::init() {
    VKTest::init();
    mServer = std::make_unique<RecordingServer>();
    QVERIFY(mServer->isListening());
    mFolder = makeFolder(u"http"_s);
}

void ToolHttpTest::requests_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("requestLine");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("length");
    const auto row = [](const char* reason, const QStringList& arguments, const char* line, const char* body,
                        const char* length) {
        QTest::newRow(reason) << arguments << QByteArray(line) << QByteArray(body) << QByteArray(length);
    };
    row("get", {u"get"_s}, "GET /a HTTP/1.1", "", "");
    row("get with a body", {u"get"_s, u"--data"_s, u"query"_s}, "GET /a HTTP/1.1", "query", "5");
    row("post", {u"post"_s, u"--data"_s, u"käse"_s}, "POST /a HTTP/1.1", "k\xc3\xa4se", "5");
    row("post of nothing", {u"post"_s}, "POST /a HTTP/1.1", "", "0");
    row("post of a file", {u"post"_s, u"--data-file"_s, u"body.bin"_s}, "POST /a HTTP/1.1", "from a file",
        "11");
    row("patch", {u"patch"_s, u"--data"_s, u"x"_s}, "PATCH /a HTTP/1.1", "x", "1");
    row("delete", {u"delete"_s}, "DELETE /a HTTP/1.1", "", "0");
    row("delete with a body", {u"delete"_s, u"--data"_s, u"x"_s}, "DELETE /a HTTP/1.1", "x", "1");
    row("put of a text", {u"put"_s, u"--data"_s, u"text"_s}, "PUT /a HTTP/1.1", "text", "4");
    row("put of nothing", {u"put"_s, u"--data="_s}, "PUT /a HTTP/1.1", "", "0");
    row("put of an empty file", {u"put"_s, u"--data-file"_s, u"empty"_s}, "PUT /a HTTP/1.1", "", "0");
}

void ToolHttpTest::requests() {
    QFETCH(QStringList, arguments);
    write(u"body.bin"_s, "from a file");
    write(u"empty"_s, "");
    mServer->reply(Reply::ok("fine\n"));
    const ToolRun run =
        http(arguments + QStringList{u"--header"_s, u"X-One: 1"_s, u"--header"_s, u"X-Two:2"_s, u"--header"_s,
                                     u"X-One: 3"_s, url(u"/a"_s)});
    QCOMPARE(run.err, QByteArray());
    QCOMPARE(run.status, 0);
    QCOMPARE(run.out, QByteArray("fine\n"));
    QCOMPARE(mServer->requests().size(), 1);
    const Request request = mServer->request(0);
    QTEST(request.requestLine, "requestLine");
    QTEST(request.body, "body");
    QTEST(request.value("Content-Length"), "length");
    QVERIFY(request.headerLines.contains("X-One: 1"));
    QVERIFY(request.headerLines.contains("X-Two: 2"));
    QCOMPARE(request.values("X-One"), QList<QByteArray>({"1", "3"}));
    QVERIFY(request.values("Authorization").isEmpty());
}

void ToolHttpTest::putsAFile() {
    QByteArray content(3'000'000, Qt::Uninitialized);
    for (qsizetype i = 0; i < content.size(); ++i) {
        content[i] = static_cast<char>(i * 2654435761U >> 13U);
    }
    write(u"IMG_1.NEF"_s, content);
    mServer->reply(Reply::status("201 Created"));
    const ToolRun run = http({u"put"_s, u"--data-file"_s, u"IMG_1.NEF"_s, url(u"/IMG_1.NEF"_s)});
    QCOMPARE(run.err, QByteArray());
    QCOMPARE(run.status, 0);
    QCOMPARE(mServer->request(0).requestLine, QByteArray("PUT /IMG_1.NEF HTTP/1.1"));
    QVERIFY(mServer->request(0).body == content);
}

void ToolHttpTest::putsUndecodableNames() {
    QVERIFY(makeItem(mFolder, "caf\xe9.jpg", 7));
    mServer->reply(Reply::status("201 Created"));
    const QString script = u"\"$VKQT\" http put --data-file $'caf\\xe9.jpg' "_s + url();
    QCOMPARE(runShell(script, mFolder).status, 0);
    QCOMPARE(mServer->request(0).body, QByteArray(7, '\0'));
}

void ToolHttpTest::forms() {
    mServer->reply(Reply::ok("fine"));
    const ToolRun run =
        http({u"form"_s, u"--field"_s, u"title=A lake & more"_s, u"--field"_s, u"note=a=b"_s, url()});
    QCOMPARE(run.status, 0);
    const Request request = mServer->request(0);
    QCOMPARE(request.requestLine, QByteArray("POST / HTTP/1.1"));
    QCOMPARE(request.values("Content-Type"), QList<QByteArray>{"application/x-www-form-urlencoded"});
    QCOMPARE(request.body, QByteArray("title=A%20lake%20%26%20more&note=a%3Db"));
}

void ToolHttpTest::formInParts() {
    write(u"a b.jpg"_s, "JPEG\r\n--x");
    mServer->reply(Reply::ok("fine"));
    mServer->reply(Reply::ok("fine"));
    QCOMPARE(http({u"form"_s, u"--field"_s, u"title=Lake"_s, u"--file"_s, u"photo=a b.jpg"_s, url()}).status,
             0);
    QCOMPARE(http({u"form"_s, u"--parts"_s, u"--field"_s, u"title=Lake"_s, url()}).status, 0);
    const Request request = mServer->request(0);
    const QByteArray type = request.value("Content-Type");
    const QByteArray before = "multipart/form-data; boundary=";
    QVERIFY(type.startsWith(before));
    const QByteArray boundary = type.mid(before.size());
    const QByteArray title =
        "--" + boundary + "\r\nContent-Disposition: form-data; name=\"title\"\r\n\r\nLake\r\n";
    const QByteArray start = title + "--" + boundary +
                             "\r\nContent-Disposition: form-data; name=\"photo\"; filename=\"a b.jpg\"\r\n";
    const QByteArray end = "\r\n\r\nJPEG\r\n--x\r\n--" + boundary + "--\r\n";
    QVERIFY2(request.body.startsWith(start), request.body.constData());
    QVERIFY2(request.body.endsWith(end), request.body.constData());
    QVERIFY(mServer->request(1).value("Content-Type").startsWith(before));
    QVERIFY(!mServer->request(1).body.contains("filename"));
}

void ToolHttpTest::password() {
    mServer->reply(Reply::ok("fine"));
    const ToolRun run =
        runShell(u"printf 'sec:ret ü\\nnot this' | \"$VKQT\" http get --user me "_s + url(), mFolder);
    QCOMPARE(run.err, QByteArray());
    QCOMPARE(run.status, 0);
    QCOMPARE(mServer->request(0).values("Authorization"),
             QList<QByteArray>{"Basic " + QByteArray("me:sec:ret \xc3\xbc").toBase64()});
}

void ToolHttpTest::passwordAndBodyFromInput() {
    mServer->reply(Reply::ok("fine"));
    const QString script =
        u"printf 'secret\\r\\nline 1\\nline 2' | \"$VKQT\" http post --user me --data-file - "_s;
    QCOMPARE(runShell(script + url(), mFolder).status, 0);
    QCOMPARE(mServer->request(0).value("Authorization"), "Basic " + QByteArray("me:secret").toBase64());
    QCOMPARE(mServer->request(0).body, QByteArray("line 1\nline 2"));
}

void ToolHttpTest::passwordOnATerminal() {
    mServer->reply(Reply::ok("fine\n"));
    Conversation terminal(
        u"script"_s, {u"-qec"_s, u"\"$VKQT\" http get --user me "_s + url() + u"; stty -a"_s, u"/dev/null"_s},
        mFolder);
    QVERIFY(terminal.waitFor("Password of me: "));
    terminal.write("secret\n");
    QCOMPARE(terminal.waitForEnd(), 0);
    QVERIFY2(terminal.out().contains("fine"), terminal.out().constData());
    QVERIFY(!terminal.out().contains("secret"));
    QVERIFY(terminal.out().contains(" echo "));
    QCOMPARE(mServer->request(0).value("Authorization"), "Basic " + QByteArray("me:secret").toBase64());
}

void ToolHttpTest::wrongPasswords_data() {
    QTest::addColumn<QString>("input");
    QTest::addColumn<QByteArray>("reason");
    QTest::newRow("none") << u"</dev/null"_s << QByteArray("no password was given");
    QTest::newRow("empty line") << u"<<<''"_s << QByteArray("no password was given");
    QTest::newRow("not UTF-8") << u"<<<$'\\xff'"_s << QByteArray("the password is not text in UTF-8");
    QTest::newRow("endless") << u"</dev/zero"_s << QByteArray("the password is too long");
    QTest::newRow("closed") << u"<&-"_s << QByteArray("no password was given");
    QTest::newRow("a folder") << u"</"_s << QByteArray("the password could not be read: is a folder");
}

void ToolHttpTest::wrongPasswords() {
    QFETCH(QString, input);
    QFETCH(QByteArray, reason);
    const ToolRun run = runShell(u"\"$VKQT\" http get --user me "_s + url() + u' ' + input, mFolder);
    QCOMPARE(run.status, 1);
    QCOMPARE(run.err, "vkqt http: " + reason + '\n');
    QCOMPARE(mServer->connections(), 0);
}

void ToolHttpTest::exitStatus_data() {
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("reason");
    const auto row = [](const char* reply, int status, const char* reason) {
        QTest::newRow(reply) << QByteArray(reply) << status << QByteArray(reason);
    };
    row("200 OK", 0, "");
    row("201 Created", 0, "");
    row("204 No Content", 0, "");
    row("299 Odd", 0, "");
    row("300 Choose", 1, "the server answered 300");
    row("302 Found", 1, "the server answered 302 (moved; redirections are not followed)");
    row("401 Unauthorized", 1, "the server answered 401 (a login is needed, or it is wrong)");
    row("404 Not Found", 1, "the server answered 404 (not found)");
    row("503 Away", 1, "the server answered 503 (the server is not available)");
}

void ToolHttpTest::exitStatus() {
    QFETCH(QByteArray, reply);
    QFETCH(int, status);
    QFETCH(QByteArray, reason);
    const bool hasBody = !reply.startsWith("204");
    mServer->reply(hasBody ? Reply::status(reply, "body\n") : Reply::raw("HTTP/1.1 " + reply + "\r\n\r\n"));
    const ToolRun run = http({u"get"_s, url(u"/a?b=c"_s)});
    QCOMPARE(run.status, status);
    // What an error says is worth seeing.
    QCOMPARE(run.out, hasBody ? QByteArray("body\n") : QByteArray());
    QCOMPARE(run.err, reason.isEmpty() ? QByteArray() : sentence(u"/a?b=c"_s, reason.constData()));
    QCOMPARE(mServer->requests().size(), 1);
}

void ToolHttpTest::failures_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("reason");
    QTest::newRow("no reply") << QByteArray()
                              << QByteArray("the server closed the connection without a reply");
    QTest::newRow("cut short") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nabc")
                               << QByteArray("the connection was closed before the reply was whole");
    QTest::newRow("not HTTP") << QByteArray("SSH-2.0-server\r\n\r\n") << QByteArray("the reply is not HTTP");
}

void ToolHttpTest::failures() {
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, reason);
    mServer->setHandler([bytes](const Request&) { return Reply::raw(bytes).close(); });
    const ToolRun run = http({u"get"_s, url()});
    QCOMPARE(run.status, 1);
    QCOMPARE(run.err, sentence(u"/"_s, reason.constData()));
}

void ToolHttpTest::noSuchHost() {
    const ToolRun run = http({u"get"_s, u"http://photos.invalid/"_s});
    QCOMPARE(run.status, 1);
    QCOMPARE(run.err, QByteArray("vkqt http: http://photos.invalid/: there is no host \"photos.invalid\"\n"));
}

void ToolHttpTest::nothingListens() {
    const QString gone = url();
    mServer.reset();
    // With the most that may be given.
    const ToolRun run =
        http({u"get"_s, u"--connect-timeout"_s, u"86400"_s, u"--limit"_s, u"1048576"_s, gone});
    QCOMPARE(run.status, 1);
    QCOMPARE(run.err, "vkqt http: " + gone.toUtf8() + ": nothing accepts connections there\n");
}

void ToolHttpTest::writesAFile() {
    mServer->reply(Reply::ok("content"));
    const ToolRun run = http({u"get"_s, u"-o"_s, u"new.bin"_s, url()});
    QCOMPARE(run.err, QByteArray());
    QCOMPARE(run.status, 0);
    QVERIFY(run.out.startsWith(QByteArray("7 B to " + mFolder.toUtf8() + "/new.bin in ")));
    QCOMPARE(entries(), QStringList{u"new.bin"_s});
    QCOMPARE(contentOf(u"new.bin"_s), QByteArray("content"));
    struct stat facts = {};
    QCOMPARE(::stat(QFile::encodeName(mFolder + u"/new.bin"_s).constData(), &facts), 0);
    const mode_t mask = ::umask(0);
    ::umask(mask);
    QCOMPARE(facts.st_mode & 0777U, 0666U & ~mask);
}

void ToolHttpTest::keepsWhatIsThere() {
    write(u"old"_s, "old");
    const ToolRun kept = http({u"get"_s, u"--output"_s, u"old"_s, url()});
    QCOMPARE(kept.status, 1);
    QCOMPARE(kept.err, QByteArray("vkqt http: old: file exists\n"));
    QCOMPARE(mServer->connections(), 0);
    QCOMPARE(contentOf(u"old"_s), QByteArray("old"));

    QVERIFY(QFile::link(u"old"_s, mFolder + u"/link"_s));
    mServer->reply(Reply::ok("new"));
    QCOMPARE(http({u"get"_s, u"--output"_s, u"link"_s, u"--overwrite"_s, url()}).status, 0);
    QCOMPARE(contentOf(u"old"_s), QByteArray("new"));
    QCOMPARE(entries(), QStringList({u"link"_s, u"old"_s}));
}

void ToolHttpTest::keepsWhatCameMeanwhile() {
    const auto gate = RecordingServer::makeGate();
    mServer->reply(Reply::raw("HTTP/1.1 200 OK\r\nContent-Length: 6\r\n\r\nabc").pause(gate).send("def"));
    Conversation tool(QStringLiteral(VKQT_TOOL), {u"http"_s, u"get"_s, u"-o"_s, u"new"_s, url()}, mFolder);
    QVERIFY(gate->waitUntilReached());
    write(u"new"_s, "somebody else's");
    gate->open();
    QCOMPARE(tool.waitForEnd(), 1);
    QCOMPARE(tool.err(), QByteArray("vkqt http: new: file exists\n"));
    QCOMPARE(contentOf(u"new"_s), QByteArray("somebody else's"));
    QCOMPARE(entries(), QStringList{u"new"_s});
}

void ToolHttpTest::writesNothingWithoutSuccess_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("an error page") << QByteArray("HTTP/1.1 404 Not Found\r\nContent-Length: 4\r\n\r\npage");
    QTest::newRow("cut short") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nabc");
}

void ToolHttpTest::writesNothingWithoutSuccess() {
    QFETCH(QByteArray, bytes);
    write(u"old"_s, "old");
    for (const QStringList& target :
         {QStringList{u"-o"_s, u"new"_s}, QStringList{u"-o"_s, u"old"_s, u"--overwrite"_s}}) {
        mServer->reply(Reply::raw(bytes).close());
        const ToolRun run = http(QStringList(u"get"_s) + target + QStringList(url()));
        QCOMPARE(run.status, 1);
        QCOMPARE(run.out, QByteArray());
        QCOMPARE(run.err.count('\n'), 1);
        QCOMPARE(entries(), QStringList{u"old"_s});
        QCOMPARE(contentOf(u"old"_s), QByteArray("old"));
    }
}

void ToolHttpTest::cannotWrite() {
    mServer->reply(Reply::ok("content"));
    const ToolRun run = http({u"get"_s, u"-o"_s, u"missing/new"_s, url()});
    QCOMPARE(run.status, 1);
    QCOMPARE(run.err, QByteArray("vkqt http: missing/new: no such file or folder\n"));
    mServer->reply(Reply::ok("content"));
    const ToolRun folder = http({u"get"_s, u"--overwrite"_s, u"-o"_s, u"."_s, url()});
    QCOMPARE(folder.status, 1);
    QCOMPARE(folder.err, QByteArray("vkqt http: .: is a folder\n"));
}

void ToolHttpTest::fileSizeLimit() {
    mServer->reply(Reply::ok(QByteArray(100'000, 'x')));
    const ToolRun run = runShell(u"ulimit -f 10; exec \"$VKQT\" http get -o new %1"_s.arg(url()), mFolder);
    QCOMPARE(run.err, QByteArray("vkqt http: new: file too large\n"));
    QCOMPARE(run.status, 1);
    QCOMPARE(entries(), QStringList());
}

void ToolHttpTest::replyOnATerminal_data() {
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QByteArray>("shown");
    QTest::newRow("text") << QByteArray("a\nb\n") << QByteArray("a\r\nb\r\n");
    QTest::newRow("no end of line") << QByteArray("a") << QByteArray("a\r\n");
    QTest::newRow("lines of another system") << QByteArray("a\r\nb\r\n") << QByteArray("a\r\nb\r\n");
    QTest::newRow("drives the terminal") << QByteArray("\x1b[2Jx\n") << QByteArray("\\e[2Jx\r\n");
    QTest::newRow("no text") << QByteArray("a\0b", 3)
                             << QByteArray("3 B of text/plain that is no text: use --output FILE\r\n");
    QTest::newRow("nothing") << QByteArray() << QByteArray();
}

void ToolHttpTest::replyOnATerminal() {
    QFETCH(QByteArray, body);
    mServer->reply(Reply::ok(body));
    const QString command = u"\"$VKQT\" http get --no-progress --color never "_s + url();
    const ToolRun run = runShell(u"script -qec '%1' /dev/null"_s.arg(command), mFolder);
    QCOMPARE(run.status, 0);
    QTEST(run.out, "shown");
}

void ToolHttpTest::bytesForPrograms() {
    const QByteArray body("\x1b[2J\0\xff\r\n", 8);
    mServer->reply(Reply::ok(body));
    QCOMPARE(http({u"get"_s, url()}).out, body);
}

void ToolHttpTest::replyLimit_data() {
    QTest::addColumn<int>("bytes");
    QTest::addColumn<bool>("isStated");
    QTest::addColumn<int>("status");
    for (const bool isStated : {true, false}) {
        const QByteArray how = isStated ? "stated" : "until the end";
        QTest::addRow("one below, %s", how.constData()) << (1 << 20) - 1 << isStated << 0;
        QTest::addRow("the most, %s", how.constData()) << (1 << 20) << isStated << 0;
        QTest::addRow("one above, %s", how.constData()) << (1 << 20) + 1 << isStated << 1;
    }
}

void ToolHttpTest::replyLimit() {
    QFETCH(int, bytes);
    QFETCH(bool, isStated);
    QFETCH(int, status);
    const QByteArray body(bytes, 'x');
    mServer->setHandler([body, isStated](const Request&) {
        return isStated ? Reply::ok(body) : Reply::raw("HTTP/1.1 200 OK\r\n\r\n" + body).close();
    });
    const ToolRun run = http({u"get"_s, u"--limit"_s, u"1"_s, u"-o"_s, u"new"_s, url()});
    QCOMPARE(run.status, status);
    QCOMPARE(run.err,
             status == 0 ? QByteArray() : sentence(u"/"_s, "the reply is longer than is allowed (--limit)"));
    QCOMPARE(entries(), status == 0 ? QStringList{u"new"_s} : QStringList());
}

void ToolHttpTest::json() {
    mServer->reply(
        Reply::status("200 OK", "käse", "text/html", "ETag: \"1\"\r\nx-kind: other\r\nX-Not-Asked: 1\r\n"));
    const ToolRun run = http({u"get"_s, u"--json"_s, u"--reply-header"_s, u"X-Kind"_s, url(u"/a"_s)});
    QCOMPARE(run.status, 0);
    bool ok = false;
    const QJsonArray array = jsonArray(run.out, &ok);
    QVERIFY(ok);
    QCOMPARE(array.size(), 1);
    const QJsonObject object = array[0].toObject();
    const QString help = QString::fromUtf8(http({u"--help"_s}).out);
    const QString section = help.mid(help.indexOf(u"\nJSON\n"_s));
    for (const QString& key : object.keys()) {
        QVERIFY2(section.contains(u"\n  "_s + key + u' '), qPrintable(key));
    }
    QCOMPARE(object.size(), 9);
    QCOMPARE(object.value(u"url"_s), QJsonValue(url(u"/a"_s)));
    QCOMPARE(object.value(u"status"_s), QJsonValue(200));
    QCOMPARE(object.value(u"contentType"_s), QJsonValue(u"text/html"_s));
    QCOMPARE(object.value(u"bodyBytes"_s), QJsonValue(5));
    QCOMPARE(object.value(u"body"_s), QJsonValue(u"käse"_s));
    QCOMPARE(object.value(u"file"_s), QJsonValue());
    QCOMPARE(object.value(u"error"_s), QJsonValue());
    const QJsonObject headers = object.value(u"headers"_s).toObject();
    QCOMPARE(headers, QJsonObject({{u"Content-Type"_s, u"text/html"_s},
                                   {u"Content-Length"_s, u"5"_s},
                                   {u"ETag"_s, u"\"1\""_s},
                                   {u"X-Kind"_s, u"other"_s}}));
    mServer->reply(Reply::ok(QByteArray("\xff")));
    const QJsonObject binary =
        jsonArray(http({u"get"_s, u"--json"_s, u"-o"_s, u"new"_s, url()}).out, &ok)[0].toObject();
    QVERIFY(ok);
    QCOMPARE(binary.value(u"body"_s), QJsonValue());
    QCOMPARE(binary.value(u"file"_s), QJsonValue(QString(mFolder + u"/new"_s)));
}

void ToolHttpTest::jsonOfFailures() {
    mServer->reply(Reply::status("404 Not Found", "no"));
    mServer->reply(Reply::raw("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nabc").close());
    bool ok = false;
    const ToolRun missing = http({u"get"_s, u"--json"_s, url()});
    QCOMPARE(missing.status, 1);
    const QJsonObject object = jsonArray(missing.out, &ok)[0].toObject();
    QVERIFY(ok);
    QCOMPARE(object.value(u"status"_s), QJsonValue(404));
    QCOMPARE(object.value(u"error"_s), QJsonValue(u"the server answered 404 (not found)"_s));
    QCOMPARE(object.value(u"body"_s), QJsonValue(u"no"_s));
    const QJsonObject cut = jsonArray(http({u"get"_s, u"--json"_s, url()}).out, &ok)[0].toObject();
    QVERIFY(ok);
    QCOMPARE(cut.value(u"status"_s), QJsonValue());
    QCOMPARE(cut.value(u"contentType"_s), QJsonValue());
    QCOMPARE(cut.value(u"bodyBytes"_s), QJsonValue(3));
}

void ToolHttpTest::interrupted_data() {
    QTest::addColumn<int>("signal");
    QTest::addColumn<QByteArray>("before");
    QTest::newRow("Ctrl-C in the body")
        << SIGINT << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 6\r\n\r\nabc");
    QTest::newRow("Ctrl-C before the reply") << SIGINT << QByteArray();
    QTest::newRow("SIGTERM") << SIGTERM << QByteArray();
}

void ToolHttpTest::interrupted() {
    QFETCH(int, signal);
    QFETCH(QByteArray, before);
    const auto gate = RecordingServer::makeGate();
    mServer->reply(Reply::raw(before).pause(gate));
    Conversation tool(QStringLiteral(VKQT_TOOL), {u"http"_s, u"get"_s, u"-o"_s, u"new"_s, url()}, mFolder);
    QVERIFY(gate->waitUntilReached());
    ::kill(static_cast<pid_t>(tool.pid()), signal);
    QCOMPARE(tool.waitForEnd(), 1);
    QCOMPARE(tool.out(), QByteArray());
    QCOMPARE(tool.err(), sentence(u"/"_s, "cancelled"));
    QCOMPARE(entries(), QStringList());
}

void ToolHttpTest::interruptedWhileItWrites_data() {
    QTest::addColumn<QString>("call");
    QTest::addColumn<QString>("signal");
    QTest::newRow("Ctrl-C while it is stored") << u"fdatasync"_s << u"SIGINT"_s;
    QTest::newRow("SIGTERM while it is stored") << u"fdatasync"_s << u"SIGTERM"_s;
    QTest::newRow("Ctrl-C before it has its name") << u"renameat"_s << u"SIGINT"_s;
    QTest::newRow("a closed terminal before it has its name") << u"fsync"_s << u"SIGHUP"_s;
}

/// The reply is there already: the file is finished, and nothing is left beside it.
void ToolHttpTest::interruptedWhileItWrites() {
    VKTEST_NEEDS(!QStandardPaths::findExecutable(u"strace"_s).isEmpty(), "strace");
    QFETCH(QString, call);
    QFETCH(QString, signal);
    mServer->reply(Reply::ok("content"));
    const QString script =
        u"export ASAN_OPTIONS=detect_leaks=0; exec strace -qq -o trace -e trace=%1 -e inject=%1:signal=%2 "
        "\"$VKQT\" http get -o new %3"_s;
    const ToolRun run = runShell(script.arg(call, signal, url()), mFolder);
    QCOMPARE(run.err, QByteArray());
    QCOMPARE(run.status, 0);
    const QByteArray trace = contentOf(u"trace"_s);
    QVERIFY2(trace.contains(QByteArray("--- " + signal.toUtf8())), trace.constData());
    QCOMPARE(contentOf(u"new"_s), QByteArray("content"));
    QCOMPARE(entries(), QStringList({u"new"_s, u"trace"_s}));
}

void ToolHttpTest::folderThatCannotBeFlushed() {
    VKTEST_NEEDS(!QStandardPaths::findExecutable(u"strace"_s).isEmpty(), "strace");
    mServer->reply(Reply::ok("content"));
    const ToolRun run =
        runShell(u"export ASAN_OPTIONS=detect_leaks=0; exec strace -qq -o /dev/null -e trace=fsync "
                 "-e inject=fsync:error=EIO \"$VKQT\" http get -o new %1"_s.arg(url()),
                 mFolder);
    QCOMPARE(run.err, QByteArray("vkqt http: new: input/output error\n"));
    QCOMPARE(run.status, 1);
    QCOMPARE(entries(), QStringList());
}

void ToolHttpTest::bar() {
    // A terminal of its own; the bar's line is taken away at the end.
    const QString script = u"script -qec '\"$VKQT\" http get %1 -o %2 %3' /dev/null"_s;
    mServer->reply(Reply::ok(QByteArray(2'000'000, 'x')));
    const ToolRun with = runShell(script.arg(u"--progress"_s, u"with"_s, url()), mFolder);
    QCOMPARE(with.status, 0);
    QVERIFY2(with.out.contains("\r\x1b[K["), with.out.constData());
    QVERIFY(with.out.contains(" %"));
    QVERIFY(with.out.contains("\r\x1b[K2.0 MB to "));
    mServer->reply(Reply::ok(QByteArray(2'000'000, 'x')));
    const ToolRun without = runShell(script.arg(u"--no-progress"_s, u"without"_s, url()), mFolder);
    QCOMPARE(without.status, 0);
    QVERIFY(!without.out.contains("\x1b[K"));
}

void ToolHttpTest::verbose_data() {
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    QTest::newRow("behind the command") << u""_s << u"--verbose"_s;
    QTest::newRow("before the command") << u"--verbose"_s << u""_s;
}

void ToolHttpTest::verbose() {
    QFETCH(QString, before);
    QFETCH(QString, after);
    mServer->reply(Reply::ok("the reply\n"));
    const QString script = u"\"$VKQT\" %1 http post %2 --data 'the request' %3"_s;
    const ToolRun run = runShell(script.arg(before, after, url(u"/a"_s)), mFolder);
    QCOMPARE(run.status, 0);
    QCOMPARE(run.out, QByteArray("the reply\n"));
    for (const char* text :
         {"Begin Curl", "POST /a HTTP/1.1", "the request", "HTTP/1.1 200 OK", "the reply", "End Curl"}) {
        QVERIFY2(run.err.contains(text), text);
    }
}

void ToolHttpTest::verboseOnATerminal() {
    mServer->reply(Reply::status("200 OK", "\x1b[2Jbody", "text/plain", "X-A: \x1b]0;title\x07\r\n"));
    const ToolRun run = runShell(
        u"script -qec '\"$VKQT\" http get --verbose --no-progress %1' /dev/null"_s.arg(url()), mFolder);
    QCOMPARE(run.status, 0);
    QVERIFY2(run.out.contains("\r\nX-A: \\e]0;title\\u0007\r\n"), run.out.constData());
    QCOMPARE(run.out.count("\\e[2Jbody"), 2);
    QVERIFY2(!run.out.contains('\x1b') && !run.out.contains('\x07'), run.out.constData());
}

void ToolHttpTest::wrongLines_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("sentence");
    const auto row = [](const char* reason, const QStringList& arguments, const char* sentence) {
        QTest::newRow(reason) << arguments << QByteArray(sentence);
    };
    row("unknown action", {u"got"_s, u"URL"_s},
        "\"got\" is not one of the choices for ACTION: get, post, put, patch, delete, form; did you mean "
        "get?");
    row("no address", {u"get"_s}, "it needs URL");
    row("no scheme", {u"get"_s, u"photos.example"_s}, "\"photos.example\" is no address that begins with");
    row("password in the address", {u"get"_s, u"http://me:secret@x/"_s},
        "user and password do not belong into");
    row("field without form", {u"post"_s, u"URL"_s, u"--field"_s, u"a=b"_s}, "--field goes with form");
    row("file without form", {u"post"_s, u"URL"_s, u"--file"_s, u"a=b"_s}, "--file goes with form");
    row("parts without form", {u"post"_s, u"URL"_s, u"--parts"_s}, "--parts goes with form");
    row("form with data", {u"form"_s, u"URL"_s, u"--data"_s, u"x"_s}, "a form has fields, no --data");
    row("two bodies", {u"post"_s, u"URL"_s, u"--data"_s, u"x"_s, u"--data-file"_s, u"y"_s},
        "--data and --data-file exclude each other");
    row("put of what", {u"put"_s, u"URL"_s}, "put needs --data or --data-file");
    row("overwrite what", {u"get"_s, u"URL"_s, u"--overwrite"_s}, "--overwrite goes with --output");
    row("field without name", {u"form"_s, u"URL"_s, u"--field"_s, u"=b"_s},
        "--field takes NAME=..., not \"=b\"");
    row("field without value", {u"form"_s, u"URL"_s, u"--field"_s, u"a"_s},
        "--field takes NAME=..., not \"a\"");
    row("no header", {u"get"_s, u"URL"_s, u"--header"_s, u"Accept"_s},
        "\"Accept\" is no header line such as \"Accept: text/html\"");
    row("two headers in one", {u"get"_s, u"URL"_s, u"--header"_s, u"A: b\r\nC: d"_s},
        "\"A: b\\r\\nC: d\" is no header line");
    row("empty user", {u"get"_s, u"URL"_s, u"--user="_s}, "--user needs a name");
    row("colon in the user", {u"get"_s, u"URL"_s, u"--user"_s, u"me:secret"_s},
        "a name with a colon cannot be sent");
    row("no time", {u"get"_s, u"URL"_s, u"--connect-timeout"_s, u"0"_s},
        "--connect-timeout takes seconds from 0.001 to 86400, not \"0\"");
    row("less than a moment", {u"get"_s, u"URL"_s, u"--connect-timeout"_s, u"0.0009"_s},
        "--connect-timeout takes seconds");
    row("a long time", {u"get"_s, u"URL"_s, u"--connect-timeout"_s, u"86401"_s},
        "--connect-timeout takes seconds");
    row("no limit", {u"get"_s, u"URL"_s, u"--limit"_s, u"0"_s},
        "--limit takes a number of MiB from 1 to 1048576, not \"0\"");
    row("no such limit", {u"get"_s, u"URL"_s, u"--limit"_s, u"1048577"_s}, "--limit takes a number of MiB");
    row("half a limit", {u"get"_s, u"URL"_s, u"--limit"_s, u"0.5"_s}, "--limit takes a number of MiB");
    row("no such port", {u"get"_s, u"http://127.0.0.1:99999/"_s},
        "\"http://127.0.0.1:99999/\" is malformed as an address");
    row("not a time", {u"get"_s, u"URL"_s, u"--connect-timeout"_s, u"nan"_s},
        "--connect-timeout takes seconds");
}

void ToolHttpTest::wrongLines() {
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, sentence);
    arguments.replaceInStrings(u"URL"_s, url());
    const ToolRun run = http(arguments);
    QCOMPARE(run.status, 2);
    QCOMPARE(run.out, QByteArray());
    QVERIFY2(run.err.startsWith(QByteArray("vkqt http: " + sentence)), run.err.constData());
    QCOMPARE(mServer->connections(), 0);
}

void ToolHttpTest::missingFiles_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("sentence");
    const auto row = [](const char* reason, const QStringList& arguments, const char* sentence) {
        QTest::newRow(reason) << arguments << QByteArray(sentence);
    };
    row("post", {u"post"_s, u"--data-file"_s, u"none"_s}, "none: no such file or folder");
    row("put", {u"put"_s, u"--data-file"_s, u"none"_s}, "none: no such file or folder");
    row("form", {u"form"_s, u"--file"_s, u"a=none"_s}, "none: no such file or folder");
    row("put of a folder", {u"put"_s, u"--data-file"_s, u"."_s}, ".: is a folder");
    row("put of a fifo", {u"put"_s, u"--data-file"_s, u"fifo"_s}, "fifo: operation not supported");
    row("post of a fifo", {u"post"_s, u"--data-file"_s, u"fifo"_s}, "fifo: operation not supported");
}

void ToolHttpTest::missingFiles() {
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, sentence);
    QCOMPARE(::mkfifo(QFile::encodeName(mFolder + u"/fifo"_s).constData(), 0600), 0);
    const ToolRun run = http(arguments + QStringList(url()));
    QCOMPARE(run.status, 1);
    QCOMPARE(run.err, "vkqt http: " + sentence + '\n');
    QCOMPARE(mServer->connections(), 0);
}

VKTEST_MAIN(ToolHttpTest)
#include "ToolHttpTest.moc"
