// The image operations of "vivark convert": one table of entries, each an
// option, its help, the check of its argument and the call of the operation
// it stands for. The operations run in the order they were given on the
// command line, each as often as it was given; adding an operation is adding
// one entry.
//
// A step that cannot run (a crop outside the picture, a filter or palette
// file that cannot be read) throws OperationFailure with the option and the
// message in the system's words.
//
// A few options are settings of the run rather than steps: --point makes
// --resize and --rotate point-sampled; --stretch, --proportional and
// --letterbox choose how --resize treats the box (without them the saved
// "Resize\Resample", "Rotate\Resample", "Resize\Proportional" and
// "Resize\LetterBox" settings decide, as in the editor); --fill is the
// colour of letterbox margins and of the corners of a resampled rotation
// (black unless given); --palette and --dither choose how --colors reduces.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/Image.h"
#include "core/Palette.h"
#include "core/Progress.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace vivark::cli {

// The run-wide settings the steps read.
struct OperationSettings {
    bool point = false;
    bool stretch = false;
    bool proportional = false;  // said outright; the default unless --stretch
    bool letterbox = false;
    std::string fill = "black";
    uint32_t paletteType = 0;
    uint32_t ditherType = 0;
    ProgressCallback* progress = nullptr;
    // Set by --colors: the count of the last reduction, 0 when none ran.
    uint32_t reducedTo = 0;
};

// One operation of the table.
struct OperationEntry {
    const char* option;     // "--resize"
    const char* valueName;  // "WxH"; null for a flag
    const char* help;
    // An error text when the argument is malformed, empty when it is good.
    std::string (*check)(const std::string& argument);
    // Runs the operation; false when cancelled.
    bool (*apply)(Image& image, const std::string& argument, OperationSettings& settings);
};

// Every operation, in the order of the help text.
const std::vector<OperationEntry>& operationTable();

// One step of the chain: an entry and its argument ("" for a flag).
struct OperationStep {
    const OperationEntry* entry = nullptr;
    std::string argument;
};

// The operation options of one command.
class OperationOptions {
  public:
    // Adds every operation option and the run-wide settings to `command`.
    void add(CLI::App& command, OperationSettings& settings);
    // The steps of the parsed command line, in the order given.
    std::vector<OperationStep> steps() const;
    // The N of the last --colors step, 0 when there is none.
    uint32_t colours() const;

  private:
    CLI::App* command_ = nullptr;
    std::vector<std::pair<const CLI::Option*, const OperationEntry*>> options_;
};

// Why a step could not run: "--crop: The crop rectangle lies outside the image".
struct OperationFailure {
    std::string text;
};

// Runs the steps over `image`; false when cancelled (the image then holds
// the result of the steps before). Throws OperationFailure, and
// IMAGEERROR::TooLarge and std::bad_alloc as the operations do.
bool applyOperations(Image& image, const std::vector<OperationStep>& steps,
                     OperationSettings& settings);

// "#RRGGBB", "RRGGBB", "0xRRGGBB" or a colour word (black, white, grey,
// red, green, blue); nothing when malformed.
std::optional<Colour> parseColour(const std::string& text);

}  // namespace vivark::cli
