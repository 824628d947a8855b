// The JFIF writer through the reader and TurboJPEG: components, settings,
// EXIF in place of JFIF and its pixel size, density and the comment's cut.
#include <gtest/gtest.h>

#include <cstdlib>

#include "formats/SaveOptions.h"
#include "formats/jpeg/JpegExif.h"
#include "formats/jpeg/JpegReader.h"
#include "formats/jpeg/JpegSamples.h"
#include "formats/jpeg/JpegWriter.h"
#include "support/ImageTestUtil.h"

namespace vivark {
namespace {

using namespace test;

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
        for (uint32_t x = 0; x < 40; ++x)
            if (bits == 8)
                row[x] = uint8_t(x * 6);
            else
                row[3 * x] = uint8_t(x * 6), row[3 * x + 1] = uint8_t(y * 8), row[3 * x + 2] = 200;
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
        int components;
    } cases[] = {
        {"colour", colour, false, 3},
        {"colour progressive", colour, true, 3},
        {"grey palette as one component", grey, false, 1},
        {"colour palette expanded", palette, false, 3},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        SaveOptionOverlay options(stored);
        options.set(saveKey::JfifQuality, 100);
        options.set(saveKey::JfifProgressive, c.progressive);
        const std::string bytes = writeToBytes(c.image, writeJfif, options);
        EXPECT_EQ(libjpegDecode(JpegBytes(bytes.begin(), bytes.end())).components, c.components);
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

// An EXIF block: IFD0 with an orientation and the Exif sub-directory pointer,
// then that sub-directory with the pixel dimensions as entries of `type`.
std::vector<uint8_t> exifBlock(bool big, uint16_t orientation, uint16_t type, uint32_t width,
                               uint32_t height) {
    std::vector<uint8_t> b;
    auto put16 = [&](uint32_t v) {
        b.push_back(uint8_t(big ? v >> 8 : v));
        b.push_back(uint8_t(big ? v : v >> 8));
    };
    auto put32 = [&](uint32_t v) {
        if (big)
            put16(v >> 16), put16(v & 0xFFFF);
        else
            put16(v & 0xFFFF), put16(v >> 16);
    };
    auto entry = [&](uint16_t tag, uint16_t entryType, uint32_t value) {
        put16(tag), put16(entryType), put32(1);
        if (entryType == 3)
            put16(value), put16(0);
        else
            put32(value);
    };
    b = big ? std::vector<uint8_t>{'M', 'M', 0, 0x2A} : std::vector<uint8_t>{'I', 'I', 0x2A, 0};
    put32(8);
    put16(2);
    entry(0x0112, 3, orientation);
    entry(0x8769, 4, 8 + 2 + 24 + 4);
    put32(0);
    put16(3);
    entry(0x9000, 7, 0x30323230);  // ExifVersion "0220", a neighbour left alone
    entry(0xA002, type, width);
    entry(0xA003, type, height);
    put32(0);
    return b;
}

TEST(JpegExif, PixelDimensionsFollowTheImage) {
    const struct {
        uint16_t type;
        uint32_t width, height;
        uint16_t typeAfter;
    } cases[] = {
        {3, 640, 480, 3}, {4, 640, 480, 4}, {3, 70000, 65536, 4},  // too large for a SHORT
    };
    for (bool big : {false, true})
        for (const auto& c : cases) {
            SCOPED_TRACE(testing::Message() << big << " " << c.type << " " << c.width);
            std::vector<uint8_t> block = exifBlock(big, 1, c.type, 1, 1);
            updateExifPixelSize(block, c.width, c.height);
            EXPECT_EQ(block, exifBlock(big, 1, c.typeAfter, c.width, c.height));
        }
    // A sub-directory pointing past the block is left alone.
    std::vector<uint8_t> far = exifBlock(true, 1, 3, 1, 1);
    far[8 + 2 + 12 + 8] = 0x7F;
    const std::vector<uint8_t> farBefore = far;
    updateExifPixelSize(far, 5, 5);
    EXPECT_EQ(far, farBefore);
}

TEST(JpegWriter, ExifOfATurnedImageDescribesTheWrittenPixels) {
    // Stored 24 x 16 with orientation 6: read upright as 16 x 24.
    for (bool big : {false, true}) {
        const std::vector<uint8_t> jpeg = libjpegFile(24, 16);
        const std::vector<uint8_t> block = exifBlock(big, 6, 3, 24, 16);
        std::vector<uint8_t> file = {0xFF, 0xD8, 0xFF, 0xE1, 0, 0, 'E', 'x', 'i', 'f', 0, 0};
        file[5] = uint8_t(block.size() + 8);
        file.insert(file.end(), block.begin(), block.end());
        file.insert(file.end(), jpeg.begin() + 2, jpeg.end());
        const Image read = readFromBytes(std::string(file.begin(), file.end()), makeJpegReader);
        ASSERT_EQ(read.width(), 16u);

        StoredSaveOptions stored;
        SaveOptionOverlay options(stored);
        const Image back = readFromBytes(writeToBytes(read, writeJfif, options), makeJpegReader);
        EXPECT_EQ(back.width(), 16u);
        ASSERT_TRUE(back.exif);
        EXPECT_EQ(*back.exif, exifBlock(big, 1, 3, 16, 24));
    }
}

}  // namespace
}  // namespace vivark
