// vkqt network, run as a process in a network of the test's own.
#include "ToolRunner.h"
#include "WatchRun.h"

#include "Support/NetworkSupport.h"
#include "Support/VKTest.h"

#include <QDateTime>
#include <QJsonObject>
#include <QProcess>
#include <QScopeGuard>

#include <csignal>
#include <memory>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Networks;
using namespace Qt::StringLiterals;

class ToolNetworkTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void status_data();
    void status();
    void hosts();
    void bestOfTwoAddresses();
    void hostsJson();
    void tunnel();
    void wrongLines_data();
    void wrongLines();
    void watching_data();
    void watching();
    void readerLeavesWhileWatching();
    void readerLeavesWhileNothingChanges();
    void readerOfASocketLeaves();
};

void ToolNetworkTest::init() {
    VKTest::init();
    VKTEST_NEEDS(isOwn(), "root and iproute2");
}

void ToolNetworkTest::status_data() {
    QTest::addColumn<bool>("isReachable");
    QTest::newRow("with a route") << true;
    QTest::newRow("without") << false;
}

void ToolNetworkTest::status() {
    QFETCH(bool, isReachable);
    const Cable cable;
    if (isReachable) {
        ip("route add default via 10.9.0.1");
    }
    const ToolRun run = runVkqt({u"network"_s, u"status"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.err, QByteArray());
    QCOMPARE(run.out, isReachable ? QByteArray("Place         Reachable  By       Flags\n"
                                               "the internet  yes        network  XR -------\n")
                                  : QByteArray("Place         Reachable  By    Flags\n"
                                               "the internet  no         none  X- -------\n"));
    bool ok = false;
    const QJsonArray array = jsonArray(runVkqt({u"network"_s, u"status"_s, u"--json"_s}).out, &ok);
    QVERIFY(ok);
    QCOMPARE(array.size(), 1);
    const QJsonObject element = array.first().toObject();
    QVERIFY(element.value(u"host"_s).isNull());
    QCOMPARE(element.value(u"reachable"_s), QJsonValue(isReachable));
    QCOMPARE(element.value(u"kind"_s).toString(), isReachable ? u"network"_s : u"none"_s);
    // Every member is in the help.
    const QByteArray help = runVkqt({u"network"_s, u"--help"_s}).out;
    for (const QString& key : element.keys()) {
        QVERIFY2(help.contains(QByteArray("\n  " + key.toUtf8() + ' ')), qPrintable(key));
    }
}

void ToolNetworkTest::hosts() {
    const Cable cable;
    const ToolRun run = runVkqt({u"network"_s, u"status"_s, u"10.9.0.7"_s, u"198.51.100.1"_s, u"127.0.0.1"_s,
                                 u"no\nhost.test"_s, u"::1"_s});
    QCOMPARE(run.status, 1);
    QVERIFY2(run.err.startsWith("vkqt network: no\\nhost.test: "), run.err);
    QCOMPARE(run.err.count('\n'), 1);
    const QList<QByteArray> lines = run.out.split('\n');
    QCOMPARE(lines.size(), 6);
    QVERIFY(lines.at(1).startsWith("10.9.0.7 ") && lines.at(1).endsWith(" XR ------d"));
    QVERIFY(lines.at(2).startsWith("198.51.100.1 ") && lines.at(2).contains(" no "));
    QVERIFY(lines.at(3).contains(" this machine "));
    QVERIFY(lines.at(4).startsWith("::1 ") && lines.at(4).endsWith(" XR -----l-"));
}

void ToolNetworkTest::bestOfTwoAddresses() {
    const QByteArray hosts = scratchFolder().toUtf8() + "/hosts";
    Disk::makeFile(hosts, "10.9.0.7 both.test\n198.51.100.1 both.test\n");
    Disk::must(::mount(hosts.constData(), "/etc/hosts", nullptr, MS_BIND, nullptr) == 0, "bind", hosts);
    const auto unbind = qScopeGuard([] { ::umount2("/etc/hosts", MNT_DETACH); });
    const Cable cable;
    const ToolRun run = runVkqt({u"network"_s, u"status"_s, u"both.test"_s});
    QVERIFY2(run.out.endsWith(" XR ------d\n"), run.out);
}

void ToolNetworkTest::hostsJson() {
    const ToolRun run = runVkqt({u"network"_s, u"status"_s, u"--json"_s, u"localhost"_s, QString(255, u'a')});
    QCOMPARE(run.status, 1);
    bool ok = false;
    const QJsonArray array = jsonArray(run.out, &ok);
    QVERIFY(ok);
    QCOMPARE(members(array, u"host"_s), QStringList(u"localhost"_s));
    QCOMPARE(members(array, u"kind"_s), QStringList(u"this machine"_s));
}

void ToolNetworkTest::tunnel() {
    VKTEST_NEEDS(Tunnel::canBeMade(), "root and /dev/net/tun");
    const Tunnel tunnel;
    ip("route add default via 10.8.0.1");
    const ToolRun run = runVkqt({u"network"_s, u"status"_s});
    QVERIFY2(run.out.endsWith("the internet  yes        tunnel  XR -t-----\n"), run.out);
}

void ToolNetworkTest::wrongLines_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("sentence");
    QTest::newRow("no action") << QStringList() << QByteArray("vkqt network: ");
    QTest::newRow("another action") << QStringList{u"listen"_s} << QByteArray("vkqt network: ");
    QTest::newRow("watch with a host")
        << QStringList{u"watch"_s, u"localhost"_s}
        << QByteArray("vkqt network: watch takes no HOST: it tells of the internet\n");
}

