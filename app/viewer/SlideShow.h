// SlideShow: the slides of a show and the timer that steps through them.
//
// A show is made from the viewer's file sequence (every slide with the
// default time, Slideshow\DefaultSlideSettings\DspTime seconds) or read from
// a slide show list file:
//
//   Vivark SlideShow
//   photos/beach.jpg<TAB>8<TAB>The first morning
//   /home/ann/scan.png<TAB><TAB>
//
// after the header line, one slide a line: the path (relative paths are
// taken from the list's folder), the display time in seconds (decimals
// allowed; empty for the default) and a note, separated by tab characters.
// Tabs, unlike commas or spaces, never occur in the paths and notes people
// write, and a spreadsheet or a text editor both keep them. Lines end in
// CR LF as the system's other text files do; a bare LF is accepted; empty
// lines are skipped.
//
// The timer of a slide starts when the window reports it shown, so a slow
// load never eats into a slide's time. At the end the show stops, or starts
// over when Slideshow\ContinuousRun is set; Slideshow\AutoScramble shuffles
// the order at the start and at each new round.
#pragma once

#include <QObject>
#include <QString>
#include <QTimer>
#include <optional>
#include <random>
#include <vector>

namespace vivark::viewer {

struct Slide {
    QString path;
    double seconds = 0;  // 0: the default time
    QString note;
};

inline constexpr const char* kSlideShowHeader = "Vivark SlideShow";

// Parses a list's text; nothing when the header line is missing.
std::optional<std::vector<Slide>> parseSlideShowList(const QByteArray& text,
                                                     const QString& baseFolder);
QByteArray formatSlideShowList(const std::vector<Slide>& slides);
std::optional<std::vector<Slide>> readSlideShowList(const QString& path);

class SlideShow : public QObject {
    Q_OBJECT
  public:
    explicit SlideShow(QObject* parent = nullptr);

    void setSlides(std::vector<Slide> slides);
    void setDefaultSeconds(double seconds) { defaultSeconds_ = seconds; }
    void setContinuous(bool continuous) { continuous_ = continuous; }
    void setRandomOrder(bool random, unsigned seed = std::random_device{}());
    void setUseTimer(bool useTimer) { useTimer_ = useTimer; }

    const std::vector<Slide>& slides() const { return slides_; }
    bool isRunning() const { return running_; }
    bool isPaused() const { return paused_; }
    int position() const { return position_; }
    const Slide* currentSlide() const;
    // The interval of the current slide's timer in milliseconds.
    int intervalMs() const;
    bool timerActive() const { return timer_.isActive(); }

  public slots:
    void start();
    void stop();
    void next();
    void previous();
    void pause(bool paused);
    // The window has the current slide on screen: its time starts now.
    void slideShown();

  signals:
    void showSlide(const vivark::viewer::Slide& slide);
    void finished();

  private:
    void go(int position);
    void shuffle();

    std::vector<Slide> slides_;
    std::vector<int> order_;
    int position_ = -1;
    bool running_ = false;
    bool paused_ = false;
    bool continuous_ = false;
    bool random_ = false;
    bool useTimer_ = true;
    double defaultSeconds_ = 5;
    std::mt19937 random_engine_;
    QTimer timer_;
};

}  // namespace vivark::viewer
