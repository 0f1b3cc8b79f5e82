// Property lists to XML. The bytes are those that every reader of the format has seen for decades: tabs, sorted
// keys, and base64 lines that grow shorter with the depth.
#include "CoreFoundation/CFArray.h"
#include "CoreFoundation/CFDate.h"
#include "CoreFoundation/CFDictionary.h"
#include "CoreFoundation/CFNumber.h"
#include "CoreFoundation/CFPropertyList.h"
#include "CoreFoundation/CFQt.h"
#include "CoreFoundation/PropertyListError.h"
#include "CoreFoundation/PropertyListText.h"

#include <algorithm>
#include <vector>

namespace {

constexpr char kHead[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                         "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                         "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                         "<plist version=\"1.0\">\n";
constexpr char kTail[] = "</plist>\n";

class Writer {
public:
    [[nodiscard]] bool write(CFTypeRef value) {
        mBytes = kHead;
        const bool done = writeValue(value, 0);
        mBytes += kTail;
        return done;
    }

    [[nodiscard]] const QByteArray& bytes() const { return mBytes; }
    [[nodiscard]] const QString& problem() const { return mProblem; }

private:
    bool refuse(const char* problem) {
        mProblem = QString::fromLatin1(problem);
        return false;
    }

    void indent(qsizetype depth) { mBytes.append(depth, '\t'); }

    void writeLine(qsizetype depth, const QByteArray& text) {
        indent(depth);
        mBytes += text;
        mBytes += '\n';
    }

    [[nodiscard]] bool writeText(qsizetype depth, const char* element, const QString& text) {
        if (!text.isValidUtf16()) {
            return refuse("A text holds an unpaired surrogate");
        }
        indent(depth);
        mBytes.append('<').append(element).append('>');
        for (const char byte : text.toUtf8()) {
            switch (byte) {
            case '&':
                mBytes += "&amp;";
                break;
            case '<':
                mBytes += "&lt;";
                break;
            case '>':
                mBytes += "&gt;";
                break;
            default:
                mBytes += byte;
            }
        }
        mBytes.append("</").append(element).append(">\n");
        return true;
    }

    void writeData(qsizetype depth, const QByteArray& data) {
        writeLine(depth, "<data>");
        const qsizetype indentation = std::min<qsizetype>(depth, 8);
        const qsizetype perLine = 76 - 8 * indentation;
        const QByteArray text = data.toBase64();
        for (qsizetype at = 0; at < text.size(); at += perLine) {
            writeLine(indentation, text.sliced(at, std::min(perLine, text.size() - at)));
        }
        writeLine(depth, "</data>");
    }

    void writeNumber(qsizetype depth, CFNumberRef number) {
        if (CFNumberIsFloatType(number)) {
            double real = 0;
            CFNumberGetValue(number, kCFNumberDoubleType, &real);
            writeLine(depth, "<real>" + CoreFoundation::realText(real) + "</real>");
        } else {
            SInt64 integer = 0;
            CFNumberGetValue(number, kCFNumberSInt64Type, &integer);
            writeLine(depth,
                      "<integer>" + QByteArray::number(static_cast<qlonglong>(integer)) + "</integer>");
        }
    }

    [[nodiscard]] bool writeDate(qsizetype depth, CFDateRef date) {
        const std::optional<QByteArray> text = CoreFoundation::dateText(CFDateGetAbsoluteTime(date));
        if (!text) {
            return refuse("A date is out of range");
        }
        writeLine(depth, "<date>" + *text + "</date>");
        return true;
    }

    [[nodiscard]] bool writeArray(qsizetype depth, CFArrayRef array) {
        const CFIndex count = CFArrayGetCount(array);
        if (count == 0) {
            writeLine(depth, "<array/>");
            return true;
        }
        writeLine(depth, "<array>");
        for (CFIndex i = 0; i < count; ++i) {
            if (!writeValue(CFArrayGetValueAtIndex(array, i), depth + 1)) {
                return false;
            }
        }
        writeLine(depth, "</array>");
        return true;
    }

    [[nodiscard]] bool writeDictionary(qsizetype depth, CFDictionaryRef dictionary) {
        const auto count = static_cast<std::size_t>(CFDictionaryGetCount(dictionary));
        if (count == 0) {
            writeLine(depth, "<dict/>");
            return true;
        }
        std::vector<const void*> keys(count);
        std::vector<const void*> values(count);
        CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
        std::vector<std::pair<QString, CFTypeRef>> pairs;
        for (std::size_t i = 0; i < count; ++i) {
            if (keys[i] == nullptr || CFGetTypeID(keys[i]) != CFStringGetTypeID()) {
                return refuse("A key is not a string");
            }
            pairs.emplace_back(CFStringCopyQString(static_cast<CFStringRef>(keys[i])), values[i]);
        }
        std::sort(pairs.begin(), pairs.end(),
                  [](const auto& a, const auto& b) { return a.first.compare(b.first) < 0; });
        writeLine(depth, "<dict>");
        for (const auto& [key, value] : pairs) {
            if (!writeText(depth + 1, "key", key) || !writeValue(value, depth + 1)) {
                return false;
            }
        }
        writeLine(depth, "</dict>");
        return true;
    }

    [[nodiscard]] bool writeContainer(qsizetype depth, CFTypeRef value) {
        if (depth >= kCFPropertyListDepthLimit) {
            return refuse("Too many arrays and dictionaries inside each other");
        }
        return CFGetTypeID(value) == CFArrayGetTypeID()
                   ? writeArray(depth, static_cast<CFArrayRef>(value))
                   : writeDictionary(depth, static_cast<CFDictionaryRef>(value));
    }

    [[nodiscard]] bool writeValue(CFTypeRef value, qsizetype depth) { // NOLINT(misc-no-recursion): bounded
        if (value == nullptr) {
            return refuse("A value is missing");
        }
        const CFTypeID type = CFGetTypeID(value);
        if (type == CFArrayGetTypeID() || type == CFDictionaryGetTypeID()) {
            return writeContainer(depth, value);
        }
        if (type == CFStringGetTypeID()) {
            return writeText(depth, "string", CFStringCopyQString(static_cast<CFStringRef>(value)));
        }
        if (type == CFDateGetTypeID()) {
            return writeDate(depth, static_cast<CFDateRef>(value));
        }
        if (type == CFDataGetTypeID()) {
            writeData(depth, CFDataCopyQByteArray(static_cast<CFDataRef>(value)));
        } else if (type == CFNumberGetTypeID()) {
            writeNumber(depth, static_cast<CFNumberRef>(value));
        } else if (type == CFBooleanGetTypeID()) {
            writeLine(depth, CFBooleanGetValue(static_cast<CFBooleanRef>(value)) ? "<true/>" : "<false/>");
        } else {
            return refuse("A value is of a type that property lists do not have");
        }
        return true;
    }

    QByteArray mBytes;
    QString mProblem;
};

} // namespace

extern "C" {

CFDataRef CFPropertyListCreateData(CFAllocatorRef, CFPropertyListRef list, CFPropertyListFormat format,
                                   CFOptionFlags, CFErrorRef* error) {
    Writer writer;
    if (format != kCFPropertyListXMLFormat_v1_0) {
        CoreFoundation::setPropertyListError(error, kCFPropertyListWriteStreamError,
                                             QStringLiteral("Only the XML form is written"));
        return nullptr;
    }
    if (!writer.write(list)) {
        CoreFoundation::setPropertyListError(error, kCFPropertyListWriteStreamError, writer.problem());
        return nullptr;
    }
    return CFDataCreateWithQByteArray(writer.bytes());
}

} // extern "C"
