// PCX and DCX reading: netpbm's files of every plane layout against netpbm's
// own decoding, hand-made headers for the palette rules and refusals, DCX
// page selection, and truncation at every byte.
#include <gtest/gtest.h>

#include <string>

#include "core/ErrorMapping.h"
#include "core/Errors.h"
#include "core/Messages.h"
#include "formats/pcx/PcxReader.h"
#include "formats/pcx/PcxWriter.h"
#include "formats/pnm/PnmReader.h"
#include "support/ImageTestUtil.h"

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
    image.pageNumber = page;
    factory(*file)->read(image, {});
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
    // 16 pixels, 4 bits packed, values 0..15.
    std::string file = header(5, 1, 4, 1, 16, 1, 8).s;
    for (int i = 0; i < 6; ++i) file.push_back(char((2 * i) << 4 | (2 * i + 1)));
    file += std::string("\xC1\xCD\xC1\xEF", 4);  // 0xCD and 0xEF as runs of one
    const Image image = readFromBytes(file, makePcxReader);
    ASSERT_EQ(image.paletteCount, 16u);
    for (uint32_t x = 0; x < 16; ++x) EXPECT_EQ(colourAt(image, x, 0), kPcxDefaultPalette[x]);
    EXPECT_EQ(kPcxDefaultPalette[1], 0xFFFFFFu);
    EXPECT_EQ(kPcxDefaultPalette[6], 0xAAAA00u);
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
        const char* message = nullptr;
    } cases[] = {
        {"version 1", header(1, 1, 8, 1, 4, 4, 4), PCXERROR::InvalidFile,
         "Invalid or unsupported file"},
        {"version 6", header(6, 1, 8, 1, 4, 4, 4), PCXERROR::InvalidFile},
        {"encoding 0", header(5, 0, 8, 1, 4, 4, 4), PCXERROR::InvalidFile},
        {"4 bits x 2 planes", header(5, 1, 4, 2, 4, 4, 2), PCXERROR::InvalidFile},
        {"8 bits x 2 planes", header(5, 1, 8, 2, 4, 4, 4), PCXERROR::InvalidFile},
        {"3 bits", header(5, 1, 3, 1, 4, 4, 4), PCXERROR::InvalidFile},
        {"zero planes", header(5, 1, 8, 0, 4, 4, 4), PCXERROR::DataIntegrity},
        {"zero bytes per line", header(5, 1, 8, 1, 4, 4, 0), PCXERROR::DataIntegrity},
        {"zero width", header(5, 1, 8, 1, 0, 4, 4), PCXERROR::DataIntegrity},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        try {
            readFromBytes(c.head.s + std::string(64, '\x01'), makePcxReader);
            FAIL() << "accepted";
        } catch (PCXERROR e) {
            EXPECT_EQ(e, c.expected);
            if (c.message != nullptr) {
                EXPECT_EQ(messageText(loadMessageForCurrentException()), c.message);
            }
        }
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
    try {
        readPage("\x01\x02\x03\x04\0\0\0\0", makeDcxReader, 1);
        FAIL();
    } catch (PCXERROR e) {
        EXPECT_EQ(e, PCXERROR::InvalidFile);
    }
}

TEST(Pcx, OurFilesOfEveryDepthRoundTrip) {
    StoredSaveOptions stored;
    SaveOptionOverlay options(stored);
    options.set(saveKey::PcxEnable24bit, 1);
    for (uint32_t bits : {1u, 4u, 8u, 24u}) {
        for (uint32_t width : {1u, 9u, 70u}) {
            SCOPED_TRACE(testing::Message() << bits << " bits, width " << width);
            const Image original = patternImage(width, 5, bits);
            const Image pcx =
                readFromBytes(writeToBytes(original, writePcx, options), makePcxReader);
            EXPECT_EQ(pcx.bitsPerPixel(), bits);
            const Image dcx =
                readFromBytes(writeToBytes(original, writeDcx, options), makeDcxReader);
            EXPECT_EQ(dcx.pageCount, 1u);
            if (bits == 1) {
                // One-bit PCX is always black and white: compare the indices.
                for (uint32_t y = 0; y < 5; ++y) {
                    const size_t n = (width + 7) / 8;
                    EXPECT_TRUE(
                        std::equal(pcx.plane.row(y), pcx.plane.row(y) + n, original.plane.row(y)));
                    EXPECT_TRUE(
                        std::equal(dcx.plane.row(y), dcx.plane.row(y) + n, original.plane.row(y)));
                }
            } else {
                EXPECT_TRUE(samePixels(pcx, original));
                EXPECT_TRUE(samePixels(dcx, original));
            }
        }
    }
    // Without Enable24bit a true-colour image is refused.
    SaveOptionOverlay off(stored);
    off.set(saveKey::PcxEnable24bit, 0);
    EXPECT_THROW(writeToBytes(patternImage(4, 4, 24), writePcx, off), PCXERROR);
}

TEST(Pcx, EveryTruncationFailsCleanlyThroughSmallBuffers) {
    for (const char* name : {"bw.pcx", "p4x1.pcx", "b2p1.pcx", "b8p1.pcx", "b8p3.pcx"}) {
        const std::string sample = readWholeFile(kGood + name);
        for (size_t cut = 0; cut < sample.size(); ++cut) {
            try {
                readFromBytes(std::string_view(sample).substr(0, cut), makePcxReader, {},
                              cut % 3 + 1);
            } catch (PCXERROR) {
            } catch (INFILEERROR e) {
                EXPECT_EQ(e, INFILEERROR::UnexpectedEnd);
            }
        }
    }
}

}  // namespace
}  // namespace vivark
