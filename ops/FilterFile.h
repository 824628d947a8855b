// Filter files: the text files that keep user-defined convolution filters,
// and the editor's grid they are read into and written from.
//
// A filter file is "Vivark Filter", then the width and height ("%u %u"), the
// absolute-value flag (1 or 0), the divisor's and the bias's texts, and one
// line per grid row of the cells' texts separated by single spaces; CR LF
// line ends. The editor's grid is kFilterMaxSize square; a smaller filter
// sits centred in it. Writing trims the grid symmetrically: the width
// shrinks by 2 while both its outermost columns read as 0 everywhere, then
// the height likewise with the outermost rows. Reading does not look at the
// first line, refuses even and oversized dimensions, and fills the rows of
// the centred region from the lines' tokens.
//
// Reading reports a refused filter as a FilterFailure (the editor shows its
// text and keeps what it had); the file's own failures (cannot open, ends
// early, binary data) propagate as INFILEERROR. Writing goes through the
// atomic writer and returns false when the file cannot be created or written.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "core/InFile.h"
#include "core/OutFile.h"
#include "ops/Convolution.h"

namespace vivark {

// The editor's content: texts as the user typed them.
struct FilterGrid {
    std::string name;
    std::array<std::string, kFilterMaxSize * kFilterMaxSize> cells;  // row by row, top first
    std::string divisor = "1";
    std::string bias = "0";
    bool absoluteValue = false;

    std::string& cell(uint32_t column, uint32_t row) {
        return cells[row * kFilterMaxSize + column];
    }
    const std::string& cell(uint32_t column, uint32_t row) const {
        return cells[row * kFilterMaxSize + column];
    }
};

// A refused filter and the dimensions its message names.
struct FilterFailure {
    FILTERERROR error;
    uint32_t width = 0;
    uint32_t height = 0;
};

// The failure's message with the dimensions filled in.
std::string filterFailureText(const FilterFailure& failure);

// Reads a filter file into `grid` (name = `name`); on a refusal `grid` is
// unchanged. Throws INFILEERROR.
std::optional<FilterFailure> readFilter(InFile& file, const std::string& name, FilterGrid& grid);
// The same from a named file; the grid's name becomes the file's name
// without folder and extension.
std::optional<FilterFailure> readFilterFile(const std::string& path, FilterGrid& grid);

// The trimmed width and height the grid is written with.
std::pair<uint32_t, uint32_t> trimmedSize(const FilterGrid& grid);
void writeFilter(OutFile& file, const FilterGrid& grid);
bool writeFilterFile(const std::string& path, const FilterGrid& grid);

// The filter the grid holds, trimmed, or why it cannot be accepted (no name,
// a zero divisor, a text that is no whole number or lies outside ±9999).
std::variant<ConvolutionFilter, FilterFailure> acceptFilter(const FilterGrid& grid);

// A filter file read and accepted: what the batch "Filter" step and the
// command line apply. Throws INFILEERROR.
std::variant<ConvolutionFilter, FilterFailure> loadFilterFile(const std::string& path);

}  // namespace vivark
