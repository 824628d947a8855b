// The thread's last recorded system error code.
#include "core/SystemError.h"

namespace vivark {
namespace {
thread_local int lastError = 0;
}  // namespace

void noteSystemError(int error) noexcept {
    lastError = error;
}

int lastSystemError() noexcept {
    return lastError;
}

void clearSystemError() noexcept {
    lastError = 0;
}

}  // namespace vivark
