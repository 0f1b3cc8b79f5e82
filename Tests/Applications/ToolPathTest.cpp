// vkqt path, run as a process: what it takes apart, in both forms, and what decides about the folder flag.
#include "ToolRunner.h"

#include "Support/VKTest.h"

#include <QJsonObject>

using namespace Qt::StringLiterals;

class ToolPathTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase() { removeAll(scratchFolder()); }
    void json_data();
    void json();
    void everyDocumentedKey();
    void folderFlag_data();
    void folderFlag();
    void existence_data();
    void existence();
    void nameIsFoundUnderItsSpelling();
    void undecodableArgument();
    void forPeople();
    void severalTexts();
    void hostileName();

private:
    QString mFolder;
};

void ToolPathTest::initTestCase() {
    mFolder = makeFolder(u"paths"_s);
    QVERIFY(makeItem(mFolder, "real.jpg", 1500));
    QVERIFY(makeItem(mFolder, "sub", -1));
    QVERIFY(makeItem(mFolder, "Cafe\xcc\x81.jpg", 3));
    QVERIFY(makeItem(mFolder, "lat\xe9.jpg", 3));
    QVERIFY(QFile::link(u"sub"_s, mFolder + u"/link"_s));
    QVERIFY(QFile::link(u"nowhere"_s, mFolder + u"/dangling"_s));
}

void ToolPathTest::json_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QJsonObject>("expected");
    QTest::newRow("photo") << QStringList(u"/photos/2026/IMG_1.JPG"_s)
                           << QJsonObject{{u"path"_s, u"/photos/2026/IMG_1.JPG"_s},
                                          {u"folder"_s, false},
                                          {u"kind"_s, u"photo"_s},
                                          {u"formats"_s, QJsonArray{u"JPEG"_s}},
                                          {u"fileName"_s, u"IMG_1.JPG"_s},
                                          {u"baseName"_s, u"IMG_1"_s},
                                          {u"suffix"_s, u"jpg"_s},
                                          {u"container"_s, u"/photos/2026"_s},
                                          {u"components"_s,
                                           QJsonArray{u"/"_s, u"photos"_s, u"2026"_s, u"IMG_1.JPG"_s}},
                                          {u"parents"_s, QJsonArray{u"/"_s, u"/photos"_s, u"/photos/2026"_s}},
                                          {u"native"_s, u"/photos/2026/IMG_1.JPG"_s},
                                          {u"url"_s, u"file:///photos/2026/IMG_1.JPG"_s},
                                          {u"exists"_s, false},
                                          {u"unc"_s, false},
                                          {u"resource"_s, false},
                                          {u"network"_s, false}};
    QTest::newRow("written on another system")
        << QStringList{u"--folder"_s, u"C:\\Photos\\2026"_s}
        << QJsonObject{{u"text"_s, u"C:\\Photos\\2026"_s},
                       {u"path"_s, u"C:/Photos/2026"_s},
                       {u"folder"_s, true},
                       {u"kind"_s, u"folder"_s},
                       {u"parents"_s, QJsonArray{u"C:/"_s, u"C:/Photos"_s, u"C:/Photos/2026"_s}}};
    QTest::newRow("drive") << QStringList{u"--folder"_s, u"C:"_s}
                           << QJsonObject{{u"path"_s, u"C:/"_s}, {u"container"_s, u""_s}};
    QTest::newRow("network share") << QStringList(u"//srv/share/clip.MOV"_s)
                                   << QJsonObject{
                                          {u"unc"_s, true}, {u"kind"_s, u"video"_s}, {u"suffix"_s, u"mov"_s}};
    QTest::newRow("resource") << QStringList(u":/icons/a.png"_s)
                              << QJsonObject{{u"resource"_s, true}, {u"formats"_s, QJsonArray{u"PNG"_s}}};
    QTest::newRow("decomposed text") << QStringList(u"/x/Cafe\u0301"_s)
                                     << QJsonObject{{u"path"_s, u"/x/Café"_s},
                                                    {u"text"_s, u"/x/Cafe\u0301"_s}};
    QTest::newRow("root") << QStringList(u"/"_s)
                          << QJsonObject{{u"path"_s, u"/"_s},     {u"folder"_s, true},
                                         {u"container"_s, u""_s}, {u"fileName"_s, u""_s},
                                         {u"exists"_s, true},     {u"url"_s, u"file:///"_s}};
    QTest::newRow("empty") << QStringList(u""_s)
                           << QJsonObject{{u"path"_s, u""_s},
                                          {u"url"_s, QJsonValue::Null},
                                          {u"exists"_s, false},
                                          {u"components"_s, QJsonArray()}};
    QTest::newRow("space and percent sign in the URL")
        << QStringList(u"/a b/%41.dng"_s)
        << QJsonObject{{u"url"_s, u"file:///a%20b/%2541.dng"_s}, {u"formats"_s, QJsonArray{u"DNG"_s}}};
    QTest::newRow("text behind two dashes")
        << QStringList{u"--"_s, u"--json"_s} << QJsonObject{{u"path"_s, u"--json"_s}};
}

