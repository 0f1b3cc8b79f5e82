// What every command shares: help, versions, wrong command lines, colours, and output that cannot be written.
#include "ToolRunner.h"

#include "Support/AllocationCounter.h"
#include "Support/DiskSupport.h"
#include "Support/LoopFileSystem.h"
#include "Support/VKTest.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

class ToolFrameTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void generalHelp();
    void version();
    void commandHelp_data();
    void commandHelp();
    void helpFitsItsWidth();
    void wrongLine_data();
    void wrongLine();
    void colours_data();
    void colours();
    void coloursOnATerminal_data();
    void coloursOnATerminal();
    void namesOnATerminal();
    void verbose();
    void readerLeaves_data();
    void readerLeaves();
    void fullDisk_data();
    void fullDisk();
    void outputThatDoesNotWait();
    void closedOutput();
    void closedError();
    void noMemory();

private:
    QString mFolder;
};

namespace {

const QStringList kCommands = commandsOf(kEverydayCommands) + commandsOf(kShellCommands);

} // namespace

void ToolFrameTest::initTestCase() {
    mFolder = makeFolder(u"frame"_s);
    QVERIFY(makeItem(mFolder, "a.jpg", 1) && makeItem(mFolder, "clip.mov", 2) &&
            makeItem(mFolder, "sub", -1));
}

void ToolFrameTest::generalHelp() {
    const ToolRun run = runVkqt({u"--help"_s});
    QCOMPARE(run.status, 0);
    QCOMPARE(run.err, QByteArray());
    QVERIFY(run.out.startsWith(
        "vkqt - the services of the library VKQtCoreLite, from a shell\n\nUsage: vkqt COMMAND "));
    qsizetype last = 0;
    for (const QString& command : kCommands) {
        // Everyday commands first, then those that serve the shell; each on a line.
        const qsizetype at = run.out.indexOf(QByteArray("\n  " + command.toUtf8() + ' '));
        QVERIFY2(at > last, qPrintable(command));
        last = at;
    }
    QCOMPARE(run.out.count("\n\nExit status\n  0  Everything that was asked for was done.\n  1  "), 1);
    for (const QString& form : {u"-h"_s, u"help"_s}) {
        QCOMPARE(runVkqt({form}).out, run.out);
    }
}

void ToolFrameTest::version() {
    const ToolRun run = runVkqt({u"--version"_s});
    QCOMPARE(run.status, 0);
    const QString pattern = u"^vkqt %1 \\(VKQtCoreLite %1, Qt %2\\)\n$"_s.arg(
        QRegularExpression::escape(QStringLiteral(VKQT_VERSION)),
        QRegularExpression::escape(QLatin1StringView(qVersion())));
    QVERIFY2(QRegularExpression(pattern).match(QString::fromUtf8(run.out)).hasMatch(), run.out.constData());
}

