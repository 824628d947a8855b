// The vivark command line: parses arguments, runs one subcommand and returns
// the process's exit status.
//
// Exit status: 0 success, 1 failure (a file could not be read or written),
// 2 wrong usage. Errors go to the error stream as "vivark: FILE: message" in
// the system's message text (Report.h).
#pragma once

#include <iosfwd>

namespace vivark::cli {

enum ExitStatus : int {
    kSuccess = 0,
    kFailure = 1,
    kUsage = 2,
};

int run(int argc, char** argv, std::ostream& out, std::ostream& err);

}  // namespace vivark::cli
