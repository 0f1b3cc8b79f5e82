// The bytes of a bookmark: what is kept of an item so that it can be found again, and its form, which may lie in
// documents for years and come back from anywhere. Pure; nothing is looked up here.
//
// The form, integers big-endian: "VKBM", the version (one byte), fields in ascending order of their tags (tag one
// byte, length four bytes, content), and the CRC-32 of all that. Fields with an unknown tag are passed over, so
// that a later writer may add some.
#pragma once

#include "Platform/FileIdentity.h"

#include <QByteArray>
#include <QByteArrayView>

#include <optional>

namespace VKPlatform {

/// Limits of the whole and of its fields.
inline constexpr qsizetype kMostBookmarkBytes = qsizetype{64} * 1024;
inline constexpr qsizetype kMostBookmarkPathBytes = qsizetype{16} * 1024;
inline constexpr qsizetype kMostVolumeMarkBytes = 1024;
inline constexpr qsizetype kMostTokenBytes = qsizetype{20} * 1024;

/// What a volume is known by: its identifier, or, where it has none, its type and source.
struct VolumeMark {
    QByteArray uuid;
    QByteArray type;
    QByteArray source;

    friend bool operator==(const VolumeMark&, const VolumeMark&) = default;
};

struct BookmarkRecord {
    QByteArray path;       ///< absolute; empty in a bookmark that has only a token
    FileIdentity identity; ///< with a path only
    VolumeMark volume;
    QByteArray pathOnVolume; ///< from the file system's own root; empty when it is not known
    QByteArray token;        ///< of the document portal; mostly empty

    friend bool operator==(const BookmarkRecord&, const BookmarkRecord&) = default;
};

/// Whether both are one volume, by all that is known.
[[nodiscard]] bool isSameVolume(const VolumeMark& first, const VolumeMark& second);

/// The bytes of a record; nothing when it is over a limit or says nothing.
[[nodiscard]] std::optional<QByteArray> encodeBookmark(const BookmarkRecord& record);

/// The record of these bytes. 0; EINVAL for anything that is not a whole bookmark within the limits,
/// EOPNOTSUPP for one of a later version. `out` changes only on success.
[[nodiscard]] int decodeBookmark(QByteArrayView bytes, BookmarkRecord& out);

} // namespace VKPlatform
