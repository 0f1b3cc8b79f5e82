// vkqt trash: moves items to the recycle bin of their volume.
#include "CommandLine.h"
#include "Items.h"
#include "Text.h"

#include <VKQtPathUtils.h>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

int run(Invocation& invocation) {
    const bool json = invocation.isOn(u"json"_s);
    Output& output = invocation.output();
    const QString here = workingFolder();
    qint64 count = 0;
    if (json) {
        output.writeBytes(jsonArrayStart());
    }
    for (const QString& text : invocation.arguments()) {
        const QString absolute = text.isEmpty() ? QString() : absoluteText(text, here);
        const ItemFacts facts = askDisk(absolute);
        if (facts.status != 0) {
            invocation.fail(text, facts.status);
            continue;
        }
        VKQtPath item(absolute, facts.isFolder && !facts.isLink);
        VKQtPath recycled;
        const VKStatus status = VKQtPathUtils::recyleItem(item, recycled);
        if (status == kVKStatusCancelled) {
            invocation.fail(text, u"its volume has no recycle bin; \"vkqt rm\" deletes for good"_s);
        } else if (status != 0) {
            invocation.fail(text, reasonKept(absolute, Disposal::Recycle, status));
        } else {
            if (json) {
                output.writeBytes(jsonArrayItem({{u"path"_s, item.path()},
                                                 {u"recycled"_s, recycled.path()},
                                                 {u"folder"_s, item.isFolder()}},
                                                count == 0));
            }
            ++count;
        }
    }
    if (json) {
        output.writeBytes(jsonArrayEnd(count == 0));
    } else if (count > 0) {
        output.write(counted(count, u"item is"_s, u"items are"_s) + u" in the recycle bin now\n"_s);
    }
    return invocation.exitStatus();
}

const Registration kRegistration({
    .name = u"trash"_s,
    .summary = u"move items to the recycle bin"_s,
    .description =
        u"Moves each PATH to the recycle bin of its volume, from which the desktop or \"vkqt restore\" takes "
        u"it "
        "back. Nothing is copied and nothing in the bin is overwritten. Of a link the link itself is "
        "moved.\n\n"
        "A volume without a recycle bin (read-only, on a network, or where you may not make one) is told of; "
        "nothing is deleted then."_s,
    .arguments = {{.name = u"PATH"_s, .count = ArgumentSpec::AtLeastOne, .takes = Takes::Path}},
    .options = {{.name = u"json"_s,
                 .help = u"Write JSON for scripts: one array with an object for each recycled item."_s}},
    .examples =
        {
            {u"vkqt trash IMG_0001.JPG"_s, u"One photo."_s},
            {u"vkqt trash --json *.xmp | jq -r '.[].recycled'"_s, u"Where the sidecars are now."_s},
        },
    .jsonKeys =
        {
            {u"path"_s, u"Where the item was."_s},
            {u"recycled"_s, u"Where it is in the bin."_s},
            {u"folder"_s, u"Whether it is a folder."_s},
        },
    .run = &run,
});

} // namespace
