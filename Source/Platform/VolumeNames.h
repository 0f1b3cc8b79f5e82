// The name that a person knows a volume by.
#pragma once

#include <QByteArray>
#include <QByteArrayView>

namespace VKPlatform {

/// Where a name may come from. Empty ones are unknown.
struct VolumeNames {
    QByteArray chosen; ///< by the machine's owner, for the disk service
    QByteArray label;  ///< of the file system
    QByteArray host;   ///< of the machine
};

/// The first of these that is not empty: the chosen name, the label, for "/" the machine's name, the last
/// component of the place; "/" at the very last. Names of blanks count as empty. Never empty.
[[nodiscard]] QByteArray displayName(QByteArrayView place, const VolumeNames& names);

/// The machine's name, without its domain; empty when it cannot be told. Any thread.
[[nodiscard]] QByteArray hostName();

} // namespace VKPlatform
