// vkqt tour: every service once, on real input, in a folder of its own; ends with a summary of what ran.
#include "Tour.h"
#include "CommandLine.h"
#include "Interruption.h"
#include "Table.h"
#include "Text.h"
#include "TourAccount.h"

#include <VKQtTemporaryDir.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonObject>
#include <QProcess>

#include <algorithm>
#include <memory>
#include <utility>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

// A program that is built beside the tool; empty where there is none, as beside an installed tool.
QString helperProgram(const QString& name) {
    const QString program = QCoreApplication::applicationDirPath() + u'/' + name;
    return QFileInfo(program).isExecutable() ? program : QString();
}

// The pictures that the tour works on: a copy of the given folder, or a few that are painted. False when there are none.
bool makePictures(Tour& tour, const QString& given) {
    if (!given.isEmpty()) {
        tour.begin(u"pictures"_s, u"A copy of your pictures"_s);
        tour.show({u"cp"_s, given, u"Holiday"_s});
    } else {
        tour.begin(u"pictures"_s, u"A folder of real pictures"_s);
        const auto maker = tour.start(helperProgram(u"samplephotos"_s), {u"Holiday"_s});
        tour.expect(maker->waitForFinished() && maker->exitCode() == 0, u"the pictures could not be made"_s);
    }
    return QFileInfo(tour.folder() + u"/Holiday"_s).isDir();
}

QStringList picturesIn(const QString& folder) {
    return QDir(folder).entryList({u"*.jpg"_s, u"*.jpeg"_s, u"*.png"_s, u"*.nef"_s, u"*.tif"_s}, QDir::Files,
                                  QDir::Name | QDir::IgnoreCase);
}

void showListing(Tour& tour, const QString& picture) {
    tour.begin(u"paths and listing"_s, u"Listing folders: what is a photo, its size, its dates"_s);
    tour.show({u"ls"_s, u"Holiday"_s});
    tour.show({u"ls"_s, u"--recursive"_s, u"--hidden"_s, u"--all"_s, u"--sort"_s, u"size"_s, u"--reverse"_s,
               u"Holiday"_s});
    tour.show({u"ls"_s, u"--ext"_s, u"png"_s, u"--no-folders"_s, u"--json"_s, u"Holiday"_s});
    tour.show({u"path"_s, u"Holiday/"_s + picture});
    tour.show({u"path"_s, u"C:\\Photos\\2024\\IMG_0001.NEF"_s});
}

void showCopying(Tour& tour, const QString& picture) {
    tour.begin(u"copying and moving"_s,
               u"Copying: with dates, modes and attributes, and nothing is ever overwritten"_s);
    tour.show({u"cp"_s, u"Holiday"_s, u"Backup"_s});
    tour.show({u"ls"_s, u"--recursive"_s, u"Backup"_s});
    tour.show({u"unique"_s, u"Holiday/"_s + picture});
    tour.show({u"mkdir"_s, u"Selects"_s});
    tour.show({u"mv"_s, u"Backup/"_s + picture, u"Selects/First evening"_s});
    tour.show({u"stat"_s, u"Selects/First evening"_s});
    tour.show({u"rm"_s, u"Selects/First evening"_s});
    tour.show({u"free"_s});
}

bool makeMany(const QString& folder) {
    constexpr int kFiles = 10'000;
    const QByteArray content(8192, 'p');
    bool fine = QDir().mkpath(folder);
    for (int i = 0; fine && i < kFiles; ++i) {
        QFile file(folder + u"/photo-"_s + QString::number(i));
        fine = file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
    }
    return fine;
}

void showInterruptedCopy(Tour& tour) {
    tour.begin(u"an interrupted copy"_s,
               u"A copy of 10,000 files that is ended half way, as by Ctrl-C, leaves nothing behind"_s);
    // Until it is whole the copy has a hidden name.
    const auto begun = [&tour] {
        const auto kinds = QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot;
        return !QDir(tour.folder()).entryList({u"Copy"_s, u".vkqt-*"_s}, kinds).isEmpty();
    };
    if (!makeMany(tour.folder() + u"/Many"_s)) {
        tour.expect(false, u"10,000 small files could not be made"_s);
        return;
    }
    const auto copying = tour.start(Tour::toolProgram(), {u"cp"_s, u"Many"_s, u"Copy"_s});
    while (!begun() && !copying->waitForFinished(1) && !tour.isCancelled()) {
    }
    copying->terminate();
    copying->waitForFinished();
    const bool wasFaster = copying->exitStatus() == QProcess::NormalExit && copying->exitCode() == 0;
    tour.say(wasFaster ? u"This machine was faster than that: the copy was done."_s
                       : u"There is no folder \"Copy\"."_s);
    tour.expect(wasFaster || !begun(), u"the interrupted copy left something"_s);
}

