// The PNG reader against files libpng writes (every colour type, depth and
// interlacing, IDAT split into many chunks) and against files assembled
// chunk by chunk for each way a file can be refused; the block display of
// interlaced passes; identification.
#include <gtest/gtest.h>

#include <optional>

#include "core/Errors.h"
#include "formats/Identify.h"
#include "formats/png/PngReader.h"
#include "png/PngTestFiles.h"
#include "support/ImageTestUtil.h"
#include "support/Throws.h"

namespace vivark {
namespace {

using test::PngLayout;

Image readPng(const std::string& bytes, const ReadOptions& options = {}, size_t bufferSize = 0) {
    return test::readFromBytes(bytes, makePngReader, options, bufferSize);
}

// Noise samples for every byte of the rows; palette indices stay below the
// palette's size.
PngLayout noiseLayout(uint32_t width, uint32_t height, int colourType, int depth, bool interlaced,
                      uint32_t seed) {
    PngLayout layout;
    layout.width = width;
    layout.height = height;
    layout.colourType = colourType;
    layout.depth = depth;
    layout.interlaced = interlaced;
    layout.rows.resize(layout.rowBytes() * height);
    uint32_t s = seed;
    for (uint8_t& b : layout.rows) {
        s = s * 1103515245u + 12345u;
        b = uint8_t(s >> 23);
    }
    if (colourType == 3) {
        const uint32_t entries = 1u << depth;
        for (uint32_t i = 0; i < entries; ++i)
            layout.palette.push_back(
                png_color{uint8_t(i * 3 + 1), uint8_t(200 - i), uint8_t(i ^ 0x5A)});
    }
    return layout;
}

// The first byte of pixel x's sample (unpacked when below 8 bits).
uint8_t firstSample(const PngLayout& l, uint32_t x, uint32_t y, size_t sampleIndex = 0) {
    const uint8_t* row = &l.rows[y * l.rowBytes()];
    if (l.depth < 8) {
        const uint32_t bit = x * l.depth;
        return uint8_t(row[bit / 8] >> (8 - l.depth - bit % 8) & ((1u << l.depth) - 1));
    }
    const size_t bytes = l.depth / 8;
    return row[(x * l.channels() + sampleIndex) * bytes];
}

struct TypeCase {
    int colourType;
    std::vector<int> depths;
};

const TypeCase kTypes[] = {
    {0, {1, 2, 4, 8, 16}}, {2, {8, 16}}, {3, {1, 2, 4, 8}}, {4, {8, 16}}, {6, {8, 16}},
};

TEST(PngReader, EveryColourTypeAndDepthDecodesAsLibpngWroteIt) {
    const std::pair<uint32_t, uint32_t> sizes[] = {{33, 17}, {1, 9}, {5, 1}, {9, 2}};
    uint32_t seed = 1;
    for (const TypeCase& t : kTypes) {
        for (int depth : t.depths) {
            for (bool interlaced : {false, true}) {
                for (auto [width, height] : sizes) {
                    SCOPED_TRACE(testing::Message()
                                 << "type " << t.colourType << " depth " << depth << " interlaced "
                                 << interlaced << " " << width << "x" << height);
                    PngLayout l =
                        noiseLayout(width, height, t.colourType, depth, interlaced, ++seed);
                    l.idatSize = seed % 2 ? 64 : 0;
                    const std::string bytes = test::writeWithLibpng(l);
                    const bool colour = t.colourType == 2 || t.colourType == 6;
                    for (size_t bufferSize : {size_t{0}, size_t{13}}) {
                        Image image = readPng(bytes, {}, bufferSize);
                        ASSERT_EQ(image.width(), width);
                        ASSERT_EQ(image.height(), height);
                        ASSERT_EQ(image.bitsPerPixel(), colour ? 24u : 8u);
                        EXPECT_EQ(image.formatTag, makeTag("PNG "));
                        if (t.colourType == 3) {
                            ASSERT_EQ(image.paletteCount, l.palette.size());
                            for (size_t i = 0; i < l.palette.size(); ++i)
                                EXPECT_EQ(
                                    image.palette[i],
                                    rgb(l.palette[i].red, l.palette[i].green, l.palette[i].blue));
                        } else if (!colour) {
                            Image ramp;
                            ramp.setGreyPalette(std::min(depth, 8));
                            EXPECT_EQ(image.paletteCount, ramp.paletteCount);
                            EXPECT_EQ(image.palette, ramp.palette);
                        }
                        // Colour rows hold blue, green, red.
                        for (uint32_t y = 0; y < height; ++y)
                            for (uint32_t x = 0; x < width; ++x)
                                for (size_t i = 0; i < (colour ? 3 : 1); ++i)
                                    ASSERT_EQ(image.plane.row(y)[colour ? 3 * x + 2 - i : x],
                                              firstSample(l, x, y, i))
                                        << x << "," << y;
                    }
                }
            }
        }
    }
}

// A 2x2 8-bit grey image with its rows unfiltered.
const std::string kGreyRows("\0\x10\x20\0\x30\x40", 6);

std::string file(const std::vector<std::string>& chunks) {
    std::string s = test::pngSignature();
    for (const std::string& c : chunks) s += c;
    return s;
}

std::string ihdr(int depth = 8, int colourType = 0, uint32_t width = 2, uint32_t height = 2) {
    return test::pngChunk("IHDR", test::ihdrData(width, height, depth, colourType));
}
std::string idat(const std::string& raw = kGreyRows) {
    return test::pngChunk("IDAT", test::zlibCompress(raw));
}
const std::string kIend = test::pngChunk("IEND", "");
const std::string kPalette = test::pngChunk("PLTE", std::string("\1\2\3\4\5\6", 6));

std::string withIhdrByte(size_t offset, char value) {
    std::string d = test::ihdrData(2, 2, 8, 0);
    d[offset] = value;
    return test::pngChunk("IHDR", d);
}

std::string badCrc(std::string chunk) {
    chunk.back() = char(chunk.back() ^ 1);
    return chunk;
}

TEST(PngReader, RefusedFilesGiveTheirErrorValue) {
    const std::string compressed = test::zlibCompress(kGreyRows);
    const std::string firstHalf = test::pngChunk("IDAT", compressed.substr(0, 6));
    const std::string secondHalf = test::pngChunk("IDAT", compressed.substr(6));
    const std::string text = test::pngChunk("tEXt", std::string("Title\0x", 7));
    std::string twelve = test::pngChunk("IHDR", test::ihdrData(2, 2, 8, 0).substr(0, 12));
    std::string notPng = file({ihdr(), idat(), kIend});
    notPng[1] = 'Q';

    struct Case {
        const char* name;
        std::string bytes;
        std::optional<PNGERROR> error;
    };
    const Case cases[] = {
        {"Plain", file({ihdr(), idat(), kIend}), std::nullopt},
        {"IhdrOf14Bytes",
         file({test::pngChunk("IHDR", test::ihdrData(2, 2, 8, 0) + "x"), idat(), kIend}),
         std::nullopt},
        {"GreyIgnoresOddPlte", file({ihdr(), test::pngChunk("PLTE", "abcd"), idat(), kIend}),
         std::nullopt},
        {"IdatSplitInOneRun", file({ihdr(), firstHalf, secondHalf, kIend}), std::nullopt},
        {"EmptyIdatAfterTheStream", file({ihdr(), idat(), test::pngChunk("IDAT", ""), kIend}),
         std::nullopt},
        {"AncillaryChunksIgnored",
         file({ihdr(), text, test::pngChunk("tRNS", "\0\1"), test::pngChunk("bKGD", "\0\7"), idat(),
               kIend}),
         std::nullopt},
        {"NotPng", notPng, PNGERROR::NotPng},
        {"CrcOfUnknownAncillary",
         file({ihdr(), badCrc(test::pngChunk("vvRk", "data")), idat(), kIend}), PNGERROR::BadCrc},
        {"CrcOfIdat", file({ihdr(), badCrc(idat()), kIend}), PNGERROR::BadCrc},
        {"IhdrOf12Bytes", file({twelve, idat(), kIend}), PNGERROR::BadIhdrLength},
        {"ZeroWidth", file({ihdr(8, 0, 0, 2), idat(), kIend}), PNGERROR::ZeroSize},
        {"ColourType5", file({ihdr(8, 5), idat(), kIend}), PNGERROR::BadColourType},
        {"RgbOfDepth4", file({ihdr(4, 2), idat(), kIend}), PNGERROR::BadBitDepth},
        {"Compression1", file({withIhdrByte(10, 1), idat(), kIend}), PNGERROR::UnknownCompression},
        {"FilterMethod1", file({withIhdrByte(11, 1), idat(), kIend}),
         PNGERROR::UnknownFilterMethod},
        {"Interlace2", file({withIhdrByte(12, 2), idat(), kIend}), PNGERROR::UnknownInterlace},
        {"SecondIhdr", file({ihdr(), ihdr(), idat(), kIend}), PNGERROR::MultipleIhdr},
        {"PlteBeforeIhdr", file({kPalette, ihdr(8, 3), idat(), kIend}), PNGERROR::MissingIhdr},
        {"SecondPlte", file({ihdr(8, 3), kPalette, kPalette, idat(), kIend}),
         PNGERROR::MultiplePlte},
        {"PaletteOddPlte", file({ihdr(8, 3), test::pngChunk("PLTE", "abcd"), idat(), kIend}),
         PNGERROR::BadPlteLength},
        {"SecondGama",
         file({ihdr(), test::pngChunk("gAMA", std::string("\0\0\xB1\x8F", 4)),
               test::pngChunk("gAMA", std::string("\0\0\xB1\x8F", 4)), idat(), kIend}),
         PNGERROR::MultipleGama},
        {"FilterType5", file({ihdr(), idat(std::string("\5\1\2\0\3\4", 6)), kIend}),
         PNGERROR::UnknownFilterType},
        {"PlteAfterIdat", file({ihdr(8, 3), idat(), kPalette, kIend}), PNGERROR::MissingPlte},
        {"NoIdat", file({ihdr(), kIend}), PNGERROR::MissingIdat},
        {"StreamRunsIntoText", file({ihdr(), firstHalf, text, secondHalf, kIend}),
         PNGERROR::BadIdatLength},
        {"SecondIdatRun", file({ihdr(), idat(), text, idat(), kIend}), PNGERROR::UnexpectedIdat},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        for (size_t bufferSize : {size_t{0}, size_t{5}}) {
            if (c.error) {
                EXPECT_EQ(test::thrownBy<PNGERROR>([&] { readPng(c.bytes, {}, bufferSize); }),
                          c.error);
            } else {
                Image image = readPng(c.bytes, {}, bufferSize);
                EXPECT_EQ(image.plane.row(1)[1], 0x40);
            }
        }
    }
}

TEST(PngIdentify, WalksTheChunksBeforeIhdrAndReportsIt) {
    std::string manyChunks;
    for (int i = 0; i < 100; ++i) manyChunks += test::pngChunk("tEXt", std::string("k\0v", 3));
    struct Case {
        const char* name;
        std::string bytes;
        bool accepted;
        uint32_t bits;
    };
    const Case cases[] = {
        {"IhdrFirst", file({ihdr(16, 6, 5, 7), idat(), kIend}), true, 48},
        {"IhdrAfterAHundredChunks", file({manyChunks, ihdr(4, 3, 5, 7), idat(), kIend}), true, 4},
        {"NoIhdr", file({manyChunks, kIend}), false, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        auto in = InFile::overMemory(
            std::span(reinterpret_cast<const uint8_t*>(c.bytes.data()), c.bytes.size()), 64);
        FormatInfo info;
        bool accepted = false;
        try {
            accepted = identifyPng(*in, &info);
        } catch (INFILEERROR e) {
            EXPECT_EQ(e, INFILEERROR::UnexpectedEnd);
        }
        ASSERT_EQ(accepted, c.accepted);
        if (accepted) {
            EXPECT_EQ(info.width, 5u);
            EXPECT_EQ(info.height, 7u);
            EXPECT_EQ(info.bitsPerPixel, c.bits);
            EXPECT_EQ(info.formatTag, makeTag("PNG "));
        }
    }
}

TEST(PngReader, PhysBecomesTheResolution) {
    for (auto unit : {ResolutionUnit::Ratio, ResolutionUnit::PerMetre}) {
        const std::string phys("\0\0\x0B\x13\0\0\x05\x89", 8);
        const char unitByte = unit == ResolutionUnit::PerMetre ? 1 : 0;
        Image image =
            readPng(file({ihdr(), test::pngChunk("pHYs", phys + unitByte), idat(), kIend}));
        EXPECT_EQ(image.resolution, (Resolution{2835, 1417, unit}));
    }
    EXPECT_EQ(readPng(file({ihdr(), idat(), kIend})).resolution.unit, ResolutionUnit::None);
}

// Records what the reader shows; with blocks on, takes a copy of the image
// after the first pass.
class Recorder final : public RowDisplay {
  public:
    explicit Recorder(bool blocks) : blocks_(blocks) {}
    bool blockDisplay() const override { return blocks_; }
    uint32_t rowThreshold() const override { return 4; }
    void showRows(const Image&, uint32_t rows) override { shown.push_back(rows); }
    void passFinished(const Image& image, uint32_t pass) override {
        passes.push_back(pass);
        if (pass == 1) afterFirstPass = image;
    }
    std::vector<uint32_t> shown, passes;
    Image afterFirstPass;

  private:
    bool blocks_;
};

TEST(PngReader, InterlacedPassesAreShownAsBlocks) {
    PngLayout l = noiseLayout(13, 11, 0, 8, true, 17);
    const std::string bytes = test::writeWithLibpng(l);
    for (bool blocks : {false, true}) {
        Recorder display(blocks);
        ReadOptions options;
        options.display = &display;
        Image image = readPng(bytes, options);
        EXPECT_EQ(display.passes, (std::vector<uint32_t>{1, 2, 3, 4, 5, 6, 7}));
        EXPECT_FALSE(display.shown.empty());
        const Image& first = display.afterFirstPass;
        // Pass 1 holds pixels (0,0), (8,0), (0,8), (8,8).
        for (uint32_t y = 0; y < 11; ++y) {
            for (uint32_t x = 0; x < 13; ++x) {
                const bool own = x % 8 == 0 && y % 8 == 0;
                const uint8_t expected =
                    blocks || own ? firstSample(l, x / 8 * 8, y / 8 * 8) : uint8_t{0};
                ASSERT_EQ(first.plane.row(y)[x], expected) << x << "," << y;
                ASSERT_EQ(image.plane.row(y)[x], firstSample(l, x, y));
            }
        }
    }
    // Width 1: passes 2, 4 and 6 (starting at columns 4, 2 and 1) are empty.
    Recorder narrow(false);
    ReadOptions options;
    options.display = &narrow;
    readPng(test::writeWithLibpng(noiseLayout(1, 9, 0, 8, true, 3)), options);
    EXPECT_EQ(narrow.passes, (std::vector<uint32_t>{1, 3, 5, 7}));
}

}  // namespace
}  // namespace vivark
