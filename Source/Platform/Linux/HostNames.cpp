// getaddrinfo(), which looks into the hosts file, asks servers, or whatever the machine is set up for.
#include "Platform/HostNames.h"

#include "Platform/NetworkRules.h"

#include <algorithm>
#include <memory>

#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace VKPlatform {

namespace {

struct FreeAddresses {
    void operator()(addrinfo* list) const { ::freeaddrinfo(list); }
};

NetworkAddress addressOf(const sockaddr* record) {
    NetworkAddress address;
    if (record->sa_family == AF_INET6) {
        const auto* full = reinterpret_cast<const sockaddr_in6*>(record);
        address.family = AddressFamily::IPv6;
        std::copy_n(full->sin6_addr.s6_addr, address.bytes.size(), address.bytes.begin());
        address.scope = full->sin6_scope_id;
    } else {
        const auto* full = reinterpret_cast<const sockaddr_in*>(record);
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(&full->sin_addr.s_addr);
        std::copy_n(bytes, sizeof full->sin_addr.s_addr, address.bytes.begin());
    }
    return address;
}

/// 0, or an EAI_ number.
int lookUp(const QByteArray& name, int flags, std::vector<NetworkAddress>& addresses) {
    addresses.clear();
    addrinfo wanted = {};
    wanted.ai_socktype = SOCK_STREAM; // each address once
    wanted.ai_flags = flags;
    addrinfo* found = nullptr;
    const int error = ::getaddrinfo(name.constData(), nullptr, &wanted, &found);
    const std::unique_ptr<addrinfo, FreeAddresses> list(found);
    for (const addrinfo* entry = error == 0 ? list.get() : nullptr; entry != nullptr;
         entry = entry->ai_next) {
        if (entry->ai_family == AF_INET || entry->ai_family == AF_INET6) {
            appendWithin(addresses, kMostHostAddresses, addressOf(entry->ai_addr));
        }
    }
    return error;
}

} // namespace

std::optional<NetworkAddress> parseAddress(const QByteArray& text) {
    std::vector<NetworkAddress> addresses;
    if (lookUp(text, AI_NUMERICHOST, addresses) != 0 || addresses.empty()) {
        return std::nullopt;
    }
    return addresses.front();
}

HostAnswer resolveHostName(const QByteArray& name, std::vector<NetworkAddress>& addresses) {
    const int error = lookUp(name, 0, addresses);
    if (error == EAI_NONAME || error == EAI_NODATA || error == EAI_ADDRFAMILY) {
        return HostAnswer::NoSuchHost;
    }
    if (error != 0) {
        return HostAnswer::NotNow;
    }
    return addresses.empty() ? HostAnswer::NoSuchHost : HostAnswer::Found;
}

} // namespace VKPlatform
