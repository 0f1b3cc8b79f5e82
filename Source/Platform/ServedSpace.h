// Room on file systems whose server may never answer. Each is asked by a process of its own: a thread that waits for
// a dead server could not be ended, and would keep the whole program from ending.
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QStringBuilder>

#include <chrono>
#include <cstdint>
#include <optional>
#include <vector>

namespace VKPlatform {

/// How long a caller waits for all the servers that it asks together.
inline constexpr std::chrono::milliseconds kServerPatience(500);

/// The most processes that wait for dead servers. Beyond it nobody is asked.
inline constexpr std::size_t kMostWaitingProcesses = 64;

enum class ServerState : std::uint8_t {
    Answers,
    Silent, ///< no answer in time, or the news that the server has gone
};

struct ServedSpace {
    ServerState state = ServerState::Silent;
    std::uint64_t totalBytes = 0; ///< 0 when the server does not tell
    std::uint64_t freeBytes = 0;
};

/// A mounted file system: its place, and a key that another mount at that place does not have.
struct ServedPlace {
    QByteArray key;
    QByteArray place;
};

/// The place of the mount that the kernel numbers so: another mount there is another server.
[[nodiscard]] inline ServedPlace servedPlace(int mount, const QByteArray& place) {
    return {QByteArray::number(mount) + ' ' + place, place};
}

/// Asks them all at the same time. In their order. One that has not answered an earlier question yet is silent at
/// once, so that a dead server costs one process and the waiting once. Any thread.
[[nodiscard]] std::vector<ServedSpace> askServedSpace(const std::vector<ServedPlace>& places);

/// How many processes wait for a server. For tests.
[[nodiscard]] std::size_t waitingProcesses();

/// What the asking process wrote: block size, blocks in all, blocks that are free; or its complaint. Nothing when
/// that makes no sense.
///
///     "4096 1000 10\n" -> 4096000 and 40960 bytes        "stat: ...: Permission denied\n" -> answers, room unknown
///     "stat: ...: Transport endpoint is not connected\n" -> silent
[[nodiscard]] std::optional<ServedSpace> parseServedSpace(QByteArrayView text);

} // namespace VKPlatform
