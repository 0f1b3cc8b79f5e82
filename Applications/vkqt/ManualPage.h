// The manual page, made from the declarations.
#pragma once

#include <QString>

namespace VKTool {

/// vkqt(1) in the man macros, plain ASCII.
[[nodiscard]] QString manualPage();

} // namespace VKTool
