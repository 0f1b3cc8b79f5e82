// vkqt graphics: the graphics cards, the screen, and what the OpenGL driver can do.
#include "GraphicsProbe.h"
#include "Results.h"
#include "Table.h"
#include "Text.h"

#include <QJsonArray>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

constexpr int kLongestSeconds = 3600;

// "llvmpipe", "16384", "-" for null.
QString textOf(const QJsonValue& value) {
    if (value.isDouble()) {
        return QString::number(value.toDouble());
    }
    return value.isString() ? shown(value.toString()) : u"-"_s;
}

void writeTable(const QJsonObject& members, Output& output) {
    Table table;
    table.addColumn(u"What"_s, Table::Left);
    table.addColumn(u"On this machine"_s, Table::Left);
    const auto row = [&](const QString& what, const QString& answer) {
        table.addRow({{.text = what}, {.text = answer}});
    };
    const QJsonArray cards = members.value(u"cards"_s).toArray();
    for (const auto& card : cards) {
        row(u"Card"_s, textOf(card));
    }
    if (cards.isEmpty()) {
        row(u"Card"_s, textOf(members.value(u"card"_s)));
    }
    const bool hasScreen = members.value(u"resolution"_s).isString();
    row(u"Window system"_s, textOf(members.value(u"windowSystem"_s)));
    row(u"Screen"_s, hasScreen ? textOf(members.value(u"resolution"_s)) + u", "_s +
                                     textOf(members.value(u"refreshRate"_s)) + u" Hz"_s
                               : u"-"_s);
    row(u"OpenGL"_s, textOf(members.value(u"version"_s)));
    row(u"Vendor"_s, textOf(members.value(u"vendor"_s)));
    row(u"Renderer"_s, textOf(members.value(u"renderer"_s)));
    row(u"Shading language"_s, textOf(members.value(u"shadingLanguage"_s)));
    row(u"Longest texture side"_s, textOf(members.value(u"maxTextureSize"_s)));
    const QJsonArray problems = members.value(u"problems"_s).toArray();
    for (const auto& problem : problems) {
        row(u"Known problem"_s, textOf(problem));
    }
    table.write(output);
}

int run(Invocation& invocation) {
    bool isNumber = false;
    const int seconds = invocation.value(u"timeout"_s).toInt(&isNumber);
    if (!isNumber || seconds < 1 || seconds > kLongestSeconds) {
        return invocation.usageError(u"--timeout takes a number of seconds from 1 to 3600"_s);
    }
    const GraphicsAnswers answers =
        invocation.isOn(u"here"_s)
            ? askGraphicsHere()
            : askGraphicsElsewhere(std::chrono::seconds(seconds), invocation.isOn(u"verbose"_s));
    {
        Results results(invocation);
        results.add(answers.members);
    }
    if (!invocation.isOn(u"json"_s)) {
        writeTable(answers.members, invocation.output());
    }
    if (answers.failure.isEmpty()) {
        return invocation.exitStatus();
    }
    complain(u" graphics: "_s + answers.failure);
    return kExitFailed;
}

const Registration kRegistration({
    .name = u"graphics"_s,
    .summary = u"show the graphics cards and what OpenGL can do"_s,
    .description =
        u"Shows the graphics cards, the screen, and what the OpenGL driver says about itself.\n\n"
        "A broken driver may take the program that asks it down, or never answer. So it is asked by another "
        "process of this tool, whose end or silence is told in a sentence. Without a display there is a "
        "driver only where the framework finds one off the screen."_s,
    .options =
        {
            {.name = u"here"_s, .help = u"Ask the driver in this process, whatever becomes of it."_s},
            {.name = u"timeout"_s,
             .form = OptionSpec::Value,
             .valueName = u"SECONDS"_s,
             .initialValue = u"20"_s,
             .help = u"How long the driver may take. 20 unless given."_s},
            {.name = u"json"_s, .help = u"Write JSON for scripts: one array with one object."_s},
        },
    .examples =
        {
            {u"vkqt graphics"_s, u"Everything that is known."_s},
            {u"vkqt graphics --json | jq -r '.[].renderer'"_s, u"The renderer."_s},
        },
    .jsonKeys =
        {
            {u"card"_s,
             u"The card that the machine starts with, otherwise the renderer; null when neither is known."_s},
            {u"cards"_s, u"A line about each card: name, driver, place."_s},
            {u"windowSystem"_s, u"The framework's name for it: \"xcb\", \"wayland\", \"offscreen\"."_s},
            {u"resolution"_s,
             u"The primary screen's size in pixels, \"2560x1440\"; null without a screen."_s},
            {u"refreshRate"_s, u"In hertz; null without a screen."_s},
            {u"vendor"_s, u"Of the driver; null, as the following ones, when it could not be asked."_s},
            {u"renderer"_s, u"What draws."_s},
            {u"version"_s, u"The driver's version of OpenGL."_s},
            {u"shadingLanguage"_s, u"Its version of the shading language."_s},
            {u"maxTextureSize"_s, u"The longest side of a texture in pixels."_s},
            {u"problems"_s, u"The names of known problems that this card has."_s},
            {u"error"_s, u"Why the driver could not be asked; null when it answered."_s},
        },
    .run = &run,
    .screenSwitch = u"here"_s,
});

} // namespace
