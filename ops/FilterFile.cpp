// Reading, writing and accepting filter files.
#include "ops/FilterFile.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <vector>

#include "core/Errors.h"
#include "core/SafeOutFile.h"
#include "ops/TextScan.h"

namespace vivark {
namespace {

constexpr size_t kLineCapacity = 256;
constexpr uint32_t kSize = kFilterMaxSize;
static_assert(kSize % 2 == 1, "the editor's grid has a centre cell");

// A cell counts as empty when its text reads as the number 0 (an empty text,
// "0" and "0.0" alike).
bool isZero(const std::string& text) {
    return std::strtod(text.c_str(), nullptr) == 0.0;
}

bool columnEmpty(const FilterGrid& grid, uint32_t column) {
    for (uint32_t row = 0; row < kSize; ++row)
        if (!isZero(grid.cell(column, row))) return false;
    return true;
}

bool rowEmpty(const FilterGrid& grid, uint32_t row) {
    for (uint32_t column = 0; column < kSize; ++column)
        if (!isZero(grid.cell(column, row))) return false;
    return true;
}

std::vector<std::string> tokens(const char* line) {
    std::vector<std::string> out;
    for (const char* p = line;;) {
        skipSpace(p);
        if (*p == '\0') return out;
        const char* start = p;
        while (*p != '\0' && !std::isspace(static_cast<unsigned char>(*p))) ++p;
        out.emplace_back(start, p);
    }
}

// A whole number within ±kFilterMaxWeight, spaces around it allowed; an
// empty text is 0, as an empty editor cell is, and "2.0" is 2, as the
// trimming reads it.
std::optional<int32_t> wholeNumber(const std::string& text) {
    const char* p = text.c_str();
    skipSpace(p);
    if (*p == '\0') return 0;
    char* end = nullptr;
    const double value = std::strtod(p, &end);
    const char* rest = end;
    skipSpace(rest);
    if (end == p || *rest != '\0') return std::nullopt;
    if (!(value >= -kFilterMaxWeight && value <= kFilterMaxWeight)) return std::nullopt;
    if (value != std::trunc(value)) return std::nullopt;
    return static_cast<int32_t>(value);
}

uint32_t dimension(uint64_t scanned) {
    return static_cast<uint32_t>(std::min<uint64_t>(scanned, UINT32_MAX));
}

// The text written for a cell: an empty cell as 0, so that every row keeps
// its tokens in their columns when read back.
const std::string& cellText(const std::string& text) {
    static const std::string zero = "0";
    return text.empty() ? zero : text;
}

}  // namespace

std::string filterFailureText(const FilterFailure& failure) {
    std::string text(messageText(messageOf(failure.error)));
    if (auto at = text.find("%ux%u"); at != std::string::npos)
        text.replace(at, 5, std::to_string(failure.width) + "x" + std::to_string(failure.height));
    return text;
}

std::optional<FilterFailure> readFilter(InFile& file, const std::string& name, FilterGrid& grid) {
    char line[kLineCapacity];
    file.readLine(line, sizeof line);  // the signature, not compared
    file.readLine(line, sizeof line);
    uint64_t width = 0, height = 0;
    const char* p = line;
    if (readUnsigned(p, width)) readUnsigned(p, height);
    const FilterFailure refused{FILTERERROR::EvenDimensions, dimension(width), dimension(height)};
    if (width % 2 == 0 || height % 2 == 0) return refused;
    if (width > kSize || height > kSize)
        return FilterFailure{FILTERERROR::TooLarge, refused.width, refused.height};

    FilterGrid read;
    read.name = name;
    file.readLine(line, sizeof line);
    uint64_t absolute = 0;
    p = line;
    readUnsigned(p, absolute);
    read.absoluteValue = absolute != 0;
    file.readLine(line, sizeof line);
    std::vector<std::string> words = tokens(line);
    read.divisor = words.size() > 0 ? words[0] : std::string();
    read.bias = words.size() > 1 ? words[1] : std::string();
    const auto left = static_cast<uint32_t>((kSize - width) / 2);
    const auto top = static_cast<uint32_t>((kSize - height) / 2);
    for (uint32_t row = 0; row < height; ++row) {
        file.readLine(line, sizeof line);
        words = tokens(line);
        for (uint32_t column = 0; column < width && column < words.size(); ++column)
            read.cell(left + column, top + row) = words[column];
    }
    grid = std::move(read);
    return std::nullopt;
}

std::optional<FilterFailure> readFilterFile(const std::string& path, FilterGrid& grid) {
    InFile file;
    file.open(path);
    return readFilter(file, std::filesystem::path(path).stem().string(), grid);
}

std::pair<uint32_t, uint32_t> trimmedSize(const FilterGrid& grid) {
    uint32_t width = kSize;
    while (width > 1) {
        const uint32_t left = (kSize - width) / 2;
        if (!columnEmpty(grid, left) || !columnEmpty(grid, left + width - 1)) break;
        width -= 2;
    }
    uint32_t height = kSize;
    while (height > 1) {
        const uint32_t top = (kSize - height) / 2;
        if (!rowEmpty(grid, top) || !rowEmpty(grid, top + height - 1)) break;
        height -= 2;
    }
    return {width, height};
}

void writeFilter(OutFile& file, const FilterGrid& grid) {
    const auto [width, height] = trimmedSize(grid);
    std::string text = "Vivark Filter\r\n";
    text += std::to_string(width) + " " + std::to_string(height) + "\r\n";
    text += grid.absoluteValue ? "1\r\n" : "0\r\n";
    text += cellText(grid.divisor) + " " + cellText(grid.bias) + "\r\n";
    const uint32_t left = (kSize - width) / 2, top = (kSize - height) / 2;
    for (uint32_t row = 0; row < height; ++row) {
        for (uint32_t column = 0; column < width; ++column) {
            if (column != 0) text += ' ';
            text += cellText(grid.cell(left + column, top + row));
        }
        text += "\r\n";
    }
    file.write(text.data(), text.size());
}

bool writeFilterFile(const std::string& path, const FilterGrid& grid) {
    return writeWholeFile(path, [&](OutFile& out) { writeFilter(out, grid); });
}

std::variant<ConvolutionFilter, FilterFailure> acceptFilter(const FilterGrid& grid) {
    const auto [width, height] = trimmedSize(grid);
    if (grid.name.empty()) return FilterFailure{FILTERERROR::NoName, width, height};
    const auto divisor = wholeNumber(grid.divisor);
    const auto bias = wholeNumber(grid.bias);
    if (!divisor || !bias) return FilterFailure{FILTERERROR::BadWeight, width, height};
    if (*divisor == 0) return FilterFailure{FILTERERROR::ZeroDivisor, width, height};
    ConvolutionFilter filter;
    filter.width = width;
    filter.height = height;
    filter.divisor = *divisor;
    filter.bias = *bias;
    filter.absoluteValue = grid.absoluteValue;
    filter.weights.clear();
    const uint32_t left = (kSize - width) / 2, top = (kSize - height) / 2;
    for (uint32_t row = 0; row < height; ++row) {
        for (uint32_t column = 0; column < width; ++column) {
            const auto weight = wholeNumber(grid.cell(left + column, top + row));
            if (!weight) return FilterFailure{FILTERERROR::BadWeight, width, height};
            filter.weights.push_back(*weight);
        }
    }
    return filter;
}

std::variant<ConvolutionFilter, FilterFailure> loadFilterFile(const std::string& path) {
    FilterGrid grid;
    if (auto failure = readFilterFile(path, grid)) return *failure;
    return acceptFilter(grid);
}

}  // namespace vivark
