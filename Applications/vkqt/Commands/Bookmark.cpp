// vkqt bookmark: makes bookmarks of files and folders, keeps them in a file, and finds the items again.
#include "BookmarkFile.h"
#include "CommandLine.h"
#include "Items.h"
#include "Results.h"
#include "Table.h"
#include "Text.h"

#include <CoreFoundation/CFQt.h>
#include <CoreFoundation/CFURLBookmark.h>
#include <VKBookmark.h>
#include <VKCoreKit/VKCoreKit.h>
#include <VKCoreKit/VKFileBookmark.h>

#include <QJsonObject>

#include <cerrno>
#include <memory>
#include <optional>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

using OwnedBookmark = VKOwned<VKBookmark>;
using Url = VKCFRef<CFURLRef>;

/// One bookmark of the file, with what an action found out.
struct Entry {
    std::size_t position = 0; ///< from 0; people count from 1
    BookmarkInfo info;
    VKQtPath path;
    VKStatus status = kVKStatusSuccess; ///< of resolving
    QByteArray now;                     ///< the path's bytes where the item is; null when it was not found
    bool isStale = false;
    bool reachable = false;
    bool refused = false;
};

CFDataRef dataOf(const BookmarkInfo& info) {
    const void* const data = CFDictionaryGetValue(info.get(), kBookmarkData);
    return data != nullptr && CFGetTypeID(data) == CFDataGetTypeID() ? static_cast<CFDataRef>(data) : nullptr;
}

Entry entryOf(std::size_t position, const BookmarkInfo& info) {
    Entry entry;
    entry.position = position;
    entry.info = info;
    // Cannot fail: what it needs was looked for when the file was read.
    static_cast<void>(entry.path.fromVKBookmarkData(info.get()));
    return entry;
}

QString numberOf(const Entry& entry) { return QString::number(entry.position + 1); }

QString kindWord(const Entry& entry) { return entry.path.isFolder() ? u"folder"_s : u"file"_s; }

QString nowText(const Entry& entry) { return decodeBytes(entry.now); }

// The data, or without any the path alone.
void resolve(Entry& entry) {
    Url url;
    if (const CFDataRef data = dataOf(entry.info)) {
        entry.status = VKFileMgrResolveBookmark(data, nullptr, url.out(), &entry.isStale);
        if (entry.status == ETIMEDOUT) {
            entry.status = ENOENT; // looked for as far as a search goes
        }
    } else {
        url = Url::adopt(entry.path.createCFUrl());
        VKItemDetails details;
        entry.status = VKFileMgrGetItemDetails(url.get(), false, &details);
    }
    if (entry.status == kVKStatusSuccess) {
        entry.now = CFURLCopyFileSystemBytes(url.get());
    }
}

// As an application does it at its start, and gives it back at once.
void check(Entry& entry) {
    resolve(entry);
    const OwnedBookmark bookmark(new VKBookmark);
    if (entry.status == kVKStatusSuccess) {
        entry.status = bookmark->load(entry.info.get());
    }
    if (entry.status != kVKStatusSuccess) {
        return;
    }
    bookmark->checkout();
    entry.refused = bookmark->checkoutRefused();
    entry.reachable = !entry.refused || VKBookmark::hasSandboxAccess(nowText(entry), entry.path.isFolder());
}

// New data for an item that has moved or was replaced. The path that people see follows.
VKStatus renew(const Entry& entry) {
    const auto url = Url::adopt(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(entry.now.constData()), entry.now.size(),
        entry.path.isFolder()));
    VKCFRef<CFErrorRef> error;
    const auto data = VKCFRef<CFDataRef>::adopt(
        CFURLCreateBookmarkData(kCFAllocatorDefault, url.get(), 0, nullptr, nullptr, error.out()));
    if (!data) {
        return static_cast<VKStatus>(CFErrorGetCode(error.get()));
    }
    CFDictionarySetValue(entry.info.get(), kBookmarkData, data.get());
    const auto name = VKCFRef<CFStringRef>::adopt(VKFileMgrGetFileSystemRepresentationCopy(url.get()));
    CFDictionarySetValue(entry.info.get(), kBookmarkPath, name.get());
    return kVKStatusSuccess;
}

