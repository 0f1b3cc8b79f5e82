// Sky, sun and ridges are painted, the lake mirrors them, and a little grain keeps JPEG honest.
#include "Scene.h"

#include <QPainter>
#include <QPolygonF>
#include <QRadialGradient>

#include <algorithm>
#include <cmath>
#include <random>

namespace {

QColor mixed(const QColor& a, const QColor& b, double share) {
    const auto mix = [share](int from, int to) {
        return static_cast<int>(std::lround(from + (to - from) * share));
    };
    return QColor(mix(a.red(), b.red()), mix(a.green(), b.green()), mix(a.blue(), b.blue()));
}

// Heights by halving: each midpoint is moved by less than the one before. 0 to about 1.
std::vector<double> ridgeLine(std::mt19937& random, int points) {
    std::vector<double> heights(static_cast<std::size_t>(points) + 1, 0.5);
    // The standard leaves its distributions to the library; the engine's own numbers are the same everywhere.
    const auto jitter = [&random](double by) {
        return (static_cast<double>(random() % 2001) / 1000.0 - 1.0) * by;
    };
    double roughness = 0.45;
    for (int step = points; step > 1; step /= 2) {
        for (int i = step / 2; i < points; i += step) {
            const auto at = static_cast<std::size_t>(i);
            const auto half = static_cast<std::size_t>(step / 2);
            heights[at] = (heights[at - half] + heights[at + half]) / 2 + jitter(roughness);
        }
        roughness *= 0.52;
    }
    for (double& height : heights) {
        height = std::clamp(height, 0.05, 1.0);
    }
    return heights;
}

void paintRidge(QPainter& painter, std::mt19937& random, const QSizeF& size, double base, double rise,
                const QColor& color) {
    constexpr int kPoints = 128;
    const std::vector<double> heights = ridgeLine(random, kPoints);
    QPolygonF outline;
    outline << QPointF(0, size.height());
    for (int i = 0; i <= kPoints; ++i) {
        outline << QPointF(size.width() * i / kPoints,
                           size.height() * (base - rise * heights[static_cast<std::size_t>(i)]));
    }
    outline << QPointF(size.width(), size.height());
    painter.setBrush(color);
    painter.drawPolygon(outline);
}

QImage aboveTheWater(const Scene& scene, const QSize& size) {
    std::mt19937 random(scene.seed);
    QImage image(size, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    QLinearGradient sky(0, 0, 0, size.height());
    sky.setColorAt(0, scene.zenith);
    sky.setColorAt(0.75, scene.horizon);
    painter.fillRect(image.rect(), sky);
    const QPointF sun(size.width() * scene.sunAcross, size.height() * (1 - scene.sunHeight));
    QRadialGradient glow(sun, size.width() * 0.3);
    glow.setColorAt(0, QColor(255, 250, 225, 255));
    glow.setColorAt(0.09, QColor(255, 244, 205, 235));
    glow.setColorAt(0.14, QColor(255, 236, 190, 90));
    glow.setColorAt(1, QColor(255, 236, 190, 0));
    painter.fillRect(image.rect(), glow);
    constexpr int kRidges = 4;
    for (int i = 0; i < kRidges; ++i) {
        const double near = static_cast<double>(i + 1) / kRidges;
        paintRidge(painter, random, size, 0.86 + 0.12 * near, 0.62 - 0.42 * near,
                   mixed(scene.horizon, scene.ridge, near));
    }
    return image;
}

int withGrain(int value, quint32 noise) {
    return std::clamp(value + static_cast<int>(noise % 9) - 4, 0, 255);
}

} // namespace

QImage drawScene(const Scene& scene, const QSize& size) {
    const int shore = size.height() * 5 / 8;
    const QImage land = aboveTheWater(scene, QSize(size.width(), shore));
    QImage picture(size, QImage::Format_RGB32);
    std::mt19937 random(scene.seed ^ 0x9e3779b9U);
    for (int y = 0; y < size.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(picture.scanLine(y));
        const int depth = y - shore;
        // The mirror picture is shorter and breaks up into waves towards the viewer.
        const int wave = depth < 0 ? 0 : static_cast<int>(std::lround(std::sin(depth * 0.35) * depth * 0.02));
        const int source = depth < 0 ? y : std::clamp(shore - 1 - depth * 8 / 5, 0, shore - 1);
        const double dim = depth < 0 ? 1.0 : 0.82 - 0.25 * depth / (size.height() - shore);
        for (int x = 0; x < size.width(); ++x) {
            const QRgb color = land.pixel(std::clamp(x + wave, 0, size.width() - 1), source);
            const quint32 noise = static_cast<quint32>(random());
            const auto channel = [dim](int value) { return static_cast<int>(std::lround(value * dim)); };
            line[x] =
                qRgb(withGrain(channel(qRed(color)), noise), withGrain(channel(qGreen(color)), noise >> 8),
                     withGrain(channel(qBlue(color)), noise >> 16));
        }
    }
    return picture;
}
