// The signal writes into a pipe; the event loop reads of it. That nobody reads the output is an event of its own.
#include "EndBySignal.h"

#include <QCoreApplication>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/epoll.h>
#include <unistd.h>

namespace VKTool {

namespace {

int gSignalPipe[2] = {-1, -1};

extern "C" void noteSignal(int /*number*/) {
    const int before = errno; // of the call that the signal has come between
    // A pipe that is full holds a note already.
    static_cast<void>(::write(gSignalPipe[1], "x", 1));
    errno = before;
}

void listen(int signal) {
    struct sigaction before = {};
    struct sigaction action = {};
    action.sa_handler = &noteSignal;
    if (::sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) {
        ::sigaction(signal, &action, nullptr);
    }
}

/// Readable as soon as nobody reads standard output any more; -1 for an output, as a file, that has no such end. The
/// framework's loop cannot be given the output itself: it takes no note of an end without an error, as a socket's, and
/// would be woken by it again and again.
int openReadersEnd() {
    const int ends = ::epoll_create1(EPOLL_CLOEXEC);
    epoll_event errorsAndEndsOnly = {};
    if (ends >= 0 && ::epoll_ctl(ends, EPOLL_CTL_ADD, STDOUT_FILENO, &errorsAndEndsOnly) != 0) {
        ::close(ends);
        return -1;
    }
    return ends;
}

std::unique_ptr<QSocketNotifier> quitWhenReadable(int descriptor) {
    auto notifier = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, [] { QCoreApplication::quit(); });
    return notifier;
}

} // namespace

EndBySignal::EndBySignal() {
    if (::pipe2(gSignalPipe, O_CLOEXEC | O_NONBLOCK) != 0) {
        mError = errno;
        return;
    }
    mNotifier = quitWhenReadable(gSignalPipe[0]);
    listen(SIGINT);
    listen(SIGTERM);
    if (const int ends = openReadersEnd(); ends >= 0) {
        mReader = quitWhenReadable(ends);
    }
}

} // namespace VKTool
