// The table of "vivark convert" operations: argument checks, the calls into
// ops/, and the walk over the parsed command line in the order it was given.
#include "app/cli/ConvertOperations.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>

#include "ops/ColourReduce.h"
#include "ops/Mirror.h"
#include "ops/Resize.h"
#include "ops/Rotate.h"

namespace vivark::cli {
namespace {

// Whole text as a number of type T, or nothing.
template <class T>
std::optional<T> number(std::string_view text) {
    T value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

// "WxH" in pixels, or "N%" of the image's size.
struct SizeArgument {
    uint32_t width = 0;
    uint32_t height = 0;
    double percent = 0;  // > 0 for the percentage form
};

constexpr uint32_t kMaxExtent = 0x7FFFFFFF;

std::optional<SizeArgument> parseSize(const std::string& text) {
    SizeArgument size;
    if (!text.empty() && text.back() == '%') {
        const auto percent = number<double>(std::string_view(text).substr(0, text.size() - 1));
        if (!percent || !(*percent > 0) || *percent > 1e6) return std::nullopt;
        size.percent = *percent;
        return size;
    }
    const size_t x = text.find_first_of("xX");
    if (x == std::string::npos) return std::nullopt;
    const auto width = number<uint32_t>(std::string_view(text).substr(0, x));
    const auto height = number<uint32_t>(std::string_view(text).substr(x + 1));
    if (!width || !height || *width == 0 || *height == 0 || *width > kMaxExtent ||
        *height > kMaxExtent)
        return std::nullopt;
    size.width = *width;
    size.height = *height;
    return size;
}

// Degrees as the angle's units of 1/65536 degree.
std::optional<int32_t> parseAngle(const std::string& text) {
    const auto degrees = number<double>(text);
    if (!degrees || !std::isfinite(*degrees) || std::fabs(*degrees) > 32767.0) return std::nullopt;
    return int32_t(std::lround(*degrees * kAngleUnitsPerDegree));
}

std::string checkSize(const std::string& text) {
    return parseSize(text) ? "" : "expected WIDTHxHEIGHT in pixels or N% (got '" + text + "')";
}
std::string checkAngle(const std::string& text) {
    return parseAngle(text) ? "" : "expected degrees within +-32767 (got '" + text + "')";
}
std::string checkTurn(const std::string& text) {
    return text == "cw" || text == "ccw" || text == "180" ? ""
                                                          : "expected cw, ccw or 180 (got '" +
                                                                text + "')";
}
std::string checkColourCount(const std::string& text) {
    const auto count = number<uint32_t>(text);
    return count && *count >= 2 && *count <= 256 ? ""
                                                 : "expected 2..256 colours (got '" + text + "')";
}
std::string noArgument(const std::string&) {
    return "";
}

Colour fillOf(const OperationSettings& settings) {
    return parseColour(settings.fill).value_or(0);
}

bool applyResize(Image& image, const std::string& argument, OperationSettings& settings) {
    const SizeArgument size = *parseSize(argument);
    ResizeRequest request;
    request.fill = fillOf(settings);
    if (size.percent > 0) {
        const auto scaled = [&](uint32_t extent) {
            return uint32_t(std::clamp(std::llround(extent * size.percent / 100.0), 1LL,
                                       (long long)kMaxExtent));
        };
        request.width = scaled(image.width());
        request.height = scaled(image.height());
    } else {
        request.width = size.width;
        request.height = size.height;
        if (settings.letterbox) {
            request.flags = resizeFlag::Centred;
        } else if (!settings.stretch) {
            // Proportional without letterbox: the result is the fitted
            // content alone, with no margins.
            request.flags = resizeFlag::Proportional;
            const ResizePlacement place = placeContent(image.width(), image.height(), request);
            request = {place.width, place.height, 0, request.fill};
        }
    }
    return settings.point ? resizePoint(image, request, settings.progress)
                          : resizeResampled(image, request, settings.progress);
}

bool applyRotate(Image& image, const std::string& argument, OperationSettings& settings) {
    const int32_t angle = *parseAngle(argument);
    if (settings.point) return rotatePoint(image, angle, settings.progress);
    return rotateResampled(image, {angle, fillOf(settings), false}, settings.progress);
}

bool applyMirror(Image& image, const std::string&, OperationSettings& settings) {
    return mirror(image, false, true, settings.progress);
}

bool applyFlip(Image& image, const std::string&, OperationSettings& settings) {
    return mirror(image, true, false, settings.progress);
}

bool applyTurn(Image& image, const std::string& argument, OperationSettings& settings) {
    if (argument == "cw") return turnClockwise(image, settings.progress);
    if (argument == "ccw") return turnAnticlockwise(image, settings.progress);
    return mirror(image, true, true, settings.progress);
}

bool applyColours(Image& image, const std::string& argument, OperationSettings& settings) {
    const auto count = reduceColours(image, *number<uint32_t>(argument), settings.paletteType,
                                     settings.ditherType, settings.progress);
    if (!count) return false;
    settings.reducedTo = *count;
    return true;
}

}  // namespace

std::optional<Colour> parseColour(const std::string& text) {
    static const std::map<std::string, Colour> kWords = {
        {"black", rgb(0, 0, 0)},       {"white", rgb(255, 255, 255)}, {"grey", rgb(128, 128, 128)},
        {"gray", rgb(128, 128, 128)},  {"red", rgb(255, 0, 0)},       {"green", rgb(0, 128, 0)},
        {"blue", rgb(0, 0, 255)},
    };
    if (const auto word = kWords.find(text); word != kWords.end()) return word->second;
    std::string_view digits = text;
    if (digits.starts_with('#'))
        digits.remove_prefix(1);
    else if (digits.starts_with("0x") || digits.starts_with("0X"))
        digits.remove_prefix(2);
    if (digits.size() != 6) return std::nullopt;
    Colour colour = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), colour, 16);
    if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    return colour;
}

