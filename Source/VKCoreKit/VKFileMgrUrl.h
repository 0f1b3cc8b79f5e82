// From URLs to the platform's bytes and from its errno to statuses. Internal to this folder.
#pragma once

#include "VKCoreKit/VKStatus.h"

#include <CoreFoundation/CFQt.h>

#include <QByteArray>

#include <new>

/// The bytes of the path that the URL names: 0, 1005 for null, 1002 when it names no file.
[[nodiscard]] inline VKStatus fileSystemBytes(CFURLRef url, QByteArray& bytes) {
    if (url == nullptr) {
        return kVKStatusBadArgument;
    }
    bytes = CFURLCopyFileSystemBytes(url);
    return bytes.isNull() ? kVKStatusNotConvertible : kVKStatusSuccess;
}

/// The call, which gives an errno or a status; memory that is not to be had is a status, too.
template <typename Call>
[[nodiscard]] VKStatus statusOf(Call call) {
    try {
        return static_cast<VKStatus>(call());
    } catch (const std::bad_alloc&) {
        return 12; // ENOMEM
    }
}

/// The call with the bytes of the URL's path.
template <typename Call>
[[nodiscard]] VKStatus withFile(CFURLRef url, Call call) {
    return statusOf([&] {
        QByteArray bytes;
        const VKStatus status = fileSystemBytes(url, bytes);
        return status == kVKStatusSuccess ? static_cast<VKStatus>(call(bytes)) : status;
    });
}
