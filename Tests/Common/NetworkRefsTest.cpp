// Hosts and addresses in a real network, names by a hosts file of the test's own.
#include "NetworkRefs.h"

#include "Support/NetworkSupport.h"
#include "Support/VKTest.h"
#include "VKNotificationCenter.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QSemaphore>
#include <QTimer>

#include <atomic>
#include <dlfcn.h>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/mount.h>

using namespace Networks;
using namespace Qt::StringLiterals;

class NetworkRefsTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void initTestCase();
    void factories_data();
    void factories();
    void hostIsUnknownAtFirst();
    void hostChangesWithItsRoute();
    void hostIsFoundAfterAChange();
    void hostIsFoundWithoutANotifier();
    void hostThatNobodyKnows();
    void hostThatNobodyKnowsIsAskedForOnce();
    void laterLookUpFails_data();
    void laterLookUpFails();
    void bestOfTwoAddresses();
    void betterOfTwo();
    void releasedWhileLookingUp();
    void idle();
    void leavesNothingBehind();

private:
    qsizetype mThreads = 0; // without any of ours
};

namespace {

/// What each look-up of a name answers while it is no 0, and how many there were meanwhile.
std::atomic<int> gLookUpError = 0;
std::atomic<int> gLookUps = 0;

} // namespace

// Before the C library's own.
extern "C" int getaddrinfo(const char* name, const char* service, const addrinfo* wanted, addrinfo** found) {
    if (gLookUpError != 0 && (wanted->ai_flags & AI_NUMERICHOST) == 0) {
        ++gLookUps;
        return gLookUpError;
    }
    return reinterpret_cast<decltype(&::getaddrinfo)>(::dlsym(RTLD_NEXT, "getaddrinfo"))(name, service,
                                                                                         wanted, found);
}

namespace {

class FailingLookUps {
public:
    explicit FailingLookUps(int error) {
        gLookUps = 0;
        gLookUpError = error;
    }
    FailingLookUps(const FailingLookUps&) = delete;
    FailingLookUps& operator=(const FailingLookUps&) = delete;
    ~FailingLookUps() { gLookUpError = 0; }
};

using Owned = VKOwned<Reachability>;

QByteArray hostsFile() { return VKTest::scratchFolder().toUtf8() + "/hosts"; }

void writeHosts(const QByteArray& text) { Disk::makeFile(hostsFile(), "127.0.0.1 localhost\n" + text); }

/// Gives what a block of the queue tells to the test's thread.
class Told {
public:
    explicit Told(Reachability* reachability) {
        reachability->reachableBlock = [this](Reachability*) { mTold.release(); };
        reachability->unreachableBlock = [this](Reachability*) { mTold.release(); };
    }
    bool next() { return mTold.tryAcquire(1, 30000); }

private:
    QSemaphore mTold;
};

/// The numbers of this program's threads.
QByteArrayList threads() { return Disk::namesIn("/proc/self/task"); }

bool areAsleep(const QByteArrayList& some) {
    return std::all_of(some.begin(), some.end(), [](const QByteArray& thread) {
        return Disk::contentOf("/proc/self/task/" + thread + "/status").contains("\nState:\tS");
    });
}

/// How often these threads gave up the processor to wait.
long waitsOf(const QByteArrayList& some) {
    long waits = 0;
    for (const QByteArray& thread : some) {
        const QByteArray status = Disk::contentOf("/proc/self/task/" + thread + "/status");
        const qsizetype at = status.indexOf("\nvoluntary_ctxt_switches:");
        waits += at < 0 ? 0 : status.mid(at + 25).split('\n').first().trimmed().toLong();
    }
    return waits;
}

} // namespace

void NetworkRefsTest::initTestCase() {
    mThreads = threads().size();
    if (isOwn()) {
        writeHosts({});
        Disk::must(::mount(hostsFile().constData(), "/etc/hosts", nullptr, MS_BIND, nullptr) == 0, "bind",
                   hostsFile());
    }
}

