// The colour cube's tables and its ordered dither.
#include "ops/ColourCube.h"

#include <vector>

#include "ops/SourceRows.h"

namespace vivark {
namespace {

// The thresholds 0..255, each once, spread so that every aligned square of
// 2, 4 or 8 pixels a side holds an even sample of them.
constexpr uint8_t kMatrix[16][16] = {
    {0, 192, 48, 240, 12, 204, 60, 252, 3, 195, 51, 243, 15, 207, 63, 255},
    {128, 64, 176, 112, 140, 76, 188, 124, 131, 67, 179, 115, 143, 79, 191, 127},
    {32, 224, 16, 208, 44, 236, 28, 220, 35, 227, 19, 211, 47, 239, 31, 223},
    {160, 96, 144, 80, 172, 108, 156, 92, 163, 99, 147, 83, 175, 111, 159, 95},
    {8, 200, 56, 248, 4, 196, 52, 244, 11, 203, 59, 251, 7, 199, 55, 247},
    {136, 72, 184, 120, 132, 68, 180, 116, 139, 75, 187, 123, 135, 71, 183, 119},
    {40, 232, 24, 216, 36, 228, 20, 212, 43, 235, 27, 219, 39, 231, 23, 215},
    {168, 104, 152, 88, 164, 100, 148, 84, 171, 107, 155, 91, 167, 103, 151, 87},
    {2, 194, 50, 242, 14, 206, 62, 254, 1, 193, 49, 241, 13, 205, 61, 253},
    {130, 66, 178, 114, 142, 78, 190, 126, 129, 65, 177, 113, 141, 77, 189, 125},
    {34, 226, 18, 210, 46, 238, 30, 222, 33, 225, 17, 209, 45, 237, 29, 221},
    {162, 98, 146, 82, 174, 110, 158, 94, 161, 97, 145, 81, 173, 109, 157, 93},
    {10, 202, 58, 250, 6, 198, 54, 246, 9, 201, 57, 249, 5, 197, 53, 245},
    {138, 74, 186, 122, 134, 70, 182, 118, 137, 73, 185, 121, 133, 69, 181, 117},
    {42, 234, 26, 218, 38, 230, 22, 214, 41, 233, 25, 217, 37, 229, 21, 213},
    {170, 106, 154, 90, 166, 102, 150, 86, 169, 105, 153, 89, 165, 101, 149, 85},
};

}  // namespace

uint8_t ColourCube::levelValue(unsigned level, unsigned levels) {
    return static_cast<uint8_t>((level * 255 + (levels - 1) / 2) / (levels - 1));
}

unsigned ColourCube::bandEnd(unsigned level, unsigned levels) {
    return (510 * level + 255 + (levels - 1)) / (2 * (levels - 1));
}

uint8_t ColourCube::ditherMatrix(unsigned row, unsigned column) {
    return kMatrix[row & 15][column & 15];
}

ColourCube::ColourCube(unsigned red, unsigned green, unsigned blue) {
    const unsigned levels[3] = {blue, green, red};
    const unsigned product = red * green * blue;
    const bool indexed = product <= 256;
    const unsigned multiplier[3] = {indexed ? 1u : 0u, indexed ? blue : 0u,
                                    indexed ? blue * green : 0u};
    for (unsigned ch = 0; ch < 3; ++ch) {
        const unsigned n = levels[ch];
        auto& table = tables_[ch];
        unsigned level = 0;
        for (unsigned v = 0; v < 256; ++v) {
            while (v > bandEnd(level, n)) ++level;
            table[v + kExtension] =
                static_cast<uint16_t>(indexed ? level * multiplier[ch] : levelValue(level, n));
        }
        for (int i = 0; i < kExtension; ++i) {
            table[i] = table[kExtension];
            table[kExtension + 256 + i] = table[kExtension + 255];
        }
        for (unsigned i = 0; i < 256; ++i) {
            const int m = kMatrix[i >> 4][i & 15];
            offsets_[ch][i] = static_cast<int16_t>((65025 - 510 * m) / int(512 * (n - 1)));
        }
    }
    if (!indexed) return;
    count_ = product;
    for (unsigned r = 0; r < red; ++r)
        for (unsigned g = 0; g < green; ++g)
            for (unsigned b = 0; b < blue; ++b)
                palette_[r * green * blue + g * blue + b] =
                    rgb(levelValue(r, red), levelValue(g, green), levelValue(b, blue));
}

bool ColourCube::ditherOrdered(const Image& source, Image& destination,
                               ProgressCallback* progress) const {
    SourceRows rows(source);
    const uint32_t width = source.width(), height = source.height();
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* bgr = rows.row(y);
        uint8_t* out = destination.plane.mutableRow(y);
        const int16_t* ob = &offsets_[0][(y & 15) << 4];
        const int16_t* og = &offsets_[1][(y & 15) << 4];
        const int16_t* orr = &offsets_[2][(y & 15) << 4];
        const uint16_t* tb = &tables_[0][kExtension];
        const uint16_t* tg = &tables_[1][kExtension];
        const uint16_t* tr = &tables_[2][kExtension];
        for (uint32_t x = 0; x < width; ++x, bgr += 3) {
            const unsigned column = x & 15;
            out[x] = static_cast<uint8_t>(tb[bgr[0] + ob[column]] + tg[bgr[1] + og[column]] +
                                          tr[bgr[2] + orr[column]]);
        }
        if (progressCancelled(progress, y + 1, height)) return false;
    }
    return true;
}

}  // namespace vivark
