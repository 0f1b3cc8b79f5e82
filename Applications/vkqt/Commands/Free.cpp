// vkqt free: how much may still be written where.
#include "Items.h"
#include "Results.h"
#include "Table.h"
#include "Text.h"

#include <VKCoreKit/VKFileMgr.h>

#include <algorithm>
#include <limits>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

struct Space {
    VKStatus status = kVKStatusSuccess;
    qint64 bytes = 0;
    bool isWritable = false;
    bool isWritableKnown = false;
};

// The folder that decides whether something can be made: the item itself, or the one that holds it.
VKQtPath deciding(const QString& text) {
    const ItemFacts item = askDisk(text);
    const VKQtPath path = absolutePath(text, true);
    return item.status != kVKStatusSuccess || item.isFolder ? path : path.pathOnly();
}

Space spaceAt(const QString& text) {
    Space space;
    const auto url = urlOf(text, false);
    unsigned long long bytes = 0;
    space.status = url ? VKFileMgrGetBytesFreeFromPath(url.get(), &bytes) : kVKStatusNotConvertible;
    if (space.status == kVKStatusSuccess) {
        constexpr auto kMost = static_cast<unsigned long long>(std::numeric_limits<qint64>::max());
        space.bytes = static_cast<qint64>(std::min(bytes, kMost));
        const auto folder = urlOf(deciding(text).path(), true);
        space.isWritableKnown =
            VKFileMgrGetFolderWritable(folder.get(), &space.isWritable) == kVKStatusSuccess;
    }
    return space;
}

int run(Invocation& invocation) {
    QStringList texts = invocation.arguments();
    if (texts.isEmpty()) {
        texts << workingFolder();
    }
    const bool exact = invocation.isOn(u"bytes"_s);
    Table table;
    table.addColumn(u"Free"_s, Table::Right);
    table.addColumn(u"Writable"_s, Table::Left);
    table.addColumn(u"Path"_s, Table::Left);
    {
        Results results(invocation);
        for (const QString& text : texts) {
            const Space space = spaceAt(text);
            const bool known = space.status == kVKStatusSuccess;
            if (!known) {
                invocation.fail(text, space.status);
            } else {
                const QString writable = !space.isWritableKnown ? u"-"_s
                                         : space.isWritable     ? u"yes"_s
                                                                : u"no"_s;
                table.addRow({{.text = exact ? groupedNumber(space.bytes) : humanSize(space.bytes)},
                              {.text = writable},
                              {.text = shown(text)}});
            }
            results.add({{u"path"_s, absolutePath(text, false).path()},
                         {u"free"_s, known ? QJsonValue(space.bytes) : QJsonValue(QJsonValue::Null)},
                         {u"writable"_s, known && space.isWritableKnown ? QJsonValue(space.isWritable)
                                                                        : QJsonValue(QJsonValue::Null)},
                         {u"error"_s, errorMember(space.status)}});
        }
    }
    if (!invocation.isOn(u"json"_s) && !table.isEmpty()) {
        table.write(invocation.output());
    }
    return invocation.exitStatus();
}

const Registration kRegistration({
    .name = u"free"_s,
    .summary = u"show the free space at a path"_s,
    .description = u"Shows how much may still be written on the volume that holds each PATH, and whether "
                   u"something can be "
                   "made in it (for a file: beside it). A PATH that does not exist is answered for by the "
                   "nearest folder "
                   "above it. Without a PATH, the working folder."_s,
    .arguments = {{.name = u"PATH"_s, .count = ArgumentSpec::Any, .takes = Takes::Path}},
    .options =
        {
            {.name = u"bytes"_s, .help = u"Show exact numbers of bytes."_s},
            {.name = u"json"_s, .help = u"Write JSON for scripts: one array with an object for each PATH."_s},
        },
    .examples = {{u"vkqt free ~/Pictures /media/card"_s, u"Whether the photos of a card will fit."_s}},
    .jsonKeys =
        {{u"path"_s, u"The canonical text of the path."_s},
         {u"free"_s, u"The number of bytes; null when the file system does not tell."_s},
         {u"writable"_s,
          u"Whether something can be made there; null when that cannot be told, as where nothing is."_s},
         {u"error"_s, u"Why the space is unknown; null when it is known."_s}},
    .run = &run,
});

} // namespace
