// A picture that looks like a photograph enough to be worth browsing: mountains at a lake, at some hour.
#pragma once

#include <QColor>
#include <QImage>

struct Scene {
    QColor zenith;    ///< The sky at the top.
    QColor horizon;   ///< The sky above the mountains.
    QColor ridge;     ///< The nearest mountains; farther ones fade into the horizon.
    double sunAcross; ///< 0 at the left edge, 1 at the right.
    double sunHeight; ///< 0 at the water, 1 at the top.
    quint32 seed;     ///< The shape of the mountains.
};

/// Draws the scene. The same scene and size give the same pixels in every run.
[[nodiscard]] QImage drawScene(const Scene& scene, const QSize& size);
