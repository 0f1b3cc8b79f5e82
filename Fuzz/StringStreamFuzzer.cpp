// Strings in binary streams: arbitrary bytes read as a string, held against a reading by hand; texts written and
// read again; and texts through CoreFoundation and back.

#include "FuzzSupport.h"

#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKLog.h>
#include <VKCoreKit/VKStream.h>
#include <VKQtStringUtils.h>

#include <QStringDecoder>

#include <memory>

namespace {

struct StreamRelease {
    void operator()(VKStream* stream) const { VKStreamRelease(stream); }
};
using Stream = std::unique_ptr<VKStream, StreamRelease>;

int gEvents = 0; // failures that the library logged

void countEvents(const VKLogRecord& record, void* /*context*/) { gEvents += record.status != 0 ? 1 : 0; }

Stream streamOf(const QByteArray& bytes) {
    VKStream* stream = nullptr;
    require(VKStreamCreateMemory(&stream) == 0 && stream != nullptr, "a memory stream can be made");
    require(VKStreamWrite(stream, bytes.constData(), static_cast<std::size_t>(bytes.size())) == 0 &&
                VKStreamSetPosition(stream, 0) == 0,
            "bytes can be written to it");
    return Stream(stream);
}

QString decoded(const QByteArray& bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8,
                           QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom);
    return decoder(bytes);
}

bool hasLoneSurrogate(const QString& text) { return !text.isValidUtf16(); }

void checkReading(const QByteArray& bytes) {
    const Stream stream = streamOf(bytes);
    std::uint32_t size = 0;
    for (qsizetype i = 0; i < 4 && i < bytes.size(); ++i) {
        size = size << 8 | static_cast<std::uint8_t>(bytes.at(i));
    }
    const bool whole = bytes.size() >= 4 && size <= static_cast<std::uint64_t>(bytes.size() - 4);
    QString text = QStringLiteral("untouched");
    gEvents = 0;
    const VKStatus status = VKQtStringUtils::readUTF8String(stream.get(), text);
    require(status == (whole ? 0 : kVKStatusEndOfStream), "a string that is not all there is not read",
            {text});
    if (whole) {
        require(text == decoded(bytes.mid(4, size)), "the text is the bytes'", {text});
        require(gEvents == 0, "a success is not logged");
    } else {
        require(text == u"untouched", "a failure leaves the text alone", {text});
        require(gEvents == 1, "a failure is logged once");
    }
}

void checkWriting(const QString& text, const QString& next) {
    VKStream* made = nullptr;
    require(VKStreamCreateMemory(&made) == 0, "a memory stream can be made");
    const Stream stream(made);
    require(VKQtStringUtils::writeUTF8String(made, text) == 0 &&
                VKQtStringUtils::writeUTF8String(made, next) == 0 && VKStreamSetPosition(made, 0) == 0,
            "texts can be written", {text, next});
    for (const QString& written : {text, next}) {
        QString read;
        require(VKQtStringUtils::readUTF8String(made, read) == 0, "and are read", {written});
        require(hasLoneSurrogate(written) || read == written, "what is written reads back equal",
                {written, read});
        require(!hasLoneSurrogate(read), "what is read is well-formed", {written, read});
    }
    std::uint64_t left = 1;
    require(VKStreamGetAvailable(made, &left) == 0 && left == 0, "two strings are all there is",
            {text, next});
}

void checkConversions(const QString& text) {
    const auto string = VKCFRef<CFStringRef>::adopt(VKQtStringUtils::createCFStringRefFromQString(text));
    require(CFStringGetLength(string.get()) == text.size(), "a counted string has all units", {text});
    const qsizetype nul = text.indexOf(QChar(u'\0'));
    const QString expected = text.left(nul).normalized(QString::NormalizationForm_C);
    require(VKQtStringUtils::createQStringFromCFStringRef(string.get()) == expected,
            "back from a counted string: to the first NUL, in form C", {text});
    require(VKQtStringUtils::createQStringFromVKString(VKQtStringUtils::createVKStringFromQString(text)) ==
                expected,
            "the same through the core library's string", {text});
    const QString precomposed = VKQtStringUtils::createPrecomposedStringWithCanonicalMapping(text);
    require(precomposed == expected, "the precomposed text is the same", {text, precomposed});
    const QByteArray raw = VKQtStringUtils::createQByteArrayFromCFStringRef(string.get());
    require(raw.size() == text.size() * 2 + 2, "a raw buffer has two bytes for each unit and two more",
            {text});
    require(VKQtStringUtils::createUnicodeStdString(text) == text.left(nul).toUtf8().toStdString(),
            "a standard string ends at the first NUL", {text});
}

void checkRational(const QString& text) {
    const QStringList parts = text.split(u'/');
    const VKRational value = VKQtStringUtils::rationalFromQString(text);
    const bool known = parts.size() >= 2;
    require(value.numerator == (known ? parts.first().toInt() : 0) &&
                value.denominator == (known ? parts.last().toInt() : 0),
            "a rational is its first and its last part", {text});
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    VKLogSetHandler(countEvents, nullptr);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const QString text = input.text();
    const QString next = input.text();
    checkReading(QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)));
    checkReading(input.rest());
    checkWriting(text, next);
    checkConversions(text);
    checkRational(text);
    return 0;
}
