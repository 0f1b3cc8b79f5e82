// What the library knows about the system it runs on and the build it is. Other classes branch on these
// answers and never on compiler macros; the answers stand in one source file, VKQtSysInfoPlatform.cpp.
#pragma once

#include "VKQtExport.h"

#include <VKCoreKit/VKStatus.h>

#include <QKeySequence>
#include <QString>

/// Where the application runs: platform and build, operating system, machine, screen and graphics card.
///
/// No state: nothing is cached, each call asks anew. The predicates may be called from any thread and never block.
/// What the other functions wait for, and where they may be called, stands with them. Nothing here logs, and what
/// cannot be told is empty unless another answer is named.
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

    // The operating system. Under macOS rules the framework's record of it; otherwise the machine's own words.

    /// "macOS"; on Linux the distribution's name: "Debian GNU/Linux".
    [[nodiscard]] static QString osName();

    /// "13.4.1"; on Linux the distribution's version: "12", "22.04". A distribution that has none because it is
    /// renewed all the time gives its build or its code name: "rolling", "trixie".
    [[nodiscard]] static QString osVersion();

    /// Under macOS rules what the command "sw_vers -buildVersion" writes: "22F82"; empty when it cannot be started
    /// or has not finished after 30 s, until when this blocks. Otherwise the distribution's own build, or else the
    /// kernel's: "6.1.0-18-amd64".
    [[nodiscard]] static QString osBuildVersion();

    /// "Macintosh", "Windows" or "Linux", by the rules.
    [[nodiscard]] static QString osPlatform();

    // The machine. Texts that makers leave in its tables instead of a name ("To Be Filled By O.E.M.") count as none.

    /// The machine's name in its network, without asking the network.
    [[nodiscard]] static QString localHostName();

    /// "Apple" under macOS rules, otherwise who made the machine: "LENOVO", "Raspberry Pi".
    [[nodiscard]] static QString hwManufacture();

    /// The model: "MacBookPro18,3", "ThinkPad X1 Carbon Gen 9 (20XW0055GE)", "Raspberry Pi 4 Model B Rev 1.4".
    [[nodiscard]] static QString hwModel();

    /// The processor's name into `out`: "Apple M1", "AMD Ryzen 7 5800X 8-Core Processor", "Cortex-A72".
    ///
    /// 1003 when there is none to be had; `out` is then left as it was. Under macOS rules it is what the command
    /// "sysctl machdep.cpu.brand_string" writes behind the key, for which this waits 30 s at most. Otherwise it
    /// reads a file, and on ARM asks "lscpu" for the name of the chip, for 5 s at most.
    static VKStatus cpuDescription(QString& out);

    // The screen. On the thread of the application object.

    /// The primary screen's size in pixels, scaled desktops included: "2560x1440"; "0x0" without a screen or
    /// without a QGuiApplication.
    [[nodiscard]] static QString resolution();

    /// The primary screen's refresh rate in hertz; 0.0 without one.
    [[nodiscard]] static double refreshRate();

    // Graphics.

    /// The OpenGL driver's maker and its version, as VKCoreImageHardwareInfo::validateOpenGL() found them; empty
    /// before it was called. On the thread of the application object.
    [[nodiscard]] static QString openGLVendor();
    [[nodiscard]] static QString openGLVersion();

    /// The graphics card's name: "NVIDIA Corporation GA104 [GeForce RTX 3060 Ti]"; of several cards the one that
    /// the machine starts with. Without a card that is known, under other rules than macOS's, the OpenGL renderer's
    /// name once it is known.
    [[nodiscard]] static QString videoCard();

    /// A line break, and what is known about the graphics cards, for a problem report: never empty. Under macOS
    /// rules the whole output of "system_profiler SPDisplaysDataType", for which this waits 30 s at most; otherwise
    /// lines about each card and about OpenGL.
    [[nodiscard]] static QString videoDescription();

    /// The version of the card's driver where the driver has one of its own ("535.129.03"), otherwise "Unknown", as
    /// always under macOS rules. A driver that comes with the kernel has the kernel's version: "Unknown" here.
    [[nodiscard]] static QString videoDriverVersion();

    // Keys that belong to the platform.

    /// VKKeySequence::kMinimizeMacPlatform, which has no partner for another platform and serves them all.
    [[nodiscard]] static QKeySequence minimizeScreenKeySequence();

    /// VKKeySequence::kFullScreenMacPlatform under macOS rules; otherwise its Windows partner, which Linux desktops
    /// use as well.
    [[nodiscard]] static QKeySequence fullScreenKeySequence();
};
