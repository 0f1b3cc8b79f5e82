// How much may be written where, and whether at all. errno on failure, 0 otherwise; results change only on
// success. Any thread; a dead network mount can block.
#pragma once

#include <QByteArray>

#include <cstdint>

namespace VKPlatform {

/// What users without privileges may still write on the file system that holds the item; of an item that does
/// not exist, that of the nearest folder above it. A link is followed. EOPNOTSUPP where the file system does not
/// count its blocks.
[[nodiscard]] int availableBytes(const QByteArray& path, std::uint64_t& bytes);

/// The bytes of that many blocks; the largest number when they are more. Pure.
[[nodiscard]] std::uint64_t bytesOfBlocks(std::uint64_t blocks, std::uint64_t blockBytes);

enum class Writability { No, Yes, Unknown };

/// Whether this process may create items in the folder: by the effective user, access lists and read-only
/// mounts included. ENOENT for a missing folder, ENOTDIR for something else, EACCES when a folder on the way
/// hides it.
[[nodiscard]] int folderWritability(const QByteArray& path, Writability& out);

/// What the system's answer to the question says: 0 or an errno that it gave about a folder that is there.
/// Pure.
///
///     0 -> Yes     EACCES, EPERM, EROFS -> No     ENOSYS, EINVAL, EOPNOTSUPP -> Unknown     EIO -> EIO
[[nodiscard]] int writabilityOfAnswer(int answer, Writability& out);

} // namespace VKPlatform
