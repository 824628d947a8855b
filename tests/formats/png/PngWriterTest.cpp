// The PNG writer: libpng reads every output form (interlaced or not, with
// every optional chunk) back to the image's pixels, and so does our reader;
// the chunk order, the option chunks' contents, the depth-0 one-colour form,
// the hIST scaling, the filter choice and a cancel.
#include <gtest/gtest.h>

#include <functional>
#include <optional>

#include "core/Errors.h"
#include "formats/SaveDispatch.h"
#include "formats/png/PngReader.h"
#include "formats/png/PngWriter.h"
#include "png/PngTestFiles.h"
#include "support/ImageTestUtil.h"
#include "support/Throws.h"

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

// The 8-bit image of `width` x `height` whose pixel (x, y) is index(x, y).
Image indexedImage(uint32_t width, uint32_t height,
                   std::function<uint8_t(uint32_t, uint32_t)> index, bool grey) {
    Image image(width, height, 8);
    for (uint32_t i = 0; i < 256; ++i)
        image.palette[i] = grey ? i * 0x010101u : rgb(uint8_t(i * 5), uint8_t(i ^ 0x33), 200);
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x) image.plane.mutableRow(y)[x] = index(x, y);
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
    {"GreyPalette",
     [] {
         return indexedImage(
             31, 17, [](uint32_t x, uint32_t y) { return uint8_t(x * 9 + y); }, true);
     },
     0, 8},
    {"BlackAndWhite", blackAndWhite, 0, 1},
    {"OneBitColour", [] { return test::patternImage(29, 13, 1); }, 3, 1},
    {"ThreeEntries",
     [] {
         return indexedImage(
             21, 9, [](uint32_t x, uint32_t y) { return uint8_t((x + y) % 3); }, false);
     },
     3, 2},
    {"FiveEntries",
     [] {
         return indexedImage(
             21, 9, [](uint32_t x, uint32_t y) { return uint8_t((x * y) % 5); }, false);
     },
     3, 4},
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

TEST(PngWriter, EveryFormReadsBackWithLibpngAndOurReader) {
    for (const FormCase& form : kForms) {
        for (bool interlace : {false, true}) {
            for (bool extras : {false, true}) {
                SCOPED_TRACE(testing::Message() << form.name << (interlace ? " interlaced" : "")
                                                << (extras ? " with extras" : ""));
                Image image = form.make();
                image.resolution = {72, 72, ResolutionUnit::PerInch};
                StoredSaveOptions stored;
                SaveOptionOverlay options(stored);
                options.set(saveKey::PngInterlace, interlace);
                for (auto key : {saveKey::PngTransparent, saveKey::PngBackground,
                                 saveKey::PngHistogram, saveKey::PngTime})
                    options.set(key, extras);
                options.set(saveKey::PngTransparentIndex, 0x101);
                options.set(saveKey::PngTransparentColor, 0x123456);
                options.set(saveKey::PngBackgroundIndex, 1);
                options.set(saveKey::PngBackgroundColor, 0xABCDEF);
                const std::string bytes = test::writeToBytes(image, writePng, options);

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
                EXPECT_TRUE(r.hasPhys);
                EXPECT_EQ(r.physX, 2835u);
                EXPECT_EQ(r.physY, 2835u);
                EXPECT_EQ(r.physUnit, 1);
                EXPECT_EQ(r.hasTrns, extras);
                EXPECT_EQ(r.hasBkgd, extras);
                EXPECT_EQ(r.hasHist, extras && paletted);
                EXPECT_EQ(r.hasTime, extras);
                if (extras && form.colourType == 0) {
                    EXPECT_EQ(r.background.gray, 1);
                }
                if (extras && form.colourType == 2) {
                    EXPECT_EQ(r.trnsColour.red, 0x12);
                    EXPECT_EQ(r.trnsColour.green, 0x34);
                    EXPECT_EQ(r.trnsColour.blue, 0x56);
                    EXPECT_EQ(r.background.red, 0xAB);
                    EXPECT_EQ(r.background.blue, 0xEF);
                }
                if (extras && paletted) {
                    std::vector<uint8_t> alpha(r.palette.size(), 0xFF);
                    alpha[1] = 0;
                    EXPECT_EQ(r.trnsIndices, alpha);
                    EXPECT_EQ(r.background.index, 1);
                }

                Image back = test::readFromBytes(bytes, makePngReader);
                EXPECT_TRUE(test::samePixels(back, image));
                EXPECT_EQ(back.resolution.unit, ResolutionUnit::PerMetre);
            }
        }
    }
}

