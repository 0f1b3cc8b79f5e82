// vkqt trash, trashed and restore, run as processes: there and back, in both forms, and what is refused.
#include "ToolRunner.h"

#include "Support/VKTest.h"

#include <QFile>
#include <QJsonObject>

using namespace Qt::StringLiterals;

class ToolRecycleTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanupTestCase() { removeAll(scratchFolder()); }
    void thereAndBack_data();
    void thereAndBack();
    void forPeople();
    void everyDocumentedKey_data();
    void everyDocumentedKey();
    void newestOfOnePlace();
    void toAnotherPlace();
    void byItsPathInTheBin();
    void aLinkItself();
    void refused_data();
    void refused();
    void placeTaken();
    void goesOnAfterAFailure();
    void placeNotKnown();
    void wrongLines_data();
    void wrongLines();

private:
    /// The items of this test that --json lists: what else is in the machine's bins is not its business.
    [[nodiscard]] QJsonArray trashed() const;

    QString mFolder;
    QString mBin;
};

void ToolRecycleTest::init() {
    VKTest::init();
    mFolder = makeFolder(u"photos"_s);
    const QString home = makeFolder(u"home"_s);
    qputenv("HOME", home.toUtf8());
    qunsetenv("XDG_DATA_HOME");
    mBin = home + u"/.local/share/Trash"_s;
}

QJsonArray ToolRecycleTest::trashed() const {
    bool ok = false;
    QJsonArray own;
    for (const QJsonValue& item : jsonArray(runVkqt({u"trashed"_s, u"--json"_s}).out, &ok)) {
        if (item[u"recycled"_s].toString().startsWith(mBin)) {
            own.append(item);
        }
    }
    return ok ? own : QJsonArray{u"no JSON"_s};
}

void ToolRecycleTest::thereAndBack_data() {
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<qint64>("size");
    QTest::newRow("photo") << QByteArray("IMG_1.jpg") << qint64{10};
    QTest::newRow("folder") << QByteArray("Trip") << qint64{-1};
    QTest::newRow("percent") << QByteArray("100%20.jpg") << qint64{10};
    QTest::newRow("decomposed") << QByteArray("Cafe\xCC\x81.jpg") << qint64{10};
    QTest::newRow("not UTF-8") << QByteArray("lat\xE9.jpg") << qint64{10};
    QTest::newRow("line break") << QByteArray("a\nb.jpg") << qint64{10};
}

void ToolRecycleTest::thereAndBack() {
    QFETCH(QByteArray, name);
    QFETCH(qint64, size);
    QVERIFY(makeItem(mFolder, name, size));
    const QString text = QString::fromUtf8(name); // as the tool decodes its arguments
    const QString shown = mFolder + u'/' + text.normalized(QString::NormalizationForm_C);
    bool ok = false;
    const QJsonArray gone = jsonArray(runVkqt({u"trash"_s, u"--json"_s, text}, mFolder).out, &ok);
    QVERIFY(ok);
    QCOMPARE(members(gone, u"path"_s), QStringList{shown});
    QCOMPARE(gone[0][u"folder"_s].toBool(), size < 0);
    QVERIFY(gone[0][u"recycled"_s].toString().startsWith(mBin + u"/files/"_s));
    const QJsonArray listed = trashed();
    QCOMPARE(members(listed, u"path"_s), QStringList{shown});
    QCOMPARE(listed[0][u"recycled"_s], gone[0][u"recycled"_s]);
    QCOMPARE(listed[0][u"folder"_s].toBool(), size < 0);
    QVERIFY(QDateTime::fromString(listed[0][u"deleted"_s].toString(), Qt::ISODate).isValid());
    const ToolRun back = runVkqt({u"restore"_s, u"--json"_s, text}, mFolder);
    QCOMPARE(back.status, 0);
    QCOMPARE(members(jsonArray(back.out, &ok), u"path"_s), QStringList{shown});
    QVERIFY(trashed().isEmpty());
    // The bytes of the name are as they were.
    QCOMPARE(runShell(u"printf %s *"_s, mFolder).out, name);
}

void ToolRecycleTest::forPeople() {
    QVERIFY(makeItem(mFolder, "a.jpg", 1) && makeItem(mFolder, "b\x1B[31m.jpg", 1));
    const ToolRun one = runVkqt({u"trash"_s, u"a.jpg"_s}, mFolder);
    QCOMPARE(one.out, QByteArray("1 item is in the recycle bin now\n"));
    QCOMPARE(one.err, QByteArray());
    QCOMPARE(runVkqt({u"trash"_s, u"b\u001B[31m.jpg"_s}, mFolder).status, 0);
    const QByteArray list = runVkqt({u"trashed"_s}).out;
    QVERIFY(list.startsWith("Deleted "));
    QVERIFY2(list.contains(QByteArray(mFolder.toUtf8() + "/a.jpg\n")), list);
    QVERIFY2(list.contains("/b\\e[31m.jpg\n") && !list.contains('\x1B'), list);
    QCOMPARE(runVkqt({u"restore"_s, u"a.jpg"_s, u"b\u001B[31m.jpg"_s}, mFolder).out,
             QByteArray("2 items are back\n"));
}

