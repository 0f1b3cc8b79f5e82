// A domain, a code and a table behind a count.
#include "CoreFoundation/CFError.h"

#include "CoreFoundation/CFObject.h"
#include "CoreFoundation/CFStringObject.h"

#include <functional>

using CoreFoundation::checked;
using CoreFoundation::ConstantString;
using CoreFoundation::Owner;

struct CFErrorObject final : CoreFoundation::Object {
    static const CoreFoundation::TypeRecord sType;

    CFErrorObject(CFStringRef errorDomain, CFIndex errorCode, Owner<CFDictionaryRef> info)
        : Object(sType), domain(Owner<CFStringRef>::sharing(errorDomain)), code(errorCode),
          userInfo(std::move(info)) {}

    const Owner<CFStringRef> domain;
    const CFIndex code;
    const Owner<CFDictionaryRef> userInfo;
};

namespace {

bool equalErrors(const CFErrorObject& first, const CFErrorObject& second) {
    return first.code == second.code &&
           CoreFoundation::equalObjects(first.domain.get(), second.domain.get()) &&
           CoreFoundation::equalObjects(first.userInfo.get(), second.userInfo.get());
}

CFHashCode hashError(const CFErrorObject& error) {
    return CoreFoundation::hashObject(error.domain.get()) ^ std::hash<CFIndex>()(error.code);
}

const ConstantString kPosixDomain(QStringLiteral("NSPOSIXErrorDomain"));
const ConstantString kCocoaDomain(QStringLiteral("NSCocoaErrorDomain"));
const ConstantString kDescriptionKey(QStringLiteral("NSLocalizedDescription"));
const ConstantString kDebugKey(QStringLiteral("NSDebugDescription"));

} // namespace

const CoreFoundation::TypeRecord CFErrorObject::sType = {
    "CFError", CoreFoundation::kErrorTypeID, &CoreFoundation::destroyValue<CFErrorObject>,
    &CoreFoundation::equalValues<CFErrorObject, equalErrors>,
    &CoreFoundation::hashValue<CFErrorObject, hashError>};

extern "C" {

const CFStringRef kCFErrorDomainPOSIX = kPosixDomain.get();
const CFStringRef kCFErrorDomainCocoa = kCocoaDomain.get();
const CFStringRef kCFErrorLocalizedDescriptionKey = kDescriptionKey.get();
const CFStringRef kCFErrorDebugDescriptionKey = kDebugKey.get();

CFTypeID CFErrorGetTypeID() { return CoreFoundation::kErrorTypeID; }

CFErrorRef CFErrorCreate(CFAllocatorRef, CFStringRef domain, CFIndex code, CFDictionaryRef userInfo) {
    checked<CFStringObject>(domain, __func__);
    auto info = userInfo != nullptr
                    ? Owner<CFDictionaryRef>::sharing(userInfo)
                    : Owner<CFDictionaryRef>(CFDictionaryCreate(nullptr, nullptr, nullptr, 0,
                                                                &kCFTypeDictionaryKeyCallBacks,
                                                                &kCFTypeDictionaryValueCallBacks));
    return new CFErrorObject(domain, code, std::move(info));
}

CFStringRef CFErrorGetDomain(CFErrorRef error) {
    return checked<CFErrorObject>(error, __func__)->domain.get();
}

CFIndex CFErrorGetCode(CFErrorRef error) { return checked<CFErrorObject>(error, __func__)->code; }

CFDictionaryRef CFErrorCopyUserInfo(CFErrorRef error) {
    return Owner<CFDictionaryRef>(checked<CFErrorObject>(error, __func__)->userInfo).take();
}

CFStringRef CFErrorCopyDescription(CFErrorRef error) {
    const CFErrorObject& object = *checked<CFErrorObject>(error, __func__);
    for (const CFStringRef key : {kCFErrorLocalizedDescriptionKey, kCFErrorDebugDescriptionKey}) {
        const void* text = CFDictionaryGetValue(object.userInfo.get(), key);
        if (text != nullptr && CFGetTypeID(text) == CFStringGetTypeID()) {
            return static_cast<CFStringRef>(CFRetain(text));
        }
    }
    return CoreFoundation::newString(CoreFoundation::textOf(object.domain.get(), __func__) +
                                     QStringLiteral(" error ") + QString::number(object.code));
}

} // extern "C"
