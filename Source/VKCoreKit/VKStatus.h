// The status that every operation which can fail answers: 0 for success, a code of the library's own from the
// list below, or the errno of the system call that failed (2 no such file, 13 permission denied, ...).
#pragma once

#include "CoreFoundation/VKCoreExport.h"

#include <cstdint>

using VKStatus = std::uint32_t;

inline constexpr VKStatus kVKStatusSuccess = 0;           ///< done
inline constexpr VKStatus kVKStatusNoAttributes = 1001;   ///< the item has no file attributes
inline constexpr VKStatus kVKStatusNotConvertible = 1002; ///< a path or class identifier that leads nowhere
inline constexpr VKStatus kVKStatusNotUnderstood = 1003;  ///< a reply or a command's output makes no sense
inline constexpr VKStatus kVKStatusBadArgument = 1005;    ///< an argument is missing, empty or wrong
inline constexpr VKStatus kVKStatusOutOfRange = 1006;     ///< an index out of range, or a missing name
inline constexpr VKStatus kVKStatusCancelled = 1007;      ///< cancelled or not applicable; never logged
inline constexpr VKStatus kVKStatusIncompleteBookmark = 1009; ///< a bookmark dictionary lacks a key
inline constexpr VKStatus kVKStatusMissingKey = 1016;         ///< a required key is missing
inline constexpr VKStatus kVKStatusEndOfStream = 1020;        ///< a stream holds less than was asked for
inline constexpr VKStatus kVKStatusWritabilityUnknown =
    1025; ///< it cannot be told whether a folder is writable
inline constexpr VKStatus kVKStatusUnknownValueType = 1029; ///< an item's value is of no known type
inline constexpr VKStatus kVKStatusNoBaseURL = 1034;        ///< no base URL was set
inline constexpr VKStatus kVKStatusStatFailed = 1070;       ///< the item's record could not be read
inline constexpr VKStatus kVKStatusTimedOut = 1081;         ///< nothing came in time
inline constexpr VKStatus kVKStatusUnauthorized = 1089;     ///< HTTP 401
inline constexpr VKStatus kVKStatusTransportFailed = 1094;  ///< the transport failed, or HTTP 404 on a POST
inline constexpr VKStatus kVKStatusTooManyRequests = 1096;  ///< HTTP 429
inline constexpr VKStatus kVKStatusServerError = 1102;      ///< HTTP 500
inline constexpr VKStatus kVKStatusBadRequest = 1103;       ///< HTTP 400
inline constexpr VKStatus kVKStatusHostNotResolved = 1105;  ///< the host's name has no address

/// What the status says, in English, without a full stop, for messages and logs: "Success", "No such file or
/// directory", "Cancelled or not applicable". An unknown one gives "Unknown status". Never null; the text
/// lives as long as the program. Any thread.
VKCORE_EXPORT const char* VKStatusText(VKStatus status) noexcept;
