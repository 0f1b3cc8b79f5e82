// To another file system: a copy that is put into place as a whole, and then the removal of exactly what was
// copied.
#include "Platform/FileCopy.h"
#include "Platform/Linux/CopyItem.h"
#include "Platform/Linux/MovedTree.h"
#include "Platform/Linux/Rename.h"
#include "Platform/Linux/TemporaryName.h"
#include "Platform/Linux/TreeEntries.h"
#include "Platform/Linux/TreeFlush.h"
#include "Platform/TreeCopy.h"

#include <cerrno>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace VKPlatform {

namespace {

/// A path that leads to the place through its open folder, for functions that take paths.
QByteArray pathOf(const Place& place) {
    return "/proc/self/fd/" + QByteArray::number(place.folder.get()) + '/' + place.name;
}

/// What can be known before about whether the source's name may be removed.
int checkSource(const Place& from) {
    Identity folder;
    Identity item;
    int error = identityOf(from.folder, QByteArray(), folder);
    if (error == 0) {
        error = identityOf(from.folder, from.name, item);
    }
    if (error != 0) {
        return error;
    }
    if (!item.isSameMount(folder)) {
        return EBUSY;
    }
    return ::faccessat(from.folder.get(), ".", W_OK | X_OK, AT_EACCESS) == 0 ? 0 : errno;
}

int moveFileAcross(const Place& from, const Place& to, CopyWatcher* watcher) {
    ItemStamp before;
    int error = stampOf(from.folder, from.name, before);
    if (error == 0) {
        error = copyFile(pathOf(from), pathOf(to), {CopyFlush::ToDisk, CopyOwner::Keep}, watcher);
    }
    if (error != 0) {
        return error;
    }
    ItemStamp after;
    error = stampOf(from.folder, from.name, after);
    if (error == 0) {
        error = before == after ? 0 : EBUSY;
    }
    if (error == 0 && ::unlinkat(from.folder.get(), from.name.constData(), 0) != 0) {
        error = errno;
    }
    if (error != 0) {
        ::unlinkat(to.folder.get(), to.name.constData(), 0);
    }
    return error;
}

/// Memory that runs out is a failure like any other: what was made is removed after it.
template <typename Step>
int guarded(Step step) {
    try {
        return step();
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
}

/// The first failure is the one to tell.
void removeCopy(const Place& place) {
    (void)guarded([&] { return deleteTree(place); });
}

/// Copies the tree to a name of its own beside the target: `copy` is its place then.
int copyBeside(const Place& from, const Place& to, CopyWatcher* watcher, Place& copy) {
    copy.folder = FileDescriptor(::openat(to.folder.get(), ".", O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!copy.folder.isOpen()) {
        return errno;
    }
    TreeFlush flush(watcher);
    const CopyRules rules = {flush.begin(copy.folder) ? CopyFlush::ByCaller : CopyFlush::ToDisk,
                             CopyOwner::Keep};
    int error = createTemporary(to.name, [&](const QByteArray& name) {
        copy.name = name;
        return copyTree(pathOf(from), pathOf(copy), rules, &flush);
    });
    if (error == 0) {
        error = flush.flush();
        if (error != 0) {
            removeCopy(copy);
        }
    }
    return error;
}

int moveTreeAcross(const Place& from, const Place& to, CopyWatcher* watcher) {
    int error = 0;
    if (isInside(to.folder, from.folder, from.name, error) || error != 0) {
        return error != 0 ? error : EINVAL;
    }
    MovedTree tree(watcher);
    error = tree.scan(from);
    Place copy;
    if (error == 0) {
        error = copyBeside(from, to, watcher, copy);
    }
    if (error != 0) {
        return error;
    }
    error = guarded([&] {
        const int changed = tree.check(from);
        return changed == 0 ? renameWithoutOverwriting(copy, to) : changed;
    });
    if (error != 0) {
        removeCopy(copy);
        return error;
    }
    bool begun = false;
    error = guarded([&] {
        const int flushed = flushFolder(to.folder);
        return flushed == 0 ? tree.remove(from, begun) : flushed;
    });
    if (error != 0 && !begun) {
        removeCopy(to);
    }
    return error;
}

} // namespace

int moveAcross(const Place& from, const Place& to, CopyWatcher* watcher) {
    struct stat record;
    if (::fstatat(from.folder.get(), from.name.constData(), &record, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno;
    }
    struct stat taken;
    if (::fstatat(to.folder.get(), to.name.constData(), &taken, AT_SYMLINK_NOFOLLOW) == 0) {
        return EEXIST;
    }
    if (errno != ENOENT) {
        return errno;
    }
    if (const int error = checkSource(from); error != 0) {
        return error;
    }
    return S_ISDIR(record.st_mode) ? moveTreeAcross(from, to, watcher) : moveFileAcross(from, to, watcher);
}

} // namespace VKPlatform