void ToolFrameTest::commandHelp_data() {
    QTest::addColumn<QString>("command");
    QTest::addColumn<QStringList>("options");
    const QStringList common = {u"--color WHEN"_s, u"--verbose"_s, u"-h, --help"_s};
    QTest::newRow("ls") << u"ls"_s
                        << common + QStringList{u"--hidden"_s,        u"--all"_s,           u"--ext LIST"_s,
                                                u"--[no-]videos"_s,   u"--[no-]folders"_s,  u"--[no-]files"_s,
                                                u"--[no-]packages"_s, u"-R, --recursive"_s, u"--sort ORDER"_s,
                                                u"-r, --reverse"_s,   u"--bytes"_s,         u"--created"_s,
                                                u"--names"_s,         u"--paths"_s,         u"-0, --null"_s,
                                                u"--json"_s};
    QTest::newRow("cp") << u"cp"_s << common + QStringList{u"--merge"_s, u"--[no-]progress"_s, u"--json"_s};
    QTest::newRow("date") << u"date"_s
                          << common + QStringList{u"--format FORM"_s, u"--locale NAME"_s, u"--json"_s};
    QTest::newRow("shortcuts") << u"shortcuts"_s
                               << common + QStringList{u"--platform WHICH"_s, u"--order ORDER"_s, u"--html"_s,
                                                       u"--json"_s};
    QTest::newRow("folders") << u"folders"_s << common + QStringList(u"--json"_s);
    QTest::newRow("account") << u"account"_s
                             << common + QStringList{u"--service URL"_s,    u"--session-file FILE"_s,
                                                     u"--language CODE"_s,  u"--edition WORD"_s,
                                                     u"--product NAME"_s,   u"--current VERSION"_s,
                                                     u"--auth-file FILE"_s, u"--json"_s};
    QTest::newRow("bookmark") << u"bookmark"_s
                              << common + QStringList{u"--paths"_s, u"--update"_s, u"--json"_s};
    QTest::newRow("free") << u"free"_s << common + QStringList{u"--bytes"_s, u"--json"_s};
    QTest::newRow("graphics") << u"graphics"_s
                              << common + QStringList{u"--here"_s, u"--timeout SECONDS"_s, u"--json"_s};
    QTest::newRow("http") << u"http"_s
                          << common + QStringList{u"--header LINE"_s,
                                                  u"--user NAME"_s,
                                                  u"--data TEXT"_s,
                                                  u"--data-file FILE"_s,
                                                  u"--field NAME=TEXT"_s,
                                                  u"--file NAME=FILE"_s,
                                                  u"--parts"_s,
                                                  u"-o, --output FILE"_s,
                                                  u"--overwrite"_s,
                                                  u"--connect-timeout SECONDS"_s,
                                                  u"--limit MIB"_s,
                                                  u"--any-host"_s,
                                                  u"--reply-header NAME"_s,
                                                  u"--[no-]progress"_s,
                                                  u"--json"_s};
    QTest::newRow("mkdir") << u"mkdir"_s << common + QStringList(u"--json"_s);
    QTest::newRow("mv") << u"mv"_s << common + QStringList{u"--unique"_s, u"--json"_s};
    QTest::newRow("restore") << u"restore"_s << common + QStringList{u"--to PLACE"_s, u"--json"_s};
    QTest::newRow("network") << u"network"_s << common + QStringList(u"--json"_s);
    QTest::newRow("trash") << u"trash"_s << common + QStringList(u"--json"_s);
    QTest::newRow("trashed") << u"trashed"_s << common + QStringList(u"--json"_s);
    QTest::newRow("system") << u"system"_s << common + QStringList(u"--json"_s);
    QTest::newRow("tour") << u"tour"_s << common + QStringList{u"--brief"_s, u"--json"_s};
    QTest::newRow("rm") << u"rm"_s << common + QStringList{u"-r, --recursive"_s, u"--json"_s};
    QTest::newRow("stat") << u"stat"_s << common + QStringList(u"--json"_s);
    QTest::newRow("unique") << u"unique"_s
                            << common + QStringList{u"--folder"_s, u"--word WORD"_s, u"--json"_s};
    QTest::newRow("path") << u"path"_s << common + QStringList{u"--folder"_s, u"--file"_s, u"--json"_s};
    QTest::newRow("volumes") << u"volumes"_s
                             << common + QStringList{u"-w, --watch"_s, u"--bytes"_s, u"--json"_s};
    QTest::newRow("completion") << u"completion"_s << common;
    QTest::newRow("help") << u"help"_s << common;
    QTest::newRow("manual") << u"manual"_s << common;
}

void ToolFrameTest::commandHelp() {
    QFETCH(QString, command);
    QFETCH(QStringList, options);
    const ToolRun run = runVkqt({command, u"--help"_s});
    QCOMPARE(run.status, 0);
    const QString help = QString::fromUtf8(run.out);
    QVERIFY(help.startsWith(u"vkqt "_s + command + u" - "_s));
    QVERIFY(help.contains(u"\nUsage: vkqt "_s + command + u" [OPTION...]"_s));
    QVERIFY(help.contains(u"\nExamples\n  "_s));
    QVERIFY(help.contains(u"\nExit status\n  0  "_s));
    const QString section = help.mid(help.indexOf(u"\nOptions\n"_s),
                                     help.indexOf(u"\nExamples\n"_s) - help.indexOf(u"\nOptions\n"_s));
    static const QRegularExpression sOption(u"^  (-.*?)(  |$)"_s, QRegularExpression::MultilineOption);
    QStringList documented;
    for (auto match = sOption.globalMatch(section); match.hasNext();) {
        documented << match.next().captured(1);
    }
    documented.sort();
    options.sort();
    QCOMPARE(documented, options);
    for (const QStringList& form : {QStringList{u"help"_s, command}, QStringList{command, u"-h"_s},
                                    QStringList{u"--help"_s, command}}) {
        QCOMPARE(runVkqt(form).out, run.out);
    }
}

