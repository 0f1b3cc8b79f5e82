// What the file system says about one item, as bytes name it. One system call a question, no cache.
// Functions give errno on failure and 0 otherwise. Any thread; a dead network mount can block them.
#pragma once

#include <QByteArray>

#include <cstdint>
#include <optional>

namespace VKPlatform {

enum class FileKind : std::uint8_t {
    Unknown, ///< the folder did not say; fileDetails() does
    File,
    Folder,
    Link,
    Special, ///< fifo, socket or device
};

enum class LinkRule : std::uint8_t {
    Keep,   ///< a symbolic link in the last component is the item itself
    Follow, ///< the item is what the link names; a dangling one is ENOENT
};

struct FileDetails {
    FileKind kind = FileKind::Unknown;
    /// Content length in bytes; for folders and special files whatever the file system says.
    std::int64_t sizeBytes = 0;
    /// Milliseconds since 1970-01-01 UTC, rounded down; nothing when the file system has none, or when it is
    /// outside what 64 bits of milliseconds hold. A birth time is never made up from another time, and one of
    /// zero was not recorded.
    std::optional<std::int64_t> modifiedMs;
    std::optional<std::int64_t> createdMs;
};

/// The details of one item, by exactly one statx that asks a network file system for no fresh answer.
[[nodiscard]] int fileDetails(const QByteArray& path, LinkRule links, FileDetails& out);

/// Whether there is an item of that name: 0, or errno (ENOENT, ENOTDIR, EACCES, ...). A dangling link is
/// there.
[[nodiscard]] int fileExists(const QByteArray& path);

} // namespace VKPlatform
