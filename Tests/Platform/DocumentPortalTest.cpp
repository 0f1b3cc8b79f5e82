// Tokens of the document portal as texts and paths, and what its folder says, played by a plain one.
#include "Platform/DocumentPortal.h"
#include "Support/DiskSupport.h"
#include "Support/VKTest.h"

#include <cerrno>

using namespace VKPlatform;

class DocumentPortalTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void tokens_data();
    void tokens();
    void noTokens_data();
    void noTokens();
    void identifiersAreBounded_data();
    void identifiersAreBounded();
    void paths_data();
    void paths();
    void hostPaths_data();
    void hostPaths();
    void refusals_data();
    void refusals();
    void documentFolders_data();
    void documentFolders();
    void grants();
    void withoutABus();
};

void DocumentPortalTest::tokens_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("id");
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("plain") << QByteArray("portal:1:9c3e:a.jpg") << QByteArray("9c3e") << QByteArray("a.jpg");
    QTest::newRow("blank") << QByteArray("portal:1:9c3e:a%20b.jpg") << QByteArray("9c3e")
                           << QByteArray("a b.jpg");
    QTest::newRow("below a folder") << QByteArray("portal:1:9c3e:Photos%2Fa.jpg") << QByteArray("9c3e")
                                    << QByteArray("Photos/a.jpg");
    QTest::newRow("not UTF-8") << QByteArray("portal:1:9c3e:%E9") << QByteArray("9c3e") << QByteArray("\xe9");
    QTest::newRow("a percent and a colon")
        << QByteArray("portal:1:a-B_9:%25%3A") << QByteArray("a-B_9") << QByteArray("%:");
    QTest::newRow("dots in names") << QByteArray("portal:1:9c3e:...%2F.a") << QByteArray("9c3e")
                                   << QByteArray(".../.a");
}

void DocumentPortalTest::tokens() {
    QFETCH(const QByteArray, text);
    QFETCH(const QByteArray, id);
    QFETCH(const QByteArray, name);
    const std::optional<DocumentToken> token = parseDocumentToken(text);
    QVERIFY(token);
    QCOMPARE(token->id, id);
    QCOMPARE(token->name, name);
    QCOMPARE(documentTokenText(*token), text);
    const QByteArray path = pathOfDocument(*token, "/run/user/1/doc");
    QCOMPARE(path, QByteArray("/run/user/1/doc/" + id + '/' + name));
    QVERIFY(documentTokenOf(path, "/run/user/1/doc") == token);
}

void DocumentPortalTest::noTokens_data() {
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("empty") << QByteArray();
    QTest::newRow("another version") << QByteArray("portal:2:9c3e:a");
    QTest::newRow("another word") << QByteArray("Portal:1:9c3e:a");
    QTest::newRow("no name") << QByteArray("portal:1:9c3e");
    QTest::newRow("an empty name") << QByteArray("portal:1:9c3e:");
    QTest::newRow("an empty identifier") << QByteArray("portal:1::a");
    QTest::newRow("out of the document") << QByteArray("portal:1:9c3e:..%2Fa");
    QTest::newRow("out of it later") << QByteArray("portal:1:9c3e:a%2F..%2F..%2Fb");
    QTest::newRow("the parent") << QByteArray("portal:1:9c3e:..");
    QTest::newRow("itself") << QByteArray("portal:1:9c3e:.");
    QTest::newRow("absolute") << QByteArray("portal:1:9c3e:%2Fetc");
    QTest::newRow("two slashes") << QByteArray("portal:1:9c3e:a%2F%2Fb");
    QTest::newRow("a slash at the end") << QByteArray("portal:1:9c3e:a%2F");
    QTest::newRow("a slash in the identifier") << QByteArray("portal:1:../..:a");
    QTest::newRow("dots as identifier") << QByteArray("portal:1:..:a");
    QTest::newRow("all applications as identifier") << QByteArray("portal:1:by-app:a");
    QTest::newRow("a NUL") << QByteArray("portal:1:9c3e:a%00");
    QTest::newRow("another spelling") << QByteArray("portal:1:9c3e:%61");
    QTest::newRow("small hexadecimal digits") << QByteArray("portal:1:9c3e:%e9");
    QTest::newRow("unescaped") << QByteArray("portal:1:9c3e:a b");
    QTest::newRow("cut") << QByteArray("portal:1:9c3e:a%2");
}

