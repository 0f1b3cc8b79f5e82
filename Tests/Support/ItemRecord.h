// Everything that belongs to an item on disk, as a value: two items are alike when their records are equal, and
// a failed comparison shows where they differ.
#pragma once

#include "Support/DiskSupport.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QCryptographicHash>

#include <array>
#include <climits>
#include <sys/stat.h>
#include <sys/xattr.h>

namespace Disk {

/// Which parts of a record count. File systems that keep less are compared by less.
enum RecordParts : unsigned {
    kKindAndContent = 0,
    kModes = 1U << 0,
    kTimes = 1U << 1,      ///< of the last change, in nanoseconds
    kAttributes = 1U << 2, ///< extended ones: "user." and access lists
    kOwners = 1U << 3,
    kAllParts = kModes | kTimes | kAttributes | kOwners,
    kCopiedParts = kModes | kTimes | kAttributes,
};

inline QByteArray attributesOf(const QByteArray& path) {
    std::array<char, 65536> names;
    const ssize_t size = ::llistxattr(path.constData(), names.data(), names.size());
    QByteArrayList found;
    for (const QByteArray& name : QByteArray(names.data(), std::max<ssize_t>(size, 0)).split('\0')) {
        if (name.startsWith("user.") || name.startsWith("system.posix_acl")) {
            QByteArray value(65536, '\0');
            value.truncate(
                std::max<ssize_t>(::lgetxattr(path.constData(), name.constData(), value.data(), 65536), 0));
            found.append(
                name + '=' +
                (value.size() > 64 ? QCryptographicHash::hash(value, QCryptographicHash::Md5) : value)
                    .toHex());
        }
    }
    std::sort(found.begin(), found.end());
    return found.join(',');
}

inline QByteArray linkTarget(const QByteArray& path) {
    std::array<char, PATH_MAX> target;
    const ssize_t size = ::readlink(path.constData(), target.data(), target.size());
    return {target.data(), std::max<ssize_t>(size, 0)};
}

inline QByteArray recordOf(const QByteArray& path, unsigned parts) {
    struct stat record;
    must(::lstat(path.constData(), &record) == 0, "lstat", path);
    QByteArray text;
    if (S_ISLNK(record.st_mode)) {
        text = "link " + linkTarget(path);
    } else if (S_ISDIR(record.st_mode)) {
        text = "folder";
    } else if (S_ISREG(record.st_mode)) {
        text = "file " + QByteArray::number(static_cast<qint64>(record.st_size)) + ' ' +
               QCryptographicHash::hash(contentOf(path), QCryptographicHash::Md5).toHex();
    } else {
        text = "special";
    }
    if ((parts & kModes) != 0 && !S_ISLNK(record.st_mode)) {
        text += " mode " + QByteArray::number(record.st_mode & 07777U, 8);
    }
    if ((parts & kTimes) != 0) {
        text += " time " + QByteArray::number(static_cast<qint64>(record.st_mtim.tv_sec)) + '.' +
                QByteArray::number(static_cast<qint64>(record.st_mtim.tv_nsec));
    }
    if ((parts & kOwners) != 0) {
        text += " owner " + QByteArray::number(record.st_uid) + ':' + QByteArray::number(record.st_gid);
    }
    if ((parts & kAttributes) != 0 && !S_ISLNK(record.st_mode)) {
        text += " attributes " + attributesOf(path);
    }
    return text;
}

/// The records of all items below a folder, each after its path, sorted; without the folder itself.
inline QByteArrayList recordsBelow(const QByteArray& folder, unsigned parts,
                                   const QByteArray& prefix = QByteArray()) {
    QByteArrayList records;
    for (const QByteArray& name : namesIn(folder)) {
        const QByteArray path = folder + '/' + name;
        struct stat record;
        must(::lstat(path.constData(), &record) == 0, "lstat", path);
        records.append(prefix + name + ": " + recordOf(path, parts));
        if (S_ISDIR(record.st_mode)) {
            records += recordsBelow(path, parts, prefix + name + '/');
        }
    }
    return records;
}

inline void setTime(const QByteArray& path, qint64 seconds, long nanoseconds) {
    const timespec times[2] = {{seconds, nanoseconds}, {seconds, nanoseconds}};
    must(::utimensat(AT_FDCWD, path.constData(), times, AT_SYMLINK_NOFOLLOW) == 0, "utimensat", path);
}

/// False where the file system keeps no such attributes.
inline bool setAttribute(const QByteArray& path, const char* name, const QByteArray& value) {
    return ::lsetxattr(path.constData(), name, value.constData(), static_cast<std::size_t>(value.size()),
                       0) == 0;
}

/// How many descriptors this process has open.
inline qsizetype openDescriptors() { return namesIn("/proc/self/fd").size(); }

} // namespace Disk
