// The line is put together by a pure function; a few lines around it know the terminal.
#include "ProgressBar.h"

#include "Text.h"

#include <algorithm>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cmath>

namespace VKTool {

using namespace Qt::StringLiterals;

namespace {

constexpr int kLongestBar = 40;
constexpr int kShortestBar = 5;
constexpr std::chrono::milliseconds kPause(100);

QString bar(double part, int cells) {
    const int full = std::clamp(static_cast<int>(part * cells), 0, cells);
    return u'[' + QString(full, u'#') + QString(cells - full, u'.') + u']';
}

int terminalColumns() {
    winsize size = {};
    return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

void writeToTerminal(const QByteArray& bytes) {
    // A terminal that takes no more is no reason to end the work.
    [[maybe_unused]] const ssize_t written =
        ::write(STDERR_FILENO, bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

} // namespace

QString timeLeft(std::chrono::seconds seconds) {
    constexpr qint64 kMinute = 60;
    constexpr qint64 kHour = 60 * kMinute;
    const qint64 count = seconds.count();
    if (count < kMinute) {
        return QString::number(count) + u" s left"_s;
    }
    if (count < kHour) {
        return QString::number(count / kMinute) + u" min left"_s;
    }
    return QString::number(count / kHour) + u" h "_s + QString::number(count % kHour / kMinute) +
           u" min left"_s;
}

QString progressLine(const WorkFacts& facts, int columns) {
    constexpr std::chrono::seconds kMeaningful(1);
    const auto size = [](double bytes) { return humanSize(static_cast<qint64>(bytes)); };
    const double done = static_cast<double>(facts.doneBytes);
    const double total = static_cast<double>(facts.totalBytes);
    const bool isTotalKnown = facts.totalBytes > 0;
    QString text = size(done);
    if (isTotalKnown) {
        const int percent = static_cast<int>(std::min(1.0, done / total) * 100);
        text = rightAligned(QString::number(percent), 3) + u" %  "_s + text + u" of "_s + size(total);
    }
    if (facts.elapsed >= kMeaningful && facts.doneBytes > 0) {
        const double seconds = static_cast<double>(facts.elapsed.count()) / 1000;
        text += u"  "_s + size(done / seconds) + u"/s"_s;
        if (isTotalKnown && done <= total) {
            const double left = (total - done) * seconds / done;
            text += u"  "_s + timeLeft(std::chrono::seconds(std::llround(left)));
        }
    }
    const int cells = std::min(kLongestBar, columns - displayWidth(text) - 4);
    if (isTotalKnown && cells >= kShortestBar) {
        return bar(done / total, cells) + u"  "_s + text;
    }
    return text.left(columns);
}

ProgressBar::ProgressBar(bool wanted) : mActive(wanted && ::isatty(STDERR_FILENO) == 1) {}

void ProgressBar::show(std::uint64_t doneBytes, std::uint64_t totalBytes) {
    const Clock::time_point now = Clock::now();
    const bool isComplete = totalBytes > 0 && doneBytes >= totalBytes;
    if (!mActive || (mShown && !isComplete && now - mLast < kPause)) {
        return;
    }
    mShown = true;
    mLast = now;
    const WorkFacts facts = {.doneBytes = doneBytes,
                             .totalBytes = totalBytes,
                             .elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(now - mStart)};
    // The last cell stays free: some terminals go to the next line behind it.
    writeToTerminal("\r\x1b[K" + progressLine(facts, terminalColumns() - 1).toUtf8());
}

void ProgressBar::clear() {
    if (mShown) {
        writeToTerminal("\r\x1b[K");
        mShown = false;
    }
}

} // namespace VKTool
