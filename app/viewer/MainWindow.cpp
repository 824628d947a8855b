// The viewer window: menus, keys, loading flow, status, full screen, slide
// show and file actions; see MainWindow.h.
#include "app/viewer/MainWindow.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDateTime>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QKeyEvent>
#include <QMenuBar>
#include <QMessageBox>
#include <QScreen>
#include <QStatusBar>
#include <QStyle>
#include <QToolBar>
#include <QWindow>
#include <algorithm>
#include <cstdio>
#include <ctime>

#include "app/settings/SettingKeys.h"
#include "app/viewer/FileActions.h"
#include "app/viewer/ImageConvert.h"
#include "app/viewer/ImageView.h"
#include "app/viewer/SlideShowPanel.h"
#include "app/viewer/ViewerLog.h"
#include "core/Messages.h"
#include "formats/FormatTable.h"

#include "app/viewer/edit/EditMenus.h"

namespace vivark::viewer {
namespace {

// A window made to fit a small image keeps room for its menus and tools.
constexpr QSize kSmallestWindow(480, 360);

QString qs(const std::string& text) {
    return QString::fromStdString(text);
}

QString tagText(FormatTag tag) {
    QString text;
    for (int i = 0; i < 4; ++i) text += QChar(char((tag >> (8 * i)) & 0xFF));
    return text.trimmed();
}

// Window\BackgroundColor holds 0x00RRGGBB, or 0xFFFFFFFF for the system's
// window colour.
QColor backgroundColour(const QWidget* widget) {
    const uint32_t value = settings::windowBackgroundColor.get();
    if (value == 0xFFFFFFFFu) return widget->palette().color(QPalette::Window);
    return QColor(QRgb(0xFF000000u | value));
}

}  // namespace

MainWindow::MainWindow(const StartOptions& options, QWidget* parent)
    : QMainWindow(parent), options_(options) {
    clock_.start();
    setWindowTitle(QStringLiteral("Vivark"));
    setAcceptDrops(true);
    view_ = new ImageView(this);
    setCentralWidget(view_);
    buildActions();
    buildStatusBar();
    if (!settings::titleBarVisible.get()) setWindowFlag(Qt::FramelessWindowHint, true);
    readSettings();
    restorePlacement();

    connect(&loader_, &ImageLoader::rowsShown, this, &MainWindow::onRowsShown);
    connect(&loader_, &ImageLoader::finished, this, &MainWindow::onLoaded);
    connect(&document_, &Document::changed, this, &MainWindow::onDocumentChanged);
    connect(view_, &ImageView::zoomChanged, this, &MainWindow::updateStatus);
    connect(view_, &ImageView::pointerMoved, this, &MainWindow::onPointerMoved);
    connect(view_, &ImageView::selectionChanged, this, [this](const QRect& selection) {
        editMenus_->setSelection(selection);
        updateStatus();
    });
    connect(view_, &ImageView::wheelBrowse, this, [this](int steps) {
        if (steps > 0)
            next();
        else
            previous();
    });
    connect(view_, &ImageView::fullResolutionWanted, this, [this] {
        if (previewShown_ && !shownPath_.isEmpty() && !awaiting_) openFile(shownPath_, page_);
    });
    connect(view_, &ImageView::contentPainted, this, [this] { noteShown(!previewShown_); });
    animationTimer_.setSingleShot(true);
    connect(&animationTimer_, &QTimer::timeout, this, &MainWindow::nextFrame);

    connect(&slideShow_, &SlideShow::showSlide, this, [this](const Slide& slide) {
        sequence_.jumpTo(slide.path);
        openFile(slide.path);
        messageLabel_->setText(slide.note);
    });
    connect(&slideShow_, &SlideShow::finished, this, [this] {
        if (panel_) panel_->hide();
        if (slideShowFullScreen_ && fullScreen_) leaveFullScreen();
        slideShowFullScreen_ = false;
    });
}

MainWindow::~MainWindow() = default;

void MainWindow::readSettings() {
    ViewRules rules;
    rules.fit = settings::viewFitImage.get();
    rules.fitMode = fitModeFromSetting(settings::viewFitMode.get());
    rules.center = settings::viewCenterImage.get();
    view_->setRules(rules);
    view_->setZoomLock(settings::viewZoomLock.get());
    view_->setBackground(backgroundColour(this));
    view_->setSmoothEnlarge(settings::displayResamplePixels.get());
    view_->setWheelBrowse(settings::mouseWheelBrowse.get());
    view_->setSmoothScroll(settings::displaySmoothScroll.get());
    sequence_.setOrder(SequenceOrder(std::min<uint32_t>(settings::sequencerSequence.get(), 3)));
    sequence_.setWrap(settings::sequencerWrap.get());
    sequence_.setRefresh(settings::sequencerRefresh.get());
    applyChrome();
}

void MainWindow::applyChrome() {
    const bool chrome = !fullScreen_;
    menuBar()->setVisible(chrome && settings::menuBarVisible.get());
    toolBar_->setVisible(chrome && settings::toolBarVisible.get());
    statusBar()->setVisible(chrome && settings::statusBarVisible.get());
    view_->setScrollBarsShown(chrome && settings::scrollBarsVisible.get());
    toolBarAction_->setChecked(settings::toolBarVisible.get());
    statusBarAction_->setChecked(settings::statusBarVisible.get());
    menuBarAction_->setChecked(settings::menuBarVisible.get());
}

void MainWindow::buildActions() {
    auto add = [this](QMenu* menu, const QString& text, QKeySequence key, auto slot) {
        QAction* action = menu->addAction(text);
        if (!key.isEmpty()) action->setShortcut(key);
        connect(action, &QAction::triggered, this, slot);
        addAction(action);  // keys work with the menu bar hidden too
        return action;
    };
    QMenu* file = menuBar()->addMenu(tr("&File"));
    file->setObjectName(
        QStringLiteral("fileMenu"));  // the edit side adds save, save as, information
    QAction* open = add(file, tr("&Open..."), QKeySequence::Open, [this] {
        const QStringList paths = QFileDialog::getOpenFileNames(this, tr("Open"));
        if (!paths.isEmpty()) openPaths(paths);
    });
    file->addSeparator();
    fileActions_.push_back(
        add(file, tr("&Rename..."), QKeySequence(Qt::Key_F2), &MainWindow::renameFile));
    fileActions_.push_back(
        add(file, tr("&Copy to..."), QKeySequence(Qt::Key_F5), &MainWindow::copyFile));
    fileActions_.push_back(
        add(file, tr("&Move to..."), QKeySequence(Qt::Key_F6), &MainWindow::moveFile));
    fileActions_.push_back(add(file, tr("&Delete"), QKeySequence::Delete, &MainWindow::deleteFile));
    file->addSeparator();
    add(file, tr("&Quit"), QKeySequence::Quit, [this] { close(); });

    QMenu* viewMenu = menuBar()->addMenu(tr("&View"));
    QAction* zoomIn =
        add(viewMenu, tr("Zoom &in"), QKeySequence(Qt::Key_Plus), [this] { view_->zoomIn(); });
    QAction* zoomOut =
        add(viewMenu, tr("Zoom &out"), QKeySequence(Qt::Key_Minus), [this] { view_->zoomOut(); });
    add(viewMenu, tr("&Actual size"), QKeySequence(Qt::Key_1), [this] { view_->showActualSize(); });
    QAction* fit = add(viewMenu, tr("&Fit to window"), QKeySequence(Qt::Key_Asterisk),
                       [this] { view_->fitToWindow(); });
    viewMenu->addSeparator();
    fullScreenAction_ =
        add(viewMenu, tr("F&ull screen"), QKeySequence(Qt::Key_F11), &MainWindow::toggleFullScreen);
    fullScreenAction_->setCheckable(true);
    auto toggle = [this, viewMenu, &add](const QString& text, QKeySequence key,
                                         settings::BoolSetting& setting) {
        QAction* action = add(viewMenu, text, key, [this, &setting] {
            setting.set(!setting.get());
            applyChrome();
        });
        action->setCheckable(true);
        return action;
    };
    viewMenu->addSeparator();
    toolBarAction_ = toggle(tr("&Tool bar"), {}, settings::toolBarVisible);
    statusBarAction_ = toggle(tr("&Status bar"), {}, settings::statusBarVisible);
    menuBarAction_ =
        toggle(tr("&Menu bar"), QKeySequence(Qt::CTRL | Qt::Key_M), settings::menuBarVisible);

    QMenu* go = menuBar()->addMenu(tr("&Go"));
    QAction* nextAction =
        add(go, tr("&Next image"), QKeySequence(Qt::Key_Space), &MainWindow::next);
    nextAction->setShortcuts({QKeySequence(Qt::Key_Space), QKeySequence(Qt::Key_Right)});
    QAction* previousAction =
        add(go, tr("&Previous image"), QKeySequence(Qt::Key_Backspace), &MainWindow::previous);
    previousAction->setShortcuts({QKeySequence(Qt::Key_Backspace), QKeySequence(Qt::Key_Left)});
    add(go, tr("&First image"), QKeySequence(Qt::Key_Home), &MainWindow::first);
    add(go, tr("&Last image"), QKeySequence(Qt::Key_End), &MainWindow::last);
    go->addSeparator();
    add(go, tr("Next pa&ge"), QKeySequence(Qt::Key_PageDown), &MainWindow::nextPage);
    add(go, tr("Previous pag&e"), QKeySequence(Qt::Key_PageUp), &MainWindow::previousPage);

    QMenu* show = menuBar()->addMenu(tr("&Slide show"));
    add(show, tr("&Start with this folder"), QKeySequence(Qt::Key_F9),
        &MainWindow::startSlideShowOfSequence);
    add(show, tr("&Open a slide show list..."), {}, [this] {
        const QString path = QFileDialog::getOpenFileName(this, tr("Slide show list"));
        if (path.isEmpty()) return;
        if (auto slides = readSlideShowList(path))
            startSlideShow(*slides);
        else
            showFailure(tr("%1 is not a slide show list").arg(QFileInfo(path).fileName()));
    });

    // The edit side: operations, save as, information, clipboard, recent files.
    editMenus_ = installEditMenus(this, menuBar(), &document_,
                                  EditHooks{[this](const QString& path) { openFile(path); }});

    toolBar_ = addToolBar(tr("Tools"));
    toolBar_->setObjectName(QStringLiteral("tools"));
    toolBar_->setMovable(false);
    for (QAction* action :
         {open, previousAction, nextAction, zoomOut, zoomIn, fit, fullScreenAction_})
        toolBar_->addAction(action);
    toolBar_->addAction(editMenus_->actionNamed(QStringLiteral("crop")));
    updateActions();
}

void MainWindow::buildStatusBar() {
    auto label = [this](int stretch) {
        auto* l = new QLabel(this);
        statusBar()->addWidget(l, stretch);
        return l;
    };
    messageLabel_ = label(1);
    formatLabel_ = label(0);
    sizeLabel_ = label(0);
    zoomLabel_ = label(0);
    pointerLabel_ = label(0);
    positionLabel_ = label(0);
    selectionLabel_ = label(0);
}

void MainWindow::restorePlacement() {
    // Window\SizeAndPosition: "x,y,width,height,maximized" of the normal
    // window; PosCtrl\Mode 1 puts the window back there, 0 leaves the
    // placement to the window manager.
    resize(900, 650);
    if (settings::posCtrlMode.get() != 1) return;
    const QStringList parts = qs(settings::windowSizeAndPosition.get()).split(u',');
    if (parts.size() < 4) return;
    const QRect saved(parts[0].toInt(), parts[1].toInt(), parts[2].toInt(), parts[3].toInt());
    if (saved.width() < 100 || saved.height() < 100) return;
    // A placement on a monitor that is gone is not used.
    QScreen* screen = QGuiApplication::screenAt(saved.center());
    if (screen == nullptr) return;
    setGeometry(saved.intersected(screen->availableGeometry()));
    wasMaximized_ = parts.size() > 4 && parts[4] == QLatin1String("1");
}

void MainWindow::showAsPlaced() {
    if (wasMaximized_)
        showMaximized();
    else
        show();
}

void MainWindow::savePlacement() {
    const QRect g = (isMaximized() || fullScreen_) ? normalGeometry() : geometry();
    if (!g.isValid()) return;
    settings::windowSizeAndPosition.set(QStringLiteral("%1,%2,%3,%4,%5")
                                            .arg(g.x())
                                            .arg(g.y())
                                            .arg(g.width())
                                            .arg(g.height())
                                            .arg(isMaximized() ? 1 : 0)
                                            .toStdString());
}

void MainWindow::closeEvent(QCloseEvent* event) {
    if (!fullScreen_) savePlacement();
    loader_.cancel();
    QMainWindow::closeEvent(event);
}

void MainWindow::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        if (awaiting_)
            cancelLoad();
        else if (!view_->selection().isEmpty())
            view_->clearSelection();
        else if (slideShow_.isRunning())
            slideShow_.stop();
        else if (fullScreen_)
            leaveFullScreen();
        return;
    }
    if (event->key() == Qt::Key_Return && (event->modifiers() & Qt::AltModifier)) {
        toggleFullScreen();
        return;
    }
    QMainWindow::keyPressEvent(event);
}

