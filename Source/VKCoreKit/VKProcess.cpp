// The sandbox question, answered by the platform; the model of the machine.
#include "VKCoreKit/VKProcess.h"

#include "Platform/Sandbox.h"
#include "VKCoreKit/VKMachine.h"

bool VKProcessGetSandboxed() { return VKPlatform::isSandboxed(); }

void VKProcessSetSandboxed(VKSandboxAnswer answer) {
    switch (answer) {
    case VKSandboxAnswer::Detect:
        VKPlatform::setSandboxAnswer(VKPlatform::SandboxAnswer::Detect);
        return;
    case VKSandboxAnswer::Sandboxed:
        VKPlatform::setSandboxAnswer(VKPlatform::SandboxAnswer::Sandboxed);
        return;
    case VKSandboxAnswer::Unsandboxed:
        VKPlatform::setSandboxAnswer(VKPlatform::SandboxAnswer::Unsandboxed);
        return;
    }
}

CFStringRef VKProcessGetCopyHWMachineModel() { return VKMachineGetFactCopy(VKMachineFact::Model); }