void NetworkRefsTest::init() {
    VKTest::init();
    VKTEST_NEEDS(isOwn(), "root and iproute2");
    // All threads of the tests before have ended: their network may be left.
    Disk::must(::unshare(CLONE_NEWNET) == 0, "leave", "the network");
    ip("link set lo up");
    writeHosts("198.51.100.7 photos.test\n");
}

void NetworkRefsTest::factories_data() {
    QTest::addColumn<int>("which");
    QTest::addColumn<QString>("without");
    QTest::addColumn<QString>("with");
    QTest::newRow("internet") << 0 << u"X- -------"_s << u"XR -------"_s;
    QTest::newRow("zero address") << 1 << u"X- -------"_s << u"XR -------"_s;
    QTest::newRow("local WiFi") << 2 << u"X- -------"_s << u"XR -------"_s;
    QTest::newRow("neighbour") << 3 << u"XR ------d"_s << u"XR ------d"_s;
    QTest::newRow("own address as a name") << 4 << u"XR -----l-"_s << u"XR -----l-"_s;
    QTest::newRow("outside, IPv6") << 5 << u"X- -------"_s << u"X- -------"_s;
    QTest::newRow("neighbour of a link, IPv6") << 6 << u"XR ------d"_s << u"XR ------d"_s;
}

void NetworkRefsTest::factories() {
    QFETCH(int, which);
    const Cable cable;
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = 80;
    address.sin_addr.s_addr = which == 3 ? htonl(0x0A090007) : 0;
    sockaddr_in6 address6 = {};
    address6.sin6_family = AF_INET6;
    address6.sin6_addr.s6_addr[0] = 0x20;
    if (which == 6) {
        ip("addr add fe80::2/64 dev v0 nodad");
        address6.sin6_addr.s6_addr[0] = 0xFE;
        address6.sin6_addr.s6_addr[1] = 0x80;
        address6.sin6_addr.s6_addr[15] = 7;
        VKNetworkAddress withScope;
        QCOMPARE(VKNetworkParseAddress(u"fe80::7%v0"_s, &withScope), kVKStatusSuccess);
        address6.sin6_scope_id = withScope.scope;
    }
    Owned reachability;
    switch (which) {
    case 0:
        reachability.reset(Reachability::reachabilityForInternetConnection());
        break;
    case 2:
        reachability.reset(Reachability::reachabilityForLocalWiFi());
        break;
    case 4:
        reachability.reset(Reachability::reachabilityWithHostname(u"10.9.0.2"_s));
        break;
    case 5:
    case 6:
        reachability.reset(
            Reachability::reachabilityWithAddress(reinterpret_cast<const sockaddr*>(&address6)));
        break;
    default:
        reachability.reset(
            Reachability::reachabilityWithAddress(reinterpret_cast<const sockaddr*>(&address)));
    }
    QTEST(reachability->currentReachabilityFlags(), "without");
    ip("route add default via 10.9.0.1");
    QTEST(reachability->currentReachabilityFlags(), "with");
}

void NetworkRefsTest::hostIsUnknownAtFirst() {
    const Uplink uplink;
    const Owned host(Reachability::reachabilityWithHostname(u"photos.test"_s));
    QCOMPARE(host->reachabilityFlags(), VKNetworkFlags(0));
    // Without a notifier too it is known a moment later.
    QTRY_COMPARE(host->currentReachabilityFlags(), u"XR -------"_s);
}

void NetworkRefsTest::hostChangesWithItsRoute() {
    const Uplink uplink;
    const Owned host(Reachability::reachabilityWithHostName(u"photos.test"_s));
    Told told(host.get());
    QVERIFY(host->startNotifier());
    // That the name has been found is a change.
    QVERIFY(told.next());
    QVERIFY(host->isReachable());
    ip("route add unreachable 198.51.100.0/24");
    while (host->isReachable() || host->reachabilityFlags() != 0) {
        QVERIFY(told.next());
    }
    ip("route del unreachable 198.51.100.0/24");
    while (!host->isReachable()) {
        QVERIFY(told.next());
    }
}

