// vkqt mv, rm, mkdir, unique, stat and free, run as processes on real folders.
#include "ToolRunner.h"

#include "Support/DiskSupport.h"
#include "Support/LoopFileSystem.h"
#include "Support/VKTest.h"

#include <QJsonObject>

using namespace Qt::StringLiterals;

class ToolItemsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void everyDocumentedKey_data();
    void everyDocumentedKey();
    void emptyText_data();
    void emptyText();
    void deletedWorkingFolder_data();
    void deletedWorkingFolder();
    void makeFolders();
    void remove();
    void removeRefuses();
    void removeSaysWhatIsKept_data();
    void removeSaysWhatIsKept();
    void removeJson();
    void move_data();
    void move();
    void moveNeverOverwrites();
    void moveUnique();
    void moveKeepsTheBytesOfNames();
    void moveWrongLine();
    void moveJson();
    void moveToAnotherFileSystem();
    void interrupted();
    void caseOnly();
    void unique();
    void uniqueJson();
    void statForPeople();
    void statJson();
    void statOfNothing();
    void freeSpace();
    void freeJson();
    void hostileName();

private:
    [[nodiscard]] ToolRun run(const QStringList& arguments) const { return runVkqt(arguments, mFolder); }
    [[nodiscard]] QByteArrayList names(const char* below = "") const {
        return Disk::namesIn(mFolder.toUtf8() + below);
    }
    [[nodiscard]] QJsonObject onlyObject(const ToolRun& result) const;

    QString mFolder;
};

void ToolItemsTest::init() {
    VKTest::init();
    mFolder = makeFolder(u"items"_s);
    QVERIFY(makeItem(mFolder, "a.jpg", 1500) && makeItem(mFolder, "b.jpg", 3) &&
            makeItem(mFolder, "sub", -1) && makeItem(mFolder + u"/sub"_s, "inside.jpg", 4));
    QVERIFY(QFile::link(u"sub"_s, mFolder + u"/link"_s));
    QVERIFY(QFile::link(u"nowhere"_s, mFolder + u"/dangling"_s));
}

void ToolItemsTest::cleanup() { removeAll(mFolder); }

QJsonObject ToolItemsTest::onlyObject(const ToolRun& result) const {
    bool ok = false;
    const QJsonArray array = jsonArray(result.out, &ok);
    return ok && array.size() == 1 ? array.first().toObject() : QJsonObject();
}

void ToolItemsTest::everyDocumentedKey_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("mkdir") << QStringList{u"mkdir"_s, u"new"_s};
    QTest::newRow("rm") << QStringList{u"rm"_s, u"a.jpg"_s};
    QTest::newRow("mv") << QStringList{u"mv"_s, u"a.jpg"_s, u"c.jpg"_s};
    QTest::newRow("unique") << QStringList{u"unique"_s, u"a.jpg"_s};
    QTest::newRow("stat") << QStringList{u"stat"_s, u"a.jpg"_s};
    QTest::newRow("free") << QStringList{u"free"_s, u"a.jpg"_s};
}

void ToolItemsTest::everyDocumentedKey() {
    QFETCH(QStringList, arguments);
    const QJsonObject object = onlyObject(run(QStringList{arguments} << u"--json"_s));
    QVERIFY(!object.isEmpty());
    const QByteArray help = run({arguments.constFirst(), u"--help"_s}).out;
    const qsizetype keys = help.indexOf("JSON");
    QVERIFY(keys > 0);
    for (const QString& key : object.keys()) {
        QVERIFY2(help.indexOf(QByteArray("\n  " + key.toUtf8() + ' '), keys) > 0, qPrintable(key));
    }
    QCOMPARE(help.sliced(keys).contains("error"), object.contains(u"error"_s));
}

void ToolItemsTest::emptyText_data() {
    QTest::addColumn<QStringList>("arguments");
    const QString none = u""_s; // as "$VARIABLE" that nobody set
    QTest::newRow("mkdir") << QStringList{u"mkdir"_s, none};
    QTest::newRow("rm") << QStringList{u"rm"_s, u"--recursive"_s, none};
    QTest::newRow("mv, the source") << QStringList{u"mv"_s, none, u"new"_s};
    QTest::newRow("mv, the target") << QStringList{u"mv"_s, u"a.jpg"_s, none};
    QTest::newRow("unique") << QStringList{u"unique"_s, none};
    QTest::newRow("unique with a word") << QStringList{u"unique"_s, u"--word"_s, u"Kopie"_s, none};
    QTest::newRow("stat") << QStringList{u"stat"_s, none};
    QTest::newRow("free") << QStringList{u"free"_s, none};
}

