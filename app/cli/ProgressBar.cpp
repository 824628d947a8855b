// Terminal drawing of ProgressBar.
#include "app/cli/ProgressBar.h"

#include <unistd.h>

#include "app/cli/Interrupt.h"

namespace vivark::cli {

ProgressBar::ProgressBar(std::string label, std::FILE* stream, bool force)
    : label_(std::move(label)),
      stream_(stream),
      visible_(force || ::isatty(::fileno(stream)) == 1),
      started_(force ? std::chrono::steady_clock::time_point{} : std::chrono::steady_clock::now()) {
}

bool ProgressBar::progress(uint32_t done, uint32_t total) {
    if (interrupted()) return true;
    if (!visible_ || total == 0) return false;
    // Work that ends within half a second draws no bar at all.
    if (shownPercent_ < 0 &&
        std::chrono::steady_clock::now() - started_ < std::chrono::milliseconds(500))
        return false;
    int percent = static_cast<int>(uint64_t{done > total ? total : done} * 100 / total);
    if (percent == shownPercent_) return false;
    shownPercent_ = percent;
    constexpr int kWidth = 30;
    int filled = percent * kWidth / 100;
    std::string bar(static_cast<size_t>(filled), '#');
    bar.append(static_cast<size_t>(kWidth - filled), '.');
    std::fprintf(stream_, "\r%s [%s] %3d%%", label_.c_str(), bar.c_str(), percent);
    std::fflush(stream_);
    return false;
}

void ProgressBar::done() {
    if (!visible_ || shownPercent_ < 0) return;
    std::fprintf(stream_, "\r\033[K");
    std::fflush(stream_);
    shownPercent_ = -1;
}

}  // namespace vivark::cli
