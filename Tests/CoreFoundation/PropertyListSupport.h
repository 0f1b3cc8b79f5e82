// Short ways to make, write and read property lists in tests.
#pragma once

#include "CFTestSupport.h"

namespace CFTest {

inline Owned<CFTypeRef> readList(const QByteArray& xml, QString* problem = nullptr,
                                 CFOptionFlags options = kCFPropertyListImmutable) {
    const auto data = own(CFDataCreateWithQByteArray(xml));
    CFErrorRef error = nullptr;
    auto list = own(CFPropertyListCreateWithData(nullptr, data.get(), options, nullptr, &error));
    if (error != nullptr) {
        const auto owned = own(error);
        const bool expected = CFErrorGetCode(error) == kCFPropertyListReadCorruptError &&
                              CFEqual(CFErrorGetDomain(error), kCFErrorDomainCocoa);
        if (problem != nullptr) {
            *problem = expected ? takeText(CFErrorCopyDescription(error)) : QStringLiteral("another error");
        }
    }
    return list;
}

/// What is written for a value; null when it is refused.
inline QByteArray writeList(CFTypeRef value) {
    const auto data =
        own(CFPropertyListCreateData(nullptr, value, kCFPropertyListXMLFormat_v1_0, 0, nullptr));
    return data ? CFDataCopyQByteArray(data.get()) : QByteArray();
}

/// The lines between <plist> and </plist> for a value; null when it is refused.
inline QByteArray writeBody(CFTypeRef value) {
    const QByteArray xml = writeList(value);
    const qsizetype begin = xml.indexOf("<plist version=\"1.0\">\n");
    return xml.isNull() ? xml : xml.sliced(begin + 22).chopped(9);
}

inline Owned<CFMutableDictionaryRef> makeDictionary() {
    return own(CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                         &kCFTypeDictionaryValueCallBacks));
}

inline void setValue(const Owned<CFMutableDictionaryRef>& dictionary, const QString& key, CFTypeRef value) {
    CFDictionarySetValue(dictionary.get(), makeString(key).get(), value);
}

inline Owned<CFNumberRef> makeInteger(SInt64 value) {
    return own(CFNumberCreate(nullptr, kCFNumberSInt64Type, &value));
}

inline Owned<CFNumberRef> makeReal(double value) {
    return own(CFNumberCreate(nullptr, kCFNumberDoubleType, &value));
}

} // namespace CFTest
