// A detached thread that the application's signals never meet.
#include "Platform/BoundedQuestion.h"

#include "Platform/SignalsBlocked.h"

#include <system_error>
#include <thread>

namespace VKPlatform {

bool runDetached(std::function<void()> work) {
    const SignalsBlocked blocked;
    try {
        std::thread(std::move(work)).detach();
    } catch (const std::system_error&) {
        return false;
    }
    return true;
}

} // namespace VKPlatform
