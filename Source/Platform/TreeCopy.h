// Copies of whole folders: first looked through, then made, folder by folder and file by file. Works on folder
// descriptors: a folder that is swapped for a link meanwhile leads neither out of the source nor out of the
// target. Neither depth nor the length of names together has a limit. errno on failure, 0 otherwise.
#pragma once

#include "Platform/FileCopy.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace VKPlatform {

/// Copies a folder with everything in it, hidden entries too, to a name that does not exist, as a move to
/// another file system needs it: `rules` as for copyFile(). Leaves nothing on failure. Nothing is made when the
/// tree holds a fifo, socket or device (EOPNOTSUPP). Hard links become files of their own. ENOTDIR for what is
/// no folder. `watcher` may be null.
[[nodiscard]] int copyTree(const QByteArray& from, const QByteArray& to, CopyRules rules,
                           CopyWatcher* watcher);

enum class TreeScope : std::uint8_t {
    Shown,      ///< what a listing shows: no hidden entries; fifos, sockets and devices are left out
    Everything, ///< hidden entries too; a fifo, socket or device is EOPNOTSUPP
};

/// Who follows a TreeCopy and may end it. Anything but 0 as an answer ends the copy with that error.
class TreeWatcher {
public:
    TreeWatcher() = default;
    TreeWatcher(const TreeWatcher&) = delete;
    TreeWatcher& operator=(const TreeWatcher&) = delete;
    virtual ~TreeWatcher() = default;

    /// These on the calling thread only; numbers count from 0, each is told once and in order.
    [[nodiscard]] virtual int folderMade(std::size_t number) = 0;
    [[nodiscard]] virtual int itemCopied(std::size_t number) = 0;
    /// All bytes so far. Several times in 100 ms while the copy runs.
    [[nodiscard]] virtual int bytesCopied(std::uint64_t bytes) = 0;

    /// From two threads at once: whether to end with ECANCELED.
    [[nodiscard]] virtual bool isCancelled() const = 0;
};

/// The steps of a copy, in the order of their declaration; a failing one ends it. Does not clean up: after a
/// failure the target holds what was made, but never part of a file.
class TreeCopy {
public:
    /// `watcher` outlives the copy.
    TreeCopy(TreeScope scope, CopyRules rules, TreeWatcher& watcher);
    TreeCopy(const TreeCopy&) = delete;
    TreeCopy& operator=(const TreeCopy&) = delete;
    ~TreeCopy();

    /// Reads the whole tree: folders breadth first, the entries of each by listingKey(). A source that
    /// does not exist, or is no folder, is an empty one: then hasSource() is false. `addSizes` costs a
    /// system call for each file.
    [[nodiscard]] int scan(const QByteArray& from, bool addSizes);

    [[nodiscard]] bool hasSource() const noexcept;
    [[nodiscard]] std::size_t folders() const noexcept; ///< below the source itself
    [[nodiscard]] std::size_t items() const noexcept;   ///< files and links
    [[nodiscard]] std::uint64_t bytes() const noexcept; ///< of all files; 0 without `addSizes`

    /// Opens the folder to copy into. `made`: it was made for this copy, so it gets the source's mode, times
    /// and attributes at the end.
    [[nodiscard]] int openTarget(const QByteArray& to, bool made);

    /// A folder that exists already serves; EEXIST when something else, a link too, has its name.
    [[nodiscard]] int makeFolders();

    /// On two threads where that helps; both have ended when it returns. EEXIST when a name is taken.
    [[nodiscard]] int copyItems();

    /// Gives the folders that were made their modes, times and attributes, last ones first. After a failure their
    /// modes are those of unfinished ones again, so that the caller can remove what is in them.
    [[nodiscard]] int finishFolders();

private:
    struct State;
    std::unique_ptr<State> mState;
};

// Pure rules.

/// The text by which an entry takes its place in a listing; ties go by the bytes of the name.
[[nodiscard]] QString listingKey(QByteArrayView name);

/// Whether a listing leaves the name out unless asked for hidden ones: it begins with a dot.
[[nodiscard]] bool isHiddenName(QByteArrayView name);

} // namespace VKPlatform