void ToolFrameTest::helpFitsItsWidth() {
    for (const QString& command : kCommands) {
        for (const QString& line : QString::fromUtf8(runVkqt({u"help"_s, command}).out).split(u'\n')) {
            QVERIFY2(line.size() <= 80, qPrintable(line));
        }
    }
}

void ToolFrameTest::wrongLine_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("sentence");
    const auto row = [](const char* reason, const QStringList& arguments, const char* sentence) {
        QTest::newRow(reason) << arguments << QByteArray(sentence);
    };
    row("nothing", {}, "vkqt: which command? Try \"vkqt --help\" for the list.\n");
    row("unknown command", {u"frobnicate"_s}, "vkqt: there is no command \"frobnicate\"\n");
    row("slip in a command", {u"pth"_s}, "vkqt: there is no command \"pth\"; did you mean path?\n");
    row("empty command", {u""_s}, "vkqt: which command?");
    row("hostile command", {u"\x1b[2J"_s}, "vkqt: there is no command \"\\e[2J\"\n");
    row("unknown option", {u"ls"_s, u"--frobnicate"_s}, "vkqt ls: there is no option --frobnicate\n");
    row("slip in an option", {u"ls"_s, u"--hiden"_s},
        "vkqt ls: there is no option --hiden; did you mean --hidden?\n");
    row("slip in a negated option", {u"ls"_s, u"--no-vidoes"_s},
        "vkqt ls: there is no option --no-vidoes; did you mean --no-videos?\n");
    row("unknown letter", {u"ls"_s, u"-z"_s}, "vkqt ls: there is no option -z\n");
    row("slip before the command", {u"--versoin"_s},
        "vkqt: there is no option --versoin; did you mean --version?\n");
    row("value missing", {u"ls"_s, u"--ext"_s}, "vkqt ls: missing value after '--ext'\n");
    row("value not expected", {u"ls"_s, u"--json=yes"_s}, "vkqt ls: unexpected value after '--json'\n");
    row("wrong choice", {u"ls"_s, u"--sort"_s, u"nam"_s},
        "vkqt ls: \"nam\" is not one of the choices for --sort: name, size, date, none; did you mean "
        "name?\n");
    row("wrong choice before a right one", {u"ls"_s, u"--sort"_s, u"x"_s, u"--sort"_s, u"name"_s},
        "vkqt ls: \"x\" is not one of the choices for --sort");
    row("wrong colour", {u"--color"_s, u"pink"_s, u"ls"_s},
        "vkqt: \"pink\" is not one of the choices for --color: auto, always, never\n");
    row("empty extensions", {u"ls"_s, u"--ext"_s, u" , ."_s},
        "vkqt ls: --ext needs at least one extension\n");
    row("two forms", {u"ls"_s, u"--json"_s, u"--names"_s},
        "vkqt ls: --json and --names exclude each other\n");
    row("NUL in JSON", {u"ls"_s, u"--json"_s, u"-0"_s}, "vkqt ls: --null and --json exclude each other\n");
    row("all and some", {u"ls"_s, u"--all"_s, u"--ext"_s, u"jpg"_s},
        "vkqt ls: --all and --ext exclude each other\n");
    row("both kinds", {u"path"_s, u"--file"_s, u"--folder"_s, u"x"_s},
        "vkqt path: --folder and --file exclude each other\n");
    row("no target", {u"mv"_s, u"a.jpg"_s}, "vkqt mv: it needs a SOURCE and a TARGET\n");
    row("nothing to delete", {u"rm"_s, u"-r"_s}, "vkqt rm: it needs PATH\n");
    row("empty word", {u"unique"_s, u"--word="_s, u"a.jpg"_s}, "vkqt unique: --word needs a word\n");
    row("no text", {u"path"_s}, "vkqt path: it needs TEXT\n");
    row("no shell", {u"completion"_s}, "vkqt completion: it needs SHELL\n");
    row("unknown shell", {u"completion"_s, u"tcsh"_s},
        "vkqt completion: \"tcsh\" is not one of the choices for SHELL: bash, zsh, fish\n");
    row("one shell too many", {u"completion"_s, u"bash"_s, u"zsh"_s},
        "vkqt completion: nothing is expected at \"zsh\"\n");
    row("manual of something", {u"manual"_s, u"ls"_s}, "vkqt manual: nothing is expected at \"ls\"\n");
    row("help of nothing known", {u"help"_s, u"pat"_s},
        "vkqt help: there is no command \"pat\"; did you mean path?\n");
}

