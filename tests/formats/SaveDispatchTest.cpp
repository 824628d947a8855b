// The save dispatch: writer lookup, the depth conversion before a writer,
// per-run option overrides, and that a failed or cancelled save leaves no file.
#include <gtest/gtest.h>

#include "core/ErrorMapping.h"
#include "core/Errors.h"
#include "formats/SaveDispatch.h"
#include "formats/bmp/BmpReader.h"
#include "support/ImageTestUtil.h"

namespace vivark {
namespace {

using namespace test;

TEST(SaveDispatch, WritersAreFoundByMenuNameShortNameExtensionAndTag) {
    EXPECT_EQ(findWriterByName("Windows Bitmap"), findWriterByName("BMP"));
    EXPECT_EQ(findWriterByExtension(".Bmp"), findWriterByName("bmp"));
    EXPECT_EQ(findWriterByName("os/2 bitmap"), findWriterByTag(makeTag("BMP ")));
    for (const char* name : {"pbm", "pgm", "ppm", "pnm"})
        EXPECT_EQ(findWriterByExtension(name), findWriterByName(name)) << name;
    EXPECT_EQ(findWriterByExtension("gif"), findWriterByName("Graphics Interchange Format"));
    EXPECT_NE(findWriterByName("gif"), nullptr);
}

TEST(SaveDispatch, ConversionWidensExpandsOrRefuses) {
    Image bw = patternImage(9, 3, 8);
    bw.palette.entries.fill(0xFFFFFF);
    bw.palette[2] = 0;
    Image grey4 = patternImage(9, 3, 4);
    grey4.setGreyPalette(4);
    const Image colour8 = patternImage(9, 3, 8);
    const Image deep = patternImage(9, 3, 24);
    const struct {
        const char* name;
        const Image& image;
        const char* writer;
        uint32_t bits;  // 0: refused
    } cases[] = {
        {"b&w to pbm", bw, "pbm", 1},           {"grey 4 to pgm", grey4, "pgm", 8},
        {"palette to ppm", colour8, "ppm", 24}, {"24 to bmp", deep, "bmp", 24},
        {"24 to pbm", deep, "pbm", 0},          {"24 to pgm", deep, "pgm", 0},
        {"colour to pgm", colour8, "pgm", 0},   {"colour to pbm", colour8, "pbm", 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        if (c.bits == 0) {
            EXPECT_THROW(convertForWriter(c.image, *findWriterByName(c.writer)), SAVEERROR);
            continue;
        }
        const Image out = convertForWriter(c.image, *findWriterByName(c.writer));
        EXPECT_EQ(out.bitsPerPixel(), c.bits);
        EXPECT_TRUE(samePixels(c.image, out));
    }
    EXPECT_TRUE(
        convertForWriter(deep, *findWriterByName("bmp")).plane.sharesPixelsWith(deep.plane));
}

TEST(SaveDispatch, OverlayOverridesOnlyForThisRunAndRejectsUnknownKeys) {
    StoredSaveOptions stored;
    SaveOptionOverlay options(stored);
    EXPECT_TRUE(options.flag(saveKey::PbmRawData));
    EXPECT_TRUE(options.setAssignment("PBM\\RawData=no"));
    EXPECT_FALSE(options.flag(saveKey::PbmRawData));
    EXPECT_TRUE(stored.flag(saveKey::PbmRawData));
    EXPECT_TRUE(options.setAssignment("SaveOptions\\OS2 Bitmap\\Format=0x1"));
    EXPECT_EQ(options.integer(saveKey::Os2BitmapFormat), 1);
    for (const char* bad :
         {"PBM\\RawData=maybe", "Nope\\Key=1", "PBM\\RawData", "OS2 Bitmap\\Format=1x"})
        EXPECT_FALSE(options.setAssignment(bad)) << bad;
}

TEST(SaveDispatch, FailedAndCancelledSavesLeaveNoFile) {
    TempDir dir;
    StoredSaveOptions options;
    EXPECT_THROW(
        saveImage(patternImage(4, 4, 24), dir / "a.pbm", *findWriterByName("pbm"), options),
        SAVEERROR);
    auto cancel = ProgressFunction([](uint32_t done, uint32_t) { return done == 2; });
    try {
        saveImage(patternImage(4, 4, 24), dir / "b.bmp", *findWriterByName("bmp"), options,
                  &cancel);
        ADD_FAILURE() << "not cancelled";
    } catch (OUTFILEERROR e) {
        EXPECT_EQ(e, OUTFILEERROR::Cancelled);
    }
    EXPECT_TRUE(std::filesystem::is_empty(dir.path()));

    saveImage(patternImage(4, 4, 8), dir / "c.bmp", *findWriterByName("bmp"), options);
    EXPECT_TRUE(samePixels(patternImage(4, 4, 8),
                           readFromBytes(readWholeFile(dir / "c.bmp"), makeBmpReader)));
}

TEST(SaveDispatch, SaveErrorsHaveMessages) {
    for (auto [error, id] : {std::pair{SAVEERROR::NeedsColourReduction, msg::NeedsColourReduction},
                             {SAVEERROR::TooLargeForFormat, msg::ImageTooLarge}}) {
        try {
            throw error;
        } catch (...) {
            EXPECT_EQ(saveMessageForCurrentException(), id);
            EXPECT_FALSE(messageText(id).empty());
        }
    }
}

}  // namespace
}  // namespace vivark
