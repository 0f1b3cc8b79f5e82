// A JSON text read strictly, with the place of every value.
#include "VKConfigText.h"

#include "VKNode.h"

#include <QStringDecoder>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace VKConfigDetail {

namespace {

bool isDigit(char byte) { return byte >= '0' && byte <= '9'; }

/// One pass over the bytes; the first failure ends it.
class Reader {
public:
    explicit Reader(QByteArrayView bytes) : mBytes(bytes) {}

    JsonError read(JsonValue& value) {
        if (mBytes.size() > VKNode::kMaxJsonBytes) {
            fail(0, u"the file is longer than %1 bytes"_s.arg(VKNode::kMaxJsonBytes));
            return mError;
        }
        if (mBytes.startsWith("\xef\xbb\xbf")) {
            mAt = 3;
        }
        skipBlanks();
        if (readValue(value, 0)) {
            skipBlanks();
            if (mAt < mBytes.size()) {
                fail(mAt, u"there is more behind the end of the document"_s);
            }
        }
        return mError;
    }

private:
    [[nodiscard]] char peek() const { return mAt < mBytes.size() ? mBytes[mAt] : '\0'; }
    [[nodiscard]] bool atEnd() const { return mAt >= mBytes.size(); }

    bool fail(qsizetype offset, const QString& message) {
        mError = {offset, message};
        return false;
    }
    bool failHere(const QString& what) {
        const QString message =
            atEnd() ? u"the file ends where %1 should be"_s.arg(what) : u"%1 should be here"_s.arg(what);
        return fail(mAt, message);
    }

    void skipBlanks() {
        while (!atEnd() && (peek() == ' ' || peek() == '\t' || peek() == '\n' || peek() == '\r')) {
            ++mAt;
        }
    }

    bool readValue(JsonValue& value, int depth) {
        value.offset = mAt;
        if (++mValues > kMaxTextValues) {
            return fail(mAt, u"there are more than %1 values, too many to check"_s.arg(kMaxTextValues));
        }
        switch (peek()) {
        case '{':
        case '[':
            if (depth >= VKNode::kMaxJsonDepth) {
                return fail(mAt,
                            u"arrays and objects are nested more than %1 deep"_s.arg(VKNode::kMaxJsonDepth));
            }
            return readContainer(value, depth + 1);
        case '"':
            value.kind = JsonKind::String;
            return readString(value.text);
        case 't':
            value.flag = true;
            return readWord("true", JsonKind::Bool, value);
        case 'f':
            return readWord("false", JsonKind::Bool, value);
        case 'n':
            return readWord("null", JsonKind::Null, value);
        default:
            return peek() == '-' || isDigit(peek()) ? readNumber(value) : failHere(u"a value"_s);
        }
    }

    bool readWord(QByteArrayView word, JsonKind kind, JsonValue& value) {
        if (!mBytes.sliced(mAt).startsWith(word)) {
            return failHere(u"a value"_s);
        }
        value.kind = kind;
        mAt += word.size();
        return true;
    }

    bool readContainer(JsonValue& value, int depth) {
        const bool object = peek() == '{';
        const char end = object ? '}' : ']';
        value.kind = object ? JsonKind::Object : JsonKind::Array;
        ++mAt;
        skipBlanks();
        if (peek() == end && !atEnd()) {
            ++mAt;
            return true;
        }
        while (true) {
            JsonMember& member = value.members.emplace_back();
            if ((object && !readKey(member)) || !readValue(member.value, depth)) {
                return false;
            }
            skipBlanks();
            if (!atEnd() && peek() == end) {
                ++mAt;
                return true;
            }
            if (atEnd() || peek() != ',') {
                return failHere(object ? u"a comma or \"}\""_s : u"a comma or \"]\""_s);
            }
            ++mAt;
            skipBlanks();
        }
    }

    bool readKey(JsonMember& member) {
        member.keyOffset = mAt;
        if (peek() != '"') {
            return failHere(u"a key in double quotes"_s);
        }
        // The framework's reader finds no member under such a key, but shows it without the mark.
        if (mBytes.sliced(mAt + 1).startsWith("\xef\xbb\xbf")) {
            return fail(mAt, u"a key must not begin with a byte-order mark"_s);
        }
        if (!readString(member.key)) {
            return false;
        }
        skipBlanks();
        if (peek() != ':') {
            return failHere(u"a colon"_s);
        }
        ++mAt;
        skipBlanks();
        return true;
    }

