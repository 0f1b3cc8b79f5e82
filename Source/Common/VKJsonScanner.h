// A strict, bounded pass over the bytes of a JSON text, for readers of what services write in bulk. It takes less
// than the framework's parser does, and what it takes the framework takes with the same meaning: whoever meets a
// false goes on with the framework.
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <cstdint>

/// Reads from front to back. Every function answers false at the first byte that it does not take, and is then at
/// an unknown place. The bytes have to live as long as the scanner and what it gives out. Pure; one thread.
///
/// Not taken, although JSON has it or the framework takes it: keys with escapes, numbers with an exponent, integers of
/// more than 18 digits, "-0", texts that begin with a byte-order mark, unknown escapes, control characters in texts,
/// nesting deeper than kMaxDepth.
class VKJsonScanner {
public:
    static constexpr int kMaxDepth = 32;

    /// The bytes between the quotes of a text.
    struct Text {
        QByteArrayView bytes;
        bool isAscii = true;
        bool hasEscapes = false;
    };

    explicit VKJsonScanner(const QByteArray& bytes)
        : mAt(bytes.constData()), mEnd(bytes.constData() + bytes.size()) {}

    [[nodiscard]] const char* position() const { return mAt; }
    [[nodiscard]] qsizetype bytesLeft() const { return mEnd - mAt; }

    /// Whether only blanks are left.
    [[nodiscard]] bool atEnd() {
        skipBlanks();
        return mAt == mEnd;
    }

    // What the next value is, by its first byte.
    [[nodiscard]] bool isText() { return next() == '"'; }
    [[nodiscard]] bool isFlag() { return next() == 't' || next() == 'f'; }
    [[nodiscard]] bool isNumber() { return next() == '-' || (next() >= '0' && next() <= '9'); }

    [[nodiscard]] bool readText(Text& text);
    [[nodiscard]] bool readFlag(bool& flag);
    /// A whole number without a point.
    [[nodiscard]] bool readInteger(std::int64_t& number);

    /// Any value, checked as it would be if it were read.
    [[nodiscard]] bool skipValue() { return skipValue(0); }

    /// What a text means, or false where it is not UTF-8 or holds an escape that JSON does not have.
    [[nodiscard]] static bool decode(const Text& text, QString& into);

    /// Calls readMember(key) at each member's value, which it has to read or skip.
    template <typename ReadMember>
    [[nodiscard]] bool readObject(ReadMember readMember) {
        if (!take('{')) {
            return false;
        }
        if (take('}')) {
            return true;
        }
        do {
            Text key;
            if (!readText(key) || key.hasEscapes || !key.isAscii || !take(':') || !readMember(key.bytes)) {
                return false;
            }
        } while (take(','));
        return take('}');
    }

    /// Calls readElement() at each element, which it has to read or skip.
    template <typename ReadElement>
    [[nodiscard]] bool readArray(ReadElement readElement) {
        if (!take('[')) {
            return false;
        }
        if (take(']')) {
            return true;
        }
        do {
            if (!readElement()) {
                return false;
            }
        } while (take(','));
        return take(']');
    }

private:
    void skipBlanks() {
        while (mAt != mEnd && (*mAt == ' ' || *mAt == '\n' || *mAt == '\r' || *mAt == '\t')) {
            ++mAt;
        }
    }

    /// The next byte behind blanks; 0 at the end.
    char next() {
        skipBlanks();
        return mAt == mEnd ? '\0' : *mAt;
    }

    bool take(char byte) {
        if (next() != byte) {
            return false;
        }
        ++mAt;
        return true;
    }

    bool takeWord(QByteArrayView word);
    qsizetype takeDigits();
    bool skipNumber();
    bool skipText();
    bool skipValue(int depth);

    const char* mAt;
    const char* mEnd;
};
