// The kernel's messages, from bytes that are composed here, cut, and wrong.
#include "Platform/Linux/NetlinkMessages.h"

#include "Support/VKTest.h"

#include <cstring>

#include <linux/fib_rules.h>
#include <linux/if.h>
#include <linux/if_addr.h>
#include <linux/if_link.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

using namespace Qt::StringLiterals;
using namespace VKPlatform;

class NetlinkMessagesTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void reader();
    void readerOfNonsense_data();
    void readerOfNonsense();
    void errors_data();
    void errors();
    void route();
    void routeKinds_data();
    void routeKinds();
    void routeOfSeveralWays();
    void waysLimit();
    void routeSources();
    void link_data();
    void link();
    void interfaceAddress_data();
    void interfaceAddress();
    void rule();
    void ruleSelectors_data();
    void ruleSelectors();
    void cut_data();
    void cut();
    void wrongSizes_data();
    void wrongSizes();
    void foreignFamilies();
};

namespace {

template <typename Record>
QByteArray bytesOf(const Record& record) {
    QByteArray bytes(reinterpret_cast<const char*>(&record), sizeof record);
    bytes.append(qsizetype(NLMSG_ALIGN(sizeof record)) - bytes.size(), '\0');
    return bytes;
}

QByteArray attribute(std::uint16_t type, const QByteArray& value) {
    rtattr header = {};
    header.rta_type = type;
    header.rta_len = static_cast<std::uint16_t>(RTA_LENGTH(std::size_t(value.size())));
    QByteArray bytes(reinterpret_cast<const char*>(&header), sizeof header);
    bytes += value;
    bytes.append(qsizetype(RTA_SPACE(std::size_t(value.size()))) - bytes.size(), '\0');
    return bytes;
}

template <typename Number>
QByteArray number(std::uint16_t type, Number value) {
    return attribute(type, QByteArray(reinterpret_cast<const char*>(&value), sizeof value));
}

QByteArray u32(std::uint16_t type, std::uint32_t value) { return number(type, value); }

QByteArray message(std::uint16_t type, std::uint32_t sequence, const QByteArray& payload) {
    nlmsghdr header = {};
    header.nlmsg_type = type;
    header.nlmsg_flags = NLM_F_MULTI;
    header.nlmsg_seq = sequence;
    header.nlmsg_len = static_cast<std::uint32_t>(NLMSG_LENGTH(std::size_t(payload.size())));
    QByteArray bytes = bytesOf(header) + payload;
    bytes.append(qsizetype(NLMSG_ALIGN(std::size_t(bytes.size()))) - bytes.size(), '\0');
    return bytes;
}

rtmsg routeHeader(unsigned char family = AF_INET, unsigned char length = 0) {
    rtmsg header = {};
    header.rtm_family = family;
    header.rtm_dst_len = length;
    header.rtm_table = RT_TABLE_MAIN;
    header.rtm_type = RTN_UNICAST;
    return header;
}

/// A default route by a gateway, with all that the kernel tells of one.
QByteArray someRoute() {
    return bytesOf(routeHeader()) + u32(RTA_TABLE, 254) + u32(RTA_PRIORITY, 100) +
           attribute(RTA_GATEWAY, QByteArray("\x0a\x09\x00\x01", 4)) + u32(RTA_OIF, 7) +
           attribute(RTA_PREFSRC, QByteArray("\x0a\x09\x00\x02", 4));
}

QByteArray someLink(unsigned flags = IFF_UP | IFF_RUNNING, unsigned char state = IF_OPER_UP) {
    ifinfomsg header = {};
    header.ifi_index = 7;
    header.ifi_flags = flags;
    return bytesOf(header) + attribute(IFLA_IFNAME, QByteArray("eth0", 5)) + number(IFLA_OPERSTATE, state);
}

QByteArray someAddress(unsigned char scope, std::uint32_t flags, unsigned char family = AF_INET6) {
    ifaddrmsg header = {};
    header.ifa_family = family;
    header.ifa_index = 7;
    header.ifa_scope = scope;
    return bytesOf(header) + attribute(IFA_ADDRESS, QByteArray(16, '\x20')) + u32(IFA_FLAGS, flags);
}

fib_rule_hdr ruleHeader(unsigned char action = FR_ACT_TO_TBL, std::uint32_t flags = 0) {
    fib_rule_hdr header = {};
    header.family = AF_INET;
    header.table = 254;
    header.action = action;
    header.flags = flags;
    return header;
}

QByteArray someRule() {
    return bytesOf(ruleHeader()) + u32(FRA_TABLE, 51820) + u32(FRA_SUPPRESS_PREFIXLEN, 0) +
           u32(FRA_PRIORITY, 32764) + number(FRA_PROTOCOL, std::uint8_t(3));
}

constexpr std::uint32_t kUser = 1000;

// Bytes that are put together in place.
std::optional<NetworkRoute> routeOf(const QByteArray& payload) { return parseRoute(payload); }
std::optional<RoutingRule> ruleOf(const QByteArray& payload) { return parseRule(payload, kUser); }

} // namespace