void ToolRecycleTest::everyDocumentedKey_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("trash") << QStringList{u"trash"_s, u"a.jpg"_s};
    QTest::newRow("trashed") << QStringList{u"trashed"_s, u"."_s};
    QTest::newRow("restore") << QStringList{u"restore"_s, u"b.jpg"_s};
}

void ToolRecycleTest::everyDocumentedKey() {
    QFETCH(QStringList, arguments);
    QVERIFY(makeItem(mFolder, "a.jpg", 1) && makeItem(mFolder, "b.jpg", 1));
    QCOMPARE(runVkqt({u"trash"_s, u"b.jpg"_s}, mFolder).status, 0);
    bool ok = false;
    const QJsonArray array = jsonArray(runVkqt(arguments + QStringList{u"--json"_s}, mFolder).out, &ok);
    QVERIFY(ok && !array.isEmpty());
    const QString help = QString::fromUtf8(runVkqt({arguments.first(), u"--help"_s}).out);
    const QString keys = help.mid(help.indexOf(u"\n  path"_s));
    for (const QString& key : array[0].toObject().keys()) {
        QVERIFY2(keys.contains(u"\n  "_s + key + u' '), qPrintable(key));
    }
}

void ToolRecycleTest::newestOfOnePlace() {
    for (const int size : {1, 2}) {
        QVERIFY(makeItem(mFolder, "a.jpg", size));
        QCOMPARE(runVkqt({u"trash"_s, u"a.jpg"_s}, mFolder).status, 0);
    }
    // The first is made older than the second: the dates are to the second only.
    QFile record(mBin + u"/info/a.jpg.trashinfo"_s);
    QVERIFY(record.open(QIODevice::ReadWrite));
    QByteArray text = record.readAll();
    text.replace(text.indexOf("Date=") + 5, 4, "2001");
    QVERIFY(record.seek(0) && record.write(text) == text.size());
    record.close();
    QCOMPARE(runVkqt({u"restore"_s, u"a.jpg"_s}, mFolder).status, 0);
    QCOMPARE(QFile(mFolder + u"/a.jpg"_s).size(), 2);
    QCOMPARE(trashed().size(), 1);
}

void ToolRecycleTest::toAnotherPlace() {
    QVERIFY(makeItem(mFolder, "a.jpg", 3));
    QCOMPARE(runVkqt({u"trash"_s, u"a.jpg"_s}, mFolder).status, 0);
    QCOMPARE(runVkqt({u"restore"_s, u"--to"_s, u"new/b.jpg"_s, u"a.jpg"_s}, mFolder).status, 0);
    QCOMPARE(QFile(mFolder + u"/new/b.jpg"_s).size(), 3);
    QVERIFY(!QFile::exists(mFolder + u"/a.jpg"_s));
}

void ToolRecycleTest::byItsPathInTheBin() {
    QVERIFY(makeItem(mFolder, "a.jpg", 3));
    QCOMPARE(runVkqt({u"trash"_s, u"a.jpg"_s}, mFolder).status, 0);
    QCOMPARE(runVkqt({u"restore"_s, mBin + u"/files/a.jpg"_s}).status, 0);
    QCOMPARE(QFile(mFolder + u"/a.jpg"_s).size(), 3);
}

void ToolRecycleTest::aLinkItself() {
    QVERIFY(makeItem(mFolder, "folder", -1));
    QVERIFY(QFile::link(u"folder"_s, mFolder + u"/link"_s));
    QVERIFY(QFile::link(u"nowhere"_s, mFolder + u"/dangling"_s));
    QCOMPARE(runVkqt({u"trash"_s, u"link/"_s, u"dangling"_s}, mFolder).status, 0);
    QCOMPARE(runShell(u"ls"_s, mFolder).out, QByteArray("folder\n"));
    QCOMPARE(runVkqt({u"restore"_s, u"link"_s, u"dangling"_s}, mFolder).status, 0);
    QCOMPARE(runShell(u"readlink link dangling"_s, mFolder).out, QByteArray("folder\nnowhere\n"));
}

