// The PNG writer: libpng reads every output form (interlaced or not, with
// every optional chunk) back to the image's pixels, and so does our reader;
// the chunk order, the option chunks' contents, the depth-0 one-colour form,
// the hIST scaling and the filter choice.
#include <gtest/gtest.h>

#include <functional>
#include <optional>

#include "core/Errors.h"
#include "formats/SaveDispatch.h"
#include "formats/png/PngReader.h"
#include "formats/png/PngWriter.h"
#include "png/PngTestFiles.h"
#include "support/ImageTestUtil.h"

namespace vivark {
namespace {

struct Chunk {
    std::string type, data;
};

std::vector<Chunk> chunksOf(const std::string& bytes) {
    std::vector<Chunk> chunks;
    for (size_t at = 8; at + 12 <= bytes.size();) {
        const uint32_t length = loadBE32(reinterpret_cast<const uint8_t*>(bytes.data() + at));
        chunks.push_back({bytes.substr(at + 4, 4), bytes.substr(at + 8, length)});
        at += 12 + length;
    }
    return chunks;
}

std::string typesOf(const std::string& bytes) {
    std::string s;
    for (const Chunk& c : chunksOf(bytes)) s += c.type + " ";
    return s;
}

const Chunk* findChunk(const std::vector<Chunk>& chunks, const char* type) {
    for (const Chunk& c : chunks)
        if (c.type == type) return &c;
    return nullptr;
}

// An 8-bit image whose pixel (x, y) is (9x + y * yStep) % entries.
Image indexedImage(uint32_t width, uint32_t height, uint32_t entries, bool grey,
                   uint32_t yStep = 1) {
    Image image(width, height, 8);
    for (uint32_t i = 0; i < 256; ++i)
        image.palette[i] = grey ? i * 0x010101u : rgb(uint8_t(i * 5), uint8_t(i ^ 0x33), 200);
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x)
            image.plane.mutableRow(y)[x] = uint8_t((x * 9 + y * yStep) % entries);
    return image;
}

Image blackAndWhite() {
    Image image = test::patternImage(29, 13, 1);
    image.palette[0] = 0;
    image.palette[1] = 0xFFFFFF;
    return image;
}

struct FormCase {
    const char* name;
    std::function<Image()> make;
    int colourType, depth;
};

const FormCase kForms[] = {
    {"Rgb", [] { return test::patternImage(37, 23, 24); }, 2, 8},
    {"GreyPalette", [] { return indexedImage(31, 17, 256, true); }, 0, 8},
    {"BlackAndWhite", blackAndWhite, 0, 1},
    {"OneBitColour", [] { return test::patternImage(29, 13, 1); }, 3, 1},
    {"ThreeEntries", [] { return indexedImage(21, 9, 3, false); }, 3, 2},
    {"FiveEntries", [] { return indexedImage(21, 9, 5, false); }, 3, 4},
    {"FourBit", [] { return test::patternImage(35, 19, 4); }, 3, 4},
    {"EightBit", [] { return test::patternImage(64, 40, 8); }, 3, 8},
};

// The colour libpng's raw samples give for pixel x of row y.
Colour libpngColour(const test::LibpngRead& r, uint32_t x, uint32_t y) {
    const std::vector<uint8_t>& row = r.rows[y];
    if (r.colourType == 2) return rgb(row[3 * x], row[3 * x + 1], row[3 * x + 2]);
    const uint32_t bit = x * r.depth;
    const uint32_t sample = row[bit / 8] >> (8 - r.depth - bit % 8) & ((1u << r.depth) - 1);
    if (r.colourType == 0) return (r.depth == 1 ? sample * 255 : sample) * 0x010101u;
    const png_color c = r.palette.at(sample);
    return rgb(c.red, c.green, c.blue);
}

SaveOptionOverlay optionsWith(bool interlace, bool extras) {
    static StoredSaveOptions stored;
    SaveOptionOverlay options(stored);
    options.set(saveKey::PngInterlace, interlace);
    for (auto key :
         {saveKey::PngTransparent, saveKey::PngBackground, saveKey::PngHistogram, saveKey::PngTime})
        options.set(key, extras);
    options.set(saveKey::PngTransparentIndex, 0x101);
    options.set(saveKey::PngTransparentColor, 0x123456);
    options.set(saveKey::PngBackgroundIndex, 0x102);
    options.set(saveKey::PngBackgroundColor, 0xABCDEF);
    return options;
}

TEST(PngWriter, EveryFormReadsBackWithLibpngAndOurReader) {
    for (const FormCase& form : kForms) {
        for (bool interlace : {false, true}) {
            for (bool extras : {false, true}) {
                SCOPED_TRACE(testing::Message() << form.name << (interlace ? " interlaced" : "")
                                                << (extras ? " with extras" : ""));
                Image image = form.make();
                const std::string bytes =
                    test::writeToBytes(image, writePng, optionsWith(interlace, extras));
                const bool paletted = form.colourType == 3;
                std::string expected = paletted ? "IHDR PLTE " : "IHDR ";
                if (extras) expected += paletted ? "tRNS bKGD hIST " : "tRNS bKGD ";
                expected += extras ? "pHYs IDAT tIME IEND " : "pHYs IDAT IEND ";
                EXPECT_EQ(typesOf(bytes), expected);

                const test::LibpngRead r = test::readWithLibpng(bytes);
                ASSERT_EQ(r.width, image.width());
                ASSERT_EQ(r.height, image.height());
                EXPECT_EQ(r.colourType, form.colourType);
                EXPECT_EQ(r.depth, form.depth);
                EXPECT_EQ(r.interlace, interlace ? 1 : 0);
                for (uint32_t y = 0; y < r.height; ++y)
                    for (uint32_t x = 0; x < r.width; ++x)
                        ASSERT_EQ(libpngColour(r, x, y), test::colourAt(image, x, y))
                            << x << "," << y;
                EXPECT_TRUE(test::samePixels(test::readFromBytes(bytes, makePngReader), image));
            }
        }
    }
}

TEST(PngWriter, OptionChunksHoldTheOptionValues) {
    struct Case {
        const char* name;
        Image image;
        std::string trns, bkgd;
    };
    const Case cases[] = {
        {"Grey", kForms[1].make(), std::string("\x01\x01", 2), std::string("\x01\x02", 2)},
        {"Rgb", kForms[0].make(), std::string("\0\x12\0\x34\0\x56", 6),
         std::string("\0\xAB\0\xCD\0\xEF", 6)},
        // Entries in use 0..2: entry (0x101 & 0xFF) is the transparent one.
        {"Palette", kForms[4].make(), std::string("\xFF\0\xFF", 3), std::string("\x02", 1)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const auto chunks =
            chunksOf(test::writeToBytes(c.image, writePng, optionsWith(false, true)));
        EXPECT_EQ(findChunk(chunks, "tRNS")->data, c.trns);
        EXPECT_EQ(findChunk(chunks, "bKGD")->data, c.bkgd);
        EXPECT_EQ(findChunk(chunks, "tIME")->data.size(), 7u);
    }
    // pHYs: per inch becomes per metre; no unit writes unit 0.
    const std::pair<Resolution, std::string> resolutions[] = {
        {{72, 72, ResolutionUnit::PerInch}, std::string("\0\0\x0B\x13\0\0\x0B\x13\x01", 9)},
        {{3779.4, 100, ResolutionUnit::PerMetre}, std::string("\0\0\x0E\xC3\0\0\0\x64\x01", 9)},
        {{2, 3, ResolutionUnit::Ratio}, std::string("\0\0\0\x02\0\0\0\x03\0", 9)},
        {{}, std::string(9, '\0')},
    };
    for (const auto& [resolution, data] : resolutions) {
        Image image = kForms[0].make();
        image.resolution = resolution;
        const auto chunks =
            chunksOf(test::writeToBytes(image, writePng, optionsWith(false, false)));
        EXPECT_EQ(findChunk(chunks, "pHYs")->data, data);
    }
}

TEST(PngWriter, OneColourPaletteIsWrittenWithDepthZero) {
    const Image image = indexedImage(5, 3, 1, false);
    StoredSaveOptions stored;
    const std::string bytes = test::writeToBytes(image, writePng, stored);
    const auto chunks = chunksOf(bytes);
    ASSERT_EQ(chunks[0].type, "IHDR");
    EXPECT_EQ(uint8_t(chunks[0].data[8]), 0);                 // depth
    EXPECT_EQ(uint8_t(chunks[0].data[9]), 3);                 // colour type
    EXPECT_EQ(chunks[1].data, std::string("\0\x33\xC8", 3));  // one PLTE entry
    // Each row is a lone filter byte.
    const Chunk* idat = findChunk(chunks, "IDAT");
    std::string raw(16, '\x7F');
    uLongf size = raw.size();
    ASSERT_EQ(uncompress(reinterpret_cast<Bytef*>(raw.data()), &size,
                         reinterpret_cast<const Bytef*>(idat->data.data()), idat->data.size()),
              Z_OK);
    EXPECT_EQ(raw.substr(0, size), std::string(3, '\0'));
}

TEST(PngWriter, HistogramScalesByTheFirstEntry) {
    struct Case {
        const char* name;
        uint32_t width, counts[3];
        std::string written;
    };
    const Case cases[] = {
        // Entry 0 fits: no shift, and 70000 keeps its low 16 bits (0x1170).
        {"SecondOverflows", 1000, {1, 70000, 999}, std::string("\0\x01\x11\x70\x03\xE7", 6)},
        // Entry 0 needs a shift of 2 (35000); small counts become 1, not 0.
        {"SmallCountsStayVisible", 4, {140000, 1, 3}, std::string("\x88\xB8\0\x01\0\x01", 6)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const uint32_t total = c.counts[0] + c.counts[1] + c.counts[2];
        Image image = indexedImage(c.width, total / c.width, 1, false);
        // Widths of a multiple of 4: the rows follow each other, the last first.
        uint8_t* pixel = image.plane.mutableRow(image.height() - 1);
        for (uint32_t i = 0; i < total; ++i)
            pixel[i] = uint8_t(i < c.counts[0] ? 0 : i < c.counts[0] + c.counts[1] ? 1 : 2);
        SaveOptionOverlay options = optionsWith(false, false);
        options.set(saveKey::PngHistogram, 1);
        const auto chunks = chunksOf(test::writeToBytes(image, writePng, options));
        ASSERT_NE(findChunk(chunks, "hIST"), nullptr);
        EXPECT_EQ(findChunk(chunks, "hIST")->data, c.written);
    }
}

// The filter byte of every row of a non-interlaced file.
std::string filterBytes(const std::string& bytes, uint32_t rowLength, uint32_t height) {
    const auto chunks = chunksOf(bytes);
    const Chunk* idat = findChunk(chunks, "IDAT");
    std::string raw(size_t{rowLength + 1} * height, '\0');
    uLongf size = raw.size();
    uncompress(reinterpret_cast<Bytef*>(raw.data()), &size,
               reinterpret_cast<const Bytef*>(idat->data.data()), idat->data.size());
    std::string filters;
    for (uint32_t y = 0; y < height; ++y) filters += char('0' + raw[size_t{y} * (rowLength + 1)]);
    return filters;
}

TEST(PngWriter, RowsTakeTheCheapestFilter) {
    StoredSaveOptions stored;
    // A horizontal ramp: Sub makes the first row flat, Up every later one.
    Image ramp(16, 4, 24);
    for (uint32_t y = 0; y < 4; ++y)
        for (uint32_t x = 0; x < 48; ++x) ramp.plane.mutableRow(y)[x] = uint8_t(x * 5);
    EXPECT_EQ(filterBytes(test::writeToBytes(ramp, writePng, stored), 48, 4), "1222");
    // All filters score 0 on black: the lowest number wins.
    EXPECT_EQ(filterBytes(test::writeToBytes(Image(16, 4, 24), writePng, stored), 48, 4), "0000");
    // Grey output of 8 bits is filtered too; palette output never is.
    for (bool grey : {true, false}) {
        const Image image = indexedImage(16, 4, 256, grey, 0);
        EXPECT_EQ(filterBytes(test::writeToBytes(image, writePng, stored), 16, 4),
                  grey ? "1222" : "0000");
    }
}

}  // namespace
}  // namespace vivark
