// Property lists from XML: Qt's parser for the syntax, a strict mapping for the values, and limits on both.
#include "CoreFoundation/CFArray.h"
#include "CoreFoundation/CFDate.h"
#include "CoreFoundation/CFDictionary.h"
#include "CoreFoundation/CFNumber.h"
#include "CoreFoundation/CFObject.h"
#include "CoreFoundation/CFPropertyList.h"
#include "CoreFoundation/CFQt.h"
#include "CoreFoundation/PropertyListError.h"
#include "CoreFoundation/PropertyListText.h"
#include "CoreFoundation/XmlText.h"

#include <QXmlStreamReader>

#include <vector>

namespace {

using CoreFoundation::Owner;
using Value = Owner<CFTypeRef>;

// Control characters are no XML, and a parser makes line ends alike, but names of files hold both and are written
// as they are. So the parser sees stand-ins: these 32 code points, which no text uses in earnest.
constexpr char16_t kFirstStandIn = u'\uFDD0';
constexpr char16_t kLastStandIn = u'\uFDEF';
// A tab and a line feed need none; two more code points that are no XML take their places.
constexpr char16_t kStandInForFFFE = kFirstStandIn + u'\t';
constexpr char16_t kStandInForFFFF = kFirstStandIn + u'\n';

bool isStandIn(QChar c) { return c >= kFirstStandIn && c <= kLastStandIn; }

QChar standInFor(QChar c) {
    if (c == u'\uFFFE') {
        return kStandInForFFFE;
    }
    if (c == u'\uFFFF') {
        return kStandInForFFFF;
    }
    const bool needed = c < u' ' && c != u'\t' && c != u'\n';
    return needed ? QChar(static_cast<char16_t>(kFirstStandIn + c.unicode())) : c;
}

QChar meantBy(QChar c) {
    if (!isStandIn(c)) {
        return c;
    }
    if (c == kStandInForFFFE) {
        return u'\uFFFE';
    }
    return c == kStandInForFFFF ? QChar(u'\uFFFF')
                                : QChar(static_cast<char16_t>(c.unicode() - kFirstStandIn));
}

/// Puts stand-ins into the text behind each opening tag, where the texts of values are. One that uses their code
/// points itself stays as it is.
void putStandIns(QString& text) {
    for (const QChar c : std::as_const(text)) {
        if (isStandIn(c)) {
            return;
        }
    }
    bool opening = false;
    bool inValue = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c == u'<') {
            const QChar first = i + 1 < text.size() ? text.at(i + 1) : QChar();
            opening = first.isLetter();
            inValue = false;
        } else if (c == u'>') {
            inValue = opening;
        } else if (inValue && standInFor(c) != c) {
            text[i] = standInFor(c);
        }
    }
}

QString withoutStandIns(QString text, bool put) {
    for (qsizetype i = 0; put && i < text.size(); ++i) {
        if (isStandIn(text.at(i))) {
            text[i] = meantBy(text.at(i));
        }
    }
    return text;
}

class Reader {
public:
    explicit Reader(CFOptionFlags options)
        : mMutableContainers(options != kCFPropertyListImmutable),
          mMutableLeaves((options & kCFPropertyListMutableContainersAndLeaves) != 0) {
        // Lists have none, and the parser would look through all that are declared for every element.
        mXml.setNamespaceProcessing(false);
    }

    [[nodiscard]] Value read(const QByteArray& bytes) {
        if (bytes.isEmpty()) {
            return refuse("There are no bytes");
        }
        if (bytes.size() > kCFPropertyListByteLimit) {
            return refuse("There are too many bytes");
        }
        QString text;
        if (const char* const problem = CoreFoundation::decodeXml(bytes, text); problem != nullptr) {
            return refuse(problem);
        }
        prepare(text);
        mXml.addData(text);
        Value value = readDocument();
        return mProblem.isEmpty() ? std::move(value) : Value();
    }

    [[nodiscard]] const QString& problem() const { return mProblem; }

private:
    /// Keeps the first problem. Gives no value, so that a caller can return it.
    Value refuse(const char* problem) {
        if (mProblem.isEmpty()) {
            mProblem = mXml.hasError() ? mXml.errorString() : QString::fromLatin1(problem);
            if (mXml.lineNumber() > 0) {
                mProblem += QStringLiteral(" on line ") + QString::number(mXml.lineNumber());
            }
        }
        return {};
    }

