// The addresses of a host's name.
#pragma once

#include "Platform/NetworkAddress.h"

#include <QByteArray>

#include <cstdint>
#include <optional>
#include <vector>

namespace VKPlatform {

enum class HostAnswer : std::uint8_t {
    Found,
    NoSuchHost,
    NotNow, ///< nobody could tell: no network, no server, no memory
};

/// More addresses of one name are not kept.
inline constexpr std::size_t kMostHostAddresses = 64;

/// An address as text; an IPv6 one may name its interface: "fe80::1%eth0". Asks nobody.
[[nodiscard]] std::optional<NetworkAddress> parseAddress(const QByteArray& text);

/// Asks the system's resolver, in its order. A text that is an address is that address, and nobody is asked. Blocks,
/// for half a minute at worst as resolvers are usually set up. Any thread.
[[nodiscard]] HostAnswer resolveHostName(const QByteArray& name, std::vector<NetworkAddress>& addresses);

} // namespace VKPlatform
