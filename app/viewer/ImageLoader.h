// ImageLoader: loads images off the user-interface thread.
//
// Each load runs on a thread of its own over the core's load path, so the
// window stays live; a newer request cancels the one before it through the
// reader's progress callback (the reader stops at its next row), and Esc does
// the same through cancel(). Results come back on the thread that owns the
// loader, tagged with the request's id, so a late answer to a superseded
// request is recognised and dropped.
//
// While a reader that follows its rows (formats/RowDisplay.h, the PNG reader)
// fills the image, the rows already decoded are converted into a shared
// canvas every few tens of milliseconds and rowsShown() is emitted; the view
// paints the canvas under its lock. Readers without row display (JPEG among
// them, which instead decodes a reduced preview quickly) show when done.
//
// Preloading (FileSequencer\Preload) reads the next file of the sequence
// into a one-entry cache, in full, while the user looks at the current one;
// asking for it then (for a preview or the full image) costs no decode. An animated GIF's frames
// are composed on the loading thread (formats/gif/GifComposer.h, one frame from the one before) and
// handed over converted, up to a memory budget.
#pragma once

#include <QImage>
#include <QMutex>
#include <QObject>
#include <QString>
#include <QThread>
#include <atomic>
#include <memory>
#include <vector>

#include "core/Image.h"
#include "formats/FormatInfo.h"

namespace vivark::viewer {

struct LoadRequest {
    QString path;
    uint32_t page = 1;
    // A preview of about this many pixels on the longer side is enough; 0
    // asks for the full image. Only readers that can decode at a reduced
    // scale (JPEG) make use of it.
    uint32_t previewSize = 0;
    bool progressive = true;  // Loading\Progressive
    bool animate = true;      // Loading\Animate
};

// The rows of an image being loaded, shared by the loading thread (which
// writes under the lock) and the view (which paints under it).
struct ProgressiveCanvas {
    QMutex mutex;
    QImage image;
};

struct AnimationFrames {
    std::vector<QImage> frames;
    std::vector<int> delaysMs;
    int loopCount = 0;  // the file's: 0 none (play once), -1 for ever, n repeats
};

struct LoadOutcome {
    quint64 id = 0;
    LoadRequest request;
    Image image;
    QImage display;  // the image converted for painting (null on failure)
    FormatInfo info;
    uint32_t message = 0;  // the load's message identifier (0 on success)
    bool completed = false;
    bool cancelled = false;
    bool preview = false;  // the image is a reduced-scale decode of info's size
    std::shared_ptr<AnimationFrames> animation;
    qint64 elapsedMs = 0;
};

// Loads one request synchronously on the calling thread: the body of every
// load thread, and what tests call directly.
std::shared_ptr<LoadOutcome> loadNow(const LoadRequest& request,
                                     const std::atomic<bool>* cancel = nullptr,
                                     const std::shared_ptr<ProgressiveCanvas>& canvas = nullptr,
                                     const std::function<void()>& rowsShown = nullptr);

class ImageLoader : public QObject {
    Q_OBJECT
  public:
    explicit ImageLoader(QObject* parent = nullptr);
    ~ImageLoader() override;

    // Starts loading `request` (cancelling the load in progress) and returns
    // its id. A preloaded result for the same request is delivered at once.
    quint64 load(const LoadRequest& request);
    // Reads `request` into the preload cache in the background.
    void preload(const LoadRequest& request);
    void cancel();
    bool busy() const { return current_ != nullptr; }

    const std::shared_ptr<ProgressiveCanvas>& canvas() const { return canvas_; }

  signals:
    void rowsShown(quint64 id);
    void finished(std::shared_ptr<vivark::viewer::LoadOutcome> outcome);

  private:
    struct Job {
        quint64 id = 0;
        LoadRequest request;
        std::atomic<bool> cancel{false};
        bool preload = false;
        bool wanted = false;  // a preload the user has since asked for
        QThread* thread = nullptr;
    };
    void start(const std::shared_ptr<Job>& job, const std::shared_ptr<ProgressiveCanvas>& canvas);
    void jobDone(const std::shared_ptr<Job>& job, std::shared_ptr<LoadOutcome> outcome);

    quint64 nextId_ = 1;
    std::shared_ptr<Job> current_;
    std::shared_ptr<Job> preloading_;
    std::shared_ptr<LoadOutcome> preloaded_;
    std::shared_ptr<ProgressiveCanvas> canvas_;
    std::vector<QThread*> threads_;
};

bool sameRequest(const LoadRequest& a, const LoadRequest& b);
// Whether the result of `done` serves `wanted`: the same file, page and
// animation, and either the same preview size or the full image.
bool satisfies(const LoadRequest& done, const LoadRequest& wanted);

}  // namespace vivark::viewer