const std::vector<OperationEntry>& operationTable() {
    static const std::vector<OperationEntry> kTable = {
        {"--resize", "WxH",
         "Resize to fit inside WxH (or to N%), Mitchell-filtered; see --stretch, "
         "--letterbox, --point",
         checkSize, applyResize},
        {"--rotate", "DEG", "Rotate clockwise by DEG degrees (corners in --fill); see --point",
         checkAngle, applyRotate},
        {"--mirror", nullptr, "Mirror left to right", noArgument, applyMirror},
        {"--flip", nullptr, "Flip top to bottom", noArgument, applyFlip},
        {"--turn", "cw|ccw|180", "Turn by a quarter clockwise or anticlockwise, or by a half",
         checkTurn, applyTurn},
        {"--colors", "N", "Reduce to at most N colours (2..256); see --palette, --dither",
         checkColourCount, applyColours},
    };
    return kTable;
}

void OperationOptions::add(CLI::App& command, OperationSettings& settings) {
    command_ = &command;
    for (const OperationEntry& entry : operationTable()) {
        CLI::Option* option;
        if (entry.valueName) {
            option = command.add_option(entry.option, entry.help)
                         ->type_name(entry.valueName)
                         ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
                         ->check(CLI::Validator(entry.check, "", ""));
        } else {
            option = command.add_flag(entry.option, entry.help);
        }
        option->group("Operations (applied in the order given)");
        options_.emplace_back(option, &entry);
    }
    const char* group = "Operation settings";
    command.add_flag("--point", settings.point, "Point-sample --resize and --rotate (keeps depth)")
        ->group(group);
    auto* stretch =
        command.add_flag("--stretch", settings.stretch, "--resize to exactly WxH")->group(group);
    command.add_flag("--proportional{false}", settings.stretch,
                     "--resize keeping the aspect ratio, inside WxH (the default)")
        ->group(group)
        ->excludes(stretch);
    command
        .add_flag("--letterbox", settings.letterbox,
                  "--resize to the whole WxH box, the picture centred and the margins in --fill")
        ->group(group);
    command
        .add_option("--fill", settings.fill,
                    "Colour of margins and rotated corners: #RRGGBB or a word (default black)")
        ->check(CLI::Validator(
            [](const std::string& text) {
                return parseColour(text) ? std::string() : "unknown colour '" + text + "'";
            },
            "COLOR", ""))
        ->group(group);
}

std::vector<OperationStep> OperationOptions::steps() const {
    std::vector<OperationStep> steps;
    if (!command_) return steps;
    std::map<const CLI::Option*, size_t> seen;
    for (const CLI::Option* option : command_->parse_order()) {
        const auto found = std::find_if(options_.begin(), options_.end(),
                                        [&](const auto& pair) { return pair.first == option; });
        if (found == options_.end()) continue;
        const OperationEntry* entry = found->second;
        const size_t occurrence = seen[option]++;
        std::string argument;
        if (entry->valueName && occurrence < option->results().size())
            argument = option->results()[occurrence];
        steps.push_back({entry, argument});
    }
    return steps;
}

bool applyOperations(Image& image, const std::vector<OperationStep>& steps,
                     OperationSettings& settings) {
    for (const OperationStep& step : steps)
        if (!step.entry->apply(image, step.argument, settings)) return false;
    return true;
}

}  // namespace vivark::cli
