// The LZW codecs: round trips in both bit orders, request splitting, the
// full-table and KwKwK cases built code by code, the old-style TIFF variant
// and the errors.
#include <gtest/gtest.h>

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

Bytes encode(const Bytes& input, uint32_t codeSize, bool tiff, size_t chunk = 1 << 20) {
    Bytes out;
    MemorySink sink(out);
    auto encoder = std::make_unique<LzwEncoder>(codeSize, tiff);
    encoder->attach(&sink);
    encoder->reset();
    for (size_t at = 0; at < input.size(); at += chunk)
        encoder->encode(input.data() + at, std::min(chunk, input.size() - at));
    encoder->finish();
    encoder->close();
    return out;
}

// Decodes `size` bytes in requests of `request` bytes, reading `step`-byte
// windows, then asks once more to see the end code.
Bytes decode(const Bytes& coded, uint32_t codeSize, bool msb, size_t size, size_t request = 1 << 20,
             size_t step = 1 << 20, bool* sawEnd = nullptr) {
    SlicedSource source(coded, step);
    auto decoder = std::make_unique<LzwDecoder>(codeSize, msb, msb);
    decoder->attach(&source);
    decoder->reset();
    Bytes out(size);
    for (size_t at = 0; at < size; at += request)
        decoder->decode(out.data() + at, std::min(request, size - at));
    uint8_t extra = 0xA5;
    decoder->decode(&extra, 1);
    EXPECT_EQ(extra, 0xA5) << "a byte was written after the end code";
    if (sawEnd != nullptr) *sawEnd = decoder->ended();
    return out;
}

Bytes sampleInput(int kind, size_t size) {
    Bytes v(size);
    std::mt19937 rng(1234 + kind);
    for (size_t i = 0; i < size; ++i) {
        switch (kind) {
            case 0:
                v[i] = static_cast<uint8_t>(rng());
                break;  // incompressible
            case 1:
                v[i] = static_cast<uint8_t>((i / 300) & 3);
                break;  // long runs
            case 2:
                v[i] = static_cast<uint8_t>((i * i) >> 7 ^ (rng() & 1));
                break;  // mixed
            default:
                v[i] = static_cast<uint8_t>(rng() & 3);
                break;  // 2-bit symbols
        }
    }
    return v;
}

struct RoundTripCase {
    const char* name;
    uint32_t codeSize;
    bool tiff;
    int kind;
    size_t size;
};

class LzwRoundTrip : public ::testing::TestWithParam<RoundTripCase> {};

