// Processes through the framework; the service ends when its standard input does, also when a test crashes.
#include "ServiceProcess.h"

#include <QElapsedTimer>

namespace {

constexpr int kLongestMs = 60'000;

} // namespace

Conversation::Conversation(const QString& program, const QStringList& arguments,
                           const QString& workingFolder) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("NO_COLOR"));
    environment.insert(QStringLiteral("TERM"), QStringLiteral("xterm-256color"));
    environment.insert(QStringLiteral("SHELL"), QStringLiteral("/bin/sh")); // What `script` starts.
    environment.insert(QStringLiteral("VKQT"), QStringLiteral(VKQT_TOOL));
    environment.insert(QStringLiteral("no_proxy"), QStringLiteral("*"));
    mProcess.setProcessEnvironment(environment);
    if (!workingFolder.isEmpty()) {
        mProcess.setWorkingDirectory(workingFolder);
    }
    mProcess.start(program, arguments);
    mProcess.waitForStarted(kLongestMs);
}

Conversation::~Conversation() {
    if (mProcess.state() != QProcess::NotRunning) {
        mProcess.kill();
        mProcess.waitForFinished(kLongestMs);
    }
}

void Conversation::write(const QByteArray& bytes) {
    mProcess.write(bytes);
    mProcess.waitForBytesWritten(kLongestMs);
}

void Conversation::closeInput() { mProcess.closeWriteChannel(); }

bool Conversation::waitFor(const QByteArray& text, QProcess::ProcessChannel channel) {
    const auto holds = [this, &text, channel] {
        return (channel == QProcess::StandardOutput ? out() : err()).contains(text);
    };
    QElapsedTimer timer;
    timer.start();
    mProcess.setReadChannel(channel);
    while (!holds()) {
        const int left = kLongestMs - static_cast<int>(timer.elapsed());
        if (left <= 0 || !mProcess.waitForReadyRead(left)) {
            return holds();
        }
    }
    return true;
}

int Conversation::waitForEnd() {
    if (mProcess.state() != QProcess::NotRunning && !mProcess.waitForFinished(kLongestMs)) {
        return -1;
    }
    return mProcess.exitStatus() == QProcess::NormalExit ? mProcess.exitCode() : -1;
}

QByteArray Conversation::out() { return mOut += mProcess.readAllStandardOutput(); }

QByteArray Conversation::err() { return mErr += mProcess.readAllStandardError(); }

ServiceProcess::ServiceProcess(const QStringList& arguments)
    : mProcess(QStringLiteral(ACCOUNT_SERVICE),
               QStringList(QStringLiteral("--until-input-ends")) + arguments) {
    if (mProcess.waitFor("\n")) {
        const QString line = QString::fromUtf8(mProcess.out()).section(u'\n', 0, 0);
        mUrl = line.section(u' ', 0, 0);
        mAuthorityFile = line.section(u' ', 1);
    }
}
