// One line from a descriptor, byte by byte; around it a terminal without echo that always gets its echo back.
#include "Secret.h"

#include "CommandLine.h"

#include <QStringDecoder>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <optional>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace VKTool {

using namespace Qt::StringLiterals;

namespace {

volatile std::sig_atomic_t gSignal = 0;

/// While one lives, the signals that end programs wait until somebody waits for input; afterwards the one that came has
/// its effect. A signal that was only caught could come just before a read, which would then wait all the same.
class InterruptedBySignals {
public:
    InterruptedBySignals() {
        gSignal = 0;
        struct sigaction action = {};
        action.sa_handler = [](int signal) { gSignal = signal; };
        sigset_t signals;
        sigemptyset(&signals);
        for (const int signal : kSignals) {
            sigaddset(&signals, signal);
        }
        ::sigprocmask(SIG_BLOCK, &signals, &mMaskBefore);
        for (std::size_t i = 0; i < kSignals.size(); ++i) {
            if (::sigaction(kSignals[i], nullptr, &mBefore[i]) == 0 && mBefore[i].sa_handler != SIG_IGN) {
                ::sigaction(kSignals[i], &action, nullptr);
            }
        }
    }
    InterruptedBySignals(const InterruptedBySignals&) = delete;
    InterruptedBySignals& operator=(const InterruptedBySignals&) = delete;
    ~InterruptedBySignals() {
        for (std::size_t i = 0; i < kSignals.size(); ++i) {
            ::sigaction(kSignals[i], &mBefore[i], nullptr);
        }
        ::sigprocmask(SIG_SETMASK, &mMaskBefore, nullptr);
        if (gSignal != 0) {
            ::raise(gSignal);
        }
    }

    /// False, with EINTR in errno, when one of the signals came first.
    [[nodiscard]] bool waitForInput(int descriptor) const {
        while (gSignal == 0) {
            pollfd input = {.fd = descriptor, .events = POLLIN, .revents = 0};
            if (::ppoll(&input, 1, nullptr, &mMaskBefore) > 0) {
                return true;
            }
            if (errno != EINTR) {
                return false;
            }
        }
        return false;
    }

private:
    static constexpr std::array<int, 4> kSignals = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};
    std::array<struct sigaction, kSignals.size()> mBefore = {};
    sigset_t mMaskBefore = {};
};

/// A terminal that does not show what is typed, and does not let the tool be stopped meanwhile: the shell would be left
/// with a terminal that shows nothing.
class Unseen {
public:
    explicit Unseen(int terminal) : mTerminal(terminal) {
        mIsFine = ::tcgetattr(terminal, &mBefore) == 0;
        if (mIsFine) {
            termios unseen = mBefore;
            unseen.c_lflag &= ~static_cast<tcflag_t>(ECHO);
            unseen.c_lflag |= ICANON | ECHONL | ISIG;
            unseen.c_cc[VSUSP] = _POSIX_VDISABLE;
            mIsFine = ::tcsetattr(terminal, TCSAFLUSH, &unseen) == 0;
        }
    }
    Unseen(const Unseen&) = delete;
    Unseen& operator=(const Unseen&) = delete;
    ~Unseen() {
        if (mIsFine) {
            ::tcsetattr(mTerminal, TCSADRAIN, &mBefore);
        }
    }

    [[nodiscard]] bool isFine() const { return mIsFine; }

private:
    int mTerminal;
    termios mBefore = {};
    bool mIsFine = false;
};

Secret problem(const QString& sentence) { return {.text = {}, .problem = sentence}; }

/// The bytes up to a line break or the end, one more than a password may have at most; nothing after a failure.
std::optional<QByteArray> readLine(int descriptor, const InterruptedBySignals* interrupted) {
    QByteArray line;
    char byte = 0;
    while (line.size() <= kMostSecretBytes) {
        if (interrupted != nullptr && !interrupted->waitForInput(descriptor)) {
            return std::nullopt;
        }
        const ssize_t size = ::read(descriptor, &byte, 1);
        if (size < 0 && errno == EINTR) {
            continue;
        }
        if (size < 0) {
            return std::nullopt;
        }
        if (size == 0 || byte == '\n') {
            break;
        }
        line += byte;
    }
    return line;
}

Secret fromDescriptor(int descriptor, const InterruptedBySignals* interrupted) {
    std::optional<QByteArray> line = readLine(descriptor, interrupted);
    if (!line.has_value()) {
        return problem(u"the password could not be read: "_s + reasonOf(static_cast<VKStatus>(errno)));
    }
    Secret secret = secretFromLine(*line);
    line->fill('\0');
    return secret;
}

Secret fromTerminal(const QString& prompt) {
    const InterruptedBySignals interrupted;
    const Unseen unseen(STDIN_FILENO);
    if (!unseen.isFine()) {
        return problem(u"the terminal would show the password"_s);
    }
    const QByteArray text = prompt.toUtf8();
    // Who cannot see the prompt can still type.
    [[maybe_unused]] const ssize_t written =
        ::write(STDERR_FILENO, text.constData(), static_cast<std::size_t>(text.size()));
    return fromDescriptor(STDIN_FILENO, &interrupted);
}

} // namespace

Secret readSecret(const QString& prompt) {
    return ::isatty(STDIN_FILENO) == 1 ? fromTerminal(prompt) : fromDescriptor(STDIN_FILENO, nullptr);
}

Secret secretFromLine(QByteArray line) {
    if (line.endsWith('\r')) {
        line.chop(1);
    }
    if (line.isEmpty()) {
        return problem(u"no password was given"_s);
    }
    if (line.size() > kMostSecretBytes) {
        return problem(u"the password is too long"_s);
    }
    QStringDecoder decoder(QStringConverter::Utf8,
                           QStringConverter::Flag::ConvertInitialBom | QStringConverter::Flag::Stateless);
    const QString text = decoder(line);
    if (decoder.hasError() || text.contains(QChar(u'\0'))) {
        return problem(u"the password is not text in UTF-8"_s);
    }
    return {.text = text, .problem = {}};
}

} // namespace VKTool
