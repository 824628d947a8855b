// What the PNG reader and writer share: the signature, the chunk type codes,
// the colour types, the Adam7 pass table and the pass geometry. Throws nothing.
#pragma once

#include <cstdint>
#include <string_view>

#include "core/FormatTag.h"
#include "core/InFile.h"
#include "core/Messages.h"
#include "formats/FormatInfo.h"

namespace vivark {

// The family's errors; the values are fixed.
enum class PNGERROR : uint32_t {
    NotPng = 0,
    BadCrc = 1,
    BadIhdrLength = 2,
    ZeroSize = 3,
    UnknownCompression = 4,
    UnknownInterlace = 5,
    BadBitDepth = 6,
    BadColourType = 7,
    BadPlteLength = 8,
    MultipleIhdr = 9,
    MultiplePlte = 10,
    MultipleGama = 11,
    UnknownFilterType = 12,
    UnknownFilterMethod = 13,
    MissingIhdr = 14,
    MissingPlte = 15,
    MissingIdat = 16,
    BadIdatLength = 17,
    UnexpectedIdat = 18,
};

namespace msg {
inline constexpr MessageId PngFirst = 11110;  // PNGERROR v is PngFirst + v, v = 0..18
}  // namespace msg

// The keys of the family's save options.
namespace saveKey {
inline constexpr std::string_view PngInterlace = "SaveOptions\\PNG\\Interlace";
inline constexpr std::string_view PngHistogram = "SaveOptions\\PNG\\Histogram";
inline constexpr std::string_view PngTime = "SaveOptions\\PNG\\Time";
inline constexpr std::string_view PngTransparent = "SaveOptions\\PNG\\Transparent";
inline constexpr std::string_view PngTransparentIndex = "SaveOptions\\PNG\\Transparent Index";
inline constexpr std::string_view PngTransparentColor = "SaveOptions\\PNG\\Transparent Color";
inline constexpr std::string_view PngBackground = "SaveOptions\\PNG\\Background";
inline constexpr std::string_view PngBackgroundIndex = "SaveOptions\\PNG\\Background Index";
inline constexpr std::string_view PngBackgroundColor = "SaveOptions\\PNG\\Background Color";
}  // namespace saveKey

// The identify tests (see formats/Identify.h for their contract).
bool identifyPng(InFile& file, FormatInfo* info);

}  // namespace vivark

namespace vivark::png {

inline constexpr FormatTag kTag = makeTag("PNG ");
inline constexpr uint8_t kSignature[8] = {0x89, 0x50, 0x4E, 0x47, 0x0D, 0x0A, 0x1A, 0x0A};

// Chunk types as the big-endian number their four letters make.
constexpr uint32_t chunkType(const char (&name)[5]) {
    return uint32_t{static_cast<uint8_t>(name[0])} << 24 |
           uint32_t{static_cast<uint8_t>(name[1])} << 16 |
           uint32_t{static_cast<uint8_t>(name[2])} << 8 | uint32_t{static_cast<uint8_t>(name[3])};
}
inline constexpr uint32_t kIhdr = chunkType("IHDR");
inline constexpr uint32_t kPlte = chunkType("PLTE");
inline constexpr uint32_t kIdat = chunkType("IDAT");
inline constexpr uint32_t kIend = chunkType("IEND");
inline constexpr uint32_t kGama = chunkType("gAMA");
inline constexpr uint32_t kPhys = chunkType("pHYs");
inline constexpr uint32_t kTrns = chunkType("tRNS");
inline constexpr uint32_t kBkgd = chunkType("bKGD");
inline constexpr uint32_t kHist = chunkType("hIST");
inline constexpr uint32_t kTime = chunkType("tIME");

enum ColourType : uint8_t {
    kGrey = 0,
    kRgb = 2,
    kPaletted = 3,
    kGreyAlpha = 4,
    kRgba = 6,
};

// One Adam7 pass; pass 0 stands for a non-interlaced image.
struct Pass {
    uint32_t startRow, startColumn, rowStep, columnStep, blockHeight, blockWidth;

    uint32_t width(uint32_t imageWidth) const {
        return (imageWidth - startColumn - 1 + columnStep) / columnStep;
    }
    uint32_t rows(uint32_t imageHeight) const {
        return (imageHeight - startRow - 1 + rowStep) / rowStep;
    }
};

inline constexpr Pass kPasses[8] = {
    {0, 0, 1, 1, 1, 1}, {0, 0, 8, 8, 8, 8}, {0, 4, 8, 8, 8, 4}, {4, 0, 8, 4, 4, 4},
    {0, 2, 4, 4, 4, 2}, {2, 0, 4, 2, 2, 2}, {0, 1, 2, 2, 2, 1}, {1, 0, 2, 1, 1, 1},
};

// Bytes of one filtered row of `pixels` samples groups, without the filter byte.
constexpr uint64_t rowBytes(uint32_t depth, uint32_t channels, uint32_t pixels) {
    return (uint64_t{depth} * channels * pixels + 7) / 8;
}

// Progress through an Adam7 image after `row` rows of pass `pass` (1 to 7):
// pass p covers 2^(p-2) sixty-fourths of the pixels (pass 1 as much as pass
// 2), so the passes before p count height << (p - 2) and the rows of p count
// (row << (p - 1)) >> 1, out of height << 6. Both are scaled down together
// when the total would not fit in 32 bits.
inline void passProgress(uint32_t row, uint32_t pass, uint32_t height, uint32_t& done,
                         uint32_t& total) {
    uint64_t d = (uint64_t{row} << (pass - 1)) >> 1;
    if (pass >= 2) d += uint64_t{height} << (pass - 2);
    uint64_t t = uint64_t{height} << 6;
    while (t > 0xFFFFFFFFu) {
        t >>= 1;
        d >>= 1;
    }
    done = static_cast<uint32_t>(d);
    total = static_cast<uint32_t>(t);
}

}  // namespace vivark::png
