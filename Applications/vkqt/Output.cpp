// Writes through POSIX calls: the standard library's streams forget why a write failed.
#include "Output.h"

#include "Text.h"

#include <cerrno>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace VKTool {

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kBlockBytes = 65536;

// 0, or the errno that stopped it.
int writeAll(int descriptor, QByteArrayView bytes) {
    while (!bytes.isEmpty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), static_cast<std::size_t>(bytes.size()));
        if (written >= 0) {
            bytes = bytes.sliced(written);
        } else if (errno == EAGAIN) {
            // Somebody made the terminal or pipe that we share non-blocking.
            pollfd ready = {descriptor, POLLOUT, 0};
            if (::poll(&ready, 1, -1) < 0 && errno != EINTR) {
                return errno;
            }
        } else if (errno != EINTR) {
            return errno;
        }
    }
    return 0;
}

const char* sequenceOf(Style style) {
    switch (style) {
    case Style::Heading:
        return "\x1b[1m";
    case Style::Quiet:
        return "\x1b[2m";
    case Style::Folder:
        return "\x1b[1;34m";
    case Style::Video:
        return "\x1b[35m";
    case Style::Link:
        return "\x1b[36m";
    case Style::Good:
        return "\x1b[32m";
    case Style::Bad:
        return "\x1b[33m";
    }
    return "";
}

} // namespace

Output::Output(int descriptor) : mDescriptor(descriptor), mTerminal(::isatty(descriptor) == 1) {
    mBuffer.reserve(kBlockBytes);
}

bool Output::isColored() const {
    switch (mColor) {
    case ColorChoice::Always:
        return true;
    case ColorChoice::Never:
        return false;
    case ColorChoice::Auto:
        break;
    }
    return mTerminal && qgetenv("NO_COLOR").isEmpty() && qgetenv("TERM") != "dumb";
}

int Output::columns() const {
    constexpr int kUsual = 80;
    winsize size = {};
    if (mTerminal && ::ioctl(mDescriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
        return size.ws_col;
    }
    return kUsual;
}

QString Output::styled(Style style, const QString& text) const {
    if (!isColored() || text.isEmpty()) {
        return text;
    }
    return QLatin1StringView(sequenceOf(style)) + text + "\x1b[0m"_L1;
}

void Output::writeBytes(QByteArrayView bytes) {
    if (!isOpen()) {
        return;
    }
    mBuffer.append(bytes);
    if (mBuffer.size() >= kBlockBytes) {
        flush();
    }
}

void Output::flush() {
    const int error = isOpen() ? writeAll(mDescriptor, mBuffer) : 0;
    mBuffer.clear();
    if (error == EPIPE) {
        mGone = true;
    } else if (error != 0) {
        mError = error;
    }
}

int Output::finish() {
    flush();
    // Some file systems report a full disk only here.
    if (::close(mDescriptor) != 0 && mError == 0 && errno != EINTR) {
        mError = errno;
    }
    return mError;
}

void complain(const QString& sentence) {
    const QByteArray line = ("vkqt"_L1 + sentence).toUtf8() + '\n';
    // Nobody is left to be told when standard error itself cannot be written.
    static_cast<void>(writeAll(STDERR_FILENO, line));
}

} // namespace VKTool
