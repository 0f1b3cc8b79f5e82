// What a counted value is inside: a record of its type, an atomic count, and the check that every call begins
// with. Not installed. The rules that callers rely on stand in CFBase.h.
#pragma once

#include "CoreFoundation/CFBase.h"

#include <atomic>
#include <utility>

namespace CoreFoundation {

/// What counting, equality and hashing need to know of a type. The record's address is the type's identity.
struct TypeRecord {
    const char* name;
    CFTypeID id;
    void (*destroy)(const void* value);
    bool (*equal)(const void* first, const void* second);
    CFHashCode (*hash)(const void* value);
};

enum : CFTypeID {
    kAllocatorTypeID = 1,
    kStringTypeID,
    kDataTypeID,
    kArrayTypeID,
    kDictionaryTypeID,
    kBooleanTypeID,
    kNumberTypeID,
    kURLTypeID,
    kUUIDTypeID,
    kDateTypeID,
    kErrorTypeID
};

/// The count of a value that lives for ever; far from anything that counting can reach.
constexpr CFIndex kForever = 1152921504606846975;

/// The base of every value. It has no virtual functions, so that it lies at the address that callers hold.
struct Object {
    explicit constexpr Object(const TypeRecord& record, CFIndex startCount = 1)
        : type(&record), count(startCount) {}
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    void retain() const {
        if (count.load(std::memory_order_relaxed) != kForever) {
            count.fetch_add(1, std::memory_order_relaxed);
        }
    }

    void release() const {
        const CFIndex now = count.load(std::memory_order_acquire);
        if (now == kForever) {
            return;
        }
        // A count of 1 is the caller's own reference: no other thread can have one to release.
        if (now == 1 || count.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            type->destroy(this);
        }
    }

    const TypeRecord* const type;
    mutable std::atomic<CFIndex> count;

protected:
    ~Object() = default;
};

/// Ends the program with one line on stderr: "function: expected expected, got <the value's type>".
[[noreturn]] void stopForType(const char* function, const char* expected, const void* actual);

/// Ends the program with one line on stderr: "function: problem".
[[noreturn]] void stopForMisuse(const char* function, const char* problem);

inline const Object* checkedObject(const void* value, const char* function) {
    if (value == nullptr) [[unlikely]] {
        stopForType(function, "a value", value);
    }
    return static_cast<const Object*>(value);
}

/// The value as what it is said to be. It arrives as a plain pointer: until its type is known it may be
/// anything.
template <class Value>
const Value* checked(const void* value, const char* function) {
    if (value == nullptr || static_cast<const Object*>(value)->type != &Value::sType) [[unlikely]] {
        stopForType(function, Value::sType.name, value);
    }
    return static_cast<const Value*>(static_cast<const Object*>(value));
}

/// The same for a value that is about to be changed.
template <class Value>
Value* checkedMutable(void* value, const char* function) {
    if (!checked<Value>(value, function)->isMutable) [[unlikely]] {
        stopForMisuse(function, "the value is immutable");
    }
    return static_cast<Value*>(static_cast<Object*>(value));
}

template <class Value>
void destroyValue(const void* value) {
    delete static_cast<const Value*>(static_cast<const Object*>(value));
}

/// A type record's function on plain pointers from one on the type itself.
template <class Value, bool (*Function)(const Value&, const Value&)>
bool equalValues(const void* first, const void* second) {
    return Function(*static_cast<const Value*>(static_cast<const Object*>(first)),
                    *static_cast<const Value*>(static_cast<const Object*>(second)));
}

template <class Value, CFHashCode (*Function)(const Value&)>
CFHashCode hashValue(const void* value) {
    return Function(*static_cast<const Value*>(static_cast<const Object*>(value)));
}

/// CFEqual and CFHash for values that are known to be there.
bool equalObjects(const void* first, const void* second);
CFHashCode hashObject(const void* value);

/// One reference, released at the end. For this storey; those above have an owner of their own.
template <class Ref>
class Owner {
public:
    Owner() = default;
    /// Takes over the caller's reference.
    explicit Owner(Ref value) : mValue(value) {}
    Owner(const Owner& other) : mValue(retained(other.mValue)) {}
    Owner(Owner&& other) noexcept : mValue(std::exchange(other.mValue, nullptr)) {}
    Owner& operator=(Owner other) noexcept {
        std::swap(mValue, other.mValue);
        return *this;
    }
    ~Owner() {
        if (mValue != nullptr) {
            CFRelease(mValue);
        }
    }

    /// Adds a reference of its own; null stays null.
    static Owner sharing(Ref value) { return Owner(retained(value)); }

    [[nodiscard]] Ref get() const { return mValue; }
    [[nodiscard]] Ref take() { return std::exchange(mValue, nullptr); }
    explicit operator bool() const { return mValue != nullptr; }

private:
    static Ref retained(Ref value) {
        if (value != nullptr) {
            CFRetain(value);
        }
        return value;
    }

    Ref mValue = nullptr;
};

} // namespace CoreFoundation
