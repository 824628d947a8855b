// The converter's script model: the nineteen operations a step can name, the
// keys each one takes, and the pair of functions that moves a step's
// parameters into an operation's settings and back.
//
// A step is an operation and a set of key/value texts, kept sorted by key.
// The settings of an operation are the same shape, but hold every key of the
// operation with a value it accepts: reading a step into them takes each
// present key whose value the operation understands and leaves the others as
// they were; writing them back gives a step with every key.
//
// Choices of this converter where the file format leaves them open:
// - section names, keys and value words compare without regard to case, as
//   the header line does; they are written in the forms of the table;
// - "angle" is in whole degrees, clockwise; "brightness", "contrast",
//   "color", "red", "green", "blue" are percent from -100 to 100; "gamma"
//   is an exponent from 0.05 to 20 and may carry decimals ("2.2"), the one
//   value that is not a whole number; "threshold" is a luminance from 0 to
//   256; "strength" runs from 1 to 100; the crop rectangle is in pixels from
//   the bottom-left corner; "horizontal" and "vertical" are dots per inch
//   ("english") or per centimetre ("metric");
// - a "width" or "height" of 0 in "Resize" means "follow the other one,
//   keeping the aspect ratio", so "Resize;width=1024" makes photos 1024 wide;
// - "filetype" is a format's short or menu name as `vivark convert --to`
//   takes it ("png", "Windows Bitmap"); empty means the saved choice.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vivark::batch {

enum class OperationId : uint32_t {
    Mirror = 0,
    Rotate = 1,
    Resize = 2,
    Crop = 3,
    BCC = 4,
    RGB = 5,
    Gamma = 6,
    Negative = 7,
    BlackWhite = 8,
    Grayscale = 9,
    IndexedColor = 10,
    DeepColor = 11,
    Blur = 12,
    Soften = 13,
    Sharpen = 14,
    Filter = 15,
    FileFormat = 16,
    OutputDir = 17,
    Resolution = 18,
};

// Key/value texts sorted by key.
using Parameters = std::map<std::string, std::string>;

struct Step {
    OperationId id = OperationId::Negative;
    Parameters parameters;
    bool operator==(const Step&) const = default;
};

using Script = std::vector<Step>;

enum class KeyKind { Integer, Decimal, Boolean, Word, Text };

// One key of an operation: its kind, the range of a number or the words it
// takes, and the value an operation's settings start with.
struct KeyRule {
    std::string_view key;
    KeyKind kind;
    double low = 0;
    double high = 0;
    std::array<std::string_view, 5> words = {};  // unused places empty
    std::string_view initial = {};
};

struct OperationRow {
    OperationId id;
    std::string_view section;
    std::string_view title;
    std::span<const KeyRule> keys;
};

// The nineteen rows in lookup order: FileFormat, OutputDir, Mirror ... Resolution.
std::span<const OperationRow> operationTable();
// The row of an operation; null for an identifier outside the table.
const OperationRow* findOperation(OperationId id);
// The first row whose section name matches, ignoring case; null when none does.
const OperationRow* findSection(std::string_view section);
// The key of `row` named `key`, ignoring case; null when it has no such key.
const KeyRule* findKey(const OperationRow& row, std::string_view key);

// Every key of the operation at its initial value.
Parameters initialSettings(OperationId id);

// Reads the keys of `step` into `settings` (which hold the operation's keys):
// a key whose value the operation understands replaces the setting; a missing
// key, an empty value, a value out of range or an unknown word leaves it. The
// keys given that were left so, for the caller to warn about.
std::vector<std::string> readStep(const Step& step, Parameters& settings);

// The step that stands for `settings`: every key of the operation.
Step writeStep(OperationId id, const Parameters& settings);

// `step` read over the initial settings and written back: every key, each
// with a value the operation accepts.
Step completeStep(const Step& step);

// One line of a script file without its line end: "Resize;height=600;width=800".
std::string formatStep(const Step& step);

// A step line ("Resize;width=800") as a step, or nothing with `problem` set
// to why: an unknown section name, a key the operation does not have, a key
// given twice. A parameter without "=" is a key with an empty value.
std::optional<Step> parseStep(std::string_view line, std::string& problem);

}  // namespace vivark::batch
