// PixelPlane: row and block sizes, the 2 GiB refusal, bottom-up row addressing
// and the copy-on-write sharing of pixel blocks, also across threads.
#include <gtest/gtest.h>

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
           std::memcmp(plane.data(), bytes.data(), bytes.size()) == 0;
}

TEST(PixelPlaneSize, RowsArePaddedToWholeFourByteWords) {
    struct Case {
        uint32_t width, bitsPerPixel, rowStride;
    };
    const Case cases[] = {
        {1, 1, 4},   {32, 1, 4}, {33, 1, 8},  {1, 4, 4},        {8, 4, 4},   {9, 4, 8},
        {1, 8, 4},   {4, 8, 4},  {5, 8, 8},   {1, 24, 4},       {3, 24, 12}, {4, 24, 12},
        {5, 24, 16}, {0, 8, 0},  {65, 1, 12}, {1000, 24, 3000},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << " x " << c.bitsPerPixel << " bits");
        PixelPlane plane(c.width, 3, c.bitsPerPixel, true);
        EXPECT_EQ(plane.rowStride(), c.rowStride);
        EXPECT_EQ(plane.dataSize(), c.rowStride * 3);
        PixelPlane fromHeader(PlaneHeader{c.width, 3, c.bitsPerPixel}, true);
        EXPECT_EQ(fromHeader.rowStride(), c.rowStride);
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
        {0x20000000, 2, 24, "width x 24 wraps to 0; two rows of 1.5 GiB"},
        {0x0AAAAAAB, 4, 24, "width x 24 wraps to 8; four rows of 512 MiB"},
        {0x40000000, 2, 8, "width x 8 wraps to 0; two rows of 1 GiB"},
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

TEST(PixelPlaneSize, ClearedPlanesAreZeroIncludingRowPadding) {
    struct Case {
        uint32_t width, bitsPerPixel;
    };
    // Widths whose rows end inside a word, so each row carries padding.
    const Case cases[] = {{1, 1}, {9, 1}, {3, 4}, {5, 8}, {7, 24}, {301, 24}};
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << " x " << c.bitsPerPixel << " bits");
        PixelPlane cleared(c.width, 9, c.bitsPerPixel, true);
        PixelPlane fromNull(c.width, 9, c.bitsPerPixel, static_cast<uint8_t*>(nullptr));
        const std::vector<uint8_t> zeros(cleared.dataSize(), 0);
        EXPECT_TRUE(holds(cleared, zeros));
        EXPECT_TRUE(holds(fromNull, zeros));
    }
}

TEST(PixelPlaneLayout, PictureRowZeroIsTheLastRowOfTheBlock) {
    const uint32_t width = 5, height = 4;  // 24 bits: 15 bytes of pixels, stride 16
    const std::vector<uint8_t> pixels = patternBytes(16 * height, 1);
    PixelPlane plane(width, height, 24, pixels.data());
    ASSERT_TRUE(holds(plane, pixels));
    for (uint32_t y = 0; y < height; ++y) {
        EXPECT_EQ(plane.row(y), plane.data() + (height - 1 - y) * 16) << "row " << y;
    }
    plane.mutableRow(0)[2] = 0xEE;  // the red byte of the top row's first pixel
    EXPECT_EQ(plane.data()[(height - 1) * 16 + 2], 0xEE);
    plane.mutableRow(height - 1)[0] = 0xDD;
    EXPECT_EQ(plane.data()[0], 0xDD);
}

TEST(PixelPlaneSharing, CopiesShareOneBlock) {
    PixelPlane original(10, 10, 8, true);
    PixelPlane copy = original;
    PixelPlane assigned;
    assigned = copy;
    EXPECT_TRUE(copy.sharesPixelsWith(original));
    EXPECT_EQ(assigned.data(), original.data());
    EXPECT_EQ(original.shareCount(), 3);
    copy = PixelPlane();
    EXPECT_EQ(original.shareCount(), 2);
}

TEST(PixelPlaneSharing, WritingThroughASharedPlaneLeavesTheOtherCopyUntouched) {
    struct Case {
        const char* how;
        uint8_t* (*writable)(PixelPlane&);
    };
    const Case cases[] = {
        {"mutableRow", [](PixelPlane& p) { return p.mutableRow(p.height() - 1); }},
        {"mutableData", [](PixelPlane& p) { return p.mutableData(); }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.how);
        const std::vector<uint8_t> pixels = patternBytes(8 * 3, 3);
        PixelPlane original(7, 3, 8, pixels.data());
        PixelPlane copy = original;

        uint8_t* bytes = c.writable(copy);
        bytes[0] = 0xAB;
        bytes[6] = 0xCD;

        EXPECT_TRUE(holds(original, pixels));
        EXPECT_FALSE(copy.sharesPixelsWith(original));
        std::vector<uint8_t> expected = pixels;
        expected[0] = 0xAB;
        expected[6] = 0xCD;
        EXPECT_TRUE(holds(copy, expected));
    }
}

