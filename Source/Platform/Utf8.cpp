// Qt's converters do the work; what they drop or replace silently is kept or refused here.
#include "Platform/Utf8.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace VKPlatform {

namespace {

constexpr QByteArrayView kByteOrderMark("\xEF\xBB\xBF");

/// Widens the leading ASCII run and gives its length.
qsizetype widenAscii(const char* from, qsizetype size, char16_t* to) {
    using Bytes = std::uint8_t __attribute__((vector_size(8)));
    using Units = std::uint16_t __attribute__((vector_size(16)));
    constexpr std::uint64_t kHighBits = 0x8080808080808080U;
    qsizetype done = 0;
    while (size - done >= 8) {
        Bytes bytes;
        std::memcpy(&bytes, from + done, sizeof bytes);
        if ((reinterpret_cast<std::uint64_t>(bytes) & kHighBits) != 0) {
            break;
        }
        const Units units = __builtin_convertvector(bytes, Units);
        std::memcpy(to + done, &units, sizeof units);
        done += 8;
    }
    while (done < size && static_cast<unsigned char>(from[done]) < 0x80) {
        to[done] = static_cast<char16_t>(from[done]);
        ++done;
    }
    return done;
}

} // namespace

QString decodeUtf8(QByteArrayView bytes) {
    // QString::fromUtf8 takes one leading mark away as a signature; in a name or a text it is a character.
    qsizetype marks = 0;
    while (bytes.startsWith(kByteOrderMark)) {
        bytes = bytes.sliced(kByteOrderMark.size());
        ++marks;
    }
    if (marks != 0) {
        return QString(marks, QChar(QChar::ByteOrderMark)) + QString::fromUtf8(bytes);
    }
    return bytes.isEmpty() ? QString(0, Qt::Uninitialized) : QString::fromUtf8(bytes);
}

void decodeUtf8(QByteArrayView bytes, QString& into) {
    into.resize(bytes.size());
    auto* to = reinterpret_cast<char16_t*>(into.data());
    if (widenAscii(bytes.data(), bytes.size(), to) != bytes.size()) {
        into = decodeUtf8(bytes);
    }
}

std::optional<QString> decodeUtf8Strict(QByteArrayView bytes) {
    if (!bytes.isValidUtf8()) {
        return std::nullopt;
    }
    return decodeUtf8(bytes);
}

std::optional<QByteArray> encodeUtf8(QStringView text) {
    // Most texts hold no surrogate at all, which a plain scan tells faster than Qt's pairing check.
    const bool surrogates = std::any_of(text.begin(), text.end(), [](QChar c) { return c.isSurrogate(); });
    if (surrogates && !text.isValidUtf16()) {
        return std::nullopt;
    }
    return text.isEmpty() ? QByteArray(0, Qt::Uninitialized) : text.toUtf8();
}

} // namespace VKPlatform
