// From a change of the routes to the signal on the main thread, beside bare listeners; and what asking costs. In a
// network of the program's own, whose only interface is the loopback.

#include <VKQtNetwork.h>

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QObject>
#include <QSemaphore>

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kChanges = 501; // of each measurement, whose result is their median

[[noreturn]] void stop(const char* what) {
    std::perror(what);
    std::exit(2);
}

int routeSocket(unsigned groups) {
    const int made = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    sockaddr_nl own = {};
    own.nl_family = AF_NETLINK;
    own.nl_groups = groups;
    if (made < 0 || bind(made, reinterpret_cast<const sockaddr*>(&own), sizeof own) != 0) {
        stop("route socket");
    }
    return made;
}

/// A network in which only the loopback interface is, and that is up. Also without privileges.
void enterOwnNetwork() {
    if (unshare(CLONE_NEWNET) != 0 && unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
        stop("a network of its own");
    }
    const int control = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ifreq request = {};
    std::strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP;
    if (control < 0 || ioctl(control, SIOCSIFFLAGS, &request) != 0) {
        stop("loopback up");
    }
    close(control);
}

/// Adds and removes the default route.
class Route {
public:
    void toggle() {
        struct {
            nlmsghdr header;
            rtmsg route;
            rtattr interface;
            int index;
        } question = {};
        question.header.nlmsg_len = sizeof question;
        question.header.nlmsg_type = mIsThere ? RTM_DELROUTE : RTM_NEWROUTE;
        question.header.nlmsg_flags = NLM_F_REQUEST | (mIsThere ? 0 : NLM_F_CREATE | NLM_F_EXCL);
        question.route.rtm_family = AF_INET;
        question.route.rtm_table = RT_TABLE_MAIN;
        question.route.rtm_protocol = RTPROT_BOOT;
        question.route.rtm_scope = RT_SCOPE_LINK;
        question.route.rtm_type = RTN_UNICAST;
        question.interface.rta_type = RTA_OIF;
        question.interface.rta_len = RTA_LENGTH(sizeof question.index);
        question.index = 1;
        if (send(mSocket, &question, sizeof question, 0) != sizeof question) {
            stop("route");
        }
        mIsThere = !mIsThere;
    }

    [[nodiscard]] bool isThere() const { return mIsThere; }

private:
    int mSocket = routeSocket(0);
    bool mIsThere = false;
};

Route& route() {
    static Route sRoute;
    return sRoute;
}

/// The median of many changes. `wait` returns when the change has arrived, with the time of its arrival.
void measure(benchmark::State& state, const std::function<Clock::time_point()>& wait) {
    while (state.KeepRunning()) {
        std::vector<double> times;
        for (int i = 0; i < kChanges; ++i) {
            const Clock::time_point start = Clock::now();
            route().toggle();
            times.push_back(std::chrono::duration<double>(wait() - start).count());
        }
        std::nth_element(times.begin(), times.begin() + kChanges / 2, times.end());
        state.SetIterationTime(times[kChanges / 2]);
    }
    state.SetItemsProcessed(state.iterations());
}

void changeToSignal(benchmark::State& state) {
    bool isTold = false;
    bool isReachable = false;
    Clock::time_point arrival;
    VKQtNetwork* const network = VKQtNetwork::sharedInstance();
    const auto connection =
        QObject::connect(network, &VKQtNetwork::reachabilityChanged, network, [&](bool reachable) {
            arrival = Clock::now();
            isTold = true;
            isReachable = reachable;
        });
    network->startListening();
    measure(state, [&] {
        isTold = false;
        while (!isTold || isReachable != route().isThere()) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        return arrival;
    });
    network->stopListening();
    QObject::disconnect(connection);
}

