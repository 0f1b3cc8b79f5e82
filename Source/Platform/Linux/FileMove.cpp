// renameat2 with RENAME_NOREPLACE; what it cannot do is done in the next best way.
#include "Platform/FileMove.h"
#include "Platform/FolderListing.h"
#include "Platform/Linux/Rename.h"

#include <QRandomGenerator>
#include <QStringBuilder>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace VKPlatform {

namespace {

constexpr int kNameTries = 100;

/// 0 when the item is there, ENOENT when it is not; errno when that cannot be told.
int lookFor(const Place& place) {
    struct stat record;
    return ::fstatat(place.folder.get(), place.name.constData(), &record,
                     AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT) == 0
               ? 0
               : errno;
}

int plainRename(const Place& from, const Place& to) {
    return ::renameat(from.folder.get(), from.name.constData(), to.folder.get(), to.name.constData()) == 0
               ? 0
               : errno;
}

/// By a second name, which never replaces anything. EMLINK when this item or file system has none.
int linkAndUnlink(const Place& from, const Place& to) {
    if (::linkat(from.folder.get(), from.name.constData(), to.folder.get(), to.name.constData(), 0) != 0) {
        const bool unknown = errno == EPERM || errno == ENOSYS || errno == EOPNOTSUPP || errno == EINVAL;
        return unknown ? EMLINK : errno;
    }
    if (::unlinkat(from.folder.get(), from.name.constData(), 0) == 0) {
        return 0;
    }
    const int error = errno;
    ::unlinkat(to.folder.get(), to.name.constData(), 0);
    return error;
}

/// Takes the name with an empty item of the same sort, which the rename then replaces: it can replace nothing
/// of anybody else's. A rename of a folder replaces empty folders only, so there even what others put into it
/// meanwhile is safe.
int renameOverPlaceholder(const Place& from, const Place& to, bool isFolder) {
    if (isFolder) {
        if (::mkdirat(to.folder.get(), to.name.constData(), 0700) != 0) {
            return errno;
        }
    } else {
        FileDescriptor file(::openat(to.folder.get(), to.name.constData(),
                                     O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (!file.isOpen()) {
            return errno;
        }
    }
    const int error = plainRename(from, to);
    if (error != 0) {
        ::unlinkat(to.folder.get(), to.name.constData(), isFolder ? AT_REMOVEDIR : 0);
    }
    return error;
}

/// For a file system without RENAME_NOREPLACE.
int renameByOtherMeans(const Place& from, const Place& to) {
    struct stat source;
    if (::fstatat(from.folder.get(), from.name.constData(), &source, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno;
    }
    if (const int found = lookFor(to); found != ENOENT) {
        return found == 0 ? EEXIST : found;
    }
    if (S_ISDIR(source.st_mode)) {
        int error = 0;
        if (isInside(to.folder, from.folder, from.name, error) || error != 0) {
            return error != 0 ? error : EINVAL;
        }
        return renameOverPlaceholder(from, to, true);
    }
    const int error = linkAndUnlink(from, to);
    return error == EMLINK ? renameOverPlaceholder(from, to, false) : error;
}

bool isInOneFolder(const Place& a, const Place& b) {
    Identity first;
    Identity second;
    return identityOf(a.folder, QByteArray(), first) == 0 &&
           identityOf(b.folder, QByteArray(), second) == 0 && first.isSameItem(second);
}

int namesOf(const FileDescriptor& folder, std::vector<QByteArray>& names) {
    FolderListing listing;
    if (const int error = listing.openAt(folder); error != 0) {
        return error;
    }
    for (FolderListing::Entry entry; listing.next(entry);) {
        names.push_back(entry.name.toByteArray());
    }
    return listing.error();
}

/// Whether the folder lists exactly this name. Where it cannot be listed it is taken for granted.
bool isListed(const Place& place) {
    try {
        FolderListing listing;
        if (listing.openAt(place.folder) != 0) {
            return true;
        }
        for (FolderListing::Entry entry; listing.next(entry);) {
            if (entry.name == place.name) {
                return true;
            }
        }
        return listing.error() != 0;
    } catch (const std::bad_alloc&) {
        return true;
    }
}

/// Changes the spelling by way of a name of its own: `from` goes there and comes back as `to`, or as it was.
int respellInTwoSteps(const Place& from, const Place& to) {
    Place between;
    between.folder = FileDescriptor(::openat(to.folder.get(), ".", O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!between.folder.isOpen()) {
        return errno;
    }
    int error = EEXIST;
    for (int tries = 0; error == EEXIST && tries < kNameTries; ++tries) {
        between.name = ".vk-" + QByteArray::number(QRandomGenerator::system()->generate(), 36);
        error = lookFor(between);
        error = error == 0 ? EEXIST : error == ENOENT ? plainRename(from, between) : error;
    }
    if (error != 0) {
        return error;
    }
    error = plainRename(between, to);
    if (error != 0) {
        const int back = plainRename(between, from);
        return back == 0 ? error : back;
    }
    return isListed(to) ? 0 : EOPNOTSUPP;
}

/// EEXIST: the target may be the source's own name in another case. Otherwise it stays EEXIST.
int respell(const Place& from, const Place& to) {
    if (from.name == to.name || !isInOneFolder(from, to)) {
        return EEXIST;
    }
    std::vector<QByteArray> names;
    QByteArray entry;
    if (namesOf(to.folder, names) != 0 || !isOtherSpelling(from.name, to.name, names, &entry) ||
        lookFor(from) != 0) {
        return EEXIST;
    }
    if (const int error = plainRename(from, to); error != 0) {
        return error;
    }
    return isListed(to) ? 0 : respellInTwoSteps(from, to);
}

} // namespace

bool isInside(const FileDescriptor& folder, const FileDescriptor& top, const QByteArray& name, int& error) {
    Identity wanted;
    error = identityOf(top, name, wanted);
    FileDescriptor here(error == 0 ? ::openat(folder.get(), ".", O_PATH | O_DIRECTORY | O_CLOEXEC) : -1);
    for (Identity last; error == 0;) {
        Identity present;
        error = here.isOpen() ? identityOf(here, QByteArray(), present) : errno;
        if (error != 0 || present == last) { // the root is above itself
            break;
        }
        if (present.isSameItem(wanted)) {
            return true;
        }
        last = present;
        here = FileDescriptor(::openat(here.get(), "..", O_PATH | O_DIRECTORY | O_CLOEXEC));
    }
    return false;
}

int renameWithoutOverwriting(const Place& from, const Place& to) {
    if (::renameat2(from.folder.get(), from.name.constData(), to.folder.get(), to.name.constData(),
                    RENAME_NOREPLACE) == 0) {
        return 0;
    }
    int error = errno;
    // EINVAL is a folder into itself, too: the next way finds that out.
    if (error == EINVAL || error == ENOSYS || error == EOPNOTSUPP) {
        error = renameByOtherMeans(from, to);
    }
    return error == EEXIST ? respell(from, to) : error;
}

int openMove(const QByteArray& from, const QByteArray& to, Place& source, Place& target) {
    if (const int error = openPlace(from, source); error != 0) {
        return error;
    }
    if (const int error = lookFor(source); error != 0) {
        return error;
    }
    if (const int error = openPlace(to, target); error != 0) {
        return error == EBUSY || error == EINVAL ? EEXIST : error; // the root, ".", "..": folders that exist
    }
    return 0;
}

int renameItem(const QByteArray& from, const QByteArray& to) {
    Place source;
    Place target;
    const int error = openMove(from, to, source, target);
    return error == 0 ? renameWithoutOverwriting(source, target) : error;
}

int moveItem(const QByteArray& from, const QByteArray& to, CopyWatcher* watcher) {
    Place source;
    Place target;
    if (const int error = openMove(from, to, source, target); error != 0) {
        return error;
    }
    const int error = renameWithoutOverwriting(source, target);
    return error == EXDEV ? moveAcross(source, target, watcher) : error;
}

} // namespace VKPlatform
