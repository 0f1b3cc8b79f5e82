// Moving items: one step where that is possible; otherwise the progress object hears of the bytes.
#include "VKCoreKit/VKFileMgr.h"

#include "Platform/FileFacts.h"
#include "Platform/FileMove.h"
#include "VKCoreKit/VKFileMgrUrl.h"
#include "VKCoreKit/VKFileWatcher.h"
#include "VKCoreKit/VKProgressInternal.h"

#include <cerrno>

namespace {

VKStatus moveOne(const QByteArray& from, const QByteArray& to, VKProgress* progress) {
    if (progress == nullptr) {
        return static_cast<VKStatus>(VKPlatform::moveItem(from, to, nullptr));
    }
    VKPlatform::FileDetails details;
    const bool isSized = progressWantsBytes(progress) &&
                         VKPlatform::fileDetails(from, VKPlatform::LinkRule::Keep, details) == 0 &&
                         details.kind == VKPlatform::FileKind::File;
    VKFileWatcher watcher(progress, isSized ? static_cast<std::uint64_t>(details.sizeBytes) : 0);
    const int error = VKPlatform::moveItem(from, to, &watcher);
    return error == ECANCELED && VKProgressGetCancel(progress) ? kVKStatusCancelled
                                                               : static_cast<VKStatus>(error);
}

} // namespace

VKStatus VKFileMgrMoveFile(CFURLRef from, CFURLRef to) {
    return VKFileMgrMoveFileWithProgress(from, to, nullptr);
}

VKStatus VKFileMgrMoveFileWithProgress(CFURLRef from, CFURLRef to, VKProgress* progress) {
    return withFile(from, [to, progress](const QByteArray& source) {
        return withFile(
            to, [&source, progress](const QByteArray& target) { return moveOne(source, target, progress); });
    });
}
