// PICB: no independent decoder reads it, so its files are built here from
// the format's description (the 76-byte header, a palette of red, green,
// blue triplets for 1 to 8 bits, rows top first padded to a byte, 24-bit
// pixels blue, green, red) at every depth, and checked pixel by pixel.
#include <gtest/gtest.h>

#include <string>

#include "core/Errors.h"
#include "formats/picb/PicbReader.h"
#include "support/ImageTestUtil.h"
#include "support/Throws.h"

namespace vivark {
namespace {

using namespace test;

// A 3 × 2 picture at `bits`: pixel (x, y) has value x + 3y (its colour for
// 24 bits: that value in red, ten times it in green, 200 in blue), palette
// entry i is (i, 2i, 255 - i).
std::string picb(uint16_t bits, uint16_t magic = 0x3039) {
    std::string s(76, '\0');
    const uint16_t fields[] = {magic, 3, 2, bits};
    for (int i = 0; i < 4; ++i) s[2 * i] = char(fields[i]), s[2 * i + 1] = char(fields[i] >> 8);
    if (bits <= 8)
        for (uint32_t i = 0; i < (1u << bits); ++i) s += {char(i), char(2 * i), char(255 - i)};
    for (uint32_t y = 0; y < 2; ++y) {
        uint32_t bitsUsed = 0, acc = 0;
        for (uint32_t x = 0; x < 3; ++x) {
            const uint32_t v = (x + 3 * y) & ((1u << std::min<uint16_t>(bits, 8)) - 1);
            if (bits == 24) {
                s += {char(200), char(10 * v), char(v)};
                continue;
            }
            acc = acc << bits | v;
            bitsUsed += bits;
        }
        if (bits == 24) continue;
        acc <<= (8 - bitsUsed % 8) % 8;
        for (int shift = int((bitsUsed + 7) / 8 * 8) - 8; shift >= 0; shift -= 8)
            s += char(acc >> shift);
    }
    return s;
}

TEST(Picb, EveryDepthDecodesToItsPixels) {
    for (uint16_t bits : {1, 4, 8, 24}) {
        SCOPED_TRACE(bits);
        const Image image = readFromBytes(picb(bits), makePicbReader);
        ASSERT_EQ(image.bitsPerPixel(), bits);
        for (uint32_t y = 0; y < 2; ++y)
            for (uint32_t x = 0; x < 3; ++x) {
                const uint32_t v = (x + 3 * y) & ((1u << std::min<uint16_t>(bits, 8)) - 1);
                const Colour want = bits == 24 ? rgb(uint8_t(v), uint8_t(10 * v), 200)
                                               : rgb(uint8_t(v), uint8_t(2 * v), uint8_t(255 - v));
                EXPECT_EQ(colourAt(image, x, y), want) << x << "," << y;
            }
    }
    EXPECT_EQ(thrownBy<PICBERROR>([] { readFromBytes(picb(2), makePicbReader); }),
              PICBERROR::InvalidFile);
    EXPECT_EQ(thrownBy<INFILEERROR>([] { readFromBytes(picb(8).substr(0, 200), makePicbReader); }),
              INFILEERROR::UnexpectedEnd);
}

}  // namespace
}  // namespace vivark
