// vkqt: the library's services from a shell. Finds the command, hands it its line, and tells how it ended.
#include "CommandLine.h"
#include "Help.h"
#include "Text.h"

#include <VKCoreKit/VKLog.h>
#include <VKQtLocale.h>

#include <QCoreApplication>
#include <QGuiApplication>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <new>
#include <unistd.h>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

// A file that is opened while a standard descriptor is closed would take its number, and our words.
// Answers whether standard output is usable.
bool holdStandardDescriptors() {
    const bool usable = ::fcntl(STDOUT_FILENO, F_GETFD) >= 0;
    int opened = 0;
    do {
        opened = ::open("/dev/null", O_RDWR);
    } while (opened >= 0 && opened <= STDERR_FILENO);
    if (opened >= 0) {
        ::close(opened);
    }
    return usable;
}

// What a command cannot do it says itself; the library's own record of it is for --verbose.
void dropLog(const VKLogRecord& /*record*/, void* /*context*/) {}

// The library logs what servers said, which on a terminal must not drive it.
void showMessage(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    const QString text = qFormatLogMessage(type, context, message);
    QByteArray lines;
    for (QStringView line : QStringView(text).split(u'\n')) {
        line.chop(line.endsWith(u'\r') ? 1 : 0);
        lines += shown(line.toString()).toUtf8() + '\n';
    }
    static_cast<void>(std::fwrite(lines.constData(), 1, static_cast<std::size_t>(lines.size()), stderr));
}

// The arguments of main() as the framework takes them.
struct ProgramLine {
    int& count;
    char** words;
};

// The window system is started for those alone who ask for the screen: it costs time and may not be there.
std::unique_ptr<QCoreApplication> makeApplication(const ProgramLine& program, bool needsScreen) {
    if (!needsScreen) {
        return std::make_unique<QCoreApplication>(program.count, program.words);
    }
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") &&
        qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        // The framework would end the program.
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    return std::make_unique<QGuiApplication>(program.count, program.words);
}

int runCommand(const GlobalLine& line, const ProgramLine& program, Output& output) {
    const CommandSpec* command = findCommand(line.command);
    if (command == nullptr) {
        complain(u": "_s + unknownCommandSentence(line.command) + u"\nTry \"vkqt --help\"."_s);
        return kExitUsage;
    }
    if (line.help) {
        output.write(commandHelp(*command, output));
        return kExitFine;
    }
    Invocation invocation(*command, output);
    if (!invocation.parse(line.rest)) {
        return kExitUsage;
    }
    const bool colorGiven = !invocation.values(u"color"_s).isEmpty() || line.color.isEmpty();
    output.setColor(colorChoice(colorGiven ? invocation.value(u"color"_s) : line.color));
    if (invocation.isOn(u"help"_s)) {
        output.write(commandHelp(*command, output));
        return kExitFine;
    }
    invocation.setVerbose(line.verbose);
    if (!invocation.isVerbose()) {
        VKLogSetHandler(&dropLog, nullptr);
    } else if (::isatty(STDERR_FILENO) == 1) {
        qInstallMessageHandler(&showMessage);
    }
    const bool needsScreen = !command->screenSwitch.isEmpty() && invocation.isOn(command->screenSwitch);
    const std::unique_ptr<QCoreApplication> application = makeApplication(program, needsScreen);
    VKQtLocale::installTranslations();
    return command->run(invocation);
}

int run(const QStringList& arguments, const ProgramLine& program, Output& output) {
    GlobalLine line;
    if (!parseGlobalLine(arguments, line)) {
        return kExitUsage;
    }
    output.setColor(colorChoice(line.color));
    if (line.version) {
        output.write(versionLine() + u'\n');
        return kExitFine;
    }
    if (!line.command.isEmpty()) {
        return runCommand(line, program, output);
    }
    if (line.help) {
        output.write(generalHelp(output));
        return kExitFine;
    }
    complain(u": which command? Try \"vkqt --help\" for the list."_s);
    return kExitUsage;
}

} // namespace

int main(int argc, char** argv) {
    const bool writable = holdStandardDescriptors();
    // A reader that leaves early ends the output, not the program: see Output.
    std::signal(SIGPIPE, SIG_IGN);
    // A file that grows beyond what the shell allows is an error like a full disk, and cleaned up after.
    std::signal(SIGXFSZ, SIG_IGN);
    const QStringList arguments = decodeArguments(argc, argv);
    Output output(STDOUT_FILENO);
    int status = kExitFailed;
    try {
        status = run(arguments, {argc, argv}, output);
    } catch (const std::bad_alloc&) {
        complain(u": there is not enough memory"_s);
    }
    const int error = writable ? output.finish() : EBADF;
    if (error != 0 && status != kExitUsage) {
        complain(u": the output could not be written: "_s + reasonOf(static_cast<VKStatus>(error)));
        status = kExitFailed;
    }
    return status;
}
