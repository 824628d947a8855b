// Loading on worker threads, progressive rows and preloading; see ImageLoader.h.
#include "app/viewer/ImageLoader.h"

#include <QElapsedTimer>
#include <QFile>
#include <QMetaObject>
#include <algorithm>

#include "app/viewer/ImageConvert.h"
#include "core/InFile.h"
#include "core/Progress.h"
#include "formats/Loader.h"
#include "formats/RowDisplay.h"
#include "formats/gif/GifComposer.h"

namespace vivark::viewer {
namespace {

// Converted frames of one animation are kept up to this many bytes; a longer
// animation plays the frames that fit (a 500-frame full-HD GIF would
// otherwise take four gigabytes).
constexpr qint64 kAnimationBudget = qint64{512} << 20;
// Browsers play GIF frames with a delay under 20 ms at 100 ms: such files
// were made for them, and shown faster they look wrong.
constexpr int kShortestDelayMs = 20;
constexpr int kDefaultDelayMs = 100;
// How often the rows decoded so far are converted and shown.
constexpr qint64 kRowDisplayIntervalMs = 40;

class CanvasDisplay final : public RowDisplay {
  public:
    CanvasDisplay(std::shared_ptr<ProgressiveCanvas> canvas, const std::function<void()>& shown)
        : canvas_(std::move(canvas)), shown_(shown) {
        clock_.start();
    }
    bool blockDisplay() const override { return true; }
    uint32_t rowThreshold() const override { return 16; }

    void showRows(const Image& image, uint32_t rowsDone) override {
        if (rowsDone < converted_) converted_ = 0;  // a new interlace pass
        if (clock_.elapsed() < nextShowMs_) return;
        convert(image, converted_, rowsDone);
        converted_ = rowsDone;
    }
    void passFinished(const Image& image, uint32_t) override {
        convert(image, 0, image.height());
        converted_ = 0;
    }

  private:
    void convert(const Image& image, uint32_t first, uint32_t end) {
        {
            QMutexLocker lock(&canvas_->mutex);
            if (canvas_->image.width() != int(image.width()) ||
                canvas_->image.height() != int(image.height())) {
                canvas_->image = makeDisplayImage(image);
                first = 0;
            }
            convertRows(image, canvas_->image, first, end);
        }
        nextShowMs_ = clock_.elapsed() + kRowDisplayIntervalMs;
        if (shown_) shown_();
    }

