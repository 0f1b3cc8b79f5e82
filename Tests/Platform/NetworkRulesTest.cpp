// Ways out of the machine, decided over values.
#include "Platform/NetworkRules.h"

#include "NetworkReachText.h"
#include "Support/VKTest.h"

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace VKPlatform;

class NetworkRulesTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void coverage_data();
    void coverage();
    void internet_data();
    void internet();
    void sources_data();
    void sources();
    void orderOfRoutesDoesNotMatter();
    void addresses_data();
    void addresses();
    void better();
    void zeroAndLinkLocal();
    void limits();
};

namespace {

constexpr std::uint32_t kMain = 254;

using Facts = RoutingFacts;

NetworkAddress address(std::initializer_list<std::uint8_t> first, AddressFamily family) {
    NetworkAddress made;
    made.family = family;
    std::copy(first.begin(), first.end(), made.bytes.begin());
    return made;
}

NetworkAddress v4(std::initializer_list<std::uint8_t> first) { return address(first, AddressFamily::IPv4); }
NetworkAddress v6(std::initializer_list<std::uint8_t> first) { return address(first, AddressFamily::IPv6); }

/// Interfaces: 1 works, 2 is down, 3 is without a cable, 4 waits, 5 is a tunnel, 6 the loopback, 7 is down and would wait.
Facts someFacts(AddressFamily family = AddressFamily::IPv4) {
    Facts facts;
    facts.family = family;
    facts.rules = usualRules();
    facts.links = {{1, {1, true, true, false, false}},  {2, {2, false, false, false, false}},
                   {3, {3, true, false, false, false}}, {4, {4, true, false, true, false}},
                   {5, {5, true, true, false, true}},   {6, {6, true, true, false, false, true}},
                   {7, {7, false, false, true, false}}};
    return facts;
}

NetworkRoute route(std::uint32_t interface, std::uint32_t metric = 0,
                   Coverage coverage = Coverage::Everything) {
    NetworkRoute made;
    made.kind = RouteKind::Unicast;
    made.coverage = coverage;
    made.table = kMain;
    made.metric = metric;
    made.hops = {{interface, true, false}};
    return made;
}

NetworkRoute with(NetworkRoute made, RouteKind kind) {
    made.kind = kind;
    made.hops.clear();
    return made;
}

NetworkRoute inTable(NetworkRoute made, std::uint32_t table) {
    made.table = table;
    return made;
}

NetworkRoute direct(NetworkRoute made) {
    made.hops.front().hasGateway = false;
    return made;
}

NetworkRoute dead(NetworkRoute made) {
    made.hops.front().isDead = true;
    return made;
}

NetworkRoute twoWays(std::uint32_t first, std::uint32_t second) {
    NetworkRoute made = route(first);
    made.hops.push_back({second, true, false});
    return made;
}

RoutingRule rule(std::uint32_t priority, RoutingRule::Action action, std::uint32_t number = 0) {
    RoutingRule made;
    made.priority = priority;
    made.action = action;
    (action == RoutingRule::Action::Goto ? made.target : made.table) = number;
    return made;
}

RoutingRule suppressing(RoutingRule made, int length) {
    made.suppressedLength = length;
    return made;
}

RoutingRule forOthers(RoutingRule made) {
    made.isForOrdinaryTraffic = false;
    return made;
}

} // namespace

