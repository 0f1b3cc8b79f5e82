// What a command of vkqt declares once: its options, arguments, examples and statuses. The parser, the help,
// the shell completions and the manual page are all made from these records.
#pragma once

#include <QString>
#include <QStringList>

#include <vector>

namespace VKTool {

class Invocation;

/// Exit statuses of every command.
enum ExitStatus {
    kExitFine = 0,   ///< Everything that was asked for was done.
    kExitFailed = 1, ///< The library gave a failing status for something; a sentence on stderr says which.
    kExitUsage = 2,  ///< The command line was not understood; nothing was done.
};

/// What a value on the command line is, for the shells' completion.
enum class Takes { Text, Path, Choice, Command };

struct OptionSpec {
    enum Form {
        Switch, ///< "--json"
        OnOff,  ///< "--videos" and "--no-videos", the last one given wins
        Value,  ///< "--sort WORD" or "--sort=WORD"
    };

    QString name;        ///< Without dashes.
    QString letter = {}; ///< One character for the short form, or empty.
    Form form = Switch;
    bool initially = false;    ///< OnOff: the answer when neither is given.
    QString valueName = {};    ///< Value: what the help calls it.
    QStringList choices = {};  ///< Value: the only texts accepted; empty for any.
    QString initialValue = {}; ///< Value: the one taken when the option is not given.
    QString help;              ///< One or two sentences.
};

struct ArgumentSpec {
    enum Count { Optional, One, Any, AtLeastOne };

    QString name; ///< As the help shows it, in capitals.
    Count count = One;
    Takes takes = Takes::Text;
    QStringList choices = {}; ///< With Takes::Choice: the only texts accepted.
};

struct ExampleSpec {
    QString commandLine;
    QString meaning;
};

struct KeySpec {
    QString key;
    QString meaning;
};

struct CommandSpec {
    /// Where the command stands in lists: what people use first, then what serves the shell.
    enum Group { Everyday, Shell };

    QString name;
    Group group = Everyday;
    QString summary;     ///< A few words, lower case, without a full stop.
    QString description; ///< Paragraphs, separated by empty lines.
    std::vector<ArgumentSpec> arguments = {};
    std::vector<OptionSpec> options = {};
    std::vector<ExampleSpec> examples = {};
    std::vector<KeySpec> jsonKeys = {}; ///< The members that --json writes for each element of its array.
    /// Does the work and answers an ExitStatus; Invocation::exitStatus() remembers complaints.
    int (*run)(Invocation&) = nullptr;
    /// The switch with which the command asks for the screen, and so for the window system's libraries; empty for none.
    QString screenSwitch = {};
};

/// Adds a command at start-up: one static object of this class in the command's own file.
class Registration {
public:
    explicit Registration(CommandSpec spec);
};

/// Every command, everyday ones first, each group in the order of names.
[[nodiscard]] const std::vector<CommandSpec>& commands();

/// Null when there is none of that name.
[[nodiscard]] const CommandSpec* findCommand(const QString& name);

/// Options that stand before the command as well as behind it.
[[nodiscard]] const std::vector<OptionSpec>& commonOptions();

/// The command's own options, then the common ones.
[[nodiscard]] std::vector<OptionSpec> allOptions(const CommandSpec& command);

/// The names of an option as they are typed: "-R", "--recursive"; both names of an on-off option.
[[nodiscard]] QStringList optionNames(const OptionSpec& option);

/// "[FOLDER...]", "TEXT...", empty without arguments.
[[nodiscard]] QString argumentsSynopsis(const CommandSpec& command);

/// Of `known`, the text that `given` is most likely a slip of; empty when none is near.
[[nodiscard]] QString nearestName(const QString& given, const QStringList& known);

} // namespace VKTool
