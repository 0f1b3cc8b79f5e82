// The system's own words for its error numbers.
#pragma once

namespace VKPlatform {

/// "No such file or directory" for ENOENT, in English whatever the locale; null for a number that the system
/// does not use. The text lives as long as the program. Any thread.
[[nodiscard]] const char* systemErrorText(int error) noexcept;

} // namespace VKPlatform
