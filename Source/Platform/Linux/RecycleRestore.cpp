// Out of the bin, and what is in it. The record goes last: an item never lacks the way back.
#include "Platform/RecycleBin.h"

#include "Platform/AtomicFile.h"
#include "Platform/FolderListing.h"
#include "Platform/Linux/ExclusiveRename.h"
#include "Platform/Linux/ReadAt.h"
#include "Platform/Linux/RecycleFolders.h"
#include "Platform/RecycleRules.h"
#include "Platform/UserFolders.h"

#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace VKPlatform {

namespace {

/// A regular file's content up to the limit; ENODATA for a longer one and for what is no file.
int readBounded(const QByteArray& path, qsizetype limit, QByteArray& content) {
    const FileDescriptor file(retried(
        [&] { return ::open(path.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC); }));
    if (!file.isOpen()) {
        return errno;
    }
    struct stat facts;
    if (::fstat(file.get(), &facts) != 0) {
        return errno;
    }
    if (!S_ISREG(facts.st_mode) || facts.st_size > limit) {
        return ENODATA;
    }
    content.resize(static_cast<qsizetype>(facts.st_size));
    std::size_t count = 0;
    const int error =
        readFullyAt(file.get(), 0, content.data(), static_cast<std::size_t>(content.size()), count);
    content.truncate(static_cast<qsizetype>(count));
    return error;
}

TrashRecord readRecord(const Bin& bin, const QByteArray& name) {
    QByteArray text;
    return readBounded(bin.recordOf(name), kTrashRecordLimitBytes, text) == 0 ? parseTrashRecord(text)
                                                                              : TrashRecord();
}

/// The bin that the item's path lies in. errno as restoreItem() tells.
int binOf(const QByteArray& recycled, Bin& bin) {
    const QByteArrayView name = lastNameOf(recycled);
    const QByteArrayView files = folderOf(recycled);
    if (name.isEmpty() || name == QByteArrayView(".") || name == QByteArrayView("..") ||
        lastNameOf(files) != QByteArrayView("files") || !isCalledLikeABin(folderOf(files), ::geteuid())) {
        return EBADF;
    }
    BinCandidate candidate;
    candidate.root = realPath(folderOf(files).toByteArray());
    if (candidate.root.isEmpty()) {
        return errno;
    }
    candidate.base = trashBase(candidate.root);
    candidate.existing = candidate.root;
    const int error = openBin(candidate, bin);
    return error == ELOOP ? EPERM : error;
}

/// Makes the missing folders above the place; `made` receives them. errno, after which none of them is left.
int makeFoldersAbove(const QByteArray& place, QByteArrayList& made) {
    QByteArrayList missing;
    QByteArray folder = folderOf(place).toByteArray();
    struct stat facts;
    while (!folder.isEmpty() && folder != "/" && ::stat(folder.constData(), &facts) != 0) {
        if (errno != ENOENT) {
            return errno;
        }
        missing.prepend(folder);
        folder = folderOf(folder).toByteArray();
    }
    for (const QByteArray& path : std::as_const(missing)) {
        if (::mkdir(path.constData(), 0777) == 0) {
            made.append(path);
        } else if (errno != EEXIST) {
            const int error = errno;
            removeMade(made);
            made.clear();
            return error;
        }
    }
    return 0;
}

/// The list of sizes is a cache that others keep; an item that left must not stay in it. What fails here
/// leaves a line that its readers find to be old.
void dropFolderSize(const Bin& bin, const QByteArray& name) {
    const QByteArray path = bin.root + "/directorysizes";
    QByteArray text;
    if (readBounded(path, kFolderSizesLimitBytes, text) != 0) {
        return;
    }
    const QByteArray kept = folderSizesWithout(text, name);
    AtomicFile file;
    if (kept == text || file.open(path) != 0) {
        return;
    }
    if (file.writeAt(0, kept.constData(), static_cast<std::size_t>(kept.size())) == 0) {
        static_cast<void>(file.commit());
    }
}

std::int64_t millisecondsOf(const WallTime& time) {
    std::tm local = {};
    local.tm_year = time.year - 1900;
    local.tm_mon = time.month - 1;
    local.tm_mday = time.day;
    local.tm_hour = time.hour;
    local.tm_min = time.minute;
    local.tm_sec = time.second;
    local.tm_isdst = -1;
    return static_cast<std::int64_t>(std::mktime(&local)) * 1000;
}

void addIfThere(const std::vector<BinCandidate>& candidates, QByteArrayList& bins) {
    for (const BinCandidate& candidate : candidates) {
        Bin bin;
        if (openBin(candidate, bin) == 0 && !bins.contains(bin.root)) {
            bins.append(bin.root);
        }
    }
}

} // namespace

int restoreItem(const QByteArray& recycled, const QByteArray& target) {
    Bin bin;
    if (const int error = binOf(recycled, bin); error != 0) {
        return error;
    }
    const QByteArray name = lastNameOf(recycled).toByteArray();
    const QByteArray item = joined(bin.filesFolder(), name);
    ItemFacts facts;
    if (const int error = lookAt(item, facts); error != 0) {
        return error;
    }
    QByteArray place = target;
    if (place.isEmpty()) {
        place = rememberedPlace(readRecord(bin, name).path, bin.base).value_or(QByteArray());
        if (place.isEmpty()) { // or somebody has restored it at this moment
            const int error = lookAt(item, facts);
            return error != 0 ? error : ENODATA;
        }
    }
    QByteArrayList made;
    int error = makeFoldersAbove(place, made);
    if (error == 0) {
        error = renameExclusively(item, place);
        if (error != 0) {
            removeMade(made);
            return error;
        }
        // The item is back: a record that stays has no item, and nobody shows it.
        ::unlink(bin.recordOf(name).constData());
        if (facts.isFolder()) {
            dropFolderSize(bin, name);
        }
    }
    return error;
}

QByteArrayList recycleBins() {
    QByteArrayList bins;
    const HomeBin home = homeBin(userDataFolder());
    if (!home.root.isEmpty()) {
        addIfThere({{home.root, QByteArray(), home.existing}}, bins);
    }
    addIfThere(volumeBinCandidates(), bins);
    return bins;
}

QByteArrayList recycleBinsFor(const QByteArray& folder) {
    QByteArrayList bins;
    const QByteArray real = realPath(folder);
    ItemFacts facts;
    if (!real.isEmpty() && lookAt(real, facts) == 0) {
        addIfThere(binCandidates(real, facts.domain, homeBin(userDataFolder())), bins);
    }
    return bins;
}

int listRecycleBin(const QByteArray& bin, const std::function<bool(const RecycledItem&)>& take) {
    Bin opened;
    if (const int error = binOf(joined(bin, "files/x"), opened); error != 0) {
        return error;
    }
    FolderListing listing;
    if (const int error = listing.open(opened.filesFolder()); error != 0) {
        return error;
    }
    FolderListing::Entry entry;
    while (listing.next(entry)) {
        FileDetails details;
        if (listing.details(entry, LinkRule::Keep, details) != 0) {
            continue;
        }
        const QByteArray name = entry.name.toByteArray();
        const TrashRecord record = readRecord(opened, name);
        RecycledItem item;
        item.path = joined(opened.filesFolder(), name);
        item.kind = details.kind;
        item.originalPath = rememberedPlace(record.path, opened.base).value_or(QByteArray());
        if (record.deleted) {
            item.deletedMs = millisecondsOf(*record.deleted);
        }
        if (!take(item)) {
            return 0;
        }
    }
    return listing.error();
}

} // namespace VKPlatform
