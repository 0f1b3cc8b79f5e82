// Where things are, what may be done to them, and which volume they lie on: the file-system services of the
// library as static functions over VKQtPath. Thin: the work is the core library's (VKFileMgr.h, VKProduct.h).
#pragma once

#include "VKQtExport.h"
#include "VKQtPath.h"

#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKFileMgr.h>
#include <VKCoreKit/VKProgress.h>
#include <VKCoreKit/VKStatus.h>
#include <VKCoreKit/VKTypes.h>

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>

#include <functional>
#include <mutex>

/// Static functions; only the product folders are kept in an instance.
///
/// Statuses: 0 for success, one of VKStatus.h, or the errno of the system call that failed. What can be logged
/// is told at each function; 1007 (cancelled, or not applicable) never is. A function that answers by a text or
/// a path gives an empty one where there is no answer. Nothing is thrown.
///
/// Every path meets the disk under the spelling that its name has there. Functions block as the disk does. They
/// may run on any thread, but for initialize(), which is to be over before others use mobile-relative paths. A
/// path argument is not shared with another thread while the call runs. References to non-const paths are so
/// for older callers; only those named "out..." change.
class VKQT_EXPORT VKQtPathUtils {
public:
    VKQtPathUtils();
    VKQtPathUtils(const VKQtPathUtils&) = delete;
    VKQtPathUtils& operator=(const VKQtPathUtils&) = delete;
    virtual ~VKQtPathUtils();

    /// The process-wide instance, made on first use and never destroyed.
    [[nodiscard]] static VKQtPathUtils* instance();

    /// Finds the root of mobile-relative paths: the folder above the product's cloud documents
    /// (kVKFolderCloudDocuments). Call it once at start-up; calling again looks again. 1007, and silence, where
    /// the machine has no such folder; any other failure is logged. After a failure the root stays as it was.
    static VKStatus initialize();

    // Well-known folders.

    /// The place of a well-known folder, with `subfolder` appended unless that is empty. `domain` goes to the
    /// core library as it is. `outPath` changes only on success. Not logged.
    [[nodiscard]] static VKStatus getFolderPath(void* domain, VKFolderType type, const QString& subfolder,
                                                QString& outPath);

    /// The maker's per-user application data folder, above those of the products.
    [[nodiscard]] static QString getUserAppDataPath();

    /// The same as a URL that the caller releases; null when there is none.
    [[nodiscard]] static CFURLRef getAppDataPathName();

    /// The application data folder of a product, or of a part of it when `subProduct` is not null; of this user
    /// or of all. Null for an unknown product and where the folder cannot be had. Any thread.
    ///
    /// Who owns the answer differs, deliberately: callers have always met it so.
    ///
    ///     subProduct null, cache true    the cache: the caller does not release it
    ///     subProduct null, cache false   the cache if it has the folder already, otherwise the caller
    ///     subProduct given               the caller; never cached
    ///
    /// A cached folder is never asked for again, also when it has moved.
    [[nodiscard]] CFURLRef getAppDataPathForProductName(CFStringRef product, CFStringRef subProduct,
                                                        bool user, bool cache);

    /// The per-user folder of the product, or of its part unless `subProduct` is empty.
    [[nodiscard]] static QString getUserAppDataPathForProduct(const QString& product,
                                                              const QString& subProduct, bool cache);
    /// Without a part, and cached.
    [[nodiscard]] static QString getUserAppDataPathForProduct(CFStringRef product);

    /// The folder of the product for all users, cached.
    [[nodiscard]] static QString getSystemDataPathForProduct(const QString& product);
    [[nodiscard]] static QString getSystemDataPathForProduct(CFStringRef product);

    /// The common folder of the suite's first product, of this user or of all.
    [[nodiscard]] static QString getCommonFolderPath(bool user);

    /// Its folder for extras.
    [[nodiscard]] static QString getExtrasFolderPath(bool user);

