// vkqt ls: what a folder holds for the photo application, or for a script.
#include "CommandLine.h"
#include "Items.h"
#include "Listing.h"
#include "Table.h"
#include "Text.h"

#include <QJsonObject>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

enum class Form { People, Json, Names, Paths };

// What the command line asks for.
struct Wishes {
    ListRequest request;
    Form form = Form::People;
    char separator = '\n';
    bool exactBytes = false;
    bool created = false;
};

// One section of the output: the arguments that are files, or one folder.
struct Section {
    VKQtPath folder; ///< Empty for the files.
    std::vector<ListedItem> items;
};

/// A folder of the command line.
struct NamedFolder {
    VKQtPath path;
    QString given;
};

/// The path of something in the folder, or the folder's own, in the words of the command line.
QString asGiven(const NamedFolder& folder, const QString& path) {
    const QString& root = folder.path.path();
    QString below = path.mid(root.size());
    if (below.startsWith(u'/') && folder.given.endsWith(u'/')) {
        below.remove(0, 1);
    }
    return path.startsWith(root) ? folder.given + below : path;
}

class Lister {
public:
    Lister(Invocation& invocation, const Wishes& wishes)
        : mInvocation(invocation), mOutput(invocation.output()), mWishes(wishes) {}

    void run();

private:
    void gatherArguments();
    void list(const NamedFolder& named);
    void write(const Section& section);
    void writeForPeople(const Section& section);
    void writeTotals(const Section& section);
    void writeName(const Section& section, const ListedItem& item, const QByteArray& folderBytes);

    Invocation& mInvocation;
    Output& mOutput;
    const Wishes& mWishes;
    Section mFiles;
    std::vector<NamedFolder> mFolders;
    bool mHeadings = false;
    bool mFirst = true;
};

QJsonObject toJson(const ListedItem& item) {
    const VKQtDirIterator::Entry& entry = item.entry;
    return {
        {u"path"_s, entry.path.path()},
        {u"name"_s, item.name},
        {u"folder"_s, entry.path.isFolder()},
        {u"kind"_s, kindOf(entry.path)},
        {u"link"_s, entry.isLink},
        {u"size"_s, entry.size},
        {u"created"_s, isoUtc(entry.created)},
        {u"modified"_s, isoUtc(entry.modified)},
    };
}

void Lister::run() {
    gatherArguments();
    if (mWishes.form == Form::Json) {
        mOutput.writeBytes(jsonArrayStart());
    }
    if (!mFiles.items.empty()) {
        sortItems(mFiles.items, mWishes.request.sort, mWishes.request.reverse);
        write(mFiles);
    }
    for (const NamedFolder& folder : mFolders) {
        if (!mOutput.isOpen()) {
            return;
        }
        list(folder);
    }
    if (mWishes.form == Form::Json) {
        mOutput.writeBytes(jsonArrayEnd(mFirst));
    }
}

// Sorts the arguments into files, which are listed themselves, and folders, whose contents are.
void Lister::gatherArguments() {
    QStringList texts = mInvocation.arguments();
    if (texts.isEmpty()) {
        texts << u"."_s;
    }
    const QString here = workingFolder();
    for (const QString& text : texts) {
        // An empty text is no name of the working folder, as elsewhere in the shell.
        const QString absolute = text.isEmpty() ? QString() : absoluteText(text, here);
        ItemFacts facts = askDisk(absolute);
        if (facts.status == 0 && !facts.isFolder && text.endsWith(u'/')) {
            facts.status = ENOTDIR;
        }
        if (facts.status != 0) {
            mInvocation.fail(text, facts.status);
        } else if (facts.isFolder) {
            mFolders.push_back({VKQtPath(absolute, true), text});
        } else {
            VKQtDirIterator::Entry entry;
            entry.path = VKQtPath(absolute, false);
            entry.size = facts.size;
            entry.created = facts.created;
            entry.modified = facts.modified;
            entry.isLink = facts.isLink;
            mFiles.items.push_back({std::move(entry), text});
        }
    }
    mHeadings = texts.size() > 1;
}

void Lister::list(const NamedFolder& named) {
    const VKQtPath& folder = named.path;
    Listing listing = listFolder(folder, mWishes.request);
    for (const auto& [path, status] : listing.failures) {
        mInvocation.fail(asGiven(named, path), status);
    }
    // A folder that could not even be opened has been complained about; it is not shown as an empty one.
    const bool unopened = listing.items.empty() && !listing.failures.empty();
    if (!unopened) {
        write({folder, std::move(listing.items)});
    }
}

