// vkqt volumes: what is mounted that a person calls a volume, and, watched, what comes and goes.
#include "CommandLine.h"
#include "EndBySignal.h"
#include "Table.h"
#include "Text.h"

#include <VKCoreKit/VKVolumes.h>
#include <VKQtPathUtils.h>
#include <VKQtVolumeMonitor.h>

#include <QCoreApplication>
#include <QJsonObject>

#include <cerrno>
#include <utility>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

QString kindOf(const VKVolume& volume) {
    if (volume.isSystem) {
        return u"system"_s;
    }
    if (volume.isNetwork) {
        return u"network"_s;
    }
    return volume.isRemovable ? u"removable"_s : u"disk"_s;
}

/// What is not so usual about it.
QString remarksOf(const VKVolume& volume) {
    QStringList words;
    if (!volume.isOnline) {
        words << u"offline"_s;
    }
    if (volume.isReadOnly) {
        words << u"read-only"_s;
    }
    if (volume.isRemovable && (volume.isSystem || volume.isNetwork)) {
        words << u"removable"_s;
    }
    return words.join(u", "_s);
}

QJsonObject toJson(const VKVolume& volume) {
    const auto orNull = [](bool known, const QJsonValue& value) { return known ? value : QJsonValue(); };
    return {
        {u"name"_s, volume.name},
        {u"path"_s, volume.place},
        {u"kind"_s, kindOf(volume)},
        {u"type"_s, volume.type},
        {u"source"_s, volume.source},
        {u"uuid"_s, orNull(!volume.uuid.isEmpty(), volume.uuid)},
        {u"total"_s, orNull(volume.isSpaceKnown, static_cast<qint64>(volume.totalBytes))},
        {u"free"_s, orNull(volume.isSpaceKnown, static_cast<qint64>(volume.freeBytes))},
        {u"removable"_s, volume.isRemovable},
        {u"network"_s, volume.isNetwork},
        {u"readOnly"_s, volume.isReadOnly},
        {u"online"_s, volume.isOnline},
    };
}

/// The volumes that the library offers, with all that is known about them. 0, or why there are none.
VKStatus offeredVolumes(std::vector<VKVolume>& offered) {
    std::vector<VKVolume> volumes;
    if (const VKStatus status = VKVolumesGetList(VKVolumeDetail::Everything, &volumes); status != 0) {
        return status;
    }
    const QStringList places = VKQtPathUtils::qPathListToStringList(VKQtPathUtils::getVolumes());
    for (VKVolume& volume : volumes) {
        if (places.contains(VKQtPath(volume.place, true).path())) {
            offered.push_back(std::move(volume));
        }
    }
    return 0;
}

void writeTable(const std::vector<VKVolume>& volumes, bool bytes, Output& output) {
    const auto size = [bytes](const VKVolume& volume, std::uint64_t number) -> QString {
        if (!volume.isSpaceKnown) {
            return u"-"_s;
        }
        return bytes ? QString::number(number) : humanSize(static_cast<qint64>(number));
    };
    Table table;
    table.addColumn(u"Name"_s, Table::Left);
    table.addColumn(u"Kind"_s, Table::Left);
    table.addColumn(u"Type"_s, Table::Left);
    table.addColumn(u"Free"_s, Table::Right);
    table.addColumn(u"Total"_s, Table::Right);
    table.addColumn(u"Place"_s, Table::Left);
    for (const VKVolume& volume : volumes) {
        const QString remarks = remarksOf(volume);
        table.addRow({
            {.text = shown(volume.name),
             .style = volume.isOnline ? std::nullopt : std::optional<Style>(Style::Bad)},
            {.text = kindOf(volume)},
            {.text = shown(volume.type)},
            {.text = size(volume, volume.freeBytes)},
            {.text = size(volume, volume.totalBytes)},
            {.text = shown(volume.place),
             .style = Style::Folder,
             .after = remarks.isEmpty() ? QString() : u"  "_s + remarks},
        });
    }
    table.write(output);
}

/// Tells of changes until a signal asks it to end, or nobody reads any more.
class Watcher {
public:
    explicit Watcher(Invocation& invocation)
        : mOutput(invocation.output()), mJson(invocation.isOn(u"json"_s)) {
        QObject::connect(&mMonitor, &VKQtVolumeMonitor::volumeAdded,
                         [this](const VKQtPath& volume) { tell(u"added"_s, volume); });
        QObject::connect(&mMonitor, &VKQtVolumeMonitor::volumeRemoved,
                         [this](const VKQtPath& volume) { tell(u"removed"_s, volume); });
    }

    [[nodiscard]] bool isWatching() const { return mMonitor.isWatching(); }

