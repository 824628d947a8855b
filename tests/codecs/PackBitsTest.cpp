// PackBits: the fixed encoder output, both decoder modes at overruns, no-op
// headers, and decoding independent of how the caller splits its units.
#include <gtest/gtest.h>

#include <vector>

#include "codecs/ByteSinks.h"
#include "codecs/ByteSources.h"
#include "codecs/PackBitsDecoder.h"
#include "codecs/PackBitsEncoder.h"
#include "core/Errors.h"
#include "support/Throws.h"

namespace vivark {
namespace {

using Bytes = std::vector<uint8_t>;

Bytes encode(const Bytes& input) {
    Bytes out;
    MemorySink sink(out);
    PackBitsEncoder encoder;
    encoder.attach(&sink);
    encoder.encode(input.data(), input.size());
    encoder.finish();
    encoder.close();
    return out;
}

TEST(PackBitsEncoder, WritesRunsAndOneByteLiterals) {
    const std::vector<std::pair<Bytes, Bytes>> cases = {
        {{0x41, 0x42, 0x43}, {0x00, 0x41, 0x00, 0x42, 0x00, 0x43}},
        {Bytes(130, 0x20), {0x81, 0x20, 0xFF, 0x20}},
        {{0x07, 0x07}, {0xFF, 0x07}},
        {Bytes(129, 0x00), {0x81, 0x00, 0x00, 0x00}},
        {{1, 2, 2, 2, 3}, {0x00, 1, 0xFE, 2, 0x00, 3}},
        {{}, {}},
    };
    for (const auto& [input, expected] : cases) EXPECT_EQ(encode(input), expected);
}

// Decodes `units` back to back from one source, one call per unit length.
Bytes decode(const Bytes& coded, const std::vector<size_t>& units, bool tolerant,
             size_t* consumed = nullptr) {
    MemorySource source(coded);
    PackBitsDecoder decoder(tolerant);
    decoder.attach(&source);
    Bytes out;
    for (size_t length : units) {
        Bytes unit(length);
        decoder.decode(unit.data(), length);
        out.insert(out.end(), unit.begin(), unit.end());
    }
    if (consumed != nullptr) *consumed = coded.size() - source.available();
    return out;
}

TEST(PackBitsDecoder, DecodesLiteralsRunsAndSkipsNoOpHeaders) {
    Bytes coded = {0x02, 1, 2, 3, 0x80, 0xFD, 9, 0x80, 0x00, 4};
    EXPECT_EQ(decode(coded, {8}, false), (Bytes{1, 2, 3, 9, 9, 9, 9, 4}));
}

TEST(PackBitsDecoder, OverrunsAreErrorsWhenStrictAndClippedWhenTolerant) {
    struct Case {
        Bytes coded;
        Bytes tolerantOutput;
        size_t tolerantConsumed;
    };
    const std::vector<Case> cases = {
        {{0x09, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 0xEE}, {1, 2, 3, 4}, 11},
        {{0xF7, 0x55, 0xEE}, {0x55, 0x55, 0x55, 0x55}, 2},
    };
    for (const auto& c : cases) {
        size_t consumed = 0;
        EXPECT_EQ(decode(c.coded, {4}, true, &consumed), c.tolerantOutput);
        EXPECT_EQ(consumed, c.tolerantConsumed);
        EXPECT_EQ(test::thrownBy<PACKBITSERROR>([&] { decode(c.coded, {4}, false); }),
                  std::optional(PACKBITSERROR::Overrun));
    }
}

TEST(PackBitsDecoder, RunningOutOfInputIsTheSourcesError) {
    EXPECT_THROW(decode({0x03, 1, 2}, {4}, false), INFILEERROR);
    EXPECT_THROW(decode({0xFD}, {4}, true), INFILEERROR);
}

TEST(PackBitsRoundTrip, EncodedRowsDecodeWhateverTheSplit) {
    Bytes row;
    for (int i = 0; i < 700; ++i) row.push_back(static_cast<uint8_t>((i / 7) % 3 == 0 ? 0xAA : i));
    // Each unit coded separately, as writers code row by row.
    const std::vector<std::vector<size_t>> splits = {{700}, {1, 699}, {128, 129, 443}, {350, 350}};
    for (const auto& split : splits) {
        Bytes coded;
        size_t at = 0;
        for (size_t length : split) {
            Bytes unit(row.begin() + static_cast<ptrdiff_t>(at),
                       row.begin() + static_cast<ptrdiff_t>(at + length));
            Bytes piece = encode(unit);
            coded.insert(coded.end(), piece.begin(), piece.end());
            at += length;
        }
        EXPECT_EQ(decode(coded, split, false), row);
        EXPECT_EQ(decode(coded, split, true), row);
    }
}

}  // namespace
}  // namespace vivark
