// Progress and cancellation of one long operation in one counted object. The operation reports stages and
// steps; the application watches and may cancel from any thread.
#pragma once

#include "CoreFoundation/VKCoreExport.h"

#include <VKCoreKit/VKStatus.h>

#include <cstdint>
#include <memory>

/// The state as the operation last reported it. At the begin of a stage `step` is -1; at its end the last one.
struct VKProgressState {
    int stage = 0; ///< from 0
    int step = 0;  ///< the step just done, from 0
    int steps = 0; ///< in this stage; 0 when that is not known before
};

/// Bytes of the files that the operation copies. The total is 0 while it is not known.
struct VKProgressBytes {
    std::uint64_t done = 0;
    std::uint64_t total = 0;
};

struct VKProgress;

/// Called on the thread of the operation, at the begin of each stage, after each step, and at the end of the
/// stage. Must not throw.
using VKProgressObserver = void (*)(const VKProgressState& state, void* context);
using VKProgressByteObserver = void (*)(const VKProgressBytes& bytes, void* context);

/// A new progress object with one reference, not cancelled. The observer may be null.
VKCORE_EXPORT VKProgress* VKProgressCreate(VKProgressObserver observer, void* context);

/// Adds a reference and returns the object; null for null. Any thread.
VKCORE_EXPORT VKProgress* VKProgressRetain(VKProgress* progress);

/// Gives a reference back; the last one deletes the object. Null does nothing. Any thread.
VKCORE_EXPORT void VKProgressRelease(VKProgress* progress);

struct VKProgressReleaser {
    void operator()(VKProgress* progress) const noexcept { VKProgressRelease(progress); }
};
/// The owner of one reference, so that nobody calls VKProgressRelease() on a path that a return can skip.
using VKOwnedProgress = std::unique_ptr<VKProgress, VKProgressReleaser>;

/// Sets or clears the cancel flag. Any thread, signal handlers included. Null does nothing.
VKCORE_EXPORT void VKProgressSetCancel(VKProgress* progress, bool cancel) noexcept;

/// Whether the operation is to end. False for null. Any thread.
[[nodiscard]] VKCORE_EXPORT bool VKProgressGetCancel(const VKProgress* progress) noexcept;

/// Begins a stage of `steps` steps. The second and third argument are kept for older callers and have to be
/// 0 (1005 otherwise). 1007 once cancelled, but the stage begins all the same. Null progress: 0.
VKCORE_EXPORT VKStatus VKProgressDoProgressBeginStage(VKProgress* progress, int reserved1, int reserved2,
                                                      int steps);

/// Reports the step just done, counted from 0. 1007 once cancelled. Null progress: 0.
VKCORE_EXPORT VKStatus VKProgressDoProgressUpdateStage(VKProgress* progress, int step);

/// Ends the stage. 1007 once cancelled. Null progress: 0.
VKCORE_EXPORT VKStatus VKProgressDoProgressEndStage(VKProgress* progress);

/// Watches bytes too; null stops. Set it before the operation starts. Called on the operation's thread, at
/// most some dozens of times a second.
VKCORE_EXPORT void VKProgressSetByteObserver(VKProgress* progress, VKProgressByteObserver observer,
                                             void* context);

/// Reports bytes, on the thread of the operation. Null does nothing.
VKCORE_EXPORT void VKProgressDoBytes(VKProgress* progress, VKProgressBytes bytes);
