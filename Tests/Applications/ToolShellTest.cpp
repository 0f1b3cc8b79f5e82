// What vkqt prints for shells and for man: the scripts run, they complete, and the page has no faults.
#include "ToolRunner.h"

#include "Support/VKTest.h"

#include <QFile>
#include <QHash>
#include <QRegularExpression>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

class ToolShellTest : public VKTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void bashSyntax();
    void bashCompletes_data();
    void bashCompletes();
    void bashLeavesPathsToTheShell_data();
    void bashLeavesPathsToTheShell();
    void everyShellKnowsEveryOption_data();
    void everyShellKnowsEveryOption();
    void scriptsAreBalanced_data();
    void scriptsAreBalanced();
    void manualHasNoFaults();
    void manualNamesEverything();
    void generatedFilesAreCurrent();

private:
    QHash<QString, QStringList> mOptions; // by command, as the help names them
    QString mFolder;
};

namespace {

bool isInstalled(const char* program) {
    return !QStandardPaths::findExecutable(QString::fromLatin1(program)).isEmpty();
}

} // namespace

void ToolShellTest::initTestCase() {
    mFolder = makeFolder(u"shell"_s);
    static const QRegularExpression sLong(u"--(\\[no-\\])?([a-z-]+)"_s);
    const QStringList commands = commandsOf(kEverydayCommands) + commandsOf(kShellCommands);
    for (const QString& command : commands) {
        const QString help = QString::fromUtf8(runVkqt({command, u"--help"_s}).out);
        for (const QString& line : help.split(u'\n')) {
            const auto match = sLong.match(line);
            if (!line.startsWith(u"  -"_s) || !match.hasMatch()) {
                continue;
            }
            mOptions[command] << match.captured(2);
            if (match.hasCaptured(1)) {
                mOptions[command] << u"no-"_s + match.captured(2);
            }
        }
        QVERIFY(mOptions[command].contains(u"help"_s));
    }
    QVERIFY(mOptions[u"ls"_s].contains(u"no-videos"_s));
}

void ToolShellTest::bashSyntax() {
    const ToolRun run = runShell(u"set -o pipefail; \"$VKQT\" completion bash | bash --norc -n"_s, mFolder);
    QCOMPARE(run.status, 0);
    QCOMPARE(run.err, QByteArray());
}

void ToolShellTest::bashCompletes_data() {
    QTest::addColumn<QString>("words");
    QTest::addColumn<QStringList>("expected");
    QStringList commands = commandsOf(kEverydayCommands) + commandsOf(kShellCommands);
    commands.sort();
    QTest::newRow("commands") << u"vkqt ''"_s << commands;
    QTest::newRow("a command's start") << u"vkqt pa"_s << QStringList(u"path"_s);
    QTest::newRow("options before the command")
        << u"vkqt --v"_s << QStringList{u"--verbose"_s, u"--version"_s};
    QTest::newRow("value before the command") << u"vkqt --color a"_s << QStringList{u"always"_s, u"auto"_s};
    QTest::newRow("command behind a value") << u"vkqt --color never l"_s << QStringList(u"ls"_s);
    QTest::newRow("command behind a joined value") << u"vkqt --color = never l"_s << QStringList(u"ls"_s);
    QTest::newRow("an option's start") << u"vkqt ls --na"_s << QStringList(u"--names"_s);
    QTest::newRow("negated options") << u"vkqt ls --no-"_s
                                     << QStringList{u"--no-files"_s, u"--no-folders"_s, u"--no-packages"_s,
                                                    u"--no-videos"_s};
    QTest::newRow("another command's options stay away") << u"vkqt path --h"_s << QStringList(u"--help"_s);
    QTest::newRow("choices") << u"vkqt ls --sort ''"_s
                             << QStringList{u"date"_s, u"name"_s, u"none"_s, u"size"_s};
    QTest::newRow("a choice's start") << u"vkqt ls --sort n"_s << QStringList{u"name"_s, u"none"_s};
    QTest::newRow("a choice behind an equals sign")
        << u"vkqt ls --sort = n"_s << QStringList{u"name"_s, u"none"_s};
    QTest::newRow("all choices behind an equals sign")
        << u"vkqt ls --sort ="_s << QStringList{u"date"_s, u"name"_s, u"none"_s, u"size"_s};
    QTest::newRow("platforms of shortcuts")
        << u"vkqt shortcuts --platform ''"_s << QStringList{u"both"_s, u"mac"_s, u"windows"_s};
    QTest::newRow("forms of a date") << u"vkqt date --format s"_s << QStringList{u"short"_s, u"suite"_s};
    QTest::newRow("free value") << u"vkqt ls --ext ''"_s << QStringList();
    QTest::newRow("shells") << u"vkqt completion ''"_s << QStringList{u"bash"_s, u"fish"_s, u"zsh"_s};
    QTest::newRow("help of a command") << u"vkqt help p"_s << QStringList(u"path"_s);
    QTest::newRow("no argument expected") << u"vkqt manual ''"_s << QStringList();
    QTest::newRow("nothing behind two dashes") << u"vkqt ls -- --na"_s << QStringList();
    QTest::newRow("unknown command") << u"vkqt nope --"_s << QStringList();
}

