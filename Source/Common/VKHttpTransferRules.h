// What a transfer decides by numbers alone. Pure.
#pragma once

#include <VKCoreKit/VKProgress.h>
#include <VKCoreKit/VKStatus.h>

#include <algorithm>
#include <cstdint>

/// libcurl's codes that the library knows by names of its own.
inline constexpr int kVKCurlCouldNotResolveHost = 6;
inline constexpr int kVKCurlOperationTimedOut = 28;
inline constexpr int kVKCurlAbortedByCallback = 42;

/// A reply may say any length; so much is believed before the bytes are there. Beyond, memory grows with them.
inline constexpr std::int64_t kVKHttpMaxBelievedLength = std::int64_t{256} * 1024 * 1024;

/// The body's memory is kept for the next reply up to this size; more is given back.
inline constexpr std::int64_t kVKHttpMaxKeptCapacity = std::int64_t{64} * 1024;

/// What error() says for libcurl's result.
[[nodiscard]] constexpr int vkHttpErrorOf(int curlCode) noexcept {
    switch (curlCode) {
    case kVKCurlCouldNotResolveHost:
        return static_cast<int>(kVKStatusHostNotResolved);
    case kVKCurlOperationTimedOut:
        return static_cast<int>(kVKStatusTimedOut);
    case kVKCurlAbortedByCallback:
        return static_cast<int>(kVKStatusCancelled);
    default:
        return curlCode;
    }
}

/// How much memory to set aside for a body of the stated length (negative: not stated).
[[nodiscard]] constexpr std::int64_t vkHttpBodyReserve(std::int64_t statedLength) noexcept {
    return std::clamp<std::int64_t>(statedLength, 0, kVKHttpMaxBelievedLength);
}

/// How much the device is asked for: what libcurl has room for, and no more than is left of the size over all that
/// the object has sent. Negative when more than the size was sent before: a read that fails.
[[nodiscard]] constexpr std::int64_t vkHttpUploadChunk(std::int64_t room, std::int64_t size,
                                                       std::int64_t sent) noexcept {
    return std::min(room, size - sent);
}

/// What a byte observer is told: sent and received in one figure. The total is unknown while the reply's length is.
[[nodiscard]] constexpr VKProgressBytes vkHttpProgressBytes(std::int64_t downTotal, std::int64_t downDone,
                                                            std::int64_t upTotal,
                                                            std::int64_t upDone) noexcept {
    VKProgressBytes bytes;
    bytes.done = static_cast<std::uint64_t>(downDone + upDone);
    const bool isUnknown = (downDone > downTotal) || (upDone > upTotal);
    bytes.total = isUnknown ? 0 : static_cast<std::uint64_t>(downTotal + upTotal);
    return bytes;
}
