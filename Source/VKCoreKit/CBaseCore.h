// The base of everything that is shared by counting: a new object holds one reference, the last release
// deletes.
#pragma once

#include "CoreFoundation/VKCoreExport.h"

#include <atomic>
#include <cstdint>
#include <memory>

/// The count belongs to the object, not to its value: a copy starts at 1, and assigning changes no count. An
/// object that is not on the heap (a value on the stack, a list element) is never released to 0 by anyone.
/// Virtual functions in slot order: destructor, AddRef(), Release().
class VKCORE_EXPORT CBaseCore {
public:
    CBaseCore() noexcept = default;
    CBaseCore(const CBaseCore&) noexcept {}
    CBaseCore& operator=(const CBaseCore&) noexcept { return *this; }
    virtual ~CBaseCore() = default;

    /// Takes one more reference; the new count. Any thread.
    virtual std::uint32_t AddRef();

    /// Gives one reference back; the new count. At 0 the object is deleted before this returns. Any thread.
    virtual std::uint32_t Release();

private:
    std::atomic<std::uint32_t> mReferences{1};
};

/// Gives back the one reference that a VKOwned holds.
struct VKReleaser {
    void operator()(CBaseCore* object) const { object->Release(); }
};

/// The owner of one reference, so that nobody calls Release() on a path that a return can skip:
///
///     const VKOwned<VKBookmark> bookmark(new VKBookmark);
template <typename Object>
using VKOwned = std::unique_ptr<Object, VKReleaser>;