// A bookmark of an item that exists, with data also outside a sandbox, where the library makes none by itself.
VKStatus make(const VKQtPath& path, std::size_t position, BookmarkInfo& info) {
    const auto url = Url::adopt(path.createCFUrl());
    VKBookmark* made = nullptr;
    const VKStatus status = VKBookmark::create(url.get(), path.isFolder(), made);
    if (status != kVKStatusSuccess) {
        return status;
    }
    const OwnedBookmark bookmark(made);
    if (bookmark->data() == nullptr) {
        VKCFRef<CFErrorRef> error;
        const auto data = VKCFRef<CFDataRef>::adopt(
            CFURLCreateBookmarkData(kCFAllocatorDefault, url.get(), 0, nullptr, nullptr, error.out()));
        if (!data) {
            return static_cast<VKStatus>(CFErrorGetCode(error.get()));
        }
        bookmark->setData(data.get());
    }
    bookmark->setRefcon(static_cast<int>(position) + 1);
    info = BookmarkInfo::adopt(bookmark->getInfoCopy());
    return kVKStatusSuccess;
}

enum class Action { Create, Show, Resolve, Check, List };

Action actionNamed(const QString& word) {
    const std::pair<QLatin1StringView, Action> words[] = {{"create"_L1, Action::Create},
                                                          {"show"_L1, Action::Show},
                                                          {"resolve"_L1, Action::Resolve},
                                                          {"check"_L1, Action::Check}};
    for (const auto& [name, action] : words) {
        if (word == name) {
            return action;
        }
    }
    return Action::List;
}

QJsonValue textOrNull(const QByteArray& bytes) {
    return bytes.isNull() ? QJsonValue(QJsonValue::Null) : QJsonValue(decodeBytes(bytes));
}

QJsonObject toJson(const Entry& entry, Action action) {
    const CFDataRef data = dataOf(entry.info);
    QJsonObject object{
        {u"number"_s, static_cast<qint64>(entry.position) + 1},
        {u"path"_s, entry.path.path()},
        {u"folder"_s, entry.path.isFolder()},
        {u"refcon"_s, VKUtilsCFDictionaryGetValueInt(entry.info.get(), kBookmarkRefcon)},
        {u"removed"_s, VKUtilsCFDictionaryGetValueInt(entry.info.get(), kBookmarkFileIsRemoved) != 0},
        {u"dataBytes"_s, data != nullptr ? QJsonValue(qint64{CFDataGetLength(data)}) : QJsonValue()},
    };
    if (action == Action::Resolve || action == Action::Check) {
        object.insert(u"now"_s, textOrNull(entry.now));
        object.insert(u"stale"_s, entry.isStale);
        object.insert(u"problem"_s, entry.status != 0 ? QJsonValue(reasonOf(entry.status)) : QJsonValue());
    }
    if (action == Action::Check) {
        object.insert(u"reachable"_s, entry.reachable);
    }
    return object;
}

void writeJson(const std::vector<Entry>& entries, Action action, Output& output) {
    output.writeBytes(jsonArrayStart());
    for (const Entry& entry : entries) {
        output.writeBytes(jsonArrayItem(toJson(entry, action), &entry == &entries.front()));
    }
    output.writeBytes(jsonArrayEnd(entries.empty()));
}

Table::Cell stateCell(const Entry& entry, Action action) {
    if (entry.status != kVKStatusSuccess) {
        return {reasonOf(entry.status), Style::Bad};
    }
    if (action == Action::Check && !entry.reachable) {
        return {u"access refused"_s, Style::Bad};
    }
    const bool moved = VKQtPath(nowText(entry), entry.path.isFolder()).path() != entry.path.path();
    return {moved ? u"moved"_s : (entry.isStale ? u"replaced"_s : u"in place"_s), Style::Good};
}

void writeTable(const std::vector<Entry>& entries, Action action, Output& output) {
    Table table;
    table.addColumn(u"NUMBER"_s, Table::Right);
    table.addColumn(action == Action::List ? u"KIND"_s : u"STATE"_s, Table::Left);
    table.addColumn(u"PATH"_s, Table::Left);
    for (const Entry& entry : entries) {
        const QString path = entry.now.isNull() ? entry.path.path() : nowText(entry);
        table.addRow({{numberOf(entry)},
                      action == Action::List ? Table::Cell{kindWord(entry)} : stateCell(entry, action),
                      {shown(path)}});
    }
    if (!table.isEmpty()) {
        table.write(output);
    }
}

void writeDetails(const std::vector<Entry>& entries, Output& output) {
    constexpr int kLabelWidth = 10;
    for (const Entry& entry : entries) {
        const CFDataRef data = dataOf(entry.info);
        const bool removed = VKUtilsCFDictionaryGetValueInt(entry.info.get(), kBookmarkFileIsRemoved) != 0;
        const std::pair<QString, QString> lines[] = {
            {u"number"_s, numberOf(entry)},
            {u"kind"_s, kindWord(entry)},
            {u"data"_s, data != nullptr ? counted(CFDataGetLength(data), u"byte"_s, u"bytes"_s)
                                        : u"none: only the path is known"_s},
            {u"refcon"_s, QString::number(VKUtilsCFDictionaryGetValueInt(entry.info.get(), kBookmarkRefcon))},
            {u"removed"_s, removed ? u"yes"_s : u"no"_s},
        };
        output.write((&entry == &entries.front() ? QString() : u"\n"_s) +
                     output.styled(Style::Heading, shown(entry.path.path())) + u'\n');
        for (const auto& [label, value] : lines) {
            output.write(u"  "_s + output.styled(Style::Quiet, padded(label, kLabelWidth)) + value + u'\n');
        }
    }
}

