// Messages of the kernel about its network: arbitrary bytes as one receive call gives them, and as the payload of each
// kind; what is understood of them decides about ways out of the machine.

#include "FuzzSupport.h"

#include "Platform/Linux/NetlinkMessages.h"

namespace {

using namespace VKPlatform;

constexpr std::uint32_t kUser = 1000;

void addPayload(RoutingFacts& facts, QByteArrayView payload) {
    if (std::optional<NetworkRoute> route = parseRoute(payload)) {
        require(route->hops.size() <= kMostNextHops, "a route has a bounded number of ways");
        appendWithin(facts.routes, kMostRoutes, std::move(*route));
    }
    if (const std::optional<NetworkLink> link = parseLink(payload)) {
        require(link->index != 0, "an interface has a number");
        facts.links[link->index] = *link;
    }
    if (const std::optional<InterfaceAddress> address = parseInterfaceAddress(payload)) {
        require(!(address->isGlobal && address->isLinkLocal), "an address has one scope");
        appendWithin(facts.addresses, kMostInterfaceAddresses, *address);
    }
    if (const std::optional<RoutingRule> rule = parseRule(payload, kUser)) {
        appendWithin(facts.rules, kMostRules, *rule);
    }
    if (const std::optional<int> error = parseNetlinkError(payload)) {
        require(*error >= 0 && *error <= 4095, "an error is an errno");
    }
}

void checkReach(const RoutingFacts& facts) {
    const NetworkReach reach = internetReach(facts);
    require(reach.isReachable || (!reach.isDirect && !reach.isTransient && !reach.isLocal),
            "what cannot be reached has no way");
    require(!reach.isReachable || !reach.needsConnection, "what can be reached waits for nothing");
    require(!reach.isReachable || !facts.routes.empty(), "there is no way without a route");
    RoutingFacts without = facts;
    without.links.clear();
    require(!internetReach(without).isReachable, "there is no way without an interface");
    for (const NetworkRoute& route : facts.routes) {
        const NetworkReach alone = addressReach(NetworkAddress(), route, nullptr);
        require(alone.isReachable == alone.isLocal, "without an interface there is the machine itself");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    RoutingFacts facts;
    facts.family = input.flag() ? AddressFamily::IPv6 : AddressFamily::IPv4;
    facts.rules = usualRules();
    const QByteArray bytes = input.rest();
    addPayload(facts, bytes);
    NetlinkReader reader(bytes);
    qsizetype taken = 0;
    while (const std::optional<NetlinkMessage> message = reader.next()) {
        taken += message->payload.size();
        addPayload(facts, message->payload);
    }
    require(taken <= bytes.size(), "messages lie within what was received");
    checkReach(facts);
    return 0;
}