void NetlinkMessagesTest::reader() {
    const QByteArray bytes = message(RTM_NEWROUTE, 5, "abc") + message(NLMSG_DONE, 6, QByteArray());
    NetlinkReader reader(bytes);
    const auto first = reader.next();
    QVERIFY(first.has_value());
    QCOMPARE(first->type, std::uint16_t(RTM_NEWROUTE));
    QCOMPARE(first->flags, std::uint16_t(NLM_F_MULTI));
    QCOMPARE(first->sequence, 5U);
    QCOMPARE(first->payload.toByteArray(), QByteArray("abc"));
    const auto second = reader.next();
    QVERIFY(second.has_value());
    QCOMPARE(second->type, std::uint16_t(NLMSG_DONE));
    QVERIFY(second->payload.isEmpty());
    QVERIFY(!reader.next().has_value());
    QVERIFY(!reader.isDamaged());
}

void NetlinkMessagesTest::readerOfNonsense_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("messages");
    QTest::addColumn<bool>("isDamaged");
    const QByteArray whole = message(RTM_NEWROUTE, 1, "abcd");
    const auto withLength = [&](std::uint32_t length) {
        QByteArray bytes = whole;
        std::memcpy(bytes.data(), &length, sizeof length);
        return bytes;
    };
    QTest::newRow("nothing") << QByteArray() << 0 << false;
    QTest::newRow("whole") << whole << 1 << false;
    QTest::newRow("half a header") << whole.first(15) << 0 << true;
    QTest::newRow("cut payload") << whole.first(19) << 0 << true;
    QTest::newRow("whole and a byte") << QByteArray(whole + 'x') << 1 << true;
    QTest::newRow("length 0") << withLength(0) << 0 << true;
    QTest::newRow("length 15") << withLength(15) << 0 << true;
    QTest::newRow("length of the header alone") << withLength(16).first(16) << 1 << false;
    QTest::newRow("length 21 of 20") << withLength(21) << 0 << true;
    QTest::newRow("length of 4 GB") << withLength(0xFFFFFFFF) << 0 << true;
}

void NetlinkMessagesTest::readerOfNonsense() {
    QFETCH(QByteArray, bytes);
    NetlinkReader reader(bytes);
    int count = 0;
    while (reader.next()) {
        ++count;
    }
    QTEST(count, "messages");
    QTEST(reader.isDamaged(), "isDamaged");
    QVERIFY(!reader.next().has_value());
}

void NetlinkMessagesTest::errors_data() {
    QTest::addColumn<QByteArray>("payload");
    QTest::addColumn<int>("expected"); // -1: none
    const auto payload = [](std::int32_t value) {
        return QByteArray(reinterpret_cast<const char*>(&value), sizeof value);
    };
    QTest::newRow("all went well") << payload(0) << 0;
    QTest::newRow("no route") << payload(-ENETUNREACH) << ENETUNREACH;
    QTest::newRow("with the question behind it") << QByteArray(payload(-ENODEV) + "....") << ENODEV;
    QTest::newRow("positive") << payload(5) << -1;
    QTest::newRow("least errno") << payload(-4095) << 4095;
    QTest::newRow("beyond") << payload(-4096) << -1;
    QTest::newRow("cut") << payload(-1).first(3) << -1;
}

