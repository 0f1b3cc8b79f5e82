// A source of flags that a test turns by hand.
#pragma once

#include "Reachability.h"

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>

class ReachabilityStandIn : public ReachabilityRef {
public:
    /// What the next reading gives; none for "cannot be read".
    void set(std::optional<VKNetworkFlags> flags) {
        const std::lock_guard lock(mMutex);
        mFlags = flags;
    }

    /// The system's word that something has changed.
    void tell() {
        std::shared_ptr<StandInWatch> watch;
        {
            const std::lock_guard lock(mMutex);
            watch = mWatch;
        }
        if (watch != nullptr) {
            watch->wake();
        }
    }

    void change(std::optional<VKNetworkFlags> flags) {
        set(flags);
        tell();
    }

    /// From now on there is no watch to be had.
    void refuseWatching() { mRefuses = true; }

    [[nodiscard]] int watches() const { return mWatches; }

    std::optional<VKNetworkFlags> flags() override {
        const std::lock_guard lock(mMutex);
        return mFlags;
    }

    std::shared_ptr<Watch> watch() override {
        if (mRefuses) {
            return nullptr;
        }
        ++mWatches;
        auto watch = std::make_shared<StandInWatch>();
        const std::lock_guard lock(mMutex);
        mWatch = watch;
        return watch;
    }

private:
    class StandInWatch : public Watch {
    public:
        bool wait() override {
            std::unique_lock lock(mMutex);
            mCondition.wait(lock, [this] { return mIsAwake; });
            mIsAwake = false;
            return true;
        }
        void wake() override {
            const std::lock_guard lock(mMutex);
            mIsAwake = true;
            mCondition.notify_one();
        }

    private:
        std::mutex mMutex;
        std::condition_variable mCondition;
        bool mIsAwake = false;
    };

    std::mutex mMutex;
    std::optional<VKNetworkFlags> mFlags = 0;
    std::shared_ptr<StandInWatch> mWatch;
    std::atomic<bool> mRefuses = false;
    std::atomic<int> mWatches = 0;
};
