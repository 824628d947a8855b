// The run-length formats. Utah RLE: files built here with every opcode in
// both forms, colour maps, backgrounds and alpha, read by us and by netpbm's
// rletopnm, which must agree. Compuserve RLE has no independent decoder, so
// its files are built here from the format's public description (escape
// 'G' 'H' or 'M', runs as characters 32 to 127 alternating background and
// foreground from the background, escape 'G' 'N') and checked pixel by pixel.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "core/Errors.h"
#include "formats/SaveDispatch.h"
#include "formats/pnm/PnmReader.h"
#include "formats/rle/RleReader.h"
#include "support/Commands.h"
#include "support/ImageTestUtil.h"
#include "support/Throws.h"

namespace vivark {
namespace {

using namespace test;

struct Bytes {
    std::string s;
    Bytes& u8(uint8_t v) { return s.push_back(char(v)), *this; }
    Bytes& u16(uint16_t v) { return u8(uint8_t(v)).u8(uint8_t(v >> 8)); }
    Bytes& text(std::string_view t) { return s.append(t), *this; }
    // A Utah opcode in its short form, or its long form when `longForm`.
    Bytes& op(uint8_t code, uint16_t datum, bool longForm = false) {
        if (longForm) return u8(code | 0x40).u8(0).u16(datum);
        return u8(code).u8(uint8_t(datum));
    }
    Bytes& bytes(std::initializer_list<uint8_t> values) {
        op(kUtahByteData, uint16_t(values.size() - 1));
        for (uint8_t v : values) u8(v);
        return values.size() % 2 ? u8(0) : *this;
    }
    Bytes& run(uint16_t count, uint8_t value, bool longForm = false) {
        return op(kUtahRunData, uint16_t(count - 1), longForm).u16(value);
    }
};

// A Utah header of width 5 and height 3 at position 0, 7 (the position is
// not part of the picture), without its background or maps. (rletopnm
// shifts a picture by its x position, so that stays 0.)
Bytes utahHeader(uint8_t flags, uint8_t channels, uint8_t mapChannels, uint8_t mapLog2) {
    Bytes b;
    b.u16(0xCC52).u16(0).u16(7).u16(5).u16(3);
    return b.u8(flags).u8(channels).u8(8).u8(mapChannels).u8(mapLog2);
}

TEST(UtahRle, HandBuiltFilesDecodeAsRletopnmDecodesThem) {
    if (std::system("command -v rletopnm >/dev/null") != 0) GTEST_SKIP() << "netpbm is needed";
    // Three channels cleared to a background: byte data (odd and even
    // counts), a skipped pixel, runs and skips in both forms.
    Bytes rgb = utahHeader(kUtahClearFirst, 3, 0, 0);
    rgb.u8(10).u8(20).u8(30);  // background, three bytes: already an odd count
    rgb.op(kUtahSetColour, 0).bytes({1, 2, 3}).op(kUtahSkipPixels, 1).run(1, 9);
    rgb.op(kUtahSetColour, 1).run(5, 77, true);
    rgb.op(kUtahSetColour, 2).op(kUtahSkipPixels, 2, true).bytes({200, 201});
    rgb.op(kUtahSkipLines, 2, true).op(kUtahSetColour, 0).bytes({5, 6, 7, 8, 9});
    rgb.op(kUtahEof, 0);
    // One channel through a three-channel map, no background, a comment.
    // (rletopnm takes every map as 256 entries long, so this one is.)
    Bytes mapped = utahHeader(kUtahNoBackground | kUtahComment, 1, 3, 8);
    mapped.u8(0);
    for (uint16_t c = 0; c < 3; ++c)
        for (uint16_t i = 0; i < 256; ++i)
            mapped.u16(uint16_t((i * 60 + c * 30) % 256 << 8 | 0x7F));
    mapped.u16(5).text(std::string_view("a=b\0\0", 5)).u8(0);
    mapped.op(kUtahSetColour, 0).bytes({0, 1, 2, 3, 2}).op(kUtahSkipLines, 1);
    mapped.op(kUtahSetColour, 0).run(4, 3).op(kUtahSkipLines, 1);
    mapped.op(kUtahSetColour, 0).run(5, 1).op(kUtahEof, 0);
    // Three channels, each through its own map; no end opcode (the top line ends it).
    Bytes maps = utahHeader(kUtahNoBackground, 3, 3, 8);
    maps.u8(0);
    for (uint16_t c = 0; c < 3; ++c)
        for (uint16_t i = 0; i < 256; ++i)
            maps.u16(uint16_t((c == 1 ? 255 - i : i / (c + 1)) << 8));
    for (int line = 0; line < 3; ++line) {
        for (uint8_t c = 0; c < 3; ++c)
            maps.op(kUtahSetColour, c).bytes({uint8_t(40 * line + c), 90, 180, 250, 3});
        maps.op(kUtahSkipLines, 1);
    }
    // Grey with a background and no pixels: cleared to it, or not.
    Bytes cleared = utahHeader(kUtahClearFirst, 1, 0, 0);
    cleared.u8(99).op(kUtahEof, 0);
    Bytes empty = utahHeader(0, 1, 0, 0);
    empty.u8(99).op(kUtahEof, 0);
    const struct {
        const char* name;
        std::string bytes;
    } cases[] = {{"rgb", rgb.s},
                 {"mapped", mapped.s},
                 {"maps", maps.s},
                 {"cleared", cleared.s},
                 {"empty", empty.s}};
    TempDir dir;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::ofstream(dir / "f", std::ios::binary) << c.bytes;
        const std::string reference =
            commandOutput("rletopnm '" + (dir / "f").string() + "' 2>/dev/null");
        ASSERT_FALSE(reference.empty());
        const Image ours = readFromBytes(c.bytes, makeUtahRleReader);
        EXPECT_TRUE(samePixels(ours, readFromBytes(reference, makePnmReader)));
    }
}

TEST(UtahRle, AlphaChannelIsReadAndWrittenAsRletopnmSeesIt) {
    if (std::system("command -v rletopnm >/dev/null") != 0) GTEST_SKIP() << "netpbm is needed";
    // Three channels: rletopnm 11 crashes on grey with alpha.
    Bytes file = utahHeader(kUtahNoBackground | kUtahAlpha, 3, 0, 0);
    file.u8(0);
    for (int line = 0; line < 3; ++line) {
        file.op(kUtahSetColour, kUtahAlphaChannel).op(kUtahSkipPixels, 1);
        file.run(3, uint8_t(80 * line));
        for (uint8_t c = 0; c < 3; ++c)
            file.op(kUtahSetColour, c).bytes({1, 50, 100, 150, uint8_t(200 + c)});
        file.op(kUtahSkipLines, 1);
    }
    TempDir dir;
    std::ofstream(dir / "hand", std::ios::binary) << file.s;
    Image written = patternImage(9, 4, 24);
    written.secondPlane = PixelPlane(9, 4, 8, false);
    written.secondPlaneKind = SecondPlane::Alpha;
    for (uint32_t y = 0; y < 4; ++y)
        for (uint32_t x = 0; x < 9; ++x) written.secondPlane.mutableRow(y)[x] = uint8_t(x * 30 + y);
    StoredSaveOptions options;
    saveImage(written, dir / "ours", *findWriterByExtension("rle"), options);
    for (const char* name : {"hand", "ours"}) {
        SCOPED_TRACE(name);
        const Image ours = readFromBytes(readWholeFile(dir / name), makeUtahRleReader);
        ASSERT_EQ(ours.secondPlaneKind, SecondPlane::Alpha);
        Image alpha = ours;
        alpha.plane = ours.secondPlane;
        alpha.setGreyPalette();
        const std::string reference =
            commandOutput("rletopnm --alphaout=- '" + (dir / name).string() + "' 2>/dev/null");
        EXPECT_TRUE(samePixels(alpha, readFromBytes(reference, makePnmReader)));
    }
}

TEST(UtahRle, DamagedAndUnsupportedFilesAreRefused) {
    const struct {
        std::string bytes;
        RLEUERROR error;
    } cases[] = {
        {utahHeader(kUtahNoBackground, 2, 0, 0).u8(0).s, RLEUERROR::UnsupportedChannels},
        {utahHeader(kUtahNoBackground, 3, 0, 0).u8(0).op(4, 0).s, RLEUERROR::DataIntegrity},
        {utahHeader(kUtahNoBackground, 1, 1, 17).u8(0).s, RLEUERROR::InvalidFile},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(thrownBy<RLEUERROR>([&] { readFromBytes(c.bytes, makeUtahRleReader); }), c.error);
    }
}

// Compuserve pictures as lists of runs, background first.
std::string compuserve(char resolution, std::initializer_list<int> runs,
                       std::string_view between = "") {
    std::string s = {'\x1B', 'G', resolution};
    for (int r : runs) s += char(32 + r), s += between;
    return s + "\x1BGN";
}

TEST(CompuserveRle, RunsAlternateFromTheBackgroundThroughThePicture) {
    const struct {
        std::string bytes;
        uint32_t width;
        std::vector<std::pair<uint32_t, uint32_t>>
            white;  // first and last pixel of each white stretch
    } cases[] = {
        // Runs cross lines; an empty run continues the colour before it.
        {compuserve('M', {3, 2, 95, 0, 28, 5, 0, 5}), 128, {{3, 4}, {128, 137}}},
        // Line breaks between runs are passed over.
        {compuserve('H', {95, 95, 0, 1}, "\r\n"), 256, {{95, 190}}},
        {compuserve('M', {0, 95, 0, 95, 0, 95, 0, 95, 0, 95}), 128, {{0, 474}}},
    };
    for (const auto& c : cases) {
        const Image image = readFromBytes(c.bytes, makeCompuserveRleReader);
        ASSERT_EQ(image.width(), c.width);
        ASSERT_EQ(image.height(), c.width * 3 / 4);
        for (uint32_t p = 0; p < c.width * image.height(); ++p) {
            bool white = false;
            for (auto [first, last] : c.white) white |= p >= first && p <= last;
            ASSERT_EQ(colourAt(image, p % c.width, p / c.width),
                      white ? rgb(255, 255, 255) : rgb(0, 0, 0))
                << p;
        }
    }
    EXPECT_EQ(thrownBy<RLECERROR>(
                  [] { readFromBytes(std::string("\x1BGM\x80\x1BGN"), makeCompuserveRleReader); }),
              RLECERROR::InvalidFile);
    EXPECT_EQ(thrownBy<RLECERROR>(
                  [] { readFromBytes(std::string("\x1BGM  \x1BGX"), makeCompuserveRleReader); }),
              RLECERROR::InvalidFile);
    EXPECT_EQ(thrownBy<INFILEERROR>(
                  [] { readFromBytes(std::string("\x1BGH !"), makeCompuserveRleReader); }),
              INFILEERROR::UnexpectedEnd);
}

TEST(CompuserveRle, WriterPicksTheResolutionThatHoldsThePictureAndCropsLargerOnes) {
    TempDir dir;
    StoredSaveOptions options;
    const WriterEntry& writer = *findWriterByExtension("rlec");
    for (uint32_t width : {128u, 129u, 300u}) {
        SCOPED_TRACE(width);
        Image source = patternImage(width, 90, 1);
        source.palette[0] = rgb(0, 0, 0);
        source.palette[1] = rgb(255, 255, 255);
        saveImage(source, dir / "f", writer, options);
        const Image read = readFromBytes(readWholeFile(dir / "f"), makeCompuserveRleReader);
        ASSERT_EQ(read.width(), width <= 128 ? 128u : 256u);
        for (uint32_t y = 0; y < read.height(); ++y)
            for (uint32_t x = 0; x < read.width(); ++x)
                ASSERT_EQ(colourAt(read, x, y),
                          x < width && y < 90 ? colourAt(source, x, y) : rgb(0, 0, 0));
    }
}

}  // namespace
}  // namespace vivark
