// Whether a place in the network can be reached, and a notification when that changes.
#pragma once

#include "VKQtExport.h"

#include <VKCoreKit/CBaseCore.h>
#include <VKCoreKit/VKNetwork.h>

#include <QString>

#include <functional>
#include <memory>
#include <mutex>
#include <optional>

struct sockaddr;
class Reachability;

/// "kReachabilityChangedNotification": posted to VKNotificationCenter::defaultCenter() on the main thread, with the
/// Reachability as its object. The text stands for its QString wherever one is asked for.
class ReachabilityNotificationName {
public:
    VKQT_EXPORT operator QString() const; // NOLINT: it stands for the text
};
inline constexpr ReachabilityNotificationName kReachabilityChangedNotification;

/// Where a Reachability has its flags from. An application's tests may give one of their own.
class VKQT_EXPORT ReachabilityRef {
public:
    /// The end of waiting for one notifier. wait() is called by its thread, wake() by any.
    class VKQT_EXPORT Watch {
    public:
        virtual ~Watch();
        /// Returns when the flags may have changed or after wake(); false when there will be no more news.
        virtual bool wait() = 0;
        /// Ends wait(), or the next one.
        virtual void wake() = 0;
    };

    ReachabilityRef() = default;
    ReachabilityRef(const ReachabilityRef&) = delete;
    ReachabilityRef& operator=(const ReachabilityRef&) = delete;
    virtual ~ReachabilityRef();

    /// The flags of this moment; none when they cannot be read. Any thread, must not block for long.
    [[nodiscard]] virtual std::optional<VKNetworkFlags> flags() = 0;

    /// A watch that has seen everything so far; null when there can be none.
    [[nodiscard]] virtual std::shared_ptr<Watch> watch() = 0;
};

/// A counted object that is asked, or that tells.
///
/// Reachable means that a packet can leave this machine for the place, by the routes, addresses and interfaces of
/// this moment. It never means that somebody answers, so it is no reason to leave a transfer untried.
///
/// Asking asks the kernel each time, on any thread, in microseconds. While the notifier runs there is one thread, the
/// object's serial queue: the blocks are called there, one at a time. The notification is posted on the main thread
/// by the application's event loop, so it needs an application object. Nothing runs while nothing changes.
///
/// Every change ends in a call and a notification after which the flags are those of this moment; there may be
/// several for one change, and one for several changes at once.
///
/// Who posts the notification keeps the object alive meanwhile. The last Release() stops the notifier.
class VKQT_EXPORT Reachability : public CBaseCore {
public:
    enum NetworkStatus { NotReachable = 0, ReachableViaWWAN = 1, ReachableViaWiFi = 2 };

    /// What is called on a change, with the Reachability. May be set, called and cleared (with null) on any thread; one that is
    /// running goes on.
    class VKQT_EXPORT Block {
    public:
        using Function = std::function<void(Reachability*)>;

        Block& operator=(Function function);
        explicit operator bool() const;
        /// Calls it; nothing when it is empty.
        void operator()(Reachability* reachability) const;

    private:
        [[nodiscard]] Function function() const;

        mutable std::mutex mMutex;
        Function mFunction;
    };

    // Factories. Each gives a new object, which the caller releases, or null when there cannot be one.

    /// A host by its name, or an address as text. Null for an empty name, one longer than 253 bytes, or with a zero
    /// character in it.
    ///
    /// The name is looked up on a thread of its own, from the first question or startNotifier() on: the flags are 0
    /// until it is known. It is looked up again when the network has changed. Of several addresses the best counts.
    /// A look-up that nobody waits for any more ends by itself.
    [[nodiscard]] static Reachability* reachabilityWithHostname(const QString& hostname);

    /// The same.
    [[nodiscard]] static Reachability* reachabilityWithHostName(const QString& hostname);

    /// A sockaddr_in or sockaddr_in6, which is copied; the port does not matter. Null for null and other families.
    /// The zero address is the internet. A link-local IPv6 address has to have its scope.
    [[nodiscard]] static Reachability* reachabilityWithAddress(const sockaddr* hostAddress);

