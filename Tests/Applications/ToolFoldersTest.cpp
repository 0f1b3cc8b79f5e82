// vkqt folders, run as a process in a home of its own.
#include "ToolRunner.h"

#include "Support/DiskSupport.h"
#include "Support/VKTest.h"

#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

QJsonObject folderNamed(const QString& name) {
    bool ok = false;
    const QJsonArray array = jsonArray(runVkqt({u"folders"_s, u"--json"_s, name}).out, &ok);
    return ok && array.size() == 1 ? array.first().toObject() : QJsonObject();
}

QString home() { return qEnvironmentVariable("HOME"); }
QString makersFolder() { return qEnvironmentVariable("XDG_DATA_HOME") + u"/VK"_s; }

} // namespace

class ToolFoldersTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void everyDocumentedKey();
    void json_data();
    void json();
    void all();
    void forPeople();
    void barePath();
    void bytesOfAnUndecodableName();
    void none();
    void unknownName();
    void speaksTheUsersLanguage();
};

void ToolFoldersTest::everyDocumentedKey() {
    const QByteArray help = runVkqt({u"folders"_s, u"--help"_s}).out;
    const QStringList keys = folderNamed(u"home"_s).keys();
    QCOMPARE(keys, QStringList({u"exists"_s, u"label"_s, u"name"_s, u"path"_s}));
    for (const QString& key : keys) {
        QVERIFY(help.indexOf(QByteArray("\n  " + key.toUtf8() + ' '), help.indexOf("JSON")) > 0);
    }
}

void ToolFoldersTest::json_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QJsonValue>("path");
    QTest::addColumn<bool>("exists");
    const auto row = [](const char* name, const QString& path, bool exists) {
        QTest::newRow(name) << QString::fromLatin1(name) << QJsonValue(path) << exists;
    };
    row("home", home(), true);
    row("desktop", home() + u"/Desktop"_s, false);
    row("pictures", home() + u"/Pictures"_s, false);
    row("data", makersFolder(), true);
    row("product", makersFolder() + u"/Kestrel"_s, true);
    row("common", makersFolder() + u"/Kestrel/Common"_s, true);
    row("extras", makersFolder() + u"/Kestrel/Extras"_s, true);
    row("caches", qEnvironmentVariable("XDG_CACHE_HOME") + u"/VK"_s, true);
    row("temporary", qEnvironmentVariable("TMPDIR"), true);
    row("work", makersFolder(), true);
    QTest::newRow("shared") << u"shared"_s << QJsonValue(QJsonValue::Null) << false;
    QTest::newRow("cloud") << u"cloud"_s << QJsonValue(QJsonValue::Null) << false;
}

void ToolFoldersTest::json() {
    QFETCH(QString, name);
    QFETCH(QJsonValue, path);
    QFETCH(bool, exists);
    qputenv("XDG_DATA_DIRS", "/nonexistent");
    const QJsonObject object = folderNamed(name);
    qunsetenv("XDG_DATA_DIRS");
    QCOMPARE(object.value(u"name"_s), QJsonValue(name));
    QCOMPARE(object.value(u"path"_s), path);
    QCOMPARE(object.value(u"exists"_s), QJsonValue(exists));
    QCOMPARE(object.value(u"label"_s), path.isNull() ? path : QJsonValue(path.toString().section(u'/', -1)));
}

void ToolFoldersTest::all() {
    bool ok = false;
    const QJsonArray array = jsonArray(runVkqt({u"folders"_s, u"--json"_s}).out, &ok);
    QVERIFY(ok);
    QCOMPARE(members(array, u"name"_s),
             QStringList({u"home"_s, u"desktop"_s, u"pictures"_s, u"data"_s, u"product"_s, u"common"_s,
                          u"extras"_s, u"shared"_s, u"caches"_s, u"temporary"_s, u"work"_s, u"cloud"_s}));
}

void ToolFoldersTest::forPeople() {
    const ToolRun run = runVkqt({u"folders"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.err, QByteArray());
    QVERIFY(run.out.startsWith("Name"));
    QVERIFY(run.out.contains("the user's home folder"));
    QVERIFY(run.out.contains(QByteArray(home().toUtf8() + "/Pictures (not there)\n")));
    QVERIFY(run.out.contains(QByteArray(makersFolder().toUtf8() + "/Kestrel\n")));
    QCOMPARE(run.out.count('\n'), 13);
}

void ToolFoldersTest::barePath() {
    const ToolRun run = runVkqt({u"folders"_s, u"pictures"_s, u"home"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.out, QByteArray(home().toUtf8() + '\n' + home().toUtf8() + "/Pictures\n"));
}

void ToolFoldersTest::bytesOfAnUndecodableName() {
    const QByteArray file = qgetenv("XDG_CONFIG_HOME") + "/user-dirs.dirs";
    Disk::makeFile(file, "XDG_PICTURES_DIR=\"$HOME/Bilder\xe9\"\n");
    Disk::makeFolder(home().toUtf8() + "/Bilder\xe9");
    const ToolRun run = runVkqt({u"folders"_s, u"pictures"_s});
    QCOMPARE(run.out, QByteArray(home().toUtf8() + "/Bilder\xe9\n"));
    QCOMPARE(folderNamed(u"pictures"_s).value(u"exists"_s), QJsonValue(true));
    QVERIFY(::unlink(file.constData()) == 0);
}

void ToolFoldersTest::none() {
    const ToolRun run = runVkqt({u"folders"_s, u"cloud"_s, u"home"_s});
    QCOMPARE(run.status, 1);
    QCOMPARE(run.out, QByteArray(home().toUtf8() + '\n'));
    QCOMPARE(run.err, QByteArray("vkqt folders: cloud: no such file or folder\n"));
}

void ToolFoldersTest::unknownName() {
    const ToolRun run = runVkqt({u"folders"_s, u"picture"_s});
    QCOMPARE(run.status, 2);
    QCOMPARE(run.out, QByteArray());
    QVERIFY2(run.err.startsWith("vkqt folders: "), run.err.constData());
}

void ToolFoldersTest::speaksTheUsersLanguage() {
    const QString folder = makeFolder();
    QVERIFY(makeItem(folder, "a.jpg", 3));
    const ToolRun german = runShell(u"LC_ALL= LANG=C.UTF-8 LANGUAGE=de \"$VKQT\" unique a.jpg"_s, folder);
    QCOMPARE(german.out, QByteArray(folder.toUtf8() + "/a Kopie.jpg\n"));
    QCOMPARE(runVkqt({u"unique"_s, u"a.jpg"_s}, folder).out, QByteArray(folder.toUtf8() + "/a copy.jpg\n"));
}

VKTEST_MAIN(ToolFoldersTest)
#include "ToolFoldersTest.moc"
