// The walk keeps a list of open levels instead of calling itself; the order compares keys made once per name.
#include "Listing.h"

#include <QCollator>
#include <QLocale>

#include <algorithm>
#include <memory>
#include <numeric>

namespace VKTool {

namespace {

// The order of the person's language. The plain C locale has none and would ignore numbers, so English then.
QCollator personalCollator() {
    const QLocale language = QLocale::system().collation();
    QCollator collator(language.language() == QLocale::C ? QLocale(QLocale::English) : language);
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    return collator;
}

// What leads an item's place in the order before its name does: smaller comes first.
qint64 leadingValue(const ListedItem& item, SortOrder order) {
    switch (order) {
    case SortOrder::Size:
        return -item.entry.size;
    case SortOrder::Date:
        return item.entry.modified.isValid() ? -item.entry.modified.toMSecsSinceEpoch()
                                             : std::numeric_limits<qint64>::max();
    case SortOrder::Name:
    case SortOrder::None:
        break;
    }
    return 0;
}

// One folder's own children. Failures go to the listing.
std::vector<ListedItem> readLevel(const VKQtPath& folder, const QString& prefix, const ListRequest& request,
                                  Listing& listing) {
    std::vector<ListedItem> items;
    const std::unique_ptr<VKQtDirIterator> iterator(VKQtDirIterator::makeIterator(folder, request.filter));
    iterator->setFetchDetails(request.details);
    const qsizetype start = folder.path().size() + (folder.path().endsWith(u'/') ? 0 : 1);
    ListedItem item;
    while (iterator->next(item.entry)) {
        // The iterator itself does not leave videos out; the filter's test of the whole path does.
        if (!request.filter.mIncludeVideos && request.filter.isPathFiltered(item.entry.path)) {
            continue;
        }
        item.name = prefix + item.entry.path.path().mid(start);
        items.push_back(std::move(item));
        item = ListedItem();
    }
    if (iterator->status() != 0) {
        listing.failures.emplace_back(folder.path(), iterator->status());
    }
    return items;
}

struct Level {
    std::vector<ListedItem> items;
    std::size_t next = 0;
};

} // namespace

void sortItems(std::vector<ListedItem>& items, SortOrder order, bool reverse, qsizetype prefix) {
    if (order == SortOrder::None) {
        if (reverse) {
            std::reverse(items.begin(), items.end());
        }
        return;
    }
    struct Place {
        qint64 leading;
        QCollatorSortKey key;
        std::size_t index;
    };
    const QCollator collator = personalCollator();
    std::vector<Place> places;
    places.reserve(items.size());
    for (std::size_t i = 0; i < items.size(); ++i) {
        places.push_back({leadingValue(items[i], order), collator.sortKey(items[i].name.mid(prefix)), i});
    }
    std::sort(places.begin(), places.end(), [&items](const Place& a, const Place& b) {
        if (a.leading != b.leading) {
            return a.leading < b.leading;
        }
        const int byKey = a.key.compare(b.key);
        return byKey != 0 ? byKey < 0 : items[a.index].name < items[b.index].name;
    });
    if (reverse) {
        std::reverse(places.begin(), places.end());
    }
    std::vector<ListedItem> ordered;
    ordered.reserve(items.size());
    for (const Place& place : places) {
        ordered.push_back(std::move(items[place.index]));
    }
    items = std::move(ordered);
}

Listing listFolder(const VKQtPath& folder, const ListRequest& request) {
    const bool whole = request.recursive && request.sort != SortOrder::Name;
    Listing listing;
    std::vector<Level> levels;
    const auto descend = [&](const VKQtPath& into, const QString& prefix) {
        Level level{readLevel(into, prefix, request, listing), 0};
        if (!whole) {
            sortItems(level.items, request.sort, request.reverse, prefix.size());
        }
        levels.push_back(std::move(level));
    };
    descend(folder, QString());
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.next == level.items.size()) {
            levels.pop_back();
            continue;
        }
        ListedItem item = std::move(level.items[level.next++]);
        const bool isFolder = item.entry.path.isFolder();
        const VKQtPath path = item.entry.path;
        const QString prefix = item.name + u'/';
        const bool isLink = item.entry.isLink;
        if (!isFolder || request.showFolders) {
            listing.items.push_back(std::move(item));
        }
        if (request.recursive && isFolder && !isLink) {
            descend(path, prefix);
        }
    }
    if (whole) {
        sortItems(listing.items, request.sort, request.reverse);
    }
    return listing;
}

} // namespace VKTool
