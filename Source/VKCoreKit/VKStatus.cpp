// One line for each status; the system's own words for an errno.
#include "VKCoreKit/VKStatus.h"

#include "Platform/SystemErrors.h"

#include <climits>

const char* VKStatusText(VKStatus status) noexcept {
    switch (status) {
    case kVKStatusSuccess:
        return "Success";
    case kVKStatusNoAttributes:
        return "No file attributes";
    case kVKStatusNotConvertible:
        return "Not a usable path or class identifier";
    case kVKStatusNotUnderstood:
        return "Reply or output not understood";
    case kVKStatusBadArgument:
        return "Bad or empty argument";
    case kVKStatusOutOfRange:
        return "Index out of range or missing name";
    case kVKStatusCancelled:
        return "Cancelled or not applicable";
    case kVKStatusIncompleteBookmark:
        return "Incomplete bookmark";
    case kVKStatusMissingKey:
        return "A required key is missing";
    case kVKStatusEndOfStream:
        return "Unexpected end of the stream";
    case kVKStatusWritabilityUnknown:
        return "It is not known whether the folder is writable";
    case kVKStatusUnknownValueType:
        return "Unknown type of value";
    case kVKStatusNoBaseURL:
        return "No base URL is set";
    case kVKStatusStatFailed:
        return "The file's record could not be read";
    case kVKStatusTimedOut:
        return "Timed out";
    case kVKStatusUnauthorized:
        return "Not authorised (HTTP 401)";
    case kVKStatusTransportFailed:
        return "The transfer failed";
    case kVKStatusTooManyRequests:
        return "Too many requests (HTTP 429)";
    case kVKStatusServerError:
        return "Internal server error (HTTP 500)";
    case kVKStatusBadRequest:
        return "Bad request (HTTP 400)";
    case kVKStatusHostNotResolved:
        return "The host's name could not be resolved";
    default:
        break;
    }
    const char* text = status <= INT_MAX ? VKPlatform::systemErrorText(static_cast<int>(status)) : nullptr;
    return text != nullptr ? text : "Unknown status";
}
