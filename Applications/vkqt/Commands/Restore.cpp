// vkqt restore: takes items out of the recycle bin.
#include "CommandLine.h"
#include "Items.h"
#include "RecycledItems.h"
#include "Text.h"

#include <VKCoreKit/VKFileMgr.h>

#include <cerrno>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

// With what a person can do about it.
QString reasonFor(VKStatus status) {
    switch (status) {
    case EEXIST:
        return u"something is there already; --to names another place"_s;
    case kVKStatusNotUnderstood:
        return u"where it came from is not known; --to names a place"_s;
    case EXDEV:
        return u"on another volume than the bin; restore it and move it then"_s;
    default:
        return reasonOf(status);
    }
}

class Restorer {
public:
    explicit Restorer(Invocation& invocation) : mInvocation(invocation) {}

    int run();

private:
    void restore(const QString& text);

    Invocation& mInvocation;
    std::vector<RecycledItem> mItems;
    VKQtPath mTarget; ///< of --to
    QString mTo;      ///< the same as it was given
    QString mHere = workingFolder();
    qint64 mCount = 0;
};

void Restorer::restore(const QString& text) {
    const QString absolute = text.isEmpty() ? QString() : absoluteText(text, mHere);
    const RecycledItem* const item = findRecycled(mItems, absolute);
    if (item == nullptr) {
        mInvocation.fail(text, u"not in the recycle bin"_s);
        return;
    }
    const VKQtPath place = mTarget.path().isEmpty() ? item->original : mTarget;
    const auto target =
        mTarget.path().isEmpty() ? VKCFRef<CFURLRef>() : VKCFRef<CFURLRef>::adopt(mTarget.createCFUrl());
    const VKStatus status = VKFileMgrRestoreRecycledItem(item->url.get(), target.get());
    if (status != 0) {
        // The place it came from stands on no command line when the item was named by its path in the bin.
        const bool isAtPlace = status == EEXIST || status == EXDEV;
        mInvocation.fail(isAtPlace ? mTarget.path().isEmpty() ? place.path() : mTo : text, reasonFor(status));
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
        mTo = targets.last();
        mTarget = VKQtPath(absoluteText(mTo, mHere), false);
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
    return mInvocation.exitStatus();
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