void writeAnswer(const std::vector<Entry>& entries, Action action, Invocation& invocation) {
    Output& output = invocation.output();
    if (invocation.isOn(u"json"_s)) {
        writeJson(entries, action, output);
    } else if (invocation.isOn(u"paths"_s)) {
        for (const Entry& entry : entries) {
            if (!entry.now.isNull()) {
                output.writeBytes(QByteArray(entry.now + '\n'));
            }
        }
    } else if (action == Action::Show) {
        writeDetails(entries, output);
    } else {
        writeTable(entries, action, output);
    }
}

// The bookmarks that the numbers name, or all. Nothing after a usage error.
std::optional<std::vector<Entry>> chosen(const std::vector<BookmarkInfo>& bookmarks,
                                         const QStringList& numbers, Invocation& invocation) {
    std::vector<Entry> entries;
    for (const QString& text : numbers) {
        bool isNumber = false;
        const qulonglong number = text.toULongLong(&isNumber);
        if (!isNumber) {
            static_cast<void>(invocation.usageError(u"\""_s + shown(text) + u"\" is no number"_s));
            return std::nullopt;
        }
        if (number < 1 || number > bookmarks.size()) {
            invocation.fail(text, kVKStatusOutOfRange);
            continue;
        }
        entries.push_back(entryOf(number - 1, bookmarks[number - 1]));
    }
    for (std::size_t i = 0; numbers.isEmpty() && i < bookmarks.size(); ++i) {
        entries.push_back(entryOf(i, bookmarks[i]));
    }
    return entries;
}

// Renews what has moved and keeps the file's new content.
void update(const VKQtPath& file, const std::vector<BookmarkInfo>& bookmarks,
            const std::vector<Entry>& entries, Invocation& invocation) {
    bool changed = false;
    for (const Entry& entry : entries) {
        if (entry.status != kVKStatusSuccess || !entry.isStale) {
            continue;
        }
        if (const VKStatus status = renew(entry); status != kVKStatusSuccess) {
            invocation.fail(nowText(entry), status);
        } else {
            changed = true;
        }
    }
    if (const VKStatus status = changed ? writeBookmarks(file, bookmarks) : VKStatus{kVKStatusSuccess};
        status != kVKStatusSuccess) {
        invocation.fail(invocation.arguments().at(1), status);
    }
}

int look(const VKQtPath& file, Action action, const QStringList& numbers, Invocation& invocation) {
    std::vector<BookmarkInfo> bookmarks;
    if (const VKStatus status = readBookmarks(file, bookmarks); status != kVKStatusSuccess) {
        invocation.fail(invocation.arguments().at(1), status);
        return invocation.exitStatus();
    }
    std::optional<std::vector<Entry>> entries = chosen(bookmarks, numbers, invocation);
    if (!entries) {
        return kExitUsage;
    }
    for (Entry& entry : *entries) {
        if (action == Action::Resolve) {
            resolve(entry);
        } else if (action == Action::Check) {
            check(entry);
        }
    }
    writeAnswer(*entries, action, invocation);
    for (const Entry& entry : *entries) {
        if (entry.status != kVKStatusSuccess) {
            invocation.fail(entry.path.path(), entry.status);
        } else if (action == Action::Check && !entry.reachable) {
            invocation.fail(entry.path.path(), EACCES);
        }
    }
    if (invocation.isOn(u"update"_s)) {
        update(file, bookmarks, *entries, invocation);
    }
    return invocation.exitStatus();
}

int create(const VKQtPath& file, const QStringList& items, Invocation& invocation) {
    std::vector<BookmarkInfo> bookmarks;
    const VKStatus read = readBookmarks(file, bookmarks);
    if (read != kVKStatusSuccess && read != ENOENT) {
        invocation.fail(invocation.arguments().at(1), read);
        return invocation.exitStatus();
    }
    std::vector<Entry> made;
    for (const QString& text : items) {
        const QString absolute = text.isEmpty() ? QString() : absoluteText(text, workingFolder());
        const ItemFacts facts = askDisk(absolute);
        BookmarkInfo info;
        const VKStatus status = facts.status != 0
                                    ? facts.status
                                    : make(VKQtPath(absolute, facts.isFolder), bookmarks.size(), info);
        if (status != kVKStatusSuccess) {
            invocation.fail(text, status);
            continue;
        }
        bookmarks.push_back(info);
        made.push_back(entryOf(bookmarks.size() - 1, info));
    }
    if (!made.empty()) {
        if (const VKStatus status = writeBookmarks(file, bookmarks); status != kVKStatusSuccess) {
            invocation.fail(invocation.arguments().at(1), status);
            return invocation.exitStatus();
        }
    }
    writeAnswer(made, invocation.isOn(u"json"_s) ? Action::Create : Action::List, invocation);
    return invocation.exitStatus();
}

