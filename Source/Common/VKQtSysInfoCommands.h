// The commands that answer for the machine under macOS rules. They are found on PATH.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>

namespace VKQtSysInfoCommands {

/// How long a command may take.
inline constexpr std::chrono::milliseconds kBound{30000};

/// The longest output that is taken. A command that writes more is ended, as one that takes too long.
inline constexpr qint64 kOutputLimit = qint64{16} * 1024 * 1024;

/// What the command wrote to its standard output, whatever its exit status; nothing when it cannot be started, has not
/// finished in time, or writes too much. It has ended when this returns. Blocks; any thread.
[[nodiscard]] std::optional<QByteArray> outputOf(const QString& program, const QStringList& arguments,
                                                 std::chrono::milliseconds bound = kBound,
                                                 qint64 limit = kOutputLimit);

} // namespace VKQtSysInfoCommands
