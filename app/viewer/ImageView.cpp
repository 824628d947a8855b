// The image view's painting, zoom and scrolling; see ImageView.h.
#include "app/viewer/ImageView.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QVariantAnimation>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

#include "app/viewer/ImageLoader.h"

namespace vivark::viewer {
namespace {

// A glide's length: long enough to follow with the eye, short enough that
// a run of wheel notches or a held key never lags behind the hand.
constexpr int kGlideMs = 120;

}  // namespace

ImageView::ImageView(QWidget* parent) : QAbstractScrollArea(parent) {
    setFrameShape(QFrame::NoFrame);
    viewport()->setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    background_ = palette().color(QPalette::Window);
    glide_ = new QVariantAnimation(this);
    glide_->setDuration(kGlideMs);
    glide_->setEasingCurve(QEasingCurve::OutCubic);
    connect(glide_, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& value) { setScroll(value.toPointF()); });
    // Taking a scroll bar in hand ends a glide rather than fighting it.
    for (QScrollBar* bar : {horizontalScrollBar(), verticalScrollBar()})
        connect(bar, &QScrollBar::sliderPressed, this, &ImageView::stopGlide);
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
    clearSelection();
    stopGlide();
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
    clearSelection();
    stopGlide();
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

void ImageView::setSmoothScroll(bool smooth) {
    smoothScroll_ = smooth;
    if (!smooth) stopGlide();
}

void ImageView::setSelection(const QRect& selection) {
    const QRect clamped = selection.normalized() & QRect(QPoint(0, 0), imageSize_);
    if (clamped == selection_ || (clamped.isEmpty() && selection_.isEmpty())) return;
    selection_ = clamped.isEmpty() ? QRect() : clamped;
    viewport()->update();
    emit selectionChanged(selection_);
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

void ImageView::scrollBy(QPointF delta) {
    const bool gliding = glide_->state() == QAbstractAnimation::Running;
    const QPointF from = scroll();
    const QPointF target =
        clampScroll((gliding ? glideTarget_ : from) + delta, zoomedSize(), viewport()->size());
    glide_->stop();
    if (!smoothScroll_ || target == from) {
        setScroll(target);
        return;
    }
    glideTarget_ = target;
    glide_->setStartValue(from);
    glide_->setEndValue(target);
    glide_->start();
}

void ImageView::stopGlide() {
    glide_->stop();
}

void ImageView::setScroll(QPointF s) {
    s = clampScroll(s, zoomedSize(), viewport()->size());
    horizontalScrollBar()->setValue(int(std::lround(s.x())));
    verticalScrollBar()->setValue(int(std::lround(s.y())));
}

QRectF ImageView::imageRect() const {
    return imageRectInViewport(zoomedSize(), viewport()->size(), scroll(), rules_.center);
}

QPointF ImageView::imageEdgeAt(QPointF p) const {
    const QPointF at = (p - imageRect().topLeft()) / zoom_;
    return {std::clamp(at.x(), 0.0, double(imageSize_.width())),
            std::clamp(at.y(), 0.0, double(imageSize_.height()))};
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
    stopGlide();
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
    if (!selection_.isEmpty()) {
        // Black dashes over a white line show on any picture.
        const QRectF band(target.topLeft() + QPointF(selection_.topLeft()) * zoom_,
                          QSizeF(selection_.size()) * zoom_);
        painter.setRenderHint(QPainter::Antialiasing, false);
        painter.setPen(QPen(Qt::white, 1));
        painter.drawRect(band.adjusted(0, 0, -1, -1));
        painter.setPen(QPen(Qt::black, 1, Qt::DashLine));
        painter.drawRect(band.adjusted(0, 0, -1, -1));
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
    event->accept();
    // A touchpad reports pixels and is already smooth; a wheel reports
    // notches of 120, each the system's lines-per-notch of single steps.
    if (!event->pixelDelta().isNull()) {
        stopGlide();
        setScroll(scroll() - QPointF(event->pixelDelta()));
        return;
    }
    QPointF notches = QPointF(event->angleDelta()) / 120.0;
    // Shift turns a plain wheel sideways, as in other viewers and browsers.
    if ((event->modifiers() & Qt::ShiftModifier) && notches.x() == 0) notches = {notches.y(), 0};
    const int lines = QApplication::wheelScrollLines();
    scrollBy(-QPointF(notches.x() * lines * horizontalScrollBar()->singleStep(),
                      notches.y() * lines * verticalScrollBar()->singleStep()));
}

void ImageView::keyPressEvent(QKeyEvent* event) {
    const QPointF step(horizontalScrollBar()->singleStep(), verticalScrollBar()->singleStep());
    switch (event->key()) {
        case Qt::Key_Up:
            scrollBy({0, -step.y()});
            break;
        case Qt::Key_Down:
            scrollBy({0, step.y()});
            break;
        case Qt::Key_Left:
            scrollBy({-step.x(), 0});
            break;
        case Qt::Key_Right:
            scrollBy({step.x(), 0});
            break;
        default:
            QAbstractScrollArea::keyPressEvent(event);
            return;
    }
    event->accept();
}

void ImageView::mousePressEvent(QMouseEvent* event) {
    const bool pan =
        event->button() == Qt::MiddleButton ||
        (event->button() == Qt::LeftButton && (event->modifiers() & Qt::ControlModifier));
    if (drag_ == Drag::None && (pan || event->button() == Qt::LeftButton)) {
        drag_ = pan ? Drag::Pan : Drag::Select;
        dragButton_ = event->button();
        dragMoved_ = false;
        dragStart_ = event->position().toPoint();
        dragScroll_ = scroll();
        selectAnchor_ = imageEdgeAt(event->position());
        stopGlide();
        viewport()->setCursor(pan ? Qt::ClosedHandCursor : Qt::CrossCursor);
    }
    QAbstractScrollArea::mousePressEvent(event);
}

void ImageView::mouseMoveEvent(QMouseEvent* event) {
    const QPoint at = event->position().toPoint();
    if (drag_ != Drag::None &&
        (at - dragStart_).manhattanLength() >= QApplication::startDragDistance())
        dragMoved_ = true;
    if (drag_ == Drag::Pan) {
        setScroll(dragScroll_ - QPointF(at - dragStart_));
    } else if (drag_ == Drag::Select && dragMoved_ && !imageSize_.isEmpty()) {
        // Corners snap to the nearest pixel edge.
        const QPointF a = selectAnchor_, b = imageEdgeAt(event->position());
        const QPoint topLeft(int(std::lround(std::min(a.x(), b.x()))),
                             int(std::lround(std::min(a.y(), b.y()))));
        const QPoint bottomRight(int(std::lround(std::max(a.x(), b.x()))),
                                 int(std::lround(std::max(a.y(), b.y()))));
        setSelection(
            QRect(topLeft, QSize(bottomRight.x() - topLeft.x(), bottomRight.y() - topLeft.y())));
    }
    emit pointerMoved(imagePixelAt(at));
    QAbstractScrollArea::mouseMoveEvent(event);
}

void ImageView::mouseReleaseEvent(QMouseEvent* event) {
    if (drag_ != Drag::None && event->button() == dragButton_) {
        if (drag_ == Drag::Select && !dragMoved_) clearSelection();
        drag_ = Drag::None;
        viewport()->unsetCursor();
    }
    QAbstractScrollArea::mouseReleaseEvent(event);
}

void ImageView::scrollContentsBy(int, int) {
    viewport()->update();
}

}  // namespace vivark::viewer
