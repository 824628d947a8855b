// The image view's painting, zoom and scrolling; see ImageView.h.
#include "app/viewer/ImageView.h"

#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QWheelEvent>
#include <cmath>

#include "app/viewer/ImageLoader.h"

namespace vivark::viewer {

ImageView::ImageView(QWidget* parent) : QAbstractScrollArea(parent) {
    setFrameShape(QFrame::NoFrame);
    viewport()->setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    background_ = palette().color(QPalette::Window);
}

void ImageView::setImage(const QImage& display, QSize imageSize, bool sameImage) {
    image_ = display;
    canvas_.reset();
    imageSize_ = imageSize;
    if (!sameImage) startNewImage();
    updateScrollBars();
    viewport()->update();
    if (!fitting_ && zoom_ > sourceScale() * (1 + 1e-9)) emit fullResolutionWanted();
}

void ImageView::setCanvas(std::shared_ptr<ProgressiveCanvas> canvas, QSize imageSize,
                          bool sameImage) {
    canvas_ = std::move(canvas);
    image_ = QImage();
    imageSize_ = imageSize;
    if (!sameImage) startNewImage();
    updateScrollBars();
    viewport()->update();
}

void ImageView::startNewImage() {
    fitBoth_ = false;
    if (zoomLock_ && !fitting_) {
        setScroll({0, 0});
        return;
    }
    fitting_ = rules_.fit;
    zoom_ = 1.0;
    applyFit();
    setScroll({0, 0});
}

void ImageView::setFrame(const QImage& frame) {
    image_ = frame;
    viewport()->update();
}

void ImageView::clear() {
    image_ = QImage();
    canvas_.reset();
    imageSize_ = QSize();
    updateScrollBars();
    viewport()->update();
}

void ImageView::setRules(const ViewRules& rules) {
    rules_ = rules;
    fitting_ = rules.fit;
    fitBoth_ = false;
    if (!fitting_) zoom_ = 1.0;
    applyFit();
    updateScrollBars();
    viewport()->update();
}

void ImageView::setBackground(const QColor& colour) {
    background_ = colour;
    viewport()->update();
}

void ImageView::setSmoothEnlarge(bool smooth) {
    smoothEnlarge_ = smooth;
    viewport()->update();
}

void ImageView::setScrollBarsShown(bool shown) {
    const Qt::ScrollBarPolicy policy = shown ? Qt::ScrollBarAsNeeded : Qt::ScrollBarAlwaysOff;
    setHorizontalScrollBarPolicy(policy);
    setVerticalScrollBarPolicy(policy);
}

double ImageView::sourceScale() const {
    if (image_.isNull() || imageSize_.width() <= 0) return 1.0;
    return double(image_.width()) / imageSize_.width();
}

QSizeF ImageView::zoomedSize() const {
    return QSizeF(imageSize_) * zoom_;
}

QPointF ImageView::scroll() const {
    return {double(horizontalScrollBar()->value()), double(verticalScrollBar()->value())};
}

void ImageView::setScroll(QPointF s) {
    s = clampScroll(s, zoomedSize(), viewport()->size());
    horizontalScrollBar()->setValue(int(std::lround(s.x())));
    verticalScrollBar()->setValue(int(std::lround(s.y())));
}

QRectF ImageView::imageRect() const {
    return imageRectInViewport(zoomedSize(), viewport()->size(), scroll(), rules_.center);
}

QPoint ImageView::imagePixelAt(QPoint p) const {
    const QPointF at = imagePointAt(QPointF(p) + QPointF(0.5, 0.5), imageRect(), zoom_);
    return {int(at.x()), int(at.y())};
}

void ImageView::applyFit() {
    if (fitting_ && !imageSize_.isEmpty()) {
        ViewRules rules = rules_;
        rules.fit = true;
        if (fitBoth_) rules.fitMode = FitMode::Both;
        zoom_ = fitZoom(imageSize_, viewport()->size(), rules);
    }
    emit zoomChanged(zoom_);
}

void ImageView::updateScrollBars() {
    const QSizeF zoomed = zoomedSize();
    const QSize view = viewport()->size();
    horizontalScrollBar()->setRange(0, std::max(0, int(std::ceil(zoomed.width())) - view.width()));
    verticalScrollBar()->setRange(0, std::max(0, int(std::ceil(zoomed.height())) - view.height()));
    horizontalScrollBar()->setPageStep(view.width());
    verticalScrollBar()->setPageStep(view.height());
    horizontalScrollBar()->setSingleStep(std::max(1, view.width() / 20));
    verticalScrollBar()->setSingleStep(std::max(1, view.height() / 20));
}

void ImageView::setZoom(double zoom) {
    setZoomAround(zoom, QPointF(viewport()->width() / 2.0, viewport()->height() / 2.0));
}

void ImageView::setZoomAround(double zoom, QPointF anchor) {
    zoom = clampZoom(zoom);
    if (imageSize_.isEmpty()) return;
    // The anchor is taken relative to the image's top-left as drawn now, so
    // zooming a centred small image keeps the point under the pointer too.
    const QRectF before = imageRect();
    const QPointF inImage = anchor - before.topLeft();
    const double old = zoom_;
    fitting_ = false;
    zoom_ = zoom;
    updateScrollBars();
    const QPointF target = inImage * (zoom / old) - anchor;
    setScroll(target);
    viewport()->update();
    emit zoomChanged(zoom_);
    if (zoom_ > sourceScale() * (1 + 1e-9)) emit fullResolutionWanted();
}

void ImageView::zoomIn() {
    setZoom(nextZoomIn(zoom_));
}

void ImageView::zoomOut() {
    setZoom(nextZoomOut(zoom_));
}

void ImageView::showActualSize() {
    setZoom(1.0);
}

void ImageView::fitToWindow() {
    fitting_ = true;
    fitBoth_ = true;
    applyFit();
    updateScrollBars();
    viewport()->update();
}

void ImageView::paintEvent(QPaintEvent*) {
    QPainter painter(viewport());
    painter.fillRect(viewport()->rect(), background_);
    if (imageSize_.isEmpty()) return;
    const QRectF target = imageRect();
    const bool smooth = zoom_ < 1.0 || (smoothEnlarge_ && zoom_ > 1.0);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, smooth);
    if (canvas_) {
        QMutexLocker lock(&canvas_->mutex);
        if (canvas_->image.isNull()) return;
        painter.drawImage(target, canvas_->image);
        lock.unlock();
        emit contentPainted();
        return;
    }
    if (image_.isNull()) return;
    if (zoom_ == 1.0 && image_.size() == imageSize_) {
        // 1:1 is a plain blit at whole pixels.
        painter.drawImage(target.topLeft().toPoint(), image_);
    } else {
        painter.drawImage(target, image_);
    }
    emit contentPainted();
}

