// How a person or a service manager ends long work: the signals cancel it, and it cleans up after itself.
#pragma once

#include <VKCoreKit/VKProgress.h>

#include <csignal>

namespace VKTool {

/// While one lives, Ctrl-C (SIGINT), SIGTERM and SIGHUP (of a terminal that is closed) set the cancel flag of the
/// progress object, which is not owned and has to outlive this object; null for short work that is to be done whole,
/// which they then leave alone. Signals that come in a row are one wish: `timeout` sends SIGTERM to the program and to
/// its group, and a program that died of the second one would leave its debris. Only a Ctrl-C that comes a second or
/// more after the first one, from a person who has lost patience, ends the tool at once.
///
/// What the tool was started to ignore stays ignored. One at a time; the handlers before it come back at its end.
class Interruption {
public:
    explicit Interruption(VKProgress* progress);
    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;
    ~Interruption();

private:
    struct sigaction mInterrupt = {};
    struct sigaction mTerminate = {};
    struct sigaction mHangUp = {};
};

} // namespace VKTool
