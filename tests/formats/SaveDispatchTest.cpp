// The save dispatch: the depth conversion before a writer,
// per-run option overrides, and that a failed or cancelled save leaves no file.
#include <gtest/gtest.h>

#include "core/Errors.h"
#include "formats/SaveDispatch.h"
#include "formats/bmp/BmpFormat.h"
#include "formats/gif/GifReader.h"
#include "formats/pcx/PcxReader.h"
#include "formats/pnm/PnmFormat.h"
#include "support/ImageTestUtil.h"

namespace vivark {
namespace {

using namespace test;

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
        {"b&w to pbm", bw, "pbm", 1},
        {"grey 4 to pgm", grey4, "pgm", 8},
        {"palette to ppm (looked up by the writer)", colour8, "ppm", 8},
        {"24 to bmp", deep, "bmp", 24},
        {"24 to pgm", deep, "pgm", 0},
        {"colour to pgm", colour8, "pgm", 0},
    };
    StoredSaveOptions options;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        if (c.bits == 0) {
            EXPECT_THROW(convertForWriter(c.image, *findWriterByName(c.writer), options),
                         SAVEERROR);
            continue;
        }
        const Image out = convertForWriter(c.image, *findWriterByName(c.writer), options);
        EXPECT_EQ(out.bitsPerPixel(), c.bits);
        EXPECT_TRUE(samePixels(c.image, out));
    }
    EXPECT_TRUE(convertForWriter(deep, *findWriterByName("bmp"), options)
                    .plane.sharesPixelsWith(deep.plane));
}

double meanSquaredError(const Image& a, const Image& b) {
    double sum = 0;
    for (uint32_t y = 0; y < a.height(); ++y)
        for (uint32_t x = 0; x < a.width(); ++x)
            for (int shift : {0, 8, 16}) {
                const double d = double(colourAt(a, x, y) >> shift & 255) -
                                 double(colourAt(b, x, y) >> shift & 255);
                sum += d * d;
            }
    return sum / (3.0 * a.width() * a.height());
}

TEST(SaveDispatch, ConversionReducesColoursTheFormatCannotHold) {
    Image deep(48, 20, 24);
    for (uint32_t y = 0; y < deep.height(); ++y)
        for (uint32_t x = 0; x < deep.width(); ++x) {
            uint8_t* p = deep.plane.mutableRow(y) + 3 * x;
            p[0] = uint8_t(x * 5), p[1] = uint8_t(y * 12), p[2] = uint8_t(255 - x * 3 - y);
        }
    const Image colour8 = patternImage(9, 3, 8);
    StoredSaveOptions stored;
    SaveOptionOverlay cube(stored);
    ASSERT_TRUE(cube.setAssignment("Dither\\Palette\\PaletteType=5"));
    ASSERT_TRUE(cube.setAssignment("Dither\\Palette\\DitherType=0"));
    SaveOptionOverlay pcx24(stored);
    ASSERT_TRUE(pcx24.setAssignment("PCX\\Enable24bit=yes"));
    const struct {
        const char* name;
        const Image& image;
        const char* writer;
        const SaveOptions& options;
        uint32_t bits;
        double limit;  // of the mean squared error against the source
    } cases[] = {
        {"24 to gif", deep, "gif", stored, 8, 40},
        {"24 to 8-bit pcx", deep, "pcx", stored, 8, 40},
        {"24 to 24-bit pcx", deep, "pcx", pcx24, 24, 0},
        {"24 to gif with a cube", deep, "gif", cube, 8, 300},
        {"24 to pbm", deep, "pbm", stored, 1, 1e9},
        {"colour to pbm", colour8, "pbm", stored, 1, 1e9},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const Image out = convertForWriter(c.image, *findWriterByName(c.writer), c.options);
        EXPECT_EQ(out.bitsPerPixel(), c.bits);
        EXPECT_LE(meanSquaredError(c.image, out), c.limit);
        if (c.bits == 1) {
            EXPECT_TRUE(out.isBlackAndWhite());
        }
    }
    // A format of four bits gets sixteen colours, even when the cube is larger.
    const WriterEntry fourBits{"Four", {}, {}, makeTag("FOUR"), 1u << 4, ColourNeed::Any, nullptr};
    for (const SaveOptions* options : std::initializer_list<const SaveOptions*>{&stored, &cube}) {
        const Image out = convertForWriter(deep, fourBits, *options);
        EXPECT_EQ(out.bitsPerPixel(), 4u);
        EXPECT_LE(out.paletteCount, 16u);
        EXPECT_LE(meanSquaredError(deep, out), 600);
    }

    auto cancel = ProgressFunction([](uint32_t done, uint32_t) { return done == 3; });
    EXPECT_THROW(convertForWriter(deep, *findWriterByName("gif"), stored, &cancel), OUTFILEERROR);

    // Through the files: what the readers get back is the reduced picture.
    TempDir dir;
    const std::pair<const char*, ReaderFactory> formats[] = {{"gif", makeGifReader},
                                                             {"pcx", makePcxReader}};
    for (auto [name, reader] : formats) {
        SCOPED_TRACE(name);
        const std::string file = std::string("out.") + name;
        saveImage(deep, dir / file, *findWriterByName(name), stored);
        const Image back = readFromBytes(readWholeFile(dir / file), reader);
        EXPECT_EQ(back.bitsPerPixel(), 8u);
        EXPECT_TRUE(samePixels(back, convertForWriter(deep, *findWriterByName(name), stored)));
    }
}

TEST(SaveDispatch, OverlayOverridesOnlyForThisRunAndRejectsUnknownKeys) {
    StoredSaveOptions stored;
    SaveOptionOverlay options(stored);
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
        saveImage(patternImage(4, 4, 24), dir / "a.pgm", *findWriterByName("pgm"), options),
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
}

}  // namespace
}  // namespace vivark