void NetworkRulesTest::coverage_data() {
    QTest::addColumn<NetworkAddress>("prefix");
    QTest::addColumn<int>("length");
    QTest::addColumn<int>("covers"); // -1: nothing of interest
    QTest::newRow("0.0.0.0/0") << v4({}) << 0 << int(Coverage::Everything);
    QTest::newRow("0.0.0.0/1") << v4({}) << 1 << int(Coverage::LowerHalf);
    QTest::newRow("128.0.0.0/1") << v4({128}) << 1 << int(Coverage::UpperHalf);
    QTest::newRow("0.0.0.0/2") << v4({}) << 2 << -1;
    QTest::newRow("10.0.0.0/8") << v4({10}) << 8 << -1;
    QTest::newRow("32.0.0.0/3") << v4({32}) << 3 << -1;
    QTest::newRow("64.0.0.0/1, which is none") << v4({64}) << 1 << -1;
    QTest::newRow("0.0.0.1/0, which is none") << v4({0, 0, 0, 1}) << 0 << -1;
    QTest::newRow("128.0.0.0/0, which is none") << v4({128}) << 0 << -1;
    QTest::newRow("::/0") << v6({}) << 0 << int(Coverage::Everything);
    QTest::newRow("::/1") << v6({}) << 1 << int(Coverage::LowerHalf);
    QTest::newRow("8000::/1") << v6({0x80}) << 1 << int(Coverage::UpperHalf);
    QTest::newRow("2000::/3") << v6({0x20}) << 3 << int(Coverage::PublicIPv6);
    QTest::newRow("2001::/3, which is none") << v6({0x20, 1}) << 3 << -1;
    QTest::newRow("fe80::/64") << v6({0xFE, 0x80}) << 64 << -1;
}

void NetworkRulesTest::coverage() {
    QFETCH(NetworkAddress, prefix);
    QFETCH(int, length);
    const std::optional<Coverage> covered = coverageOf(prefix, length);
    QTEST(covered ? int(*covered) : -1, "covers");
}

