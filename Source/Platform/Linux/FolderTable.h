// A tree as it was found: its folders and items by number, and the way to each folder on descriptors. Internal
// to this folder.
#pragma once

#include "Platform/FileDescriptor.h"
#include "Platform/Linux/CopyMetadata.h"

#include <QByteArray>
#include <QByteArrayView>

#include <cstddef>
#include <cstdint>
#include <sys/stat.h>
#include <vector>

namespace VKPlatform {

/// Folder 0 is the top; a folder's number is greater than that of the one that holds it.
class FolderTable {
public:
    struct Folder {
        std::uint32_t parent = 0;
        bool isMade = false; ///< for this copy, so that it is to be finished
        std::size_t name = 0;
        struct stat record = {};
        std::vector<Attribute> attributes;
    };
    struct Item {
        std::uint32_t folder = 0;
        bool isLink = false;
        std::size_t name = 0;
    };

    std::vector<Folder> folders;
    std::vector<Item> items;

    /// Keeps a name; the number finds it again.
    [[nodiscard]] std::size_t addName(QByteArrayView name) {
        const auto at = static_cast<std::size_t>(mNames.size());
        mNames += name;
        mNames += '\0';
        return at;
    }
    /// Valid until the next addName().
    [[nodiscard]] const char* name(std::size_t number) const {
        return mNames.constData() + static_cast<qsizetype>(number);
    }

private:
    QByteArray mNames;
};

/// Opens the folders of a table below a top of its own. A few descriptors at most stay open, those nearest to
/// the folder asked for last, so that its neighbours cost one system call. Not by one path: that would follow
/// a link that took a folder's place. For one thread.
class FolderWalk {
public:
    /// `flags` beside O_DIRECTORY, O_NOFOLLOW and O_CLOEXEC.
    FolderWalk(const FolderTable& table, const FileDescriptor& top, int flags)
        : mTable(table), mTop(top), mFlags(flags) {}

    /// -1 with errno when there is no such folder any more. Valid until the next call.
    [[nodiscard]] int open(std::uint32_t folder);

private:
    struct Level {
        std::uint32_t number = 0;
        FileDescriptor folder;
    };
    static constexpr std::size_t kKept = 8;

    const FolderTable& mTable;
    const FileDescriptor& mTop;
    int mFlags;
    std::vector<Level> mLevels;       ///< each holds the next
    std::vector<std::uint32_t> mDown; ///< the way from the nearest open one, last first
};

} // namespace VKPlatform