void ToolItemsTest::emptyText() {
    QFETCH(QStringList, arguments);
    const QByteArrayList before = names();
    const ToolRun result = run(arguments);
    QCOMPARE(result.err, "vkqt " + arguments.first().toUtf8() + ": \"\": not a path\n");
    QCOMPARE(result.out, QByteArray());
    QCOMPARE(result.status, 1);
    QCOMPARE(names(), before);
}

void ToolItemsTest::deletedWorkingFolder_data() {
    QTest::addColumn<QString>("command");
    QTest::newRow("stat") << u"stat ."_s;
    QTest::newRow("free") << u"free ."_s;
    QTest::newRow("unique") << u"unique tmp"_s;
    QTest::newRow("ls") << u"ls ."_s;
    QTest::newRow("trashed") << u"trashed ."_s;
    QTest::newRow("cp") << u"cp etc/hostname \"$keep/new\""_s;
}

void ToolItemsTest::deletedWorkingFolder() {
    QFETCH(QString, command);
    // The root is there, and has these, but it is not meant.
    const ToolRun result =
        runShell(u"keep=$PWD; mkdir gone; cd gone; rmdir ../gone; \"$VKQT\" "_s + command, mFolder);
    const QByteArray words = "vkqt " + command.section(u' ', 0, 1).replace(u' ', u": "_s).toUtf8();
    QVERIFY2(result.err.startsWith(words), result.err);
    QCOMPARE(result.out, QByteArray());
    QCOMPARE(result.status, 1);
    QVERIFY(!names().contains("new"));
}

void ToolItemsTest::makeFolders() {
    const ToolRun made = run({u"mkdir"_s, u"x/y/z"_s, u"sub"_s, u"link"_s});
    QCOMPARE(made.status, 0);
    QCOMPARE(made.out, QByteArray("made x/y/z\nis there already: sub\nis there already: link\n"));
    QVERIFY(Disk::exists(mFolder.toUtf8() + "/x/y/z/."));
    const ToolRun taken = run({u"mkdir"_s, u"a.jpg"_s, u"a.jpg/deep"_s, u"new"_s});
    QCOMPARE(taken.status, 1);
    QCOMPARE(taken.out, QByteArray("made new\n"));
    QCOMPARE(taken.err, QByteArray("vkqt mkdir: a.jpg: file exists\nvkqt mkdir: a.jpg/deep: not a folder\n"));
    const QJsonObject json = onlyObject(run({u"mkdir"_s, u"--json"_s, u"sub"_s}));
    QCOMPARE(json.value(u"made"_s), QJsonValue(false));
    QCOMPARE(json.value(u"error"_s), QJsonValue(QJsonValue::Null));
}

void ToolItemsTest::remove() {
    const ToolRun files = run({u"rm"_s, u"a.jpg"_s, u"link"_s, u"dangling"_s});
    QCOMPARE(files.status, 0);
    QVERIFY(files.out.startsWith("deleted a.jpg\ndeleted link\ndeleted dangling\n"));
    QCOMPARE(names(), (QByteArrayList{"b.jpg", "sub"}));
    QCOMPARE(names("/sub"), QByteArrayList{"inside.jpg"});
    QCOMPARE(run({u"rm"_s, u"-r"_s, u"sub"_s}).status, 0);
    QCOMPARE(names(), QByteArrayList{"b.jpg"});
}

void ToolItemsTest::removeRefuses() {
    const ToolRun refused = run({u"rm"_s, u"sub"_s, u"none"_s, u"a.jpg"_s});
    QCOMPARE(refused.status, 1);
    QCOMPARE(refused.err, QByteArray("vkqt rm: sub: is a folder\nvkqt rm: none: no such file or folder\n"));
    QVERIFY(!names().contains("a.jpg"));
    QVERIFY(names().contains("sub"));
    // Not even when told to.
    const ToolRun home =
        run({u"rm"_s, u"--recursive"_s, u"--"_s, QString::fromUtf8(qgetenv("HOME")), u"/"_s});
    QCOMPARE(home.status, 1);
    QCOMPARE(home.err, "vkqt rm: " + qgetenv("HOME") +
                           ": is the home folder\n"
                           "vkqt rm: /: is the root of the file system\n");
    QVERIFY(Disk::exists(qgetenv("HOME")));
}