void NetlinkMessagesTest::errors() {
    QFETCH(QByteArray, payload);
    QTEST(parseNetlinkError(payload).value_or(-1), "expected");
}

void NetlinkMessagesTest::route() {
    const std::optional<NetworkRoute> route = routeOf(someRoute());
    QVERIFY(route.has_value());
    QCOMPARE(route->family, AddressFamily::IPv4);
    QCOMPARE(route->kind, RouteKind::Unicast);
    QVERIFY(route->coverage == Coverage::Everything);
    QCOMPARE(route->table, 254U);
    QCOMPARE(route->metric, 100U);
    QVERIFY(!route->isCached);
    QCOMPARE(route->hops.size(), std::size_t(1));
    QCOMPARE(route->hops.front().interface, 7U);
    QVERIFY(route->hops.front().hasGateway && !route->hops.front().isDead);
    QCOMPARE(int(route->source->bytes[3]), 2);
    // A table beyond 255 does not fit the header.
    rtmsg header = routeHeader();
    header.rtm_table = RT_TABLE_COMPAT;
    QCOMPARE(routeOf(bytesOf(header) + u32(RTA_TABLE, 51820))->table, 51820U);
    header.rtm_flags = RTM_F_CLONED | RTNH_F_LINKDOWN;
    const std::optional<NetworkRoute> cached = routeOf(bytesOf(header) + u32(RTA_OIF, 1));
    QVERIFY(cached->isCached && cached->hops.front().isDead && !cached->hops.front().hasGateway);
    // Without an interface there is no way.
    QVERIFY(routeOf(bytesOf(routeHeader()))->hops.empty());
    // An unknown attribute is passed over, also with the marks that the kernel may set on one.
    QCOMPARE(routeOf(someRoute() + attribute(200, "abc"))->metric, 100U);
    QCOMPARE(routeOf(bytesOf(routeHeader()) + u32(RTA_PRIORITY | NLA_F_NESTED, 5))->metric, 5U);
}

void NetlinkMessagesTest::routeKinds_data() {
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("kind");
    QTest::newRow("unicast") << int(RTN_UNICAST) << int(RouteKind::Unicast);
    QTest::newRow("local") << int(RTN_LOCAL) << int(RouteKind::Local);
    QTest::newRow("broadcast") << int(RTN_BROADCAST) << int(RouteKind::Link);
    QTest::newRow("anycast") << int(RTN_ANYCAST) << int(RouteKind::Link);
    QTest::newRow("multicast") << int(RTN_MULTICAST) << int(RouteKind::Link);
    QTest::newRow("blackhole") << int(RTN_BLACKHOLE) << int(RouteKind::Refusing);
    QTest::newRow("unreachable") << int(RTN_UNREACHABLE) << int(RouteKind::Refusing);
    QTest::newRow("prohibit") << int(RTN_PROHIBIT) << int(RouteKind::Refusing);
    QTest::newRow("throw") << int(RTN_THROW) << int(RouteKind::Passing);
    QTest::newRow("unspecified") << int(RTN_UNSPEC) << int(RouteKind::Other);
    QTest::newRow("of a later kernel") << 99 << int(RouteKind::Other);
}

void NetlinkMessagesTest::routeKinds() {
    QFETCH(int, type);
    rtmsg header = routeHeader();
    header.rtm_type = static_cast<unsigned char>(type);
    QTEST(int(routeOf(bytesOf(header))->kind), "kind");
}

namespace {

QByteArray nextHop(int interface, unsigned char flags, const QByteArray& attributes) {
    rtnexthop header = {};
    header.rtnh_len = static_cast<std::uint16_t>(sizeof header + std::size_t(attributes.size()));
    header.rtnh_flags = flags;
    header.rtnh_ifindex = interface;
    return bytesOf(header) + attributes;
}

} // namespace

