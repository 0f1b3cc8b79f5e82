// Owner first, because changing it clears bits of the mode; then the lists, which change the mode; then the
// mode; the times last, because everything before may touch them.
#include "Platform/Linux/CopyMetadata.h"

#include "Platform/FileSpace.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <linux/magic.h>
#include <memory>
#include <sys/statfs.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace VKPlatform {

namespace {

constexpr const char kAccessList[] = "system.posix_acl_access";
constexpr const char kDefaultList[] = "system.posix_acl_default";

/// The kernel's own limits for the names of one item together and for one value.
constexpr std::size_t kLargestAttribute = 65536;

/// What a file system answers that keeps no such thing, or not for this user.
bool cannotKeep(int error) { return error == EOPNOTSUPP || error == ENOSYS || error == EPERM; }

int unlessItCannotKeep(int result) { return result == 0 || cannotKeep(errno) ? 0 : errno; }

/// Reads into `out` what `read(buffer, size)` gives. errno.
template <typename Read>
int readGrowing(Read read, QByteArray& out) {
    std::array<char, 1024> small;
    const ssize_t size = read(small.data(), small.size());
    if (size >= 0) {
        out = QByteArray(small.data(), size);
        return 0;
    }
    if (errno != ERANGE) {
        return errno;
    }
    QByteArray large(kLargestAttribute, Qt::Uninitialized);
    const ssize_t largeSize = read(large.data(), kLargestAttribute);
    if (largeSize < 0) {
        return errno;
    }
    large.truncate(largeSize);
    out = std::move(large);
    return 0;
}

qsizetype bytesOf(const Attribute& attribute) { return attribute.name.size() + attribute.value.size(); }

bool isTooLong(int file, const Attribute& attribute, const std::vector<Attribute>& all) {
    struct statfs record;
    if (::fstatfs(file, &record) != 0) {
        return false;
    }
    AttributeSpace space;
    space.limit = record.f_type == BTRFS_SUPER_MAGIC ? AttributeLimit::Each : AttributeLimit::Together;
    space.bytes = bytesOf(attribute);
    for (const Attribute& other : all) {
        space.bytesTogether += bytesOf(other);
    }
    const auto blockBytes = record.f_frsize != 0 ? record.f_frsize : record.f_bsize;
    space.freeBytes = bytesOfBlocks(record.f_bavail, static_cast<std::uint64_t>(blockBytes));
    return isTooLongAndNotTheDiskFull(space);
}

int setAttribute(int file, const Attribute& attribute, const std::vector<Attribute>& all) {
    const int result = ::fsetxattr(file, attribute.name.constData(), attribute.value.constData(),
                                   static_cast<std::size_t>(attribute.value.size()), 0);
    if (result == 0) {
        return 0;
    }
    const int error = errno;
    // EINVAL: a list that names users whom this namespace does not know.
    if (error == EINVAL || cannotKeep(error)) {
        return 0;
    }
    const bool isLeftOut =
        error == E2BIG || error == ERANGE || (error == ENOSPC && isTooLong(file, attribute, all));
    return isLeftOut && attribute.name.startsWith("user.") ? 0 : error;
}

bool contains(const std::vector<Attribute>& attributes, const char* name) {
    return std::any_of(attributes.begin(), attributes.end(),
                       [name](const Attribute& attribute) { return attribute.name == name; });
}

/// Whether the copy belongs to whom the source belongs to, after trying to make it so if asked to.
int copyOwner(int file, const struct stat& from, CopyOwner owner, bool& sameOwner) {
    if (owner == CopyOwner::Keep) {
        sameOwner = ::fchown(file, from.st_uid, from.st_gid) == 0;
        if (!sameOwner && !cannotKeep(errno) && errno != EINVAL) {
            return errno;
        }
        return 0;
    }
    // It matters only for the bits that lend a program its owner's rights.
    sameOwner = (from.st_mode & (S_ISUID | S_ISGID)) == 0;
    if (!sameOwner) {
        struct stat copy;
        if (::fstat(file, &copy) != 0) {
            return errno;
        }
        sameOwner = copy.st_uid == from.st_uid && copy.st_gid == from.st_gid;
    }
    return 0;
}

} // namespace

int readAttributes(int file, std::vector<Attribute>& out) {
    out.clear();
    QByteArray names;
    const auto list = [file](char* to, std::size_t size) { return ::flistxattr(file, to, size); };
    if (const int error = readGrowing(list, names); error != 0) {
        return cannotKeep(error) ? 0 : error;
    }
    for (qsizetype at = 0; at < names.size();) {
        const qsizetype end = std::max(names.indexOf('\0', at), at);
        const QByteArray name = names.sliced(at, end - at);
        at = end + 1;
        if (!isCopiedAttribute(name)) {
            continue;
        }
        Attribute attribute = {.name = name, .value = QByteArray()};
        const auto get = [file, &name](char* to, std::size_t size) {
            return ::fgetxattr(file, name.constData(), to, size);
        };
        const int error = readGrowing(get, attribute.value);
        if (error == 0) {
            out.push_back(std::move(attribute));
        } else if (error != ENODATA && !cannotKeep(error)) { // ENODATA: removed meanwhile
            return error;
        }
    }
    return 0;
}

int setAttributes(int file, const std::vector<Attribute>& attributes, InheritedLists inherited) {
    if (inherited == InheritedLists::Possible) {
        for (const char* list : {kAccessList, kDefaultList}) {
            if (!contains(attributes, list) && ::fremovexattr(file, list) != 0 && errno != ENODATA &&
                errno != EINVAL && errno != EACCES && !cannotKeep(errno)) {
                return errno;
            }
        }
    }
    for (const Attribute& attribute : attributes) {
        if (const int error = setAttribute(file, attribute, attributes); error != 0) {
            return error;
        }
    }
    return 0;
}

InheritedLists inheritedLists(int file) {
    const ssize_t size = ::flistxattr(file, nullptr, 0);
    return size == 0 || (size < 0 && cannotKeep(errno)) ? InheritedLists::None : InheritedLists::Possible;
}

int copyMetadata(int file, const struct stat& from, const std::vector<Attribute>& attributes,
                 InheritedLists inherited, CopyOwner owner) {
    bool sameOwner = false;
    if (const int error = copyOwner(file, from, owner, sameOwner); error != 0) {
        return error;
    }
    if (const int error = setAttributes(file, attributes, inherited); error != 0) {
        return error;
    }
    if (const int error = unlessItCannotKeep(::fchmod(file, modeOfCopy(from.st_mode, sameOwner)));
        error != 0) {
        return error;
    }
    const timespec times[2] = {from.st_atim, from.st_mtim};
    return unlessItCannotKeep(::futimens(file, times));
}

int copyLinkMetadata(int folder, const char* name, const struct stat& from, CopyOwner owner) {
    if (owner == CopyOwner::Keep &&
        ::fchownat(folder, name, from.st_uid, from.st_gid, AT_SYMLINK_NOFOLLOW) != 0 && !cannotKeep(errno) &&
        errno != EINVAL) {
        return errno;
    }
    const timespec times[2] = {from.st_atim, from.st_mtim};
    return unlessItCannotKeep(::utimensat(folder, name, times, AT_SYMLINK_NOFOLLOW));
}

} // namespace VKPlatform
