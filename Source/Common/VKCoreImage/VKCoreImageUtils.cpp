// The private context: made once, on the thread of the application object, and kept.
#include "VKCoreImage/VKCoreImageUtils.h"

#include <VKCoreKit/VKLog.h>

#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QPointer>
#include <QScreen>
#include <QSurfaceFormat>
#include <QThread>

#include <utility>

using namespace Qt::StringLiterals;

QOpenGLContext* VKCoreImageUtils::sContext = nullptr;
QOffscreenSurface* VKCoreImageUtils::sSurface = nullptr;
VKStopwatch VKCoreImageUtils::sGlobalSW;

// Texts in the settings files of users: none may change.
const QString VKCoreImageUtils::kConfigGroupVKCoreImageUtils = u"core_image_utils"_s;
const QString VKCoreImageUtils::kConfigGroupVKCoreImageUtilsEnableGLErrorCheck =
    u"core_enable_gl_error_check"_s;
const QString VKCoreImageUtils::kConfigGroupVKCoreImageUtilsScalingPasses = u"core_scaling_passes"_s;
const QString VKCoreImageUtils::kConfigGroupVKCoreImageUtilsThreeChannelImages =
    u"core_three_channel_images"_s;
const QString VKCoreImageUtils::kConfigGroupVKCoreImageUtilsUseBasePixelTextures =
    u"use_base_pixel_textures"_s;
const QString VKCoreImageUtils::kPreviewerLayerName = u"Previewer"_s;

namespace {

VKStatus noContext(int line) {
    VKLogEvent(kVKStatusNotConvertible, "VKQtCore/Source/Common/VKCoreImage/VKCoreImageUtils", line);
    return kVKStatusNotConvertible;
}

/// The framework goes down with the program when it is asked for a context anywhere else.
bool canHaveContext() {
    const auto* const application = qobject_cast<QGuiApplication*>(QCoreApplication::instance());
    return application != nullptr && application->thread() == QThread::currentThread();
}

/// What the application wants by default, but never less than the core profile that the pipeline is written for: drivers
/// may give the oldest version that suits the wish.
QSurfaceFormat contextFormat() {
    QSurfaceFormat format = QSurfaceFormat::defaultFormat();
    if (format.version() < std::pair(3, 3)) {
        format.setVersion(3, 3);
        format.setProfile(QSurfaceFormat::CoreProfile);
    }
    return format;
}

/// Whether the context was made for another application object, which has gone, and the window system with it.
bool isOfAnotherApplication() {
    static QPointer<const QCoreApplication> sOwner;
    const bool isOther = sOwner != QCoreApplication::instance();
    sOwner = QCoreApplication::instance();
    return isOther;
}

} // namespace

VKStatus VKCoreImageUtils::aquireMainThreadGLContext() {
    if (!canHaveContext()) {
        return noContext(__LINE__);
    }
    if (isOfAnotherApplication()) {
        // Neither to be used nor to be destroyed: either would ask the window system that has gone.
        sContext = nullptr;
        sSurface = nullptr;
    }
    if (sContext == nullptr) {
        sContext = new QOpenGLContext;
        sContext->setFormat(contextFormat());
        sContext->setShareContext(QOpenGLContext::globalShareContext());
    }
    // Screens come and go. Without one the framework ends the program instead of telling that it cannot.
    QScreen* const screen = QGuiApplication::primaryScreen();
    if (screen == nullptr) {
        return noContext(__LINE__);
    }
    if (!sContext->isValid()) {
        sContext->setScreen(screen);
        if (!sContext->create()) {
            return noContext(__LINE__);
        }
    }
    if (sSurface == nullptr) {
        sSurface = new QOffscreenSurface;
    }
    if (!sSurface->isValid()) {
        sSurface->setScreen(screen);
        sSurface->setFormat(sContext->format());
        sSurface->create();
    }
    if (!sSurface->isValid() || !sContext->makeCurrent(sSurface)) {
        return noContext(__LINE__);
    }
    return kVKStatusSuccess;
}
