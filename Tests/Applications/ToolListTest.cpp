// vkqt ls, run as a process on real folders: every switch, every form of output, every kind of trouble.
#include "ToolRunner.h"

#include "Support/VKTest.h"

#include <QDir>
#include <QFile>
#include <QJsonObject>
#include <QRegularExpression>

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

class ToolListTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase() { removeAll(scratchFolder()); }
    void switches_data();
    void switches();
    void formsAgree_data() { switches_data(); }
    void formsAgree();
    void order_data();
    void order();
    void table();
    void columns_data();
    void columns();
    void totals_data();
    void totals();
    void everyDocumentedKey();
    void jsonValues();
    void severalFolders();
    void filesAsFolders();
    void workingFolder();
    void trouble_data();
    void trouble();
    void restIsListedWhenOneFails();
    void unreadableFolders();
    void links();
    void tooDeep();
    void hostileNames();
    void namesOnDisk();
    void undecodableFolder();
    void fiveThousand();

private:
    // The names that --json gives, in order.
    QStringList listed(const QStringList& arguments, const QString& folder);

    QString mFolder;
};

namespace {

QDateTime day(int number) { return QDateTime(QDate(2026, 5, number), QTime(12, 0), Qt::UTC); }

} // namespace

QStringList ToolListTest::listed(const QStringList& arguments, const QString& folder) {
    const ToolRun run = runVkqt(QStringList{u"ls"_s, u"--json"_s} + arguments, folder);
    bool ok = false;
    const QStringList names = members(jsonArray(run.out, &ok), u"name"_s);
    return ok && run.status == 0
               ? names
               : QStringList(u"status %1: %2"_s.arg(run.status).arg(QString::fromUtf8(run.err)));
}

