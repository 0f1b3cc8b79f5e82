// statx gives the number of the mount that a path lies on; libmount finds its line in the mount table.
#include "Platform/MountFacts.h"
#include "Platform/FileDescriptor.h"

#include <climits>
#include <cstdint>
#include <fcntl.h>
#include <libmount.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace VKPlatform {

namespace {

struct Unreference {
    void operator()(libmnt_table* table) const { mnt_unref_table(table); }
    void operator()(libmnt_iter* iterator) const { mnt_free_iter(iterator); }
};
using Table = std::unique_ptr<libmnt_table, Unreference>;
using Iterator = std::unique_ptr<libmnt_iter, Unreference>;

/// What lies between the mount point and the item, without a leading "/"; empty when that cannot be told.
QByteArray pathBelow(const char* mountPoint, const QByteArray& path) {
    const FileDescriptor item(::open(path.constData(), O_PATH | O_CLOEXEC));
    const std::string link = "/proc/self/fd/" + std::to_string(item.get());
    char real[PATH_MAX];
    const ssize_t size = item.isOpen() ? ::readlink(link.c_str(), real, sizeof real) : -1;
    const QByteArray start = QByteArray(mountPoint).append('/');
    const QByteArrayView whole(real, size < 0 ? 0 : size);
    return whole.startsWith(start) ? whole.sliced(start.size()).toByteArray() : QByteArray();
}

QByteArrayView viewOf(const char* text) { return text == nullptr ? QByteArrayView() : QByteArrayView(text); }

} // namespace

std::optional<bool> isLocalFileSystem(const QByteArray& path) {
    struct statx record;
    if (::statx(AT_FDCWD, path.constData(), AT_STATX_DONT_SYNC | AT_NO_AUTOMOUNT, STATX_MNT_ID, &record) !=
            0 ||
        (record.stx_mask & STATX_MNT_ID) == 0) {
        return std::nullopt;
    }
    const Table table(mnt_new_table_from_file("/proc/self/mountinfo"));
    const Iterator iterator(mnt_new_iter(MNT_ITER_BACKWARD));
    if (table == nullptr || iterator == nullptr) {
        return std::nullopt;
    }
    libmnt_fs* mount = nullptr;
    while (mnt_table_next_fs(table.get(), iterator.get(), &mount) == 0) {
        if (mnt_fs_get_id(mount) < 0 ||
            static_cast<std::uint64_t>(mnt_fs_get_id(mount)) != record.stx_mnt_id) {
            continue;
        }
        const QByteArrayView type = viewOf(mnt_fs_get_fstype(mount));
        if (type == QByteArrayView("fuse.gvfsd-fuse")) {
            return !isNetworkVirtualFolder(pathBelow(mnt_fs_get_target(mount), path));
        }
        return !isNetworkFileSystem(type, viewOf(mnt_fs_get_source(mount)));
    }
    return std::nullopt;
}

} // namespace VKPlatform
