// Into the bin: the record is made first, by exclusive creation, because that is what reserves the name; then
// the item is renamed. Only paths are remembered, no descriptors: these would keep a card from being ejected.
#include "Platform/RecycleBin.h"

#include "Platform/FileDescriptor.h"
#include "Platform/Linux/ExclusiveRename.h"
#include "Platform/Linux/MountsBelow.h"
#include "Platform/Linux/ReadAt.h"
#include "Platform/Linux/RecycleFolders.h"
#include "Platform/RecycleRules.h"
#include "Platform/UserFolders.h"

#include <QRandomGenerator>

#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace VKPlatform {

namespace {

constexpr qsizetype kNameLimit = 255;
/// For file systems that take less than most (encrypting ones).
constexpr qsizetype kShortNameLimit = 140;
constexpr int kFreshTries = 10;

/// What is known of the folder that an item is in.
struct ItemFolder {
    QByteArray real;
    RenameDomain domain;
    QByteArray homeBin; ///< empty: there is none
};

/// The folders whose items were recycled last, and the bins of their domains. A folder is remembered only
/// under its real path, so that no link on the way can have been changed.
class Memory {
public:
    struct Answer {
        std::shared_ptr<const ItemFolder> folder;
        std::shared_ptr<const Bin> bin;
    };

    /// What was remembered for a folder while `dataFolder` was the same; the bin alone for another folder of a
    /// domain that is known.
    [[nodiscard]] Answer find(const QByteArray& folder, std::uint64_t mount, const QByteArray& dataFolder) {
        const std::lock_guard lock(mMutex);
        for (const auto& known : mFolders) {
            if (dataFolder == mDataFolder && known->real == folder && known->domain.mount == mount) {
                return {known, binOf(known->domain)};
            }
        }
        return {};
    }

    [[nodiscard]] std::shared_ptr<const Bin> findBin(const RenameDomain& domain,
                                                     const QByteArray& dataFolder) {
        const std::lock_guard lock(mMutex);
        return dataFolder == mDataFolder ? binOf(domain) : nullptr;
    }

    void keep(const ItemFolder& folder, const std::shared_ptr<const Bin>& bin, const QByteArray& dataFolder) {
        const std::lock_guard lock(mMutex);
        if (dataFolder != mDataFolder) {
            mFolders.clear();
            mBins.clear();
            mDataFolder = dataFolder;
        }
        std::erase_if(mFolders, [&](const auto& known) { return known->real == folder.real; });
        std::erase_if(mBins, [&](const auto& known) { return known.first == folder.domain; });
        if (mFolders.size() >= kMost) {
            mFolders.erase(mFolders.begin());
        }
        if (mBins.size() >= kMost) {
            mBins.erase(mBins.begin());
        }
        mFolders.push_back(std::make_shared<const ItemFolder>(folder));
        mBins.emplace_back(folder.domain, bin);
    }

    void forget(const RenameDomain& domain) {
        const std::lock_guard lock(mMutex);
        std::erase_if(mFolders, [&](const auto& known) { return known->domain == domain; });
        std::erase_if(mBins, [&](const auto& known) { return known.first == domain; });
    }

private:
    static constexpr std::size_t kMost = 16;

    [[nodiscard]] std::shared_ptr<const Bin> binOf(const RenameDomain& domain) const {
        for (const auto& [known, bin] : mBins) {
            if (known == domain) {
                return bin;
            }
        }
        return nullptr;
    }