    /// The user's folders, wherever the desktop's settings put them and whatever they are called there. Nothing
    /// is made. desktopPath() and picturesPath() are empty where the user has switched these folders off.
    [[nodiscard]] static VKQtPath homePath();
    [[nodiscard]] static VKQtPath desktopPath();
    [[nodiscard]] static VKQtPath picturesPath();

    /// Whether the text of desktopPath() (picturesPath()) occurs in the path, anywhere, case-sensitively: text
    /// only. So "/home/a/Desktop2" counts as a desktop path: deliberate, callers rely on it.
    [[nodiscard]] static bool isDesktopPath(QString path);
    [[nodiscard]] static bool isPicturesPath(QString path);

    /// A path for people, in native separators. In one through the desktop (pictures) folder the components
    /// "Desktop" ("Pictures"), in just this spelling, are named as the user knows these folders, and the leading
    /// separator is left out: deliberate, such a text begins with a folder's name.
    ///
    ///     "/home/a/Desktop/x.jpg" -> "home/a/Desktop/x.jpg", with the desktop's name
    ///     "/srv/Pictures/x.jpg"   -> the same text: not in the user's pictures folder
    [[nodiscard]] static QString getSystemPathDisplayString(QString path);

    // Paths in the cloud documents.

    /// Whether the text contains "/Library/Mobile Documents".
    [[nodiscard]] static bool isICloudPath(const VKQtPath& path);

    /// The path with the root that initialize() found replaced by "/relative-mobile", wherever it occurs, if the
    /// path begins with it; otherwise unchanged. The folder flag stays. Always 0.
    [[nodiscard]] static VKStatus createMobileRelativePath(const VKQtPath& path, VKQtPath& outPath);

    /// The way back: "/relative-mobile" at the beginning, and wherever it occurs then, becomes the root.
    [[nodiscard]] static VKStatus createFullPathFromMobileRelativePath(const VKQtPath& path,
                                                                       VKQtPath& outPath);

    // Questions about one item.

    /// The path of the image's sidecar file, which need not exist. A path that names no file gives 0 and leaves
    /// `outSidecar` as it is. Not logged.
    [[nodiscard]] static VKStatus makeSidecarFilePath(const VKQtPath& image, VKQtPath& outSidecar);
    [[nodiscard]] static bool hasSidecarFile(const VKQtPath& image);

    /// Whether this process can create items in the folder. A text that names no folder gives 0 and false; 1025
    /// (the file system does not say) comes with the framework's answer in `writable`. Not logged.
    [[nodiscard]] static VKStatus dirPathWriteable(const QString& dir, bool& writable);

    /// The bytes that this process may still write on the item's volume. A path that names no file gives 0 and 0
    /// bytes. Not logged.
    [[nodiscard]] static VKStatus getBytesFreeFromPath(VKQtPath& path, unsigned long long& bytesFree);

    /// Whether the error is "permission denied" (13).
    [[nodiscard]] static bool isFileAccessError(int error) noexcept;

    /// Whether there is an item. A link is one, also to nothing. `isFolder` says how the text is meant; a file
    /// that is asked for as a folder is found all the same.
    [[nodiscard]] static bool pathExists(const QString& path, bool isFolder);

    /// Whether there is a folder, or a link to one.
    [[nodiscard]] static bool isFolder(const QString& path);

    /// The folder "+raw", made when it is missing. Failures are logged.
    [[nodiscard]] static VKStatus createPlusRawDirectory(VKQtPath& outPath);

    /// Gives the path the security token that this process holds for it: the bookmark data that is registered
    /// for its URL with VKBookmarkManager. Without one the path stays as it is. Makes none. Always 0.
    static VKStatus loadSecurityToken(VKQtPath& path);

    // Files and folders. A failure is returned and logged unless told otherwise, and leaves the disk as it was
    // unless told otherwise. A path that names no file: 1005.

    /// Makes the folder and those above it that are missing. 0 when it is there, 17 when a file is.
    static VKStatus createFolder(VKQtPath& path);
    /// The same under its other name.
    static VKStatus createDirectory(VKQtPath& path);

