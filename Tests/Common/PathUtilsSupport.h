// What the tests of VKQtPathUtils on files and on trees share: paths, what was logged, what lies on the disk.
#pragma once

#include "Support/DiskSupport.h"
#include "VKCoreKit/CoreKitSupport.h"
#include "VKQtPath.h"

#include <QList>

#include <sys/stat.h>

namespace PathUtils {

inline const QByteArray kLogSource = "VKQtCore/Source/Common/VKQtPathUtils";

inline VKQtPath filePath(const QString& folder, const QString& name) {
    return VKQtPath(folder + u'/' + name, false);
}
inline VKQtPath folderPath(const QString& folder, const QString& name) {
    return VKQtPath(folder + u'/' + name, true);
}

/// The statuses that were logged, each with the right source and some line; -1 for anything else.
inline QList<int> loggedStatuses(CoreKit::LogCapture& log) {
    QList<int> statuses;
    for (const CoreKit::LogLine& line : log.take()) {
        statuses.append(line.source == kLogSource && line.line > 0 ? int(line.status) : -1);
    }
    return statuses;
}

/// Everything below a folder, one line an item, with the content of files: what "as before" is compared by.
inline QByteArray snapshot(const QByteArray& folder, const QByteArray& below = QByteArray()) {
    QByteArray text;
    for (const QByteArray& name : Disk::namesIn(folder)) {
        const QByteArray path = folder + '/' + name;
        struct stat record;
        Disk::must(::lstat(path.constData(), &record) == 0, "lstat", path);
        text += below + name;
        if (S_ISDIR(record.st_mode)) {
            text += "/\n" + snapshot(path, below + name + '/');
        } else if (S_ISREG(record.st_mode)) {
            text += '=' + Disk::contentOf(path) + '\n';
        } else {
            text += "?\n";
        }
    }
    return text;
}

/// Two folders and three files, one name undecodable, a hidden file and a link out of the tree.
inline void makeTree(const QByteArray& folder) {
    Disk::makeFolder(folder);
    Disk::makeFile(folder + "/one.jpg", "1");
    Disk::makeFolder(folder + "/sub");
    Disk::makeFile(folder + "/sub/lat\xe9.jpg", "2");
    Disk::makeFolder(folder + "/sub/deep");
    Disk::makeFile(folder + "/sub/deep/three.jpg", "3");
    Disk::makeFile(folder + "/.hidden", "4");
    Disk::makeLink(folder + "/link", "/etc");
}

} // namespace PathUtils
