// The operating system's reason behind the last file failure of this thread.
//
// The error enumerations carry no errno: their values are fixed and say which
// step failed. A user still wants to read why ("Permission denied", "No space
// left on device"), so the file classes note the system's error code here just
// before they throw, and the caller that reports the failure asks for it.
// Thread-local, so a conversion on another thread does not mix its reasons in.
#pragma once

namespace vivark {

// Records `error` (an errno value) as the reason of the failure being thrown.
void noteSystemError(int error) noexcept;

// The last recorded reason, or 0 when none was recorded since the last clear.
int lastSystemError() noexcept;

// Forgets the recorded reason; callers clear before the work they report on.
void clearSystemError() noexcept;

}  // namespace vivark