    /// Deletes a folder with everything in it, or a file, by the path's folder flag: a folder whose path has
    /// none is 21. Not into a recycle bin. Not logged.
    static VKStatus deleteItem(VKQtPath& path);

    /// Moves the item to its volume's recycle bin; `outRecycled` is then its path there, with the item's folder
    /// flag. 1007 where there is no bin for it: the caller may then delete. 2 (nothing there) is not logged. The
    /// name is misspelled on purpose: callers bind to it.
    static VKStatus recyleItem(VKQtPath& item, VKQtPath& outRecycled);

    /// Whether there is a bin for the item.
    [[nodiscard]] static bool canRecycleItem(VKQtPath& item);

    /// Takes the item out of the bin, to the target, or to where it came from when that path is empty. Never
    /// overwrites: 17.
    static VKStatus restoreRecycledItem(VKQtPath& recycled, VKQtPath& targetOrEmpty);

    /// Copies one file with its times, mode and attributes. Never overwrites: 17.
    static VKStatus copyFile(VKQtPath& from, VKQtPath& to);

    /// Gives the item a new place and name. Never overwrites: 17.
    ///
    /// Two paths that differ in case only go through a free name beside the source, because a file system that
    /// ignores case skips such a rename. When the second step fails the item gets its old name back; should that
    /// fail too, or the process end between the steps, it stays whole under the free name.
    static VKStatus moveFile(VKQtPath& from, VKQtPath& to);

    /// Copies the content of a folder into `to`, which is made when it is missing. Hidden entries, fifos,
    /// sockets and devices are left out, links are copied as links.
    ///
    /// **A failure or a cancel deletes `to` with everything in it, also what was there before the call: copy
    /// into a folder of its own. `from` equal to `to` is such a failure (1005), so that it deletes the source.**
    /// (Equal as paths are: without case.) Both are how the operation is defined, and its callers look first. A
    /// path that names a folder inside the source ends as well, once the source was scanned.
    ///
    /// `progress` (may be null) is told of three stages: the scan (0 steps), the folders, the files; its
    /// cancelling gives 1007. A missing source gives an empty destination and 0. After a failure the clean-up's
    /// own failure is not reported.
    static VKStatus copyRecursive(VKQtPath& from, VKQtPath& to, VKProgress* progress);

    /// A name that is free at the moment, beside `where` (the item that is to be copied): `name` itself, "name
    /// copy.ext", "name copy 2.ext"..., with "copy" in the user's language (see VKQtLocale). The folder flag is
    /// the opposite of `isFile`. Empty when `where` names no file. Create the item exclusively: another process
    /// may take the name first.
    [[nodiscard]] static VKQtPath createPathWithUniqueName(VKQtPath& where, const QString& name, bool isFile);

    /// The same with a status: 1006, and `outPath` untouched, when `where` names no file, `name` is null, or no
    /// free name can be made of it.
    static VKStatus createPathWithUniqueName2(VKQtPath& where, const QString& name, bool isFile,
                                              VKQtPath& outPath);

    /// Text only: "a/" + "b" and "a" + "b" -> "a/b", "a/" + "/b" -> "a//b", "" + "b" -> "/b".
    [[nodiscard]] static QString createCopyAppendingQTNormalizePathComponent(const QString& base,
                                                                             const QString& component);

    /// The names of the folders in a folder, without hidden ones, packages and links, in the file system's
    /// order. Empty when the folder cannot be read. Nothing is logged.
    static void getDirectories(const QString& folder, QList<QString>& outNames);

    /// Replaces the whole content of the file, or creates it; the old content stays whole until the new one is
    /// stored.
    static VKStatus writeFileContents(CFDataRef data, VKQtPath& file);
    static VKStatus writeFileContents(const QByteArray& bytes, VKQtPath& file);

    /// The whole content, as data that the caller releases; null after a failure. 27 when it is longer than
    /// VKFileMgrSetReadLimit() allows.
    [[nodiscard]] static VKStatus readFileContentsCopy(VKQtPath& file, CFDataRef& outData);

