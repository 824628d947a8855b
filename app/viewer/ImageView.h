// ImageView: the scrolling area that shows the current image.
//
// It owns the zoom and the scroll position and nothing of the document: the
// window hands it a display image (ImageConvert.h) with the size of the image
// it stands for (a reduced-scale preview stands for a larger image), or a
// progressive canvas that a load is still filling. Fitting follows the
// ViewRules (ViewGeometry.h) until the user zooms; zoom lock keeps the user's
// zoom from one image to the next. Below 1:1 the image is drawn smoothed
// (bilinear over the visible part only, so a 100-megapixel image costs what
// the window shows); above it pixels are drawn as squares unless
// Display\ResamplePixels asks for smoothing there too.
//
// Mouse gestures follow today's viewers: a plain left drag draws the
// selection (in image pixels, clamped to the image, so it stays on the same
// pixels at any zoom or scroll) and a click without a drag clears it; the
// middle button, or the left one with Ctrl, drags the image around, as do
// the scroll bars. The wheel and the arrow keys glide to their target over
// a few frames (Display\SmoothScroll) instead of jumping.
#pragma once

#include <QAbstractScrollArea>
#include <QImage>
#include <QRect>
#include <memory>

#include "app/viewer/ViewGeometry.h"

class QVariantAnimation;

namespace vivark::viewer {

struct ProgressiveCanvas;

class ImageView : public QAbstractScrollArea {
    Q_OBJECT
  public:
    explicit ImageView(QWidget* parent = nullptr);

    // A finished image. `imageSize` is the size it stands for (the file's).
    // `sameImage` marks a better version of what is shown (the full decode
    // after a preview, the finished image after its rows): zoom and scroll
    // stay. Otherwise a new image is fitted, or keeps the zoom when locked.
    void setImage(const QImage& display, QSize imageSize, bool sameImage = false);
    // A canvas still being filled, standing for an image of `imageSize`.
    void setCanvas(std::shared_ptr<ProgressiveCanvas> canvas, QSize imageSize,
                   bool sameImage = false);
    // A new animation frame of the same size: no refit, no scroll change.
    void setFrame(const QImage& frame);
    void clear();

    void setRules(const ViewRules& rules);
    void setZoomLock(bool locked) { zoomLock_ = locked; }
    void setBackground(const QColor& colour);
    void setSmoothEnlarge(bool smooth);
    void setScrollBarsShown(bool shown);
    // The plain wheel steps through the folder (MouseWheelBrowse) instead of
    // scrolling; with Ctrl it always zooms around the pointer.
    void setWheelBrowse(bool browse) { wheelBrowse_ = browse; }
    void setSmoothScroll(bool smooth);

    // The selection in image pixels (top-left origin); empty when there is
    // none. A new image, or an edit that changes the size, clears it.
    QRect selection() const { return selection_; }
    void setSelection(const QRect& selection);
    void clearSelection() { setSelection({}); }

    QSize imageSize() const { return imageSize_; }
    double zoom() const { return zoom_; }
    bool isFitting() const { return fitting_; }
    // How many display pixels the current source has per image pixel
    // (below 1 while a reduced preview is shown).
    double sourceScale() const;

    void setZoom(double zoom);
    void setZoomAround(double zoom, QPointF viewportAnchor);
    void zoomIn();
    void zoomOut();
    void showActualSize();
    void fitToWindow();

    // The image pixel under a viewport point, or (-1, -1).
    QPoint imagePixelAt(QPoint viewportPoint) const;
    QRectF imageRect() const;

  signals:
    void zoomChanged(double zoom);
    void pointerMoved(QPoint imagePixel);
    void wheelBrowse(int steps);  // +1 next, -1 previous
    void selectionChanged(const QRect& selection);
    // A paint put image pixels on screen.
    void contentPainted();
    // The zoom shows more detail than the preview holds.
    void fullResolutionWanted();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;

  private:
    void startNewImage();
    void applyFit();
    void updateScrollBars();
    QPointF scroll() const;
    void setScroll(QPointF scroll);
    QSizeF zoomedSize() const;
    // Scrolls by `delta` zoomed pixels, gliding when smooth scrolling is on;
    // steps that arrive during a glide add to its target.
    void scrollBy(QPointF delta);
    void stopGlide();
    // The image coordinate under a viewport point, clamped to the image.
    QPointF imageEdgeAt(QPointF viewportPoint) const;

    QImage image_;
    std::shared_ptr<ProgressiveCanvas> canvas_;
    QSize imageSize_;
    ViewRules rules_;
    double zoom_ = 1.0;
    bool fitting_ = true;
    bool fitBoth_ = false;  // "fit to window" asked for: both ways, whatever the mode
    bool zoomLock_ = false;
    bool smoothEnlarge_ = false;
    bool wheelBrowse_ = false;
    bool smoothScroll_ = true;
    QVariantAnimation* glide_ = nullptr;
    QPointF glideTarget_;
    enum class Drag { None, Pan, Select };
    Drag drag_ = Drag::None;
    Qt::MouseButton dragButton_ = Qt::NoButton;
    bool dragMoved_ = false;
    QPoint dragStart_;
    QPointF dragScroll_;
    QPointF selectAnchor_;
    QRect selection_;
    QColor background_;
};

}  // namespace vivark::viewer