    void prepare(QString& text) {
        // White space in front of the declaration is no XML either, but has always been read.
        qsizetype start = 0;
        while (start < text.size() && text.at(start).isSpace()) {
            ++start;
        }
        text.remove(0, start);
        const QString before = text;
        putStandIns(text);
        mStandIns = text != before;
    }

    /// The next token that has a meaning; an end of the document that comes too early is an error.
    QXmlStreamReader::TokenType next() {
        for (;;) {
            const auto token = mXml.readNext();
            switch (token) {
            case QXmlStreamReader::Comment:
            case QXmlStreamReader::ProcessingInstruction:
            case QXmlStreamReader::StartDocument:
                break;
            case QXmlStreamReader::Characters:
                if (!withoutStandIns(mXml.text().toString(), mStandIns).trimmed().isEmpty() ||
                    mXml.isCDATA()) {
                    return token;
                }
                break;
            default:
                return token;
            }
        }
    }

    Value readDocument() {
        auto token = next();
        if (token == QXmlStreamReader::DTD) {
            if (mXml.text().contains(u'[')) {
                return refuse("The document type has declarations of its own");
            }
            token = next();
        }
        if (token != QXmlStreamReader::StartElement) {
            return refuse("There is no element");
        }
        const bool wrapped = mXml.qualifiedName() == u"plist";
        if (wrapped && next() != QXmlStreamReader::StartElement) {
            return refuse("The list is empty");
        }
        Value value = readValue(0);
        if (wrapped && mProblem.isEmpty() && next() != QXmlStreamReader::EndElement) {
            return refuse("There is more than one value");
        }
        if (mProblem.isEmpty() && next() != QXmlStreamReader::EndDocument) {
            return refuse("There is something after the end");
        }
        return value;
    }

    /// The text of the element that has begun, up to its end. Nothing but text is allowed in it.
    std::optional<QString> readText() {
        QString text;
        for (;;) {
            switch (mXml.readNext()) {
            case QXmlStreamReader::Characters:
                text += mXml.text();
                break;
            case QXmlStreamReader::EndElement:
                return withoutStandIns(std::move(text), mStandIns);
            default:
                refuse("A value holds something else than text");
                return std::nullopt;
            }
        }
    }

    // The value whose element has begun, up to its end.
    Value readValue(int depth) { // NOLINT(misc-no-recursion): bounded
        const QString element = mXml.qualifiedName().toString();
        if (element == u"array" || element == u"dict") {
            if (depth >= kCFPropertyListDepthLimit) {
                return refuse("Too many arrays and dictionaries inside each other");
            }
            return element == u"array" ? readArray(depth) : readDictionary(depth);
        }
        const std::optional<QString> text = readText();
        return text ? valueOf(element, *text) : Value();
    }

    Value valueOf(const QString& element, const QString& text) {
        if (element == u"string" || element == u"key") {
            return stringOf(text);
        }
        if (element == u"integer") {
            const std::optional<SInt64> integer = CoreFoundation::parseInteger(text);
            return integer ? Value(CFNumberCreate(nullptr, kCFNumberSInt64Type, &*integer))
                           : refuse("An integer is not one of 64 bits");
        }
        if (element == u"real") {
            const std::optional<double> real = CoreFoundation::parseReal(text);
            return real ? Value(CFNumberCreate(nullptr, kCFNumberDoubleType, &*real))
                        : refuse("A real is not a number");
        }
        if (element == u"true" || element == u"false") {
            return text.isEmpty() ? Value::sharing(element == u"true" ? kCFBooleanTrue : kCFBooleanFalse)
                                  : refuse("A boolean has a text");
        }
        if (element == u"date") {
            const std::optional<double> date = CoreFoundation::parseDate(text);
            return date ? Value(CFDateCreate(nullptr, *date)) : refuse("A date is not one");
        }
        if (element == u"data") {
            return dataOf(CoreFoundation::decodeBase64(text));
        }
        return refuse("An element is not known");
    }

