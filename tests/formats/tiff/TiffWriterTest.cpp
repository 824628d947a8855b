// The TIFF writer's options: every choice of the eight SaveOptions\TIFF
// settings gives a file that tiffinfo accepts and tifftopnm decodes to the
// picture written, at every depth the writer takes; and several pages go
// into one file that libtiff sees page by page.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/SafeOutFile.h"
#include "formats/Loader.h"
#include "formats/SaveDispatch.h"
#include "formats/tiff/TiffFormat.h"
#include "formats/tiff/TiffWriter.h"
#include "tests/formats/tiff/TiffTestSupport.h"

namespace vivark {
namespace {

// The pictures written: bilevel, a 16-colour palette, grey, a 256-colour
// palette, RGB and RGB with alpha.
std::vector<Image> pictures() {
    std::vector<Image> list;
    for (uint32_t bits : {1u, 4u, 8u, 8u, 24u, 24u}) {
        Image image = test::patternImage(37, 23, bits);
        if (bits == 1) {
            image.palette[0] = rgb(0, 0, 0);
            image.palette[1] = rgb(255, 255, 255);
        }
        if (bits == 8 && list.size() == 2) image.setGreyPalette();
        if (bits == 24 && list.size() == 5) {
            image.secondPlane = PixelPlane(37, 23, 8, false);
            image.secondPlaneKind = SecondPlane::Alpha;
            for (uint32_t y = 0; y < 23; ++y)
                for (uint32_t x = 0; x < 37; ++x)
                    image.secondPlane.mutableRow(y)[x] = uint8_t(x * 7);
        }
        image.resolution = {300, 150, ResolutionUnit::PerInch};
        list.push_back(std::move(image));
    }
    return list;
}

TEST(TiffWriter, EveryOptionGivesAFileLibtiffReadsBackToThePicture) {
    if (!test::haveTiffTools()) GTEST_SKIP() << "libtiff-tools, netpbm and ImageMagick are needed";
    struct Row {
        const char* settings;  // "Key=Value;..." under SaveOptions\TIFF
        bool lossy;
    };
    const Row rows[] = {
        {"", false},
        {"TIFF\\ByteOrder=1", false},
        {"TIFF\\StripSize=0", false},
        {"TIFF\\StripSize=7", false},
        {"TIFF\\Compression\\Color=0;TIFF\\Compression\\BlackWhite=0", false},
        {"TIFF\\Compression\\Color=2;TIFF\\Compression\\BlackWhite=2", false},
        {"TIFF\\Compression\\Color=2;TIFF\\Predictor=2;TIFF\\ByteOrder=1", false},
        {"TIFF\\Compression\\BlackWhite=3", false},
        {"TIFF\\Compression\\BlackWhite=3;TIFF\\T4Options=4", false},
        {"TIFF\\Compression\\BlackWhite=4;TIFF\\StripSize=0", false},
        {"TIFF\\Compression\\BlackWhite=5", false},
        {"TIFF\\Compression\\Color=3", false},
        {"TIFF\\Compression\\Color=3;TIFF\\Predictor=2;TIFF\\StripSize=1", false},
        {"TIFF\\Compression\\Color=4", true},
        {"TIFF\\Photometric=1", false},
        {"TIFF\\Photometric=2", false},
        {"TIFF\\Photometric=3", false},
    };
    test::TempDir dir;
    StoredSaveOptions stored;
    const WriterEntry& writer = *findWriterByName("tif");
    const std::vector<Image> sources = pictures();
    for (const Row& row : rows) {
        SaveOptionOverlay options(stored);
        std::string settings = row.settings;
        for (size_t start = 0; start < settings.size();) {
            const size_t end = std::min(settings.find(';', start), settings.size());
            ASSERT_TRUE(options.setAssignment(settings.substr(start, end - start)));
            start = end + 1;
        }
        for (size_t i = 0; i < sources.size(); ++i) {
            SCOPED_TRACE(std::string(row.settings) + " picture " + std::to_string(i));
            const auto file = dir / ("out" + std::to_string(i) + ".tif");
            const Image source = convertForWriter(sources[i], writer, options);
            saveImage(source, file, writer, options);
            EXPECT_EQ(std::system(("tiffinfo '" + file.string() + "' >/dev/null 2>&1").c_str()), 0);
            // tifftopnm knows no YCbCr and blends alpha into the colour.
            const test::Colours reference = test::referenceDecode(
                file, row.lossy                                      ? test::Reference::Rgba
                      : source.secondPlaneKind == SecondPlane::Alpha ? test::Reference::ImageMagick
                                                                     : test::Reference::Netpbm);
            if (row.lossy) {
                // Within what libjpeg's own decode gives: ours and libtiff's agree.
                Image back;
                ASSERT_TRUE(loadFile(back, file.string(), ReadOptions{}).completed);
                EXPECT_LE(test::worstDifference(reference, back), 2);
            } else {
                EXPECT_EQ(test::worstDifference(reference, source), 0);
                // Our own reader agrees, alpha and resolution included.
                Image back;
                ASSERT_TRUE(loadFile(back, file.string(), ReadOptions{}).completed);
                EXPECT_TRUE(test::samePixels(back, source) ||
                            test::worstDifference(reference, back) == 0);
                EXPECT_EQ(back.resolution, source.resolution);
                EXPECT_EQ(back.secondPlaneKind, source.secondPlaneKind);
            }
        }
    }
}

TEST(TiffWriter, PagesGoIntoOneFileInOrder) {
    if (!test::haveTiffTools()) GTEST_SKIP() << "libtiff-tools are needed";
    test::TempDir dir;
    const std::vector<Image> pages = pictures();
    StoredSaveOptions options;
    const auto file = dir / "pages.tif";
    saveImagePages(pages, file, *findWriterByName("tif"), options);
    EXPECT_EQ(
        test::commandOutput("tiffinfo '" + file.string() + "' 2>/dev/null | grep -c 'Image Width'"),
        std::to_string(pages.size()) + "\n");
    // Each page as libtiff reads it from the file (tiffcp's FILE,N names a page).
    for (uint32_t page = 1; page <= pages.size(); ++page) {
        SCOPED_TRACE(page);
        Image read;
        ReadOptions request;
        request.page = page;
        ASSERT_TRUE(loadFile(read, file.string(), request).completed);
        EXPECT_EQ(read.pageCount, pages.size());
        const Image written = convertForWriter(pages[page - 1], *findWriterByName("tif"), options);
        const auto one = dir / "one.tif";
        std::filesystem::remove(one);
        ASSERT_EQ(std::system(("tiffcp '" + file.string() + "," + std::to_string(page - 1) + "' '" +
                               one.string() + "'")
                                  .c_str()),
                  0);
        EXPECT_EQ(
            test::worstDifference(test::referenceDecode(one, test::Reference::ImageMagick), read),
            0);
        EXPECT_TRUE(test::samePixels(read, written) ||
                    read.bitsPerPixel() != written.bitsPerPixel());
    }
}

}  // namespace
}  // namespace vivark
