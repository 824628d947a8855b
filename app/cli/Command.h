// The shape of a vivark subcommand.
//
// Each subcommand lives in its own file and provides a registration function
// that adds a CLI11 subcommand with its options to the application and sets
// the action to run when it is chosen. The action returns an ExitStatus.
// Commands.cpp lists the registration functions in the order --help shows.
#pragma once

#include <functional>
#include <iosfwd>
#include <vector>

namespace CLI {
class App;
}

namespace vivark::cli {

struct CommandContext {
    std::ostream& out;
    std::ostream& err;
};

using CommandAction = std::function<int()>;

// Adds one subcommand to `app`; the returned action runs when it was chosen.
using CommandRegistration = void (*)(CLI::App& app, CommandContext& context,
                                     std::vector<std::pair<CLI::App*, CommandAction>>& actions);

// Every subcommand, in the order of the help text.
const std::vector<CommandRegistration>& commandRegistry();

}  // namespace vivark::cli
