// What routes, rules, interfaces and addresses of this machine say about a way out of it. Pure.
#pragma once

#include "Platform/NetworkAddress.h"

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace VKPlatform {

/// What is known about the way to a place.
struct NetworkReach {
    bool isReachable = false;
    bool isLocal = false;         ///< an address of this machine's own
    bool isDirect = false;        ///< without a gateway
    bool isTransient = false;     ///< over a link between two points
    bool needsConnection = false; ///< the interface waits to be let into its network

    bool operator==(const NetworkReach& other) const = default;
};

/// One interface.
struct NetworkLink {
    std::uint32_t index = 0;
    bool isUp = false;           ///< by the administrator
    bool isRunning = false;      ///< it works: there is a cable, or nobody can tell
    bool isDormant = false;      ///< there is a cable, and the network has not let it in yet
    bool isPointToPoint = false; ///< a tunnel or a modem
    bool isLoopback = false;
};

/// Where one way of a route leads.
struct NextHop {
    std::uint32_t interface = 0; ///< 0: not told
    bool hasGateway = false;
    bool isDead = false; ///< the kernel says so itself: its interface is down, or without a cable
};

/// What a route does with a packet.
enum class RouteKind : std::uint8_t {
    Unicast,  ///< sends it on
    Local,    ///< keeps it: an address of this machine
    Link,     ///< sends it to several or to any on the network: broadcast, multicast, anycast
    Refusing, ///< refuses it: unreachable, prohibit, blackhole
    Passing,  ///< leaves it to the next rule
    Other,
};

/// Which addresses a route covers, as far as that is of interest: everything, and what routers and tunnels write
/// instead. A default route in two halves is what a tunnel puts before one that it leaves in place.
enum class Coverage : std::uint8_t {
    Everything,
    LowerHalf,  ///< 0.0.0.0/1, ::/1
    UpperHalf,  ///< 128.0.0.0/1, 8000::/1
    PublicIPv6, ///< 2000::/3
};

struct NetworkRoute {
    AddressFamily family = AddressFamily::IPv4;
    RouteKind kind = RouteKind::Other;
    std::optional<Coverage> coverage;
    std::uint32_t table = 0;
    std::uint32_t metric = 0; ///< the lowest goes first
    bool isCached = false;    ///< the kernel's note of a decision, not an entry of a table
    std::vector<NextHop> hops;
    std::optional<NetworkAddress> source; ///< the own address that packets will carry
};

/// What the policy rules do with ordinary traffic of this process.
struct RoutingRule {
    enum class Action : std::uint8_t { Table, Goto, Refuse, Nothing };

    std::uint32_t priority = 0;
    Action action = Action::Nothing;
    std::uint32_t table = 0;  ///< Table
    std::uint32_t target = 0; ///< Goto: the priority to go on from
    /// Routes whose prefix is not longer are passed over; none when -1.
    int suppressedLength = -1;
    /// False for a rule that is for traffic of another kind: of a certain source, with a mark, of another user.
    bool isForOrdinaryTraffic = true;
};

/// An address of this machine.
struct InterfaceAddress {
    std::uint32_t interface = 0;
    bool isGlobal = false; ///< of use beyond this machine and its links
    bool isLinkLocal = false;
    bool isUsable = false; ///< not still being tried, and nobody else's
};

/// How much of each is kept. Far more than any machine has; what is beyond is not looked at.
inline constexpr std::size_t kMostRoutes = 1024;
inline constexpr std::size_t kMostRules = 1024;
inline constexpr std::size_t kMostNextHops = 256;
inline constexpr std::size_t kMostInterfaceAddresses = 4096;

/// All that decides for one family.
struct RoutingFacts {
    AddressFamily family = AddressFamily::IPv4;
    std::vector<NetworkRoute> routes; ///< those with a coverage
    std::vector<RoutingRule> rules;
    std::map<std::uint32_t, NetworkLink> links; ///< by index
    std::vector<InterfaceAddress> addresses;    ///< IPv6; IPv4 is not asked for its
};

/// Appends unless the list is full.
template <typename Element>
void appendWithin(std::vector<Element>& list, std::size_t most, Element element) {
    if (list.size() < most) {
        list.push_back(std::move(element));
    }
}

/// What the kernel begins with: the tables of own addresses, main and default.
[[nodiscard]] std::vector<RoutingRule> usualRules();

/// Which part of all addresses a prefix covers.
///
///     0.0.0.0/0 -> Everything     0.0.0.0/1 -> LowerHalf     128.0.0.0/1 -> UpperHalf     10.0.0.0/8 -> none
///     ::/0      -> Everything     2000::/3  -> PublicIPv6
[[nodiscard]] std::optional<Coverage> coverageOf(const NetworkAddress& prefix, int length);

/// Whether the family has a way to the internet. The rules are followed in their order; of the routes of a table
/// that cover everything, in the order of their metrics, the first that works counts, and one that refuses ends the
/// search. A route works when its interface is up and running and, for IPv6, there is an address to send from:
/// the kernel keeps such routes when the last address has gone.
[[nodiscard]] NetworkReach internetReach(const RoutingFacts& facts);

/// What the route that the kernel chose for an address means. `link` is that of its first hop, null when there is
/// none.
[[nodiscard]] NetworkReach addressReach(const NetworkAddress& address, const NetworkRoute& route,
                                        const NetworkLink* link);

/// The better of two: reachable before not, a lasting way before a transient one, else the first.
[[nodiscard]] NetworkReach betterReach(const NetworkReach& first, const NetworkReach& second);

} // namespace VKPlatform
