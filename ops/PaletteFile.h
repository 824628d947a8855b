// Palette files: the JASC palette format and the system's own "Vivark
// Palette" format read, JASC written; and a loaded palette applied to an
// image.
//
// Reading takes the first line's signature ("Vivark Palette", then a
// "Colors = %u" line; or "JASC-PAL", a version line that is not looked at,
// and a count line), then one entry per line as "%u %u %u" (red, green,
// blue); lines that do not give three numbers are skipped, and lines after
// the last entry are not read. Failures: PALERROR::UnknownSignature,
// PALERROR::BadCount (count outside 1..256 or a component above 255);
// a file that ends before its entries, INFILEERROR.
//
// Writing gives "JASC-PAL", "0100", the count and "%3u %3u %3u" per entry,
// CR LF line ends, through the atomic writer.
//
// applyPalette: an indexed image keeps its pixels and takes the loaded
// entries (entries past the loaded count keep their colours, so no pixel is
// left without one); a 24-bit image is mapped to the nearest loaded colour
// (compared in red, green and blue, without dithering, the choice that keeps
// a palette's colours exact) and becomes 8-bit with the loaded palette.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "core/InFile.h"
#include "core/OutFile.h"
#include "core/Palette.h"
#include "ops/Operation.h"

namespace vivark {

struct PaletteColours {
    std::array<Colour, 256> entries{};
    uint32_t count = 0;  // 1..256 once loaded
};

// Throws PALERROR, INFILEERROR.
PaletteColours readPalette(InFile& file);
PaletteColours readPaletteFile(const std::string& path);

void writePalette(OutFile& file, const PaletteColours& palette);
// False when the file cannot be created or written.
bool writePaletteFile(const std::string& path, const PaletteColours& palette);

// The palette an indexed image uses: paletteCount entries (2^bits when 0,
// and never more than its depth can index). Nothing for a 24-bit image.
std::optional<PaletteColours> paletteOf(const Image& image);

struct ApplyPalette {
    PaletteColours palette;
};

OpResult applyPalette(const Image& image, const ApplyPalette& p,
                      ProgressCallback* progress = nullptr, const Limits& limits = Limits{});

}  // namespace vivark
