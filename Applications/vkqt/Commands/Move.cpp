// vkqt mv: gives items a new place or name, without overwriting.
#include "Interruption.h"
#include "Items.h"
#include "ProgressBar.h"
#include "Results.h"
#include "Text.h"

#include <CoreFoundation/CFQt.h>
#include <VKCoreKit/VKFileMgr.h>

#include <cerrno>
#include <memory>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

constexpr int kNameTries = 100;

void showBytes(const VKProgressBytes& bytes, void* context) {
    static_cast<ProgressBar*>(context)->show(bytes.done, bytes.total);
}

// While it lives, the bar shows the bytes that are copied, and Ctrl-C cancels the move, which then cleans up.
class Interruptible {
public:
    explicit Interruptible(bool showBar) : mBar(showBar) {
        VKProgressSetByteObserver(mProgress.get(), &showBytes, &mBar);
    }

    [[nodiscard]] VKProgress* progress() const { return mProgress.get(); }
    [[nodiscard]] bool isCancelled() const { return VKProgressGetCancel(mProgress.get()); }
    void clearBar() { mBar.clear(); }

private:
    ProgressBar mBar;
    VKOwnedProgress mProgress{VKProgressCreate(nullptr, nullptr)};
    Interruption mInterruption{mProgress.get()};
};

QByteArray nameIn(const QByteArray& path) { return path.sliced(path.lastIndexOf('/') + 1); }

// Where the items are to go.
struct Target {
    QString text;
    VKCFRef<CFURLRef> url;
    bool isFolder = false; // there already: the items go into it under their own names
};

Target targetOf(const QString& text) {
    Target target;
    const ItemFacts item = askDisk(text);
    target.text = text;
    target.isFolder = item.status == kVKStatusSuccess && item.isFolder;
    target.url = urlOf(text, target.isFolder);
    return target;
}

// A folder whose name is only to be spelled in another way is there already where case is ignored.
bool isRespelling(CFURLRef source, CFURLRef target) {
    const QString from = textOf(source);
    const QString to = textOf(target);
    return from != to && from.compare(to, Qt::CaseInsensitive) == 0;
}

// The new URL; an empty one with a status.
struct Move {
    VKCFRef<CFURLRef> to;
    VKStatus status = kVKStatusSuccess;
};

Move moveUnderFreeName(CFURLRef source, CFURLRef wanted, bool isFolder, VKProgress* progress) {
    const QString text = VKQtPath(textOf(wanted), isFolder).filename();
    const auto name = VKCFRef<CFStringRef>::adopt(CFStringCreateWithQString(text));
    Move move;
    move.status = EEXIST;
    for (int tries = 0; move.status == EEXIST && tries < kNameTries; ++tries) {
        move.to = VKCFRef<CFURLRef>::adopt(
            VKFileMgrCreateUniquePathName(wanted, name.get(), !isFolder, CFSTR("copy"), 1));
        if (!move.to) {
            break;
        }
        move.status = VKFileMgrMoveFileWithProgress(source, move.to.get(), progress);
    }
    return move;
}

Move moved(const QString& text, const Target& target, bool unique, VKProgress* progress) {
    const ItemFacts item = askDisk(text);
    if (item.status != kVKStatusSuccess) {
        return {{}, item.status};
    }
    const bool isFolder = item.isFolder && !item.isLink;
    const auto source = urlOf(text, isFolder);
    Move move;
    move.to = target.isFolder && !isRespelling(source.get(), target.url.get())
                  ? urlInFolder(target.url.get(), nameIn(bytesOf(source.get())), isFolder)
                  : target.url;
    if (!move.to) {
        return {{}, kVKStatusNotConvertible};
    }
    move.status = VKFileMgrMoveFileWithProgress(source.get(), move.to.get(), progress);
    if (move.status == EEXIST && unique) {
        return moveUnderFreeName(source.get(), move.to.get(), isFolder, progress);
    }
    return move;
}

