// The mount table through libmount, which knows the escapes and adds the user's options.
#include "Platform/MountTable.h"

#include "Platform/MountFacts.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <libmount.h>
#include <memory>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace VKPlatform {

namespace {

struct Unreference {
    void operator()(libmnt_table* table) const { mnt_unref_table(table); }
    void operator()(libmnt_iter* iterator) const { mnt_free_iter(iterator); }
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using Table = std::unique_ptr<libmnt_table, Unreference>;
using Iterator = std::unique_ptr<libmnt_iter, Unreference>;
using File = std::unique_ptr<std::FILE, Unreference>;

/// libmount says on stderr what it cannot read unless it is given somebody to tell.
int skipLine(libmnt_table* /*table*/, const char* /*file*/, int /*line*/) { return 1; }

Table newTable() {
    Table table(mnt_new_table());
    if (table != nullptr) {
        mnt_table_set_parser_errcb(table.get(), &skipLine);
    }
    return table;
}

QByteArray bytesOf(const char* text) { return text == nullptr ? QByteArray() : QByteArray(text); }

/// All words of both lists; empty ones add no comma.
QByteArray joined(QByteArray words, const char* more) {
    if (more != nullptr && *more != '\0') {
        if (!words.isEmpty()) {
            words += ',';
        }
        words += more;
    }
    return words;
}

MountEntry entryOf(libmnt_fs* mount) {
    MountEntry entry;
    entry.id = mnt_fs_get_id(mount);
    entry.parent = mnt_fs_get_parent_id(mount);
    entry.major = major(mnt_fs_get_devno(mount));
    entry.minor = minor(mnt_fs_get_devno(mount));
    entry.root = bytesOf(mnt_fs_get_root(mount));
    entry.place = bytesOf(mnt_fs_get_target(mount));
    entry.type = bytesOf(mnt_fs_get_fstype(mount));
    entry.source = bytesOf(mnt_fs_get_source(mount));
    entry.options = joined(bytesOf(mnt_fs_get_options(mount)), mnt_fs_get_user_options(mount));
    entry.isPseudo = mnt_fs_is_pseudofs(mount) != 0;
    return entry;
}

std::vector<MountEntry> entriesOf(libmnt_table* table) {
    std::vector<MountEntry> mounts;
    const Iterator iterator(mnt_new_iter(MNT_ITER_FORWARD));
    libmnt_fs* mount = nullptr;
    while (iterator != nullptr && mounts.size() < kMostMounts &&
           mnt_table_next_fs(table, iterator.get(), &mount) == 0) {
        MountEntry entry = entryOf(mount);
        if (entry.place.startsWith('/') && !entry.type.isEmpty()) {
            mounts.push_back(std::move(entry));
        }
    }
    return mounts;
}

/// Options that only /etc/fstab knows count for what is mounted at the same place.
void addOptionsOfFstab(std::vector<MountEntry>& mounts) {
    const Table fstab = newTable();
    if (fstab == nullptr || mnt_table_parse_fstab(fstab.get(), nullptr) != 0) {
        return;
    }
    for (MountEntry& mount : mounts) {
        libmnt_fs* line = mnt_table_find_target(fstab.get(), mount.place.constData(), MNT_ITER_BACKWARD);
        if (line != nullptr && mount.type != "autofs") {
            mount.options = joined(mount.options, mnt_fs_get_user_options(line));
        }
    }
}

std::optional<std::uint64_t> mountIdOf(const QByteArray& path) {
    struct statx record;
    if (::statx(AT_FDCWD, path.constData(), AT_STATX_DONT_SYNC | AT_NO_AUTOMOUNT, STATX_MNT_ID, &record) !=
            0 ||
        (record.stx_mask & STATX_MNT_ID) == 0) {
        return std::nullopt;
    }
    return record.stx_mnt_id;
}

/// The mount whose place is the longest beginning of the path.
const MountEntry* mountByText(const std::vector<MountEntry>& mounts, QByteArray path) {
    while (!path.isEmpty()) {
        if (const MountEntry* mount = mountAt(mounts, path)) {
            return mount;
        }
        const qsizetype slash = path.lastIndexOf('/');
        path = slash > 0 ? path.first(slash) : QByteArray(path.size() > 1 && slash == 0 ? "/" : "");
    }
    return nullptr;
}

} // namespace

std::vector<MountEntry> parseMountInfo(const QByteArray& text) {
    // fmemopen takes no empty buffer, and libmount guesses the form of the text from its first line.
    if (text.isEmpty()) {
        return {};
    }
    const Table table = newTable();
    const File file(
        ::fmemopen(const_cast<char*>(text.constData()), static_cast<std::size_t>(text.size()), "re"));
    if (table == nullptr || file == nullptr ||
        mnt_table_parse_stream(table.get(), file.get(), "mountinfo") != 0) {
        return {};
    }
    return entriesOf(table.get());
}

int mountedFileSystems(std::vector<MountEntry>& mounts) {
    mounts.clear();
    const Table table = newTable();
    if (table == nullptr) {
        return ENOMEM;
    }
    if (const int error = mnt_table_parse_mtab(table.get(), nullptr); error != 0) {
        return error < 0 ? -error : EIO;
    }
    mounts = entriesOf(table.get());
    addOptionsOfFstab(mounts);
    return 0;
}

std::optional<MountEntry> mountHolding(const std::vector<MountEntry>& mounts, const QByteArray& path) {
    const MountEntry* byText = mountByText(mounts, path);
    if (byText != nullptr && (byText->place == path || isServed(*byText))) {
        return *byText;
    }
    const std::optional<std::uint64_t> id = mountIdOf(path);
    const auto found = std::find_if(mounts.begin(), mounts.end(), [&](const MountEntry& mount) {
        return id && mount.id >= 0 && static_cast<std::uint64_t>(mount.id) == *id;
    });
    return found == mounts.end() ? std::nullopt : std::optional<MountEntry>(*found);
}

} // namespace VKPlatform
