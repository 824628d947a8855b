// The slide show's control panel; see SlideShowPanel.h.
#include "app/viewer/SlideShowPanel.h"

#include <QHBoxLayout>
#include <QPushButton>

#include "app/viewer/SlideShow.h"

namespace vivark::viewer {

SlideShowPanel::SlideShowPanel(SlideShow* show, bool swapButtons, QWidget* parent)
    : QWidget(parent, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint) {
    setWindowTitle(tr("Slide show"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(4, 4, 4, 4);
    auto* previous = new QPushButton(tr("Previous"), this);
    auto* next = new QPushButton(tr("Next"), this);
    pause_ = new QPushButton(tr("Pause"), this);
    pause_->setCheckable(true);
    auto* stop = new QPushButton(tr("Stop"), this);
    for (QPushButton* button : {previous, next, pause_, stop}) button->setFocusPolicy(Qt::NoFocus);
    layout->addWidget(swapButtons ? next : previous);
    layout->addWidget(pause_);
    layout->addWidget(swapButtons ? previous : next);
    layout->addWidget(stop);
    connect(previous, &QPushButton::clicked, show, &SlideShow::previous);
    connect(next, &QPushButton::clicked, show, &SlideShow::next);
    connect(pause_, &QPushButton::toggled, show, &SlideShow::pause);
    connect(stop, &QPushButton::clicked, show, &SlideShow::stop);
}

void SlideShowPanel::setPaused(bool paused) {
    pause_->setChecked(paused);
}

}  // namespace vivark::viewer
