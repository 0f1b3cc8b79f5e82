// The kernel tells the folder's path, and libmount reads the table.
#include "Platform/Linux/MountsBelow.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QStringBuilder>

#include <climits>
#include <libmount.h>
#include <memory>
#include <unistd.h>

namespace VKPlatform {

namespace {

struct Unreference {
    void operator()(libmnt_table* table) const { mnt_unref_table(table); }
    void operator()(libmnt_iter* iterator) const { mnt_free_iter(iterator); }
};

} // namespace

bool holdsMountPoint(const FileDescriptor& folder) {
    const QByteArray link = "/proc/self/fd/" + QByteArray::number(folder.get());
    char real[PATH_MAX];
    const ssize_t size = ::readlink(link.constData(), real, sizeof real);
    if (size <= 0) {
        return false;
    }
    const QByteArray start = QByteArray(real, size) + '/';
    const std::unique_ptr<libmnt_table, Unreference> table(mnt_new_table_from_file("/proc/self/mountinfo"));
    const std::unique_ptr<libmnt_iter, Unreference> iterator(mnt_new_iter(MNT_ITER_FORWARD));
    if (table == nullptr || iterator == nullptr) {
        return false;
    }
    libmnt_fs* mount = nullptr;
    while (mnt_table_next_fs(table.get(), iterator.get(), &mount) == 0) {
        const char* target = mnt_fs_get_target(mount);
        if (target != nullptr && QByteArrayView(target).startsWith(start)) {
            return true;
        }
    }
    return false;
}

} // namespace VKPlatform
