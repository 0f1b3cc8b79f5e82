// Questions to the kernel over a route socket, and the rules over its answers.
#include "Platform/NetworkRoutes.h"

#include "Platform/FileDescriptor.h"
#include "Platform/Linux/NetlinkMessages.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <functional>

#include <linux/fib_rules.h>
#include <linux/if_link.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

namespace VKPlatform {

namespace {

/// The kernel packs answers for a buffer of this size.
constexpr std::size_t kAnswerBytes = 32768;

/// How often a list is asked for again that changed while it was read. A change that comes then has a message of
/// its own, so that whoever watches asks again.
constexpr int kDumpAttempts = 4;

using Visitor = std::function<void(const NetlinkMessage&)>;

/// A question: a netlink header, the record of its family, one attribute at most.
template <typename Record>
class Question {
public:
    Question(std::uint16_t type, unsigned flags, const Record& record) {
        nlmsghdr header = {};
        header.nlmsg_type = type;
        header.nlmsg_flags = static_cast<std::uint16_t>(NLM_F_REQUEST | flags);
        std::memcpy(mBytes.data(), &header, sizeof header);
        std::memcpy(mBytes.data() + NLMSG_HDRLEN, &record, sizeof record);
        mSize = NLMSG_HDRLEN + NLMSG_ALIGN(sizeof record);
    }

    void add(std::uint16_t type, const void* value, std::size_t size) {
        rtattr header = {};
        header.rta_type = type;
        header.rta_len = static_cast<std::uint16_t>(RTA_LENGTH(size));
        std::memcpy(mBytes.data() + mSize, &header, sizeof header);
        std::memcpy(mBytes.data() + mSize + sizeof header, value, size);
        mSize += RTA_SPACE(size);
    }

