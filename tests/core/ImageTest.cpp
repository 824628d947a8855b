// Image: serials, the palette predicates and grey palettes, and colour
// counting of indexed and true-colour images.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <initializer_list>
#include <random>
#include <set>
#include <thread>
#include <utility>
#include <vector>

#include "core/Image.h"

namespace vivark {
namespace {

TEST(ImageSerial, UniqueAcrossThreadsAndCopies) {
    constexpr int kThreads = 4;
    constexpr int kPerThread = 2000;
    std::vector<std::vector<uint32_t>> serials(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&serials, t] {
            Image model(2, 2, 8);
            for (int i = 0; i < kPerThread; ++i) {
                Image fresh;
                Image copy = model;
                serials[t].push_back(fresh.serial());
                serials[t].push_back(copy.serial());
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    std::set<uint32_t> all;
    for (const auto& list : serials) all.insert(list.begin(), list.end());
    EXPECT_EQ(all.size(), size_t{kThreads} * kPerThread * 2);
    EXPECT_EQ(all.count(0), 0u);
}

Image withPalette(uint32_t bitsPerPixel, uint32_t paletteCount,
                  std::initializer_list<Colour> entries) {
    Image image(1, 1, bitsPerPixel);
    unsigned i = 0;
    for (Colour c : entries) image.palette[i++] = c;
    image.paletteCount = paletteCount;
    return image;
}

TEST(ImagePalette, BlackAndWhiteAndGreyOnEdgePalettes) {
    struct Case {
        const char* what;
        Image image;
        bool blackAndWhite, grey;
    };
    Image greyTrueColour(1, 1, 24);
    greyTrueColour.setGreyPalette();
    Image grey16(1, 1, 4);
    grey16.setGreyPalette(4);
    const Case cases[] = {
        {"no valid entries", withPalette(8, 0, {0x123456}), true, true},
        {"24 bits, whatever the palette", greyTrueColour, false, false},
        {"black and white", withPalette(1, 2, {0x000000, 0xFFFFFF}), true, true},
        {"near white", withPalette(1, 2, {0x000000, 0xFEFFFF}), false, false},
        {"near black", withPalette(1, 2, {0x000001, 0xFFFFFF}), false, false},
        {"only the low 24 bits count", withPalette(1, 2, {0xFF000000, 0xFFFFFFFF}), true, true},
        {"entries past paletteCount ignored", withPalette(8, 2, {0, 0xFFFFFF, 0x123456}), true,
         true},
        {"mid grey", withPalette(8, 3, {0x000000, 0xFFFFFF, 0x808080}), false, true},
        {"16 greys", grey16, false, true},
        {"red differs", withPalette(8, 1, {0x7E7F7F}), false, false},
        {"green differs", withPalette(8, 1, {0x7F7E7F}), false, false},
        {"blue differs", withPalette(8, 1, {0x7F7F7E}), false, false},
        {"last entry differs", withPalette(8, 4, {0, 0x111111, 0x222222, 0x222223}), false, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(c.image.isBlackAndWhite(), c.blackAndWhite);
        EXPECT_EQ(c.image.isGrey(), c.grey);
    }
}

// Level i of a `bits`-bit grey scale widened to 8 bits by repeating its bit
// pattern: 101 becomes 10110110.
uint8_t replicatedLevel(unsigned i, unsigned bits) {
    unsigned out = 0;
    for (unsigned b = 0; b < 8; ++b) out = (out << 1) | ((i >> (bits - 1 - b % bits)) & 1);
    return static_cast<uint8_t>(out);
}

TEST(ImagePalette, SetGreyPaletteWidensLevelsByBitReplication) {
    for (unsigned bits = 1; bits <= 8; ++bits) {
        SCOPED_TRACE(testing::Message() << bits << " bits");
        Image image(1, 1, 8);
        image.setGreyPalette(bits);
        ASSERT_EQ(image.paletteCount, 1u << bits);
        for (unsigned i = 0; i < (1u << bits); ++i)
            EXPECT_EQ(image.palette[i], replicatedLevel(i, bits) * 0x010101u) << "entry " << i;
    }

    struct Case {
        unsigned bits;
        std::vector<Colour> entries;
    };
    const Case known[] = {
        {1, {0x000000, 0xFFFFFF}},
        {2, {0x000000, 0x555555, 0xAAAAAA, 0xFFFFFF}},
        {3, {0x000000, 0x242424, 0x494949, 0x6D6D6D, 0x929292, 0xB6B6B6, 0xDBDBDB, 0xFFFFFF}},
    };
    for (const Case& c : known) {
        Image image(1, 1, 8);
        image.setGreyPalette(c.bits);
        EXPECT_TRUE(std::equal(c.entries.begin(), c.entries.end(), image.palette.entries.begin()))
            << c.bits << " bits";
    }
    Image sixteen(1, 1, 4);
    sixteen.setGreyPalette(4);
    for (unsigned i = 0; i < 16; ++i) EXPECT_EQ(sixteen.palette[i], i * 0x111111u);
}

TEST(ImagePalette, CountPaletteColoursCountsRepeatedColoursOnce) {
    struct Case {
        const char* what;
        std::vector<Colour> entries;
        uint32_t paletteCount, distinct;
    };
    const Case cases[] = {
        {"all entries black", {}, 256, 1},
        {"no valid entries", {1, 2}, 0, 0},
        {"repeats", {0x10, 0x20, 0x10, 0x20, 0x30, 0x10}, 6, 3},
        {"repeat past paletteCount ignored", {0x10, 0x20, 0x30, 0x10}, 3, 3},
        {"entries past paletteCount ignored", {0x10, 0x20, 0x30, 0x40}, 2, 2},
        {"same bytes in other channels", {0x010000, 0x000100, 0x000001, 0x000000}, 4, 4},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Image image(1, 1, 8);
        std::copy(c.entries.begin(), c.entries.end(), image.palette.entries.begin());
        image.paletteCount = c.paletteCount;
        EXPECT_EQ(image.countPaletteColours(), c.distinct);
        EXPECT_EQ(image.colourCount, c.distinct);
    }
    Image grey(1, 1, 8);
    grey.setGreyPalette();
    EXPECT_EQ(grey.countPaletteColours(), 256u);
}

TEST(ImageColourCount, TrueColourCountMatchesASetOfPixelsAndIgnoresRowPadding) {
    std::mt19937 rng(1234);
    struct Case {
        uint32_t width, height, paletteSize;  // paletteSize 0: every pixel random
    };
    const Case cases[] = {{1, 1, 0}, {1, 7, 3}, {3, 5, 4}, {5, 9, 40}, {17, 13, 0}, {101, 37, 500}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << " x " << c.height);
        Image image(c.width, c.height, 24, false);
        // Random bytes everywhere, padding included, then pixels from a small
        // set of colours so that many repeat.
        uint8_t* data = image.plane.mutableData();
        for (uint32_t i = 0; i < image.plane.dataSize(); ++i) data[i] = rng() & 0xFF;
        std::vector<uint32_t> colours(c.paletteSize);
        for (uint32_t& colour : colours) colour = rng() & 0xFFFFFF;
        std::set<uint32_t> oracle;
        for (uint32_t y = 0; y < c.height; ++y) {
            uint8_t* row = image.plane.mutableRow(y);
            for (uint32_t x = 0; x < c.width; ++x) {
                if (c.paletteSize != 0) {
                    uint32_t colour = colours[rng() % c.paletteSize];
                    row[3 * x] = blueOf(colour);
                    row[3 * x + 1] = greenOf(colour);
                    row[3 * x + 2] = redOf(colour);
                }
                oracle.insert(rgb(row[3 * x + 2], row[3 * x + 1], row[3 * x]));
            }
        }
        EXPECT_EQ(image.countColours(), oracle.size());
        EXPECT_EQ(image.colourCount, oracle.size());
    }
}

TEST(ImageColourCount, CancellingReturnsZeroAndKeepsThePreviousCount) {
    struct Case {
        uint32_t cancelAfterRow;  // 0: never
    };
    const Case cases[] = {{0}, {1}, {3}, {5}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "cancel after row " << c.cancelAfterRow);
        Image image(4, 5, 24);
        image.plane.mutableRow(2)[0] = 1;  // two colours
        image.colourCount = 77;
        std::vector<std::pair<uint32_t, uint32_t>> calls;
        ProgressFunction callback([&](uint32_t done, uint32_t total) {
            calls.emplace_back(done, total);
            return done == c.cancelAfterRow;
        });

        const uint32_t counted = image.countColours(&callback);

        const uint32_t rowsSeen = c.cancelAfterRow == 0 ? 5 : c.cancelAfterRow;
        ASSERT_EQ(calls.size(), rowsSeen);
        for (uint32_t i = 0; i < rowsSeen; ++i) EXPECT_EQ(calls[i], std::make_pair(i + 1, 5u));
        EXPECT_EQ(counted, c.cancelAfterRow == 0 ? 2u : 0u);
        EXPECT_EQ(image.colourCount, c.cancelAfterRow == 0 ? 2u : 77u);
    }
}

// Writes palette index `value` as pixel x of a 1-, 4- or 8-bit row.
void setIndex(uint8_t* row, uint32_t x, uint32_t bitsPerPixel, unsigned value) {
    const unsigned perByte = 8 / bitsPerPixel;
    const unsigned shift = (perByte - 1 - x % perByte) * bitsPerPixel;
    const unsigned mask = ((1u << bitsPerPixel) - 1) << shift;
    uint8_t& byte = row[x / perByte];
    byte = static_cast<uint8_t>((byte & ~mask) | ((value << shift) & mask));
}

TEST(ImageColourCount, IndexedCountIsTheHighestIndexInUseIgnoringPaddingBits) {
    struct Pixel {
        uint32_t x, y;
        unsigned index;
    };
    struct Case {
        const char* what;
        uint32_t bitsPerPixel, width, height;
        std::vector<Pixel> pixels;  // all others are index 0
        uint32_t paletteCount;
    };
    const Case cases[] = {
        {"1 bit, all 0", 1, 3, 2, {}, 1},
        {"1 bit, one pixel 1", 1, 3, 2, {{2, 1, 1}}, 2},
        {"1 bit, 9 wide", 1, 9, 1, {{8, 0, 1}}, 2},
        {"4 bits, odd width", 4, 3, 2, {{0, 0, 5}, {2, 1, 9}}, 10},
        {"4 bits, index 15", 4, 4, 1, {{1, 0, 15}}, 16},
        {"8 bits", 8, 5, 3, {{4, 2, 200}, {0, 0, 7}}, 201},
        {"8 bits, index 255", 8, 1, 1, {{0, 0, 255}}, 256},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Image image(c.width, c.height, c.bitsPerPixel, false);
        // Every bit set, padding included; then the pixels proper.
        std::fill_n(image.plane.mutableData(), image.plane.dataSize(), 0xFF);
        for (uint32_t y = 0; y < c.height; ++y)
            for (uint32_t x = 0; x < c.width; ++x)
                setIndex(image.plane.mutableRow(y), x, c.bitsPerPixel, 0);
        for (const Pixel& p : c.pixels)
            setIndex(image.plane.mutableRow(p.y), p.x, c.bitsPerPixel, p.index);
        const std::vector<uint8_t> before(image.plane.data(),
                                          image.plane.data() + image.plane.dataSize());

        EXPECT_EQ(image.countColours(), c.paletteCount);
        EXPECT_EQ(image.paletteCount, c.paletteCount);
        EXPECT_EQ(image.colourCount, c.paletteCount);
        EXPECT_TRUE(std::equal(before.begin(), before.end(), image.plane.data()));
    }
}

TEST(ImageColourCount, WeedingOutDuplicatesCountsDistinctColoursOfTheEntriesInUse) {
    Image image(4, 1, 8);
    uint8_t* row = image.plane.mutableRow(0);
    row[0] = 0, row[1] = 1, row[2] = 2, row[3] = 4;
    image.palette[0] = image.palette[3] = 0x112233;  // 3 is unused but counted
    image.palette[1] = image.palette[4] = 0x445566;
    image.palette[2] = 0x778899;
    image.palette[5] = 0xABCDEF;  // above the highest index in use

    EXPECT_EQ(image.countColours(nullptr, Image::CountMode::WeedOutDuplicates), 3u);
    EXPECT_EQ(image.paletteCount, 5u);
    EXPECT_EQ(image.colourCount, 3u);
}

TEST(ImageColourCount, AnImageWithoutPixelsHasNoColours) {
    Image image;
    EXPECT_EQ(image.countColours(), 0u);
    Image noRows(5, 0, 24);
    EXPECT_EQ(noRows.countColours(), 0u);
}

}  // namespace
}  // namespace vivark
