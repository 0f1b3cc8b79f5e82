// A tree as it was before it was copied to another file system, so that afterwards exactly that is removed:
// nothing that was added or changed meanwhile. Internal to this folder.
#pragma once

#include "Platform/FileCopy.h"
#include "Platform/FileDescriptor.h"
#include "Platform/Linux/FolderDescent.h"
#include "Platform/Linux/Place.h"

#include <QByteArray>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace VKPlatform {

/// Changes whenever the item's content or record does.
struct ItemStamp {
    std::int64_t sizeBytes = 0;
    std::int64_t modifiedSeconds = 0;
    std::int64_t changedSeconds = 0;
    std::uint32_t modifiedNanoseconds = 0;
    std::uint32_t changedNanoseconds = 0;
    unsigned mode = 0;

    friend bool operator==(const ItemStamp&, const ItemStamp&) = default;

    /// Whether the content is the same as well as can be told; the removal of another name changes the record.
    [[nodiscard]] bool isSameContent(const ItemStamp& other) const {
        return sizeBytes == other.sizeBytes && modifiedSeconds == other.modifiedSeconds &&
               modifiedNanoseconds == other.modifiedNanoseconds && mode == other.mode;
    }
};

[[nodiscard]] int stampOf(const FileDescriptor& folder, const QByteArray& name, ItemStamp& out);

class MovedTree {
public:
    /// The watcher (may be null) can end the reading and the check with its answer.
    explicit MovedTree(CopyWatcher* watcher) : mWatcher(watcher) {}

    /// Reads the tree. EOPNOTSUPP when it holds a fifo, socket or device, EBUSY when it holds a mount point,
    /// EACCES and so on for a folder whose entries may not be removed.
    [[nodiscard]] int scan(const Place& top);

    /// EBUSY when a file or link is gone or not what it was.
    [[nodiscard]] int check(const Place& top) const;

    /// Removes what was read and is unchanged. `begun`: something was removed. EBUSY when something changed and
    /// stays, ENOTEMPTY when something was added and stays.
    [[nodiscard]] int remove(const Place& top, bool& begun) const;

private:
    struct Node {
        std::size_t parent = 0;
        QByteArray name;
        bool isFolder = false;
        ItemStamp stamp; ///< not of folders, whose own change with what is in them
    };

    [[nodiscard]] int scanFolder(const FileDescriptor& folder, std::size_t number);
    [[nodiscard]] int goOn(std::size_t number) const;

    CopyWatcher* mWatcher;

    /// Parents come first, and what is below a folder comes before its next sibling folder. Number 0 is the top.
    std::vector<Node> mNodes;
};

} // namespace VKPlatform