void MainWindow::openPaths(const QStringList& paths) {
    if (paths.isEmpty()) return;
    if (paths.size() == 1) {
        const QString& path = paths.front();
        if (QFileInfo(path).isFile()) {
            if (auto slides = readSlideShowList(path)) {
                startSlideShow(*slides);
                return;
            }
        }
        sequence_.openFolderOf(path);
    } else {
        sequence_.setFiles(paths);
    }
    if (sequence_.isEmpty()) {
        showFailure(tr("No images in %1").arg(paths.front()));
        return;
    }
    if (options_.slideShow)
        startSlideShowOfSequence();
    else
        openFile(sequence_.current());
}

LoadRequest MainWindow::requestFor(const QString& path, uint32_t page, bool full) const {
    LoadRequest request;
    request.path = path;
    request.page = page;
    request.progressive = settings::loadingProgressive.get();
    request.animate = settings::loadingAnimate.get();
    // A fitted view needs no more pixels than the view has: readers that can
    // decode at a reduced scale (JPEG) then do, and the full image follows
    // when the user zooms in.
    if (!full && view_->isFitting()) {
        const QSize size = view_->viewport()->size() * view_->devicePixelRatioF();
        request.previewSize = uint32_t(std::max({size.width(), size.height(), 64}));
    }
    return request;
}

