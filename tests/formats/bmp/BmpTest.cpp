// The bitmap family: every depth and compression through writer and reader,
// tools' files against their reference pixmaps, hand-built hostile headers and
// RLE streams, pointers and arrays.
#include <gtest/gtest.h>

#include <string>

#include "core/ByteOrder.h"
#include "core/Errors.h"
#include "formats/bmp/BmpReader.h"
#include "formats/bmp/BmpWriter.h"
#include "formats/pnm/PnmReader.h"
#include "support/Commands.h"
#include "support/ImageTestUtil.h"
#include "support/Throws.h"

namespace vivark {
namespace {

using namespace test;

const std::string kGood = std::string(VIVARK_TEST_DATA) + "/formats/bmp/good/";

// A little-endian byte builder for hand-made files.
struct Bytes {
    std::string s;
    Bytes& u8(uint8_t v) { return s.push_back(char(v)), *this; }
    Bytes& u16(uint16_t v) { return u8(uint8_t(v)).u8(uint8_t(v >> 8)); }
    Bytes& u32(uint32_t v) { return u16(uint16_t(v)).u16(uint16_t(v >> 16)); }
    Bytes& raw(std::string_view t) { return s.append(t), *this; }
};

// "BM" file with a 40-byte header; `palette` entries of grey, then `pixels`.
std::string bitmapFile(int32_t width, int32_t height, uint16_t bits, uint32_t compression,
                       uint32_t palette, std::string_view pixels, uint32_t offset = 0) {
    Bytes b;
    const uint32_t off = offset ? offset : 14 + 40 + palette * 4;
    b.u16(0x4D42).u32(off + uint32_t(pixels.size())).u32(0).u32(off);
    b.u32(40).u32(uint32_t(width)).u32(uint32_t(height)).u16(1).u16(bits).u32(compression);
    b.u32(uint32_t(pixels.size())).u32(2835).u32(2835).u32(palette).u32(0);
    for (uint32_t i = 0; i < palette; ++i)
        b.u8(uint8_t(i * 16)).u8(uint8_t(i * 16)).u8(uint8_t(i * 16)).u8(0);
    return b.raw(pixels).s;
}

struct RoundTrip {
    const char* name;
    Writer write;
    std::string_view key1;
    int32_t value1;
    std::string_view key2;
    int32_t value2;
};

TEST(Bmp, EveryDepthAndVariantRoundTripsPixelForPixel) {
    const RoundTrip cases[] = {
        {"windows", writeWindowsBitmap, saveKey::WindowsBitmapEncode, 0, {}, 0},
        {"windows rle", writeWindowsBitmap, saveKey::WindowsBitmapEncode, 1, {}, 0},
        {"os2 1.x", writeOs2Bitmap, saveKey::Os2BitmapFormat, 0, {}, 0},
        {"os2 2.x", writeOs2Bitmap, saveKey::Os2BitmapFormat, 1, {}, 0},
        {"os2 2.x rle", writeOs2Bitmap, saveKey::Os2BitmapFormat, 1, saveKey::Os2BitmapEncode, 1},
    };
    StoredSaveOptions stored;
    for (const RoundTrip& c : cases) {
        SaveOptionOverlay options(stored);
        options.set(c.key1, c.value1);
        if (!c.key2.empty()) options.set(c.key2, c.value2);
        for (uint32_t bits : {1u, 4u, 8u, 24u}) {
            for (auto [w, h] : {std::pair{1u, 1u}, {13u, 7u}, {300u, 3u}}) {
                SCOPED_TRACE(::testing::Message()
                             << c.name << " " << bits << " bits " << w << "x" << h);
                const Image original = patternImage(w, h, bits);
                const Image back =
                    readFromBytes(writeToBytes(original, c.write, options), makeBmpReader);
                EXPECT_EQ(back.bitsPerPixel(), bits);
                EXPECT_TRUE(samePixels(original, back));
            }
        }
    }
}

TEST(Bmp, EncodeWritesSmallerRleFilesForRunsAndLeavesOtherDepthsAlone) {
    StoredSaveOptions stored;
    SaveOptionOverlay rle(stored);
    rle.set(saveKey::WindowsBitmapEncode, 1);
    Image runs(200, 20, 8);
    for (uint32_t y = 5; y < 10; ++y) runs.plane.mutableRow(y)[3] = 0x11;
    const std::string encoded = writeToBytes(runs, writeWindowsBitmap, rle);
    const auto field = [](const std::string& file, size_t at) {
        return loadLE32(reinterpret_cast<const uint8_t*>(file.data()) + at);
    };
    EXPECT_EQ(field(encoded, 30), 1u);  // RLE8
    EXPECT_EQ(field(encoded, 2), encoded.size());
    EXPECT_LT(encoded.size() * 4, writeToBytes(runs, writeWindowsBitmap, stored).size());
    EXPECT_EQ(field(writeToBytes(patternImage(5, 5, 24), writeWindowsBitmap, rle), 30), 0u);
}

TEST(Bmp, FilesOfIndependentToolsMatchTheirReferencePixmapsAndNames) {
    constexpr const char* kWindows = "Windows Bitmap";
    const struct {
        const char* bmp;
        const char* reference;
        uint32_t bits;
        const char* tag;
        const char* name;  // as `vivark info` names the file
    } cases[] = {
        {"netpbm-win24.bmp", "truecolour.ppm", 24, "BMPW", kWindows},
        {"netpbm-win8.bmp", "palette16.ppm", 8, "BMPW", kWindows},
        {"netpbm-win4.bmp", "palette16.ppm", 4, "BMPW", kWindows},
        {"netpbm-win1.bmp", "mono.pbm", 1, "BMPW", kWindows},
        {"netpbm-os2-8.bmp", "palette16.ppm", 8, "BMP ", "OS/2 Bitmap"},
        {"netpbm-os2-24.bmp", "truecolour.ppm", 24, "BMP ", "OS/2 Bitmap"},
        {"im-rle8.bmp", "palette16.ppm", 8, "BMPW", kWindows},
        // Version 5 headers keep the family's tag but are Windows bitmaps.
        {"im-rgb565.bmp", "truecolour.ppm", 24, "BMP ", kWindows},
        {"im-rgb555.bmp", "truecolour.ppm", 24, "BMP ", kWindows},
        {"im-argb32.bmp", "truecolour.ppm", 24, "BMP ", kWindows},
        {"im-icon.ico", "icon16.ppm", 24, "ICOW", "Windows Icon"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.bmp);
        const Image image = readFromBytes(readWholeFile(kGood + c.bmp), makeBmpReader);
        const Image reference = readFromBytes(readWholeFile(kGood + c.reference), makePnmReader);
        EXPECT_EQ(image.bitsPerPixel(), c.bits);
        EXPECT_EQ(tagText(image.formatTag), c.tag);
        std::string info;
        EXPECT_EQ(runVivark({"info", kGood + c.bmp}, &info), 0);
        EXPECT_EQ(info.substr(0, info.find(" (")), kGood + c.bmp + ": " + c.name);
        if (std::string(c.bmp).find("565") != std::string::npos ||
            std::string(c.bmp).find("555") != std::string::npos) {
            // Five- and six-bit channels: within one step of the reference.
            for (uint32_t y = 0; y < image.height(); ++y)
                for (uint32_t x = 0; x < image.width(); ++x)
                    for (int shift : {0, 8, 16})
                        EXPECT_NEAR(int(colourAt(image, x, y) >> shift & 0xFF),
                                    int(colourAt(reference, x, y) >> shift & 0xFF), 8);
        } else {
            EXPECT_TRUE(samePixels(image, reference));
        }
    }
}

TEST(Bmp, TopDownRowsAndResolutionAreKept) {
    const std::string rows =
        std::string("\x01\x02\x03\x00", 4) + std::string("\x04\x05\x06\x00", 4);
    const Image bottomUp = readFromBytes(bitmapFile(1, 2, 24, 0, 0, rows), makeBmpReader);
    const Image topDown = readFromBytes(bitmapFile(1, -2, 24, 0, 0, rows), makeBmpReader);
    EXPECT_EQ(colourAt(bottomUp, 0, 1), 0x030201u);
    EXPECT_EQ(colourAt(topDown, 0, 0), 0x030201u);
    EXPECT_EQ(topDown.resolution, (Resolution{2835, 2835, ResolutionUnit::PerMetre}));
}

TEST(Bmp, Rle4AndRle8StreamsDecodeWithDeltasAndAbsoluteRuns) {
    // 4 x 2, RLE8: row 0 = run of 2 x 5, delta (1,0), one pixel 7; row 1 absolute 1 2 3 then EOB.
    const std::string rle8(
        "\x02\x05\x00\x02\x01\x00\x01\x07\x00\x00\x00\x03\x01\x02\x03\x00\x00\x01", 18);
    const Image a = readFromBytes(bitmapFile(4, 2, 8, 1, 16, rle8), makeBmpReader);
    EXPECT_EQ(a.plane.row(1)[0], 5);
    EXPECT_EQ(a.plane.row(1)[2], 0);
    EXPECT_EQ(a.plane.row(1)[3], 7);
    EXPECT_EQ(a.plane.row(0)[2], 3);
    // RLE4, width 3: a run of 4 alternating nibbles (padding dropped), EOB.
    const std::string rle4("\x04\x12\x00\x01", 4);
    const Image b = readFromBytes(bitmapFile(3, 1, 4, 2, 16, rle4), makeBmpReader);
    EXPECT_EQ(b.plane.row(0)[0], 0x12);
    EXPECT_EQ(b.plane.row(0)[1] >> 4, 1);
}

TEST(Bmp, MalformedFilesAreRefusedWithTheirError) {
    const auto overrunRun = std::string("\x09\x01\x00\x01", 4);
    const auto overrunDelta = std::string("\x00\x02\x09\x00\x00\x01", 6);
    const auto absolutePastRow = std::string("\x00\x05\x01\x02\x03\x04\x05\x00", 8);
    const struct {
        const char* name;
        std::string file;
        BMPERROR error;
    } cases[] = {
        {"run past row", bitmapFile(4, 1, 8, 1, 2, overrunRun), BMPERROR::DataOverrun},
        {"delta past row", bitmapFile(4, 1, 8, 1, 2, overrunDelta), BMPERROR::DataOverrun},
        {"absolute past row", bitmapFile(4, 1, 8, 1, 2, absolutePastRow), BMPERROR::DataOverrun},
        {"negative width", bitmapFile(-4, 1, 24, 0, 0, "xxxx"), BMPERROR::InvalidFile},
        {"bit count 3", bitmapFile(4, 1, 3, 0, 0, "xxxx"), BMPERROR::InvalidFile},
        {"jpeg", bitmapFile(4, 1, 24, 4, 0, "xxxx"), BMPERROR::UnsupportedCompression},
        {"offset past end", bitmapFile(1, 1, 24, 0, 0, "xxxx", 5000), BMPERROR::InvalidFile},
        {"not a bitmap", "XX" + std::string(60, '\0'), BMPERROR::InvalidFile},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(thrownBy<BMPERROR>([&] { readFromBytes(c.file, makeBmpReader); }), c.error);
    }
}

TEST(Bmp, HugeSizesAreRefusedBeforeAllocating) {
    ReadOptions tight;
    tight.limits.maxBytes = 64 << 20;
    EXPECT_THROW(
        readFromBytes(bitmapFile(0x7FFFFFFF, 0x7FFFFFFF, 24, 0, 0, "x"), makeBmpReader, tight),
        IMAGEERROR);
    // Within the limits but far larger than the file: the data is missing.
    EXPECT_THROW(readFromBytes(bitmapFile(4000, 4000, 8, 0, 0, "x"), makeBmpReader), INFILEERROR);
}

TEST(Bmp, Os2PointerGivesTheLowerHalfOfItsBitmap) {
    Bytes ptr;
    ptr.u16(0x5450).u32(0).u16(0).u16(0).u32(14 + 12 + 6);
    ptr.u32(12).u16(8).u16(4).u16(1).u16(1).raw(std::string("\0\0\0\xFF\xFF\xFF", 6));
    ptr.raw(std::string("\xFF\0\0\0\xFF\0\0\0\0\0\0\0\0\0\0\0", 16));
    const Image pointer = readFromBytes(ptr.s, makeBmpReader);
    EXPECT_EQ(pointer.height(), 2u);
    EXPECT_EQ(colourAt(pointer, 0, 1), 0xFFFFFFu);
    EXPECT_EQ(tagText(pointer.formatTag), "PTR ");
}

TEST(Bmp, BitmapArrayGivesItsFirstElement) {
    const std::string element =
        bitmapFile(1, 1, 24, 0, 0, std::string("\x01\x02\x03\x00", 4), 14 + 14 + 40);
    Bytes array;
    array.u16(0x4142).u32(40).u32(0).u16(0).u16(0).raw(element);
    const Image image = readFromBytes(array.s, makeBmpReader);
    EXPECT_EQ(colourAt(image, 0, 0), 0x030201u);
    EXPECT_EQ(tagText(image.formatTag), "BMP ");
}

}  // namespace
}  // namespace vivark
