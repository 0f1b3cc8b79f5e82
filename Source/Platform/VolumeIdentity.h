// By what a volume is known again: the file system's own identifier and label, without privileges. Where the
// kernel does not tell, the links that the device manager keeps below /dev/disk do. Any thread; nothing here
// asks a network file system.
#pragma once

#include "Platform/MountTable.h"

#include <QByteArray>
#include <QByteArrayView>

#include <cstdint>
#include <optional>

namespace VKPlatform {

/// The longest label that is taken, in bytes; what follows is cut.
inline constexpr qsizetype kMostLabelBytes = 255;

/// A block device by its numbers.
struct DeviceNumber {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;

    friend bool operator==(DeviceNumber a, DeviceNumber b) {
        return a.major == b.major && a.minor == b.minor;
    }
};

/// The block device below a mounted file system: its own numbers, or, where it has none (btrfs), those of the
/// device that is its source. Nothing for one without a device.
[[nodiscard]] std::optional<DeviceNumber> deviceOf(const MountEntry& mount);

/// The file system's identifier as text; empty when it has none, or an identifier of zeros.
[[nodiscard]] QByteArray volumeUuid(const MountEntry& mount, const QByteArray& devices = "/dev");

/// The label that its owner gave the file system; empty when it has none.
[[nodiscard]] QByteArray volumeLabel(const MountEntry& mount, const QByteArray& devices = "/dev");

/// What the mount table names as the other side of a network volume: the source, and for a place in the
/// desktop's virtual folder the name of the share's own folder. Empty when there is none.
///
///     cifs "//nas/photos" -> "//nas/photos"     fuse.gvfsd-fuse, ".../gvfs/smb-share:server=nas,share=p/a"
///                                                -> "smb-share:server=nas,share=p"
[[nodiscard]] QByteArray networkSource(const MountEntry& mount, QByteArrayView path);

// Rules.

/// An identifier in the one form that is compared: upper case, sixteen bytes in the groups 8-4-4-4-12.
///
///     "0f5e..." (32 digits, with or without dashes) -> "0F5E...-..."     "1a2b-3c4d" (FAT) -> "1A2B-3C4D"
///     "" or zeros only -> ""
[[nodiscard]] QByteArray canonicalUuid(QByteArrayView text);

/// The same from the sixteen bytes, or as many as the file system has (hexadecimal, without groups).
[[nodiscard]] QByteArray uuidText(QByteArrayView bytes);

/// A name below /dev/disk without the device manager's escapes.
///
///     "My\x20Card" -> "My Card"     "a\x2fb" -> "a/b"     "a\x" and "a\xzz" -> as they are
[[nodiscard]] QByteArray withoutDeviceEscapes(QByteArrayView name);

} // namespace VKPlatform