void DocumentPortalTest::noTokens() {
    QFETCH(const QByteArray, text);
    QVERIFY(!parseDocumentToken(text));
}

void DocumentPortalTest::identifiersAreBounded_data() {
    QTest::addColumn<int>("over");
    QTest::newRow("limit - 1") << -1;
    QTest::newRow("limit") << 0;
    QTest::newRow("limit + 1") << 1;
}

void DocumentPortalTest::identifiersAreBounded() {
    QFETCH(const int, over);
    const QByteArray id(kMostDocumentIdBytes + over, '9');
    QCOMPARE(parseDocumentToken(QByteArray("portal:1:" + id + ":a")).has_value(), over <= 0);
    QCOMPARE(documentTokenOf(QByteArray("/doc/" + id + "/a"), "/doc").has_value(), over <= 0);
}

void DocumentPortalTest::paths_data() {
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("token");
    const QByteArray token("portal:1:9c3e:a.jpg");
    QTest::newRow("item") << QByteArray("/run/user/1/doc/9c3e/a.jpg") << token;
    QTest::newRow("as the host sees an application's")
        << QByteArray("/run/user/1/doc/by-app/org.a.B/9c3e/a.jpg") << token;
    QTest::newRow("item below") << QByteArray("/run/user/1/doc/9c3e/P/a.jpg")
                                << QByteArray("portal:1:9c3e:P%2Fa.jpg");
    QTest::newRow("document") << QByteArray("/run/user/1/doc/9c3e") << QByteArray();
    QTest::newRow("document, with a slash") << QByteArray("/run/user/1/doc/9c3e/") << QByteArray();
    QTest::newRow("the folder") << QByteArray("/run/user/1/doc") << QByteArray();
    QTest::newRow("an application's folder") << QByteArray("/run/user/1/doc/by-app/org.a.B") << QByteArray();
    QTest::newRow("an application's document")
        << QByteArray("/run/user/1/doc/by-app/org.a.B/9c3e") << QByteArray();
    QTest::newRow("a longer name") << QByteArray("/run/user/1/docs/9c3e/a.jpg") << QByteArray();
    QTest::newRow("elsewhere") << QByteArray("/home/anna/9c3e/a.jpg") << QByteArray();
    QTest::newRow("out again") << QByteArray("/run/user/1/doc/9c3e/../a.jpg") << QByteArray();
}

void DocumentPortalTest::paths() {
    QFETCH(const QByteArray, path);
    const std::optional<DocumentToken> token = documentTokenOf(path, "/run/user/1/doc");
    QTEST(token ? documentTokenText(*token) : QByteArray(), "token");
    QVERIFY(!documentTokenOf(path, ""));
}

void DocumentPortalTest::hostPaths_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<QByteArray>("path");
    QTest::newRow("file") << QByteArray("a.jpg") << QByteArray("/home/anna/a.jpg")
                          << QByteArray("/home/anna/a.jpg");
    QTest::newRow("at the root") << QByteArray("a.jpg") << QByteArray("/a.jpg") << QByteArray("/a.jpg");
    QTest::newRow("below a folder") << QByteArray("P/2026/a.jpg") << QByteArray("/home/anna/P")
                                    << QByteArray("/home/anna/P/2026/a.jpg");
    QTest::newRow("another name") << QByteArray("a.jpg") << QByteArray("/home/anna/b.jpg") << QByteArray();
    QTest::newRow("relative") << QByteArray("a.jpg") << QByteArray("a.jpg") << QByteArray();
    QTest::newRow("nothing") << QByteArray("a.jpg") << QByteArray() << QByteArray();
    QTest::newRow("a NUL") << QByteArray("a.jpg") << QByteArray("/b\0/a.jpg", 9) << QByteArray();
    QTest::newRow("a slash at the end") << QByteArray("a.jpg") << QByteArray("/a.jpg/") << QByteArray();
}

