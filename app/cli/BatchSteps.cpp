// From script steps to the convert command's operation entries.
#include "app/cli/BatchSteps.h"

#include <string>
#include <string_view>
#include <vector>

#include "app/cli/ConvertOperations.h"
#include "ops/ColourAdjust.h"
#include "ops/ColourReduce.h"
#include "ops/Resize.h"

namespace vivark::cli {
namespace {

using batch::OperationId;

const OperationEntry& entry(std::string_view option) {
    for (const OperationEntry& candidate : operationTable())
        if (option == candidate.option) return candidate;
    throw OperationFailure{"no operation " + std::string(option)};
}

uint32_t wordIndex(const std::string& word, std::initializer_list<std::string_view> words,
                   std::initializer_list<uint32_t> values) {
    auto value = values.begin();
    for (const std::string_view candidate : words) {
        if (candidate == word) return *value;
        ++value;
    }
    return *values.begin();
}

}  // namespace

bool applyScriptStep(Image& image, const batch::Step& step, ProgressCallback* progress,
                     uint32_t& reducedTo) {
    batch::Parameters p = batch::initialSettings(step.id);
    batch::readStep(step, p);
    const batch::OperationRow* row = batch::findOperation(step.id);
    const std::string section = row ? std::string(row->section) : "?";
    const auto fail = [&](const std::string& why) {
        return OperationFailure{section + ": " + why};
    };

    OperationSettings settings;
    settings.progress = progress;
    std::vector<OperationStep> steps;
    const auto add = [&](std::string_view option, std::string argument = {}) {
        steps.push_back({&entry(option), std::move(argument)});
    };
    switch (step.id) {
        case OperationId::FileFormat:
        case OperationId::OutputDir:
            return true;
        case OperationId::Mirror:
            add(p["direction"] == "vertical" ? "--flip" : "--mirror");
            break;
        case OperationId::Rotate:
            settings.point = p["resample"] == "no";
            add("--rotate", p["angle"]);
            break;
        case OperationId::Resize: {
            // A side of 0 follows the other one: a proportional fit into a
            // box unbounded that way.
            std::string width = p["width"], height = p["height"];
            if (width == "0" && height == "0") throw fail("give a width, a height or both");
            const bool follow = width == "0" || height == "0";
            if (width == "0") width = "2147483647";
            if (height == "0") height = "2147483647";
            settings.point = p["resample"] == "no";
            const bool letterbox = !follow && p["letterbox"] == "yes";
            if ((follow || p["proportional"] == "yes") && !letterbox) {
                // The fitted content alone, whatever the saved
                // "Resize\LetterBox" says: the step said no margins.
                ResizeRequest box;
                box.width = uint32_t(std::stoul(width));
                box.height = uint32_t(std::stoul(height));
                box.flags = resizeFlag::Proportional;
                const ResizePlacement place = placeContent(image.width(), image.height(), box);
                width = std::to_string(place.width);
                height = std::to_string(place.height);
                settings.stretch = true;
            } else {
                settings.proportional = letterbox;
                settings.stretch = !letterbox;
                settings.letterbox = letterbox;
            }
            add("--resize", width + "x" + height);
            break;
        }
        case OperationId::Crop:
            if (p["width"] == "0" || p["height"] == "0")
                throw fail("give the width and the height of the rectangle");
            add("--crop", p["left"] + "," + p["bottom"] + "," + p["width"] + "," + p["height"]);
            break;
        case OperationId::BCC: {
            const BrightnessContrastColour record{std::stoi(p["brightness"]),
                                                  std::stoi(p["contrast"]), std::stoi(p["color"])};
            OpResult result = adjustBrightnessContrastColour(image, record, progress);
            if (!result) return false;
            image = std::move(*result);
            return true;
        }
        case OperationId::RGB:
            add("--rgb", p["red"] + "," + p["green"] + "," + p["blue"]);
            break;
        case OperationId::Gamma:
            add("--gamma", p["gamma"]);
            break;
        case OperationId::Negative:
            add("--negative");
            break;
        case OperationId::BlackWhite:
            add("--bw", p["threshold"]);
            break;
        case OperationId::Grayscale:
            add("--grey");
            break;
        case OperationId::DeepColor:
            add("--deep-color");
            break;
        case OperationId::IndexedColor:
            settings.paletteType =
                wordIndex(p["palette"], {"adaptive", "system", "884", "676", "666"},
                          {uint32_t(PaletteType::Adaptive), uint32_t(PaletteType::FixedSystem),
                           uint32_t(PaletteType::Cube884), uint32_t(PaletteType::Cube676),
                           uint32_t(PaletteType::Cube666)});
            settings.ditherType =
                wordIndex(p["dither"], {"none", "ordered", "diffusion"},
                          {uint32_t(DitherType::None), uint32_t(DitherType::Ordered),
                           uint32_t(DitherType::Diffusion)});
            add("--colors", p["colors"]);
            break;
        case OperationId::Blur:
            add("--blur", p["strength"]);
            break;
        case OperationId::Soften:
            add("--soften", p["strength"]);
            break;
        case OperationId::Sharpen:
            add("--sharpen", p["strength"]);
            break;
        case OperationId::Filter:
            if (p["filename"].empty()) throw fail("give the filter file's name");
            add("--filter", p["filename"]);
            break;
        case OperationId::Resolution:
            add("--resolution",
                p["horizontal"] + "," + p["vertical"] + (p["unit"] == "metric" ? ":dpcm" : ":dpi"));
            break;
    }
    for (const OperationStep& one : steps)
        if (const std::string problem = one.entry->check(one.argument); !problem.empty())
            throw fail(problem);
    try {
        if (!applyOperations(image, steps, settings)) return false;
    } catch (const OperationFailure& failure) {
        // "--resize: why" becomes "Resize: why".
        const std::string_view option = steps.front().entry->option;
        std::string text = failure.text;
        if (text.starts_with(option)) text = section + text.substr(option.size());
        throw OperationFailure{text};
    }
    if (step.id == OperationId::IndexedColor) reducedTo = settings.reducedTo;
    return true;
}

}  // namespace vivark::cli