// What may not go, as it is named on the command line, and why.
void ToolItemsTest::removeSaysWhatIsKept_data() {
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("given");
    QTest::addColumn<QByteArray>("reason");
    for (const QString& command : {u"rm"_s, u"trash"_s}) {
        const auto row = [&command](const char* name, const QString& given, const char* reason) {
            QTest::addRow("%s, %s", qPrintable(command), name) << command << given << QByteArray(reason);
        };
        row("root", u"/"_s, "is the root of the file system");
        row("home", u"sub/home"_s, "is the home folder");
        row("home with a slash", u"sub/home/"_s, "is the home folder");
        row("home through a link", u"link/home"_s, "is the home folder");
        row("around the home", u"sub"_s, "holds the home folder");
        row("mount point", u"card"_s, "is a mount point");
        row("mount point through a link", u"sub/up/card"_s, "is a mount point");
        row("around a mount point", u"around"_s,
            command == "rm"_L1 ? "holds a mount point, or somebody goes on changing it"
                               : "holds a mount point, or belongs to a recycle bin");
    }
}

void ToolItemsTest::removeSaysWhatIsKept() {
    QFETCH(QString, command);
    QFETCH(QString, given);
    QFETCH(QByteArray, reason);
    const QByteArray folder = mFolder.toUtf8();
    for (const char* name : {"/sub/home", "/card", "/around", "/around/card"}) {
        Disk::makeFolder(folder + name);
    }
    Disk::makeLink(folder + "/sub/up", "..");
    const Disk::TemporaryFileSystem card(folder + "/card", "size=1m");
    const Disk::TemporaryFileSystem inner(folder + "/around/card", "size=1m");
    VKTEST_NEEDS(card.isMounted() && inner.isMounted(), "root, to mount a file system");
    const QString options = command == "rm"_L1 ? u"--recursive"_s : QString();
    const ToolRun refused =
        runShell(u"HOME=\"$PWD/sub/home\" \"$VKQT\" %1 %2 %3"_s.arg(command, options, given), mFolder);
    QCOMPARE(refused.err, "vkqt " + command.toUtf8() + ": " + given.toUtf8() + ": " + reason + '\n');
    QCOMPARE(refused.status, 1);
    QCOMPARE(refused.out, QByteArray());
    for (const char* name : {"/sub/home", "/card", "/around/card"}) {
        QVERIFY(Disk::exists(folder + name));
    }
}

void ToolItemsTest::removeJson() {
    // What the recycle bin would have kept: the same answer as the library's, asked before.
    const ToolRun people = run({u"rm"_s, u"a.jpg"_s});
    const QJsonObject object = onlyObject(run({u"rm"_s, u"--json"_s, u"b.jpg"_s}));
    QCOMPARE(object.value(u"deleted"_s), QJsonValue(true));
    QCOMPARE(object.value(u"folder"_s), QJsonValue(false));
    QVERIFY(object.value(u"recyclable"_s).isBool());
    QCOMPARE(people.out.contains("\"vkqt trash\" would have kept 1 item in the recycle bin.\n"),
             object.value(u"recyclable"_s).toBool());
    // What is in the bin already would not have been kept by it.
    const QByteArray bin = qgetenv("XDG_DATA_HOME") + "/Trash";
    QVERIFY(QDir().mkpath(QString::fromUtf8(bin + "/files")) &&
            QDir().mkpath(QString::fromUtf8(bin + "/info")));
    Disk::makeFile(bin + "/files/thrown away", "x");
    const QString inside = QString::fromUtf8(bin + "/files/thrown away");
    QCOMPARE(run({u"rm"_s, inside}).out, QByteArray("deleted " + inside.toUtf8() + '\n'));
    const ToolRun refused = run({u"rm"_s, u"--json"_s, u"sub"_s});
    QCOMPARE(refused.status, 1);
    QCOMPARE(onlyObject(refused).value(u"error"_s), QJsonValue(u"is a folder"_s));
}

