// What `stat` says of a file system.
#include "Platform/ServedSpace.h"

#include <QByteArrayList>

#include <limits>

namespace VKPlatform {

std::optional<ServedSpace> parseServedSpace(QByteArrayView text) {
    const QByteArray line = text.toByteArray().trimmed();
    if (line.startsWith("stat:")) {
        // In English, which is asked for. Whoever refuses is there.
        const bool refused = line.endsWith(": Permission denied");
        return ServedSpace{refused ? ServerState::Answers : ServerState::Silent, 0, 0};
    }
    const QByteArrayList words = line.split(' ');
    if (words.size() != 3) {
        return std::nullopt;
    }
    std::uint64_t numbers[3];
    for (int i = 0; i < 3; ++i) {
        bool isNumber = false;
        numbers[i] = words.at(i).toULongLong(&isNumber);
        if (!isNumber) {
            return std::nullopt;
        }
    }
    const auto [block, total, free] = numbers;
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
    // All zeros are told to users that the file system is not for.
    const bool isTold = total != 0 || free != 0;
    if (isTold && (block == 0 || total > kMost / block || free > kMost / block)) {
        return std::nullopt;
    }
    return ServedSpace{ServerState::Answers, total * block, free * block};
}

} // namespace VKPlatform
