// The marker file by which a volume without an identifier of its own is known again: ".browse" in its root
// folder, with one unique identifier in it. Blocks as the disk does; any thread, any number of processes.
#pragma once

#include <QByteArray>

namespace VKPlatform {

inline constexpr char kMarkerName[] = ".browse";

/// Only so much of a marker is ever read.
inline constexpr qsizetype kMostMarkerBytes = 255;

/// The marker's bytes up to the first zero byte, of the first 255. 0, or errno: ENOENT when there is none,
/// EINVAL when the name belongs to something else than a file.
[[nodiscard]] int readVolumeMarker(const QByteArray& root, QByteArray& content);

/// Creates the marker with the identifier, whole and exclusively. 0, or errno, EEXIST when there is one
/// already, also one that another process created meanwhile; nothing is left behind then.
[[nodiscard]] int createVolumeMarker(const QByteArray& root, const QByteArray& identifier);

} // namespace VKPlatform
