// What this process is: confined or not, and on what machine. Any thread.
#pragma once

#include "CoreFoundation/VKCoreExport.h"

#include <CoreFoundation/CoreFoundation.h>

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

/// The model of the machine, as VKMachineFact::Model: "ThinkPad X1 Carbon Gen 9 (20XW0055GE)". The caller releases it;
/// null when the machine does not tell.
[[nodiscard]] VKCORE_EXPORT CFStringRef VKProcessGetCopyHWMachineModel();