void showRecycling(Tour& tour, const QString& picture) {
    tour.begin(u"recycling"_s, u"Recycling and restoring, in the desktop's own recycle bin"_s);
    tour.show({u"trash"_s, u"Holiday/"_s + picture});
    tour.show({u"trashed"_s});
    tour.show({u"restore"_s, tour.folder() + u"/Holiday/"_s + picture});
    tour.expect(QFileInfo::exists(tour.folder() + u"/Holiday/"_s + picture),
                u"the picture did not come back"_s);
}

void showBookmarks(Tour& tour, const QString& picture) {
    tour.begin(u"bookmarks"_s, u"A bookmark finds its folder again after it was renamed"_s);
    tour.show({u"bookmark"_s, u"create"_s, u"bookmarks.plist"_s, u"Holiday"_s, u"Holiday/"_s + picture});
    tour.show({u"mv"_s, u"Holiday"_s, u"Summer 2024"_s});
    tour.show({u"bookmark"_s, u"resolve"_s, u"bookmarks.plist"_s});
    tour.show({u"mv"_s, u"Summer 2024"_s, u"Holiday"_s});
}

void showPlaces(Tour& tour) {
    tour.begin(u"folders and volumes"_s, u"Where things are kept, and the volumes of this machine"_s);
    tour.show({u"folders"_s});
    tour.show({u"volumes"_s});
}

void showSettings(Tour& tour) {
    tour.begin(u"settings"_s,
               u"Settings of an example product: defaults, a change, the file that it makes"_s);
    tour.show({u"config"_s, u"list"_s});
    tour.show({u"config"_s, u"set"_s, u"core_image_utils"_s, u"core_scaling_passes"_s, u"best"_s});
    tour.show({u"config"_s, u"list"_s, u"--changed"_s});
    tour.show({u"config"_s, u"check"_s});
    const QString file = QString::fromUtf8(tour.ask({u"config"_s, u"path"_s}).out).trimmed();
    tour.expect(QFileInfo::exists(file), u"the settings were not saved"_s);
}

void showMachine(Tour& tour) {
    tour.begin(u"machine and graphics"_s, u"What machine this is, and what its graphics can do"_s);
    tour.show({u"system"_s});
    // A machine without a display has no OpenGL context: the command says so and ends with 1.
    tour.show({u"graphics"_s}, {kExitFine, kExitFailed});
}

void showNetwork(Tour& tour) {
    tour.begin(u"network"_s, u"Whether the internet can be reached, by the routes of this moment"_s);
    tour.show({u"network"_s, u"status"_s});
}

void showTexts(Tour& tour) {
    tour.begin(u"dates and shortcuts"_s, u"Dates as the suite writes them, and its keyboard shortcuts"_s);
    tour.show({u"date"_s, u"Monday, January 5, 2015 10:20:30"_s});
    tour.show({u"shortcuts"_s, u"zoom"_s});
}

void showAll(Tour& tour, const QString& given) {
    if (!makePictures(tour, given)) {
        return;
    }
    const QStringList pictures = picturesIn(tour.folder() + u"/Holiday"_s);
    if (pictures.isEmpty()) {
        tour.expect(false, u"there is no picture to show things on"_s);
        return;
    }
    const QString& picture = pictures.front();
    showListing(tour, picture);
    showCopying(tour, picture);
    showInterruptedCopy(tour);
    showRecycling(tour, picture);
    showBookmarks(tour, picture);
    showPlaces(tour);
    showSettings(tour);
    showMachine(tour);
    showNetwork(tour);
    showTexts(tour);
    showAccount(tour, helperProgram(u"accountservice"_s));
}

QString outcomeOf(const Tour::Chapter& chapter) {
    if (!chapter.leftOut.isEmpty()) {
        return u"left out: "_s + chapter.leftOut;
    }
    return chapter.wrong == 0 ? u"as it should be"_s
                              : counted(chapter.wrong, u"thing went wrong"_s, u"things went wrong"_s);
}

