// The rules about volumes that need no machine: which mount points are offered, and on which volume a text lies.
#pragma once

#include "VKQtPath.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace VKQtVolumeRules {

/// Of the system's mount points those that are offered as volumes, as folder paths, in order. All comparisons are
/// exact and with case.
[[nodiscard]] QList<VKQtPath> offeredVolumes(const QStringList& mountPoints);

/// Whose rules decide on which volume a path lies.
enum class Platform {
    Mac,         ///< before 10.15: user data lie on the system's volume
    MacCatalina, ///< from 10.15 on: on a volume of their own
    Windows,
    Other,
};

/// The platform that VKQtSysInfo answers for.
[[nodiscard]] Platform currentPlatform();

/// The volume's root of a path: see VKQtPathUtils::getVolumeGivenPath().
[[nodiscard]] QString volumeOf(const QString& path, Platform platform);

} // namespace VKQtVolumeRules