void ToolListTest::initTestCase() {
    mFolder = makeFolder(u"photos"_s);
    QVERIFY(makeItem(mFolder, "IMG_10.jpg", 1'400'000, day(4)));
    QVERIFY(makeItem(mFolder, "IMG_2.JPG", 2'000, day(6)));
    QVERIFY(makeItem(mFolder, "img_3.png", 300, day(5)));
    QVERIFY(makeItem(mFolder, "clip.MOV", 9'000'000, day(3)));
    QVERIFY(makeItem(mFolder, "notes.txt", 71, day(7)));
    QVERIFY(makeItem(mFolder, ".hidden.jpg", 5, day(1)));
    QVERIFY(makeItem(mFolder, "remov", 8, day(1)));
    QVERIFY(makeItem(mFolder, "Sub", -1));
    QVERIFY(makeItem(mFolder + u"/Sub"_s, "b.jpg", 50, day(2)));
    QVERIFY(makeItem(mFolder + u"/Sub"_s, "Inner", -1));
    QVERIFY(makeItem(mFolder + u"/Sub/Inner"_s, "a.jpg", 60, day(8)));
    QVERIFY(makeItem(mFolder, ".dot", -1));
    QVERIFY(makeItem(mFolder + u"/.dot"_s, "in.jpg", 1, day(1)));
    QVERIFY(makeItem(mFolder, "Old.lrdata", -1));
    QVERIFY(makeItem(mFolder, "Sub 2", -1, day(9)));
}

void ToolListTest::switches_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QStringList>("expected");
    const auto row = [](const char* reason, const QStringList& arguments, const QStringList& expected) {
        QTest::newRow(reason) << arguments << expected;
    };
    row("default", {},
        {u"clip.MOV"_s, u"IMG_2.JPG"_s, u"img_3.png"_s, u"IMG_10.jpg"_s, u"Sub"_s, u"Sub 2"_s});
    row("hidden entries", {u"--hidden"_s},
        {u".dot"_s, u".hidden.jpg"_s, u"clip.MOV"_s, u"IMG_2.JPG"_s, u"img_3.png"_s, u"IMG_10.jpg"_s,
         u"Sub"_s, u"Sub 2"_s});
    row("all files", {u"--all"_s},
        {u"clip.MOV"_s, u"IMG_2.JPG"_s, u"img_3.png"_s, u"IMG_10.jpg"_s, u"notes.txt"_s, u"remov"_s, u"Sub"_s,
         u"Sub 2"_s});
    row("no videos", {u"--no-videos"_s},
        {u"IMG_2.JPG"_s, u"img_3.png"_s, u"IMG_10.jpg"_s, u"Sub"_s, u"Sub 2"_s});
    row("the last of two wins: videos", {u"--no-videos"_s, u"--videos"_s, u"--no-folders"_s},
        {u"clip.MOV"_s, u"IMG_2.JPG"_s, u"img_3.png"_s, u"IMG_10.jpg"_s});
    row("the last of two wins: none", {u"--videos"_s, u"--no-videos"_s, u"--no-folders"_s},
        {u"IMG_2.JPG"_s, u"img_3.png"_s, u"IMG_10.jpg"_s});
    row("no folders", {u"--no-folders"_s}, {u"clip.MOV"_s, u"IMG_2.JPG"_s, u"img_3.png"_s, u"IMG_10.jpg"_s});
    row("no files", {u"--no-files"_s}, {u"Sub"_s, u"Sub 2"_s});
    row("neither", {u"--no-files"_s, u"--no-folders"_s}, {});
    row("no packages: none exist here", {u"--no-packages"_s, u"--no-files"_s}, {u"Sub"_s, u"Sub 2"_s});
    row("one extension", {u"--ext"_s, u"png"_s, u"--no-folders"_s}, {u"img_3.png"_s});
    row("extensions as people write them", {u"--ext=.PNG, mov"_s, u"--no-folders"_s},
        {u"clip.MOV"_s, u"img_3.png"_s});
    row("repeated", {u"--ext"_s, u"png"_s, u"--ext"_s, u"txt"_s, u"--no-folders"_s},
        {u"img_3.png"_s, u"notes.txt"_s});
    row("an unknown extension", {u"--ext"_s, u"xyz"_s, u"--no-folders"_s}, {});
    row("recursive", {u"--recursive"_s},
        {u"clip.MOV"_s, u"IMG_2.JPG"_s, u"img_3.png"_s, u"IMG_10.jpg"_s, u"Sub"_s, u"Sub/b.jpg"_s,
         u"Sub/Inner"_s, u"Sub/Inner/a.jpg"_s, u"Sub 2"_s});
    row("recursive without folders", {u"-R"_s, u"--no-folders"_s, u"--no-videos"_s},
        {u"IMG_2.JPG"_s, u"img_3.png"_s, u"IMG_10.jpg"_s, u"Sub/b.jpg"_s, u"Sub/Inner/a.jpg"_s});
    row("recursive without files", {u"-R"_s, u"--no-files"_s}, {u"Sub"_s, u"Sub/Inner"_s, u"Sub 2"_s});
    row("recursive into hidden folders", {u"-R"_s, u"--hidden"_s, u"--no-folders"_s, u"--ext"_s, u"jpg"_s},
        {u".dot/in.jpg"_s, u".hidden.jpg"_s, u"IMG_2.JPG"_s, u"IMG_10.jpg"_s, u"Sub/b.jpg"_s,
         u"Sub/Inner/a.jpg"_s});
    row("recursive and reversed", {u"-Rr"_s, u"--no-videos"_s},
        {u"Sub 2"_s, u"Sub"_s, u"Sub/Inner"_s, u"Sub/Inner/a.jpg"_s, u"Sub/b.jpg"_s, u"IMG_10.jpg"_s,
         u"img_3.png"_s, u"IMG_2.JPG"_s});
}

void ToolListTest::switches() {
    QFETCH(QStringList, arguments);
    QFETCH(QStringList, expected);
    QCOMPARE(listed(arguments, mFolder), expected);
}

// The same entries in the same order, whatever the form.
void ToolListTest::formsAgree() {
    QFETCH(QStringList, arguments);
    QFETCH(QStringList, expected);
    const ToolRun names = runVkqt(QStringList{u"ls"_s, u"--names"_s} + arguments, mFolder);
    QCOMPARE(names.status, 0);
    QCOMPARE(QString::fromUtf8(names.out).split(u'\n', Qt::SkipEmptyParts), expected);
    const ToolRun null = runVkqt(QStringList{u"ls"_s, u"-0"_s} + arguments, mFolder);
    QCOMPARE(QByteArray(null.out).replace('\0', '\n'), names.out);
    QCOMPARE(null.out.count('\0'), expected.size());
    const ToolRun paths = runVkqt(QStringList{u"ls"_s, u"--paths"_s} + arguments, mFolder);
    QStringList wholePaths;
    for (const QString& name : expected) {
        wholePaths << mFolder + u'/' + name;
    }
    QCOMPARE(QString::fromUtf8(paths.out).split(u'\n', Qt::SkipEmptyParts), wholePaths);
    const ToolRun people = runVkqt(QStringList{u"ls"_s} + arguments, mFolder);
    QStringList lines = QString::fromUtf8(people.out).split(u'\n');
    QStringList shownNames;
    const qsizetype column = lines.constFirst().indexOf(u"Name"_s);
    for (qsizetype i = 1; i < lines.size() && column > 0 && !lines.at(i).isEmpty(); ++i) {
        QString name = lines.at(i).mid(column);
        name.chop(name.endsWith(u'/') ? 1 : 0);
        shownNames << name;
    }
    QCOMPARE(shownNames, expected);
}

void ToolListTest::order_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QStringList>("expected");
    const QStringList byName = {u"clip.MOV"_s, u"IMG_2.JPG"_s, u"img_3.png"_s, u"IMG_10.jpg"_s};
    const QStringList bySize = {u"clip.MOV"_s, u"IMG_10.jpg"_s, u"IMG_2.JPG"_s, u"img_3.png"_s};
    const QStringList byDate = {u"IMG_2.JPG"_s, u"img_3.png"_s, u"IMG_10.jpg"_s, u"clip.MOV"_s};
    const auto reversed = [](QStringList list) {
        std::reverse(list.begin(), list.end());
        return list;
    };
    QTest::newRow("name is the default") << QStringList() << byName;
    QTest::newRow("name") << QStringList{u"--sort"_s, u"name"_s} << byName;
    QTest::newRow("name, reversed") << QStringList{u"--sort"_s, u"name"_s, u"--reverse"_s}
                                    << reversed(byName);
    QTest::newRow("size") << QStringList{u"--sort"_s, u"size"_s} << bySize;
    QTest::newRow("size, reversed") << QStringList{u"--sort=size"_s, u"-r"_s} << reversed(bySize);
    QTest::newRow("date") << QStringList{u"--sort"_s, u"date"_s} << byDate;
    QTest::newRow("date, reversed") << QStringList{u"--sort"_s, u"date"_s, u"-r"_s} << reversed(byDate);
    QTest::newRow("date over all levels")
        << QStringList{u"--sort"_s, u"date"_s, u"-R"_s}
        << QStringList{u"Sub/Inner/a.jpg"_s, u"IMG_2.JPG"_s, u"img_3.png"_s,
                       u"IMG_10.jpg"_s,      u"clip.MOV"_s,  u"Sub/b.jpg"_s};
    QTest::newRow("size over all levels")
        << QStringList{u"--sort"_s, u"size"_s, u"-R"_s}
        << QStringList{u"clip.MOV"_s,  u"IMG_10.jpg"_s,      u"IMG_2.JPG"_s,
                       u"img_3.png"_s, u"Sub/Inner/a.jpg"_s, u"Sub/b.jpg"_s};
}

