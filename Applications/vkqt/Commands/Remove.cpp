// vkqt rm: deletes for good, and says where the recycle bin would have kept the item.
#include "Items.h"
#include "Results.h"
#include "Text.h"

#include <VKCoreKit/VKFileMgr.h>

#include <cerrno>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

struct Removal {
    VKStatus status = kVKStatusSuccess;
    bool isFolder = false;
    bool recyclable = false;
};

Removal removed(const QString& text, bool recursive) {
    Removal removal;
    const ItemFacts item = askDisk(text);
    removal.status = item.status;
    if (removal.status != kVKStatusSuccess) {
        return removal;
    }
    removal.isFolder = item.isFolder && !item.isLink;
    if (removal.isFolder && !recursive) {
        removal.status = EISDIR;
        return removal;
    }
    const auto url = urlOf(text, removal.isFolder);
    removal.recyclable = VKFileMgrCanRecycleItem(url.get());
    removal.status = removal.isFolder ? VKFileMgrDeleteFolder(url.get()) : VKFileMgrDeleteFile(url.get());
    return removal;
}

int run(Invocation& invocation) {
    const bool recursive = invocation.isOn(u"recursive"_s);
    Results results(invocation);
    qint64 keepable = 0;
    for (const QString& text : invocation.arguments()) {
        const Removal removal = removed(text, recursive);
        const bool deleted = removal.status == kVKStatusSuccess;
        QString reason;
        if (!deleted) {
            reason = reasonKept(absoluteText(text, workingFolder()), Disposal::Delete, removal.status);
            invocation.fail(text, reason);
        }
        results.add({{u"path"_s, absolutePath(text, removal.isFolder).path()},
                     {u"folder"_s, removal.isFolder},
                     {u"deleted"_s, deleted},
                     {u"recyclable"_s, removal.recyclable},
                     {u"error"_s, deleted ? QJsonValue(QJsonValue::Null) : QJsonValue(reason)}});
        if (deleted) {
            results.say(u"deleted "_s + shown(text));
            keepable += removal.recyclable ? 1 : 0;
        }
    }
    if (keepable > 0) {
        results.say(invocation.output().styled(Style::Quiet, u"\"vkqt trash\" would have kept "_s +
                                                                 counted(keepable, u"item"_s, u"items"_s) +
                                                                 u" in the recycle bin."_s));
    }
    return invocation.exitStatus();
}

const Registration kRegistration({
    .name = u"rm"_s,
    .summary = u"delete for good, without the recycle bin"_s,
    .description =
        u"Deletes each PATH for good. A link is deleted itself, never what it names. A folder needs "
        "--recursive.\n\n"
        "No link is followed out of a folder and no other file system is entered. The root, the home folder, "
        "a "
        "mount point and a folder that holds one of them are refused, and so is a folder with a part that "
        "may "
        "not be changed, before anything in it is deleted.\n\n"
        "\"vkqt trash\" moves items to the recycle bin instead, from where \"vkqt restore\" brings them "
        "back; rm "
        "says when that was possible."_s,
    .arguments = {{.name = u"PATH"_s, .count = ArgumentSpec::AtLeastOne, .takes = Takes::Path}},
    .options =
        {
            {.name = u"recursive"_s, .letter = u"r"_s, .help = u"Delete folders with everything in them."_s},
            {.name = u"json"_s, .help = u"Write JSON for scripts: one array with an object for each PATH."_s},
        },
    .examples =
        {
            {u"vkqt rm IMG_0001.xmp"_s, u"One file."_s},
            {u"vkqt rm --recursive Rejected"_s, u"A folder with everything in it."_s},
        },
    .jsonKeys =
        {
            {u"path"_s, u"The canonical text of the item's path."_s},
            {u"folder"_s, u"Whether it was a folder."_s},
            {u"deleted"_s, u"Whether it is gone now."_s},
            {u"recyclable"_s, u"Whether \"vkqt trash\" would have kept it."_s},
            {u"error"_s, u"Why it could not be deleted; null when it is gone."_s},
        },
    .run = &run,
});

} // namespace
