// The ground's words in the core library's: flags, statuses, texts.
#include "VKCoreKit/VKNetwork.h"

#include "Platform/HostNames.h"
#include "Platform/NetworkRoutes.h"
#include "Platform/NetworkWatcher.h"

#include <QUrl>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <optional>
#include <utility>

using namespace VKPlatform;

namespace {

NetworkAddress groundAddress(const VKNetworkAddress& address) {
    NetworkAddress ground;
    ground.family =
        address.family == VKNetworkAddress::Family::IPv4 ? AddressFamily::IPv4 : AddressFamily::IPv6;
    const std::ptrdiff_t size = ground.family == AddressFamily::IPv4 ? 4 : 16;
    std::copy_n(address.bytes.begin(), size, ground.bytes.begin());
    ground.scope = address.scope;
    return ground;
}

VKNetworkAddress coreAddress(const NetworkAddress& ground) {
    VKNetworkAddress address;
    address.family = ground.family == AddressFamily::IPv4 ? VKNetworkAddress::Family::IPv4
                                                          : VKNetworkAddress::Family::IPv6;
    address.bytes = ground.bytes;
    address.scope = ground.scope;
    return address;
}

VKNetworkFlags flagsOf(const NetworkReach& reach) {
    const std::pair<bool, VKNetworkFlags> bits[] = {
        {reach.isReachable, kVKNetworkFlagsReachable},
        {reach.isTransient, kVKNetworkFlagsTransientConnection},
        {reach.needsConnection, kVKNetworkFlagsConnectionRequired},
        {reach.isLocal, kVKNetworkFlagsIsLocalAddress},
        {reach.isDirect, kVKNetworkFlagsIsDirect},
    };
    VKNetworkFlags flags = 0;
    for (const auto& [isSet, flag] : bits) {
        flags |= isSet ? flag : VKNetworkFlags(0);
    }
    return flags;
}

bool isAscii(const QString& text) {
    return std::all_of(text.begin(), text.end(), [](QChar letter) { return letter.unicode() < 0x80; });
}

/// As resolvers take it: other letters than ASCII encoded. Empty when there can be no such name.
QByteArray encodedName(const QString& host) {
    if (host.isEmpty() || host.contains(QChar(u'\0')) || host.size() > kVKNetworkLongestHostName) {
        return QByteArray();
    }
    const QByteArray name = isAscii(host) ? host.toLatin1() : QUrl::toAce(host);
    return name.size() > kVKNetworkLongestHostName ? QByteArray() : name;
}

} // namespace

VKStatus VKNetworkGetFlags(const VKNetworkAddress& address, VKNetworkFlags* flags) {
    if (flags == nullptr) {
        return kVKStatusBadArgument;
    }
    *flags = 0;
    NetworkReach reach;
    if (const int error = reachOf(groundAddress(address), reach); error != 0) {
        return static_cast<VKStatus>(error);
    }
    *flags = flagsOf(reach);
    return kVKStatusSuccess;
}

bool VKNetworkIsHostName(const QString& host) { return !encodedName(host).isEmpty(); }

VKStatus VKNetworkParseAddress(const QString& text, VKNetworkAddress* address) {
    if (address == nullptr) {
        return kVKStatusBadArgument;
    }
    const QByteArray name = encodedName(text);
    const std::optional<NetworkAddress> ground = name.isEmpty() ? std::nullopt : parseAddress(name);
    if (!ground) {
        return kVKStatusNotUnderstood;
    }
    *address = coreAddress(*ground);
    return kVKStatusSuccess;
}

VKStatus VKNetworkResolve(const QString& host, std::vector<VKNetworkAddress>* addresses) {
    if (addresses == nullptr) {
        return kVKStatusBadArgument;
    }
    addresses->clear();
    const QByteArray name = encodedName(host);
    if (name.isEmpty()) {
        return kVKStatusBadArgument;
    }
    std::vector<NetworkAddress> found;
    switch (resolveHostName(name, found)) {
    case HostAnswer::NoSuchHost:
        return kVKStatusHostNotResolved;
    case HostAnswer::NotNow:
        return static_cast<VKStatus>(EAGAIN);
    case HostAnswer::Found:
        break;
    }
    std::transform(found.begin(), found.end(), std::back_inserter(*addresses), &coreAddress);
    return kVKStatusSuccess;
}

struct VKNetworkWatch::State {
    NetworkWatcher watcher;
};

VKNetworkWatch::VKNetworkWatch() noexcept = default;
VKNetworkWatch::~VKNetworkWatch() = default;

VKStatus VKNetworkWatch::open(int receiveBytes) {
    mState = std::make_unique<State>();
    return static_cast<VKStatus>(mState->watcher.open(receiveBytes));
}

VKNetworkWatch::Event VKNetworkWatch::wait() {
    if (mState == nullptr) {
        return Event::Broken;
    }
    switch (mState->watcher.wait()) {
    case NetworkWatcher::Event::Change:
        return Event::Change;
    case NetworkWatcher::Event::Wake:
        return Event::Wake;
    case NetworkWatcher::Event::Broken:
        break;
    }
    return Event::Broken;
}

void VKNetworkWatch::wake() noexcept {
    if (mState != nullptr) {
        mState->watcher.wake();
    }
}
