// String copies, checksums, identifiers, integers in dictionaries; the graphics card's name.
#include "VKCoreKit/VKUtils.h"

#include "Platform/Utf8.h"
#include "VKCoreKit/CBaseCore.h"
#include "VKCoreKit/VKCFRef.h"
#include "VKCoreKit/VKMachine.h"

#include <CoreFoundation/CFQt.h>

#include <QUuid>

#include <cstdlib>
#include <cstring>
#include <libdeflate.h>

namespace {

// An array hands its elements out as constant; they were not when they came.
CBaseCore* countedObject(const void* value) { return static_cast<CBaseCore*>(const_cast<void*>(value)); }

const void* retainCounted(CFAllocatorRef /*allocator*/, const void* value) {
    countedObject(value)->AddRef();
    return value;
}

void releaseCounted(CFAllocatorRef /*allocator*/, const void* value) { countedObject(value)->Release(); }

QByteArray utf8WithReplacements(QString text) {
    if (std::optional<QByteArray> bytes = VKPlatform::encodeUtf8(text)) {
        return *std::move(bytes);
    }
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar unit = std::as_const(text).at(i);
        if (unit.isHighSurrogate() && i + 1 < text.size() && std::as_const(text).at(i + 1).isLowSurrogate()) {
            ++i;
        } else if (unit.isSurrogate()) {
            text[i] = QChar::ReplacementCharacter;
        }
    }
    return text.toUtf8();
}

} // namespace

UniChar* VKUtilsGetUniCharStringCopy(CFStringRef string) {
    if (string == nullptr) {
        return nullptr;
    }
    const auto units = static_cast<std::size_t>(CFStringGetLength(string));
    auto* copy = static_cast<UniChar*>(std::malloc((units + 1) * sizeof(UniChar)));
    if (copy != nullptr) {
        CFStringGetCharacters(string, CFRangeMake(0, static_cast<CFIndex>(units)), copy);
        copy[units] = 0;
    }
    return copy;
}

CFStringRef VKUtilsCreatePrecomposedStringWithCanonicalMapping(CFStringRef string) {
    if (string == nullptr) {
        return nullptr;
    }
    return CFStringCreateWithQString(CFStringCopyQString(string).normalized(QString::NormalizationForm_C));
}

std::uint32_t VKUtilsCRC32(std::uint32_t seed, CFStringRef string) {
    if (string == nullptr) {
        return seed;
    }
    const QByteArray bytes = utf8WithReplacements(CFStringCopyQString(string));
    return VKUtilsCRC32Std(seed, bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

std::uint32_t VKUtilsCRC32Std(std::uint32_t seed, const void* bytes, std::size_t size) {
    return bytes == nullptr ? seed : libdeflate_crc32(seed, bytes, size);
}

CFStringRef VKUtilsCreateUniqueIDString() {
    return CFStringCreateWithQString(QUuid::createUuid().toString(QUuid::WithoutBraces));
}

CFDataRef VKUtilsCreateXMLData(CFAllocatorRef allocator, CFPropertyListRef list) {
    return CFPropertyListCreateData(allocator, list, kCFPropertyListXMLFormat_v1_0, 0, nullptr);
}

void VKUtilsCFDictionarySetValueInt(CFMutableDictionaryRef dictionary, CFStringRef key, int value) {
    if (dictionary == nullptr || key == nullptr) {
        return;
    }
    const auto number =
        VKCFRef<CFNumberRef>::adopt(CFNumberCreate(kCFAllocatorDefault, kCFNumberIntType, &value));
    CFDictionarySetValue(dictionary, key, number.get());
}

int VKUtilsCFDictionaryGetValueInt(CFDictionaryRef dictionary, CFStringRef key) {
    if (dictionary == nullptr || key == nullptr) {
        return 0;
    }
    const CFTypeRef value = CFDictionaryGetValue(dictionary, key);
    if (value == nullptr || CFGetTypeID(value) != CFNumberGetTypeID()) {
        return 0;
    }
    int result = 0;
    const bool fits = CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberIntType, &result) != 0;
    return fits ? result : 0;
}

const CFArrayCallBacks* VKUtilsGetArrayCallbacks() noexcept {
    static constexpr CFArrayCallBacks kCallbacks = {
        .version = 0,
        .retain = &retainCounted,
        .release = &releaseCounted,
        .copyDescription = nullptr,
        .equal = nullptr,
    };
    return &kCallbacks;
}

bool VKUtilsCFStringContains(CFStringRef string, CFStringRef part, std::uint32_t options) {
    if (string == nullptr || part == nullptr) {
        return false;
    }
    const Qt::CaseSensitivity sensitivity =
        (options & kVKUtilsContainsExact) != 0 ? Qt::CaseSensitive : Qt::CaseInsensitive;
    return CFStringCopyQString(string).contains(CFStringCopyQString(part), sensitivity);
}

CFStringRef VKUtilsGetVideoCardCopy() { return VKMachineGetFactCopy(VKMachineFact::GraphicsCard); }
