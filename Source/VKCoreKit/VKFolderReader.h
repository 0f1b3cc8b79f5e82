// The entries of one folder, one after the other, each with its name as text and as bytes. Reads in large
// blocks and asks the file system for an entry's details only when told to, by one system call. One thread at
// a time.
#pragma once

#include "CoreFoundation/VKCoreExport.h"

#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/VKFileMgr.h>
#include <VKCoreKit/VKStatus.h>

#include <QByteArrayView>
#include <QString>

#include <memory>

/// Give the same record to each next(), so that its storage is used again.
struct VKFolderEntry {
    QString name;           ///< U+FFFD for bytes that are not UTF-8; not normalised
    QByteArrayView rawName; ///< the bytes on disk; valid until the next next() of the reader
    VKItemKind kind = VKItemKind::Unknown;
};

/// Moving takes the open folder along, with the last entry's rawName; the reader that was moved from is closed.
class VKCORE_EXPORT VKFolderReader {
public:
    VKFolderReader() noexcept;
    ~VKFolderReader();
    VKFolderReader(VKFolderReader&&) noexcept;
    VKFolderReader& operator=(VKFolderReader&&) noexcept;
    VKFolderReader(const VKFolderReader&) = delete;
    VKFolderReader& operator=(const VKFolderReader&) = delete;

    /// Starts at the folder's first entry; a link to a folder is followed. 1005 for a null URL, 1002 when it
    /// names no file, otherwise the errno: 2 none there, 13 no permission, 20 not a folder. On failure there
    /// are no entries.
    [[nodiscard]] VKStatus open(CFURLRef folder);

    /// The next entry in the file system's order, without "." and "..": true with `entry` filled; false at
    /// the end, after a failure, and before open(). `entry.kind` is the entry's own: a link is a link.
    [[nodiscard]] bool next(VKFolderEntry& entry);

    /// The same for callers that mostly need the bytes: `entry.name` stays as it is, lastName() gives it.
    [[nodiscard]] bool nextRaw(VKFolderEntry& entry);

    /// The name that next() or nextRaw() delivered last, as text; empty when there is none.
    [[nodiscard]] QString lastName() const;

    /// Why next() ended early: the errno of a failing read; 0 after the true end.
    [[nodiscard]] VKStatus status() const noexcept;

    /// The details of the entry that was delivered last, by exactly one system call. 2: it vanished
    /// meanwhile, or, following, it is a link to nothing. 1005 when there is no such entry.
    [[nodiscard]] VKStatus details(bool followLinks, VKItemDetails& details) const;

    void close() noexcept;

private:
    struct State;
    std::unique_ptr<State> mState;
};
