// Up in the table until an open folder is met, then down on descriptors.
#include "Platform/Linux/FolderTable.h"

#include "Platform/Linux/ReadAt.h"

#include <algorithm>
#include <fcntl.h>

namespace VKPlatform {

int FolderWalk::open(std::uint32_t folder) {
    mDown.clear();
    std::uint32_t at = folder;
    auto level = mLevels.end();
    for (; at != 0; at = mTable.folders[at].parent) {
        level = std::find_if(mLevels.begin(), mLevels.end(),
                             [at](const Level& candidate) { return candidate.number == at; });
        if (level != mLevels.end()) {
            break;
        }
        mDown.push_back(at);
    }
    mLevels.erase(at == 0 ? mLevels.begin() : level + 1, mLevels.end());
    while (!mDown.empty()) {
        const int from = mLevels.empty() ? mTop.get() : mLevels.back().folder.get();
        const char* const name = mTable.name(mTable.folders[mDown.back()].name);
        FileDescriptor next(
            retried([&] { return ::openat(from, name, mFlags | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC); }));
        if (!next.isOpen()) {
            return -1;
        }
        if (mLevels.size() == kKept) {
            mLevels.erase(mLevels.begin());
        }
        mLevels.push_back({.number = mDown.back(), .folder = std::move(next)});
        mDown.pop_back();
    }
    return mLevels.empty() ? mTop.get() : mLevels.back().folder.get();
}

} // namespace VKPlatform
