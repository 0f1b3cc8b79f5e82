// A detached thread that the application's signals never meet.
#include "Platform/BoundedQuestion.h"

#include <csignal>
#include <pthread.h>
#include <system_error>
#include <thread>

namespace VKPlatform {

bool runDetached(std::function<void()> work) {
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    // The new thread inherits the mask: a handler of the application must not run on it.
    if (::pthread_sigmask(SIG_SETMASK, &all, &before) != 0) {
        return false;
    }
    bool started = true;
    try {
        std::thread(std::move(work)).detach();
    } catch (const std::system_error&) {
        started = false;
    }
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return started;
}

} // namespace VKPlatform
