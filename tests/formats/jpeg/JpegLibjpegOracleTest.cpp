// The JFIF reader against libjpeg's own decode (what djpeg shows) for the
// files TurboJPEG cannot make: CMYK and YCCK with the Adobe marker, restart
// intervals (also with a damaged restart marker the library resynchronises
// at), and EXIF and progressive files beside them. Every file is read through
// small InFile buffers too, so refills fall inside markers.
#include <gtest/gtest.h>

#include <functional>
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

// The colour the reader must show for decoded samples `s` (1, 3 or 4 of them).
Colour expectedColour(const uint8_t* s, int components) {
    if (components == 1) return rgb(s[0], s[0], s[0]);
    if (components == 3) return rgb(s[0], s[1], s[2]);
    auto mix = [k = unsigned(s[3])](uint8_t v) { return uint8_t(v * k / 255); };
    return rgb(mix(s[0]), mix(s[1]), mix(s[2]));
}

// A file with restart markers whose first RST after the scan header is
// overwritten with another restart number.
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
    const JpegBytes rgbSamples = jpegPicture(w, h);
    const JpegBytes cmykSamples = cmykPicture(w, h);
    const LibjpegOptions restartEachMcu{.restartInterval = 1};
    const LibjpegOptions restartRows{.progressive = true, .restartRows = 1};
    const struct {
        const char* name;
        std::function<JpegBytes()> make;
        bool warns;
    } cases[] = {
        {"baseline", [&] { return libjpegCompress(rgbSamples, w, h, {}); }, false},
        {"progressive", [&] { return libjpegCompress(rgbSamples, w, h, {.progressive = true}); },
         false},
        {"greyscale", [&] { return libjpegCompress(rgbSamples, w, h, {.stored = JCS_GRAYSCALE}); },
         false},
        {"stored as rgb", [&] { return libjpegCompress(rgbSamples, w, h, {.stored = JCS_RGB}); },
         false},
        {"exif", [&] { return withExif(libjpegCompress(rgbSamples, w, h, {}), 1, true); }, false},
        {"cmyk adobe", [&] { return libjpegCompress(cmykSamples, w, h, {.input = JCS_CMYK}); },
         false},
        {"ycck adobe",
         [&] {
             return libjpegCompress(cmykSamples, w, h, {.input = JCS_CMYK, .stored = JCS_YCCK});
         },
         false},
        {"restart every mcu", [&] { return libjpegCompress(rgbSamples, w, h, restartEachMcu); },
         false},
        {"restart every row, progressive",
         [&] { return libjpegCompress(rgbSamples, w, h, restartRows); }, false},
        {"damaged restart marker",
         [&] { return withDamagedRestart(libjpegCompress(rgbSamples, w, h, restartEachMcu)); },
         true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const JpegBytes file = c.make();
        const LibjpegDecoded ref = libjpegDecode(file);
        for (size_t buffer : {size_t{0}, size_t{7}, size_t{64}}) {
            SCOPED_TRACE(buffer);
            const Image image = decode(file, buffer);
            ASSERT_EQ(image.width(), uint32_t(ref.width));
            ASSERT_EQ(image.height(), uint32_t(ref.height));
            EXPECT_EQ(image.bitsPerPixel(), ref.components == 1 ? 8u : 24u);
            EXPECT_EQ(image.info.empty(), !c.warns);
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

TEST(JpegReader, AdobeCmykInksBecomeTheirColours) {
    // Flat patches (stored inverted: 255 is no ink) of 16 x 16 pixels, so the
    // coding keeps them nearly exact.
    const struct {
        uint8_t c, m, y, k;
        Colour expected;
    } patches[] = {
        {255, 255, 255, 255, rgb(255, 255, 255)},  // no ink
        {0, 255, 255, 255, rgb(0, 255, 255)},      // full cyan
        {255, 0, 255, 255, rgb(255, 0, 255)},      // full magenta
        {255, 255, 0, 255, rgb(255, 255, 0)},      // full yellow
        {255, 255, 255, 0, rgb(0, 0, 0)},          // full black
        {255, 255, 255, 128, rgb(128, 128, 128)},  // half black
    };
    const int n = int(std::size(patches)), w = 16 * n, h = 16;
    JpegBytes samples(size_t(w) * h * 4);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const auto& p = patches[x / 16];
            uint8_t* s = &samples[(size_t(y) * w + x) * 4];
            s[0] = p.c, s[1] = p.m, s[2] = p.y, s[3] = p.k;
        }
    const Image image = decode(libjpegCompress(samples, w, h, {.input = JCS_CMYK}), 0);
    for (int i = 0; i < n; ++i) {
        const Colour got = colourAt(image, uint32_t(16 * i + 8), 8);
        for (int shift : {0, 8, 16})
            EXPECT_NEAR(int(got >> shift & 0xFF), int(patches[i].expected >> shift & 0xFF), 3)
                << "patch " << i;
    }
}

}  // namespace
}  // namespace vivark
