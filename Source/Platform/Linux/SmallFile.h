// The first bytes of a file that the kernel or a package keeps.
#pragma once

#include "Platform/ReadableFile.h"

#include <QByteArray>

#include <cstddef>

namespace VKPlatform {

/// At most `limit` bytes from the start; empty when there is no such file.
inline QByteArray startOfFile(const QByteArray& path, qsizetype limit) {
    ReadableFile file;
    if (file.open(path) != 0) {
        return QByteArray();
    }
    QByteArray text(limit, Qt::Uninitialized);
    std::size_t count = 0;
    if (file.readAt(0, text.data(), static_cast<std::size_t>(limit), count) != 0) {
        return QByteArray();
    }
    text.truncate(static_cast<qsizetype>(count));
    return text;
}

} // namespace VKPlatform
