// `stat --file-system` for each place, its answer through a pipe. A process that has not answered in time is told to
// end, which it does when the kernel lets it, and is kept in mind until then.
#include "Platform/ServedSpace.h"

#include "Platform/FileDescriptor.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace VKPlatform {

namespace {

/// More than `stat` writes about any place.
constexpr qsizetype kMostAnswerBytes = 16384;

using Clock = std::chrono::steady_clock;

/// One asking process, from its start until its end was seen.
struct Question {
    QByteArray key;
    pid_t process = 0;
    FileDescriptor answer;
    QByteArray text;
    bool isOpen = false; ///< the answer has not ended yet
};

class SpawnActions {
public:
    SpawnActions() { posix_spawn_file_actions_init(&mActions); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;
    ~SpawnActions() { posix_spawn_file_actions_destroy(&mActions); }
    posix_spawn_file_actions_t* get() { return &mActions; }

private:
    posix_spawn_file_actions_t mActions;
};

class SpawnAttributes {
public:
    SpawnAttributes() {
        posix_spawnattr_init(&mAttributes);
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_setsigmask(&mAttributes, &none);
        posix_spawnattr_setsigdefault(&mAttributes, &all);
        posix_spawnattr_setflags(&mAttributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;
    ~SpawnAttributes() { posix_spawnattr_destroy(&mAttributes); }
    posix_spawnattr_t* get() { return &mAttributes; }

private:
    posix_spawnattr_t mAttributes;
};

/// Starts the process; false when that fails. It holds nothing of this program's: it may outlive it for long.
bool start(const QByteArray& place, Question& question) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        return false;
    }
    question.answer = FileDescriptor(ends[0]);
    const FileDescriptor write(ends[1]);
    SpawnActions actions;
    posix_spawn_file_actions_adddup2(actions.get(), write.get(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(actions.get(), write.get(), STDERR_FILENO);
    // Last, because the pipe may have got the number of a standard input that this program has closed.
    posix_spawn_file_actions_addopen(actions.get(), STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addclosefrom_np(actions.get(), STDERR_FILENO + 1);
    posix_spawn_file_actions_addchdir_np(actions.get(), "/");
    SpawnAttributes attributes;
    QByteArray words[] = {"stat", "--file-system", "--format=%S %b %a", "--", place};
    char* arguments[] = {words[0].data(), words[1].data(), words[2].data(),
                         words[3].data(), words[4].data(), nullptr};
    QByteArray variables[] = {"LC_ALL=C", "PATH=/usr/bin:/bin:/run/current-system/sw/bin"};
    char* environment[] = {variables[0].data(), variables[1].data(), nullptr};
    question.isOpen = ::posix_spawnp(&question.process, "stat", actions.get(), attributes.get(), arguments,
                                     environment) == 0;
    return question.isOpen;
}

/// Takes what is there of the answer; the question is closed at its end.
void readOn(Question& question) {
    char buffer[1024];
    const ssize_t got = ::read(question.answer.get(), buffer, sizeof buffer);
    if (got > 0 && question.text.size() < kMostAnswerBytes) {
        question.text.append(buffer, got);
    } else if (got >= 0 || errno != EINTR) {
        question.isOpen = false;
    }
}

/// Reads all answers until they have ended or the time is over.
void collect(std::vector<Question>& questions, Clock::time_point deadline) {
    for (;;) {
        std::vector<pollfd> answers;
        answers.reserve(questions.size());
        for (const Question& question : questions) {
            answers.push_back({question.isOpen ? question.answer.get() : -1, POLLIN, 0});
        }
        const bool isDone = std::none_of(questions.begin(), questions.end(),
                                         [](const Question& question) { return question.isOpen; });
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (isDone || left.count() <= 0) {
            return;
        }
        if (::poll(answers.data(), answers.size(), static_cast<int>(left.count())) < 0 && errno != EINTR) {
            return;
        }
        for (std::size_t i = 0; i < questions.size(); ++i) {
            if (questions[i].isOpen && answers[i].revents != 0) {
                readOn(questions[i]);
            }
        }
    }
}

/// Whether the process has ended and is no more. Someone else may have taken its end: it is gone then as well.
bool isReaped(const Question& question, int options) {
    pid_t ended = 0;
    do {
        ended = ::waitpid(question.process, nullptr, options);
    } while (ended < 0 && errno == EINTR);
    return ended != 0;
}

/// The processes whose server was silent.
class WaitingProcesses {
public:
    /// Whether one waits for this server still, or too many wait altogether.
    bool forbids(const QByteArray& key) {
        const std::lock_guard lock(mMutex);
        forgetEnded();
        return mQuestions.size() >= kMostWaitingProcesses ||
               std::any_of(mQuestions.begin(), mQuestions.end(),
                           [&](const Question& question) { return question.key == key; });
    }

    void add(Question question) {
        const std::lock_guard lock(mMutex);
        mQuestions.push_back(std::move(question));
    }

    std::size_t count() {
        const std::lock_guard lock(mMutex);
        forgetEnded();
        return mQuestions.size();
    }

private:
    void forgetEnded() {
        mQuestions.erase(std::remove_if(mQuestions.begin(), mQuestions.end(),
                                        [](const Question& question) { return isReaped(question, WNOHANG); }),
                         mQuestions.end());
    }

    std::mutex mMutex;
    std::vector<Question> mQuestions;
};

WaitingProcesses& waiting() {
    static auto& sWaiting = *new WaitingProcesses;
    return sWaiting;
}

ServedSpace answerTo(Question& question) {
    if (question.process == 0) {
        return {};
    }
    if (question.isOpen) {
        ::kill(question.process, SIGKILL);
        if (!isReaped(question, WNOHANG)) {
            waiting().add(std::move(question));
        }
        return {};
    }
    // Its answer has ended, so it is about to.
    static_cast<void>(isReaped(question, 0));
    return parseServedSpace(question.text).value_or(ServedSpace());
}

} // namespace

std::vector<ServedSpace> askServedSpace(const std::vector<ServedPlace>& places) {
    std::vector<Question> questions(places.size());
    std::vector<ServedSpace> answers(places.size());
    const auto deadline = Clock::now() + kServerPatience;
    for (std::size_t i = 0; i < places.size(); ++i) {
        questions[i].key = places[i].key;
        if (!waiting().forbids(places[i].key) && !start(places[i].place, questions[i])) {
            // Nobody can be sent to ask: nothing is known against the server.
            answers[i].state = ServerState::Answers;
        }
    }
    collect(questions, deadline);
    for (std::size_t i = 0; i < questions.size(); ++i) {
        if (questions[i].process != 0) {
            answers[i] = answerTo(questions[i]);
        }
    }
    return answers;
}

std::size_t waitingProcesses() { return waiting().count(); }

} // namespace VKPlatform
