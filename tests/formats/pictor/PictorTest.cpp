// PC Paint/Pictor: no other program at hand reads or writes the format, so
// the files here are made byte by byte from the format's public description
// (plane order, bottom row first, block header, run marker, palette types);
// our writer's files must come back through our reader.
#include <gtest/gtest.h>

#include <string>

#include "core/Errors.h"
#include "formats/SampleBytes.h"
#include "formats/SaveOptions.h"
#include "formats/pictor/PictorFormat.h"
#include "formats/pictor/PictorReader.h"
#include "formats/pictor/PictorWriter.h"
#include "support/ImageTestUtil.h"
#include "support/Throws.h"

namespace vivark {
namespace {

using test::Bytes;

// The 17-byte header with the palette fields, then the palette.
Bytes header(uint32_t width, uint32_t height, uint8_t planeByte, uint16_t paletteType,
             const Bytes& palette) {
    Bytes b;
    b.le16(0x1234).le16(width).le16(height).le16(0).le16(0).u8(planeByte).u8(0xFF).u8(0);
    b.le16(paletteType).le16(uint32_t(palette.data.size())).append(palette.data);
    return b;
}

std::string str(const Bytes& b) {
    return {b.data.begin(), b.data.end()};
}

TEST(Pictor, HandMadeLayoutsDecodeToTheirColours) {
    const Colour blue = rgb(0, 0, 170), cyan = rgb(85, 255, 255), magenta = rgb(255, 85, 255),
                 white = rgb(255, 255, 255);
    Bytes egaMap;
    for (uint32_t i = 0; i < 16; ++i) egaMap.u8(4 * i);
    const struct {
        const char* what;
        std::string file;
        uint32_t width;
        std::vector<Colour> pixels;  // top row first
    } cases[] = {
        // Indices 0 5 10 15 over 15 10 5 0; planes in turn, bottom row first.
        {"four 1-bit planes, EGA palette, unpacked",
         str(header(4, 2, 0x31, 3, egaMap).le16(0).hex("A050 C030 A050 C030")),
         4,
         {egaColour(0), egaColour(20), egaColour(40), egaColour(60), egaColour(60), egaColour(40),
          egaColour(20), egaColour(0)}},
        // A run with a count byte, a literal and a run with a 16-bit count;
        // CGA palette 1, bright, on a blue background.
        {"2 bits, CGA palette, one block",
         str(header(8, 3, 0x02, 1, Bytes().u8(3).u8(1))
                 .le16(1)
                 .le16(14)
                 .le16(6)
                 .u8(0xAA)
                 .hex("AA 03 1B E4 AA 00 0200 FF")),
         8,
         {white, white, white,   white, white, white,   white,   white,  //
          blue,  cyan,  magenta, white, white, magenta, cyan,    blue,   //
          blue,  cyan,  magenta, white, blue,  cyan,    magenta, white}},
        // Blue, green and red planes over two blocks.
        {"three 8-bit planes, two blocks",
         str(header(2, 1, 0x28, 0, Bytes())
                 .le16(2)
                 .le16(9)
                 .le16(4)
                 .u8(0)
                 .hex("0A141E28")
                 .le16(7)
                 .le16(2)
                 .u8(0)
                 .hex("323C")),
         2,
         {rgb(50, 30, 10), rgb(60, 40, 20)}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const Image image = test::readFromBytes(c.file, makePictorReader);
        ASSERT_EQ(image.width(), c.width);
        for (size_t i = 0; i < c.pixels.size(); ++i)
            EXPECT_EQ(test::colourAt(image, uint32_t(i % c.width), uint32_t(i / c.width)),
                      c.pixels[i])
                << i;
    }
}

TEST(Pictor, WrittenFilesReadBackWithinThePalettePrecision) {
    StoredSaveOptions stored;
    for (bool ega : {false, true}) {
        SaveOptionOverlay options(stored);
        options.set(saveKey::PictorEgaPalette, ega);
        for (uint32_t bits : {1u, 4u, 8u}) {
            SCOPED_TRACE(std::to_string(bits) + (ega ? " EGA" : " VGA"));
            Image source = test::patternImage(37, 23, bits);
            const Image read = test::readFromBytes(test::writeToBytes(source, writePictor, options),
                                                   makePictorReader);
            ASSERT_EQ(read.bitsPerPixel(), bits);
            // VGA entries keep 6 bits a primary; EGA entries take the nearest
            // of 64 colours (within 43 levels of any colour).
            const int tolerance = ega && bits <= 4 ? 43 : 3;
            for (uint32_t y = 0; y < 23; ++y)
                for (uint32_t x = 0; x < 37; ++x) {
                    const Colour a = test::colourAt(source, x, y), b = test::colourAt(read, x, y);
                    for (int shift : {0, 8, 16})
                        ASSERT_LE(std::abs(int(a >> shift & 0xFF) - int(b >> shift & 0xFF)),
                                  tolerance)
                            << x << "," << y;
                }
        }
    }
}

TEST(Pictor, BadLayoutsAndPalettesAreRefused) {
    const struct {
        const char* what;
        std::string file;
        PICERROR expected;
    } cases[] = {
        {"8 bits x 4 planes", str(header(2, 2, 0x38, 0, Bytes()).le16(0).fill(4)),
         PICERROR::InvalidFile},
        {"EGA map longer than the depth",
         str(header(2, 2, 0x01, 3, Bytes().fill(3)).le16(0).fill(4)), PICERROR::ColourMapTooLarge},
        {"block shorter than its header",
         str(header(8, 1, 0x01, 0, Bytes()).le16(1).le16(3).le16(1).u8(0).fill(4)),
         PICERROR::DataIntegrity},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(test::thrownBy<PICERROR>([&] { test::readFromBytes(c.file, makePictorReader); }),
                  c.expected);
    }
}

}  // namespace
}  // namespace vivark
