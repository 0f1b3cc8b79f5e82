// The demonstration account service as a process of a test's own, and programs that a test talks with while they run.
#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>

/// A program whose two outputs are read while it runs. It is killed with the object.
class Conversation {
public:
    Conversation(const QString& program, const QStringList& arguments,
                 const QString& workingFolder = QString());
    Conversation(const Conversation&) = delete;
    Conversation& operator=(const Conversation&) = delete;
    ~Conversation();

    [[nodiscard]] qint64 pid() const { return mProcess.processId(); }
    void write(const QByteArray& bytes);
    void closeInput();
    /// Wait until standard output or standard error holds the text; false when the program has ended or a minute is over.
    [[nodiscard]] bool waitFor(const QByteArray& text) { return waitFor(text, QProcess::StandardOutput); }
    [[nodiscard]] bool waitForErr(const QByteArray& text) { return waitFor(text, QProcess::StandardError); }
    /// Waits for the end; the exit status, -1 after a crash or a minute.
    [[nodiscard]] int waitForEnd();

    /// Everything that a wait has brought so far.
    [[nodiscard]] QByteArray out();
    [[nodiscard]] QByteArray err();

private:
    [[nodiscard]] bool waitFor(const QByteArray& text, QProcess::ProcessChannel channel);

    QProcess mProcess;
    QByteArray mOut;
    QByteArray mErr;
};

/// Serves from the constructor's end to the destructor.
class ServiceProcess {
public:
    explicit ServiceProcess(const QStringList& arguments = {QStringLiteral("--plain")});

    [[nodiscard]] bool isRunning() const { return !mUrl.isEmpty(); }
    /// The base URL, with what is to follow it.
    [[nodiscard]] QString url(const QString& more = QString()) const { return mUrl + more; }
    /// The file with the certificate authority; empty without TLS.
    [[nodiscard]] QString authorityFile() const { return mAuthorityFile; }
    [[nodiscard]] Conversation& process() { return mProcess; }

private:
    Conversation mProcess;
    QString mUrl;
    QString mAuthorityFile;
};
