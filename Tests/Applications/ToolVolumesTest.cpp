// vkqt volumes, run as a process on real mounts.
#include "ToolRunner.h"
#include "WatchRun.h"

#include "Support/DiskSupport.h"
#include "Support/MountSupport.h"
#include "Support/VKTest.h"

#include <QJsonObject>
#include <QRegularExpression>

#include <csignal>

using namespace Qt::StringLiterals;

class ToolVolumesTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void table();
    void bytes();
    void json();
    void silentServer();
    void hostileNames();
    void wrongLines_data();
    void wrongLines();
    void watching_data();
    void watching();
    void readerLeavesWhileWatching();
};

namespace {

constexpr char kVolume[] = "-t tmpfs -o size=1m,x-gvfs-show vktest";

QByteArray newFolder() { return VKTest::makeFolder(u"volumes"_s).toUtf8(); }

/// The line of the output that holds the text; empty when none does.
QByteArray lineWith(const QByteArray& output, const QByteArray& text) {
    for (const QByteArray& line : output.split('\n')) {
        if (line.contains(text)) {
            return line;
        }
    }
    return QByteArray();
}

QJsonObject elementAt(const QByteArray& output, const QString& path) {
    bool ok = false;
    for (const QJsonValue& element : jsonArray(output, &ok)) {
        if (element.toObject().value(u"path"_s).toString() == path) {
            return element.toObject();
        }
    }
    return QJsonObject();
}

} // namespace

void ToolVolumesTest::table() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const Mounts::Mounted mounted("-t tmpfs -o ro,size=1m,x-gvfs-show vktest", newFolder() + "/My Card");
    QVERIFY2(mounted.isMounted(), mounted.message());
    const ToolRun run = runVkqt({u"volumes"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.err, QByteArray());
    QVERIFY(run.out.startsWith("Name "));
    const QByteArray line = lineWith(run.out, mounted.place());
    QVERIFY2(line.startsWith("My Card "), line);
    QVERIFY(line.contains(" disk  "));
    QVERIFY(line.contains(" tmpfs "));
    QVERIFY(line.contains(" 1.0 MB  1.0 MB  "));
    QVERIFY(line.endsWith(QByteArray(mounted.place() + "  read-only")));
    QVERIFY(lineWith(run.out, " system ").endsWith("/"));
    QVERIFY(lineWith(run.out, "/proc").isEmpty());
}

void ToolVolumesTest::bytes() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const Mounts::Mounted mounted(kVolume, newFolder());
    QVERIFY2(mounted.isMounted(), mounted.message());
    const ToolRun run = runVkqt({u"volumes"_s, u"--bytes"_s});
    QCOMPARE(run.status, 0);
    QVERIFY(lineWith(run.out, mounted.place()).contains(" 1048576  "));
}

void ToolVolumesTest::json() {
    VKTEST_NEEDS(Disk::isRoot() && Disk::exists("/dev/loop-control"), "root and loop devices");
    const QByteArray folder = newFolder();
    const Mounts::LoopDisk disk(folder + "/disk",
                                "mkfs.ext4 -q -L Card -U 0f5e0a3c-1111-2222-3333-44445555abcd", 8);
    const Mounts::Mounted mounted(disk.device(), folder + "/m");
    QVERIFY2(mounted.isMounted(), mounted.message());
    const ToolRun run = runVkqt({u"volumes"_s, u"--json"_s});
    QCOMPARE(run.status, 0);
    const QJsonObject element = elementAt(run.out, QString::fromUtf8(mounted.place()));
    QCOMPARE(element.value(u"name"_s).toString(), u"Card"_s);
    QCOMPARE(element.value(u"kind"_s).toString(), u"disk"_s);
    QCOMPARE(element.value(u"type"_s).toString(), u"ext4"_s);
    QCOMPARE(element.value(u"source"_s).toString().toUtf8(), disk.device());
    QCOMPARE(element.value(u"uuid"_s).toString(), u"0F5E0A3C-1111-2222-3333-44445555ABCD"_s);
    QVERIFY(element.value(u"free"_s).toInteger() > 0);
    QVERIFY(element.value(u"free"_s).toInteger() < element.value(u"total"_s).toInteger());
    for (const QString& key : {u"removable"_s, u"network"_s, u"readOnly"_s}) {
        QCOMPARE(element.value(key), QJsonValue(false));
    }
    QCOMPARE(element.value(u"online"_s), QJsonValue(true));
    // Every member is in the help.
    const QByteArray help = runVkqt({u"volumes"_s, u"--help"_s}).out;
    for (const QString& key : element.keys()) {
        QVERIFY2(help.contains(QByteArray("\n  " + key.toUtf8() + ' ')), qPrintable(key));
    }
}