void ToolRecycleTest::refused_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("complaint");
    const auto row = [](const char* why, const QStringList& arguments, const char* complaint) {
        QTest::newRow(why) << arguments << QByteArray(complaint);
    };
    row("nothing there", {u"trash"_s, u"none"_s}, ": none: no such file or folder\n");
    row("no name", {u"trash"_s, u""_s}, "vkqt trash: \"\": ");
    row("no bin", {u"trash"_s, u"/proc/self/status"_s},
        "vkqt trash: /proc/self/status: its volume has no recycle bin; \"vkqt rm\" deletes for good\n");
    row("root", {u"trash"_s, u"/"_s}, "vkqt trash: /: is the root of the file system\n");
    row("not in the bin", {u"restore"_s, u"none"_s}, "vkqt restore: none: not in the recycle bin\n");
    row("no item", {u"restore"_s, u""_s}, "vkqt restore: \"\": not in the recycle bin\n");
    row("list of nothing", {u"trashed"_s, u"none"_s}, ": none: no such file or folder\n");
}

void ToolRecycleTest::refused() {
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, complaint);
    const ToolRun run = runVkqt(arguments, mFolder);
    QCOMPARE(run.status, 1);
    QVERIFY2(run.err.contains(complaint), run.err);
    QCOMPARE(run.err.count('\n'), 1);
    QCOMPARE(run.out, QByteArray());
}

void ToolRecycleTest::placeTaken() {
    QVERIFY(makeItem(mFolder, "a.jpg", 1));
    QCOMPARE(runVkqt({u"trash"_s, u"a.jpg"_s}, mFolder).status, 0);
    QVERIFY(makeItem(mFolder, "a.jpg", 2));
    const ToolRun run = runVkqt({u"restore"_s, u"a.jpg"_s}, mFolder);
    QCOMPARE(run.status, 1);
    QCOMPARE(run.err, QByteArray("vkqt restore: " + mFolder.toUtf8() +
                                 "/a.jpg: something is there already; --to names another place\n"));
    QCOMPARE(QFile(mFolder + u"/a.jpg"_s).size(), 2);
    QCOMPARE(trashed().size(), 1);
}

void ToolRecycleTest::goesOnAfterAFailure() {
    QVERIFY(makeItem(mFolder, "a.jpg", 1) && makeItem(mFolder, "b.jpg", 1));
    const ToolRun there = runVkqt({u"trash"_s, u"a.jpg"_s, u"none"_s, u"b.jpg"_s}, mFolder);
    QCOMPARE(there.status, 1);
    QCOMPARE(there.out, QByteArray("2 items are in the recycle bin now\n"));
    const ToolRun back = runVkqt({u"restore"_s, u"a.jpg"_s, u"none"_s, u"b.jpg"_s, u"a.jpg"_s}, mFolder);
    QCOMPARE(back.status, 1);
    QCOMPARE(back.err.count('\n'), 2);
    QCOMPARE(back.out, QByteArray("2 items are back\n"));
}

void ToolRecycleTest::placeNotKnown() {
    QVERIFY(makeItem(mFolder, "a.jpg", 1));
    QCOMPARE(runVkqt({u"trash"_s, u"a.jpg"_s}, mFolder).status, 0);
    QVERIFY(QFile::remove(mBin + u"/info/a.jpg.trashinfo"_s));
    const QString inBin = mBin + u"/files/a.jpg"_s;
    QVERIFY(trashed()[0][u"path"_s].isNull() && trashed()[0][u"deleted"_s].isNull());
    QVERIFY(runVkqt({u"trashed"_s}).out.contains(" (in the bin; where it was is not known)"));
    const ToolRun run = runVkqt({u"restore"_s, inBin});
    QCOMPARE(run.status, 1);
    QVERIFY2(run.err.endsWith(": where it came from is not known; --to names a place\n"), run.err);
    QCOMPARE(runVkqt({u"restore"_s, u"--to"_s, u"b.jpg"_s, inBin}, mFolder).status, 0);
    QVERIFY(QFile::exists(mFolder + u"/b.jpg"_s));
}

void ToolRecycleTest::wrongLines_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("complaint");
    QTest::newRow("two items to one place") << QStringList{u"restore"_s, u"--to"_s, u"x"_s, u"a"_s, u"b"_s}
                                            << QByteArray("vkqt restore: --to takes one ITEM\n");
    QTest::newRow("no place") << QStringList{u"restore"_s, u"--to="_s, u"a"_s}
                              << QByteArray("vkqt restore: --to needs a place\n");
    QTest::newRow("nothing to restore") << QStringList{u"restore"_s} << QByteArray("vkqt restore: ");
    QTest::newRow("nothing to recycle") << QStringList{u"trash"_s} << QByteArray("vkqt trash: ");
    QTest::newRow("two folders") << QStringList{u"trashed"_s, u"a"_s, u"b"_s} << QByteArray("vkqt trashed: ");
}

void ToolRecycleTest::wrongLines() {
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, complaint);
    const ToolRun run = runVkqt(arguments, mFolder);
    QCOMPARE(run.status, 2);
    QVERIFY2(run.err.startsWith(complaint), run.err);
    QCOMPARE(run.out, QByteArray());
}

VKTEST_MAIN(ToolRecycleTest)
#include "ToolRecycleTest.moc"
