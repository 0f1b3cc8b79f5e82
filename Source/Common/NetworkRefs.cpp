// Flags from the kernel, names from the resolver.
#include "NetworkRefs.h"

#include "Platform/SignalsBlocked.h"

#include <VKCoreKit/VKStatus.h>

#include <algorithm>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace {

std::optional<VKNetworkFlags> flagsOf(const VKNetworkAddress& address) {
    VKNetworkFlags flags = 0;
    if (VKNetworkGetFlags(address, &flags) != kVKStatusSuccess) {
        return std::nullopt;
    }
    return flags;
}

class AddressWatch : public ReachabilityRef::Watch {
public:
    [[nodiscard]] bool open() { return mWatch.open() == kVKStatusSuccess; }
    bool wait() override { return mWatch.wait() != VKNetworkWatch::Event::Broken; }
    void wake() override { mWatch.wake(); }

private:
    VKNetworkWatch mWatch;
};

class AddressRef : public ReachabilityRef {
public:
    explicit AddressRef(const VKNetworkAddress& address) : mAddress(address) {}

    std::optional<VKNetworkFlags> flags() override { return flagsOf(mAddress); }

    std::shared_ptr<Watch> watch() override {
        auto watch = std::make_shared<AddressWatch>();
        return watch->open() ? watch : nullptr;
    }

private:
    VKNetworkAddress mAddress;
};

/// A host's addresses, shared with the look-up, which nobody can stop and which may outlive who asked for it.
class HostAddresses : public std::enable_shared_from_this<HostAddresses> {
public:
    explicit HostAddresses(QString host) : mHost(std::move(host)) {}

    /// The best flags. Starts the first look-up, and another when the ways to the addresses, or to the internet as
    /// long as there are none, are others than at the last one.
    std::optional<VKNetworkFlags> flags() {
        const std::lock_guard lock(mMutex);
        const std::optional<VKNetworkFlags> flags = bestFlags();
        const bool isOld =
            mAddresses.empty() ? flagsOf(VKNetworkAddress()) != mInternetAtLookUp : flags != mFlagsAtLookUp;
        if (!mAsked || isOld) {
            lookUp();
        }
        return flags;
    }

    /// After any change of the network: a name that is unknown is looked up again.
    void networkChanged() {
        const std::lock_guard lock(mMutex);
        if (mAddresses.empty()) {
            lookUp();
        }
    }

    void add(const std::shared_ptr<VKNetworkWatch>& watch) {
        const std::lock_guard lock(mMutex);
        mWatches.erase(std::remove_if(mWatches.begin(), mWatches.end(),
                                      [](const auto& other) { return other.expired(); }),
                       mWatches.end());
        mWatches.push_back(watch);
    }

private:
    [[nodiscard]] std::optional<VKNetworkFlags> bestFlags() const {
        VKNetworkFlags best = 0;
        for (const VKNetworkAddress& address : mAddresses) {
            const std::optional<VKNetworkFlags> flags = flagsOf(address);
            if (!flags) {
                return std::nullopt;
            }
            best = betterFlags(best, *flags);
        }
        return best;
    }

    /// With the mutex held. One at a time: what changes meanwhile is asked for once more behind it.
    void lookUp() {
        mAsked = true;
        if (mIsLookingUp) {
            mIsToRepeat = true;
            return;
        }
        mFlagsAtLookUp = bestFlags();
        mInternetAtLookUp = flagsOf(VKNetworkAddress());
        const VKPlatform::SignalsBlocked blocked;
        try {
            std::thread([self = shared_from_this()] { self->run(); }).detach();
            mIsLookingUp = true;
        } catch (const std::system_error&) {
            mAsked = false; // no thread to be had: the next question tries again
        }
    }

    void run() {
        bool isToRepeat = true;
        while (isToRepeat) {
            std::vector<VKNetworkAddress> addresses;
            const VKStatus status = VKNetworkResolve(mHost, &addresses);
            const std::lock_guard lock(mMutex);
            // That nobody can tell just now does not make a known address wrong.
            if (status == kVKStatusSuccess || status == kVKStatusHostNotResolved) {
                mAddresses = std::move(addresses);
                mFlagsAtLookUp = bestFlags();
            }
            isToRepeat = std::exchange(mIsToRepeat, false);
            mIsLookingUp = isToRepeat;
            for (const std::weak_ptr<VKNetworkWatch>& listed : mWatches) {
                if (const std::shared_ptr<VKNetworkWatch> watch = listed.lock()) {
                    watch->wake();
                }
            }
        }
    }

    const QString mHost;
    std::mutex mMutex;
    std::vector<VKNetworkAddress> mAddresses;
    std::optional<VKNetworkFlags> mFlagsAtLookUp;
    std::optional<VKNetworkFlags> mInternetAtLookUp;
    bool mAsked = false;
    bool mIsLookingUp = false;
    bool mIsToRepeat = false;
    std::vector<std::weak_ptr<VKNetworkWatch>> mWatches;
};

class HostWatch : public ReachabilityRef::Watch {
public:
    explicit HostWatch(std::shared_ptr<HostAddresses> host)
        : mHost(std::move(host)), mWatch(std::make_shared<VKNetworkWatch>()) {}

    [[nodiscard]] bool open() {
        if (mWatch->open() != kVKStatusSuccess) {
            return false;
        }
        mHost->add(mWatch);
        return true;
    }

    bool wait() override {
        const VKNetworkWatch::Event event = mWatch->wait();
        // The end of a look-up wakes too, and is no reason for another.
        if (event == VKNetworkWatch::Event::Change) {
            mHost->networkChanged();
        }
        return event != VKNetworkWatch::Event::Broken;
    }

    void wake() override { mWatch->wake(); }

private:
    std::shared_ptr<HostAddresses> mHost;
    std::shared_ptr<VKNetworkWatch> mWatch;
};

class HostRef : public ReachabilityRef {
public:
    explicit HostRef(const QString& host) : mHost(std::make_shared<HostAddresses>(host)) {}

    std::optional<VKNetworkFlags> flags() override { return mHost->flags(); }

    std::shared_ptr<Watch> watch() override {
        auto watch = std::make_shared<HostWatch>(mHost);
        return watch->open() ? watch : nullptr;
    }

private:
    std::shared_ptr<HostAddresses> mHost;
};

} // namespace

std::shared_ptr<ReachabilityRef> refOfAddress(const VKNetworkAddress& address) {
    return std::make_shared<AddressRef>(address);
}

std::shared_ptr<ReachabilityRef> refOfHost(const QString& host) {
    VKNetworkAddress address;
    if (VKNetworkParseAddress(host, &address) == kVKStatusSuccess) {
        return refOfAddress(address);
    }
    return VKNetworkIsHostName(host) ? std::make_shared<HostRef>(host) : nullptr;
}

VKNetworkFlags betterFlags(VKNetworkFlags first, VKNetworkFlags second) {
    const auto rank = [](VKNetworkFlags flags) {
        if (!Reachability::isReachableWithFlags(flags)) {
            return flags == 0 ? 0 : 1;
        }
        return (flags & kVKNetworkFlagsTransientConnection) != 0 ? 2 : 3;
    };
    return rank(second) > rank(first) ? second : first;
}