    void run() {
        if (mJson) {
            mOutput.writeBytes(jsonArrayStart());
        }
        for (const VKQtPath& volume : mMonitor.volumes()) {
            tell(u"present"_s, volume);
        }
        mOutput.flush();
        if (mOutput.isOpen()) {
            QCoreApplication::exec();
        }
        if (mJson) {
            mOutput.writeBytes(jsonArrayEnd(mFirst));
        }
    }

private:
    void tell(const QString& event, const VKQtPath& volume) {
        if (mJson) {
            const QJsonObject object = {{u"event"_s, event}, {u"path"_s, volume.path()}};
            mOutput.writeBytes(jsonArrayItem(object, mFirst));
        } else {
            const Style style = event == u"removed"_s ? Style::Bad : Style::Good;
            const QString word = event == u"present"_s ? padded(event, kEventCells)
                                                       : mOutput.styled(style, padded(event, kEventCells));
            mOutput.write(word + shown(volume.path()) + u'\n');
        }
        mFirst = false;
        mOutput.flush();
        if (!mOutput.isOpen()) {
            QCoreApplication::quit();
        }
    }

    static constexpr int kEventCells = 9;

    Output& mOutput;
    bool mJson;
    bool mFirst = true;
    VKQtVolumeMonitor mMonitor;
};

int watch(Invocation& invocation) {
    Watcher watcher(invocation);
    const EndBySignal end;
    if (!watcher.isWatching() || end.error() != 0) {
        const int error = end.error() != 0 ? end.error() : ENOTSUP;
        invocation.fail(u"the mount table"_s, static_cast<VKStatus>(error));
        return invocation.exitStatus();
    }
    watcher.run();
    return invocation.exitStatus();
}

int run(Invocation& invocation) {
    if (invocation.isOn(u"watch"_s)) {
        return invocation.isOn(u"bytes"_s)
                   ? invocation.usageError(u"--watch and --bytes exclude each other"_s)
                   : watch(invocation);
    }
    Output& output = invocation.output();
    std::vector<VKVolume> volumes;
    if (const VKStatus status = offeredVolumes(volumes); status != 0) {
        invocation.fail(u"the mount table"_s, status);
    } else if (!invocation.isOn(u"json"_s)) {
        writeTable(volumes, invocation.isOn(u"bytes"_s), output);
    }
    if (invocation.isOn(u"json"_s)) {
        output.writeBytes(jsonArrayStart());
        bool first = true;
        for (const VKVolume& volume : volumes) {
            output.writeBytes(jsonArrayItem(toJson(volume), first));
            first = false;
        }
        output.writeBytes(jsonArrayEnd(first));
    }
    return invocation.exitStatus();
}

const Registration kRegistration({
    .name = u"volumes"_s,
    .summary = u"list the volumes, or tell when they come and go"_s,
    .description = u"Shows what is mounted that a person calls a volume: disks, cards, shares. A share whose "
                   u"server does not "
                   "answer within half a second is shown as offline.\n\n"
                   "With --watch the volumes that are present are listed, then each one that is added or "
                   "removed, as the "
                   "system tells of it, until Ctrl-C."_s,
    .options =
        {
            {.name = u"watch"_s, .letter = u"w"_s, .help = u"Stay, and tell of each change."_s},
            {.name = u"bytes"_s, .help = u"Show exact sizes in bytes."_s},
            {.name = u"json"_s, .help = u"Write one JSON array, an object for each volume or event."_s},
        },
    .examples =
        {
            {u"vkqt volumes"_s, u"Every volume with its free space."_s},
            {u"vkqt volumes --watch"_s, u"Put in a card, and see it come."_s},
            {u"vkqt volumes --json | jq -r '.[] | select(.removable) | .path'"_s,
             u"Where the removable ones are."_s},
        },
    .jsonKeys =
        {
            {u"name"_s, u"that a person knows it by"_s},
            {u"path"_s, u"the folder where it is mounted"_s},
            {u"kind"_s, u"\"system\", \"network\", \"removable\" or \"disk\""_s},
            {u"type"_s, u"of the file system, as the system calls it"_s},
            {u"source"_s, u"the device or the share"_s},
            {u"uuid"_s, u"the file system's own identifier, or null"_s},
            {u"total"_s, u"its size in bytes, or null when that is not known"_s},
            {u"free"_s, u"bytes that you may still use, or null"_s},
            {u"removable"_s, u"whether it or its medium can be taken out"_s},
            {u"network"_s, u"whether its files come over a network"_s},
            {u"readOnly"_s, u"whether it is mounted read-only"_s},
            {u"online"_s, u"false when its server does not answer"_s},
            {u"event"_s, u"only with --watch, with path alone: \"present\", \"added\" or \"removed\""_s},
        },
    .run = &run,
});

} // namespace
