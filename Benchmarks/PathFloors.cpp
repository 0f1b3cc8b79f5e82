// The floors of the path benchmarks, with the vector instructions that every 64-bit x86 processor has. On
// other processors the same passes run unit by unit, so that the benchmarks build there; their ratios then
// say less.

#include "PathFloors.h"

#include <algorithm>
#include <cstring>

#if defined(__SSE2__)
#    include <emmintrin.h>
#endif

namespace {

constexpr qsizetype kBlock = 8; // UTF-16 units in one vector

constexpr char16_t lowered(char16_t unit) {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit | 0x20) : unit;
}

#if defined(__SSE2__)

__m128i loadBlock(const char16_t* from) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from)); }

__m128i allUnits(char16_t unit) { return _mm_set1_epi16(static_cast<short>(unit)); }

/// All ones in the units that hold an ASCII letter, given the block with bit 0x20 set everywhere.
__m128i lettersOf(__m128i lower) {
    return _mm_cmpeq_epi16(_mm_subs_epu16(_mm_sub_epi16(lower, allUnits(u'a')), allUnits(25)),
                           _mm_setzero_si128());
}

__m128i loweredBlock(__m128i block) {
    const __m128i lower = _mm_or_si128(block, allUnits(0x20));
    const __m128i letters = lettersOf(lower);
    return _mm_or_si128(_mm_and_si128(letters, lower), _mm_andnot_si128(letters, block));
}

/// All ones in the units that are equal but for the case of ASCII letters.
__m128i equalUnits(__m128i a, __m128i b) {
    const __m128i difference = _mm_xor_si128(a, b);
    const __m128i caseOnly = _mm_and_si128(_mm_cmpeq_epi16(difference, allUnits(0x20)),
                                           lettersOf(_mm_or_si128(a, allUnits(0x20))));
    return _mm_or_si128(_mm_cmpeq_epi16(difference, _mm_setzero_si128()), caseOnly);
}

/// Ones in the units that canonical ASCII text does not have.
__m128i oddUnits(__m128i block) {
    return _mm_or_si128(_mm_cmpeq_epi16(block, allUnits(u'\\')), _mm_and_si128(block, allUnits(0xff80)));
}

#endif

bool equalRuns(const char16_t* a, const char16_t* b, qsizetype size) {
#if defined(__SSE2__)
    if (size >= kBlock) {
        __m128i equal = allUnits(0xffff);
        for (qsizetype at = 0; at + kBlock <= size; at += kBlock) {
            equal = _mm_and_si128(equal, equalUnits(loadBlock(a + at), loadBlock(b + at)));
        }
        equal = _mm_and_si128(equal, equalUnits(loadBlock(a + size - kBlock), loadBlock(b + size - kBlock)));
        return _mm_movemask_epi8(equal) == 0xffff;
    }
#endif
    return std::equal(a, a + size, b, [](char16_t x, char16_t y) { return lowered(x) == lowered(y); });
}

bool isCanonical(const char16_t* text, qsizetype size) {
#if defined(__SSE2__)
    if (size >= kBlock) {
        __m128i odd = oddUnits(loadBlock(text + size - kBlock));
        for (qsizetype at = 0; at + kBlock <= size; at += kBlock) {
            odd = _mm_or_si128(odd, oddUnits(loadBlock(text + at)));
        }
        return _mm_movemask_epi8(_mm_cmpeq_epi8(odd, _mm_setzero_si128())) == 0xffff &&
               text[size - 1] != u'/';
    }
#endif
    return (size < 3 || text[size - 1] != u'/') &&
           std::all_of(text, text + size, [](char16_t unit) { return unit < 0x80 && unit != u'\\'; });
}

std::uint64_t mixed(std::uint64_t a, std::uint64_t b) {
    __extension__ using Wide = unsigned __int128;
    const Wide product = static_cast<Wide>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

/// Up to eight units, folded, one to a byte.
std::uint64_t foldedBytes(const char16_t* text, qsizetype size) {
    std::uint64_t bytes = 0;
    for (qsizetype at = size; at > 0; --at) {
        bytes = bytes << 8 | (lowered(text[at - 1]) & 0xffU);
    }
    return bytes;
}

} // namespace

QString PathFloors::shareIfCanonical(const QString& text) {
    return isCanonical(reinterpret_cast<const char16_t*>(text.utf16()), text.size()) ? text : QString();
}

QString PathFloors::withSlashes(const QString& text) {
    QString result(text.size(), Qt::Uninitialized);
    std::transform(text.begin(), text.end(), result.begin(),
                   [](QChar unit) { return unit == u'\\' ? QChar(u'/') : unit; });
    return result;
}

QString PathFloors::copied(const QString& text) { return QString(text.constData(), text.size()); }

bool PathFloors::equalIgnoringCase(QStringView a, QStringView b) {
    return a.size() == b.size() && equalRuns(a.utf16(), b.utf16(), a.size());
}

bool PathFloors::startsWithIgnoringCase(QStringView text, QStringView prefix) {
    return text.size() >= prefix.size() && equalRuns(text.utf16(), prefix.utf16(), prefix.size()) &&
           (text.size() == prefix.size() || text.at(prefix.size()) == u'/');
}

std::size_t PathFloors::hashIgnoringCase(QStringView text, std::size_t seed) {
    constexpr std::uint64_t kMultiplier = 0x9e3779b97f4a7c15U;
    std::uint64_t hash = seed ^ static_cast<std::uint64_t>(text.size());
    const char16_t* units = text.utf16();
    qsizetype at = 0;
#if defined(__SSE2__)
    for (; at + kBlock <= text.size(); at += kBlock) {
        const __m128i folded = loweredBlock(loadBlock(units + at));
        const auto bytes = static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_packus_epi16(folded, folded)));
        hash = mixed(hash ^ bytes, kMultiplier);
    }
#else
    for (; at + kBlock <= text.size(); at += kBlock) {
        hash = mixed(hash ^ foldedBytes(units + at, kBlock), kMultiplier);
    }
#endif
    return mixed(hash ^ foldedBytes(units + at, text.size() - at), kMultiplier);
}

QStringView PathFloors::parent(QStringView text) {
    for (qsizetype at = text.size(); at > 0; --at) {
        if (text.at(at - 1) == u'/') {
            return text.left(at - 1);
        }
    }
    return text;
}

std::uint64_t PathFloors::packedSuffix(QStringView text) {
    const qsizetype first = std::max<qsizetype>(text.size() - kBlock - 1, 0);
    for (qsizetype at = text.size(); at > first; --at) {
        if (text.at(at - 1) == u'.') {
            return foldedBytes(text.utf16() + at, text.size() - at);
        }
    }
    return 0;
}
