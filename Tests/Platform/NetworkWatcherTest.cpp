// The kernel's word of each kind of change, one thread waiting for it.
#include "Platform/NetworkWatcher.h"

#include "Support/NetworkSupport.h"
#include "Support/VKTest.h"

#include <thread>

using namespace Networks;
using namespace VKPlatform;

class NetworkWatcherTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void notOpen();
    void wakes();
    void wakesFromAnotherThread();
    void changes_data();
    void changes();
    void manyInOne();
    void overrun();
    void changeBeforeWake();
};

namespace {

using Event = NetworkWatcher::Event;

} // namespace

void NetworkWatcherTest::notOpen() {
    NetworkWatcher watcher;
    watcher.wake();
    QVERIFY(watcher.wait() == Event::Broken);
}

void NetworkWatcherTest::wakes() {
    NetworkWatcher watcher;
    QCOMPARE(watcher.open(), 0);
    watcher.wake();
    watcher.wake(); // two are one
    QVERIFY(watcher.wait() == Event::Wake);
    watcher.wake();
    QVERIFY(watcher.wait() == Event::Wake);
}

void NetworkWatcherTest::wakesFromAnotherThread() {
    NetworkWatcher watcher;
    QCOMPARE(watcher.open(), 0);
    for (int i = 0; i < 100; ++i) {
        std::thread other([&] { watcher.wake(); });
        QVERIFY(watcher.wait() == Event::Wake);
        other.join();
    }
}

void NetworkWatcherTest::changes_data() {
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("change");
    const QByteArray none;
    QTest::newRow("route added") << none << QByteArray("route add default via 10.9.0.1");
    QTest::newRow("route removed") << QByteArray("route add default via 10.9.0.1")
                                   << QByteArray("route del default");
    QTest::newRow("IPv6 route added") << none << QByteArray("-6 route add default dev v0");
    QTest::newRow("address added") << none << QByteArray("addr add 10.9.7.2/24 dev v0");
    QTest::newRow("address removed") << none << QByteArray("addr del 10.9.0.2/24 dev v0");
    QTest::newRow("IPv6 address added") << none << QByteArray("addr add 2001:db8::2/64 dev v0 nodad");
    QTest::newRow("interface down") << none << QByteArray("link set v0 down");
    QTest::newRow("cable out") << none << QByteArray("link set v1 down");
    QTest::newRow("interface added") << none << QByteArray("link add w0 type veth peer name w1");
    QTest::newRow("rule added") << none << QByteArray("rule add priority 5 lookup 100");
    QTest::newRow("IPv6 rule added") << none << QByteArray("-6 rule add priority 5 lookup 100");
    QTest::newRow("next-hop object removed")
        << QByteArray("nexthop add id 5 via 10.9.0.1 dev v0") << QByteArray("nexthop del id 5");
}

void NetworkWatcherTest::changes() {
    VKTEST_NEEDS(isOwn(), "root and iproute2");
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, change);
    enterOwnNamespace();
    const Cable cable;
    if (!before.isEmpty()) {
        ip(before);
    }
    NetworkWatcher watcher;
    QCOMPARE(watcher.open(), 0);
    ip(change);
    // A change goes before the wake, which ends the test if there was none.
    watcher.wake();
    QVERIFY(watcher.wait() == Event::Change);
}

void NetworkWatcherTest::manyInOne() {
    VKTEST_NEEDS(isOwn(), "root and iproute2");
    enterOwnNamespace();
    ip("-6 addr flush dev lo");
    NetworkWatcher watcher;
    QCOMPARE(watcher.open(), 0);
    for (int i = 0; i < 20; ++i) {
        ip("route add 172.20.0." + QByteArray::number(i) + "/32 dev lo");
    }
    watcher.wake();
    QVERIFY(watcher.wait() == Event::Change);
    // All of them were taken.
    QVERIFY(watcher.wait() == Event::Wake);
}

void NetworkWatcherTest::overrun() {
    VKTEST_NEEDS(isOwn(), "root and iproute2");
    enterOwnNamespace();
    NetworkWatcher watcher;
    QCOMPARE(watcher.open(1), 0); // the kernel gives the least it can
    QByteArray batch;
    for (int i = 0; i < 500; ++i) {
        batch += "route add 172.20." + QByteArray::number(i / 250) + '.' + QByteArray::number(i % 250) +
                 "/32 dev lo\n";
    }
    const QByteArray file = VKTest::scratchFolder().toUtf8() + "/batch";
    Disk::makeFile(file, batch);
    ip("-batch " + file);
    watcher.wake();
    QVERIFY(watcher.wait() == Event::Change);
    QVERIFY(watcher.wait() == Event::Wake);
    // It goes on listening.
    ip("route add default dev lo");
    QVERIFY(watcher.wait() == Event::Change);
}

void NetworkWatcherTest::changeBeforeWake() {
    VKTEST_NEEDS(isOwn(), "root and iproute2");
    enterOwnNamespace();
    NetworkWatcher watcher;
    QCOMPARE(watcher.open(), 0);
    watcher.wake();
    ip("route add default dev lo");
    QVERIFY(watcher.wait() == Event::Change);
    QVERIFY(watcher.wait() == Event::Wake);
}

VKTEST_MAIN_WITH_OWN_NETWORK(NetworkWatcherTest)
#include "NetworkWatcherTest.moc"
