// From the bytes that the shell gave to a command's options and arguments, by the command's own declaration.
#pragma once

#include "Command.h"
#include "Output.h"

#include <VKCoreKit/VKStatus.h>

#include <QHash>

namespace VKTool {

/// The arguments of main() as text. Bytes that are no UTF-8 become replacement characters; a path that holds
/// one is found on disk by the library all the same.
[[nodiscard]] QStringList decodeArguments(int count, const char* const* arguments);

/// The same for one text.
[[nodiscard]] QString decodeBytes(QByteArrayView bytes);

/// A path text relative to `workingFolder` made absolute: "." components and doubled slashes go, leading ".."
/// are taken off the working folder (whose own text holds no links). A ".." behind a name stays for the disk
/// to answer, because the name may be a link.
///
///     "a.jpg" -> "/trip/a.jpg"     "./a/" -> "/trip/a/"      "" -> "/trip"
///     "../x"  -> "/x"              "a/../b" -> "/trip/a/../b"
///
/// Without a working folder, as when it was deleted, a relative text has none: empty.
[[nodiscard]] QString absoluteText(const QString& text, const QString& workingFolder);

/// The text of the working folder; empty when it cannot be told.
[[nodiscard]] QString workingFolder();

/// One run of a command: what was asked for, where the answer goes, and what went wrong.
class Invocation {
public:
    Invocation(const CommandSpec& command, Output& output) : mCommand(command), mOutput(output) {}
    Invocation(const Invocation&) = delete;
    Invocation& operator=(const Invocation&) = delete;
    ~Invocation() = default;

    /// Parses what stands behind the command's name. False after a complaint on stderr.
    [[nodiscard]] bool parse(const QStringList& arguments);

    [[nodiscard]] const CommandSpec& command() const { return mCommand; }
    [[nodiscard]] Output& output() { return mOutput; }

    /// Whether --verbose was given, here or before the command.
    [[nodiscard]] bool isVerbose() const { return mVerbose || isOn(QStringLiteral("verbose")); }
    void setVerbose(bool verbose) { mVerbose = verbose; }

    /// Whether a switch was given, or the answer of an on-off option.
    [[nodiscard]] bool isOn(const QString& option) const;
    /// The last value of an option, its initial value when it was not given.
    [[nodiscard]] QString value(const QString& option) const;
    /// Every value of an option that may be repeated.
    [[nodiscard]] QStringList values(const QString& option) const;
    [[nodiscard]] const QStringList& arguments() const { return mArguments; }

    /// "vkqt ls: SUBJECT: the reason" on stderr; the command ends with kExitFailed. A path is named as the command
    /// line has it; an empty one as "".
    void fail(const QString& subject, const QString& reason);
    /// The same with the status's reason.
    void fail(const QString& subject, VKStatus status);
    /// "vkqt ls: SENTENCE" and where to read more, on stderr. Answers kExitUsage.
    [[nodiscard]] int usageError(const QString& sentence) const;

    [[nodiscard]] int exitStatus() const { return mExitStatus; }

private:
    const CommandSpec& mCommand;
    Output& mOutput;
    QStringList mArguments;
    QHash<QString, QStringList> mValues;
    QHash<QString, bool> mSwitches;
    bool mVerbose = false;
    int mExitStatus = kExitFine;
};

/// What stands before the command's name, and the name itself.
struct GlobalLine {
    bool help = false;
    bool version = false;
    bool verbose = false;
    QString color;
    QString command;  ///< Empty when none was given.
    QStringList rest; ///< What stands behind it.
};

/// Parses what stands before the command. False after a complaint on stderr.
[[nodiscard]] bool parseGlobalLine(const QStringList& arguments, GlobalLine& line);

/// ColorChoice of "auto", "always" and "never".
[[nodiscard]] ColorChoice colorChoice(const QString& word);

/// The reason of a status as the end of a sentence: "no such file or folder", "cancelled".
[[nodiscard]] QString reasonOf(VKStatus status);

/// "there is no command \"lss\"; did you mean \"ls\"?"
[[nodiscard]] QString unknownCommandSentence(const QString& name);

} // namespace VKTool
