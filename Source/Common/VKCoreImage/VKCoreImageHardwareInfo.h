// What the OpenGL driver can do, and which graphics cards need work-arounds.
#pragma once

#include "VKQtExport.h"

#include <VKCoreKit/VKStatus.h>

#include <QString>

/// Static members only, without locks: everything here belongs to the thread of the application object.
class VKQT_EXPORT VKCoreImageHardwareInfo {
public:
    VKCoreImageHardwareInfo() = delete;

    /// Asks the driver, on the private context of VKCoreImageUtils, which stays current. To be called once, when the
    /// QGuiApplication exists; a later call overwrites what it reaches and takes no flag back.
    ///
    ///     0      everything is known
    ///     1002   there can be no context (see VKCoreImageUtils::aquireMainThreadGLContext())
    ///     1003   the driver is too old: it has no OpenGL 3.3
    ///     other  the OpenGL error, as the driver gave it, of the first text that could not be had: the texts before it
    ///            are known, nothing behind it was asked
    ///
    /// Failures are logged. A maximum texture size that cannot be had is none: it counts as 8192.
    static VKStatus validateOpenGL();

    // What the last validateOpenGL() found; before it empty, 0 and false.

    [[nodiscard]] static QString openGLVendor();
    [[nodiscard]] static QString openGLRenderer();
    /// Always empty: the driver's version is openGLVersionEx(). Kept for older callers.
    [[nodiscard]] static QString openGLVersion();
    [[nodiscard]] static QString openGLVersionEx();
    [[nodiscard]] static QString openGLShadingLanguageVersion();
    /// The longest side of a texture, in pixels.
    [[nodiscard]] static int openGLMaxTextureSize();

    /// The driver of NVIDIA's cards under macOS 10.13 and later, which has a problem. The name lacks an "i" and stays
    /// so.
    [[nodiscard]] static bool nvida2013MacProblem();
    /// The chip Intel HD Graphics 3000, whose driver needs work-arounds.
    [[nodiscard]] static bool intelHD3000Problem();
    /// What the application said by sIntelHD6xxVideoCard.
    [[nodiscard]] static bool intelHD6xxVideoCard();

    // The facts themselves. Only validateOpenGL() writes them, but for the last.

    static int sOpenGLMaxTextureSize;
    static QString sOpenGLVendor;
    static QString sOpenGLRenderer;
    static QString sOpenGLVersion; ///< never written
    static QString sOpenGLVersionEx;
    static QString sOpenGLShadingLanguageVersion;
    static bool sNvida2013MacProblem;
    static bool sIntelHD3000Problem;
    static bool sIntelHD6xxVideoCard; ///< the application's own: only read here
};
