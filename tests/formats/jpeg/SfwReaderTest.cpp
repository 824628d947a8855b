// Seattle FilmWorks files made by wrapping libjpeg's files as the film lab did
// (own header, moved markers, standard Huffman tables left out, rows bottom
// first), against libjpeg's decode of the original.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>

#include "core/Errors.h"
#include "formats/FormatTable.h"
#include "formats/jpeg/JpegSamples.h"
#include "formats/jpeg/SfwReader.h"
#include "support/ImageTestUtil.h"

namespace vivark {
namespace {

using namespace test;

uint8_t filmLabMarker(uint8_t code) {
    const uint8_t moved[][2] = {{0xD8, 0xC8}, {0xE0, 0xD0}, {0xDB, 0xCB}, {0xC0, 0xA0},
                                {0xC4, 0xA4}, {0xDA, 0xCA}, {0xD9, 0xC9}};
    for (const auto& m : moved)
        if (m[0] == code) return m[1];
    return code;
}

// `jpeg` (one scan) with the film lab's header and marker codes; the
// Huffman table segments are dropped unless `keepHuffman`.
JpegBytes sfwOf(const JpegBytes& jpeg, bool keepHuffman) {
    JpegBytes out(40, 0x11);
    const uint8_t signature[] = {'S', 'F', 'W', '9', '4', 'A'};
    std::copy(std::begin(signature), std::end(signature), out.begin());
    out.push_back(0xFF);
    out.push_back(0xC8);
    size_t at = 2;
    for (;;) {
        const uint8_t code = jpeg[at + 1];
        const size_t length = size_t{jpeg[at + 2]} << 8 | jpeg[at + 3];
        if (code != 0xC4 || keepHuffman) {
            out.insert(out.end(), {0xFF, filmLabMarker(code)});
            out.insert(out.end(), jpeg.begin() + long(at + 2),
                       jpeg.begin() + long(at + 2 + length));
        }
        at += 2 + length;
        if (code == 0xDA) break;
    }
    out.insert(out.end(), jpeg.begin() + long(at), jpeg.end() - 2);
    out.insert(out.end(), {0xFF, 0xC9});
    return out;
}

Image load(const JpegBytes& file, size_t buffer) {
    auto in = InFile::overMemory(file, buffer);
    FormatInfo info;
    const FormatEntry* found = identifyFormat(*in, &info);
    EXPECT_TRUE(found != nullptr && found->create != nullptr);
    EXPECT_EQ(tagText(found->formatTag), "SFW ");
    in->seek(0);
    Image image;
    found->create(*in)->read(image, {});
    return image;
}

TEST(SfwReader, FilmLabFilesReadUprightThroughTheJfifReader) {
    const struct {
        const char* name;
        int w, h;
        bool grey, keepHuffman;
    } cases[] = {
        {"standard tables left out", 41, 27, false, false},
        {"tables kept", 16, 16, false, true},
        {"greyscale", 9, 30, true, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const int w = c.w, h = c.h, n = c.grey ? 1 : 3;
        const JpegBytes jpeg = libjpegFile(w, h, {.stored = c.grey ? JCS_GRAYSCALE : JCS_UNKNOWN});
        const JpegBytes ref = libjpegDecode(jpeg).samples;
        const JpegBytes sfw = sfwOf(jpeg, c.keepHuffman);
        for (size_t buffer : {size_t{0}, size_t{5}}) {
            const Image image = load(sfw, buffer);
            EXPECT_EQ(tagText(image.formatTag), "SFW ");
            EXPECT_EQ(image.bitsPerPixel(), c.grey ? 8u : 24u);
            ASSERT_EQ(image.width(), uint32_t(w));
            ASSERT_EQ(image.height(), uint32_t(h));
            int wrong = 0;
            for (int y = 0; y < h; ++y)
                for (int x = 0; x < w; ++x) {
                    const uint8_t* p = &ref[(size_t(h - 1 - y) * w + x) * n];
                    wrong += colourAt(image, x, y) != rgb(p[0], p[n / 2], p[n - 1]);
                }
            EXPECT_EQ(wrong, 0);
        }
    }
}

TEST(SfwReader, RestoresMarkersOnlyWhereMarkersBelong) {
    // Restart markers (0xD0 to 0xD7) inside the scan keep their codes although
    // 0xD0 is the film lab's APP0 in the headers; stuffed 0xFF 0x00 stays.
    const JpegBytes sfw = {'S',  'F', 'W', '9', 0xFF, 0xC8, 0xFF, 0xD0, 0, 3,    7,   0xFF,
                           0xCA, 0,   2,   1,   0xFF, 0x00, 0xFF, 0xD0, 2, 0xFF, 0xC9};
    const JpegBytes expected = {0xFF, 0xD8, 0xFF, 0xE0, 0,    3,    7, 0xFF, 0xDA, 0,
                                2,    1,    0xFF, 0x00, 0xFF, 0xD0, 2, 0xFF, 0xD9};
    EXPECT_EQ(jpegOfSfw(sfw), expected);
    EXPECT_TRUE(jpegOfSfw(JpegBytes(sfw.begin(), sfw.begin() + 6)).empty());
    JpegBytes notSfw = sfw;
    notSfw[3] = '8';
    EXPECT_TRUE(jpegOfSfw(notSfw).empty());
}

TEST(SfwReader, MissingStreamAndCorruptStreamAreRefused) {
    const std::string noStream = "SFW94A" + std::string(100, '\x22');
    EXPECT_THROW(readFromBytes(noStream, makeSfwReader), JPEGERROR);
    // A frame header cut short: the library's error comes through.
    const JpegBytes jpeg = libjpegFile(16, 16);
    JpegBytes sfw = sfwOf(jpeg, false);
    for (size_t i = 40; i + 1 < sfw.size(); ++i)
        if (sfw[i] == 0xFF && sfw[i + 1] == 0xA0) sfw[i + 9] = 0;  // no components
    const std::string bytes(sfw.begin(), sfw.end());
    EXPECT_THROW(readFromBytes(bytes, makeSfwReader), JFIFERROR);
}

}  // namespace
}  // namespace vivark
