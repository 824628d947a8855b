// The table of "vivark convert" operations: argument checks, the calls into
// ops/, and the walk over the parsed command line in the order it was given.
#include "app/cli/ConvertOperations.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <map>
#include <variant>

#include "app/cli/Reduction.h"
#include "app/settings/SettingKeys.h"
#include "core/ErrorMapping.h"
#include "core/Errors.h"
#include "ops/ColourAdjust.h"
#include "ops/ColourDepth.h"
#include "ops/ColourReduce.h"
#include "ops/Convolution.h"
#include "ops/Crop.h"
#include "ops/FilterFile.h"
#include "ops/Mirror.h"
#include "ops/PaletteFile.h"
#include "ops/Resize.h"
#include "ops/Rotate.h"
#include "ops/SetResolution.h"

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

// Comma-separated numbers, exactly `count` of them unless `optional` more
// may be missing from the end.
template <class T>
std::optional<std::vector<T>> numbers(std::string_view text, size_t count, size_t optional = 0) {
    std::vector<T> values;
    for (;;) {
        const size_t comma = text.find(',');
        const auto value = number<T>(text.substr(0, comma));
        if (!value) return std::nullopt;
        values.push_back(*value);
        if (comma == std::string_view::npos) break;
        text.remove_prefix(comma + 1);
    }
    if (values.size() > count || values.size() + optional < count) return std::nullopt;
    return values;
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

// "X[,Y][:dpi|:dpcm]".
std::optional<ResolutionSetting> parseResolution(const std::string& text) {
    ResolutionSetting setting;
    std::string_view values = text;
    const size_t colon = values.find(':');
    if (colon != std::string_view::npos) {
        const std::string_view unit = values.substr(colon + 1);
        if (unit == "dpcm")
            setting.unit = ResolutionSetting::Unit::Metric;
        else if (unit != "dpi")
            return std::nullopt;
        values = values.substr(0, colon);
    }
    const auto both = numbers<double>(values, 2, 1);
    if (!both) return std::nullopt;
    for (const double value : *both)
        if (!std::isfinite(value) || !(value > 0) || value > 1e7) return std::nullopt;
    setting.horizontal = (*both)[0];
    setting.vertical = both->size() > 1 ? (*both)[1] : 0.0;
    return setting;
}

std::optional<CropRectangle> parseCrop(const std::string& text) {
    const auto values = numbers<int64_t>(text, 4);
    if (!values || (*values)[2] <= 0 || (*values)[3] <= 0) return std::nullopt;
    return CropRectangle{(*values)[0], (*values)[1], (*values)[2], (*values)[3]};
}

std::optional<RgbBalance> parseRgb(const std::string& text) {
    const auto values = numbers<int32_t>(text, 3);
    if (!values) return std::nullopt;
    for (const int32_t value : *values)
        if (value < -100 || value > 100) return std::nullopt;
    return RgbBalance{(*values)[0], (*values)[1], (*values)[2]};
}

std::optional<double> parseGamma(const std::string& text) {
    const auto gamma = number<double>(text);
    if (!gamma || !(*gamma >= 0.05) || *gamma > 20) return std::nullopt;
    return gamma;
}

std::string wrong(const char* expected, const std::string& text) {
    return std::string("expected ") + expected + " (got '" + text + "')";
}

std::string checkSize(const std::string& text) {
    return parseSize(text) ? "" : wrong("WIDTHxHEIGHT in pixels or N%", text);
}
std::string checkAngle(const std::string& text) {
    return parseAngle(text) ? "" : wrong("degrees within +-32767", text);
}
std::string checkTurn(const std::string& text) {
    return text == "cw" || text == "ccw" || text == "180" ? "" : wrong("cw, ccw or 180", text);
}
template <int32_t Low, int32_t High>
std::string checkInteger(const std::string& text) {
    const auto value = number<int32_t>(text);
    if (value && *value >= Low && *value <= High) return "";
    return wrong(
        ("a whole number from " + std::to_string(Low) + " to " + std::to_string(High)).c_str(),
        text);
}
std::string checkRgb(const std::string& text) {
    return parseRgb(text) ? "" : wrong("R,G,B, each from -100 to 100", text);
}
std::string checkGamma(const std::string& text) {
    return parseGamma(text) ? "" : wrong("a gamma from 0.05 to 20", text);
}
std::string checkCrop(const std::string& text) {
    return parseCrop(text) ? "" : wrong("LEFT,BOTTOM,WIDTH,HEIGHT with a positive size", text);
}
std::string checkResolution(const std::string& text) {
    return parseResolution(text) ? "" : wrong("X[,Y][:dpi|:dpcm], positive", text);
}
std::string checkFile(const std::string& text) {
    return text.empty() ? "expected a file name" : "";
}
std::string noArgument(const std::string&) {
    return "";
}

int32_t integer(const std::string& text) {
    return *number<int32_t>(text);
}

// Takes a finished result; false when the step was cancelled.
bool take(Image& image, OpResult result) {
    if (!result) return false;
    image = std::move(*result);
    return true;
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
        // Options given win; otherwise the editor's saved choices hold.
        const bool stretch =
            settings.stretch || (!settings.proportional && !settings::resizeProportional.get());
        if (!stretch && (settings.letterbox || settings::resizeLetterBox.get())) {
            request.flags = resizeFlag::Centred;
        } else if (!stretch) {
            // Proportional without letterbox: the result is the fitted
            // content alone, with no margins.
            request.flags = resizeFlag::Proportional;
            const ResizePlacement place = placeContent(image.width(), image.height(), request);
            request = {place.width, place.height, 0, request.fill};
        }
    }
    const bool point = settings.point || !settings::resizeResample.get();
    return take(image, point ? resizePoint(image, request, settings.progress)
                             : resizeResampled(image, request, settings.progress));
}

