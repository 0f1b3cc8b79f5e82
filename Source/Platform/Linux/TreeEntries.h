// What the sources of this folder that go through trees have in common.
#pragma once

#include "Platform/FileDescriptor.h"
#include "Platform/FileFacts.h"
#include "Platform/Linux/Place.h"

#include <QByteArray>

#include <vector>

namespace VKPlatform {

struct TreeEntry {
    QByteArray name;
    FileKind kind = FileKind::Unknown; ///< never that
};

/// All entries of an open folder, added to `out`. errno.
[[nodiscard]] int entriesOf(const FileDescriptor& folder, std::vector<TreeEntry>& out);

/// Deletes a folder with all in it, as removeTree() does once it has decided that it may.
[[nodiscard]] int deleteTree(const Place& place);

} // namespace VKPlatform