void writeSummary(Output& output, const std::vector<Tour::Chapter>& chapters) {
    Table table;
    table.addColumn(u"Service"_s, Table::Left);
    table.addColumn(u"Commands"_s, Table::Right);
    table.addColumn(u"Seconds"_s, Table::Right);
    table.addColumn(u"Outcome"_s, Table::Left);
    for (const Tour::Chapter& chapter : chapters) {
        const Style style = !chapter.leftOut.isEmpty() ? Style::Quiet
                            : chapter.wrong == 0       ? Style::Good
                                                       : Style::Bad;
        table.addRow({{chapter.service},
                      {QString::number(chapter.commands)},
                      {QString::number(static_cast<double>(chapter.milliseconds) / 1000, 'f', 1)},
                      {shown(outcomeOf(chapter)), style}});
    }
    output.write(u'\n' + output.styled(Style::Heading, u"What ran"_s) + u'\n');
    table.write(output);
}

void writeJson(Output& output, const std::vector<Tour::Chapter>& chapters) {
    output.writeBytes(jsonArrayStart());
    bool first = true;
    for (const Tour::Chapter& chapter : chapters) {
        const QJsonObject object{
            {u"service"_s, chapter.service},
            {u"commands"_s, chapter.commands},
            {u"wrong"_s, chapter.wrong},
            {u"milliseconds"_s, chapter.milliseconds},
            {u"leftOut"_s, chapter.leftOut.isEmpty() ? QJsonValue() : QJsonValue(chapter.leftOut)},
        };
        output.writeBytes(jsonArrayItem(object, std::exchange(first, false)));
    }
    output.writeBytes(jsonArrayEnd(first));
}

int run(Invocation& invocation) {
    QString given;
    if (!invocation.arguments().isEmpty()) {
        given = absoluteText(invocation.arguments().front(), workingFolder());
    } else if (helperProgram(u"samplephotos"_s).isEmpty()) {
        return invocation.usageError(
            u"there is no program \"samplephotos\" to make pictures: name a FOLDER"_s);
    }
    const VKQtTemporaryDir folder;
    const VKOwnedProgress progress(VKProgressCreate(nullptr, nullptr));
    const Interruption interruption(progress.get());
    const bool json = invocation.isOn(u"json"_s);
    Tour tour(invocation, folder.getTemporaryPath().path(), json || invocation.isOn(u"brief"_s),
              progress.get());
    showAll(tour, given);
    const std::vector<Tour::Chapter>& chapters = tour.finish();
    if (tour.isCancelled()) {
        complain(u" tour: cancelled"_s);
        return kExitFailed;
    }
    if (json) {
        writeJson(invocation.output(), chapters);
    } else {
        writeSummary(invocation.output(), chapters);
    }
    const bool fine =
        std::all_of(chapters.begin(), chapters.end(), [](const auto& one) { return one.wrong == 0; });
    return fine ? kExitFine : kExitFailed;
}

const Registration kRegistration({
    .name = u"tour"_s,
    .summary = u"show every service once, on real pictures"_s,
    .description = u"Runs the commands of this tool one after another, shows each line and what it writes, "
                   u"and ends with a "
                   "summary of what ran.\n\nEverything happens in a temporary folder, on a few pictures that "
                   "are painted for "
                   "it or on a copy of FOLDER; application data, caches, settings and the recycle bin lie "
                   "there too. Nothing of "
                   "yours is changed, and nothing is left."_s,
    .arguments = {{.name = u"FOLDER"_s, .count = ArgumentSpec::Optional, .takes = Takes::Path}},
    .options = {{.name = u"brief"_s, .help = u"Write the summary only."_s},
                {.name = u"json"_s, .help = u"Write the summary only, as JSON."_s}},
    .examples = {{u"vkqt tour"_s, u"See what the library does."_s},
                 {u"vkqt tour --brief ~/Pictures/Trip"_s, u"Try it on pictures of your own."_s}},
    .jsonKeys = {{u"service"_s, u"what was shown"_s},
                 {u"commands"_s, u"how many commands ran"_s},
                 {u"wrong"_s, u"how many of them, or of their effects, were not as they should be"_s},
                 {u"milliseconds"_s, u"how long it took"_s},
                 {u"leftOut"_s, u"why this machine could not show it; null when it could"_s}},
    .run = &run,
});

} // namespace