void NetworkRefsTest::hostIsFoundAfterAChange() {
    writeHosts({});
    const Uplink uplink;
    const Owned host(Reachability::reachabilityWithHostname(u"later.test"_s));
    Told told(host.get());
    QVERIFY(host->startNotifier());
    QCOMPARE(host->reachabilityFlags(), VKNetworkFlags(0));
    writeHosts("10.9.0.9 later.test\n");
    ip("addr add 10.9.3.2/24 dev v0"); // any change of the network
    QVERIFY(told.next());
    QCOMPARE(host->currentReachabilityFlags(), u"XR ------d"_s);
}

void NetworkRefsTest::hostIsFoundWithoutANotifier() {
    writeHosts({});
    const Cable cable;
    QTRY_COMPARE(threads().size(), mThreads); // look-ups of the tests before
    const Owned host(Reachability::reachabilityWithHostname(u"later.test"_s));
    QCOMPARE(host->reachabilityFlags(), VKNetworkFlags(0));
    QTRY_COMPARE(threads().size(), mThreads); // the look-up has ended
    QCOMPARE(host->reachabilityFlags(), VKNetworkFlags(0));
    QCOMPARE(threads().size(), mThreads); // and asking alone starts no other
    writeHosts("10.9.0.9 later.test\n");
    ip("route add default via 10.9.0.1");
    QTRY_COMPARE(host->currentReachabilityFlags(), u"XR ------d"_s);
}

void NetworkRefsTest::hostThatNobodyKnows() {
    const Uplink uplink;
    const Owned host(Reachability::reachabilityWithHostname(u"unknown.test"_s));
    Told told(host.get());
    QVERIFY(host->startNotifier());
    const Owned internet(Reachability::reachabilityForInternetConnection());
    Told other(internet.get());
    QVERIFY(internet->startNotifier());
    for (int i = 0; i < 10; ++i) {
        ip("route del default");
        QVERIFY(other.next());
        ip("route add default via 10.9.0.1");
        QVERIFY(other.next());
        QCOMPARE(host->reachabilityFlags(), VKNetworkFlags(0));
    }
    host->stopNotifier(); // does not wait for the resolver
}

// The end of a look-up wakes who watches; that must not be the begin of the next one.
void NetworkRefsTest::hostThatNobodyKnowsIsAskedForOnce() {
    const FailingLookUps failing(EAI_NONAME);
    const QByteArrayList others = threads();
    const Owned host(Reachability::reachabilityWithHostname(u"unknown.test"_s));
    QVERIFY(host->startNotifier());
    QTRY_VERIFY(gLookUps > 0);
    const auto isAtRest = [&] {
        QByteArrayList queue = threads();
        queue.removeIf([&](const QByteArray& thread) { return others.contains(thread); });
        return queue.size() == 1 && areAsleep(queue);
    };
    QTRY_VERIFY(isAtRest());
    QCOMPARE(gLookUps.load(), 1);
    host->stopNotifier();
}

void NetworkRefsTest::laterLookUpFails_data() {
    QTest::addColumn<int>("error");
    QTest::addColumn<QString>("flags");
    QTest::newRow("the name is gone") << EAI_NONAME << u"X- -------"_s;
    QTest::newRow("nobody can tell just now") << EAI_AGAIN << u"XR -------"_s;
}

