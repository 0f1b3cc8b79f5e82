// Names on disk: bytes to text and back against a decoder written by hand; and real files of arbitrary names, which
// must be found through the text that they show, or not at all when two show the same.

#include "FuzzSupport.h"

#include "Platform/OnDiskName.h"
#include "Platform/Utf8.h"

#include <QFile>
#include <QTemporaryDir>

#include <fcntl.h>
#include <unistd.h>

#include <memory>
#include <set>

namespace {

using VKPlatform::decodeUtf8;
using VKPlatform::decodeUtf8Strict;
using VKPlatform::displayedName;
using VKPlatform::encodeUtf8;
using VKPlatform::hasOneSpelling;
using VKPlatform::onDiskPath;

/// The length of the well-formed sequence at `at`, 0 if there is none; its code point in `point`.
int sequenceAt(const QByteArray& bytes, qsizetype at, char32_t& point) {
    const auto unit = [&bytes](qsizetype i) -> char32_t {
        return i < bytes.size() ? static_cast<std::uint8_t>(bytes.at(i)) : 0U;
    };
    const char32_t first = unit(at);
    const int length = first < 0x80   ? 1
                       : first < 0xc0 ? 0
                       : first < 0xe0 ? 2
                       : first < 0xf0 ? 3
                       : first < 0xf8 ? 4
                                      : 0;
    static constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    point = length == 1 ? first : first & (0x7fU >> length);
    for (int i = 1; i < length; ++i) {
        if ((unit(at + i) & 0xc0U) != 0x80U) {
            return 0;
        }
        point = point << 6 | (unit(at + i) & 0x3fU);
    }
    const bool isSurrogate = point >= 0xd800 && point < 0xe000;
    return length > 1 && (point < kLeast[length] || point > 0x10ffff || isSurrogate) ? 0 : length;
}

QString decodedByHand(const QByteArray& bytes, bool& wellFormed) {
    QString text;
    wellFormed = true;
    for (qsizetype at = 0; at < bytes.size();) {
        char32_t point = 0;
        const int length = sequenceAt(bytes, at, point);
        if (length == 0) {
            wellFormed = false;
            text.append(QChar(QChar::ReplacementCharacter));
            ++at;
        } else {
            text.append(QChar::fromUcs4(point));
            at += length;
        }
    }
    return text;
}

void checkBytes(const QByteArray& bytes) {
    bool wellFormed = false;
    const QString text = decodedByHand(bytes, wellFormed);
    require(decodeUtf8(bytes) == text, "decoding with replacement", {text, decodeUtf8(bytes)});
    QString reused = QStringLiteral("storage that is used again");
    decodeUtf8(bytes, reused);
    require(reused == text, "decoding into a text", {text, reused});
    const std::optional<QString> strict = decodeUtf8Strict(bytes);
    require(strict.has_value() == wellFormed && strict.value_or(text) == text, "strict decoding", {text});
    require(!strict || encodeUtf8(*strict) == bytes, "encoding gives the bytes back", {text});
    // A path would take a backslash for a separator, so no name shows one.
    const QString shown = QString(text).replace(u'\\', QChar(QChar::ReplacementCharacter));
    require(displayedName(bytes) == shown.normalized(QString::NormalizationForm_C), "the shown name", {text});
    require(hasOneSpelling(QByteArrayView(bytes)) == hasOneSpelling(QStringView(text)),
            "bytes and text agree on having one spelling", {text});
}

void checkText(const QString& text) {
    const std::optional<QByteArray> bytes = encodeUtf8(text);
    require(bytes.has_value() == text.isValidUtf16(), "only well-formed text has bytes", {text});
    require(!bytes || decodeUtf8(*bytes) == text, "decoding gives the text back", {text});
    if (hasOneSpelling(QStringView(text))) {
        require(text.normalized(QString::NormalizationForm_D) == text &&
                    text.normalized(QString::NormalizationForm_C) == text,
                "a text of one spelling has no other", {text});
    }
    require(onDiskPath(text).has_value() == (text.isValidUtf16() && !text.contains(QChar(u'\0'))),
            "a text names something on disk or cannot", {text});
}

const QByteArray& folder() {
    static const auto sFolder = std::make_unique<QTemporaryDir>();
    static const QByteArray sPath = QFile::encodeName(sFolder->path()) + '/';
    require(sFolder->isValid(), "a temporary folder can be made");
    return sPath;
}

QByteArray pathOf(const QByteArray& name) { return folder() + name; }

bool makeFile(const QByteArray& name) {
    if (name.isEmpty() || name == "." || name == ".." || name.contains('/') || name.contains('\0')) {
        return false;
    }
    const int file = open(pathOf(name).constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    return file >= 0 && close(file) == 0;
}

/// Two files (often spellings of one text) and where the text of each leads.
void checkFiles(const QByteArray& first, const QByteArray& second) {
    std::set<QByteArray> names;
    for (const QByteArray& name : {first, second}) {
        if (makeFile(name)) {
            names.insert(name);
        }
    }
    for (const QByteArray& name : names) {
        const QString text = displayedName(name);
        const QByteArray exact = text.toUtf8();
        std::set<QByteArray> showing;
        for (const QByteArray& other : names) {
            if (displayedName(other) == text) {
                showing.insert(other);
            }
        }
        // Two that show the same and neither written so: taking one could be taking the wrong photo.
        const QByteArray expected = showing.contains(exact) || showing.size() > 1 ? exact : name;
        const std::optional<QByteArray> found = onDiskPath(QString(QString::fromUtf8(folder()) + text));
        require(found == pathOf(expected), "the text leads to the name on disk",
                {text, QString::fromLatin1(name), QString::fromLatin1(found.value_or("nothing"))});
    }
    for (const QByteArray& name : names) {
        unlink(pathOf(name).constData());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const unsigned relation = input.byte();
    const QByteArray name = input.bytes();
    const QString text = input.text();
    const QByteArray rest = input.rest();
    checkBytes(name);
    checkBytes(rest);
    checkText(text);
    const QString shown = displayedName(name);
    switch (relation % 4) {
    case 0:
        checkFiles(name, {});
        break;
    case 1:
        checkFiles(name, shown.normalized(QString::NormalizationForm_D).toUtf8());
        break;
    case 2:
        checkFiles(name, shown.toUtf8());
        break;
    default:
        checkFiles(name, rest);
        break;
    }
    return 0;
}
