// The LZW codecs: round trips in both bit orders, request splitting, the
// full-table and KwKwK cases built code by code, the old-style TIFF variant
// and the errors.
#include <gtest/gtest.h>

#include <ostream>
#include <random>
#include <vector>

#include "codecs/ByteSinks.h"
#include "codecs/ByteSources.h"
#include "codecs/LzwDecoder.h"
#include "codecs/LzwEncoder.h"
#include "core/Errors.h"
#include "support/SlicedSource.h"
#include "support/Throws.h"

namespace vivark {
namespace {

using Bytes = std::vector<uint8_t>;

using test::SlicedSource;

// Codes `input` as `runs` runs through one encoder, reset before each.
Bytes encode(const Bytes& input, uint32_t codeSize, bool tiff, size_t chunk = 1 << 20,
             int runs = 1) {
    Bytes out;
    MemorySink sink(out);
    LzwEncoder encoder(codeSize, tiff);
    encoder.attach(&sink);
    for (int run = 0; run < runs; ++run) {
        encoder.reset();
        for (size_t at = 0; at < input.size(); at += chunk)
            encoder.encode(input.data() + at, std::min(chunk, input.size() - at));
        encoder.finish();
    }
    encoder.close();
    return out;
}

uint64_t fnv1a(const Bytes& bytes) {
    uint64_t h = 14695981039346656037ull;
    for (uint8_t b : bytes) h = (h ^ b) * 1099511628211ull;
    return h;
}

// Decodes `size` bytes in requests of `request` bytes, reading `step`-byte
// windows, then asks once more to see the end code.
Bytes decode(const Bytes& coded, uint32_t codeSize, bool msb, size_t size, size_t request = 1 << 20,
             size_t step = 1 << 20, bool* sawEnd = nullptr) {
    SlicedSource source(coded, step);
    LzwDecoder decoder(codeSize, msb, msb);
    decoder.attach(&source);
    decoder.reset();
    Bytes out(size);
    for (size_t at = 0; at < size; at += request)
        decoder.decode(out.data() + at, std::min(request, size - at));
    uint8_t extra = 0xA5;
    decoder.decode(&extra, 1);
    EXPECT_EQ(extra, 0xA5) << "a byte was written after the end code";
    if (sawEnd != nullptr) *sawEnd = decoder.ended();
    return out;
}

// Incompressible, long runs, mixed, or 2-bit symbols.
Bytes sampleInput(int kind, size_t size) {
    Bytes v(size);
    std::mt19937 rng(1234 + kind);
    for (size_t i = 0; i < size; ++i)
        v[i] = static_cast<uint8_t>(kind == 0   ? rng()
                                    : kind == 1 ? (i / 300) & 3
                                    : kind == 2 ? (i * i) >> 7 ^ (rng() & 1)
                                                : rng() & 3);
    return v;
}

struct RoundTripCase {
    const char* name;
    uint32_t codeSize;
    bool tiff;
    int kind;
    size_t size;
    // Of the coded bytes: GIF and TIFF files written earlier carry exactly
    // these, so any change to the encoder must leave them alone.
    uint64_t digest;
};

// ctest lists a case by its name, not by its raw bytes.
void PrintTo(const RoundTripCase& c, std::ostream* os) {
    *os << c.name;
}

class LzwRoundTrip : public ::testing::TestWithParam<RoundTripCase> {};

TEST_P(LzwRoundTrip, DecodesToTheInputWhateverTheChunking) {
    const RoundTripCase& c = GetParam();
    Bytes input = sampleInput(c.kind, c.size);
    Bytes coded = encode(input, c.codeSize, c.tiff);
    EXPECT_EQ(fnv1a(coded), c.digest) << "coded bytes changed";
    EXPECT_EQ(encode(input, c.codeSize, c.tiff, 97), coded) << "encoder output depends on chunking";
    Bytes twice = coded;
    twice.insert(twice.end(), coded.begin(), coded.end());
    EXPECT_EQ(encode(input, c.codeSize, c.tiff, 1 << 20, 2), twice) << "a reused encoder differs";
    bool sawEnd = false;
    EXPECT_EQ(decode(coded, c.codeSize, c.tiff, input.size(), 1 << 20, 1 << 20, &sawEnd), input);
    EXPECT_TRUE(sawEnd);
    if (c.size <= 70000) {
        for (size_t request : {1, 7, 41, 43, 4095, 4097})
            EXPECT_EQ(decode(coded, c.codeSize, c.tiff, input.size(), request, request % 13 + 1),
                      input)
                << "request " << request;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Modes, LzwRoundTrip,
    ::testing::Values(RoundTripCase{"GifEmpty", 8, false, 0, 0, 0x082f2307b4e88e77ull},
                      RoundTripCase{"TiffOneByte", 8, true, 0, 1, 0xe9ed11aa819f721cull},
                      RoundTripCase{"GifRandom", 8, false, 0, 65536, 0xa3e6fee414c15ca0ull},
                      RoundTripCase{"TiffRuns", 8, true, 1, 60000, 0x1343a7b2f6802ca3ull},
                      RoundTripCase{"GifMixed1MB", 8, false, 2, 1 << 20, 0xc4bcef2ac5a008e9ull},
                      RoundTripCase{"TiffMixed1MB", 8, true, 2, 1 << 20, 0xc7913ad12b57d502ull},
                      RoundTripCase{"TiffRandom1MB", 8, true, 0, 1 << 20, 0x7de5e93d6ad6486bull},
                      RoundTripCase{"GifTwoBitCodes", 2, false, 3, 50000, 0x295ee20173ab45f8ull}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(LzwEncoder, WritesClearDataAndEndCodesInItsBitOrder) {
    EXPECT_EQ(encode({}, 8, false), (Bytes{0x01, 0x01}));  // 257 in 9 bits, least significant first
    EXPECT_EQ(encode({}, 8, true), (Bytes{0x80, 0x80}));   // 257 in 9 bits, most significant first
    EXPECT_EQ(encode({1}, 2, false), (Bytes{0x4C, 0x01}));              // 4, 1, 5 at 3 bits
    EXPECT_EQ(encode({65}, 8, true), (Bytes{0x80, 0x10, 0x60, 0x20}));  // 256, 65, 257
}

// Writes codes at the widths the decoder will read them, tracking the table
// as the decoder builds it.
class CodeWriter {
  public:
    CodeWriter(uint32_t codeSize, bool msb) : root_(codeSize), msb_(msb), width_(codeSize + 1) {
        clear();
    }

    void clear() {
        put(1u << root_);  // at the width in force, as an encoder writes it
        nextCode_ = (1u << root_) + 2;
        width_ = root_ + 1;
        afterClear_ = true;
    }
    void put(uint32_t code) {
        if (msb_) {
            acc_ = (acc_ << width_) | code;
            bits_ += width_;
            while (bits_ >= 8) {
                bits_ -= 8;
                out.push_back(static_cast<uint8_t>(acc_ >> bits_));
            }
        } else {
            acc_ |= static_cast<uint64_t>(code) << bits_;
            bits_ += width_;
            while (bits_ >= 8) {
                out.push_back(static_cast<uint8_t>(acc_));
                acc_ >>= 8;
                bits_ -= 8;
            }
        }
    }
    // A data code: the decoder adds an entry after every one but the first.
    void data(uint32_t code) {
        put(code);
        if (afterClear_) {
            afterClear_ = false;
            return;
        }
        ++nextCode_;
        uint32_t limit = (1u << width_) - 1 - (msb_ ? 1 : 0);
        if (nextCode_ > limit) {
            if (width_ == 12)
                nextCode_ = limit;
            else
                ++width_;
        }
    }
    Bytes finish() {
        put((1u << root_) + 1);
        if (bits_ != 0)
            out.push_back(msb_ ? static_cast<uint8_t>(acc_ << (8 - bits_))
                               : static_cast<uint8_t>(acc_));
        return out;
    }

  private:
    uint32_t root_;
    bool msb_;
    uint64_t acc_ = 0;
    uint32_t bits_ = 0;
    uint32_t width_ = 0;
    uint32_t nextCode_ = 0;
    bool afterClear_ = false;
    Bytes out;
};

Bytes decodeAll(const Bytes& coded, uint32_t codeSize, bool msb, size_t size) {
    MemorySource source(coded);
    LzwDecoder decoder(codeSize, msb, false);
    decoder.attach(&source);
    decoder.reset();
    Bytes out(size, 0xEE);
    decoder.decode(out.data(), size);
    return out;
}

class LzwBitOrder : public ::testing::TestWithParam<bool> {};

TEST_P(LzwBitOrder, FullTableKeepsDecodingAt12BitsOverwritingItsLastEntry) {
    const bool msb = GetParam();
    CodeWriter w(8, msb);
    Bytes expected;
    // Literal codes fill the table; keep going well past the full point.
    for (uint32_t i = 0; i < 5000; ++i) {
        w.data(i % 251);
        expected.push_back(static_cast<uint8_t>(i % 251));
    }
    const uint32_t last = msb ? 4094 : 4095;
    // The last entry is always "not yet in the table": previous string + its first byte.
    w.data(7);
    w.data(last);
    expected.insert(expected.end(), {7, 7, 7});
    // Entry `last` now holds "7 7" + first byte of what followed; 300 is an old entry.
    w.data(300);
    expected.insert(expected.end(),
                    {static_cast<uint8_t>(42 % 251), static_cast<uint8_t>(43 % 251)});
    EXPECT_EQ(decodeAll(w.finish(), 8, msb, expected.size()), expected);
}

TEST_P(LzwBitOrder, HandBuiltCodesDecodeOrFailAsInvalid) {
    constexpr uint32_t kClear = ~0u;
    const struct {
        std::vector<uint32_t> codes;
        Bytes expected;  // empty: InvalidCode
    } cases[] = {
        // The code of the next entry is the previous string plus its first byte.
        {{'a', 258, 259}, {'a', 'a', 'a', 'a', 'a', 'a'}},
        // A clear or end code right after a clear is a literal byte.
        {{256, 1, kClear, 257}, {0x00, 0x01, 0x01}},
        // A code beyond the next free entry; a first code that is no root.
        {{'a', 300}, {}},
        {{258}, {}},
    };
    for (const auto& c : cases) {
        CodeWriter w(8, GetParam());
        for (uint32_t code : c.codes) code == kClear ? w.clear() : w.data(code);
        Bytes coded = w.finish();
        if (c.expected.empty())
            EXPECT_EQ(test::thrownBy<LZWERROR>([&] { decodeAll(coded, 8, GetParam(), 10); }),
                      std::optional(LZWERROR::InvalidCode));
        else
            EXPECT_EQ(decodeAll(coded, 8, GetParam(), c.expected.size()), c.expected);
    }
}

INSTANTIATE_TEST_SUITE_P(Orders, LzwBitOrder, ::testing::Values(false, true),
                         [](const auto& info) { return info.param ? "Msb" : "Lsb"; });

TEST(LzwDecoder, OldStyleTiffStripDecodesLeastSignificantFirst) {
    // Old-style strips: a 9-bit clear code least significant first, no early change.
    Bytes input = sampleInput(2, 20000);
    for (bool oldStyle : {true, false}) {
        Bytes coded = encode(input, 8, !oldStyle);
        MemorySource source(coded);
        LzwDecoder decoder(8, true, true);
        decoder.attach(&source);
        decoder.reset();
        EXPECT_EQ(decoder.msbMode(), !oldStyle);
        Bytes out(input.size());
        decoder.decode(out.data(), out.size());
        EXPECT_EQ(out, input);
    }
}

TEST(LzwDecoder, RunningDryIsTheSourcesError) {
    Bytes coded = encode(sampleInput(0, 1000), 8, false);
    coded.resize(coded.size() / 2);
    EXPECT_EQ(test::thrownBy<INFILEERROR>([&] { decodeAll(coded, 8, false, 1000); }),
              std::optional(INFILEERROR::UnexpectedEnd));
}

}  // namespace
}  // namespace vivark
