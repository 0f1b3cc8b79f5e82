// A line on a terminal that shows how far a long work has come, at which rate, and what is left.
#pragma once

#include <QString>

#include <chrono>
#include <cstdint>

namespace VKTool {

/// What is known about a work at one moment.
struct WorkFacts {
    std::uint64_t doneBytes = 0;
    std::uint64_t totalBytes = 0; ///< 0: not known
    std::chrono::milliseconds elapsed{0};
};

/// One line of at most `columns` cells. Rate and time left appear once they mean something, after a second.
///
///     "[##########..............................]  25 %  300 MB of 1.2 GB  150 MB/s  6 s left"
///     "300 MB  150 MB/s"    the total is not known
[[nodiscard]] QString progressLine(const WorkFacts& facts, int columns);

/// "3 s left", "2 min left", "1 h 5 min left".
[[nodiscard]] QString timeLeft(std::chrono::seconds seconds);

/// The line on standard error, when that is a terminal; otherwise nothing. Redrawn in place, some times a
/// second.
class ProgressBar {
public:
    explicit ProgressBar(bool wanted);
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;
    ~ProgressBar() { clear(); }

    void show(std::uint64_t doneBytes, std::uint64_t totalBytes);

    /// Takes the line away.
    void clear();

private:
    using Clock = std::chrono::steady_clock;

    bool mShown = false;
    const bool mActive;
    const Clock::time_point mStart = Clock::now();
    Clock::time_point mLast;
};

} // namespace VKTool
