// What the kernel has in a network that each row makes for itself.
#include "Platform/NetworkRoutes.h"

#include "NetworkReachText.h"
#include "Platform/HostNames.h"
#include "Support/NetworkSupport.h"
#include "Support/VKTest.h"

#include <memory>

using namespace Networks;
using namespace Qt::StringLiterals;
using namespace VKPlatform;

class NetworkRoutesTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void internet_data();
    void internet();
    void addresses_data();
    void addresses();
    void tunnel();
    void manyRoutes();
    void loopbackDown();
};

namespace {

QString reachOfText(const QByteArray& text) {
    const std::optional<NetworkAddress> address = parseAddress(text);
    NetworkReach reach;
    const int error = address ? reachOf(*address, reach) : -1;
    return error == 0 ? words(reach) : u"error "_s + QString::number(error);
}

/// A second interface "w0", whose cable ends in "w1".
constexpr char kSecondCable[] =
    "link add w0 type veth peer name w1\nlink set w1 up\naddr add 10.9.5.2/24 dev w0\n"
    "link set w0 up\n";

} // namespace

void NetworkRoutesTest::init() {
    VKTest::init();
    VKTEST_NEEDS(isOwn(), "root and iproute2");
    enterOwnNamespace(); // a new one for each row
}

void NetworkRoutesTest::internet_data() {
    QTest::addColumn<QByteArray>("commands");
    QTest::addColumn<QString>("expected");
    const QByteArray uplink = "route add default via 10.9.0.1";
    const QByteArray uplink6 = "addr add 2001:db8::2/64 dev v0 nodad\n-6 route add default via 2001:db8::1";
    const QString none;
    QTest::newRow("no route") << QByteArray() << none;
    QTest::newRow("by a gateway") << uplink << u"reachable"_s;
    QTest::newRow("on the link") << QByteArray("route add default dev v0") << u"reachable direct"_s;
    QTest::newRow("on the loopback") << QByteArray("route add default dev lo") << u"reachable direct"_s;
    QTest::newRow("some networks only") << QByteArray("route add 10.0.0.0/8 via 10.9.0.1") << none;
    QTest::newRow("interface down") << QByteArray(uplink + "\nlink set v0 down") << none;
    QTest::newRow("cable out") << QByteArray(uplink + "\nlink set v1 down") << none;
    QTest::newRow("cable out and in")
        << QByteArray(uplink + "\nlink set v1 down\nlink set v1 up") << u"reachable"_s;
    QTest::newRow("address removed") << QByteArray(uplink + "\naddr del 10.9.0.2/24 dev v0") << none;
    QTest::newRow("unreachable") << QByteArray("route add unreachable default") << none;
    QTest::newRow("prohibited") << QByteArray("route add prohibit default") << none;
    QTest::newRow("blackhole") << QByteArray("route add blackhole default") << none;
    QTest::newRow("unreachable, behind a better one")
        << QByteArray(uplink + " metric 10\nroute add unreachable default metric 4278198272")
        << u"reachable"_s;
    QTest::newRow("unreachable, before one that works")
        << QByteArray("route add unreachable default metric 1\n" + uplink + " metric 10") << none;
    QTest::newRow("the second of two")
        << QByteArray(kSecondCable + uplink + " metric 1\nroute add default via 10.9.5.1 metric 2\n" +
                      "link set v1 down")
        << u"reachable"_s;
    QTest::newRow("one route of two ways")
        << QByteArray(QByteArray(kSecondCable) +
                      "route add default nexthop via 10.9.0.1 nexthop via 10.9.5.1\nlink set v1 down")
        << u"reachable"_s;
    QTest::newRow("one route of two ways, both out")
        << QByteArray(QByteArray(kSecondCable) +
                      "route add default nexthop via 10.9.0.1 nexthop via 10.9.5.1\nlink set v1 down\n"
                      "link set w1 down")
        << none;
    QTest::newRow("by a next-hop object")
        << QByteArray("nexthop add id 5 via 10.9.0.1 dev v0\nroute add default nhid 5") << u"reachable"_s;
    QTest::newRow("by an IPv6 gateway")
        << QByteArray("-4 route add default via inet6 fe80::1 dev v0") << u"reachable"_s;
    QTest::newRow("two halves") << QByteArray(
                                       "route add 0.0.0.0/1 via 10.9.0.1\nroute add 128.0.0.0/1 via 10.9.0.1")
                                << u"reachable"_s;
    QTest::newRow("one half") << QByteArray("route add 128.0.0.0/1 via 10.9.0.1") << none;

    QTest::newRow("IPv6") << uplink6 << u"reachable"_s;
    QTest::newRow("IPv6, cable out") << QByteArray(uplink6 + "\nlink set v1 down") << none;
    QTest::newRow("IPv6, interface down") << QByteArray(uplink6 + "\nlink set v0 down") << none;
    QTest::newRow("IPv6, route removed") << QByteArray(uplink6 + "\n-6 route del default") << none;
    QTest::newRow("IPv6, address removed")
        << QByteArray(uplink6 + "\naddr del 2001:db8::2/64 dev v0") << none;
    QTest::newRow("IPv6, no address") << QByteArray("-6 route add default dev v0") << none;
    QTest::newRow("IPv6, public addresses")
        << QByteArray("addr add 2001:db8::2/64 dev v0 nodad\n-6 route add 2000::/3 via 2001:db8::1")
        << u"reachable"_s;
    QTest::newRow("IPv6, unreachable") << QByteArray("-6 route add unreachable default") << none;
    QTest::newRow("IPv6 on the loopback")
        << QByteArray("-6 route add default dev lo") << u"reachable direct"_s;
    QTest::newRow("IPv4 refuses, IPv6 works")
        << QByteArray("route add unreachable default\n" + uplink6) << u"reachable"_s;

    QTest::newRow("a table of its own") << QByteArray(uplink + " table 100") << none;
    QTest::newRow("a table and its rule")
        << QByteArray(uplink + " table 51820\nrule add lookup 51820") << u"reachable"_s;
    QTest::newRow("a table for a mark")
        << QByteArray(uplink + " table 100\nrule add fwmark 5 lookup 100") << none;
    QTest::newRow("a table for what has no mark, as tunnels do")
        << QByteArray(uplink +
                      "\nroute add default dev v0 table 51820\nrule add not fwmark 0xca6c lookup 51820\n"
                      "rule add lookup main suppress_prefixlength 0")
        << u"reachable direct"_s;
    QTest::newRow("a table for a source")
        << QByteArray(uplink + " table 100\nrule add from 10.9.0.2 lookup 100") << none;
    QTest::newRow("a table for other users")
        << QByteArray(uplink + " table 100\nrule add uidrange 5-9 lookup 100") << none;
    QTest::newRow("a table for this user")
        << QByteArray(uplink + " table 100\nrule add uidrange 0-0 lookup 100") << u"reachable"_s;
    QTest::newRow("a rule that refuses") << QByteArray(uplink + "\nrule add unreachable priority 5") << none;
    QTest::newRow("a rule that goes on") << QByteArray(uplink + "\nrule add priority 5 goto 40000\n"
                                                                "rule add priority 40000 nop")
                                         << none;
    QTest::newRow("an interface that waits")
        << QByteArray("link set v0 down\nlink set v0 mode dormant\nlink set v0 up\n" + uplink)
        << u"required"_s;
}