void ToolPathTest::json() {
    QFETCH(QStringList, arguments);
    QFETCH(QJsonObject, expected);
    const ToolRun run = runVkqt(QStringList{u"path"_s, u"--json"_s} + arguments, mFolder);
    QCOMPARE(run.status, 0);
    QCOMPARE(run.err, QByteArray());
    bool ok = false;
    const QJsonArray array = jsonArray(run.out, &ok);
    QVERIFY(ok);
    QCOMPARE(array.size(), 1);
    const QJsonObject object = array.first().toObject();
    for (auto member = expected.begin(); member != expected.end(); ++member) {
        QCOMPARE(object.value(member.key()), member.value());
    }
}

void ToolPathTest::everyDocumentedKey() {
    const ToolRun run = runVkqt({u"path"_s, u"--json"_s, u"/a"_s});
    bool ok = false;
    const QStringList keys = jsonArray(run.out, &ok).first().toObject().keys();
    QVERIFY(ok);
    const QString help = QString::fromUtf8(runVkqt({u"path"_s, u"--help"_s}).out);
    const QString section = help.mid(help.indexOf(u"\nJSON\n"_s));
    QCOMPARE(keys.size(), 18);
    for (const QString& key : keys) {
        QVERIFY2(section.contains(u"\n  "_s + key + u' '), qPrintable(key));
    }
}

void ToolPathTest::folderFlag_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<bool>("folder");
    QTest::newRow("nothing there") << QStringList(u"/no/such"_s) << false;
    QTest::newRow("nothing there, slash") << QStringList(u"/no/such/"_s) << true;
    QTest::newRow("nothing there, backslash") << QStringList(u"C:\\x\\"_s) << true;
    QTest::newRow("folder on disk") << QStringList(u"sub"_s) << true;
    QTest::newRow("link to a folder") << QStringList(u"link"_s) << true;
    QTest::newRow("dangling link") << QStringList(u"dangling"_s) << false;
    QTest::newRow("file on disk") << QStringList(u"real.jpg"_s) << false;
    QTest::newRow("forced folder") << QStringList{u"--folder"_s, u"real.jpg"_s} << true;
    QTest::newRow("forced file") << QStringList{u"--file"_s, u"sub"_s} << false;
    QTest::newRow("forced file, slash") << QStringList{u"--file"_s, u"sub/"_s} << false;
}

void ToolPathTest::folderFlag() {
    QFETCH(QStringList, arguments);
    QFETCH(bool, folder);
    const ToolRun run = runVkqt(QStringList{u"path"_s, u"--json"_s} + arguments, mFolder);
    bool ok = false;
    const QJsonObject object = jsonArray(run.out, &ok).first().toObject();
    QVERIFY(ok);
    QCOMPARE(object.value(u"folder"_s), QJsonValue(folder));
    QCOMPARE(object.value(u"url"_s).toString().endsWith(u'/'), folder);
}

void ToolPathTest::existence_data() {
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("exists");
    QTest::addColumn<bool>("link");
    QTest::addColumn<QString>("words");
    QTest::newRow("file") << u"real.jpg"_s << true << false << u"a file of 1.5 kB"_s;
    QTest::newRow("folder") << u"sub"_s << true << false << u"a folder"_s;
    QTest::newRow("link") << u"link"_s << true << true << u"a link to a folder"_s;
    QTest::newRow("dangling link") << u"dangling"_s << true << true << u"a link to nothing"_s;
    QTest::newRow("nothing") << u"none.jpg"_s << false << false << u"no such file or folder"_s;
    QTest::newRow("below a file") << u"real.jpg/x"_s << false << false << u"not a folder"_s;
    QTest::newRow("empty") << u""_s << false << false << u"not a path"_s;
}

