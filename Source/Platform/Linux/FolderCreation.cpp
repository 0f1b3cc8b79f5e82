// Tries the last folder first, which is mostly the only one that is missing; otherwise walks from the top on
// descriptors.
#include "Platform/FolderCreation.h"
#include "Platform/Linux/Place.h"

#include <QByteArrayView>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace VKPlatform {

namespace {

constexpr int kTries = 8;

int enterFolder(const FileDescriptor& folder, const QByteArray& name, FileDescriptor& out) {
    FileDescriptor opened(::openat(folder.get(), name.constData(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!opened.isOpen()) {
        return errno;
    }
    out = std::move(opened);
    return 0;
}

/// Makes one folder: 0 or errno; EEXIST when a folder or anything else is there.
int makeFolder(const FileDescriptor& folder, const QByteArray& name) {
    return ::mkdirat(folder.get(), name.constData(), 0777) == 0 ? 0 : errno;
}

/// EEXIST of the last component: is it a folder?
int existingFolder(const Place& place) {
    FileDescriptor opened;
    const int error = enterFolder(place.folder, place.name, opened);
    return error == ENOTDIR || error == ENOENT || error == ELOOP ? EEXIST : error;
}

class Walk {
public:
    Walk() = default;
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;
    ~Walk() { removeMade(); }

    int run(QByteArrayView path) {
        int error = openFolder(path.startsWith('/') ? "/" : ".", O_PATH, mHere);
        while (error == 0) {
            while (path.startsWith('/')) {
                path = path.sliced(1);
            }
            if (path.isEmpty()) {
                mMade.clear(); // all of them are to stay
                return 0;
            }
            const qsizetype slash = path.indexOf('/');
            const QByteArrayView name = slash < 0 ? path : path.first(slash);
            path = path.sliced(name.size());
            error = step(name.toByteArray(), isLast(path));
        }
        return error;
    }

private:
    struct Made {
        FileDescriptor folder;
        QByteArray name;
        Identity identity;
    };

    static bool isLast(QByteArrayView rest) {
        while (rest.startsWith('/')) {
            rest = rest.sliced(1);
        }
        return rest.isEmpty();
    }

    int step(const QByteArray& name, bool last) {
        FileDescriptor next;
        int error = enterFolder(mHere, name, next);
        if (error == ENOENT) {
            error = makeAndEnter(name, next);
        }
        if (last && (error == ENOTDIR || error == ELOOP)) {
            error = EEXIST;
        }
        mHere = std::move(next);
        return error;
    }

    int makeAndEnter(const QByteArray& name, FileDescriptor& next) {
        int error = makeFolder(mHere, name);
        if (error == EEXIST) { // a dangling link, or another process was faster
            error = enterFolder(mHere, name, next);
            return error == ENOENT ? ENOTDIR : error;
        }
        if (error != 0) {
            return error;
        }
        Identity identity;
        error = enterFolder(mHere, name, next);
        if (error == 0) {
            error = identityOf(next, QByteArray(), identity);
        }
        if (error != 0) {
            ::unlinkat(mHere.get(), name.constData(), AT_REMOVEDIR);
            return error;
        }
        mMade.push_back({std::move(mHere), name, identity});
        return 0;
    }

    /// Only what was made here and is empty still.
    void removeMade() {
        for (auto made = mMade.rbegin(); made != mMade.rend(); ++made) {
            Identity now;
            if (identityOf(made->folder, made->name, now) == 0 && now == made->identity) {
                ::unlinkat(made->folder.get(), made->name.constData(), AT_REMOVEDIR);
            }
        }
    }

    FileDescriptor mHere;
    std::vector<Made> mMade;
};

int createOnce(const QByteArray& path) {
    Place place;
    int error = openPlace(path, place);
    if (error == 0) {
        error = makeFolder(place.folder, place.name);
        if (error == EEXIST) {
            error = existingFolder(place);
        }
    } else if (error == ENOENT || error == EBUSY || error == EINVAL) { // the root, ".", ".." are walked
        error = path.isEmpty() ? ENOENT : Walk().run(path);
    }
    return error;
}

} // namespace

int createFolders(const QByteArray& path) {
    // ENOENT on the way down: another process removed what it, or this one, had made. Then from the top.
    int error = createOnce(path);
    for (int tries = 1; error == ENOENT && tries < kTries; ++tries) {
        error = createOnce(path);
    }
    return error;
}

} // namespace VKPlatform
