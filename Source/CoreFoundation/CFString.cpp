// Counted text over QString: making, reading, comparing, normalizing.
#include "CoreFoundation/CFString.h"

#include "CoreFoundation/CFQt.h"
#include "CoreFoundation/CFStringObject.h"
#include "CoreFoundation/StringOrder.h"
#include "Platform/Utf8.h"

#include <QtEndian>

#include <algorithm>
#include <cstring>
#include <limits>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>

using CoreFoundation::checked;
using CoreFoundation::newString;
using CoreFoundation::stopForMisuse;
using CoreFoundation::textOf;

namespace {

bool equalStrings(const CFStringObject& first, const CFStringObject& second) {
    return first.text == second.text;
}

CFHashCode hashString(const CFStringObject& string) { return qHash(string.text, 0); }

// Made once and never destroyed: a value in another static object may still refer to it at exit.
CFStringRef emptyString() {
    static const CFStringRef sEmpty = new CFStringObject(QStringLiteral(""), false, CoreFoundation::kForever);
    return sEmpty;
}

std::optional<QString> decodeAscii(QByteArrayView bytes) {
    const auto isAscii = [](char byte) { return static_cast<unsigned char>(byte) < 0x80; };
    if (!std::all_of(bytes.begin(), bytes.end(), isAscii)) {
        return std::nullopt;
    }
    return QString::fromLatin1(bytes);
}

std::optional<QString> decodeUtf8WithoutMark(QByteArrayView bytes) {
    return VKPlatform::decodeUtf8Strict(bytes.startsWith("\xEF\xBB\xBF") ? bytes.sliced(3) : bytes);
}

enum class ByteOrder { Host, Big, Little };

QString decodeUtf16(QByteArrayView bytes, ByteOrder order) {
    QString text(bytes.size() / 2, Qt::Uninitialized);
    if (text.isEmpty()) {
        return text;
    }
    QChar* const units = text.data();
    std::memcpy(units, bytes.data(), static_cast<std::size_t>(text.size()) * sizeof(QChar));
    for (qsizetype i = 0; i < text.size() && order != ByteOrder::Host; ++i) {
        const char16_t unit = units[i].unicode();
        units[i] = order == ByteOrder::Big ? qFromBigEndian(unit) : qFromLittleEndian(unit);
    }
    return text;
}

// A byte order mark speaks for itself; text from elsewhere without one is big-endian, as the encoding's rules
// say.
QString decodeExternalUtf16(QByteArrayView bytes) {
    if (bytes.startsWith("\xFE\xFF")) {
        return decodeUtf16(bytes.sliced(2), ByteOrder::Big);
    }
    if (bytes.startsWith("\xFF\xFE")) {
        return decodeUtf16(bytes.sliced(2), ByteOrder::Little);
    }
    return decodeUtf16(bytes, ByteOrder::Big);
}

// The encodings in which a NUL byte is a NUL character, so that C strings can be in them.
std::optional<QString> decodeByteText(QByteArrayView bytes, CFStringEncoding encoding) {
    switch (encoding) {
    case kCFStringEncodingUTF8:
        return decodeUtf8WithoutMark(bytes);
    case kCFStringEncodingASCII:
        return decodeAscii(bytes);
    case kCFStringEncodingISOLatin1:
        return QString::fromLatin1(bytes);
    default:
        return std::nullopt;
    }
}

std::optional<QByteArray> encodeByteText(const QString& text, CFStringEncoding encoding) {
    char16_t limit = 0;
    switch (encoding) {
    case kCFStringEncodingUTF8:
        return VKPlatform::encodeUtf8(text);
    case kCFStringEncodingASCII:
        limit = 0x7F;
        break;
    case kCFStringEncodingISOLatin1:
        limit = 0xFF;
        break;
    default:
        return std::nullopt;
    }
    if (std::any_of(text.begin(), text.end(), [limit](QChar unit) { return unit > QChar(limit); })) {
        return std::nullopt;
    }
    return text.toLatin1();
}

CFStringRef newStringOrNull(std::optional<QString> text) {
    return text ? newString(*std::move(text)) : nullptr;
}

struct Constants {
    std::mutex guard;
    std::unordered_map<std::string, CFStringRef> strings;
};

} // namespace

const CoreFoundation::TypeRecord CFStringObject::sType = {
    "CFString", CoreFoundation::kStringTypeID, &CoreFoundation::destroyValue<CFStringObject>,
    &CoreFoundation::equalValues<CFStringObject, equalStrings>,
    &CoreFoundation::hashValue<CFStringObject, hashString>};

CFStringRef CoreFoundation::newString(QString text) {
    if (text.isEmpty()) {
        return static_cast<CFStringRef>(CFRetain(emptyString()));
    }
    return new CFStringObject(std::move(text));
}

