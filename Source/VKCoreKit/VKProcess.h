// What this process is: confined or not, and on what machine. Any thread.
#pragma once

#include "CoreFoundation/VKCoreExport.h"

/// Whether the process runs in an application sandbox (Flatpak, a confined Snap), by the system's own evidence,
/// which is looked at once.
[[nodiscard]] VKCORE_EXPORT bool VKProcessGetSandboxed();

enum class VKSandboxAnswer {
    Detect, ///< by the system's evidence
    Sandboxed,
    Unsandboxed,
};

/// For tests, and for hosts that know better: what VKProcessGetSandboxed() answers from now on.
VKCORE_EXPORT void VKProcessSetSandboxed(VKSandboxAnswer answer);