void ToolItemsTest::move_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArrayList>("top");
    QTest::addColumn<QByteArrayList>("below");
    QTest::newRow("new name") << QStringList{u"a.jpg"_s, u"c.jpg"_s}
                              << QByteArrayList{"b.jpg", "c.jpg", "dangling", "link", "sub"}
                              << QByteArrayList{"inside.jpg"};
    QTest::newRow("into a folder") << QStringList{u"a.jpg"_s, u"sub"_s}
                                   << QByteArrayList{"b.jpg", "dangling", "link", "sub"}
                                   << QByteArrayList{"a.jpg", "inside.jpg"};
    QTest::newRow("into a folder by a link")
        << QStringList{u"a.jpg"_s, u"link"_s} << QByteArrayList{"b.jpg", "dangling", "link", "sub"}
        << QByteArrayList{"a.jpg", "inside.jpg"};
    QTest::newRow("several") << QStringList{u"a.jpg"_s, u"b.jpg"_s, u"dangling"_s, u"sub/"_s}
                             << QByteArrayList{"link", "sub"}
                             << QByteArrayList{"a.jpg", "b.jpg", "dangling", "inside.jpg"};
    QTest::newRow("out of a folder") << QStringList{u"sub/inside.jpg"_s, u"."_s}
                                     << QByteArrayList{"a.jpg",      "b.jpg", "dangling",
                                                       "inside.jpg", "link",  "sub"}
                                     << QByteArrayList{};
}

void ToolItemsTest::move() {
    QFETCH(QStringList, arguments);
    const ToolRun moved = run(QStringList{u"mv"_s} + arguments);
    QCOMPARE(moved.err, QByteArray());
    QCOMPARE(moved.status, 0);
    QTEST(names(), "top");
    QTEST(names("/sub"), "below");
}

void ToolItemsTest::moveNeverOverwrites() {
    QVERIFY(makeItem(mFolder + u"/sub"_s, "a.jpg", 9));
    for (const QStringList& arguments :
         {QStringList{u"a.jpg"_s, u"b.jpg"_s}, QStringList{u"a.jpg"_s, u"sub"_s},
          QStringList{u"a.jpg"_s, u"dangling"_s}}) {
        const ToolRun refused = run(QStringList{u"mv"_s} + arguments);
        QCOMPARE(refused.status, 1);
        QVERIFY2(refused.err.endsWith(": file exists\n"), refused.err.constData());
    }
    QCOMPARE(run({u"mv"_s, u"a.jpg"_s, u"sub/"_s}).err, QByteArray("vkqt mv: sub/a.jpg: file exists\n"));
    QCOMPARE(run({u"mv"_s, u"a.jpg"_s, u"./b.jpg"_s}).err, QByteArray("vkqt mv: ./b.jpg: file exists\n"));
    QCOMPARE(run({u"mv"_s, u"sub"_s, u"sub"_s}).status, 1);
    QCOMPARE(Disk::contentOf(mFolder.toUtf8() + "/a.jpg").size(), 1500);
    QCOMPARE(Disk::contentOf(mFolder.toUtf8() + "/b.jpg").size(), 3);
    QCOMPARE(Disk::contentOf(mFolder.toUtf8() + "/sub/a.jpg").size(), 9);
}

void ToolItemsTest::moveUnique() {
    QVERIFY(makeItem(mFolder + u"/sub"_s, "a.jpg", 9));
    const ToolRun moved = run({u"mv"_s, u"--unique"_s, u"a.jpg"_s, u"b.jpg"_s, u"sub"_s});
    QCOMPARE(moved.status, 0);
    QCOMPARE(names("/sub"), (QByteArrayList{"a copy.jpg", "a.jpg", "b.jpg", "inside.jpg"}));
    QCOMPARE(Disk::contentOf(mFolder.toUtf8() + "/sub/a copy.jpg").size(), 1500);
}

