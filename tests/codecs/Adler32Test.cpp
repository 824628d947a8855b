// Adler-32 against zlib's, over lengths around the vector width and the
// reduction run, fed whole and in uneven pieces.
#include <gtest/gtest.h>
#include <zlib.h>

#include <random>
#include <vector>

#include "codecs/Adler32.h"

namespace vivark {
namespace {

TEST(Adler32, MatchesZlibWhateverTheLengthAndPieces) {
    std::mt19937 rng(9);
    std::vector<uint8_t> data(200000);
    for (auto& b : data) b = static_cast<uint8_t>(rng() | 0xF0);  // large bytes stress the sums
    for (size_t length : {0, 1, 15, 16, 17, 5551, 5552, 5553, 11104, 65537, 200000}) {
        const uint32_t expected = static_cast<uint32_t>(adler32(1, data.data(), uInt(length)));
        for (size_t piece : {length + 1, size_t(1), size_t(7), size_t(5553)}) {
            Adler32 sum;
            for (size_t at = 0; at < length; at += piece)
                sum.update(data.data() + at, std::min(piece, length - at));
            EXPECT_EQ(sum.value(), expected) << "length " << length << " piece " << piece;
        }
    }
}

}  // namespace
}  // namespace vivark