void NetlinkMessagesTest::routeOfSeveralWays() {
    const QByteArray gateway = attribute(RTA_GATEWAY, QByteArray("\x0a\x09\x00\x01", 4));
    const QByteArray via = attribute(RTA_VIA, QByteArray(18, '\1'));
    const QByteArray ways = nextHop(3, RTNH_F_DEAD, gateway) + nextHop(4, RTNH_F_LINKDOWN, QByteArray()) +
                            nextHop(5, RTNH_F_ONLINK, via);
    const auto route = routeOf(bytesOf(routeHeader()) + attribute(RTA_MULTIPATH, ways));
    QVERIFY(route.has_value());
    QCOMPARE(route->hops.size(), std::size_t(3));
    QVERIFY(route->hops[0].interface == 3 && route->hops[0].hasGateway && route->hops[0].isDead);
    QVERIFY(route->hops[1].interface == 4 && !route->hops[1].hasGateway && route->hops[1].isDead);
    QVERIFY(route->hops[2].interface == 5 && route->hops[2].hasGateway && !route->hops[2].isDead);
    // A way whose interface has gone is one still: the others count.
    const auto withGone = routeOf(bytesOf(routeHeader()) +
                                  attribute(RTA_MULTIPATH, nextHop(0, RTNH_F_DEAD, {}) + nextHop(5, 0, via)));
    QVERIFY(withGone.has_value());
    QCOMPARE(withGone->hops.back().interface, 5U);
    // A way whose length leads nowhere, or out.
    for (const int length : {0, 7, int(ways.size()) + 1}) {
        QByteArray wrong = ways;
        const auto value = static_cast<std::uint16_t>(length);
        std::memcpy(wrong.data(), &value, sizeof value);
        QVERIFY(!routeOf(bytesOf(routeHeader()) + attribute(RTA_MULTIPATH, wrong)).has_value());
    }
    QVERIFY(!routeOf(bytesOf(routeHeader()) + attribute(RTA_MULTIPATH, nextHop(-1, 0, {}))).has_value());
}

void NetlinkMessagesTest::waysLimit() {
    for (const std::size_t count : {kMostNextHops - 1, kMostNextHops, kMostNextHops + 1}) {
        QByteArray ways;
        for (std::size_t i = 0; i < count; ++i) {
            ways += nextHop(int(i) + 1, 0, QByteArray());
        }
        const auto route = routeOf(bytesOf(routeHeader()) + attribute(RTA_MULTIPATH, ways));
        QCOMPARE(route->hops.size(), std::min(count, kMostNextHops));
    }
}

void NetlinkMessagesTest::routeSources() {
    // One for some sources or services only covers nothing of interest.
    rtmsg header = routeHeader(AF_INET6);
    header.rtm_src_len = 64;
    QVERIFY(!routeOf(bytesOf(header))->coverage.has_value());
    header = routeHeader();
    header.rtm_tos = 0x10;
    QVERIFY(!routeOf(bytesOf(header))->coverage.has_value());
    // Prefixes as they come: "2000::/3".
    const QByteArray prefix = QByteArray("\x20", 1) + QByteArray(15, '\0');
    const auto route = routeOf(bytesOf(routeHeader(AF_INET6, 3)) + attribute(RTA_DST, prefix));
    QVERIFY(route->coverage == Coverage::PublicIPv6);
    QCOMPARE(route->family, AddressFamily::IPv6);
}

