// Making and deleting items, and what may be written where.
#include "VKCoreKit/VKFileMgr.h"

#include "Platform/FileRemoval.h"
#include "Platform/FileSpace.h"
#include "Platform/FolderCreation.h"
#include "VKCoreKit/VKFileMgrUrl.h"

VKStatus VKFileMgrCreateDirectory(CFURLRef url) { return withFile(url, VKPlatform::createFolders); }

VKStatus VKFileMgrDeleteFolder(CFURLRef url) { return withFile(url, VKPlatform::removeTree); }

VKStatus VKFileMgrDeleteFile(CFURLRef url) { return withFile(url, VKPlatform::removeFile); }

VKStatus VKFileMgrGetBytesFreeFromPath(CFURLRef url, unsigned long long* bytes) {
    if (bytes == nullptr) {
        return kVKStatusBadArgument;
    }
    return withFile(url, [bytes](const QByteArray& path) {
        std::uint64_t available = 0;
        const int error = VKPlatform::availableBytes(path, available);
        if (error == 0) {
            *bytes = available;
        }
        return error;
    });
}

VKStatus VKFileMgrGetFolderWritable(CFURLRef folder, bool* writable) {
    if (writable == nullptr) {
        return kVKStatusBadArgument;
    }
    *writable = false;
    return withFile(folder, [writable](const QByteArray& path) {
        VKPlatform::Writability answer = VKPlatform::Writability::Unknown;
        const int error = VKPlatform::folderWritability(path, answer);
        *writable = error == 0 && answer == VKPlatform::Writability::Yes;
        return error != 0                                   ? static_cast<VKStatus>(error)
               : answer == VKPlatform::Writability::Unknown ? kVKStatusWritabilityUnknown
                                                            : kVKStatusSuccess;
    });
}
