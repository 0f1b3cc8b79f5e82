// Numbers as a 64-bit integer or a double, and the two booleans. No comparison rounds.
#include "CoreFoundation/CFNumber.h"

#include "CoreFoundation/CFObject.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>

struct CFBooleanObject final : CoreFoundation::Object {
    static const CoreFoundation::TypeRecord sType;
    constexpr CFBooleanObject() : Object(sType, CoreFoundation::kForever) {}
};

struct CFNumberObject final : CoreFoundation::Object {
    static const CoreFoundation::TypeRecord sType;

    CFNumberObject(CFNumberType heldType, SInt64 value, CFIndex startCount = 1)
        : Object(sType, startCount), held(heldType), integer(value) {}
    CFNumberObject(CFNumberType heldType, double value) : Object(sType), held(heldType), real(value) {}

    [[nodiscard]] bool isReal() const { return held >= kCFNumberFloat32Type; }

    const CFNumberType held; // one of the six sized types
    const SInt64 integer = 0;
    const double real = 0;
};

namespace {

// 2^63: the first double above every 64-bit integer.
constexpr double kIntegerEnd = 9223372036854775808.0;

// The sized type behind one that is named after a C type; 0 for an unknown one.
constexpr CFNumberType sizedType(CFNumberType type) {
    switch (type) {
    case kCFNumberSInt8Type:
    case kCFNumberCharType:
        return kCFNumberSInt8Type;
    case kCFNumberSInt16Type:
    case kCFNumberShortType:
        return kCFNumberSInt16Type;
    case kCFNumberSInt32Type:
    case kCFNumberIntType:
        return kCFNumberSInt32Type;
    case kCFNumberSInt64Type:
    case kCFNumberLongLongType:
        return kCFNumberSInt64Type;
    case kCFNumberLongType:
    case kCFNumberCFIndexType:
    case kCFNumberNSIntegerType:
        return sizeof(long) == 8 ? kCFNumberSInt64Type : kCFNumberSInt32Type;
    case kCFNumberFloat32Type:
    case kCFNumberFloatType:
        return kCFNumberFloat32Type;
    case kCFNumberFloat64Type:
    case kCFNumberDoubleType:
    case kCFNumberCGFloatType:
        return kCFNumberFloat64Type;
    default:
        return 0;
    }
}

template <class Number>
Number readAs(const void* value) {
    Number number;
    std::memcpy(&number, value, sizeof number);
    return number;
}

template <class Number>
void writeAs(void* value, Number number) {
    std::memcpy(value, &number, sizeof number);
}

bool fitsInteger(double real) { return real >= -kIntegerEnd && real < kIntegerEnd; }

// Whether a real has exactly an integer's value. -0.0 has none: it is not equal to 0.0 either.
bool isInteger(double real) {
    return fitsInteger(real) && std::trunc(real) == real && !(real == 0 && std::signbit(real));
}

// Narrow integers take the low bits; false when that changed the value.
template <class Integer>
bool writeInteger(void* value, SInt64 number) {
    writeAs(value, static_cast<Integer>(number));
    return number >= std::numeric_limits<Integer>::min() && number <= std::numeric_limits<Integer>::max();
}

// A real is cut towards zero; one that its type cannot hold, and NaN, give the smallest value of the type
// that a processor converts to: 64 bits, or 32 bits and narrower by the low bits of that.
template <class Integer>
bool writeRealAsInteger(void* value, double number) {
    using Converted = std::conditional_t<sizeof(Integer) == 8, SInt64, SInt32>;
    const double whole = std::trunc(number);
    const bool fits = fitsInteger(whole) && whole >= double(std::numeric_limits<Converted>::min()) &&
                      (sizeof(Integer) == 8 || whole <= double(std::numeric_limits<SInt32>::max()));
    const bool inRange = writeInteger<Integer>(value, fits ? static_cast<SInt64>(whole)
                                                           : std::numeric_limits<Converted>::min());
    return fits && inRange && whole == number;
}

template <class Real>
bool writeReal(void* value, const CFNumberObject& number) {
    if (number.isReal()) {
        const Real converted = static_cast<Real>(number.real);
        writeAs(value, converted);
        // A NaN in another width is not known to be the same one.
        return double(converted) == number.real || (sizeof(Real) == 8 && std::isnan(number.real));
    }
    const Real converted = static_cast<Real>(number.integer);
    writeAs(value, converted);
    return fitsInteger(double(converted)) && static_cast<SInt64>(converted) == number.integer;
}

template <class Integer>
bool writeAnyAsInteger(void* value, const CFNumberObject& number) {
    return number.isReal() ? writeRealAsInteger<Integer>(value, number.real)
                           : writeInteger<Integer>(value, number.integer);
}

int sign(bool less, bool greater) { return int(greater) - int(less); }

// NaN first, -0.0 before 0.0: a total order, whose "equal" is equality.
int compareReals(double first, double second) {
    if (std::isnan(first) || std::isnan(second)) {
        return sign(std::isnan(first) && !std::isnan(second), !std::isnan(first));
    }
    if (first == 0 && second == 0) {
        return sign(std::signbit(first) && !std::signbit(second),
                    !std::signbit(first) && std::signbit(second));
    }
    return sign(first<second, first> second);
}

int compareIntegerToReal(SInt64 integer, double real) {
    if (std::isnan(real) || real < -kIntegerEnd) {
        return 1;
    }
    if (real >= kIntegerEnd) {
        return -1;
    }
    const double whole = std::trunc(real);
    const auto wholeInteger = static_cast<SInt64>(whole);
    if (integer != wholeInteger) {
        return sign(integer<wholeInteger, integer> wholeInteger);
    }
    const bool isNegativeZero = real == 0 && std::signbit(real);
    return sign(real > whole, real < whole || isNegativeZero);
}

int compareNumbers(const CFNumberObject& first, const CFNumberObject& second) {
    if (first.isReal()) {
        return second.isReal() ? compareReals(first.real, second.real)
                               : -compareIntegerToReal(second.integer, first.real);
    }
    return second.isReal() ? compareIntegerToReal(first.integer, second.real)
                           : sign(first.integer<second.integer, first.integer> second.integer);
}

bool equalNumbers(const CFNumberObject& first, const CFNumberObject& second) {
    return compareNumbers(first, second) == 0;
}

CFHashCode hashNumber(const CFNumberObject& number) {
    if (!number.isReal()) {
        return std::hash<SInt64>()(number.integer);
    }
    if (isInteger(number.real)) {
        return std::hash<SInt64>()(static_cast<SInt64>(number.real));
    }
    return std::isnan(number.real) ? 0 : std::hash<UInt64>()(std::bit_cast<UInt64>(number.real));
}

constexpr SInt64 kFirstShared = -1;
constexpr SInt64 kLastShared = 12;

// One value each for the integers that occur most; never destroyed.
CFNumberRef sharedInteger(SInt64 value) {
    using Shared = std::array<CFNumberRef, kLastShared - kFirstShared + 1>;
    static const Shared sShared = [] {
        Shared numbers{};
        for (SInt64 i = kFirstShared; i <= kLastShared; ++i) {
            numbers[static_cast<std::size_t>(i - kFirstShared)] =
                new CFNumberObject(kCFNumberSInt32Type, i, CoreFoundation::kForever);
        }
        return numbers;
    }();
    return sShared[static_cast<std::size_t>(value - kFirstShared)];
}

CFNumberRef newInteger(CFNumberType type, SInt64 value) {
    if (value >= kFirstShared && value <= kLastShared) {
        return sharedInteger(value);
    }
    return new CFNumberObject(type, value);
}

constinit CFBooleanObject gTrue;
constinit CFBooleanObject gFalse;

} // namespace

