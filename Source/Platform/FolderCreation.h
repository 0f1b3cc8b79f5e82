// Making folders, with those above them.
#pragma once

#include <QByteArray>

namespace VKPlatform {

/// Makes the folder and those above it that are missing, with mode 0777 less the process's mask. 0 also when
/// it is a folder already, or a link to one; EEXIST when something else has its name, ENOTDIR when something
/// else stands in the way. After a failure the folders that were made here are removed again, as far as
/// nobody has put anything into them. Any thread; two processes may make the same folders at once.
[[nodiscard]] int createFolders(const QByteArray& path);

} // namespace VKPlatform
