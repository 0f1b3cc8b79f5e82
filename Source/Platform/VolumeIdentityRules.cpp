// Forms of identifiers and labels.
#include "Platform/MountFacts.h"
#include "Platform/VolumeIdentity.h"

#include <QStringBuilder>

#include <algorithm>

namespace VKPlatform {

namespace {

constexpr qsizetype kUuidBytes = 16;

bool isHexDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'); }

/// 32 digits in their groups.
QByteArray grouped(const QByteArray& digits) {
    return digits.first(8) + '-' + digits.mid(8, 4) + '-' + digits.mid(12, 4) + '-' + digits.mid(16, 4) +
           '-' + digits.sliced(20);
}

} // namespace

QByteArray canonicalUuid(QByteArrayView text) {
    const QByteArray upper = text.toByteArray().trimmed().toUpper();
    QByteArray digits = upper;
    digits.replace('-', QByteArray());
    if (std::all_of(digits.cbegin(), digits.cend(), [](char c) { return c == '0'; })) {
        return QByteArray();
    }
    const bool isUuid =
        digits.size() == 2 * kUuidBytes && std::all_of(digits.cbegin(), digits.cend(), &isHexDigit);
    return isUuid ? grouped(digits) : upper;
}

QByteArray uuidText(QByteArrayView bytes) { return canonicalUuid(bytes.toByteArray().toHex()); }

QByteArray withoutDeviceEscapes(QByteArrayView name) {
    QByteArray plain;
    plain.reserve(name.size());
    for (qsizetype i = 0; i < name.size(); ++i) {
        bool isCode = false;
        if (name.sliced(i).startsWith("\\x") && name.size() - i >= 4) {
            const int code = name.sliced(i + 2, 2).toByteArray().toInt(&isCode, 16);
            // A sign or a blank is no digit, whatever the conversion makes of it.
            isCode = isCode && isHexDigit(QByteArray(1, name.at(i + 2)).toUpper().at(0));
            if (isCode) {
                plain += static_cast<char>(code);
                i += 3;
            }
        }
        if (!isCode) {
            plain += name.at(i);
        }
    }
    return plain;
}

QByteArray networkSource(const MountEntry& mount, QByteArrayView path) {
    if (mount.type != "fuse.gvfsd-fuse") {
        return isNetworkFileSystem(mount.type, mount.source) ? mount.source : QByteArray();
    }
    const QByteArray start = mount.place + '/';
    if (!path.startsWith(start) || !isNetworkVirtualFolder(path.sliced(start.size()))) {
        return QByteArray();
    }
    const QByteArrayView below = path.sliced(start.size());
    const qsizetype slash = below.indexOf('/');
    return (slash < 0 ? below : below.first(slash)).toByteArray();
}

} // namespace VKPlatform
