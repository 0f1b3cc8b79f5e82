// One process object for each command, which ends what still runs when it goes.
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
    if (!process.waitForFinished(static_cast<int>(bound.count())) || isTooMuch) {
        return std::nullopt;
    }
    return process.readAllStandardOutput();
}

} // namespace VKQtSysInfoCommands