void MainWindow::openFile(const QString& path, uint32_t page) {
    const bool sameImage = path == shownPath_ && page == page_ && previewShown_;
    pending_ = requestFor(path, page, sameImage);
    stepStartedMs_ = clock_.elapsed();
    awaiting_ = true;
    pendingId_ = loader_.load(pending_);
    if (!sameImage) stopAnimation();
    messageLabel_->setText(tr("Loading %1...").arg(QFileInfo(path).fileName()));
    updateTitle();
}

void MainWindow::onRowsShown(quint64 id) {
    if (id != pendingId_) return;
    const std::shared_ptr<ProgressiveCanvas>& canvas = loader_.canvas();
    QSize size;
    {
        QMutexLocker lock(&canvas->mutex);
        size = canvas->image.size();
    }
    const bool same = pending_.path == shownPath_ && pending_.page == page_;
    view_->setCanvas(canvas, size, same);
}

void MainWindow::onLoaded(const std::shared_ptr<LoadOutcome>& outcome) {
    if (outcome->id != pendingId_) return;
    awaiting_ = false;
    const QString name = QFileInfo(outcome->request.path).fileName();
    logLine(QStringLiteral("load %1 page %2: %3 ms, message %4")
                .arg(outcome->request.path)
                .arg(outcome->request.page)
                .arg(outcome->elapsedMs)
                .arg(outcome->message));
    if (outcome->cancelled) {
        messageLabel_->setText(tr("Loading cancelled"));
        settle();
        return;
    }
    if (outcome->message == msg::SlideShowList) {
        if (auto slides = readSlideShowList(outcome->request.path)) {
            startSlideShow(*slides);
            return;
        }
    }
    if (!outcome->completed) {
        showFailure(qs(formatMessage(outcome->message, QFile::encodeName(name).toStdString())));
        if (slideShow_.isRunning()) slideShow_.slideShown();
        return;
    }
    lastError_.clear();
    const bool sameImage =
        outcome->request.path == shownPath_ && outcome->request.page == page_ && previewShown_;
    shownPath_ = outcome->request.path;
    page_ = outcome->request.page;
    pageCount_ = std::max<uint32_t>(outcome->image.pageCount, 1);
    info_ = outcome->info;
    previewShown_ = outcome->preview;
    const FormatEntry* entry = findFormatEntry(outcome->info.formatTag);
    formatName_ = entry ? QString::fromLatin1(entry->name) : tagText(outcome->image.formatTag);
    const QSize size = outcome->preview
                           ? QSize(int(outcome->info.width), int(outcome->info.height))
                           : QSize(int(outcome->image.width()), int(outcome->image.height()));
    if (!outcome->preview) {
        suppressDocumentChanged_ = true;
        document_.setLoaded(outcome->image, outcome->request.path, outcome->info.namedAs);
        suppressDocumentChanged_ = false;
    } else {
        suppressDocumentChanged_ = true;
        document_.clear();
        suppressDocumentChanged_ = false;
    }
    view_->setImage(outcome->display, size, sameImage);
    // A band drawn over a preview carries over to the full image it stands for.
    editMenus_->setSelection(view_->selection());
    if (outcome->animation && !sameImage) startAnimation(outcome->animation);
    messageLabel_->clear();
    if (const Slide* slide = slideShow_.currentSlide(); slide && slideShow_.isRunning())
        messageLabel_->setText(slide->note);
    updateStatus();
    updateTitle();
    updateActions();
    if (!fullScreen_ && !sameImage && settings::posCtrlAutosizeOnLoad.get()) autosize();
    if (outcome->preview) {
        // The preview is on screen; the full image replaces it as soon as it
        // is read, so the document always holds the file's own pixels.
        openFile(shownPath_, page_);
        return;
    }
    settle();
    if (slideShow_.isRunning()) slideShow_.slideShown();
    preloadNext();
}

