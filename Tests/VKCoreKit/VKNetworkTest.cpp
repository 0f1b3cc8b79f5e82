// Flags, names and changes as the core library tells them.
#include <VKCoreKit/VKNetwork.h>

#include "Support/NetworkSupport.h"
#include "Support/VKTest.h"

#include <thread>

using namespace Networks;
using namespace Qt::StringLiterals;

class VKNetworkTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void flags_data();
    void flags();
    void flagsOfTunnel();
    void nullPointers();
    void hostNames_data();
    void hostNames();
    void parses();
    void resolves();
    void resolvesNothing();
    void watch();
    void watchBeforeOpen();
};

void VKNetworkTest::flags_data() {
    QTest::addColumn<QByteArray>("commands");
    QTest::addColumn<QString>("address");
    QTest::addColumn<VKNetworkFlags>("expected");
    const QByteArray uplink = "route add default via 10.9.0.1";
    QTest::newRow("the internet") << uplink << u"0.0.0.0"_s << kVKNetworkFlagsReachable + 0U;
    QTest::newRow("the internet, gone") << QByteArray() << u"0.0.0.0"_s << 0U;
    QTest::newRow("own") << QByteArray() << u"127.0.0.1"_s
                         << (kVKNetworkFlagsReachable | kVKNetworkFlagsIsLocalAddress);
    QTest::newRow("direct") << QByteArray() << u"10.9.0.7"_s
                            << (kVKNetworkFlagsReachable | kVKNetworkFlagsIsDirect);
    QTest::newRow("of the link") << QByteArray("addr add fe80::2/64 dev v0 nodad") << u"fe80::7%v0"_s
                                 << (kVKNetworkFlagsReachable | kVKNetworkFlagsIsDirect);
    QTest::newRow("waits") << QByteArray("link set v0 down\nlink set v0 mode dormant\nlink set v0 up\n" +
                                         uplink)
                           << u"0.0.0.0"_s << kVKNetworkFlagsConnectionRequired + 0U;
}

void VKNetworkTest::flags() {
    VKTEST_NEEDS(isOwn(), "root and iproute2");
    QFETCH(QByteArray, commands);
    QFETCH(QString, address);
    enterOwnNamespace();
    const Cable cable;
    if (!commands.isEmpty()) {
        ip(commands);
    }
    VKNetworkAddress parsed;
    QCOMPARE(VKNetworkParseAddress(address, &parsed), 0U);
    VKNetworkFlags flags = 0xFFFFFFFF;
    QCOMPARE(VKNetworkGetFlags(parsed, &flags), 0U);
    QTEST(flags, "expected");
}

void VKNetworkTest::flagsOfTunnel() {
    VKTEST_NEEDS(Tunnel::canBeMade(), "root and /dev/net/tun");
    enterOwnNamespace();
    const Tunnel tunnel;
    ip("route add default via 10.8.0.1");
    VKNetworkFlags flags = 0;
    QCOMPARE(VKNetworkGetFlags(VKNetworkAddress(), &flags), 0U);
    QCOMPARE(flags, kVKNetworkFlagsReachable | kVKNetworkFlagsTransientConnection);
}

void VKNetworkTest::nullPointers() {
    QCOMPARE(VKNetworkGetFlags(VKNetworkAddress(), nullptr), kVKStatusBadArgument);
    QCOMPARE(VKNetworkParseAddress(u"::1"_s, nullptr), kVKStatusBadArgument);
    QCOMPARE(VKNetworkResolve(u"localhost"_s, nullptr), kVKStatusBadArgument);
}

void VKNetworkTest::hostNames_data() {
    QTest::addColumn<QString>("host");
    QTest::addColumn<bool>("isName");
    QTest::newRow("usual") << u"photos.test"_s << true;
    QTest::newRow("an address") << u"192.0.2.1"_s << true;
    QTest::newRow("letters that are encoded") << u"bücher.test"_s << true;
    QTest::newRow("empty") << QString() << false;
    QTest::newRow("zero character") << u"a\0b"_s << false;
    QTest::newRow("252 bytes") << QString(252, u'a') << true;
    QTest::newRow("253 bytes") << QString(253, u'a') << true;
    QTest::newRow("254 bytes") << QString(254, u'a') << false;
    QTest::newRow("a million") << QString(1'000'000, u'ü') << false;
}

void VKNetworkTest::hostNames() {
    QFETCH(QString, host);
    QTEST(VKNetworkIsHostName(host), "isName");
}

void VKNetworkTest::parses() {
    VKNetworkAddress address;
    address.scope = 9;
    const VKNetworkAddress before = address;
    for (const QString& text : {u"photos.test"_s, QString(), u"1.2.3.4.5"_s, u"a\0b"_s}) {
        QCOMPARE(VKNetworkParseAddress(text, &address), kVKStatusNotUnderstood);
        QVERIFY(address == before);
    }
    QCOMPARE(VKNetworkParseAddress(u"2001:db8::1"_s, &address), 0U);
    QCOMPARE(address.family, VKNetworkAddress::Family::IPv6);
    QCOMPARE(int(address.bytes[15]), 1);
    QCOMPARE(address.scope, 0U);
}

void VKNetworkTest::resolves() {
    std::vector<VKNetworkAddress> addresses(5);
    QCOMPARE(VKNetworkResolve(u"192.0.2.1"_s, &addresses), 0U);
    QCOMPARE(addresses.size(), std::size_t(1));
    QCOMPARE(addresses.front().family, VKNetworkAddress::Family::IPv4);
    QCOMPARE(int(addresses.front().bytes[0]), 192);
    QCOMPARE(VKNetworkResolve(u"localhost"_s, &addresses), 0U);
    QVERIFY(!addresses.empty());
}

void VKNetworkTest::resolvesNothing() {
    VKTEST_NEEDS(isOwn(), "root and iproute2");
    std::vector<VKNetworkAddress> addresses(5);
    QCOMPARE(VKNetworkResolve(QString(), &addresses), kVKStatusBadArgument);
    QVERIFY(addresses.empty());
    addresses.resize(5);
    // Nobody can be asked here.
    QCOMPARE(VKNetworkResolve(u"unknown.test"_s, &addresses), VKStatus(EAGAIN));
    QVERIFY(addresses.empty());
}

void VKNetworkTest::watch() {
    VKTEST_NEEDS(isOwn(), "root and iproute2");
    enterOwnNamespace();
    VKNetworkWatch watch;
    QCOMPARE(watch.open(), 0U);
    ip("route add default dev lo");
    QVERIFY(watch.wait() == VKNetworkWatch::Event::Change);
    std::thread other([&] { watch.wake(); });
    QVERIFY(watch.wait() == VKNetworkWatch::Event::Wake);
    other.join();
}

void VKNetworkTest::watchBeforeOpen() {
    VKNetworkWatch watch;
    watch.wake();
    QVERIFY(watch.wait() == VKNetworkWatch::Event::Broken);
}

VKTEST_MAIN_WITH_OWN_NETWORK(VKNetworkTest)
#include "VKNetworkTest.moc"
