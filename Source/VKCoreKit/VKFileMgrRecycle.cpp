// The recycle bin with the suite's names: URLs instead of bytes, statuses instead of errno.
#include "VKCoreKit/VKFileMgr.h"

#include "CoreFoundation/CFQt.h"
#include "Platform/RecycleBin.h"
#include "VKCoreKit/VKCFRef.h"
#include "VKCoreKit/VKItemDetailsInternal.h"

#include <cerrno>

namespace {

VKStatus recycleStatus(int error) {
    return error == EOPNOTSUPP ? kVKStatusCancelled : static_cast<VKStatus>(error);
}

VKStatus restoreStatus(int error) {
    switch (error) {
    case EBADF:
        return kVKStatusBadArgument;
    case ENODATA:
        return kVKStatusNotUnderstood;
    default:
        return static_cast<VKStatus>(error);
    }
}

VKCFRef<CFURLRef> makeUrl(const QByteArray& path, bool isFolder) {
    return VKCFRef<CFURLRef>::adopt(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.constData()),
        static_cast<CFIndex>(path.size()), isFolder));
}

bool showItem(const VKPlatform::RecycledItem& item, VKRecycledItemHandler handler, void* context) {
    const bool isFolder = item.kind == VKPlatform::FileKind::Folder;
    const auto url = makeUrl(item.path, isFolder);
    const auto original =
        item.originalPath.isEmpty() ? VKCFRef<CFURLRef>() : makeUrl(item.originalPath, isFolder);
    VKRecycledItem shown;
    shown.url = url.get();
    shown.original = original.get();
    shown.kind = itemKind(item.kind);
    shown.deletedKnown = item.deletedMs.has_value();
    shown.deletedMs = item.deletedMs.value_or(0);
    return handler(shown, context);
}

} // namespace

VKStatus VKFileMgrRecycleItemCopy(CFURLRef url, CFURLRef* recycled) {
    if (recycled != nullptr) {
        *recycled = nullptr;
    }
    if (url == nullptr) {
        return kVKStatusBadArgument;
    }
    const QByteArray path = CFURLCopyFileSystemBytes(url);
    if (path.isNull()) {
        return kVKStatusNotConvertible;
    }
    QByteArray place;
    const int error = VKPlatform::recycleItem(path, place);
    if (error == 0 && recycled != nullptr) {
        *recycled = makeUrl(place, CFURLHasDirectoryPath(url) != 0).release();
    }
    return recycleStatus(error);
}

bool VKFileMgrCanRecycleItem(CFURLRef url) {
    const QByteArray path = CFURLCopyFileSystemBytes(url);
    return !path.isNull() && VKPlatform::canRecycleItem(path);
}

VKStatus VKFileMgrRestoreRecycledItem(CFURLRef recycled, CFURLRef target) {
    if (recycled == nullptr) {
        return kVKStatusBadArgument;
    }
    const QByteArray item = CFURLCopyFileSystemBytes(recycled);
    const QByteArray place = CFURLCopyFileSystemBytes(target);
    if (item.isNull() || (target != nullptr && place.isNull())) {
        return kVKStatusNotConvertible;
    }
    return restoreStatus(VKPlatform::restoreItem(item, place));
}

VKStatus VKFileMgrListRecycledItems(CFURLRef folder, VKRecycledItemHandler handler, void* context) {
    if (handler == nullptr) {
        return kVKStatusBadArgument;
    }
    const QByteArray path = CFURLCopyFileSystemBytes(folder);
    if (folder != nullptr && path.isNull()) {
        return kVKStatusNotConvertible;
    }
    bool goesOn = true;
    const auto show = [&](const VKPlatform::RecycledItem& item) {
        goesOn = showItem(item, handler, context);
        return goesOn;
    };
    for (const QByteArray& bin :
         folder == nullptr ? VKPlatform::recycleBins() : VKPlatform::recycleBinsFor(path)) {
        const int error = VKPlatform::listRecycleBin(bin, show);
        if (error != 0 && folder != nullptr) {
            return static_cast<VKStatus>(error);
        }
        if (!goesOn) {
            break;
        }
    }
    return kVKStatusSuccess;
}
