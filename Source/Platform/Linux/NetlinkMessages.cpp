// Headers and attributes are copied out of the bytes: these are aligned to four at best.
#include "Platform/Linux/NetlinkMessages.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

#include <linux/fib_rules.h>
#include <linux/if.h>
#include <linux/if_addr.h>
#include <linux/if_link.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

namespace VKPlatform {

namespace {

/// The length of a header with its padding.
template <typename Record>
constexpr qsizetype kPaddedSize = NLMSG_ALIGN(sizeof(Record));

/// The record at the begin; none when the bytes are too few.
template <typename Record>
std::optional<Record> recordAt(QByteArrayView bytes) {
    static_assert(std::is_trivially_copyable_v<Record>);
    if (bytes.size() < static_cast<qsizetype>(sizeof(Record))) {
        return std::nullopt;
    }
    Record record;
    std::memcpy(&record, bytes.data(), sizeof record);
    return record;
}

/// What is behind a header of this kind.
template <typename Record>
QByteArrayView behind(QByteArrayView bytes) {
    return bytes.sliced(std::min(kPaddedSize<Record>, bytes.size()));
}

struct Attribute {
    std::uint16_t type = 0;
    QByteArrayView value;
};

/// Walks attributes: `(length, type, value, padding)...`. Trailing bytes that are no attribute are damage.
class AttributeReader {
public:
    explicit AttributeReader(QByteArrayView bytes) : mRest(bytes) {}

    std::optional<Attribute> next() {
        if (mRest.isEmpty()) {
            return std::nullopt;
        }
        const std::optional<rtattr> header = recordAt<rtattr>(mRest);
        if (!header || header->rta_len < sizeof(rtattr) || header->rta_len > mRest.size()) {
            mDamaged = true;
            return std::nullopt;
        }
        Attribute attribute;
        attribute.type = static_cast<std::uint16_t>(header->rta_type & NLA_TYPE_MASK);
        attribute.value =
            mRest.sliced(sizeof(rtattr), header->rta_len - static_cast<qsizetype>(sizeof(rtattr)));
        mRest = mRest.sliced(std::min<qsizetype>(RTA_ALIGN(header->rta_len), mRest.size()));
        return attribute;
    }

    [[nodiscard]] bool isDamaged() const { return mDamaged; }
    void setDamaged() { mDamaged = true; }

    /// The attribute's value as a number; damage when its size is another.
    template <typename Number>
    void read(const Attribute& attribute, Number& number) {
        if (attribute.value.size() != static_cast<qsizetype>(sizeof(Number))) {
            mDamaged = true;
            return;
        }
        std::memcpy(&number, attribute.value.data(), sizeof number);
    }

