// The immediate children of one folder, one at a time, filtered, with sizes and dates fetched on the way.
#pragma once

#include "VKQtExport.h"
#include "VKQtPath.h"
#include "VKQtPathFilter.h"

#include <VKCoreKit/VKStatus.h>

#include <QDateTime>

/// Lists a folder through a filter. Never recursive, in no particular order, in one pass.
///
///     const std::unique_ptr<VKQtDirIterator> iterator(VKQtDirIterator::makeIterator(folder, filter));
///     VKQtDirIterator::Entry entry;
///     while (iterator->next(entry)) { ... }
///     if (iterator->status() != 0) { ... the listing is not complete ... }
///
/// An iterator belongs to the thread that made it. next() blocks on the disk.
class VKQT_EXPORT VKQtDirIterator {
public:
    /// One child of the folder. next() sets every field anew.
    struct Entry {
        /// The full path. Its folder flag is set for folders (and for links to folders); packages count as
        /// files. Every operation finds the entry through it, however its name is spelled on disk. Of several
        /// names in the folder that show the same text it finds the one that is in form C, for the others
        /// too; where there is none in form C, it finds nothing.
        VKQtPath path;
        /// Bytes; 0 for folders, when unknown, and without details.
        qint64 size = 0;
        /// UTC. Invalid when the file system does not keep it, and without details.
        QDateTime created;
        /// UTC. Content modification; invalid when unknown, and without details.
        QDateTime modified;
        /// The entry is a symbolic link; the other fields tell of what it names. A caller that descends
        /// into folders must not follow these: a link can lead out of the tree, or in a circle.
        bool isLink = false;
    };

    /// The listing of this system. The caller owns it and deletes it.
    [[nodiscard]] static VKQtDirIterator* makeIterator(const VKQtPath& folder, const VKQtPathFilter& filter);

    VKQtDirIterator(const VKQtPath& folder, const VKQtPathFilter& filter);
    VKQtDirIterator(const VKQtDirIterator&) = delete;
    VKQtDirIterator& operator=(const VKQtDirIterator&) = delete;
    virtual ~VKQtDirIterator();

    /// Fills `entry` with the next child that the filter keeps; false when there is none, then and on every
    /// later call (the entry is then not to be looked at).
    ///
    /// The folder is opened by the first call. Files are tested by VKQtPathFilter::isFileNameFiltered(),
    /// folders by isDirectoryFiltered(); hidden entries (names that begin with ".") come only with
    /// mIncludeHidden. A symbolic link is listed as what it names under its own name, one that names nothing
    /// as a file of size 0 with the link's own dates. Pipes, sockets and devices count as files. Packages
    /// exist on macOS only: elsewhere a folder with such a name is a folder. Bytes of a name that are not
    /// UTF-8 are listed as U+FFFD, and so is "\", which a path would read as a separator. An entry that
    /// vanishes meanwhile is left out; without details, where plain files and folders are not looked at
    /// again, such a one may still be listed.
    [[nodiscard]] virtual bool next(Entry& entry) = 0;

    /// Whether next() fetches sizes and dates; true at first. Without them a listing is three times as fast.
    /// May be changed between two calls of next().
    void setFetchDetails(bool fetch) { mFetchDetails = fetch; }
    [[nodiscard]] bool fetchDetails() const { return mFetchDetails; }

    /// 0, or the status that prevented the listing or ended it early: 2 no such folder (any more), 13 not
    /// readable, 20 not a folder, another errno, or 1002 not a path. Tells an empty folder from an unreadable
    /// one, which both list nothing.
    [[nodiscard]] VKStatus status() const { return mStatus; }

protected:
    [[nodiscard]] const VKQtPath& root() const { return mRoot; }
    [[nodiscard]] const VKQtPathFilter& filter() const { return mFilter; }
    [[nodiscard]] bool isDone() const { return mDone; }

    /// Ends the listing: every later next() answers false, and status() is this.
    void finish(VKStatus status);

private:
    VKQtPath mRoot;
    VKQtPathFilter mFilter;
    bool mDone = false;
    bool mFetchDetails = true;
    VKStatus mStatus = 0;
};
