// A counted, constant record.
#include "VKCoreKit/VKDate.h"

#include <atomic>

struct VKDateObject {
    explicit VKDateObject(const VKDateComponents& of) : components(of) {}

    const VKDateComponents components;
    mutable std::atomic<int> references = 1;
};

VKStatus VKDateCreate(const VKDateComponents* components, VKDateRef* out) {
    if (out == nullptr) {
        return kVKStatusBadArgument;
    }
    *out = nullptr;
    if (components == nullptr) {
        return kVKStatusBadArgument;
    }
    *out = new VKDateObject(*components);
    return kVKStatusSuccess;
}

VKStatus VKDateGetComponents(VKDateRef date, VKDateComponents* out) {
    if (date == nullptr || out == nullptr) {
        return kVKStatusBadArgument;
    }
    *out = date->components;
    return kVKStatusSuccess;
}

VKDateRef VKDateRetain(VKDateRef date) {
    if (date != nullptr) {
        date->references.fetch_add(1, std::memory_order_relaxed);
    }
    return date;
}

void VKDateRelease(VKDateRef date) {
    if (date != nullptr && date->references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete date;
    }
}
