// Loss and damage warnings of the command line.
#include "app/cli/Warnings.h"

#include <CLI/CLI.hpp>
#include <ostream>

#include "app/cli/Report.h"

namespace vivark::cli {

void addVerbosityFlags(CLI::App& command, Verbosity& level) {
    command
        .add_flag_callback(
            "-q,--quiet", [&level] { level = Verbosity::Quiet; }, "Print failures only")
        ->group("Output");
    command
        .add_flag_callback(
            "-v,--verbose", [&level] { level = Verbosity::Verbose; },
            "Also say what was read and written")
        ->group("Output");
}

void Diagnostics::warn(std::string_view file, std::string_view text) const {
    if (level_ != Verbosity::Quiet) reportError(err_, file, text);
}

void Diagnostics::note(std::string_view file, std::string_view text) const {
    if (level_ == Verbosity::Verbose) reportError(err_, file, text);
}

std::string damageOf(const Image& image) {
    for (const InfoItem& item : image.info)
        if (item.family != nullptr && item.family->marksDamage(item)) return item.valueText();
    return {};
}

uint32_t distinctColours(const Image& image) {
    Image counted = image;  // shares the pixels; counting only sets fields
    return counted.countColours(nullptr, Image::CountMode::WeedOutDuplicates);
}

std::vector<std::string> lossesOf(const Image& source, const Image& converted,
                                  const WriterEntry& writer, bool pageChosen) {
    std::vector<std::string> losses;
    const std::string format(writer.menuName);
    const bool keepsAlpha = writer.keeps & kKeepsAlpha;
    // Alpha of clear and opaque pixels only lives on as a transparent index
    // where the save path made a palette image of it (DepthConvert.h).
    const bool alphaAsIndex = writer.keeps & kKeepsTransparentIndex && converted.hasPalette() &&
                              converted.transparentIndex &&
                              converted.secondPlaneKind == SecondPlane::None;
    if (source.secondPlaneKind == SecondPlane::Alpha && !keepsAlpha && !alphaAsIndex)
        losses.push_back("alpha dropped: " + format + " cannot store it");
    if (source.secondPlaneKind == SecondPlane::AndMask)
        losses.push_back("icon mask dropped: not carried over to " + format);
    // A transparent entry lives on as alpha where the image is widened to
    // 24 bits for a writer that keeps alpha.
    const bool transparencyKept =
        (writer.keeps & kKeepsTransparentIndex && converted.hasPalette()) ||
        (keepsAlpha && converted.secondPlaneKind == SecondPlane::Alpha);
    if (source.transparentIndex && !transparencyKept)
        losses.push_back("transparency dropped: " + format + " cannot store it");
    if (writer.canvasWidth != 0 &&
        (converted.width() > writer.canvasWidth || converted.height() > writer.canvasHeight))
        losses.push_back("cropped to " + std::to_string(writer.canvasWidth) + "x" +
                         std::to_string(writer.canvasHeight) + ": " + format +
                         " holds no larger picture");
    if (source.pageCount > 1 && !pageChosen && !(writer.keeps & kKeepsPages)) {
        const bool one = source.pageCount == 2;
        const std::string what = source.animation ? (one ? "frame 2" : "frames 2 to ")
                                                  : (one ? "page 2" : "pages 2 to ");
        losses.push_back(what + (one ? "" : std::to_string(source.pageCount)) +
                         " dropped: " + format + " holds one image (--page picks another)");
    }
    const bool sameColours =
        converted.bitsPerPixel() == source.bitsPerPixel() &&
        (!source.hasPalette() ||
         (converted.palette == source.palette && converted.paletteCount == source.paletteCount));
    if (!sameColours && converted.hasPalette()) {
        const uint32_t before = distinctColours(source);
        const uint32_t after = distinctColours(converted);
        if (after < before)
            losses.push_back("colours reduced from " + std::to_string(before) + " to " +
                             std::to_string(after) + ": " + format + " holds at most " +
                             std::to_string(1u << converted.bitsPerPixel()) + " here");
    }
    return losses;
}

}  // namespace vivark::cli
