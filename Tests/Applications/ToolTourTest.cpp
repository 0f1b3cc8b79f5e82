// vkqt tour: every service is shown once and works, the person's own folders are left alone, nothing is left.
#include "ToolRunner.h"

#include "Support/DiskSupport.h"
#include "Support/VKTest.h"

#include <QDir>
#include <QJsonObject>

using namespace Qt::StringLiterals;

class ToolTourTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void everything();
    void ownPictures();
    void behindAProxy();
    void missingFolder();
    void folderWithoutPictures();
    void cancelled();

private:
    // Runs the tour with its temporary folder below mFolder, and tells what is left there.
    [[nodiscard]] ToolRun tour(const QString& arguments) const {
        return runShell(u"mkdir -p tmp; TMPDIR=\"$PWD/tmp\" \"$VKQT\" tour "_s + arguments, mFolder);
    }
    [[nodiscard]] QByteArrayList left() const { return Disk::namesIn(mFolder.toUtf8() + "/tmp"); }

    QString mFolder;
};

void ToolTourTest::init() {
    VKTest::init();
    mFolder = makeFolder(u"tour"_s);
}

void ToolTourTest::everything() {
    const QByteArrayList home = Disk::namesIn(qgetenv("HOME"));
    const ToolRun run = tour(u"--json"_s);
    QVERIFY2(run.status == 0, run.err);
    bool ok = false;
    const QJsonArray chapters = jsonArray(run.out, &ok);
    QVERIFY2(ok, run.out);
    for (const QJsonValue& value : chapters) {
        const QJsonObject chapter = value.toObject();
        const QByteArray service = chapter[u"service"_s].toString().toUtf8();
        QVERIFY2(chapter[u"wrong"_s].toInt(-1) == 0, service);
        QVERIFY2(chapter[u"leftOut"_s].isNull(), service);
    }
    QCOMPARE(members(chapters, u"service"_s),
             (QStringList{u"pictures"_s, u"paths and listing"_s, u"copying and moving"_s,
                          u"an interrupted copy"_s, u"recycling"_s, u"bookmarks"_s, u"folders and volumes"_s,
                          u"settings"_s, u"machine and graphics"_s, u"network"_s, u"dates and shortcuts"_s,
                          u"requests and account"_s}));
    QCOMPARE(left(), QByteArrayList());
    QCOMPARE(Disk::namesIn(qgetenv("HOME")), home);
}

void ToolTourTest::ownPictures() {
    const QString pictures = mFolder + u"/My trip"_s;
    QCOMPARE(runProgram(QStringLiteral(SAMPLE_PHOTOS_TOOL), {pictures}).status, 0);
    const QByteArrayList before = Disk::namesIn(pictures.toUtf8());
    const ToolRun run = tour(u"'My trip'"_s);
    QVERIFY2(run.status == 0, run.err);
    QVERIFY2(run.out.contains(QByteArray("\n$ vkqt cp '" + pictures.toUtf8() + "' Holiday\n")), run.out);
    QVERIFY2(run.out.contains("\n$ vkqt trash 'Holiday/"), run.out);
    QVERIFY2(run.out.contains("\nWhat ran\nService "), run.out);
    QCOMPARE(Disk::namesIn(pictures.toUtf8()), before);
    QCOMPARE(left(), QByteArrayList());
}

void ToolTourTest::behindAProxy() {
    // The tour's server is on this machine; a proxy is not asked for it. Nothing listens at port 1.
    const ToolRun run = runShell(u"mkdir -p tmp; export TMPDIR=\"$PWD/tmp\" http_proxy=http://127.0.0.1:1 "
                                 "all_proxy=http://127.0.0.1:1 no_proxy=other.test; \"$VKQT\" tour --brief"_s,
                                 mFolder);
    QVERIFY2(run.status == 0, run.err);
    QCOMPARE(left(), QByteArrayList());
}

void ToolTourTest::missingFolder() {
    const ToolRun run = tour(u"--brief nowhere"_s);
    QCOMPARE(run.status, 1);
    QVERIFY2(run.err.contains(QByteArray("vkqt tour: $ vkqt cp " + mFolder.toUtf8() +
                                         "/nowhere Holiday ended with status 1")),
             run.err);
    QVERIFY2(run.out.contains("1 thing went wrong"), run.out);
    QCOMPARE(left(), QByteArrayList());
}

void ToolTourTest::folderWithoutPictures() {
    QVERIFY(makeItem(mFolder, "empty", -1));
    const ToolRun run = tour(u"--brief empty"_s);
    QCOMPARE(run.status, 1);
    QVERIFY2(run.err.contains("vkqt tour: there is no picture to show things on\n"), run.err);
    QCOMPARE(left(), QByteArrayList());
}

void ToolTourTest::cancelled() {
    // The signal comes once the tour has begun.
    const ToolRun run = tour(u"--brief & pid=$!\n"
                             "while [[ -z $(ls tmp/*/Holiday 2>/dev/null) ]] && kill -0 $pid; do :; done\n"
                             "kill -TERM $pid; wait $pid"_s);
    QCOMPARE(run.status, 1);
    QVERIFY2(run.err.endsWith("vkqt tour: cancelled\n"), run.err);
    QCOMPARE(run.out, QByteArray());
    QCOMPARE(left(), QByteArrayList());
}

VKTEST_MAIN(ToolTourTest)
#include "ToolTourTest.moc"