    /// The same for an address.
    void read(const Attribute& attribute, NetworkAddress& address) {
        const qsizetype size = address.family == AddressFamily::IPv4 ? 4 : 16;
        if (attribute.value.size() != size) {
            mDamaged = true;
            return;
        }
        std::copy_n(attribute.value.begin(), size, address.bytes.begin());
    }

private:
    QByteArrayView mRest;
    bool mDamaged = false;
};

std::optional<AddressFamily> familyOf(unsigned char family) {
    if (family == AF_INET) {
        return AddressFamily::IPv4;
    }
    return family == AF_INET6 ? std::optional(AddressFamily::IPv6) : std::nullopt;
}

RouteKind kindOf(unsigned char type) {
    switch (type) {
    case RTN_UNICAST:
        return RouteKind::Unicast;
    case RTN_LOCAL:
        return RouteKind::Local;
    case RTN_BROADCAST:
    case RTN_ANYCAST:
    case RTN_MULTICAST:
        return RouteKind::Link;
    case RTN_BLACKHOLE:
    case RTN_UNREACHABLE:
    case RTN_PROHIBIT:
        return RouteKind::Refusing;
    case RTN_THROW:
        return RouteKind::Passing;
    default:
        return RouteKind::Other;
    }
}

bool isDead(unsigned flags) { return (flags & (RTNH_F_DEAD | RTNH_F_LINKDOWN)) != 0; }

/// The ways of a route that has several: records with attributes, one behind the other. False when damaged.
bool readNextHops(QByteArrayView bytes, std::vector<NextHop>& hops) {
    while (!bytes.isEmpty()) {
        const std::optional<rtnexthop> header = recordAt<rtnexthop>(bytes);
        if (!header || header->rtnh_len < sizeof(rtnexthop) || header->rtnh_len > bytes.size() ||
            header->rtnh_ifindex < 0) {
            return false;
        }
        NextHop hop;
        hop.interface = static_cast<std::uint32_t>(header->rtnh_ifindex);
        hop.isDead = isDead(header->rtnh_flags);
        AttributeReader reader(behind<rtnexthop>(bytes.first(header->rtnh_len)));
        while (const std::optional<Attribute> attribute = reader.next()) {
            hop.hasGateway = hop.hasGateway || attribute->type == RTA_GATEWAY || attribute->type == RTA_VIA;
        }
        if (reader.isDamaged()) {
            return false;
        }
        appendWithin(hops, kMostNextHops, hop);
        bytes = bytes.sliced(std::min<qsizetype>(RTNH_ALIGN(header->rtnh_len), bytes.size()));
    }
    return true;
}

/// Attributes of a route, gathered.
struct RouteAttributes {
    NetworkAddress destination;
    NextHop only;
    std::vector<NextHop> several;
    std::optional<NetworkAddress> source;
};

void readRouteAttribute(AttributeReader& reader, const Attribute& attribute, NetworkRoute& route,
                        RouteAttributes& attributes) {
    switch (attribute.type) {
    case RTA_DST:
        reader.read(attribute, attributes.destination);
        break;
    case RTA_OIF:
        reader.read(attribute, attributes.only.interface);
        break;
    case RTA_GATEWAY:
    case RTA_VIA:
        attributes.only.hasGateway = true;
        break;
    case RTA_PRIORITY:
        reader.read(attribute, route.metric);
        break;
    case RTA_TABLE:
        reader.read(attribute, route.table);
        break;
    case RTA_PREFSRC:
        attributes.source.emplace();
        attributes.source->family = route.family;
        reader.read(attribute, *attributes.source);
        break;
    case RTA_MULTIPATH:
        if (!readNextHops(attribute.value, attributes.several)) {
            reader.setDamaged();
        }
        break;
    default:
        break;
    }
}

/// Whether the rule is for any of this user's packets that carry no mark and no source yet.
class RuleSelectors {
public:
    RuleSelectors(const fib_rule_hdr& header, std::uint32_t user)
        : mUser(user), mOrdinary(header.src_len == 0 && header.dst_len == 0 && header.tos == 0) {}

    void take(AttributeReader& reader, const Attribute& attribute) {
        switch (attribute.type) {
        case FRA_IIFNAME:
            // What this machine sends itself comes from the loopback interface.
            mOrdinary = mOrdinary && QByteArrayView(attribute.value.data(), nameLength(attribute.value)) ==
                                         QByteArrayView("lo");
            break;
        case FRA_FWMARK:
            reader.read(attribute, mMark);
            break;
        case FRA_FWMASK:
            reader.read(attribute, mMask);
            break;
        case FRA_UID_RANGE:
            takeUsers(reader, attribute);
            break;
        case FRA_OIFNAME:
        case FRA_TUN_ID:
        case FRA_IP_PROTO:
        case FRA_SPORT_RANGE:
        case FRA_DPORT_RANGE:
            mOrdinary = false;
            break;
        case FRA_L3MDEV: {
            std::uint8_t used = 0;
            reader.read(attribute, used);
            mOrdinary = mOrdinary && used == 0;
            break;
        }
        default:
            // Selectors of later kernels.
            mOrdinary = mOrdinary && attribute.type <= FRA_DPORT_RANGE;
            break;
        }
    }

