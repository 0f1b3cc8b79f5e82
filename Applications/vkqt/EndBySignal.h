// How a person ends a command that tells of changes until then.
#pragma once

#include <QSocketNotifier>

#include <memory>

namespace VKTool {

/// While one lives, Ctrl-C (SIGINT) and SIGTERM quit the application's event loop: that is how such a command is
/// meant to end, so its exit status is 0. What the tool was started to ignore stays ignored. The loop ends as well as
/// soon as nobody reads standard output any more, also while there is nothing to tell. One at a time, made before the
/// loop runs; for the rest of the program.
class EndBySignal {
public:
    EndBySignal();

    /// 0, or the errno of why signals cannot be received.
    [[nodiscard]] int error() const { return mError; }

private:
    int mError = 0;
    std::unique_ptr<QSocketNotifier> mNotifier;
    std::unique_ptr<QSocketNotifier> mReader;
};

} // namespace VKTool