void DocumentPortalTest::hostPaths() {
    QFETCH(const QByteArray, name);
    QFETCH(const QByteArray, document);
    QTEST(hostPath({"9c3e", name}, document), "path");
}

void DocumentPortalTest::refusals_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<int>("error");
    QTest::newRow("not allowed") << QByteArray("org.freedesktop.portal.Error.NotAllowed") << EACCES;
    QTest::newRow("invalid") << QByteArray("org.freedesktop.portal.Error.InvalidArgument") << EINVAL;
    QTest::newRow("not found") << QByteArray("org.freedesktop.portal.Error.NotFound") << ENOENT;
    QTest::newRow("no portal") << QByteArray("org.freedesktop.DBus.Error.ServiceUnknown") << ENOTCONN;
    QTest::newRow("no answer") << QByteArray("org.freedesktop.DBus.Error.NoReply") << ETIMEDOUT;
    QTest::newRow("anything else") << QByteArray("org.freedesktop.DBus.Error.Failed") << EIO;
    QTest::newRow("nothing") << QByteArray() << EIO;
}

void DocumentPortalTest::refusals() {
    QFETCH(const QByteArray, name);
    QTEST(errorOfDocumentPortal(name), "error");
}

void DocumentPortalTest::documentFolders_data() {
    QTest::addColumn<QByteArray>("runtime");
    QTest::addColumn<QByteArray>("folder");
    const QByteArray standard = "/run/user/" + QByteArray::number(::getuid()) + "/doc";
    QTest::newRow("as said") << QByteArray("/tmp/run") << QByteArray("/tmp/run/doc");
    QTest::newRow("slashes at the end") << QByteArray("/tmp/run//") << QByteArray("/tmp/run/doc");
    QTest::newRow("relative") << QByteArray("run") << standard;
    QTest::newRow("nothing said") << QByteArray() << standard;
}

void DocumentPortalTest::documentFolders() {
    QFETCH(const QByteArray, runtime);
    const QByteArray before = qgetenv("XDG_RUNTIME_DIR");
    qputenv("XDG_RUNTIME_DIR", runtime);
    const QByteArray folder = documentFolder();
    qputenv("XDG_RUNTIME_DIR", before);
    QTEST(folder, "folder");
}

void DocumentPortalTest::grants() {
    const QByteArray folder = makeFolder().toUtf8();
    const DocumentToken token{"9c3e", "a.jpg"};
    QVERIFY(grantOf(token, folder) == Grant::IsLost);
    Disk::makeFolder(folder + "/9c3e");
    QVERIFY(grantOf(token, folder) == Grant::ItemIsGone);
    Disk::makeFile(folder + "/9c3e/a.jpg");
    QVERIFY(grantOf(token, folder) == Grant::Stands);
    QVERIFY(grantOf(token, folder + "/nowhere") == Grant::IsLost);
}

void DocumentPortalTest::withoutABus() {
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere/at/all");
    const QByteArray path = makeFolder().toUtf8() + "/a.jpg";
    DocumentToken token;
    QCOMPARE(grantDocument(path, "org.example.Photo", DocumentRights::Read, token), ENOENT);
    Disk::makeFile(path);
    QCOMPARE(grantDocument(path, "org.example.Photo", DocumentRights::Read, token), ENOTCONN);
    QCOMPARE(revokeDocument({"9c3e", "a.jpg"}, "org.example.Photo"), ENOTCONN);
    QByteArray onHost;
    QCOMPARE(hostPathOfDocument({"9c3e", "a.jpg"}, onHost), ENOTCONN);
    QVERIFY(onHost.isEmpty());
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
}

VKTEST_MAIN(DocumentPortalTest)
#include "DocumentPortalTest.moc"
