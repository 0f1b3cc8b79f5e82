// The scanner: texts are looked through eight bytes at a time, because they are most of what there is.
#include "VKJsonScanner.h"

#include <QStringDecoder>

#include <cstring>
#include <optional>
#include <utility>

namespace {

constexpr int kMaxDigits = 18; // always fit into 64 bits

constexpr std::uint64_t repeated(unsigned char byte) { return 0x0101010101010101U * byte; }
constexpr std::uint64_t kHighBits = repeated(0x80);

/// Whether any of the eight bytes ends a run of plain ones: a quote, a backslash, a control character, or above
/// ASCII. (A byte above ASCII may hide its neighbours, but then the answer is true anyway.)
bool hasSpecial(std::uint64_t eight) {
    const std::uint64_t quote = eight ^ repeated('"');
    const std::uint64_t backslash = eight ^ repeated('\\');
    const std::uint64_t found =
        (quote - repeated(1)) | (backslash - repeated(1)) | (eight - repeated(0x20)) | eight;
    return (found & kHighBits) != 0;
}

/// The first byte that is not plain, or the end.
const char* skipPlain(const char* at, const char* end) {
    std::uint64_t eight = 0;
    while (end - at >= 8) {
        std::memcpy(&eight, at, sizeof eight);
        if (hasSpecial(eight)) {
            break;
        }
        at += 8;
    }
    while (at != end) {
        const auto byte = static_cast<unsigned char>(*at);
        if (byte < 0x20 || byte == '"' || byte == '\\' || byte >= 0x80) {
            break;
        }
        ++at;
    }
    return at;
}

int hexDigit(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    if (digit >= 'a' && digit <= 'f') {
        return digit - 'a' + 10;
    }
    return digit >= 'A' && digit <= 'F' ? digit - 'A' + 10 : -1;
}

/// The unit behind "\u".
bool decodeUnit(QByteArrayView digits, char16_t& unit) {
    if (digits.size() < 4) {
        return false;
    }
    int value = 0;
    for (const char digit : digits.first(4)) {
        const int part = hexDigit(digit);
        if (part < 0) {
            return false;
        }
        value = value * 16 + part;
    }
    unit = static_cast<char16_t>(value);
    return true;
}

/// The unit that the escape at the start of the bytes stands for, and the escape's length; 0 for none.
qsizetype decodeEscape(QByteArrayView bytes, char16_t& unit) {
    constexpr char kLetters[] = "\"\\/bfnrt";
    constexpr char16_t kUnits[] = u"\"\\/\b\f\n\r\t";
    if (bytes.size() < 2) {
        return 0;
    }
    if (bytes[1] == 'u') {
        return decodeUnit(bytes.sliced(2), unit) ? 6 : 0;
    }
    const char* const letter =
        bytes[1] == '\0' ? nullptr : std::strchr(static_cast<const char*>(kLetters), bytes[1]);
    if (letter == nullptr) {
        return 0;
    }
    unit = kUnits[letter - kLetters];
    return 2;
}

/// Nothing for bytes that are not wholly well-formed UTF-8.
std::optional<QString> strictText(QByteArrayView bytes) {
    QStringDecoder decoder(QStringConverter::Utf8,
                           QStringConverter::Flag::ConvertInitialBom | QStringConverter::Flag::Stateless);
    QString text = decoder(bytes);
    return decoder.hasError() ? std::nullopt : std::optional(std::move(text));
}

bool decodeEscapes(QByteArrayView bytes, QString& into) {
    into.clear();
    into.reserve(bytes.size());
    while (!bytes.isEmpty()) {
        const qsizetype plain = bytes.indexOf('\\') < 0 ? bytes.size() : bytes.indexOf('\\');
        const auto text = strictText(bytes.first(plain));
        if (!text) {
            return false;
        }
        into += *text;
        bytes = bytes.sliced(plain);
        char16_t unit = 0;
        if (!bytes.isEmpty()) {
            const qsizetype length = decodeEscape(bytes, unit);
            if (length == 0) {
                return false;
            }
            into += QChar(unit);
            bytes = bytes.sliced(length);
        }
    }
    return true;
}

} // namespace