void MainWindow::noteShown(bool full) {
    if (!options_.timing && !options_.quitWhenShown && !options_.stepThrough) return;
    const qint64 now = options_.startedAtMs > 0
                           ? QDateTime::currentMSecsSinceEpoch() - options_.startedAtMs
                           : clock_.elapsed();
    // Processor time of the whole process (every thread) besides the wall
    // clock: on a loaded machine it is the steadier figure.
    const long long cpuMs = static_cast<long long>(std::clock()) * 1000 / CLOCKS_PER_SEC;
    if (!firstPixelReported_) {
        firstPixelReported_ = true;
        std::printf("first pixel: %lld ms (cpu %lld ms)\n", static_cast<long long>(now), cpuMs);
    }
    if (!full || awaiting_ || stepStartedMs_ < 0) return;
    const qint64 took = now - stepStartedMs_;
    stepStartedMs_ = -1;
    std::printf("full image: %lld ms after the request, %lld ms after start, cpu %lld ms (%s)\n",
                static_cast<long long>(took), static_cast<long long>(now), cpuMs,
                QFile::encodeName(QFileInfo(shownPath_).fileName()).constData());
    std::fflush(stdout);
    if (options_.stepThrough) {
        if (sequence_.index() > 0) stepTimes_.push_back(took);
        if (sequence_.index() + 1 < sequence_.count()) {
            // The user looks at an image a moment before pressing next; the
            // preload of the next file runs meanwhile.
            QTimer::singleShot(1500, this, &MainWindow::next);
            return;
        }
        if (!stepTimes_.empty()) {
            std::sort(stepTimes_.begin(), stepTimes_.end());
            std::printf("next image: median %lld ms over %zu steps\n",
                        static_cast<long long>(stepTimes_[stepTimes_.size() / 2]),
                        stepTimes_.size());
        }
        QTimer::singleShot(0, qApp, &QApplication::quit);
        return;
    }
    if (options_.quitWhenShown) QTimer::singleShot(0, qApp, &QApplication::quit);
}

