// The signal handling of InterruptGuard; see Interrupt.h.
#include "app/cli/Interrupt.h"

#include <csignal>

namespace vivark::cli {
namespace {

volatile std::sig_atomic_t gInterrupted = 0;

extern "C" void onSignal(int signal) {
    if (gInterrupted) {
        // The second signal: the default action, now.
        std::signal(signal, SIG_DFL);
        std::raise(signal);
        return;
    }
    gInterrupted = 1;
}

}  // namespace

InterruptGuard::InterruptGuard() {
    gInterrupted = 0;
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
}

InterruptGuard::~InterruptGuard() {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
}

bool interrupted() {
    return gInterrupted != 0;
}

}  // namespace vivark::cli
