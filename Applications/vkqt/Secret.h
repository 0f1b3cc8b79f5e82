// Passwords: from the terminal, which then does not show them, or from standard input. Never from the command line, which
// other users can see and shells remember.
#pragma once

#include <QByteArray>
#include <QString>

namespace VKTool {

struct Secret {
    QString text;
    QString problem; ///< Why there is none: the end of a sentence, empty when there is one.
};

/// The longest password, in bytes.
constexpr qsizetype kMostSecretBytes = 4096;

/// Asks with `prompt` on the terminal when standard input is one; otherwise takes the first line of standard input and
/// not a byte more, so that what follows it is there for others. Ctrl-C and the like end the tool, as always, after the
/// terminal shows again what is typed.
[[nodiscard]] Secret readSecret(const QString& prompt);

/// What a line without its line break gives: the text, or the problem with it.
[[nodiscard]] Secret secretFromLine(QByteArray line);

} // namespace VKTool
