// vkqt cp, run as a process: what it copies, what it refuses, how it is ended, what it tells.
#include "ToolRunner.h"

#include "Support/ItemRecord.h"
#include "Support/VKTest.h"

#include <QJsonObject>

#include <csignal>

using namespace Qt::StringLiterals;

class ToolCopyTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { mFolder = makeFolder(u"copies"_s); }
    void cleanupTestCase() { removeAll(scratchFolder()); }
    void init();

    void copiesAFile();
    void copiesAFolder();
    void linksStayLinks();
    void refused_data();
    void refused();
    void merges();
    void json();
    void jsonOfAFailure();
    void everyDocumentedKey();
    void namesOnDisk_data();
    void namesOnDisk();
    void barOnATerminal();
    void cancelled_data();
    void cancelled();
    void secondInterruptOfAnImpatientPerson();
    void ignoredSignalStaysIgnored();
    void fullDisk();
    void somebodyElseIsFaster();
    void tellsWhatItHasToLeave();

private:
    [[nodiscard]] ToolRun run(const QStringList& arguments) const {
        return runVkqt(QStringList{u"cp"_s} + arguments, mFolder);
    }
    [[nodiscard]] QByteArray at(const char* name) const { return mFolder.toUtf8() + '/' + name; }
    /// Runs a copy, which stops in the middle for what the script does and goes on.
    [[nodiscard]] ToolRun runHeld(const QString& copy, const QString& script) const;
    void makeAlbum();
    void makeMany(const QByteArray& folder, int files);

    QString mFolder;
};

namespace {

/// Its options say at which system calls what happens: nothing depends on who is faster.
const QString kTraced = u"ASAN_OPTIONS=detect_leaks=0 strace -f "_s;

} // namespace

void ToolCopyTest::init() {
    removeAll(mFolder);
    QVERIFY(QDir().mkpath(mFolder));
}

void ToolCopyTest::makeAlbum() {
    QVERIFY(makeItem(mFolder, "album", -1));
    QVERIFY(makeItem(mFolder, "album/2024", -1));
    QVERIFY(makeItem(mFolder, "album/a.jpg", 1500));
    QVERIFY(makeItem(mFolder, "album/2024/b.jpg", 2500));
    Disk::makeLink(at("album/newest"), "2024/b.jpg");
}

void ToolCopyTest::makeMany(const QByteArray& folder, int files) {
    QVERIFY(makeItem(mFolder, folder, -1));
    for (int i = 0; i < files; ++i) {
        QVERIFY(makeItem(mFolder, folder + '/' + QByteArray::number(i), 1));
    }
}

ToolRun ToolCopyTest::runHeld(const QString& copy, const QString& script) const {
    return runShell(
        u"record=$(mktemp)\n"_s + kTraced +
            u"-o \"$record\" -e trace=utimensat -e inject=utimensat:signal=SIGSTOP:when=10 "_s + copy +
            u" & held=$!\n"
            "until read -r pid _ < <(grep 'stopped by SIGSTOP' \"$record\"); do kill -0 $held || exit; done\n"_s +
            script + u"\nwhile kill -CONT $pid 2>/dev/null; do :; done; wait $held"_s,
        mFolder);
}