void ToolListTest::order() {
    QFETCH(QStringList, arguments);
    QFETCH(QStringList, expected);
    QCOMPARE(listed(QStringList(u"--no-folders"_s) + arguments, mFolder), expected);
    QStringList unsorted =
        listed(QStringList(u"--no-folders"_s) + arguments + QStringList{u"--sort"_s, u"none"_s}, mFolder);
    QStringList sorted = expected;
    std::sort(unsorted.begin(), unsorted.end());
    std::sort(sorted.begin(), sorted.end());
    QCOMPARE(unsorted, sorted);
}

void ToolListTest::table() {
    const ToolRun run = runVkqt({u"ls"_s, u"--no-videos"_s, u"--no-folders"_s}, mFolder);
    QCOMPARE(run.status, 0);
    // Noon in UTC is two in the afternoon in Berlin's summer.
    QCOMPARE(run.out, QByteArray("Kind     Size  Modified          Name\n"
                                 "photo  2.0 kB  2026-05-06 14:00  IMG_2.JPG\n"
                                 "photo   300 B  2026-05-05 14:00  img_3.png\n"
                                 "photo  1.4 MB  2026-05-04 14:00  IMG_10.jpg\n"
                                 "\n"
                                 "3 photos, 1.4 MB\n"));
}

void ToolListTest::columns_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("pattern");
    QTest::newRow("bytes")
        << QStringList(u"--bytes"_s)
        << QByteArray("^Kind +Bytes  Modified +Name\n(.*\n)*photo   1400000  2026-05-04 14:00  IMG_10.jpg\n");
    QTest::newRow("folder") << QStringList() << QByteArray("\nfolder +-  2026-05-09 14:00  Sub 2/\n");
    QTest::newRow("video") << QStringList() << QByteArray("\nvideo   9.0 MB  2026-05-03 14:00  clip.MOV\n");
    QTest::newRow("other file") << QStringList(u"--all"_s)
                                << QByteArray("\nfile      71 B  2026-05-07 14:00  notes.txt\n");
    QTest::newRow("created")
        << QStringList(u"--created"_s)
        << QByteArray(
               "^Kind +Size  Modified          Created           Name\n(.*\n)*photo +1.4 MB  2026-05-04 "
               "14:00  (20\\d\\d-\\d\\d-\\d\\d \\d\\d:\\d\\d|-               )  IMG_10.jpg\n");
}

