// The path value that every service of the library takes and returns: one canonical text, a folder flag, an
// optional volume identifier and an optional security token. Text only, but where a function says otherwise.
#pragma once

#include "VKBookmarkKeys.h"
#include "VKQtExport.h"

#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/CBaseCore.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKStatus.h>

#include <QFileInfo>
#include <QJsonObject>
#include <QJsonValue>
#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>

class QDataStream;
class QDateTime;
class QDebug;
struct stat;

/// A path as text in canonical form: "/" between components, no "/" at the end, Unicode normalisation form C.
///
/// The canonical form is that of normalize(). Every operation that sets the text brings it there, except
/// replace(). "~", "." and ".." stay as they are; relative paths stay relative; case stays as it is.
///
/// A path is a value: copying shares the text. Equality ignores case, ordering does not: that mismatch is
/// deliberate, and two paths that differ only in case are equal and yet ordered. Folder flag, volume
/// identifier and token take no part in either.
///
/// No function reports an error: odd input gives an odd or an empty path. A path is used by one thread at a
/// time. Names that begin with "create" or "make" and return a CoreFoundation value hand over a reference
/// that the caller releases.
class VKQT_EXPORT VKQtPath : public CBaseCore {
public:
    /// "/", the separator of canonical texts. Read-only, from library load on.
    static const QString kCanonicalPathSeparator;

    /// An empty path: no text, a file, volume identifier 0 that is not present, no token.
    VKQtPath() noexcept;

    /// Shares the text and retains the token. A full volume that the other has cached is not copied.
    VKQtPath(const VKQtPath& other) noexcept;

    /// Takes everything; the other becomes an empty path.
    VKQtPath(VKQtPath&& other) noexcept;

    /// The folder that contains the entry (its absolutePath()), with the entry's own isDir() as the folder
    /// flag: the file "/a/b.jpg" gives the text "/a" and no folder flag. Not what VKQtPath(QUrl) does;
    /// deliberate, callers rely on it. Asks the file system.
    VKQtPath(const QFileInfo& info);

    /// The entry itself, as an absolute path. A folder if one exists there, under this name or under another
    /// Unicode spelling of it; what does not exist is a file. A URL that is empty or names no local file
    /// gives an empty path. Asks the file system.
    VKQtPath(const QUrl& url);

    /// setPath(text, folder). A null string gives an empty text.
    VKQtPath(CFStringRef text, bool folder);

    /// setPath(text, folder).
    VKQtPath(const QString& text, bool folder);

    /// setPath(text, folder, volumeID).
    VKQtPath(const QString& text, bool folder, unsigned int volumeID);

    /// Releases the token and the cached full volume.
    ~VKQtPath() override;

    /// Copies what the copy constructor copies. The full volume that this path has cached for its old text
    /// stays: deliberate, it is what callers of the cache have always met.
    VKQtPath& operator=(const VKQtPath& other) noexcept;

    /// Takes the other's text, flags and token; the other becomes an empty path. The cached full volume stays
    /// as it does with copying. Moving a path onto itself does nothing.
    VKQtPath& operator=(VKQtPath&& other) noexcept;

    /// Makes this an empty path again: token and cached full volume are released, the volume identifier is 0.
    void clear() noexcept;

    /// The canonical text.
    [[nodiscard]] const QString& path() const& noexcept { return mPath; }
    [[nodiscard]] QString path() && noexcept { return std::move(mPath); }

    /// Whether the path names a folder. A property of the value: nothing is looked up.
    [[nodiscard]] bool isFolder() const noexcept { return mFolder; }

    /// The volume identifier. It keeps its value while hasVolumeID() is false, and is written to JSON and
    /// streams then too.
    [[nodiscard]] unsigned int volumeID() const noexcept { return mVolumeID; }

    /// Whether the volume identifier was given explicitly and is carried along by append().
    [[nodiscard]] bool hasVolumeID() const noexcept { return mHasVolumeID; }

    /// The security token, borrowed; null when there is none.
    [[nodiscard]] CFDataRef securityToken() const noexcept { return mSecurityToken.get(); }

    /// Stores a token and retains it; null removes the one that is there.
    void setSecurityToken(CFDataRef token);

    /// Sets text and folder flag. Releases token and cached full volume; the volume identifier keeps its
    /// value but is no longer present.
    void setPath(const QString& text, bool folder);

