// strerrordesc_np gives the untranslated text from a table of glibc's, without a buffer to share.
#include "Platform/SystemErrors.h"

#include <cstring>

namespace VKPlatform {

const char* systemErrorText(int error) noexcept { return ::strerrordesc_np(error); }

} // namespace VKPlatform
