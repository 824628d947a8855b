// The fax family's readers and writers where the registry checks cannot
// reach: a raw fax written by ImageMagick against its bitmap, damaged rows,
// and structured fax files built here record by record from the format's
// public description (no tool of the peers writes them), and the SFF
// writer's records.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "formats/SampleBytes.h"
#include "formats/SaveOptions.h"
#include "formats/fax/FaxFormat.h"
#include "formats/pnm/PnmReader.h"
#include "support/ImageTestUtil.h"
#include "support/Throws.h"

namespace vivark {
namespace {

std::string readSample(const std::string& name) {
    std::ifstream in(std::string(VIVARK_TEST_DATA) + "/formats/fax/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::string asString(const std::vector<uint8_t>& bytes) {
    return {bytes.begin(), bytes.end()};
}

TEST(Fax, RawFaxFromImageMagickMatchesItsBitmap) {
    const Image fax = test::readFromBytes(readSample("ramp.g3"), makeFax3Reader);
    const Image pbm = test::readFromBytes(readSample("ramp.pbm"), makePnmReader);
    EXPECT_TRUE(test::samePixels(fax, pbm));
    EXPECT_TRUE(fax.info.empty());

    // Bits flipped mid-page: the damaged rows are counted and the page is
    // read on (a lost or made-up end of line may shift the rows after it).
    std::string damaged = readSample("ramp.g3");
    for (size_t at = damaged.size() / 2; at < damaged.size() / 2 + 4; ++at) damaged[at] ^= 0x24;
    const Image hurt = test::readFromBytes(damaged, makeFax3Reader);
    EXPECT_NEAR(hurt.height(), pbm.height(), 2u);
    ASSERT_EQ(hurt.info.size(), 1u);
    EXPECT_GT(hurt.info[0].value, 0u);
    for (uint32_t y = 0; y < 5; ++y)
        for (uint32_t x = 0; x < pbm.width(); x += 7)
            EXPECT_EQ(test::colourAt(hurt, x, y), test::colourAt(pbm, x, y)) << x << "," << y;
}

// A document of the given pages (page header fields and records, as hex).
std::string sffDocument(std::initializer_list<std::string> pages) {
    test::Bytes bytes;
    bytes.text("Sfff").hex("01 00 0000").le16(uint32_t(pages.size())).le16(20).le32(0).le32(0);
    for (const std::string& page : pages) bytes.hex(page);
    bytes.hex("FE 00");
    return asString(bytes.data);
}

// Lines of 8 pixels: "1000 11 1000" is white 3, black 2, white 3 (0x18);
// "00110101 000101" is white 0, black 8 (0xFF).
const std::string kPageOne =
    "FE 10 00 00 00 00 0800 0000 01000000 00000000"  // normal resolution, length counted
    "02 8E00"                                        // 0x18
    "02 3514"                                        // 0xFF
    "FF 00"                                          // received in error: repeats 0xFF
    "FF 02 AABB"                                     // user data
    "DA"                                             // two white lines
    "00 0200 8E00";                                  // 0x18, with a 16-bit length
const std::string kPageTwo =
    "FE 10 01 00 00 00 0800 0300 01000000 00000000"  // fine, three lines, one given
    "02 3514";

TEST(Fax, StructuredFaxPagesRecordByRecord) {
    const std::string file = sffDocument({kPageOne, kPageTwo});
    struct Case {
        uint32_t page;
        std::vector<uint8_t> rows;
        double yResolution;
        uint32_t damaged;
    };
    const Case cases[] = {
        {1, {0x18, 0xFF, 0xFF, 0x00, 0x00, 0x18}, 98.0, 1},
        {2, {0xFF, 0x00, 0x00}, 196.0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.page);
        ReadOptions options;
        options.page = c.page;
        // A one-byte buffer shows the records are not read past their ends.
        const Image image = test::readFromBytes(file, makeSffReader, options, 1);
        EXPECT_EQ(image.pageCount, 2u);
        ASSERT_EQ(image.width(), 8u);
        ASSERT_EQ(image.height(), c.rows.size());
        for (uint32_t y = 0; y < image.height(); ++y)
            EXPECT_EQ(image.plane.row(y)[0], c.rows[y]) << y;
        EXPECT_EQ(image.resolution.x, 203.0);
        EXPECT_EQ(image.resolution.y, c.yResolution);
        EXPECT_EQ(image.info.empty() ? 0u : image.info[0].value, c.damaged);
    }
}

TEST(Fax, StructuredFaxRefusals) {
    struct Case {
        const char* name;
        std::string file;
        uint32_t page;
        SFFERROR error;
    };
    const Case cases[] = {
        {"page beyond the last", sffDocument({kPageOne}), 2, SFFERROR::NoPageHeader},
        {"coding other than modified Huffman",
         sffDocument({"FE 10 00 00 01 00 0800 0100 01000000 00000000 02 8E00"}), 1,
         SFFERROR::UnknownCoding},
        {"no page header at the offset",
         asString(test::Bytes()
                      .text("Sfff")
                      .hex("01 00 0000 0100 1400")
                      .le32(0)
                      .le32(0)
                      .hex("02 8E00")
                      .data),
         1, SFFERROR::NoPageHeader},
    };
    for (const Case& c : cases) {
        ReadOptions options;
        options.page = c.page;
        EXPECT_EQ(
            test::thrownBy<SFFERROR>([&] { test::readFromBytes(c.file, makeSffReader, options); }),
            std::optional(c.error))
            << c.name;
    }
}

TEST(Fax, StructuredFaxWriterRecords) {
    Image image(8, 40, 1);
    image.palette[0] = 0xFFFFFF;
    image.palette[1] = 0x000000;
    image.paletteCount = 2;
    image.plane.mutableRow(0)[0] = 0x18;  // then 39 white lines
    const std::string file = test::writeToBytes(image, writeSff, StoredSaveOptions());
    // Header, page header, one line of two bytes, white lines of at most 37
    // per record, end of document.
    const std::string expected =
        sffDocument({"FE 10 00 00 00 00 0800 2800 01000000 01000000 02 8E00 FD DA"});
    EXPECT_EQ(file.substr(20), expected.substr(20));
    EXPECT_TRUE(test::samePixels(test::readFromBytes(file, makeSffReader), image));
}

}  // namespace
}  // namespace vivark