void Lister::write(const Section& section) {
    if (mWishes.form == Form::People) {
        writeForPeople(section);
        mFirst = false;
        return;
    }
    const bool names = mWishes.form == Form::Names && !section.folder.path().isEmpty();
    const QByteArray folderBytes = names ? bytesOnDisk(section.folder) : QByteArray();
    for (const ListedItem& item : section.items) {
        if (!mOutput.isOpen()) {
            return;
        }
        if (mWishes.form == Form::Json) {
            mOutput.writeBytes(jsonArrayItem(toJson(item), mFirst));
        } else {
            writeName(section, item, folderBytes);
        }
        mFirst = false;
    }
}

// Other programs take the bytes on disk, which are not always those of the canonical text.
void Lister::writeName(const Section& section, const ListedItem& item, const QByteArray& folderBytes) {
    const bool asGiven = mWishes.form == Form::Names && section.folder.path().isEmpty();
    QByteArray bytes = asGiven ? bytesAsGiven(VKQtPath(item.name, false)) : bytesOnDisk(item.entry.path);
    if (!folderBytes.isEmpty() && bytes.startsWith(folderBytes)) {
        bytes.remove(0, folderBytes.size());
        bytes.remove(0, bytes.startsWith('/') ? 1 : 0);
    }
    if (mOutput.isTerminal() && mWishes.separator == '\n') {
        mOutput.write(shown(decodeBytes(bytes)));
    } else {
        mOutput.writeBytes(bytes);
    }
    mOutput.writeBytes(QByteArrayView(&mWishes.separator, 1));
}

std::optional<Style> styleOf(const VKQtDirIterator::Entry& entry, const QString& kind) {
    if (entry.isLink) {
        return Style::Link;
    }
    if (kind == "folder"_L1) {
        return Style::Folder;
    }
    return kind == "video"_L1 ? std::optional(Style::Video) : std::nullopt;
}

void Lister::writeForPeople(const Section& section) {
    if (!mFirst) {
        mOutput.write(u"\n"_s);
    }
    if (mHeadings && !section.folder.path().isEmpty()) {
        mOutput.write(mOutput.styled(Style::Heading, shown(section.folder.path()) + u':') + u'\n');
    }
    const bool bytes = mInvocation.isOn(u"bytes"_s);
    Table table;
    table.addColumn(u"Kind"_s, Table::Left);
    table.addColumn(bytes ? u"Bytes"_s : u"Size"_s, Table::Right);
    table.addColumn(u"Modified"_s, Table::Left);
    if (mWishes.created) {
        table.addColumn(u"Created"_s, Table::Left);
    }
    table.addColumn(u"Name"_s, Table::Left);
    for (const ListedItem& item : section.items) {
        const VKQtDirIterator::Entry& entry = item.entry;
        const QString kind = kindOf(entry.path);
        const bool folder = entry.path.isFolder();
        const QString size = folder ? u"-"_s : bytes ? QString::number(entry.size) : humanSize(entry.size);
        std::vector<Table::Cell> cells;
        cells.push_back({.text = kind, .style = Style::Quiet});
        cells.push_back({.text = size});
        cells.push_back({.text = localMinute(entry.modified), .style = Style::Quiet});
        if (mWishes.created) {
            cells.push_back({.text = localMinute(entry.created), .style = Style::Quiet});
        }
        cells.push_back({.text = shown(item.name) + (folder ? u"/"_s : QString()),
                         .style = styleOf(entry, kind),
                         .after = entry.isLink ? u" (link)"_s : QString()});
        table.addRow(std::move(cells));
    }
    if (!table.isEmpty()) {
        table.write(mOutput);
        mOutput.write(u"\n"_s);
    }
    writeTotals(section);
}

