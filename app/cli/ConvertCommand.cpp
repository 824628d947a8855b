// "vivark convert INPUT OUTPUT [--to FORMAT] [--page N] [--set KEY=VALUE]...":
// loads INPUT with every fallback of the loader and saves it in the format
// named by --to (menu name or short name) or else by OUTPUT's extension.
// --set overrides a save option for this run only; nothing is stored. A
// failure is reported as "vivark: FILE: message" and leaves no output file.
// Unknown formats and bad --set assignments are usage errors (status 2).
#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "app/cli/Cli.h"
#include "app/cli/Command.h"
#include "app/cli/Report.h"
#include "core/ErrorMapping.h"
#include "formats/Loader.h"
#include "formats/SaveDispatch.h"

namespace vivark::cli {
namespace {

struct ConvertOptions {
    std::string input;
    std::string output;
    std::string format;
    uint32_t page = 1;
    std::vector<std::string> assignments;
};

int runConvert(const ConvertOptions& options, CommandContext& context) {
    const WriterEntry* writer =
        options.format.empty()
            ? findWriterByExtension(std::filesystem::path(options.output).extension().string())
            : findWriterByName(options.format);
    if (!writer) {
        reportError(context.err, "",
                    options.format.empty()
                        ? "cannot tell the format from '" + options.output + "'; use --to"
                        : "unknown format '" + options.format + "'");
        return kUsage;
    }
    StoredSaveOptions stored;
    SaveOptionOverlay saveOptions(stored);
    for (const std::string& assignment : options.assignments) {
        if (!saveOptions.setAssignment(assignment)) {
            reportError(context.err, "", "bad save option '" + assignment + "'");
            return kUsage;
        }
    }

    Image image;
    image.pageNumber = options.page;
    loadFile(image, options.input, ReadOptions{});
    if (image.loadMessage != msg::None) {
        reportMessage(context.err, options.input, image.loadMessage);
        return kFailure;
    }
    try {
        saveImage(image, options.output, *writer, saveOptions);
    } catch (...) {
        MessageId id = saveMessageForCurrentException();
        if (id == msg::None) id = msg::Unknown;
        reportError(context.err, options.input, formatMessage(id, options.output));
        return kFailure;
    }
    return kSuccess;
}

}  // namespace

void registerConvert(CLI::App& app, CommandContext& context,
                     std::vector<std::pair<CLI::App*, CommandAction>>& actions) {
    auto options = std::make_shared<ConvertOptions>();
    CLI::App* command = app.add_subcommand("convert", "Convert an image to another format");
    command->add_option("INPUT", options->input, "Image to read")->required();
    command->add_option("OUTPUT", options->output, "File to write")->required();
    command->add_option("--to", options->format,
                        "Format: a menu name (\"Windows Bitmap\") or short name (bmp, os2bmp, "
                        "pbm, pgm, ppm, pnm); default from OUTPUT's extension");
    command->add_option("--page", options->page, "Page of a multi-image file (from 1)")
        ->check(CLI::PositiveNumber);
    command->add_option("--set", options->assignments,
                        "Save option for this run, e.g. \"Windows Bitmap\\Encode=1\"");
    actions.emplace_back(command, [options, &context] { return runConvert(*options, context); });
}

}  // namespace vivark::cli
