// A temporary folder of the framework's making, deleted by the core library.
#include "VKQtTemporaryDir.h"

#include <VKCoreKit/VKFileMgr.h>

#include <QDir>
#include <QTemporaryDir>

VKQtTemporaryDir::VKQtTemporaryDir() {
    // Without a temporary folder the framework's template is one in the root folder.
    if (!QDir::tempPath().isEmpty()) {
        mTempDir = std::make_unique<QTemporaryDir>();
        // The framework leaves names behind that are not UTF-8, and goes into what is mounted inside.
        mTempDir->setAutoRemove(false);
    }
    if (!mTempDir || !mTempDir->isValid()) {
        mTempDir.reset();
        // Without even that folder the URL stays null and the path empty.
        static_cast<void>(
            VKFileMgrGetFolderPathCopy(nullptr, kVKFolderTemporaryItems, nullptr, mFallbackFolder.out()));
    }
}

VKQtTemporaryDir::~VKQtTemporaryDir() {
    if (mTempDir) {
        static_cast<void>(getTemporaryPath().remove());
    }
}

VKQtPath VKQtTemporaryDir::getTemporaryPath() const {
    if (mTempDir) {
        return VKQtPath(mTempDir->path(), true);
    }
    VKQtPath path;
    if (mFallbackFolder) {
        path.setPath(mFallbackFolder.get(), true, 0);
    }
    return path;
}
