// Where bins may lie, and that each folder of one is a real folder of this user's own.
#include "Platform/Linux/RecycleFolders.h"

#include "Platform/RecycleRules.h"
#include "Platform/ServedSpace.h"
#include "Platform/UserFolders.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <libmount.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace VKPlatform {

namespace {

struct Unreference {
    void operator()(libmnt_table* table) const { mnt_unref_table(table); }
    void operator()(libmnt_iter* iterator) const { mnt_free_iter(iterator); }
    void operator()(char* text) const { std::free(text); } // NOLINT: from malloc
};
template <typename T>
using Owned = std::unique_ptr<T, Unreference>;

QByteArrayView viewOf(const char* text) { return text == nullptr ? QByteArrayView() : QByteArrayView(text); }

/// Calls `visit` with each mount, the topmost of each place first, until it answers false.
template <typename Visitor>
void forEachMount(Visitor visit) {
    const Owned<libmnt_table> table(mnt_new_table_from_file("/proc/self/mountinfo"));
    const Owned<libmnt_iter> iterator(mnt_new_iter(MNT_ITER_BACKWARD));
    libmnt_fs* mount = nullptr;
    while (table != nullptr && iterator != nullptr &&
           mnt_table_next_fs(table.get(), iterator.get(), &mount) == 0) {
        if (!visit(mount)) {
            return;
        }
    }
}

bool isOrdinary(libmnt_fs* mount) {
    return canHoldABin(viewOf(mnt_fs_get_fstype(mount)), viewOf(mnt_fs_get_source(mount)));
}

/// A mount that is not listed, as where the root is a changed one, is taken for an ordinary one.
bool mountCanHoldABin(std::uint64_t id) {
    bool can = true;
    forEachMount([&](libmnt_fs* mount) {
        if (static_cast<std::uint64_t>(mnt_fs_get_id(mount)) != id) {
            return true;
        }
        can = isOrdinary(mount);
        return false;
    });
    return can;
}

/// The outermost folder on the way up from `folder` that is in the same domain.
QByteArray rootOfDomain(const QByteArray& folder, const RenameDomain& domain) {
    QByteArray root = folder;
    while (root != "/") {
        const QByteArray above = folderOf(root).toByteArray();
        ItemFacts facts;
        if (lookAt(above, facts) != 0 || facts.domain != domain) {
            break;
        }
        root = above;
    }
    return root;
}

bool isOwnFolder(const ItemFacts& facts) { return facts.isFolder() && facts.owner == ::geteuid(); }

/// ELOOP for what is there and is not a folder of this user's own.
int checkOwnFolder(const QByteArray& path, ItemFacts& facts) {
    const int error = lookAt(path, facts);
    return error != 0 ? error : isOwnFolder(facts) ? 0 : ELOOP;
}

/// The shared parent ".Trash" has to be a folder with the sticky bit, or users could take each other's bins
/// away.
bool isSharedParent(const QByteArray& path) {
    ItemFacts facts;
    return lookAt(path, facts) == 0 && facts.isFolder() && (facts.mode & S_ISVTX) != 0;
}

QByteArray firstExisting(const QByteArray& root, const QByteArray& above) {
    ItemFacts facts;
    return lookAt(root, facts) == 0 ? root : above;
}

void addVolumeCandidates(const QByteArray& volume, std::vector<BinCandidate>& candidates) {
    const QByteArray user = QByteArray::number(::geteuid());
    const QByteArray shared = joined(volume, ".Trash");
    if (isSharedParent(shared)) {
        const QByteArray root = joined(shared, user);
        candidates.push_back({root, volume, firstExisting(root, shared)});
    }
    const QByteArray own = joined(volume, QByteArray(".Trash-" + user));
    candidates.push_back({own, volume, firstExisting(own, volume)});
}

bool isWritable(const QByteArray& folder) {
    return ::faccessat(AT_FDCWD, folder.constData(), W_OK | X_OK, AT_EACCESS) == 0;
}

int makeFolder(const QByteArray& path, QByteArrayList& made) {
    if (::mkdir(path.constData(), 0700) == 0) {
        made.append(path);
        return 0;
    }
    return errno == EEXIST ? 0 : errno;
}

/// The folders from below `existing` down to the bin itself.
QByteArrayList missingFolders(const BinCandidate& candidate) {
    QByteArrayList folders;
    for (QByteArray folder = candidate.root; folder != candidate.existing && folder != "/";
         folder = folderOf(folder).toByteArray()) {
        folders.prepend(folder);
    }
    return folders;
}

} // namespace

bool ItemFacts::isFolder() const { return S_ISDIR(mode); }

