// The filter's lists and its rules over names and paths.
#include "VKQtPathFilter.h"

#include "VKQtPath.h"
#include "VKQtStringUtils.h"
#include "VKQtSysInfo.h"

#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKFileMgr.h>

#include <QFileInfo>

#include <algorithm>
#include <cstddef>
#include <optional>

namespace {

// Lists over texts in the library's own read-only data: building them at load takes no memory from the heap,
// and a copy shares the array. The first change of a copy detaches it, as with any literal.
template <std::size_t Count>
QStringList listOver(QString (&texts)[Count], std::size_t first = 0, std::size_t count = Count) {
    return QStringList(QArrayDataPointer<QString>(nullptr, texts + first, static_cast<qsizetype>(count)));
}

constexpr std::size_t kPhotoCount = 34;
constexpr std::size_t kVideoCount = 8;

// One array, so that the photo list, the video list and the two together are views of it.
QString gExtensions[kPhotoCount + kVideoCount] = {
    QStringLiteral("heic"), QStringLiteral("hif"), QStringLiteral("dcr"), QStringLiteral("sr2"),
    QStringLiteral("jpe"), QStringLiteral("raw"), QStringLiteral("dng"), QStringLiteral("cr2"),
    QStringLiteral("cr3"), QStringLiteral("raf"), QStringLiteral("orf"), QStringLiteral("nef"),
    QStringLiteral("rw2"), QStringLiteral("arw"), QStringLiteral("srw"), QStringLiteral("psd"),
    QStringLiteral("psb"), QStringLiteral("jpg"), QStringLiteral("jpeg"), QStringLiteral("tif"),
    QStringLiteral("tiff"), QStringLiteral("png"), QStringLiteral("mos"), QStringLiteral("rwl"),
    QStringLiteral("iiq"), QStringLiteral("nrw"), QStringLiteral("rwl"), QStringLiteral("x3f"),
    QStringLiteral("pef"), QStringLiteral("crw"), QStringLiteral("erf"), QStringLiteral("mrw"),
    QStringLiteral("vkphoto"), QStringLiteral("gpr"),
    // Videos from here on.
    QStringLiteral("m4v"), QStringLiteral("mov"), QStringLiteral("avi"), QStringLiteral("wmv"),
    QStringLiteral("mpeg"), QStringLiteral("mpg"), QStringLiteral("mp4"), QStringLiteral("mts")};

QString gWinFolderNames[] = {QStringLiteral("__MACOSX"),
                             QStringLiteral("Windows"),
                             QStringLiteral("ProgramData"),
                             QStringLiteral("Program Files"),
                             QStringLiteral("Program Files (x86)"),
                             QStringLiteral("lr5cat")};

QString gMacFolderNames[] = {QStringLiteral(".app"),       QStringLiteral(".aplibrary"),
                             QStringLiteral(".lrdata"),    QStringLiteral(".pkg"),
                             QStringLiteral(".mpkg"),      QStringLiteral("Photo Booth Library"),
                             QStringLiteral("invalidpath")};

QString gMacGlobalFolders[] = {QStringLiteral("/Volumes"),
                               QStringLiteral("/Volumes/Recovery"),
                               QStringLiteral("/Applications"),
                               QStringLiteral("/System"),
                               QStringLiteral("/etc"),
                               QStringLiteral("/var"),
                               QStringLiteral("/Library"),
                               QStringLiteral("/bin"),
                               QStringLiteral("/cores"),
                               QStringLiteral("/net"),
                               QStringLiteral("/opt"),
                               QStringLiteral("/private"),
                               QStringLiteral("/sbin"),
                               QStringLiteral("/usr"),
                               QStringLiteral("/System/Volumes/Update/mnt1")};

QString gExcludedEndings[] = {QStringLiteral(".lrcat"), QStringLiteral(".aplibrary"),
                              QStringLiteral(".lrdata"), QStringLiteral(".framework")};

bool isExcludedFolderName(const QString& name) {
    const QStringList& names = VKQtSysInfo::isMacPlatform() ? VKQtPathFilter::sFolderNamesToExcludeOnMac
                                                            : VKQtPathFilter::sFolderNamesToExcludeOnWin;
    return names.contains(name);
}

bool endsWithAny(const QString& text, const QStringList& endings) {
    return std::any_of(endings.cbegin(), endings.cend(),
                       [&text](const QString& ending) { return text.endsWith(ending, Qt::CaseInsensitive); });
}

// Whether the item that a text names is a plain file; nothing when there is no such item.
std::optional<bool> isFileOnDisk(const QString& text) {
    if (text.contains(QChar::Null)) {
        return std::nullopt; // it names nothing, and the framework would print a warning
    }
    const QString composed = text.normalized(QString::NormalizationForm_C);
    const QFileInfo info(composed);
    if (info.exists()) {
        return info.isFile();
    }
    // The framework finds only the very bytes of the text; the item may be spelled otherwise.
    const auto url =
        VKCFRef<CFURLRef>::adopt(VKQtStringUtils::createFileSystemRepresentationFromQString(composed, false));
    VKItemDetails details;
    if (!url || VKFileMgrGetItemDetails(url.get(), true, &details) != 0) {
        return std::nullopt;
    }
    return details.kind == VKItemKind::File;
}

} // namespace