// There are two booleans, each equal to itself.
const CoreFoundation::TypeRecord CFBooleanObject::sType = {"CFBoolean", CoreFoundation::kBooleanTypeID,
                                                           nullptr, nullptr, nullptr};

const CoreFoundation::TypeRecord CFNumberObject::sType = {
    "CFNumber", CoreFoundation::kNumberTypeID, &CoreFoundation::destroyValue<CFNumberObject>,
    &CoreFoundation::equalValues<CFNumberObject, equalNumbers>,
    &CoreFoundation::hashValue<CFNumberObject, hashNumber>};

extern "C" {

constinit const CFBooleanRef kCFBooleanTrue = &gTrue;
constinit const CFBooleanRef kCFBooleanFalse = &gFalse;

CFTypeID CFBooleanGetTypeID() { return CoreFoundation::kBooleanTypeID; }

Boolean CFBooleanGetValue(CFBooleanRef boolean) {
    if (boolean == nullptr) {
        return 0;
    }
    return static_cast<Boolean>(CoreFoundation::checked<CFBooleanObject>(boolean, __func__) == &gTrue);
}

CFTypeID CFNumberGetTypeID() { return CoreFoundation::kNumberTypeID; }

CFNumberRef CFNumberCreate(CFAllocatorRef, CFNumberType type, const void* value) {
    if (value == nullptr) {
        CoreFoundation::stopForMisuse(__func__, "no value");
    }
    const CFNumberType sized = sizedType(type);
    switch (sized) {
    case kCFNumberSInt8Type:
        return newInteger(sized, readAs<SInt8>(value));
    case kCFNumberSInt16Type:
        return newInteger(sized, readAs<SInt16>(value));
    case kCFNumberSInt32Type:
        return newInteger(sized, readAs<SInt32>(value));
    case kCFNumberSInt64Type:
        return newInteger(sized, readAs<SInt64>(value));
    case kCFNumberFloat32Type:
        return new CFNumberObject(sized, double(readAs<float>(value)));
    case kCFNumberFloat64Type:
        return new CFNumberObject(sized, readAs<double>(value));
    default:
        CoreFoundation::stopForMisuse(__func__, "unknown number type");
    }
}

CFNumberType CFNumberGetType(CFNumberRef number) {
    return CoreFoundation::checked<CFNumberObject>(number, __func__)->held;
}

CFIndex CFNumberGetByteSize(CFNumberRef number) {
    constexpr CFIndex kSizes[] = {0, 1, 2, 4, 8, 4, 8};
    return kSizes[CoreFoundation::checked<CFNumberObject>(number, __func__)->held];
}

Boolean CFNumberIsFloatType(CFNumberRef number) {
    return static_cast<Boolean>(CoreFoundation::checked<CFNumberObject>(number, __func__)->isReal());
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value) {
    const CFNumberObject& object = *CoreFoundation::checked<CFNumberObject>(number, __func__);
    if (value == nullptr) {
        CoreFoundation::stopForMisuse(__func__, "no place for the value");
    }
    switch (sizedType(type)) {
    case kCFNumberSInt8Type:
        return static_cast<Boolean>(writeAnyAsInteger<SInt8>(value, object));
    case kCFNumberSInt16Type:
        return static_cast<Boolean>(writeAnyAsInteger<SInt16>(value, object));
    case kCFNumberSInt32Type:
        return static_cast<Boolean>(writeAnyAsInteger<SInt32>(value, object));
    case kCFNumberSInt64Type:
        return static_cast<Boolean>(writeAnyAsInteger<SInt64>(value, object));
    case kCFNumberFloat32Type:
        return static_cast<Boolean>(writeReal<float>(value, object));
    case kCFNumberFloat64Type:
        return static_cast<Boolean>(writeReal<double>(value, object));
    default:
        CoreFoundation::stopForMisuse(__func__, "unknown number type");
    }
}

CFComparisonResult CFNumberCompare(CFNumberRef first, CFNumberRef second, void*) {
    return compareNumbers(*CoreFoundation::checked<CFNumberObject>(first, __func__),
                          *CoreFoundation::checked<CFNumberObject>(second, __func__));
}

} // extern "C"
