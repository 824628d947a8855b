// MainWindow: the viewer's window. It owns the Document on screen, the view,
// the loader, the file sequence, animation playback, full screen and the
// slide show, and reads every window, view, loading, sequencing, slide show
// and confirmation setting it acts on. Editing (menus, dialogs, save as)
// is installed into its menu bar by the edit side, which changes the
// Document; the window repaints on Document::changed(). The view's
// selection is the edit side's crop rectangle. Files dropped on the window
// from a file manager open as if given on the command line.
#pragma once

#include <QElapsedTimer>
#include <QLabel>
#include <QMainWindow>
#include <QTimer>
#include <functional>
#include <memory>
#include <vector>

#include "app/viewer/FileSequence.h"
#include "app/viewer/ImageLoader.h"
#include "app/viewer/SlideShow.h"
#include "app/viewer/edit/Document.h"

class QAction;
class QToolBar;

namespace vivark::viewer {

class EditMenus;
class ImageView;
class SlideShowPanel;

// What a start asks of the window besides its files.
struct StartOptions {
    bool fullScreen = false;
    bool slideShow = false;
    // Test and benchmark aids: report times on standard output, quit once
    // the first image is shown in full, or step through every file once.
    bool timing = false;
    bool quitWhenShown = false;
    bool stepThrough = false;
    // When the process started (milliseconds since the epoch), for timings.
    qint64 startedAtMs = 0;
};

class MainWindow : public QMainWindow {
    Q_OBJECT
  public:
    explicit MainWindow(const StartOptions& options = {}, QWidget* parent = nullptr);
    ~MainWindow() override;

    // Opens files and folders as the command line gives them: one file opens
    // its folder as the sequence; several make exactly those the sequence; a
    // slide show list starts its show.
    void openPaths(const QStringList& paths);
    void openFile(const QString& path, uint32_t page = 1);
    // Shows the window as it was left: maximized or in its saved place.
    void showAsPlaced();

    Document& document() { return document_; }
    ImageView* view() const { return view_; }
    const FileSequence& sequence() const { return sequence_; }
    SlideShow& slideShow() { return slideShow_; }
    bool isLoading() const { return awaiting_; }
    uint32_t page() const { return page_; }
    uint32_t pageCount() const { return pageCount_; }
    QString statusText() const;
    // The message of the last failed load, in the system's words; empty on success.
    const QString& lastError() const { return lastError_; }

    // A command from the single-instance socket (SingleInstance.h).
    void remoteCommand(const QString& command, const QStringList& args,
                       std::function<void(const QString&)> reply);

  public slots:
    void next();
    void previous();
    void first();
    void last();
    void nextPage();
    void previousPage();
    void toggleFullScreen();
    void startSlideShowOfSequence();
    void startSlideShow(const std::vector<Slide>& slides);
    void cancelLoad();
    void deleteFile();
    void renameFile();
    void copyFile();
    void moveFile();

  signals:
    // The current load has settled: an image is on screen or a load failed.
    void settled();

  protected:
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    void readSettings();
    void buildActions();
    void buildStatusBar();
    void restorePlacement();
    void savePlacement();
    void step(const std::optional<QString>& path);
    void onRowsShown(quint64 id);
    void onLoaded(const std::shared_ptr<LoadOutcome>& outcome);
    void onDocumentChanged();
    void onPointerMoved(QPoint pixel);
    void showFailure(const QString& message);
    void settle();
    void preloadNext();
    void startAnimation(std::shared_ptr<AnimationFrames> frames);
    void stopAnimation();
    void nextFrame();
    void enterFullScreen();
    void leaveFullScreen();
    void applyChrome();
    void autosize();
    void updateStatus();
    void updateTitle();
    void updateActions();
    LoadRequest requestFor(const QString& path, uint32_t page, bool full) const;
    void noteShown(bool full);

    Document document_;
    ImageView* view_ = nullptr;
    EditMenus* editMenus_ = nullptr;
    ImageLoader loader_;
    FileSequence sequence_;
    SlideShow slideShow_;
    SlideShowPanel* panel_ = nullptr;
    StartOptions options_;

    // What is on screen, or being loaded.
    quint64 pendingId_ = 0;
    bool awaiting_ = false;  // a load was asked for and has not ended
    LoadRequest pending_;
    QString shownPath_;
    uint32_t page_ = 1;
    uint32_t pageCount_ = 1;
    bool previewShown_ = false;
    bool suppressDocumentChanged_ = false;
    QString formatName_;
    QString lastError_;
    FormatInfo info_;

    std::shared_ptr<AnimationFrames> animation_;
    size_t frame_ = 0;
    int roundsLeft_ = 0;
    QTimer animationTimer_;

    bool fullScreen_ = false;
    bool slideShowFullScreen_ = false;
    bool wasMaximized_ = false;

    QToolBar* toolBar_ = nullptr;
    QLabel* formatLabel_ = nullptr;
    QLabel* sizeLabel_ = nullptr;
    QLabel* zoomLabel_ = nullptr;
    QLabel* pointerLabel_ = nullptr;
    QLabel* positionLabel_ = nullptr;
    QLabel* selectionLabel_ = nullptr;
    QLabel* messageLabel_ = nullptr;
    QAction* fullScreenAction_ = nullptr;
    QAction* toolBarAction_ = nullptr;
    QAction* statusBarAction_ = nullptr;
    QAction* menuBarAction_ = nullptr;
    std::vector<QAction*> fileActions_;
    std::vector<std::function<void(const QString&)>> waiting_;

    QElapsedTimer clock_;
    qint64 stepStartedMs_ = -1;
    bool firstPixelReported_ = false;
    std::vector<qint64> stepTimes_;
};

}  // namespace vivark::viewer