extern "C" {

CFTypeID CFStringGetTypeID() { return CoreFoundation::kStringTypeID; }

CFStringRef CFStringCreateWithCharacters(CFAllocatorRef, const UniChar* characters, CFIndex count) {
    if (count < 0) {
        return nullptr;
    }
    if (count == 0) {
        return newString(QString());
    }
    if (characters == nullptr) {
        stopForMisuse(__func__, "no characters");
    }
    return newString(QString(reinterpret_cast<const QChar*>(characters), count));
}

CFStringRef CFStringCreateWithCString(CFAllocatorRef, const char* text, CFStringEncoding encoding) {
    if (text == nullptr) {
        stopForMisuse(__func__, "no text");
    }
    return newStringOrNull(decodeByteText(QByteArrayView(text, qsizetype(std::strlen(text))), encoding));
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8* bytes, CFIndex count,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation) {
    if (count < 0) {
        return nullptr;
    }
    if (bytes == nullptr && count > 0) {
        stopForMisuse(__func__, "no bytes");
    }
    const QByteArrayView view(bytes, count);
    switch (encoding) {
    case kCFStringEncodingUTF16:
        return newString(isExternalRepresentation != 0 ? decodeExternalUtf16(view)
                                                       : decodeUtf16(view, ByteOrder::Host));
    case kCFStringEncodingUTF16BE:
        return newString(decodeUtf16(view, ByteOrder::Big));
    case kCFStringEncodingUTF16LE:
        return newString(decodeUtf16(view, ByteOrder::Little));
    default:
        return newStringOrNull(decodeByteText(view, encoding));
    }
}

CFStringRef CFStringCreateCopy(CFAllocatorRef, CFStringRef string) {
    const CFStringObject* const object = checked<CFStringObject>(string, __func__);
    if (object->isMutable) {
        return newString(object->text);
    }
    object->retain();
    return string;
}

CFMutableStringRef CFStringCreateMutableCopy(CFAllocatorRef, CFIndex, CFStringRef string) {
    return new CFStringObject(textOf(string, __func__), true);
}

CFIndex CFStringGetLength(CFStringRef string) { return textOf(string, __func__).size(); }

UniChar CFStringGetCharacterAtIndex(CFStringRef string, CFIndex index) {
    const QString& text = textOf(string, __func__);
    return index >= 0 && index < text.size() ? text.at(index).unicode() : UniChar(0);
}

void CFStringGetCharacters(CFStringRef string, CFRange range, UniChar* buffer) {
    const QString& text = textOf(string, __func__);
    if (range.location < 0 || range.length < 0 || range.location > text.size() ||
        range.length > text.size() - range.location) {
        stopForMisuse(__func__, "the range is not inside the string");
    }
    if (range.length > 0) {
        std::memcpy(buffer, text.constData() + range.location,
                    static_cast<std::size_t>(range.length) * sizeof(UniChar));
    }
}

Boolean CFStringGetCString(CFStringRef string, char* buffer, CFIndex bufferSize, CFStringEncoding encoding) {
    const QString& text = textOf(string, __func__);
    if (bufferSize <= 0) {
        return 0;
    }
    const std::optional<QByteArray> bytes = encodeByteText(text, encoding);
    if (!bytes || bytes->size() >= bufferSize) {
        *buffer = '\0';
        return 0;
    }
    std::memcpy(buffer, bytes->constData(), static_cast<std::size_t>(bytes->size()) + 1);
    return 1;
}

CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding) {
    CFIndex bytesEach = 0;
    switch (encoding) {
    case kCFStringEncodingUTF8:
        bytesEach = 3;
        break;
    case kCFStringEncodingUTF16:
    case kCFStringEncodingUTF16BE:
    case kCFStringEncodingUTF16LE:
        bytesEach = 2;
        break;
    case kCFStringEncodingASCII:
    case kCFStringEncodingISOLatin1:
        bytesEach = 1;
        break;
    default:
        return kCFNotFound;
    }
    if (length < 0 || length > std::numeric_limits<CFIndex>::max() / bytesEach) {
        return kCFNotFound;
    }
    return length * bytesEach;
}

CFComparisonResult CFStringCompare(CFStringRef first, CFStringRef second, CFStringCompareFlags options) {
    return CoreFoundation::compareText(textOf(first, __func__), textOf(second, __func__), options);
}

SInt32 CFStringGetIntValue(CFStringRef string) {
    return CoreFoundation::leadingInt(textOf(string, __func__));
}

void CFStringNormalize(CFMutableStringRef string, CFStringNormalizationForm form) {
    CFStringObject* const object = CoreFoundation::checkedMutable<CFStringObject>(string, __func__);
    switch (form) {
    case kCFStringNormalizationFormD:
        object->text = object->text.normalized(QString::NormalizationForm_D);
        break;
    case kCFStringNormalizationFormKD:
        object->text = object->text.normalized(QString::NormalizationForm_KD);
        break;
    case kCFStringNormalizationFormC:
        object->text = object->text.normalized(QString::NormalizationForm_C);
        break;
    case kCFStringNormalizationFormKC:
        object->text = object->text.normalized(QString::NormalizationForm_KC);
        break;
    default:
        stopForMisuse(__func__, "unknown normalization form");
    }
}

CFStringRef CFStringMakeConstant(const char* text) {
    // Never destroyed, like the strings in it.
    static Constants& sConstants = *new Constants;
    const std::lock_guard<std::mutex> lock(sConstants.guard);
    CFStringRef& constant = sConstants.strings[text];
    if (constant == nullptr) {
        const std::optional<QString> content = decodeUtf8WithoutMark(text);
        if (!content) {
            stopForMisuse(__func__, "the literal is not UTF-8");
        }
        constant = content->isEmpty() ? emptyString()
                                      : new CFStringObject(*content, false, CoreFoundation::kForever);
    }
    return constant;
}

} // extern "C"

CFStringRef CFStringCreateWithQString(const QString& text) { return newString(text); }

QString CFStringCopyQString(CFStringRef string) {
    if (string == nullptr) {
        return QString();
    }
    const QString& text = textOf(string, __func__);
    // Rewriting a mutable string can leave a null text; a null answer is kept for "no string".
    return text.isNull() ? QStringLiteral("") : text;
}
