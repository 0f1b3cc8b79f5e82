// What the library knows about the system it runs on and the build it is. Other classes branch on these
// answers and never on compiler macros; the answers stand in one source file, VKQtSysInfoPlatform.cpp.
#pragma once

#include "VKQtExport.h"

/// Static yes/no answers about platform, build and system version.
///
/// No state: nothing is cached, every function may be called from any thread, none blocks.
class VKQT_EXPORT VKQtSysInfo {
public:
    VKQtSysInfo() = delete;

    /// True when paths, volumes and filters follow the macOS rules.
    [[nodiscard]] static bool isMacPlatform();

    /// True when paths, volumes and filters follow the Windows rules. False on Linux, as is isMacPlatform().
    [[nodiscard]] static bool isWinPlatform();

    /// True unless the library was configured as a CMake "Debug" build.
    [[nodiscard]] static bool isReleaseBuild();

    /// The opposite of isReleaseBuild().
    [[nodiscard]] static bool isDebugBuild();

    /// Always true: every supported system composes translucent windows.
    [[nodiscard]] static bool windowOpacitySupported();

    /// Always false: no supported system is that old.
    [[nodiscard]] static bool windowsXPOrLess();

    /// Always false: font scaling is the framework's business (see the DPI helpers), not a system switch.
    [[nodiscard]] static bool systemUsingLargeFonts();

    /// True when the running system is macOS 10.13 or newer. False on every other system, whatever its
    /// version number, and whenever isMacPlatform() is false.
    [[nodiscard]] static bool highSierraOrGreater();

    /// The same for macOS 10.15: 10.15.0 -> true, 10.14.6 -> false.
    [[nodiscard]] static bool catalinaOrGreater();
};
