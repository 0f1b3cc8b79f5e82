// The image pipeline's private OpenGL context, its stopwatch, and the names under which its settings are stored.
#pragma once

#include "VKQtExport.h"

#include <VKCoreKit/VKStatus.h>
#include <VKCoreKit/VKStopwatch.h>

#include <QString>

class QOffscreenSurface;
class QOpenGLContext;

/// Static members only. The context belongs to the thread of the application object.
class VKQT_EXPORT VKCoreImageUtils {
public:
    VKCoreImageUtils() = delete;

    /// Makes the private context current on this thread, and makes it first when it is not there yet: it shares with
    /// the application's global share context, if there is one, and draws to a surface off the screen. Both live until
    /// the process ends; an application object after the first gets others. The name has always been spelled like this.
    ///
    /// 0, or 1002, logged, when there can be no context: no driver for this display, no screen, no QGuiApplication,
    /// another thread than the application object's. After a failure the next call tries again with the same context
    /// object.
    static VKStatus aquireMainThreadGLContext();

    /// The context and its surface; null before the first call of aquireMainThreadGLContext().
    static QOpenGLContext* sContext;
    static QOffscreenSurface* sSurface;

    /// Runs since the library was loaded.
    static VKStopwatch sGlobalSW;

    /// The group of the pipeline's settings in VKConfig, and their keys. Values and defaults are those of their users.
    static const QString kConfigGroupVKCoreImageUtils;
    static const QString kConfigGroupVKCoreImageUtilsEnableGLErrorCheck;
    static const QString kConfigGroupVKCoreImageUtilsScalingPasses;
    static const QString kConfigGroupVKCoreImageUtilsThreeChannelImages;
    static const QString kConfigGroupVKCoreImageUtilsUseBasePixelTextures;

    /// The name of the layer that shows previews.
    static const QString kPreviewerLayerName;
};