void ToolItemsTest::moveKeepsTheBytesOfNames() {
    QVERIFY(makeItem(mFolder, "lat\xE9.jpg", 1) && makeItem(mFolder, "e\xCC\x81\n%41.jpg", 2));
    const ToolRun moved = runShell(u"\"$VKQT\" mv lat* e* sub"_s, mFolder);
    QCOMPARE(moved.status, 0);
    QCOMPARE(names("/sub"), (QByteArrayList{"e\xCC\x81\n%41.jpg", "inside.jpg", "lat\xE9.jpg"}));
}

void ToolItemsTest::moveWrongLine() {
    QCOMPARE(run({u"mv"_s, u"a.jpg"_s}).status, 2);
    QCOMPARE(run({u"mv"_s, u"a.jpg"_s, u"b.jpg"_s, u"new"_s}).status, 2);
    QCOMPARE(names().size(), 5);
    QCOMPARE(run({u"mv"_s, u"none"_s, u"new"_s}).status, 1);
}

void ToolItemsTest::moveJson() {
    const ToolRun moved = run({u"mv"_s, u"--json"_s, u"none"_s, u"a.jpg"_s, u"sub"_s});
    QCOMPARE(moved.status, 1);
    bool ok = false;
    const QJsonArray array = jsonArray(moved.out, &ok);
    QVERIFY(ok && array.size() == 2);
    QCOMPARE(array.at(0).toObject().value(u"to"_s), QJsonValue(QJsonValue::Null));
    QCOMPARE(array.at(0).toObject().value(u"error"_s), QJsonValue(u"no such file or folder"_s));
    QCOMPARE(array.at(1).toObject().value(u"to"_s), QJsonValue(mFolder + u"/sub/a.jpg"_s));
    QCOMPARE(array.at(1).toObject().value(u"moved"_s), QJsonValue(true));
}

void ToolItemsTest::moveToAnotherFileSystem() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    const QByteArray other = mFolder.toUtf8() + "/other";
    Disk::makeFolder(other);
    {
        const Disk::TemporaryFileSystem memory(other, "size=1m");
        VKTEST_NEEDS(memory.isMounted(), "a system that can mount tmpfs");
        QCOMPARE(run({u"mv"_s, u"sub"_s, u"a.jpg"_s, u"other"_s}).status, 0);
        QCOMPARE(Disk::namesIn(other), (QByteArrayList{"a.jpg", "sub"}));
        QCOMPARE(Disk::namesIn(other + "/sub"), QByteArrayList{"inside.jpg"});
        Disk::makeFile(mFolder.toUtf8() + "/large.raw", QByteArray(3 << 20, 'x'));
        const ToolRun full = run({u"mv"_s, u"large.raw"_s, u"other"_s});
        QCOMPARE(full.status, 1);
        QCOMPARE(full.err, QByteArray("vkqt mv: large.raw: no space left on device\n"));
        QVERIFY(Disk::exists(mFolder.toUtf8() + "/large.raw"));
        QCOMPARE(Disk::namesIn(other), (QByteArrayList{"a.jpg", "sub"}));
    }
}

// Ctrl-C at the first call that copies content.
void ToolItemsTest::interrupted() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    VKTEST_NEEDS(Disk::runs("command -v strace"), "strace");
    const QByteArray other = mFolder.toUtf8() + "/other";
    Disk::makeFolder(other);
    const Disk::TemporaryFileSystem memory(other, "size=64m");
    VKTEST_NEEDS(memory.isMounted(), "a system that can mount tmpfs");
    const QByteArray content(20 << 20, 'x');
    Disk::makeFile(mFolder.toUtf8() + "/sub/large.raw", content);
    for (const QString& item : {u"sub/large.raw"_s, u"sub"_s}) {
        // The leak checker of a sanitizer build does not run under strace.
        const ToolRun told = runShell(
            u"export ASAN_OPTIONS=detect_leaks=0; exec strace -f -o /dev/null -e trace=copy_file_range "
            "-e inject=copy_file_range:signal=SIGINT:when=1 \"$VKQT\" mv %1 other"_s.arg(item),
            mFolder);
        QCOMPARE(told.err, "vkqt mv: " + item.toUtf8() + ": cancelled\n");
        QCOMPARE(told.status, 1);
        QCOMPARE(told.out, QByteArray());
        QCOMPARE(Disk::namesIn(other), QByteArrayList());
        QCOMPARE(Disk::contentOf(mFolder.toUtf8() + "/sub/large.raw"), content);
        QCOMPARE(names("/sub"), (QByteArrayList{"inside.jpg", "large.raw"}));
    }
    // Nor is what comes behind it moved, which would be one step.
    Disk::makeFolder(other + "/into");
    Disk::makeFile(other + "/small", "s");
    const ToolRun several = runShell(
        u"export ASAN_OPTIONS=detect_leaks=0; exec strace -f -o /dev/null -e trace=copy_file_range "
        "-e inject=copy_file_range:signal=SIGINT:when=1 \"$VKQT\" mv sub/large.raw other/small other/into"_s,
        mFolder);
    QCOMPARE(several.err, QByteArray("vkqt mv: sub/large.raw: cancelled\nvkqt mv: other/small: cancelled\n"));
    QCOMPARE(Disk::namesIn(other), (QByteArrayList{"into", "small"}));
}