void ToolCopyTest::copiesAFile() {
    QVERIFY(makeItem(mFolder, "a.jpg", 1500));
    Disk::setTime(at("a.jpg"), 1'000'000'000, 123'456'789);
    const ToolRun run = this->run({u"a.jpg"_s, u"b.jpg"_s});
    QCOMPARE(run.err, QByteArray());
    QCOMPARE(run.status, 0);
    QVERIFY2(run.out.startsWith(QByteArray("1 file, 1.5 kB, to " + at("b.jpg") + " in ")), run.out);
    QCOMPARE(Disk::recordOf(at("b.jpg"), Disk::kAllParts), Disk::recordOf(at("a.jpg"), Disk::kAllParts));
}

void ToolCopyTest::copiesAFolder() {
    makeAlbum();
    const ToolRun run = this->run({u"album/"_s, u"new/copy"_s});
    QCOMPARE(run.err, QByteArray());
    QCOMPARE(run.status, 0);
    QVERIFY2(run.out.startsWith("3 files, 4.0 kB, to "), run.out);
    QCOMPARE(Disk::recordsBelow(at("new/copy"), Disk::kAllParts),
             Disk::recordsBelow(at("album"), Disk::kAllParts));
}

void ToolCopyTest::linksStayLinks() {
    makeAlbum();
    Disk::makeLink(at("to folder"), "album");
    Disk::makeLink(at("to nothing"), "gone");
    QCOMPARE(run({u"to folder"_s, u"copy 1"_s}).status, 0);
    QCOMPARE(run({u"to nothing"_s, u"copy 2"_s}).status, 0);
    QCOMPARE(Disk::linkTarget(at("copy 1")), QByteArray("album"));
    QCOMPARE(Disk::linkTarget(at("copy 2")), QByteArray("gone"));
}

void ToolCopyTest::refused_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("words");
    const auto row = [](const char* name, const QStringList& arguments, int status, const char* words) {
        QTest::newRow(name) << arguments << status << QByteArray(words);
    };
    row("missing source", {u"gone"_s, u"copy"_s}, 1, "vkqt cp: gone: no such file or folder\n");
    row("empty source", {QString(u""_s), u"copy"_s}, 1, "vkqt cp: \"\": not a path\n");
    row("empty destination", {u"album"_s, QString(u""_s)}, 1, "vkqt cp: \"\": not a path\n");
    row("no destination", {u"album"_s}, 2, "it needs TO");
    row("file over a file", {u"file"_s, u"other"_s}, 1, "file exists");
    row("file over a folder", {u"file"_s, u"album"_s}, 1, "file exists");
    row("file over a link to nothing", {u"file"_s, u"dangling"_s}, 1, "file exists");
    row("file onto itself", {u"file"_s, u"./file"_s}, 2, "lies inside");
    row("file onto itself through a link", {u"file"_s, u"link/../file"_s}, 2, "lies inside");
    row("folder over a folder", {u"album"_s, u"full"_s}, 1, "file exists");
    row("folder over a file", {u"album"_s, u"file"_s}, 1, "file exists");
    row("folder over a file, merging", {u"--merge"_s, u"album"_s, u"file"_s}, 1, "file exists");
    row("folder over a link to a folder, merging", {u"--merge"_s, u"album"_s, u"link"_s}, 1, "file exists");
    row("folder onto itself", {u"album"_s, u"album/"_s}, 2, "the source or lies inside it");
    row("folder onto itself, merging", {u"--merge"_s, u"album"_s, u"album"_s}, 2, "lies inside it");
    row("folder onto itself, another case", {u"album"_s, u"ALBUM"_s}, 2, "lies inside it");
    row("folder onto itself through a link", {u"--merge"_s, u"album"_s, u"link/../album"_s}, 2,
        "lies inside");
    row("folder into itself", {u"album"_s, u"album/2024/copy"_s}, 2, "lies inside it");
    row("folder into itself through a link", {u"album"_s, u"to album/new/copy"_s}, 2, "lies inside it");
    row("folder over what it lies in", {u"--merge"_s, u"album/2024"_s, u"album"_s}, 2, "lies inside it");
    row("folder over the root", {u"--merge"_s, u"album"_s, u"/"_s}, 2, "lies inside it");
    row("fifo", {u"fifo"_s, u"copy"_s}, 1, "not supported");
    row("into a missing folder", {u"file"_s, u"gone/copy"_s}, 1,
        "vkqt cp: gone/copy: no such file or folder\n");
}

