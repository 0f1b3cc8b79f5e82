// The monitor of the internet connection, in a network that comes and goes.
#include "VKQtNetwork.h"

#include "Support/NetworkSupport.h"
#include "Support/VKTest.h"

#include <QCoreApplication>
#include <QMetaMethod>
#include <QSignalSpy>
#include <QThread>

#include <memory>

using namespace Networks;

class VKQtNetworkTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void stopBeforeAnyStart(); // first, while nothing has been started
    void isOne();
    void hasOneSignal();
    void emitsOnRequest();
    void firstEmission_data();
    void firstEmission();
    void routeRemovedAndAdded();
    void interfaceDownAndUp();
    void addressRemoved();
    void cableOutAndIn();
    void onlyIPv6();
    void tunnelBesideTheRoute();
    void manyChangesAtOnce();
    void twoListeners();
    void startedTwice();
    void stoppedAndStarted();
    void silentAfterStop();
    void stoppedBySlot();
    void onTheMainThread();
};

namespace {

VKQtNetwork* network() { return VKQtNetwork::sharedInstance(); }

QList<bool> values(const QSignalSpy& spy) {
    QList<bool> list;
    for (const QList<QVariant>& arguments : spy) {
        list.append(arguments.at(0).toBool());
    }
    return list;
}

/// Waits for signals until the last one says so.
bool becomes(QSignalSpy& spy, bool reachable) {
    while (spy.isEmpty() || spy.last().at(0).toBool() != reachable) {
        if (!spy.wait(30000)) {
            return false;
        }
    }
    return true;
}

/// Listens while it lives.
struct Listener {
    Listener() : spy(network(), &VKQtNetwork::reachabilityChanged) { network()->startListening(); }
    ~Listener() { network()->stopListening(); }

    QSignalSpy spy;
};

} // namespace

void VKQtNetworkTest::init() {
    VKTest::init();
    VKTEST_NEEDS(isOwn(), "root and iproute2");
}

void VKQtNetworkTest::cleanup() { network()->stopListening(); }

void VKQtNetworkTest::stopBeforeAnyStart() {
    QSignalSpy spy(network(), &VKQtNetwork::reachabilityChanged);
    network()->stopListening();
    QCOMPARE(spy.size(), 0);
}

void VKQtNetworkTest::isOne() {
    QVERIFY(network() != nullptr);
    QCOMPARE(VKQtNetwork::sharedInstance(), network());
    QVERIFY(network()->parent() == nullptr);
}

void VKQtNetworkTest::hasOneSignal() {
    const QMetaObject& meta = VKQtNetwork::staticMetaObject;
    int count = 0;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        QCOMPARE(meta.method(i).methodSignature(), QByteArray("reachabilityChanged(bool)"));
        QCOMPARE(meta.method(i).methodType(), QMetaMethod::Signal);
        ++count;
    }
    QCOMPARE(count, 1);
}

void VKQtNetworkTest::emitsOnRequest() {
    QSignalSpy spy(network(), &VKQtNetwork::reachabilityChanged);
    network()->doEmit(true);
    network()->doEmit(false);
    QCOMPARE(values(spy), (QList<bool>{true, false}));
}

void VKQtNetworkTest::firstEmission_data() {
    QTest::addColumn<bool>("reachable");
    QTest::newRow("with a route") << true;
    QTest::newRow("without") << false;
}

void VKQtNetworkTest::firstEmission() {
    QFETCH(bool, reachable);
    std::unique_ptr<Uplink> uplink;
    if (reachable) {
        uplink = std::make_unique<Uplink>();
    }
    QSignalSpy spy(network(), &VKQtNetwork::reachabilityChanged);
    QCOMPARE(network()->startListening(), 0);
    // Before any event loop has run.
    QCOMPARE(values(spy), QList<bool>{reachable});
    QCOMPARE(network()->isReachable(), reachable);
}

void VKQtNetworkTest::routeRemovedAndAdded() {
    const Uplink uplink;
    Listener listener;
    ip("route del default");
    QVERIFY(becomes(listener.spy, false));
    QVERIFY(!network()->isReachable());
    ip("route add default via 10.9.0.1");
    QVERIFY(becomes(listener.spy, true));
    QVERIFY(network()->isReachable());
}

void VKQtNetworkTest::interfaceDownAndUp() {
    const Uplink uplink;
    Listener listener;
    // The route goes without a message of its own.
    ip("link set v0 down");
    QVERIFY(becomes(listener.spy, false));
    ip("link set v0 up\nroute add default via 10.9.0.1");
    QVERIFY(becomes(listener.spy, true));
}

void VKQtNetworkTest::addressRemoved() {
    const Uplink uplink;
    Listener listener;
    ip("addr del 10.9.0.2/24 dev v0");
    QVERIFY(becomes(listener.spy, false));
    ip("addr add 10.9.0.2/24 dev v0\nroute add default via 10.9.0.1");
    QVERIFY(becomes(listener.spy, true));
}

void VKQtNetworkTest::cableOutAndIn() {
    const Uplink uplink;
    Listener listener;
    Cable::pullOut();
    QVERIFY(becomes(listener.spy, false));
    Cable::putIn();
    QVERIFY(becomes(listener.spy, true));
}

