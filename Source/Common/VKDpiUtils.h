// The screen's device pixel ratio, and what painting and images have to do about it.
#pragma once

#include "VKQtExport.h"

class QPainter;

/// Static functions for the main thread. "dpr" below is the application's device pixel ratio
/// (QGuiApplication::devicePixelRatio(), that of the densest screen); 1 without an application object.
class VKQT_EXPORT VKDpiUtils {
public:
    VKDpiUtils() = delete;

    /// The process-wide flag: high-density scaling is wanted. False at first.
    [[nodiscard]] static bool& impl();

    /// Sets the flag.
    static void setHighDpiEnabled(bool enabled);

    /// With the flag, asks the framework for high-density scaling (application attribute 20): to be called before
    /// the application object is created. The argument is not looked at.
    static void configureDpiForMonitors(bool unused);

    /// dpr as a whole number, 1 at least.
    ///
    ///     1.5 -> 1     2.5 -> 2     0.5 -> 1
    [[nodiscard]] static int devicePixelRatio();

    /// dpr, 1.0 at least.
    [[nodiscard]] static float devicePixelRatioF();

    /// What dpr has beyond a whole number: 0.5 at 150 %, 0 at 200 %.
    [[nodiscard]] static float fractionalScalingDiff();

    [[nodiscard]] static bool isAtLeast2x();
    [[nodiscard]] static bool isAtLeast3x();

    /// Whether there are two screens or more.
    [[nodiscard]] static bool hasMultipleMonitors();

    /// Whether images for dense screens are of use: on any of several screens, or on one with dpr above 1.
    [[nodiscard]] static bool canUseHighDpiImages();

    /// The size unchanged: the framework scales fonts itself.
    [[nodiscard]] static int scaleFontPointSize(int size);

    /// Always 1.0.
    [[nodiscard]] static float fontRatio();

    /// Turns on smooth pixmap transformation where images are drawn at scales that are no whole numbers, at 3x or
    /// more, or on several screens. Otherwise, and for null, nothing.
    static void configureQPainterForDpi(QPainter* painter);
};
