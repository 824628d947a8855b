// Targa: netpbm's and ImageMagick's files of every type against the tools'
// decoding, hand-made headers for 16-bit pixels, orientation, runs across rows
// and refusals, and round trips.
#include <gtest/gtest.h>

#include <string>

#include "core/Errors.h"
#include "core/Messages.h"
#include "formats/ErrorMessages.h"
#include "formats/Identify.h"
#include "formats/pnm/PnmReader.h"
#include "formats/tga/TgaReader.h"
#include "formats/tga/TgaWriter.h"
#include "support/ImageTestUtil.h"
#include "support/Throws.h"

namespace vivark {
namespace {

using namespace test;
using namespace std::string_view_literals;

const std::string kGood = std::string(VIVARK_TEST_DATA) + "/formats/tga/good/";

struct Bytes {
    std::string s;
    Bytes& u8(uint8_t v) { return s.push_back(char(v)), *this; }
    Bytes& u16(uint16_t v) { return u8(uint8_t(v)).u8(uint8_t(v >> 8)); }
    Bytes& raw(std::string_view t) { return s.append(t), *this; }
};

Bytes header(uint8_t mapType, uint8_t type, uint16_t mapLength, uint8_t entryBits, uint16_t width,
             uint16_t height, uint8_t depth, uint8_t descriptor) {
    Bytes b;
    b.u8(0).u8(mapType).u8(type).u16(0).u16(mapLength).u8(entryBits);
    return b.u16(0).u16(0).u16(width).u16(height).u8(depth).u8(descriptor), b;
}

// Same colours at five bits per channel: references of 15/16-bit files have
// maxval 31, scaled by rounding where the reader repeats the high bits.
bool sameFiveBitColours(const Image& a, const Image& b) {
    if (a.width() != b.width() || a.height() != b.height()) return false;
    for (uint32_t y = 0; y < a.height(); ++y)
        for (uint32_t x = 0; x < a.width(); ++x)
            if ((colourAt(a, x, y) & 0xF8F8F8) != (colourAt(b, x, y) & 0xF8F8F8)) return false;
    return true;
}

TEST(Tga, ToolFilesOfEveryTypeMatchTheirReferencePixmaps) {
    // Types 1, 2, 3 and their run-length 9, 10, 11; map entries of 15 and 24
    // bits; pixels of 15, 16, 24 and 32 bits; both row orders.
    const struct {
        const char* name;
        uint32_t bits;
        bool fiveBit;
    } cases[] = {
        {"nb-cmap", 8, false},      {"im-cmap", 8, false},     {"nb-cmap16", 8, true},
        {"nb-cmap-rle", 8, false},  {"nb-rgb", 24, false},     {"im-rgb-top", 24, false},
        {"im-rgba-top", 24, false}, {"sc-rgb16", 24, true},    {"nb-grey", 8, false},
        {"nb-rgb-rle", 24, false},  {"im-rgb-rle", 24, false}, {"im-rgba-rle", 24, false},
        {"sc-rgb15-rle", 24, true}, {"im-grey-rle", 8, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string name = c.name;
        const Image image = readFromBytes(readWholeFile(kGood + name + ".tga"), makeTgaReader);
        const Image reference = readFromBytes(readWholeFile(kGood + name + ".ppm"), makePnmReader);
        EXPECT_EQ(image.bitsPerPixel(), c.bits);
        EXPECT_EQ(tagText(image.formatTag), "TGA ");
        if (c.fiveBit)
            EXPECT_TRUE(sameFiveBitColours(image, reference));
        else
            EXPECT_TRUE(samePixels(image, reference));
    }
}

TEST(Tga, OrientationBitsPlaceRowsAndColumns) {
    // 2×2 grey pixels 1 2 / 3 4 in stored order.
    const struct {
        uint8_t descriptor;
        uint8_t topLeft, topRight, bottomLeft;
    } cases[] = {
        {0x20, 1, 2, 3},  // top to bottom, left to right
        {0x00, 3, 4, 1},  // bottom to top
        {0x30, 2, 1, 4},  // top to bottom, right to left
        {0x10, 4, 3, 2},  // bottom to top, right to left
    };
    for (const auto& c : cases) {
        const std::string file =
            header(0, 3, 0, 0, 2, 2, 8, c.descriptor).raw("\x01\x02\x03\x04"sv).s;
        const Image image = readFromBytes(file, makeTgaReader);
        EXPECT_EQ(image.plane.row(0)[0], c.topLeft) << int(c.descriptor);
        EXPECT_EQ(image.plane.row(0)[1], c.topRight) << int(c.descriptor);
        EXPECT_EQ(image.plane.row(1)[0], c.bottomLeft) << int(c.descriptor);
    }
}

TEST(Tga, SixteenBitPixelsAndMapEntriesWidenTheirFiveBitChannels) {
    // Type 2, 16 bits, 2×1 top-down: pure red 0x7C00 and 0x0421 (1,1,1).
    const std::string rgb16 = header(0, 2, 0, 0, 2, 1, 16, 0x20).raw("\x00\x7C\x21\x04"sv).s;
    const Image a = readFromBytes(rgb16, makeTgaReader);
    EXPECT_EQ(colourAt(a, 0, 0), rgb(255, 0, 0));
    EXPECT_EQ(colourAt(a, 1, 0), rgb(8, 8, 8));
    // Type 9 with a 15-bit map of two entries; a run of 3 crosses into row 2.
    const std::string cmap = header(1, 9, 2, 15, 2, 2, 8, 0x20)
                                 .raw("\xE0\x03\x1F\x00"sv)  // green, blue
                                 .raw("\x82\x01\x00\x00"sv)  // run of 3 ones, literal zero
                                 .s;
    const Image b = readFromBytes(cmap, makeTgaReader);
    EXPECT_EQ(colourAt(b, 0, 0), rgb(0, 0, 255));
    EXPECT_EQ(colourAt(b, 0, 1), rgb(0, 0, 255));
    EXPECT_EQ(colourAt(b, 1, 1), rgb(0, 255, 0));
}

TEST(Tga, MalformedHeadersAreRefusedWithTheirError) {
    const struct {
        const char* what;
        Bytes head;
        TGAERROR expected;
    } cases[] = {
        {"257 map entries", header(1, 1, 257, 24, 2, 2, 8, 0), TGAERROR::ColourMapTooLarge},
        {"interleave 3", header(0, 2, 0, 0, 2, 2, 24, 0xC0), TGAERROR::InvalidFile},
        {"depth 12", header(0, 2, 0, 0, 2, 2, 12, 0), TGAERROR::InvalidFile},
        {"zero width", header(0, 2, 0, 0, 0, 2, 24, 0), TGAERROR::DataIntegrity},
        {"no map for type 1", header(0, 1, 0, 0, 2, 2, 8, 0), TGAERROR::UnsupportedMapFormat},
        {"map entries of 12", header(1, 1, 2, 12, 2, 2, 8, 0), TGAERROR::UnsupportedMapFormat},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const std::string file = c.head.s + std::string(2000, '\x01');
        EXPECT_EQ(thrownBy<TGAERROR>([&] { readFromBytes(file, makeTgaReader); }), c.expected);
    }
    try {
        readFromBytes(cases[0].head.s + std::string(2000, '\x01'), makeTgaReader);
        ADD_FAILURE() << "not refused";
    } catch (TGAERROR) {
        EXPECT_EQ(messageText(loadMessageForCurrentException()), "Colormap too large");
    }
    // Nor is a colour-mapped type without a map identified as Targa.
    const std::string noMap = header(0, 1, 0, 0, 2, 2, 8, 0).s + std::string(4, '\0');
    auto in = InFile::overMemory({reinterpret_cast<const uint8_t*>(noMap.data()), noMap.size()});
    EXPECT_FALSE(identifyTga(*in, nullptr));
}

TEST(Tga, OurFilesRoundTripUnderEverySetting) {
    StoredSaveOptions stored;
    Image grey = patternImage(21, 6, 8);
    grey.setGreyPalette();
    for (int settings = 0; settings < 16; ++settings) {
        SaveOptionOverlay options(stored);
        options.set(saveKey::TgaEncode, settings & 1);
        options.set(saveKey::TgaBottomToTop, settings >> 1 & 1);
        options.set(saveKey::TgaRightToLeft, settings >> 2 & 1);
        options.set(saveKey::TgaInterlaceType, settings >> 3 & 1);
        for (uint32_t bits : {1u, 4u, 8u, 24u, 0u}) {
            SCOPED_TRACE(testing::Message() << "settings " << settings << ", bits " << bits);
            const Image original = bits == 0 ? grey : patternImage(150, 7, bits);
            const std::string file = writeToBytes(original, writeTga, options);
            EXPECT_EQ(uint8_t(file[17]) & 0x30,
                      (settings & 2 ? 0 : 0x20) | (settings & 4 ? 0x10 : 0));
            const Image back = readFromBytes(file, makeTgaReader);
            EXPECT_TRUE(samePixels(back, original));
        }
    }
}

}  // namespace
}  // namespace vivark