void MainWindow::onDocumentChanged() {
    if (suppressDocumentChanged_) return;
    // A crop, or a load, took the edit side's selection; the band goes too.
    if (editMenus_->selection().isEmpty()) view_->clearSelection();
    const Image& image = document_.image();
    if (image.plane.empty()) {
        view_->clear();
    } else {
        stopAnimation();
        view_->setImage(toDisplayImage(image), QSize(int(image.width()), int(image.height())),
                        QSize(int(image.width()), int(image.height())) == view_->imageSize());
        if (!fullScreen_ && settings::posCtrlAutosizeOnEdit.get()) autosize();
    }
    if (!document_.path().isEmpty() && document_.path() != shownPath_) {
        shownPath_ = document_.path();
        sequence_.jumpTo(shownPath_);
    }
    updateStatus();
    updateTitle();
}

void MainWindow::showFailure(const QString& message) {
    lastError_ = message;
    messageLabel_->setText(message);
    logLine(QStringLiteral("error: ") + message);
    if (settings::loadingBeepOnError.get()) QApplication::beep();
    settle();
}

void MainWindow::settle() {
    auto waiting = std::move(waiting_);
    waiting_.clear();
    for (auto& reply : waiting)
        reply(lastError_.isEmpty() ? QStringLiteral("ok") : QStringLiteral("error\t") + lastError_);
    emit settled();
}