void ToolNetworkTest::wrongLines() {
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, sentence);
    const ToolRun run = runVkqt(QStringList{u"network"_s} + arguments);
    QCOMPARE(run.status, 2);
    QVERIFY2(run.err.startsWith(sentence), run.err);
    QCOMPARE(run.out, QByteArray());
}

void ToolNetworkTest::watching_data() {
    QTest::addColumn<bool>("json");
    QTest::addColumn<int>("signal");
    QTest::newRow("text, Ctrl-C") << false << SIGINT;
    QTest::newRow("JSON, ended") << true << SIGTERM;
}

void ToolNetworkTest::watching() {
    QFETCH(bool, json);
    QFETCH(int, signal);
    const Uplink uplink;
    WatchRun watch(QStringList{u"network"_s, u"watch"_s} + (json ? QStringList{u"--json"_s} : QStringList()));
    const QByteArray yes = json ? "\"reachable\":true" : "\nreachable ";
    const QByteArray no = json ? "\"reachable\":false" : "unreachable ";
    QVERIFY2(watch.sees(json ? yes : QByteArray("reachable "), 1), watch.output());
    // Another way is a change, but none of what is told.
    ip("route replace default dev v0");
    QVERIFY(runVkqt({u"network"_s, u"status"_s}).out.contains("XR ------d"));
    Cable::pullOut();
    QVERIFY2(watch.sees(no, 1), watch.output());
    Cable::putIn();
    QVERIFY2(watch.sees(yes, json ? 2 : 1), watch.output());
    QCOMPARE(watch.interrupt(signal), 0);
    QList<QString> times;
    if (json) {
        bool ok = false;
        const QJsonArray array = jsonArray(watch.output(), &ok);
        QVERIFY(ok);
        QCOMPARE(array.size(), 3);
        times = members(array, u"time"_s);
    } else {
        const QStringList lines = QString::fromUtf8(watch.output()).split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 3);
        for (const QString& line : lines) {
            times.append(line.mid(12));
        }
    }
    for (const QString& time : times) {
        QVERIFY2(QDateTime::fromString(time, Qt::ISODate).isValid() && time.endsWith(u'Z'), qPrintable(time));
    }
}

void ToolNetworkTest::readerLeavesWhileWatching() {
    const Uplink uplink;
    // The reader is gone before there is something to tell it.
    const ToolRun run = runShell(u"\"$VKQT\" network watch | { head -n 1 | cut -c 1-9; exec </dev/null; "
                                 "ip route del default; }; echo ${PIPESTATUS[0]}"_s);
    QCOMPARE(run.out, QByteArray("reachable\n0\n"));
    QCOMPARE(run.err, QByteArray());
}

void ToolNetworkTest::readerLeavesWhileNothingChanges() {
    const Uplink uplink;
    const ToolRun run =
        runShell(u"\"$VKQT\" network watch | head -n 1 | cut -c 1-9; echo ${PIPESTATUS[0]}"_s);
    QCOMPARE(run.out, QByteArray("reachable\n0\n"));
    QCOMPARE(run.err, QByteArray());
}

/// As of a remote shell that is closed: such an output ends without an error.
void ToolNetworkTest::readerOfASocketLeaves() {
    const Uplink uplink;
    int ends[2] = {-1, -1};
    QCOMPARE(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    QProcess tool;
    tool.setChildProcessModifier([output = ends[1]] { ::dup2(output, STDOUT_FILENO); });
    tool.start(QStringLiteral(VKQT_TOOL), {u"network"_s, u"watch"_s});
    QVERIFY(tool.waitForStarted());
    QCOMPARE(::close(ends[1]), 0);
    // What nobody has read when the socket is closed would be an error.
    QByteArray line;
    for (char letter = 0; letter != '\n' && ::recv(ends[0], &letter, 1, 0) == 1;) {
        line += letter;
    }
    QVERIFY2(line.startsWith("reachable "), line);
    QCOMPARE(::close(ends[0]), 0);
    QVERIFY(tool.waitForFinished(60000));
    QCOMPARE(tool.exitStatus(), QProcess::NormalExit);
    QCOMPARE(tool.exitCode(), 0);
}

VKTEST_MAIN_WITH_OWN_NETWORK(ToolNetworkTest)
#include "ToolNetworkTest.moc"
