// One line at a time: counted, decoded, split, kept.
#include "VKHttpReplyHeaders.h"

#include <algorithm>

namespace {

using namespace Qt::StringLiterals;

constexpr QLatin1StringView kSeparator = ": "_L1;

bool isAscii(QByteArrayView bytes) {
    return std::all_of(bytes.begin(), bytes.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// Where the one separator stands; -1 unless there is just one. They cannot overlap.
template <typename Text>
qsizetype onlySeparator(Text line) {
    const qsizetype at = line.indexOf(kSeparator);
    if (at < 0 || line.indexOf(kSeparator, at + kSeparator.size()) >= 0) {
        return -1;
    }
    return at;
}

/// Into the memory that the text has, where it is large enough and its own.
void assign(QString& text, QLatin1StringView value) {
    if (text == value) {
        return;
    }
    text.resize(value.size());
    std::transform(value.begin(), value.end(), text.begin(), [](char c) { return QLatin1Char(c); });
}

} // namespace

void VKHttpReplyHeaders::startTransfer() noexcept {
    mBytes = 0;
    mLines = 0;
}

VKHttpHeaderLine VKHttpReplyHeaders::take(QByteArrayView line) {
    mBytes += line.size();
    ++mLines;
    if (mBytes > mMaxBytes || mLines > mMaxLines) {
        return VKHttpHeaderLine::TooMany;
    }
    if (line == QByteArrayView("\r\n")) {
        return VKHttpHeaderLine::EndOfBlock;
    }
    const QByteArrayView text = line.chopped(std::min<qsizetype>(line.size(), 2));
    return isAscii(text) ? takeAscii(QLatin1StringView(text)) : takeText(QString::fromUtf8(text));
}

VKHttpHeaderLine VKHttpReplyHeaders::takeAscii(QLatin1StringView line) {
    const qsizetype at = onlySeparator(line);
    if (at < 0) {
        return VKHttpHeaderLine::Ignored;
    }
    const QLatin1StringView name = line.first(at);
    const QLatin1StringView value = line.sliced(at + kSeparator.size());
    const auto known = mValues.find(name);
    if (known == mValues.end()) {
        mValues.emplace(name, value);
    } else {
        assign(known->second, value);
    }
    return VKHttpHeaderLine::Kept;
}

VKHttpHeaderLine VKHttpReplyHeaders::takeText(QStringView line) {
    const qsizetype at = onlySeparator(line);
    if (at < 0) {
        return VKHttpHeaderLine::Ignored;
    }
    mValues.insert_or_assign(line.first(at).toString(), line.sliced(at + kSeparator.size()).toString());
    return VKHttpHeaderLine::Kept;
}

QString VKHttpReplyHeaders::value(QStringView name) const {
    const auto known = mValues.find(name);
    return known == mValues.end() ? QString() : known->second;
}

bool VKHttpReplyHeaders::contains(QStringView name) const { return mValues.find(name) != mValues.end(); }