int run(Invocation& invocation) {
    QStringList arguments = invocation.arguments();
    const Action action = actionNamed(arguments.takeFirst());
    const VKQtPath file = absolutePath(arguments.takeFirst(), false);
    const bool looksOnDisk = action == Action::Resolve || action == Action::Check;
    if (invocation.isOn(u"update"_s) && action != Action::Resolve) {
        return invocation.usageError(u"--update goes with resolve"_s);
    }
    if (invocation.isOn(u"paths"_s) && !looksOnDisk) {
        return invocation.usageError(u"--paths goes with resolve and check"_s);
    }
    if (invocation.isOn(u"paths"_s) && invocation.isOn(u"json"_s)) {
        return invocation.usageError(u"--paths and --json exclude each other"_s);
    }
    if (action != Action::Create && !invocation.isOn(u"update"_s)) {
        return look(file, action, arguments, invocation);
    }
    if (action == Action::Create && arguments.isEmpty()) {
        return invocation.usageError(u"create needs the paths of the items"_s);
    }
    // Another run may be adding to the file: what it adds would be lost.
    const BookmarkFileLock lock(file);
    if (lock.status() != kVKStatusSuccess) {
        invocation.fail(invocation.arguments().at(1), lock.status());
        return invocation.exitStatus();
    }
    return action == Action::Create ? create(file, arguments, invocation)
                                    : look(file, action, arguments, invocation);
}

const QStringList kActions = {u"create"_s, u"show"_s, u"resolve"_s, u"check"_s, u"list"_s};

const Registration kRegistration({
    .name = u"bookmark"_s,
    .summary = u"find files and folders again after a rename or a restart"_s,
    .description =
        u"Keeps bookmarks in FILE and finds their items again: after a rename, after a move within the "
        "volume, when the volume is mounted elsewhere, when a program has saved the file anew; in a sandbox, "
        "by what the user granted. Another file is taken for the item only in its old place on its volume, "
        "and is then told as replaced.\n\n"
        "create adds bookmarks of items to FILE, which is made when it is missing. list and show tell what "
        "FILE holds. resolve tells where the items are now. check also asks for access to each, as an "
        "application does at its start. The last three take numbers as list shows them; without any they "
        "take all."_s,
    .arguments =
        {{.name = u"ACTION"_s, .count = ArgumentSpec::One, .takes = Takes::Choice, .choices = kActions},
         {.name = u"FILE"_s, .count = ArgumentSpec::One, .takes = Takes::Path},
         {.name = u"ITEM"_s, .count = ArgumentSpec::Any, .takes = Takes::Path}},
    .options =
        {
            {.name = u"paths"_s,
             .help = u"Only the paths of the items that were found, one a line, in the bytes on disk."_s},
            {.name = u"update"_s,
             .help = u"Write new data to FILE for the items that have moved or were replaced."_s},
            {.name = u"json"_s,
             .help = u"Write JSON for scripts: one array with an object for each bookmark."_s},
        },
    .examples =
        {
            {u"vkqt bookmark create trips.plist ~/Pictures/2026"_s, u"Remember a folder."_s},
            {u"vkqt bookmark resolve trips.plist"_s, u"Where everything is now."_s},
            {u"cd \"$(vkqt bookmark resolve --paths trips.plist 1)\""_s, u"Go there."_s},
        },
    .jsonKeys =
        {
            {u"number"_s, u"The place in FILE, from 1."_s},
            {u"path"_s, u"The path as it is kept."_s},
            {u"folder"_s, u"Whether it is a folder's."_s},
            {u"refcon"_s, u"The number that the application keeps with it."_s},
            {u"removed"_s, u"Whether the item is known to be gone."_s},
            {u"dataBytes"_s, u"The size of the bookmark data; null without data."_s},
            {u"now"_s, u"resolve, check: where the item is; null when it was not found."_s},
            {u"stale"_s, u"resolve, check: whether it has moved or was replaced."_s},
            {u"problem"_s, u"resolve, check: why it was not found, or null."_s},
            {u"reachable"_s, u"check: whether the process may use it."_s},
        },
    .run = &run,
});

} // namespace