void ToolItemsTest::caseOnly() {
    QCOMPARE(run({u"mv"_s, u"a.jpg"_s, u"A.JPG"_s}).status, 0);
    QVERIFY(names().contains("A.JPG") && !names().contains("a.jpg"));
    const QByteArray folder = mFolder.toUtf8() + "/card";
    Disk::makeFolder(folder);
    const Disk::LoopFileSystem exfat("exfat", folder);
    VKTEST_NEEDS(exfat.isMounted(), "root, loop devices and exfat in user space");
    Disk::makeFile(folder + "/photo.jpg", "photo");
    Disk::makeFolder(folder + "/dcim");
    QCOMPARE(run({u"mv"_s, u"card/photo.jpg"_s, u"card/Photo.JPG"_s}).status, 0);
    QCOMPARE(run({u"mv"_s, u"card/dcim"_s, u"card/DCIM"_s}).status, 0);
    QCOMPARE(Disk::namesIn(folder), (QByteArrayList{"DCIM", "Photo.JPG"}));
}

void ToolItemsTest::unique() {
    const QByteArray folder = mFolder.toUtf8();
    QVERIFY(makeItem(mFolder, "a copy.jpg", 1) && makeItem(mFolder, "2026.11", -1));
    const ToolRun found = run({u"unique"_s, u"a.jpg"_s, u"new.jpg"_s, u"2026.11"_s, u"b.jpg"_s});
    QCOMPARE(found.status, 0);
    QCOMPARE(found.out, folder + "/a copy 2.jpg\n" + folder + "/new.jpg\n" + folder + "/2026.11 copy\n" +
                            folder + "/b copy.jpg\n");
    QCOMPARE(run({u"unique"_s, u"--word"_s, u"Kopie"_s, u"a.jpg"_s}).out, folder + "/a Kopie.jpg\n");
    QCOMPARE(run({u"unique"_s, u"--word="_s, u"a.jpg"_s}).status, 2);
    QCOMPARE(run({u"unique"_s, u"/"_s}).status, 1);
}

void ToolItemsTest::uniqueJson() {
    const QJsonObject object = onlyObject(run({u"unique"_s, u"--json"_s, u"a.jpg"_s}));
    QCOMPARE(object.value(u"free"_s), QJsonValue(mFolder + u"/a copy.jpg"_s));
    QCOMPARE(onlyObject(run({u"unique"_s, u"--json"_s, u"/"_s})).value(u"free"_s),
             QJsonValue(QJsonValue::Null));
}

void ToolItemsTest::statForPeople() {
    QVERIFY(makeItem(mFolder, "a.xmp", 10));
    QCOMPARE(::chmod(Disk::text(mFolder.toUtf8() + "/a.jpg"), 0640), 0);
    const ToolRun told = run({u"stat"_s, u"a.jpg"_s, u"dangling"_s, u"sub"_s});
    QCOMPARE(told.status, 0);
    for (const char* part : {"size         1.5 kB (1 500 bytes)\n", "rw-r-----", "can be made beside it",
                             "can be made in it", "link to nothing", "kind         folder", "/a.xmp\n"}) {
        QVERIFY2(told.out.contains(part), told.out.constData());
    }
}

