// PBMPlus: header and sample variants, maxval scaling against netpbm's own,
// the plain writers' line length, and the anymap's choice of kind (the
// registry checks read both forms back through netpbm).
#include <gtest/gtest.h>

#include <sstream>

#include "core/Errors.h"
#include "formats/pnm/PnmReader.h"
#include "formats/pnm/PnmWriter.h"
#include "support/ImageTestUtil.h"
#include "support/Throws.h"

namespace vivark {
namespace {

using namespace test;

const std::string kGood = std::string(VIVARK_TEST_DATA) + "/formats/pnm/good/";

TEST(Pnm, HeaderAndSampleVariantsDecode) {
    const struct {
        const char* name;
        std::string file;
        uint32_t width, height, bits;
        Colour first, last;
    } cases[] = {
        {"plain bitmap, comments, no blanks", "P1\n# c1\n3 # c2\n2\n101\n0 1 0", 3, 2, 1, 0x000000,
         0xFFFFFF},
        {"raw bitmap, width 10", std::string("P4 10 1\n\x80\x40", 10), 10, 1, 1, 0x000000,
         0x000000},
        {"plain graymap maxval 1023", "P2 2 1 1023 0 1023", 2, 1, 8, 0x000000, 0xFFFFFF},
        {"raw graymap", std::string("P5 2 1 255\n\x10\x20", 13), 2, 1, 8, 0x101010, 0x202020},
        {"raw 16-bit graymap", std::string("P5 1 1 65535\n\x80\x00", 15), 1, 1, 8, 0x808080,
         0x808080},
        {"raw pixmap, second image ignored",
         std::string("P6 1 1 255\n\x01\x02\x03P6 1 1 255\n\x09\x09\x09", 28), 1, 1, 24, 0x010203,
         0x010203},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const Image image = readFromBytes(c.file, makePnmReader);
        EXPECT_EQ(image.width(), c.width);
        EXPECT_EQ(image.height(), c.height);
        EXPECT_EQ(image.bitsPerPixel(), c.bits);
        EXPECT_EQ(colourAt(image, 0, 0), c.first);
        EXPECT_EQ(colourAt(image, c.width - 1, c.height - 1), c.last);
    }
}

TEST(Pnm, MalformedFilesAreRefused) {
    const struct {
        const char* name;
        std::string file;
        PNMERROR error;
    } cases[] = {
        {"P7", "P7 1 1 255 x", PNMERROR::InvalidFile},
        {"maxval 0", "P2 1 1 0 0", PNMERROR::InvalidFile},
        {"maxval 65536", "P2 1 1 65536 0", PNMERROR::InvalidFile},
        {"letter in header", "P2 x 1 255 0", PNMERROR::InvalidFile},
        {"sample above maxval", "P2 1 1 10 11", PNMERROR::DataIntegrity},
        {"raw 16-bit above maxval", std::string("P5 1 1 1000\n\xFF\xFF", 14),
         PNMERROR::DataIntegrity},
        {"bitmap digit 2", "P1 2 1 12", PNMERROR::DataIntegrity},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(thrownBy<PNMERROR>([&] { readFromBytes(c.file, makePnmReader); }), c.error);
    }
    EXPECT_THROW(readFromBytes("P6 1000 1000 255\nabc", makePnmReader), INFILEERROR);
    ReadOptions tight;
    tight.limits.maxWidth = 100;
    EXPECT_THROW(readFromBytes("P5 101 1 255\n", makePnmReader, tight), IMAGEERROR);
}

TEST(Pnm, DeepSamplesScaleAsNetpbmDoes) {
    for (auto [deep, reference] : {std::pair{"grey1023.pgm", "grey1023-as255.pgm"},
                                   {"grey65535.pgm", "grey65535-as255.pgm"},
                                   {"grey1023-plain.pgm", "grey1023-as255.pgm"}}) {
        SCOPED_TRACE(deep);
        EXPECT_TRUE(samePixels(readFromBytes(readWholeFile(kGood + deep), makePnmReader),
                               readFromBytes(readWholeFile(kGood + reference), makePnmReader)));
    }
    EXPECT_TRUE(samePixels(
        readFromBytes(readWholeFile(kGood + "truecolour-plain.ppm"), makePnmReader),
        readFromBytes(
            readWholeFile(std::string(VIVARK_TEST_DATA) + "/formats/bmp/good/truecolour.ppm"),
            makePnmReader)));
}

// Plain files keep their lines to 70 characters.
TEST(Pnm, PlainWritersKeepLinesShort) {
    Image mono = patternImage(75, 4, 1);
    mono.setGreyPalette(1);
    Image grey = patternImage(40, 3, 8);
    grey.setGreyPalette();
    const Image colour = patternImage(31, 5, 24);
    const std::pair<Writer, const Image*> cases[] = {{writePortableBitmap, &mono},
                                                     {writePortableGraymap, &grey},
                                                     {writePortablePixmap, &colour}};
    StoredSaveOptions stored;
    SaveOptionOverlay plain(stored);
    for (std::string_view key : {saveKey::PbmRawData, saveKey::PgmRawData, saveKey::PpmRawData})
        plain.set(key, 0);
    for (const auto& [write, image] : cases) {
        std::istringstream lines(writeToBytes(*image, write, plain));
        for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 70u);
    }
}

TEST(Pnm, AnymapPicksTheKindByContent) {
    Image mono = patternImage(8, 2, 8);
    mono.palette.entries.fill(0xFFFFFF);
    mono.palette[0] = 0;
    Image grey = patternImage(8, 2, 4);
    grey.setGreyPalette(4);
    StoredSaveOptions stored;
    EXPECT_EQ(writeToBytes(mono, writePortableAnymap, stored)[1], '4');
    EXPECT_EQ(writeToBytes(grey, writePortableAnymap, stored)[1], '5');
    EXPECT_EQ(writeToBytes(patternImage(8, 2, 4), writePortableAnymap, stored)[1], '6');
    const Image back =
        readFromBytes(writeToBytes(mono, writePortableAnymap, stored), makePnmReader);
    EXPECT_TRUE(samePixels(mono, back));
}

}  // namespace
}  // namespace vivark
