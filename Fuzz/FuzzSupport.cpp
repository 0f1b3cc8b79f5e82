// Input reading and the report of a broken law.

#include "FuzzSupport.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::uint8_t kEndOfText = 0xff;

/// Printable whatever the text holds: everything but plain ASCII as its number.
QByteArray shown(const QString& text) {
    QByteArray result = "\"";
    for (const QChar unit : text) {
        if (unit.unicode() >= 0x20 && unit.unicode() < 0x7f) {
            result += static_cast<char>(unit.unicode());
        } else {
            result += "\\x" + QByteArray::number(unit.unicode(), 16) + ' ';
        }
    }
    return result + '"';
}

} // namespace

FuzzInput::FuzzInput(const std::uint8_t* data, std::size_t size) : mData(data), mLeft(size) {
    mUtf16 = flag();
}

std::uint8_t FuzzInput::byte() {
    if (mLeft == 0) {
        return 0;
    }
    --mLeft;
    return *mData++;
}

int FuzzInput::number(int least, int most) {
    const unsigned high = byte();
    const unsigned drawn = high << 8 | byte();
    return least + static_cast<int>(drawn % static_cast<unsigned>(most - least + 1));
}

QByteArray FuzzInput::bytes() {
    const std::uint8_t* end = std::find(mData, mData + mLeft, kEndOfText);
    QByteArray taken(reinterpret_cast<const char*>(mData), end - mData);
    const auto used = static_cast<std::size_t>(end - mData) + (end == mData + mLeft ? 0 : 1);
    mData += used;
    mLeft -= used;
    return taken;
}

QString FuzzInput::text() {
    const QByteArray taken = bytes();
    if (!mUtf16) {
        return QString::fromUtf8(taken);
    }
    QString result(taken.size() / 2, Qt::Uninitialized);
    if (!result.isEmpty()) {
        std::memcpy(result.data(), taken.constData(),
                    static_cast<std::size_t>(result.size()) * sizeof(QChar));
    }
    return result;
}

QByteArray FuzzInput::rest() {
    QByteArray taken(reinterpret_cast<const char*>(mData), static_cast<qsizetype>(mLeft));
    mData += mLeft;
    mLeft = 0;
    return taken;
}

void require(bool holds, const char* law, std::initializer_list<QString> evidence) {
    if (holds) {
        return;
    }
    std::fprintf(stderr, "broken law: %s\n", law);
    for (const QString& text : evidence) {
        std::fprintf(stderr, "    %s\n", shown(text).constData());
    }
    std::abort();
}
