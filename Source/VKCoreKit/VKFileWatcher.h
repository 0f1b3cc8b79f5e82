// What a copy or a move of one item tells its progress object. Internal to this folder.
#pragma once

#include "Platform/FileCopy.h"
#include "VKCoreKit/VKProgress.h"

#include <cerrno>

/// Passes bytes on to the progress object and asks it whether to go on.
class VKFileWatcher final : public VKPlatform::CopyWatcher {
public:
    VKFileWatcher(VKProgress* progress, std::uint64_t total) : mProgress(progress), mTotal(total) {}

    int copied(std::uint64_t bytes) override {
        mDone += bytes;
        VKProgressDoBytes(mProgress, {.done = mDone, .total = mTotal});
        return VKProgressGetCancel(mProgress) ? ECANCELED : 0;
    }

private:
    VKProgress* mProgress;
    std::uint64_t mDone = 0;
    std::uint64_t mTotal;
};
