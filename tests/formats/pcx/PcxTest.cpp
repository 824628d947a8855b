// PCX and DCX: netpbm's files of every plane layout against netpbm's decoding,
// hand-made headers for palette rules and refusals, DCX pages, and the
// writer's refusal of true colour it was not asked for.
#include <gtest/gtest.h>

#include <string>

#include "core/Errors.h"
#include "core/Messages.h"
#include "formats/ErrorMessages.h"
#include "formats/pcx/PcxReader.h"
#include "formats/pcx/PcxWriter.h"
#include "formats/pnm/PnmReader.h"
#include "support/ImageTestUtil.h"
#include "support/Throws.h"

namespace vivark {
namespace {

using namespace test;

const std::string kGood = std::string(VIVARK_TEST_DATA) + "/formats/pcx/good/";

struct Bytes {
    std::string s;
    Bytes& u8(uint8_t v) { return s.push_back(char(v)), *this; }
    Bytes& u16(uint16_t v) { return u8(uint8_t(v)).u8(uint8_t(v >> 8)); }
    Bytes& u32(uint32_t v) { return u16(uint16_t(v)).u16(uint16_t(v >> 16)); }
    Bytes& fill(size_t n, uint8_t v) { return s.append(n, char(v)), *this; }
};

// A 128-byte header with an all-zero 16-colour palette.
Bytes header(uint8_t version, uint8_t encoding, uint8_t bits, uint8_t planes, uint16_t width,
             uint16_t height, uint16_t bytesPerLine) {
    Bytes b;
    b.u8(0x0A).u8(version).u8(encoding).u8(bits).u16(0).u16(0);
    b.u16(uint16_t(width - 1)).u16(uint16_t(height - 1)).u16(72).u16(72).fill(48, 0);
    b.u8(0).u8(planes).u16(bytesPerLine).fill(128 - 68, 0);
    return b;
}

Image readPage(std::string_view bytes, ReaderFactory factory, uint32_t page) {
    auto file = InFile::overMemory({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
    Image image;
    ReadOptions options;
    options.page = page;
    factory(*file)->read(image, options);
    return image;
}

TEST(Pcx, NetpbmFilesOfEveryLayoutMatchTheirReferencePixmaps) {
    const struct {
        const char* name;
        uint32_t bits;
    } cases[] = {
        {"bw", 1},   {"p1x2", 4}, {"p1x3", 4}, {"b2p1", 4},
        {"p4x1", 4}, {"b4p1", 4}, {"b8p1", 8}, {"b8p3", 24},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string name = c.name;
        const Image image = readFromBytes(readWholeFile(kGood + name + ".pcx"), makePcxReader);
        const Image reference = readFromBytes(readWholeFile(kGood + name + ".ppm"), makePnmReader);
        EXPECT_EQ(image.bitsPerPixel(), c.bits);
        EXPECT_EQ(tagText(image.formatTag), "PCX ");
        EXPECT_TRUE(samePixels(image, reference));
    }
}

TEST(Pcx, DefaultPaletteStandsInForAnAllZeroHeaderPalette) {
    // 16 pixels, 4 bits packed, values 0..15; 0xCD and 0xEF as runs of one.
    const std::string file =
        header(5, 1, 4, 1, 16, 1, 8).s + "\x01\x23\x45\x67\x89\xAB\xC1\xCD\xC1\xEF";
    const Image image = readFromBytes(file, makePcxReader);
    ASSERT_EQ(image.paletteCount, 16u);
    for (uint32_t x = 0; x < 16; ++x) EXPECT_EQ(colourAt(image, x, 0), kPcxDefaultPalette[x]);
}

TEST(Pcx, PaletteOf256ColoursIsReadOnlyFromDataLongerThan896Bytes) {
    // One pixel of index 1; the file is padded to the length under test and
    // its last 768 bytes hold a palette whose entry 1 is 10 20 30.
    for (size_t length : {896u, 897u}) {
        std::string file = header(5, 1, 8, 1, 1, 1, 1).s + "\x01";
        file.resize(length - 768, 0);
        std::string palette(768, 0);
        palette[3] = 10, palette[4] = 20, palette[5] = 30;
        file += palette;
        const Image image = readFromBytes(file, makePcxReader);
        EXPECT_EQ(colourAt(image, 0, 0) == rgb(10, 20, 30), length > 896) << length;
    }
}

TEST(Pcx, TwoPlanesOfTwoBitsMakeFourBitValues) {
    // No tool writes or reads this layout; plane p holds bits 2p and 2p + 1.
    // 8 pixels of values 0..15 step 2 (and 1 to 15 step 2 on row 2).
    std::string file = header(5, 1, 2, 2, 8, 2, 2).s;
    for (int y = 0; y < 2; ++y)
        for (int plane = 0; plane < 2; ++plane)
            for (int byte = 0; byte < 2; ++byte) {
                uint8_t packed = 0;
                for (int i = 0; i < 4; ++i) {
                    const int value = 2 * (4 * byte + i) + y;
                    packed = uint8_t(packed | ((value >> (2 * plane)) & 3) << (6 - 2 * i));
                }
                file += std::string("\xC1", 1) + char(packed);
            }
    const Image image = readFromBytes(file, makePcxReader);
    ASSERT_EQ(image.bitsPerPixel(), 4u);
    for (uint32_t y = 0; y < 2; ++y)
        for (uint32_t x = 0; x < 8; ++x)
            EXPECT_EQ(colourAt(image, x, y), kPcxDefaultPalette[2 * x + y]) << x << "," << y;
}

TEST(Pcx, RunsAreCutAtTheEndOfTheirLineAndRowsComeTopFirst) {
    // 3×2, 8 bits: a run of 5 twos fills line 1 and loses its overhang.
    const std::string file = header(0, 1, 8, 1, 3, 2, 3).s + "\xC5\x02" + "\x07\x08\x09";
    const Image image = readFromBytes(file, makePcxReader);
    EXPECT_EQ(image.plane.row(0)[2], 2);
    EXPECT_EQ(image.plane.row(1)[0], 7);
    EXPECT_EQ(image.plane.row(1)[2], 9);
}

TEST(Pcx, MalformedHeadersAreRefusedWithTheirError) {
    const struct {
        const char* what;
        Bytes head;
        PCXERROR expected;
    } cases[] = {
        {"version 1", header(1, 1, 8, 1, 4, 4, 4), PCXERROR::InvalidFile},
        {"encoding 0", header(5, 0, 8, 1, 4, 4, 4), PCXERROR::InvalidFile},
        {"4 bits x 2 planes", header(5, 1, 4, 2, 4, 4, 2), PCXERROR::InvalidFile},
        {"zero planes", header(5, 1, 8, 0, 4, 4, 4), PCXERROR::DataIntegrity},
        {"zero width", header(5, 1, 8, 1, 0, 4, 4), PCXERROR::DataIntegrity},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(thrownBy<PCXERROR>(
                      [&] { readFromBytes(c.head.s + std::string(64, '\x01'), makePcxReader); }),
                  c.expected);
    }
    try {
        readFromBytes(header(1, 1, 8, 1, 4, 4, 4).s + std::string(64, '\x01'), makePcxReader);
        ADD_FAILURE() << "not refused";
    } catch (PCXERROR) {
        EXPECT_EQ(messageText(loadMessageForCurrentException()), "Invalid or unsupported file");
    }
}

TEST(Dcx, PagesAreChosenByPageNumberAmongUpTo1024) {
    // 1024 offsets, no terminator; all point at one of two 1×1 pages.
    const std::string pageA = header(5, 1, 8, 1, 1, 1, 1).s + "\x05";
    const std::string pageB = header(5, 1, 8, 1, 1, 1, 1).s + "\x06";
    const uint32_t atA = 4 + 4 * 1024, atB = atA + uint32_t(pageA.size());
    Bytes b;
    b.u32(0x3ADE68B1);
    for (int i = 0; i < 1024; ++i) b.u32(i == 1023 ? atB : atA);
    const std::string file = b.s + pageA + pageB;
    for (uint32_t page : {1u, 1024u}) {
        const Image image = readPage(file, makeDcxReader, page);
        EXPECT_EQ(image.pageCount, 1024u);
        EXPECT_EQ(image.plane.row(0)[0], page == 1 ? 5 : 6);
        EXPECT_EQ(tagText(image.formatTag), "DCX ");
    }
    EXPECT_THROW(readPage(file, makeDcxReader, 1025), PCXERROR);
    EXPECT_EQ(thrownBy<PCXERROR>([] { readPage("\x01\x02\x03\x04\0\0\0\0", makeDcxReader, 1); }),
              PCXERROR::InvalidFile);
}

// The save path reduces a true-colour image for PCX unless Enable24bit is
// on; the writer itself refuses one it is handed without it.
TEST(Pcx, WriterRefusesTrueColourWithoutEnable24bit) {
    StoredSaveOptions stored;
    SaveOptionOverlay off(stored);
    off.set(saveKey::PcxEnable24bit, 0);
    EXPECT_THROW(writeToBytes(patternImage(4, 4, 24), writePcx, off), PCXERROR);
}

}  // namespace
}  // namespace vivark
