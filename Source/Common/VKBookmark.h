// One reference to a file or folder that the user chose: its path, the bookmark data that finds it again and
// carries the sandbox's grant, and a number of the application's. Kept as an XML property list.
#pragma once

#include "VKBookmarkKeys.h"
#include "VKQtExport.h"
#include "VKQtPath.h"

#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/CBaseCore.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKStatus.h>

#include <QByteArray>
#include <QString>

#include <cstdint>

/// A counted object; each is used by one thread at a time.
///
///     VKBookmark* bookmark = nullptr;                       // the user has chosen a folder
///     if (VKBookmark::create(url, true, bookmark) == kVKStatusSuccess) { bookmark->save(bytes); ... }
///
///     bookmark->load(bytes);                                // at the next start
///     bookmark->checkout();
///     ... bookmark->resolveUrlPath() ...                    // where it is now
///     bookmark->checkin();
///
/// Outside a sandbox checkouts succeed and do nothing, and create() makes a bookmark that holds the path alone.
/// One that follows a renamed item there gets its data from CFURLCreateBookmarkData() by setData().
class VKQT_EXPORT VKBookmark : public CBaseCore {
public:
    /// No path, no data: the bookmark of a folder with the number 0, not checked out.
    VKBookmark();
    explicit VKBookmark(CFStringRef path);

    /// Copies path, data, kind and number. Where the item is, checkouts, refusal and the removed flag are not
    /// copied.
    VKBookmark(const VKBookmark& other);
    VKBookmark& operator=(const VKBookmark&) = delete;

    /// Checks in once for each outstanding checkout.
    ~VKBookmark() override;

    /// Back to a new object: outstanding checkouts are checked in, all fields cleared.
    void init();

    /// A new bookmark of the item, with the security token that VKBookmarkManager::createSecurityToken() gives
    /// for it, in `out`, which the caller releases. `out` changes only on success. 1002 when the text or URL
    /// names no file, otherwise that call's status. Not registered: load() does that.
    [[nodiscard]] static VKStatus create(const QString& path, bool isFolder, VKBookmark*& out);
    [[nodiscard]] static VKStatus create(CFStringRef path, bool isFolder, VKBookmark*& out);
    [[nodiscard]] static VKStatus create(CFURLRef url, bool isFolder, VKBookmark*& out);

    /// VKBookmarkManager::hasSandboxAccess() of the shared instance.
    [[nodiscard]] static bool hasSandboxAccess(const QString& path, bool isFolder);

    /// The order of the two paths, by UTF-16 unit and with case; no path comes first. The context is not looked
    /// at. Has the shape of a comparison for sorting arrays.
    [[nodiscard]] static CFComparisonResult compare(VKBookmark* first, VKBookmark* second, void* context);

    /// Each replaces one field. The others stay as they are, so that a URL which was resolved before is not
    /// resolved again: setUrlPath(nullptr) forgets it.
    void setPath(CFStringRef path);
    void setPath(const QString& path);
    void setData(CFDataRef data);
    /// Outstanding checkouts of the former URL are checked in: nobody could any more.
    void setUrlPath(CFURLRef url);
    void setRefcon(std::int32_t refcon) noexcept { mRefcon = refcon; }
    void setFileIsRemoved(bool removed) noexcept { mFileIsRemoved = removed; }

    /// The path in Unicode form C; empty when there is none.
    [[nodiscard]] QString path() const;

    /// The same as a path value, a folder's unless this is a file's bookmark; an empty path when there is none.
    /// Not where the item is now: resolveUrlPath() tells that.
    [[nodiscard]] VKQtPath makePath() const;

    /// The bookmark data, borrowed; null when there is none.
    [[nodiscard]] CFDataRef data() const noexcept { return mData.get(); }
    [[nodiscard]] bool isFile() const noexcept { return mIsFile; }
    [[nodiscard]] std::int32_t refcon() const noexcept { return mRefcon; }
    [[nodiscard]] bool fileIsRemoved() const noexcept { return mFileIsRemoved; }

    /// Checkouts that are not checked in.
    [[nodiscard]] std::int32_t checkoutCount() const noexcept { return mCheckoutCount; }

    /// Whether a checkout found no access to start. From then on, for the life of the object, checkouts and
    /// checkins do nothing.
    [[nodiscard]] bool checkoutRefused() const noexcept { return mCheckoutRefused; }

    /// Where the item is, borrowed from this object; null when that cannot be told. Found once and then kept,
    /// null included; a failure to resolve the data is logged once, unless its code is 0 or 1007. Without data
    /// it is the URL of the path. Looks at the disk.
    CFURLRef resolveUrlPath();

    /// Starts the sandbox's access to the item, if the manager has it registered. Always 0: whether there is
    /// access checkoutRefused() tells. Nothing outside a sandbox, and once refused.
    VKStatus checkout();

    /// Gives one checkout back. Always 0. Nothing when none is outstanding.
    VKStatus checkin();

    /// The kept fields as a new dictionary that the caller releases: see VKBookmarkKeys.h. A null path or data
    /// is left out.
    [[nodiscard]] CFMutableDictionaryRef getInfoCopy() const;

    /// Appends the dictionary as XML to the bytes. 0; 1002, and nothing is appended, when the path is no
    /// Unicode text and so can be no XML.
    [[nodiscard]] VKStatus save(QByteArray& out) const;

    /// Takes over a dictionary's fields, resolves the URL and registers it with the manager.
    ///
    /// 1009 without "name", nothing is changed then; and 1009 without "file", when path, data and registration
    /// are done already: deliberate, callers take 1009 as a failed load. A path or data of another type counts
    /// as missing, a number of another type as 0. The URL is resolved before "file" is read, so that without
    /// data it is made with the kind that this object had before: a new one's is a folder's. What a former load
    /// had resolved is dropped, its checkouts checked in.
    [[nodiscard]] VKStatus load(CFDictionaryRef info);

    /// The same from XML. kVKBookmarkNotAList when the bytes are not a property list whose root is a dictionary
    /// with at least one entry.
    [[nodiscard]] VKStatus load(const QByteArray& xml);

private:
    void checkInAll();

    VKCFRef<CFStringRef> mPath;
    VKCFRef<CFDataRef> mData;
    VKCFRef<CFURLRef> mUrl;
    std::int32_t mRefcon = 0;
    std::int32_t mCheckoutCount = 0;
    bool mIsResolved = false; // tells a URL that could not be resolved from one that nobody asked for
    bool mCheckoutRefused = false;
    bool mIsFile = false;
    bool mFileIsRemoved = false;
};

/// What load() answers for bytes that hold no bookmark: -1.
inline constexpr VKStatus kVKBookmarkNotAList = static_cast<VKStatus>(-1);
