// Runs the built tools as a shell would, and makes the files that they are run on.
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QJsonArray>
#include <QString>
#include <QStringList>

/// Every command as the help lists them, one a line: what people use, then what serves the shell.
inline constexpr const char* kEverydayCommands = R"(
account
bookmark
config
cp
date
folders
free
graphics
http
ls
mkdir
mv
network
path
restore
rm
shortcuts
stat
system
tour
trash
trashed
unique
volumes
)";
inline constexpr const char* kShellCommands = R"(
completion
help
manual
)";

/// The lines of such a list.
[[nodiscard]] QStringList commandsOf(const char* list);

struct ToolRun {
    int status = -1; ///< The exit status; -1 when it crashed or did not end in time.
    QByteArray out;
    QByteArray err;
};

/// Runs vkqt in a working folder, without a terminal and without colours from the environment.
[[nodiscard]] ToolRun runVkqt(const QStringList& arguments, const QString& workingFolder = QString());

/// Runs a program of this build or the system in the same way.
[[nodiscard]] ToolRun runProgram(const QString& program, const QStringList& arguments,
                                 const QString& workingFolder = QString());

/// Runs a bash script in which "$VKQT" is the tool: for redirections, pipes and bytes that are no text.
[[nodiscard]] ToolRun runShell(const QString& script, const QString& workingFolder = QString());

/// Writes a file of `size` bytes whose name is the bytes as they are. False, with the reason in errno, when
/// it could not be written. A folder is made when `size` is negative.
[[nodiscard]] bool makeItem(const QString& folder, const QByteArray& name, qint64 size,
                            const QDateTime& modified = QDateTime());

/// Empties a folder. The framework's own removal stops at names that are no text and at very long paths.
void removeAll(const QString& folder);

/// The array that --json wrote; empty, and `ok` false, when it is not exactly one JSON array.
[[nodiscard]] QJsonArray jsonArray(const QByteArray& output, bool* ok);

/// The values of one member of every element, as texts.
[[nodiscard]] QStringList members(const QJsonArray& array, const QString& key);
