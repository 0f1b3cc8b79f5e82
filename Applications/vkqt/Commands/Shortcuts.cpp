// vkqt shortcuts: the keyboard shortcuts of the suite, as a table, a page or JSON.
#include "Results.h"
#include "ShortcutKeys.h"
#include "ShortcutPage.h"
#include "Table.h"
#include "Text.h"

#include <algorithm>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;
using Entry = VKKeySequence::Entry;

QList<Keyboard> keyboardsOf(const Invocation& invocation) {
    const QString platform = invocation.value(u"platform"_s);
    if (platform == "mac"_L1) {
        return {Keyboard::Mac};
    }
    return platform == "windows"_L1 ? QList{Keyboard::Windows} : QList{Keyboard::Mac, Keyboard::Windows};
}

QList<Entry> entriesOf(const Invocation& invocation, const QList<Keyboard>& keyboards, bool grouped) {
    QList<Entry> entries = entriesWith(VKKeySequence::entries(), invocation.arguments());
    entries.removeIf([&keyboards](const Entry& entry) {
        return std::none_of(keyboards.begin(), keyboards.end(),
                            [&entry](Keyboard keyboard) { return isBoundOn(entry, keyboard); });
    });
    return grouped ? byGroup(entries) : entries;
}

QJsonValue orNull(const QString& text) {
    return text.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(text);
}

QJsonObject toJson(const Entry& entry) {
    const auto keysOn = [&entry](Keyboard keyboard) {
        return isBoundOn(entry, keyboard) ? orNull(keysText(entry.sequence, keyboard))
                                          : QJsonValue(QJsonValue::Null);
    };
    const QString platform = entry.platform == VKKeySequence::Platform::Any   ? u"any"_s
                             : entry.platform == VKKeySequence::Platform::Mac ? u"mac"_s
                                                                              : u"windows"_s;
    return {{u"name"_s, QString(entry.name)},
            {u"title"_s, entry.title()},
            {u"group"_s, orNull(VKKeySequence::groupTitle(entry.group))},
            {u"platform"_s, platform},
            {u"keys"_s, orNull(entry.sequence.toString(QKeySequence::PortableText))},
            {u"mac"_s, keysOn(Keyboard::Mac)},
            {u"windows"_s, keysOn(Keyboard::Windows)}};
}

Table::Cell keyCell(const Entry& entry, Keyboard keyboard) {
    const QString keys = isBoundOn(entry, keyboard) ? keysText(entry.sequence, keyboard) : QString();
    return keys.isEmpty() ? Table::Cell{.text = u"-"_s, .style = Style::Quiet} : Table::Cell{.text = keys};
}

void writeTable(Output& output, const QList<Entry>& entries, const QList<Keyboard>& keyboards, bool grouped) {
    Table table;
    table.addColumn(u"Command"_s, Table::Left);
    for (const Keyboard keyboard : keyboards) {
        table.addColumn(keyboard == Keyboard::Mac ? u"Mac"_s : u"Windows"_s, Table::Left);
    }
    table.addColumn(u"Name"_s, Table::Left);
    const std::vector<Table::Cell> blank(static_cast<std::size_t>(keyboards.size()) + 2);
    for (qsizetype i = 0; i < entries.size(); ++i) {
        const Entry& entry = entries[i];
        if (grouped && (i == 0 || entries[i - 1].group != entry.group)) {
            std::vector<Table::Cell> heading = blank;
            heading[0] = {.text = VKKeySequence::groupTitle(entry.group), .style = Style::Heading};
            if (i > 0) {
                table.addRow(blank);
            }
            table.addRow(std::move(heading));
        }
        std::vector<Table::Cell> row = {{.text = (grouped ? u"  "_s : QString()) + entry.title()}};
        for (const Keyboard keyboard : keyboards) {
            row.push_back(keyCell(entry, keyboard));
        }
        row.push_back({.text = QString(entry.name), .style = Style::Quiet});
        table.addRow(std::move(row));
    }
    table.write(output);
}

void writeJson(Invocation& invocation, const QList<Entry>& entries) {
    Results results(invocation);
    for (const Entry& entry : entries) {
        results.add(toJson(entry));
    }
}

int run(Invocation& invocation) {
    const bool html = invocation.isOn(u"html"_s);
    const bool json = invocation.isOn(u"json"_s);
    if (html && json) {
        return invocation.usageError(u"--html and --json exclude each other"_s);
    }
    // A page always has its groups.
    const bool grouped = html || invocation.value(u"order"_s) == "group"_L1;
    const QList<Keyboard> keyboards = keyboardsOf(invocation);
    const QList<Entry> entries = entriesOf(invocation, keyboards, grouped);
    if (html) {
        invocation.output().write(shortcutPage(entries, keyboards));
    } else if (json) {
        writeJson(invocation, entries);
    } else if (!entries.isEmpty()) {
        writeTable(invocation.output(), entries, keyboards, grouped);
    } else {
        invocation.output().write(u"There is no such shortcut.\n"_s);
    }
    return invocation.exitStatus();
}

const Registration kRegistration({
    .name = u"shortcuts"_s,
    .summary = u"show the keyboard shortcuts of the suite"_s,
    .description =
        u"Shows the keyboard shortcuts that every application of the suite has, or those that each TEXT is "
        u"found in: in the name, the title, the group or the keys, whatever the case.\n\n"
        "The keys are written as the platform writes them: as signs on a Mac, as \"Ctrl+Alt+C\" on Windows. "
        "Some "
        "commands share a key on purpose, because they act in different modes; some have none yet."_s,
    .arguments = {{.name = u"TEXT"_s, .count = ArgumentSpec::Any}},
    .options =
        {
            {.name = u"platform"_s,
             .form = OptionSpec::Value,
             .valueName = u"WHICH"_s,
             .choices = {u"mac"_s, u"windows"_s, u"both"_s},
             .initialValue = u"both"_s,
             .help = u"Whose keys to show. Commands of the other platform alone are left out."_s},
            {.name = u"order"_s,
             .form = OptionSpec::Value,
             .valueName = u"ORDER"_s,
             .choices = {u"group"_s, u"table"_s},
             .initialValue = u"group"_s,
             .help = u"The order of the rows: by what the commands belong to, or as the table has them. The "
                     u"constant without a command shows in the table alone."_s},
            {.name = u"html"_s, .help = u"Write a page of HTML, to look at and to print."_s},
            {.name = u"json"_s,
             .help = u"Write JSON for scripts: one array with an object for each shortcut."_s},
        },
    .examples =
        {
            {u"vkqt shortcuts"_s, u"All of them."_s},
            {u"vkqt shortcuts brush opacity"_s, u"Those about the opacity of brushes."_s},
            {u"vkqt shortcuts --platform windows ctrl+alt"_s, u"Those with Ctrl and Alt."_s},
            {u"vkqt shortcuts --html > shortcuts.html"_s, u"A page for the wall."_s},
        },
    .jsonKeys =
        {
            {u"name"_s, u"The name of the constant in VKKeySequence."_s},
            {u"title"_s, u"The command in English."_s},
            {u"group"_s, u"What it belongs to; null for the constant without a command."_s},
            {u"platform"_s, u"\"any\", or the only platform that binds it: \"mac\" or \"windows\"."_s},
            {u"keys"_s, u"The keys in the framework's portable form; null without."_s},
            {u"mac"_s, u"The keys as a Mac writes them; null without, or when Macs do not bind it."_s},
            {u"windows"_s, u"The same on Windows."_s},
        },
    .run = &run,
});

} // namespace
