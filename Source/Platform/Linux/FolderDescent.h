// Down into a tree of folders and up again, on descriptors of which only a few stay open, so that neither
// depth nor the length of a path has a limit. No link is followed and no other mount is entered. Internal to
// this folder.
#pragma once

#include "Platform/FileDescriptor.h"
#include "Platform/Linux/Place.h"

#include <QByteArray>

#include <cstddef>
#include <vector>

namespace VKPlatform {

class FolderDescent {
public:
    /// Starts in the folder that holds the tree's top. errno.
    [[nodiscard]] int start(const FileDescriptor& folder);

    /// Goes into the folder `name` of the present one. ENOTDIR or ELOOP when it is none (any more), EBUSY
    /// when something is mounted there, EACCES and so on. The present folder is unchanged then.
    [[nodiscard]] int enter(const QByteArray& name);

    /// Goes back to the folder above. EXDEV when the present one was moved to another place meanwhile: its
    /// way up leads out of the tree. No further call makes sense then.
    [[nodiscard]] int leave();

    [[nodiscard]] const FileDescriptor& here() const { return mLevels.back().folder; }
    [[nodiscard]] const Identity& identity() const { return mLevels.back().identity; }

    /// How many folders have been entered and not left.
    [[nodiscard]] std::size_t depth() const { return mLevels.size() - 1; }

private:
    struct Level {
        FileDescriptor folder; ///< O_PATH; none when it was closed to save descriptors
        Identity identity;
    };

    std::vector<Level> mLevels;
};

} // namespace VKPlatform