TEST_P(LzwRoundTrip, DecodesToTheInputWhateverTheChunking) {
    const RoundTripCase& c = GetParam();
    Bytes input = sampleInput(c.kind, c.size);
    Bytes coded = encode(input, c.codeSize, c.tiff);
    EXPECT_EQ(encode(input, c.codeSize, c.tiff, 97), coded) << "encoder output depends on chunking";
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

INSTANTIATE_TEST_SUITE_P(Modes, LzwRoundTrip,
                         ::testing::Values(RoundTripCase{"GifEmpty", 8, false, 0, 0},
                                           RoundTripCase{"TiffEmpty", 8, true, 0, 0},
                                           RoundTripCase{"GifOneByte", 8, false, 0, 1},
                                           RoundTripCase{"TiffOneByte", 8, true, 0, 1},
                                           RoundTripCase{"GifRandom", 8, false, 0, 65536},
                                           RoundTripCase{"TiffRandom", 8, true, 0, 65536},
                                           RoundTripCase{"GifRuns", 8, false, 1, 60000},
                                           RoundTripCase{"TiffRuns", 8, true, 1, 60000},
                                           RoundTripCase{"GifMixed1MB", 8, false, 2, 1 << 20},
                                           RoundTripCase{"TiffMixed1MB", 8, true, 2, 1 << 20},
                                           RoundTripCase{"GifRandom1MB", 8, false, 0, 1 << 20},
                                           RoundTripCase{"TiffRandom1MB", 8, true, 0, 1 << 20},
                                           RoundTripCase{"GifTwoBitCodes", 2, false, 3, 50000}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(LzwEncoder, RunWithoutDataWritesOnlyTheEndCode) {
    EXPECT_EQ(encode({}, 8, false), (Bytes{0x01, 0x01}));  // 257 in 9 bits, least significant first
    EXPECT_EQ(encode({}, 8, true), (Bytes{0x80, 0x80}));   // 257 in 9 bits, most significant first
    EXPECT_EQ(encode({}, 2, false), (Bytes{0x05}));        // 5 in 3 bits
}

TEST(LzwEncoder, OneByteIsClearCodeByteAndEndCode) {
    // GIF, code size 2, byte 1: codes 4, 1, 5 at 3 bits each, then zero padding.
    EXPECT_EQ(encode({1}, 2, false), (Bytes{0x4C, 0x01}));
    // TIFF: 256, 65, 257 at 9 bits most significant first, zero padded.
    EXPECT_EQ(encode({65}, 8, true), (Bytes{0x80, 0x10, 0x60, 0x20}));
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
    uint32_t nextCode() const { return nextCode_; }

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

TEST_P(LzwBitOrder, CodeEqualToNextEntryIsPreviousStringPlusItsFirstByte) {
    CodeWriter w(8, GetParam());
    w.data('a');
    w.data(258);  // not yet in the table: "a" + "a"
    w.data(259);  // again: "aa" + "a"
    EXPECT_EQ(decodeAll(w.finish(), 8, GetParam(), 6), (Bytes{'a', 'a', 'a', 'a', 'a', 'a'}));
}

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
    EXPECT_EQ(w.nextCode(), last);
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

TEST_P(LzwBitOrder, ClearOrEndCodeRightAfterClearIsALiteralByte) {
    CodeWriter w(8, GetParam());
    w.data(256);
    w.data(1);
    w.clear();
    w.data(257);
    EXPECT_EQ(decodeAll(w.finish(), 8, GetParam(), 3), (Bytes{0x00, 0x01, 0x01}));
}

TEST_P(LzwBitOrder, BadCodesThrow) {
    {
        CodeWriter w(8, GetParam());
        w.data('a');
        w.data(300);  // beyond the next free entry
        Bytes coded = w.finish();
        EXPECT_EQ(test::thrownBy<LZWERROR>([&] { decodeAll(coded, 8, GetParam(), 10); }),
                  std::optional(LZWERROR::InvalidCode));
    }
    {
        CodeWriter w(8, GetParam());
        w.data(258);  // first code after a clear must be a root
        Bytes coded = w.finish();
        EXPECT_EQ(test::thrownBy<LZWERROR>([&] { decodeAll(coded, 8, GetParam(), 10); }),
                  std::optional(LZWERROR::InvalidCode));
    }
}

INSTANTIATE_TEST_SUITE_P(Orders, LzwBitOrder, ::testing::Values(false, true),
                         [](const auto& info) { return info.param ? "Msb" : "Lsb"; });

TEST(LzwDecoder, EndCodeLeavesTheRestOfTheBufferUntouched) {
    CodeWriter w(8, false);
    w.data('x');
    w.data('y');
    Bytes out = decodeAll(w.finish(), 8, false, 5);
    EXPECT_EQ(out, (Bytes{'x', 'y', 0xEE, 0xEE, 0xEE}));
}

TEST(LzwDecoder, StreamWithoutLeadingClearStartsFromZero) {
    // Without a clear code the first data code adds an entry too, with
    // previous code 0: entry 258 is 0 followed by 'q'.
    Bytes coded;
    {
        uint32_t codes[] = {'q', 258, 257};
        uint64_t acc = 0;
        uint32_t bits = 0;
        for (uint32_t c : codes) {
            acc |= static_cast<uint64_t>(c) << bits;
            bits += 9;
        }
        for (; bits > 0; bits = bits > 8 ? bits - 8 : 0, acc >>= 8)
            coded.push_back(static_cast<uint8_t>(acc));
    }
    EXPECT_EQ(decodeAll(coded, 8, false, 3), (Bytes{'q', 0, 'q'}));
}

TEST(LzwDecoder, OldStyleTiffStripDecodesLeastSignificantFirst) {
    Bytes input = sampleInput(2, 20000);
    Bytes oldStyle =
        encode(input, 8, false);  // 9-bit clear code, least significant first, no early change
    ASSERT_EQ(oldStyle[0], 0x00);
    ASSERT_EQ(oldStyle[1] & 1, 1);
    MemorySource source(oldStyle);
    LzwDecoder decoder(8, true, true);
    decoder.attach(&source);
    decoder.reset();
    EXPECT_FALSE(decoder.msbMode());
    Bytes out(input.size());
    decoder.decode(out.data(), out.size());
    EXPECT_EQ(out, input);

    Bytes modern = encode(input, 8, true);
    MemorySource modernSource(modern);
    LzwDecoder modernDecoder(8, true, true);
    modernDecoder.attach(&modernSource);
    modernDecoder.reset();
    EXPECT_TRUE(modernDecoder.msbMode());
}

TEST(LzwDecoder, RunningDryIsTheSourcesError) {
    Bytes coded = encode(sampleInput(0, 1000), 8, false);
    coded.resize(coded.size() / 2);
    EXPECT_EQ(test::thrownBy<INFILEERROR>([&] { decodeAll(coded, 8, false, 1000); }),
              std::optional(INFILEERROR::UnexpectedEnd));
}

}  // namespace
}  // namespace vivark
