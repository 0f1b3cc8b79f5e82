// Written with the compilers' vector types, so that one text serves every processor. Loads go through memcpy
// and never leave the text: a tail shorter than a block is covered by a block that overlaps the one before
// it.
#include "VKQtTextKernels.h"

#include <QChar>

#include <bit>
#include <cstdint>
#include <cstring>

namespace VKQtTextKernels {
namespace {

constexpr qsizetype kBlock = 8;

using Units = std::uint16_t __attribute__((vector_size(16)));
using SignedUnits = std::int16_t __attribute__((vector_size(16)));
using Halves = std::uint64_t __attribute__((vector_size(16)));

inline Units load(const char16_t* from) noexcept {
    Units units;
    std::memcpy(&units, from, sizeof units);
    return units;
}

// A text of 1 to 7 units as one block. Some units appear twice; the same ones for every text of that length.
inline Units loadShort(const char16_t* from, qsizetype length) noexcept {
    Halves halves{};
    if (length >= 4) {
        std::uint64_t first = 0;
        std::uint64_t last = 0;
        std::memcpy(&first, from, sizeof first);
        std::memcpy(&last, from + length - 4, sizeof last);
        halves = Halves{first, last};
    } else {
        const std::uint64_t first = from[0];
        const std::uint64_t middle = from[length / 2];
        const std::uint64_t last = from[length - 1];
        halves = Halves{first | middle << 16U | last << 32U, 0};
    }
    return reinterpret_cast<Units>(halves);
}

inline Units splat(char16_t unit) noexcept { return Units{} + static_cast<std::uint16_t>(unit); }

inline bool anyBit(Units units) noexcept {
    const Halves halves = reinterpret_cast<Halves>(units);
    return (halves[0] | halves[1]) != 0;
}

inline Units equalTo(Units units, char16_t unit) noexcept {
    return reinterpret_cast<Units>(units == splat(unit));
}

// All bits set where `units` lies in the 26 from `first` on. Shifted to the lowest signed values, the range
// needs one comparison, and a signed one, which every processor has.
inline Units within26(Units units, char16_t first) noexcept {
    constexpr std::uint16_t kLowest = 0x8000;
    const Units shifted = units - splat(first) + kLowest;
    const SignedUnits limit =
        reinterpret_cast<SignedUnits>(Units{} + static_cast<std::uint16_t>(kLowest + 26));
    return reinterpret_cast<Units>(reinterpret_cast<SignedUnits>(shifted) < limit);
}

inline bool isAsciiBlock(Units units) noexcept { return !anyBit(units & splat(0xFF80)); }

// Zero where the units are the same or the two cases of one ASCII letter.
inline Units difference(Units a, Units b) noexcept {
    const Units changed = a ^ b;
    return changed & ~(within26(a | splat(0x20), u'a') & splat(0x20));
}

// The texts are equal up to `from`. What is no ASCII letter is left to Qt, starting with a whole code point.
bool restIsEqual(QStringView a, QStringView b, qsizetype from) noexcept {
    if (from > 0 && QChar::isHighSurrogate(a[from - 1].unicode())) {
        --from;
    }
    return a.mid(from).compare(b.mid(from), Qt::CaseInsensitive) == 0;
}

// The unit at a position as Qt's case-ignoring comparison sees it. That compares a low surrogate as the
// folded code point that it ends; two of those are equal only after equal high surrogates, so the lower half
// tells.
char16_t foldedUnit(const char16_t* text, qsizetype position) noexcept {
    const char16_t unit = text[position];
    char32_t folded = 0;
    if (QChar::isLowSurrogate(unit) && position > 0 && QChar::isHighSurrogate(text[position - 1])) {
        folded = QChar::toCaseFolded(QChar::surrogateToUcs4(text[position - 1], unit));
    } else {
        folded = QChar::toCaseFolded(char32_t(unit));
    }
    return static_cast<char16_t>(folded & 0xFFFFU);
}

inline Units foldedAscii(Units units) noexcept { return units + (within26(units, u'A') & splat(0x20)); }

Units foldedOther(const char16_t* text, qsizetype begin, qsizetype length) noexcept {
    char16_t folded[kBlock] = {};
    for (qsizetype i = 0; i < length; ++i) {
        folded[i] = foldedUnit(text, begin + i);
    }
    return length == kBlock ? load(folded) : loadShort(folded, length);
}

inline Units foldedBlock(const char16_t* text, qsizetype begin) noexcept {
    const Units units = load(text + begin);
    return isAsciiBlock(units) ? foldedAscii(units) : foldedOther(text, begin, kBlock);
}

struct Found {
    Units backslashes{};
    Units allBits{};

    void look(Units block) noexcept {
        backslashes |= equalTo(block, u'\\');
        allBits |= block;
    }
};

inline Found findIn(QStringView text) noexcept {
    const char16_t* const units = text.utf16();
    const qsizetype length = text.size();
    Found found;
    if (length >= kBlock) {
        qsizetype i = 0;
        for (; i + 2 * kBlock <= length; i += 2 * kBlock) {
            found.look(load(units + i));
            found.look(load(units + i + kBlock));
        }
        if (i + kBlock < length) {
            found.look(load(units + i));
        }
        found.look(load(units + length - kBlock));
    } else if (length > 0) {
        found.look(loadShort(units, length));
    }
    return found;
}

inline std::uint64_t multiplied(std::uint64_t a, std::uint64_t b) noexcept {
    __extension__ using Wide = unsigned __int128;
    const Wide product = static_cast<Wide>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64U);
}

} // namespace

bool isPlain(QStringView text) noexcept {
    const Found found = findIn(text);
    return !anyBit(found.backslashes | (found.allBits & splat(0xFF80)));
}

