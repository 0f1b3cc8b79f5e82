// The kernel's own order of decisions, over values.
#include "Platform/NetworkRules.h"

#include <algorithm>
#include <initializer_list>

namespace VKPlatform {

namespace {

constexpr std::uint32_t kTableDefault = 253;
constexpr std::uint32_t kTableMain = 254;
constexpr std::uint32_t kTableLocal = 255;

/// Prefixes that cover everything together, and their length.
struct Cover {
    std::initializer_list<Coverage> parts;
    int prefixLength;
};

/// The longest prefixes first, as the kernel takes them.
constexpr std::initializer_list<Coverage> kPublic = {Coverage::PublicIPv6};
constexpr std::initializer_list<Coverage> kHalves = {Coverage::LowerHalf, Coverage::UpperHalf};
constexpr std::initializer_list<Coverage> kWhole = {Coverage::Everything};
constexpr Cover kCovers[] = {{kPublic, 3}, {kHalves, 1}, {kWhole, 0}};

struct Verdict {
    enum class Kind : std::uint8_t { Nothing, Way, Refused, Passed };

    Kind kind = Kind::Nothing;
    NetworkReach reach;
};

NetworkReach reachThrough(const NextHop& hop, const NetworkLink& link) {
    NetworkReach reach;
    reach.isReachable = link.isUp && link.isRunning;
    reach.needsConnection = !reach.isReachable && link.isUp && link.isDormant;
    if (reach.isReachable) {
        reach.isDirect = !hop.hasGateway;
        reach.isTransient = link.isPointToPoint;
    }
    return reach;
}

bool hasSourceFor(const RoutingFacts& facts, std::uint32_t interface) {
    return facts.family == AddressFamily::IPv4 ||
           std::any_of(facts.addresses.begin(), facts.addresses.end(), [&](const InterfaceAddress& address) {
               return address.isUsable && !address.isLinkLocal &&
                      (address.isGlobal || address.interface == interface);
           });
}

/// Whether answers find back to the address that an IPv6 packet leaves from. The kernel takes one of the link or of
/// the machine itself where it has no better one.
bool canAnswerTo(const std::optional<NetworkAddress>& source, const NetworkLink& link) {
    return source && !isLinkLocalIPv6(*source) && (link.isLoopback || !isLoopbackIPv6(*source));
}

/// The best of a route's ways.
NetworkReach reachOf(const RoutingFacts& facts, const NetworkRoute& route) {
    NetworkReach best;
    for (const NextHop& hop : route.hops) {
        const auto link = facts.links.find(hop.interface);
        if (link == facts.links.end()) {
            continue;
        }
        NetworkReach reach = reachThrough(hop, link->second);
        if (reach.isReachable && (hop.isDead || !hasSourceFor(facts, hop.interface))) {
            reach = NetworkReach();
        }
        best = betterReach(best, reach);
    }
    return best;
}

/// What the routes of one prefix in one table say. They come in the order of their metrics.
Verdict verdictOf(const RoutingFacts& facts, std::uint32_t table, Coverage coverage) {
    std::vector<const NetworkRoute*> routes;
    for (const NetworkRoute& route : facts.routes) {
        if (route.table == table && route.coverage == coverage) {
            routes.push_back(&route);
        }
    }
    std::stable_sort(routes.begin(), routes.end(),
                     [](const NetworkRoute* a, const NetworkRoute* b) { return a->metric < b->metric; });
    Verdict verdict;
    for (const NetworkRoute* route : routes) {
        if (route->kind == RouteKind::Refusing || route->kind == RouteKind::Passing) {
            verdict.kind =
                route->kind == RouteKind::Refusing ? Verdict::Kind::Refused : Verdict::Kind::Passed;
            return verdict;
        }
        if (route->kind != RouteKind::Unicast) {
            continue;
        }
        verdict.reach = betterReach(verdict.reach, reachOf(facts, *route));
        if (verdict.reach.isReachable) {
            verdict.kind = Verdict::Kind::Way;
            return verdict;
        }
    }
    return verdict;
}

/// Of all parts together: each has to lead somewhere, and one that refuses decides.
Verdict verdictOf(const RoutingFacts& facts, std::uint32_t table, const Cover& cover) {
    Verdict all;
    for (const Coverage part : cover.parts) {
        const Verdict verdict = verdictOf(facts, table, part);
        if (verdict.kind != Verdict::Kind::Way) {
            return verdict;
        }
        if (all.kind != Verdict::Kind::Way) {
            all = verdict;
        }
    }
    return all;
}

/// What a rule's table says; `waiting` notes an interface that could work.
Verdict verdictOf(const RoutingFacts& facts, const RoutingRule& rule, bool& waiting) {
    for (const Cover& cover : kCovers) {
        if (cover.prefixLength <= rule.suppressedLength) {
            continue;
        }
        const Verdict verdict = verdictOf(facts, rule.table, cover);
        waiting = waiting || verdict.reach.needsConnection;
        if (verdict.kind != Verdict::Kind::Nothing) {
            return verdict;
        }
    }
    return Verdict();
}

} // namespace

bool isZero(const NetworkAddress& address) {
    return std::all_of(address.bytes.begin(), address.bytes.end(),
                       [](std::uint8_t byte) { return byte == 0; });
}

bool isLinkLocalIPv6(const NetworkAddress& address) {
    return address.family == AddressFamily::IPv6 && address.bytes[0] == 0xFE &&
           (address.bytes[1] & 0xC0U) == 0x80;
}

bool isLoopbackIPv6(const NetworkAddress& address) {
    NetworkAddress last = address;
    last.bytes[15] = 0;
    return address.family == AddressFamily::IPv6 && address.bytes[15] == 1 && isZero(last);
}

std::vector<RoutingRule> usualRules() {
    std::vector<RoutingRule> rules;
    std::uint32_t priority = 0;
    for (const std::uint32_t table : {kTableLocal, kTableMain, kTableDefault}) {
        RoutingRule rule;
        rule.priority = priority++;
        rule.action = RoutingRule::Action::Table;
        rule.table = table;
        rules.push_back(rule);
    }
    return rules;
}

std::optional<Coverage> coverageOf(const NetworkAddress& prefix, int length) {
    NetworkAddress rest = prefix;
    const std::uint8_t first = rest.bytes[0];
    rest.bytes[0] = 0;
    if (!isZero(rest)) {
        return std::nullopt;
    }
    if (length == 0 && first == 0) {
        return Coverage::Everything;
    }
    if (length == 1 && (first == 0 || first == 0x80)) {
        return first == 0 ? Coverage::LowerHalf : Coverage::UpperHalf;
    }
    if (length == 3 && first == 0x20 && prefix.family == AddressFamily::IPv6) {
        return Coverage::PublicIPv6;
    }
    return std::nullopt;
}

NetworkReach internetReach(const RoutingFacts& facts) {
    std::vector<RoutingRule> rules = facts.rules;
    std::stable_sort(rules.begin(), rules.end(),
                     [](const RoutingRule& a, const RoutingRule& b) { return a.priority < b.priority; });
    bool waiting = false;
    std::uint32_t from = 0;
    for (const RoutingRule& rule : rules) {
        if (!rule.isForOrdinaryTraffic || rule.priority < from) {
            continue;
        }
        if (rule.action == RoutingRule::Action::Refuse) {
            break;
        }
        if (rule.action == RoutingRule::Action::Goto) {
            from = std::max(from, rule.target);
        }
        if (rule.action != RoutingRule::Action::Table) {
            continue;
        }
        const Verdict verdict = verdictOf(facts, rule, waiting);
        if (verdict.kind == Verdict::Kind::Way) {
            return verdict.reach;
        }
        if (verdict.kind == Verdict::Kind::Refused) {
            break;
        }
    }
    NetworkReach none;
    none.needsConnection = waiting;
    return none;
}

NetworkReach addressReach(const NetworkAddress& address, const NetworkRoute& route, const NetworkLink* link) {
    NetworkReach reach;
    if (route.kind == RouteKind::Local) {
        reach.isReachable = true;
        reach.isLocal = true;
        return reach;
    }
    const bool leadsOut = route.kind == RouteKind::Unicast || route.kind == RouteKind::Link;
    if (!leadsOut || route.hops.empty() || link == nullptr) {
        return reach;
    }
    const bool isNear = isLinkLocalIPv6(address);
    if (isNear && address.scope == 0) {
        return reach;
    }
    if (address.family == AddressFamily::IPv6 && !isNear && route.kind == RouteKind::Unicast &&
        !canAnswerTo(route.source, *link)) {
        return reach;
    }
    return route.hops.front().isDead ? reach : reachThrough(route.hops.front(), *link);
}

NetworkReach betterReach(const NetworkReach& first, const NetworkReach& second) {
    const auto rank = [](const NetworkReach& reach) {
        if (reach.isReachable) {
            return reach.isTransient ? 2 : 3;
        }
        return reach.needsConnection ? 1 : 0;
    };
    return rank(second) > rank(first) ? second : first;
}

} // namespace VKPlatform
