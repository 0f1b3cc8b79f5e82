// vkqt bookmark, run as a process: a file of bookmarks made, looked at, resolved, checked and renewed.
#include "ToolRunner.h"

#include "Support/VKTest.h"

#include <QDir>
#include <QFile>
#include <QJsonObject>

using namespace Qt::StringLiterals;

class ToolBookmarkTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanupTestCase() { removeAll(scratchFolder()); }
    void createsAndLists();
    void createsMore();
    void createKeepsWhatItCan();
    void shows();
    void resolvesWhatWasRenamed();
    void resolvesByNumber();
    void pathsAreBytes();
    void updates();
    void checks();
    void pathAlone();
    void oneBookmarkAlone();
    void foreignContent_data();
    void foreignContent();
    void keysOfOthersStay();
    void wrongUse_data();
    void wrongUse();
    void everyDocumentedKey();
    void severalAtOnce();
    void hostileName();

private:
    [[nodiscard]] ToolRun bookmark(const QStringList& arguments) const {
        return runVkqt(QStringList(u"bookmark"_s) + arguments, mFolder);
    }
    [[nodiscard]] QJsonArray json(const QStringList& arguments) const {
        bool ok = false;
        return jsonArray(bookmark(arguments + QStringList(u"--json"_s)).out, &ok);
    }
    [[nodiscard]] QByteArray content(const QString& name) const {
        QFile file(mFolder + u'/' + name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    void write(const QString& name, const QByteArray& bytes) const {
        QFile file(mFolder + u'/' + name);
        QVERIFY(file.open(QIODevice::WriteOnly));
        QCOMPARE(file.write(bytes), bytes.size());
    }

    QString mFolder;
};

void ToolBookmarkTest::init() {
    VKTest::init();
    mFolder = makeFolder(u"bookmarks"_s);
    QVERIFY(makeItem(mFolder, "Trip", -1));
    QVERIFY(makeItem(mFolder, "Trip/a.jpg", 3));
}

void ToolBookmarkTest::createsAndLists() {
    const ToolRun made = bookmark({u"create"_s, u"b.plist"_s, u"Trip"_s, u"Trip/a.jpg"_s});
    QCOMPARE(made.err, QByteArray());
    QCOMPARE(made.status, 0);
    const QByteArray folder = mFolder.toUtf8();
    const QByteArray table = "NUMBER  KIND    PATH\n     1  folder  " + folder + "/Trip\n     2  file    " +
                             folder + "/Trip/a.jpg\n";
    QCOMPARE(made.out, table);
    QCOMPARE(bookmark({u"list"_s, u"b.plist"_s}).out, table);
    const QJsonArray array = json({u"list"_s, u"b.plist"_s});
    QCOMPARE(array.size(), 2);
    const QJsonObject first = array.first().toObject();
    QCOMPARE(first.value(u"number"_s), QJsonValue(1));
    QCOMPARE(first.value(u"path"_s), QJsonValue(mFolder + u"/Trip"_s));
    QCOMPARE(first.value(u"folder"_s), QJsonValue(true));
    QCOMPARE(first.value(u"refcon"_s), QJsonValue(1));
    QCOMPARE(first.value(u"removed"_s), QJsonValue(false));
    QVERIFY(first.value(u"dataBytes"_s).toInt() > 0);
    QCOMPARE(array.last().toObject().value(u"folder"_s), QJsonValue(false));
    QCOMPARE(QDir(mFolder).entryList(QDir::Files | QDir::Hidden), QStringList(u"b.plist"_s)); // no debris
}

void ToolBookmarkTest::createsMore() {
    QCOMPARE(bookmark({u"create"_s, u"b.plist"_s, u"Trip"_s}).status, 0);
    const QJsonArray made = json({u"create"_s, u"b.plist"_s, u"Trip/a.jpg"_s});
    QCOMPARE(made.size(), 1);
    QCOMPARE(made.first().toObject().value(u"number"_s), QJsonValue(2));
    QCOMPARE(json({u"list"_s, u"b.plist"_s}).size(), 2);
}

void ToolBookmarkTest::createKeepsWhatItCan() {
    const ToolRun run = bookmark({u"create"_s, u"b.plist"_s, u"none.jpg"_s, u"Trip"_s});
    QCOMPARE(run.status, 1);
    QCOMPARE(run.err, QByteArray("vkqt bookmark: none.jpg: no such file or folder\n"));
    QCOMPARE(json({u"list"_s, u"b.plist"_s}).size(), 1);
    // An empty text is not the working folder.
    const ToolRun empty = bookmark({u"create"_s, u"b.plist"_s, u""_s});
    QCOMPARE(empty.status, 1);
    QCOMPARE(empty.err, QByteArray("vkqt bookmark: \"\": not a path\n"));
    QCOMPARE(bookmark({u"create"_s, u""_s, u"Trip"_s}).status, 1);
    // Nothing made, nothing written.
    QCOMPARE(bookmark({u"create"_s, u"c.plist"_s, u"none.jpg"_s}).status, 1);
    QVERIFY(!QFile::exists(mFolder + u"/c.plist"_s));
}

void ToolBookmarkTest::shows() {
    QCOMPARE(bookmark({u"create"_s, u"b.plist"_s, u"Trip"_s, u"Trip/a.jpg"_s}).status, 0);
    const qint64 bytes = json({u"list"_s, u"b.plist"_s}).last().toObject().value(u"dataBytes"_s).toInteger();
    const ToolRun run = bookmark({u"show"_s, u"b.plist"_s, u"2"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(QString::fromUtf8(run.out), QString(mFolder +
                                                 u"/Trip/a.jpg\n"
                                                 "  number    2\n"
                                                 "  kind      file\n"
                                                 "  data      "_s +
                                                 QString::number(bytes) +
                                                 u" bytes\n"
                                                 "  refcon    2\n"
                                                 "  removed   no\n"_s));
}

void ToolBookmarkTest::resolvesWhatWasRenamed() {
    QCOMPARE(bookmark({u"create"_s, u"b.plist"_s, u"Trip"_s, u"Trip/a.jpg"_s}).status, 0);
    ToolRun run = bookmark({u"resolve"_s, u"b.plist"_s});
    QCOMPARE(run.status, 0);
    QVERIFY(run.out.contains(QByteArray("\n     1  in place  " + mFolder.toUtf8() + "/Trip\n")));
    QVERIFY(QDir(mFolder).rename(u"Trip"_s, u"Journey"_s));
    run = bookmark({u"resolve"_s, u"b.plist"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.err, QByteArray());
    QVERIFY2(run.out.contains(QByteArray("\n     1  moved  " + mFolder.toUtf8() + "/Journey\n")),
             run.out.constData());
    QVERIFY(run.out.contains(QByteArray("\n     2  moved  " + mFolder.toUtf8() + "/Journey/a.jpg\n")));
    const QJsonObject object = json({u"resolve"_s, u"b.plist"_s, u"1"_s}).first().toObject();
    QCOMPARE(object.value(u"path"_s), QJsonValue(mFolder + u"/Trip"_s));
    QCOMPARE(object.value(u"now"_s), QJsonValue(mFolder + u"/Journey"_s));
    QCOMPARE(object.value(u"stale"_s), QJsonValue(true));
    QCOMPARE(object.value(u"problem"_s), QJsonValue(QJsonValue::Null));
}

void ToolBookmarkTest::resolvesByNumber() {
    QCOMPARE(bookmark({u"create"_s, u"b.plist"_s, u"Trip"_s, u"Trip/a.jpg"_s}).status, 0);
    const QJsonArray array = json({u"resolve"_s, u"b.plist"_s, u"2"_s, u"1"_s});
    QCOMPARE(members(array, u"now"_s), QStringList({mFolder + u"/Trip/a.jpg"_s, mFolder + u"/Trip"_s}));
    const ToolRun run = bookmark({u"resolve"_s, u"--paths"_s, u"b.plist"_s, u"3"_s, u"1"_s, u"0"_s});
    QCOMPARE(run.status, 1);
    QCOMPARE(run.out, mFolder.toUtf8() + "/Trip\n");
    QVERIFY(run.err.startsWith("vkqt bookmark: 3: "));
    QVERIFY(run.err.contains("\nvkqt bookmark: 0: "));
}

void ToolBookmarkTest::pathsAreBytes() {
    QVERIFY(makeItem(mFolder, "lat\xe9.jpg", 3));
    QVERIFY(makeItem(mFolder, "Cafe\xcc\x81.jpg", 3));
    const ToolRun made =
        runShell(u"exec \"$VKQT\" bookmark create b.plist $'lat\\xe9.jpg' $'Caf\\xc3\\xa9.jpg'"_s, mFolder);
    QCOMPARE(made.status, 0);
    const QByteArray folder = mFolder.toUtf8();
    QCOMPARE(bookmark({u"resolve"_s, u"--paths"_s, u"b.plist"_s}).out,
             folder + "/lat\xe9.jpg\n" + folder + "/Cafe\xcc\x81.jpg\n");
}

void ToolBookmarkTest::updates() {
    QCOMPARE(bookmark({u"create"_s, u"b.plist"_s, u"Trip"_s, u"Trip/a.jpg"_s}).status, 0);
    const QByteArray before = content(u"b.plist"_s);
    QCOMPARE(bookmark({u"resolve"_s, u"--update"_s, u"b.plist"_s}).status, 0);
    QCOMPARE(content(u"b.plist"_s), before); // nothing was stale
    QVERIFY(QDir(mFolder).rename(u"Trip"_s, u"Journey"_s));
    QCOMPARE(bookmark({u"resolve"_s, u"--update"_s, u"b.plist"_s, u"1"_s}).status, 0);
    const QJsonArray array = json({u"resolve"_s, u"b.plist"_s});
    QCOMPARE(array.first().toObject().value(u"path"_s), QJsonValue(mFolder + u"/Journey"_s));
    QCOMPARE(array.first().toObject().value(u"stale"_s), QJsonValue(false));
    QCOMPARE(array.first().toObject().value(u"refcon"_s), QJsonValue(1));
    QCOMPARE(array.last().toObject().value(u"stale"_s), QJsonValue(true)); // was not asked for
}

void ToolBookmarkTest::checks() {
    QCOMPARE(bookmark({u"create"_s, u"b.plist"_s, u"Trip"_s, u"Trip/a.jpg"_s}).status, 0);
    ToolRun run = bookmark({u"check"_s, u"b.plist"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(json({u"check"_s, u"b.plist"_s}).first().toObject().value(u"reachable"_s), QJsonValue(true));
    QVERIFY(QFile::remove(mFolder + u"/Trip/a.jpg"_s));
    run = bookmark({u"check"_s, u"b.plist"_s});
    QCOMPARE(run.status, 1);
    QVERIFY(run.err.startsWith(QByteArray("vkqt bookmark: " + mFolder.toUtf8() + "/Trip/a.jpg: ")));
    QVERIFY(run.out.contains("\n     1  in place"));
    const QJsonObject object = json({u"check"_s, u"b.plist"_s, u"2"_s}).first().toObject();
    QCOMPARE(object.value(u"reachable"_s), QJsonValue(false));
    QCOMPARE(object.value(u"now"_s), QJsonValue(QJsonValue::Null));
    QVERIFY(!object.value(u"problem"_s).toString().isEmpty());
}

void ToolBookmarkTest::pathAlone() {
    write(u"b.plist"_s, "<plist version=\"1.0\"><array><dict><key>name</key><string>" + mFolder.toUtf8() +
                            "/Trip</string><key>file</key><integer>0</integer></dict></array></plist>");
    const QJsonObject object = json({u"check"_s, u"b.plist"_s}).first().toObject();
    QCOMPARE(object.value(u"dataBytes"_s), QJsonValue(QJsonValue::Null));
    QCOMPARE(object.value(u"now"_s), QJsonValue(mFolder + u"/Trip"_s));
    QCOMPARE(object.value(u"reachable"_s), QJsonValue(true));
    QVERIFY(bookmark({u"show"_s, u"b.plist"_s}).out.contains("  data      none: only the path is known\n"));
    QVERIFY(QDir(mFolder).rename(u"Trip"_s, u"Journey"_s));
    const ToolRun run = bookmark({u"resolve"_s, u"b.plist"_s});
    QCOMPARE(run.status, 1);
    QCOMPARE(run.err, "vkqt bookmark: " + mFolder.toUtf8() + "/Trip: no such file or folder\n");
}

void ToolBookmarkTest::oneBookmarkAlone() {
    // As the library keeps one: a dictionary, without a list around it.
    write(u"b.plist"_s, "<plist version=\"1.0\"><dict><key>name</key><string>" + mFolder.toUtf8() +
                            "/Trip</string><key>file</key><integer>0</integer></dict></plist>");
    QCOMPARE(members(json({u"resolve"_s, u"b.plist"_s}), u"now"_s), QStringList(mFolder + u"/Trip"_s));
    QCOMPARE(bookmark({u"create"_s, u"b.plist"_s, u"Trip/a.jpg"_s}).status, 0);
    QCOMPARE(json({u"list"_s, u"b.plist"_s}).size(), 2);
}

void ToolBookmarkTest::foreignContent_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("reason");
    QTest::newRow("no list") << QByteArray("photos") << QByteArray();
    QTest::newRow("empty") << QByteArray() << QByteArray();
    QTest::newRow("another list") << QByteArray(
                                         "<plist version=\"1.0\"><array><string>x</string></array></plist>")
                                  << QByteArray();
    QTest::newRow("no path") << QByteArray("<plist version=\"1.0\"><array><dict><key>file</key><integer>1"
                                           "</integer></dict></array></plist>")
                             << QByteArray();
    QTest::newRow("no kind") << QByteArray("<plist version=\"1.0\"><array><dict><key>name</key><string>/a"
                                           "</string></dict></array></plist>")
                             << QByteArray();
}

void ToolBookmarkTest::foreignContent() {
    QFETCH(QByteArray, bytes);
    write(u"b.plist"_s, bytes);
    for (const QStringList& arguments :
         {QStringList{u"list"_s, u"b.plist"_s}, QStringList{u"resolve"_s, u"--update"_s, u"b.plist"_s},
          QStringList{u"create"_s, u"b.plist"_s, u"Trip"_s}}) {
        const ToolRun run = bookmark(arguments);
        QCOMPARE(run.status, 1);
        QCOMPARE(run.out, QByteArray());
        QVERIFY(run.err.startsWith("vkqt bookmark: b.plist: "));
        QCOMPARE(content(u"b.plist"_s), bytes); // untouched
    }
}

void ToolBookmarkTest::keysOfOthersStay() {
    write(u"b.plist"_s, "<plist version=\"1.0\"><array><dict><key>name</key><string>" + mFolder.toUtf8() +
                            "/Trip</string><key>file</key><integer>0</integer><key>label</key><string>Mine"
                            "</string></dict></array></plist>");
    QCOMPARE(bookmark({u"create"_s, u"b.plist"_s, u"Trip/a.jpg"_s}).status, 0);
    QVERIFY(content(u"b.plist"_s).contains("<key>label</key>\n\t\t<string>Mine</string>"));
}

void ToolBookmarkTest::wrongUse_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("sentence");
    const auto row = [](const char* reason, const QStringList& arguments, const char* sentence) {
        QTest::newRow(reason) << arguments << QByteArray(sentence);
    };
    row("no action", {}, "vkqt bookmark: it needs ACTION");
    row("no file", {u"list"_s}, "vkqt bookmark: it needs FILE");
    row("unknown action", {u"make"_s, u"b.plist"_s}, "vkqt bookmark: \"make\" is not one of the choices");
    row("nothing to create", {u"create"_s, u"b.plist"_s},
        "vkqt bookmark: create needs the paths of the items\n");
    row("update with list", {u"list"_s, u"--update"_s, u"b.plist"_s},
        "vkqt bookmark: --update goes with resolve\n");
    row("paths with show", {u"show"_s, u"--paths"_s, u"b.plist"_s},
        "vkqt bookmark: --paths goes with resolve and check\n");
    row("two forms", {u"resolve"_s, u"--paths"_s, u"--json"_s, u"b.plist"_s},
        "vkqt bookmark: --paths and --json exclude each other\n");
}

void ToolBookmarkTest::wrongUse() {
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, sentence);
    const ToolRun run = bookmark(arguments);
    QCOMPARE(run.status, 2);
    QCOMPARE(run.out, QByteArray());
    QVERIFY2(run.err.startsWith(sentence), run.err.constData());

    QCOMPARE(bookmark({u"create"_s, u"n.plist"_s, u"Trip"_s}).status, 0);
    const ToolRun number = bookmark({u"show"_s, u"n.plist"_s, u"first"_s});
    QCOMPARE(number.status, 2);
    QVERIFY(number.err.startsWith("vkqt bookmark: \"first\" is no number\n"));
    const ToolRun missing = bookmark({u"list"_s, u"none.plist"_s});
    QCOMPARE(missing.status, 1);
    QCOMPARE(missing.err, QByteArray("vkqt bookmark: none.plist: no such file or folder\n"));
}

void ToolBookmarkTest::everyDocumentedKey() {
    QCOMPARE(bookmark({u"create"_s, u"b.plist"_s, u"Trip"_s}).status, 0);
    const QStringList keys = json({u"check"_s, u"b.plist"_s}).first().toObject().keys();
    QCOMPARE(keys.size(), 10);
    const QString help = QString::fromUtf8(bookmark({u"--help"_s}).out);
    const QString section = help.mid(help.indexOf(u"\nJSON\n"_s));
    for (const QString& key : keys) {
        QVERIFY2(section.contains(u"\n  "_s + key + u' '), qPrintable(key));
    }
    QCOMPARE(json({u"list"_s, u"b.plist"_s}).first().toObject().keys().size(), 6);
    QCOMPARE(bookmark({u"list"_s, u"--json"_s, u"none.plist"_s}).status, 1);
}

void ToolBookmarkTest::severalAtOnce() {
    // Each run reads, adds and writes; none may lose what another adds.
    const ToolRun run = runShell(u"for i in 1 2 3 4 5 6 7 8; do \"$VKQT\" bookmark create b.plist Trip "
                                 ">/dev/null & done; wait"_s,
                                 mFolder);
    QCOMPARE(run.status, 0);
    QCOMPARE(run.err, QByteArray());
    QCOMPARE(json({u"list"_s, u"b.plist"_s}).size(), 8);
}

void ToolBookmarkTest::hostileName() {
    QVERIFY(makeItem(mFolder, "\x1b]0;evil\a\n.jpg", 3));
    const ToolRun run =
        runShell(u"\"$VKQT\" bookmark create b.plist ./*evil* && \"$VKQT\" bookmark show b.plist && "
                 "\"$VKQT\" bookmark resolve b.plist"_s,
                 mFolder);
    QCOMPARE(run.status, 0);
    QVERIFY(!run.out.contains('\x1b'));
    QVERIFY(!run.out.contains('\a'));
    QVERIFY(run.out.contains("\\e]0;evil\\u0007\\n.jpg"));
}

VKTEST_MAIN(ToolBookmarkTest)
#include "ToolBookmarkTest.moc"
