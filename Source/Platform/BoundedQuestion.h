// Questions to services that may never answer, each asked on a thread of its own and waited for no longer than
// kPatience. A dead service keeps one thread, however often it is asked: while a question is open, asking the same
// again starts nothing, and gets no answer at once when the first has had its time. Not for file systems: a thread
// inside the kernel that waits for a dead one keeps the program from ending (see ServedSpace.h).
#pragma once

#include <QByteArray>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace VKPlatform {

/// How long a caller waits for all the questions that it asked together.
inline constexpr std::chrono::milliseconds kPatience(500);

/// The most questions of one kind that are open at a time. One more gets no answer.
inline constexpr std::size_t kMostOpenQuestions = 64;

/// Runs the work on a detached thread that takes no signals. False when no thread can be had.
[[nodiscard]] bool runDetached(std::function<void()> work);

/// Any thread. An object of this class has to live as long as the program: its threads may outlive every
/// caller. What a question needs it owns itself.
template <typename Answer>
class BoundedQuestions {
public:
    /// One question's state, shared by the thread that answers and all that wait.
    struct Pending {
        std::mutex mutex;
        std::condition_variable answered;
        std::optional<Answer> answer;
        std::chrono::steady_clock::time_point deadline;
    };
    using Handle = std::shared_ptr<Pending>;

    /// Starts the question, or joins the open one of the same key. Null when too many are open or no thread
    /// can be had.
    [[nodiscard]] Handle ask(const QByteArray& key, std::function<Answer()> question) {
        const std::lock_guard lock(mMutex);
        if (const auto open = mOpen.find(key); open != mOpen.end()) {
            return open->second;
        }
        if (mOpen.size() >= kMostOpenQuestions) {
            return nullptr;
        }
        auto pending = std::make_shared<Pending>();
        pending->deadline = std::chrono::steady_clock::now() + kPatience;
        mOpen.emplace(key, pending);
        const bool started = runDetached([this, key, pending, question = std::move(question)] {
            Answer answer = question();
            {
                const std::lock_guard openLock(mMutex);
                mOpen.erase(key);
            }
            {
                const std::lock_guard answerLock(pending->mutex);
                pending->answer = std::move(answer);
            }
            pending->answered.notify_all();
        });
        if (!started) {
            mOpen.erase(key);
            return nullptr;
        }
        return pending;
    }

    /// The answer, waited for until the question's time is over; nothing when there is none by then.
    [[nodiscard]] static std::optional<Answer> wait(const Handle& pending) {
        if (pending == nullptr) {
            return std::nullopt;
        }
        std::unique_lock lock(pending->mutex);
        pending->answered.wait_until(lock, pending->deadline, [&] { return pending->answer.has_value(); });
        return pending->answer;
    }

    /// How many are open.
    [[nodiscard]] std::size_t openQuestions() const {
        const std::lock_guard lock(mMutex);
        return mOpen.size();
    }

private:
    mutable std::mutex mMutex;
    std::map<QByteArray, Handle> mOpen;
};

} // namespace VKPlatform
