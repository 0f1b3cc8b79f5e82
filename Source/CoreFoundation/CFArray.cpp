// Counted lists over std::vector.
#include "CoreFoundation/CFArray.h"

#include "CoreFoundation/CFObject.h"

#include <algorithm>
#include <vector>

struct CFArrayObject final : CoreFoundation::Object {
    static const CoreFoundation::TypeRecord sType;

    CFArrayObject(const CFArrayCallBacks* callBacks, bool canChange)
        : Object(sType), calls(callBacks != nullptr ? *callBacks : CFArrayCallBacks{}), isMutable(canChange) {
    }
    ~CFArrayObject() {
        if (calls.release != nullptr) {
            for (const void* value : values) {
                calls.release(kCFAllocatorDefault, value);
            }
        }
    }

    void append(const void* value, const char* function) {
        if (value == nullptr && calls.retain == kCFTypeArrayCallBacks.retain) {
            CoreFoundation::stopForType(function, "a value", value);
        }
        values.push_back(value);
        if (calls.retain != nullptr) {
            values.back() = calls.retain(kCFAllocatorDefault, value);
        }
    }

    std::vector<const void*> values;
    const CFArrayCallBacks calls;
    const bool isMutable;
};

namespace {

const void* retainValue(CFAllocatorRef, const void* value) { return CFRetain(value); }
void releaseValue(CFAllocatorRef, const void* value) { CFRelease(value); }

bool equalArrays(const CFArrayObject& first, const CFArrayObject& second) {
    const auto equal = first.calls.equal;
    if (first.values.size() != second.values.size() || equal != second.calls.equal) {
        return false;
    }
    return std::equal(
        first.values.begin(), first.values.end(), second.values.begin(),
        [equal](const void* a, const void* b) { return a == b || (equal != nullptr && equal(a, b) != 0); });
}

// The count alone: elements of other kinds than counted values have no hash.
CFHashCode hashArray(const CFArrayObject& array) { return array.values.size(); }

} // namespace

const CoreFoundation::TypeRecord CFArrayObject::sType = {
    "CFArray", CoreFoundation::kArrayTypeID, &CoreFoundation::destroyValue<CFArrayObject>,
    &CoreFoundation::equalValues<CFArrayObject, equalArrays>,
    &CoreFoundation::hashValue<CFArrayObject, hashArray>};

extern "C" {

constinit const CFArrayCallBacks kCFTypeArrayCallBacks = {0, &retainValue, &releaseValue, nullptr, &CFEqual};

CFTypeID CFArrayGetTypeID() { return CoreFoundation::kArrayTypeID; }

CFArrayRef CFArrayCreate(CFAllocatorRef, const void* const* values, CFIndex count,
                         const CFArrayCallBacks* callBacks) {
    if (count < 0) {
        return nullptr;
    }
    if (values == nullptr && count > 0) {
        CoreFoundation::stopForMisuse(__func__, "no values");
    }
    auto* const array = new CFArrayObject(callBacks, false);
    array->values.reserve(static_cast<std::size_t>(count));
    for (CFIndex i = 0; i < count; ++i) {
        array->append(values[i], __func__);
    }
    return array;
}

CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef, CFIndex, const CFArrayCallBacks* callBacks) {
    return new CFArrayObject(callBacks, true);
}

CFIndex CFArrayGetCount(CFArrayRef array) {
    return static_cast<CFIndex>(CoreFoundation::checked<CFArrayObject>(array, __func__)->values.size());
}

const void* CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index) {
    const CFArrayObject* const object = CoreFoundation::checked<CFArrayObject>(array, __func__);
    // A negative index is, unsigned, beyond every count.
    if (static_cast<std::size_t>(index) >= object->values.size()) {
        CoreFoundation::stopForMisuse(__func__, "the index is outside the array");
    }
    return object->values[static_cast<std::size_t>(index)];
}

void CFArrayAppendValue(CFMutableArrayRef array, const void* value) {
    CoreFoundation::checkedMutable<CFArrayObject>(array, __func__)->append(value, __func__);
}

} // extern "C"