PathScan scanPath(QStringView text) noexcept {
    const Found found = findIn(text);
    const Halves halves = reinterpret_cast<Halves>(found.allBits);
    const std::uint64_t half = halves[0] | halves[1];
    const std::uint64_t quarter = half | half >> 32U;
    return {anyBit(found.backslashes), static_cast<char16_t>((quarter | quarter >> 16U) & 0xFFFFU)};
}

void copyWithSlashes(char16_t* to, QStringView text) noexcept {
    const char16_t* const from = text.utf16();
    const qsizetype length = text.size();
    if (length < kBlock) {
        for (qsizetype i = 0; i < length; ++i) {
            to[i] = from[i] == u'\\' ? u'/' : from[i];
        }
        return;
    }
    const auto rewrite = [&](qsizetype at) {
        const Units units = load(from + at);
        const Units rewritten = units ^ (equalTo(units, u'\\') & splat(u'\\' ^ u'/'));
        std::memcpy(to + at, &rewritten, sizeof rewritten);
    };
    for (qsizetype i = 0; i + kBlock < length; i += kBlock) {
        rewrite(i);
    }
    rewrite(length - kBlock);
}

bool widenPlainName(char16_t* to, QByteArrayView name) noexcept {
    using Bytes = std::uint8_t __attribute__((vector_size(8)));
    const char* const from = name.data();
    const qsizetype length = name.size();
    if (length < kBlock) {
        bool plain = true;
        for (qsizetype i = 0; i < length; ++i) {
            const auto byte = static_cast<unsigned char>(from[i]);
            plain = plain && byte < 0x80 && byte != '\\';
            to[i] = byte;
        }
        return plain;
    }
    Units odd{};
    const auto widen = [&](qsizetype at) {
        Bytes bytes;
        std::memcpy(&bytes, from + at, sizeof bytes);
        const Units units = __builtin_convertvector(bytes, Units);
        odd |= (units & splat(0x80)) | equalTo(units, u'\\');
        std::memcpy(to + at, &units, sizeof units);
    };
    for (qsizetype i = 0; i + kBlock < length; i += kBlock) {
        widen(i);
    }
    widen(length - kBlock);
    return !anyBit(odd);
}

qsizetype lastIndexOf(QStringView text, char16_t unit) noexcept {
    const char16_t* const units = text.utf16();
    qsizetype end = text.size();
    for (; end >= kBlock; end -= kBlock) {
        const Halves found = reinterpret_cast<Halves>(equalTo(load(units + end - kBlock), unit));
        for (const qsizetype half : {1, 0}) {
            const std::uint64_t mask = found[half];
            if (mask != 0) {
                const int bitsAfter = std::endian::native == std::endian::little ? std::countl_zero(mask)
                                                                                 : std::countr_zero(mask);
                return end - kBlock + 4 * half + 3 - bitsAfter / 16;
            }
        }
    }
    while (end > 0 && units[end - 1] != unit) {
        --end;
    }
    return end - 1;
}

bool equalIgnoringCase(QStringView a, QStringView b) noexcept {
    const qsizetype length = a.size();
    if (length != b.size()) {
        return false;
    }
    const char16_t* const left = a.utf16();
    const char16_t* const right = b.utf16();
    if (left == right || length == 0) {
        return true;
    }
    if (length < kBlock) {
        const Units x = loadShort(left, length);
        const Units y = loadShort(right, length);
        return !anyBit(difference(x, y)) || (!isAsciiBlock(x | y) && restIsEqual(a, b, 0));
    }
    qsizetype i = 0;
    for (; i + 2 * kBlock <= length; i += 2 * kBlock) {
        const Units x0 = load(left + i);
        const Units y0 = load(right + i);
        const Units x1 = load(left + i + kBlock);
        const Units y1 = load(right + i + kBlock);
        if (anyBit(difference(x0, y0) | difference(x1, y1))) {
            return !isAsciiBlock(x0 | y0 | x1 | y1) && restIsEqual(a, b, i);
        }
    }
    const qsizetype last = length - kBlock;
    const qsizetype previous = i < last ? i : last;
    const Units x0 = load(left + previous);
    const Units y0 = load(right + previous);
    const Units x1 = load(left + last);
    const Units y1 = load(right + last);
    return !anyBit(difference(x0, y0) | difference(x1, y1)) ||
           (!isAsciiBlock(x0 | y0 | x1 | y1) && restIsEqual(a, b, previous));
}

size_t hashIgnoringCase(QStringView text, size_t seed) noexcept {
    // Odd constants with mixed bits; the seed is in both factors of every product, so that no text that is
    // known beforehand can make one of them zero.
    constexpr std::uint64_t kFirst = 0x9E3779B97F4A7C15U;
    constexpr std::uint64_t kSecond = 0xD1B54A32D192ED03U;
    const char16_t* const units = text.utf16();
    const qsizetype length = text.size();
    const std::uint64_t secret = multiplied(seed ^ kFirst, kSecond) | 1U;
    std::uint64_t hash = secret ^ static_cast<std::uint64_t>(length);
    const auto mix = [&](Units block) {
        const Halves halves = reinterpret_cast<Halves>(block);
        hash = multiplied(halves[0] ^ secret, halves[1] ^ hash);
    };
    if (length >= kBlock) {
        for (qsizetype i = 0; i + kBlock < length; i += kBlock) {
            mix(foldedBlock(units, i));
        }
        mix(foldedBlock(units, length - kBlock));
    } else if (length > 0) {
        const Units block = loadShort(units, length);
        mix(isAsciiBlock(block) ? foldedAscii(block) : foldedOther(units, 0, length));
    }
    return static_cast<size_t>(multiplied(hash ^ kSecond, secret));
}

} // namespace VKQtTextKernels