    /// As above, then sets the volume identifier and marks it present, 0 too.
    void setPath(const QString& text, bool folder, unsigned int volumeID);

    /// setPath() with the string's text up to its first NUL; a null string gives an empty text.
    void setPath(CFStringRef text, bool folder);

    /// setPath() with the file-system path of the URL; a `volumeID` of 0 means none. A backslash, in a URL part
    /// of a name, shows as U+FFFD, by which the name is found again. A null URL, or one that names no file, gives
    /// an empty text.
    void setPath(CFURLRef url, bool folder, unsigned int volumeID);

    /// Takes the other's text as it stands, its folder flag and its token; releases the cached full volume.
    /// The volume identifier and its presence stay this path's own.
    void setPath(const VKQtPath& other);

    /// Puts `with` in place of the text from `start` up to, and not including, `end`: both are positions.
    /// Out-of-range positions act as they do in QString::mid(0, start) and QString::mid(end). Deliberately
    /// the one operation that does not normalise; token and cached full volume stay.
    void replace(int start, int end, const QString& with);

    /// The canonical form of a text.
    ///
    ///     "C:\Photos\" -> "C:/Photos"     every backslash becomes "/"
    ///     "/a/"        -> "/a"            one "/" at the end goes if there are three characters or more,
    ///     "/a//"       -> "/a/"           and only one
    ///     "/", "a/"    -> "/", "a/"
    ///     "C:"         -> "C:/" folder    a folder of two characters that ends with ":" is a drive
    ///     "C:"         -> "C:"  file
    ///     "e" U+0301   -> "é"             Unicode normalisation form C
    ///
    /// A text that is canonical already is shared, not copied.
    [[nodiscard]] QString normalize(const QString& text, bool folder) const;

    /// The number of UTF-16 units of the text.
    [[nodiscard]] int length() const noexcept { return static_cast<int>(mPath.size()); }

    /// The text after the last "/".
    ///
    ///     "/a/b.jpg" -> "b.jpg"      "/" -> ""
    ///     "Photos"   -> "Photos"     a file without "/": all of it
    ///     "Photos"   -> ""           a folder without "/": nothing
    [[nodiscard]] QString filename() const;

    /// computeBaseName() of the text.
    [[nodiscard]] QString baseName() const;

    /// The text after the last "/", without its last "." and what follows that.
    ///
    ///     "/p/a.tar.gz" -> "a.tar"     ".profile" -> ""     "/p/a" -> "a"     "/p/" -> ""
    [[nodiscard]] static QString computeBaseName(const QString& text);

    /// The text after the last ".", in lower case; empty without a ".". Deliberately looks at the whole text,
    /// not only at the last component.
    ///
    ///     "/A/B.JPG" -> "jpg"     "/x.y/z" -> "y/z"     "/a" -> ""
    [[nodiscard]] QString suffix() const;

    /// The containing folder, as a folder path that carries this path's volume identifier, marked present.
    ///
    ///     "/a/b.jpg"   -> "/a"        "/a" -> "/"        "/" -> ""
    ///     "b.jpg"      -> "b.jpg"     no folder in the text: the text itself
    ///     "C:/"        -> ""          a drive root has no container: an empty path
    ///     "/Volumes/x" -> "/Volumes"  without a volume identifier
    ///     "/a///b"     -> "/a"        up to two further "/" at the end go
    ///
    /// Text only: nothing is looked up. The security token is not carried over.
    [[nodiscard]] VKQtPath pathOnly() const;

    /// The components, without empty ones; a "/" at the start is a component of its own.
    ///
    ///     "/a/b" -> "/", "a", "b"     "//srv/share" -> "/", "srv", "share"
    ///     "C:/x" -> "C:/", "x"        "/" -> "/"        "" -> none
    [[nodiscard]] QStringList split() const;

    /// The ancestors from the root down, as folders with this path's volume identifier, marked present. A
    /// folder's own path is the last one.
    ///
    ///     "/a/b.jpg" file -> "/", "/a"     "/a/b" folder -> "/", "/a", "/a/b"     "" -> none
    ///
    /// Each ancestor is a text of its own, so a text of very many components takes memory for all of them.
    [[nodiscard]] QList<VKQtPath> parents() const;

