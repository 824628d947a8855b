// A progress bar for long work, drawn on the error stream when it is a
// terminal and silent otherwise (pipes, files, tests), and only once the work
// has taken half a second. It is a ProgressCallback, so readers, writers and
// operations drive it per row; it redraws only when the shown percentage
// changes, and it cancels the work once a signal asked it to stop
// (Interrupt.h).
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

#include "core/Progress.h"

namespace vivark::cli {

class ProgressBar final : public ProgressCallback {
  public:
    // `label` precedes the bar (usually the file name). `stream` defaults to
    // stderr; the bar is shown only when it is a terminal, or when `force` is set.
    explicit ProgressBar(std::string label, std::FILE* stream = stderr, bool force = false);
    ~ProgressBar() override { done(); }

    bool progress(uint32_t done, uint32_t total) override;
    // Clears the bar's line.
    void done();

    bool visible() const { return visible_; }

  private:
    std::string label_;
    std::FILE* stream_;
    bool visible_;
    int shownPercent_ = -1;
    std::chrono::steady_clock::time_point started_;
};

}  // namespace vivark::cli
