// vkqt path: takes a path apart, as the library sees it.
#include "CommandLine.h"
#include "Items.h"
#include "Text.h"

#include <QJsonArray>
#include <QJsonObject>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

// What the text says and what the disk says, for one argument.
struct Facts {
    QString given;
    VKQtPath path;
    ItemFacts item;
};

Facts factsOf(const QString& text, const Invocation& invocation) {
    Facts facts;
    facts.given = text;
    facts.item = askDisk(text);
    const bool slash = text.endsWith(u'/') || text.endsWith(u'\\');
    const bool folder =
        invocation.isOn(u"folder"_s) ||
        (!invocation.isOn(u"file"_s) && (slash || (facts.item.status == 0 && facts.item.isFolder)));
    facts.path = VKQtPath(text, folder);
    return facts;
}

QStringList parentTexts(const VKQtPath& path) {
    QStringList texts;
    for (const VKQtPath& parent : path.parents()) {
        texts << parent.path();
    }
    return texts;
}

QJsonObject toJson(const Facts& facts) {
    const VKQtPath& path = facts.path;
    const QString url = fileUrlText(path);
    return {
        {u"text"_s, facts.given},
        {u"path"_s, path.path()},
        {u"folder"_s, path.isFolder()},
        {u"kind"_s, kindOf(path)},
        {u"formats"_s, QJsonArray::fromStringList(formatsOf(path))},
        {u"fileName"_s, path.filename()},
        {u"baseName"_s, path.baseName()},
        {u"suffix"_s, path.suffix()},
        {u"container"_s, path.pathOnly().path()},
        {u"components"_s, QJsonArray::fromStringList(path.split())},
        {u"parents"_s, QJsonArray::fromStringList(parentTexts(path))},
        {u"native"_s, path.platformSpecificPath()},
        {u"url"_s, url.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(url)},
        {u"exists"_s, facts.item.status == 0},
        {u"link"_s, facts.item.isLink},
        {u"unc"_s, path.isUNC()},
        {u"resource"_s, path.isQRCPath()},
        {u"network"_s, path.isNetwork()},
    };
}

QString onDisk(const Facts& facts, const Output& output) {
    if (facts.item.status != 0) {
        return output.styled(Style::Bad, reasonOf(facts.item.status));
    }
    if (facts.item.isDangling) {
        return output.styled(Style::Bad, u"a link to nothing"_s);
    }
    const QString what = facts.item.isFolder ? u"a folder"_s : u"a file of "_s + humanSize(facts.item.size);
    return output.styled(Style::Good, facts.item.isLink ? u"a link to "_s + what : what);
}

// "photo, JPEG", and what else is true of the text.
QString kindLine(const VKQtPath& path) {
    QStringList words = {kindOf(path)};
    if (!path.isFolder()) {
        words += formatsOf(path);
    }
    const std::pair<bool, QString> more[] = {
        {path.isUNC(), u"a UNC path"_s},
        {path.isQRCPath(), u"a path of a compiled-in resource"_s},
        {path.isNetwork(), u"on a network file system"_s},
    };
    for (const auto& [holds, word] : more) {
        if (holds) {
            words << word;
        }
    }
    return words.join(u", "_s);
}

void writeForPeople(const Facts& facts, Output& output) {
    constexpr int kLabelWidth = 13;
    const VKQtPath& path = facts.path;
    const QString title = path.path().isEmpty() ? u"(an empty path)"_s : shown(path.path());
    output.write(output.styled(Style::Heading, title) + u'\n');
    const auto line = [&output](const QString& label, const QString& value) {
        output.write(u"  "_s + output.styled(Style::Quiet, padded(label, kLabelWidth)) + value + u'\n');
    };
    const auto text = [&](const QString& label, const QString& value) {
        line(label, value.isEmpty() ? output.styled(Style::Quiet, u"-"_s) : shown(value));
    };
    line(u"kind"_s, kindLine(path));
    line(u"on disk"_s, onDisk(facts, output));
    text(u"file name"_s, path.filename());
    text(u"base name"_s, path.baseName());
    text(u"suffix"_s, path.suffix());
    text(u"container"_s, path.pathOnly().path());
    text(u"components"_s, path.split().join(u" | "_s));
    text(u"parents"_s, parentTexts(path).join(u" | "_s));
    text(u"native form"_s, path.platformSpecificPath());
    text(u"file URL"_s, fileUrlText(path));
}

