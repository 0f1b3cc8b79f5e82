// How the sources of the configuration log a failure: each level that passes one on records it under its own
// file, so that a log shows the way that a failure took.
#pragma once

#include <VKCoreKit/VKLog.h>
#include <VKCoreKit/VKStatus.h>

namespace VKConfigDetail {

/// Records the status, unless it is success or a silent one, and gives it back.
inline VKStatus logged(VKStatus status, const char* source, int line) {
    if (status != kVKStatusSuccess && status != kVKStatusCancelled) {
        VKLogEvent(status, source, line);
    }
    return status;
}

} // namespace VKConfigDetail