void NetworkRulesTest::internet_data() {
    QTest::addColumn<std::vector<NetworkRoute>>("routes");
    QTest::addColumn<std::vector<RoutingRule>>(
        "rules"); // beside the usual ones, whose priorities are 0, 1, 2
    QTest::addColumn<QString>("expected");
    using Routes = std::vector<NetworkRoute>;
    using Rules = std::vector<RoutingRule>;
    using Action = RoutingRule::Action;
    const Rules usual;
    const QString none;

    QTest::newRow("no routes") << Routes{} << usual << none;
    QTest::newRow("by a gateway") << Routes{route(1)} << usual << u"reachable"_s;
    QTest::newRow("on the link") << Routes{direct(route(1))} << usual << u"reachable direct"_s;
    QTest::newRow("by a tunnel") << Routes{route(5)} << usual << u"reachable transient"_s;
    QTest::newRow("interface down") << Routes{route(2)} << usual << none;
    QTest::newRow("no cable") << Routes{route(3)} << usual << none;
    QTest::newRow("interface that waits") << Routes{route(4)} << usual << u"required"_s;
    QTest::newRow("interface that would wait, but is down") << Routes{route(7)} << usual << none;
    QTest::newRow("interface unknown") << Routes{route(9)} << usual << none;
    QTest::newRow("the kernel says it is dead") << Routes{dead(route(1))} << usual << none;
    QTest::newRow("no cable, then one that works")
        << Routes{route(3, 1), route(1, 2)} << usual << u"reachable"_s;
    QTest::newRow("one that waits, then one that works")
        << Routes{route(4, 1), route(1, 2)} << usual << u"reachable"_s;
    QTest::newRow("two ways, one works") << Routes{twoWays(3, 1)} << usual << u"reachable"_s;
    QTest::newRow("two ways, the lasting one counts") << Routes{twoWays(5, 1)} << usual << u"reachable"_s;
    QTest::newRow("refused") << Routes{with(route(1), RouteKind::Refusing)} << usual << none;
    QTest::newRow("refused before one that works")
        << Routes{with(route(1, 1), RouteKind::Refusing), route(1, 2)} << usual << none;
    QTest::newRow("refused behind one that works")
        << Routes{route(1, 1), with(route(1, 2), RouteKind::Refusing)} << usual << u"reachable"_s;
    QTest::newRow("refused behind one that is down")
        << Routes{route(2, 1), with(route(1, 2), RouteKind::Refusing)} << usual << none;
    QTest::newRow("kept here") << Routes{with(route(1), RouteKind::Local)} << usual << none;
    QTest::newRow("both halves") << Routes{route(5, 0, Coverage::LowerHalf), route(5, 0, Coverage::UpperHalf)}
                                 << usual << u"reachable transient"_s;
    QTest::newRow("both halves, two ways: the lower one's")
        << Routes{route(1, 0, Coverage::LowerHalf), route(5, 0, Coverage::UpperHalf)} << usual
        << u"reachable"_s;
    QTest::newRow("lower half") << Routes{route(1, 0, Coverage::LowerHalf)} << usual << none;
    QTest::newRow("upper half") << Routes{route(1, 0, Coverage::UpperHalf)} << usual << none;
    QTest::newRow("halves go before the whole")
        << Routes{route(5, 0, Coverage::LowerHalf), route(5, 0, Coverage::UpperHalf), route(1)} << usual
        << u"reachable transient"_s;
    QTest::newRow("half, and the whole")
        << Routes{route(5, 0, Coverage::LowerHalf), route(1)} << usual << u"reachable"_s;
    QTest::newRow("halves that refuse, and the whole")
        << Routes{with(route(1, 0, Coverage::LowerHalf), RouteKind::Refusing),
                  with(route(1, 0, Coverage::UpperHalf), RouteKind::Refusing), route(1)}
        << usual << none;
    QTest::newRow("halves that are down, and the whole")
        << Routes{route(2, 0, Coverage::LowerHalf), route(2, 0, Coverage::UpperHalf), route(1)} << usual
        << u"reachable"_s;
    QTest::newRow("public addresses") << Routes{route(1, 0, Coverage::PublicIPv6)} << usual << u"reachable"_s;

    QTest::newRow("a table that no rule names") << Routes{inTable(route(1), 100)} << usual << none;
    QTest::newRow("a table that a rule names")
        << Routes{inTable(route(1), 100)} << Rules{rule(1, Action::Table, 100)} << u"reachable"_s;
    QTest::newRow("a table for other traffic")
        << Routes{inTable(route(1), 100)} << Rules{forOthers(rule(1, Action::Table, 100))} << none;
    QTest::newRow("a rule that refuses, before")
        << Routes{route(1)} << Rules{rule(0, Action::Refuse)} << none;
    QTest::newRow("a rule that refuses, behind")
        << Routes{route(1)} << Rules{rule(9, Action::Refuse)} << u"reachable"_s;
    QTest::newRow("a rule that refuses others")
        << Routes{route(1)} << Rules{forOthers(rule(0, Action::Refuse))} << u"reachable"_s;
    QTest::newRow("a rule that does nothing")
        << Routes{route(1)} << Rules{rule(0, Action::Nothing)} << u"reachable"_s;
    QTest::newRow("a rule that goes on behind the table")
        << Routes{route(1)} << Rules{rule(0, Action::Goto, 9), rule(9, Action::Nothing)} << none;
    QTest::newRow("a rule that goes on at the table")
        << Routes{route(1)} << Rules{rule(0, Action::Goto, 1), rule(0, Action::Refuse)} << u"reachable"_s;
    QTest::newRow("default routes are passed over")
        << Routes{route(1)} << Rules{suppressing(rule(0, Action::Table, kMain), 0), rule(0, Action::Refuse)}
        << none;
    QTest::newRow("halves are not passed over")
        << Routes{route(1, 0, Coverage::LowerHalf), route(1, 0, Coverage::UpperHalf)}
        << Rules{suppressing(rule(0, Action::Table, kMain), 0), rule(0, Action::Refuse)} << u"reachable"_s;
    QTest::newRow("a table that leaves it to the next")
        << Routes{inTable(with(route(1), RouteKind::Passing), 100), route(1)}
        << Rules{rule(0, Action::Table, 100)} << u"reachable"_s;
    QTest::newRow("a table that refuses")
        << Routes{inTable(with(route(1), RouteKind::Refusing), 100), route(1)}
        << Rules{rule(0, Action::Table, 100)} << none;
    QTest::newRow("a table whose interface is down")
        << Routes{inTable(route(2), 100), route(1)} << Rules{rule(0, Action::Table, 100)} << u"reachable"_s;
}