void Lister::writeTotals(const Section& section) {
    qint64 photos = 0;
    qint64 videos = 0;
    qint64 files = 0;
    qint64 folders = 0;
    qint64 bytes = 0;
    for (const ListedItem& item : section.items) {
        const QString kind = kindOf(item.entry.path);
        qint64& count = kind == "folder"_L1  ? folders
                        : kind == "photo"_L1 ? photos
                        : kind == "video"_L1 ? videos
                                             : files;
        ++count;
        bytes += item.entry.size;
    }
    QStringList parts;
    const auto add = [&parts](qint64 number, const QString& one, const QString& many) {
        if (number > 0) {
            parts << counted(number, one, many);
        }
    };
    add(photos, u"photo"_s, u"photos"_s);
    add(videos, u"video"_s, u"videos"_s);
    add(files, u"other file"_s, u"other files"_s);
    add(folders, u"folder"_s, u"folders"_s);
    const VKQtPathFilter& filter = mWishes.request.filter;
    if (parts.isEmpty()) {
        const bool everything = filter.mAcceptAllFiles && filter.mIncludeHidden;
        parts << (everything ? u"nothing here"_s
                             : u"nothing to show here (--all --hidden shows every file)"_s);
    } else if (photos + videos + files > 0) {
        parts << (mInvocation.isOn(u"bytes"_s) ? groupedNumber(bytes) + u" bytes"_s : humanSize(bytes));
    }
    mOutput.write(mOutput.styled(Style::Quiet, parts.join(u", "_s)) + u'\n');
}

// "jpg,.PNG" -> "jpg", "png".
QStringList extensions(const QStringList& values) {
    QStringList result;
    for (const QString& word : values.join(u',').split(u',')) {
        QString extension = word.trimmed().toLower();
        while (extension.startsWith(u'.')) {
            extension.remove(0, 1);
        }
        if (!extension.isEmpty() && !result.contains(extension)) {
            result << extension;
        }
    }
    return result;
}

// An empty text, or the sentence about options that cannot stand together.
QString contradiction(const Invocation& invocation) {
    QStringList forms;
    for (const QString& form : {u"json"_s, u"names"_s, u"paths"_s}) {
        if (invocation.isOn(form)) {
            forms << u"--"_s + form;
        }
    }
    if (forms.size() > 1) {
        return forms.join(u" and "_s) + u" exclude each other"_s;
    }
    if (invocation.isOn(u"null"_s) && invocation.isOn(u"json"_s)) {
        return u"--null and --json exclude each other"_s;
    }
    if (invocation.isOn(u"all"_s) && !invocation.values(u"ext"_s).isEmpty()) {
        return u"--all and --ext exclude each other"_s;
    }
    if (!invocation.values(u"ext"_s).isEmpty() && extensions(invocation.values(u"ext"_s)).isEmpty()) {
        return u"--ext needs at least one extension"_s;
    }
    return {};
}

SortOrder sortOrder(const QString& word) {
    if (word == "size"_L1) {
        return SortOrder::Size;
    }
    if (word == "date"_L1) {
        return SortOrder::Date;
    }
    return word == "none"_L1 ? SortOrder::None : SortOrder::Name;
}

Wishes wishesOf(const Invocation& invocation) {
    Wishes wishes;
    ListRequest& request = wishes.request;
    request.recursive = invocation.isOn(u"recursive"_s);
    request.showFolders = invocation.isOn(u"folders"_s);
    request.sort = sortOrder(invocation.value(u"sort"_s));
    request.reverse = invocation.isOn(u"reverse"_s);
    VKQtPathFilter& filter = request.filter;
    filter.mIncludeFolders = request.showFolders || request.recursive;
    filter.mIncludeFiles = invocation.isOn(u"files"_s);
    filter.mIncludeHidden = invocation.isOn(u"hidden"_s);
    filter.mAcceptAllFiles = invocation.isOn(u"all"_s);
    filter.mIncludeVideos = invocation.isOn(u"videos"_s);
    filter.mIncludePackages = invocation.isOn(u"packages"_s);
    const QStringList wanted = extensions(invocation.values(u"ext"_s));
    if (!wanted.isEmpty()) {
        filter.mExtensions = wanted;
    }
    wishes.separator = invocation.isOn(u"null"_s) ? '\0' : '\n';
    wishes.created = invocation.isOn(u"created"_s);
    if (invocation.isOn(u"json"_s)) {
        wishes.form = Form::Json;
    } else if (invocation.isOn(u"paths"_s)) {
        wishes.form = Form::Paths;
    } else if (invocation.isOn(u"names"_s) || invocation.isOn(u"null"_s)) {
        wishes.form = Form::Names;
    }
    const bool bare = wishes.form == Form::Names || wishes.form == Form::Paths;
    request.details = !bare || request.sort == SortOrder::Size || request.sort == SortOrder::Date;
    return wishes;
}