const QStringList VKQtPathFilter::sVideoExtensions = listOver(gExtensions, kPhotoCount, kVideoCount);
const QStringList VKQtPathFilter::sPhotoExtensions = listOver(gExtensions, 0, kPhotoCount);
const QStringList VKQtPathFilter::sFolderNamesToExcludeOnWin = listOver(gWinFolderNames);
const QStringList VKQtPathFilter::sFolderNamesToExcludeOnMac = listOver(gMacFolderNames);
const QStringList VKQtPathFilter::kMacGlobalFolderExcludes = listOver(gMacGlobalFolders);
const QStringList VKQtPathFilter::sExcludedEndings = listOver(gExcludedEndings);

VKQtPathFilter::VKQtPathFilter() : mExtensions(listOver(gExtensions)), mExcludedEndings(sExcludedEndings) {}

VKQtPathFilter::~VKQtPathFilter() = default;

VKQtPathFilter VKQtPathFilter::makeFilter(const QStringList& extensions, bool includeFolders) {
    VKQtPathFilter filter;
    filter.mIncludeFiles = true;
    filter.mIncludeFolders = includeFolders;
    filter.mExtensions = extensions;
    return filter;
}

bool VKQtPathFilter::isSupported(const VKQtPath& path) const {
    if (path.isFolder()) {
        return mIncludeFolders;
    }
    return mIncludeFiles && mExtensions.contains(path.suffix());
}

bool VKQtPathFilter::isPhoto(const VKQtPath& path) { return sPhotoExtensions.contains(path.suffix()); }

bool VKQtPathFilter::isVideo(const VKQtPath& path) { return sVideoExtensions.contains(path.suffix()); }

bool VKQtPathFilter::isPathFiltered(const VKQtPath& path) const {
    const QString& text = path.path();
    if (text.isEmpty()) {
        return true;
    }
    if (path.isFolder()) {
        if (!mIncludeFolders || text == u"." || text == u".." || isExcludedFolderName(path.filename())) {
            return true;
        }
    } else {
        if (!mIncludeFiles || (!mAcceptAllFiles && !mExtensions.contains(path.suffix()))) {
            return true;
        }
    }
    return isPathEndingExcluded(text);
}

bool VKQtPathFilter::isPathFiltered(const QString& path) const {
    const std::optional<bool> isFile = isFileOnDisk(path);
    return isFile.has_value() && isPathFiltered(VKQtPath(path, !*isFile));
}

bool VKQtPathFilter::isDirectoryFiltered(const VKQtPath& folder) const {
    if (isExcludedFolderName(folder.filename())) {
        return true;
    }
    if (VKQtSysInfo::isMacPlatform() &&
        std::any_of(kMacGlobalFolderExcludes.cbegin(), kMacGlobalFolderExcludes.cend(),
                    [&folder](const QString& excluded) { return folder == excluded; })) {
        return true;
    }
    return isPathEndingExcluded(folder.path());
}

bool VKQtPathFilter::isFileNameFiltered(const QString& name) const {
    if (mAcceptAllFiles) {
        return false;
    }
    const qsizetype dot = name.lastIndexOf(u'.');
    return !mExtensions.contains(dot < 0 ? QString() : name.mid(dot + 1).toLower());
}

bool VKQtPathFilter::isPathEndingExcluded(const QString& text) const {
    return endsWithAny(text, mExcludedEndings) || (!mIncludeVideos && endsWithAny(text, sVideoExtensions));
}