void ToolFrameTest::wrongLine() {
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, sentence);
    const ToolRun run = runVkqt(arguments, mFolder);
    QCOMPARE(run.status, 2);
    QCOMPARE(run.out, QByteArray());
    QVERIFY2(run.err.startsWith(sentence), run.err.constData());
    QVERIFY(run.err.contains("Try \"vkqt "));
    QVERIFY(run.err.contains("--help\""));
}

void ToolFrameTest::colours_data() {
    QTest::addColumn<QString>("script");
    QTest::addColumn<bool>("coloured");
    QTest::newRow("a pipe") << u"\"$VKQT\" ls | cat"_s << false;
    QTest::newRow("always") << u"\"$VKQT\" ls --color always"_s << true;
    QTest::newRow("always, before the command") << u"\"$VKQT\" --color=always ls"_s << true;
    QTest::newRow("the command's own wins") << u"\"$VKQT\" --color=always ls --color=never"_s << false;
    QTest::newRow("always beats NO_COLOR") << u"NO_COLOR=1 \"$VKQT\" ls --color always"_s << true;
    QTest::newRow("never") << u"\"$VKQT\" ls --color never"_s << false;
    QTest::newRow("JSON has none") << u"\"$VKQT\" ls --json --color always"_s << false;
    QTest::newRow("names have none") << u"\"$VKQT\" ls --names --color always"_s << false;
    QTest::newRow("help") << u"\"$VKQT\" ls --help --color always"_s << true;
}

void ToolFrameTest::colours() {
    QFETCH(QString, script);
    QFETCH(bool, coloured);
    const ToolRun run = runShell(script, mFolder);
    QCOMPARE(run.status, 0);
    QCOMPARE(run.out.contains("\x1b["), coloured);
    if (coloured) {
        // Every style is ended, and without them the text is the plain one.
        static const QRegularExpression sStart(u"\x1b\\[[1-9][0-9;]*m"_s);
        QString text = QString::fromUtf8(run.out);
        QCOMPARE(text.count(sStart), text.count(u"\x1b[0m"_s));
        text.remove(sStart).remove(u"\x1b[0m"_s);
        const ToolRun plain = runShell(QString(script).replace(u"always"_s, u"never"_s), mFolder);
        QCOMPARE(text.toUtf8(), plain.out);
    }
}

void ToolFrameTest::coloursOnATerminal_data() {
    QTest::addColumn<QString>("environment");
    QTest::addColumn<bool>("coloured");
    QTest::newRow("terminal") << u""_s << true;
    QTest::newRow("NO_COLOR") << u"NO_COLOR=1 "_s << false;
    QTest::newRow("empty NO_COLOR counts as none") << u"NO_COLOR= "_s << true;
    QTest::newRow("dumb terminal") << u"TERM=dumb "_s << false;
}

void ToolFrameTest::coloursOnATerminal() {
    QFETCH(QString, environment);
    QFETCH(bool, coloured);
    // script(1) gives the tool a terminal of its own.
    const ToolRun run = runShell(environment + u"script -qec '\"$VKQT\" ls' /dev/null"_s, mFolder);
    QCOMPARE(run.status, 0);
    QVERIFY(run.out.contains("a.jpg"));
    QCOMPARE(run.out.contains("\x1b["), coloured);
}

void ToolFrameTest::namesOnATerminal() {
    const QString folder = makeFolder(u"terminal"_s);
    QVERIFY(makeItem(folder, "esc\x1b[31mred.jpg", 1));
    const ToolRun terminal = runShell(u"script -qec '\"$VKQT\" ls --names' /dev/null"_s, folder);
    QVERIFY(terminal.out.contains("esc\\e[31mred.jpg"));
    QVERIFY(!terminal.out.contains('\x1b'));
    QCOMPARE(runVkqt({u"ls"_s, u"--names"_s}, folder).out, QByteArray("esc\x1b[31mred.jpg\n"));
}

