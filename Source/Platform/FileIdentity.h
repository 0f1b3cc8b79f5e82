// By what an item is known again when its name says nothing any more. Any thread; a few system calls on the
// item alone, which a dead network mount can block.
#pragma once

#include "Platform/FileFacts.h"

#include <QByteArray>

#include <cstdint>
#include <optional>

namespace VKPlatform {

/// The longest handle that a file system gives.
inline constexpr qsizetype kMostHandleBytes = 128;

/// How long a file system's numbers mean the same item.
enum class IdentityScope : std::uint8_t {
    Lasting, ///< as long as the item is there
    Mount,   ///< until the file system is unmounted: FAT, exFAT, and most that run in user space
};

/// A point in time as file systems keep it.
struct FileTime {
    std::int64_t seconds = 0; ///< since 1970-01-01 UTC
    std::uint32_t nanoseconds = 0;

    friend bool operator==(const FileTime&, const FileTime&) = default;
};

struct FileIdentity {
    FileKind kind = FileKind::Unknown;
    IdentityScope scope = IdentityScope::Lasting;
    std::uint64_t inode = 0;
    std::optional<FileTime> born; ///< nothing where the file system does not keep it
    FileTime modified;
    std::uint64_t sizeBytes = 0;
    /// The kernel's own name of the item, which tells inode numbers apart that were given out twice. Empty where
    /// the file system has none.
    std::int32_t handleType = 0;
    QByteArray handle;
    /// The mount and the run of the system that it belongs to; 0 and empty where the kernel does not tell.
    std::uint64_t mountId = 0;
    QByteArray boot;

    friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

/// What the item is now; a link is the item itself. Four system calls. `scope` stays Lasting: scopeOf() tells.
/// errno, 0 for success.
[[nodiscard]] int identify(const QByteArray& path, FileIdentity& out);

/// How long the numbers of the file system that holds the item last. One that cannot be asked: until it is
/// unmounted.
[[nodiscard]] IdentityScope scopeOf(const QByteArray& path);

/// The item's path without links; empty when it cannot be told.
[[nodiscard]] QByteArray pathWithoutLinks(const QByteArray& path);

// Rules.

/// Whether `now` is without doubt the item that `recorded` was. Content and times of change do not matter, but
/// where nothing else tells a used inode number from a new one.
///
///     numbers that last        inode, birth time and handle are equal, as far as both have them; without birth
///                              time and handle also size and time of change
///     numbers of one mount     the same mount in the same run of the system, inode, handle and birth time, or
///                              without that size and time of change; else no
[[nodiscard]] bool isSameItem(const FileIdentity& recorded, const FileIdentity& now);

/// Whether inode numbers of a file system with this magic number last.
[[nodiscard]] IdentityScope scopeOfMagic(std::uint64_t magic);

} // namespace VKPlatform