    [[nodiscard]] bool match() const { return mOrdinary && (mMark & mMask) == 0; }

private:
    static qsizetype nameLength(QByteArrayView name) {
        return std::find(name.begin(), name.end(), '\0') - name.begin();
    }

    void takeUsers(AttributeReader& reader, const Attribute& attribute) {
        fib_rule_uid_range range = {};
        reader.read(attribute, range);
        mOrdinary = mOrdinary && range.start <= mUser && mUser <= range.end;
    }

    std::uint32_t mUser;
    bool mOrdinary;
    std::uint32_t mMark = 0;
    std::uint32_t mMask = ~std::uint32_t(0);
};

RoutingRule::Action actionOf(const fib_rule_hdr& header) {
    switch (header.action) {
    case FR_ACT_TO_TBL:
        return RoutingRule::Action::Table;
    case FR_ACT_GOTO:
        return (header.flags & FIB_RULE_UNRESOLVED) != 0 ? RoutingRule::Action::Nothing
                                                         : RoutingRule::Action::Goto;
    case FR_ACT_BLACKHOLE:
    case FR_ACT_UNREACHABLE:
    case FR_ACT_PROHIBIT:
        return RoutingRule::Action::Refuse;
    default:
        return RoutingRule::Action::Nothing;
    }
}

} // namespace

std::optional<NetlinkMessage> NetlinkReader::next() {
    if (mRest.isEmpty()) {
        return std::nullopt;
    }
    const std::optional<nlmsghdr> header = recordAt<nlmsghdr>(mRest);
    if (!header || header->nlmsg_len < sizeof(nlmsghdr) || header->nlmsg_len > std::size_t(mRest.size())) {
        mDamaged = true;
        mRest = QByteArrayView();
        return std::nullopt;
    }
    NetlinkMessage message;
    message.type = header->nlmsg_type;
    message.flags = header->nlmsg_flags;
    message.sequence = header->nlmsg_seq;
    message.payload = behind<nlmsghdr>(mRest.first(static_cast<qsizetype>(header->nlmsg_len)));
    const auto padded = static_cast<qsizetype>(NLMSG_ALIGN(std::size_t(header->nlmsg_len)));
    mRest = mRest.sliced(std::min(padded, mRest.size()));
    return message;
}

std::optional<int> parseNetlinkError(QByteArrayView payload) {
    const std::optional<std::int32_t> error = recordAt<std::int32_t>(payload);
    // Zero or a negative errno; nothing else is one.
    if (!error || *error > 0 || *error < -4095) {
        return std::nullopt;
    }
    return -*error;
}

std::optional<NetworkRoute> parseRoute(QByteArrayView payload) {
    const std::optional<rtmsg> header = recordAt<rtmsg>(payload);
    const std::optional<AddressFamily> family = header ? familyOf(header->rtm_family) : std::nullopt;
    if (!family) {
        return std::nullopt;
    }
    NetworkRoute route;
    route.family = *family;
    route.kind = kindOf(header->rtm_type);
    route.table = header->rtm_table;
    route.isCached = (header->rtm_flags & RTM_F_CLONED) != 0;
    RouteAttributes attributes;
    attributes.destination.family = *family;
    AttributeReader reader(behind<rtmsg>(payload));
    while (const std::optional<Attribute> attribute = reader.next()) {
        readRouteAttribute(reader, *attribute, route, attributes);
    }
    if (reader.isDamaged()) {
        return std::nullopt;
    }
    route.source = attributes.source;
    // One with a source prefix is not for everybody.
    if (header->rtm_src_len == 0 && header->rtm_tos == 0) {
        route.coverage = coverageOf(attributes.destination, header->rtm_dst_len);
    }
    attributes.only.isDead = isDead(header->rtm_flags);
    route.hops = std::move(attributes.several);
    if (route.hops.empty() && attributes.only.interface != 0) {
        route.hops.push_back(attributes.only);
    }
    return route;
}

std::optional<NetworkLink> parseLink(QByteArrayView payload) {
    const std::optional<ifinfomsg> header = recordAt<ifinfomsg>(payload);
    if (!header || header->ifi_index <= 0) {
        return std::nullopt;
    }
    std::uint8_t state = 0; // IF_OPER_UNKNOWN
    AttributeReader reader(behind<ifinfomsg>(payload));
    while (const std::optional<Attribute> attribute = reader.next()) {
        if (attribute->type == IFLA_OPERSTATE) {
            reader.read(*attribute, state);
        }
    }
    if (reader.isDamaged()) {
        return std::nullopt;
    }
    NetworkLink link;
    link.index = static_cast<std::uint32_t>(header->ifi_index);
    link.isUp = (header->ifi_flags & IFF_UP) != 0;
    // The flag is set for the states "up" and "unknown": drivers of virtual interfaces know no other.
    link.isRunning = (header->ifi_flags & IFF_RUNNING) != 0;
    link.isDormant = (header->ifi_flags & IFF_DORMANT) != 0 || state == IF_OPER_DORMANT;
    link.isPointToPoint = (header->ifi_flags & IFF_POINTOPOINT) != 0;
    link.isLoopback = (header->ifi_flags & IFF_LOOPBACK) != 0;
    return link;
}

std::optional<InterfaceAddress> parseInterfaceAddress(QByteArrayView payload) {
    const std::optional<ifaddrmsg> header = recordAt<ifaddrmsg>(payload);
    if (!header || !familyOf(header->ifa_family)) {
        return std::nullopt;
    }
    std::uint32_t flags = header->ifa_flags;
    AttributeReader reader(behind<ifaddrmsg>(payload));
    while (const std::optional<Attribute> attribute = reader.next()) {
        if (attribute->type == IFA_FLAGS) {
            reader.read(*attribute, flags);
        }
    }
    if (reader.isDamaged()) {
        return std::nullopt;
    }
    InterfaceAddress address;
    address.interface = header->ifa_index;
    // Universe, site, and the administrator's own names for something between.
    address.isGlobal = header->ifa_scope < RT_SCOPE_LINK;
    address.isLinkLocal = header->ifa_scope == RT_SCOPE_LINK;
    const bool isTried = (flags & IFA_F_TENTATIVE) != 0 && (flags & IFA_F_OPTIMISTIC) == 0;
    address.isUsable = !isTried && (flags & IFA_F_DADFAILED) == 0;
    return address;
}

std::optional<RoutingRule> parseRule(QByteArrayView payload, std::uint32_t user) {
    const std::optional<fib_rule_hdr> header = recordAt<fib_rule_hdr>(payload);
    if (!header) {
        return std::nullopt;
    }
    RoutingRule rule;
    rule.action = actionOf(*header);
    rule.table = header->table;
    RuleSelectors selectors(*header, user);
    AttributeReader reader(behind<fib_rule_hdr>(payload));
    while (const std::optional<Attribute> attribute = reader.next()) {
        std::uint32_t length = 0;
        switch (attribute->type) {
        case FRA_PRIORITY:
            reader.read(*attribute, rule.priority);
            break;
        case FRA_TABLE:
            reader.read(*attribute, rule.table);
            break;
        case FRA_GOTO:
            reader.read(*attribute, rule.target);
            break;
        case FRA_SUPPRESS_PREFIXLEN:
            reader.read(*attribute, length);
            rule.suppressedLength = static_cast<int>(length);
            break;
        default:
            selectors.take(reader, *attribute);
            break;
        }
    }
    if (reader.isDamaged()) {
        return std::nullopt;
    }
    const bool isInverted = (header->flags & FIB_RULE_INVERT) != 0;
    rule.isForOrdinaryTraffic = selectors.match() != isInverted;
    return rule;
}

} // namespace VKPlatform