/// Messages about IPv4 routes, taken by a thread that tells the time of each, and whether it says that a route has
/// come: an older message is not taken for the one that is waited for.
class BareListener {
public:
    explicit BareListener(std::function<void(Clock::time_point, bool)> told)
        : mSocket(routeSocket(1U << (RTNLGRP_IPV4_ROUTE - 1))),
          mThread([this, told = std::move(told)] { run(told); }) {}
    BareListener(const BareListener&) = delete;
    BareListener& operator=(const BareListener&) = delete;
    ~BareListener() {
        mIsEnding = true;
        route().toggle();
        mThread.join();
        close(mSocket);
    }

private:
    void run(const std::function<void(Clock::time_point, bool)>& told) const {
        std::array<char, 8192> message;
        pollfd event = {mSocket, POLLIN, 0};
        while (poll(&event, 1, -1) == 1 && !mIsEnding) {
            const Clock::time_point arrival = Clock::now();
            nlmsghdr header = {};
            if (recv(mSocket, message.data(), message.size(), 0) < ssize_t(sizeof header)) {
                stop("message");
            }
            std::memcpy(&header, message.data(), sizeof header);
            told(arrival, header.nlmsg_type == RTM_NEWROUTE);
        }
    }

    int mSocket;
    std::atomic<bool> mIsEnding = false;
    std::thread mThread;
};

void changeToBareThread(benchmark::State& state) {
    QSemaphore comings;
    QSemaphore goings;
    Clock::time_point arrival;
    const BareListener listener([&](Clock::time_point time, bool isComing) {
        arrival = time;
        (isComing ? comings : goings).release();
    });
    measure(state, [&] {
        (route().isThere() ? comings : goings).acquire();
        return arrival;
    });
}

void changeToBareEventLoop(benchmark::State& state) {
    bool isThere = route().isThere();
    Clock::time_point arrival;
    QObject receiver;
    const BareListener listener([&](Clock::time_point, bool isComing) {
        QMetaObject::invokeMethod(
            &receiver,
            [&, isComing] {
                arrival = Clock::now();
                isThere = isComing;
            },
            Qt::QueuedConnection);
    });
    measure(state, [&] {
        while (isThere != route().isThere()) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        return arrival;
    });
}

/// What a bound in absolute time is compared with.
void changeToNothing(benchmark::State& state) {
    while (state.KeepRunning()) {
        state.SetIterationTime(1e-9);
    }
    state.SetItemsProcessed(state.iterations());
}

void ask(benchmark::State& state) {
    while (state.KeepRunning()) {
        bool answer = VKQtNetwork::sharedInstance()->isReachable();
        benchmark::DoNotOptimize(answer);
    }
    state.SetItemsProcessed(state.iterations());
}

/// The least that could answer: the list of IPv4 routes on an open socket.
void askForRoutes(benchmark::State& state) {
    const int connection = routeSocket(0);
    std::array<char, 32768> answer;
    while (state.KeepRunning()) {
        struct {
            nlmsghdr header;
            rtmsg route;
        } question = {};
        question.header.nlmsg_len = sizeof question;
        question.header.nlmsg_type = RTM_GETROUTE;
        question.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
        question.route.rtm_family = AF_INET;
        if (send(connection, &question, sizeof question, 0) != sizeof question) {
            stop("question");
        }
        nlmsghdr header = {};
        while (header.nlmsg_type != NLMSG_DONE) {
            if (recv(connection, answer.data(), answer.size(), 0) < ssize_t(sizeof header)) {
                stop("answer");
            }
            std::memcpy(&header, answer.data(), sizeof header);
        }
    }
    close(connection);
    state.SetItemsProcessed(state.iterations());
}

} // namespace

BENCHMARK(changeToSignal)->Name("change/VKQtNetwork")->UseManualTime()->Iterations(1);
BENCHMARK(changeToBareThread)->Name("change/bare thread")->UseManualTime()->Iterations(1);
BENCHMARK(changeToBareEventLoop)->Name("change/bare event loop")->UseManualTime()->Iterations(1);
BENCHMARK(changeToNothing)->Name("change/nothing")->UseManualTime()->Iterations(1);
BENCHMARK(ask)->Name("ask/VKQtNetwork");
BENCHMARK(askForRoutes)->Name("ask/list of routes");

int main(int argc, char** argv) {
    enterOwnNetwork();
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
