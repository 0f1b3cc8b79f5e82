// Counted bytes over QByteArray, or over memory that belongs to somebody else.
#include "CoreFoundation/CFData.h"

#include "CoreFoundation/CFObject.h"
#include "CoreFoundation/CFQt.h"

#include <QByteArray>
#include <QHashFunctions>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <new>

struct CFDataObject final : CoreFoundation::Object {
    static const CoreFoundation::TypeRecord sType;

    explicit CFDataObject(QByteArray content) : Object(sType), bytes(std::move(content)) {}
    // Mutable; a capacity of 0 is no limit.
    explicit CFDataObject(CFIndex limit) : Object(sType), capacity(limit), isMutable(true) {}
    ~CFDataObject() { std::free(ownedBlock); }

    QByteArray bytes;
    void* ownedBlock = nullptr;
    CFIndex capacity = 0;
    const bool isMutable = false;
    bool isBorrowed = false;
    // A pointer to write through is out: sharing the buffer would let a later write show in the copy.
    bool isExposed = false;
};

namespace {

bool equalData(const CFDataObject& first, const CFDataObject& second) { return first.bytes == second.bytes; }

// The start is enough to tell data apart and keeps the cost of large ones bounded.
CFHashCode hashData(const CFDataObject& data) {
    constexpr qsizetype kHashedBytes = 80;
    return qHashBits(data.bytes.constData(),
                     static_cast<std::size_t>(std::min(data.bytes.size(), kHashedBytes)));
}

QByteArray sharedBytes(const CFDataObject& data) {
    if (data.isBorrowed || data.isExposed) {
        return QByteArray(data.bytes.constData(), data.bytes.size());
    }
    return data.bytes;
}

void checkNewLength(const CFDataObject& data, CFIndex length, const char* function) {
    if (data.capacity > 0 && length > data.capacity) {
        CoreFoundation::stopForMisuse(function, "the data's fixed capacity is exceeded");
    }
}

// Nothing may be thrown across a C interface, and there is no status to answer with.
template <class Change>
void changeOrStop(const char* function, Change change) {
    try {
        change();
    } catch (const std::bad_alloc&) {
        CoreFoundation::stopForMisuse(function, "no memory for this length");
    }
}

} // namespace

const CoreFoundation::TypeRecord CFDataObject::sType = {"CFData", CoreFoundation::kDataTypeID,
                                                        &CoreFoundation::destroyValue<CFDataObject>,
                                                        &CoreFoundation::equalValues<CFDataObject, equalData>,
                                                        &CoreFoundation::hashValue<CFDataObject, hashData>};

extern "C" {

CFTypeID CFDataGetTypeID() { return CoreFoundation::kDataTypeID; }

CFDataRef CFDataCreate(CFAllocatorRef, const UInt8* bytes, CFIndex length) {
    if (length < 0) {
        return nullptr;
    }
    if (bytes == nullptr && length > 0) {
        CoreFoundation::stopForMisuse(__func__, "no bytes");
    }
    return new CFDataObject(QByteArray(reinterpret_cast<const char*>(bytes), length));
}

CFDataRef CFDataCreateWithBytesNoCopy(CFAllocatorRef, const UInt8* bytes, CFIndex length,
                                      CFAllocatorRef deallocator) {
    if (length < 0) {
        return nullptr;
    }
    if (bytes == nullptr && length > 0) {
        CoreFoundation::stopForMisuse(__func__, "no bytes");
    }
    auto* const data =
        new CFDataObject(QByteArray::fromRawData(reinterpret_cast<const char*>(bytes), length));
    data->isBorrowed = true;
    if (deallocator != kCFAllocatorNull) {
        // The block is the value's now, so that freeing it through the pointer to const is no breach.
        data->ownedBlock = const_cast<UInt8*>(bytes);
    }
    return data;
}

CFDataRef CFDataCreateCopy(CFAllocatorRef, CFDataRef data) {
    const CFDataObject* const object = CoreFoundation::checked<CFDataObject>(data, __func__);
    if (object->isMutable || object->isBorrowed) {
        return new CFDataObject(sharedBytes(*object));
    }
    object->retain();
    return data;
}

CFMutableDataRef CFDataCreateMutable(CFAllocatorRef, CFIndex capacity) {
    return capacity < 0 ? nullptr : new CFDataObject(capacity);
}

CFIndex CFDataGetLength(CFDataRef data) {
    return CoreFoundation::checked<CFDataObject>(data, __func__)->bytes.size();
}

const UInt8* CFDataGetBytePtr(CFDataRef data) {
    const CFDataObject* const object = CoreFoundation::checked<CFDataObject>(data, __func__);
    if (object->bytes.isEmpty() && !object->isMutable) {
        return nullptr;
    }
    return reinterpret_cast<const UInt8*>(object->bytes.constData());
}

UInt8* CFDataGetMutableBytePtr(CFMutableDataRef data) {
    CFDataObject* const object = CoreFoundation::checkedMutable<CFDataObject>(data, __func__);
    object->isExposed = true;
    return reinterpret_cast<UInt8*>(object->bytes.data());
}

void CFDataAppendBytes(CFMutableDataRef data, const UInt8* bytes, CFIndex length) {
    CFDataObject* const object = CoreFoundation::checkedMutable<CFDataObject>(data, __func__);
    if (length < 0 || (bytes == nullptr && length > 0)) {
        CoreFoundation::stopForMisuse(__func__, length < 0 ? "negative length" : "no bytes");
    }
    if (length == 0) {
        return;
    }
    if (length > std::numeric_limits<CFIndex>::max() - object->bytes.size()) {
        CoreFoundation::stopForMisuse(__func__, "no memory for this length");
    }
    checkNewLength(*object, object->bytes.size() + length, __func__);
    changeOrStop(__func__, [=] { object->bytes.append(reinterpret_cast<const char*>(bytes), length); });
}

void CFDataSetLength(CFMutableDataRef data, CFIndex length) {
    CFDataObject* const object = CoreFoundation::checkedMutable<CFDataObject>(data, __func__);
    if (length < 0) {
        CoreFoundation::stopForMisuse(__func__, "negative length");
    }
    checkNewLength(*object, length, __func__);
    const qsizetype before = object->bytes.size();
    changeOrStop(__func__, [=] {
        object->bytes.resize(length);
        if (length > before) {
            std::fill(object->bytes.begin() + before, object->bytes.end(), '\0');
        }
    });
}

} // extern "C"

CFDataRef CFDataCreateWithQByteArray(const QByteArray& bytes) { return new CFDataObject(bytes); }

QByteArray CFDataCopyQByteArray(CFDataRef data) {
    if (data == nullptr) {
        return QByteArray();
    }
    const QByteArray bytes = sharedBytes(*CoreFoundation::checked<CFDataObject>(data, __func__));
    return bytes.isNull() ? QByteArray("") : bytes;
}
