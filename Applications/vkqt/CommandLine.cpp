// The framework's command-line parser does the parsing; what it finds wrong is said here in sentences.
#include "CommandLine.h"

#include "Text.h"

#include <QCommandLineParser>
#include <QDir>
#include <QStringDecoder>

namespace VKTool {

using namespace Qt::StringLiterals;

namespace {

QString quoted(const QString& text) { return u'"' + shown(text) + u'"'; }

QString suggestion(const QString& nearest) {
    return nearest.isEmpty() ? QString() : u"; did you mean "_s + nearest + u'?';
}

void declare(QCommandLineParser& parser, const std::vector<OptionSpec>& options) {
    for (const OptionSpec& option : options) {
        for (const QString& typed : optionNames(option)) {
            const QString name = typed.mid(typed.startsWith("--"_L1) ? 2 : 1);
            QCommandLineOption declared(name);
            if (option.form == OptionSpec::Value) {
                declared.setValueName(option.valueName);
            }
            parser.addOption(declared);
        }
    }
}

// The sentence about what parse() refused.
QString refusal(const QCommandLineParser& parser, const std::vector<OptionSpec>& options) {
    const QStringList unknown = parser.unknownOptionNames();
    if (unknown.isEmpty()) {
        // "Missing value after '--ext'.", "Unexpected value after '--json'."
        QString text = parser.errorText();
        text.chop(text.endsWith(u'.') ? 1 : 0);
        return shown(text.left(1).toLower() + text.mid(1));
    }
    const QString& name = unknown.constFirst();
    if (name.size() == 1) {
        return u"there is no option -"_s + shown(name);
    }
    QStringList known;
    for (const OptionSpec& option : options) {
        known << optionNames(option);
    }
    const QString typed = u"--"_s + name;
    return u"there is no option "_s + shown(typed) + suggestion(nearestName(typed, known));
}

QString wrongChoice(const QString& value, const QString& of, const QStringList& choices) {
    return quoted(value) + u" is not one of the choices for "_s + of + u": "_s + choices.join(u", "_s) +
           suggestion(nearestName(value, choices));
}

// An empty text, or the sentence about the first value that is not one of its option's choices.
QString wrongValue(const OptionSpec& option, const QStringList& values) {
    for (const QString& value : values) {
        if (!option.choices.isEmpty() && !option.choices.contains(value)) {
            return wrongChoice(value, u"--"_s + option.name, option.choices);
        }
    }
    return {};
}

// An empty text, or the sentence about arguments that are missing, too many or no choice.
QString wrongArguments(const CommandSpec& command, const QStringList& given) {
    qsizetype used = 0;
    for (const ArgumentSpec& argument : command.arguments) {
        const bool needed = argument.count == ArgumentSpec::One || argument.count == ArgumentSpec::AtLeastOne;
        const bool many = argument.count == ArgumentSpec::Any || argument.count == ArgumentSpec::AtLeastOne;
        if (needed && used == given.size()) {
            return u"it needs "_s + argument.name;
        }
        const qsizetype last = many ? given.size() : std::min(used + 1, given.size());
        for (; used < last; ++used) {
            if (!argument.choices.isEmpty() && !argument.choices.contains(given.at(used))) {
                return wrongChoice(given.at(used), argument.name, argument.choices);
            }
        }
    }
    return used < given.size() ? u"nothing is expected at "_s + quoted(given.at(used)) : QString();
}

} // namespace

QStringList decodeArguments(int count, const char* const* arguments) {
    QStringList texts;
    for (int i = 0; i < count; ++i) {
        texts << decodeBytes(arguments[i]);
    }
    return texts;
}

QString decodeBytes(QByteArrayView bytes) {
    // Unlike QString::fromUtf8 it keeps a byte order mark, which a file name may begin with.
    QStringDecoder decoder(QStringConverter::Utf8, QStringConverter::Flag::ConvertInitialBom);
    return decoder(bytes);
}

QString absoluteText(const QString& text, const QString& workingFolder) {
    QStringList kept;
    if (!text.startsWith(u'/')) {
        // Not below the root, where another item may have the name.
        if (!workingFolder.startsWith(u'/')) {
            return QString();
        }
        kept = workingFolder.split(u'/', Qt::SkipEmptyParts);
    }
    bool leading = true;
    for (const QString& part : text.split(u'/', Qt::SkipEmptyParts)) {
        if (part == "."_L1) {
            continue;
        }
        leading = leading && part == ".."_L1;
        if (!leading) {
            kept << part;
        } else if (!kept.isEmpty()) {
            kept.removeLast();
        }
    }
    const QString result = u'/' + kept.join(u'/');
    return text.endsWith(u'/') && !kept.isEmpty() ? result + u'/' : result;
}

QString workingFolder() { return QDir::currentPath(); }

bool Invocation::parse(const QStringList& arguments) {
    const std::vector<OptionSpec> options = allOptions(mCommand);
    QCommandLineParser parser;
    declare(parser, options);
    if (!parser.parse(QStringList(mCommand.name) + arguments)) {
        static_cast<void>(usageError(refusal(parser, options)));
        return false;
    }
    for (const QString& name : parser.optionNames()) {
        for (const OptionSpec& option : options) {
            if (name == option.name || name == option.letter) {
                mSwitches[option.name] = true;
            } else if (option.form == OptionSpec::OnOff && name == "no-"_L1 + option.name) {
                mSwitches[option.name] = false;
            }
        }
    }
    mArguments = parser.positionalArguments();
    QString wrong;
    for (const OptionSpec& option : options) {
        if (option.form == OptionSpec::Value && wrong.isEmpty()) {
            QStringList& values = mValues[option.name];
            values = parser.values(option.name);
            if (!option.letter.isEmpty()) {
                values += parser.values(option.letter);
            }
            wrong = wrongValue(option, values);
        }
    }
    if (wrong.isEmpty() && !isOn(u"help"_s)) {
        wrong = wrongArguments(mCommand, mArguments);
    }
    if (!wrong.isEmpty()) {
        static_cast<void>(usageError(wrong));
        return false;
    }
    return true;
}

bool Invocation::isOn(const QString& option) const {
    const auto given = mSwitches.constFind(option);
    if (given != mSwitches.constEnd()) {
        return *given;
    }
    for (const OptionSpec& spec : mCommand.options) {
        if (spec.name == option) {
            return spec.form == OptionSpec::OnOff && spec.initially;
        }
    }
    return false;
}

QString Invocation::value(const QString& option) const {
    const QStringList given = values(option);
    if (!given.isEmpty()) {
        return given.constLast();
    }
    for (const OptionSpec& spec : allOptions(mCommand)) {
        if (spec.name == option) {
            return spec.initialValue;
        }
    }
    return {};
}

QStringList Invocation::values(const QString& option) const { return mValues.value(option); }

void Invocation::fail(const QString& subject, const QString& reason) {
    const QString named = subject.isEmpty() ? u"\"\""_s : shown(subject);
    complain(u' ' + mCommand.name + u": "_s + named + u": "_s + reason);
    mExitStatus = kExitFailed;
}

void Invocation::fail(const QString& subject, VKStatus status) { fail(subject, reasonOf(status)); }

int Invocation::usageError(const QString& sentence) const {
    complain(u' ' + mCommand.name + u": "_s + sentence + u"\nTry \"vkqt "_s + mCommand.name +
             u" --help\"."_s);
    return kExitUsage;
}

bool parseGlobalLine(const QStringList& arguments, GlobalLine& line) {
    std::vector<OptionSpec> options = commonOptions();
    options.push_back({.name = u"version"_s, .help = {}});
    QCommandLineParser parser;
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    declare(parser, options);
    QString wrong;
    if (!parser.parse(arguments)) {
        wrong = refusal(parser, options);
    } else {
        wrong = wrongValue(commonOptions().front(), parser.values(u"color"_s));
    }
    if (!wrong.isEmpty()) {
        complain(u": "_s + wrong + u"\nTry \"vkqt --help\"."_s);
        return false;
    }
    line.help = parser.isSet(u"help"_s) || parser.isSet(u"h"_s);
    line.version = parser.isSet(u"version"_s);
    line.verbose = parser.isSet(u"verbose"_s);
    line.color = parser.value(u"color"_s);
    line.rest = parser.positionalArguments();
    if (!line.rest.isEmpty()) {
        line.command = line.rest.takeFirst();
    }
    return true;
}

ColorChoice colorChoice(const QString& word) {
    if (word == "always"_L1) {
        return ColorChoice::Always;
    }
    return word == "never"_L1 ? ColorChoice::Never : ColorChoice::Auto;
}

QString reasonOf(VKStatus status) {
    if (status == kVKStatusNotConvertible) {
        return u"not a path"_s;
    }
    if (status == kVKStatusCancelled) {
        return u"cancelled"_s; // where nothing was there to be done, commands say so themselves
    }
    QString text = QString::fromUtf8(VKStatusText(status));
    text.replace("directory"_L1, "folder"_L1);
    // "Is a folder" becomes "is a folder"; a name such as "HTTP 401" keeps its capitals.
    if (text.size() > 1 && !text.at(1).isUpper()) {
        text[0] = text.at(0).toLower();
    }
    return text;
}

QString unknownCommandSentence(const QString& name) {
    QStringList known;
    for (const CommandSpec& command : commands()) {
        known << command.name;
    }
    return u"there is no command "_s + quoted(name) + suggestion(nearestName(name, known));
}

} // namespace VKTool
