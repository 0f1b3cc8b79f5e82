// What the machine says about itself and its system: names for people and for problem reports.
#pragma once

#include "CoreFoundation/VKCoreExport.h"

#include <CoreFoundation/CoreFoundation.h>

#include <cstdint>

enum class VKMachineFact : std::uint8_t {
    SystemName,    ///< "Debian GNU/Linux"
    SystemVersion, ///< "12"; the build or the code name of a system without versions: "rolling", "trixie"
    SystemBuild,   ///< the system's own word for its build, or else the kernel's release: "6.1.0-18-amd64"
    Manufacturer,  ///< "LENOVO"; of a small board the company as the board's tables have it: "Raspberry Pi"
    Model,         ///< "ThinkPad X1 Carbon Gen 9 (20XW0055GE)", "Raspberry Pi 4 Model B Rev 1.4"
    Processor,     ///< "AMD Ryzen 7 5800X 8-Core Processor", "Cortex-A55, Cortex-A76"
    GraphicsCard,  ///< the one that the machine starts with: "NVIDIA Corporation GA104 [GeForce RTX 3060 Ti]"
    GraphicsDriverVersion, ///< where that card's driver has one of its own: "535.129.03"
    GraphicsReport,        ///< every card with driver and place, a line each, each line ended
};

/// One fact, which the caller releases; null when the machine does not tell. Never a text that makers leave in its
/// tables instead of a name ("To Be Filled By O.E.M.", "Default string").
///
/// Each call asks anew. Any thread. Reads a few small files; the processor of an ARM machine is asked of the command
/// "lscpu", which is waited for 5 s at most.
[[nodiscard]] VKCORE_EXPORT CFStringRef VKMachineGetFactCopy(VKMachineFact fact);
