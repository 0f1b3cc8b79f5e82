// vkqt trashed: what is in the recycle bins.
#include "CommandLine.h"
#include "Items.h"
#include "RecycledItems.h"
#include "Table.h"
#include "Text.h"

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

QJsonObject toJson(const RecycledItem& item) {
    const bool known = !item.original.path().isEmpty();
    return {
        {u"path"_s, known ? QJsonValue(item.original.path()) : QJsonValue()},
        {u"recycled"_s, item.path.path()},
        {u"folder"_s, item.path.isFolder()},
        {u"deleted"_s, isoUtc(item.deleted)},
    };
}

void writeJson(const std::vector<RecycledItem>& items, Output& output) {
    output.writeBytes(jsonArrayStart());
    bool first = true;
    for (const RecycledItem& item : items) {
        output.writeBytes(jsonArrayItem(toJson(item), first));
        first = false;
    }
    output.writeBytes(jsonArrayEnd(first));
}

void writeForPeople(const std::vector<RecycledItem>& items, Output& output) {
    Table table;
    table.addColumn(u"Deleted"_s, Table::Left);
    table.addColumn(u"Kind"_s, Table::Left);
    table.addColumn(u"Original place"_s, Table::Left);
    for (const RecycledItem& item : items) {
        const bool known = !item.original.path().isEmpty();
        const VKQtPath& place = known ? item.original : item.path;
        table.addRow({{.text = localMinute(item.deleted), .style = Style::Quiet},
                      {.text = kindOf(place), .style = Style::Quiet},
                      {.text = shown(place.path()) + (place.isFolder() ? u"/"_s : QString()),
                       .style = place.isFolder() ? std::optional(Style::Folder) : std::nullopt,
                       .after = known ? QString() : u" (in the bin; where it was is not known)"_s}});
    }
    if (table.isEmpty()) {
        output.write(output.styled(Style::Quiet, u"the recycle bin is empty"_s) + u'\n');
    } else {
        table.write(output);
    }
}

int run(Invocation& invocation) {
    VKQtPath folder;
    if (!invocation.arguments().isEmpty()) {
        const QString& text = invocation.arguments().first();
        const QString absolute = text.isEmpty() ? QString() : absoluteText(text, workingFolder());
        const ItemFacts facts = askDisk(absolute);
        if (facts.status != 0) {
            invocation.fail(text, facts.status);
            return invocation.exitStatus();
        }
        const VKQtPath item(absolute, facts.isFolder);
        folder = facts.isFolder ? item : item.pathOnly();
    }
    std::vector<RecycledItem> items;
    if (const VKStatus status = recycledItems(folder, items); status != 0) {
        invocation.fail(invocation.arguments().value(0, u"recycle bin"_s), status);
        return invocation.exitStatus();
    }
    invocation.isOn(u"json"_s) ? writeJson(items, invocation.output())
                               : writeForPeople(items, invocation.output());
    return invocation.exitStatus();
}

const Registration kRegistration({
    .name = u"trashed"_s,
    .summary = u"list what is in the recycle bin"_s,
    .description =
        u"Lists the items in your recycle bins, the newest first, with the places that they came from: in "
        u"the "
        "bin of your home folder and in those of the mounted volumes. Volumes on a network are not "
        "asked.\n\n"
        "With PATH, only the bins that items of that folder go to."_s,
    .arguments = {{.name = u"PATH"_s, .count = ArgumentSpec::Optional, .takes = Takes::Path}},
    .options = {{.name = u"json"_s,
                 .help = u"Write JSON for scripts: one array with an object for each item."_s}},
    .examples =
        {
            {u"vkqt trashed"_s, u"Everything that can be taken back."_s},
            {u"vkqt trashed /media/card"_s, u"What is in the bin of a memory card."_s},
        },
    .jsonKeys =
        {
            {u"path"_s, u"Where the item came from; null when that is not known."_s},
            {u"recycled"_s, u"Where it is in the bin."_s},
            {u"folder"_s, u"Whether it is a folder."_s},
            {u"deleted"_s, u"When it was recycled, UTC; null when unknown."_s},
        },
    .run = &run,
});

} // namespace
