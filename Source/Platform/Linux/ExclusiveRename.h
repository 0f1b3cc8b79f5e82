// A rename that replaces nothing, for the sources of this folder.
#pragma once

#include <QByteArray>

namespace VKPlatform {

/// Gives the item its new place if nothing has it: EEXIST otherwise; errno, 0 for success. Where the file
/// system cannot do that in one step (several in user space) the name is taken first by an empty item of the
/// same sort, which the rename replaces: nobody else's is, but a killed process may leave the empty one.
[[nodiscard]] int renameExclusively(const QByteArray& from, const QByteArray& to);

} // namespace VKPlatform
