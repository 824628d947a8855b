// Argument parsing and dispatch of the vivark tool, built on CLI11.
#include "app/cli/Cli.h"

#include <CLI/CLI.hpp>
#include <ostream>

#include "app/cli/Command.h"
#include "app/cli/Generate.h"
#include "app/settings/TextFileStore.h"
#include "textimg/LoaderFallback.h"

namespace vivark::cli {

int run(int argc, char** argv, std::ostream& out, std::ostream& err) {
    // The tool's settings persist in the user's store.
    settings::setDefaultStoreFactory(settings::makeUserSettingsStore);
    // Files that carry an image as text load like the image.
    textimg::installLoaderFallback();
    CLI::App app{"Vivark: view, convert and transform raster images.", "vivark"};
    app.set_version_flag("--version", std::string("vivark ") + VIVARK_VERSION);
    app.require_subcommand(0, 1);
    app.footer("Run 'vivark COMMAND --help' for the options of a command.");

    // Hidden: the build makes the manual pages and completions with it.
    std::vector<std::string> generateRequest;
    app.add_option("--generate", generateRequest, "man DIR | bash|zsh|fish [FILE]")
        ->expected(1, 2)
        ->group("");

    CommandContext context{out, err};
    std::vector<std::pair<CLI::App*, CommandAction>> actions;
    for (CommandRegistration registration : commandRegistry()) registration(app, context, actions);

    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        out << app.help();
        return kSuccess;
    } catch (const CLI::CallForAllHelp&) {
        out << app.help("", CLI::AppFormatMode::All);
        return kSuccess;
    } catch (const CLI::CallForVersion& version) {
        out << app.version() << '\n';
        return kSuccess;
    } catch (const CLI::ParseError& e) {
        err << "vivark: " << e.what() << '\n' << "Run 'vivark --help' for usage.\n";
        return kUsage;
    }

    if (!generateRequest.empty()) return generate(app, generateRequest, out, err);
    for (auto& [command, action] : actions)
        if (command->parsed()) return action();

    err << app.help();
    return kUsage;
}

}  // namespace vivark::cli
