// Short ASCII extensions are packed into one number each; every other one goes the filter's own way.
#include "VKQtExtensionSet.h"

#include "VKQtPathFilter.h"

#include <algorithm>

namespace {

constexpr qsizetype kMaxPacked = 7; // one byte for each unit, and one for how many there are
constexpr std::uint64_t kNotPacked = 0;

// The text as a number that no other text has, or kNotPacked when it is too long or not ASCII.
std::uint64_t packed(QStringView text, bool lowerCase) {
    if (text.size() > kMaxPacked) {
        return kNotPacked;
    }
    std::uint64_t number = static_cast<std::uint64_t>(text.size()) + 1;
    for (const QChar unit : text) {
        std::uint64_t value = unit.unicode();
        if (value >= 0x80) {
            return kNotPacked;
        }
        if (lowerCase && value >= u'A' && value <= u'Z') {
            value += u'a' - u'A';
        }
        number = number << 8 | value;
    }
    return number;
}

} // namespace

VKQtExtensionSet::VKQtExtensionSet(const VKQtPathFilter& filter) : mFilter(filter) {
    mPacked.reserve(static_cast<std::size_t>(filter.mExtensions.size()));
    for (const QString& extension : filter.mExtensions) {
        const std::uint64_t number = packed(extension, false);
        if (number != kNotPacked) {
            mPacked.push_back(number);
        }
    }
    std::sort(mPacked.begin(), mPacked.end());
}

bool VKQtExtensionSet::filters(QStringView name) const {
    if (mFilter.mAcceptAllFiles) {
        return false;
    }
    const qsizetype dot = name.lastIndexOf(u'.');
    const std::uint64_t number = packed(dot < 0 ? QStringView() : name.sliced(dot + 1), true);
    if (number == kNotPacked) {
        return mFilter.isFileNameFiltered(name.toString());
    }
    return !std::binary_search(mPacked.begin(), mPacked.end(), number);
}
