// The list of vivark subcommands. Adding a subcommand is one file with its
// registration function and one line here.
#include "app/cli/Command.h"

namespace vivark::cli {

void registerInfo(CLI::App&, CommandContext&, std::vector<std::pair<CLI::App*, CommandAction>>&);
void registerConvert(CLI::App&, CommandContext&, std::vector<std::pair<CLI::App*, CommandAction>>&);
void registerSettings(CLI::App&, CommandContext&,
                      std::vector<std::pair<CLI::App*, CommandAction>>&);
void registerFormats(CLI::App&, CommandContext&, std::vector<std::pair<CLI::App*, CommandAction>>&);
void registerJpegTransform(CLI::App&, CommandContext&,
                           std::vector<std::pair<CLI::App*, CommandAction>>&);
void registerPalette(CLI::App&, CommandContext&, std::vector<std::pair<CLI::App*, CommandAction>>&);
void registerExtract(CLI::App&, CommandContext&, std::vector<std::pair<CLI::App*, CommandAction>>&);
void registerBatch(CLI::App&, CommandContext&, std::vector<std::pair<CLI::App*, CommandAction>>&);
void registerView(CLI::App&, CommandContext&, std::vector<std::pair<CLI::App*, CommandAction>>&);

const std::vector<CommandRegistration>& commandRegistry() {
    static const std::vector<CommandRegistration> registry = {
        registerInfo,          registerConvert, registerBatch,   registerExtract, registerSettings,
        registerJpegTransform, registerPalette, registerFormats, registerView,
    };
    return registry;
}

}  // namespace vivark::cli
