// Manual pages and shell completions made from the tool's own option
// definitions, so they cannot drift from what the tool accepts.
//
// "vivark --generate man DIR" writes vivark.1 and one page per subcommand
// (vivark-convert.1, ...) into DIR; "--generate bash|zsh|fish [FILE]" writes
// that shell's completion script to FILE or the output stream. The option is
// hidden: it serves the build, which installs what it makes.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace vivark::cli {

// Runs a --generate request: {"man", DIR} or {"bash"|"zsh"|"fish", [FILE]}.
// Returns the exit status; failures are reported on `err`.
int generate(const CLI::App& app, const std::vector<std::string>& request, std::ostream& out,
             std::ostream& err);

}  // namespace vivark::cli
