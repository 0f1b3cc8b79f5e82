// What the commands that change or ask about single items have in common: one answer for each argument, as a line
// for people or as an element of one JSON array.
#pragma once

#include "CommandLine.h"

#include <VKCoreKit/VKCFRef.h>
#include <VKQtPath.h>

#include <QJsonObject>

namespace VKTool {

/// The answers of one run, in the form that --json asks for.
class Results {
public:
    explicit Results(Invocation& invocation);
    Results(const Results&) = delete;
    Results& operator=(const Results&) = delete;
    /// Ends the array.
    ~Results();

    [[nodiscard]] bool isJson() const { return mJson; }

    /// One element; for people nothing.
    void add(const QJsonObject& object);
    /// One line for people; with --json nothing. The caller has made it harmless.
    void say(const QString& line);

private:
    Output& mOutput;
    bool mJson;
    bool mFirst = true;
};

/// The status as a member of a JSON object: null for success, otherwise the reason in words.
[[nodiscard]] QJsonValue errorMember(VKStatus status);

/// The text as the path of an item: a relative one from the working folder.
[[nodiscard]] VKQtPath absolutePath(const QString& text, bool isFolder);

/// The item's URL with the bytes on disk; null for a text that names nothing.
[[nodiscard]] VKCFRef<CFURLRef> urlOf(const QString& text, bool isFolder);

/// The URL of an item of the folder that has just these bytes as its name.
[[nodiscard]] VKCFRef<CFURLRef> urlInFolder(CFURLRef folder, QByteArrayView name, bool isFolder);

/// The bytes of the path that the URL names; null for null.
[[nodiscard]] QByteArray bytesOf(CFURLRef url);

/// The text of it, as paths are shown.
[[nodiscard]] QString textOf(CFURLRef url);

} // namespace VKTool