void ToolCopyTest::refused() {
    QFETCH(QStringList, arguments);
    QFETCH(int, status);
    QFETCH(QByteArray, words);
    makeAlbum();
    QVERIFY(makeItem(mFolder, "full", -1));
    QVERIFY(makeItem(mFolder, "full/kept.jpg", 10));
    QVERIFY(makeItem(mFolder, "file", 10));
    QVERIFY(makeItem(mFolder, "other", 20));
    Disk::makeLink(at("link"), "full");
    Disk::makeLink(at("to album"), "album");
    Disk::makeLink(at("dangling"), "gone");
    Disk::makeFifo(at("fifo"));
    const QByteArrayList before = Disk::recordsBelow(mFolder.toUtf8(), Disk::kAllParts);
    const ToolRun run = this->run(arguments);
    QCOMPARE(run.status, status);
    QVERIFY2(run.err.contains(words), run.err);
    QCOMPARE(run.out, QByteArray());
    QCOMPARE(Disk::recordsBelow(mFolder.toUtf8(), Disk::kAllParts), before);
}

void ToolCopyTest::merges() {
    makeAlbum();
    QVERIFY(makeItem(mFolder, "full", -1));
    QVERIFY(makeItem(mFolder, "full/kept.jpg", 10));
    QCOMPARE(run({u"--merge"_s, u"album"_s, u"full"_s}).status, 0);
    QCOMPARE(Disk::namesIn(at("full")), (QByteArrayList{"2024", "a.jpg", "kept.jpg", "newest"}));
    // As its help says: a copy that fails deletes it.
    const ToolRun again = run({u"--merge"_s, u"album"_s, u"full"_s});
    QCOMPARE(again.status, 1);
    QVERIFY(again.err.contains("file exists"));
    QVERIFY(!Disk::exists(at("full")));
    QVERIFY(Disk::exists(at("album/a.jpg")));
}

void ToolCopyTest::json() {
    makeAlbum();
    const ToolRun run = this->run({u"--json"_s, u"album"_s, u"copy"_s});
    QCOMPARE(run.status, 0);
    bool ok = false;
    const QJsonArray array = jsonArray(run.out, &ok);
    QVERIFY(ok);
    const QJsonObject expected = {{u"from"_s, QString(mFolder + u"/album"_s)},
                                  {u"to"_s, QString(mFolder + u"/copy"_s)},
                                  {u"folder"_s, true},
                                  {u"copied"_s, true},
                                  {u"folders"_s, 1},
                                  {u"files"_s, 3},
                                  {u"bytes"_s, 4000},
                                  {u"error"_s, QJsonValue::Null}};
    QCOMPARE(array, QJsonArray{expected});
}

void ToolCopyTest::jsonOfAFailure() {
    QVERIFY(makeItem(mFolder, "a.jpg", 10));
    const ToolRun run = this->run({u"--json"_s, u"a.jpg"_s, u"gone/b.jpg"_s});
    QCOMPARE(run.status, 1);
    bool ok = false;
    const QJsonObject object = jsonArray(run.out, &ok).first().toObject();
    QVERIFY(ok);
    QCOMPARE(object.value(u"copied"_s), QJsonValue(false));
    QCOMPARE(object.value(u"files"_s), QJsonValue(0));
    QCOMPARE(object.value(u"error"_s), QJsonValue(u"no such file or folder"_s));
}

void ToolCopyTest::everyDocumentedKey() {
    QVERIFY(makeItem(mFolder, "a.jpg", 10));
    const ToolRun run = this->run({u"--json"_s, u"a.jpg"_s, u"b.jpg"_s});
    bool ok = false;
    const QStringList keys = jsonArray(run.out, &ok).first().toObject().keys();
    QVERIFY(ok);
    const QString help = QString::fromUtf8(runVkqt({u"cp"_s, u"--help"_s}).out);
    const QString section = help.mid(help.indexOf(u"\nJSON\n"_s));
    QCOMPARE(keys.size(), 8);
    for (const QString& key : keys) {
        QVERIFY2(section.contains(u"\n  "_s + key + u' '), qPrintable(key));
    }
}

