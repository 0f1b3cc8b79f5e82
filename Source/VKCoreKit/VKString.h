// The core library's string: a CoreFoundation string held by value.
#pragma once

#include <VKCoreKit/VKCFRef.h>

#include <utility>

/// Shares the string it was made from. A default one, and one made from null, holds none and converts to
/// null.
class VKString {
public:
    VKString() noexcept = default;

    /// Takes a reference of its own: the caller keeps the one it has. Implicit, as is the way back: a string of
    /// either kind serves where the other is asked for.
    VKString(CFStringRef string) noexcept : mString(VKCFRef<CFStringRef>::retain(string)) {}

    /// Borrowed: valid as long as this object keeps it.
    operator CFStringRef() const noexcept { return mString.get(); } // NOLINT: conversion is what it is for

private:
    VKCFRef<CFStringRef> mString;
};
