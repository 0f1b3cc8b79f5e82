// Looks through a mounted file system for an item that is not where it was. Never follows links, never leaves
// the mount, and stops at limits: a search is a convenience, and the user can always be asked.
#pragma once

#include "Platform/FileIdentity.h"

#include <QByteArray>

#include <chrono>
#include <cstddef>
#include <functional>

struct dirent;

namespace VKPlatform {

/// The most entries that one search looks at, and the time it takes at most (but for a file system that keeps
/// one call waiting).
inline constexpr std::size_t kMostSearchedEntries = 200'000;
inline constexpr std::chrono::milliseconds kSearchPatience(1000);

struct SearchLimits {
    std::size_t entries = kMostSearchedEntries;
    std::chrono::milliseconds time = kSearchPatience;
    std::function<bool()> isCancelled; ///< may be empty; asked often
};

/// One search, which may go through several places with one account of entries and time.
class BookmarkSearch {
public:
    BookmarkSearch(const FileIdentity& wanted, const SearchLimits& limits);

    /// Looks for the item among what lies in `top`, a folder: first beside `lastPath`, where it was, then in the
    /// folders below, then around those above, nearest first. 0 and its path; ENOENT: it is not there, as far as
    /// this user may look; ETIMEDOUT: the limits were reached first; ECANCELED. Links do not count as found by
    /// what they name.
    [[nodiscard]] int findBelow(const QByteArray& top, const QByteArray& lastPath, QByteArray& found);

    /// How many entries were looked at.
    [[nodiscard]] std::size_t searched() const { return mSearched; }

private:
    struct Visit;

    [[nodiscard]] int searchTree(const QByteArray& root, const QByteArray& skipped, QByteArray& found);
    [[nodiscard]] int searchFolder(Visit& visit, const QByteArray& folder, QByteArray& found);
    [[nodiscard]] bool isWanted(const dirent& entry, const QByteArray& folder) const;
    [[nodiscard]] int countEntry();
    [[nodiscard]] int stopReason() const;

    const FileIdentity& mWanted;
    const SearchLimits& mLimits;
    std::chrono::steady_clock::time_point mDeadline;
    std::size_t mSearched = 0;
};

} // namespace VKPlatform
