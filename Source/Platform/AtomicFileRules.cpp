// The name of the temporary sibling.
#include "Platform/AtomicFile.h"

#include <algorithm>

namespace VKPlatform {

QByteArray temporaryFileName(QByteArrayView name, QByteArrayView suffix, qsizetype limit) {
    constexpr qsizetype kDots = 2;
    qsizetype kept = std::min(name.size(), std::max<qsizetype>(0, limit - kDots - suffix.size()));
    // A continuation byte (10xxxxxx) is not where a character begins.
    while (kept < name.size() && kept > 0 && (static_cast<unsigned char>(name.at(kept)) & 0xC0U) == 0x80U) {
        --kept;
    }
    QByteArray result;
    result.reserve(kept + suffix.size() + kDots);
    result += '.';
    result += name.first(kept);
    result += '.';
    result += suffix;
    return result;
}

} // namespace VKPlatform
