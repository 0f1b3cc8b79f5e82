// Each script is a fixed frame with one part for each command; paths are left to the shell's own completion.
#include "CompletionScripts.h"

#include "Command.h"

namespace VKTool {

using namespace Qt::StringLiterals;

namespace {

QStringList commandNames() {
    QStringList names;
    for (const CommandSpec& command : commands()) {
        names << command.name;
    }
    return names;
}

QStringList namesOf(const std::vector<OptionSpec>& options) {
    QStringList names;
    for (const OptionSpec& option : options) {
        names += optionNames(option);
    }
    return names;
}

// What may stand before the command.
QStringList globalNames() { return namesOf(commonOptions()) << u"--version"_s; }

// The first sentence, without its full stop: what fits beside a completion.
QString brief(const QString& help) {
    const qsizetype end = help.indexOf(u". "_s);
    QString sentence = end < 0 ? help : help.left(end);
    sentence.chop(sentence.endsWith(u'.') ? 1 : 0);
    return sentence;
}

// Inside single quotes of a POSIX shell.
QString quotedForShell(const QString& text) {
    QString inner = text;
    return u'\'' + inner.replace(u'\'', u"'\\''"_s) + u'\'';
}

QString bashChoices(const QString& words) { return u"words=\""_s + words + u"\""_s; }

QString bashArgument(const CommandSpec& command) {
    if (command.arguments.empty()) {
        return u":"_s;
    }
    const ArgumentSpec& argument = command.arguments.front();
    switch (argument.takes) {
    case Takes::Path:
        return u"compopt -o default 2>/dev/null; return"_s;
    case Takes::Choice:
        return bashChoices(argument.choices.join(u' '));
    case Takes::Command:
        return bashChoices(commandNames().join(u' '));
    case Takes::Text:
        break;
    }
    return u":"_s;
}

// Lines of a case statement over "command option", for the options that take a value.
QString bashValueCases() {
    QString text;
    for (const CommandSpec& command : commands()) {
        for (const OptionSpec& option : allOptions(command)) {
            if (option.form != OptionSpec::Value) {
                continue;
            }
            QStringList patterns;
            for (const QString& name : optionNames(option)) {
                patterns << u'"' + command.name + u' ' + name + u'"';
            }
            text += u"        "_s + patterns.join(u" | "_s) + u")\n            "_s +
                    bashChoices(option.choices.join(u' ')) + u"; value=yes ;;\n"_s;
        }
    }
    return text;
}

QString bashCommandCases() {
    QString text;
    for (const CommandSpec& command : commands()) {
        text += u"        "_s + command.name + u")\n            options=\""_s +
                namesOf(allOptions(command)).join(u' ') +
                u"\"\n            [[ $dashes || $current != -* ]] && { "_s + bashArgument(command) +
                u"; } ;;\n"_s;
    }
    return text;
}

// "[", "]", ":" and "\" mean something inside a specification of _arguments.
QString zshEscaped(const QString& text) {
    QString result;
    for (const QChar c : text) {
        if (c == u'[' || c == u']' || c == u':' || c == u'\\') {
            result += u'\\';
        }
        result += c;
    }
    return result;
}

QString zshValue(const OptionSpec& option) {
    const QString what = option.choices.isEmpty() ? QString() : u'(' + option.choices.join(u' ') + u')';
    return u':' + zshEscaped(option.valueName) + u':' + what;
}

QStringList zshOptions(const std::vector<OptionSpec>& options) {
    QStringList lines;
    for (const OptionSpec& option : options) {
        const QString meaning = u'[' + zshEscaped(brief(option.help)) + u']';
        for (const QString& name : optionNames(option)) {
            // "*" allows repeating; "=" takes the value behind "=" as well as in the next word.
            const bool value = option.form == OptionSpec::Value;
            const QString joined = value && name.startsWith("--"_L1) ? u"="_s : QString();
            lines << quotedForShell(u'*' + name + joined + meaning + (value ? zshValue(option) : QString()));
        }
    }
    return lines;
}

QString zshArgument(const ArgumentSpec& argument) {
    const bool many = argument.count == ArgumentSpec::Any || argument.count == ArgumentSpec::AtLeastOne;
    QString action;
    switch (argument.takes) {
    case Takes::Path:
        action = u"_files"_s;
        break;
    case Takes::Choice:
        action = u'(' + argument.choices.join(u' ') + u')';
        break;
    case Takes::Command:
        action = u'(' + commandNames().join(u' ') + u')';
        break;
    case Takes::Text:
        action = u" "_s;
        break;
    }
    return quotedForShell((many                                       ? u"*:"_s
                           : argument.count == ArgumentSpec::Optional ? u"::"_s
                                                                      : u":"_s) +
                          argument.name + u':' + action);
}

// Inside single quotes of fish.
QString quotedForFish(const QString& text) {
    QString inner = text;
    inner.replace(u'\\', u"\\\\"_s).replace(u'\'', u"\\'"_s);
    return u'\'' + inner + u'\'';
}

QString fishOption(const OptionSpec& option, const QString& condition) {
    QString text;
    for (const QString& name : optionNames(option)) {
        const bool isLetter = !name.startsWith("--"_L1);
        if (isLetter) {
            continue;
        }
        text += u"complete -c vkqt -n "_s + quotedForFish(condition) + u" -l "_s + name.mid(2);
        if (!option.letter.isEmpty()) {
            text += u" -s "_s + option.letter;
        }
        if (option.form == OptionSpec::Value) {
            text += u" -x"_s;
            if (!option.choices.isEmpty()) {
                text += u" -a "_s + quotedForFish(option.choices.join(u' '));
            }
        }
        text += u" -d "_s + quotedForFish(brief(option.help)) + u'\n';
    }
    return text;
}

} // namespace

QString bashCompletion() {
    QString text = u"# bash completion for vkqt; made by \"vkqt completion bash\".\n"
                   "_vkqt() {\n"
                   "    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}\n"
                   "    local command= dashes= value= words= options= index\n"
                   "    COMPREPLY=()\n"
                   "    # \"--sort=na\" arrives as three words.\n"
                   "    if [[ $current == = ]]; then\n"
                   "        current=\n"
                   "    elif [[ $previous == = ]]; then\n"
                   "        previous=${COMP_WORDS[COMP_CWORD-2]}\n"
                   "    fi\n"
                   "    for ((index = 1; index < COMP_CWORD; index++)); do\n"
                   "        case ${COMP_WORDS[index]} in\n"
                   "        --) [[ $command ]] && dashes=yes ;;\n"
                   "        --color) [[ $command ]] || { index=$((index + 1)); [[ ${COMP_WORDS[index]} == = "
                   "]] && index=$((index + 1)); } ;;\n"
                   "        -*) ;;\n"
                   "        *) [[ $command ]] || command=${COMP_WORDS[index]} ;;\n"
                   "        esac\n"
                   "    done\n"_s;
    text += u"    if [[ ! $command ]]; then\n"
            "        if [[ $previous == --color ]]; then\n"
            "            words=\"auto always never\"\n"
            "        elif [[ $current == -* ]]; then\n"
            "            words=\""_s +
            globalNames().join(u' ') +
            u"\"\n"
            "        else\n"
            "            words=\""_s +
            commandNames().join(u' ') +
            u"\"\n"
            "        fi\n"
            "        mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
            "        return\n"
            "    fi\n"_s;
    text += u"    case \"$command $previous\" in\n"_s + bashValueCases() + u"    esac\n"_s;
    text += u"    if [[ ! $value ]]; then\n"
            "        case $command in\n"_s +
            bashCommandCases() +
            u"        esac\n"
            "        [[ ! $dashes && $current == -* ]] && words=$options\n"
            "    fi\n"
            "    mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$current\")\n"
            "}\n"
            "complete -F _vkqt vkqt\n"_s;
    return text;
}

QString zshCompletion() {
    QString text = u"#compdef vkqt\n"
                   "# zsh completion for vkqt; made by \"vkqt completion zsh\".\n"
                   "_vkqt() {\n"
                   "    local context state state_descr line\n"
                   "    typeset -A opt_args\n"
                   "    _arguments -C \\\n"_s;
    for (const QString& line : zshOptions(commonOptions())) {
        text += u"        "_s + line + u" \\\n"_s;
    }
    text += u"        '--version[Show the versions]' \\\n"
            "        '1:command:->command' \\\n"
            "        '*::argument:->argument'\n"
            "    case $state in\n"
            "    command)\n"
            "        local -a commands\n"
            "        commands=(\n"_s;
    for (const CommandSpec& command : commands()) {
        text += u"            "_s + quotedForShell(command.name + u':' + zshEscaped(command.summary)) + u'\n';
    }
    text += u"        )\n"
            "        _describe -t commands command commands\n"
            "        ;;\n"
            "    argument)\n"
            "        case $words[1] in\n"_s;
    for (const CommandSpec& command : commands()) {
        QStringList lines = zshOptions(allOptions(command));
        for (const ArgumentSpec& argument : command.arguments) {
            lines << zshArgument(argument);
        }
        text += u"        "_s + command.name + u")\n            _arguments \\\n                "_s +
                lines.join(u" \\\n                "_s) + u"\n            ;;\n"_s;
    }
    text += u"        esac\n"
            "        ;;\n"
            "    esac\n"
            "}\n"
            "if [[ $funcstack[1] == _vkqt ]]; then\n"
            "    _vkqt \"$@\"\n"
            "else\n"
            "    compdef _vkqt vkqt\n"
            "fi\n"_s;
    return text;
}

QString fishCompletion() {
    QString text = u"# fish completion for vkqt; made by \"vkqt completion fish\".\n"
                   "complete -c vkqt -f\n"_s;
    const QString none = u"not __fish_seen_subcommand_from "_s + commandNames().join(u' ');
    for (const OptionSpec& option : commonOptions()) {
        text += fishOption(option, none);
    }
    text += u"complete -c vkqt -n "_s + quotedForFish(none) + u" -l version -d 'Show the versions'\n"_s;
    for (const CommandSpec& command : commands()) {
        text += u"complete -c vkqt -n "_s + quotedForFish(none) + u" -a "_s + command.name + u" -d "_s +
                quotedForFish(command.summary) + u'\n';
    }
    for (const CommandSpec& command : commands()) {
        const QString condition = u"__fish_seen_subcommand_from "_s + command.name;
        for (const OptionSpec& option : allOptions(command)) {
            text += fishOption(option, condition);
        }
        for (const ArgumentSpec& argument : command.arguments) {
            const QStringList words = argument.takes == Takes::Command ? commandNames() : argument.choices;
            if (argument.takes == Takes::Path) {
                text += u"complete -c vkqt -n "_s + quotedForFish(condition) + u" -F\n"_s;
            } else if (!words.isEmpty()) {
                text += u"complete -c vkqt -n "_s + quotedForFish(condition) + u" -a "_s +
                        quotedForFish(words.join(u' ')) + u'\n';
            }
        }
    }
    return text;
}

} // namespace VKTool
