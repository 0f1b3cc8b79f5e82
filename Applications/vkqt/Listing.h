// Reads folders through the library's iterator and filter, and puts what they hold in order.
#pragma once

#include <VKCoreKit/VKStatus.h>
#include <VKQtDirIterator.h>
#include <VKQtPath.h>
#include <VKQtPathFilter.h>

#include <QString>

#include <utility>
#include <vector>

namespace VKTool {

enum class SortOrder {
    Name, ///< As people count and spell: "IMG_2" before "IMG_10", case ignored.
    Size, ///< The largest first.
    Date, ///< The one that was modified last first.
    None, ///< As the file system delivers.
};

struct ListRequest {
    VKQtPathFilter filter;
    bool recursive = false;
    bool showFolders = true; ///< Folders that are not shown are descended into all the same.
    SortOrder sort = SortOrder::Name;
    bool reverse = false;
    bool details = true; ///< Sizes and dates are wanted.
};

struct ListedItem {
    VKQtDirIterator::Entry entry;
    QString name; ///< Relative to the folder that is listed.
};

struct Listing {
    std::vector<ListedItem> items;
    /// Folders that could not be read, or not to their end.
    std::vector<std::pair<QString, VKStatus>> failures;
};

/// Everything in the folder that the request wants, in its order. Recursive by name: each folder is followed
/// by what it holds; by size and date: all in one order. Descends into real folders only, never through a
/// link, so that it ends and stays below the folder; needs no stack however deep the tree is.
[[nodiscard]] Listing listFolder(const VKQtPath& folder, const ListRequest& request);

/// Orders items by the part of their names behind the first `prefix` characters, or by size or date. Equals
/// under that order come by name, then by the exact text, so the result does not depend on the file system.
void sortItems(std::vector<ListedItem>& items, SortOrder order, bool reverse, qsizetype prefix = 0);

} // namespace VKTool
