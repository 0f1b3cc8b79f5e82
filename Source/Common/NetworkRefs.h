// Where the factories of Reachability have their flags from: one address, or a host's name.
#pragma once

#include "Reachability.h"

#include <memory>

/// The flags of one address.
[[nodiscard]] std::shared_ptr<ReachabilityRef> refOfAddress(const VKNetworkAddress& address);

/// The best flags of a host's addresses; 0 until they are known. The name is looked up on a thread that ends by
/// itself, when it is asked for first, and again when the network has changed. Null for what is no host's name.
[[nodiscard]] std::shared_ptr<ReachabilityRef> refOfHost(const QString& host);

/// The better of two: reachable before not, a lasting way before a transient one, else the first.
[[nodiscard]] VKNetworkFlags betterFlags(VKNetworkFlags first, VKNetworkFlags second);
