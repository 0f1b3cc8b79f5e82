// What the recycle bins hold, for the commands that show it and take things out.
#pragma once

#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKStatus.h>
#include <VKQtPath.h>

#include <QDateTime>
#include <QString>

#include <vector>

namespace VKTool {

struct RecycledItem {
    VKCFRef<CFURLRef> url; ///< The item's own name, which its path's text may share with others.
    VKQtPath path;         ///< In the bin.
    VKQtPath original;     ///< Where it came from; empty when that is not recorded.
    QDateTime deleted;     ///< Invalid when not known.
};

/// The items of all bins, or of those that `folder` uses, the newest first.
[[nodiscard]] VKStatus recycledItems(const VKQtPath& folder, std::vector<RecycledItem>& items);

/// The newest item that is, or came from, the place; null when there is none.
[[nodiscard]] const RecycledItem* findRecycled(const std::vector<RecycledItem>& items, const QString& place);

} // namespace VKTool
