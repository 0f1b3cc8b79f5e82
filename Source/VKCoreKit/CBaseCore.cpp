// Counting.
#include "VKCoreKit/CBaseCore.h"

std::uint32_t CBaseCore::AddRef() { return mReferences.fetch_add(1, std::memory_order_relaxed) + 1; }

std::uint32_t CBaseCore::Release() {
    // What other threads did with the object before their release happens before it is deleted here.
    const std::uint32_t left = mReferences.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) {
        delete this;
    }
    return left;
}
