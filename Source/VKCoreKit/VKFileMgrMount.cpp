// What the file manager says about the file system that an item lies on.
#include "VKCoreKit/VKFileMgr.h"

#include "CoreFoundation/CFQt.h"
#include "Platform/MountFacts.h"

VKStatus VKFileMgrGetLocal(CFURLRef url, bool* local) {
    if (url == nullptr || local == nullptr) {
        return kVKStatusBadArgument;
    }
    const QByteArray path = CFURLCopyFileSystemBytes(url);
    if (path.isNull()) {
        return kVKStatusNotConvertible;
    }
    const std::optional<bool> answer = VKPlatform::isLocalFileSystem(path);
    if (!answer) {
        return kVKStatusStatFailed;
    }
    *local = *answer;
    return kVKStatusSuccess;
}
