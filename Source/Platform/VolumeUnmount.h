// Unmounting a volume: by the desktop's disk service, which lets a user unmount what he mounted, else by the
// kernel, else by the helper of user-space file systems. Never by force: a busy volume stays mounted.
#pragma once

#include <QByteArray>

#include <functional>

namespace VKPlatform {

/// Unmounts what is mounted at the place and waits until its data are stored, however long that takes. 0, or
/// EINVAL when nothing is mounted there, EBUSY when something is in use and always for "/", EPERM without the
/// right to, ECANCELED when the user refused, or another errno. Any thread.
[[nodiscard]] int unmountVolume(const QByteArray& place);

/// The same on a thread of its own; `done` (may be empty) is called there with the result. False when no thread
/// can be had: then it is never called. A program that ends meanwhile may take an unsent request along.
bool startUnmount(const QByteArray& place, std::function<void(int)> done);

} // namespace VKPlatform
