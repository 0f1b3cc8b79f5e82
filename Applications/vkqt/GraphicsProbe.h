// What the window system and the graphics driver of this machine say, asked here or, as a driver may take the program
// that asks it down, in another process of this tool.
#pragma once

#include <QJsonObject>
#include <QString>

#include <chrono>

namespace VKTool {

/// The answers as the members that "vkqt graphics --json" documents; those that are not known are null.
struct GraphicsAnswers {
    QJsonObject members;
    QString
        failure; ///< Why the driver's are not known, as a sentence without a full stop; empty when they are.
};

/// Asks in this process, which needs a QGuiApplication.
[[nodiscard]] GraphicsAnswers askGraphicsHere();

/// Asks in another process, for which it waits so long at most. With `verbose` what that writes to standard error is
/// passed on.
[[nodiscard]] GraphicsAnswers askGraphicsElsewhere(std::chrono::milliseconds bound, bool verbose);

} // namespace VKTool
