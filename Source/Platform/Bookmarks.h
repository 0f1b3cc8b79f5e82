// Bookmarks of files and folders: made, and found again. Paths are absolute. errno on failure, 0 otherwise. Any
// thread; a dead network mount can block.
#pragma once

#include "Platform/BookmarkSearch.h"
#include "Platform/DocumentPortal.h"

#include <QByteArray>
#include <QByteArrayView>

namespace VKPlatform {

/// The bookmark of an item; a link is the item itself. An item below the folder of documents gets its token, as
/// its numbers there mean nothing; outside a sandbox it is also followed on the host, if the portal tells where
/// it is. ENOENT and others as the system answers, EINVAL for a path that is not absolute, ENAMETOOLONG for one
/// over kMostBookmarkPathBytes.
[[nodiscard]] int createBookmark(const QByteArray& path, QByteArray& data);

/// The same for a sandboxed application to use, which is granted the item. Outside a sandbox only; fails as
/// grantDocument() too. The bookmark serves on both sides.
[[nodiscard]] int createBookmarkFor(const QByteArray& application, DocumentRights rights,
                                    const QByteArray& path, QByteArray& data);

/// Takes back what createBookmarkFor() granted, or a file chooser. EINVAL for data without a token.
[[nodiscard]] int withdrawBookmark(QByteArrayView data, const QByteArray& application);

struct ResolvedBookmark {
    QByteArray path;
    bool isFolder = false; ///< also for a link to a folder
    bool isStale = false;  ///< a new bookmark should be made
};

/// Where the item is now. In this order:
/// 1. At its path, and it is the same one: five system calls at most.
/// 2. At its path on its volume lies another one of the same kind, as after a save that replaced the file: that
///    one, stale.
/// 3. The same, where its volume is mounted now: stale.
/// 4. The same item under another name or in another folder of its volume: stale. Searched for within the
///    limits.
/// Never another item than these. Content does not matter, and what lies on another volume is never taken.
///
/// In a sandbox a token comes first: the item that the document portal shows; when the grant is lost, the place
/// where it would show, stale, so that it can be reached again once it is granted again. Outside of one the portal
/// is asked about a bookmark that has only a token.
///
/// EINVAL, EOPNOTSUPP as decodeBookmark(); ENOENT when the item is not found, ETIMEDOUT when the limits ended the
/// search, ECANCELED, and what the system answers when the item is there and cannot be looked at.
[[nodiscard]] int resolveBookmark(QByteArrayView data, const SearchLimits& limits, ResolvedBookmark& out);

/// Whether this process may reach the item now: outside a sandbox always, in one when the document's grant
/// stands, or, for other items, when it is there and may be read.
[[nodiscard]] bool mayReach(const QByteArray& path);

} // namespace VKPlatform
