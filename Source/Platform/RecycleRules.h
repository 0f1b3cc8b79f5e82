// The layout of the freedesktop.org trash (version 1.0) as rules on bytes: records, names, places. A record is
// a file "info/NAME.trashinfo" beside the item "files/NAME":
//
//     [Trash Info]
//     Path=Photos/IMG%201.jpg              percent-coded bytes; absolute in the home bin
//     DeletionDate=2026-07-04T18:05:09     local time
//
// Pure; any thread.
#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <cstdint>
#include <optional>

namespace VKPlatform {

/// The longest record that is read. The longest path a system call takes makes one a fifth as long.
inline constexpr qsizetype kTrashRecordLimitBytes = qsizetype{64} * 1024;

/// The longest list of folder sizes that is kept up to date; a longer one is left as it is.
inline constexpr qsizetype kFolderSizesLimitBytes = qsizetype{4} * 1024 * 1024;

inline constexpr QByteArrayView kTrashRecordSuffix = ".trashinfo";

/// How many names are tried for an item in a bin that holds others of its name.
inline constexpr unsigned kTrashNameTries = 100;

/// A moment as a clock on the wall shows it.
struct WallTime {
    int year = 0;
    int month = 0; ///< 1 to 12
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;

    friend bool operator==(const WallTime&, const WallTime&) = default;
};

struct TrashRecord {
    /// The decoded bytes, absolute or relative; empty when the record has none, or one that cannot be a path
    /// (a broken percent code, a NUL).
    QByteArray path;
    std::optional<WallTime> deleted;
};

/// The whole text of a record.
[[nodiscard]] QByteArray trashRecordText(QByteArrayView path, const WallTime& deleted);

/// What a record says. The first line has to be "[Trash Info]"; the group ends at the next line in brackets;
/// of two equal keys the first counts; other keys and lines are passed over. Text beyond the limit: nothing.
[[nodiscard]] TrashRecord parseTrashRecord(QByteArrayView text);

/// Each byte but ASCII letters, digits, "/" and "-_.!~*'()" as "%" and two upper-case digits.
///
///     "a b%\xE9" -> "a%20b%25%E9"        "/x/(1).jpg" -> "/x/(1).jpg"
[[nodiscard]] QByteArray percentCoded(QByteArrayView bytes);

/// The way back, for whatever was coded; nothing for a "%" without two hexadecimal digits and for a NUL.
[[nodiscard]] std::optional<QByteArray> percentDecoded(QByteArrayView text);

/// The name for the `number`th item of one name in a bin, so short that it and its record's name fit into
/// `limit` bytes. 1 is the name itself if it fits. Cut between characters where the name is UTF-8; what is
/// after the last dot is kept (up to 16 bytes).
///
///     "a.jpg", 1 -> "a.jpg"       "a.jpg", 2 -> "a.2.jpg"       ".hidden", 2 -> ".hidden.2"
[[nodiscard]] QByteArray trashName(QByteArrayView name, unsigned number, qsizetype limit);

/// The number for trashName() of the try counted from 0: a few in order, then `random` ones, so that a
/// thousand items of one name do not ask for each other's names in turn.
[[nodiscard]] unsigned trashNameNumber(unsigned tries, std::uint32_t random);

/// Where an item came from; `base` is what relative paths count from. Nothing for an empty path, the root, and
/// one with "." or ".." among its components: a record must not lead out of its volume.
[[nodiscard]] std::optional<QByteArray> rememberedPlace(QByteArrayView path, QByteArrayView base);

/// What the relative paths of a bin count from: the volume, or the folder that holds the home bin.
///
///     "/v/.Trash/1000" -> "/v"     "/v/.Trash-1000" -> "/v"     "/home/a/.local/share/Trash" -> "/home/a/.local/share"
[[nodiscard]] QByteArray trashBase(QByteArrayView bin);

/// Whether a folder is called as a bin of the user's: "Trash", ".Trash-UID", or "UID" in ".Trash".
[[nodiscard]] bool isCalledLikeABin(QByteArrayView folder, std::uint32_t user);

/// Whether the path has ".Trash" or ".Trash-UID" among its components.
[[nodiscard]] bool mentionsABin(QByteArrayView path, std::uint32_t user);

/// Whether the absolute, real path is the folder or lies in it.
[[nodiscard]] bool isSameOrInside(QByteArrayView path, QByteArrayView folder);

/// The folder of a path and its last component: "/a/b" -> "/a", "b"; "/a" -> "/", "a"; "a" -> "", "a".
[[nodiscard]] QByteArrayView folderOf(QByteArrayView path);
[[nodiscard]] QByteArrayView lastNameOf(QByteArrayView path);

/// `folder` and `name` with one "/" between.
[[nodiscard]] QByteArray joined(QByteArrayView folder, QByteArrayView name);

/// Whether a mounted file system of that type can keep a bin of its own: false for what the kernel or the
/// desktop makes up ("proc", "cgroup2", "fuse.portal", ...), for what mounts by itself, and for networks',
/// where a bin would be shared with strangers.
[[nodiscard]] bool canHoldABin(QByteArrayView type, QByteArrayView source);

/// The list of folder sizes ("SIZE MTIME CODED-NAME" a line) without the folder of that name.
[[nodiscard]] QByteArray folderSizesWithout(QByteArrayView text, QByteArrayView name);

} // namespace VKPlatform
