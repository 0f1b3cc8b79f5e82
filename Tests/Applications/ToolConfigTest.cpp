// vkqt config, run as a process: settings shown, changed, reset and checked, and the file that they are kept in.
#include "ToolRunner.h"

#include "Support/VKTest.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

class ToolConfigTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void lists();
    void everyDocumentedKey();
    void changesAndResets();
    void setsByName_data();
    void setsByName();
    void refusesToSet_data();
    void refusesToSet();
    void wrongLines_data();
    void wrongLines();
    void staleVersion();
    void checks();
    void checksOther();
    void cannotSave();
    void cannotSaveWithoutAFolder();

private:
    static ToolRun config(const QStringList& arguments) {
        return runVkqt(QStringList(u"config"_s) + arguments);
    }
    static QString filePath() { return QString::fromUtf8(config({u"path"_s}).out.trimmed()); }
    static QByteArray valueOf(const QString& bundle, const QString& key) {
        return config({u"get"_s, bundle, key}).out.trimmed();
    }
    static bool writeFile(const QString& path, const QByteArray& content) {
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
    }
    static QByteArray readFile(const QString& path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
};

void ToolConfigTest::init() {
    VKTest::init();
    QFile::remove(filePath());
}

void ToolConfigTest::lists() {
    const ToolRun run = config({u"list"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.err, QByteArray());
    QVERIFY(run.out.startsWith("Bundle"));
    QVERIFY(run.out.contains("core_scaling_passes"));
    QVERIFY(run.out.contains("Draft (1), Good (2), Best (3)"));
    // Sorted by name, as the defaults ask for.
    QVERIFY(run.out.contains("Date taken (1), File size (2), Name (0)"));
    QCOMPARE(run.out.count('\n'), 8);
    QCOMPARE(config({u"list"_s, u"browser"_s}).out.count('\n'), 4);
    QCOMPARE(config({u"list"_s, u"--changed"_s}).out, QByteArray());
    QVERIFY(!QFile::exists(filePath()));
}

void ToolConfigTest::everyDocumentedKey() {
    bool ok = false;
    const QJsonArray settings = jsonArray(config({u"list"_s, u"--json"_s}).out, &ok);
    QVERIFY(ok);
    QCOMPARE(settings.size(), 7);
    const QString help = QString::fromUtf8(config({u"--help"_s}).out);
    const QString section = help.mid(help.indexOf(u"\nJSON\n"_s));
    for (const QString& key : settings.first().toObject().keys()) {
        QVERIFY2(section.contains(u"\n  "_s + key + u' '), qPrintable(key));
    }
    const QJsonObject passes = settings[4].toObject();
    QCOMPARE(passes.value(u"key"_s), QJsonValue(u"core_scaling_passes"_s));
    QCOMPARE(passes.value(u"value"_s), QJsonValue(2));
    QCOMPARE(passes.value(u"changed"_s), QJsonValue(false));
    QCOMPARE(passes.value(u"choices"_s).toArray().size(), 3);
    QCOMPARE(jsonArray(config({u"list"_s, u"none"_s, u"--json"_s}).out, &ok), QJsonArray());
    QVERIFY(ok);
}

void ToolConfigTest::changesAndResets() {
    const ToolRun run = config({u"set"_s, u"core_image_utils"_s, u"core_scaling_passes"_s, u"best"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.out, QByteArray("Scaling quality: Good (2) -> Best (3)\n"));
    QCOMPARE(valueOf(u"core_image_utils"_s, u"core_scaling_passes"_s), QByteArray("3"));
    const QJsonObject saved = QJsonDocument::fromJson(readFile(filePath())).object();
    QCOMPARE(saved.value(u"version"_s), QJsonValue(1));
    QCOMPARE(saved.value(u"children"_s).toArray().size(), 2);
    QCOMPARE(config({u"set"_s, u"browser"_s, u"show_hidden_files"_s, u"on"_s}).status, 0);
    bool ok = false;
    QCOMPARE(members(jsonArray(config({u"list"_s, u"--changed"_s, u"--json"_s}).out, &ok), u"key"_s),
             QStringList({u"show_hidden_files"_s, u"core_scaling_passes"_s}));
    QVERIFY(ok);
    QCOMPARE(config({u"reset"_s, u"browser"_s, u"show_hidden_files"_s}).out, QByteArray("1 setting reset\n"));
    QCOMPARE(valueOf(u"browser"_s, u"show_hidden_files"_s), QByteArray("off"));
    QCOMPARE(valueOf(u"core_image_utils"_s, u"core_scaling_passes"_s), QByteArray("3"));
    QCOMPARE(config({u"reset"_s, u"browser"_s}).out, QByteArray("0 settings reset\n"));
    QCOMPARE(config({u"reset"_s}).out, QByteArray("1 setting reset\n"));
    QCOMPARE(config({u"list"_s, u"--changed"_s}).out, QByteArray());
}

void ToolConfigTest::setsByName_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("value");
    const QStringList size = {u"browser"_s, u"thumbnail_size"_s};
    const QStringList hidden = {u"browser"_s, u"show_hidden_files"_s};
    QTest::newRow("number") << size + QStringList(u"320"_s) << QByteArray("320");
    QTest::newRow("name") << size + QStringList(u"Large"_s) << QByteArray("320");
    QTest::newRow("name in other case") << size + QStringList(u"sMALL"_s) << QByteArray("96");
    QTest::newRow("any number") << size + QStringList({u"--any"_s, u"77"_s}) << QByteArray("77");
    QTest::newRow("negative") << size + QStringList({u"--any"_s, u"--"_s, u"-5"_s}) << QByteArray("-5");
    QTest::newRow("true") << hidden + QStringList(u"true"_s) << QByteArray("on");
    QTest::newRow("yes") << hidden + QStringList(u"yes"_s) << QByteArray("on");
    QTest::newRow("off") << hidden + QStringList(u"off"_s) << QByteArray("off");
}

void ToolConfigTest::setsByName() {
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, value);
    const ToolRun run = config(QStringList(u"set"_s) + arguments);
    QCOMPARE(run.err, QByteArray());
    QCOMPARE(run.status, 0);
    QCOMPARE(valueOf(arguments[0], arguments[1]), value);
}

