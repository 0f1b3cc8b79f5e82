// Which files and folders the application looks at when it browses or imports: photos and videos by their
// extension, without system folders, other programs' catalogues and a few fixed roots.
#pragma once

#include "VKQtExport.h"

#include <QString>
#include <QStringList>

class VKQtPath;

/// A small value: six switches and two lists that the caller sets as it likes.
///
/// A test whose name says "filtered" or "excluded" answers true for what is to be left out; isSupported(),
/// isPhoto() and isVideo() answer true for what is wanted. Only isPathFiltered(const QString&) looks at the
/// disk; the others are rules over text. The platform's rules are those of VKQtSysInfo.
///
/// A default filter shares its lists with the static ones, so making or copying one allocates nothing. Not
/// synchronised; the static lists never change and may be read from any thread once the library is loaded.
class VKQT_EXPORT VKQtPathFilter {
public:
    VKQtPathFilter();
    VKQtPathFilter(const VKQtPathFilter& other) = default;
    VKQtPathFilter(VKQtPathFilter&& other) noexcept = default;
    VKQtPathFilter& operator=(const VKQtPathFilter& other) = default;
    VKQtPathFilter& operator=(VKQtPathFilter&& other) noexcept = default;
    virtual ~VKQtPathFilter();

    /// A default filter that accepts files with these extensions (lower case, without dot) and no others,
    /// and folders when `includeFolders`.
    [[nodiscard]] static VKQtPathFilter makeFilter(const QStringList& extensions, bool includeFolders);

    /// Whether the switches and mExtensions want this item: a folder when mIncludeFolders; a file when
    /// mIncludeFiles and its lower-cased suffix is in mExtensions. The excluded endings are not looked at.
    [[nodiscard]] bool isSupported(const VKQtPath& path) const;

    /// Whether the lower-cased suffix is one of sPhotoExtensions, or of sVideoExtensions.
    [[nodiscard]] static bool isPhoto(const VKQtPath& path);
    [[nodiscard]] static bool isVideo(const VKQtPath& path);

    /// Whether a path is to be left out.
    ///
    ///     "/p/a.JPG" -> false      "/p/a.txt" -> true       "" -> true
    ///     folder "." or ".." (the whole text) -> true       folder "/p/Foo.aplibrary" -> true, its ending
    ///     folder "/p/.app" -> true on macOS, its name       folder "/p/Foo.app" -> false
    ///
    /// A folder: by mIncludeFolders, then by its name in the platform's list of names, then by its ending. A
    /// file: by mIncludeFiles, then by its suffix in mExtensions unless mAcceptAllFiles, then by its ending.
    [[nodiscard]] bool isPathFiltered(const VKQtPath& path) const;

    /// The same for a path of which only the disk knows whether it is a folder. What does not exist is *not*
    /// filtered (false). An item whose name is spelled in another Unicode form on disk counts as existing.
    [[nodiscard]] bool isPathFiltered(const QString& path) const;

    /// Whether a folder is to be left out of a listing: by its name, on macOS by its whole path (ignoring
    /// case) in kMacGlobalFolderExcludes, or by its ending.
    ///
    /// Deliberately looks neither at mIncludeFolders nor at "." and "..": the caller has done so.
    [[nodiscard]] bool isDirectoryFiltered(const VKQtPath& folder) const;

    /// Whether a file of this name is to be left out: false with mAcceptAllFiles, otherwise whether
    /// mExtensions lacks the lower-cased text after the last "." (empty if there is none).
    ///
    ///     "a.JPG" -> false      "x.jpg.lrcat" -> true      "a.lrdata.jpg" -> false
    ///
    /// Deliberately not asked about excluded endings: listings have always shown such files.
    [[nodiscard]] bool isFileNameFiltered(const QString& name) const;

    /// Whether the text ends, ignoring case, with one of mExcludedEndings or, without mIncludeVideos, with
    /// one of sVideoExtensions.
    ///
    /// The video extensions have no dot here, deliberately: "/x/remov" counts as ending in "mov".
    [[nodiscard]] bool isPathEndingExcluded(const QString& text) const;

    bool mIncludeFolders = true;  ///< Folders may pass.
    bool mIncludeFiles = true;    ///< Files may pass.
    bool mIncludeHidden = false;  ///< A listing has hidden entries too.
    bool mAcceptAllFiles = false; ///< Files pass whatever their extension.
    bool mIncludeVideos = true;   ///< When false, names that end like a video are excluded.
    bool mIncludePackages = true; ///< When false, a listing leaves packages (bundles) out.
    QStringList mExtensions;      ///< The photo list, then the video list. Lower case, without dot.
    QStringList mExcludedEndings; ///< sExcludedEndings. Endings of paths, ignoring case.

    static const QStringList sVideoExtensions;           ///< 8 entries.
    static const QStringList sPhotoExtensions;           ///< 34 entries; "rwl" stands twice, deliberately.
    static const QStringList sFolderNamesToExcludeOnWin; ///< Whole names, wherever isMacPlatform() is false.
    static const QStringList sFolderNamesToExcludeOnMac; ///< Whole names, under macOS rules.
    static const QStringList kMacGlobalFolderExcludes;   ///< Whole paths, under macOS rules.
    static const QStringList sExcludedEndings;           ///< Endings of paths, with their dot.
};
