// Palette files: JASC written byte for byte, both formats read (files laid
// out as other tools write them), every PALERROR where it is raised, and a
// loaded palette applied to indexed and true-colour images.
#include <gtest/gtest.h>

#include <string>

#include "core/Errors.h"
#include "ops/PaletteFile.h"
#include "support/ImageTestUtil.h"
#include "support/TempDir.h"
#include "support/Throws.h"

namespace vivark {
namespace {

PaletteColours readBytes(const std::string& bytes) {
    test::TempDir dir;
    return readPaletteFile(dir.write("p.pal", bytes).string());
}

TEST(PaletteFile, JascIsWrittenWithRightAlignedComponents) {
    PaletteColours palette;
    palette.count = 16;
    for (uint32_t i = 0; i < 16; ++i) palette.entries[i] = rgb(uint8_t(i * 17), 0, uint8_t(i));
    palette.entries[3] = rgb(0, 128, 255);
    test::TempDir dir;
    ASSERT_TRUE(writePaletteFile((dir / "p.pal").string(), palette));
    std::string expected = "JASC-PAL\r\n0100\r\n16\r\n";
    for (uint32_t i = 0; i < 16; ++i) {
        char line[32];
        std::snprintf(line, sizeof line, "%3u %3u %3u\r\n", i == 3 ? 0 : i * 17, i == 3 ? 128 : 0,
                      i == 3 ? 255 : i);
        expected += line;
    }
    const std::string bytes = test::readWholeFile(dir / "p.pal");
    EXPECT_EQ(bytes, expected);
    EXPECT_NE(bytes.find("\r\n  0 128 255\r\n"), std::string::npos);
    const PaletteColours back = readBytes(bytes);
    EXPECT_EQ(back.count, 16u);
    EXPECT_EQ(back.entries, palette.entries);
    EXPECT_FALSE(writePaletteFile((dir / "no such folder" / "p.pal").string(), palette));
}

TEST(PaletteFile, ReadingAcceptsBothFormatsAndRefusesBadData) {
    std::string full = "Vivark Palette\r\nColors = 256\r\n";
    for (int i = 0; i < 256; ++i) full += std::to_string(i) + " 0 0\r\n";
    const struct {
        const char* name;
        std::string bytes;
        std::optional<PALERROR> error;
        uint32_t count;
        Colour last;
    } cases[] = {
        {"JASC from another tool, LF ends, blank line between entries",
         "JASC-PAL\n0100\n2\n255 0 0\n\n0 0 255\n", std::nullopt, 2, 0x0000FF},
        {"signatures ignore case", "jasc-pal\r\n0100\r\n1\r\n1 2 3\r\n", std::nullopt, 1, 0x010203},
        {"own format, 256 colours", full, std::nullopt, 256, 0xFF0000},
        {"own format, spaces around the equals sign optional",
         "VIVARK PALETTE\r\nColors=1\r\n7 8 9\r\n", std::nullopt, 1, 0x070809},
        {"a component of 255 is taken", "JASC-PAL\r\n0100\r\n1\r\n255 255 255\r\n", std::nullopt, 1,
         0xFFFFFF},
        {"unknown signature", "GIMP Palette\r\n", PALERROR::UnknownSignature, 0, 0},
        {"count 0", "Vivark Palette\r\nColors = 0\r\n", PALERROR::BadCount, 0, 0},
        {"count 257", "JASC-PAL\r\n0100\r\n257\r\n", PALERROR::BadCount, 0, 0},
        {"negative count", "JASC-PAL\r\n0100\r\n-1\r\n", PALERROR::BadCount, 0, 0},
        {"no count", "Vivark Palette\r\nColours = 3\r\n", PALERROR::BadCount, 0, 0},
        {"a component of 256", "JASC-PAL\r\n0100\r\n1\r\n0 256 0\r\n", PALERROR::BadCount, 0, 0},
    };
    for (const auto& c : cases) {
        if (c.error) {
            EXPECT_EQ(test::thrownBy<PALERROR>([&] { readBytes(c.bytes); }), c.error) << c.name;
            continue;
        }
        const PaletteColours palette = readBytes(c.bytes);
        EXPECT_EQ(palette.count, c.count) << c.name;
        EXPECT_EQ(palette.entries[c.count - 1], c.last) << c.name;
    }
    EXPECT_EQ(test::thrownBy<INFILEERROR>([] { readBytes("JASC-PAL\r\n0100\r\n3\r\n1 1 1\r\n"); }),
              INFILEERROR::UnexpectedEnd);
}

TEST(PaletteFile, AppliedPaletteRecoloursIndexedAndMapsTrueColour) {
    PaletteColours loaded;
    loaded.count = 3;
    loaded.entries = {0x000000, 0xFF0000, 0xFFFFFF};

    const Image indexed = test::patternImage(6, 4, 4);
    const OpResult recoloured = applyPalette(indexed, {loaded});
    ASSERT_TRUE(recoloured);
    EXPECT_TRUE(recoloured->plane.sharesPixelsWith(indexed.plane));
    EXPECT_EQ(recoloured->palette[1], 0xFF0000u);
    EXPECT_EQ(recoloured->palette[5], indexed.palette[5]) << "entries past the loaded ones stay";
    EXPECT_EQ(recoloured->paletteCount, 16u);

    Image photo(3, 1, 24);
    const uint8_t bgr[] = {10, 10, 10, 20, 30, 200, 240, 250, 230};
    std::copy(std::begin(bgr), std::end(bgr), photo.plane.mutableRow(0));
    const OpResult mapped = applyPalette(photo, {loaded});
    ASSERT_TRUE(mapped);
    EXPECT_EQ(mapped->bitsPerPixel(), 8u);
    EXPECT_EQ(mapped->paletteCount, 3u);
    EXPECT_EQ(test::colourAt(*mapped, 0, 0), 0x000000u);
    EXPECT_EQ(test::colourAt(*mapped, 1, 0), 0xFF0000u);
    EXPECT_EQ(test::colourAt(*mapped, 2, 0), 0xFFFFFFu);

    EXPECT_FALSE(paletteOf(photo));
    const auto exported = paletteOf(indexed);
    ASSERT_TRUE(exported);
    EXPECT_EQ(exported->count, 16u);
}

}  // namespace
}  // namespace vivark
