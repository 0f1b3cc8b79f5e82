// A route socket in the groups of everything that can change a way, and a counter for the wake.
#include "Platform/NetworkWatcher.h"

#include <cerrno>
#include <initializer_list>
#include <utility>

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace VKPlatform {

namespace {

constexpr std::uint32_t groupBits(std::initializer_list<int> groups) {
    std::uint32_t bits = 0;
    for (const int group : groups) {
        bits |= std::uint32_t(1) << (group - 1);
    }
    return bits;
}

/// The loss of a route has no message of its own when its interface goes down or its address is taken away, so
/// interfaces and addresses are listened to as well.
constexpr std::uint32_t kGroups =
    groupBits({RTNLGRP_LINK, RTNLGRP_IPV4_IFADDR, RTNLGRP_IPV4_ROUTE, RTNLGRP_IPV4_RULE, RTNLGRP_IPV6_IFADDR,
               RTNLGRP_IPV6_ROUTE, RTNLGRP_IPV6_RULE, RTNLGRP_NEXTHOP});

/// Messages that are taken before the change is told of, so that a stream of them cannot keep it back.
constexpr int kMostAtOnce = 1024;

/// Takes messages until there are none. 0, or the errno of a socket that gives none any more.
int drain(int socket) {
    for (int count = 0; count < kMostAtOnce; ++count) {
        // What a message says is not of interest: everything is asked for again. Its rest is dropped.
        char byte = 0;
        const ssize_t got = ::recv(socket, &byte, sizeof byte, MSG_DONTWAIT | MSG_TRUNC);
        if (got >= 0 || errno == ENOBUFS || errno == EINTR) {
            continue;
        }
        return errno == EAGAIN ? 0 : errno;
    }
    return 0;
}

} // namespace

int NetworkWatcher::open(int receiveBytes) {
    FileDescriptor wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!wake.isOpen()) {
        return errno;
    }
    FileDescriptor messages(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE));
    if (!messages.isOpen()) {
        return errno;
    }
    if (receiveBytes > 0 &&
        ::setsockopt(messages.get(), SOL_SOCKET, SO_RCVBUF, &receiveBytes, sizeof receiveBytes) != 0) {
        return errno;
    }
    sockaddr_nl own = {};
    own.nl_family = AF_NETLINK;
    own.nl_groups = kGroups;
    if (::bind(messages.get(), reinterpret_cast<const sockaddr*>(&own), sizeof own) != 0) {
        return errno;
    }
    mWake = std::move(wake);
    mMessages = std::move(messages);
    return 0;
}

NetworkWatcher::Event NetworkWatcher::wait() {
    if (!mMessages.isOpen()) {
        return Event::Broken;
    }
    while (true) {
        pollfd events[2] = {{mMessages.get(), POLLIN, 0}, {mWake.get(), POLLIN, 0}};
        if (::poll(events, 2, -1) < 0) {
            if (errno == EINTR) {
                continue;
            }
            return Event::Broken;
        }
        if (events[0].revents != 0) {
            return drain(mMessages.get()) == 0 ? Event::Change : Event::Broken;
        }
        std::uint64_t count = 0;
        if (::read(mWake.get(), &count, sizeof count) == sizeof count) {
            return Event::Wake;
        }
    }
}

void NetworkWatcher::wake() noexcept {
    const std::uint64_t one = 1;
    // A counter that is full wakes too.
    static_cast<void>(::write(mWake.get(), &one, sizeof one));
}

} // namespace VKPlatform