int run(Invocation& invocation) {
    const QString wrong = contradiction(invocation);
    if (!wrong.isEmpty()) {
        return invocation.usageError(wrong);
    }
    const Wishes wishes = wishesOf(invocation);
    Lister(invocation, wishes).run();
    return invocation.exitStatus();
}

const Registration kRegistration({
    .name = u"ls"_s,
    .summary = u"list the photos, videos and folders in a folder"_s,
    .description =
        u"Lists each FOLDER, or the current one, as the photo application sees it: photos and videos by "
        u"their "
        "extension, and folders, without hidden entries and without other programs' catalogues. The options "
        "widen or narrow that. A file given as FOLDER is listed itself.\n\n"
        "A link is listed as what it names, marked as a link. Control characters in names are shown as \\n, "
        "\\e "
        "or \\u009b, so that a name cannot drive the terminal."_s,
    .arguments = {{.name = u"FOLDER"_s, .count = ArgumentSpec::Any, .takes = Takes::Path}},
    .options =
        {
            {.name = u"hidden"_s, .help = u"Also entries whose name begins with a dot."_s},
            {.name = u"all"_s, .help = u"Files of every kind, not only photos and videos."_s},
            {.name = u"ext"_s,
             .form = OptionSpec::Value,
             .valueName = u"LIST"_s,
             .help = u"Only files with these extensions, separated by commas: jpg,png. May be repeated."_s},
            {.name = u"videos"_s, .form = OptionSpec::OnOff, .initially = true, .help = u"Show videos."_s},
            {.name = u"folders"_s, .form = OptionSpec::OnOff, .initially = true, .help = u"Show folders."_s},
            {.name = u"files"_s, .form = OptionSpec::OnOff, .initially = true, .help = u"Show files."_s},
            {.name = u"packages"_s,
             .form = OptionSpec::OnOff,
             .initially = true,
             .help = u"Show packages, where the system has folders that count as files."_s},
            {.name = u"recursive"_s,
             .letter = u"R"_s,
             .help = u"Also what the folders hold, all the way down. Links are not followed."_s},
            {.name = u"sort"_s,
             .form = OptionSpec::Value,
             .valueName = u"ORDER"_s,
             .choices = {u"name"_s, u"size"_s, u"date"_s, u"none"_s},
             .initialValue = u"name"_s,
             .help = u"name (IMG_2 before IMG_10), size (largest first), date (latest modified first), none "
                     "(as the file system has them)."_s},
            {.name = u"reverse"_s, .letter = u"r"_s, .help = u"Turn the order round."_s},
            {.name = u"bytes"_s, .help = u"Sizes in bytes."_s},
            {.name = u"created"_s, .help = u"Also when each was created, where the file system knows."_s},
            {.name = u"names"_s,
             .help = u"Only names, one on a line, as they are on disk; relative to FOLDER."_s},
            {.name = u"paths"_s, .help = u"Only whole paths, one on a line, as they are on disk."_s},
            {.name = u"null"_s,
             .letter = u"0"_s,
             .help =
                 u"With --names or --paths: end each with a NUL instead of a line break. Alone: --names."_s},
            {.name = u"json"_s,
             .help = u"Write JSON for scripts: one array with an object for each entry."_s},
        },
    .examples =
        {
            {u"vkqt ls ~/Pictures"_s, u"Photos, videos and folders in your Pictures folder."_s},
            {u"vkqt ls --recursive --sort size --no-folders ~/Pictures"_s,
             u"Every photo and video, the largest first."_s},
            {u"vkqt ls -R --ext nef,cr3 --paths -0 . | xargs -0 du -ch"_s,
             u"Hand raw files to another program."_s},
            {u"vkqt ls --json | jq -r '.[] | select(.size > 20000000) | .path'"_s,
             u"Paths of files over 20 MB."_s},
        },
    .jsonKeys =
        {
            {u"path"_s, u"The whole path, canonical."_s},
            {u"name"_s, u"The name, relative to FOLDER; of a file that was named itself, that text."_s},
            {u"folder"_s, u"Whether it is a folder."_s},
            {u"kind"_s, u"\"folder\", \"photo\", \"video\" or \"file\"."_s},
            {u"link"_s, u"Whether it is a link; the rest then tells of what it names."_s},
            {u"size"_s, u"Bytes; 0 for folders."_s},
            {u"created"_s, u"ISO 8601 in UTC; null when the file system does not know."_s},
            {u"modified"_s, u"ISO 8601 in UTC; null when unknown."_s},
        },
    .run = &run,
});

} // namespace
