// What the command line says besides failures: warnings of what a conversion
// loses or of a damaged source, and, with --verbose, notes of what it did.
//
// Every warning is one line "vivark: FILE: what: why" on the error stream;
// --quiet silences warnings and notes, never failures.
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

#include "core/Image.h"
#include "formats/WriterEntry.h"

namespace CLI {
class App;
}

namespace vivark::cli {

enum class Verbosity { Quiet, Normal, Verbose };

// Adds --quiet (-q) and --verbose (-v) to `command`.
void addVerbosityFlags(CLI::App& command, Verbosity& level);

class Diagnostics {
  public:
    Diagnostics(std::ostream& err, Verbosity level) : err_(err), level_(level) {}
    void warn(std::string_view file, std::string_view text) const;  // unless quiet
    void note(std::string_view file, std::string_view text) const;  // verbose only
    bool verbose() const { return level_ == Verbosity::Verbose; }

  private:
    std::ostream& err_;
    Verbosity level_;
};

// The damage a reader recorded while reading `image` (its own words), or
// empty when the image was read whole.
std::string damageOf(const Image& image);

// The distinct colours of an image (palette colours in use, or 24-bit pixels).
uint32_t distinctColours(const Image& image);

// One line per thing `writer` does not keep of `source`, given the image as
// converted for it: alpha or transparency, pages or frames beyond the one
// written (unless the user chose the page), colours merged by a reduction,
// a picture cut down to a fixed-page format's size.
std::vector<std::string> lossesOf(const Image& source, const Image& converted,
                                  const WriterEntry& writer, bool pageChosen);

}  // namespace vivark::cli
