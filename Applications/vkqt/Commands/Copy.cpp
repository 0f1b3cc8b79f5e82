// vkqt cp: copies a file or a folder, with a bar while it lasts; Ctrl-C ends it and leaves nothing.
#include "CommandLine.h"
#include "Interruption.h"
#include "Items.h"
#include "ProgressBar.h"
#include "Results.h"
#include "Text.h"

#include <CoreFoundation/CFQt.h>
#include <VKCoreKit/VKCoreKit.h>
#include <VKQtPathUtils.h>

#include <QElapsedTimer>
#include <QJsonObject>
#include <QRandomGenerator>

#include <cerrno>
#include <filesystem>
#include <memory>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;
namespace fs = std::filesystem;

/// One copy and what is known about it.
class Copying {
public:
    Copying(bool wantsBar, bool merges)
        : mProgress(VKProgressCreate(&Copying::observe, this)), mBar(wantsBar), mMerges(merges) {
        VKProgressSetByteObserver(mProgress.get(), &Copying::observeBytes, this);
    }

    [[nodiscard]] VKStatus run(VKQtPath& from, VKQtPath& to) {
        const Interruption interruption(mProgress.get());
        const VKStatus status = !from.isFolder() ? copyFile(from, to)
                                : mMerges        ? VKQtPathUtils::copyRecursive(from, to, mProgress.get())
                                                 : copyFolder(from, to);
        mBar.clear();
        return status;
    }

    int folders = 0;
    int files = 0;
    std::uint64_t bytes = 0;
    QString left; ///< the hidden folder, when its name could not be given to it and it could not be removed

private:
    VKStatus copyFile(const VKQtPath& from, const VKQtPath& to) {
        const auto fromUrl = VKCFRef<CFURLRef>::adopt(from.createCFUrl());
        const auto toUrl = VKCFRef<CFURLRef>::adopt(to.createCFUrl());
        const VKStatus status = VKFileMgrCopyFileWithProgress(fromUrl.get(), toUrl.get(), mProgress.get());
        files = status == kVKStatusSuccess ? 1 : 0;
        return status;
    }

    /// Into a folder of its own, which becomes `to` when it is whole: the clean-up deletes nothing that another
    /// program has put there meanwhile.
    VKStatus copyFolder(VKQtPath& from, const VKQtPath& to) {
        const QString name = u".vkqt-"_s + QString::number(QRandomGenerator64::system()->generate(), 36);
        VKQtPath whole = to.pathOnly();
        whole.setPath(VKQtPathUtils::createCopyAppendingQTNormalizePathComponent(whole.path(), name), true);
        VKStatus status = VKQtPathUtils::copyRecursive(from, whole, mProgress.get());
        if (status == kVKStatusSuccess) {
            status = whole.move(to);
            if (status != kVKStatusSuccess && whole.remove() != kVKStatusSuccess) {
                left = whole.path();
            }
        }
        return status;
    }

    static void observe(const VKProgressState& state, void* context) {
        constexpr int kFolderStage = 1;
        constexpr int kFileStage = 2;
        auto* const self = static_cast<Copying*>(context);
        if (state.stage == kFolderStage) {
            self->folders = state.step + 1;
        } else if (state.stage == kFileStage) {
            self->files = state.step + 1;
        }
    }
    static void observeBytes(const VKProgressBytes& now, void* context) {
        auto* const self = static_cast<Copying*>(context);
        self->bytes = now.done;
        self->mBar.show(now.done, now.total);
    }

    VKOwnedProgress mProgress;
    ProgressBar mBar;
    bool mMerges;
};

/// Whether `item` is `folder` or lies in it, links resolved; neither needs to exist.
bool isWithin(const QByteArray& item, const QByteArray& folder) {
    std::error_code error;
    fs::path at = fs::weakly_canonical(item.toStdString(), error);
    for (; !error && !at.empty(); at = at.parent_path()) {
        std::error_code notThere;
        if (fs::equivalent(at, folder.toStdString(), notThere)) {
            return true;
        }
        if (at == at.parent_path()) {
            break;
        }
    }
    return false;
}

/// Why a copy would surprise; empty when it would not. The library does as it is told: it cleans up by deleting
/// the destination, whatever that was before.
QString refusal(const VKQtPath& from, const VKQtPath& to) {
    const QByteArray source = bytesOnDisk(from);
    const QByteArray target = bytesOnDisk(to);
    // Paths are compared without case, also where the disk keeps cases apart: so does the library.
    if (from.isFolder() && (from == to || isWithin(target, source))) {
        return u"the destination is the source or lies inside it"_s;
    }
    if (isWithin(source, target)) {
        return u"the source is the destination or lies inside it"_s;
    }
    return QString();
}

QString sentence(const VKQtPath& to, const Copying& copying, qint64 milliseconds) {
    return counted(copying.files, u"file"_s, u"files"_s) + u", "_s +
           humanSize(static_cast<qint64>(copying.bytes)) + u", to "_s + shown(to.path()) + u" in "_s +
           QString::number(static_cast<double>(milliseconds) / 1000, 'f', 1) + u" s"_s;
}

