// Lays the declarations out in two columns, as wide as the terminal but never wider than is good to read.
#include "Help.h"

#include "Text.h"

#include <algorithm>
#include <utility>

namespace VKTool {

using namespace Qt::StringLiterals;

namespace {

constexpr int kWidest = 100;
constexpr int kNarrowest = 40;
constexpr int kIndent = 2;

int lineWidth(const Output& output) { return std::clamp(output.columns(), kNarrowest, kWidest); }

QString heading(const Output& output, const QString& text) {
    return u'\n' + output.styled(Style::Heading, text) + u'\n';
}

using Lines = std::vector<std::pair<QString, QString>>;

// A term and its meaning on a line; a meaning that is too long goes on below itself.
QString inTwoColumns(const Lines& lines, const Output& output) {
    constexpr int kGap = 2;
    constexpr int kLongestTerm = 24;
    int termWidth = 0;
    for (const auto& [term, meaning] : lines) {
        termWidth = std::max(termWidth, std::min(displayWidth(term), kLongestTerm));
    }
    const int column = kIndent + termWidth + kGap;
    QString result;
    for (const auto& [term, meaning] : lines) {
        const QString block = wrapped(meaning, lineWidth(output), column);
        result += QString(kIndent, u' ');
        if (displayWidth(term) <= termWidth) {
            result += padded(term, termWidth + kGap) + block.mid(column);
        } else {
            result += term + u'\n' + block;
        }
    }
    return result;
}

Lines optionLines(const std::vector<OptionSpec>& options) {
    Lines lines;
    for (const OptionSpec& option : options) {
        lines.emplace_back(optionSynopsis(option), optionMeaning(option));
    }
    return lines;
}

Lines statusLines() {
    Lines lines;
    for (const QString& meaning : exitStatusMeanings()) {
        lines.emplace_back(QString::number(lines.size()), meaning);
    }
    return lines;
}

} // namespace

const QStringList& exitStatusMeanings() {
    static const QStringList meanings = {
        u"Everything that was asked for was done."_s,
        u"Something could not be done; a sentence on stderr names it and the reason. The rest was done."_s,
        u"The command line was not understood, and nothing was done."_s,
    };
    return meanings;
}

QString optionSynopsis(const OptionSpec& option) {
    QString text = option.letter.isEmpty() ? QString() : u'-' + option.letter + u", "_s;
    text += (option.form == OptionSpec::OnOff ? u"--[no-]"_s : u"--"_s) + option.name;
    return option.form == OptionSpec::Value ? text + u' ' + option.valueName : text;
}

QString optionMeaning(const OptionSpec& option) {
    if (option.form == OptionSpec::OnOff) {
        return option.help + (option.initially ? u" Default: on."_s : u" Default: off."_s);
    }
    return option.initialValue.isEmpty() ? option.help
                                         : option.help + u" Default: "_s + option.initialValue + u'.';
}

QString generalHelp(const Output& output) {
    QString text = output.styled(Style::Heading, u"vkqt"_s) +
                   u" - the services of the library VKQtCoreLite, from a shell\n"_s;
    text += u"\nUsage: vkqt COMMAND [OPTION...] [ARGUMENT...]\n"_s;
    text += heading(output, u"Commands"_s);
    Lines lines;
    for (const CommandSpec& command : commands()) {
        lines.emplace_back(command.name, command.summary);
    }
    text += inTwoColumns(lines, output);
    text += heading(output, u"Options"_s);
    std::vector<OptionSpec> options = commonOptions();
    options.push_back(
        {.name = u"version"_s, .help = u"Show the versions of the tool, the library and Qt."_s});
    text += inTwoColumns(optionLines(options), output);
    text += heading(output, u"Exit status"_s);
    text += inTwoColumns(statusLines(), output);
    text += u"\n\"vkqt COMMAND --help\" explains a command, with examples.\n"_s;
    return text;
}

QString commandHelp(const CommandSpec& command, const Output& output) {
    const QString name = u"vkqt "_s + command.name;
    const QString arguments = argumentsSynopsis(command);
    QString text = output.styled(Style::Heading, name) + u" - "_s + command.summary + u'\n';
    text += u"\nUsage: "_s + name + u" [OPTION...]"_s + (arguments.isEmpty() ? QString() : u' ' + arguments) +
            u"\n\n"_s;
    text += wrapped(command.description, lineWidth(output), 0);
    text += heading(output, u"Options"_s);
    text += inTwoColumns(optionLines(allOptions(command)), output);
    if (!command.examples.empty()) {
        text += heading(output, u"Examples"_s);
        for (const ExampleSpec& example : command.examples) {
            text += QString(kIndent, u' ') + example.commandLine + u'\n';
            text += wrapped(example.meaning, lineWidth(output), 3 * kIndent);
        }
    }
    if (!command.jsonKeys.empty()) {
        text += heading(output, u"JSON"_s);
        text += wrapped(u"--json writes one array; each element is an object with these members:"_s,
                        lineWidth(output), kIndent);
        Lines keys;
        for (const KeySpec& key : command.jsonKeys) {
            keys.emplace_back(key.key, key.meaning);
        }
        text += inTwoColumns(keys, output);
    }
    text += heading(output, u"Exit status"_s);
    text += inTwoColumns(statusLines(), output);
    return text;
}

QString versionLine() {
    return QStringLiteral("vkqt " VKQT_VERSION " (VKQtCoreLite " VKQT_VERSION ", Qt ") +
           QLatin1StringView(qVersion()) + u')';
}

} // namespace VKTool
