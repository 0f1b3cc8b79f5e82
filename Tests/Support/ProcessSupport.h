// Programs that a test starts, lets run beside it and ends.
#pragma once

#include "Support/DiskSupport.h"

#include <QByteArray>
#include <QByteArrayList>

#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace Processes {

/// A running program; it is ended with the object. Its output goes to a file.
class Running {
public:
    Running(const QByteArrayList& words, const QByteArray& outputFile) {
        std::vector<QByteArray> copies(words.begin(), words.end());
        std::vector<char*> arguments;
        for (QByteArray& word : copies) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 1, outputFile.constData(), O_WRONLY | O_CREAT | O_APPEND,
                                         0644);
        posix_spawn_file_actions_adddup2(&actions, 1, 2);
        if (::posix_spawnp(&mPid, arguments.front(), &actions, nullptr, arguments.data(), environ) != 0) {
            mPid = 0;
        }
        posix_spawn_file_actions_destroy(&actions);
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;
    ~Running() { end(SIGTERM); }

    [[nodiscard]] bool isStarted() const { return mPid > 0; }
    [[nodiscard]] pid_t pid() const { return mPid; }

    void signal(int number) const {
        if (isStarted()) {
            ::kill(mPid, number);
        }
    }

    /// Ends it now and waits for its end.
    void end(int number) {
        if (isStarted()) {
            ::kill(mPid, SIGCONT);
            ::kill(mPid, number);
            ::waitpid(mPid, nullptr, 0);
            mPid = 0;
        }
    }

private:
    pid_t mPid = 0;
};

} // namespace Processes
