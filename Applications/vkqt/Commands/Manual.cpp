// vkqt manual: the manual page.
#include "CommandLine.h"
#include "ManualPage.h"

namespace {

using namespace Qt::StringLiterals;
using namespace VKTool;

int run(Invocation& invocation) {
    invocation.output().write(manualPage());
    return kExitFine;
}

const Registration kRegistration({
    .name = u"manual"_s,
    .group = CommandSpec::Shell,
    .summary = u"print the manual page"_s,
    .description =
        u"Prints the manual page in the format that man reads. An installed vkqt has it as vkqt(1)."_s,
    .examples = {{u"vkqt manual | man -l -"_s, u"Read the manual of a vkqt that is not installed."_s}},
    .run = &run,
});

} // namespace
