// A temporary folder that goes with its object.
#pragma once

#include "VKQtExport.h"
#include "VKQtPath.h"

#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/VKCFRef.h>

#include <memory>

class QTemporaryDir;

/// Makes a new empty folder for this user alone below the system's temporary folder and deletes it, with all that
/// is in it, at its end. One thread at a time; construction and destruction touch the disk.
///
/// Where no folder can be made, the system's folder for temporary items takes its place. That one is shared with
/// everybody and is never deleted, nor anything in it.
class VKQT_EXPORT VKQtTemporaryDir {
public:
    VKQtTemporaryDir();
    VKQtTemporaryDir(const VKQtTemporaryDir&) = delete;
    VKQtTemporaryDir& operator=(const VKQtTemporaryDir&) = delete;

    /// Deletes the folder. One in which something was mounted stays, whole.
    ~VKQtTemporaryDir();

    /// The folder; empty when there is not even the system's.
    [[nodiscard]] VKQtPath getTemporaryPath() const;

private:
    std::unique_ptr<QTemporaryDir> mTempDir;
    VKCFRef<CFURLRef> mFallbackFolder;
};
