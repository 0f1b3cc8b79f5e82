// Completion scripts for the shells, made from the declarations.
#pragma once

#include <QString>

namespace VKTool {

[[nodiscard]] QString bashCompletion();
[[nodiscard]] QString zshCompletion();
[[nodiscard]] QString fishCompletion();

} // namespace VKTool
