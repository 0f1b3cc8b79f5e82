// How the sources of VKQtPathUtils log a failure.
#pragma once

#include <VKCoreKit/VKLog.h>
#include <VKCoreKit/VKStatus.h>

/// Records the status, unless it is success or a silent one, and gives it back.
inline VKStatus logged(VKStatus status, int line) {
    if (status != kVKStatusSuccess && status != kVKStatusCancelled) {
        VKLogEvent(status, "VKQtCore/Source/Common/VKQtPathUtils", line);
    }
    return status;
}
