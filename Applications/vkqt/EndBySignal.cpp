// The signal writes into a pipe; the event loop reads of it. The reader's end is an error of the output.
#include "EndBySignal.h"

#include <QCoreApplication>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
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

bool nobodyReads() {
    pollfd output = {STDOUT_FILENO, 0, 0};
    return ::poll(&output, 1, 0) == 1 && (output.revents & (POLLERR | POLLHUP)) != 0;
}

} // namespace

EndBySignal::EndBySignal() {
    if (::pipe2(gSignalPipe, O_CLOEXEC | O_NONBLOCK) != 0) {
        mError = errno;
        return;
    }
    mNotifier = std::make_unique<QSocketNotifier>(gSignalPipe[0], QSocketNotifier::Read);
    QObject::connect(mNotifier.get(), &QSocketNotifier::activated, [] { QCoreApplication::quit(); });
    listen(SIGINT);
    listen(SIGTERM);
    mReader = std::make_unique<QSocketNotifier>(STDOUT_FILENO, QSocketNotifier::Exception);
    QObject::connect(mReader.get(), &QSocketNotifier::activated, [this] {
        mReader->setEnabled(false);
        if (nobodyReads()) {
            QCoreApplication::quit();
        }
    });
}

} // namespace VKTool