void ToolConfigTest::refusesToSet_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("complaint");
    QTest::newRow("no choice") << QStringList{u"browser"_s, u"thumbnail_size"_s, u"77"_s}
                               << QByteArray(
                                      "\"77\" is none of the choices: Small (96), Medium (160), Large (320)");
    QTest::newRow("no number") << QStringList{u"browser"_s, u"thumbnail_size"_s, u"--any"_s, u"huge"_s}
                               << QByteArray("\"huge\" is none of the choices");
    QTest::newRow("neither on nor off") << QStringList{u"browser"_s, u"show_hidden_files"_s, u"maybe"_s}
                                        << QByteArray("\"maybe\" is neither on nor off");
    QTest::newRow("unknown setting") << QStringList{u"browser"_s, u"colour"_s, u"1"_s}
                                     << QByteArray("there is no setting \"browser\" \"colour\"");
    QTest::newRow("unknown bundle") << QStringList{u"none"_s, u"thumbnail_size"_s, u"1"_s}
                                    << QByteArray("there is no setting \"none\"");
    QTest::newRow("hostile name") << QStringList{u"\x1b[31m"_s, u"k"_s, u"1"_s} << QByteArray("\"\\e[31m\"");
}

void ToolConfigTest::refusesToSet() {
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, complaint);
    const ToolRun run = config(QStringList(u"set"_s) + arguments);
    QCOMPARE(run.status, 1);
    QVERIFY2(run.err.startsWith("vkqt config: ") && run.err.contains(complaint), run.err.constData());
    QVERIFY(!QFile::exists(filePath()));
}

void ToolConfigTest::wrongLines_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("no action") << QStringList();
    QTest::newRow("unknown action") << QStringList(u"remove"_s);
    QTest::newRow("get without a key") << QStringList{u"get"_s, u"browser"_s};
    QTest::newRow("set without a value") << QStringList{u"set"_s, u"browser"_s, u"thumbnail_size"_s};
    QTest::newRow("reset with too much") << QStringList{u"reset"_s, u"a"_s, u"b"_s, u"c"_s};
    QTest::newRow("path with an argument") << QStringList{u"path"_s, u"a"_s};
    QTest::newRow("get as JSON") << QStringList{u"get"_s, u"browser"_s, u"thumbnail_size"_s, u"--json"_s};
    QTest::newRow("reset what is changed") << QStringList{u"reset"_s, u"--changed"_s};
    QTest::newRow("list defaults") << QStringList{u"list"_s, u"--defaults"_s};
    QTest::newRow("check any") << QStringList{u"check"_s, u"--any"_s};
}

