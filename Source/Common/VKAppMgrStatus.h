// How the sources of the account service's client turn the outcomes of a request into statuses and log them.
#pragma once

#include <VKCoreKit/VKLog.h>
#include <VKCoreKit/VKStatus.h>

namespace VKAppMgrDetail {

inline constexpr char kSource[] = "VKQtCore/Source/Common/VKAppMgrAPI";

inline constexpr int kHttpOk = 200;
inline constexpr int kHttpNotFound = 404;

/// The status of a transfer that ended with this VKHttp::error().
[[nodiscard]] int statusOfTransport(int error);

/// The status of an HTTP status other than 200; 0 for those that have none.
[[nodiscard]] int statusOfHttp(int httpCode);

/// Records the status, unless it is success or a silent one, and gives it back.
inline int logged(int status, int line) {
    const auto code = static_cast<VKStatus>(status);
    if (code != kVKStatusSuccess && code != kVKStatusCancelled) {
        VKLogEvent(code, kSource, line);
    }
    return status;
}

inline int logged(VKStatus status, int line) { return logged(static_cast<int>(status), line); }

} // namespace VKAppMgrDetail
