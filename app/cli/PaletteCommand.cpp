// "vivark palette export IMAGE OUT.pal": writes the palette of an indexed
// image as a JASC palette file. A true-colour image has no palette to write
// and is refused with that reason, so a script never gets an invented one.
#include <CLI/CLI.hpp>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "app/cli/Cli.h"
#include "app/cli/Command.h"
#include "app/cli/Report.h"
#include "formats/Loader.h"
#include "ops/PaletteFile.h"

namespace vivark::cli {
namespace {

struct PaletteOptions {
    std::string image;
    std::string output;
};

int exportPalette(const PaletteOptions& options, CommandContext& context) {
    Image image;
    ReadOptions read;
    const LoadResult loaded = loadFile(image, options.image, read);
    if (!loaded.completed) {
        reportMessage(context.err, options.image,
                      loaded.message != msg::None ? loaded.message : msg::Unknown);
        return kFailure;
    }
    const std::optional<PaletteColours> palette = paletteOf(image);
    if (!palette) {
        reportError(context.err, options.image,
                    "the image has no palette (" + std::to_string(image.bitsPerPixel()) +
                        " bits per pixel); reduce its colours first");
        return kFailure;
    }
    if (!writePaletteFile(options.output, *palette)) {
        reportMessage(context.err, options.output, msg::CannotSave);
        return kFailure;
    }
    return kSuccess;
}

}  // namespace

void registerPalette(CLI::App& app, CommandContext& context,
                     std::vector<std::pair<CLI::App*, CommandAction>>& actions) {
    auto options = std::make_shared<PaletteOptions>();
    CLI::App* command = app.add_subcommand("palette", "Write palette files");
    command->require_subcommand(1);
    CLI::App* exporting =
        command->add_subcommand("export", "Write an image's palette as a JASC palette file");
    exporting->add_option("IMAGE", options->image, "An image with a palette")->required();
    exporting->add_option("OUT", options->output, "The palette file to write")->required();
    actions.emplace_back(command,
                         [options, &context]() -> int { return exportPalette(*options, context); });
}

}  // namespace vivark::cli
