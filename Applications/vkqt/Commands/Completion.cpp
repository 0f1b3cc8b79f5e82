// vkqt completion: the script that lets a shell complete vkqt's commands and options.
#include "CommandLine.h"
#include "CompletionScripts.h"

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

int run(Invocation& invocation) {
    const QString shell = invocation.arguments().constFirst();
    const QString script = shell == "bash"_L1  ? bashCompletion()
                           : shell == "zsh"_L1 ? zshCompletion()
                                               : fishCompletion();
    invocation.output().write(script);
    return kExitFine;
}

const Registration kRegistration({
    .name = u"completion"_s,
    .group = CommandSpec::Shell,
    .summary = u"print a completion script for bash, zsh or fish"_s,
    .description = u"Prints the script that teaches a shell to complete vkqt's commands, options and their "
                   "values. An installed vkqt brings these scripts with it."_s,
    .arguments = {{.name = u"SHELL"_s, .takes = Takes::Choice, .choices = {u"bash"_s, u"zsh"_s, u"fish"_s}}},
    .examples = {{u"source <(vkqt completion bash)"_s, u"Completion in this shell, until it is closed."_s}},
    .run = &run,
});

} // namespace
