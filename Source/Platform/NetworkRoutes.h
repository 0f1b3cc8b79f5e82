// The way to a place in the network, as the kernel's tables have it at this moment. Nothing is sent, and nobody but
// the kernel is waited for. Any thread.
#pragma once

#include "Platform/NetworkRules.h"

namespace VKPlatform {

/// The way to an address; for the zero address the way to the internet, by IPv4 or IPv6. 0, or the errno of a kernel
/// that does not answer; then `reach` is empty.
[[nodiscard]] int reachOf(const NetworkAddress& address, NetworkReach& reach);

} // namespace VKPlatform
