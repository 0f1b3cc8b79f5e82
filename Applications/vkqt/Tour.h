// Runs the tool's own commands one after another in a folder of its own, as a person would, and sums up how it went.
#pragma once

#include "CommandLine.h"

#include <VKCoreKit/VKProgress.h>

#include <QElapsedTimer>
#include <QProcessEnvironment>

#include <memory>
#include <optional>
#include <vector>

class QProcess;

namespace VKTool {

/// What a command that ran in the background, or quietly, left.
struct TourAnswer {
    std::optional<int> status; ///< None when it could not be started, died of a signal or took too long.
    QByteArray out;
};

/// One tour. Every command is a process of this same program whose working folder, application data, caches and
/// configuration lie below `folder`, so that the person's own are left alone.
class Tour {
public:
    struct Chapter {
        QString service;
        int commands = 0;
        int wrong = 0;
        qint64 milliseconds = 0;
        QString leftOut = {}; ///< Why nothing of it could be shown here; empty when it was shown.
    };

    /// With `quiet` nothing is written but what finish() sums up.
    Tour(Invocation& invocation, const QString& folder, bool quiet, VKProgress* progress);
    Tour(const Tour&) = delete;
    Tour& operator=(const Tour&) = delete;
    ~Tour();

    /// Begins a chapter of the summary, and says what it shows.
    void begin(const QString& service, const QString& sentence);
    /// Notes that this machine cannot show the chapter that was begun.
    void leaveOut(const QString& reason);
    void say(const QString& sentence);

    /// Shows a command: its line, as it would be typed, and all that it writes. It counts as wrong unless it ends
    /// with one of the statuses. `input` is what it reads.
    void show(const QStringList& arguments, const QList<int>& statuses = {kExitFine},
              const QByteArray& input = QByteArray());
    /// Runs a command without showing it.
    [[nodiscard]] TourAnswer ask(const QStringList& arguments);
    /// Counts as wrong, with the sentence, unless `holds`.
    void expect(bool holds, const QString& sentence);

    /// Starts a command, or another program, that the caller ends. Standard error is the tour's own.
    [[nodiscard]] std::unique_ptr<QProcess> start(const QString& program, const QStringList& arguments);
    [[nodiscard]] static QString toolProgram();

    [[nodiscard]] const QString& folder() const { return mFolder; }
    [[nodiscard]] bool isCancelled() const { return VKProgressGetCancel(mProgress); }

    /// Ends the last chapter and gives all of them.
    [[nodiscard]] const std::vector<Chapter>& finish();

private:
    void endChapter();
    [[nodiscard]] bool waitFor(QProcess& process) const;
    [[nodiscard]] QStringList withColor(const QStringList& arguments) const;

    Output& mOutput;
    QString mFolder;
    QProcessEnvironment mEnvironment;
    bool mQuiet;
    VKProgress* mProgress;
    std::vector<Chapter> mChapters;
    QElapsedTimer mClock;
};

} // namespace VKTool