void ToolListTest::columns() {
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, pattern);
    const QString out = QString::fromUtf8(runVkqt(QStringList(u"ls"_s) + arguments, mFolder).out);
    QVERIFY2(QRegularExpression(QString::fromUtf8(pattern)).match(out).hasMatch(), qPrintable(out));
}

void ToolListTest::totals_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("all kinds") << QStringList(u"--all"_s)
                               << QByteArray("3 photos, 1 video, 2 other files, 2 folders, 10 MB\n");
    QTest::newRow("bytes") << QStringList{u"--bytes"_s, u"--no-folders"_s}
                           << QByteArray("3 photos, 1 video, 10 402 300 bytes\n");
    QTest::newRow("folders only") << QStringList(u"--no-files"_s) << QByteArray("2 folders\n");
    QTest::newRow("one") << QStringList{u"--ext"_s, u"png"_s, u"--no-folders"_s}
                         << QByteArray("1 photo, 300 B\n");
    QTest::newRow("nothing passes") << QStringList{u"--ext"_s, u"x"_s, u"--no-folders"_s}
                                    << QByteArray("nothing to show here (--all --hidden shows every file)\n");
}

void ToolListTest::totals() {
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, expected);
    const QByteArray out = runVkqt(QStringList(u"ls"_s) + arguments, mFolder).out;
    QCOMPARE(out.mid(out.lastIndexOf('\n', -2) + 1), expected);
}

void ToolListTest::everyDocumentedKey() {
    const ToolRun run = runVkqt({u"ls"_s, u"--json"_s}, mFolder);
    const QString help = QString::fromUtf8(runVkqt({u"ls"_s, u"--help"_s}).out);
    const QString section = help.mid(help.indexOf(u"\nJSON\n"_s));
    bool ok = false;
    for (const auto& value : jsonArray(run.out, &ok)) {
        const QStringList keys = value.toObject().keys();
        QCOMPARE(keys, QStringList({u"created"_s, u"folder"_s, u"kind"_s, u"link"_s, u"modified"_s, u"name"_s,
                                    u"path"_s, u"size"_s}));
        for (const QString& key : keys) {
            QVERIFY2(section.contains(u"\n  "_s + key + u' '), qPrintable(key));
        }
    }
    QVERIFY(ok);
}

void ToolListTest::jsonValues() {
    bool ok = false;
    const QJsonArray array =
        jsonArray(runVkqt({u"ls"_s, u"--json"_s, u"-R"_s, u"--sort"_s, u"date"_s}, mFolder).out, &ok);
    QVERIFY(ok);
    QHash<QString, QJsonObject> byName;
    for (const auto& value : array) {
        byName[value.toObject().value(u"name"_s).toString()] = value.toObject();
    }
    const QJsonObject photo = byName.value(u"Sub/Inner/a.jpg"_s);
    QCOMPARE(photo.value(u"path"_s), QJsonValue(mFolder + u"/Sub/Inner/a.jpg"_s));
    QCOMPARE(photo.value(u"size"_s), QJsonValue(60));
    QCOMPARE(photo.value(u"folder"_s), QJsonValue(false));
    QCOMPARE(photo.value(u"kind"_s), QJsonValue(u"photo"_s));
    QCOMPARE(photo.value(u"link"_s), QJsonValue(false));
    QCOMPARE(photo.value(u"modified"_s), QJsonValue(u"2026-05-08T12:00:00.000Z"_s));
    const QJsonValue created = photo.value(u"created"_s);
    QVERIFY(created.isNull() || QDateTime::fromString(created.toString(), Qt::ISODateWithMs).isValid());
    const QJsonObject folder = byName.value(u"Sub 2"_s);
    QCOMPARE(folder.value(u"size"_s), QJsonValue(0));
    QCOMPARE(folder.value(u"folder"_s), QJsonValue(true));
    QCOMPARE(folder.value(u"kind"_s), QJsonValue(u"folder"_s));
    QCOMPARE(byName.value(u"clip.MOV"_s).value(u"kind"_s), QJsonValue(u"video"_s));
}