void ToolConfigTest::wrongLines() {
    QFETCH(QStringList, arguments);
    const ToolRun run = config(arguments);
    QCOMPARE(run.status, 2);
    QVERIFY(run.out.isEmpty() && run.err.contains("--help"));
}

void ToolConfigTest::staleVersion() {
    QCOMPARE(config({u"set"_s, u"browser"_s, u"thumbnail_size"_s, u"large"_s}).status, 0);
    QByteArray content = readFile(filePath());
    QVERIFY(writeFile(filePath(), content.replace("\"version\": 1", "\"version\": 2")));
    QCOMPARE(valueOf(u"browser"_s, u"thumbnail_size"_s), QByteArray("160"));
    QCOMPARE(readFile(filePath()), content); // ignored, and left as it is
    const ToolRun run = config({u"check"_s});
    QCOMPARE(run.status, 0); // a warning
    QVERIFY2(run.out.contains("warning: version: the defaults state version 1: the whole file is ignored\n"),
             run.out.constData());
}

void ToolConfigTest::checks() {
    QCOMPARE(config({u"check"_s}).out, QByteArray()); // no file, nothing wrong
    QVERIFY(writeFile(filePath(), "{\n  \"class_id\": \"x\",\n  \"version\": 1,\n  \"children\": [}\n"));
    const ToolRun run = config({u"check"_s});
    QCOMPARE(run.status, 1);
    QCOMPARE(run.out, filePath().toUtf8() + ":4:16: error: a value should be here\n");
    bool ok = false;
    const QJsonArray findings = jsonArray(config({u"check"_s, u"--json"_s}).out, &ok);
    QVERIFY(ok);
    QCOMPARE(findings.size(), 1);
    QCOMPARE(findings[0].toObject().value(u"line"_s), QJsonValue(4));
    QCOMPARE(findings[0].toObject().value(u"column"_s), QJsonValue(16));
}

void ToolConfigTest::checksOther() {
    const QString folder = makeFolder();
    QVERIFY(writeFile(folder + u"/a.json"_s, "{}"));
    const ToolRun run =
        runVkqt({u"config"_s, u"check"_s, u"--defaults"_s, u"a.json"_s, u"none.json"_s}, folder);
    QCOMPARE(run.status, 1);
    QVERIFY(run.out.startsWith("a.json:1:1: error: \"class_id\" is missing\n"));
    QCOMPARE(run.err, QByteArray("vkqt config: none.json: no such file or folder\n"));
    // What vkqt ships.
    const QString shipped = QStringLiteral(VKTEST_SOURCE_TREE "/Applications/vkqt/Defaults/VKConfig.json");
    QVERIFY(QFile::exists(shipped));
    const ToolRun own = config({u"check"_s, u"--defaults"_s, shipped});
    QCOMPARE(own.out, QByteArray());
    QCOMPARE(own.status, 0);
}

void ToolConfigTest::cannotSave() {
    const QString file = filePath();
    QVERIFY(QDir().mkpath(file));
    const ToolRun run = config({u"set"_s, u"browser"_s, u"thumbnail_size"_s, u"large"_s});
    QVERIFY(QDir().rmdir(file));
    QCOMPARE(run.status, 1);
    QCOMPARE(run.out, QByteArray());
    QCOMPARE(run.err, "vkqt config: " + file.toUtf8() + ": cannot be opened for writing\n");
}

void ToolConfigTest::cannotSaveWithoutAFolder() {
    const QString notAFolder = makeFolder() + u"/file"_s;
    QVERIFY(writeFile(notAFolder, "x"));
    const QByteArray before = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_DATA_HOME", notAFolder.toUtf8());
    const ToolRun path = config({u"path"_s});
    const ToolRun set = config({u"set"_s, u"browser"_s, u"thumbnail_size"_s, u"large"_s});
    qputenv("XDG_DATA_HOME", before);
    for (const ToolRun& run : {path, set}) {
        QCOMPARE(run.status, 1);
        QCOMPARE(run.out, QByteArray());
        QCOMPARE(run.err, QByteArray("vkqt config: the folder of the user's settings cannot be made\n"));
    }
}

VKTEST_MAIN(ToolConfigTest)
#include "ToolConfigTest.moc"
