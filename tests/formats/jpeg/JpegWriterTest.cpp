// The JFIF writer through the reader and TurboJPEG: components, settings,
// EXIF in place of JFIF, density and the comment's cut.
#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <cstdlib>

#include "formats/SaveOptions.h"
#include "formats/jpeg/JpegExif.h"
#include "formats/jpeg/JpegReader.h"
#include "formats/jpeg/JpegWriter.h"
#include "support/ImageTestUtil.h"

namespace vivark {
namespace {

using namespace test;

struct Header {
    int width = 0, height = 0, subsamp = -1, colourspace = -1;
};

Header headerOf(const std::string& bytes) {
    Header h;
    tjhandle tj = tjInitDecompress();
    tjDecompressHeader3(tj, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(),
                        &h.width, &h.height, &h.subsamp, &h.colourspace);
    tjDestroy(tj);
    return h;
}

// The mean difference per sample (noise does not survive chroma subsampling).
double meanDifference(const Image& a, const Image& b) {
    double sum = 0;
    for (uint32_t y = 0; y < a.height(); ++y)
        for (uint32_t x = 0; x < a.width(); ++x) {
            const Colour p = colourAt(a, x, y), q = colourAt(b, x, y);
            for (int s = 0; s < 24; s += 8)
                sum += std::abs(int((p >> s) & 0xFF) - int((q >> s) & 0xFF));
        }
    return sum / (3.0 * a.width() * a.height());
}

// Smooth pictures, so that what the coding loses stays small.
Image smooth(uint32_t bits, bool greyPalette) {
    Image image(40, 30, bits);
    if (bits == 8) {
        for (uint32_t i = 0; i < 256; ++i)
            image.palette[i] = greyPalette ? rgb(uint8_t(i), uint8_t(i), uint8_t(i))
                                           : rgb(uint8_t(i), uint8_t(255 - i), 128);
    }
    for (uint32_t y = 0; y < 30; ++y) {
        uint8_t* row = image.plane.mutableRow(y);
        for (uint32_t x = 0; x < 40; ++x) {
            if (bits == 8) {
                row[x] = uint8_t(x * 6);
            } else {
                row[3 * x] = uint8_t(x * 6);      // blue
                row[3 * x + 1] = uint8_t(y * 8);  // green
                row[3 * x + 2] = 200;             // red
            }
        }
    }
    return image;
}

TEST(JpegWriter, ComponentsAndSettings) {
    const Image colour = smooth(24, false);
    const Image grey = smooth(8, true);
    const Image palette = smooth(8, false);
    StoredSaveOptions stored;
    const struct {
        const char* name;
        const Image& image;
        bool progressive;
        int colourspace;
    } cases[] = {
        {"colour", colour, false, TJCS_YCbCr},
        {"colour progressive", colour, true, TJCS_YCbCr},
        {"grey palette as one component", grey, false, TJCS_GRAY},
        {"colour palette expanded", palette, false, TJCS_YCbCr},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        SaveOptionOverlay options(stored);
        options.set(saveKey::JfifQuality, 100);
        options.set(saveKey::JfifProgressive, c.progressive);
        const std::string bytes = writeToBytes(c.image, writeJfif, options);
        EXPECT_EQ(headerOf(bytes).colourspace, c.colourspace);
        EXPECT_EQ(bytes.find("\xFF\xC2") != std::string::npos, c.progressive);
        EXPECT_EQ(bytes.substr(6, 5), std::string("JFIF\0", 5));
        const Image back = readFromBytes(bytes, makeJpegReader);
        ASSERT_EQ(back.width(), 40u);
        EXPECT_LE(meanDifference(c.image, back), 2.0);
    }
}

TEST(JpegWriter, ExifReplacesJfifAndIsUpright) {
    Image image = patternImage(16, 8, 24);
    const uint8_t tiff[] = {'I', 'I', 0x2A, 0, 8, 0, 0, 0, 1, 0, 0x12, 0x01, 3,
                            0,   1,   0,    0, 0, 6, 0, 0, 0, 0, 0,    0,    0};
    image.exif = std::make_shared<std::vector<uint8_t>>(std::begin(tiff), std::end(tiff));
    image.comment = std::string(70000, 'c');
    image.resolution = {3000, 6000, ResolutionUnit::PerMetre};
    StoredSaveOptions stored;
    SaveOptionOverlay options(stored);
    const std::string bytes = writeToBytes(image, writeJfif, options);
    EXPECT_EQ(uint8_t(bytes[3]), 0xE1);
    EXPECT_EQ(bytes.find("JFIF"), std::string::npos);
    const Image back = readFromBytes(bytes, makeJpegReader);
    EXPECT_EQ(back.width(), 16u);  // orientation 1 after the write: not turned again
    ASSERT_TRUE(back.exif);
    EXPECT_EQ(findExifOrientation(*back.exif)->value, 1);
    EXPECT_EQ(back.comment.size(), 65533u);

    options.set(saveKey::JfifExif, 0);
    const std::string jfif = writeToBytes(image, writeJfif, options);
    const Image dense = readFromBytes(jfif, makeJpegReader);
    EXPECT_FALSE(dense.exif);
    EXPECT_EQ(dense.resolution, (Resolution{3000, 6000, ResolutionUnit::PerMetre}));
}

}  // namespace
}  // namespace vivark