void ToolPathTest::existence() {
    QFETCH(QString, text);
    QFETCH(bool, exists);
    QFETCH(bool, link);
    QFETCH(QString, words);
    bool ok = false;
    const QJsonObject object =
        jsonArray(runVkqt({u"path"_s, u"--json"_s, text}, mFolder).out, &ok).first().toObject();
    QVERIFY(ok);
    QCOMPARE(object.value(u"exists"_s), QJsonValue(exists));
    QCOMPARE(object.value(u"link"_s), QJsonValue(link));
    const ToolRun run = runVkqt({u"path"_s, text}, mFolder);
    QCOMPARE(run.status, 0);
    QVERIFY2(run.out.contains(QByteArray("\n  on disk      " + words.toUtf8() + '\n')), run.out.constData());
}

void ToolPathTest::nameIsFoundUnderItsSpelling() {
    for (const QString& text : {u"Café.jpg"_s, u"Cafe\u0301.jpg"_s}) {
        bool ok = false;
        const QJsonObject object =
            jsonArray(runVkqt({u"path"_s, u"--json"_s, text}, mFolder).out, &ok).first().toObject();
        QVERIFY(ok);
        QCOMPARE(object.value(u"exists"_s), QJsonValue(true));
        QCOMPARE(object.value(u"path"_s), QJsonValue(u"Café.jpg"_s));
        QVERIFY(object.value(u"url"_s).toString().endsWith(u"/Cafe%CC%81.jpg"_s));
    }
}

void ToolPathTest::undecodableArgument() {
    for (const QString& argument : {u"$'lat\\xe9.jpg'"_s, u"$'lat\\xef\\xbf\\xbd.jpg'"_s}) {
        const ToolRun run = runShell(u"exec \"$VKQT\" path --json "_s + argument, mFolder);
        QCOMPARE(run.status, 0);
        bool ok = false;
        const QJsonObject object = jsonArray(run.out, &ok).first().toObject();
        QVERIFY(ok);
        QCOMPARE(object.value(u"text"_s), QJsonValue(u"lat\ufffd.jpg"_s));
        QCOMPARE(object.value(u"exists"_s), QJsonValue(true));
        QVERIFY(object.value(u"url"_s).toString().endsWith(u"/lat%E9.jpg"_s));
    }
}

void ToolPathTest::forPeople() {
    const ToolRun run = runVkqt({u"path"_s, u"/photos/Café am See.jpg"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(QString::fromUtf8(run.out), u"/photos/Café am See.jpg\n"
                                         "  kind         photo, JPEG\n"
                                         "  on disk      no such file or folder\n"
                                         "  file name    Café am See.jpg\n"
                                         "  base name    Café am See\n"
                                         "  suffix       jpg\n"
                                         "  container    /photos\n"
                                         "  components   / | photos | Café am See.jpg\n"
                                         "  parents      / | /photos\n"
                                         "  native form  /photos/Café am See.jpg\n"
                                         "  file URL     file:///photos/Caf%C3%A9%20am%20See.jpg\n"_s);
}

void ToolPathTest::severalTexts() {
    const ToolRun run = runVkqt({u"path"_s, u"--json"_s, u"/b"_s, u"/a"_s, u"/b"_s});
    bool ok = false;
    QCOMPARE(members(jsonArray(run.out, &ok), u"path"_s), QStringList({u"/b"_s, u"/a"_s, u"/b"_s}));
    QVERIFY(ok);
    QVERIFY(runVkqt({u"path"_s, u"/b"_s, u"/a"_s}).out.contains("\n\n/a\n"));
}

void ToolPathTest::hostileName() {
    const QString name = u"/x/\x1b]0;evil\a\n"_s + QChar(0x202e) + u"gpj.jpg"_s;
    const ToolRun run = runVkqt({u"path"_s, name});
    QCOMPARE(run.status, 0);
    QVERIFY(!run.out.contains('\x1b'));
    QVERIFY(!run.out.contains('\a'));
    QVERIFY(!QString::fromUtf8(run.out).contains(QChar(0x202e)));
    QVERIFY(run.out.contains("/x/\\e]0;evil\\u0007\\n\\u202egpj.jpg\n"));
}

VKTEST_MAIN(ToolPathTest)
#include "ToolPathTest.moc"