void NetlinkMessagesTest::link_data() {
    QTest::addColumn<unsigned>("flags");
    QTest::addColumn<int>("state");
    QTest::addColumn<QString>("expected"); // up, running, dormant, point to point
    QTest::newRow("works") << unsigned(IFF_UP | IFF_RUNNING) << int(IF_OPER_UP) << u"ur--"_s;
    QTest::newRow("loopback, whose state nobody knows")
        << unsigned(IFF_UP | IFF_RUNNING | IFF_LOOPBACK) << int(IF_OPER_UNKNOWN) << u"ur--"_s;
    QTest::newRow("no cable") << unsigned(IFF_UP) << int(IF_OPER_DOWN) << u"u---"_s;
    QTest::newRow("down") << 0U << int(IF_OPER_DOWN) << u"----"_s;
    QTest::newRow("dormant by its state") << unsigned(IFF_UP) << int(IF_OPER_DORMANT) << u"u-d-"_s;
    QTest::newRow("dormant by its flag")
        << unsigned(IFF_UP | IFF_DORMANT) << int(IF_OPER_UNKNOWN) << u"u-d-"_s;
    QTest::newRow("tunnel") << unsigned(IFF_UP | IFF_RUNNING | IFF_POINTOPOINT) << int(IF_OPER_UNKNOWN)
                            << u"ur-p"_s;
}

void NetlinkMessagesTest::link() {
    QFETCH(unsigned, flags);
    QFETCH(int, state);
    const auto link = parseLink(someLink(flags, static_cast<unsigned char>(state)));
    QVERIFY(link.has_value());
    QCOMPARE(link->index, 7U);
    const auto letter = [](bool isSo, char16_t shown) { return QChar(isSo ? shown : u'-'); };
    const QString text = QString(letter(link->isUp, u'u')) + letter(link->isRunning, u'r') +
                         letter(link->isDormant, u'd') + letter(link->isPointToPoint, u'p');
    QTEST(text, "expected");
    ifinfomsg header = {};
    QVERIFY(!parseLink(bytesOf(header)).has_value()); // no interface has the number 0
}

void NetlinkMessagesTest::interfaceAddress_data() {
    QTest::addColumn<int>("scope");
    QTest::addColumn<unsigned>("flags");
    QTest::addColumn<QString>("expected"); // global, link-local, usable
    QTest::newRow("global") << int(RT_SCOPE_UNIVERSE) << unsigned(IFA_F_PERMANENT) << u"g-u"_s;
    QTest::newRow("deprecated") << int(RT_SCOPE_UNIVERSE) << unsigned(IFA_F_DEPRECATED) << u"g-u"_s;
    QTest::newRow("being tried") << int(RT_SCOPE_UNIVERSE) << unsigned(IFA_F_TENTATIVE) << u"g--"_s;
    QTest::newRow("being tried, in use already")
        << int(RT_SCOPE_UNIVERSE) << unsigned(IFA_F_TENTATIVE | IFA_F_OPTIMISTIC) << u"g-u"_s;
    QTest::newRow("somebody else's") << int(RT_SCOPE_UNIVERSE) << unsigned(IFA_F_TENTATIVE | IFA_F_DADFAILED)
                                     << u"g--"_s;
    QTest::newRow("somebody else's, kept") << int(RT_SCOPE_UNIVERSE) << unsigned(IFA_F_DADFAILED) << u"g--"_s;
    QTest::newRow("site") << int(RT_SCOPE_SITE) << 0U << u"g-u"_s;
    QTest::newRow("link") << int(RT_SCOPE_LINK) << 0U << u"-lu"_s;
    QTest::newRow("machine") << int(RT_SCOPE_HOST) << 0U << u"--u"_s;
}

void NetlinkMessagesTest::interfaceAddress() {
    QFETCH(int, scope);
    QFETCH(unsigned, flags);
    const auto address = parseInterfaceAddress(someAddress(static_cast<unsigned char>(scope), flags));
    QVERIFY(address.has_value());
    QCOMPARE(address->interface, 7U);
    const auto letter = [](bool isSo, char16_t shown) { return QChar(isSo ? shown : u'-'); };
    const QString text = QString(letter(address->isGlobal, u'g')) + letter(address->isLinkLocal, u'l') +
                         letter(address->isUsable, u'u');
    QTEST(text, "expected");
}

