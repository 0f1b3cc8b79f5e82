// For the start of a thread: it inherits the mask of the thread that starts it, and an application's signal handlers
// must not run on a thread of the library's.
#pragma once

#include <csignal>
#include <pthread.h>

namespace VKPlatform {

/// Blocks all signals on the calling thread while it lives.
class SignalsBlocked {
public:
    SignalsBlocked() noexcept {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &mBefore);
    }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;
    ~SignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &mBefore, nullptr); }

private:
    sigset_t mBefore = {};
};

} // namespace VKPlatform