    /// The bytes to send.
    QByteArrayView finished(std::uint32_t sequence) {
        const auto size = static_cast<std::uint32_t>(mSize);
        std::memcpy(mBytes.data() + offsetof(nlmsghdr, nlmsg_len), &size, sizeof size);
        std::memcpy(mBytes.data() + offsetof(nlmsghdr, nlmsg_seq), &sequence, sizeof sequence);
        return QByteArrayView(mBytes.data(), static_cast<qsizetype>(mSize));
    }

private:
    std::array<char, 128> mBytes = {};
    std::size_t mSize = 0;
};

/// One conversation with the kernel.
class RouteSocket {
public:
    [[nodiscard]] int open() {
        mSocket = FileDescriptor(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
        return mSocket.isOpen() ? 0 : errno;
    }

    /// Asks, and shows every message of the answer that belongs to the question. The kernel's own errno, or that of
    /// the conversation.
    template <typename Record>
    [[nodiscard]] int ask(Question<Record>& question, const Visitor& visit) {
        const QByteArrayView bytes = question.finished(++mSequence);
        sockaddr_nl kernel = {};
        kernel.nl_family = AF_NETLINK;
        ssize_t sent = 0;
        do {
            sent = ::sendto(mSocket.get(), bytes.data(), static_cast<std::size_t>(bytes.size()), 0,
                            reinterpret_cast<const sockaddr*>(&kernel), sizeof kernel);
        } while (sent < 0 && errno == EINTR);
        if (sent < 0) {
            return errno;
        }
        mIsInterrupted = false;
        mError = 0;
        while (true) {
            bool isComplete = false;
            if (const int error = receive(visit, isComplete); error != 0) {
                return error;
            }
            if (isComplete) {
                return mError;
            }
        }
    }

    /// Whether the list that was asked for last has changed while it was read.
    [[nodiscard]] bool isInterrupted() const { return mIsInterrupted; }

private:
    [[nodiscard]] int receive(const Visitor& visit, bool& isComplete) {
        sockaddr_nl sender = {};
        iovec room = {mAnswer.data(), mAnswer.size()};
        msghdr message = {};
        message.msg_name = &sender;
        message.msg_namelen = sizeof sender;
        message.msg_iov = &room;
        message.msg_iovlen = 1;
        const ssize_t got = ::recvmsg(mSocket.get(), &message, 0);
        if (got < 0) {
            return errno == EINTR ? 0 : errno;
        }
        if ((message.msg_flags & MSG_TRUNC) != 0) {
            return EMSGSIZE;
        }
        if (message.msg_namelen != sizeof sender || sender.nl_pid != 0) {
            return 0; // not from the kernel
        }
        NetlinkReader reader(QByteArrayView(mAnswer.data(), got));
        while (const std::optional<NetlinkMessage> part = reader.next()) {
            if (part->sequence == mSequence && take(*part, visit)) {
                isComplete = true;
            }
        }
        return reader.isDamaged() ? EBADMSG : 0;
    }

    /// Whether the message ends the answer.
    bool take(const NetlinkMessage& message, const Visitor& visit) {
        mIsInterrupted = mIsInterrupted || (message.flags & NLM_F_DUMP_INTR) != 0;
        switch (message.type) {
        case NLMSG_NOOP:
            return false;
        case NLMSG_DONE:
            return true;
        case NLMSG_ERROR:
            mError = parseNetlinkError(message.payload).value_or(EBADMSG);
            return true;
        default:
            visit(message);
            return (message.flags & NLM_F_MULTI) == 0;
        }
    }

    FileDescriptor mSocket;
    std::uint32_t mSequence = 0;
    bool mIsInterrupted = false;
    int mError = 0;
    std::array<char, kAnswerBytes> mAnswer; // deliberately not cleared
};

unsigned char systemFamily(AddressFamily family) {
    return family == AddressFamily::IPv4 ? AF_INET : AF_INET6;
}

/// Asks for a whole list, again when it changed meanwhile. `clear` forgets what was shown before.
template <typename Record>
int askForList(RouteSocket& socket, std::uint16_t type, const Record& record,
               const std::function<void()>& clear, const Visitor& visit) {
    int error = 0;
    for (int attempt = 0; attempt < kDumpAttempts; ++attempt) {
        clear();
        Question<Record> question(type, NLM_F_DUMP, record);
        error = socket.ask(question, visit);
        if (error != 0 || !socket.isInterrupted()) {
            break;
        }
    }
    return error;
}

int readRoutes(RouteSocket& socket, RoutingFacts& facts) {
    rtmsg record = {};
    record.rtm_family = systemFamily(facts.family);
    return askForList(
        socket, RTM_GETROUTE, record, [&] { facts.routes.clear(); },
        [&](const NetlinkMessage& message) {
            if (message.type != RTM_NEWROUTE) {
                return;
            }
            std::optional<NetworkRoute> route = parseRoute(message.payload);
            if (route && route->coverage && !route->isCached && route->family == facts.family) {
                appendWithin(facts.routes, kMostRoutes, std::move(*route));
            }
        });
}

int readRules(RouteSocket& socket, RoutingFacts& facts) {
    fib_rule_hdr record = {};
    record.family = systemFamily(facts.family);
    const std::uint32_t user = ::geteuid();
    const int error = askForList(
        socket, RTM_GETRULE, record, [&] { facts.rules.clear(); },
        [&](const NetlinkMessage& message) {
            if (message.type != RTM_NEWRULE) {
                return;
            }
            if (const std::optional<RoutingRule> rule = parseRule(message.payload, user)) {
                appendWithin(facts.rules, kMostRules, *rule);
            }
        });
    if (error == EOPNOTSUPP || error == EAFNOSUPPORT) {
        facts.rules = usualRules(); // a kernel without policy routing
        return 0;
    }
    return error;
}

int readAddresses(RouteSocket& socket, RoutingFacts& facts) {
    ifaddrmsg record = {};
    record.ifa_family = systemFamily(facts.family);
    return askForList(
        socket, RTM_GETADDR, record, [&] { facts.addresses.clear(); },
        [&](const NetlinkMessage& message) {
            if (message.type != RTM_NEWADDR) {
                return;
            }
            if (const std::optional<InterfaceAddress> address = parseInterfaceAddress(message.payload)) {
                appendWithin(facts.addresses, kMostInterfaceAddresses, *address);
            }
        });
}

/// One interface; none when it is gone already.
int readLink(RouteSocket& socket, std::uint32_t index, std::optional<NetworkLink>& link) {
    ifinfomsg record = {};
    record.ifi_family = AF_UNSPEC;
    record.ifi_index = static_cast<int>(index);
    Question<ifinfomsg> question(RTM_GETLINK, 0, record);
    const std::uint32_t wanted = RTEXT_FILTER_SKIP_STATS;
    question.add(IFLA_EXT_MASK, &wanted, sizeof wanted);
    const int error = socket.ask(question, [&](const NetlinkMessage& message) {
        if (message.type == RTM_NEWLINK) {
            link = parseLink(message.payload);
        }
    });
    return error == ENODEV ? 0 : error;
}

int readLinks(RouteSocket& socket, RoutingFacts& facts) {
    for (const NetworkRoute& route : facts.routes) {
        for (const NextHop& hop : route.hops) {
            if (facts.links.count(hop.interface) != 0) {
                continue;
            }
            std::optional<NetworkLink> link;
            if (const int error = readLink(socket, hop.interface, link); error != 0) {
                return error;
            }
            facts.links.emplace(hop.interface, link.value_or(NetworkLink()));
        }
    }
    return 0;
}

/// By one family. Most machines without one have no route of it, so nothing else is asked.
int internetReachOf(RouteSocket& socket, AddressFamily family, NetworkReach& reach) {
    RoutingFacts facts;
    facts.family = family;
    int error = readRoutes(socket, facts);
    if (error == EAFNOSUPPORT || error == EOPNOTSUPP) {
        return 0; // a kernel without the family
    }
    if (error != 0 || facts.routes.empty()) {
        return error;
    }
    error = readRules(socket, facts);
    if (error == 0) {
        error = readLinks(socket, facts);
    }
    if (error == 0 && family == AddressFamily::IPv6) {
        error = readAddresses(socket, facts);
    }
    if (error == 0) {
        reach = internetReach(facts);
    }
    return error;
}

int internetReachOf(RouteSocket& socket, NetworkReach& reach) {
    if (const int error = internetReachOf(socket, AddressFamily::IPv4, reach); error != 0) {
        return error;
    }
    if (reach.isReachable && !reach.isTransient) {
        return 0;
    }
    NetworkReach other;
    if (const int error = internetReachOf(socket, AddressFamily::IPv6, other); error != 0) {
        return error;
    }
    reach = betterReach(reach, other);
    return 0;
}

int addressReachOf(RouteSocket& socket, const NetworkAddress& address, NetworkReach& reach) {
    const unsigned char size = address.family == AddressFamily::IPv4 ? 4 : 16;
    rtmsg record = {};
    record.rtm_family = systemFamily(address.family);
    record.rtm_dst_len = static_cast<unsigned char>(size * 8);
    Question<rtmsg> question(RTM_GETROUTE, 0, record);
    question.add(RTA_DST, address.bytes.data(), size);
    if (address.scope != 0) {
        question.add(RTA_OIF, &address.scope, sizeof address.scope);
    }
    NetworkRoute route;
    const int error = socket.ask(question, [&](const NetlinkMessage& message) {
        if (message.type == RTM_NEWROUTE) {
            route = parseRoute(message.payload).value_or(NetworkRoute());
        }
    });
    // No route, and each kind of refusing route, is an error of its own.
    if (error == ENETUNREACH || error == EHOSTUNREACH || error == EACCES || error == EINVAL ||
        error == ENODEV || error == EAFNOSUPPORT || error == EOPNOTSUPP || error == EADDRNOTAVAIL) {
        return 0;
    }
    if (error != 0) {
        return error;
    }
    std::optional<NetworkLink> link;
    if (!route.hops.empty()) {
        if (const int linkError = readLink(socket, route.hops.front().interface, link); linkError != 0) {
            return linkError;
        }
    }
    reach = addressReach(address, route, link ? &*link : nullptr);
    return 0;
}

} // namespace

int reachOf(const NetworkAddress& address, NetworkReach& reach) {
    reach = NetworkReach();
    RouteSocket socket;
    if (const int error = socket.open(); error != 0) {
        return error;
    }
    NetworkReach found;
    const int error =
        isZero(address) ? internetReachOf(socket, found) : addressReachOf(socket, address, found);
    if (error == 0) {
        reach = found;
    }
    return error;
}

} // namespace VKPlatform
