// Moving items: one step where that is possible; otherwise the progress object hears of the bytes.
#include "VKCoreKit/VKFileMgr.h"

#include "Platform/FileFacts.h"
#include "Platform/FileMove.h"
#include "VKCoreKit/VKFileMgrUrl.h"
#include "VKCoreKit/VKProgressInternal.h"

#include <cerrno>

namespace {

/// Passes bytes on to the progress object and asks it whether to go on.
class MoveWatcher final : public VKPlatform::CopyWatcher {
public:
    MoveWatcher(VKProgress* progress, std::uint64_t total) : mProgress(progress), mTotal(total) {}

    int copied(std::uint64_t bytes) override {
        mDone += bytes;
        VKProgressDoBytes(mProgress, {.done = mDone, .total = mTotal});
        return VKProgressGetCancel(mProgress) ? ECANCELED : 0;
    }

private:
    VKProgress* mProgress;
    std::uint64_t mDone = 0;
    std::uint64_t mTotal;
};

VKStatus moveOne(const QByteArray& from, const QByteArray& to, VKProgress* progress) {
    if (progress == nullptr) {
        return static_cast<VKStatus>(VKPlatform::moveItem(from, to, nullptr));
    }
    VKPlatform::FileDetails details;
    const bool isSized = progressWantsBytes(progress) &&
                         VKPlatform::fileDetails(from, VKPlatform::LinkRule::Keep, details) == 0 &&
                         details.kind == VKPlatform::FileKind::File;
    MoveWatcher watcher(progress, isSized ? static_cast<std::uint64_t>(details.sizeBytes) : 0);
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
