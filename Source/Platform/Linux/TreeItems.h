// The files and links of a tree, copied by the calling thread and one beside it. Internal to this folder.
#pragma once

#include "Platform/Linux/ContentCopy.h"
#include "Platform/Linux/FolderTable.h"
#include "Platform/TreeCopy.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <mutex>
#include <vector>

namespace VKPlatform {

/// Both threads take the next item until there is none. The calling one tells the watcher, in order, of what
/// both have done. The item with the lowest number that failed decides: those before it are still finished,
/// those after it are given up.
class TreeItems {
public:
    TreeItems(const FolderTable& table, const FileDescriptor& from, const FileDescriptor& to, CopyRules rules,
              TreeWatcher& watcher);

    /// errno, or the watcher's answer.
    [[nodiscard]] int copy();

private:
    class Worker;
    static constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();
    enum class ItemState : std::uint8_t { Waiting, Copied, Failed };

    [[nodiscard]] bool take(std::size_t& item);
    void finish(std::size_t item, int error);
    void work(Worker& worker, bool isCaller);
    void runSecondThread();
    void waitForSecondThread();

    /// Tells the watcher what it does not know yet; on the calling thread.
    void report();
    void giveUp(int answer);

    const FolderTable& mTable;
    const FileDescriptor& mFrom;
    const FileDescriptor& mTo;
    const CopyRules mRules;
    TreeWatcher& mWatcher;

    std::atomic<std::size_t> mNext = 0;
    std::atomic<std::size_t> mFirstFailed = kNone;
    std::atomic<bool> mGivenUp = false;
    std::atomic<std::uint64_t> mBytes = 0;

    std::mutex mMutex; ///< guards what follows
    std::condition_variable mSecondEnded;
    std::vector<ItemState> mStates;
    int mError = 0; ///< of mFirstFailed
    bool mSecondRuns = false;

    // The calling thread's own.
    std::size_t mReported = 0;
    int mAnswer = 0;
};

} // namespace VKPlatform
