// Counting, the notifier's thread, and the rules of flags.
#include "Reachability.h"

#include "NetworkRefs.h"
#include "Platform/SignalsBlocked.h"
#include "VKNotificationCenter.h"

#include <QCoreApplication>
#include <QObject>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <system_error>
#include <thread>
#include <utility>

#include <netinet/in.h>
#include <sys/socket.h>

using namespace Qt::StringLiterals;

namespace {

/// The object whose queue this thread is; null for other threads.
thread_local const void* gQueueOf = nullptr;

/// Lives in the main thread, and for ever: a notification may be on its way while the application object goes. Null
/// while there is none.
QObject* mainThreadRelay() {
    static std::mutex sMutex;
    static QObject* sRelay = nullptr;
    const std::lock_guard lock(sMutex);
    const QCoreApplication* const application = QCoreApplication::instance();
    if (application == nullptr || QCoreApplication::closingDown()) {
        return nullptr;
    }
    if (sRelay == nullptr || sRelay->thread() != application->thread()) {
        sRelay = new QObject; // NOLINT(cppcoreguidelines-owning-memory): kept, see above
        sRelay->moveToThread(application->thread());
    }
    return sRelay;
}

/// Signals of the application are for its own threads.
std::thread threadWithoutSignals(std::function<void()> body) {
    const VKPlatform::SignalsBlocked blocked;
    try {
        return std::thread(std::move(body));
    } catch (const std::system_error&) {
        return {}; // the caller sees that
    }
}

bool has(VKNetworkFlags flags, VKNetworkFlags wanted) { return (flags & wanted) != 0; }

constexpr VKNetworkFlags kOnTrafficOrDemand =
    kVKNetworkFlagsConnectionOnTraffic | kVKNetworkFlagsConnectionOnDemand;

} // namespace

ReachabilityNotificationName::operator QString() const { return u"kReachabilityChangedNotification"_s; }

ReachabilityRef::Watch::~Watch() = default;
ReachabilityRef::~ReachabilityRef() = default;

Reachability::Block& Reachability::Block::operator=(Function function) {
    const std::lock_guard lock(mMutex);
    mFunction.swap(function);
    return *this;
}

Reachability::Block::Function Reachability::Block::function() const {
    const std::lock_guard lock(mMutex);
    return mFunction;
}

Reachability::Block::operator bool() const { return static_cast<bool>(function()); }

void Reachability::Block::operator()(Reachability* reachability) const {
    // A copy: the block may replace itself.
    if (const Function called = function()) {
        called(reachability);
    }
}

/// What the object and its thread share. The thread may be the last to have it.
struct Reachability::State {
    explicit State(std::shared_ptr<ReachabilityRef> source) : ref(std::move(source)) {}

    /// One more reference, unless the last has gone.
    bool retain() {
        std::uint32_t count = references.load();
        while (count != 0 && !references.compare_exchange_weak(count, count + 1)) {
        }
        return count != 0;
    }

    std::optional<VKNetworkFlags> read() {
        const std::lock_guard lock(flagsMutex);
        lastRead = ref->flags();
        return lastRead;
    }

    /// Begins to compare from now on.
    void begin() {
        const std::lock_guard lock(flagsMutex);
        lastTold = ref->flags();
        lastRead = lastTold;
    }

    /// The flags, if they are others than the last ones that were told, or than the last that somebody read: he may
    /// have met a state that came and went between two looks of this thread, and has to hear that it is over.
    std::optional<VKNetworkFlags> news() {
        const std::lock_guard lock(flagsMutex);
        const std::optional<VKNetworkFlags> now = ref->flags();
        if (now == lastTold && now == lastRead) {
            return std::nullopt;
        }
        lastTold = now;
        lastRead = now;
        return now.value_or(0);
    }

    std::atomic<std::uint32_t> references{1};
    const std::shared_ptr<ReachabilityRef> ref;

    std::mutex flagsMutex; // over the reading too, so that an older answer never replaces a newer one
    std::optional<VKNetworkFlags> lastTold;
    std::optional<VKNetworkFlags> lastRead;

    std::mutex runMutex;
    bool isRunning = false;
    std::shared_ptr<Run> run; // the last one, until somebody has waited for its end
};

/// One start of the notifier, until its stop.
struct Reachability::Run {
    void stop() {
        isStopped = true;
        watch->wake();
    }

    void join() {
        const std::lock_guard lock(threadMutex);
        if (thread.joinable()) {
            thread.join();
        }
    }