void NetworkRulesTest::internet() {
    QFETCH(std::vector<NetworkRoute>, routes);
    QFETCH(std::vector<RoutingRule>, rules);
    Facts facts = someFacts();
    facts.routes = routes;
    facts.rules.insert(facts.rules.begin(), rules.begin(), rules.end());
    QTEST(words(internetReach(facts)), "expected");
}

void NetworkRulesTest::sources_data() {
    QTest::addColumn<std::vector<InterfaceAddress>>("addresses");
    QTest::addColumn<bool>("isReachable");
    using Addresses = std::vector<InterfaceAddress>;
    QTest::newRow("none") << Addresses{} << false;
    QTest::newRow("global") << Addresses{{1, true, false, true}} << true;
    QTest::newRow("global on another interface") << Addresses{{2, true, false, true}} << true;
    QTest::newRow("global, being tried") << Addresses{{1, true, false, false}} << false;
    QTest::newRow("link-local") << Addresses{{1, false, true, true}} << false;
    QTest::newRow("the machine's own, on this interface") << Addresses{{1, false, false, true}} << true;
    QTest::newRow("the machine's own, on another") << Addresses{{9, false, false, true}} << false;
    QTest::newRow("link-local and global")
        << Addresses{{1, false, true, true}, {1, true, false, true}} << true;
}

void NetworkRulesTest::sources() {
    QFETCH(std::vector<InterfaceAddress>, addresses);
    Facts facts = someFacts(AddressFamily::IPv6);
    facts.routes = {route(1)};
    facts.addresses = addresses;
    QTEST(internetReach(facts).isReachable, "isReachable");
    // IPv4 routes go with the last address.
    facts.family = AddressFamily::IPv4;
    QVERIFY(internetReach(facts).isReachable);
}

void NetworkRulesTest::orderOfRoutesDoesNotMatter() {
    Facts facts = someFacts();
    std::vector<std::uint32_t> order = {0, 1, 2, 3};
    const std::vector<NetworkRoute> routes = {route(3, 1), route(5, 2),
                                              with(route(1, 3), RouteKind::Refusing), route(1, 4)};
    do {
        facts.routes.clear();
        for (const std::uint32_t index : order) {
            facts.routes.push_back(routes[index]);
        }
        QCOMPARE(words(internetReach(facts)), u"reachable transient"_s);
    } while (std::next_permutation(order.begin(), order.end()));
}

void NetworkRulesTest::addresses_data() {
    QTest::addColumn<NetworkAddress>("address");
    QTest::addColumn<NetworkRoute>("route");
    QTest::addColumn<int>("link"); // 0: none
    QTest::addColumn<QString>("expected");
    NetworkAddress scoped = v6({0xFE, 0x80, 0, 0, 0, 0, 0, 1});
    scoped.scope = 1;
    const NetworkAddress outside = v6({0x20, 1});
    NetworkRoute sourced = route(1);
    sourced.source = v6({0x20, 1, 9});
    NetworkRoute nearSource = route(1);
    nearSource.source = v6({0xFE, 0x80});
    NetworkRoute ownSource = route(1);
    ownSource.source = v6({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1});
    const QString none;
    QTest::newRow("by a gateway") << v4({192, 0, 2, 1}) << route(1) << 1 << u"reachable"_s;
    QTest::newRow("on the link") << v4({192, 0, 2, 1}) << direct(route(1)) << 1 << u"reachable direct"_s;
    QTest::newRow("an own one") << v4({127}) << with(route(1), RouteKind::Local) << 0 << u"reachable local"_s;
    QTest::newRow("broadcast") << v4({192, 0, 2, 255}) << direct([] {
        NetworkRoute made = route(1);
        made.kind = RouteKind::Link;
        return made;
    }()) << 1 << u"reachable direct"_s;
    QTest::newRow("no route") << v4({192, 0, 2, 1}) << NetworkRoute() << 0 << none;
    QTest::newRow("refused") << v4({192, 0, 2, 1}) << with(route(1), RouteKind::Refusing) << 1 << none;
    QTest::newRow("interface gone") << v4({192, 0, 2, 1}) << route(1) << 0 << none;
    QTest::newRow("interface down") << v4({192, 0, 2, 1}) << route(2) << 2 << none;
    QTest::newRow("no cable") << v4({192, 0, 2, 1}) << route(3) << 3 << none;
    QTest::newRow("waits") << v4({192, 0, 2, 1}) << route(4) << 4 << u"required"_s;
    QTest::newRow("tunnel") << v4({192, 0, 2, 1}) << route(5) << 5 << u"reachable transient"_s;
    QTest::newRow("dead") << v4({192, 0, 2, 1}) << dead(route(1)) << 1 << none;
    QTest::newRow("IPv6, from a global address") << outside << sourced << 1 << u"reachable"_s;
    QTest::newRow("IPv6, from nothing") << outside << route(1) << 1 << none;
    QTest::newRow("IPv6, from the link's address") << outside << nearSource << 1 << none;
    QTest::newRow("IPv6, from the machine's own address") << outside << ownSource << 1 << none;
    QTest::newRow("IPv6, from the machine's own address by its own interface")
        << outside << ownSource << 6 << u"reachable"_s;
    QTest::newRow("link-local with its interface")
        << scoped << direct(nearSource) << 1 << u"reachable direct"_s;
    QTest::newRow("link-local without") << v6({0xFE, 0x80}) << direct(nearSource) << 1 << none;
}

