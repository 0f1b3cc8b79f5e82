// Runs the tool's own commands one after another: processes, what they wrote, and the chapters they belong to.
#include "Tour.h"

#include "Text.h"

#include <QCoreApplication>
#include <QProcess>

namespace VKTool {

namespace {

using namespace Qt::StringLiterals;

constexpr int kLookMs = 50;             // how often a wait looks at Ctrl-C
constexpr int kLongestMs = 120'000;     // a command that takes longer counts as hanging
constexpr int kTimeToCleanUpMs = 5'000; // between the wish to end and the end by force

QProcessEnvironment environmentBelow(const QString& folder) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"XDG_DATA_HOME"_s, folder + u"/data"_s);
    environment.insert(u"XDG_CACHE_HOME"_s, folder + u"/caches"_s);
    environment.insert(u"XDG_CONFIG_HOME"_s, folder + u"/settings"_s);
    // The only server is on this machine, where a proxy would not find it.
    environment.insert(u"no_proxy"_s, u"127.0.0.1"_s);
    return environment;
}

} // namespace

Tour::Tour(Invocation& invocation, const QString& folder, bool quiet, VKProgress* progress)
    : mOutput(invocation.output()), mFolder(folder), mEnvironment(environmentBelow(folder)), mQuiet(quiet),
      mProgress(VKProgressRetain(progress)) {}

Tour::~Tour() { VKProgressRelease(mProgress); }

QString Tour::toolProgram() { return QCoreApplication::applicationFilePath(); }

void Tour::begin(const QString& service, const QString& sentence) {
    endChapter();
    mChapters.push_back({.service = service});
    mClock.start();
    say(sentence);
}

void Tour::leaveOut(const QString& reason) {
    mChapters.back().leftOut = reason;
    say(u"Left out: "_s + reason);
}

void Tour::say(const QString& sentence) {
    if (!mQuiet) {
        mOutput.write(u'\n' + mOutput.styled(Style::Heading, sentence) + u'\n');
    }
}

void Tour::show(const QStringList& arguments, const QList<int>& statuses, const QByteArray& input) {
    if (isCancelled() || !mOutput.isOpen()) {
        return;
    }
    QStringList words;
    for (const QString& argument : arguments) {
        words << shellWord(argument);
    }
    const QString line = u"$ vkqt "_s + words.join(u' ');
    if (!mQuiet) {
        mOutput.write(u'\n' + mOutput.styled(Style::Heading, shown(line)) + u'\n');
        mOutput.flush();
    }
    const auto process = std::make_unique<QProcess>();
    process->setProcessChannelMode(mQuiet ? QProcess::SeparateChannels : QProcess::ForwardedChannels);
    process->setProcessEnvironment(mEnvironment);
    process->setWorkingDirectory(mFolder);
    process->start(toolProgram(), withColor(arguments));
    process->write(input);
    process->closeWriteChannel();
    const bool told = waitFor(*process) && process->exitStatus() == QProcess::NormalExit;
    ++mChapters.back().commands;
    if (isCancelled()) {
        return;
    }
    if (!told) {
        expect(false, line + u" did not come to an end"_s);
    } else if (!statuses.contains(process->exitCode())) {
        expect(false, line + u" ended with status "_s + QString::number(process->exitCode()));
    }
}

TourAnswer Tour::ask(const QStringList& arguments) {
    const auto process = start(toolProgram(), arguments);
    process->closeWriteChannel();
    TourAnswer answer;
    if (waitFor(*process) && process->exitStatus() == QProcess::NormalExit) {
        answer.status = process->exitCode();
    }
    answer.out = process->readAllStandardOutput();
    return answer;
}

void Tour::expect(bool holds, const QString& sentence) {
    if (!holds) {
        ++mChapters.back().wrong;
        complain(u" tour: "_s + sentence);
    }
}

std::unique_ptr<QProcess> Tour::start(const QString& program, const QStringList& arguments) {
    mOutput.flush();
    auto process = std::make_unique<QProcess>();
    process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process->setProcessEnvironment(mEnvironment);
    process->setWorkingDirectory(mFolder);
    process->start(program, arguments);
    return process;
}

const std::vector<Tour::Chapter>& Tour::finish() {
    endChapter();
    return mChapters;
}

void Tour::endChapter() {
    if (!mChapters.empty() && mClock.isValid()) {
        mChapters.back().milliseconds = mClock.elapsed();
        mClock.invalidate();
    }
}

bool Tour::waitFor(QProcess& process) const {
    QElapsedTimer waited;
    waited.start();
    while (!process.waitForFinished(kLookMs)) {
        if (process.state() == QProcess::NotRunning) {
            return process.error() != QProcess::FailedToStart;
        }
        if (isCancelled() || waited.elapsed() > kLongestMs) {
            process.terminate();
            if (!process.waitForFinished(kTimeToCleanUpMs)) {
                process.kill();
                process.waitForFinished();
            }
            return false;
        }
    }
    return true;
}

QStringList Tour::withColor(const QStringList& arguments) const {
    // A command that writes to the same terminal would colour by itself; one told by hand has to be told on.
    return mOutput.isColored() ? QStringList{u"--color"_s, u"always"_s} + arguments : arguments;
}

} // namespace VKTool
