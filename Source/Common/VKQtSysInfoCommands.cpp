// One process object for each command, and no command outlives it.
#include "VKQtSysInfoCommands.h"

#include <QProcess>

namespace VKQtSysInfoCommands {

std::optional<QByteArray> outputOf(const QString& program, const QStringList& arguments,
                                   std::chrono::milliseconds bound, qint64 limit) {
    QProcess process;
    bool isTooMuch = false;
    QObject::connect(&process, &QProcess::readyReadStandardOutput, &process, [&] {
        if (process.bytesAvailable() > limit) {
            isTooMuch = true;
            process.kill();
        }
    });
    process.start(program, arguments, QIODevice::ReadWrite);
    const bool isFinished = process.waitForFinished(static_cast<int>(bound.count()));
    if (process.state() != QProcess::NotRunning) {
        // Its destructor would do the same, and complain.
        process.kill();
        process.waitForFinished();
    }
    return isFinished && !isTooMuch ? std::optional(process.readAllStandardOutput()) : std::nullopt;
}

} // namespace VKQtSysInfoCommands
