// A double behind a count.
#include "CoreFoundation/CFDate.h"

#include "CoreFoundation/CFObject.h"

#include <functional>

struct CFDateObject final : CoreFoundation::Object {
    static const CoreFoundation::TypeRecord sType;
    explicit CFDateObject(CFAbsoluteTime moment) : Object(sType), time(moment) {}
    const CFAbsoluteTime time;
};

namespace {

bool equalDates(const CFDateObject& first, const CFDateObject& second) { return first.time == second.time; }
// The standard hash agrees with == for 0.0 and -0.0.
CFHashCode hashDate(const CFDateObject& date) { return std::hash<double>()(date.time); }

} // namespace

const CoreFoundation::TypeRecord CFDateObject::sType = {
    "CFDate", CoreFoundation::kDateTypeID, &CoreFoundation::destroyValue<CFDateObject>,
    &CoreFoundation::equalValues<CFDateObject, equalDates>,
    &CoreFoundation::hashValue<CFDateObject, hashDate>};

extern "C" {

CFTypeID CFDateGetTypeID() { return CoreFoundation::kDateTypeID; }

CFDateRef CFDateCreate(CFAllocatorRef, CFAbsoluteTime time) { return new CFDateObject(time); }

CFAbsoluteTime CFDateGetAbsoluteTime(CFDateRef date) {
    return CoreFoundation::checked<CFDateObject>(date, __func__)->time;
}

CFComparisonResult CFDateCompare(CFDateRef first, CFDateRef second, void*) {
    const CFAbsoluteTime a = CoreFoundation::checked<CFDateObject>(first, __func__)->time;
    const CFAbsoluteTime b = CoreFoundation::checked<CFDateObject>(second, __func__)->time;
    return CFComparisonResult(a > b) - CFComparisonResult(a < b);
}

} // extern "C"
