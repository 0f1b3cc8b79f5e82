// Whole listings at once, by name, for the tests of the directory iterator.
#pragma once

#include "Support/DiskSupport.h"

#include <VKQtDirIterator.h>

#include <QMap>
#include <QString>
#include <QStringList>

#include <fcntl.h>
#include <memory>
#include <sys/stat.h>

namespace DirIteratorSupport {

struct Listing {
    /// By the part of the path's text after the root's own. Several entries that show the same text are
    /// several items here.
    QMultiMap<QString, VKQtDirIterator::Entry> entries;
    VKStatus status = 0;
};

inline Listing listed(const VKQtPath& root, const VKQtPathFilter& filter, bool details = true) {
    const std::unique_ptr<VKQtDirIterator> iterator(VKQtDirIterator::makeIterator(root, filter));
    iterator->setFetchDetails(details);
    Listing listing;
    for (VKQtDirIterator::Entry entry; iterator->next(entry);) {
        const QString& text = entry.path.path();
        const QString folder =
            root.path().endsWith(u'/') ? root.path() : QString(root.path() + QStringLiteral("/"));
        if (!text.startsWith(folder)) {
            qFatal("an entry of another folder: %s", qPrintable(text));
        }
        listing.entries.insert(text.mid(folder.size()), entry);
    }
    listing.status = iterator->status();
    return listing;
}

/// Sorted by UTF-16 units.
inline QStringList namesOf(const Listing& listing) { return listing.entries.keys(); }

/// Sets an item's modification time, that of a link itself. The birth time is the file system's own.
inline void setModified(const QByteArray& path, qint64 seconds, long nanoseconds = 0) {
    const timespec times[2] = {{1, 0}, {seconds, nanoseconds}};
    Disk::must(::utimensat(AT_FDCWD, path.constData(), times, AT_SYMLINK_NOFOLLOW) == 0, "utimensat", path);
}

} // namespace DirIteratorSupport
