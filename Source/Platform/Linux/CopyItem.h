// One item into an open folder: what the copy of a file and that of a tree have in common. Internal to this
// folder.
#pragma once

#include "Platform/FileCopy.h"
#include "Platform/FileDescriptor.h"
#include "Platform/Linux/ContentCopy.h"
#include "Platform/Linux/CopyMetadata.h"

#include <cstdint>
#include <sys/stat.h>

namespace VKPlatform {

struct CopySource {
    FileDescriptor file;
    struct stat record = {};
};

/// Opens a regular file for a copy, without following a link or waiting for a fifo. EISDIR, EOPNOTSUPP for what
/// is neither file nor link, ELOOP for a link. errno.
[[nodiscard]] int openSource(int folder, const char* name, CopySource& out);

/// Where a new file is written.
struct CopyTarget {
    const FileDescriptor& file;
    std::uint64_t device = 0;
    InheritedLists inherited = InheritedLists::None;
};

/// Content and everything else into the new file, and to the disk if the rules ask for it. errno.
[[nodiscard]] int copyInto(ContentCopier& copier, const CopySource& source, const CopyTarget& target,
                           CopyRules rules, CopyWatcher* watcher);

/// Makes the same link under a name that does not exist; a failed one is removed. errno, EEXIST.
[[nodiscard]] int copyLink(int fromFolder, const char* name, int toFolder, const char* newName,
                           CopyOwner owner);

/// Flushes a file or a folder. A file system that knows no flush has nothing to flush. errno.
[[nodiscard]] int flushToDisk(int file);

/// Puts a change of the folder's names on the disk; also of one that is open for names only. A folder that may not
/// be read cannot be flushed. errno.
[[nodiscard]] int flushFolder(const FileDescriptor& folder);

} // namespace VKPlatform