void ToolListTest::severalFolders() {
    const ToolRun run = runVkqt({u"ls"_s, u"Sub"_s, u"Sub/Inner/"_s}, mFolder);
    QCOMPARE(run.status, 0);
    const QByteArray folder = mFolder.toUtf8();
    const QByteArray first = folder + "/Sub:\nKind    Size  Modified          Name\n";
    QVERIFY2(run.out.startsWith(first), run.out.constData());
    QVERIFY(run.out.contains(
        QByteArray("\n\n" + folder +
                   "/Sub/Inner:\nKind   Size  Modified          Name\nphoto  60 B  2026-05-08 "
                   "14:00  a.jpg\n\n1 photo, 60 B\n")));
    bool ok = false;
    const QJsonArray array =
        jsonArray(runVkqt({u"ls"_s, u"--json"_s, u"Sub"_s, u"Sub/Inner"_s}, mFolder).out, &ok);
    QVERIFY(ok);
    QCOMPARE(members(array, u"name"_s), QStringList({u"b.jpg"_s, u"Inner"_s, u"a.jpg"_s}));
}

void ToolListTest::filesAsFolders() {
    const ToolRun run =
        runVkqt({u"ls"_s, u"notes.txt"_s, u"./IMG_10.jpg"_s, u"Sub/Inner"_s, u".hidden.jpg"_s}, mFolder);
    QCOMPARE(run.status, 0);
    QCOMPARE(run.out, "Kind     Size  Modified          Name\n"
                      "photo  1.4 MB  2026-05-04 14:00  ./IMG_10.jpg\n"
                      "photo     5 B  2026-05-01 14:00  .hidden.jpg\n"
                      "file     71 B  2026-05-07 14:00  notes.txt\n"
                      "\n"
                      "2 photos, 1 other file, 1.4 MB\n"
                      "\n" +
                          mFolder.toUtf8() +
                          "/Sub/Inner:\n"
                          "Kind   Size  Modified          Name\n"
                          "photo  60 B  2026-05-08 14:00  a.jpg\n"
                          "\n"
                          "1 photo, 60 B\n");
    QCOMPARE(runVkqt({u"ls"_s, u"--names"_s, u"./notes.txt"_s}, mFolder).out, QByteArray("./notes.txt\n"));
    QCOMPARE(runVkqt({u"ls"_s, u"--paths"_s, u"./notes.txt"_s}, mFolder).out,
             mFolder.toUtf8() + "/notes.txt\n");
}

void ToolListTest::workingFolder() {
    const QStringList expected = {u"b.jpg"_s, u"Inner"_s};
    const QString sub = mFolder + u"/Sub"_s;
    QCOMPARE(listed({}, sub), expected);
    QCOMPARE(listed({u"."_s}, sub), expected);
    QCOMPARE(listed({u".."_s, u"--ext"_s, u"png"_s, u"--no-folders"_s}, sub), QStringList(u"img_3.png"_s));
    QCOMPARE(listed({u"../Sub/"_s}, sub), expected);
    QCOMPARE(listed({sub}, u"/"_s), expected);
    QCOMPARE(listed({u"Inner/.."_s}, sub), expected);
}

void ToolListTest::trouble_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("sentence");
    QTest::newRow("missing") << QStringList(u"/no/such"_s)
                             << u"vkqt ls: /no/such: no such file or folder\n"_s;
    QTest::newRow("missing, relative")
        << QStringList(u"nope"_s) << u"vkqt ls: nope: no such file or folder\n"_s;
    QTest::newRow("below a file") << QStringList(u"notes.txt/x"_s)
                                  << u"vkqt ls: notes.txt/x: not a folder\n"_s;
    QTest::newRow("file as a folder")
        << QStringList(u"notes.txt/"_s) << u"vkqt ls: notes.txt/: not a folder\n"_s;
    QTest::newRow("empty") << QStringList(u""_s) << u"vkqt ls: \"\": not a path\n"_s;
    QTest::newRow("too long") << QStringList(QString(300, u'x'))
                              << u"vkqt ls: %1: file name too long\n"_s.arg(QString(300, u'x'));
    QTest::newRow("hostile") << QStringList(u"\x1b[2J\n"_s)
                             << u"vkqt ls: \\e[2J\\n: no such file or folder\n"_s;
}