    /// Joins a part to the text and sets the folder flag. Token and cached full volume are released; a volume
    /// identifier that is present stays.
    ///
    ///     macOS rules:  "/a" + "b" -> "/a/b"    "" + "a" -> "/a"    "/" + "/a" -> "//a"    "a" + "/b" ->
    ///     "a/b" other rules:  "/a" + "b" -> "/a/b"    "" + "a" -> "a"     "/" + "/a" -> "//a"    "a" + "/b"
    ///     -> "a//b"
    void append(const QString& part, bool folder);
    void append(CFStringRef part, bool folder);
    /// append(other.path(), other.isFolder()).
    void append(const VKQtPath& other);

    /// Drops the last component; what is left is a folder. A text of one component or none stays, flags too.
    ///
    ///     "/a/b.jpg" -> "/a"     "/a" -> "/"     "a" -> "a"     "//srv/share/x" -> "//srv/share"
    ///     "a/b"      -> "a"      under macOS rules "/a": the join adds the slash
    ///
    /// Token and cached full volume are released when a component goes.
    void deleteLastPathComponent();

    /// The folder that contains the entry, absolute (QFileInfo::absolutePath()), with this path's folder
    /// flag. Relative texts are taken from the current folder. A resource path stays one.
    [[nodiscard]] VKQtPath absolutePath() const;

    /// The text with the separators of the running system.
    [[nodiscard]] QString platformSpecificPath() const;

    /// A QFileInfo of the text. It looks under the canonical spelling only.
    [[nodiscard]] QFileInfo info() const;

    /// A file URL that holds the name as it is spelled on disk, a directory URL for a folder; null when the
    /// text can name no file (an embedded NUL, an unpaired surrogate). The caller releases it. Looks at the
    /// disk if the name has several Unicode spellings.
    [[nodiscard]] CFURLRef createCFUrl() const;
    [[nodiscard]] CFURLRef makeCFUrl() const;

    /// The text as a CoreFoundation string. The caller releases it.
    [[nodiscard]] CFStringRef createCFString() const;
    [[nodiscard]] CFStringRef makeCFString() const;

    /// QUrl::fromLocalFile() of the text.
    [[nodiscard]] QUrl makeQUrl() const;

    /// Whether the text starts with "//".
    [[nodiscard]] bool isUNC() const noexcept;

    /// Whether the file system that holds the path is on another machine. False where that cannot be asked (a
    /// missing entry, a text that names no file). Asks the system, through the name on disk.
    [[nodiscard]] bool isNetwork() const;

    /// Whether the text contains the other, case-sensitively; an empty text is contained in every path.
    [[nodiscard]] bool contains(const QString& text) const;
    [[nodiscard]] bool contains(const VKQtPath& other) const;

    /// Whether the text starts (ends) with the other, ignoring case as QString does. False for an empty one.
    [[nodiscard]] bool startsWith(const QString& text) const noexcept;
    [[nodiscard]] bool endsWith(const QString& text) const noexcept;

    /// Whether this path is the prefix or lies below it, case-sensitively. False if either text is empty.
    ///
    ///     folder "/a/b" is a prefix of "/a/b/c" and of the folder "/a/b", not of "/a/bc"
    ///     file   "/a/b" is a prefix of "/a/bc": files are compared as mere text
    [[nodiscard]] bool startsWith(const VKQtPath& prefix) const noexcept;

    /// QString::compare() of the two texts: negative, zero, positive.
    [[nodiscard]] int compare(const VKQtPath& other, Qt::CaseSensitivity sensitivity) const noexcept;

    /// Whether the texts are equal ignoring case: QString::compare(..., Qt::CaseInsensitive) == 0. Texts of
    /// different lengths never are. A QString is taken as it stands, without being made canonical.
    [[nodiscard]] bool operator==(const VKQtPath& other) const noexcept;
    [[nodiscard]] bool operator==(const QString& text) const noexcept;
    [[nodiscard]] bool operator!=(const VKQtPath& other) const noexcept { return !(*this == other); }
    [[nodiscard]] bool operator!=(const QString& text) const noexcept { return !(*this == text); }

    /// Whether this text is smaller, case-sensitively, by UTF-16 units. Deliberately unlike equality.
    [[nodiscard]] bool operator<(const VKQtPath& other) const noexcept;

