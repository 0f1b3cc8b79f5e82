// renameat2() with RENAME_NOREPLACE on plain paths, which opens nothing; the other ways are those of a move.
#include "Platform/Linux/ExclusiveRename.h"

#include "Platform/Linux/Rename.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>

namespace VKPlatform {

int renameExclusively(const QByteArray& from, const QByteArray& to) {
    if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0) {
        return 0;
    }
    // EINVAL is also what a folder into itself gives, which the other ways find out.
    if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP) {
        return errno;
    }
    Place source;
    Place target;
    if (const int error = openPlace(from, source); error != 0) {
        return error;
    }
    const int error = openPlace(to, target);
    return error != 0 ? error : renameWithoutOverwriting(source, target);
}

} // namespace VKPlatform
