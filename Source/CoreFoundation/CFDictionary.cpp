// Counted tables over std::unordered_map, with the caller's functions for hashing and equality.
#include "CoreFoundation/CFDictionary.h"

#include "CoreFoundation/CFObject.h"
#include "CoreFoundation/CFString.h"

#include <functional>
#include <unordered_map>

namespace {

struct KeyHash {
    CFHashCode (*hash)(const void*);
    std::size_t operator()(const void* key) const {
        return hash != nullptr ? hash(key) : std::hash<const void*>()(key);
    }
};

struct KeyEqual {
    Boolean (*equal)(const void*, const void*);
    bool operator()(const void* first, const void* second) const {
        return first == second || (equal != nullptr && equal(first, second) != 0);
    }
};

const void* retainValue(CFAllocatorRef, const void* value) { return CFRetain(value); }
const void* copyString(CFAllocatorRef allocator, const void* value) {
    return CFStringCreateCopy(allocator, static_cast<CFStringRef>(value));
}
void releaseValue(CFAllocatorRef, const void* value) { CFRelease(value); }

template <class CallBacks>
const void* retainWith(const CallBacks& calls, const void* value) {
    return calls.retain != nullptr ? calls.retain(kCFAllocatorDefault, value) : value;
}

template <class CallBacks>
void releaseWith(const CallBacks& calls, const void* value) {
    if (calls.release != nullptr) {
        calls.release(kCFAllocatorDefault, value);
    }
}

} // namespace

struct CFDictionaryObject final : CoreFoundation::Object {
    static const CoreFoundation::TypeRecord sType;

    using Pairs = std::unordered_map<const void*, const void*, KeyHash, KeyEqual>;

    CFDictionaryObject(const CFDictionaryKeyCallBacks* keyCallBacks,
                       const CFDictionaryValueCallBacks* valueCallBacks, bool canChange)
        : Object(sType), keyCalls(keyCallBacks != nullptr ? *keyCallBacks : CFDictionaryKeyCallBacks{}),
          valueCalls(valueCallBacks != nullptr ? *valueCallBacks : CFDictionaryValueCallBacks{}),
          isMutable(canChange), pairs(0, KeyHash{keyCalls.hash}, KeyEqual{keyCalls.equal}) {}
    ~CFDictionaryObject() {
        for (const auto& [key, value] : pairs) {
            releaseWith(keyCalls, key);
            releaseWith(valueCalls, value);
        }
    }

    void checkKey(const void* key, const char* function) const {
        if (key == nullptr && keyCalls.hash == &CFHash) {
            CoreFoundation::stopForType(function, "a key", key);
        }
    }

    // Retains before anything goes into the table, so that what is in it is always the table's own.
    void insert(const void* key, const void* value, const char* function) {
        if (value == nullptr && valueCalls.retain == &retainValue) {
            CoreFoundation::stopForType(function, "a value", value);
        }
        const void* const ownKey = retainWith(keyCalls, key);
        pairs.emplace(ownKey, retainWith(valueCalls, value));
    }

    const void* const* find(const void* key, const char* function) const {
        checkKey(key, function);
        const auto found = pairs.find(key);
        return found != pairs.end() ? &found->second : nullptr;
    }

    const CFDictionaryKeyCallBacks keyCalls;
    const CFDictionaryValueCallBacks valueCalls;
    const bool isMutable;
    Pairs pairs;
};

namespace {

bool equalDictionaries(const CFDictionaryObject& first, const CFDictionaryObject& second) {
    if (first.pairs.size() != second.pairs.size() || first.keyCalls.equal != second.keyCalls.equal ||
        first.keyCalls.hash != second.keyCalls.hash || first.valueCalls.equal != second.valueCalls.equal) {
        return false;
    }
    const KeyEqual equalPairValues{first.valueCalls.equal};
    for (const auto& [key, value] : first.pairs) {
        const auto found = second.pairs.find(key);
        if (found == second.pairs.end() || !equalPairValues(value, found->second)) {
            return false;
        }
    }
    return true;
}

// The count alone: the order of the pairs is unspecified, and plain pointers have no hash that equality
// respects.
CFHashCode hashDictionary(const CFDictionaryObject& dictionary) { return dictionary.pairs.size(); }

} // namespace

const CoreFoundation::TypeRecord CFDictionaryObject::sType = {
    "CFDictionary", CoreFoundation::kDictionaryTypeID, &CoreFoundation::destroyValue<CFDictionaryObject>,
    &CoreFoundation::equalValues<CFDictionaryObject, equalDictionaries>,
    &CoreFoundation::hashValue<CFDictionaryObject, hashDictionary>};