void ToolCopyTest::namesOnDisk_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("newline") << QByteArray("a\nb.jpg");
    QTest::newRow("percent") << QByteArray("50%.jpg");
    QTest::newRow("decomposed") << QByteArray("Cafe\xcc\x81.jpg");
    QTest::newRow("not UTF-8") << QByteArray("lat\xe9.jpg");
}

void ToolCopyTest::namesOnDisk() {
    QFETCH(QByteArray, name);
    QVERIFY(makeItem(mFolder, "album", -1));
    QVERIFY(makeItem(mFolder, "album/" + name, 10));
    QCOMPARE(run({u"album"_s, u"copy"_s}).status, 0);
    QCOMPARE(Disk::namesIn(at("copy")), QByteArrayList{name});
    QCOMPARE(run({QString::fromUtf8("album/" + name), u"one"_s}).status, 0);
    QCOMPARE(Disk::contentOf(at("one")).size(), 10);
}

void ToolCopyTest::barOnATerminal() {
    makeAlbum();
    const QString script = u"script -qec '\"$VKQT\" cp %1 album %2' /dev/null"_s;
    const ToolRun with = runShell(script.arg(u"--progress"_s, u"copy1"_s), mFolder);
    QCOMPARE(with.status, 0);
    QVERIFY2(with.out.contains("100 %  4.0 kB of 4.0 kB"), with.out);
    QVERIFY(with.out.contains("\r\x1b[K3 files")); // taken away before the result
    const ToolRun without = runShell(script.arg(u"--no-progress"_s, u"copy2"_s), mFolder);
    QVERIFY2(!without.out.contains(" % "), without.out);
    QVERIFY(run({u"album"_s, u"copy3"_s}).err.isEmpty()); // no terminal, no bar
}

void ToolCopyTest::cancelled_data() {
    QTest::addColumn<QString>("signal");
    QTest::addColumn<QString>("cleaning");
    const QString none;
    const QString first = u"-e inject=unlinkat:signal=SIG%1:when=1 "_s;
    const QString each = u"-e inject=unlinkat:signal=SIG%1:when=1+ "_s;
    QTest::newRow("an orderly end") << u"TERM"_s << none;
    QTest::newRow("an orderly end told again and again") << u"TERM"_s << each;
    QTest::newRow("a terminal that is closed") << u"HUP"_s << none;
    QTest::newRow("Ctrl-C") << u"INT"_s << none;
    QTest::newRow("Ctrl-C that comes to the program and to its group") << u"INT"_s << first;
}

void ToolCopyTest::cancelled() {
    QFETCH(const QString, signal);
    QFETCH(const QString, cleaning);
    makeMany("album", 1000);
    // The signal comes in the middle of the copy, and more while it is taken away. A shell's background jobs would
    // ignore Ctrl-C.
    const ToolRun run = runShell(
        kTraced + u"-o /dev/null -e trace=utimensat,unlinkat -e inject=utimensat:signal=SIG%1:when=10 "
                  "%2 env --default-signal=INT,HUP \"$VKQT\" cp album copy"_s.arg(
                      signal, cleaning.contains(u'%') ? cleaning.arg(signal) : cleaning),
        mFolder);
    QCOMPARE(run.err, QByteArray("vkqt cp: copy: cancelled\nvkqt cp: nothing is left of the copy\n"));
    QCOMPARE(run.status, 1);
    QCOMPARE(Disk::namesIn(mFolder.toUtf8()), QByteArrayList{"album"});
    QCOMPARE(Disk::namesIn(at("album")).size(), 1000);
}

void ToolCopyTest::secondInterruptOfAnImpatientPerson() {
    makeMany("album", 1000);
    // Its cleaning up is held up for more than a second; then comes the second Ctrl-C.
    const ToolRun run = runShell(
        kTraced + u"-o /dev/null -e trace=utimensat,unlinkat -e inject=utimensat:signal=SIGINT:when=10 "
                  "-e inject=unlinkat:signal=SIGINT:delay_exit=1200000:when=1 "
                  "env --default-signal=INT \"$VKQT\" cp album copy; exit $?"_s,
        mFolder);
    QCOMPARE(run.status, 128 + SIGINT);
    QCOMPARE(Disk::namesIn(at("album")).size(), 1000);
}

