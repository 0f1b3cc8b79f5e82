// vkqt unique: a free name for a copy.
#include "Items.h"
#include "Results.h"
#include "Text.h"

#include <CoreFoundation/CFQt.h>
#include <VKCoreKit/VKFileMgr.h>
#include <VKQtPathUtils.h>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

VKCFRef<CFURLRef> freeName(const QString& text, bool isFolder, const QString& word) {
    VKQtPath place = absolutePath(text, isFolder);
    const QString name = place.filename();
    if (word.isNull()) {
        const VKQtPath path = VKQtPathUtils::createPathWithUniqueName(place, name, !isFolder);
        return VKCFRef<CFURLRef>::adopt(path.createCFUrl()); // none for an empty path
    }
    const auto url = urlOf(text, isFolder);
    const auto nameText = VKCFRef<CFStringRef>::adopt(CFStringCreateWithQString(name));
    const auto wordText = VKCFRef<CFStringRef>::adopt(CFStringCreateWithQString(word));
    return VKCFRef<CFURLRef>::adopt(
        VKFileMgrCreateUniquePathName(url.get(), nameText.get(), !isFolder, wordText.get(), 0));
}

int run(Invocation& invocation) {
    const QString word = invocation.value(u"word"_s);
    if (!word.isNull() && word.trimmed().isEmpty() && !invocation.values(u"word"_s).isEmpty()) {
        return invocation.usageError(u"--word needs a word"_s);
    }
    Results results(invocation);
    for (const QString& text : invocation.arguments()) {
        const ItemFacts item = askDisk(text);
        const bool isFolder = invocation.isOn(u"folder"_s) ||
                              (item.status == kVKStatusSuccess && item.isFolder && !item.isLink);
        const auto url = freeName(text, isFolder, word.isEmpty() ? QString() : word);
        if (!url) {
            invocation.fail(text, kVKStatusNotConvertible);
        }
        results.add({{u"path"_s, absolutePath(text, isFolder).path()},
                     {u"free"_s, url ? QJsonValue(textOf(url.get())) : QJsonValue(QJsonValue::Null)}});
        if (url && !results.isJson()) {
            // For other programs: the bytes as they would be on disk.
            invocation.output().writeBytes(bytesOf(url.get()).append('\n'));
        }
    }
    return invocation.exitStatus();
}

const Registration kRegistration({
    .name = u"unique"_s,
    .summary = u"find a free name for a copy"_s,
    .description =
        u"Shows a name beside each PATH that nothing has: PATH itself if it is free, otherwise \"name "
        u"copy.ext\", "
        "\"name copy 2.ext\" and so on. Nothing is made, so another program may take the name first.\n\n"
        "A name that is a copy's already counts on; a long name is cut between characters. The names of "
        "folders keep what follows a dot."_s,
    .arguments = {{.name = u"PATH"_s, .count = ArgumentSpec::AtLeastOne, .takes = Takes::Path}},
    .options =
        {
            {.name = u"folder"_s,
             .help = u"Take each PATH as the path of a folder, also when there is none."_s},
            {.name = u"word"_s,
             .form = OptionSpec::Value,
             .valueName = u"WORD"_s,
             .help = u"The word for \"copy\"."_s},
            {.name = u"json"_s, .help = u"Write JSON for scripts: one array with an object for each PATH."_s},
        },
    .examples =
        {
            {u"cp -n IMG_1.JPG \"$(vkqt unique IMG_1.JPG)\""_s, u"A copy beside the photo."_s},
            {u"vkqt unique --word Kopie IMG_1.JPG"_s, u"With the word of another language."_s},
        },
    .jsonKeys = {{u"path"_s, u"The canonical text of the argument."_s},
                 {u"free"_s, u"The path that is free; null when no name can be made."_s}},
    .run = &run,
});

} // namespace
