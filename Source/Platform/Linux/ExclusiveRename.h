// A rename that replaces nothing, for the sources of this folder.
#pragma once

#include <QByteArray>

namespace VKPlatform {

/// Gives the item its new place if nothing has it: EEXIST otherwise; errno, 0 for success. As
/// renameWithoutOverwriting(), without opening anything where the file system can do it in one step.
[[nodiscard]] int renameExclusively(const QByteArray& from, const QByteArray& to);

} // namespace VKPlatform
