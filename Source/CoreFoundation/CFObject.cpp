// Counting, equality and hashing of any value; the allocators; the end of a program that misuses a value.
#include "CoreFoundation/CFObject.h"

#include <cstdio>
#include <cstdlib>
#include <functional>

struct CFAllocatorObject final : CoreFoundation::Object {
    static const CoreFoundation::TypeRecord sType;
    constexpr CFAllocatorObject() : Object(sType, CoreFoundation::kForever) {}
};

// An allocator lives for ever and is equal to itself only.
const CoreFoundation::TypeRecord CFAllocatorObject::sType = {"CFAllocator", CoreFoundation::kAllocatorTypeID,
                                                             nullptr, nullptr, nullptr};

namespace {

constinit CFAllocatorObject gMallocAllocator;
constinit CFAllocatorObject gNullAllocator;

} // namespace

extern "C" {

constinit const CFAllocatorRef kCFAllocatorDefault = nullptr;
constinit const CFAllocatorRef kCFAllocatorMalloc = &gMallocAllocator;
constinit const CFAllocatorRef kCFAllocatorNull = &gNullAllocator;

CFTypeRef CFRetain(CFTypeRef value) {
    CoreFoundation::checkedObject(value, __func__)->retain();
    return value;
}

void CFRelease(CFTypeRef value) { CoreFoundation::checkedObject(value, __func__)->release(); }

CFIndex CFGetRetainCount(CFTypeRef value) {
    return CoreFoundation::checkedObject(value, __func__)->count.load(std::memory_order_relaxed);
}

Boolean CFEqual(CFTypeRef first, CFTypeRef second) {
    CoreFoundation::checkedObject(first, __func__);
    CoreFoundation::checkedObject(second, __func__);
    return static_cast<Boolean>(CoreFoundation::equalObjects(first, second));
}

CFHashCode CFHash(CFTypeRef value) {
    CoreFoundation::checkedObject(value, __func__);
    return CoreFoundation::hashObject(value);
}

CFTypeID CFGetTypeID(CFTypeRef value) { return CoreFoundation::checkedObject(value, __func__)->type->id; }

} // extern "C"

namespace CoreFoundation {

// Straight to stderr and not through the logger, whose handler may itself be at work on values.
void stopForType(const char* function, const char* expected, const void* actual) {
    const char* const got = actual == nullptr ? "null" : static_cast<const Object*>(actual)->type->name;
    std::fprintf(stderr, "%s: expected %s, got %s\n", function, expected, got);
    std::abort();
}

void stopForMisuse(const char* function, const char* problem) {
    std::fprintf(stderr, "%s: %s\n", function, problem);
    std::abort();
}

bool equalObjects(const void* first, const void* second) {
    if (first == second) {
        return true;
    }
    const TypeRecord* const type = static_cast<const Object*>(first)->type;
    return type == static_cast<const Object*>(second)->type && type->equal != nullptr &&
           type->equal(first, second);
}

CFHashCode hashObject(const void* value) {
    const TypeRecord* const type = static_cast<const Object*>(value)->type;
    return type->hash != nullptr ? type->hash(value) : std::hash<const void*>()(value);
}

} // namespace CoreFoundation