int run(Invocation& invocation) {
    if (invocation.isOn(u"folder"_s) && invocation.isOn(u"file"_s)) {
        return invocation.usageError(u"--folder and --file exclude each other"_s);
    }
    Output& output = invocation.output();
    const bool json = invocation.isOn(u"json"_s);
    if (json) {
        output.writeBytes(jsonArrayStart());
    }
    bool first = true;
    for (const QString& text : invocation.arguments()) {
        const Facts facts = factsOf(text, invocation);
        if (json) {
            output.writeBytes(jsonArrayItem(toJson(facts), first));
        } else {
            output.write(first ? QString() : u"\n"_s);
            writeForPeople(facts, output);
        }
        first = false;
    }
    if (json) {
        output.writeBytes(jsonArrayEnd(first));
    }
    return invocation.exitStatus();
}

const Registration kRegistration({
    .name = u"path"_s,
    .summary = u"take a path apart"_s,
    .description =
        u"Shows the canonical form of each TEXT (forward slashes, no slash at the end, Unicode form C), its "
        "parts, what its suffix says, and what is on the disk under it.\n\n"
        "A text names a folder when it ends with a slash or when a folder is there on the disk; otherwise it "
        "names a file. Nothing has to exist."_s,
    .arguments = {{.name = u"TEXT"_s, .count = ArgumentSpec::AtLeastOne, .takes = Takes::Path}},
    .options =
        {
            {.name = u"folder"_s, .help = u"Take each TEXT as the path of a folder."_s},
            {.name = u"file"_s,
             .help = u"Take each TEXT as the path of a file, also when it ends with a slash."_s},
            {.name = u"json"_s, .help = u"Write JSON for scripts: one array with an object for each TEXT."_s},
        },
    .examples =
        {
            {u"vkqt path ~/Pictures/IMG_0001.JPG"_s, u"Everything about one photo's path."_s},
            {u"vkqt path --folder 'C:\\Photos\\2026'"_s, u"A path that was written on another system."_s},
            {u"vkqt path --json *.jpg | jq -r '.[].url'"_s, u"The file URLs of some pictures."_s},
        },
    .jsonKeys =
        {
            {u"text"_s, u"The argument as it was given."_s},
            {u"path"_s, u"The canonical text."_s},
            {u"folder"_s, u"Whether it names a folder."_s},
            {u"kind"_s, u"\"folder\", \"photo\", \"video\" or \"file\", by the suffix."_s},
            {u"formats"_s,
             u"An array of the formats that the suffix says: \"JPEG\", \"PNG\", \"DNG\" and others."_s},
            {u"fileName"_s, u"The last component."_s},
            {u"baseName"_s, u"The last component without its suffix."_s},
            {u"suffix"_s, u"What follows the last \".\" of the whole text, in lower case."_s},
            {u"container"_s, u"The containing folder."_s},
            {u"components"_s, u"An array of the components, the root first."_s},
            {u"parents"_s, u"An array of the folders on the way, the root first."_s},
            {u"native"_s, u"The text in this system's own form."_s},
            {u"url"_s, u"The file URL with the name's bytes as they are on disk; null for no name."_s},
            {u"exists"_s, u"Whether something is there on the disk."_s},
            {u"link"_s, u"Whether that is a symbolic link."_s},
            {u"unc"_s, u"Whether the text begins with two slashes, as a network share's does."_s},
            {u"resource"_s, u"Whether the text names a compiled-in resource."_s},
            {u"network"_s, u"Whether it lies on a network file system."_s},
        },
    .run = &run,
});

} // namespace
