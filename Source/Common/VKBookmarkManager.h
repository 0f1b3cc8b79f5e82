// The process-wide registry of what a sandboxed process was granted: for each URL its bookmark data and how
// often it is checked out. It starts and stops the access and tells whether a path can be reached.
#pragma once

#include "VKQtExport.h"
#include "VKQtPath.h"

#include <CoreFoundation/CoreFoundation.h>
#include <VKCoreKit/CBaseCore.h>
#include <VKCoreKit/VKCFRef.h>
#include <VKCoreKit/VKStatus.h>

#include <cstdint>
#include <mutex>
#include <vector>

/// Outside a sandbox every operation does nothing, and answers as if all were allowed unless told otherwise.
/// Whether the process is sandboxed is asked on every call.
///
/// An application loads its bookmarks (VKBookmark::load() registers them), checks out what it works on and
/// checks it in when it is done. Checkouts are counted: the access ends with the last one.
///
/// Records are found by equal URLs, as CFEqual() has it: "file:///a" and "file:///a/" are two. A record lives
/// from its first registration until the manager is destroyed, unless destroyBookmarkData() ends it.
///
/// Threads: one lock guards look-ups, insertions and searches, but for the two calls that say so. Checkouts
/// and checkins of one URL come from one thread at a time. sharedInstance() and deleteInstance() belong to the
/// main thread: the first use is not guarded.
class VKQT_EXPORT VKBookmarkManager : public CBaseCore {
public:
    /// What is known of one URL. Owned by the registry. Its count may be changing on another thread.
    struct BookmarkData {
        CFDataRef bookmark = nullptr; ///< owned; may be null
        std::int32_t count = 0;       ///< checkouts that are not checked in
        bool entitled = false;        ///< reachable without asking: never counted, never resolved
        bool isFolder = false;        ///< was a folder when it was registered
    };

    /// An empty registry with the entitlements in it (see addEntitlements()).
    VKBookmarkManager();
    VKBookmarkManager(const VKBookmarkManager&) = delete;
    VKBookmarkManager& operator=(const VKBookmarkManager&) = delete;

    /// Stops the access of every record once for each of its checkouts, whatever the sandbox says by then, and
    /// frees the records.
    ~VKBookmarkManager() override;

    /// The instance, made on the first call.
    [[nodiscard]] static VKBookmarkManager* sharedInstance();

    /// Destroys the instance; the next sharedInstance() makes a new one. Null is fine.
    static void deleteInstance();

    /// Registers data for a URL, or for a path's URL with the path's security token: addBookmarkData().
    void addBookmark(CFURLRef url, CFDataRef data, bool entitled);
    void addBookmark(const VKQtPath& path, bool entitled);

    /// Registers data (may be null) for a URL. A null URL is logged (1005) and a URL that names no file is
    /// passed over. Without data the path's stored token is taken (VKQtPathUtils::loadSecurityToken()).
    ///
    /// A URL that is registered already keeps its record, which gets the new data unless that is null, and
    /// becomes entitled if `entitled` says so; never the other way. Looks at the disk, for the folder flag.
    void addBookmarkData(CFURLRef url, CFDataRef data, bool entitled);

    /// Registers a path that can be reached without asking, with its token. An empty path, or one that names no
    /// file, is passed over.
    void addEntitledPath(const VKQtPath& path);

    /// Registers what the sandbox lets the process reach: the suite's application data and caches folders and
    /// the user's pictures. Called at construction.
    void addEntitlements();

    /// Resolves the URL's data, starts the access and counts it. False, always, outside a sandbox; and when the
    /// URL is null, not registered or entitled (there is nothing to start), the data does not resolve, or the
    /// grant does not stand. Each true is to be checked in.
    [[nodiscard]] bool checkOutPath(CFURLRef url);
    /// The same for a path's URL; but true outside a sandbox, and true for a path that names no file: two
    /// deliberate differences, callers take true for "go on".
    [[nodiscard]] bool checkOutPath(const VKQtPath& path);

    /// Gives one checkout back: the count goes down, not below 0, and the access of this URL is stopped. For an
    /// entitled record it is stopped and nothing is counted. Nothing for a URL that is not registered.
    void checkInPath(CFURLRef url);
    void checkInPath(const VKQtPath& path);

    /// The registered data of the URL, or else new data made for it, in `token`, which the caller releases.
    /// The status is then 0. Outside a sandbox 0 and null. Otherwise `token` is null and the status the error's
    /// code: an errno, or 1005 for a null URL. Not logged.
    ///
    /// Reads the registry without its lock, deliberately: it runs where registering is over. Not while another
    /// thread registers.
    [[nodiscard]] VKStatus createSecurityToken(CFURLRef url, CFDataRef& token);
    /// The same for a path, which also stores the token on success. A path that names no file: 0 and null.
    [[nodiscard]] VKStatus createSecurityToken(VKQtPath& path, CFDataRef& token);

    /// Whether the path, or a folder that it lies in, can be reached now: it is checked out, or entitled.
    /// True outside a sandbox and for an empty path. Text only: the disk is not asked.
    ///
    /// Equal paths are equal without case, "lies in" is with case, as VKQtPath has both. The records are looked
    /// at in no particular order. `token` (may be null) becomes the data of the record that decided, lent until
    /// that URL is registered with other data; null otherwise.
    [[nodiscard]] bool hasSandboxAccess(const VKQtPath& path, CFDataRef* token);

    /// The record of a URL; null when there is none. Without `lock` it reads the registry without its lock: not
    /// while another thread registers.
    [[nodiscard]] BookmarkData* getBookmarkData(CFURLRef url, bool lock);

    /// The record whose address a value of the registry's dictionary holds, as 8 bytes; null for other data.
    [[nodiscard]] static BookmarkData* getBookmarkFromCFDataRef(CFDataRef value);

    /// A new record with count 0 that retains the data (may be null). It is in no registry:
    /// destroyBookmarkData() frees it.
    [[nodiscard]] static BookmarkData* createBookmarkData(CFDataRef data, bool entitled, bool isFolder);

    /// Takes the record out of the registry if it is there, releases its data, checks the URL in once for each
    /// outstanding checkout, and frees the record. A null record is fine.
    void destroyBookmarkData(CFURLRef url, BookmarkData* record);

private:
    friend class VKBookmark;
    friend class VKQtPathUtils;

    // What a look-up under the lock gives: later registrations change nothing of it.
    struct Found {
        BookmarkData* record = nullptr;
        VKCFRef<CFDataRef> bookmark;
        bool entitled = false;
    };
    [[nodiscard]] Found find(CFURLRef url);

    // Every record in the dictionary's order. Under the lock only.
    [[nodiscard]] const std::vector<BookmarkData*>& allRecords();

    /// The instance if there is one: what only gives something back does not make one.
    [[nodiscard]] static VKBookmarkManager* existingInstance() { return sInstance; }

    static VKBookmarkManager* sInstance;

    std::mutex mMutex; // guards the registry and its records, but for their counts
    // CFURL -> CFData that holds the address of a record, so that the dictionary itself frees none.
    VKCFRef<CFMutableDictionaryRef> mRecords;
    std::vector<BookmarkData*> mAllRecords; // the same for searches; empty when the dictionary has changed
};
