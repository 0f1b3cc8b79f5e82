// One counted object: the state belongs to the operation's thread, the flag and the count to every thread.
#include "VKCoreKit/VKProgress.h"

#include "VKCoreKit/VKProgressInternal.h"

#include <atomic>
#include <optional>

struct VKProgress {
    std::atomic<int> references = 1;
    std::atomic<bool> cancelled = false;

    VKProgressObserver observer = nullptr;
    void* context = nullptr;
    VKProgressState state = {.stage = -1, .step = -1, .steps = 0};

    VKProgressByteObserver byteObserver = nullptr;
    void* byteContext = nullptr;
    std::optional<std::chrono::steady_clock::time_point> lastByteReport;
};

namespace {

// A signal handler may set the flag.
static_assert(std::atomic<bool>::is_always_lock_free);

/// Tells the observer and answers whether the operation is to go on: the observer may cancel.
VKStatus report(VKProgress& progress) {
    if (progress.observer != nullptr) {
        progress.observer(progress.state, progress.context);
    }
    return VKProgressGetCancel(&progress) ? kVKStatusCancelled : kVKStatusSuccess;
}

} // namespace

VKProgress* VKProgressCreate(VKProgressObserver observer, void* context) {
    auto* const progress = new VKProgress;
    progress->observer = observer;
    progress->context = context;
    return progress;
}

VKProgress* VKProgressRetain(VKProgress* progress) {
    if (progress != nullptr) {
        progress->references.fetch_add(1, std::memory_order_relaxed);
    }
    return progress;
}

void VKProgressRelease(VKProgress* progress) {
    if (progress != nullptr && progress->references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete progress;
    }
}

void VKProgressSetCancel(VKProgress* progress, bool cancel) noexcept {
    if (progress != nullptr) {
        progress->cancelled.store(cancel, std::memory_order_release);
    }
}

bool VKProgressGetCancel(const VKProgress* progress) noexcept {
    return progress != nullptr && progress->cancelled.load(std::memory_order_acquire);
}

VKStatus VKProgressDoProgressBeginStage(VKProgress* progress, int reserved1, int reserved2, int steps) {
    if (reserved1 != 0 || reserved2 != 0) {
        return kVKStatusBadArgument;
    }
    if (progress == nullptr) {
        return kVKStatusSuccess;
    }
    progress->state = {.stage = progress->state.stage + 1, .step = -1, .steps = steps};
    return report(*progress);
}

VKStatus VKProgressDoProgressUpdateStage(VKProgress* progress, int step) {
    if (progress == nullptr) {
        return kVKStatusSuccess;
    }
    progress->state.step = step;
    return report(*progress);
}

VKStatus VKProgressDoProgressEndStage(VKProgress* progress) {
    return progress == nullptr ? kVKStatusSuccess : report(*progress);
}

void VKProgressSetByteObserver(VKProgress* progress, VKProgressByteObserver observer, void* context) {
    if (progress != nullptr) {
        progress->byteObserver = observer;
        progress->byteContext = context;
        progress->lastByteReport.reset();
    }
}

void VKProgressDoBytes(VKProgress* progress, VKProgressBytes bytes) {
    if (!progressWantsBytes(progress)) {
        return;
    }
    const auto now = std::chrono::steady_clock::now();
    if (!progress->lastByteReport || byteReportIsDue(bytes, now - *progress->lastByteReport)) {
        progress->lastByteReport = now;
        progress->byteObserver(bytes, progress->byteContext);
    }
}

bool progressWantsBytes(const VKProgress* progress) noexcept {
    return progress != nullptr && progress->byteObserver != nullptr;
}