int lookAt(const QByteArray& path, ItemFacts& facts) {
    struct statx record;
    if (::statx(AT_FDCWD, path.constData(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT,
                STATX_TYPE | STATX_MODE | STATX_UID | STATX_INO | STATX_MNT_ID, &record) != 0) {
        return errno;
    }
    facts.domain.mount = (record.stx_mask & STATX_MNT_ID) != 0 ? record.stx_mnt_id : 0;
    facts.domain.device = std::uint64_t{record.stx_dev_major} << 32U | record.stx_dev_minor;
    facts.inode = record.stx_ino;
    facts.mode = record.stx_mode;
    facts.owner = record.stx_uid;
    facts.isMountPoint = (record.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
    return 0;
}

QByteArray realPath(const QByteArray& path) {
    const Owned<char> real(::realpath(path.constData(), nullptr));
    return real == nullptr ? QByteArray() : QByteArray(real.get());
}

HomeBin homeBin(const QByteArray& dataFolder) {
    QByteArray existing = dataFolder;
    QByteArrayList missing{QByteArrayLiteral("Trash")};
    QByteArray real;
    while (!existing.isEmpty() && (real = realPath(existing)).isEmpty()) {
        if (errno != ENOENT || existing == "/") {
            return {};
        }
        missing.prepend(lastNameOf(existing).toByteArray());
        existing = folderOf(existing).toByteArray();
    }
    // A home folder that is missing is not made: only what belongs into it.
    const QByteArray home = homeFolder();
    if (real.isEmpty() || (isSameOrInside(dataFolder, home) && !isSameOrInside(existing, home))) {
        return {};
    }
    HomeBin bin{real, real};
    for (const QByteArray& name : missing) {
        bin.root = joined(bin.root, name);
    }
    bin.existing = firstExisting(bin.root, real);
    return bin;
}

QByteArray Bin::recordOf(const QByteArray& name) const {
    return root + "/info/" + name + kTrashRecordSuffix.toByteArray();
}

std::vector<BinCandidate> binCandidates(const QByteArray& folder, const RenameDomain& domain,
                                        const HomeBin& home) {
    std::vector<BinCandidate> candidates;
    ItemFacts facts;
    if (!home.root.isEmpty() && lookAt(home.existing, facts) == 0 && facts.domain == domain) {
        candidates.push_back({home.root, QByteArray(), home.existing});
    }
    if (mountCanHoldABin(domain.mount)) {
        addVolumeCandidates(rootOfDomain(folder, domain), candidates);
    }
    return candidates;
}

int openBin(const BinCandidate& candidate, Bin& bin) {
    bin.root = candidate.root;
    bin.base = candidate.base;
    ItemFacts facts;
    int error = checkOwnFolder(bin.root, facts);
    if (error == 0) {
        error = checkOwnFolder(bin.root + "/info", facts);
    }
    return error != 0 ? error : checkOwnFolder(bin.filesFolder(), bin.files);
}

int makeBin(const BinCandidate& candidate, Bin& bin, QByteArrayList& made) {
    QByteArrayList folders = missingFolders(candidate);
    folders << candidate.root + "/files" << candidate.root + "/info";
    int error = 0;
    for (const QByteArray& folder : folders) {
        if (error = makeFolder(folder, made); error != 0) {
            break;
        }
        // A link in the place of a bin must not have folders made in it.
        ItemFacts facts;
        if (error = checkOwnFolder(candidate.root, facts); error != 0 && error != ENOENT) {
            break;
        }
    }
    if (error == 0) {
        error = openBin(candidate, bin);
    }
    if (error != 0) {
        removeMade(made);
        made.clear();
    }
    return error;
}

void removeMade(const QByteArrayList& made) {
    for (auto folder = made.crbegin(); folder != made.crend(); ++folder) {
        ::rmdir(folder->constData());
    }
}

bool couldMakeBin(const BinCandidate& candidate) {
    if (candidate.existing != candidate.root) {
        return isWritable(candidate.existing);
    }
    ItemFacts facts;
    if (checkOwnFolder(candidate.root, facts) != 0) {
        return false;
    }
    for (const char* part : {"/files", "/info"}) {
        const QByteArray folder = candidate.root + part;
        const int error = checkOwnFolder(folder, facts);
        if (error == ENOENT ? !isWritable(candidate.root) : error != 0 || !isWritable(folder)) {
            return false;
        }
    }
    return true;
}

bool isStillThere(const Bin& bin) {
    ItemFacts now;
    return lookAt(bin.filesFolder(), now) == 0 && now.isFolder() && now.domain == bin.files.domain &&
           now.inode == bin.files.inode && now.owner == bin.files.owner;
}

bool liesInVolumeBin(const QByteArray& path) {
    // Asking for the user is a system call, which photos in ordinary folders are not to pay for.
    if (!path.contains("/.Trash") || !mentionsABin(path, ::geteuid())) {
        return false;
    }
    for (QByteArray folder = path; folder != "/"; folder = folderOf(folder).toByteArray()) {
        const QByteArray above = folderOf(folder).toByteArray();
        const QByteArrayView name = lastNameOf(folder);
        if (name != QByteArrayView(".Trash") && !mentionsABin(name, ::geteuid())) {
            continue;
        }
        ItemFacts facts;
        if (lookAt(above, facts) == 0 && rootOfDomain(above, facts.domain) == above) {
            return true;
        }
    }
    return false;
}

std::vector<BinCandidate> volumeBinCandidates() {
    QByteArrayList seen;
    QByteArrayList places;
    std::vector<ServedPlace> served;
    forEachMount([&](libmnt_fs* mount) {
        const QByteArray place(mnt_fs_get_target(mount));
        if (!seen.contains(place)) {
            seen.append(place);
            if (isOrdinary(mount)) {
                places.append(place);
                if (viewOf(mnt_fs_get_fstype(mount)).startsWith("fuse")) {
                    served.push_back(servedPlace(mnt_fs_get_id(mount), place));
                }
            }
        }
        return true;
    });
    const std::vector<ServedSpace> answers = askServedSpace(served);
    for (std::size_t i = 0; i < served.size(); ++i) {
        if (answers[i].state == ServerState::Silent) {
            places.removeOne(served[i].place);
        }
    }
    std::vector<BinCandidate> candidates;
    for (const QByteArray& place : std::as_const(places)) {
        addVolumeCandidates(place, candidates);
    }
    return candidates;
}

} // namespace VKPlatform