void MainWindow::preloadNext() {
    if (!settings::sequencerPreload.get()) return;
    if (std::optional<QString> next = sequence_.peek(1); next && *next != shownPath_)
        loader_.preload(requestFor(*next, 1, true));
}

void MainWindow::cancelLoad() {
    loader_.cancel();
}

void MainWindow::step(const std::optional<QString>& path) {
    if (path) openFile(*path);
}

void MainWindow::next() {
    step(sequence_.step(1));
}

void MainWindow::previous() {
    step(sequence_.step(-1));
}

void MainWindow::first() {
    step(sequence_.first());
}

void MainWindow::last() {
    step(sequence_.last());
}

void MainWindow::nextPage() {
    if (animation_) {
        stopAnimation();
        return;
    }
    if (page_ < pageCount_) openFile(shownPath_, page_ + 1);
}

void MainWindow::previousPage() {
    if (page_ > 1) openFile(shownPath_, page_ - 1);
}

void MainWindow::startAnimation(std::shared_ptr<AnimationFrames> frames) {
    animation_ = std::move(frames);
    frame_ = 0;
    // The loop count is the number of repeats after the first round, as
    // browsers play it; a file without one plays once.
    roundsLeft_ = animation_->loopCount;
    animationTimer_.start(animation_->delaysMs[0]);
}

void MainWindow::stopAnimation() {
    animationTimer_.stop();
    animation_.reset();
}

void MainWindow::nextFrame() {
    if (!animation_) return;
    if (frame_ + 1 >= animation_->frames.size()) {
        if (roundsLeft_ == 0) return;  // the last frame stays
        if (roundsLeft_ > 0) --roundsLeft_;
        frame_ = 0;
    } else {
        ++frame_;
    }
    view_->setFrame(animation_->frames[frame_]);
    animationTimer_.start(animation_->delaysMs[frame_]);
}

void MainWindow::toggleFullScreen() {
    if (fullScreen_)
        leaveFullScreen();
    else
        enterFullScreen();
}

void MainWindow::enterFullScreen() {
    if (fullScreen_) return;
    fullScreen_ = true;
    wasMaximized_ = isMaximized();
    savePlacement();
    // Full screen on the monitor the window is on now.
    if (QWindow* handle = windowHandle()) handle->setScreen(screen());
    ViewRules rules;
    rules.fit = settings::fullscreenFitImage.get();
    rules.fitMode = fitModeFromSetting(settings::fullscreenFitMode.get());
    rules.center = settings::fullscreenCenterImage.get();
    view_->setRules(rules);
    view_->setBackground(Qt::black);
    if (!settings::fullscreenShowPointer.get()) view_->viewport()->setCursor(Qt::BlankCursor);
    applyChrome();
    showFullScreen();
    fullScreenAction_->setChecked(true);
}

void MainWindow::leaveFullScreen() {
    if (!fullScreen_) return;
    fullScreen_ = false;
    view_->viewport()->unsetCursor();
    if (wasMaximized_)
        showMaximized();
    else
        showNormal();
    readSettings();
    fullScreenAction_->setChecked(false);
}

void MainWindow::autosize() {
    if (isMaximized() || isFullScreen() || !isVisible()) return;
    const QSize image = view_->imageSize();
    if (image.isEmpty()) return;
    QScreen* where = screen();
    if (where == nullptr) return;
    // PosCtrl\ExpandToDesktop lets the window grow to the whole work area
    // (the whole screen with PosCtrl\IgnoreTaskbar); otherwise it stays
    // within the size it has.
    const QRect area =
        settings::posCtrlIgnoreTaskbar.get() ? where->geometry() : where->availableGeometry();
    const QSize chrome = size() - view_->viewport()->size();
    QSize wanted = image + chrome;
    const QSize limit =
        settings::posCtrlExpandToDesktop.get() ? area.size() : size().expandedTo(kSmallestWindow);
    wanted = wanted.boundedTo(limit).expandedTo(kSmallestWindow);
    if (wanted == size()) return;
    QRect frame(pos(), wanted);
    frame.moveRight(std::min(frame.right(), area.right()));
    frame.moveBottom(std::min(frame.bottom(), area.bottom()));
    setGeometry(QRect(
        QPoint(std::max(frame.left(), area.left()), std::max(frame.top(), area.top())), wanted));
}

