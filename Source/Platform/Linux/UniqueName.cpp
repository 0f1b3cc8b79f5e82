// Asks the folder, which knows whether case counts, about each name; for names with more than one spelling it
// is listed once.
#include "Platform/UniqueName.h"
#include "Platform/FolderListing.h"
#include "Platform/Linux/Place.h"
#include "Platform/OnDiskName.h"

#include <QSet>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

namespace VKPlatform {

namespace {

constexpr qsizetype kNameLimitBytes = 255;

bool isUsable(const QString& name) {
    return !name.isEmpty() && name != QLatin1String(".") && name != QLatin1String("..") &&
           !name.contains(u'/') && !name.contains(QChar::Null) && QStringView(name).isValidUtf16();
}

class Folder {
public:
    int open(const QByteArray& path) {
        const int error = path.isEmpty() ? ENOENT : openFolder(path, O_PATH, mFolder);
        return error == ENOENT ? 0 : error;
    }

    /// Of a name, in bytes.
    [[nodiscard]] qsizetype limit() const {
        FileDescriptor readable(
            mFolder.isOpen() ? ::openat(mFolder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1);
        const long limit = readable.isOpen() ? ::fpathconf(readable.get(), _PC_NAME_MAX) : -1;
        return limit > 0 ? std::min<qsizetype>(limit, kNameLimitBytes) : kNameLimitBytes;
    }

    /// EEXIST or 0; errno when the folder does not tell.
    [[nodiscard]] int look(const QByteArray& name) {
        if (!mFolder.isOpen()) {
            return 0;
        }
        struct stat record;
        if (::fstatat(mFolder.get(), name.constData(), &record, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT) == 0) {
            return EEXIST;
        }
        if (errno != ENOENT) {
            return errno;
        }
        if (hasOneSpelling(name)) {
            return 0;
        }
        if (const int error = list(); error != 0) {
            return error;
        }
        return mShown.contains(displayedName(name)) ? EEXIST : 0;
    }

private:
    int list() {
        if (mListed) {
            return 0;
        }
        FolderListing listing;
        int error = listing.openAt(mFolder);
        if (error == EACCES) { // not for reading: then no path is looked up in it by listing either
            error = 0;
        }
        for (FolderListing::Entry entry; listing.next(entry);) {
            if (!hasOneSpelling(entry.name) || entry.name.contains('\\')) {
                mShown.insert(displayedName(entry.name));
            }
        }
        mListed = true;
        return error != 0 ? error : listing.error();
    }

    FileDescriptor mFolder;
    bool mListed = false;
    QSet<QString> mShown; ///< the texts of the names that bytes alone do not find
};

} // namespace

int uniqueName(const QByteArray& folder, const QString& name, NameShape shape, const QString& copyWord,
               int firstNumber, QByteArray& out, int tries) {
    if (!isUsable(name) || !isUsable(copyWord) || firstNumber < 0) {
        return EINVAL;
    }
    Folder place;
    if (const int error = place.open(folder); error != 0) {
        return error;
    }
    const qsizetype limit = place.limit();
    const NameParts parts = nameParts(name, shape, copyWord);
    // The name itself, which carries its own number; then those after it.
    int number = firstNumber == 0 ? parts.number : std::max(firstNumber, parts.number + 1);
    for (int tried = 0; tried < tries; ++tried) {
        const std::optional<QByteArray> candidate = numberedName(parts, number, copyWord, limit);
        if (!candidate) {
            return ENAMETOOLONG;
        }
        const int answer = place.look(*candidate);
        if (answer == 0) {
            out = *candidate;
        }
        if (answer != EEXIST || number == std::numeric_limits<int>::max()) {
            return answer;
        }
        ++number;
    }
    return EEXIST;
}

} // namespace VKPlatform
