// A display of the test's own: an X server without a screen, on a number that it finds itself.
#pragma once

#include <QByteArray>

#include <csignal>
#include <cstdlib>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Displays {

/// A running Xvfb; it ends with the object. It listens on this machine only.
class Virtual {
public:
    explicit Virtual(const QByteArray& screen = "1280x800x24") {
        int ends[2];
        if (::pipe(ends) != 0) {
            return;
        }
        QByteArray geometry = screen;
        char program[] = "Xvfb";
        char numberOption[] = "-displayfd";
        char number[] = "3";
        char screenOption[] = "-screen";
        char firstScreen[] = "0";
        char closedOption[] = "-nolisten";
        char closed[] = "tcp";
        // Otherwise it starts anew whenever its last client has gone, and turns away who comes meanwhile.
        char lastingOption[] = "-noreset";
        char* const arguments[] = {program,         numberOption, number, screenOption,  firstScreen,
                                   geometry.data(), closedOption, closed, lastingOption, nullptr};
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", 1, 0);
        posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", 1, 0);
        posix_spawn_file_actions_adddup2(&actions, ends[1], 3);
        if (::posix_spawnp(&mPid, program, &actions, nullptr, arguments, environ) != 0) {
            mPid = 0;
        }
        posix_spawn_file_actions_destroy(&actions);
        ::close(ends[1]);
        // It writes the number when it is ready, and nothing when it ends before.
        char unit = '\0';
        while (::read(ends[0], &unit, 1) == 1 && unit != '\n') {
            mNumber += unit;
        }
        ::close(ends[0]);
    }
    Virtual(const Virtual&) = delete;
    Virtual& operator=(const Virtual&) = delete;
    ~Virtual() {
        if (mPid > 0) {
            ::kill(mPid, SIGTERM);
            ::waitpid(mPid, nullptr, 0);
        }
    }

    [[nodiscard]] bool isRunning() const { return !mNumber.isEmpty(); }
    /// For $DISPLAY: ":1".
    [[nodiscard]] QByteArray name() const { return ':' + mNumber; }

    /// Whether there is a server to run.
    static bool isInstalled() { return std::system("command -v Xvfb >/dev/null 2>&1") == 0; }

private:
    pid_t mPid = 0;
    QByteArray mNumber;
};

} // namespace Displays