void ToolVolumesTest::silentServer() {
    VKTEST_NEEDS(Mounts::NetworkDisk::canBeMade(), "root, FUSE, sshfs and openssh-sftp-server");
    const Mounts::NetworkDisk disk(newFolder());
    QVERIFY2(disk.isMounted(), disk.message());
    disk.signalServer(SIGSTOP);
    const ToolRun run = runVkqt({u"volumes"_s});
    QCOMPARE(run.status, 0);
    const QByteArray line = lineWith(run.out, disk.place());
    QVERIFY2(line.endsWith(QByteArray(disk.place() + "  offline")), run.out);
    QVERIFY(line.contains(" network "));
    QVERIFY(QRegularExpression(u" fuse\\.sshfs +- +- +/"_s).match(QString::fromUtf8(line)).hasMatch());
    const QJsonObject element =
        elementAt(runVkqt({u"volumes"_s, u"--json"_s}).out, QString::fromUtf8(disk.place()));
    QCOMPARE(element.value(u"online"_s), QJsonValue(false));
    QVERIFY(element.value(u"total"_s).isNull() && element.value(u"free"_s).isNull());
}

void ToolVolumesTest::hostileNames() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const Mounts::Mounted mounted(kVolume, newFolder() + "/a\nb\x1b[31m");
    QVERIFY2(mounted.isMounted(), mounted.message());
    const ToolRun run = runVkqt({u"volumes"_s});
    QVERIFY(!lineWith(run.out, "a\\nb\\e[31m").isEmpty());
    QVERIFY(!run.out.contains('\x1b'));
}

void ToolVolumesTest::wrongLines_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("sentence");
    QTest::newRow("an argument") << QStringList{u"x"_s}
                                 << QByteArray("vkqt volumes: nothing is expected at \"x\"\n");
    QTest::newRow("both") << QStringList{u"--watch"_s, u"--bytes"_s}
                          << QByteArray("vkqt volumes: --watch and --bytes exclude each other\n");
}

void ToolVolumesTest::wrongLines() {
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, sentence);
    const ToolRun run = runVkqt(QStringList{u"volumes"_s} + arguments);
    QCOMPARE(run.status, 2);
    QVERIFY2(run.err.startsWith(sentence), run.err);
    QCOMPARE(run.out, QByteArray());
}

void ToolVolumesTest::watching_data() {
    QTest::addColumn<bool>("json");
    QTest::addColumn<int>("signal");
    QTest::newRow("text, Ctrl-C") << false << SIGINT;
    QTest::newRow("JSON, ended") << true << SIGTERM;
}

void ToolVolumesTest::watching() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    QFETCH(bool, json);
    QFETCH(int, signal);
    const QByteArray folder = newFolder();
    WatchRun watch(QStringList{u"volumes"_s, u"--watch"_s} +
                   (json ? QStringList{u"--json"_s} : QStringList()));
    const auto line = [&](const QByteArray& event, const QByteArray& path) -> QByteArray {
        return json ? QByteArray("{\"event\":\"" + event + "\",\"path\":\"" + path + "\"}")
                    : QByteArray(event.leftJustified(9) + path + '\n');
    };
    QVERIFY2(watch.sees(line("present", "/")), watch.output());
    {
        const Mounts::Mounted mounted(kVolume, folder);
        QVERIFY2(mounted.isMounted(), mounted.message());
        QVERIFY2(watch.sees(line("added", folder)), watch.output());
    }
    QVERIFY2(watch.sees(line("removed", folder)), watch.output());
    QCOMPARE(watch.interrupt(signal), 0);
    if (json) {
        bool ok = false;
        const QStringList events = members(jsonArray(watch.output(), &ok), u"event"_s);
        QVERIFY(ok);
        QCOMPARE(events.last(), u"removed"_s);
    }
}

void ToolVolumesTest::readerLeavesWhileWatching() {
    VKTEST_NEEDS(Disk::isRoot(), "root");
    const QString folder = QString::fromUtf8(newFolder());
    // The reader is gone before there is something to tell it.
    const ToolRun run = runShell(u"\"$VKQT\" volumes --watch | { head -n 1; exec </dev/null; "
                                 "mount -t tmpfs -o size=1m,x-gvfs-show vktest \"$PWD\"; }; "
                                 "echo ${PIPESTATUS[0]}; umount \"$PWD\""_s,
                                 folder);
    QCOMPARE(run.out, QByteArray("present  /\n0\n"));
    QCOMPARE(run.err, QByteArray());
}

VKTEST_MAIN_WITH_OWN_MOUNTS(ToolVolumesTest)
#include "ToolVolumesTest.moc"
