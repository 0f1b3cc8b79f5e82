// Sixteen bytes behind a count, and their text form.
#include "CoreFoundation/CFUUID.h"

#include "CoreFoundation/CFObject.h"
#include "CoreFoundation/CFStringObject.h"

#include <QUuid>

#include <array>
#include <bit>
#include <cstring>

struct CFUUIDObject final : CoreFoundation::Object {
    static const CoreFoundation::TypeRecord sType;
    explicit CFUUIDObject(const CFUUIDBytes& content) : Object(sType), bytes(content) {}
    const CFUUIDBytes bytes;
};

namespace {

using ByteArray = std::array<UInt8, 16>;
static_assert(sizeof(CFUUIDBytes) == sizeof(ByteArray));

// A "-" stands before these bytes.
constexpr bool startsGroup(std::size_t byte) { return byte == 4 || byte == 6 || byte == 8 || byte == 10; }

int hexDigit(QChar unit) {
    const char16_t u = unit.unicode();
    if (u >= u'0' && u <= u'9') {
        return u - u'0';
    }
    const char16_t lower = u | 0x20;
    return lower >= u'a' && lower <= u'f' ? lower - u'a' + 10 : -1;
}

ByteArray readBytes(QStringView text) {
    ByteArray bytes{};
    qsizetype position = 0;
    while (position < text.size() && hexDigit(text[position]) < 0) {
        ++position;
    }
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        position += startsGroup(i) ? 1 : 0;
        if (position + 1 >= text.size()) {
            break;
        }
        const int high = hexDigit(text[position]);
        const int low = hexDigit(text[position + 1]);
        if (high < 0 || low < 0) {
            break;
        }
        bytes[i] = static_cast<UInt8>(high * 16 + low);
        position += 2;
    }
    return bytes;
}

bool equalUuids(const CFUUIDObject& first, const CFUUIDObject& second) {
    return std::memcmp(&first.bytes, &second.bytes, sizeof first.bytes) == 0;
}

CFHashCode hashUuid(const CFUUIDObject& uuid) {
    // Two halves, each as good as random in an identifier made by CFUUIDCreate.
    std::array<CFHashCode, 2> halves{};
    std::memcpy(halves.data(), &uuid.bytes, sizeof uuid.bytes);
    return halves[0] ^ std::rotl(halves[1], 1);
}

} // namespace

const CoreFoundation::TypeRecord CFUUIDObject::sType = {
    "CFUUID", CoreFoundation::kUUIDTypeID, &CoreFoundation::destroyValue<CFUUIDObject>,
    &CoreFoundation::equalValues<CFUUIDObject, equalUuids>,
    &CoreFoundation::hashValue<CFUUIDObject, hashUuid>};

extern "C" {

CFTypeID CFUUIDGetTypeID() { return CoreFoundation::kUUIDTypeID; }

CFUUIDRef CFUUIDCreate(CFAllocatorRef) {
    const QByteArray random = QUuid::createUuid().toRfc4122();
    CFUUIDBytes bytes{};
    std::memcpy(&bytes, random.constData(), sizeof bytes);
    return new CFUUIDObject(bytes);
}

CFUUIDRef CFUUIDCreateFromUUIDBytes(CFAllocatorRef, CFUUIDBytes bytes) { return new CFUUIDObject(bytes); }

CFUUIDRef CFUUIDCreateFromString(CFAllocatorRef, CFStringRef text) {
    if (text == nullptr) {
        return nullptr;
    }
    const QString& content = CoreFoundation::textOf(text, __func__);
    if (content.isEmpty()) {
        return nullptr;
    }
    return new CFUUIDObject(std::bit_cast<CFUUIDBytes>(readBytes(content)));
}

CFStringRef CFUUIDCreateString(CFAllocatorRef, CFUUIDRef uuid) {
    constexpr char16_t kDigits[] = u"0123456789ABCDEF";
    const auto bytes = std::bit_cast<ByteArray>(CoreFoundation::checked<CFUUIDObject>(uuid, __func__)->bytes);
    QString text;
    text.reserve(36);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (startsGroup(i)) {
            text += u'-';
        }
        text += kDigits[bytes[i] / 16];
        text += kDigits[bytes[i] % 16];
    }
    return CoreFoundation::newString(std::move(text));
}

CFUUIDBytes CFUUIDGetUUIDBytes(CFUUIDRef uuid) {
    return CoreFoundation::checked<CFUUIDObject>(uuid, __func__)->bytes;
}

} // extern "C"
