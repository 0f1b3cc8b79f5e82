// What the operations of this folder ask a progress object besides its public calls.
#pragma once

#include "VKCoreKit/VKProgress.h"

#include <chrono>

/// Whether somebody watches bytes: without, nobody needs to add up what there is to copy.
[[nodiscard]] bool progressWantsBytes(const VKProgress* progress) noexcept;

/// The pace of reports about bytes: at most one in this time, besides the first and the complete one.
inline constexpr std::chrono::milliseconds kByteReportPause(30);

/// Whether a report about bytes is passed on, `sinceLast` after the one before. Pure.
[[nodiscard]] constexpr bool byteReportIsDue(VKProgressBytes bytes,
                                             std::chrono::steady_clock::duration sinceLast) noexcept {
    return sinceLast >= kByteReportPause || (bytes.total != 0 && bytes.done >= bytes.total);
}
