// How a person or a service manager ends long work: the handlers, which do only what a handler may do.
#include "Interruption.h"

#include <atomic>
#include <cstdint>
#include <ctime>

namespace VKTool {

namespace {

constexpr std::int64_t kPatienceMs = 1000;

std::atomic<VKProgress*> gRunning = nullptr;
std::atomic<std::int64_t> gFirstInterruptMs = 0; // 0 as long as there was none
static_assert(std::atomic<std::int64_t>::is_always_lock_free, "a signal handler takes no lock");

std::int64_t monotonicMs() {
    struct timespec now = {};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1'000'000;
}

void onTerminate(int /*signal*/) { VKProgressSetCancel(gRunning.load(), true); }

void onInterrupt(int signal) {
    VKProgressSetCancel(gRunning.load(), true);
    const std::int64_t now = monotonicMs();
    std::int64_t first = 0;
    if (!gFirstInterruptMs.compare_exchange_strong(first, now) && now - first >= kPatienceMs) {
        ::signal(signal, SIG_DFL);
        ::raise(signal);
    }
}

void install(int signal, void (*handler)(int), struct sigaction& before) {
    struct sigaction action = {};
    action.sa_handler = handler;
    if (::sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) {
        ::sigaction(signal, &action, nullptr);
    }
}

} // namespace

Interruption::Interruption(VKProgress* progress) {
    gRunning = progress;
    gFirstInterruptMs = 0;
    install(SIGINT, &onInterrupt, mInterrupt);
    install(SIGTERM, &onTerminate, mTerminate);
    install(SIGHUP, &onTerminate, mHangUp);
}

Interruption::~Interruption() {
    ::sigaction(SIGINT, &mInterrupt, nullptr);
    ::sigaction(SIGTERM, &mTerminate, nullptr);
    ::sigaction(SIGHUP, &mHangUp, nullptr);
    gRunning = nullptr;
}

} // namespace VKTool
