// vkqt folders: where the user's and the suite's folders lie.
#include "Items.h"
#include "Results.h"
#include "Table.h"
#include "Text.h"

#include <VKCoreKit/VKFileMgr.h>
#include <VKCoreKit/VKProduct.h>
#include <VKQtPathUtils.h>

#include <cerrno>
#include <vector>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

// What can be asked for: its name on the command line, what it is, and how it is found; an empty path is none.
struct Folder {
    QString name;
    QString meaning;
    VKQtPath (*find)();
};

VKQtPath folderAt(const QString& text) { return VKQtPath(text, true); }

VKQtPath wellKnown(VKFolderType type) {
    QString text;
    return VKQtPathUtils::getFolderPath(nullptr, type, QString(), text) == kVKStatusSuccess ? folderAt(text)
                                                                                            : VKQtPath();
}

const std::vector<Folder>& folders() {
    static const std::vector<Folder> sFolders = {
        {u"home"_s, u"the user's home folder"_s, [] { return VKQtPathUtils::homePath(); }},
        {u"desktop"_s, u"the user's desktop"_s, [] { return VKQtPathUtils::desktopPath(); }},
        {u"pictures"_s, u"the user's pictures"_s, [] { return VKQtPathUtils::picturesPath(); }},
        {u"data"_s, u"application data of the suite"_s,
         [] { return folderAt(VKQtPathUtils::getUserAppDataPath()); }},
        {u"product"_s, u"application data of Kestrel"_s,
         [] { return folderAt(VKQtPathUtils::getUserAppDataPathForProduct(kVKProductKestrel)); }},
        {u"common"_s, u"Kestrel's common folder"_s,
         [] { return folderAt(VKQtPathUtils::getCommonFolderPath(true)); }},
        {u"extras"_s, u"Kestrel's extras"_s,
         [] { return folderAt(VKQtPathUtils::getExtrasFolderPath(true)); }},
        {u"shared"_s, u"Kestrel's data for all users"_s,
         [] { return folderAt(VKQtPathUtils::getSystemDataPathForProduct(kVKProductKestrel)); }},
        {u"caches"_s, u"caches of the suite"_s, [] { return wellKnown(kVKFolderUserCaches); }},
        {u"temporary"_s, u"temporary items"_s, [] { return wellKnown(kVKFolderTemporaryItems); }},
        {u"work"_s, u"where raw work is done"_s, [] { return wellKnown(kVKFolderRawWork); }},
        {u"cloud"_s, u"Kestrel's documents in the cloud"_s,
         [] { return wellKnown(kVKFolderCloudDocuments); }},
    };
    return sFolders;
}

QStringList folderNames() {
    QStringList names;
    for (const Folder& folder : folders()) {
        names << folder.name;
    }
    return names;
}

QJsonObject toJson(const Folder& folder, const VKQtPath& path) {
    const bool known = !path.path().isEmpty();
    return {{u"name"_s, folder.name},
            {u"path"_s, known ? QJsonValue(path.path()) : QJsonValue(QJsonValue::Null)},
            {u"label"_s, known ? QJsonValue(path.filename()) : QJsonValue(QJsonValue::Null)},
            {u"exists"_s, known && path.exists()}};
}

// For other programs: the bytes on disk.
void writePath(Invocation& invocation, const Folder& folder, const VKQtPath& path) {
    if (path.path().isEmpty()) {
        invocation.fail(folder.name, ENOENT);
    } else {
        invocation.output().writeBytes(bytesOnDisk(path).append('\n'));
    }
}

void addRow(Table& table, const Folder& folder, const VKQtPath& path) {
    const bool known = !path.path().isEmpty();
    const bool there = known && path.exists();
    Table::Cell place = {.text = known ? shown(path.path()) : u"-"_s};
    if (!there) {
        place.style = Style::Quiet;
        place.after = known ? u" (not there)"_s : QString();
    }
    table.addRow({{.text = folder.name}, {.text = folder.meaning}, place});
}

int run(Invocation& invocation) {
    const QStringList asked = invocation.arguments();
    Table table;
    table.addColumn(u"Name"_s, Table::Left);
    table.addColumn(u"What it is"_s, Table::Left);
    table.addColumn(u"Where"_s, Table::Left);
    {
        Results results(invocation);
        for (const Folder& folder : folders()) {
            if (!asked.isEmpty() && !asked.contains(folder.name)) {
                continue;
            }
            const VKQtPath path = folder.find();
            results.add(toJson(folder, path));
            if (!results.isJson()) {
                asked.isEmpty() ? addRow(table, folder, path) : writePath(invocation, folder, path);
            }
        }
    }
    if (!table.isEmpty()) {
        table.write(invocation.output());
    }
    return invocation.exitStatus();
}

const Registration kRegistration({
    .name = u"folders"_s,
    .summary = u"show where things are kept"_s,
    .description =
        u"Shows the user's folders and those that the suite keeps its data in, or the bare path of each "
        u"NAME.\n\n"
        "Desktop and pictures are where the desktop's settings have them, whatever they are called there. "
        "The "
        "suite's folders of this user are made when they are missing, because whoever asks for them writes there."_s,
    .arguments =
        {{.name = u"NAME"_s, .count = ArgumentSpec::Any, .takes = Takes::Choice, .choices = folderNames()}},
    .options = {{.name = u"json"_s,
                 .help = u"Write JSON for scripts: one array with an object for each folder."_s}},
    .examples =
        {
            {u"vkqt folders"_s, u"All of them."_s},
            {u"cd \"$(vkqt folders pictures)\""_s, u"To the pictures."_s},
            {u"vkqt folders --json | jq -r '.[] | select(.exists) | .path'"_s, u"Those that are there."_s},
        },
    .jsonKeys =
        {
            {u"name"_s, u"What the folder is asked for by."_s},
            {u"path"_s, u"Its path; null when this machine has no such folder or it cannot be made."_s},
            {u"label"_s, u"The name of the folder on disk, for people; null without a path."_s},
            {u"exists"_s, u"Whether it is there."_s},
        },
    .run = &run,
});

} // namespace
