// What belongs to a copy, which mode it has, and how far a copy goes before somebody may end it.
#include "Platform/FileCopy.h"

namespace VKPlatform {

bool isCopiedAttribute(QByteArrayView name) {
    constexpr QByteArrayView kUser("user.");
    return (name.startsWith(kUser) && name.size() > kUser.size()) ||
           name == QByteArrayView("system.posix_acl_access") ||
           name == QByteArrayView("system.posix_acl_default");
}

bool isTooLongAndNotTheDiskFull(const AttributeSpace& space) {
    // One small block holds so much beside its own record, and a node of a tree with small ones.
    constexpr qsizetype kFitsInBlock = 512;
    constexpr qsizetype kFitsInNode = 3 * 1024;
    constexpr std::uint64_t kRoom = std::uint64_t{1} << 20;
    const bool canBeTooLong =
        space.limit == AttributeLimit::Each ? space.bytes > kFitsInNode : space.bytesTogether > kFitsInBlock;
    return canBeTooLong && space.freeBytes >= kRoom;
}

std::size_t nextCopyStep(std::size_t step, std::int64_t nanoseconds) {
    constexpr std::int64_t kTooLong = 40'000'000;
    constexpr std::int64_t kShort = 10'000'000;
    if (nanoseconds < kShort && step < kLargestCopyStep) {
        return step * 2;
    }
    while (nanoseconds > kTooLong && step > kSmallestCopyStep) {
        step /= 2;
        nanoseconds /= 2;
    }
    return step;
}

unsigned modeOfCopy(unsigned mode, bool sameOwner) {
    constexpr unsigned kAllBits = 07777;
    constexpr unsigned kSetUserAndGroup = 06000;
    return sameOwner ? mode & kAllBits : mode & kAllBits & ~kSetUserAndGroup;
}

} // namespace VKPlatform
