// One address of a network, in network order, free of the system's own records.
#pragma once

#include <array>
#include <cstdint>

namespace VKPlatform {

enum class AddressFamily : std::uint8_t { IPv4, IPv6 };

struct NetworkAddress {
    AddressFamily family = AddressFamily::IPv4;
    std::array<std::uint8_t, 16> bytes = {}; ///< IPv4: the first four
    std::uint32_t scope = 0;                 ///< IPv6 link-local: the interface's number

    bool operator==(const NetworkAddress& other) const = default;
};

/// 0.0.0.0 and ::
[[nodiscard]] bool isZero(const NetworkAddress& address);

/// fe80::/10
[[nodiscard]] bool isLinkLocalIPv6(const NetworkAddress& address);

/// ::1
[[nodiscard]] bool isLoopbackIPv6(const NetworkAddress& address);

} // namespace VKPlatform
