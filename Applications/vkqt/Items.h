// What several commands ask about an item: what it is on disk, what kind of thing its name says.
#pragma once

#include <VKCoreKit/VKStatus.h>
#include <VKQtPath.h>

#include <QDateTime>
#include <QString>

#include <cstdint>

namespace VKTool {

/// What the disk says about a path. A link is what it names; one that names nothing is a file of size 0.
struct ItemFacts {
    VKStatus status = 0; ///< Not 0: there is no such item, or it cannot be asked; the rest is then unknown.
    bool isFolder = false;
    bool isLink = false;
    bool isDangling = false; ///< A link that names nothing.
    qint64 size = 0;
    QDateTime created;
    QDateTime modified;
};

/// Looks on the disk, under whatever spelling the name has there.
[[nodiscard]] ItemFacts askDisk(const QString& path);

/// What rm and trash do with an item.
enum class Disposal : std::uint8_t { Delete, Recycle };

/// Why an item was not deleted or recycled, as the end of a sentence. Of what the library refuses as in use (16)
/// it is found out what the item is: "is the home folder", "is a mount point", "holds the home folder" ...; of
/// other statuses it is their own reason.
[[nodiscard]] QString reasonKept(const QString& path, Disposal disposal, VKStatus status);

/// "folder", "video", "photo" or "file", by the folder flag and the suffix.
[[nodiscard]] QString kindOf(const VKQtPath& path);

/// The picture formats that the path's suffix says: {"JPEG"}. Loose as those tests are, so several may hold.
[[nodiscard]] QStringList formatsOf(const VKQtPath& path);

/// The bytes of the whole path on disk, as the other tools of the shell take them; null for a text that names
/// nothing (empty, or with a NUL).
[[nodiscard]] QByteArray bytesOnDisk(const VKQtPath& path);

/// The same, but a relative path stays relative.
[[nodiscard]] QByteArray bytesAsGiven(const VKQtPath& path);

/// The text of the file URL; null for a text that names nothing.
[[nodiscard]] QString fileUrlText(const VKQtPath& path);

} // namespace VKTool
