// Gathers what the library shows one by one.
#include "RecycledItems.h"

#include <VKCoreKit/VKFileMgr.h>

#include <algorithm>

namespace VKTool {

namespace {

VKQtPath pathOf(CFURLRef url, bool isFolder) {
    VKQtPath path;
    if (url != nullptr) {
        path.setPath(url, isFolder, 0);
    }
    return path;
}

bool gather(const VKRecycledItem& shown, void* context) {
    const bool isFolder = shown.kind == VKItemKind::Folder;
    RecycledItem item;
    item.url = VKCFRef<CFURLRef>::retain(shown.url);
    item.path = pathOf(shown.url, isFolder);
    item.original = pathOf(shown.original, isFolder);
    if (shown.deletedKnown) {
        item.deleted = QDateTime::fromMSecsSinceEpoch(shown.deletedMs, Qt::UTC);
    }
    static_cast<std::vector<RecycledItem>*>(context)->push_back(std::move(item));
    return true;
}

bool isNewer(const RecycledItem& one, const RecycledItem& other) {
    if (one.deleted != other.deleted) {
        return !other.deleted.isValid() || (one.deleted.isValid() && one.deleted > other.deleted);
    }
    return one.path.path() < other.path.path();
}

} // namespace

VKStatus recycledItems(const VKQtPath& folder, std::vector<RecycledItem>& items) {
    VKCFRef<CFURLRef> url;
    if (!folder.path().isEmpty()) {
        url = VKCFRef<CFURLRef>::adopt(folder.createCFUrl());
        if (!url) {
            return kVKStatusNotConvertible;
        }
    }
    const VKStatus status = VKFileMgrListRecycledItems(url.get(), &gather, &items);
    std::sort(items.begin(), items.end(), isNewer);
    return status;
}

const RecycledItem* findRecycled(const std::vector<RecycledItem>& items, const QString& place) {
    // The texts themselves: paths are equal whatever their case, but photos are not.
    const QString text = VKQtPath(place, false).path();
    const auto found = std::find_if(items.begin(), items.end(), [&](const RecycledItem& item) {
        return item.path.path() == text || item.original.path() == text;
    });
    return found == items.end() ? nullptr : &*found;
}

} // namespace VKTool
