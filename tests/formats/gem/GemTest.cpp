// GEM Paint (IMG): files built here with every kind of run (patterns, solid
// runs, bit strings, vertical replication) in one and four planes, read by us
// and by netpbm's gemtopnm, which must agree; the XIMG palette, which
// gemtopnm does not read, against the colours written into it.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "core/Errors.h"
#include "formats/SaveDispatch.h"
#include "formats/gem/GemReader.h"
#include "formats/pnm/PnmReader.h"
#include "support/Commands.h"
#include "support/ImageTestUtil.h"
#include "support/Throws.h"

namespace vivark {
namespace {

using namespace test;

struct Bytes {
    std::string s;
    Bytes& u8(std::initializer_list<uint8_t> values) {
        for (uint8_t v : values) s.push_back(char(v));
        return *this;
    }
    Bytes& be16(uint16_t v) { return u8({uint8_t(v >> 8), uint8_t(v)}); }
};

Bytes gemHeader(uint16_t words, uint16_t planes, uint16_t patternLength, uint16_t width,
                uint16_t height) {
    Bytes b;
    for (uint16_t w :
         {uint16_t(1), words, planes, patternLength, uint16_t(85), uint16_t(85), width, height})
        b.be16(w);
    return b;
}

TEST(Gem, HandBuiltFilesDecodeAsGemtopnmDecodesThem) {
    if (std::system("command -v gemtopnm >/dev/null") != 0) GTEST_SKIP() << "netpbm is needed";
    // One plane, 32 pixels (4 bytes a line), pattern length 2: a pattern
    // run; a line standing for three; solid runs of both colours.
    Bytes mono = gemHeader(8, 1, 2, 29, 5);
    mono.u8({0x00, 0x02, 0xAA, 0x55});
    mono.u8({0x00, 0x00, 0xFF, 0x03, 0x82, 0x80, 0x02, 0x12, 0x34});
    mono.u8({0x01, 0x81, 0x00, 0x01, 0x3C, 0x01});
    // Four planes of 16 pixels: pixel x has value x on the first line; the
    // second line stands for two and mixes the kinds of run.
    Bytes colour = gemHeader(9, 4, 1, 16, 3);
    colour.be16(0);  // the ninth word
    for (uint16_t plane = 0; plane < 4; ++plane) {
        uint16_t bits = 0;
        for (uint16_t x = 0; x < 16; ++x) bits |= uint16_t(((x >> plane) & 1) << (15 - x));
        colour.u8({0x80, 0x02}).be16(bits);
    }
    colour.u8({0x00, 0x00, 0xFF, 0x02, 0x00, 0x02, 0xF0, 0x80, 0x01, 0x0F, 0x01, 0x82, 0x01, 0x81});
    const struct {
        const char* name;
        std::string bytes;
    } cases[] = {{"mono", mono.s}, {"colour", colour.s}};
    TempDir dir;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::ofstream(dir / "f", std::ios::binary) << c.bytes;
        const std::string reference =
            commandOutput("gemtopnm '" + (dir / "f").string() + "' 2>/dev/null");
        ASSERT_FALSE(reference.empty());
        EXPECT_TRUE(samePixels(readFromBytes(c.bytes, makeGemReader),
                               readFromBytes(reference, makePnmReader)));
    }
}

TEST(Gem, XimgPaletteGivesTheColoursOfTwoPlanes) {
    Bytes file = gemHeader(11 + 3 * 4, 2, 1, 4, 1);
    file.u8({'X', 'I', 'M', 'G'}).be16(0);
    for (uint16_t rgbPermille : {0, 1000, 500, 250})
        file.be16(rgbPermille).be16(0).be16(1000 - rgbPermille);
    file.u8({0x80, 0x01, 0x50, 0x80, 0x01, 0x30});  // values 0, 1, 2, 3 from the left
    const Image image = readFromBytes(file.s, makeGemReader);
    const Colour expected[4] = {rgb(0, 0, 255), rgb(255, 0, 0), rgb(128, 0, 128), rgb(64, 0, 191)};
    for (uint32_t x = 0; x < 4; ++x) EXPECT_EQ(colourAt(image, x, 0), expected[x]) << x;
}

// Our XIMG files: gemtopnm takes four planes through the desktop colours, so
// its colour of each pixel names the plane value it read, which must be the
// source's index; our reader gives back the source's colours.
TEST(Gem, XimgFilesWeWriteCarryTheIndicesInTheirPlanes) {
    if (std::system("command -v gemtopnm >/dev/null") != 0) GTEST_SKIP() << "netpbm is needed";
    const Colour desktop[16] = {0xFFFFFF, 0xFF0000, 0x00FF00, 0xFFFF00, 0x0000FF, 0xFF00FF,
                                0x00FFFF, 0xAAAAAA, 0x555555, 0xAA0000, 0x00AA00, 0xAAAA00,
                                0x0000AA, 0xAA00AA, 0x00AAAA, 0x000000};
    Image source = patternImage(21, 13, 4);
    TempDir dir;
    StoredSaveOptions options;
    saveImage(source, dir / "f.img", *findWriterByExtension("img"), options);
    EXPECT_TRUE(samePixels(readFromBytes(readWholeFile(dir / "f.img"), makeGemReader), source));
    const Image theirs = readFromBytes(
        commandOutput("gemtopnm '" + (dir / "f.img").string() + "' 2>/dev/null"), makePnmReader);
    ASSERT_EQ(theirs.width(), 21u);
    for (uint32_t y = 0; y < 13; ++y)
        for (uint32_t x = 0; x < 21; ++x) {
            const uint8_t index = source.plane.row(y)[x / 2] >> (x % 2 ? 0 : 4) & 0x0F;
            ASSERT_EQ(colourAt(theirs, x, y), desktop[index]) << x << "," << y;
        }
}

TEST(Gem, RunsPastTheLineAndBadHeadersAreRefused) {
    const struct {
        std::string bytes;
        IMGERROR error;
    } cases[] = {
        {gemHeader(8, 1, 1, 8, 1).u8({0x82}).s, IMGERROR::DataIntegrity},
        {gemHeader(8, 1, 2, 8, 1).u8({0x00, 0x01, 0xFF, 0xFF}).s, IMGERROR::DataIntegrity},
        {gemHeader(8, 1, 1, 16, 2).u8({0x81, 0x00, 0x00, 0xFF, 0x02}).s, IMGERROR::DataIntegrity},
        {gemHeader(8, 9, 1, 8, 1).s, IMGERROR::BadPlaneCount},
        {gemHeader(8, 1, 9, 8, 1).s, IMGERROR::InvalidFile},
    };
    for (const auto& c : cases)
        EXPECT_EQ(thrownBy<IMGERROR>([&] { readFromBytes(c.bytes, makeGemReader); }), c.error);
}

}  // namespace
}  // namespace vivark