void ToolListTest::trouble() {
    QFETCH(QStringList, arguments);
    QFETCH(QString, sentence);
    for (const QStringList& form : {QStringList(), QStringList(u"--names"_s), QStringList(u"-R"_s)}) {
        const ToolRun run = runVkqt(QStringList(u"ls"_s) + form + arguments, mFolder);
        QCOMPARE(run.status, 1);
        QCOMPARE(QString::fromUtf8(run.err), sentence);
        QCOMPARE(run.out, QByteArray());
    }
    const ToolRun run = runVkqt(QStringList{u"ls"_s, u"--json"_s} + arguments, mFolder);
    QCOMPARE(run.status, 1);
    QCOMPARE(run.out, QByteArray("[]\n"));
}

void ToolListTest::restIsListedWhenOneFails() {
    const ToolRun run = runVkqt({u"ls"_s, u"--names"_s, u"Sub"_s, u"nope"_s, u"Sub/Inner"_s}, mFolder);
    QCOMPARE(run.status, 1);
    QCOMPARE(run.out, QByteArray("b.jpg\nInner\na.jpg\n"));
    QCOMPARE(run.err, QByteArray("vkqt ls: nope: no such file or folder\n"));
}

void ToolListTest::unreadableFolders() {
    VKTEST_NEEDS(::geteuid() == 0, "root, to run the tool as another user");
    const QString folder = makeFolder(u"locked"_s);
    QVERIFY(makeItem(folder, "a.jpg", 1) && makeItem(folder, "closed", -1) && makeItem(folder, "open", -1));
    QVERIFY(makeItem(folder + u"/closed"_s, "in.jpg", 1) && makeItem(folder + u"/open"_s, "b.jpg", 1));
    const QFile::Permissions everybody =
        QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadOther | QFile::ExeOther;
    QVERIFY(QFile::setPermissions(folder + u"/closed"_s, QFile::ReadOwner | QFile::ExeOwner));
    QVERIFY(QFile::setPermissions(folder, everybody) && QFile::setPermissions(scratchFolder(), everybody));
    const auto asNobody = [](const QStringList& arguments) {
        return runProgram(u"setpriv"_s,
                          QStringList{u"--reuid=65534"_s, u"--regid=65534"_s, u"--clear-groups"_s,
                                      QStringLiteral(VKQT_TOOL), u"ls"_s} +
                              arguments,
                          u"/"_s);
    };
    const ToolRun whole = asNobody({u"-R"_s, u"--names"_s, folder});
    QCOMPARE(whole.status, 1);
    QCOMPARE(whole.out, QByteArray("a.jpg\nclosed\nopen\nopen/b.jpg\n"));
    QCOMPARE(whole.err, QByteArray("vkqt ls: " + folder.toUtf8() + "/closed: permission denied\n"));
    const ToolRun slash = asNobody({u"-R"_s, u"--names"_s, u"."_s + folder + u'/'});
    QCOMPARE(slash.err, QByteArray("vkqt ls: ." + folder.toUtf8() + "/closed: permission denied\n"));
    const ToolRun closed = asNobody({folder + u"/closed"_s});
    QCOMPARE(closed.status, 1);
    QCOMPARE(closed.out, QByteArray());
    QCOMPARE(closed.err, QByteArray("vkqt ls: " + folder.toUtf8() + "/closed: permission denied\n"));
    const ToolRun below = asNobody({folder + u"/closed/in.jpg"_s});
    QCOMPARE(below.status, 1);
    QCOMPARE(below.err, QByteArray("vkqt ls: " + folder.toUtf8() + "/closed/in.jpg: permission denied\n"));
}