    /// What the suffix() says about the kind of file. Deliberately loose: the suffix has to end with the name
    /// of the kind, and it may span components, so "x.ajpeg" and "/a.b/cjpg" are JPEG files; "/photo" is
    /// nothing.
    ///
    ///     isJPG  "jpg" "jpeg"     isPNG "png"     isTiff      "tif" "tiff"     isVKX     "vkx"
    ///     isHeic "heic"           isGIF "gif"     isPhotoshop "psd" "psb"      isVKPhoto "vkphoto"
    ///     isDNG  "dng"            isXMP "xmp"
    [[nodiscard]] bool isJPG() const noexcept;
    [[nodiscard]] bool isPNG() const noexcept;
    [[nodiscard]] bool isGIF() const noexcept;
    [[nodiscard]] bool isTiff() const noexcept;
    [[nodiscard]] bool isHeic() const noexcept;
    [[nodiscard]] bool isDNG() const noexcept;
    [[nodiscard]] bool isXMP() const noexcept;
    [[nodiscard]] bool isPhotoshop() const noexcept;
    [[nodiscard]] bool isVKX() const noexcept;
    [[nodiscard]] bool isVKPhoto() const noexcept;

    /// Whether the suffix() is one of VKQtPathFilter::sVideoExtensions, exactly.
    [[nodiscard]] bool isVideo() const;

    /// Whether the text starts with ":/", as the paths of compiled-in resources do.
    [[nodiscard]] bool isQRCPath() const noexcept;

    // On disk. Each goes through the name as it is spelled there. A text that names no file is told.

    /// Whether there is an item. A link is one, also to nothing. False for a text that names no file.
    [[nodiscard]] bool exists() const;

    /// Deletes the item, a folder with everything in it, whatever the folder flag says; not into a recycle bin.
    /// VKFileMgrDeleteFolder()'s status; 0, and nothing done, for a text that names no file.
    VKStatus remove() const;

    /// Gives the item that place and name. VKFileMgrMoveFile()'s status, 17 when something is there; 0, and
    /// nothing done, when one of the texts names no file.
    VKStatus move(const VKQtPath& to) const;

    /// Sets the times of access and modification to now; of what a link names. Whether it could is not told.
    void touch() const;

    /// The system's record of the item; a link is followed. 1070 when there is none: `out` is then undefined.
    [[nodiscard]] VKStatus stat(struct ::stat& out) const;

    /// When the item was made, in UTC, and when it was changed, in local time: that difference is deliberate. Of
    /// a link, its own. 1002 for a text that names no file, 1001 when the item has no attributes, as a missing
    /// one. `out` changes only on success, and not when the file system keeps no such date.
    [[nodiscard]] VKStatus created(QDateTime& out) const;
    [[nodiscard]] VKStatus lastModifiedDate(QDateTime& out) const;

    /// Whether this process can create items in the folder. VKFileMgrGetFolderWritable()'s status; 1025 comes with
    /// the framework's answer in `writable`. A text that names no file: 1002, logged.
    [[nodiscard]] static VKStatus isDirWriteable(VKQtPath& dir, bool& writable);
    /// The same for a folder itself, and for a file about the folder that contains it.
    [[nodiscard]] VKStatus isWriteable(bool& writable) const;

    // Volumes. By the text alone, with the rules of VKQtPathUtils::getVolumeGivenPath().

    /// The volume's root of this path.
    [[nodiscard]] QString volume() const;

    /// The same in canonical form; under macOS rules below "/Volumes/" if it does not begin with "/". The argument
    /// is not looked at: deliberate, the path's own text counts.
    [[nodiscard]] QString extractFullVolume(const QString& unused) const;

    /// The volume as a folder with this path's volume identifier, marked present.
    [[nodiscard]] VKQtPath fullVolume() const;

    /// The same, remembered until the next setPath().
    [[nodiscard]] VKQtPath fullVolumeCached();

    /// Whether this is the root of its volume, by exactly equal texts. Under macOS rules "/System/Volumes/Data" is
    /// one. An empty path is none.
    [[nodiscard]] bool isVolume() const;

    /// Does nothing and answers 0: identifiers come from VKQtPathUtils::getUniqueVolumeID().
    VKStatus determineVolumeID();

