// "vivark jpeg-transform (--rotate 90|180|270 | --flip h|v | --transpose |
// --transverse | --auto) FILE...": lossless JPEG transformation in place.
// Exactly one operation is chosen; each file is transformed on its own, a
// failure is reported for that file and makes the exit status 1. --auto
// leaves files without an EXIF orientation (or with orientation 1) alone.
// A flip or turn that must drop a partial edge block says so on the error
// stream with the new size; --perfect refuses such a file instead and leaves
// it untouched.
#include <CLI/CLI.hpp>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "app/cli/Cli.h"
#include "app/cli/Command.h"
#include "app/cli/OsError.h"
#include "app/cli/Report.h"
#include "core/SystemError.h"
#include "formats/jpeg/JpegTransform.h"

namespace vivark::cli {
namespace {

struct TransformOptions {
    int rotate = 0;
    std::string flip;
    bool transpose = false;
    bool transverse = false;
    bool automatic = false;
    bool perfect = false;
    std::vector<std::string> files;
};

int runTransform(const TransformOptions& o, CommandContext& context) {
    std::vector<JpegTransformCode> chosen;
    if (o.rotate == 90) chosen.push_back(JpegTransformCode::Rotate90);
    if (o.rotate == 180) chosen.push_back(JpegTransformCode::Rotate180);
    if (o.rotate == 270) chosen.push_back(JpegTransformCode::Rotate270);
    if (o.flip == "h") chosen.push_back(JpegTransformCode::FlipHorizontal);
    if (o.flip == "v") chosen.push_back(JpegTransformCode::FlipVertical);
    if (o.transpose) chosen.push_back(JpegTransformCode::Transpose);
    if (o.transverse) chosen.push_back(JpegTransformCode::Transverse);
    if (o.automatic) chosen.push_back(JpegTransformCode::Automatic);
    if (chosen.size() != 1) {
        reportError(context.err, "jpeg-transform", "choose exactly one operation");
        return kUsage;
    }
    int status = 0;
    for (const std::string& file : o.files) {
        clearSystemError();
        const JpegTransformResult result = transformLossless(
            file, chosen.front(), nullptr, o.perfect ? JpegEdges::Perfect : JpegEdges::Trim);
        if (!result.success) {
            reportError(
                context.err, file,
                withSystemReason(result.text.empty() ? "transformation failed" : result.text));
            status = kFailure;
        } else if (!result.written) {
            context.out << file << ": nothing to do\n";
        } else if (result.trimmed) {
            reportError(context.err, file,
                        "edges trimmed to whole blocks: " + std::to_string(result.width) + "x" +
                            std::to_string(result.height) + " became " +
                            std::to_string(result.newWidth) + "x" +
                            std::to_string(result.newHeight) + " (--perfect refuses this)");
        }
    }
    return status;
}

}  // namespace

void registerJpegTransform(CLI::App& app, CommandContext& context,
                           std::vector<std::pair<CLI::App*, CommandAction>>& actions) {
    auto options = std::make_shared<TransformOptions>();
    CLI::App* command =
        app.add_subcommand("jpeg-transform", "Rotate or flip JPEG files without loss");
    command->add_option("--rotate", options->rotate, "Turn clockwise by 90, 180 or 270 degrees")
        ->check(CLI::IsMember({90, 180, 270}));
    command->add_option("--flip", options->flip, "Mirror: h (left-right) or v (top-bottom)")
        ->check(CLI::IsMember({"h", "v"}));
    command->add_flag("--transpose", options->transpose, "Mirror across the main diagonal");
    command->add_flag("--transverse", options->transverse, "Mirror across the other diagonal");
    command->add_flag("--auto", options->automatic, "Make upright from the EXIF orientation");
    command->add_flag("--perfect", options->perfect,
                      "Refuse a file whose edge blocks the transformation would trim");
    command->add_option("FILE", options->files, "JPEG files")->required();
    actions.emplace_back(command, [options, &context] { return runTransform(*options, context); });
}

}  // namespace vivark::cli
