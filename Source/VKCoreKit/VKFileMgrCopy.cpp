// Copying for the suite: the platform's copies with URLs, statuses, stages and the progress object.
#include "VKCoreKit/VKFileMgr.h"

#include "Platform/FileCopy.h"
#include "Platform/FileFacts.h"
#include "Platform/TreeCopy.h"
#include "VKCoreKit/VKFileMgrUrl.h"
#include "VKCoreKit/VKFileWatcher.h"
#include "VKCoreKit/VKProgressInternal.h"

#include <cerrno>

namespace {

/// Passes on what a tree's copy tells, with its steps. Keeps the status with which a step was answered.
class FolderWatcher final : public VKPlatform::TreeWatcher {
public:
    explicit FolderWatcher(VKProgress* progress) : mProgress(progress) {}

    void setTotal(std::uint64_t bytes) { mTotal = bytes; }

    /// The status of an error of the copy.
    [[nodiscard]] VKStatus status(int error) const {
        if (mAnswer != kVKStatusSuccess) {
            return mAnswer;
        }
        return isCancelled() && error == ECANCELED ? kVKStatusCancelled : static_cast<VKStatus>(error);
    }

    int folderMade(std::size_t number) override { return step(number); }
    int itemCopied(std::size_t number) override { return step(number); }
    int bytesCopied(std::uint64_t bytes) override {
        VKProgressDoBytes(mProgress, {.done = bytes, .total = mTotal});
        return isCancelled() ? ECANCELED : 0;
    }
    [[nodiscard]] bool isCancelled() const override { return VKProgressGetCancel(mProgress); }

private:
    int step(std::size_t number) {
        mAnswer = VKProgressDoProgressUpdateStage(mProgress, static_cast<int>(number));
        return mAnswer == kVKStatusSuccess ? 0 : ECANCELED;
    }

    VKProgress* mProgress;
    std::uint64_t mTotal = 0;
    VKStatus mAnswer = kVKStatusSuccess;
};

/// From begin to end, however it is left. What begin and end answer does not end a copy: the steps do.
class Stage {
public:
    Stage(VKProgress* progress, std::size_t steps) : mProgress(progress) {
        (void)VKProgressDoProgressBeginStage(progress, 0, 0, static_cast<int>(steps));
    }
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;
    ~Stage() { (void)VKProgressDoProgressEndStage(mProgress); }

private:
    VKProgress* mProgress;
};

VKStatus copyOne(const QByteArray& from, const QByteArray& to, VKProgress* progress) {
    if (progress == nullptr) {
        return static_cast<VKStatus>(VKPlatform::copyFile(from, to, {}, nullptr));
    }
    VKPlatform::FileDetails details;
    const bool isSized = progressWantsBytes(progress) &&
                         VKPlatform::fileDetails(from, VKPlatform::LinkRule::Keep, details) == 0 &&
                         details.kind == VKPlatform::FileKind::File;
    VKFileWatcher watcher(progress, isSized ? static_cast<std::uint64_t>(details.sizeBytes) : 0);
    const int error = VKPlatform::copyFile(from, to, {}, &watcher);
    return error == ECANCELED && VKProgressGetCancel(progress) ? kVKStatusCancelled
                                                               : static_cast<VKStatus>(error);
}

VKStatus copyTree(const QByteArray& from, CFURLRef to, VKProgress* progress) {
    FolderWatcher watcher(progress);
    VKPlatform::TreeCopy copy(VKPlatform::TreeScope::Shown, {}, watcher);
    {
        const Stage scan(progress, 0);
        if (const int error = copy.scan(from, progressWantsBytes(progress)); error != 0) {
            return watcher.status(error);
        }
    }
    watcher.setTotal(copy.bytes());
    const QByteArray target = CFURLCopyFileSystemBytes(to);
    const bool isNew = VKPlatform::fileExists(target) == ENOENT;
    if (const VKStatus status = VKFileMgrCreateDirectory(to); status != kVKStatusSuccess) {
        return status;
    }
    if (const int error = copy.openTarget(target, isNew); error != 0) {
        return watcher.status(error);
    }
    {
        const Stage folders(progress, copy.folders());
        if (const int error = copy.makeFolders(); error != 0) {
            return watcher.status(error);
        }
    }
    const Stage files(progress, copy.items());
    int error = copy.copyItems();
    if (error == 0) {
        error = copy.finishFolders();
    }
    return watcher.status(error);
}

} // namespace

VKStatus VKFileMgrCopyFile(CFURLRef from, CFURLRef to) {
    return VKFileMgrCopyFileWithProgress(from, to, nullptr);
}

VKStatus VKFileMgrCopyFileWithProgress(CFURLRef from, CFURLRef to, VKProgress* progress) {
    return withFile(from, [to, progress](const QByteArray& source) {
        return withFile(
            to, [&source, progress](const QByteArray& target) { return copyOne(source, target, progress); });
    });
}

VKStatus VKFileMgrCopyFolder(CFURLRef from, CFURLRef to, VKProgress* progress) {
    return withFile(from, [to, progress](const QByteArray& source) {
        return withFile(
            to, [&source, to, progress](const QByteArray&) { return copyTree(source, to, progress); });
    });
}
