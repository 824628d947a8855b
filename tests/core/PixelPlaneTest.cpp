// PixelPlane: row and block sizes, the 2 GiB refusal, bottom-up row addressing
// and the copy-on-write sharing of pixel blocks, also across threads.
#include <gtest/gtest.h>

#include <atomic>
#include <barrier>
#include <cstring>
#include <thread>
#include <vector>

#include "core/Errors.h"
#include "core/PixelPlane.h"
#include "support/Throws.h"

namespace vivark {
namespace {

using test::thrownBy;

std::vector<uint8_t> patternBytes(size_t size, uint8_t seed) {
    std::vector<uint8_t> bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(seed + i * 7);
    return bytes;
}

bool holds(const PixelPlane& plane, const std::vector<uint8_t>& bytes) {
    return plane.dataSize() == bytes.size() &&
           (bytes.empty() || std::memcmp(plane.data(), bytes.data(), bytes.size()) == 0);
}

TEST(PixelPlaneSize, RowsArePaddedToWholeFourByteWordsAndClearedToZero) {
    struct Case {
        uint32_t width, bitsPerPixel, rowStride;
    };
    const Case cases[] = {{32, 1, 4}, {33, 1, 8}, {9, 4, 8},   {4, 8, 4},
                          {5, 8, 8},  {1, 24, 4}, {5, 24, 16}, {0, 8, 0}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << " x " << c.bitsPerPixel << " bits");
        const std::vector<uint8_t> zeros(c.rowStride * 3, 0);
        EXPECT_TRUE(holds(PixelPlane(c.width, 3, c.bitsPerPixel, true), zeros));
        EXPECT_TRUE(holds(PixelPlane(PlaneHeader{c.width, 3, c.bitsPerPixel}, true), zeros));
        PixelPlane fromNull(c.width, 3, c.bitsPerPixel, static_cast<uint8_t*>(nullptr));
        EXPECT_TRUE(holds(fromNull, zeros));
        EXPECT_EQ(fromNull.rowStride(), c.rowStride);
    }
}

TEST(PixelPlaneSize, RefusesBlocksOf2GiBOrMoreEvenWhenWidthTimesDepthWrapsIn32Bits) {
    struct Case {
        uint32_t width, height, bitsPerPixel;
        const char* why;
    };
    const Case cases[] = {
        {32768, 32768, 24, "3 GiB"},
        {0xFFFFFFFF, 4, 1, "exactly 2 GiB"},
        {0x0AAAAAAB, 4, 24, "width x 24 wraps to 8; four rows of 512 MiB"},
        {0xFFFFFFFF, 1, 24, "one row of 12 GiB"},
        {65536, 65536, 8, "4 GiB, wraps to 0 in 32 bits"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(
            thrownBy<IMAGEERROR>([&] { PixelPlane(c.width, c.height, c.bitsPerPixel, false); }),
            IMAGEERROR::TooLarge);
        EXPECT_EQ(thrownBy<IMAGEERROR>([&] {
                      PixelPlane(PlaneHeader{c.width, c.height, c.bitsPerPixel}, false);
                  }),
                  IMAGEERROR::TooLarge);
        EXPECT_EQ(thrownBy<IMAGEERROR>([&] {
                      PixelPlane(c.width, c.height, c.bitsPerPixel, static_cast<uint8_t*>(nullptr));
                  }),
                  IMAGEERROR::TooLarge);
    }
}

TEST(PixelPlaneLayout, PictureRowZeroIsTheLastRowOfTheBlock) {
    const uint32_t width = 5, height = 4;  // 24 bits: 15 bytes of pixels, stride 16
    const std::vector<uint8_t> pixels = patternBytes(16 * height, 1);
    PixelPlane plane(width, height, 24, pixels.data());
    ASSERT_TRUE(holds(plane, pixels));
    for (uint32_t y = 0; y < height; ++y)
        EXPECT_EQ(plane.row(y), plane.data() + (height - 1 - y) * 16) << "row " << y;
    plane.mutableRow(0)[2] = 0xEE;  // the red byte of the top row's first pixel
    EXPECT_EQ(plane.data()[(height - 1) * 16 + 2], 0xEE);
}

TEST(PixelPlaneSharing, CopiesShareOneBlockAndWritingAnUnsharedPlaneDoesNotCopyIt) {
    PixelPlane original(10, 10, 8, true);
    const uint8_t* block = original.data();
    PixelPlane copy = original;
    PixelPlane assigned;
    assigned = copy;
    EXPECT_TRUE(copy.sharesPixelsWith(original));
    EXPECT_EQ(assigned.data(), block);
    EXPECT_EQ(original.shareCount(), 3);
    copy = PixelPlane();
    assigned = std::move(copy);
    EXPECT_EQ(original.shareCount(), 1);
    EXPECT_EQ(original.mutableData(), block);
    EXPECT_EQ(original.mutableRow(3), block + original.rowOffset(3));
}

TEST(PixelPlaneSharing, WritingThroughASharedPlaneLeavesTheOtherCopyUntouched) {
    const std::vector<uint8_t> pixels = patternBytes(8 * 3, 3);
    std::vector<uint8_t> expected = pixels;
    expected[0] = 0xAB;
    for (bool byRow : {true, false}) {
        SCOPED_TRACE(byRow ? "mutableRow" : "mutableData");
        PixelPlane original(7, 3, 8, pixels.data());
        PixelPlane copy = original;
        (byRow ? copy.mutableRow(2) : copy.mutableData())[0] = 0xAB;  // row 2 comes first
        EXPECT_TRUE(holds(original, pixels));
        EXPECT_TRUE(holds(copy, expected));
    }
}

TEST(PixelPlaneSharing, ReplacePixelsNeverWritesIntoASharedBlockNorReadsAFreedOne) {
    const std::vector<uint8_t> first = patternBytes(12 * 4, 10);
    const std::vector<uint8_t> second = patternBytes(12 * 4, 90);
    PixelPlane plane(4, 4, 24, first.data());
    PixelPlane copy = plane;
    plane.replacePixels(second.data());
    EXPECT_TRUE(holds(plane, second));
    EXPECT_TRUE(holds(copy, first));
    EXPECT_EQ(copy.shareCount(), 1);

    // From the block being replaced, owned alone and shared.
    plane.replacePixels(plane.data());
    EXPECT_TRUE(holds(plane, second));
    copy = plane;
    copy.replacePixels(plane.data());
    EXPECT_TRUE(holds(copy, second));
}

TEST(PixelPlaneSharing, CopiesMadeAndDroppedOnSeveralThreadsEachWriteOnlyTheirOwn) {
    // The last holders of each round's block are on different threads: one may
    // write in place while the others still copy out of the same block.
    constexpr int kThreads = 4, kRounds = 300;
    const std::vector<uint8_t> base = patternBytes(32 * 8, 42);
    std::vector<PixelPlane> planes(kThreads);
    std::atomic<int> failures{0};
    std::barrier sync(kThreads + 1);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            const std::vector<uint8_t> mine(base.size(), static_cast<uint8_t>(0xF0 + t));
            for (int round = 0; round < kRounds; ++round) {
                sync.arrive_and_wait();  // the copies are ready
                PixelPlane& plane = planes[t];
                if (!holds(PixelPlane(plane), base)) ++failures;
                std::memcpy(plane.mutableData(), mine.data(), mine.size());
                if (!holds(plane, mine)) ++failures;
                sync.arrive_and_wait();  // done with this round
            }
        });
    }
    for (int round = 0; round < kRounds; ++round) {
        {
            PixelPlane original(32, 8, 8, base.data());
            for (PixelPlane& plane : planes) plane = original;
        }
        sync.arrive_and_wait();
        sync.arrive_and_wait();
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(failures, 0);
}

}  // namespace
}  // namespace vivark