void ImageView::resizeEvent(QResizeEvent* event) {
    QAbstractScrollArea::resizeEvent(event);
    if (fitting_) applyFit();
    updateScrollBars();
}

void ImageView::wheelEvent(QWheelEvent* event) {
    const int steps = event->angleDelta().y() / 120;
    if (event->modifiers() & Qt::ControlModifier) {
        if (steps != 0) {
            double zoom = zoom_;
            for (int i = 0; i < std::abs(steps); ++i)
                zoom = steps > 0 ? nextZoomIn(zoom) : nextZoomOut(zoom);
            setZoomAround(zoom, event->position());
        }
        event->accept();
        return;
    }
    if (wheelBrowse_) {
        if (steps != 0) emit wheelBrowse(steps < 0 ? 1 : -1);
        event->accept();
        return;
    }
    QAbstractScrollArea::wheelEvent(event);
}

void ImageView::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        dragging_ = true;
        dragStart_ = event->position().toPoint();
        dragScroll_ = scroll();
        viewport()->setCursor(Qt::ClosedHandCursor);
    }
    QAbstractScrollArea::mousePressEvent(event);
}

void ImageView::mouseMoveEvent(QMouseEvent* event) {
    const QPoint at = event->position().toPoint();
    if (dragging_) setScroll(dragScroll_ - QPointF(at - dragStart_));
    emit pointerMoved(imagePixelAt(at));
    QAbstractScrollArea::mouseMoveEvent(event);
}

void ImageView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        dragging_ = false;
        viewport()->unsetCursor();
    }
    QAbstractScrollArea::mouseReleaseEvent(event);
}

void ImageView::scrollContentsBy(int, int) {
    viewport()->update();
}

}  // namespace vivark::viewer
