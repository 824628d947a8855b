// ViewGeometry: where an image of a given size stands in a viewport, and at
// what zoom. Pure arithmetic, free of widgets, so the window, full screen and
// the tests share one set of rules.
//
// The fit mode (View\FitMode, Fullscreen\FitMode) is the index of the choice
// in the view options: 0 shrinks images larger than the viewport and leaves
// smaller ones at 1:1, 1 enlarges smaller images and leaves larger ones at
// 1:1, 2 does both. Shrinking large photographs only is what today's viewers
// do by default in a window; full screen fills the screen both ways, which
// is why its default is 2.
#pragma once

#include <QPointF>
#include <QRectF>
#include <QSizeF>

namespace vivark::viewer {

enum class FitMode { ShrinkOnly = 0, EnlargeOnly = 1, Both = 2 };

FitMode fitModeFromSetting(unsigned value);

struct ViewRules {
    bool fit = true;  // fitting applies (View\FitImage)
    FitMode fitMode = FitMode::ShrinkOnly;
    bool center = true;  // an image smaller than the viewport is centred
};

// The zoom the rules give an image of `image` size in `viewport`; 1 when
// fitting is off or the mode leaves this image alone. Never 0 or negative.
double fitZoom(QSizeF image, QSizeF viewport, const ViewRules& rules);

// The zoom steps the + and - commands walk, from 1/32 to 32.
double nextZoomIn(double zoom);
double nextZoomOut(double zoom);
inline constexpr double kMinZoom = 1.0 / 32;
inline constexpr double kMaxZoom = 32.0;
double clampZoom(double zoom);

// The scroll position (the viewport's top-left in zoomed image pixels) that
// keeps the image point under `anchor` (viewport coordinates) where it is
// when the zoom goes from `oldZoom` to `newZoom`.
QPointF scrollForZoomAround(QPointF scroll, QPointF anchor, double oldZoom, double newZoom);

// Scroll limits: 0 .. max(0, zoomed image - viewport) on each axis.
QPointF clampScroll(QPointF scroll, QSizeF zoomedImage, QSizeF viewport);

// Where the zoomed image is drawn in the viewport: offset by the scroll where
// it is larger than the viewport, centred (or at the top-left) where smaller.
QRectF imageRectInViewport(QSizeF zoomedImage, QSizeF viewport, QPointF scroll, bool center);

// The image pixel under viewport point `p`, or (-1, -1) outside the image.
QPointF imagePointAt(QPointF p, const QRectF& imageRect, double zoom);

}  // namespace vivark::viewer
