// SlideShowPanel: the small floating control panel of a running slide show
// (previous, pause, next, stop), shown when Slideshow\ShowControl is set;
// Slideshow\SwapButtons puts next on the left and previous on the right.
#pragma once

#include <QWidget>

class QPushButton;

namespace vivark::viewer {

class SlideShow;

class SlideShowPanel : public QWidget {
    Q_OBJECT
  public:
    SlideShowPanel(SlideShow* show, bool swapButtons, QWidget* parent);
    void setPaused(bool paused);

  private:
    QPushButton* pause_;
};

}  // namespace vivark::viewer
