// vkqt stat: what the disk and the library say about an item.
#include "Items.h"
#include "Results.h"
#include "Text.h"

#include <VKCoreKit/VKFileMgr.h>
#include <VKQtPathUtils.h>

#include <sys/stat.h>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

struct Facts {
    VKQtPath path;
    ItemFacts item;
    bool isRecordKnown = false; // of what a link names
    struct stat record = {};
    bool isWritable = false;
    bool isWritableKnown = false;
    bool isRecyclable = false;
    QString sidecar; // empty when there is none
};

Facts factsOf(const QString& text) {
    Facts facts;
    facts.item = askDisk(absolutePath(text, false).path());
    facts.path = absolutePath(text, facts.item.isFolder && !facts.item.isLink);
    if (facts.item.status != kVKStatusSuccess) {
        return facts;
    }
    facts.isRecordKnown = facts.path.stat(facts.record) == kVKStatusSuccess;
    facts.isWritableKnown = facts.path.isWriteable(facts.isWritable) == kVKStatusSuccess;
    facts.isRecyclable = VKQtPathUtils::canRecycleItem(facts.path);
    VKQtPath sidecar;
    if (!facts.item.isFolder && VKQtPathUtils::hasSidecarFile(facts.path) &&
        VKQtPathUtils::makeSidecarFilePath(facts.path, sidecar) == kVKStatusSuccess) {
        facts.sidecar = sidecar.path();
    }
    return facts;
}

QString diskKind(const ItemFacts& item) {
    QString named = item.isFolder ? u"folder"_s : u"file"_s;
    if (!item.isLink) {
        return named;
    }
    return item.isDangling ? u"link to nothing"_s : u"link to a "_s + named;
}

// "rw-r-----", as ls -l has it.
QString permissions(unsigned mode) {
    QString text = u"rwxrwxrwx"_s;
    for (int bit = 0; bit < 9; ++bit) {
        if ((mode & (0400U >> bit)) == 0) {
            text[bit] = u'-';
        }
    }
    return text;
}

QJsonValue orNull(bool known, const QJsonValue& value) {
    return known ? value : QJsonValue(QJsonValue::Null);
}

QJsonObject toJson(const Facts& facts) {
    const bool there = facts.item.status == kVKStatusSuccess;
    const bool hasRecord = facts.isRecordKnown;
    return {
        {u"path"_s, facts.path.path()},
        {u"exists"_s, there},
        {u"kind"_s, orNull(there, kindOf(facts.path))},
        {u"folder"_s, orNull(there, facts.item.isFolder)},
        {u"link"_s, orNull(there, facts.item.isLink)},
        {u"dangling"_s, orNull(there, facts.item.isDangling)},
        {u"size"_s, orNull(there, facts.item.size)},
        {u"created"_s, isoUtc(facts.item.created)},
        {u"modified"_s, isoUtc(facts.item.modified)},
        {u"mode"_s,
         orNull(hasRecord, QString::number(facts.record.st_mode & 07777U, 8).rightJustified(4, u'0'))},
        {u"owner"_s, orNull(hasRecord, static_cast<qint64>(facts.record.st_uid))},
        {u"group"_s, orNull(hasRecord, static_cast<qint64>(facts.record.st_gid))},
        {u"names"_s, orNull(hasRecord, static_cast<qint64>(facts.record.st_nlink))},
        {u"writable"_s, orNull(there && facts.isWritableKnown, facts.isWritable)},
        {u"recyclable"_s, orNull(there, facts.isRecyclable)},
        {u"sidecar"_s, orNull(!facts.sidecar.isEmpty(), facts.sidecar)},
        {u"error"_s, errorMember(facts.item.status)},
    };
}

