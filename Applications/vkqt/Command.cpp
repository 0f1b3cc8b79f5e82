// The registry of commands and what is derived from their declarations alone.
#include "Command.h"

#include <algorithm>
#include <numeric>

namespace VKTool {

using namespace Qt::StringLiterals;

namespace {

// Filled by static objects of other files, so it has to exist before the first of them asks.
std::vector<CommandSpec>& registry() {
    static std::vector<CommandSpec> commands;
    return commands;
}

// The number of single slips (a letter too many, too few, another, two swapped) that lead from one to the other.
int slipsBetween(const QString& from, const QString& to) {
    const auto rows = static_cast<std::size_t>(from.size()) + 1;
    const auto columns = static_cast<std::size_t>(to.size()) + 1;
    std::vector<std::vector<int>> cost(rows, std::vector<int>(columns));
    std::iota(cost[0].begin(), cost[0].end(), 0);
    for (std::size_t row = 1; row < rows; ++row) {
        cost[row][0] = static_cast<int>(row);
        const QChar a = from.at(static_cast<qsizetype>(row) - 1);
        for (std::size_t column = 1; column < columns; ++column) {
            const QChar b = to.at(static_cast<qsizetype>(column) - 1);
            int best = std::min(cost[row - 1][column], cost[row][column - 1]) + 1;
            best = std::min(best, cost[row - 1][column - 1] + (a == b ? 0 : 1));
            if (row > 1 && column > 1 && a == to.at(static_cast<qsizetype>(column) - 2) &&
                b == from.at(static_cast<qsizetype>(row) - 2)) {
                best = std::min(best, cost[row - 2][column - 2] + 1);
            }
            cost[row][column] = best;
        }
    }
    return cost[rows - 1][columns - 1];
}

} // namespace

Registration::Registration(CommandSpec spec) {
    std::vector<CommandSpec>& all = registry();
    const auto before = [](const CommandSpec& a, const CommandSpec& b) {
        return a.group != b.group ? a.group < b.group : a.name < b.name;
    };
    const auto place = std::upper_bound(all.begin(), all.end(), spec, before);
    all.insert(place, std::move(spec));
}

const std::vector<CommandSpec>& commands() { return registry(); }

const CommandSpec* findCommand(const QString& name) {
    for (const CommandSpec& command : commands()) {
        if (command.name == name) {
            return &command;
        }
    }
    return nullptr;
}

const std::vector<OptionSpec>& commonOptions() {
    static const std::vector<OptionSpec> options = {
        {.name = u"color"_s,
         .form = OptionSpec::Value,
         .valueName = u"WHEN"_s,
         .choices = {u"auto"_s, u"always"_s, u"never"_s},
         .initialValue = u"auto"_s,
         .help = u"Colour the output: auto (on a terminal, unless NO_COLOR is set), always or never."_s},
        {.name = u"verbose"_s, .help = u"Show on stderr what the library logs."_s},
        {.name = u"help"_s, .letter = u"h"_s, .help = u"Show help and leave."_s},
    };
    return options;
}

std::vector<OptionSpec> allOptions(const CommandSpec& command) {
    std::vector<OptionSpec> options = command.options;
    options.insert(options.end(), commonOptions().begin(), commonOptions().end());
    return options;
}

QStringList optionNames(const OptionSpec& option) {
    QStringList names;
    if (!option.letter.isEmpty()) {
        names << u'-' + option.letter;
    }
    names << u"--"_s + option.name;
    if (option.form == OptionSpec::OnOff) {
        names << u"--no-"_s + option.name;
    }
    return names;
}

QString argumentsSynopsis(const CommandSpec& command) {
    QStringList parts;
    for (const ArgumentSpec& argument : command.arguments) {
        switch (argument.count) {
        case ArgumentSpec::Optional:
            parts << u'[' + argument.name + u']';
            break;
        case ArgumentSpec::One:
            parts << argument.name;
            break;
        case ArgumentSpec::Any:
            parts << u'[' + argument.name + u"...]"_s;
            break;
        case ArgumentSpec::AtLeastOne:
            parts << argument.name + u"..."_s;
            break;
        }
    }
    return parts.join(u' ');
}

QString nearestName(const QString& given, const QStringList& known) {
    QString nearest;
    // A third of the letters may be wrong, so that "x" suggests nothing and "recusive" its one neighbour.
    // Longer texts are no slips of anything, and comparing them would cost their square.
    int fewest = given.size() > 64 ? 0 : std::max(1, static_cast<int>(given.size()) / 3) + 1;
    for (const QString& name : known) {
        const int slips = fewest > 0 ? slipsBetween(given, name) : 1;
        if (slips < fewest && slips < name.size()) {
            fewest = slips;
            nearest = name;
        }
    }
    return nearest;
}

} // namespace VKTool