    bool readString(QString& text) {
        ++mAt;
        qsizetype start = mAt;
        while (!atEnd()) {
            const char byte = peek();
            if (byte == '"') {
                return appendPlain(start, text) && (++mAt, true);
            }
            if (static_cast<unsigned char>(byte) < 0x20) {
                return fail(mAt, u"a control character in a text has to be written as \\u%1"_s.arg(
                                     static_cast<int>(byte), 4, 16, QChar(u'0')));
            }
            if (byte != '\\') {
                ++mAt;
                continue;
            }
            if (!appendPlain(start, text) || !readEscape(text)) {
                return false;
            }
            start = mAt;
        }
        return fail(mAt, u"the file ends inside a text"_s);
    }

    bool appendPlain(qsizetype start, QString& text) {
        QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::Stateless);
        const QString plain = decoder.decode(mBytes.sliced(start, mAt - start));
        if (decoder.hasError()) {
            return fail(start, u"the text that begins here is not UTF-8"_s);
        }
        text += plain;
        return true;
    }

    bool readEscape(QString& text) {
        const qsizetype start = mAt++;
        const char letter = peek();
        ++mAt;
        static constexpr QByteArrayView kLetters = "\"\\/bfnrt";
        static constexpr QByteArrayView kMeanings = "\"\\/\b\f\n\r\t";
        if (const qsizetype place = kLetters.indexOf(letter); place >= 0 && letter != '\0') {
            text += QLatin1Char(kMeanings[place]);
            return true;
        }
        bool valid = letter == 'u' && mAt + 4 <= mBytes.size();
        // Exactly four digits: the conversion alone would take a sign or a blank.
        for (qsizetype i = 0; valid && i < 4; ++i) {
            const char digit = mBytes[mAt + i];
            valid = isDigit(digit) || (digit >= 'a' && digit <= 'f') || (digit >= 'A' && digit <= 'F');
        }
        if (!valid) {
            return fail(start, u"there is no such escape sequence"_s);
        }
        text += QChar(mBytes.sliced(mAt, 4).toByteArray().toUShort(nullptr, 16));
        mAt += 4;
        return true;
    }

    bool readDigits() {
        const qsizetype start = mAt;
        while (isDigit(peek())) {
            ++mAt;
        }
        return mAt > start;
    }

    bool readNumber(JsonValue& value) {
        value.kind = JsonKind::Number;
        if (peek() == '-') {
            ++mAt;
        }
        if (peek() == '0') {
            ++mAt;
            if (isDigit(peek())) {
                return fail(value.offset, u"a number must not begin with 0"_s);
            }
        } else if (!readDigits()) {
            return failHere(u"a digit"_s);
        }
        if (peek() == '.') {
            ++mAt;
            if (!readDigits()) {
                return failHere(u"a digit"_s);
            }
        }
        if (peek() == 'e' || peek() == 'E') {
            ++mAt;
            if (peek() == '+' || peek() == '-') {
                ++mAt;
            }
            if (!readDigits()) {
                return failHere(u"a digit"_s);
            }
        }
        bool fits = false;
        value.number = mBytes.sliced(value.offset, mAt - value.offset).toByteArray().toDouble(&fits);
        return fits || fail(value.offset, u"the number is too large"_s);
    }

    QByteArrayView mBytes;
    qsizetype mAt = 0;
    int mValues = 0;
    JsonError mError;
};

} // namespace

const JsonValue* JsonValue::find(QStringView key) const {
    const auto member = std::find_if(members.rbegin(), members.rend(),
                                     [key](const JsonMember& candidate) { return candidate.key == key; });
    return kind != JsonKind::Object || member == members.rend() ? nullptr : &member->value;
}

JsonError readText(QByteArrayView bytes, JsonValue& value) { return Reader(bytes).read(value); }

} // namespace VKConfigDetail