void ToolFrameTest::verbose() {
    // Nothing that these commands do well is logged, so neither form has anything on stderr.
    for (const QStringList& arguments :
         {QStringList{u"--verbose"_s, u"ls"_s}, QStringList{u"ls"_s, u"--verbose"_s}}) {
        const ToolRun run = runVkqt(arguments, mFolder);
        QCOMPARE(run.status, 0);
        QCOMPARE(run.err, QByteArray());
        QCOMPARE(run.out, runVkqt({u"ls"_s}, mFolder).out);
    }
}

void ToolFrameTest::readerLeaves_data() {
    QTest::addColumn<QString>("before");
    QTest::newRow("usual") << u""_s;
    QTest::newRow("SIGPIPE ignored by the caller") << u"trap '' PIPE; "_s;
}

void ToolFrameTest::readerLeaves() {
    QFETCH(QString, before);
    // Far more than a pipe holds, so that the tool does meet the closed end.
    QString texts;
    for (int i = 0; i < 3000; ++i) {
        texts += u" /photos/%1.jpg"_s.arg(i);
    }
    const ToolRun run =
        runShell(before + u"\"$VKQT\" path"_s + texts + u" | head -n 1; echo \"${PIPESTATUS[0]}\""_s);
    QCOMPARE(run.out, QByteArray("/photos/0.jpg\n0\n"));
    QCOMPARE(run.err, QByteArray());
}

void ToolFrameTest::fullDisk_data() {
    QTest::addColumn<QString>("arguments");
    QTest::newRow("ls") << u"ls"_s;
    QTest::newRow("path") << u"path /a"_s;
    QTest::newRow("help") << u"--help"_s;
    QTest::newRow("version") << u"--version"_s;
    QTest::newRow("manual") << u"manual"_s;
    QTest::newRow("completion") << u"completion bash"_s;
    QTest::newRow("more than a buffer") << u"path $(seq 1 2000)"_s;
}

void ToolFrameTest::fullDisk() {
    QFETCH(QString, arguments);
    const ToolRun run = runShell(u"exec \"$VKQT\" "_s + arguments + u" > /dev/full"_s, mFolder);
    QCOMPARE(run.status, 1);
    QCOMPARE(run.err, QByteArray("vkqt: the output could not be written: no space left on device\n"));
}

// Another program that has the same pipe may have made it so.
void ToolFrameTest::outputThatDoesNotWait() {
    VKTEST_NEEDS(Disk::runs("command -v python3"), "python3");
    const QString folder = makeFolder(u"many"_s);
    for (int i = 0; i < 2000; ++i) {
        Disk::makeFile(folder.toUtf8() + '/' + QByteArray::number(i) + QByteArray(100, 'n') + ".jpg", "");
    }
    const ToolRun run = runShell(u"{ python3 -c 'import os; os.set_blocking(1, False)'; "
                                 "\"$VKQT\" ls --names; echo $? >&2; } | { sleep 1; wc -l; }"_s,
                                 folder);
    QCOMPARE(run.out, QByteArray("2000\n"));
    QCOMPARE(run.err, QByteArray("0\n"));
}

void ToolFrameTest::closedOutput() {
    const ToolRun run = runShell(u"exec \"$VKQT\" ls >&-"_s, mFolder);
    QCOMPARE(run.status, 1);
    QCOMPARE(run.err, QByteArray("vkqt: the output could not be written: bad file descriptor\n"));
    // A wrong line stays one.
    QCOMPARE(runShell(u"exec \"$VKQT\" no-such-command >&-"_s, mFolder).status, 2);
}

void ToolFrameTest::closedError() {
    const ToolRun run = runShell(u"\"$VKQT\" ls --names . nope 2>&-; echo $?"_s, mFolder);
    QCOMPARE(run.out, QByteArray("a.jpg\nclip.mov\nsub\n1\n"));
}

/// A sentence and an exit status, no crash.
void ToolFrameTest::noMemory() {
    VKTEST_NEEDS_ALLOCATION_COUNTS();
    const ToolRun run = runShell(u"ulimit -v 400000; exec \"$VKQT\" http post --data-file - "
                                 "http://127.0.0.1:1/ </dev/zero"_s,
                                 mFolder);
    QCOMPARE(run.err, QByteArray("vkqt: there is not enough memory\n"));
    QCOMPARE(run.status, 1);
    QCOMPARE(run.out, QByteArray());
}

VKTEST_MAIN(ToolFrameTest)
#include "ToolFrameTest.moc"