    /// The version of a bundle or a shared library. 1007 where the item has none; 1005 for an empty text; a text
    /// that names no file gives 0 and fills nothing. Text and record change only on success.
    [[nodiscard]] static VKStatus getFileVersionInfo(const QString& file, bool isFolder, QString& outText,
                                                     VKVersionInfo& outInfo);

    /// Where the installed content lies, for the core library. A path that names no file forgets it.
    static void setFactoryContentLocation(VKQtPath folder);

    // Volumes. A volume is the path of the folder where a file system is mounted. Nothing is logged unless told.

    /// The volumes that a person knows, as folders, in the order of the system's mount table: no system mounts,
    /// none of a fixed list of mount points, none whose name begins with ".".
    [[nodiscard]] static QList<VKQtPath> getVolumes();

    /// Whether the path equals one of getVolumes(), as paths are equal: without case.
    [[nodiscard]] static bool isVolume(const VKQtPath& path);

    /// Whether the root of the path's volume exists (see VKQtPath::fullVolume()).
    [[nodiscard]] static bool isVolumeOnline(const VKQtPath& path);

    /// The volume's root of a path. Text only.
    ///
    ///     macOS:     "/Volumes/Card/DCIM" -> "/Volumes/Card"     "/x" -> "/"     "" and "x" -> ""
    ///                "/Users/a" -> "/System/Volumes/Data" from macOS 10.15 on, "/" before
    ///     Windows:   "c:/Photos" -> "C:"     "//srv/share/x" -> "//srv/share"    "//srv" and "x" -> ""
    ///     elsewhere: "/" for every text
    [[nodiscard]] static QString getVolumeGivenPath(const QString& path);
    /// The same as a folder path.
    [[nodiscard]] static VKQtPath getVolumeGivenPath(const VKQtPath& path);

    /// The name that a person knows the volume by; its path where it has none. The flag changes nothing.
    [[nodiscard]] static QString getPrettyVolumeName(const VKQtPath& volume, bool unused);

    /// The same by the core library; empty where it knows none.
    [[nodiscard]] static QString getVolumeDisplayName(QString volume);

    /// The file system's own identifier of the volume that holds the item; empty where it has none.
    [[nodiscard]] static QString getVolumeUUID(const QString& path, bool isFolder);

    /// A number that stays with the volume when it is renamed or mounted elsewhere: made from its identifier,
    /// from the source of a network volume, or from a marker file, which is then made on it. 0 where the volume
    /// has nothing of that. An empty text is 1005, logged; any other gives 0 as the status.
    [[nodiscard]] static VKStatus getUniqueVolumeID(const QString& volume, unsigned int& id);

    /// The number from the marker file ".browse" in the volume's root, which is made when it is missing; `id`
    /// stays as it is when it cannot be made. Always 0.
    static VKStatus makeVolumeIDFromFile(const QString& volume, unsigned int& id);

    /// Whether the volume can be ejected by the user. False where that cannot be told.
    [[nodiscard]] static bool isRemovable(const VKQtPath& volume);

    /// Asks the system to unmount the volume and does not wait: the list of volumes tells. Always 0.
    static VKStatus removeDrive(const VKQtPath& volume);

    /// The texts, in order.
    [[nodiscard]] static QList<QString> qPathListToStringList(const QList<VKQtPath>& paths);

    /// The paths, in order; the predicate says for each text whether it is a folder. An empty predicate is a
    /// programming error and ends as std::function has it, with std::bad_function_call.
    [[nodiscard]] static QList<VKQtPath>
    stringListToQPathList(const QList<QString>& texts, const std::function<bool(const QString&)>& isFolder);

private:
    // Token -> root. Filled by initialize() before other threads read it.
    static QHash<QString, QString> sRelocatableRoots;

    std::mutex mMutex; // guards both
    VKCFRef<CFMutableDictionaryRef> mUserFolders;
    VKCFRef<CFMutableDictionaryRef> mSystemFolders;
};