void ToolListTest::links() {
    const QString folder = makeFolder(u"links"_s);
    QVERIFY(makeItem(folder, "real", -1) && makeItem(folder + u"/real"_s, "in.jpg", 7, day(2)) &&
            makeItem(folder, "a.jpg", 5, day(3)));
    QVERIFY(QFile::link(u"."_s, folder + u"/loop"_s));
    QVERIFY(QFile::link(u".."_s, folder + u"/real/up"_s));
    QVERIFY(QFile::link(u"real"_s, folder + u"/to-folder"_s));
    QVERIFY(QFile::link(u"a.jpg"_s, folder + u"/to-file.jpg"_s));
    QVERIFY(QFile::link(u"nowhere"_s, folder + u"/dangling.jpg"_s));
    const QStringList expected = {u"a.jpg"_s,       u"dangling.jpg"_s, u"loop"_s,        u"real"_s,
                                  u"real/in.jpg"_s, u"real/up"_s,      u"to-file.jpg"_s, u"to-folder"_s};
    QCOMPARE(listed({u"-R"_s}, folder), expected);
    bool ok = false;
    const QJsonArray array = jsonArray(runVkqt({u"ls"_s, u"--json"_s, u"-R"_s}, folder).out, &ok);
    QVERIFY(ok);
    QCOMPARE(members(array, u"link"_s), QStringList({u"false"_s, u"true"_s, u"true"_s, u"false"_s, u"false"_s,
                                                     u"true"_s, u"true"_s, u"true"_s}));
    QCOMPARE(members(array, u"folder"_s), QStringList({u"false"_s, u"false"_s, u"true"_s, u"true"_s,
                                                       u"false"_s, u"true"_s, u"false"_s, u"true"_s}));
    QCOMPARE(members(array, u"size"_s),
             QStringList({u"5"_s, u"0"_s, u"0"_s, u"0"_s, u"7"_s, u"0"_s, u"5"_s, u"0"_s}));
    const QByteArray people = runVkqt({u"ls"_s}, folder).out;
    QVERIFY(people.contains("  loop/ (link)\n"));
    QVERIFY(people.contains("2026-05-03 14:00  to-file.jpg (link)\n"));
    QVERIFY(people.contains("  dangling.jpg (link)\n"));
    // A link that is named itself is followed, as a person means it.
    QCOMPARE(listed({u"to-folder"_s}, folder), QStringList({u"in.jpg"_s, u"up"_s}));
    QCOMPARE(listed({u"dangling.jpg"_s}, folder), QStringList(u"dangling.jpg"_s));
    const QJsonArray dangling =
        jsonArray(runVkqt({u"ls"_s, u"--json"_s, u"dangling.jpg"_s}, folder).out, &ok);
    QVERIFY(ok);
    QCOMPARE(members(dangling, u"size"_s), QStringList(u"0"_s));
    QCOMPARE(listed({u"to-folder/../a.jpg"_s}, folder), QStringList(u"to-folder/../a.jpg"_s));
}