void NetworkRoutesTest::internet() {
    QFETCH(QByteArray, commands);
    const Cable cable;
    if (!commands.isEmpty()) {
        ip(commands);
    }
    QFETCH(QString, expected);
    QCOMPARE(reachOfText("0.0.0.0"), expected);
    QCOMPARE(reachOfText("::"), expected);
}

void NetworkRoutesTest::addresses_data() {
    QTest::addColumn<QByteArray>("commands");
    QTest::addColumn<QByteArray>("address");
    QTest::addColumn<QString>("expected");
    const QByteArray uplink = "route add default via 10.9.0.1";
    const QByteArray address6 = "addr add 2001:db8::2/64 dev v0 nodad";
    const QByteArray uplink6 = address6 + "\n-6 route add default via 2001:db8::1";
    const QString none;
    const auto row = [](const char* name, const QByteArray& commands, const char* address,
                        const QString& expected) {
        QTest::newRow(name) << commands << QByteArray(address) << expected;
    };
    row("loopback", {}, "127.0.0.1", u"reachable local"_s);
    row("another of the loopback", {}, "127.9.9.9", u"reachable local"_s);
    row("an own one", {}, "10.9.0.2", u"reachable local"_s);
    row("a neighbour", {}, "10.9.0.7", u"reachable direct"_s);
    row("broadcast", {}, "10.9.0.255", u"reachable direct"_s);
    row("a neighbour, cable out", "link set v1 down", "10.9.0.7", none);
    row("outside, no route", {}, "198.51.100.7", none);
    row("outside", uplink, "198.51.100.7", u"reachable"_s);
    row("outside, interface down", uplink + "\nlink set v0 down", "198.51.100.7", none);
    row("outside, cable out", uplink + "\nlink set v1 down", "198.51.100.7", none);
    row("unreachable", uplink + "\nroute add unreachable 198.51.100.0/24", "198.51.100.7", none);
    row("prohibited", uplink + "\nroute add prohibit 198.51.100.0/24", "198.51.100.7", none);
    row("blackhole", uplink + "\nroute add blackhole 198.51.100.0/24", "198.51.100.7", none);
    row("beside the unreachable", uplink + "\nroute add unreachable 198.51.100.0/24", "203.0.113.7",
        u"reachable"_s);
    row("link-local network, no route", {}, "169.254.0.0", none);
    row("link-local network by its route", "route add 169.254.0.0/16 dev v0", "169.254.0.0",
        u"reachable direct"_s);
    row("link-local network by the default route", uplink, "169.254.0.0", u"reachable"_s);
    row("IPv6 loopback", {}, "::1", u"reachable local"_s);
    row("IPv6, an own one", address6, "2001:db8::2", u"reachable local"_s);
    row("IPv6, a neighbour", address6, "2001:db8::7", u"reachable direct"_s);
    row("IPv6, outside", uplink6, "2001:db9::7", u"reachable"_s);
    row("IPv6, outside, no route", address6, "2001:db9::7", none);
    row("IPv6, outside, no address", "-6 route add default dev v0", "2001:db9::7", none);
    row("IPv6, unreachable", uplink6 + "\n-6 route add unreachable 2001:db9::/32", "2001:db9::7", none);
    row("IPv6, blackhole", uplink6 + "\n-6 route add blackhole 2001:db9::/32", "2001:db9::7", none);
    row("link-local, no interface", {}, "fe80::7", none);
}

