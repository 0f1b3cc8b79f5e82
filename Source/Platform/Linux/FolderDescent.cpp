// The deepest levels keep their descriptors; the way up past them is "..", which is believed only when it is
// the folder that was left.
#include "Platform/Linux/FolderDescent.h"

#include <cerrno>
#include <fcntl.h>
#include <utility>

namespace VKPlatform {

namespace {

constexpr std::size_t kOpenLevels = 32;

} // namespace

int FolderDescent::start(const FileDescriptor& folder) {
    Level level;
    level.folder = FileDescriptor(::openat(folder.get(), ".", O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!level.folder.isOpen()) {
        return errno;
    }
    if (const int error = identityOf(level.folder, QByteArray(), level.identity); error != 0) {
        return error;
    }
    mLevels.clear();
    mLevels.push_back(std::move(level));
    return 0;
}

int FolderDescent::enter(const QByteArray& name) {
    Level level;
    level.folder = FileDescriptor(
        ::openat(here().get(), name.constData(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!level.folder.isOpen()) {
        return errno;
    }
    if (const int error = identityOf(level.folder, QByteArray(), level.identity); error != 0) {
        return error;
    }
    if (!level.identity.isSameMount(identity())) {
        return EBUSY;
    }
    mLevels.push_back(std::move(level));
    if (mLevels.size() > kOpenLevels) {
        mLevels[mLevels.size() - kOpenLevels - 1].folder.close();
    }
    return 0;
}

int FolderDescent::leave() {
    Level left = std::move(mLevels.back());
    mLevels.pop_back();
    Level& level = mLevels.back();
    if (level.folder.isOpen()) {
        return 0;
    }
    level.folder = FileDescriptor(::openat(left.folder.get(), "..", O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!level.folder.isOpen()) {
        return errno;
    }
    Identity above;
    if (const int error = identityOf(level.folder, QByteArray(), above); error != 0) {
        return error;
    }
    return above == level.identity ? 0 : EXDEV;
}

} // namespace VKPlatform