    /// For the thread itself, which nobody is going to wait for.
    void detach() {
        const std::lock_guard lock(threadMutex);
        if (thread.joinable()) {
            thread.detach();
        }
    }

    static void loop(const std::shared_ptr<Run>& self) {
        gQueueOf = self->state.get();
        // A block may stop and start anew: the queue stays a serial one.
        if (self->before != nullptr) {
            self->before->join();
            self->before.reset();
        }
        while (!self->isStopped && self->watch->wait() && !self->isStopped) {
            const std::optional<VKNetworkFlags> flags = self->state->news();
            if (!flags) {
                continue;
            }
            if (!self->state->retain()) {
                break; // its destructor is waiting for this thread
            }
            const VKOwned<Reachability> kept(self->object);
            kept->changed(*flags, self);
        }
    }

    std::shared_ptr<State> state;
    Reachability* object = nullptr; // to be used with a reference only
    std::shared_ptr<ReachabilityRef::Watch> watch;
    std::shared_ptr<Run> before;
    std::atomic<bool> isStopped{false};
    std::mutex threadMutex;
    std::thread thread;
};

Reachability::Reachability(std::shared_ptr<ReachabilityRef> ref)
    : mState(std::make_shared<State>(std::move(ref))) {}

Reachability::~Reachability() {
    stopNotifier();
    if (mState->run != nullptr) {
        mState->run->detach(); // there is something to detach in a block only
        mState->run.reset();
    }
}

// The count is kept here rather than in the base: the thread has to be able to see that it has come to its end.
std::uint32_t Reachability::AddRef() { return ++mState->references; }

std::uint32_t Reachability::Release() {
    const std::uint32_t count = --mState->references;
    if (count == 0) {
        delete this;
    }
    return count;
}

Reachability* Reachability::initWithReachabilityRef(std::shared_ptr<ReachabilityRef> ref) {
    return ref == nullptr ? nullptr : new Reachability(std::move(ref));
}

Reachability* Reachability::reachabilityWithHostname(const QString& hostname) {
    return initWithReachabilityRef(refOfHost(hostname));
}

Reachability* Reachability::reachabilityWithHostName(const QString& hostname) {
    return reachabilityWithHostname(hostname);
}

Reachability* Reachability::reachabilityWithAddress(const sockaddr* hostAddress) {
    if (hostAddress == nullptr) {
        return nullptr;
    }
    VKNetworkAddress address;
    if (hostAddress->sa_family == AF_INET) {
        sockaddr_in record;
        std::memcpy(&record, hostAddress, sizeof record);
        std::memcpy(address.bytes.data(), &record.sin_addr, sizeof record.sin_addr);
    } else if (hostAddress->sa_family == AF_INET6) {
        sockaddr_in6 record;
        std::memcpy(&record, hostAddress, sizeof record);
        address.family = VKNetworkAddress::Family::IPv6;
        std::memcpy(address.bytes.data(), &record.sin6_addr, sizeof record.sin6_addr);
        address.scope = record.sin6_scope_id;
    } else {
        return nullptr;
    }
    return initWithReachabilityRef(refOfAddress(address));
}

Reachability* Reachability::reachabilityForInternetConnection() {
    return initWithReachabilityRef(refOfAddress(VKNetworkAddress()));
}

Reachability* Reachability::reachabilityForLocalWiFi() {
    VKNetworkAddress linkLocal;
    linkLocal.bytes = {169, 254, 0, 0};
    return initWithReachabilityRef(refOfAddress(linkLocal));
}

bool Reachability::startNotifier() {
    const std::lock_guard lock(mState->runMutex);
    if (mState->isRunning) {
        return true;
    }
    auto run = std::make_shared<Run>();
    run->watch = mState->ref->watch();
    if (run->watch == nullptr) {
        return false;
    }
    run->state = mState;
    run->object = this;
    run->before = mState->run;
    // After the watch has begun, so that no change falls between, and on this thread, so that a state that the
    // caller reads next is never older.
    mState->begin();
    run->thread = threadWithoutSignals([run] { Run::loop(run); });
    if (!run->thread.joinable()) {
        return false;
    }
    mState->run = run;
    mState->isRunning = true;
    return true;
}

void Reachability::stopNotifier() {
    std::shared_ptr<Run> run;
    {
        const std::lock_guard lock(mState->runMutex);
        run = mState->run;
        mState->isRunning = false;
    }
    if (run == nullptr) {
        return;
    }
    run->stop();
    if (gQueueOf == mState.get()) {
        return; // in a block: the thread cannot wait for itself, and ends behind it
    }
    run->join();
    const std::lock_guard lock(mState->runMutex);
    if (mState->run == run && !mState->isRunning) {
        mState->run.reset();
    }
}

