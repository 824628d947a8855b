// The GIF writer: files decode with giflib to the image's indices and table
// under every option, the signature, table size and code size rules hold,
// the interlaced row order is a permutation, and a cancel stops the save.
#include <gif_lib.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "core/Errors.h"
#include "formats/gif/GifReader.h"
#include "formats/gif/GifWriter.h"
#include "support/ImageTestUtil.h"
#include "support/Throws.h"

namespace vivark {
namespace {

struct WriterCase {
    const char* name;
    uint32_t width, height, bits, paletteCount;
    bool gif89, interlace, transparent, background;
    const char* signature;
    uint32_t tableEntries;
};

const WriterCase kWriterCases[] = {
    {"TwoColours87a", 37, 11, 1, 2, false, false, false, false, "GIF87a", 2},
    {"Sixteen89a", 40, 25, 4, 16, true, false, false, true, "GIF89a", 16},
    {"SeventeenOfEight", 50, 30, 8, 17, false, false, false, false, "GIF87a", 32},
    {"Interlaced", 64, 45, 8, 256, false, true, false, false, "GIF87a", 256},
    {"InterlacedOneRow", 9, 1, 4, 16, false, true, false, false, "GIF87a", 16},
    {"TransparentForces89a", 20, 20, 8, 256, false, false, true, false, "GIF89a", 256},
    {"Large", 700, 500, 8, 256, true, true, true, true, "GIF89a", 256},
};

TEST(GifWriter, GiflibDecodesTheImageUnchangedUnderEveryOption) {
    for (const WriterCase& c : kWriterCases) {
        SCOPED_TRACE(c.name);
        Image image = test::patternImage(c.width, c.height, c.bits);
        image.paletteCount = c.paletteCount;
        if (c.bits == 8)
            for (uint32_t y = 0; y < c.height; ++y)
                for (uint32_t x = 0; x < c.width; ++x)
                    image.plane.mutableRow(y)[x] %= c.paletteCount;
        image.comment = std::string(300, 'c') + "end";
        StoredSaveOptions stored;
        SaveOptionOverlay options(stored);
        options.set(saveKey::GifGif89a, c.gif89);
        options.set(saveKey::GifInterlace, c.interlace);
        options.set(saveKey::GifTransparent, c.transparent);
        options.set(saveKey::GifTransparentIndex, 0x103);
        options.set(saveKey::GifBackground, c.background);
        options.set(saveKey::GifBackgroundIndex, 1);
        const std::string bytes = test::writeToBytes(image, writeGif, options);
        EXPECT_EQ(bytes.substr(0, 6), c.signature);

        test::TempDir dir;
        auto path = dir.write("w.gif", bytes);
        int error = 0;
        GifFileType* gif = DGifOpenFileName(path.c_str(), &error);
        ASSERT_NE(gif, nullptr);
        ASSERT_EQ(DGifSlurp(gif), GIF_OK) << gif->Error;
        ASSERT_EQ(gif->ImageCount, 1);
        EXPECT_EQ(uint32_t(gif->SWidth), c.width);
        EXPECT_EQ(uint32_t(gif->SHeight), c.height);
        EXPECT_EQ(gif->SBackGroundColor, c.background ? 1 : 0);
        ASSERT_NE(gif->SColorMap, nullptr);
        EXPECT_EQ(uint32_t(gif->SColorMap->ColorCount), c.tableEntries);
        for (int i = 0; i < gif->SColorMap->ColorCount; ++i) {
            const GifColorType& g = gif->SColorMap->Colors[i];
            EXPECT_EQ(rgb(g.Red, g.Green, g.Blue), image.palette[i]);
        }
        const SavedImage& saved = gif->SavedImages[0];
        EXPECT_EQ(bool(saved.ImageDesc.Interlace), c.interlace);
        // giflib's slurp puts interlaced rows in their places.
        std::vector<uint8_t> expected(c.width);
        for (uint32_t y = 0; y < c.height; ++y) {
            unpackIndices(image.plane.row(y), expected.data(), c.width, c.bits);
            ASSERT_TRUE(std::equal(expected.begin(), expected.end(),
                                   saved.RasterBits + size_t(y) * c.width))
                << "row " << y;
        }
        GraphicsControlBlock gcb;
        if (c.transparent) {
            ASSERT_EQ(DGifSavedExtensionToGCB(gif, 0, &gcb), GIF_OK);
            EXPECT_EQ(gcb.TransparentColor, 3);
        }
        DGifCloseFile(gif, &error);

        Image back = test::readFromBytes(bytes, makeGifReader);
        // Transparent pixels show the background when read back.
        if (!c.transparent) {
            EXPECT_TRUE(test::samePixels(back, image));
        }
        EXPECT_EQ(back.comment, image.comment);
    }
}

TEST(GifWriter, TwoColourImageHasCodeSizeTwoAndTwoEntryTable) {
    Image image = test::patternImage(8, 2, 1);
    image.paletteCount = 2;
    StoredSaveOptions stored;
    const std::string bytes = test::writeToBytes(image, writeGif, stored);
    EXPECT_EQ(uint8_t(bytes[10]), 0xF0);        // global table, 2 entries, no sort flag
    EXPECT_EQ(uint8_t(bytes[13 + 6 + 10]), 2);  // code size after descriptor
    EXPECT_EQ(uint8_t(bytes[bytes.size() - 1]), 0x3B);
}

TEST(GifWriter, InterlacedOrderVisitsEveryRowOnce) {
    for (uint32_t height = 1; height < 40; ++height) {
        std::vector<uint32_t> rows;
        for (uint32_t i = 0; i < height; ++i) rows.push_back(gifInterlacedRow(i, height));
        EXPECT_EQ(rows[0], 0u);
        std::sort(rows.begin(), rows.end());
        std::vector<uint32_t> all(height);
        std::iota(all.begin(), all.end(), 0u);
        EXPECT_EQ(rows, all) << height;
    }
}

TEST(GifWriter, CancelStopsTheSave) {
    Image image = test::patternImage(30, 30, 8);
    StoredSaveOptions stored;
    test::TempDir dir;
    ProgressFunction stop([](uint32_t done, uint32_t) { return done == 10; });
    EXPECT_EQ(test::thrownBy<OUTFILEERROR>([&] {
                  SafeOutFile file(dir / "x.gif");
                  writeGif(image, file.out(), stored, &stop);
              }),
              std::optional(OUTFILEERROR::Cancelled));
}

}  // namespace
}  // namespace vivark