bool VKJsonScanner::readText(Text& text) {
    if (!take('"')) {
        return false;
    }
    const char* const start = mAt;
    text = Text();
    for (;;) {
        mAt = skipPlain(mAt, mEnd);
        if (mAt == mEnd) {
            return false;
        }
        const auto byte = static_cast<unsigned char>(*mAt);
        if (byte == '"') {
            break;
        }
        if (byte < 0x20) {
            return false;
        }
        if (byte == '\\') {
            text.hasEscapes = true;
            if (mEnd - mAt < 2) {
                return false;
            }
            ++mAt;
        } else {
            text.isAscii = false;
        }
        ++mAt;
    }
    text.bytes = QByteArrayView(start, mAt++);
    return true;
}

bool VKJsonScanner::decode(const Text& text, QString& into) {
    if (text.isAscii && !text.hasEscapes) {
        into = QString::fromLatin1(text.bytes);
        return true;
    }
    if (text.bytes.startsWith("\xef\xbb\xbf")) {
        return false; // the framework drops it
    }
    if (text.hasEscapes) {
        return decodeEscapes(text.bytes, into);
    }
    auto decoded = strictText(text.bytes);
    if (!decoded) {
        return false;
    }
    into = *std::move(decoded);
    return true;
}

bool VKJsonScanner::readFlag(bool& flag) {
    flag = next() == 't';
    return takeWord(flag ? "true" : "false");
}

bool VKJsonScanner::readInteger(std::int64_t& number) {
    const bool negative = take('-');
    const char* const start = mAt;
    if (takeDigits() == 0 || mAt - start > kMaxDigits || (negative && *start == '0')) {
        return false;
    }
    if (mAt != mEnd && (*mAt == '.' || *mAt == 'e' || *mAt == 'E')) {
        return false;
    }
    std::int64_t value = 0;
    for (const char* digit = start; digit != mAt; ++digit) {
        value = value * 10 + (*digit - '0');
    }
    number = negative ? -value : value;
    return true;
}

bool VKJsonScanner::takeWord(QByteArrayView word) {
    if (bytesLeft() < word.size() || QByteArrayView(mAt, word.size()) != word) {
        return false;
    }
    mAt += word.size();
    return true;
}

/// How many there are; 0 where the first of several is a "0".
qsizetype VKJsonScanner::takeDigits() {
    const char* const start = mAt;
    while (mAt != mEnd && *mAt >= '0' && *mAt <= '9') {
        ++mAt;
    }
    const qsizetype digits = mAt - start;
    return digits > 1 && *start == '0' ? 0 : digits;
}

bool VKJsonScanner::skipNumber() {
    mAt += *mAt == '-' ? 1 : 0;
    const qsizetype digits = takeDigits();
    if (digits == 0 || digits > kMaxDigits) {
        return false;
    }
    if (mAt == mEnd || *mAt != '.') {
        return mAt == mEnd || (*mAt != 'e' && *mAt != 'E');
    }
    const char* const start = ++mAt;
    while (mAt != mEnd && *mAt >= '0' && *mAt <= '9') {
        ++mAt;
    }
    return mAt != start && mAt - start <= kMaxDigits && (mAt == mEnd || (*mAt != 'e' && *mAt != 'E'));
}

bool VKJsonScanner::skipText() {
    Text text;
    if (!readText(text)) {
        return false;
    }
    QString unused;
    return (text.isAscii && !text.hasEscapes) || decode(text, unused);
}

bool VKJsonScanner::skipValue(int depth) {
    if (depth == kMaxDepth) {
        return false;
    }
    switch (next()) {
    case '"':
        return skipText();
    case '{':
        return readObject([this, depth](QByteArrayView /*key*/) { return skipValue(depth + 1); });
    case '[':
        return readArray([this, depth] { return skipValue(depth + 1); });
    case 't':
        return takeWord("true");
    case 'f':
        return takeWord("false");
    case 'n':
        return takeWord("null");
    default:
        return isNumber() && skipNumber();
    }
}
