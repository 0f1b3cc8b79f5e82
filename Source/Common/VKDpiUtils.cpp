// Answers about the device pixel ratio.
#include "VKDpiUtils.h"

#include <QGuiApplication>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

// By number: the framework declares its own name for it deprecated.
constexpr auto kHighDpiScaling = static_cast<Qt::ApplicationAttribute>(20);

double applicationRatio() { return qGuiApp == nullptr ? 1.0 : qGuiApp->devicePixelRatio(); }

} // namespace

bool& VKDpiUtils::impl() {
    static bool sHighDpiEnabled = false;
    return sHighDpiEnabled;
}

void VKDpiUtils::setHighDpiEnabled(bool enabled) { impl() = enabled; }

void VKDpiUtils::configureDpiForMonitors(bool /*unused*/) {
    if (impl()) {
        QCoreApplication::setAttribute(kHighDpiScaling);
    }
}

int VKDpiUtils::devicePixelRatio() { return std::max(1, static_cast<int>(applicationRatio())); }

float VKDpiUtils::devicePixelRatioF() { return std::max(1.0F, static_cast<float>(applicationRatio())); }

float VKDpiUtils::fractionalScalingDiff() {
    const double ratio = applicationRatio();
    return static_cast<float>(ratio - std::trunc(ratio));
}

bool VKDpiUtils::isAtLeast2x() { return devicePixelRatio() >= 2; }

bool VKDpiUtils::isAtLeast3x() { return devicePixelRatio() >= 3; }

bool VKDpiUtils::hasMultipleMonitors() { return QGuiApplication::screens().size() > 1; }

bool VKDpiUtils::canUseHighDpiImages() { return hasMultipleMonitors() || devicePixelRatioF() > 1.0F; }

int VKDpiUtils::scaleFontPointSize(int size) { return size; }

float VKDpiUtils::fontRatio() { return 1.0F; }

void VKDpiUtils::configureQPainterForDpi(QPainter* painter) {
    if (painter == nullptr) {
        return;
    }
    const bool isWhole = devicePixelRatioF() - static_cast<float>(devicePixelRatio()) == 0.0F;
    if (isWhole && !isAtLeast3x() && !hasMultipleMonitors()) {
        return;
    }
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
}