void ToolShellTest::bashCompletes() {
    QFETCH(QString, words);
    QFETCH(QStringList, expected);
    const QString script =
        u"source <(\"$VKQT\" completion bash); [[ $(complete -p vkqt) == *'-F _vkqt vkqt' ]] || exit 9\n"
        "COMP_WORDS=(%1); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _vkqt\n"
        "((${#COMPREPLY[@]})) && printf '%s\\n' \"${COMPREPLY[@]}\"; exit 0"_s;
    const ToolRun run = runShell(QString(script).replace(u"%1"_s, words), mFolder);
    QCOMPARE(run.status, 0);
    QCOMPARE(run.err, QByteArray());
    QStringList given = QString::fromUtf8(run.out).split(u'\n', Qt::SkipEmptyParts);
    given.sort();
    QCOMPARE(given, expected);
}

void ToolShellTest::bashLeavesPathsToTheShell_data() {
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QByteArray>("completed");
    QTest::newRow("file") << u"ls IMG"_s << QByteArray("IMG_1.jpg");
    QTest::newRow("folder with a blank") << u"ls Raw"_s << QByteArray("Raw\\ selects/");
    QTest::newRow("in a folder") << u"path sub/in"_s << QByteArray("sub/inner.png");
    QTest::newRow("an option") << u"ls --rec"_s << QByteArray("--recursive");
}

// A real interactive bash, with the Tab key.
void ToolShellTest::bashLeavesPathsToTheShell() {
    QFETCH(QString, typed);
    QFETCH(QByteArray, completed);
    const QString folder = makeFolder(u"tab"_s);
    QVERIFY(makeItem(folder, "IMG_1.jpg", 1) && makeItem(folder, "Raw selects", -1) &&
            makeItem(folder, "sub", -1) && makeItem(folder + u"/sub"_s, "inner.png", 1));
    // The line that the Tab key makes is run: printf shows what the words have become.
    const QString script =
        u"printf '%s\\n' 'vkqt() { printf \"<%q>\" \"$@\"; }' \"source <($(printf %q \"$VKQT\") completion "
        u"bash)\" > rc\n"
        "printf 'vkqt %1\\t\\nexit\\n' | script -qec 'bash --noprofile --rcfile rc -i' /dev/null"_s;
    const ToolRun run = runShell(QString(script).replace(u"%1"_s, typed), folder);

    QVERIFY2(run.out.contains(QByteArray('<' + completed + '>')), run.out.constData());
}

void ToolShellTest::everyShellKnowsEveryOption_data() {
    QTest::addColumn<QString>("shell");
    QTest::addColumn<QString>("option");
    QTest::newRow("bash") << u"bash"_s << u"[ \"]--%1[ \"]"_s;
    QTest::newRow("zsh") << u"zsh"_s << u"'\\*--%1=?\\["_s;
    QTest::newRow("fish") << u"fish"_s << u" -l %1 "_s;
}

void ToolShellTest::everyShellKnowsEveryOption() {
    QFETCH(QString, shell);
    QFETCH(QString, option);
    const ToolRun run = runVkqt({u"completion"_s, shell});
    QCOMPARE(run.status, 0);
    const QString script = QString::fromUtf8(run.out);
    for (auto command = mOptions.begin(); command != mOptions.end(); ++command) {
        QVERIFY2(script.contains(command.key()), qPrintable(command.key()));
        for (const QString& name : command.value()) {
            QVERIFY2(QRegularExpression(option.arg(name)).match(script).hasMatch(), qPrintable(name));
        }
    }
}