void writeForPeople(const Facts& facts, Output& output) {
    constexpr int kLabelWidth = 13;
    output.write(output.styled(Style::Heading, shown(facts.path.path())) + u'\n');
    const auto line = [&output](const QString& label, const QString& value) {
        output.write(u"  "_s + output.styled(Style::Quiet, padded(label, kLabelWidth)) + value + u'\n');
    };
    line(u"kind"_s, diskKind(facts.item));
    if (!facts.item.isFolder) {
        line(u"size"_s, humanSize(facts.item.size) + u" ("_s + groupedNumber(facts.item.size) + u" bytes)"_s);
    }
    line(u"modified"_s, localMinute(facts.item.modified));
    line(u"created"_s, localMinute(facts.item.created));
    if (facts.isRecordKnown) {
        line(u"permissions"_s, permissions(facts.record.st_mode) + u", owner "_s +
                                   QString::number(facts.record.st_uid) + u", group "_s +
                                   QString::number(facts.record.st_gid));
    }
    const QString place = facts.path.isFolder() ? u"in it"_s : u"beside it"_s;
    line(u"new items"_s, !facts.isWritableKnown ? u"-"_s
                         : facts.isWritable     ? u"can be made "_s + place
                                                : u"cannot be made "_s + place);
    line(u"recycle bin"_s, facts.isRecyclable ? u"would keep it"_s : u"none for it"_s);
    if (!facts.sidecar.isEmpty()) {
        line(u"sidecar"_s, shown(facts.sidecar));
    }
}

int run(Invocation& invocation) {
    Results results(invocation);
    bool first = true;
    for (const QString& text : invocation.arguments()) {
        const Facts facts = factsOf(text);
        results.add(toJson(facts));
        if (facts.item.status != kVKStatusSuccess) {
            invocation.fail(text, facts.item.status);
        } else if (!results.isJson()) {
            invocation.output().write(first ? QString() : u"\n"_s);
            writeForPeople(facts, invocation.output());
            first = false;
        }
    }
    return invocation.exitStatus();
}

const Registration kRegistration({
    .name = u"stat"_s,
    .summary = u"show what the disk says about an item"_s,
    .description =
        u"Shows of each PATH its kind, size, dates, permissions, whether new items can be made there, "
        "whether the recycle bin would keep it, and its sidecar file if there is one. Of a link, the "
        "size, dates and permissions are those of what it names."_s,
    .arguments = {{.name = u"PATH"_s, .count = ArgumentSpec::AtLeastOne, .takes = Takes::Path}},
    .options = {{.name = u"json"_s,
                 .help = u"Write JSON for scripts: one array with an object for each PATH."_s}},
    .examples = {{u"vkqt stat IMG_0001.CR2"_s, u"Everything about one photo's file."_s},
                 {u"vkqt stat --json *.jpg | jq -r '.[] | select(.sidecar) | .path'"_s,
                  u"The pictures that have a sidecar."_s}},
    .jsonKeys =
        {
            {u"path"_s, u"The canonical text of the path."_s},
            {u"exists"_s, u"Whether something is there."_s},
            {u"kind"_s, u"\"folder\", \"photo\", \"video\" or \"file\", by the suffix."_s},
            {u"folder"_s, u"Whether it is a folder or a link to one."_s},
            {u"link"_s, u"Whether it is a symbolic link."_s},
            {u"dangling"_s, u"Whether it is a link that names nothing."_s},
            {u"size"_s, u"The number of bytes; 0 for a folder."_s},
            {u"created"_s, u"When it was made, in UTC; null when the file system does not keep that."_s},
            {u"modified"_s, u"When it was changed, in UTC."_s},
            {u"mode"_s, u"The permissions as four octal digits."_s},
            {u"owner"_s, u"The number of the user who owns it."_s},
            {u"group"_s, u"The number of its group."_s},
            {u"names"_s, u"How many names the file has (hard links)."_s},
            {u"writable"_s, u"Whether new items can be made in the folder, or beside the file."_s},
            {u"recyclable"_s, u"Whether the recycle bin would keep it."_s},
            {u"sidecar"_s, u"The path of its sidecar file; null when there is none."_s},
            {u"error"_s, u"Why nothing is known; null when something is there."_s},
        },
    .run = &run,
});

} // namespace
