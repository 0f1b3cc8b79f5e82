// Whether the network leads somewhere: flags of an address as the routing tables have it, the addresses of a host's
// name, and the system's word when something of that changes.
#pragma once

#include "CoreFoundation/VKCoreExport.h"

#include <VKCoreKit/VKStatus.h>

#include <QString>

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

/// Bits. "Reachable" is what this machine knows: there is a way for packets to leave. It never means that somebody
/// answers.
using VKNetworkFlags = std::uint32_t;

enum : VKNetworkFlags {
    /// The way leads over a link between two points (a tunnel, a modem), which may be set up for this alone.
    kVKNetworkFlagsTransientConnection = 1,
    kVKNetworkFlagsReachable = 2,
    /// Not reachable now: the interface is there, and waits to be let into its network.
    kVKNetworkFlagsConnectionRequired = 4,
    /// The system makes a connection when there is traffic. Nothing on this platform tells: never set.
    kVKNetworkFlagsConnectionOnTraffic = 8,
    kVKNetworkFlagsInterventionRequired = 16, ///< somebody has to enter something; never set here
    kVKNetworkFlagsConnectionOnDemand = 32,   ///< never set here
    kVKNetworkFlagsIsLocalAddress = 0x10000,  ///< the address is one of this machine's own
    kVKNetworkFlagsIsDirect = 0x20000,        ///< on a network of this machine's, without a gateway
};

/// One address, in network order. IPv4 uses the first four bytes.
struct VKNetworkAddress {
    enum class Family : std::uint8_t { IPv4, IPv6 };

    Family family = Family::IPv4;
    std::array<std::uint8_t, 16> bytes = {};
    std::uint32_t scope = 0; ///< the interface's number, which a link-local IPv6 address has to have

    bool operator==(const VKNetworkAddress& other) const = default;
};

/// The flags of one address, from the kernel's tables: nothing is sent. The zero address of either family stands for
/// "the internet": reachable is whether a default route, of IPv4 or of IPv6, leaves by an interface that is up and
/// has its cable in. 1005 for a null pointer, otherwise the errno; `*flags` is 0 then. Any thread; microseconds, a
/// machine with ten thousands of routes excepted.
VKCORE_EXPORT VKStatus VKNetworkGetFlags(const VKNetworkAddress& address, VKNetworkFlags* flags);

/// Longer names of hosts, in bytes, are refused: no name may be longer.
inline constexpr int kVKNetworkLongestHostName = 253;

/// Whether there can be a host of this name: not empty, not too long, without a zero character. Looks nothing up.
[[nodiscard]] VKCORE_EXPORT bool VKNetworkIsHostName(const QString& host);

/// An address as text, "192.0.2.1", "2001:db8::1", "fe80::1%eth0". 1005 for a null pointer, 1003 when it is none;
/// `*address` changes only on success. Asks nobody.
VKCORE_EXPORT VKStatus VKNetworkParseAddress(const QString& text, VKNetworkAddress* address);

/// The addresses of a host's name, or of an address written as text, best first. Asks the system's resolver, which may
/// ask servers: it can block for half a minute. Letters that are not ASCII are encoded as host names are.
///
/// 1005 for a null pointer, and for what is no host's name. 1105 when there is no
/// such name, 11 when nobody could tell. `*addresses` is empty then. Any thread.
VKCORE_EXPORT VKStatus VKNetworkResolve(const QString& host, std::vector<VKNetworkAddress>* addresses);

/// Waits for changes of routes, addresses and interfaces of this machine, IPv4 and IPv6. Between two changes nothing
/// runs. Several may exist.
class VKCORE_EXPORT VKNetworkWatch {
public:
    enum class Event : std::uint8_t {
        Change, ///< something has changed, or so much that the system lost count: everything is to be asked again
        Wake,   ///< wake() was called
        Broken, ///< the system gives no more news; so it is before open()
    };

    VKNetworkWatch() noexcept;
    ~VKNetworkWatch();
    VKNetworkWatch(const VKNetworkWatch&) = delete;
    VKNetworkWatch& operator=(const VKNetworkWatch&) = delete;

    /// Starts to listen: what changes from now on ends the next wait(). 0, or the errno. `receiveBytes` is the room
    /// for news that nobody has waited for yet, 0 for the system's usual one.
    [[nodiscard]] VKStatus open(int receiveBytes = 0);

    /// Waits, and takes note of everything so far. One thread at a time. A change comes before a wake.
    [[nodiscard]] Event wait();

    /// Ends the wait() of another thread, or the next one. Any thread, after open().
    void wake() noexcept;

private:
    struct State;
    std::unique_ptr<State> mState;
};