/// Whether something is in the way: a folder is not when its content is to be merged.
bool isTaken(const Invocation& invocation, const VKQtPath& to) {
    const ItemFacts target = askDisk(to.path());
    const bool mayMerge = invocation.isOn(u"merge"_s) && to.isFolder() && target.isFolder && !target.isLink;
    return target.status == kVKStatusSuccess && !mayMerge;
}

void tellFailure(Invocation& invocation, const QString& subject, VKStatus status) {
    invocation.fail(subject, status);
    if (status == kVKStatusCancelled) {
        complain(u" cp: nothing is left of the copy"_s);
    }
}

int run(Invocation& invocation) {
    const QString fromText = absolutePath(invocation.arguments().at(0), false).path();
    const ItemFacts source = askDisk(fromText);
    // A link is copied as a link, also one to a folder.
    const bool isFolder = source.isFolder && !source.isLink;
    VKQtPath from(fromText, isFolder);
    VKQtPath to = absolutePath(invocation.arguments().at(1), isFolder);
    VKStatus status = source.status;
    if (status == kVKStatusSuccess && to.path().isEmpty()) {
        status = kVKStatusNotConvertible;
    } else if (status == kVKStatusSuccess) {
        if (const QString reason = refusal(from, to); !reason.isEmpty()) {
            return invocation.usageError(reason);
        }
        status = isTaken(invocation, to) ? VKStatus(EEXIST) : kVKStatusSuccess;
    }
    Copying copying(invocation.isOn(u"progress"_s), invocation.isOn(u"merge"_s));
    QElapsedTimer timer;
    timer.start();
    if (status == kVKStatusSuccess) {
        status = copying.run(from, to);
    }
    if (status != kVKStatusSuccess) {
        tellFailure(invocation, invocation.arguments().at(source.status == kVKStatusSuccess ? 1 : 0), status);
    }
    if (!copying.left.isEmpty()) {
        complain(u" cp: the copy is left in "_s + copying.left);
    }
    Results results(invocation);
    results.add({{u"from"_s, from.path()},
                 {u"to"_s, to.path()},
                 {u"folder"_s, isFolder},
                 {u"copied"_s, status == kVKStatusSuccess},
                 {u"folders"_s, copying.folders},
                 {u"files"_s, copying.files},
                 {u"bytes"_s, static_cast<qint64>(copying.bytes)},
                 {u"error"_s, errorMember(status)}});
    if (status == kVKStatusSuccess) {
        results.say(sentence(to, copying, timer.elapsed()));
    }
    return invocation.exitStatus();
}

const Registration kRegistration({
    .name = u"cp"_s,
    .summary = u"copy a file or a folder with everything in it"_s,
    .description =
        u"Copies FROM to TO, which must not exist. Content, times, modes, access lists and attributes are "
        u"kept; links are copied as links. Of a folder's tree hidden entries, fifos, sockets and devices are "
        u"left out. A folder appears as TO when all of it is copied; until then it is a hidden one beside "
        u"TO, "
        u"\".vkqt-...\".\n\n"
        u"While it copies, a bar on a terminal shows how far it has come. Ctrl-C ends the copy. A copy that "
        u"ends early leaves nothing behind.\n\n"
        u"A copy of something onto itself, of a folder into itself, and over something that exists, is "
        u"refused."_s,
    .arguments = {{.name = u"FROM"_s, .takes = Takes::Path}, {.name = u"TO"_s, .takes = Takes::Path}},
    .options =
        {
            {.name = u"merge"_s,
             .help =
                 u"Copy what is in a folder into a folder TO that exists. No file in it is overwritten, but "
                 u"a copy that fails or is cancelled deletes TO with everything in it."_s},
            {.name = u"progress"_s,
             .form = OptionSpec::OnOff,
             .initially = true,
             .help = u"Show the bar on standard error when that is a terminal."_s},
            {.name = u"json"_s, .help = u"Write what was done as a JSON array with one object."_s},
        },
    .examples =
        {
            {u"vkqt cp ~/Pictures/2026 /media/backup/2026"_s, u"Copy a year of photos to another disk."_s},
            {u"vkqt cp --json IMG_1.NEF \"IMG_1 copy.NEF\""_s, u"Copy one file, for a script."_s},
        },
    .jsonKeys =
        {
            {u"from"_s, u"the path of the source"_s},
            {u"to"_s, u"the path of the copy"_s},
            {u"folder"_s, u"whether it is a folder"_s},
            {u"copied"_s, u"whether the copy is there, whole"_s},
            {u"folders"_s, u"how many folders were made inside it"_s},
            {u"files"_s, u"how many files and links were copied"_s},
            {u"bytes"_s, u"how many bytes of content were copied"_s},
            {u"error"_s, u"why there is no copy, or null"_s},
        },
    .run = &run,
});

} // namespace