TEST(PngWriter, GreyTransparencyAndBackgroundAreSixteenBitLevels) {
    StoredSaveOptions stored;
    SaveOptionOverlay options(stored);
    options.set(saveKey::PngTransparent, 1);
    options.set(saveKey::PngTransparentIndex, 0x1234);
    options.set(saveKey::PngBackground, 1);
    options.set(saveKey::PngBackgroundIndex, 0x0102);
    const auto chunks = chunksOf(
        test::writeToBytes(indexedImage(
                               4, 4, [](uint32_t x, uint32_t) { return uint8_t(x); }, true),
                           writePng, options));
    ASSERT_NE(findChunk(chunks, "tRNS"), nullptr);
    EXPECT_EQ(findChunk(chunks, "tRNS")->data, "\x12\x34");
    EXPECT_EQ(findChunk(chunks, "bKGD")->data, std::string("\x01\x02", 2));
}

TEST(PngWriter, OneColourPaletteIsWrittenWithDepthZero) {
    const Image image = indexedImage(
        5, 3, [](uint32_t, uint32_t) { return uint8_t(0); }, false);
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
        uint32_t first, second, third;
        std::vector<uint16_t> written;
    };
    const Case cases[] = {
        // Entry 0 fits: no shift, and 70000 keeps its low 16 bits.
        {"SecondOverflows", 1, 70000, 999, {1, 70000 & 0xFFFF, 999}},
        // Entry 0 needs a shift of 2; small counts become 1, not 0.
        {"SmallCountsStayVisible", 140000, 1, 3, {35000, 1, 1}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const uint32_t width = 1000;
        const uint32_t total = c.first + c.second + c.third;
        const uint32_t height = (total + width - 1) / width;
        Image image(width, height, 8);
        for (uint32_t i = 0; i < 3; ++i) image.palette[i] = rgb(uint8_t(10 * i + 1), 2, 3);
        uint32_t n = 0;
        for (uint32_t y = 0; y < height; ++y) {
            uint8_t* row = image.plane.mutableRow(y);
            for (uint32_t x = 0; x < width; ++x, ++n)
                row[x] = n < c.first ? 0 : n < c.first + c.second ? 1 : 2;
        }
        // The padding past the last counted pixel goes to entry 2's count.
        std::vector<uint16_t> expected = c.written;
        if (c.third == 999)
            expected[2] = uint16_t(999 + height * width - total);
        else
            expected[2] = uint16_t(std::max<uint32_t>(1, (c.third + height * width - total) >> 2));
        StoredSaveOptions stored;
        SaveOptionOverlay options(stored);
        options.set(saveKey::PngHistogram, 1);
        const auto chunks = chunksOf(test::writeToBytes(image, writePng, options));
        const Chunk* hist = findChunk(chunks, "hIST");
        ASSERT_NE(hist, nullptr);
        ASSERT_EQ(hist->data.size(), 6u);
        for (size_t i = 0; i < 3; ++i)
            EXPECT_EQ(loadBE16(reinterpret_cast<const uint8_t*>(hist->data.data()) + 2 * i),
                      expected[i])
                << i;
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
    Image grey = indexedImage(
        16, 4, [](uint32_t x, uint32_t) { return uint8_t(x * 9); }, true);
    EXPECT_EQ(filterBytes(test::writeToBytes(grey, writePng, stored), 16, 4), "1222");
    Image paletted = indexedImage(
        16, 4, [](uint32_t x, uint32_t) { return uint8_t(x * 9); }, false);
    EXPECT_EQ(filterBytes(test::writeToBytes(paletted, writePng, stored), 16, 4), "0000");
}

TEST(PngWriter, CancelStopsTheSaveAndTheDispatchKnowsPng) {
    int left = 3;
    ProgressFunction canceller([&](uint32_t, uint32_t) { return --left == 0; });
    test::TempDir dir;
    const WriterEntry* writer = findWriterByName("png");
    ASSERT_NE(writer, nullptr);
    EXPECT_EQ(writer, findWriterByExtension(".png"));
    EXPECT_EQ(writer->menuName, "Portable Network Graphics");
    StoredSaveOptions stored;
    EXPECT_EQ(test::thrownBy<OUTFILEERROR>([&] {
                  saveImage(test::patternImage(20, 20, 24), dir / "c.png", *writer, stored,
                            &canceller);
              }),
              std::optional(OUTFILEERROR::Cancelled));
    EXPECT_FALSE(std::filesystem::exists(dir / "c.png"));
}

}  // namespace
}  // namespace vivark
