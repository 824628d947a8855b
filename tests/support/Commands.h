// Running programs from a test: a peer tool through the shell, with its
// standard output captured, and the vivark command line in this process.
#pragma once

#include <cstdio>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "app/cli/Cli.h"

namespace vivark::test {

// The standard output of a shell command; empty when it cannot be started.
inline std::string commandOutput(const std::string& command) {
    std::string output;
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    if (!pipe) return output;
    char buffer[65536];
    size_t n;
    while ((n = fread(buffer, 1, sizeof buffer, pipe.get())) > 0) output.append(buffer, n);
    return output;
}

// `text` in single quotes for the shell. Appended piece by piece: a string
// literal + std::string draws a false -Wrestrict from GCC 12 at -O3.
inline std::string shellQuoted(std::string_view text) {
    std::string quoted(1, '\'');
    quoted.append(text).push_back('\'');
    return quoted;
}

// Runs "vivark ARGS..." in this process; its exit status, with what it wrote
// to standard output and standard error where asked.
inline int runVivark(std::vector<std::string> args, std::string* out = nullptr,
                     std::string* err = nullptr) {
    args.insert(args.begin(), "vivark");
    std::vector<char*> argv;
    for (std::string& a : args) argv.push_back(a.data());
    std::ostringstream o, e;
    const int status = cli::run(int(argv.size()), argv.data(), o, e);
    if (out) *out = o.str();
    if (err) *err = e.str();
    return status;
}

}  // namespace vivark::test
