// Other programs, started and waited for.
#pragma once

#include <QByteArray>

#include <cstdio>

namespace Shell {

/// What a shell command wrote to stdout, and how it ended, as wait() tells: 0 is success.
struct Output {
    QByteArray text;
    int status = -1;
};

/// By popen() and not QProcess, whose way to start a process is one that the thread sanitizer's runtime does not
/// survive.
inline Output outputOf(const QByteArray& command) {
    Output output;
    std::FILE* const pipe = ::popen(command.constData(), "r");
    if (pipe == nullptr) {
        return output;
    }
    char buffer[65536];
    for (std::size_t size = 0; (size = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
        output.text.append(buffer, static_cast<qsizetype>(size));
    }
    output.status = ::pclose(pipe);
    return output;
}

} // namespace Shell