void MainWindow::startSlideShowOfSequence() {
    std::vector<Slide> slides;
    for (const QString& path : sequence_.files()) slides.push_back({path, 0, {}});
    startSlideShow(slides);
}

void MainWindow::startSlideShow(const std::vector<Slide>& slides) {
    if (slides.empty()) return;
    if (sequence_.isEmpty()) {
        QStringList paths;
        for (const Slide& slide : slides) paths << slide.path;
        sequence_.setFiles(paths);
    }
    slideShow_.setSlides(slides);
    slideShow_.setDefaultSeconds(settings::slideshowDefaultDspTime.get());
    slideShow_.setUseTimer(settings::slideshowDefaultUseTimer.get());
    slideShow_.setContinuous(settings::slideshowContinuousRun.get());
    slideShow_.setRandomOrder(settings::slideshowAutoScramble.get());
    if ((settings::slideshowFullScreen.get() || options_.fullScreen) && !fullScreen_) {
        slideShowFullScreen_ = true;
        enterFullScreen();
    }
    if (settings::slideshowShowControl.get()) {
        if (panel_ == nullptr)
            panel_ = new SlideShowPanel(&slideShow_, settings::slideshowSwapButtons.get(), this);
        panel_->setPaused(false);
        panel_->adjustSize();
        const QRect area = screen() ? screen()->availableGeometry() : geometry();
        panel_->move(area.center().x() - panel_->width() / 2,
                     area.bottom() - panel_->height() - 24);
        panel_->show();
    }
    slideShow_.start();
}

void MainWindow::onPointerMoved(QPoint pixel) {
    const Image& image = document_.image();
    if (pixel.x() < 0 || image.plane.empty()) {
        pointerLabel_->clear();
        return;
    }
    const uint32_t colour = pixelColour(image, uint32_t(pixel.x()), uint32_t(pixel.y()));
    pointerLabel_->setText(QStringLiteral("%1, %2  #%3")
                               .arg(pixel.x())
                               .arg(pixel.y())
                               .arg(colour, 6, 16, QLatin1Char('0')));
}

QString MainWindow::statusText() const {
    QStringList parts;
    for (const QLabel* label :
         {formatLabel_, sizeLabel_, zoomLabel_, positionLabel_, selectionLabel_})
        if (!label->text().isEmpty()) parts << label->text();
    return parts.join(QStringLiteral("  "));
}

void MainWindow::updateStatus() {
    const QSize size = view_->imageSize();
    if (size.isEmpty()) {
        selectionLabel_->clear();
        formatLabel_->clear();
        sizeLabel_->clear();
        zoomLabel_->clear();
        positionLabel_->clear();
        return;
    }
    formatLabel_->setText(formatName_);
    const uint32_t depth =
        document_.isEmpty() ? info_.bitsPerPixel : document_.image().bitsPerPixel();
    sizeLabel_->setText(tr("%1 x %2, %3 bits").arg(size.width()).arg(size.height()).arg(depth));
    zoomLabel_->setText(
        QStringLiteral("%1%").arg(view_->zoom() * 100, 0, 'f', view_->zoom() < 0.1 ? 1 : 0));
    QString position;
    if (sequence_.count() > 0)
        position = QStringLiteral("%1/%2").arg(sequence_.index() + 1).arg(sequence_.count());
    if (pageCount_ > 1) position += tr("  page %1/%2").arg(page_).arg(pageCount_);
    positionLabel_->setText(position.trimmed());
    const QRect selection = view_->selection();
    selectionLabel_->setText(selection.isEmpty() ? QString()
                                                 : tr("Selection %1 x %2 at %3, %4")
                                                       .arg(selection.width())
                                                       .arg(selection.height())
                                                       .arg(selection.x())
                                                       .arg(selection.y()));
}

void MainWindow::updateTitle() {
    const QString path = document_.path().isEmpty() ? shownPath_ : document_.path();
    QString title = path.isEmpty() ? QStringLiteral("Vivark")
                                   : QFileInfo(path).fileName() + QStringLiteral(" - Vivark");
    if (document_.isModified()) title.prepend(u'*');
    setWindowTitle(title);
}

void MainWindow::updateActions() {
    for (QAction* action : fileActions_) action->setEnabled(!shownPath_.isEmpty());
}

}  // namespace vivark::viewer
