// How long something took, by a clock that nobody sets.
#pragma once

#include <chrono>

/// Runs from its making, or from the last restart(). A copy runs on from the same moment. One thread at a time; reading
/// is for any.
///
///     VKStopwatch watch;
///     render();
///     VKLogUTF8("rendered in %.1f ms\n", watch.milliseconds());
class VKStopwatch {
public:
    using Clock = std::chrono::steady_clock;

    VKStopwatch() noexcept : mStart(Clock::now()) {}

    /// As if it had been made at that moment.
    explicit VKStopwatch(Clock::time_point start) noexcept : mStart(start) {}

    /// Begins anew.
    void restart() noexcept { mStart = Clock::now(); }

    /// The time that it has run; never less than when it was asked before.
    [[nodiscard]] Clock::duration elapsed() const noexcept { return elapsedAt(Clock::now()); }

    /// The time that it will have run at that moment.
    [[nodiscard]] Clock::duration elapsedAt(Clock::time_point moment) const noexcept {
        return moment - mStart;
    }

    /// The time that it has run, in milliseconds with their fractions.
    [[nodiscard]] double milliseconds() const noexcept {
        return std::chrono::duration<double, std::milli>(elapsed()).count();
    }

private:
    Clock::time_point mStart;
};