void ToolItemsTest::statJson() {
    QVERIFY(makeItem(mFolder, "a.xmp", 10));
    QCOMPARE(::chmod(Disk::text(mFolder.toUtf8() + "/a.jpg"), 0640), 0);
    const QJsonObject object = onlyObject(run({u"stat"_s, u"--json"_s, u"a.jpg"_s}));
    QCOMPARE(object.value(u"size"_s), QJsonValue(1500));
    QCOMPARE(object.value(u"mode"_s), QJsonValue(u"0640"_s));
    QCOMPARE(object.value(u"names"_s), QJsonValue(1));
    QCOMPARE(object.value(u"owner"_s), QJsonValue(static_cast<int>(::geteuid())));
    QCOMPARE(object.value(u"kind"_s), QJsonValue(u"photo"_s));
    QCOMPARE(object.value(u"writable"_s), QJsonValue(true));
    QVERIFY(object.value(u"sidecar"_s).toString().endsWith(u"a.xmp"_s));
    const QJsonObject link = onlyObject(run({u"stat"_s, u"--json"_s, u"dangling"_s}));
    QCOMPARE(link.value(u"dangling"_s), QJsonValue(true));
    QCOMPARE(link.value(u"mode"_s), QJsonValue(QJsonValue::Null));
}

void ToolItemsTest::statOfNothing() {
    const ToolRun told = run({u"stat"_s, u"--json"_s, u"none"_s});
    QCOMPARE(told.status, 1);
    QCOMPARE(told.err, QByteArray("vkqt stat: none: no such file or folder\n"));
    const QJsonObject object = onlyObject(told);
    QCOMPARE(object.value(u"exists"_s), QJsonValue(false));
    for (const QString& key :
         {u"size"_s, u"kind"_s, u"mode"_s, u"writable"_s, u"recyclable"_s, u"modified"_s}) {
        QCOMPARE(object.value(key), QJsonValue(QJsonValue::Null));
    }
}

void ToolItemsTest::freeSpace() {
    const ToolRun here = run({u"free"_s});
    QCOMPARE(here.status, 0);
    QVERIFY(here.out.startsWith("Free") || here.out.contains("Free"));
    QVERIFY(here.out.contains(mFolder.toUtf8()));
    const ToolRun unknown = run({u"free"_s, u"/proc"_s, u"a.jpg"_s});
    QCOMPARE(unknown.status, 1);
    QCOMPARE(unknown.err, QByteArray("vkqt free: /proc: operation not supported\n"));
    QVERIFY(unknown.out.contains(" yes  "));
}

void ToolItemsTest::freeJson() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to mount a file system");
    const QByteArray other = mFolder.toUtf8() + "/other";
    Disk::makeFolder(other);
    const Disk::TemporaryFileSystem memory(other, "size=1m");
    VKTEST_NEEDS(memory.isMounted(), "a system that can mount tmpfs");
    const QJsonObject object = onlyObject(run({u"free"_s, u"--json"_s, u"other"_s}));
    QCOMPARE(object.value(u"free"_s), QJsonValue(1 << 20));
    QCOMPARE(object.value(u"writable"_s), QJsonValue(true));
    const QJsonObject missing = onlyObject(run({u"free"_s, u"--json"_s, u"other/none"_s}));
    QCOMPARE(missing.value(u"free"_s), QJsonValue(1 << 20));
    QCOMPARE(missing.value(u"writable"_s), QJsonValue(QJsonValue::Null));
    QVERIFY(run({u"free"_s, u"--bytes"_s, u"other"_s}).out.contains("1 048 576"));
}

// A name cannot drive the terminal.
void ToolItemsTest::hostileName() {
    QVERIFY(makeItem(mFolder, "\x1b[31mred.jpg", 1));
    const QString name = u"\x1b[31mred.jpg"_s;
    for (const QStringList& arguments :
         {QStringList{u"stat"_s, name}, QStringList{u"free"_s, name}, QStringList{u"mv"_s, name, u"sub"_s},
          QStringList{u"rm"_s, u"sub/"_s + name}, QStringList{u"mkdir"_s, name}}) {
        const ToolRun told = run(arguments);
        QCOMPARE(told.status, 0);
        QVERIFY2(!told.out.contains('\x1b') && !told.err.contains('\x1b'),
                 qPrintable(arguments.constFirst()));
    }
}

VKTEST_MAIN(ToolItemsTest)
#include "ToolItemsTest.moc"
