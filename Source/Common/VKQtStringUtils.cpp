// Conversions share their text with the counted values through CFQt.h and copy only where a result has to
// differ from its source.
#include "VKQtStringUtils.h"

#include "VKQtStringUtilsRules.h"

#include <CoreFoundation/CFQt.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKFileMgr.h>
#include <VKCoreKit/VKLog.h>
#include <VKCoreKit/VKUtils.h>

#include <QDebug>
#include <QDir>
#include <QLocale>
#include <QMatrix4x4>
#include <QStringDecoder>
#include <QUrl>
#include <QUuid>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>
#include <new>

using VKQtStringUtilsRules::logged;

namespace {

constexpr char kSourcePath[] = "VKQtCore/Source/Common/VKQtStringUtils";

// A word character of the framework's regular expressions, whose "\w" is ASCII by default.
bool isWordUnit(QChar unit) {
    const char16_t c = unit.unicode();
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9') || c == u'_';
}

} // namespace

VKStatus VKQtStringUtilsRules::logged(VKStatus status, int line) {
    if (status != kVKStatusSuccess && status != kVKStatusCancelled) {
        VKLogEvent(status, kSourcePath, line);
    }
    return status;
}

void VKQtStringUtilsRules::assignBytes(const void* bytes, CFIndex length, QByteArray& out) {
    const char* const text = static_cast<const char*>(bytes);
    if (text == nullptr) {
        out.clear();
    } else {
        out = length < 0 ? QByteArray(text) : QByteArray(text, static_cast<qsizetype>(length));
    }
}

CFStringRef VKQtStringUtils::createCFStringRefFromQString(const QString& text) {
    return CFStringCreateWithQString(text);
}

CFURLRef VKQtStringUtils::createCFURLRefFromQUrl(const QUrl& url) {
    const auto text = VKCFRef<CFStringRef>::adopt(
        CFStringCreateWithQString(QString::fromUtf8(url.toEncoded(QUrl::FullyEncoded))));
    return CFURLCreateWithString(kCFAllocatorDefault, text.get(), nullptr);
}

CFMutableDataRef VKQtStringUtils::createCFDataFromBytes(const QByteArray& bytes) {
    const CFMutableDataRef data = CFDataCreateMutable(kCFAllocatorDefault, bytes.size());
    if (data != nullptr) {
        CFDataAppendBytes(data, reinterpret_cast<const UInt8*>(bytes.constData()), bytes.size());
    }
    return data;
}

CFMutableArrayRef VKQtStringUtils::createCFStringListFromQStringList(const QStringList& list) {
    const CFMutableArrayRef array = CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks);
    if (array != nullptr) {
        for (const QString& text : list) {
            CFArrayAppendValue(array, VKCFRef<CFStringRef>::adopt(CFStringCreateWithQString(text)).get());
        }
    }
    return array;
}

VKString VKQtStringUtils::createVKStringFromQString(const QString& text) {
    return VKString(VKCFRef<CFStringRef>::adopt(CFStringCreateWithQString(text)).get());
}

std::deque<VKString> VKQtStringUtils::createVKStringListFromQStringList(const QStringList& list) {
    std::deque<VKString> strings;
    for (const QString& text : list) {
        strings.push_back(createVKStringFromQString(text));
    }
    return strings;
}

CFURLRef VKQtStringUtils::createFileSystemRepresentationFromQString(const QString& path, bool isFolder) {
    const auto text = VKCFRef<CFStringRef>::adopt(CFStringCreateWithQString(QDir::toNativeSeparators(path)));
    return VKFileMgrCreateFileSystemRepresentation(text.get(), isFolder);
}

QString VKQtStringUtils::createPrecomposedStringWithCanonicalMapping(const QString& text) {
    const auto given = VKCFRef<CFStringRef>::adopt(CFStringCreateWithQString(text));
    const auto precomposed =
        VKCFRef<CFStringRef>::adopt(VKUtilsCreatePrecomposedStringWithCanonicalMapping(given.get()));
    return createQStringFromCFStringRef(precomposed.get());
}