void NetlinkMessagesTest::rule() {
    const auto rule = ruleOf(someRule());
    QVERIFY(rule.has_value());
    QVERIFY(rule->action == RoutingRule::Action::Table);
    QCOMPARE(rule->table, 51820U);
    QCOMPARE(rule->priority, 32764U);
    QCOMPARE(rule->suppressedLength, 0);
    QVERIFY(rule->isForOrdinaryTraffic);
    QCOMPARE(ruleOf(bytesOf(ruleHeader()) + u32(FRA_SUPPRESS_PREFIXLEN, 0xFFFFFFFF))->suppressedLength, -1);
    const auto action = [](unsigned char value, std::uint32_t flags) {
        return ruleOf(bytesOf(ruleHeader(value, flags)) + u32(FRA_GOTO, 9))->action;
    };
    QVERIFY(action(FR_ACT_GOTO, 0) == RoutingRule::Action::Goto);
    QCOMPARE(ruleOf(bytesOf(ruleHeader(FR_ACT_GOTO)) + u32(FRA_GOTO, 9))->target, 9U);
    QVERIFY(action(FR_ACT_GOTO, FIB_RULE_UNRESOLVED) == RoutingRule::Action::Nothing);
    QVERIFY(action(FR_ACT_NOP, 0) == RoutingRule::Action::Nothing);
    for (const int refusing : {FR_ACT_BLACKHOLE, FR_ACT_UNREACHABLE, FR_ACT_PROHIBIT}) {
        QVERIFY(action(static_cast<unsigned char>(refusing), 0) == RoutingRule::Action::Refuse);
    }
}

void NetlinkMessagesTest::ruleSelectors_data() {
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<QByteArray>("attributes");
    QTest::addColumn<bool>("isForOrdinaryTraffic");
    const QByteArray usual = bytesOf(ruleHeader());
    const QByteArray inverted = bytesOf(ruleHeader(FR_ACT_TO_TBL, FIB_RULE_INVERT));
    const auto users = [](std::uint32_t first, std::uint32_t last) {
        const fib_rule_uid_range range = {first, last};
        return number(FRA_UID_RANGE, range);
    };
    fib_rule_hdr from = ruleHeader();
    from.src_len = 32;
    fib_rule_hdr to = ruleHeader();
    to.dst_len = 8;
    fib_rule_hdr service = ruleHeader();
    service.tos = 0x10;
    QTest::newRow("all") << usual << QByteArray() << true;
    QTest::newRow("not all") << inverted << QByteArray() << false;
    QTest::newRow("a source") << bytesOf(from) << QByteArray() << false;
    QTest::newRow("a destination") << bytesOf(to) << QByteArray() << false;
    QTest::newRow("a service") << bytesOf(service) << QByteArray() << false;
    QTest::newRow("a mark") << usual << u32(FRA_FWMARK, 0xCA6C) << false;
    QTest::newRow("not a mark") << inverted << u32(FRA_FWMARK, 0xCA6C) << true;
    QTest::newRow("no mark, of some bits")
        << usual << QByteArray(u32(FRA_FWMARK, 0) + u32(FRA_FWMASK, 0xFF0000)) << true;
    QTest::newRow("a mark, of other bits")
        << usual << QByteArray(u32(FRA_FWMARK, 0x10000) + u32(FRA_FWMASK, 0xFF)) << true;
    QTest::newRow("what comes in by eth0") << usual << attribute(FRA_IIFNAME, QByteArray("eth0", 5)) << false;
    QTest::newRow("what starts here") << usual << attribute(FRA_IIFNAME, QByteArray("lo", 3)) << true;
    QTest::newRow("what goes out by eth0") << usual << attribute(FRA_OIFNAME, QByteArray("eth0", 5)) << false;
    QTest::newRow("this user") << usual << users(1000, 1000) << true;
    QTest::newRow("users below") << usual << users(0, 999) << false;
    QTest::newRow("users above") << usual << users(1001, 2000) << false;
    QTest::newRow("a protocol") << usual << number(FRA_IP_PROTO, std::uint8_t(6)) << false;
    QTest::newRow("ports") << usual << u32(FRA_DPORT_RANGE, 0x00500050) << false;
    QTest::newRow("a tunnel's number") << usual << number(FRA_TUN_ID, std::uint64_t(9)) << false;
    QTest::newRow("interfaces of a device") << usual << number(FRA_L3MDEV, std::uint8_t(1)) << false;
    QTest::newRow("not of a device") << usual << number(FRA_L3MDEV, std::uint8_t(0)) << true;
    QTest::newRow("who made the rule") << usual << number(FRA_PROTOCOL, std::uint8_t(3)) << true;
    QTest::newRow("what a later kernel selects by") << usual << u32(60, 1) << false;
}

