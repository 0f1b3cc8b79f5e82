// The entries of one folder, read from the kernel in large blocks, with details on demand. "." and ".." are
// never delivered; the order is the file system's own; every name is given as the bytes on disk. What is
// added or removed while the listing runs may or may not appear. One thread at a time.
#pragma once

#include "Platform/FileDescriptor.h"
#include "Platform/FileFacts.h"

#include <QByteArray>
#include <QByteArrayView>

#include <cstddef>
#include <memory>

namespace VKPlatform {

class FolderListing {
public:
    struct Entry {
        /// Not empty, holds no "/" and no NUL, and is followed by a NUL. Valid until the next next().
        QByteArrayView name;
        /// As the folder records it; Unknown where the file system does not, then details() tells.
        FileKind kind = FileKind::Unknown;
    };

    FolderListing() noexcept = default;
    FolderListing(FolderListing&&) noexcept = default;
    FolderListing& operator=(FolderListing&&) noexcept = default;
    ~FolderListing() = default;

    /// Starts at the first entry of the folder (a link to a folder is followed). errno, 0 for success:
    /// ENOENT, ENOTDIR, EACCES, ... A listing that fails to open has no entries.
    [[nodiscard]] int open(const QByteArray& path);

    /// The same for a folder that is open already, for reading or only as a place (O_PATH).
    [[nodiscard]] int openAt(const FileDescriptor& folder);

    /// The next entry: true with `entry` filled, false at the end and after a failure (see error()).
    [[nodiscard]] bool next(Entry& entry) {
        while (mPosition < mFilled) {
            if (take(entry)) {
                return true;
            }
        }
        return refillAndTake(entry);
    }

    /// errno of the read that ended the listing early; 0 while it runs and after its true end.
    [[nodiscard]] int error() const noexcept { return mError; }

    /// The details of an entry whose name is still valid, by exactly one statx relative to the folder.
    /// errno, 0 for success; ENOENT: the entry vanished meanwhile (or, following, the link dangles).
    [[nodiscard]] int details(const Entry& entry, LinkRule links, FileDetails& out) const;

private:
    [[nodiscard]] bool take(Entry& entry);
    [[nodiscard]] bool refillAndTake(Entry& entry);
    void start(FileDescriptor folder);

    FileDescriptor mFolder;
    std::unique_ptr<std::byte[]> mBlock;
    std::size_t mFilled = 0;
    std::size_t mPosition = 0;
    int mError = 0;
};

} // namespace VKPlatform