    /// VKQtPathUtils' answers for this text.
    [[nodiscard]] bool isDesktopPath() const;
    [[nodiscard]] bool isPicturesPath() const;

    // Security token and bookmark dictionary.

    /// Makes this path's security token anew by VKBookmarkManager::createSecurityToken(). `out` is then the
    /// token, lent by this path. The former token is given up in any case, so that outside a sandbox, where
    /// none is made, this path has none afterwards and `out` is null: deliberate, a token of an earlier process
    /// is not one of this process. That call's status; 0, null and nothing changed for a text that names no
    /// file.
    [[nodiscard]] VKStatus makeSecurityToken(CFDataRef& out);

    /// Text, token (if there is one) and folder flag as a new bookmark dictionary (see VKBookmarkKeys.h) that
    /// the caller releases; its "refcon" is 1.
    [[nodiscard]] CFMutableDictionaryRef makeVKBookmarkData() const;

    /// Takes over a bookmark dictionary: folder flag ("file" is not 1), text and token; the volume identifier
    /// is no longer present. 1009 without "file", and 1009 without "name": the folder flag is then changed
    /// already, deliberately. A null dictionary has neither; a text or token of another type counts as missing.
    [[nodiscard]] VKStatus fromVKBookmarkData(CFDictionaryRef info);

    /// {"path": text, "folder": bool, "volumeID": number}. The volume identifier is written whether or not it
    /// is present.
    [[nodiscard]] QJsonValue toJson() const;

    /// {"path": toJson()}: an object with the object of toJson() inside.
    operator QJsonObject() const;

    /// Reads what toJson() writes. A member that is missing or of another type counts as "", false and 0; the
    /// volume identifier is marked present in every case. Identifiers above 2147483647 read back as 0:
    /// deliberate, the documents of earlier releases are read this way.
    [[nodiscard]] static VKQtPath fromJsonPayload(const QJsonObject& payload);

    /// fromJsonPayload() of the value's object; a value that is none counts as an empty object.
    [[nodiscard]] static VKQtPath fromJson(const QJsonValue& value);

    /// Reads the nested form that operator QJsonObject() writes: fromJson() of the member "path".
    [[nodiscard]] static VKQtPath fromJson(const QJsonObject& object);

    /// The texts with ", " between them, in list order; an empty list gives an empty text.
    [[nodiscard]] static QString dumpVKQtPathList(const QList<VKQtPath>& paths);

private:
    // For a text that is known to be canonical.
    struct CanonicalFolder {};
    VKQtPath(CanonicalFolder tag, QString&& text, unsigned int volumeID) noexcept;

    void setJoinedPath(const QString& text, bool folder);

    // Becomes an entry of `folder`, as that one's append() would make it, its canonical text known already.
    void becomeEntry(const VKQtPath& folder, QString&& text, bool isFolder) noexcept;
    friend class VKQtDirIteratorImpl;

    QString mPath;
    bool mFolder = false;
    unsigned int mVolumeID = 0;
    bool mHasVolumeID = false;
    VKCFRef<CFDataRef> mSecurityToken;
    VKOwned<VKQtPath> mFullVolumeCache; // a counted object: its last release deletes it
};

/// A hash that agrees with equality: equal paths, so also those that differ only in case, have the same hash.
[[nodiscard]] VKQT_EXPORT size_t qHash(const VKQtPath& path, size_t seed = 0) noexcept;

/// Writes format version 1 (int), the folder flag (bool), the text (QString; empty, not null, if there is
/// none) and the volume identifier (int). The token is not written.
VKQT_EXPORT QDataStream& operator<<(QDataStream& stream, const VKQtPath& path);

/// Reads what operator<< writes; the volume identifier is then marked present. Another version clears the
/// path and nothing more is read. A stream that ends early clears the path; the stream's status tells. A
/// declared text that is longer than what a random-access device still holds is not read, and no memory is
/// taken for it: the stream gets QDataStream::ReadPastEnd.
VKQT_EXPORT QDataStream& operator>>(QDataStream& stream, VKQtPath& path);

/// For logs: VKQtPath("/a/b", folder, volume 7), the two last only where they apply.
VKQT_EXPORT QDebug operator<<(QDebug debug, const VKQtPath& path);

static_assert(std::is_nothrow_move_constructible_v<VKQtPath> && std::is_nothrow_move_assignable_v<VKQtPath>);