bool Reachability::isReachable() {
    const std::optional<VKNetworkFlags> flags = mState->read();
    return flags && isReachableWithFlags(*flags);
}

bool Reachability::isReachableViaWWAN() { return false; }

bool Reachability::isReachableViaWiFi() { return has(reachabilityFlags(), kVKNetworkFlagsReachable); }

bool Reachability::isConnectionRequired() { return connectionRequired(); }

bool Reachability::connectionRequired() {
    return has(reachabilityFlags(), kVKNetworkFlagsConnectionRequired);
}

bool Reachability::isConnectionOnDemand() {
    const VKNetworkFlags flags = reachabilityFlags();
    return has(flags, kVKNetworkFlagsConnectionRequired) && has(flags, kOnTrafficOrDemand);
}

bool Reachability::isInterventionRequired() {
    const VKNetworkFlags flags = reachabilityFlags();
    return has(flags, kVKNetworkFlagsConnectionRequired) && has(flags, kVKNetworkFlagsInterventionRequired);
}

Reachability::NetworkStatus Reachability::currentReachabilityStatus() {
    // Of one reading, so that the two questions cannot meet two states.
    const VKNetworkFlags flags = reachabilityFlags();
    const bool isViaWiFi = has(flags, kVKNetworkFlagsReachable);
    return isReachableWithFlags(flags) && isViaWiFi ? ReachableViaWiFi : NotReachable;
}

QString Reachability::currentReachabilityString() {
    switch (currentReachabilityStatus()) {
    case ReachableViaWWAN:
        return QCoreApplication::translate("Reachability", "Cellular");
    case ReachableViaWiFi:
        return QCoreApplication::translate("Reachability", "WiFi");
    case NotReachable:
        break;
    }
    return QCoreApplication::translate("Reachability", "No Connection");
}

VKNetworkFlags Reachability::reachabilityFlags() { return mState->read().value_or(0); }

QString Reachability::currentReachabilityFlags() { return textOfFlags(reachabilityFlags()); }

QString Reachability::description() {
    const QString object = u"<Reachability: 0x%1>"_s.arg(reinterpret_cast<quintptr>(this), 0, 16);
    return u"<Reachability: %1 (%2)>"_s.arg(object, currentReachabilityFlags());
}

void Reachability::reachabilityChanged(VKNetworkFlags flags) { changed(flags, nullptr); }

void Reachability::changed(VKNetworkFlags flags, const std::shared_ptr<Run>& run) {
    if (isReachableWithFlags(flags)) {
        reachableBlock(this);
    } else {
        unreachableBlock(this);
    }
    QObject* const relay = mainThreadRelay();
    if (relay == nullptr) {
        return;
    }
    AddRef();
    const std::shared_ptr<Reachability> kept(this, VKReleaser());
    QMetaObject::invokeMethod(
        relay,
        [kept, run] {
            if (run == nullptr || !run->isStopped) {
                VKNotificationCenter::defaultCenter().postNotification(kReachabilityChangedNotification,
                                                                       kept.get());
            }
        },
        Qt::QueuedConnection);
}

bool Reachability::isReachableWithFlags(VKNetworkFlags flags) {
    return has(flags, kVKNetworkFlagsReachable) &&
           !(has(flags, kVKNetworkFlagsConnectionRequired) && has(flags, kVKNetworkFlagsTransientConnection));
}

QString Reachability::textOfFlags(VKNetworkFlags flags) {
    const auto letter = [flags](VKNetworkFlags flag, char16_t shown) {
        return QChar(has(flags, flag) ? shown : u'-');
    };
    return QString(u'X') + letter(kVKNetworkFlagsReachable, u'R') + u' ' +
           letter(kVKNetworkFlagsConnectionRequired, u'c') +
           letter(kVKNetworkFlagsTransientConnection, u't') +
           letter(kVKNetworkFlagsInterventionRequired, u'i') +
           letter(kVKNetworkFlagsConnectionOnTraffic, u'C') +
           letter(kVKNetworkFlagsConnectionOnDemand, u'D') + letter(kVKNetworkFlagsIsLocalAddress, u'l') +
           letter(kVKNetworkFlagsIsDirect, u'd');
}

std::shared_ptr<ReachabilityRef> Reachability::reachabilityRef() const { return mState->ref; }

Reachability* Reachability::reachabilityObject() const {
    const std::lock_guard lock(mState->runMutex);
    return mState->isRunning ? const_cast<Reachability*>(this) : nullptr;
}