void VKQtStringUtils::setValueCFString(CFMutableDictionaryRef dict, CFStringRef key, const QString& value) {
    CFDictionarySetValue(dict, key, VKCFRef<CFStringRef>::adopt(CFStringCreateWithQString(value)).get());
}

QString VKQtStringUtils::createQStringFromCFStringRef(CFStringRef string) {
    QString text = CFStringCopyQString(string);
    const qsizetype end = text.indexOf(QChar(u'\0'));
    if (end >= 0) {
        text.truncate(end);
    }
    return text.normalized(QString::NormalizationForm_C);
}

QString VKQtStringUtils::createQStringFromCFUrlRef(CFURLRef url) {
    return url == nullptr ? QString() : createQStringFromCFStringRef(CFURLGetString(url));
}

QString VKQtStringUtils::createQStringFileSystemRepresentationFromCFUrlRef(CFURLRef url) {
    const auto path = VKCFRef<CFStringRef>::adopt(VKFileMgrGetFileSystemRepresentationCopy(url));
    return QDir::fromNativeSeparators(CFStringCopyQString(path.get()));
}

QByteArray VKQtStringUtils::createQByteArrayFromCFStringRef(CFStringRef string) {
    if (string == nullptr) {
        return {};
    }
    const QString text = CFStringCopyQString(string);
    const qsizetype textBytes = text.size() * 2;
    QByteArray units(textBytes + 2, '\0');
    if (textBytes > 0) {
        std::memcpy(units.data(), text.constData(), static_cast<std::size_t>(textBytes));
    }
    return units;
}

void VKQtStringUtils::createBytesFromCFData(CFDataRef data, QByteArray& out) {
    if (data == nullptr) {
        out.clear();
        return;
    }
    VKQtStringUtilsRules::assignBytes(CFDataGetBytePtr(data), CFDataGetLength(data), out);
}

QString VKQtStringUtils::createQStringFromVKString(const VKString& string) {
    return createQStringFromCFStringRef(string);
}

QStringList VKQtStringUtils::createQStringListFromVKStringList(const std::deque<VKString>& list) {
    QStringList texts;
    texts.reserve(static_cast<qsizetype>(list.size()));
    for (const VKString& string : list) {
        texts.append(createQStringFromVKString(string));
    }
    return texts;
}

QStringList VKQtStringUtils::createQStringListFromCFStringList(CFArrayRef list) {
    QStringList texts;
    const CFIndex count = list == nullptr ? 0 : CFArrayGetCount(list);
    for (CFIndex i = 0; i < count; ++i) {
        texts.append(createQStringFromCFStringRef(static_cast<CFStringRef>(CFArrayGetValueAtIndex(list, i))));
    }
    return texts;
}

std::string VKQtStringUtils::createUnicodeStdString(const QString& text) {
    return std::string(text.toUtf8().constData());
}

QString VKQtStringUtils::createUniqueID() { return QUuid::createUuid().toString(QUuid::WithoutBraces); }

QString VKQtStringUtils::capitalizeString(const QString& text) {
    QString result = text.toLower();
    // Every boundary starts a run, the runs between two words too: upper case changes nothing in most.
    bool wasWord = false;
    for (qsizetype i = 0; i < result.size(); ++i) {
        const bool isWord = isWordUnit(result.at(i));
        if (i == 0 || isWord != wasWord) {
            result[i] = result.at(i).toUpper();
        }
        wasWord = isWord;
    }
    return result;
}

QStringList VKQtStringUtils::trimStringList(const QStringList& list, bool sort, bool prependEmpty) {
    QStringList kept;
    kept.reserve(list.size() + 1);
    for (const QString& text : list) {
        const QString trimmed = text.trimmed();
        if (!trimmed.isEmpty()) {
            kept.append(trimmed);
        }
    }
    if (sort) {
        kept.sort(Qt::CaseSensitive);
    }
    if (prependEmpty) {
        kept.prepend(QLatin1String(""));
    }
    return kept;
}

