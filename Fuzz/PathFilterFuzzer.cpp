// The path filter against its rules written plainly, for arbitrary names, extensions and endings; and the look-up
// that listings prepare from a filter against the filter itself.

#include "FuzzSupport.h"

#include <VKQtExtensionSet.h>
#include <VKQtPath.h>
#include <VKQtPathFilter.h>
#include <VKQtSysInfo.h>

#include <algorithm>

namespace {

QString afterLast(const QString& text, QChar mark) { return text.sliced(text.lastIndexOf(mark) + 1); }

bool endsWithOneOf(const QString& text, const QStringList& endings) {
    return std::any_of(endings.begin(), endings.end(),
                       [&text](const QString& ending) { return text.endsWith(ending, Qt::CaseInsensitive); });
}

bool isNameFiltered(const VKQtPathFilter& filter, const QString& name) {
    const QString suffix = name.contains(u'.') ? afterLast(name, u'.').toLower() : QString();
    return !filter.mAcceptAllFiles && !filter.mExtensions.contains(suffix);
}

bool isEndingExcluded(const VKQtPathFilter& filter, const QString& text) {
    static const QStringList sVideo = QStringLiteral("m4v mov avi wmv mpeg mpg mp4 mts").split(u' ');
    return endsWithOneOf(text, filter.mExcludedEndings) ||
           (!filter.mIncludeVideos && endsWithOneOf(text, sVideo));
}

const QStringList& excludedFolderNames() {
    static const QStringList sMac{QStringLiteral(".app"),       QStringLiteral(".aplibrary"),
                                  QStringLiteral(".lrdata"),    QStringLiteral(".pkg"),
                                  QStringLiteral(".mpkg"),      QStringLiteral("Photo Booth Library"),
                                  QStringLiteral("invalidpath")};
    static const QStringList sOther{QStringLiteral("__MACOSX"),
                                    QStringLiteral("Windows"),
                                    QStringLiteral("ProgramData"),
                                    QStringLiteral("Program Files"),
                                    QStringLiteral("Program Files (x86)"),
                                    QStringLiteral("lr5cat")};
    return VKQtSysInfo::isMacPlatform() ? sMac : sOther;
}

bool isPathFiltered(const VKQtPathFilter& filter, const VKQtPath& path) {
    const QString& text = path.path();
    if (text.isEmpty()) {
        return true;
    }
    if (path.isFolder()) {
        if (!filter.mIncludeFolders || text == u"." || text == u".." ||
            (text.contains(u'/') && excludedFolderNames().contains(afterLast(text, u'/')))) {
            return true;
        }
    } else if (!filter.mIncludeFiles || isNameFiltered(filter, text)) {
        return true;
    }
    return isEndingExcluded(filter, text);
}

void checkFolder(const VKQtPathFilter& filter, const QString& text) {
    const VKQtPath folder(text, true);
    // Without a slash a folder has no name of its own.
    const bool byName = excludedFolderNames().contains(folder.filename());
    const QString roots =
        QStringLiteral("/Volumes /Volumes/Recovery /Applications /System /etc /var /Library /bin "
                       "/cores /net /opt /private /sbin /usr /System/Volumes/Update/mnt1");
    const bool byRoot =
        VKQtSysInfo::isMacPlatform() && roots.split(u' ').contains(folder.path(), Qt::CaseInsensitive);
    require(filter.isDirectoryFiltered(folder) ==
                (byName || byRoot || isEndingExcluded(filter, folder.path())),
            "folder test", {folder.path()});
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    VKQtPathFilter filter;
    const unsigned switches = input.byte();
    filter.mIncludeFolders = (switches & 1U) == 0;
    filter.mIncludeFiles = (switches & 2U) == 0;
    filter.mAcceptAllFiles = (switches & 4U) != 0;
    filter.mIncludeVideos = (switches & 8U) == 0;
    const QString text = input.text();
    const QString name = input.text();
    const QString extensions = input.text();
    const QString endings = input.text();
    if ((switches & 16U) != 0) {
        filter.mExtensions = extensions.split(u',');
    }
    if ((switches & 32U) != 0) {
        filter.mExcludedEndings = endings.split(u',');
    }

    const VKQtExtensionSet prepared(filter);
    const QString wanted = name + u'.' + extensions.section(u',', 0, 0).toUpper();
    for (const QString& fileName : {text, name, wanted}) {
        const bool expected = isNameFiltered(filter, fileName);
        require(filter.isFileNameFiltered(fileName) == expected, "file-name test", {fileName, extensions});
        require(prepared.filters(fileName) == expected, "prepared file-name test", {fileName, extensions});
        require(filter.isPathEndingExcluded(fileName) == isEndingExcluded(filter, fileName), "ending test",
                {fileName, endings});
    }
    for (const bool isFolder : {false, true}) {
        const VKQtPath path(text, isFolder);
        require(filter.isPathFiltered(path) == isPathFiltered(filter, path), "path test", {path.path()});
        const bool listed = filter.mExtensions.contains(path.suffix());
        require(filter.isSupported(path) ==
                    (isFolder ? filter.mIncludeFolders : filter.mIncludeFiles && listed),
                "support test", {path.path()});
    }
    checkFolder(filter, text);
    checkFolder(filter, name);
    return 0;
}
