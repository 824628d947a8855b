// WordPerfect graphics: hand-made files through every run-length code and
// both bitmap records, decoded by us and by ImageMagick; refusals. Our
// writer's files are read back by ImageMagick in RegistryChecksTest.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "core/Errors.h"
#include "formats/SampleBytes.h"
#include "formats/pnm/PnmReader.h"
#include "formats/wpg/WpgReader.h"
#include "support/Commands.h"
#include "support/ImageTestUtil.h"
#include "support/TempDir.h"
#include "support/Throws.h"

namespace vivark {
namespace {

using test::Bytes;

std::string str(const Bytes& b) {
    return {b.data.begin(), b.data.end()};
}

// The header and start record, a colour map of `entries` (entry i: 9i, 255 - 5i,
// 3i + 1), then `records` and the end record.
std::string wpgFile(uint32_t entries, const Bytes& records) {
    Bytes b;
    b.hex("FF575043 10000000 01160100 00000000");  // 0xFF "WPC", records at 16, version 1.0
    b.u8(0x0F).u8(6).u8(1).u8(0).le16(100).le16(100);
    if (entries != 0) {
        b.u8(0x0E).u8(0xFF).le16(4 + 3 * entries).le16(0).le16(entries);
        for (uint32_t i = 0; i < entries; ++i) b.u8(9 * i).u8(255 - 5 * i).u8(3 * i + 1);
    }
    b.append(records.data);
    b.u8(0x10).u8(0);
    return str(b);
}

// A bitmap record of type 11 (or 20, with its angle and corners first).
Bytes bitmap(uint8_t type, uint32_t width, uint32_t height, uint32_t depth, const Bytes& rle) {
    Bytes body;
    if (type == 20) body.fill(10);
    body.le16(width).le16(height).le16(depth).le16(75).le16(75).append(rle.data);
    Bytes r;
    r.data.reserve(4 + body.data.size());  // one allocation: GCC 12 misreads the regrowth
    r.u8(type).u8(0xFF).le16(uint32_t(body.data.size())).append(body.data);
    return r;
}

TEST(Wpg, HandMadeBitmapsDecodeAsImageMagickDecodesThem) {
    if (std::system("command -v convert-im6.q16 >/dev/null") != 0)
        GTEST_SKIP() << "ImageMagick is needed (scripts/setup.sh)";
    const struct {
        const char* what;
        std::string file;
    } cases[] = {
        // 7×5 at 8 bits: copies, a repeat, a row repeat, a run of 0xFF.
        {"every code, 8 bits",
         wpgFile(
             256,
             bitmap(11, 7, 5, 8,
                    Bytes().u8(7).hex("01020304050607").u8(0x87).u8(9).hex("0002").hex("8007")))},
        // 13×4 at 1 bit through record 20; a repeat that runs across rows.
        {"record 20, 1 bit",
         wpgFile(2, bitmap(20, 13, 4, 1, Bytes().hex("02A5F0").hex("8433").hex("02C30F")))},
        // 5×3 at 4 bits (3 bytes a row): one repeat fills rows 1 and 2.
        {"4 bits", wpgFile(16, bitmap(11, 5, 3, 4, Bytes().hex("03012345").hex("867E")))},
        // 9×2 at 2 bits (3 bytes a row).
        {"2 bits", wpgFile(4, bitmap(11, 9, 2, 2, Bytes().hex("06 1B E4 C0 39 93 40")))},
    };
    test::TempDir dir;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const auto path = dir / "case.wpg";
        std::ofstream(path, std::ios::binary) << c.file;
        const Image ours = test::readFromBytes(c.file, makeWpgReader);
        const Image theirs = test::readFromBytes(
            test::commandOutput("convert-im6.q16 '" + path.string() + "' -depth 8 ppm:-"),
            makePnmReader);
        EXPECT_TRUE(test::samePixels(ours, theirs));
    }
}

TEST(Wpg, PicturesWithoutABitmapOrWithBadDataAreRefused) {
    const struct {
        const char* what;
        std::string file;
        WPGERROR expected;
    } cases[] = {
        {"vector only", wpgFile(2, Bytes().u8(0x05).u8(2).le16(0)), WPGERROR::NoRaster},
        {"depth 3", wpgFile(0, bitmap(11, 4, 4, 3, Bytes().hex("0400000000"))),
         WPGERROR::InvalidFile},
        {"row repeat first", wpgFile(2, bitmap(11, 8, 2, 1, Bytes().hex("0002"))),
         WPGERROR::DataIntegrity},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(test::thrownBy<WPGERROR>([&] { test::readFromBytes(c.file, makeWpgReader); }),
                  c.expected);
    }
}

}  // namespace
}  // namespace vivark
