// vkqt restore: takes items out of the recycle bin.
#include "CommandLine.h"
#include "Items.h"
#include "RecycledItems.h"
#include "Text.h"

#include <VKCoreKit/VKFileMgr.h>

#include <algorithm>
#include <cerrno>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

// The sentence for what a person can do something about; empty for the others.
QString sentenceFor(VKStatus status, const QString& place) {
    switch (status) {
    case EEXIST:
        return shown(place) + u": something is there already; --to names another place"_s;
    case kVKStatusNotUnderstood:
        return u"where it came from is not known; --to names a place"_s;
    case EXDEV:
        return shown(place) + u": on another volume than the bin; restore it and move it then"_s;
    default:
        return {};
    }
}

class Restorer {
public:
    explicit Restorer(Invocation& invocation) : mInvocation(invocation) {}

    int run();

private:
    void restore(const QString& text);
    void refuse(const QString& sentence);

    Invocation& mInvocation;
    std::vector<RecycledItem> mItems;
    VKQtPath mTarget;
    QString mHere = workingFolder();
    qint64 mCount = 0;
    int mExitStatus = kExitFine;
};

void Restorer::refuse(const QString& sentence) {
    complain(u" restore: "_s + sentence);
    mExitStatus = kExitFailed;
}

void Restorer::restore(const QString& text) {
    const QString absolute = text.isEmpty() ? QString() : absoluteText(text, mHere);
    const RecycledItem* const item = findRecycled(mItems, absolute);
    if (item == nullptr) {
        refuse((text.isEmpty() ? u"\"\""_s : shown(absolute)) + u": not in the recycle bin"_s);
        return;
    }
    const VKQtPath place = mTarget.path().isEmpty() ? item->original : mTarget;
    const auto target =
        mTarget.path().isEmpty() ? VKCFRef<CFURLRef>() : VKCFRef<CFURLRef>::adopt(mTarget.createCFUrl());
    const VKStatus status = VKFileMgrRestoreRecycledItem(item->url.get(), target.get());
    if (const QString sentence = sentenceFor(status, place.path()); !sentence.isEmpty()) {
        refuse(sentence);
    } else if (status != 0) {
        mInvocation.fail(absolute, status);
    } else {
        if (mInvocation.isOn(u"json"_s)) {
            mInvocation.output().writeBytes(jsonArrayItem({{u"path"_s, place.path()},
                                                           {u"recycled"_s, item->path.path()},
                                                           {u"folder"_s, item->path.isFolder()}},
                                                          mCount == 0));
        }
        ++mCount;
        mItems.erase(mItems.begin() + (item - mItems.data()));
    }
}

int Restorer::run() {
    const bool json = mInvocation.isOn(u"json"_s);
    const QStringList texts = mInvocation.arguments();
    const QStringList targets = mInvocation.values(u"to"_s);
    if (!targets.isEmpty()) {
        if (texts.size() > 1) {
            return mInvocation.usageError(u"--to takes one ITEM"_s);
        }
        if (targets.last().isEmpty()) {
            return mInvocation.usageError(u"--to needs a place"_s);
        }
        mTarget = VKQtPath(absoluteText(targets.last(), mHere), false);
    }
    if (const VKStatus status = recycledItems(VKQtPath(), mItems); status != 0) {
        mInvocation.fail(u"recycle bin"_s, status);
    }
    Output& output = mInvocation.output();
    if (json) {
        output.writeBytes(jsonArrayStart());
    }
    for (const QString& text : texts) {
        restore(text);
    }
    if (json) {
        output.writeBytes(jsonArrayEnd(mCount == 0));
    } else if (mCount > 0) {
        output.write(counted(mCount, u"item is"_s, u"items are"_s) + u" back\n"_s);
    }
    return std::max(mExitStatus, mInvocation.exitStatus());
}

int run(Invocation& invocation) { return Restorer(invocation).run(); }

const Registration kRegistration({
    .name = u"restore"_s,
    .summary = u"take items out of the recycle bin"_s,
    .description =
        u"Takes each ITEM out of the recycle bin and puts it back where it was. An ITEM is the place that it "
        "came from, or its path in the bin, as \"vkqt trashed\" shows them; of several items from one place "
        "the newest is taken. Folders that are missing by now are made. What is at the place is never "
        "overwritten."_s,
    .arguments = {{.name = u"ITEM"_s, .count = ArgumentSpec::AtLeastOne, .takes = Takes::Path}},
    .options =
        {
            {.name = u"to"_s,
             .form = OptionSpec::Value,
             .valueName = u"PLACE"_s,
             .help = u"Restore one ITEM under this path instead, on the same volume."_s},
            {.name = u"json"_s,
             .help = u"Write JSON for scripts: one array with an object for each restored item."_s},
        },
    .examples =
        {
            {u"vkqt restore IMG_0001.JPG"_s, u"The photo that was here."_s},
            {u"vkqt restore --to IMG_0001-old.JPG IMG_0001.JPG"_s, u"The same beside a new one."_s},
        },
    .jsonKeys =
        {
            {u"path"_s, u"Where the item is now."_s},
            {u"recycled"_s, u"Where it was in the bin."_s},
            {u"folder"_s, u"Whether it is a folder."_s},
        },
    .run = &run,
});

} // namespace