void NetworkRoutesTest::addresses() {
    QFETCH(QByteArray, commands);
    QFETCH(QByteArray, address);
    const Cable cable;
    if (!commands.isEmpty()) {
        ip(commands);
    }
    QTEST(reachOfText(address), "expected");
}

void NetworkRoutesTest::tunnel() {
    VKTEST_NEEDS(Tunnel::canBeMade(), "root and /dev/net/tun");
    auto tunnel = std::make_unique<Tunnel>();
    QCOMPARE(reachOfText("10.8.0.7"), u"reachable direct transient"_s);
    ip("route add default via 10.8.0.1");
    QCOMPARE(reachOfText("0.0.0.0"), u"reachable transient"_s);
    QCOMPARE(reachOfText("198.51.100.7"), u"reachable transient"_s);
    // A lasting way by the other family goes before it.
    const Cable cable;
    ip("addr add 2001:db8::2/64 dev v0 nodad\n-6 route add default via 2001:db8::1");
    QCOMPARE(reachOfText("0.0.0.0"), u"reachable"_s);
    ip("-6 route del default");
    // With an interface of its number, a link-local address is one of its network.
    QCOMPARE(reachOfText("fe80::7%v0"), u"reachable direct"_s);
    tunnel.reset();
    QCOMPARE(reachOfText("0.0.0.0"), QString());
}

void NetworkRoutesTest::manyRoutes() {
    // More than one answer's worth, the default route among them.
    const Uplink uplink;
    QByteArray batch;
    for (int i = 0; i < 3000; ++i) {
        batch += "route add 172." + QByteArray::number(16 + i / 10000) + '.' + QByteArray::number(i / 250) +
                 '.' + QByteArray::number(i % 250) + "/32 via 10.9.0.1\n";
    }
    const QByteArray file = VKTest::scratchFolder().toUtf8() + "/many";
    Disk::makeFile(file, batch);
    ip("-batch " + file);
    QCOMPARE(reachOfText("0.0.0.0"), u"reachable"_s);
    ip("route del default");
    QCOMPARE(reachOfText("0.0.0.0"), QString());
}

void NetworkRoutesTest::loopbackDown() {
    ip("route add default dev lo\nlink set lo down");
    QCOMPARE(reachOfText("0.0.0.0"), QString());
}

VKTEST_MAIN_WITH_OWN_NETWORK(NetworkRoutesTest)
#include "NetworkRoutesTest.moc"
