// Writes the man macros of groff_man(7), of which groff and mandoc read the same subset.
#include "ManualPage.h"

#include "Help.h"

namespace VKTool {

using namespace Qt::StringLiterals;

namespace {

// Of the last change to these pages; a build's own date would make two builds differ.
constexpr const char* kPageDate = "2026-11-21";

QString escaped(const QString& text) {
    QString result;
    for (const QChar c : text) {
        switch (c.unicode()) {
        case '\\':
            result += u"\\e"_s;
            break;
        case '-':
            result += u"\\-"_s;
            break;
        case '\'':
            result += u"\\(aq"_s;
            break;
        case '"':
            result += u"\\(dq"_s;
            break;
        case '`':
            result += u"\\(ga"_s;
            break;
        case '~':
            result += u"\\(ti"_s;
            break;
        case '^':
            result += u"\\(ha"_s;
            break;
        default:
            result +=
                c.unicode() < 0x80
                    ? QString(c)
                    : u"\\[u%1]"_s.arg(c.unicode(), 4, 16, QLatin1Char('0')).toUpper().replace(u'U', u'u');
        }
    }
    return result;
}

// A line of text; a leading dot would make it a request.
QString textLine(const QString& text) {
    const QString line = escaped(text);
    return (line.startsWith(u'.') ? u"\\&"_s : QString()) + line + u'\n';
}

// A new sentence begins a new line, as the formatters want it.
QString sentences(const QString& text) {
    QString result;
    for (const QString& sentence : text.simplified().replace(u". "_s, u".\n"_s).split(u'\n')) {
        result += textLine(sentence);
    }
    return result;
}

QString paragraphs(const QString& text) {
    QString result;
    for (const QString& paragraph : text.split(u"\n\n"_s)) {
        result += (result.isEmpty() ? QString() : u".PP\n"_s) + sentences(paragraph);
    }
    return result;
}

QString term(const QString& bold, const QString& meaning) {
    return u".TP\n.B "_s + escaped(bold) + u'\n' + sentences(meaning);
}

// "-R, --recursive" in bold, the value in italics.
QString optionTerm(const OptionSpec& option) {
    QString names = optionSynopsis(option);
    QString line = u"\\fB"_s + escaped(names) + u"\\fR\n"_s;
    if (option.form == OptionSpec::Value) {
        names.chop(option.valueName.size() + 1);
        line = u"\\fB"_s + escaped(names) + u"\\fR \\fI"_s + escaped(option.valueName) + u"\\fR\n"_s;
    }
    return u".TP\n"_s + line + sentences(optionMeaning(option));
}

QString optionTerms(const std::vector<OptionSpec>& options) {
    QString result;
    for (const OptionSpec& option : options) {
        result += optionTerm(option);
    }
    return result;
}

QString commandSection(const CommandSpec& command) {
    const QString arguments = argumentsSynopsis(command);
    QString text = u".SS \"vkqt "_s + escaped(command.name) + u"\"\n"_s;
    text += u"\\fBvkqt "_s + escaped(command.name) + u"\\fR [\\fIOPTION\\fR...]"_s;
    text += arguments.isEmpty() ? u"\n"_s : u" \\fI"_s + escaped(arguments) + u"\\fR\n"_s;
    text += u".PP\n"_s + paragraphs(command.description);
    text += optionTerms(command.options);
    if (!command.jsonKeys.empty()) {
        text += u".PP\n"_s;
        text += sentences(
            u"With --json the output is one array; each element is an object with these members:"_s);
        for (const KeySpec& key : command.jsonKeys) {
            text += term(key.key, key.meaning);
        }
    }
    return text;
}

} // namespace

QString manualPage() {
    QString text =
        u".TH VKQT 1 "_s + QLatin1StringView(kPageDate) + u" \"vkqt " VKQT_VERSION "\" \"User Commands\"\n"_s;
    text += u".SH NAME\nvkqt \\- the services of the library VKQtCoreLite, from a shell\n"_s;
    text += u".SH SYNOPSIS\n.B vkqt\n\\fICOMMAND\\fR [\\fIOPTION\\fR...] [\\fIARGUMENT\\fR...]\n"
            ".PP\n.B vkqt \\-\\-help\n.PP\n.B vkqt \\-\\-version\n"_s;
    text += u".SH DESCRIPTION\n"_s;
    text += sentences(
        u"Each command shows one service of the library at work: as text for people, and with --json "
        "for scripts."_s);
    text += u".PP\n"_s;
    text += sentences(
        u"Text is UTF-8. Arguments and file names that are not UTF-8 are shown with replacement characters "
        "(U+FFFD), and are found on disk when they are given that way or as their own bytes."_s);
    text += u".SH COMMANDS\n"_s;
    for (const CommandSpec& command : commands()) {
        text += commandSection(command);
    }
    text += u".SH OPTIONS\n"_s;
    text += sentences(u"These stand before the command or behind it."_s);
    text += optionTerms(commonOptions());
    text += u".PP\nThis one stands alone.\n"_s;
    text += term(u"--version"_s, u"Show the versions of the tool, the library and Qt."_s);
    text += u".SH EXIT STATUS\n"_s;
    int status = 0;
    for (const QString& meaning : exitStatusMeanings()) {
        text += term(QString::number(status++), meaning);
    }
    text += u".SH ENVIRONMENT\n"_s;
    text += term(u"NO_COLOR"_s, u"Any text in it turns colours off, unless --color says otherwise."_s);
    text += term(u"TERM"_s, u"The value \"dumb\" turns colours off in the same way."_s);
    text += term(u"TZ"_s, u"The time zone of the dates that people see; JSON has UTC."_s);
    text += u".SH EXAMPLES\n"_s;
    for (const CommandSpec& command : commands()) {
        for (const ExampleSpec& example : command.examples) {
            text += term(example.commandLine, example.meaning);
        }
    }
    return text;
}

} // namespace VKTool
