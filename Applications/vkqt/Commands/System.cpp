// vkqt system: the system, the machine, the processor, the screen.
#include "GraphicsProbe.h"
#include "Results.h"
#include "Table.h"
#include "Text.h"

#include <VKQtSysInfo.h>

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

// The screen is asked together with the driver, which may hang.
constexpr std::chrono::seconds kScreenBound{20};

QJsonValue orNull(const QString& text) {
    return text.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(text);
}

QString processor() {
    QString name;
    return VKQtSysInfo::cpuDescription(name) == kVKStatusSuccess ? name : QString();
}

QString driverVersion() {
    const QString version = VKQtSysInfo::videoDriverVersion();
    return version == u"Unknown"_s ? QString() : version;
}

QJsonObject facts(const QJsonObject& graphics) {
    return {
        {u"name"_s, orNull(VKQtSysInfo::osName())},
        {u"version"_s, orNull(VKQtSysInfo::osVersion())},
        {u"build"_s, orNull(VKQtSysInfo::osBuildVersion())},
        {u"platform"_s, VKQtSysInfo::osPlatform()},
        {u"host"_s, orNull(VKQtSysInfo::localHostName())},
        {u"manufacturer"_s, orNull(VKQtSysInfo::hwManufacture())},
        {u"model"_s, orNull(VKQtSysInfo::hwModel())},
        {u"processor"_s, orNull(processor())},
        {u"resolution"_s, graphics.value(u"resolution"_s)},
        {u"refreshRate"_s, graphics.value(u"refreshRate"_s)},
        {u"graphicsCard"_s, graphics.value(u"card"_s)},
        {u"graphicsDriver"_s, orNull(driverVersion())},
    };
}

// The texts, without those that are null, with blanks between them; "-" when all are.
QString joined(const QJsonObject& members, const QStringList& keys) {
    QStringList texts;
    for (const QString& key : keys) {
        if (members.value(key).isString()) {
            texts << shown(members.value(key).toString());
        }
    }
    return texts.isEmpty() ? u"-"_s : texts.join(u' ');
}

void writeTable(const QJsonObject& members, Output& output) {
    Table table;
    table.addColumn(u"What"_s, Table::Left);
    table.addColumn(u"On this machine"_s, Table::Left);
    const auto row = [&](const QString& what, const QStringList& keys) {
        table.addRow({{.text = what}, {.text = joined(members, keys)}});
    };
    row(u"System"_s, {u"name"_s, u"version"_s});
    row(u"Build"_s, {u"build"_s});
    row(u"Platform"_s, {u"platform"_s});
    row(u"Host name"_s, {u"host"_s});
    row(u"Machine"_s, {u"manufacturer"_s, u"model"_s});
    row(u"Processor"_s, {u"processor"_s});
    QString screen = joined(members, {u"resolution"_s});
    if (members.value(u"refreshRate"_s).isDouble()) {
        screen += u", %1 Hz"_s.arg(members.value(u"refreshRate"_s).toDouble());
    }
    table.addRow({{.text = u"Screen"_s}, {.text = screen}});
    row(u"Graphics card"_s, {u"graphicsCard"_s});
    row(u"Graphics driver"_s, {u"graphicsDriver"_s});
    table.write(output);
}

int run(Invocation& invocation) {
    // Without a driver, or with a broken one, the rest is worth knowing all the same: no failure here.
    const QJsonObject members =
        facts(askGraphicsElsewhere(kScreenBound, invocation.isOn(u"verbose"_s)).members);
    {
        Results results(invocation);
        results.add(members);
    }
    if (!invocation.isOn(u"json"_s)) {
        writeTable(members, invocation.output());
    }
    return invocation.exitStatus();
}

const Registration kRegistration({
    .name = u"system"_s,
    .summary = u"show what machine and system this is"_s,
    .description = u"Shows the operating system, the machine, its processor, screen and graphics card, as "
                   u"they stand in a "
                   "problem report.\n\n"
                   "What the machine does not tell is \"-\". Texts that makers leave in its tables instead "
                   "of a name count as "
                   "nothing."_s,
    .options = {{.name = u"json"_s, .help = u"Write JSON for scripts: one array with one object."_s}},
    .examples =
        {
            {u"vkqt system"_s, u"Everything that is known."_s},
            {u"vkqt system --json | jq -r '.[].processor'"_s, u"The processor."_s},
        },
    .jsonKeys =
        {
            {u"name"_s, u"The system's name. This and all others are null when not known."_s},
            {u"version"_s, u"Its version."_s},
            {u"build"_s, u"Its build, or the kernel's release."_s},
            {u"platform"_s, u"\"Linux\", \"Macintosh\" or \"Windows\", by the rules of the library."_s},
            {u"host"_s, u"The machine's name in the network."_s},
            {u"manufacturer"_s, u"Who made the machine."_s},
            {u"model"_s, u"Its model."_s},
            {u"processor"_s, u"The processor's name."_s},
            {u"resolution"_s, u"The primary screen's size in pixels, \"2560x1440\"."_s},
            {u"refreshRate"_s, u"In hertz."_s},
            {u"graphicsCard"_s, u"The card that the machine starts with, otherwise the OpenGL renderer."_s},
            {u"graphicsDriver"_s, u"The version of its driver, where it has one of its own."_s},
        },
    .run = &run,
});

} // namespace