void NetworkRulesTest::addresses() {
    QFETCH(NetworkAddress, address);
    QFETCH(NetworkRoute, route);
    QFETCH(int, link);
    const Facts facts = someFacts();
    const auto at = facts.links.find(static_cast<std::uint32_t>(link));
    QTEST(words(addressReach(address, route, at == facts.links.end() ? nullptr : &at->second)), "expected");
}

void NetworkRulesTest::better() {
    const NetworkReach none;
    NetworkReach waits;
    waits.needsConnection = true;
    NetworkReach tunnel;
    tunnel.isReachable = tunnel.isTransient = true;
    NetworkReach lasting;
    lasting.isReachable = true;
    const NetworkReach ranks[] = {none, waits, tunnel, lasting};
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            QCOMPARE(betterReach(ranks[i], ranks[j]), ranks[std::max(i, j)]);
        }
    }
    NetworkReach other = lasting;
    other.isDirect = true;
    QCOMPARE(betterReach(lasting, other), lasting);
    QCOMPARE(betterReach(other, lasting), other);
}

void NetworkRulesTest::zeroAndLinkLocal() {
    QVERIFY(isZero(v4({})) && isZero(v6({})));
    QVERIFY(!isZero(v4({0, 0, 0, 1})));
    QVERIFY(isLinkLocalIPv6(v6({0xFE, 0x80})) && isLinkLocalIPv6(v6({0xFE, 0xBF})));
    QVERIFY(!isLinkLocalIPv6(v6({0xFE, 0xC0})) && !isLinkLocalIPv6(v4({0xFE, 0x80})));
    NetworkAddress one = v6({});
    one.bytes[15] = 1;
    QVERIFY(isLoopbackIPv6(one) && !isLoopbackIPv6(v6({})) && !isLoopbackIPv6(v6({1})));
    one.family = AddressFamily::IPv4;
    QVERIFY(!isLoopbackIPv6(one));
}

void NetworkRulesTest::limits() {
    std::vector<RoutingRule> list;
    for (std::size_t i = 0; i < kMostRules - 1; ++i) {
        appendWithin(list, kMostRules, RoutingRule());
    }
    QCOMPARE(list.size(), kMostRules - 1);
    appendWithin(list, kMostRules, RoutingRule());
    QCOMPARE(list.size(), kMostRules);
    appendWithin(list, kMostRules, RoutingRule());
    QCOMPARE(list.size(), kMostRules);
}

VKTEST_MAIN(NetworkRulesTest)
#include "NetworkRulesTest.moc"
