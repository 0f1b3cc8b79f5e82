// The owner of one reference to a CoreFoundation value, so that nobody writes CFRelease on a path that a
// return can skip.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <type_traits>
#include <utility>

/// `T` is the reference type itself: VKCFRef<CFStringRef>. Empty is a null reference. As thread-safe as a
/// pointer.
///
///     VKCFRef<CFStringRef> name = VKCFRef<CFStringRef>::adopt(CFStringCreateWithCString(...));
template <typename T>
class VKCFRef {
    static_assert(std::is_pointer_v<T>, "VKCFRef takes the reference type, for example CFStringRef");

public:
    VKCFRef() noexcept = default;

    /// Takes over a reference that the caller owns (what a Create or Copy function returned). Null gives
    /// empty.
    [[nodiscard]] static VKCFRef adopt(T reference) noexcept { return VKCFRef(reference); }

    /// Takes a reference of its own to a borrowed value. Null gives empty.
    [[nodiscard]] static VKCFRef retain(T reference) noexcept {
        if (reference != nullptr) {
            CFRetain(reference);
        }
        return VKCFRef(reference);
    }

    VKCFRef(const VKCFRef& other) noexcept : VKCFRef(retain(other.mReference)) {}
    VKCFRef(VKCFRef&& other) noexcept : mReference(other.release()) {}

    VKCFRef& operator=(VKCFRef other) noexcept {
        std::swap(mReference, other.mReference);
        return *this;
    }

    ~VKCFRef() {
        if (mReference != nullptr) {
            CFRelease(mReference);
        }
    }

    /// The value, borrowed.
    [[nodiscard]] T get() const noexcept { return mReference; }

    [[nodiscard]] explicit operator bool() const noexcept { return mReference != nullptr; }

    /// Gives the reference away: the caller releases it. Empty afterwards.
    [[nodiscard]] T release() noexcept { return std::exchange(mReference, nullptr); }

    /// Gives the reference back. Empty afterwards.
    void reset() noexcept { *this = VKCFRef(); }

    /// Where a function may store a new reference for this owner, which gives its old one back first.
    [[nodiscard]] T* out() noexcept {
        reset();
        return &mReference;
    }

private:
    explicit VKCFRef(T reference) noexcept : mReference(reference) {}

    T mReference = nullptr;
};
