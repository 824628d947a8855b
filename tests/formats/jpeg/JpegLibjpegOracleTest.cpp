// The JFIF reader against libjpeg's own decode (what djpeg shows): baseline,
// progressive, grey, CMYK/YCCK with the Adobe marker, restarts (one damaged),
// EXIF; read through small buffers too, so refills fall inside markers.
#include <gtest/gtest.h>

#include <string>

#include "formats/jpeg/JpegReader.h"
#include "formats/jpeg/JpegSamples.h"
#include "support/ImageTestUtil.h"

namespace vivark {
namespace {

using namespace test;

Image decode(const JpegBytes& file, size_t buffer) {
    auto in = InFile::overMemory(file, buffer);
    Image image;
    makeJpegReader(*in)->read(image, {});
    return image;
}

// Ink amounts as Adobe stores them: 255 means no ink.
JpegBytes cmykPicture(int w, int h) {
    JpegBytes cmyk(size_t(w) * h * 4);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            uint8_t* p = &cmyk[(size_t(y) * w + x) * 4];
            p[0] = uint8_t(255 - x * 255 / w);
            p[1] = uint8_t(255 - y * 255 / h);
            p[2] = uint8_t(x < w / 2 ? 255 : 40);
            p[3] = uint8_t(y < h / 2 ? 255 : 128);
        }
    return cmyk;
}

// The colour for decoded samples `s` (1, 3 or 4); Adobe CMYK is stored inverted.
Colour expectedColour(const uint8_t* s, int components) {
    if (components == 1) return rgb(s[0], s[0], s[0]);
    if (components == 3) return rgb(s[0], s[1], s[2]);
    auto mix = [k = unsigned(s[3])](uint8_t v) { return uint8_t(v * k / 255); };
    return rgb(mix(s[0]), mix(s[1]), mix(s[2]));
}

// The first restart marker after the scan header given another number.
JpegBytes withDamagedRestart(JpegBytes file) {
    size_t sos = 0;
    for (size_t i = 0; i + 1 < file.size(); ++i)
        if (file[i] == 0xFF && file[i + 1] == 0xDA) sos = i;
    for (size_t i = sos + 2; i + 1 < file.size(); ++i)
        if (file[i] == 0xFF && file[i + 1] >= 0xD0 && file[i + 1] <= 0xD7) {
            file[i + 1] = uint8_t(0xD0 + (file[i + 1] - 0xD0 + 3) % 8);
            break;
        }
    return file;
}

TEST(JpegReader, MatchesLibjpegDecode) {
    const int w = 45, h = 37;
    const JpegBytes rgbSamples = jpegPicture(w, h), cmykSamples = cmykPicture(w, h);
    const struct {
        const char* name;
        LibjpegOptions options;
        bool exif = false, damaged = false;
    } cases[] = {
        {"baseline", {}},
        {"progressive", {.progressive = true}},
        {"greyscale", {.stored = JCS_GRAYSCALE}},
        {"stored as rgb", {.stored = JCS_RGB}},
        {"exif", {}, true},
        {"cmyk adobe", {.input = JCS_CMYK}},
        {"ycck adobe", {.input = JCS_CMYK, .stored = JCS_YCCK}},
        {"restart every mcu", {.restartInterval = 1}},
        {"restart every row, progressive", {.progressive = true, .restartRows = 1}},
        {"damaged restart marker", {.restartInterval = 1}, false, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const bool cmyk = c.options.input == JCS_CMYK;
        JpegBytes file = libjpegCompress(cmyk ? cmykSamples : rgbSamples, w, h, c.options);
        if (c.exif) file = withExif(file, 1, true);
        if (c.damaged) file = withDamagedRestart(file);
        const LibjpegDecoded ref = libjpegDecode(file);
        for (size_t buffer : {size_t{0}, size_t{7}, size_t{64}}) {
            SCOPED_TRACE(buffer);
            const Image image = decode(file, buffer);
            ASSERT_EQ(image.width(), uint32_t(ref.width));
            ASSERT_EQ(image.height(), uint32_t(ref.height));
            EXPECT_EQ(image.bitsPerPixel(), ref.components == 1 ? 8u : 24u);
            EXPECT_EQ(image.formatTag, makeTag("JFIF"));
            EXPECT_EQ(image.info.empty(), !c.damaged);  // the library's warning is kept
            int wrong = 0;
            for (int y = 0; y < ref.height; ++y)
                for (int x = 0; x < ref.width; ++x) {
                    const uint8_t* s = &ref.samples[(size_t(y) * ref.width + x) * ref.components];
                    wrong += colourAt(image, x, y) != expectedColour(s, ref.components);
                }
            EXPECT_EQ(wrong, 0);
        }
    }
}

}  // namespace
}  // namespace vivark