    std::mutex mMutex;
    QByteArray mDataFolder;
    std::vector<std::shared_ptr<const ItemFolder>> mFolders;
    std::vector<std::pair<RenameDomain, std::shared_ptr<const Bin>>> mBins;
};

Memory& memory() {
    static Memory sMemory;
    return sMemory;
}

WallTime now() {
    const std::time_t seconds = std::time(nullptr);
    std::tm local = {};
    ::localtime_r(&seconds, &local);
    return {.year = local.tm_year + 1900,
            .month = local.tm_mon + 1,
            .day = local.tm_mday,
            .hour = local.tm_hour,
            .minute = local.tm_min,
            .second = local.tm_sec};
}

/// A new file with the whole text, or none.
int writeRecord(const QByteArray& path, const QByteArray& text) {
    FileDescriptor file(retried([&] {
        return ::open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    }));
    if (!file.isOpen()) {
        return errno;
    }
    int error = 0;
    for (qsizetype written = 0; error == 0 && written < text.size();) {
        const ssize_t count = retried([&] {
            return ::write(file.get(), text.constData() + written,
                           static_cast<std::size_t>(text.size() - written));
        });
        error = count < 0 ? errno : count == 0 ? ENOSPC : 0;
        written += count;
    }
    // A network file system may report here what it could not store. Interrupted, it is closed all the same.
    const int closing = file.close();
    if (error == 0 && closing != EINTR) {
        error = closing;
    }
    if (error != 0) {
        ::unlink(path.constData());
    }
    return error;
}

/// Why an item did not get into a bin, and whether another bin may take it.
struct Failure {
    int error = 0;
    bool isOfTheBin = false;
};

bool meansUnusable(int error) {
    return error == EACCES || error == EPERM || error == EROFS || error == ENOENT || error == ENOTDIR ||
           error == ELOOP || error == ESTALE;
}

/// The path in the record: as the bin counts it.
QByteArray recordedPath(const Bin& bin, const QByteArray& path) {
    if (bin.base.isEmpty()) {
        return path;
    }
    return path.sliced(bin.base.endsWith('/') ? bin.base.size() : bin.base.size() + 1);
}

/// Takes the `number`th name for an item by writing its record; a shorter one where the file system asks for it.
int takeName(const Bin& bin, QByteArrayView original, unsigned number, const QByteArray& text,
             qsizetype& limit, QByteArray& name) {
    name = trashName(original, number, limit);
    int error = writeRecord(bin.recordOf(name), text);
    if (error == ENAMETOOLONG && limit != kShortNameLimit) {
        limit = kShortNameLimit;
        name = trashName(original, number, limit);
        error = writeRecord(bin.recordOf(name), text);
    }
    return error;
}

/// `path` is real.
Failure putInto(const Bin& bin, const QByteArray& path, QByteArray& recycled) {
    const QByteArray text = trashRecordText(recordedPath(bin, path), now());
    qsizetype limit = kNameLimit;
    QByteArray name;
    for (unsigned tries = 0; tries < kTrashNameTries; ++tries) {
        const unsigned number =
            trashNameNumber(tries, tries == 0 ? 0 : QRandomGenerator::global()->generate());
        int error = takeName(bin, lastNameOf(path), number, text, limit, name);
        if (error != 0 && error != EEXIST) {
            return {error, meansUnusable(error)};
        }
        if (error == EEXIST) {
            continue;
        }
        QByteArray place = joined(bin.filesFolder(), name);
        error = renameExclusively(path, place);
        if (error == 0) {
            recycled = std::move(place);
            return {};
        }
        ::unlink(bin.recordOf(name).constData());
        if (error != EEXIST) { // that would be an item without a record
            return {error, error == EXDEV || error == EROFS};
        }
    }
    return {EEXIST, false};
}

/// The rename would take what is mounted there along, into reach of whoever empties the bin.
bool isAroundAMountPoint(const QByteArray& path) {
    const FileDescriptor folder(::open(path.constData(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    return folder.isOpen() && holdsMountPoint(folder);
}

/// What no bin may take: moving it would take the bin or the person's home away, or is done already.
bool isRefused(const ItemFolder& folder, const QByteArray& path, const ItemFacts& item) {
    if (item.isMountPoint || liesInVolumeBin(path)) {
        return true;
    }
    if (!folder.homeBin.isEmpty() &&
        (isSameOrInside(path, folder.homeBin) || isSameOrInside(folder.homeBin, path))) {
        return true;
    }
    if (!item.isFolder()) {
        return false;
    }
    const QByteArray home = realPath(homeFolder());
    return (!home.isEmpty() && isSameOrInside(home, path)) || isAroundAMountPoint(path);
}

/// Tries the bins that the folder's domain allows, best first.
Failure putIntoAny(const ItemFolder& folder, const std::vector<BinCandidate>& candidates,
                   const QByteArray& path, const QByteArray& dataFolder, QByteArray& recycled) {
    Failure failure{EOPNOTSUPP, true};
    for (const BinCandidate& candidate : candidates) {
        Bin bin;
        QByteArrayList made;
        if (const int error = makeBin(candidate, bin, made); error != 0) {
            if (error == EIO || error == ENOMEM || error == EMFILE || error == ENFILE) {
                return {error, false};
            }
            ItemFacts above;
            if (error == ENOENT && lookAt(candidate.existing, above) != 0) {
                return {ENOENT, true};
            }
            continue;
        }
        failure = putInto(bin, path, recycled);
        if (failure.error == 0) {
            memory().keep(folder, std::make_shared<const Bin>(bin), dataFolder);
            return failure;
        }
        removeMade(made);
        // A bin that vanished is made again, before another one comes into question.
        if (!failure.isOfTheBin || failure.error == ENOENT) {
            return failure;
        }
    }
    return {EOPNOTSUPP, true};
}

int resolveFolder(const QByteArray& path, const QByteArray& dataFolder, ItemFolder& folder, HomeBin& home) {
    folder.real = realPath(folderOf(path).toByteArray());
    if (folder.real.isEmpty()) {
        return errno;
    }
    ItemFacts facts;
    if (const int error = lookAt(folder.real, facts); error != 0) {
        return error;
    }
    folder.domain = facts.domain;
    home = homeBin(dataFolder);
    folder.homeBin = home.root;
    return 0;
}

/// An item that exists, and whose path ends in a name.
int recycleAfresh(const QByteArray& path, const ItemFacts& item, const QByteArray& dataFolder,
                  QByteArray& recycled) {
    ItemFolder folder;
    HomeBin home;
    if (const int error = resolveFolder(path, dataFolder, folder, home); error != 0) {
        return error;
    }
    const QByteArray real = joined(folder.real, lastNameOf(path));
    if (isRefused(folder, real, item)) {
        return EBUSY;
    }
    if (const auto bin = memory().findBin(folder.domain, dataFolder); bin != nullptr && isStillThere(*bin)) {
        if (putInto(*bin, real, recycled).error == 0) {
            memory().keep(folder, bin, dataFolder);
            return 0;
        }
    }
    memory().forget(folder.domain);
    return putIntoAny(folder, binCandidates(folder.real, folder.domain, home), real, dataFolder, recycled)
        .error;
}

/// errno of looking at an item that may go; EBUSY for a path that ends in no name.
int lookAtItem(const QByteArray& path, ItemFacts& item) {
    const QByteArrayView name = lastNameOf(path);
    if (name.isEmpty() || name == QByteArrayView(".") || name == QByteArrayView("..")) {
        return path.isEmpty() ? ENOENT : EBUSY;
    }
    return lookAt(path, item);
}

} // namespace

int recycleItem(const QByteArray& path, QByteArray& recycled) {
    ItemFacts item;
    if (const int error = lookAtItem(path, item); error != 0) {
        return error;
    }
    const QByteArray data = userDataFolder();
    const auto known = memory().find(folderOf(path).toByteArray(), item.domain.mount, data);
    if (known.folder != nullptr && known.bin != nullptr && !isRefused(*known.folder, path, item) &&
        isStillThere(*known.bin) && putInto(*known.bin, path, recycled).error == 0) {
        return 0;
    }
    // Whatever was wrong with what is remembered, it is found out anew; what was right fails again. When
    // something is missing and it is not the item, its bin was emptied at this moment.
    for (int tries = 0; tries < kFreshTries; ++tries) {
        const int error = recycleAfresh(path, item, data, recycled);
        if (error != ENOENT) {
            return error;
        }
        if (const int gone = lookAt(path, item); gone != 0) {
            return gone;
        }
    }
    return EAGAIN;
}

bool canRecycleItem(const QByteArray& path) {
    ItemFacts item;
    ItemFolder folder;
    HomeBin home;
    if (lookAtItem(path, item) != 0 || resolveFolder(path, userDataFolder(), folder, home) != 0 ||
        isRefused(folder, joined(folder.real, lastNameOf(path)), item)) {
        return false;
    }
    for (const BinCandidate& candidate : binCandidates(folder.real, folder.domain, home)) {
        if (couldMakeBin(candidate)) {
            return true;
        }
    }
    return false;
}

} // namespace VKPlatform
