// The tool while it watches: what it has written so far, and its end by a signal.
#pragma once

#include <QByteArray>
#include <QProcess>
#include <QStringList>

#include <csignal>

class WatchRun {
public:
    explicit WatchRun(const QStringList& commandLine) {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("NO_COLOR"), QStringLiteral("1"));
        mProcess.setProcessEnvironment(environment);
        mProcess.start(QStringLiteral(VKQT_TOOL), commandLine);
    }

    /// Waits until the output holds the text so many times.
    bool sees(const QByteArray& text, int count = 1) {
        while (mOutput.count(text) < count) {
            if (!mProcess.waitForReadyRead(60000)) {
                return false;
            }
            mOutput += mProcess.readAllStandardOutput();
        }
        return true;
    }

    /// Interrupts it; its exit status, -1 when it did not end by itself.
    int interrupt(int number) {
        ::kill(static_cast<pid_t>(mProcess.processId()), number);
        mProcess.waitForFinished(60000);
        mOutput += mProcess.readAllStandardOutput();
        return mProcess.exitStatus() == QProcess::NormalExit ? mProcess.exitCode() : -1;
    }

    [[nodiscard]] const QByteArray& output() const { return mOutput; }

private:
    QProcess mProcess;
    QByteArray mOutput;
};
