// Two threads at most, which share nothing but the number of the next item and what became of the others.
#include "Platform/Linux/TreeItems.h"

#include "Platform/Linux/CopyItem.h"
#include "Platform/SignalsBlocked.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <new>
#include <optional>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace VKPlatform {

namespace {

/// Below this starting a thread costs more than it saves.
constexpr std::size_t kItemsForTwo = 4;

/// How often the calling thread asks the watcher while it waits.
constexpr std::chrono::milliseconds kWaitingPause(30);

} // namespace

/// What one thread needs of its own.
class TreeItems::Worker final : public CopyWatcher {
public:
    Worker(TreeItems& owner, bool isCaller)
        : mOwner(owner), mIsCaller(isCaller), mFrom(owner.mTable, owner.mFrom, O_RDONLY),
          mTo(owner.mTable, owner.mTo, O_PATH) {}

    [[nodiscard]] int copyItem(std::size_t number) {
        mNumber = number;
        const FolderTable::Item& item = mOwner.mTable.items[number];
        if (const int error = enter(item.folder); error != 0) {
            return error;
        }
        const char* const name = mOwner.mTable.name(item.name);
        if (item.isLink) {
            return copyLink(mFromFolder, name, mToFolder, name, mOwner.mRules.owner);
        }
        CopySource source;
        const int error = openSource(mFromFolder, name, source);
        if (error == ELOOP) { // a link by now
            return copyLink(mFromFolder, name, mToFolder, name, mOwner.mRules.owner);
        }
        return error == 0 ? copyRegularFile(source, name) : error;
    }

    int copied(std::uint64_t bytes) override {
        mOwner.mBytes.fetch_add(bytes, std::memory_order_relaxed);
        if (mIsCaller) {
            mOwner.report();
        }
        const bool end = mOwner.mGivenUp || mOwner.mFirstFailed < mNumber || mOwner.mWatcher.isCancelled();
        return end ? ECANCELED : 0;
    }

private:
    [[nodiscard]] int enter(std::uint32_t folder) {
        if (mFolder == folder) {
            return 0;
        }
        mFolder.reset();
        mFromFolder = mFrom.open(folder);
        mToFolder = mFromFolder < 0 ? -1 : mTo.open(folder);
        struct stat record;
        if (mToFolder < 0 || ::fstat(mToFolder, &record) != 0) {
            return errno;
        }
        mToDevice = record.st_dev;
        mInherited.reset();
        mFolder = folder;
        return 0;
    }

    [[nodiscard]] int copyRegularFile(const CopySource& source, const char* name) {
        FileDescriptor file(
            ::openat(mToFolder, name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (!file.isOpen()) {
            return errno;
        }
        if (!mInherited) {
            mInherited = inheritedLists(file.get()); // what one new file gets, all get
        }
        const CopyTarget target = {.file = file, .device = mToDevice, .inherited = *mInherited};
        int error = copyInto(mCopier, source, target, mOwner.mRules, this);
        if (const int closeError = file.close(); error == 0) {
            error = closeError;
        }
        if (error != 0) {
            ::unlinkat(mToFolder, name, 0);
        }
        return error;
    }

    TreeItems& mOwner;
    const bool mIsCaller;
    FolderWalk mFrom;
    FolderWalk mTo;
    ContentCopier mCopier;
    std::size_t mNumber = 0;
    std::optional<std::uint32_t> mFolder; ///< which the descriptors are of
    int mFromFolder = -1;
    int mToFolder = -1;
    std::uint64_t mToDevice = 0;
    std::optional<InheritedLists> mInherited;
};

TreeItems::TreeItems(const FolderTable& table, const FileDescriptor& from, const FileDescriptor& to,
                     CopyRules rules, TreeWatcher& watcher)
    : mTable(table), mFrom(from), mTo(to), mRules(rules), mWatcher(watcher),
      mStates(table.items.size(), ItemState::Waiting) {}

int TreeItems::copy() {
    std::thread second;
    Worker worker(*this, true);
    if (mStates.size() >= kItemsForTwo && std::thread::hardware_concurrency() > 1) {
        const SignalsBlocked blocked;
        mSecondRuns = true;
        try {
            second = std::thread([this] { runSecondThread(); });
        } catch (const std::system_error&) {
            mSecondRuns = false; // one thread does it, too
        } catch (const std::bad_alloc&) {
            mSecondRuns = false;
        }
    }
    try {
        work(worker, true);
    } catch (const std::bad_alloc&) {
        giveUp(ENOMEM);
    }
    waitForSecondThread();
    if (second.joinable()) {
        second.join();
    }
    report();
    return mAnswer != 0 ? mAnswer : mError;
}

bool TreeItems::take(std::size_t& item) {
    if (mGivenUp || mFirstFailed != kNone) {
        return false;
    }
    item = mNext.fetch_add(1);
    return item < mStates.size();
}

void TreeItems::finish(std::size_t item, int error) {
    const std::lock_guard lock(mMutex);
    mStates[item] = error == 0 ? ItemState::Copied : ItemState::Failed;
    if (error != 0 && item < mFirstFailed) {
        mFirstFailed = item;
        mError = error;
    }
}

void TreeItems::work(Worker& worker, bool isCaller) {
    for (std::size_t item = 0; take(item);) {
        int error = 0;
        try {
            error = worker.copyItem(item);
        } catch (const std::bad_alloc&) {
            error = ENOMEM;
        }
        finish(item, error);
        if (isCaller) {
            report();
        }
    }
}

void TreeItems::runSecondThread() {
    {
        Worker worker(*this, false);
        work(worker, false);
    }
    const std::lock_guard lock(mMutex);
    mSecondRuns = false;
    mSecondEnded.notify_one();
}

void TreeItems::waitForSecondThread() {
    std::unique_lock lock(mMutex);
    while (mSecondRuns) {
        mSecondEnded.wait_for(lock, kWaitingPause);
        lock.unlock();
        report();
        lock.lock();
    }
}

void TreeItems::report() {
    while (mAnswer == 0 && mReported < mStates.size()) {
        {
            const std::lock_guard lock(mMutex);
            if (mStates[mReported] != ItemState::Copied) {
                break;
            }
        }
        giveUp(mWatcher.itemCopied(mReported));
        ++mReported;
    }
    if (mAnswer == 0) {
        giveUp(mWatcher.bytesCopied(mBytes.load(std::memory_order_relaxed)));
    }
}

void TreeItems::giveUp(int answer) {
    if (answer != 0) {
        mAnswer = answer;
        mGivenUp = true;
    }
}

} // namespace VKPlatform
