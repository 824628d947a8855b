// Image: serials, the palette predicates and grey palettes, and colour
// counting of indexed and true-colour images, with cancellation.
#include <gtest/gtest.h>

#include <algorithm>
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
    constexpr int kThreads = 4, kPerThread = 2000;
    std::vector<std::vector<uint32_t>> serials(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&serials, t] {
            Image model(2, 2, 8);
            for (int i = 0; i < kPerThread; ++i) {
                serials[t].push_back(Image().serial());
                serials[t].push_back(Image(model).serial());
            }
        });
    }
    std::set<uint32_t> all{0};
    for (int t = 0; t < kThreads; ++t) {
        threads[t].join();
        all.insert(serials[t].begin(), serials[t].end());
    }
    EXPECT_EQ(all.size(), size_t{kThreads} * kPerThread * 2 + 1);  // and none is 0
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
        {"only the low 24 bits count", withPalette(1, 2, {0xFF000000, 0xFFFFFFFF}), true, true},
        {"entries past paletteCount ignored", withPalette(8, 2, {0, 0xFFFFFF, 0x123456}), true,
         true},
        {"mid grey", withPalette(8, 3, {0x000000, 0xFFFFFF, 0x808080}), false, true},
        {"16 greys", grey16, false, true},
        {"red differs", withPalette(8, 1, {0x7E7F7F}), false, false},
        {"blue differs", withPalette(8, 1, {0x7F7F7E}), false, false},
        {"last entry differs", withPalette(8, 4, {0, 0x111111, 0x222222, 0x222223}), false, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(c.image.isBlackAndWhite(), c.blackAndWhite);
        EXPECT_EQ(c.image.isGrey(), c.grey);
    }
}

TEST(ImagePalette, SetGreyPaletteWidensLevelsByBitReplication) {
    const std::vector<Colour> threeBits = {0x000000, 0x242424, 0x494949, 0x6D6D6D,
                                           0x929292, 0xB6B6B6, 0xDBDBDB, 0xFFFFFF};
    Image image(1, 1, 8);
    image.setGreyPalette(3);
    EXPECT_EQ(image.paletteCount, 8u);
    EXPECT_TRUE(std::equal(threeBits.begin(), threeBits.end(), image.palette.entries.begin()));
    image.setGreyPalette(2);
    EXPECT_EQ(image.palette[1], 0x555555u);
    EXPECT_EQ(image.palette[3], 0xFFFFFFu);
    Image sixteen(1, 1, 4);
    sixteen.setGreyPalette(4);
    Image full(1, 1, 8);
    full.setGreyPalette(8);
    for (unsigned i = 0; i < 256; ++i) {
        EXPECT_EQ(full.palette[i], i * 0x010101u);
        if (i < 16) {
            EXPECT_EQ(sixteen.palette[i], i * 0x111111u);
        }
    }
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
        {"entries past paletteCount ignored", {0x10, 0x20, 0x30, 0x10}, 3, 3},
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
}

TEST(ImageColourCount, TrueColourCountMatchesASetOfPixelsAndIgnoresRowPadding) {
    std::mt19937 rng(1234);
    struct Case {
        uint32_t width, height, choices;  // pixels drawn from `choices` random colours
    };
    for (const Case& c : {Case{1, 7, 3}, Case{17, 13, 100000}, Case{101, 37, 500}}) {
        SCOPED_TRACE(testing::Message() << c.width << " x " << c.height);
        Image image(c.width, c.height, 24, false);
        // Random bytes everywhere, padding included, then the pixels proper.
        std::generate_n(image.plane.mutableData(), image.plane.dataSize(), [&] { return rng(); });
        std::vector<uint32_t> colours(c.choices);
        for (uint32_t& colour : colours) colour = rng() & 0xFFFFFF;
        std::set<uint32_t> oracle;
        for (uint32_t y = 0; y < c.height; ++y) {
            uint8_t* row = image.plane.mutableRow(y);
            for (uint32_t x = 0; x < c.width; ++x) {
                const uint32_t colour = colours[rng() % c.choices];
                row[3 * x] = blueOf(colour);
                row[3 * x + 1] = greenOf(colour);
                row[3 * x + 2] = redOf(colour);
                oracle.insert(colour);
            }
        }
        EXPECT_EQ(image.countColours(), oracle.size());
        EXPECT_EQ(image.colourCount, oracle.size());
    }
    EXPECT_EQ(Image().countColours(), 0u);  // no pixels, no colours
    EXPECT_EQ(Image(5, 0, 24).countColours(), 0u);
}

TEST(ImageColourCount, CancellingReturnsZeroAndKeepsThePreviousCount) {
    for (uint32_t cancelAfterRow : {0, 1, 5}) {  // 0: never
        SCOPED_TRACE(testing::Message() << "cancel after row " << cancelAfterRow);
        Image image(4, 5, 24);
        image.plane.mutableRow(2)[0] = 1;  // two colours
        image.colourCount = 77;
        std::vector<std::pair<uint32_t, uint32_t>> calls;
        ProgressFunction callback([&](uint32_t done, uint32_t total) {
            calls.emplace_back(done, total);
            return done == cancelAfterRow;
        });

        const uint32_t counted = image.countColours(&callback);

        const uint32_t rowsSeen = cancelAfterRow == 0 ? 5 : cancelAfterRow;
        ASSERT_EQ(calls.size(), rowsSeen);
        for (uint32_t i = 0; i < rowsSeen; ++i) EXPECT_EQ(calls[i], std::make_pair(i + 1, 5u));
        EXPECT_EQ(counted, cancelAfterRow == 0 ? 2u : 0u);
        EXPECT_EQ(image.colourCount, cancelAfterRow == 0 ? 2u : 77u);
    }
}

TEST(ImageColourCount, IndexedCountIsTheHighestIndexInUseIgnoringPaddingBits) {
    struct Case {
        uint32_t bitsPerPixel, width;
        unsigned lastIndex;  // of the last pixel of the first row; all others are 0
    };
    const Case cases[] = {{1, 3, 0}, {1, 9, 1}, {4, 3, 9}, {4, 4, 15}, {8, 5, 255}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << " x " << c.bitsPerPixel << " bits");
        Image image(c.width, 3, c.bitsPerPixel, false);
        // Every bit set, padding included; then the pixels proper.
        std::fill_n(image.plane.mutableData(), image.plane.dataSize(), 0xFF);
        const uint32_t rowBits = c.width * c.bitsPerPixel, lastBit = rowBits - c.bitsPerPixel;
        for (uint32_t y = 0; y < 3; ++y) {
            uint8_t* row = image.plane.mutableRow(y);
            std::fill_n(row, rowBits / 8, 0);
            if (rowBits % 8 != 0) row[rowBits / 8] = 0xFF >> (rowBits % 8);
            if (y == 0) row[lastBit / 8] |= c.lastIndex << (8 - rowBits % 8) % 8;
        }
        const std::vector<uint8_t> before(image.plane.data(),
                                          image.plane.data() + image.plane.dataSize());

        EXPECT_EQ(image.countColours(), c.lastIndex + 1);
        EXPECT_EQ(image.paletteCount, c.lastIndex + 1);
        EXPECT_EQ(image.colourCount, c.lastIndex + 1);
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

}  // namespace
}  // namespace vivark