extern "C" {

constinit const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks = {
    0, &retainValue, &releaseValue, nullptr, &CFEqual, &CFHash};
constinit const CFDictionaryKeyCallBacks kCFCopyStringDictionaryKeyCallBacks = {
    0, &copyString, &releaseValue, nullptr, &CFEqual, &CFHash};
constinit const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks = {0, &retainValue, &releaseValue,
                                                                              nullptr, &CFEqual};

CFTypeID CFDictionaryGetTypeID() { return CoreFoundation::kDictionaryTypeID; }

CFDictionaryRef CFDictionaryCreate(CFAllocatorRef, const void* const* keys, const void* const* values,
                                   CFIndex count, const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks) {
    if (count < 0) {
        return nullptr;
    }
    if ((keys == nullptr || values == nullptr) && count > 0) {
        CoreFoundation::stopForMisuse(__func__, keys == nullptr ? "no keys" : "no values");
    }
    auto* const dictionary = new CFDictionaryObject(keyCallBacks, valueCallBacks, false);
    dictionary->pairs.reserve(static_cast<std::size_t>(count));
    for (CFIndex i = 0; i < count; ++i) {
        if (dictionary->find(keys[i], __func__) == nullptr) {
            dictionary->insert(keys[i], values[i], __func__);
        }
    }
    return dictionary;
}

CFMutableDictionaryRef CFDictionaryCreateMutable(CFAllocatorRef, CFIndex,
                                                 const CFDictionaryKeyCallBacks* keyCallBacks,
                                                 const CFDictionaryValueCallBacks* valueCallBacks) {
    return new CFDictionaryObject(keyCallBacks, valueCallBacks, true);
}

CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary) {
    const auto* const object = CoreFoundation::checked<CFDictionaryObject>(dictionary, __func__);
    return static_cast<CFIndex>(object->pairs.size());
}

const void* CFDictionaryGetValue(CFDictionaryRef dictionary, const void* key) {
    const void* const* const found =
        CoreFoundation::checked<CFDictionaryObject>(dictionary, __func__)->find(key, __func__);
    return found != nullptr ? *found : nullptr;
}

Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef dictionary, const void* key, const void** value) {
    const void* const* const found =
        CoreFoundation::checked<CFDictionaryObject>(dictionary, __func__)->find(key, __func__);
    if (found != nullptr && value != nullptr) {
        *value = *found;
    }
    return static_cast<Boolean>(found != nullptr);
}

Boolean CFDictionaryContainsKey(CFDictionaryRef dictionary, const void* key) {
    const auto* const object = CoreFoundation::checked<CFDictionaryObject>(dictionary, __func__);
    return static_cast<Boolean>(object->find(key, __func__) != nullptr);
}

void CFDictionaryGetKeysAndValues(CFDictionaryRef dictionary, const void** keys, const void** values) {
    for (const auto& [key, value] :
         CoreFoundation::checked<CFDictionaryObject>(dictionary, __func__)->pairs) {
        if (keys != nullptr) {
            *keys++ = key;
        }
        if (values != nullptr) {
            *values++ = value;
        }
    }
}

void CFDictionaryAddValue(CFMutableDictionaryRef dictionary, const void* key, const void* value) {
    auto* const object = CoreFoundation::checkedMutable<CFDictionaryObject>(dictionary, __func__);
    if (object->find(key, __func__) == nullptr) {
        object->insert(key, value, __func__);
    }
}

void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* key, const void* value) {
    auto* const object = CoreFoundation::checkedMutable<CFDictionaryObject>(dictionary, __func__);
    object->checkKey(key, __func__);
    // The old pair is released last: it may hold the only other reference to the new key or value.
    const CFDictionaryObject::Pairs::node_type old = object->pairs.extract(key);
    object->insert(key, value, __func__);
    if (!old.empty()) {
        releaseWith(object->keyCalls, old.key());
        releaseWith(object->valueCalls, old.mapped());
    }
}

void CFDictionaryRemoveValue(CFMutableDictionaryRef dictionary, const void* key) {
    auto* const object = CoreFoundation::checkedMutable<CFDictionaryObject>(dictionary, __func__);
    object->checkKey(key, __func__);
    const CFDictionaryObject::Pairs::node_type old = object->pairs.extract(key);
    if (!old.empty()) {
        releaseWith(object->keyCalls, old.key());
        releaseWith(object->valueCalls, old.mapped());
    }
}

} // extern "C"
