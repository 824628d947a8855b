// PcdResidual: the Huffman-coded residuals that lift a Photo CD image from
// one level to the next (Base to 4Base, 4Base to 16Base).
//
// A residual section opens with its code tables, one for luma and, where
// chroma residuals follow, one for each chroma plane. A table is a count byte
// (entries less one) and four bytes per entry: code length less one (1 to 16
// bits), the code left-aligned in 16 bits, and the residual, a signed byte.
// The coded rows follow, each behind a 24-bit sync pattern (0xFFFFFE, at any
// bit position) and a 16-bit row header: two bits of plane (0 luma, 2 and 3
// the chroma planes) and thirteen bits of row number. Every code adds its
// residual to one sample of the interpolated plane, clamped to 0..255. A row
// number equal to the level's height ends the section.
//
// Damaged data never reads or writes out of bounds: a row never takes more
// codes than its plane is wide, an unknown code or a row header naming no
// plane or row skips to the next sync and is counted as damage, and the bits
// run out into INFILEERROR::UnexpectedEnd a few bytes past the file's end.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "core/InFile.h"
#include "core/Progress.h"

namespace vivark {

// One level's samples: luma at width x height, the two chroma planes at half
// that in each direction. Rows are top first and tightly packed.
struct PcdPlanes {
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<uint8_t> luma, chroma1, chroma2;

    uint32_t chromaWidth() const { return width / 2; }
    uint32_t chromaHeight() const { return height / 2; }
};

struct PcdResidualResult {
    // Rows skipped because their codes or header were damaged.
    uint32_t damagedRows = 0;
    // Offset of the last byte the end marker occupies, from the section's start.
    uint64_t endByte = 0;
};

// Decodes one residual section starting at the file's current position into
// `planes`, which hold the level's interpolated samples. `tableCount` is 1
// (luma residuals only) or 3; `available` is the number of bytes the file
// holds from here. Throws PCDERROR::BadHuffmanTable for a table with a code
// longer than 16 bits, PCDERROR::MissingLuminance when the section ends
// without a luma row, INFILEERROR::UnexpectedEnd when the data run out and
// INFILEERROR::Cancelled when `progress` asks to stop.
PcdResidualResult addPcdResiduals(InFile& file, uint64_t available, unsigned tableCount,
                                  PcdPlanes& planes, ProgressCallback* progress);

}  // namespace vivark