void ToolCopyTest::ignoredSignalStaysIgnored() {
    makeMany("album", 1000);
    const ToolRun run =
        runShell(u"trap '' TERM; "_s + kTraced +
                     u"-o /dev/null -e trace=utimensat -e inject=utimensat:signal=SIGTERM:when=1+ "
                     "\"$VKQT\" cp album copy"_s,
                 mFolder);
    QCOMPARE(run.status, 0);
    QCOMPARE(Disk::namesIn(at("copy")).size(), 1000);
}

void ToolCopyTest::fullDisk() {
    const QByteArray full = at("full");
    Disk::makeFolder(full);
    const Disk::TemporaryFileSystem system(full, "size=1m");
    VKTEST_NEEDS(system.isMounted(), "root, to mount a file system");
    QVERIFY(makeItem(mFolder, "album", -1));
    Disk::makeFile(at("album/a.nef"), QByteArray(3'000'000, 'x'));
    const ToolRun run = this->run({u"album"_s, u"full/copy"_s});
    QCOMPARE(run.status, 1);
    QVERIFY2(run.err.contains("no space left on device"), run.err);
    QVERIFY(Disk::namesIn(full).isEmpty());
}

void ToolCopyTest::somebodyElseIsFaster() {
    makeMany("many", 1000);
    makeAlbum();
    // The first one stops in the middle, and goes on when the second one has copied to the same place.
    const ToolRun run = runHeld(u"\"$VKQT\" cp many copy"_s, u"\"$VKQT\" cp album copy; echo $?"_s);
    QVERIFY2(run.out.endsWith("\n0\n"), run.out);
    QCOMPARE(run.err, QByteArray("vkqt cp: copy: file exists\n"));
    QCOMPARE(run.status, 1);
    QCOMPARE(Disk::recordsBelow(at("copy"), Disk::kAllParts),
             Disk::recordsBelow(at("album"), Disk::kAllParts));
    QCOMPARE(Disk::namesIn(mFolder.toUtf8()), (QByteArrayList{"album", "copy", "many"}));
}

/// The folder's modes keep its owner from removing what is in it.
void ToolCopyTest::tellsWhatItHasToLeave() {
    VKTEST_NEEDS(Disk::isRoot(), "root, to run the tool as another user");
    makeMany("many", 1000);
    QVERIFY(makeItem(mFolder, "many/closed", -1));
    QVERIFY(makeItem(mFolder, "many/closed/a.jpg", 1));
    QCOMPARE(::chmod(at("many/closed").constData(), 0555), 0);
    QCOMPARE(::chmod(mFolder.toUtf8().constData(), 0777), 0);
    Disk::openForOthers(scratchFolder().toUtf8());
    const ToolRun run = runHeld(
        u"setpriv --reuid=65534 --regid=65534 --clear-groups \"$VKQT\" cp many copy"_s, u"mkdir copy"_s);
    QCOMPARE(run.status, 1);
    const QByteArrayList names = Disk::namesIn(mFolder.toUtf8());
    QCOMPARE(names.size(), 3);
    QVERIFY(names[0].startsWith(".vkqt-"));
    QCOMPARE(run.err,
             "vkqt cp: copy: file exists\nvkqt cp: the copy is left in " + at(names[0].constData()) + '\n');
    QCOMPARE(Disk::recordsBelow(at(names[0].constData()) + "/closed", Disk::kKindAndContent),
             Disk::recordsBelow(at("many/closed"), Disk::kKindAndContent));
    QVERIFY(Disk::namesIn(at("copy")).isEmpty());
}

VKTEST_MAIN(ToolCopyTest)
#include "ToolCopyTest.moc"
