// The list of vivark subcommands. Adding a subcommand is one file with its
// registration function and one line here.
#include "app/cli/Command.h"

namespace vivark::cli {

const std::vector<CommandRegistration>& commandRegistry() {
    static const std::vector<CommandRegistration> registry = {};
    return registry;
}

}  // namespace vivark::cli