    std::shared_ptr<ProgressiveCanvas> canvas_;
    const std::function<void()>& shown_;
    QElapsedTimer clock_;
    qint64 nextShowMs_ = 0;
    uint32_t converted_ = 0;
};

std::shared_ptr<AnimationFrames> composeGifFrames(const std::string& path, const Image& loaded,
                                                  const std::atomic<bool>* cancel) {
    auto animation = std::make_shared<AnimationFrames>();
    animation->loopCount = loaded.animation->loopCount;
    try {
        InFile file;
        file.open(path);
        FormatInfo info;
        const FormatEntry* entry = findFormat(file, 0, &info);
        if (entry == nullptr || entry->formatTag != makeTag("GIF ")) return nullptr;
        Image scratch;
        scratch.keepInfo = scratch.keepComment = false;
        gif::Screen screen;
        gif::walkScreen(file, scratch, screen);
        gif::GifComposer composer(file, screen, Limits{});
        auto stop = [cancel](uint32_t, uint32_t) { return cancel && cancel->load(); };
        ProgressFunction progress(stop);
        ReadOptions options;
        options.progress = &progress;
        qint64 bytes = 0;
        const auto& frames = loaded.animation->frames;
        for (uint32_t k = 1; k <= frames.size(); ++k) {
            composer.composeTo(k, options);
            QImage frame = toDisplayImage(composer.canvas());
            bytes += frame.sizeInBytes();
            if (frame.isNull() || bytes > kAnimationBudget) break;
            animation->frames.push_back(std::move(frame));
            const int delay = static_cast<int>(std::min<uint32_t>(frames[k - 1].delayMs, 60000));
            animation->delaysMs.push_back(delay < kShortestDelayMs ? kDefaultDelayMs : delay);
        }
    } catch (...) {
        // A frame that fails to compose ends the animation where it is; the
        // frames before it still play.
    }
    if (animation->frames.size() < 2) return nullptr;
    return animation;
}

}  // namespace

bool sameRequest(const LoadRequest& a, const LoadRequest& b) {
    return a.path == b.path && a.page == b.page && a.previewSize == b.previewSize &&
           a.animate == b.animate;
}

bool satisfies(const LoadRequest& done, const LoadRequest& wanted) {
    return done.path == wanted.path && done.page == wanted.page && done.animate == wanted.animate &&
           (done.previewSize == 0 || done.previewSize == wanted.previewSize);
}

std::shared_ptr<LoadOutcome> loadNow(const LoadRequest& request, const std::atomic<bool>* cancel,
                                     const std::shared_ptr<ProgressiveCanvas>& canvas,
                                     const std::function<void()>& rowsShown) {
    QElapsedTimer clock;
    clock.start();
    auto out = std::make_shared<LoadOutcome>();
    out->request = request;
    auto stop = [cancel](uint32_t, uint32_t) { return cancel && cancel->load(); };
    ProgressFunction progress(stop);
    ReadOptions options;
    options.progress = &progress;
    options.page = std::max<uint32_t>(request.page, 1);
    options.previewSize = request.previewSize;
    std::optional<CanvasDisplay> display;
    if (canvas && request.progressive) {
        display.emplace(canvas, rowsShown);
        options.display = &*display;
    }
    const std::string path = QFile::encodeName(request.path).toStdString();
    const LoadResult result = loadFile(out->image, path, options);
    out->info = result.info;
    out->message = result.message;
    out->completed = result.completed;
    out->cancelled = !result.completed && result.message == msg::None;
    if (out->completed) {
        out->preview = request.previewSize != 0 && out->info.width > out->image.width();
        out->display = toDisplayImage(out->image);
        if (request.animate && out->image.animation && out->image.animation->frames.size() > 1 &&
            out->image.formatTag == makeTag("GIF "))
            out->animation = composeGifFrames(path, out->image, cancel);
    }
    out->elapsedMs = clock.elapsed();
    return out;
}

ImageLoader::ImageLoader(QObject* parent) : QObject(parent) {}

ImageLoader::~ImageLoader() {
    if (current_) current_->cancel = true;
    if (preloading_) preloading_->cancel = true;
    for (QThread* thread : threads_) {
        thread->wait();
        delete thread;
    }
}

quint64 ImageLoader::load(const LoadRequest& request) {
    if (current_) current_->cancel = true;
    current_.reset();
    const quint64 id = nextId_++;
    if (preloaded_ && satisfies(preloaded_->request, request)) {
        std::shared_ptr<LoadOutcome> outcome = std::move(preloaded_);
        outcome->id = id;
        QMetaObject::invokeMethod(
            this, [this, outcome] { emit finished(outcome); }, Qt::QueuedConnection);
        return id;
    }
    if (preloading_ && satisfies(preloading_->request, request)) {
        current_ = std::move(preloading_);
        current_->wanted = true;
        current_->id = id;
        return id;
    }
    auto job = std::make_shared<Job>();
    job->id = id;
    job->request = request;
    current_ = job;
    canvas_ = std::make_shared<ProgressiveCanvas>();
    start(job, canvas_);
    return id;
}

void ImageLoader::preload(const LoadRequest& request) {
    if (preloaded_ && sameRequest(preloaded_->request, request)) return;
    if (preloading_ && sameRequest(preloading_->request, request)) return;
    if (current_ && sameRequest(current_->request, request)) return;
    if (preloading_) preloading_->cancel = true;
    auto job = std::make_shared<Job>();
    job->request = request;
    job->preload = true;
    preloading_ = job;
    start(job, nullptr);
}

void ImageLoader::cancel() {
    if (current_) current_->cancel = true;
}

void ImageLoader::start(const std::shared_ptr<Job>& job,
                        const std::shared_ptr<ProgressiveCanvas>& canvas) {
    QThread* thread = QThread::create([this, job, canvas] {
        const std::function<void()> shown = [this, job] {
            QMetaObject::invokeMethod(
                this,
                [this, job] {
                    if (job == current_) emit rowsShown(job->id);
                },
                Qt::QueuedConnection);
        };
        std::shared_ptr<LoadOutcome> outcome = loadNow(job->request, &job->cancel, canvas, shown);
        QMetaObject::invokeMethod(
            this, [this, job, outcome] { jobDone(job, outcome); }, Qt::QueuedConnection);
    });
    threads_.push_back(thread);
    connect(thread, &QThread::finished, this, [this, thread] {
        threads_.erase(std::remove(threads_.begin(), threads_.end(), thread), threads_.end());
        thread->deleteLater();
    });
    thread->start();
}

void ImageLoader::jobDone(const std::shared_ptr<Job>& job, std::shared_ptr<LoadOutcome> outcome) {
    if (job == preloading_) {
        preloading_.reset();
        if (!outcome->cancelled) preloaded_ = std::move(outcome);
        return;
    }
    if (job != current_) return;
    current_.reset();
    outcome->id = job->id;
    emit finished(std::move(outcome));
}

}  // namespace vivark::viewer