void NetlinkMessagesTest::ruleSelectors() {
    QFETCH(QByteArray, header);
    QFETCH(QByteArray, attributes);
    const auto rule = ruleOf(header + attributes);
    QVERIFY(rule.has_value());
    QTEST(rule->isForOrdinaryTraffic, "isForOrdinaryTraffic");
}

void NetlinkMessagesTest::cut_data() {
    QTest::addColumn<QByteArray>("payload");
    QTest::addColumn<int>("which");
    QTest::newRow("route") << someRoute() << 0;
    QTest::newRow("link") << someLink() << 1;
    QTest::newRow("address") << someAddress(RT_SCOPE_UNIVERSE, 0) << 2;
    QTest::newRow("rule") << someRule() << 3;
}

void NetlinkMessagesTest::cut() {
    QFETCH(QByteArray, payload);
    QFETCH(int, which);
    const auto parses = [which](QByteArrayView bytes) {
        switch (which) {
        case 0:
            return parseRoute(bytes).has_value();
        case 1:
            return parseLink(bytes).has_value();
        case 2:
            return parseInterfaceAddress(bytes).has_value();
        default:
            return parseRule(bytes, kUser).has_value();
        }
    };
    QVERIFY(parses(payload));
    const qsizetype headers[] = {sizeof(rtmsg), sizeof(ifinfomsg), sizeof(ifaddrmsg), sizeof(fib_rule_hdr)};
    for (qsizetype size = 0; size < payload.size(); ++size) {
        // In a copy of its own, so that reading beyond it is seen.
        const QByteArray part(payload.constData(), size);
        if (size < headers[which]) {
            QVERIFY2(!parses(part), QByteArray::number(size));
        }
        static_cast<void>(parses(part));
    }
    // An attribute that claims more than there is.
    QByteArray wrong = payload;
    const std::uint16_t length = 0xFFFF;
    std::memcpy(wrong.data() + headers[which], &length, sizeof length);
    QVERIFY(!parses(wrong));
    // One that claims less than its own header.
    const std::uint16_t tooShort = 3;
    std::memcpy(wrong.data() + headers[which], &tooShort, sizeof tooShort);
    QVERIFY(!parses(wrong));
}

void NetlinkMessagesTest::wrongSizes_data() {
    QTest::addColumn<int>("type");
    QTest::newRow("interface") << int(RTA_OIF);
    QTest::newRow("metric") << int(RTA_PRIORITY);
    QTest::newRow("table") << int(RTA_TABLE);
    QTest::newRow("destination") << int(RTA_DST);
    QTest::newRow("source") << int(RTA_PREFSRC);
}

void NetlinkMessagesTest::wrongSizes() {
    QFETCH(int, type);
    for (const qsizetype size : {0, 3, 5, 16}) {
        const QByteArray value(size, '\1');
        QVERIFY(!routeOf(bytesOf(routeHeader()) + attribute(static_cast<std::uint16_t>(type), value))
                     .has_value());
    }
    QVERIFY(routeOf(bytesOf(routeHeader()) + attribute(static_cast<std::uint16_t>(type), QByteArray(4, '\1')))
                .has_value());
}

void NetlinkMessagesTest::foreignFamilies() {
    for (const int family : {AF_UNSPEC, AF_MPLS, AF_BRIDGE}) {
        QVERIFY(!routeOf(bytesOf(routeHeader(static_cast<unsigned char>(family)))).has_value());
        QVERIFY(!parseInterfaceAddress(someAddress(0, 0, static_cast<unsigned char>(family))).has_value());
    }
}

VKTEST_MAIN(NetlinkMessagesTest)
#include "NetlinkMessagesTest.moc"
