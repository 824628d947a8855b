// ZipEncoder against zlib's deflate as the oracle: the same bytes for every
// level 1-9 and strategy 0-2 over inputs that exercise literals, short and
// maximal matches, far distances, window slides and full symbol buffers,
// however the input is split. Level 0 is checked by inflating it back.
#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "codecs/ByteSinks.h"
#include "codecs/ZipEncoder.h"

namespace vivark {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t kWhole = 0;  // split: everything in one call

struct Shape {
    int windowBits = 15, memLevel = 8;
};

Bytes ours(const Bytes& input, int level, int strategy, size_t piece, Shape shape = {},
           ZipEncoder* reused = nullptr) {
    Bytes out;
    MemorySink sink(out);
    ZipEncoder fresh(level, 8, shape.windowBits, shape.memLevel, strategy);
    ZipEncoder& encoder = reused != nullptr ? *reused : fresh;
    encoder.attach(&sink);
    encoder.reset();
    if (piece == kWhole) piece = input.size() + 1;
    for (size_t at = 0; at < input.size(); at += piece)
        encoder.encode(input.data() + at, std::min(piece, input.size() - at));
    encoder.finish();
    encoder.close();
    return out;
}

// The level hint each level puts in the header's FLG byte.
constexpr uint8_t kFlg[10] = {0x01, 0x01, 0x01, 0x5E, 0x5E, 0x9C, 0x9C, 0xDA, 0xDA, 0xDA};

// zlib 1.2.13 fills the advisory level hint differently at levels 2 and 5 and
// under Huffman-only coding, so the oracle's FLG byte is replaced by ours.
Bytes zlibDeflate(const Bytes& input, int level, int strategy, size_t piece, Shape shape = {}) {
    z_stream z{};
    EXPECT_EQ(deflateInit2(&z, level, Z_DEFLATED, shape.windowBits, shape.memLevel, strategy),
              Z_OK);
    Bytes out(deflateBound(&z, input.size()) + 64);
    z.next_out = out.data();
    z.avail_out = static_cast<uInt>(out.size());
    if (piece == kWhole) piece = input.size() + 1;
    for (size_t at = 0; at < input.size(); at += piece) {
        z.next_in = const_cast<Bytef*>(input.data() + at);
        z.avail_in = static_cast<uInt>(std::min(piece, input.size() - at));
        EXPECT_EQ(::deflate(&z, Z_NO_FLUSH), Z_OK);
    }
    EXPECT_EQ(::deflate(&z, Z_FINISH), Z_STREAM_END);
    out.resize(z.total_out);
    deflateEnd(&z);
    if (shape.windowBits == 15) out[1] = kFlg[level];
    return out;
}

// ---- Inputs

Bytes randomBytes(size_t size, uint32_t seed) {
    std::mt19937 rng(seed);
    Bytes v(size);
    for (uint8_t& b : v) b = static_cast<uint8_t>(rng());
    return v;
}

Bytes text(size_t size) {
    static const char* const words[] = {"the ",   "image ", "viewer ",   "converts ", "files ",
                                        "of ",    "forty ", "formats ",  "and ",      "saves ",
                                        "them, ", "batch ", "scripts. ", "\r\n",      "palette "};
    std::mt19937 rng(7);
    Bytes v;
    while (v.size() < size) {
        const char* w = words[rng() % 15];
        v.insert(v.end(), w, w + std::strlen(w));
    }
    v.resize(size);
    return v;
}

// Rows as a PNG writer hands them over: a filter byte, then the row. Photo
// rows are smooth with noise, sub-filtered; graphics rows are flat bands of
// a few palette indices, unfiltered.
Bytes imageRows(uint32_t width, uint32_t height, bool photo) {
    std::mt19937 rng(photo ? 11 : 12);
    Bytes v;
    for (uint32_t y = 0; y < height; ++y) {
        v.push_back(photo ? 1 : 0);
        for (uint32_t x = 0; x < width; ++x) {
            double wave =
                60 * std::sin(x * 0.013 + y * 0.021) - 60 * std::sin((x - 3) * 0.013 + y * 0.021);
            uint32_t band = (x / 37 + y / 23) % 5;
            v.push_back(photo ? static_cast<uint8_t>(static_cast<int>(wave) + rng() % 9)
                              : static_cast<uint8_t>(band == 4 && (x + y) % 3 == 0 ? 9 : band));
        }
    }
    return v;
}

// Random blocks repeated at distances around the window's reach (32506) and
// size (32768), and three-byte matches just beyond and within 4096 back.
Bytes farRepeats() {
    Bytes v = randomBytes(33000, 3);
    for (size_t distance : {32500, 32506, 32507, 32768, 32000, 4097, 4096}) {
        size_t from = v.size() - distance;
        for (size_t i = 0; i < 3000; ++i) v.push_back(v[from + i]);
        Bytes noise = randomBytes(500 + distance % 7, static_cast<uint32_t>(distance));
        v.insert(v.end(), noise.begin(), noise.end());
    }
    for (size_t i = 0; i < 2000; ++i) {
        for (int k = 0; k < 3; ++k) v.push_back(v[v.size() - 4097]);
        Bytes noise = randomBytes(5, static_cast<uint32_t>(i));
        v.insert(v.end(), noise.begin(), noise.end());
    }
    return v;
}

// Short repeated patterns mixed with noise: many matches of every length.
Bytes patterns(size_t size) {
    std::mt19937 rng(9);
    Bytes v;
    while (v.size() < size) {
        uint32_t kind = rng() % 4;
        if (kind == 0 || v.size() < 300) {
            v.push_back(static_cast<uint8_t>(rng()));
        } else {
            size_t distance = 1 + rng() % (kind == 1 ? 8 : kind == 2 ? 300 : v.size());
            size_t length = 3 + rng() % (kind == 3 ? 300 : 20);
            size_t from = v.size() - std::min(distance, v.size());
            for (size_t i = 0; i < length; ++i) v.push_back(v[from + i]);
        }
    }
    v.resize(size);
    return v;
}

// Literal counts in a Fibonacci series: the Huffman tree grows deeper than
// 15 bits and its lengths have to be limited.
Bytes skewedLiterals() {
    Bytes v;
    uint32_t a = 1, b = 1;
    for (uint8_t symbol = 0; symbol < 20; ++symbol) {
        v.insert(v.end(), a, static_cast<uint8_t>('A' + symbol * 7));
        b = std::exchange(a, b) + b;
    }
    std::shuffle(v.begin(), v.end(), std::mt19937(4));
    return v;
}

const std::vector<Bytes>& inputs() {
    static const std::vector<Bytes> all = {
        {},
        {0x41},
        text(120000),
        imageRows(700, 160, true),
        imageRows(1000, 200, false),
        randomBytes(70000, 1),
        farRepeats(),
        patterns(400000),
        skewedLiterals(),
    };
    return all;
}

// ---- Byte identity with zlib

class ZipEncoderMatchesZlib : public ::testing::TestWithParam<std::tuple<int, int>> {};

TEST_P(ZipEncoderMatchesZlib, OverEveryInputAndSplit) {
    const auto [level, strategy] = GetParam();
    for (size_t i = 0; i < inputs().size(); ++i)
        for (size_t piece : {kWhole, size_t{1}, size_t{777}, size_t{4096}, size_t{65537}}) {
            if (piece == 1 && inputs()[i].size() > 20000) continue;
            ASSERT_EQ(ours(inputs()[i], level, strategy, piece),
                      zlibDeflate(inputs()[i], level, strategy, piece))
                << "input " << i << ", pieces of " << piece;
        }
}

INSTANTIATE_TEST_SUITE_P(LevelsAndStrategies, ZipEncoderMatchesZlib,
                         ::testing::Combine(::testing::Range(1, 10), ::testing::Range(0, 3)),
                         [](const auto& info) {
                             return "Level" + std::to_string(std::get<0>(info.param)) + "Strategy" +
                                    std::to_string(std::get<1>(info.param));
                         });

TEST(ZipEncoder, TenMegabytesMatchZlib) {
    Bytes large = patterns(9 << 20);  // with the rows below, 10.4 MB
    Bytes photo = imageRows(2000, 700, true);
    large.insert(large.end(), photo.begin(), photo.end());
    for (int level : {1, 6, 9})
        ASSERT_EQ(ours(large, level, 0, 65536), zlibDeflate(large, level, 0, 65536))
            << "level " << level;
}

// Smaller windows and other hash and symbol buffer sizes change every mask,
// shift and limit of the match finder. (The header differs from zlib's only
// in its level hint, so that byte is taken from zlib.)
TEST(ZipEncoder, OtherWindowAndMemorySizesMatchZlib) {
    for (Shape shape : {Shape{9, 1}, Shape{10, 2}, Shape{12, 5}, Shape{14, 9}, Shape{15, 1}})
        for (int level : {1, 6, 9})
            for (size_t index : {2, 3, 6}) {  // text, photo rows, far repeats
                Bytes actual = ours(inputs()[index], level, 0, 777, shape);
                Bytes expected = zlibDeflate(inputs()[index], level, 0, 777, shape);
                actual[1] = expected[1];
                ASSERT_EQ(actual, expected)
                    << "window bits " << shape.windowBits << " memory level " << shape.memLevel
                    << " level " << level << " input " << index;
            }
}

TEST(ZipEncoder, ResetStartsAFreshStream) {
    ZipEncoder encoder(9);
    ours(inputs()[6], 9, 0, 5000, {}, &encoder);
    EXPECT_EQ(ours(inputs()[2], 9, 0, kWhole, {}, &encoder),
              zlibDeflate(inputs()[2], 9, 0, kWhole));
}

TEST(ZipEncoder, HeaderOfEveryLevel) {
    for (int level = 0; level <= 9; ++level)
        for (int strategy : {0, 1, 2}) {
            Bytes coded = ours({}, level, strategy, kWhole);
            ASSERT_GE(coded.size(), 2u);
            EXPECT_EQ(coded[0], 0x78);
            EXPECT_EQ(coded[1], kFlg[level]) << "level " << level << " strategy " << strategy;
        }
}

TEST(ZipEncoder, LevelZeroInflatesBack) {
    for (const Bytes& input : inputs())
        for (int strategy : {0, 1, 2})
            for (size_t piece : {kWhole, size_t{777}}) {
                Bytes coded = ours(input, 0, strategy, piece);
                Bytes back(input.size() + 1);
                uLongf length = back.size();
                ASSERT_EQ(uncompress(back.data(), &length, coded.data(), coded.size()), Z_OK);
                back.resize(length);
                ASSERT_EQ(back, input) << "strategy " << strategy << " pieces of " << piece;
            }
}

}  // namespace
}  // namespace vivark
