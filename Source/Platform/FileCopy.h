// Copies of one file or link with everything that belongs to it: content with its holes, mode, access lists,
// user attributes, times to the nanosecond. The new name appears when all of that is stored, and never in the
// place of another item. Functions give errno on failure and 0 otherwise; a failed copy leaves nothing.
#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <cstddef>
#include <cstdint>

namespace VKPlatform {

enum class CopyFlush : std::uint8_t {
    Leave,    ///< the system stores in its own time
    ByCaller, ///< the caller flushes many together; what is long is on its way to the disk by then
    ToDisk,   ///< the content, and then the name, are on the disk when the function returns
};

enum class CopyOwner : std::uint8_t {
    Mine, ///< the copy belongs to this process; set-user and set-group bits of another's file are dropped
    Keep, ///< as far as permitted, the owner and group of the source
};

/// A copy for the user is CopyRules(); one that replaces its source, as of a move to another file system, is
/// {CopyFlush::ToDisk, CopyOwner::Keep}: that one fails with EBUSY when the source changed meanwhile.
struct CopyRules {
    CopyFlush flush = CopyFlush::Leave;
    CopyOwner owner = CopyOwner::Mine;
};

/// Who wants to know how a copy goes on, and may end it. The functions are called on the copying thread.
class CopyWatcher {
public:
    CopyWatcher() = default;
    CopyWatcher(const CopyWatcher&) = delete;
    CopyWatcher& operator=(const CopyWatcher&) = delete;
    virtual ~CopyWatcher() = default;

    /// So much more of the content, holes included, is in the copy. Called several times in 100 ms while bytes move at 1 MB/s or
    /// more; for each file at least once, if with 0. Anything but 0 ends the copy with that error.
    [[nodiscard]] virtual int copied(std::uint64_t bytes) = 0;
};

/// Copies a file or a link (as a link, whatever it names) to a name that does not exist. `watcher` may be
/// null. EEXIST when the destination exists (nothing is touched), EISDIR for a folder, EOPNOTSUPP for a fifo,
/// socket or device. Mode, attributes and times that the destination's file system cannot keep are left out, and
/// so is an attribute that is too long for it.
///
/// Extents are shared where the file system can, otherwise the kernel copies, otherwise this process. A file
/// has no name until it is complete, so that even a killed process leaves none. Where the file system cannot do
/// that (most in user space), it grows as the sibling ".name.XXXXXX", which a killed process leaves. That one gets
/// the final name by an exclusive rename; where there is none, by a hard link; and where there are no links either,
/// an empty file holds the final name until the rename replaces it, and a process killed in between leaves both.
[[nodiscard]] int copyFile(const QByteArray& from, const QByteArray& to, CopyRules rules,
                           CopyWatcher* watcher);

// Pure rules.

/// Whether an extended attribute belongs to the file's user and is copied: "user.*" and the access lists
/// ("system.posix_acl_access", "system.posix_acl_default"); not what belongs to the system or to security.
[[nodiscard]] bool isCopiedAttribute(QByteArrayView name);

/// What a file system limits: the attributes of an item together, or each of them.
enum class AttributeLimit : std::uint8_t { Together, Each };

/// An attribute that got ENOSPC.
struct AttributeSpace {
    AttributeLimit limit = AttributeLimit::Together;
    qsizetype bytes = 0;         ///< name and value
    qsizetype bytesTogether = 0; ///< of all that the item is to have
    std::uint64_t freeBytes = 0; ///< on the disk
};

/// ENOSPC is said of a full disk, and by some file systems of an attribute that is too long. In doubt it is the disk:
/// nothing is lost by a failure.
[[nodiscard]] bool isTooLongAndNotTheDiskFull(const AttributeSpace& space);

/// How many bytes are copied before the watcher is asked again, from the last number and how long it took:
/// about 20 ms worth, in powers of two from kSmallestCopyStep to kLargestCopyStep. That one is so small because a
/// disk slows down without notice, when the memory before it is full: the step at hand then still takes under
/// 100 ms at 25 MB/s.
inline constexpr std::size_t kSmallestCopyStep = std::size_t{64} * 1024;
inline constexpr std::size_t kFirstCopyStep = std::size_t{1024} * 1024;
inline constexpr std::size_t kLargestCopyStep = std::size_t{2} * 1024 * 1024;
[[nodiscard]] std::size_t nextCopyStep(std::size_t step, std::int64_t nanoseconds);

/// The mode of a copy. `sameOwner`: owner and group of the copy are those of the source.
[[nodiscard]] unsigned modeOfCopy(unsigned mode, bool sameOwner);

} // namespace VKPlatform
