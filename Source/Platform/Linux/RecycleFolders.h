// Which bins the items of a folder can go to: found, looked at, made. For the sources of this folder.
#pragma once

#include <QByteArray>
#include <QByteArrayList>

#include <cstdint>
#include <vector>

namespace VKPlatform {

/// Between two folders of one domain items can be renamed, as far as numbers tell: the same mount, and the
/// same device, which tells the subvolumes of a mount apart.
struct RenameDomain {
    std::uint64_t mount = 0; ///< 0 where the kernel does not number mounts
    std::uint64_t device = 0;

    friend bool operator==(const RenameDomain&, const RenameDomain&) = default;
};

struct ItemFacts {
    RenameDomain domain;
    std::uint64_t inode = 0;
    unsigned mode = 0;
    unsigned owner = 0;
    bool isMountPoint = false;

    [[nodiscard]] bool isFolder() const;
};

/// One system call about the item itself, never about what a link names. errno.
[[nodiscard]] int lookAt(const QByteArray& path, ItemFacts& facts);

/// The real path, without links; null (and errno) when there is none.
[[nodiscard]] QByteArray realPath(const QByteArray& path);

/// The home bin below the user's data folder, with the links on the way resolved, and the nearest folder that exists.
struct HomeBin {
    QByteArray root; ///< empty: there can be none
    QByteArray existing;
};
[[nodiscard]] HomeBin homeBin(const QByteArray& dataFolder);

/// A place where a bin may be.
struct BinCandidate {
    QByteArray root;
    QByteArray base;     ///< what recorded paths count from; empty: they are absolute
    QByteArray existing; ///< the nearest folder above that exists, or `root`
};

/// A bin that is there.
struct Bin {
    QByteArray root;
    QByteArray base;
    ItemFacts files;

    [[nodiscard]] QByteArray filesFolder() const { return root + "/files"; }
    [[nodiscard]] QByteArray recordOf(const QByteArray& name) const;
};

/// The candidates for a real folder, best first.
[[nodiscard]] std::vector<BinCandidate> binCandidates(const QByteArray& folder, const RenameDomain& domain,
                                                      const HomeBin& home);

/// Opens a bin whose folders all exist and are this user's own. errno.
[[nodiscard]] int openBin(const BinCandidate& candidate, Bin& bin);

/// The same, making what is missing (0700); `made` receives what was, outermost first. After a failure
/// nothing of it is left.
[[nodiscard]] int makeBin(const BinCandidate& candidate, Bin& bin, QByteArrayList& made);

/// Removes folders that were made, as far as they are empty still.
void removeMade(const QByteArrayList& made);

/// Whether makeBin() would be allowed to; makes nothing.
[[nodiscard]] bool couldMakeBin(const BinCandidate& candidate);

/// Whether the bin is the same folder as when it was opened.
[[nodiscard]] bool isStillThere(const Bin& bin);

/// Whether the real path is that of a volume's bin or in one.
[[nodiscard]] bool liesInVolumeBin(const QByteArray& path);

/// The places where mounted volumes may have bins. A user-space file system whose server does not answer within half
/// a second has none.
[[nodiscard]] std::vector<BinCandidate> volumeBinCandidates();

} // namespace VKPlatform