void VKQtNetworkTest::onlyIPv6() {
    const Cable cable;
    Listener listener;
    QCOMPARE(values(listener.spy), QList<bool>{false});
    ip("addr add 2001:db8::2/64 dev v0 nodad\n-6 route add default via 2001:db8::1");
    QVERIFY(becomes(listener.spy, true));
    // The route stays; there is nothing to send from.
    ip("addr del 2001:db8::2/64 dev v0");
    QVERIFY(becomes(listener.spy, false));
    ip("addr add 2001:db8::2/64 dev v0 nodad");
    QVERIFY(becomes(listener.spy, true));
    ip("-6 route del default");
    QVERIFY(becomes(listener.spy, false));
}

void VKQtNetworkTest::tunnelBesideTheRoute() {
    const Uplink uplink;
    Listener listener;
    ip("route add 0.0.0.0/1 via 10.9.0.1\nroute add 128.0.0.0/1 via 10.9.0.1\nroute del default");
    QVERIFY(network()->isReachable());
    ip("route del 128.0.0.0/1");
    QVERIFY(becomes(listener.spy, false));
}

void VKQtNetworkTest::manyChangesAtOnce() {
    const Uplink uplink;
    QByteArray batch;
    for (int i = 0; i < 400; ++i) {
        const QByteArray number = QByteArray::number(i / 200) + '.' + QByteArray::number(i % 200);
        batch += "route add 172.20." + number + "/32 via 10.9.0.1\n";
        batch += i % 2 == 0 ? "route del default\n" : "route add default via 10.9.0.1\n";
    }
    batch += "route del default\n";
    const QByteArray file = VKTest::scratchFolder().toUtf8() + "/batch";
    Disk::makeFile(file, batch);
    Listener listener;
    ip("-batch " + file);
    QVERIFY(becomes(listener.spy, false));
    ip("route add default via 10.9.0.1");
    QVERIFY(becomes(listener.spy, true));
    QVERIFY(network()->isReachable());
}

void VKQtNetworkTest::twoListeners() {
    const Uplink uplink;
    QSignalSpy first(network(), &VKQtNetwork::reachabilityChanged);
    QSignalSpy second(network(), &VKQtNetwork::reachabilityChanged);
    network()->startListening();
    ip("route del default");
    QVERIFY(becomes(first, false));
    QCOMPARE(values(second), values(first));
}

// Each call adds a listener, and the first of two stays for good: so the test is the last that counts signals.
void VKQtNetworkTest::startedTwice() {
    const Uplink uplink;
    QSignalSpy spy(network(), &VKQtNetwork::reachabilityChanged);
    network()->startListening();
    network()->startListening();
    QCOMPARE(values(spy), (QList<bool>{true, true}));
    ip("route del default");
    QVERIFY(becomes(spy, false));
    // Both in one turn of the event loop.
    QCOMPARE(values(spy), (QList<bool>{true, true, false, false}));
}

void VKQtNetworkTest::stoppedAndStarted() {
    const Uplink uplink;
    QSignalSpy spy(network(), &VKQtNetwork::reachabilityChanged);
    for (int round = 0; round < 3; ++round) {
        spy.clear();
        network()->startListening();
        QCOMPARE(spy.size(), 1);
        QCOMPARE(spy.at(0).at(0).toBool(), true);
        ip("route del default");
        QVERIFY(becomes(spy, false));
        network()->stopListening();
        ip("route add default via 10.9.0.1");
    }
}

void VKQtNetworkTest::silentAfterStop() {
    const Uplink uplink;
    QSignalSpy spy(network(), &VKQtNetwork::reachabilityChanged);
    network()->startListening();
    // A change that is on its way already is not told of either.
    ip("route del default");
    network()->stopListening();
    const qsizetype before = spy.size();
    ip("route add default via 10.9.0.1");
    // What was posted up to here is delivered in the first turn.
    for (int i = 0; i < 3; ++i) {
        QCoreApplication::processEvents();
    }
    QCOMPARE(spy.size(), before);
}

void VKQtNetworkTest::stoppedBySlot() {
    const Uplink uplink;
    QSignalSpy spy(network(), &VKQtNetwork::reachabilityChanged);
    network()->startListening();
    const QMetaObject::Connection stopping =
        connect(network(), &VKQtNetwork::reachabilityChanged, this, [] { network()->stopListening(); });
    ip("route del default");
    QVERIFY(becomes(spy, false));
    disconnect(stopping);
    QVERIFY(!network()->isReachable());
}

void VKQtNetworkTest::onTheMainThread() {
    const Uplink uplink;
    Listener listener;
    QList<bool> areMain;
    const QMetaObject::Connection connection = connect(
        network(), &VKQtNetwork::reachabilityChanged, network(),
        [&] { areMain.append(QThread::currentThread() == QCoreApplication::instance()->thread()); },
        Qt::DirectConnection);
    ip("route del default");
    QVERIFY(becomes(listener.spy, false));
    disconnect(connection);
    QVERIFY(!areMain.isEmpty());
    QVERIFY(!areMain.contains(false));
}

VKTEST_MAIN_WITH_OWN_NETWORK(VKQtNetworkTest)
#include "VKQtNetworkTest.moc"