    /// The zero address of IPv4: whether a default route, of IPv4 or IPv6, leaves by an interface that works.
    [[nodiscard]] static Reachability* reachabilityForInternetConnection();

    /// The link-local network of IPv4, 169.254.0.0. Where a default route leads there, it is reachable too, but
    /// without the flag IsDirect.
    [[nodiscard]] static Reachability* reachabilityForLocalWiFi();

    /// Any other source of flags; null for null.
    [[nodiscard]] static Reachability* initWithReachabilityRef(std::shared_ptr<ReachabilityRef> ref);

    Reachability(const Reachability&) = delete;
    Reachability& operator=(const Reachability&) = delete;

    /// True when the notifier runs now, or ran already; false when the system gives no news.
    bool startNotifier();

    /// Stops and waits for a block that is running: when this returns, none is called any more, and a notification
    /// that was not posted yet is not posted. Called in a block it does not wait for that one. Do not call it while
    /// holding what a block waits for.
    void stopNotifier();

    // Each of these reads the flags anew.

    /// Flag Reachable, and not both ConnectionRequired and TransientConnection. False when they cannot be read.
    [[nodiscard]] bool isReachable();
    /// Always false: no network of this platform is told to be a telephone's.
    [[nodiscard]] bool isReachableViaWWAN();
    /// Flag Reachable. Deliberately true for every way there is, not for a wireless one only.
    [[nodiscard]] bool isReachableViaWiFi();
    [[nodiscard]] bool isConnectionRequired();
    /// The same.
    [[nodiscard]] bool connectionRequired();
    /// ConnectionRequired with ConnectionOnTraffic or ConnectionOnDemand.
    [[nodiscard]] bool isConnectionOnDemand();
    /// ConnectionRequired with InterventionRequired.
    [[nodiscard]] bool isInterventionRequired();
    /// ReachableViaWiFi or NotReachable.
    [[nodiscard]] NetworkStatus currentReachabilityStatus();
    /// "Cellular", "WiFi" or "No Connection", in the user's language where translations are installed.
    [[nodiscard]] QString currentReachabilityString();
    /// The flags; 0 when they cannot be read.
    [[nodiscard]] VKNetworkFlags reachabilityFlags();
    /// Ten characters for a log: "X", then a letter for each flag that is set and "-" for each that is not.
    ///
    ///     XR ctiCDld    X fixed, R Reachable, blank, c ConnectionRequired, t TransientConnection,
    ///                   i InterventionRequired, C ConnectionOnTraffic, D ConnectionOnDemand,
    ///                   l IsLocalAddress, d IsDirect
    ///     XR -------    Reachable alone
    [[nodiscard]] QString currentReachabilityFlags();
    /// "<Reachability: <Reachability: 0x55d0> (XR -------)>". Deliberately the object in the second place, not its
    /// address alone; there it stands in the form that every object has, so that it does not contain itself.
    [[nodiscard]] QString description();

    /// Calls the block for the flags on this thread, then posts the notification on the main thread, later. The
    /// notifier calls it on its queue.
    void reachabilityChanged(VKNetworkFlags flags);

    /// The rules of isReachable() and currentReachabilityFlags(), for flags that were read before.
    [[nodiscard]] static bool isReachableWithFlags(VKNetworkFlags flags);
    [[nodiscard]] static QString textOfFlags(VKNetworkFlags flags);

    [[nodiscard]] std::shared_ptr<ReachabilityRef> reachabilityRef() const;
    /// The object itself while the notifier runs, null otherwise.
    [[nodiscard]] Reachability* reachabilityObject() const;

    Block reachableBlock;
    Block unreachableBlock;
    bool reachableOnWWAN = true; ///< Has no effect here; kept for older callers.

    std::uint32_t AddRef() override;
    std::uint32_t Release() override;

private:
    struct State;
    struct Run;

    explicit Reachability(std::shared_ptr<ReachabilityRef> ref);
    ~Reachability() override;

    void changed(VKNetworkFlags flags, const std::shared_ptr<Run>& run);

    std::shared_ptr<State> mState;
};
