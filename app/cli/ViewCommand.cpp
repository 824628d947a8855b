// vivark view: starts the desktop viewer, vivark-view, on the given files.
//
// The viewer is looked for next to the running vivark (an installed pair,
// or a build tree where app/viewer sits beside it), then in PATH. The vivark
// process becomes the viewer (exec), so a shell or a file manager that
// started `vivark view` waits on the viewer itself.
#include <unistd.h>
#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "app/cli/Cli.h"
#include "app/cli/Command.h"

namespace vivark::cli {
namespace {

struct ViewOptions {
    std::vector<std::string> files;
    bool fullScreen = false;
    bool slideShow = false;
};

std::filesystem::path ownFolder() {
    std::error_code error;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::filesystem::path() : self.parent_path();
}

int runView(const ViewOptions& options, CommandContext& context) {
    std::vector<std::string> arguments{"vivark-view"};
    for (const std::string& file : options.files) arguments.push_back(file);
    if (options.fullScreen) arguments.emplace_back("--fullscreen");
    if (options.slideShow) arguments.emplace_back("--slideshow");
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);

    const std::filesystem::path folder = ownFolder();
    for (const std::filesystem::path& candidate :
         {folder / "vivark-view", folder / "viewer" / "vivark-view"}) {
        if (!folder.empty() && ::access(candidate.c_str(), X_OK) == 0)
            ::execv(candidate.c_str(), argv.data());
    }
    ::execvp("vivark-view", argv.data());
    context.err << "vivark: cannot start vivark-view: " << std::strerror(errno) << '\n';
    return kFailure;
}

}  // namespace

void registerView(CLI::App& app, CommandContext& context,
                  std::vector<std::pair<CLI::App*, CommandAction>>& actions) {
    auto options = std::make_shared<ViewOptions>();
    CLI::App* command = app.add_subcommand("view", "Show images in the desktop viewer");
    command->add_option("FILES", options->files, "Files or folders to show");
    command->add_flag("--fullscreen", options->fullScreen, "Start in full screen");
    command->add_flag("--slideshow", options->slideShow, "Show the files as a slide show");
    actions.emplace_back(command, [options, &context] { return runView(*options, context); });
}

}  // namespace vivark::cli
