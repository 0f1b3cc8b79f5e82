// vkqt help: the general help, or that of one command.
#include "Help.h"
#include "CommandLine.h"

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

int run(Invocation& invocation) {
    Output& output = invocation.output();
    if (invocation.arguments().isEmpty()) {
        output.write(generalHelp(output));
        return kExitFine;
    }
    const QString name = invocation.arguments().constFirst();
    const CommandSpec* command = findCommand(name);
    if (command == nullptr) {
        return invocation.usageError(unknownCommandSentence(name));
    }
    output.write(commandHelp(*command, output));
    return kExitFine;
}

const Registration kRegistration({
    .name = u"help"_s,
    .group = CommandSpec::Shell,
    .summary = u"explain a command, with examples"_s,
    .description = u"Shows what \"vkqt COMMAND --help\" shows; without a COMMAND the list of all."_s,
    .arguments = {{.name = u"COMMAND"_s, .count = ArgumentSpec::Optional, .takes = Takes::Command}},
    .examples = {{u"vkqt help ls"_s, u"How to list a folder."_s}},
    .run = &run,
});

} // namespace