TEST(PixelPlaneSharing, WritingThroughAnUnsharedPlaneDoesNotCopyIt) {
    PixelPlane plane(16, 16, 8, true);
    const uint8_t* before = plane.data();
    EXPECT_EQ(plane.mutableData(), before);
    {
        PixelPlane passing = plane;  // shared, then dropped again
    }
    EXPECT_EQ(plane.mutableRow(3), before + plane.rowOffset(3));
}

TEST(PixelPlaneSharing, AMovedFromPlaneIsEmptyAndTheMoveKeepsTheBlock) {
    PixelPlane source(5, 3, 8, true);
    const uint8_t* block = source.data();
    PixelPlane moved(std::move(source));
    EXPECT_EQ(moved.data(), block);
    EXPECT_TRUE(source.empty());  // NOLINT(bugprone-use-after-move): the state is the point
    EXPECT_EQ(source.width(), 0u);
    EXPECT_EQ(source.data(), nullptr);
    PixelPlane other(2, 2, 24, true);
    other = std::move(moved);
    EXPECT_EQ(other.data(), block);
    EXPECT_EQ(other.rowStride(), 8u);
    EXPECT_TRUE(moved.empty());  // NOLINT(bugprone-use-after-move)
}

TEST(PixelPlaneSharing, ReplacePixelsNeverWritesIntoASharedBlock) {
    const std::vector<uint8_t> first = patternBytes(4 * 4, 10);
    const std::vector<uint8_t> second = patternBytes(4 * 4, 90);
    PixelPlane plane(4, 4, 8, first.data());
    PixelPlane copy = plane;

    plane.replacePixels(second.data());

    EXPECT_TRUE(holds(plane, second));
    EXPECT_TRUE(holds(copy, first));
    EXPECT_FALSE(plane.sharesPixelsWith(copy));
    EXPECT_EQ(copy.shareCount(), 1);
}

TEST(PixelPlaneSharing, ReplacePixelsFromItsOwnBlock) {
    // The source bytes live in the block being replaced; an implementation
    // that lets go of the old block first reads freed memory.
    const std::vector<uint8_t> pixels = patternBytes(12 * 5, 5);
    PixelPlane plane(4, 5, 24, pixels.data());
    plane.replacePixels(plane.data());
    EXPECT_TRUE(holds(plane, pixels));

    PixelPlane copy = plane;
    copy.replacePixels(plane.data());
    EXPECT_TRUE(holds(copy, pixels));
}

TEST(PixelPlaneSharing, CopiesMadeAndDroppedOnSeveralThreadsEachWriteOnlyTheirOwn) {
    // Each round hands copies of one fresh block to every thread and drops the
    // original, so the last holders of a block are on different threads: one
    // of them may find itself the only holder and write in place while the
    // others are copying out of the same block.
    constexpr int kThreads = 4;
    constexpr int kRounds = 300;
    const std::vector<uint8_t> base = patternBytes(32 * 8, 42);
    std::vector<PixelPlane> planes(kThreads);
    std::vector<int> failures(kThreads, 0);
    std::barrier sync(kThreads + 1);

    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            const auto mark = static_cast<uint8_t>(0xF0 + t);
            for (int round = 0; round < kRounds; ++round) {
                sync.arrive_and_wait();  // the copies are ready
                PixelPlane& mine = planes[t];
                {
                    PixelPlane passing = mine;  // made and dropped on this thread
                    if (!holds(passing, base)) ++failures[t];
                }
                for (uint32_t y = 0; y < mine.height(); ++y)
                    std::memset(mine.mutableRow(y), mark, mine.rowStride());
                if (!holds(mine, std::vector<uint8_t>(base.size(), mark))) ++failures[t];
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
    for (int t = 0; t < kThreads; ++t) {
        EXPECT_EQ(failures[t], 0) << "thread " << t;
        EXPECT_TRUE(holds(planes[t], std::vector<uint8_t>(base.size(), 0xF0 + t)));
    }
}

}  // namespace
}  // namespace vivark