// What stands in the way, in the words of the command line.
QString takenName(const Target& target, CFURLRef to) {
    if (CFEqual(to, target.url.get())) {
        return target.text;
    }
    return target.text + (target.text.endsWith(u'/') ? QString() : u"/"_s) + decodeBytes(nameIn(bytesOf(to)));
}

int run(Invocation& invocation) {
    QStringList sources = invocation.arguments();
    if (sources.size() < 2) {
        return invocation.usageError(u"it needs a SOURCE and a TARGET"_s);
    }
    const Target target = targetOf(sources.takeLast());
    if (target.text.isEmpty()) {
        invocation.fail(target.text, kVKStatusNotConvertible);
        return invocation.exitStatus();
    }
    if (sources.size() > 1 && !target.isFolder) {
        return invocation.usageError(u"several items need a folder that is there as the TARGET"_s);
    }
    Interruptible interruptible(!invocation.isOn(u"json"_s));
    Results results(invocation);
    for (const QString& text : sources) {
        const Move move = interruptible.isCancelled()
                              ? Move{{}, kVKStatusCancelled}
                              : moved(text, target, invocation.isOn(u"unique"_s), interruptible.progress());
        interruptible.clearBar();
        const bool done = move.status == kVKStatusSuccess;
        const QString to = done ? textOf(move.to.get()) : QString();
        if (move.status == EEXIST) {
            invocation.fail(move.to ? takenName(target, move.to.get()) : target.text, move.status);
        } else if (!done) {
            invocation.fail(text, move.status);
        }
        results.add({{u"from"_s, absolutePath(text, false).path()},
                     {u"to"_s, done ? QJsonValue(to) : QJsonValue(QJsonValue::Null)},
                     {u"moved"_s, done},
                     {u"error"_s, errorMember(move.status)}});
        if (done) {
            results.say(shown(text) + u" -> "_s + shown(to));
        }
    }
    return invocation.exitStatus();
}

const Registration kRegistration({
    .name = u"mv"_s,
    .summary = u"move or rename files and folders"_s,
    .description =
        u"Gives each SOURCE the place TARGET: into it when it is a folder that is there, otherwise under "
        u"that "
        "name. Nothing is ever overwritten.\n\n"
        "Inside a file system this is one step. To another one the item is copied with everything that "
        "belongs "
        "to it, put on the disk, and only then deleted at its old place; a terminal shows a bar meanwhile. "
        "Ctrl-C while it copies leaves the "
        "source as it was and nothing at the target.\n\n"
        "A name can be changed in case only, also where the file system ignores case."_s,
    .arguments = {{.name = u"SOURCE"_s, .count = ArgumentSpec::AtLeastOne, .takes = Takes::Path},
                  {.name = u"TARGET"_s, .count = ArgumentSpec::Any, .takes = Takes::Path}},
    .options =
        {
            {.name = u"unique"_s,
             .help = u"Where the name is taken, take \"name copy.ext\" or the next one that is free."_s},
            {.name = u"json"_s,
             .help = u"Write JSON for scripts: one array with an object for each SOURCE."_s},
        },
    .examples =
        {
            {u"vkqt mv IMG_0001.JPG Selected"_s, u"A photo into a folder."_s},
            {u"vkqt mv photo.jpg Photo.jpg"_s, u"Another case, on any file system."_s},
            {u"vkqt mv --unique /media/card/DCIM/*.JPG Pictures"_s,
             u"All photos of a card, each under a name of its own."_s},
        },
    .jsonKeys =
        {
            {u"from"_s, u"The canonical text of the source's path."_s},
            {u"to"_s, u"Where it is now; null when it was not moved."_s},
            {u"moved"_s, u"Whether it was moved."_s},
            {u"error"_s, u"Why it was not; null when it was."_s},
        },
    .run = &run,
});

} // namespace
