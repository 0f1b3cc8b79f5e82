// Moving items: one step where that is possible.
#include "VKCoreKit/VKFileMgr.h"

#include "Platform/FileMove.h"
#include "VKCoreKit/VKFileMgrUrl.h"

VKStatus VKFileMgrMoveFile(CFURLRef from, CFURLRef to) {
    return VKFileMgrMoveFileWithProgress(from, to, nullptr);
}

VKStatus VKFileMgrMoveFileWithProgress(CFURLRef from, CFURLRef to, VKProgress* progress) {
    (void)progress;
    return withFile(from, [to](const QByteArray& source) {
        return withFile(
            to, [&source](const QByteArray& target) { return VKPlatform::renameItem(source, target); });
    });
}
