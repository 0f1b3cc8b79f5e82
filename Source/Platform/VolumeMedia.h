// What a volume's device says about its medium, as the kernel shows it below /sys. Any thread; reads a few
// small files.
#pragma once

#include "Platform/VolumeIdentity.h"

#include <QByteArray>

namespace VKPlatform {

/// Whether a person may take the device away: it calls itself removable, hangs on USB, or is a memory card.
/// An encrypted or combined device is as removable as one of those that it is made of. False when nothing is
/// known. `system` is where the kernel shows its devices.
[[nodiscard]] bool isRemovableDevice(DeviceNumber device, const QByteArray& system = "/sys");

} // namespace VKPlatform
