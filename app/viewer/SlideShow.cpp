// Slide show lists and the slide timer; see SlideShow.h.
#include "app/viewer/SlideShow.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <cmath>
#include <numeric>

namespace vivark::viewer {

std::optional<std::vector<Slide>> parseSlideShowList(const QByteArray& text,
                                                     const QString& baseFolder) {
    QList<QByteArray> lines = text.split('\n');
    if (lines.isEmpty() || !lines.front().startsWith(kSlideShowHeader)) return std::nullopt;
    std::vector<Slide> slides;
    const QDir base(baseFolder);
    for (qsizetype i = 1; i < lines.size(); ++i) {
        QByteArray line = lines[i];
        if (line.endsWith('\r')) line.chop(1);
        if (line.trimmed().isEmpty()) continue;
        const QList<QByteArray> fields = line.split('\t');
        Slide slide;
        const QString path = QString::fromUtf8(fields[0]).trimmed();
        slide.path = QDir::cleanPath(base.absoluteFilePath(path));
        if (fields.size() > 1) {
            bool ok = false;
            const double seconds = fields[1].trimmed().toDouble(&ok);
            if (ok && std::isfinite(seconds) && seconds > 0) slide.seconds = seconds;
        }
        if (fields.size() > 2) slide.note = QString::fromUtf8(fields.mid(2).join('\t'));
        slides.push_back(std::move(slide));
    }
    return slides;
}

QByteArray formatSlideShowList(const std::vector<Slide>& slides) {
    QByteArray text = QByteArray(kSlideShowHeader) + "\r\n";
    for (const Slide& slide : slides) {
        text += slide.path.toUtf8() + '\t';
        if (slide.seconds > 0) text += QByteArray::number(slide.seconds, 'g', 6);
        text += '\t' + slide.note.toUtf8() + "\r\n";
    }
    return text;
}

std::optional<std::vector<Slide>> readSlideShowList(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return std::nullopt;
    // A list names slides, not pixels: a megabyte is thousands of slides.
    return parseSlideShowList(file.read(1 << 20), QFileInfo(path).absolutePath());
}

SlideShow::SlideShow(QObject* parent) : QObject(parent) {
    timer_.setSingleShot(true);
    connect(&timer_, &QTimer::timeout, this, &SlideShow::next);
}

void SlideShow::setSlides(std::vector<Slide> slides) {
    stop();
    slides_ = std::move(slides);
    order_.resize(slides_.size());
    std::iota(order_.begin(), order_.end(), 0);
}

void SlideShow::setRandomOrder(bool random, unsigned seed) {
    random_ = random;
    random_engine_.seed(seed);
}

void SlideShow::shuffle() {
    std::iota(order_.begin(), order_.end(), 0);
    if (random_) std::shuffle(order_.begin(), order_.end(), random_engine_);
}

const Slide* SlideShow::currentSlide() const {
    if (position_ < 0 || position_ >= int(order_.size())) return nullptr;
    return &slides_[size_t(order_[size_t(position_)])];
}

int SlideShow::intervalMs() const {
    const Slide* slide = currentSlide();
    const double seconds = slide && slide->seconds > 0 ? slide->seconds : defaultSeconds_;
    return int(std::lround(std::clamp(seconds, 0.01, 86400.0) * 1000));
}

void SlideShow::start() {
    if (slides_.empty()) {
        emit finished();
        return;
    }
    running_ = true;
    paused_ = false;
    shuffle();
    go(0);
}

void SlideShow::stop() {
    timer_.stop();
    const bool was = running_;
    running_ = false;
    position_ = -1;
    if (was) emit finished();
}

void SlideShow::go(int position) {
    timer_.stop();
    position_ = position;
    emit showSlide(*currentSlide());
}

void SlideShow::next() {
    if (!running_) return;
    if (position_ + 1 < int(order_.size())) {
        go(position_ + 1);
    } else if (continuous_) {
        shuffle();
        go(0);
    } else {
        stop();
    }
}

void SlideShow::previous() {
    if (!running_) return;
    if (position_ > 0)
        go(position_ - 1);
    else if (continuous_)
        go(int(order_.size()) - 1);
}

void SlideShow::pause(bool paused) {
    paused_ = paused;
    if (paused)
        timer_.stop();
    else if (running_ && useTimer_)
        timer_.start(intervalMs());
}

void SlideShow::slideShown() {
    if (running_ && !paused_ && useTimer_) timer_.start(intervalMs());
}

}  // namespace vivark::viewer