void ToolShellTest::scriptsAreBalanced_data() {
    QTest::addColumn<QString>("shell");
    QTest::newRow("zsh") << u"zsh"_s;
    QTest::newRow("fish") << u"fish"_s;
}

// Quotes are closed on the line where they open, and nothing in a description runs as a command.
void ToolShellTest::scriptsAreBalanced() {
    QFETCH(QString, shell);
    const QString script = QString::fromUtf8(runVkqt({u"completion"_s, shell}).out);
    static const QRegularExpression sQuoted(u"'(\\\\'|[^'])*'"_s);
    for (QString line : script.split(u'\n')) {
        if (line.startsWith(u'#')) {
            continue;
        }
        line.remove(sQuoted);
        QVERIFY2(!line.contains(u'\''), qPrintable(line));
        QVERIFY2(!line.contains(u'`'), qPrintable(line));
    }
}

void ToolShellTest::manualHasNoFaults() {
    VKTEST_NEEDS(isInstalled("mandoc"), "mandoc");
    VKTEST_NEEDS(isInstalled("groff"), "groff");
    const ToolRun page = runShell(u"\"$VKQT\" manual > vkqt.1"_s, mFolder);
    QCOMPARE(page.status, 0);
    const ToolRun lint = runShell(u"mandoc -T lint -W warning vkqt.1"_s, mFolder);
    QCOMPARE(lint.out, QByteArray());
    QCOMPARE(lint.err, QByteArray());
    QCOMPARE(lint.status, 0);
    const ToolRun groff = runShell(u"groff -ww -man -T utf8 vkqt.1 > page.txt"_s, mFolder);
    QCOMPARE(groff.err, QByteArray());
    QCOMPARE(groff.status, 0);
}

void ToolShellTest::manualNamesEverything() {
    VKTEST_NEEDS(isInstalled("mandoc"), "mandoc");
    const ToolRun run =
        runShell(u"set -o pipefail; \"$VKQT\" manual | mandoc -T ascii -O width=200 | col -b"_s, mFolder);
    QCOMPARE(run.status, 0);
    const QString text = QString::fromUtf8(run.out).simplified();
    for (auto command = mOptions.begin(); command != mOptions.end(); ++command) {
        QVERIFY(text.contains(u"vkqt "_s + command.key() + u" [OPTION...]"_s));
        for (const QString& name : command.value()) {
            const QString base = name.startsWith(u"no-"_s) ? u"--[no-]"_s + name.mid(3) : name;
            QVERIFY2(text.contains(base), qPrintable(base));
        }
        // Whatever the help says, the page says in the same words.
        const QString help = QString::fromUtf8(runVkqt({command.key(), u"--help"_s}).out);
        const QString description = help.section(u"\n\n"_s, 2, 2).simplified();
        QVERIFY2(text.contains(description), qPrintable(description));
    }
    for (const QString& part :
         {u"EXIT STATUS"_s, u"ENVIRONMENT"_s, u"EXAMPLES"_s, u"| xargs -0 du -ch"_s, u"ISO 8601 in UTC"_s}) {
        QVERIFY2(text.contains(part), qPrintable(part));
    }
}

// The files that are installed are what the tool prints.
void ToolShellTest::generatedFilesAreCurrent() {
    const QList<std::pair<QString, QStringList>> files = {
        {u"vkqt.1"_s, {u"manual"_s}},
        {u"vkqt.bash"_s, {u"completion"_s, u"bash"_s}},
        {u"_vkqt"_s, {u"completion"_s, u"zsh"_s}},
        {u"vkqt.fish"_s, {u"completion"_s, u"fish"_s}},
    };
    for (const auto& [name, arguments] : files) {
        QFile file(QStringLiteral(VKQT_PAGES) + u'/' + name);
        QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable(file.fileName()));
        QCOMPARE(file.readAll(), runVkqt(arguments).out);
    }
}

VKTEST_MAIN(ToolShellTest)
#include "ToolShellTest.moc"
