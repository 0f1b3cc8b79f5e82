// Plain processes through QProcess; files through POSIX calls, because their names need not be text.
#include "ToolRunner.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTest>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

ToolRun runProgram(const QString& program, const QStringList& arguments, const QString& workingFolder) {
    constexpr int kLongestMs = 120'000;
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("NO_COLOR"));
    environment.insert(QStringLiteral("TERM"), QStringLiteral("xterm-256color"));
    environment.insert(QStringLiteral("SHELL"), QStringLiteral("/bin/sh")); // What `script` starts.
    environment.insert(QStringLiteral("VKQT"), QStringLiteral(VKQT_TOOL));
    process.setProcessEnvironment(environment);
    process.setStandardInputFile(QProcess::nullDevice());
    if (!workingFolder.isEmpty()) {
        process.setWorkingDirectory(workingFolder);
    }
    process.start(program, arguments);
    ToolRun run;
    if (process.waitForFinished(kLongestMs) && process.exitStatus() == QProcess::NormalExit) {
        run.status = process.exitCode();
    }
    run.out = process.readAllStandardOutput();
    run.err = process.readAllStandardError();
    return run;
}

QStringList commandsOf(const char* list) { return QString::fromUtf8(list).split(u'\n', Qt::SkipEmptyParts); }

ToolRun runVkqt(const QStringList& arguments, const QString& workingFolder) {
    return runProgram(QStringLiteral(VKQT_TOOL), arguments, workingFolder);
}

ToolRun runShell(const QString& script, const QString& workingFolder) {
    return runProgram(QStringLiteral("bash"), {QStringLiteral("--norc"), QStringLiteral("-c"), script},
                      workingFolder);
}

bool makeItem(const QString& folder, const QByteArray& name, qint64 size, const QDateTime& modified) {
    const QByteArray path = QFile::encodeName(folder) + '/' + name;
    if (size < 0) {
        if (::mkdir(path.constData(), 0755) != 0) {
            return false;
        }
    } else {
        const int descriptor = ::open(path.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
        if (descriptor < 0) {
            return false;
        }
        const bool sized = ::ftruncate(descriptor, size) == 0;
        if (::close(descriptor) != 0 || !sized) {
            return false;
        }
    }
    if (!modified.isValid()) {
        return true;
    }
    const qint64 ms = modified.toMSecsSinceEpoch();
    const timespec time = {ms / 1000, (ms % 1000) * 1'000'000};
    const timespec times[2] = {time, time};
    return ::utimensat(AT_FDCWD, path.constData(), times, 0) == 0;
}

void removeAll(const QString& folder) {
    const ToolRun run = runShell(QStringLiteral("shopt -s dotglob nullglob; rm -rf -- ./*"), folder);
    QVERIFY2(run.status == 0, run.err.constData());
}

QJsonArray jsonArray(const QByteArray& output, bool* ok) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(output, &error);
    *ok = error.error == QJsonParseError::NoError && document.isArray();
    return document.array();
}

QStringList members(const QJsonArray& array, const QString& key) {
    QStringList texts;
    for (const auto& value : array) {
        texts << value.toObject().value(key).toVariant().toString();
    }
    return texts;
}
