// The adapter: observers, callbacks, and what stays.
#include "VKQtNetworkApple.h"

#include "Reachability.h"
#include "Support/NetworkSupport.h"
#include "Support/VKTest.h"

#include <QCoreApplication>
#include <QThread>

#include <functional>
#include <memory>

using namespace Networks;

class VKQtNetworkAppleTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void startsEmpty();
    void isReachableMakesTheConnection();
    void startAndStop();
    void callsBack();
    void eachStartAddsAnObserver();
    void onlyTheLastObserverIsRemoved();
    void emptyCallback();
    void otherObjects();
    void destroyedWhileListening();
    void replacesItsCallback();
};

namespace {

void post(void* object) {
    VKNotificationCenter::defaultCenter().postNotification(kReachabilityChangedNotification, object);
}

} // namespace

void VKQtNetworkAppleTest::init() {
    VKTest::init();
    VKTEST_NEEDS(isOwn(), "root and iproute2");
    enterOwnNamespace();
}

void VKQtNetworkAppleTest::startsEmpty() {
    VKQtNetworkApple network;
    QVERIFY(!network.callback);
    QCOMPARE(network.observer, VKNotificationCenter::Token(0));
    QVERIFY(network.reachability == nullptr);
    network.stopListening(); // nothing to stop
    QVERIFY(network.reachability == nullptr);
}

void VKQtNetworkAppleTest::isReachableMakesTheConnection() {
    VKQtNetworkApple network;
    QVERIFY(!network.isReachable());
    Reachability* const made = network.reachability;
    QVERIFY(made != nullptr);
    ip("route add default dev lo");
    QVERIFY(network.isReachable());
    QCOMPARE(network.reachability, made);
    QVERIFY(made->reachabilityObject() == nullptr); // asking listens to nothing
}

void VKQtNetworkAppleTest::startAndStop() {
    VKQtNetworkApple network;
    network.callback = [](bool) {};
    QCOMPARE(network.startListening(), 0);
    QVERIFY(network.observer != 0);
    QCOMPARE(network.reachability->reachabilityObject(), network.reachability);
    Reachability* const kept = network.reachability;
    network.stopListening();
    QCOMPARE(network.observer, VKNotificationCenter::Token(0));
    QCOMPARE(network.reachability, kept);
    QVERIFY(kept->reachabilityObject() == nullptr);
}

void VKQtNetworkAppleTest::callsBack() {
    VKQtNetworkApple network;
    QList<bool> answers;
    network.callback = [&](bool reachable) {
        QVERIFY(QThread::currentThread() == QCoreApplication::instance()->thread());
        answers.append(reachable);
    };
    network.startListening();
    QCOMPARE(answers.size(), 0); // the first announcement is not the adapter's
    ip("route add default dev lo");
    QTRY_COMPARE(answers, QList<bool>{true});
    ip("route del default dev lo");
    QTRY_COMPARE(answers, (QList<bool>{true, false}));
}

void VKQtNetworkAppleTest::eachStartAddsAnObserver() {
    VKQtNetworkApple network;
    int calls = 0;
    network.callback = [&](bool) { ++calls; };
    network.startListening();
    network.startListening();
    network.startListening();
    post(network.reachability);
    QCOMPARE(calls, 3);
}

void VKQtNetworkAppleTest::onlyTheLastObserverIsRemoved() {
    VKQtNetworkApple network;
    int calls = 0;
    network.callback = [&](bool) { ++calls; };
    network.startListening();
    network.startListening();
    network.stopListening();
    post(network.reachability);
    QCOMPARE(calls, 1);
    network.stopListening();
    post(network.reachability);
    QCOMPARE(calls, 2);
}

void VKQtNetworkAppleTest::emptyCallback() {
    VKQtNetworkApple network;
    QCOMPARE(network.startListening(), 0);
    QVERIFY_THROWS_EXCEPTION(std::bad_function_call, post(network.reachability));
}

void VKQtNetworkAppleTest::otherObjects() {
    VKQtNetworkApple network;
    int calls = 0;
    network.callback = [&](bool) { ++calls; };
    network.startListening();
    post(nullptr);
    post(&network);
    QCOMPARE(calls, 0);
}

void VKQtNetworkAppleTest::destroyedWhileListening() {
    int calls = 0;
    auto network = std::make_unique<VKQtNetworkApple>();
    network->callback = [&](bool) { ++calls; };
    network->startListening();
    network->startListening();
    Reachability* const kept = network->reachability;
    kept->AddRef();
    network.reset();
    QVERIFY(kept->reachabilityObject() == nullptr);
    post(kept); // no observer is left that would meet a dead adapter
    QCOMPARE(calls, 0);
    QCOMPARE(kept->Release(), 0U);
}

void VKQtNetworkAppleTest::replacesItsCallback() {
    VKQtNetworkApple network;
    QStringList calls;
    const auto held = std::make_shared<QString>(QStringLiteral("first"));
    network.callback = [&, held](bool) {
        network.callback = [&](bool) { calls += QStringLiteral("second"); };
        calls += *held; // what the callback holds lives while it runs
    };
    network.startListening();
    post(network.reachability);
    post(network.reachability);
    QCOMPARE(calls, (QStringList{QStringLiteral("first"), QStringLiteral("second")}));
}

VKTEST_MAIN_WITH_OWN_NETWORK(VKQtNetworkAppleTest)
#include "VKQtNetworkAppleTest.moc"
