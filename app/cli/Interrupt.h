// Ctrl-C (SIGINT) and SIGTERM during the tool's work. While an
// InterruptGuard lives, the first such signal only asks the work to stop:
// interrupted() turns true, the progress callbacks answer "cancel", readers
// and writers end with their Cancelled values and the atomic writer removes
// its temporary file, so nothing partial is left. A second signal ends the
// process at once, as a user pressing Ctrl-C twice expects.
#pragma once

namespace vivark::cli {

class InterruptGuard {
  public:
    InterruptGuard();
    ~InterruptGuard();
    InterruptGuard(const InterruptGuard&) = delete;
    InterruptGuard& operator=(const InterruptGuard&) = delete;
};

// True once a signal asked the work to stop.
bool interrupted();

}  // namespace vivark::cli