// Deeper than a path may be long: what can be reached is listed, the rest is named, and nothing overflows.
void ToolListTest::tooDeep() {
    const QString folder = makeFolder(u"deep"_s);
    int parent = ::open(QFile::encodeName(folder).constData(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    for (int level = 0; level < 1500; ++level) {
        QCOMPARE(::mkdirat(parent, "dddddddd", 0755), 0);
        const int child = ::openat(parent, "dddddddd", O_PATH | O_DIRECTORY | O_CLOEXEC);
        ::close(parent);
        QVERIFY(child >= 0);
        parent = child;
    }
    ::close(parent);
    const ToolRun run = runVkqt({u"ls"_s, u"-R"_s, u"--names"_s}, folder);
    QCOMPARE(run.status, 1);
    QVERIFY(run.err.startsWith("vkqt ls: ./dddddddd/dddddddd/"));
    QVERIFY(run.err.endsWith(": file name too long\n"));
    QCOMPARE(run.err.count('\n'), 1);
    QVERIFY(run.out.count('\n') > 400);
}

void ToolListTest::hostileNames() {
    const QString folder = makeFolder(u"hostile"_s);
    const QList<QByteArray> names = {
        "a\nb.jpg", "esc\x1b[31mred.jpg", "c1\xc2\x9bm.jpg", "\xe2\x80\xaegpj.jpg", "quote\"'.jpg",
        "-R.jpg",   "  blanks .jpg"};
    for (const QByteArray& name : names) {
        QVERIFY(makeItem(folder, name, 1));
    }
    const ToolRun people = runVkqt({u"ls"_s}, folder);
    QCOMPARE(people.status, 0);
    QCOMPARE(people.out.count('\n'), names.size() + 3);
    for (const char* hidden : {"\x1b", "\xc2\x9b", "\xe2\x80\xae"}) {
        QVERIFY(!people.out.contains(hidden));
    }
    for (const char* visible : {"  a\\nb.jpg\n", "  esc\\e[31mred.jpg\n", "  c1\\u009bm.jpg\n",
                                "  \\u202egpj.jpg\n", "  -R.jpg\n", "    blanks .jpg\n"}) {
        QVERIFY2(people.out.contains(visible), visible);
    }
    const ToolRun json = runVkqt({u"ls"_s, u"--json"_s}, folder);
    bool ok = false;
    QStringList texts = members(jsonArray(json.out, &ok), u"name"_s);
    QVERIFY(ok);
    QVERIFY(!json.out.contains("\xc2\x9b"));
    QStringList expected;
    for (const QByteArray& name : names) {
        expected << QString::fromUtf8(name);
    }
    std::sort(texts.begin(), texts.end());
    std::sort(expected.begin(), expected.end());
    QCOMPARE(texts, expected);
}

// What --names and --paths give, other programs open.
void ToolListTest::namesOnDisk() {
    const QString folder = makeFolder(u"bytes"_s);
    const QList<QByteArray> names = {"back\\slash.jpg",   "Cafe\xcc\x81.jpg",
                                     "lat\xe9.jpg",       QByteArray("\xef\xbb\xbf").append("bom.jpg"),
                                     "K\xe2\x84\xaa.jpg", "two\nlines.jpg",
                                     "\xe6\x9d\xb1.jpg"};
    QVERIFY(makeItem(folder, "d\xff", -1));
    for (const QByteArray& name : names) {
        QVERIFY(makeItem(folder, name, 1));
    }
    QCOMPARE(runShell(u": > $'d\\xff/in\\xfe.jpg'"_s, folder).status, 0);
    QList<QByteArray> expected = names;
    expected << "d\xff"
             << "d\xff/in\xfe.jpg";
    QList<QByteArray> given = runVkqt({u"ls"_s, u"-R"_s, u"-0"_s}, folder).out.split('\0');
    QVERIFY(given.removeOne(QByteArray()));
    std::sort(given.begin(), given.end());
    std::sort(expected.begin(), expected.end());
    QCOMPARE(given, expected);
    const ToolRun opened =
        runShell(u"set -o pipefail; \"$VKQT\" ls -R --paths -0 | xargs -0 stat -c %s >/dev/null"_s, folder);
    QCOMPARE(opened.err, QByteArray());
    QCOMPARE(opened.status, 0);
}

void ToolListTest::undecodableFolder() {
    const QString folder = makeFolder(u"undecodable"_s);
    QVERIFY(makeItem(folder, "d\xff", -1));
    QCOMPARE(runShell(u": > $'d\\xff/in.jpg'"_s, folder).status, 0);
    for (const QString& script :
         {u"\"$VKQT\" ls --names $'d\\xff'"_s, u"\"$VKQT\" ls --names $'d\\xef\\xbf\\xbd'"_s,
          u"cd $'d\\xff' && \"$VKQT\" ls --names"_s}) {
        const ToolRun run = runShell(script, folder);
        QCOMPARE(run.err, QByteArray());
        QCOMPARE(run.out, QByteArray("in.jpg\n"));
        QCOMPARE(run.status, 0);
    }
}

void ToolListTest::fiveThousand() {
    constexpr int kCount = 5000;
    const QString folder = makeFolder(u"many"_s);
    for (int i = 0; i < kCount; ++i) {
        // 7919 is prime, so every number comes once and in no order.
        QVERIFY(makeItem(folder, "IMG_" + QByteArray::number(i * 7919 % kCount) + ".jpg", i % 10));
    }
    QStringList expected;
    for (int i = 0; i < kCount; ++i) {
        expected << u"IMG_%1.jpg"_s.arg(i);
    }
    QCOMPARE(listed({}, folder), expected);
    const QStringList bySize = listed({u"--sort"_s, u"size"_s}, folder);
    QCOMPARE(bySize.size(), kCount);
    QCOMPARE(listed({u"--sort"_s, u"size"_s}, folder), bySize);
    const QByteArray people = runVkqt({u"ls"_s}, folder).out;
    QVERIFY(people.endsWith("\n5 000 photos, 23 kB\n"));
}

VKTEST_MAIN(ToolListTest)
#include "ToolListTest.moc"
