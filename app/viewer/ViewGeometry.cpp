// Fit, zoom and scroll arithmetic of the image view; see ViewGeometry.h.
#include "app/viewer/ViewGeometry.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace vivark::viewer {
namespace {

// Zoom steps: powers of two with two steps between them, as most viewers
// walk them, so that in and out return to the same values.
constexpr std::array kSteps = {1.0 / 32, 1.0 / 24, 1.0 / 16, 1.0 / 12, 1.0 / 8, 1.0 / 6, 1.0 / 4,
                               1.0 / 3,  1.0 / 2,  2.0 / 3,  1.0,      1.5,     2.0,     3.0,
                               4.0,      6.0,      8.0,      12.0,     16.0,    24.0,    32.0};
constexpr double kTolerance = 1e-9;

}  // namespace

FitMode fitModeFromSetting(unsigned value) {
    switch (value) {
        case 1:
            return FitMode::EnlargeOnly;
        case 2:
            return FitMode::Both;
        default:
            return FitMode::ShrinkOnly;
    }
}

double fitZoom(QSizeF image, QSizeF viewport, const ViewRules& rules) {
    if (!rules.fit || image.width() <= 0 || image.height() <= 0 || viewport.width() <= 0 ||
        viewport.height() <= 0)
        return 1.0;
    const double zoom =
        std::min(viewport.width() / image.width(), viewport.height() / image.height());
    const bool larger = zoom < 1.0;
    if (larger && rules.fitMode == FitMode::EnlargeOnly) return 1.0;
    if (!larger && rules.fitMode == FitMode::ShrinkOnly) return 1.0;
    return clampZoom(zoom);
}

double clampZoom(double zoom) {
    if (!(zoom > 0)) return 1.0;
    return std::clamp(zoom, kMinZoom, kMaxZoom);
}

double nextZoomIn(double zoom) {
    for (double step : kSteps)
        if (step > zoom * (1 + kTolerance)) return step;
    return kMaxZoom;
}

double nextZoomOut(double zoom) {
    for (auto it = kSteps.rbegin(); it != kSteps.rend(); ++it)
        if (*it < zoom * (1 - kTolerance)) return *it;
    return kMinZoom;
}

QPointF scrollForZoomAround(QPointF scroll, QPointF anchor, double oldZoom, double newZoom) {
    const double ratio = newZoom / oldZoom;
    return (scroll + anchor) * ratio - anchor;
}

QPointF clampScroll(QPointF scroll, QSizeF zoomedImage, QSizeF viewport) {
    const double maxX = std::max(0.0, zoomedImage.width() - viewport.width());
    const double maxY = std::max(0.0, zoomedImage.height() - viewport.height());
    return {std::clamp(scroll.x(), 0.0, maxX), std::clamp(scroll.y(), 0.0, maxY)};
}

QRectF imageRectInViewport(QSizeF zoomedImage, QSizeF viewport, QPointF scroll, bool center) {
    auto axis = [center](double image, double view, double offset) {
        if (image > view) return -offset;
        return center ? std::floor((view - image) / 2) : 0.0;
    };
    return {axis(zoomedImage.width(), viewport.width(), scroll.x()),
            axis(zoomedImage.height(), viewport.height(), scroll.y()), zoomedImage.width(),
            zoomedImage.height()};
}

QPointF imagePointAt(QPointF p, const QRectF& imageRect, double zoom) {
    if (!imageRect.contains(p) || zoom <= 0) return {-1, -1};
    return {std::floor((p.x() - imageRect.left()) / zoom),
            std::floor((p.y() - imageRect.top()) / zoom)};
}

}  // namespace vivark::viewer