    Value stringOf(const QString& text) const {
        Owner<CFStringRef> string(CFStringCreateWithQString(text));
        if (mMutableLeaves) {
            return Value(CFStringCreateMutableCopy(nullptr, 0, string.get()));
        }
        return Value(string.take());
    }

    Value dataOf(const QByteArray& bytes) const {
        if (!mMutableLeaves) {
            return Value(CFDataCreateWithQByteArray(bytes));
        }
        const CFMutableDataRef data = CFDataCreateMutable(nullptr, 0);
        CFDataAppendBytes(data, reinterpret_cast<const UInt8*>(bytes.constData()), bytes.size());
        return Value(data);
    }

    Value readArray(int depth) { // NOLINT(misc-no-recursion): bounded
        const Owner<CFMutableArrayRef> array(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
        std::vector<const void*> elements;
        for (;;) {
            const auto token = next();
            if (token == QXmlStreamReader::EndElement) {
                break;
            }
            const Value value =
                token == QXmlStreamReader::StartElement ? readValue(depth + 1) : refuse("A value is missing");
            if (!value) {
                return {};
            }
            CFArrayAppendValue(array.get(), value.get());
            elements.push_back(value.get());
        }
        if (mMutableContainers) {
            return Value(CFRetain(array.get()));
        }
        return Value(CFArrayCreate(nullptr, elements.data(), static_cast<CFIndex>(elements.size()),
                                   &kCFTypeArrayCallBacks));
    }

    Value readDictionary(int depth) { // NOLINT(misc-no-recursion): bounded
        const Owner<CFMutableDictionaryRef> dictionary(CFDictionaryCreateMutable(
            nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
        for (;;) {
            auto token = next();
            if (token == QXmlStreamReader::EndElement) {
                break;
            }
            if (token != QXmlStreamReader::StartElement || mXml.qualifiedName() != u"key") {
                return refuse("A key is missing");
            }
            const std::optional<QString> key = readText();
            if (!key) {
                return {};
            }
            token = next();
            const bool isValue = token == QXmlStreamReader::StartElement && mXml.qualifiedName() != u"key";
            const Value value = isValue ? readValue(depth + 1) : refuse("A value is missing");
            if (!value) {
                return {};
            }
            const Owner<CFStringRef> name(CFStringCreateWithQString(*key));
            CFDictionarySetValue(dictionary.get(), name.get(), value.get());
        }
        return mMutableContainers ? Value(CFRetain(dictionary.get())) : immutableCopy(dictionary.get());
    }

    static Value immutableCopy(CFDictionaryRef dictionary) {
        const auto count = static_cast<std::size_t>(CFDictionaryGetCount(dictionary));
        std::vector<const void*> keys(count);
        std::vector<const void*> values(count);
        CFDictionaryGetKeysAndValues(dictionary, keys.data(), values.data());
        return Value(CFDictionaryCreate(nullptr, keys.data(), values.data(), static_cast<CFIndex>(count),
                                        &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    }

    const bool mMutableContainers;
    const bool mMutableLeaves;
    bool mStandIns = false;
    QXmlStreamReader mXml;
    QString mProblem;
};

} // namespace

void CoreFoundation::setPropertyListError(CFErrorRef* error, CFIndex code, const QString& text) {
    if (error == nullptr) {
        return;
    }
    const Owner<CFStringRef> description(CFStringCreateWithQString(text));
    const void* const key = kCFErrorDebugDescriptionKey;
    const void* const value = description.get();
    const Owner<CFDictionaryRef> info(CFDictionaryCreate(
        nullptr, &key, &value, 1, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    *error = CFErrorCreate(nullptr, kCFErrorDomainCocoa, code, info.get());
}

extern "C" {

CFPropertyListRef CFPropertyListCreateWithData(CFAllocatorRef, CFDataRef data, CFOptionFlags options,
                                               CFPropertyListFormat* format, CFErrorRef* error) {
    Reader reader(options);
    Value value = reader.read(data == nullptr ? QByteArray() : CFDataCopyQByteArray(data));
    if (!value) {
        CoreFoundation::setPropertyListError(error, kCFPropertyListReadCorruptError, reader.problem());
        return nullptr;
    }
    if (format != nullptr) {
        *format = kCFPropertyListXMLFormat_v1_0;
    }
    return value.take();
}

} // extern "C"