VKRational VKQtStringUtils::rationalFromQString(const QString& text) {
    const QStringView view(text);
    const qsizetype first = view.indexOf(u'/');
    if (first < 0) {
        return {0, 0};
    }
    return {view.first(first).toInt(), view.sliced(view.lastIndexOf(u'/') + 1).toInt()};
}

QString VKQtStringUtils::toString(const QMatrix4x4& matrix) {
    const float* const values = matrix.constData();
    QString text;
    for (int i = 0; i < 16; ++i) {
        if (i > 0) {
            text.append(u' ');
        }
        text.append(QString::number(static_cast<double>(values[i]), 'g', QLocale::FloatingPointShortest));
    }
    return text;
}

QString VKQtStringUtils::toString(const VKRect& rect) {
    return QStringLiteral("x: %1 y: %2 w: %3 h: %4").arg(rect.x).arg(rect.y).arg(rect.width).arg(rect.height);
}

void VKQtStringUtils::printStringList(const QStringList& list) {
    const QMessageLogger logger(nullptr, 0, nullptr, "default");
    logger.debug().noquote() << QStringLiteral("StringList contains:");
    for (const QString& text : list) {
        logger.debug().noquote().nospace() << QStringLiteral("   ") << text;
    }
}

void VKQtStringUtils::VKLogQString(const QString& text) {
    VKLog(VKCFRef<CFStringRef>::adopt(CFStringCreateWithQString(text)).get(), 0);
}

VKStatus VKQtStringUtils::writeUTF8String(VKStream* stream, const QString& text) {
    const QByteArray utf8 = text.toUtf8();
    if (utf8.size() > static_cast<qsizetype>(std::numeric_limits<std::uint32_t>::max())) {
        return logged(kVKStatusBadArgument, __LINE__);
    }
    VKStatus status = VKStreamWriteUInt32(stream, static_cast<std::uint32_t>(utf8.size()));
    if (status == kVKStatusSuccess && !utf8.isEmpty()) {
        status = VKStreamWrite(stream, utf8.constData(), static_cast<std::size_t>(utf8.size()));
    }
    return logged(status, __LINE__);
}

VKStatus VKQtStringUtils::readUTF8String(VKStream* stream, QString& out) {
    std::uint32_t length = 0;
    VKStatus status = VKStreamReadUInt32(stream, &length);
    if (status != kVKStatusSuccess) {
        return logged(status, __LINE__);
    }
    std::uint64_t available = 0;
    status = VKStreamGetAvailable(stream, &available);
    if (status == kVKStatusSuccess && length > available) {
        status = kVKStatusEndOfStream;
    }
    if (status != kVKStatusSuccess) {
        return logged(status, __LINE__);
    }
    try {
        QByteArray utf8(static_cast<qsizetype>(length), Qt::Uninitialized);
        status = VKStreamRead(stream, utf8.data(), length);
        if (status == kVKStatusSuccess) {
            // QString::fromUtf8() would take a leading U+FEFF for a byte-order mark and drop it.
            QStringDecoder decode(QStringDecoder::Utf8,
                                  QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
            out = decode(utf8);
        }
    } catch (const std::bad_alloc&) {
        status = ENOMEM;
    }
    return logged(status, __LINE__);
}

VKStringPtrArray::VKStringPtrArray(const std::vector<QString>& strings) { append(strings); }

VKStringPtrArray::VKStringPtrArray(const std::set<QString>& strings) { append(strings); }

void VKStringPtrArray::append(const std::vector<QString>& strings) {
    std::for_each(strings.begin(), strings.end(), [this](const QString& text) { appendOne(text); });
}

void VKStringPtrArray::append(const std::set<QString>& strings) {
    std::for_each(strings.begin(), strings.end(), [this](const QString& text) { appendOne(text); });
}

void VKStringPtrArray::appendOne(const QString& text) {
    mStrings.push_back(text.toUtf8());
    // data() makes the bytes unshared, so they stay where they are whatever happens to other copies.
    mPointers.push_back(mStrings.back().data());
}