void NetworkRefsTest::laterLookUpFails() {
    QFETCH(int, error);
    const Uplink uplink;
    const Owned host(Reachability::reachabilityWithHostname(u"photos.test"_s));
    QTRY_COMPARE(host->currentReachabilityFlags(), u"XR -------"_s);
    QTRY_COMPARE(threads().size(), mThreads);
    const FailingLookUps failing(error);
    ip("route del default");
    QCOMPARE(host->currentReachabilityFlags(), u"X- -------"_s); // which begins a look-up
    QTRY_VERIFY(gLookUps > 0);
    QTRY_COMPARE(threads().size(), mThreads);
    ip("route add default via 10.9.0.1");
    static_cast<void>(host->reachabilityFlags());
    QTRY_COMPARE(threads().size(), mThreads);
    QTEST(host->currentReachabilityFlags(), "flags");
}

void NetworkRefsTest::bestOfTwoAddresses() {
    writeHosts("198.51.100.7 both.test\n10.9.0.9 both.test\n");
    const Cable cable;
    const Owned host(Reachability::reachabilityWithHostname(u"both.test"_s));
    QTRY_COMPARE(host->currentReachabilityFlags(), u"XR ------d"_s);
}

void NetworkRefsTest::betterOfTwo() {
    const VKNetworkFlags ranks[] = {0, kVKNetworkFlagsConnectionRequired,
                                    kVKNetworkFlagsReachable | kVKNetworkFlagsTransientConnection,
                                    kVKNetworkFlagsReachable};
    for (int i = 0; i < 4; ++i) {
        for (int j = 0; j < 4; ++j) {
            QCOMPARE(betterFlags(ranks[i], ranks[j]), ranks[std::max(i, j)]);
        }
    }
    const VKNetworkFlags direct = kVKNetworkFlagsReachable | kVKNetworkFlagsIsDirect;
    QCOMPARE(betterFlags(kVKNetworkFlagsReachable, direct), VKNetworkFlags(kVKNetworkFlagsReachable));
}

void NetworkRefsTest::releasedWhileLookingUp() {
    const Uplink uplink;
    for (int i = 0; i < 100; ++i) {
        const Owned host(Reachability::reachabilityWithHostname(u"unknown.test"_s));
        QVERIFY(host->startNotifier());
    }
    QVERIFY(refOfHost(u"photos.test"_s) != nullptr);
    QVERIFY(refOfHost(QString()) == nullptr);
}

void NetworkRefsTest::idle() {
    ip("route add default dev lo");
    const QByteArrayList others = threads();
    const auto queues = [&] {
        QByteArrayList found = threads();
        found.removeIf([&](const QByteArray& thread) { return others.contains(thread); });
        return found;
    };
    const Owned internet(Reachability::reachabilityForInternetConnection());
    const Owned host(Reachability::reachabilityWithHostname(u"localhost"_s));
    Told told(host.get());
    QVERIFY(internet->startNotifier());
    QVERIFY(host->startNotifier());
    QVERIFY(told.next()); // the name has been found
    // The look-up's thread ends, and the queues have one each.
    QTRY_COMPARE(queues().size(), qsizetype(2));
    QTRY_VERIFY(areAsleep(queues()));
    QEventLoop loop;
    const long before = waitsOf(queues());
    QTimer::singleShot(9000, &loop, &QEventLoop::quit);
    loop.exec();
    QCOMPARE(waitsOf(queues()) - before, 0L);
    QVERIFY(before >= 2);
}

void NetworkRefsTest::leavesNothingBehind() {
    // Real watches, as many starts as an application makes in a year.
    ip("route add default dev lo");
    const Owned internet(Reachability::reachabilityForInternetConnection());
    const qsizetype descriptors = Disk::namesIn("/proc/self/fd").size();
    for (int round = 0; round < 1000; ++round) {
        QVERIFY(internet->startNotifier());
        internet->stopNotifier();
    }
    QVERIFY(internet->isReachable());
    QVERIFY(internet->startNotifier());
    internet->stopNotifier();
    QCOMPARE(Disk::namesIn("/proc/self/fd").size(), descriptors);
}

VKTEST_MAIN_WITH_OWN_NETWORK(NetworkRefsTest)
#include "NetworkRefsTest.moc"
