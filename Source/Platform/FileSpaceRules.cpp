// Blocks to bytes, and what an answer about access says.
#include "Platform/FileSpace.h"

#include <cerrno>
#include <limits>

namespace VKPlatform {

std::uint64_t bytesOfBlocks(std::uint64_t blocks, std::uint64_t blockBytes) {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
    return blockBytes != 0 && blocks > kMost / blockBytes ? kMost : blocks * blockBytes;
}

int writabilityOfAnswer(int answer, Writability& out) {
    switch (answer) {
    case 0:
        out = Writability::Yes;
        return 0;
    case EACCES:
    case EPERM: // immutable
    case EROFS:
        out = Writability::No;
        return 0;
    case ENOSYS:
    case EINVAL:
    case EOPNOTSUPP:
        out = Writability::Unknown;
        return 0;
    default:
        return answer;
    }
}

} // namespace VKPlatform
