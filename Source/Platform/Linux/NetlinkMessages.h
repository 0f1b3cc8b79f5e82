// The kernel's messages about routes, rules, interfaces and addresses, from their bytes. Pure, and strict: a length
// that does not fit refuses the message, unknown attributes are passed over. Layouts: man 7 rtnetlink.
#pragma once

#include "Platform/NetworkRules.h"

#include <QByteArrayView>

#include <cstdint>
#include <optional>

namespace VKPlatform {

struct NetlinkMessage {
    std::uint16_t type = 0;
    std::uint16_t flags = 0;
    std::uint32_t sequence = 0;
    QByteArrayView payload;
};

/// Takes the messages out of what one receive call gave.
class NetlinkReader {
public:
    explicit NetlinkReader(QByteArrayView bytes) : mRest(bytes) {}

    /// The next message, none at the end. After a message whose length is impossible there are no more.
    [[nodiscard]] std::optional<NetlinkMessage> next();

    /// Whether bytes were left that are no message.
    [[nodiscard]] bool isDamaged() const { return mDamaged; }

private:
    QByteArrayView mRest;
    bool mDamaged = false;
};

/// The errno of an error message's payload, 0 for one that says that all went well.
[[nodiscard]] std::optional<int> parseNetlinkError(QByteArrayView payload);

/// A route of a list, or the kernel's decision for one address.
[[nodiscard]] std::optional<NetworkRoute> parseRoute(QByteArrayView payload);

[[nodiscard]] std::optional<NetworkLink> parseLink(QByteArrayView payload);

[[nodiscard]] std::optional<InterfaceAddress> parseInterfaceAddress(QByteArrayView payload);

/// `user` is whose traffic is of interest: rules may be for some users only.
[[nodiscard]] std::optional<RoutingRule> parseRule(QByteArrayView payload, std::uint32_t user);

} // namespace VKPlatform
