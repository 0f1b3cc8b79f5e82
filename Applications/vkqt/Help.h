// The help texts, made from the declarations.
#pragma once

#include "Command.h"
#include "Output.h"

namespace VKTool {

/// What "vkqt --help" shows: every command on a line, the options, the exit statuses.
[[nodiscard]] QString generalHelp(const Output& output);

/// What "vkqt COMMAND --help" shows.
[[nodiscard]] QString commandHelp(const CommandSpec& command, const Output& output);

/// Meanings of the exit statuses, in the order of their numbers.
[[nodiscard]] const QStringList& exitStatusMeanings();

/// An option as the help names it: "-R, --recursive", "--[no-]videos", "--sort=WORD".
[[nodiscard]] QString optionSynopsis(const OptionSpec& option);

/// The help text of an option with its choices and initial answer, where it has some.
[[nodiscard]] QString optionMeaning(const OptionSpec& option);

/// "vkqt 0.1.0 (VKQtCoreLite 0.1.0, Qt 6.4.2)".
[[nodiscard]] QString versionLine();

} // namespace VKTool
