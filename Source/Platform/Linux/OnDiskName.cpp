// Tries the form C bytes first; only where they are missing does it walk, on folder descriptors, so that
// neither the path's length nor its depth has a limit, and lists the folders in which a component is missing.
#include "Platform/OnDiskName.h"
#include "Platform/FileDescriptor.h"
#include "Platform/FolderListing.h"
#include "Platform/Utf8.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <utility>

namespace VKPlatform {

namespace {

/// The bytes of a text that has one spelling, or nothing when it has more, or a NUL. One pass, one
/// allocation.
std::optional<QByteArray> bytesOfPlainText(QStringView text) {
    QByteArray bytes(text.size(), Qt::Uninitialized);
    char* to = bytes.data();
    for (const QChar character : text) {
        const char16_t unit = character.unicode();
        if (unit >= 0x80 || unit == 'K' || unit == ';' || unit == '`' || unit == 0) {
            return std::nullopt;
        }
        *to++ = static_cast<char>(unit);
    }
    return bytes;
}

bool isMissing(int error) { return error == ENOENT || error == ENAMETOOLONG; }

/// The one entry of the folder that shows `text`, which has no entry spelled `exact`; nothing when there is
/// none, when there are several, when `exact` is there after all, and when the folder cannot be read to its
/// end.
std::optional<QByteArray> soleEntryShowing(const FileDescriptor& folder, QByteArrayView exact,
                                           const QString& text) {
    FolderListing listing;
    if (listing.openAt(folder) != 0) {
        return std::nullopt;
    }
    std::optional<QByteArray> found;
    bool several = false;
    for (FolderListing::Entry entry; listing.next(entry);) {
        if (entry.name == exact) {
            return std::nullopt;
        }
        // An ASCII name without a backslash shows itself, so it is either the exact one or another.
        const bool showsItself = std::none_of(entry.name.begin(), entry.name.end(),
                                              [](char c) { return (c & 0x80) != 0 || c == '\\'; });
        if (!showsItself && displayedName(entry.name) == text) {
            several = several || found.has_value();
            found = entry.name.toByteArray();
        }
    }
    if (several || listing.error() != 0) {
        return std::nullopt;
    }
    return found;
}

/// Walks `path`, bytes in form C, from the working folder or the root.
class Walk {
public:
    explicit Walk(const QByteArray& path) : mPath(path) {}

    QByteArray run() {
        mResult.reserve(mPath.size());
        const qsizetype lastOdd = startOfLastOddComponent();
        // The folder of the last component in doubt exists as it is written more often than not.
        if (!descendWithinLimits(0, lastOdd)) {
            mHere = FileDescriptor();
            mDone = 0;
            mResult.clear();
        }
        while (mDone < mPath.size()) {
            if (!step()) {
                break;
            }
        }
        mResult += QByteArrayView(mPath).sliced(mDone);
        return std::move(mResult);
    }

private:
    [[nodiscard]] QByteArrayView componentAt(qsizetype start) const {
        const qsizetype slash = mPath.indexOf('/', start);
        return QByteArrayView(mPath).sliced(start, (slash < 0 ? mPath.size() : slash) - start);
    }

    [[nodiscard]] qsizetype startOfLastOddComponent() const {
        qsizetype at = mPath.size();
        while (at > 0 && hasOneSpelling(QByteArrayView(mPath).sliced(at - 1, 1))) {
            --at;
        }
        return at == 0 ? 0 : mPath.lastIndexOf('/', at - 1) + 1;
    }

