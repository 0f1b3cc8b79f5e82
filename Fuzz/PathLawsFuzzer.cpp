// VKQtPath against the plain model and against the framework's own comparisons, for arbitrary texts: normalising,
// components, joining, ancestors; equality, hash, prefix and suffix that ignore case.

#include "FuzzSupport.h"
#include "PathModel.h"

#include <VKQtPath.h>
#include <VKQtSysInfo.h>

#include <utility>

namespace {

/// Another text that often equals the first but for case: letters changed here and there.
QString otherCase(const QString& text, unsigned pattern) {
    QString result;
    for (qsizetype at = 0; at < text.size(); ++at) {
        const QChar unit = text.at(at);
        switch ((pattern >> (at % 7)) & 3U) {
        case 0:
            result.append(unit);
            break;
        case 1:
            result.append(unit.toUpper());
            break;
        case 2:
            result.append(unit.toLower());
            break;
        default:
            result.append(unit == u'K' || unit == u'k' ? QChar(0x212a) : unit.toCaseFolded());
            break;
        }
    }
    return result;
}

bool sameValue(const VKQtPath& a, const VKQtPath& b) {
    return a.path() == b.path() && a.isFolder() == b.isFolder() && a.volumeID() == b.volumeID() &&
           a.hasVolumeID() == b.hasVolumeID();
}

void checkText(const QString& text, const VKQtPath& path) {
    const QString& canonical = path.path();
    const bool folder = path.isFolder();
    require(canonical == PathModel::normalized(text, folder), "the text is in canonical form",
            {text, canonical});
    require(path.normalize(canonical, folder) == PathModel::normalized(canonical, folder),
            "normalising again follows the same rule", {text, canonical});
    // A letter that is composed at last may leave what then looks like a drive without its slash.
    const bool isLateDrive = folder && canonical.size() == 2 && canonical.endsWith(u':');
    if (!canonical.endsWith(u'/') && !isLateDrive) {
        require(path.normalize(canonical, folder) == canonical, "normalising a normal text changes nothing",
                {text, canonical});
    }
    require(path.length() == canonical.size(), "the length is the text's", {canonical});
    require(path.filename() == PathModel::filename(canonical, folder), "file name",
            {canonical, path.filename()});
    require(path.baseName() == PathModel::baseName(canonical), "base name", {canonical, path.baseName()});
    require(VKQtPath::computeBaseName(text) == PathModel::baseName(text), "base name of a raw text", {text});
    require(path.isUNC() == canonical.startsWith(u"//"), "UNC paths begin with two slashes", {canonical});
    require(path.isQRCPath() == canonical.startsWith(u":/"), "resource paths begin with :/", {canonical});
}

void checkSuffix(const VKQtPath& path) {
    const QString suffix = PathModel::suffix(path.path());
    require(path.suffix() == suffix, "suffix", {path.path(), path.suffix()});
    const auto ends = [&suffix](QStringView with) { return suffix.endsWith(with, Qt::CaseSensitive); };
    require(path.isJPG() == (ends(u"jpg") || ends(u"jpeg")), "JPEG by suffix", {path.path()});
    require(path.isPNG() == ends(u"png"), "PNG by suffix", {path.path()});
    require(path.isGIF() == ends(u"gif"), "GIF by suffix", {path.path()});
    require(path.isTiff() == (ends(u"tiff") || ends(u"tif")), "TIFF by suffix", {path.path()});
    require(path.isHeic() == ends(u"heic"), "HEIC by suffix", {path.path()});
    require(path.isDNG() == ends(u"dng"), "DNG by suffix", {path.path()});
    require(path.isXMP() == ends(u"xmp"), "XMP by suffix", {path.path()});
    require(path.isPhotoshop() == (ends(u"psd") || ends(u"psb")), "PSD by suffix", {path.path()});
    require(path.isVKX() == ends(u"vkx"), "VKX by suffix", {path.path()});
    require(path.isVKPhoto() == ends(u"vkphoto"), "VKPHOTO by suffix", {path.path()});
    static const QStringList sVideo = QStringLiteral("m4v mov avi wmv mpeg mpg mp4 mts").split(u' ');
    require(path.isVideo() == sVideo.contains(suffix), "video by suffix", {path.path()});
}

void checkComponents(const VKQtPath& path) {
    const bool macRules = VKQtSysInfo::isMacPlatform();
    const QString& text = path.path();
    const QStringList parts = path.split();
    require(parts == PathModel::split(text), "components", {text, parts.join(u'|')});

    const VKQtPath container = path.pathOnly();
    const QString expected = PathModel::container(text, path.isFolder());
    require(container.path() == expected, "container", {text, container.path()});
    require(container.isFolder() == !expected.isNull(), "a container is a folder", {text});
    // "/Volumes" itself carries none; a text that only becomes it, as "/Volumes//x", does.
    const bool inVolumes = text.left(text.lastIndexOf(u'/')) == u"/Volumes";
    require(container.hasVolumeID() == (!expected.isNull() && !inVolumes), "a container carries the volume",
            {text});
    require(!container.hasVolumeID() || container.volumeID() == path.volumeID(), "of its entry", {text});

    const QList<VKQtPath> parents = path.parents();
    const QStringList parentTexts = PathModel::parents(text, path.isFolder(), macRules);
    require(parents.size() == parentTexts.size(), "the number of ancestors", {text});
    for (qsizetype i = 0; i < parents.size(); ++i) {
        require(parents.at(i).path() == parentTexts.at(i), "ancestor", {text, parents.at(i).path()});
        require(parents.at(i).isFolder() && parents.at(i).hasVolumeID() &&
                    parents.at(i).volumeID() == path.volumeID(),
                "an ancestor is a folder of the same volume", {text});
    }

    VKQtPath shorter = path;
    shorter.deleteLastPathComponent();
    require(shorter.path() == PathModel::withoutLast(text, macRules), "without the last component",
            {text, shorter.path()});
    require(parts.size() >= 2 ? shorter.isFolder() : sameValue(shorter, path),
            "what is left is a folder, or nothing changed", {text});
}

void checkJoin(const VKQtPath& path, const QString& part, bool folder) {
    VKQtPath joined = path;
    joined.append(part, folder);
    require(joined.path() == PathModel::appended(path.path(), part, folder, VKQtSysInfo::isMacPlatform()),
            "join", {path.path(), part, joined.path()});
    require(joined.isFolder() == folder && joined.hasVolumeID() == path.hasVolumeID() &&
                joined.volumeID() == path.volumeID(),
            "a join takes the flag and keeps the volume", {path.path(), part});
}

void checkComparison(const VKQtPath& path, const VKQtPath& other, const QString& raw, std::size_t seed) {
    const QString& a = path.path();
    const QString& b = other.path();
    const bool equal = QString::compare(a, b, Qt::CaseInsensitive) == 0;
    require((path == other) == equal && (other == path) == equal, "equality is the framework's", {a, b});
    require((path != other) == !equal, "inequality is its opposite", {a, b});
    require((path == raw) == (a.compare(raw, Qt::CaseInsensitive) == 0), "equality with a raw text",
            {a, raw});
    require(!equal || qHash(path, seed) == qHash(other, seed), "equal paths have equal hashes", {a, b});
    require(qHash(path, seed) == qHash(VKQtPath(path), seed), "the hash is a function of the value", {a});
    require((path < other) == (a.compare(b, Qt::CaseSensitive) < 0), "order minds case", {a, b});
    require((path.compare(other, Qt::CaseInsensitive) < 0) == (a.compare(b, Qt::CaseInsensitive) < 0) &&
                (path.compare(other, Qt::CaseSensitive) > 0) == (a.compare(b, Qt::CaseSensitive) > 0),
            "compare() is the framework's", {a, b});
    require(path.startsWith(raw) == (!raw.isEmpty() && a.startsWith(raw, Qt::CaseInsensitive)),
            "prefix test ignoring case", {a, raw});
    require(path.endsWith(raw) == (!raw.isEmpty() && a.endsWith(raw, Qt::CaseInsensitive)),
            "ending test ignoring case", {a, raw});
    require(path.startsWith(other) == PathModel::isInside(a, path.isFolder(), b, other.isFolder()),
            "folder-aware prefix test", {a, b});
    require(path.contains(raw) == a.contains(raw, Qt::CaseSensitive), "contains", {a, raw});
}

/// Copies and moves of a value are the value.
void checkValue(const VKQtPath& path) {
    VKQtPath copy(path);
    require(sameValue(copy, path), "a copy is the value", {path.path()});
    VKQtPath moved(std::move(copy));
    require(sameValue(moved, path), "a moved value is the value", {path.path()});
    VKQtPath assigned;
    assigned = moved;
    require(sameValue(assigned, path), "an assigned value is the value", {path.path()});
    assigned.clear();
    require(sameValue(assigned, VKQtPath()), "a cleared path is an empty path", {path.path()});
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const bool folder = input.flag();
    const bool otherIsFolder = input.flag();
    const bool withVolume = input.flag();
    const unsigned pattern = input.byte();
    const int from = input.number(-5, 60);
    const int to = input.number(-5, 60);
    const QString text = input.text();
    const QString part = input.text();

    const VKQtPath path = withVolume ? VKQtPath(text, folder, pattern + 1) : VKQtPath(text, folder);
    checkText(text, path);
    checkSuffix(path);
    checkComponents(path);
    checkJoin(path, part, otherIsFolder);
    checkValue(path);

    const QString changed = otherCase(text, pattern);
    checkComparison(path, VKQtPath(changed, otherIsFolder), changed, pattern);
    checkComparison(path, VKQtPath(part, otherIsFolder), part, pattern);
    checkComparison(path, VKQtPath(changed.left(from), otherIsFolder), changed.left(from), pattern);
    checkComparison(path, VKQtPath(changed.mid(from), otherIsFolder), changed.mid(from), pattern);

    VKQtPath replaced = path;
    replaced.replace(from, to, part);
    require(replaced.path() == path.path().mid(0, from) + part + path.path().mid(to), "replace",
            {text, part});
    return 0;
}