bool applyRotate(Image& image, const std::string& argument, OperationSettings& settings) {
    const RotateRequest request{*parseAngle(argument), fillOf(settings), false};
    const bool point = settings.point || !settings::rotateResample.get();
    return take(image, point ? rotatePoint(image, request, settings.progress)
                             : rotateResampled(image, request, settings.progress));
}

bool applyTurn(Image& image, const std::string& argument, OperationSettings& settings) {
    if (argument == "cw") return take(image, turnClockwise(image, settings.progress));
    if (argument == "ccw") return take(image, turnAnticlockwise(image, settings.progress));
    return take(image, mirror(image, {true, true}, settings.progress));
}

bool applyColours(Image& image, const std::string& argument, OperationSettings& settings) {
    // At most N colours whatever the palette type (Reduction.h).
    const auto count = reduceAtMost(image, *number<uint32_t>(argument), settings.paletteType,
                                    settings.ditherType, settings.progress);
    if (!count) return false;
    settings.reducedTo = *count;
    return true;
}

bool applyFilterFile(Image& image, const std::string& argument, OperationSettings& settings) {
    const auto filter = loadFilterFile(argument);
    if (const auto* failure = std::get_if<FilterFailure>(&filter))
        throw OperationFailure{argument + ": " + filterFailureText(*failure)};
    return take(image, convolve(image, std::get<ConvolutionFilter>(filter), settings.progress));
}

using Settings = OperationSettings;

}  // namespace