    /// Opens one folder below the present one. `name` is NUL-terminated.
    [[nodiscard]] int enter(const char* name) {
        const int from = mHere.isOpen() ? mHere.get() : AT_FDCWD;
        FileDescriptor next(::openat(from, name, O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!next.isOpen()) {
            return errno;
        }
        mHere = std::move(next);
        return 0;
    }

    /// Opens what lies between the two positions, which stand at the start of components, and takes it over
    /// as written; in pieces that the kernel accepts.
    [[nodiscard]] bool descendWithinLimits(qsizetype from, qsizetype to) {
        constexpr qsizetype kPiece = PATH_MAX - 1;
        while (from < to) {
            qsizetype end = to;
            if (end - from > kPiece) {
                end = mPath.lastIndexOf('/', from + kPiece - 1) + 1;
                if (end <= from) {
                    return false;
                }
            }
            // Slashes in front of a later piece would make it absolute.
            qsizetype begin = from;
            while (mHere.isOpen() && begin < end && mPath.at(begin) == '/') {
                ++begin;
            }
            if (begin < end && enter(mPath.sliced(begin, end - begin).constData()) != 0) {
                return false;
            }
            mResult += QByteArrayView(mPath).sliced(from, end - from);
            mDone = end;
            from = end;
        }
        return true;
    }

    /// Takes over the slashes and the run of components without another spelling that begin here, or one
    /// component that may have another. False when the rest is to stay as it is.
    [[nodiscard]] bool step() {
        qsizetype end = mDone;
        qsizetype at = mDone;
        while (at < mPath.size()) {
            const QByteArrayView component = componentAt(at);
            if (!hasOneSpelling(component)) {
                break;
            }
            at += component.size() + 1;
            end = std::min(at, mPath.size());
        }
        if (at >= mPath.size()) {
            return false;
        }
        if (end > mDone) {
            return descendWithinLimits(mDone, end);
        }
        return stepOverOddComponent(componentAt(mDone));
    }

    [[nodiscard]] bool stepOverOddComponent(QByteArrayView component) {
        const bool last = mDone + component.size() >= mPath.size();
        const QByteArray exact = component.toByteArray();
        if (!last) {
            const int error = enter(exact.constData());
            if (error == 0) {
                accept(exact, component.size());
                return true;
            }
            if (!isMissing(error)) {
                return false;
            }
        } else if (existsHere(exact)) {
            return false;
        }
        if (!mHere.isOpen() && enter(".") != 0) {
            return false;
        }
        const std::optional<QByteArray> found = soleEntryShowing(mHere, component, decodeUtf8(component));
        if (!found) {
            return false;
        }
        const bool entered = last || enter(found->constData()) == 0;
        accept(*found, component.size());
        return entered && !last;
    }

    [[nodiscard]] bool existsHere(const QByteArray& name) const {
        struct stat record;
        const int from = mHere.isOpen() ? mHere.get() : AT_FDCWD;
        return ::fstatat(from, name.constData(), &record, AT_SYMLINK_NOFOLLOW) == 0 || !isMissing(errno);
    }

    /// Takes the spelling of the component here, and the slash after it.
    void accept(const QByteArray& spelling, qsizetype written) {
        mResult += spelling;
        mDone += written;
        if (mDone < mPath.size()) {
            mResult += '/';
            ++mDone;
        }
    }

    const QByteArray& mPath;
    QByteArray mResult;
    FileDescriptor mHere; ///< none: the working folder, or the root for a path that begins with "/"
    qsizetype mDone = 0;  ///< how much of mPath mResult stands for
};

} // namespace

std::optional<QByteArray> onDiskPath(QStringView text) {
    if (std::optional<QByteArray> bytes = bytesOfPlainText(text)) {
        return bytes;
    }
    if (text.contains(QChar::Null)) {
        return std::nullopt;
    }
    std::optional<QByteArray> bytes = encodeUtf8(text.toString().normalized(QString::NormalizationForm_C));
    if (!bytes) {
        return std::nullopt;
    }
    struct stat record;
    // Anything but a missing name means that the form C bytes lead as far as any spelling would.
    if (::lstat(bytes->constData(), &record) == 0 || !isMissing(errno)) {
        return bytes;
    }
    return Walk(*bytes).run();
}

} // namespace VKPlatform
