// vkqt mkdir: makes folders, with those above them.
#include "Items.h"
#include "Results.h"
#include "Text.h"

#include <VKCoreKit/VKFileMgr.h>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

int run(Invocation& invocation) {
    Results results(invocation);
    for (const QString& text : invocation.arguments()) {
        const auto url = urlOf(text, true);
        const bool existed = url && VKFileMgrPathExists(url.get());
        const VKStatus status = url ? VKFileMgrCreateDirectory(url.get()) : kVKStatusNotConvertible;
        if (status != kVKStatusSuccess) {
            invocation.fail(text, status);
        }
        results.add({{u"path"_s, absolutePath(text, true).path()},
                     {u"made"_s, status == kVKStatusSuccess && !existed},
                     {u"error"_s, errorMember(status)}});
        if (status == kVKStatusSuccess) {
            results.say((existed ? u"is there already: "_s : u"made "_s) + shown(text));
        }
    }
    return invocation.exitStatus();
}

const Registration kRegistration({
    .name = u"mkdir"_s,
    .summary = u"make folders"_s,
    .description = u"Makes each FOLDER, and those above it that are missing. A folder that is there already "
                   u"is fine. When "
                   "a folder cannot be made, those above it that were made for it are removed again."_s,
    .arguments = {{.name = u"FOLDER"_s, .count = ArgumentSpec::AtLeastOne, .takes = Takes::Path}},
    .options = {{.name = u"json"_s,
                 .help = u"Write JSON for scripts: one array with an object for each FOLDER."_s}},
    .examples = {{u"vkqt mkdir 2026/November/Raw"_s, u"Three folders, if none of them is there."_s}},
    .jsonKeys = {{u"path"_s, u"The canonical text of the folder's path."_s},
                 {u"made"_s, u"Whether it was made now; false when it was there already."_s},
                 {u"error"_s, u"Why it could not be made; null when it is there now."_s}},
    .run = &run,
});

} // namespace