std::optional<Colour> parseColour(const std::string& text) {
    static const std::map<std::string, Colour> kWords = {
        {"black", rgb(0, 0, 0)},      {"white", rgb(255, 255, 255)}, {"grey", rgb(128, 128, 128)},
        {"gray", rgb(128, 128, 128)}, {"red", rgb(255, 0, 0)},       {"green", rgb(0, 128, 0)},
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
        {"--mirror", nullptr, "Mirror left to right", noArgument,
         [](Image& i, const std::string&, Settings& s) {
             return take(i, mirror(i, {false, true}, s.progress));
         }},
        {"--flip", nullptr, "Flip top to bottom", noArgument,
         [](Image& i, const std::string&, Settings& s) {
             return take(i, mirror(i, {true, false}, s.progress));
         }},
        {"--turn", "cw|ccw|180", "Turn by a quarter clockwise or anticlockwise, or by a half",
         checkTurn, applyTurn},
        {"--crop", "L,B,W,H",
         "Keep the rectangle WxH whose bottom-left corner is L pixels from the left and B "
         "from the bottom",
         checkCrop,
         [](Image& i, const std::string& a, Settings& s) {
             return take(i, crop(i, *parseCrop(a), s.progress));
         }},
        {"--brightness", "N", "Brightness, -100..100 percent", checkInteger<-100, 100>,
         [](Image& i, const std::string& a, Settings& s) {
             return take(i, adjustBrightnessContrastColour(i, {integer(a), 0, 0}, s.progress));
         }},
        {"--contrast", "N", "Contrast, -100..100 percent", checkInteger<-100, 100>,
         [](Image& i, const std::string& a, Settings& s) {
             return take(i, adjustBrightnessContrastColour(i, {0, integer(a), 0}, s.progress));
         }},
        {"--color", "N", "Colour warmth, -100 (cool) ..100 (warm) percent", checkInteger<-100, 100>,
         [](Image& i, const std::string& a, Settings& s) {
             return take(i, adjustBrightnessContrastColour(i, {0, 0, integer(a)}, s.progress));
         }},
        {"--rgb", "R,G,B", "Shift red, green and blue, each -100..100 percent", checkRgb,
         [](Image& i, const std::string& a, Settings& s) {
             return take(i, adjustRgbBalance(i, *parseRgb(a), s.progress));
         }},
        {"--gamma", "G", "Gamma correction, 0.05..20", checkGamma,
         [](Image& i, const std::string& a, Settings& s) {
             return take(i, adjustGamma(i, {*parseGamma(a)}, s.progress));
         }},
        {"--negative", nullptr, "Invert every colour", noArgument,
         [](Image& i, const std::string&, Settings& s) {
             return take(i, negative(i, {}, s.progress));
         }},
        {"--solarize", "T", "Invert the levels below T (0..256)", checkInteger<0, 256>,
         [](Image& i, const std::string& a, Settings& s) {
             return take(i, solarize(i, {integer(a)}, s.progress));
         }},
        {"--bw", "T", "Black and white: white where the luminance is T (0..256) or more",
         checkInteger<0, 256>,
         [](Image& i, const std::string& a, Settings& s) {
             return take(i, toBlackAndWhite(i, {integer(a)}, s.progress));
         }},
        {"--grey", nullptr, "Greyscale: 256 grey levels", noArgument,
         [](Image& i, const std::string&, Settings& s) {
             return take(i, toGreyscale(i, {}, s.progress));
         }},
        {"--deep-color", nullptr, "Deep colour: 24 bits a pixel", noArgument,
         [](Image& i, const std::string&, Settings& s) {
             return take(i, toDeepColour(i, {}, s.progress));
         }},
        {"--colors", "N", "Reduce to at most N colours (2..256); see --palette, --dither",
         checkInteger<2, 256>, applyColours},
        {"--palette-file", "FILE.pal", "Take the colours of a JASC or Vivark palette file",
         checkFile,
         [](Image& i, const std::string& a, Settings& s) {
             return take(i, applyPalette(i, {readPaletteFile(a)}, s.progress));
         }},
        {"--blur", "S", "Blur, strength 1..100", checkInteger<1, 100>,
         [](Image& i, const std::string& a, Settings& s) {
             return take(i, blur(i, {integer(a)}, s.progress));
         }},
        {"--soften", "S", "Soften, strength 1..100", checkInteger<1, 100>,
         [](Image& i, const std::string& a, Settings& s) {
             return take(i, soften(i, {integer(a)}, s.progress));
         }},
        {"--sharpen", "S", "Sharpen, strength 1..100", checkInteger<1, 100>,
         [](Image& i, const std::string& a, Settings& s) {
             return take(i, sharpen(i, {integer(a)}, s.progress));
         }},
        {"--filter", "FILE", "Apply the convolution filter of a filter file", checkFile,
         applyFilterFile},
        {"--resolution", "X[,Y][:dpi|:dpcm]",
         "State the resolution in dots per inch (the default) or per centimetre", checkResolution,
         [](Image& i, const std::string& a, Settings& s) {
             return take(i, setResolution(i, *parseResolution(a), s.progress));
         }},
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
    command
        .add_flag("--point", settings.point,
                  "Point-sample --resize and --rotate (keeps depth); by default as the "
                  "Resize\\Resample and Rotate\\Resample settings say")
        ->group(group);
    auto* stretch =
        command.add_flag("--stretch", settings.stretch, "--resize to exactly WxH")->group(group);
    command
        .add_flag("--proportional", settings.proportional,
                  "--resize keeping the aspect ratio, inside WxH (by default as the "
                  "Resize\\Proportional setting says)")
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
            "", ""))
        ->type_name("COLOR")
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

uint32_t OperationOptions::colours() const {
    uint32_t colours = 0;
    for (const OperationStep& step : steps())
        if (std::string_view(step.entry->option) == "--colors")
            colours = uint32_t(std::strtoul(step.argument.c_str(), nullptr, 10));
    return colours;
}

bool applyOperations(Image& image, const std::vector<OperationStep>& steps,
                     OperationSettings& settings) {
    for (const OperationStep& step : steps) {
        const std::string option = step.entry->option;
        const auto fail = [&](MessageId id) {
            return OperationFailure{option + ": " + formatMessage(id, step.argument)};
        };
        try {
            if (!step.entry->apply(image, step.argument, settings)) return false;
        } catch (const OperationFailure& failure) {
            throw OperationFailure{option + ": " + failure.text};
        } catch (OPERROR error) {
            throw fail(messageOf(error));
        } catch (FILTERERROR error) {
            throw fail(messageOf(error));
        } catch (IMAGEERROR) {
            throw;
        } catch (...) {
            // A palette or filter file that cannot be read.
            const std::optional<MessageId> id = coreLoadMessage();
            if (!id || *id == msg::None) throw;
            throw OperationFailure{option + " " + step.argument + ": " +
                                   formatMessage(*id, step.argument)};
        }
    }
    return true;
}

}  // namespace vivark::cli
