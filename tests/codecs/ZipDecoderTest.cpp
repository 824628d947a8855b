// The inflater against zlib's streams (every level and strategy, sync-flushed
// streams with empty stored blocks, many request and window splits), and
// hand-built streams for every ZIPERROR value, the source position after the
// trailer, and the cases zlib never writes (history reached before any data,
// a lone code of length 1).
#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "codecs/ByteSources.h"
#include "codecs/DeflateTables.h"
#include "codecs/ZipDecoder.h"
#include "core/Errors.h"
#include "core/Messages.h"
#include "support/SlicedSource.h"
#include "support/Throws.h"

namespace vivark {
namespace {

using Bytes = std::vector<uint8_t>;

using test::SlicedSource;

Bytes zlibCompress(const Bytes& input, int level, int strategy, size_t syncEvery = 0) {
    z_stream z{};
    EXPECT_EQ(deflateInit2(&z, level, Z_DEFLATED, 15, 8, strategy), Z_OK);
    Bytes out(deflateBound(&z, input.size()) + 64 + (syncEvery ? input.size() / syncEvery * 8 : 0));
    z.next_out = out.data();
    z.avail_out = static_cast<uInt>(out.size());
    size_t at = 0;
    do {
        size_t n = syncEvery != 0 ? std::min(syncEvery, input.size() - at) : input.size();
        z.next_in = const_cast<Bytef*>(input.data() + at);
        z.avail_in = static_cast<uInt>(n);
        at += n;
        int flush = at == input.size() ? Z_FINISH : Z_SYNC_FLUSH;
        int rc = ::deflate(&z, flush);
        EXPECT_TRUE(rc == Z_OK || rc == Z_STREAM_END);
    } while (at < input.size());
    out.resize(z.total_out);
    deflateEnd(&z);
    return out;
}

Bytes sampleInput(const std::string& kind, size_t size) {
    Bytes v(size);
    std::mt19937 rng(77);
    if (kind == "text") {
        static const char* words[] = {"the ", "image ", "viewer ", "reads ", "rows, ",
                                      "and ", "saves ", "files ",  "in ",    "colour.\r\n"};
        std::string s;
        while (s.size() < size) s += words[rng() % 10];
        std::copy_n(s.begin(), size, v.begin());
    } else if (kind == "rows") {
        // 24-bit rows: gradients, flat areas and a little noise.
        const size_t stride = 3 * 997;
        for (size_t i = 0; i < size; ++i) {
            size_t x = (i % stride) / 3, y = i / stride, c = i % 3;
            v[i] = x < 300   ? uint8_t(y / 4 + c * 40)
                   : x < 700 ? uint8_t(x + y * c)
                             : uint8_t((x * y) >> 6 ^ (rng() & 3));
        }
    } else if (kind == "random") {
        for (auto& b : v) b = static_cast<uint8_t>(rng());
    } else if (kind == "runs") {
        for (size_t i = 0; i < size; ++i) v[i] = static_cast<uint8_t>((i / 5000) * 37);
    }
    return v;
}

// Decodes `size` bytes in requests of `request` bytes from `step`-byte windows,
// finishes, and returns what came out; `position` receives where the source
// was left.
Bytes inflate(const Bytes& coded, size_t size, size_t request, size_t step,
              size_t* position = nullptr) {
    SlicedSource source(coded, step);
    auto decoder = std::make_unique<ZipDecoder>();
    decoder->attach(&source);
    decoder->reset();
    Bytes out(size);
    for (size_t at = 0; at < size; at += request)
        decoder->decode(out.data() + at, std::min(request, size - at));
    decoder->finish();
    if (position != nullptr) *position = source.position();
    return out;
}

struct InputCase {
    const char* kind;
    size_t size;
};

class ZipRoundTrip : public ::testing::TestWithParam<InputCase> {};

TEST_P(ZipRoundTrip, EveryLevelAndStrategyDecodesToTheInput) {
    const InputCase& c = GetParam();
    const Bytes input = sampleInput(c.kind, c.size);
    const bool large = c.size > (1u << 20);
    for (int strategy : {Z_DEFAULT_STRATEGY, Z_FILTERED, Z_HUFFMAN_ONLY, Z_RLE, Z_FIXED}) {
        for (int level = 0; level <= 9; ++level) {
            if (large && level != 1 && level != 6 && level != 9) continue;
            Bytes coded = zlibCompress(input, level, strategy);
            coded.insert(coded.end(), {'T', 'A', 'I', 'L'});
            size_t position = 0;
            EXPECT_EQ(inflate(coded, input.size(), input.size() + 1, 1 << 30, &position), input)
                << "level " << level << " strategy " << strategy;
            EXPECT_EQ(position, coded.size() - 4) << "the source must stop after the trailer";
        }
    }
}

TEST_P(ZipRoundTrip, RequestAndWindowSplitsDoNotChangeTheOutput) {
    const InputCase& c = GetParam();
    const Bytes input = sampleInput(c.kind, c.size);
    const bool large = c.size > (1u << 20);
    for (size_t sync : {size_t(0), size_t(5000)}) {
        Bytes coded = zlibCompress(input, 6, Z_DEFAULT_STRATEGY, sync);
        coded.insert(coded.end(), {'T', 'A', 'I', 'L'});
        struct Split {
            size_t request, step;
        };
        for (Split s : {Split{1, 1 << 30}, Split{7, 1}, Split{4093, 13}, Split{65537, 4096},
                        Split{1 << 30, 3}}) {
            if (large && s.request < 4093) continue;
            if (c.size > 300000 && s.request == 1) continue;
            size_t position = 0;
            EXPECT_EQ(inflate(coded, input.size(), s.request, s.step, &position), input)
                << "request " << s.request << " step " << s.step << " sync " << sync;
            EXPECT_EQ(position, coded.size() - 4);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Inputs, ZipRoundTrip,
                         ::testing::Values(InputCase{"text", 0}, InputCase{"text", 1},
                                           InputCase{"text", 100000}, InputCase{"rows", 300000},
                                           InputCase{"random", 100000}, InputCase{"runs", 200000},
                                           InputCase{"rows", 3000000}),
                         [](const auto& info) {
                             return std::string(info.param.kind) + std::to_string(info.param.size);
                         });

// Writes bits least significant first, and Huffman codes most significant
// bit first, as Deflate packs them.
class BitWriter {
  public:
    BitWriter& bits(uint32_t value, uint32_t count) {
        for (uint32_t i = 0; i < count; ++i) bit((value >> i) & 1);
        return *this;
    }
    BitWriter& code(uint32_t value, uint32_t length) {
        for (uint32_t i = length; i-- > 0;) bit((value >> i) & 1);
        return *this;
    }
    BitWriter& align() {
        while (count_ % 8 != 0) bit(0);
        return *this;
    }
    BitWriter& byte(uint8_t value) { return align().bits(value, 8); }
    // A zlib header with the method and window in `cmf` and a valid check.
    BitWriter& header(uint8_t cmf = 0x78) {
        uint8_t flg = static_cast<uint8_t>(31 - (cmf * 256) % 31);
        return byte(cmf).byte(flg);
    }
    BitWriter& trailer(const Bytes& data) {
        uint32_t sum = static_cast<uint32_t>(adler32(1, data.data(), uInt(data.size())));
        for (int shift = 24; shift >= 0; shift -= 8) byte(static_cast<uint8_t>(sum >> shift));
        return *this;
    }
    // A fixed-code literal/length symbol.
    BitWriter& fixed(uint32_t symbol) {
        if (symbol < 144) return code(0x30 + symbol, 8);
        if (symbol < 256) return code(0x190 + symbol - 144, 9);
        if (symbol < 280) return code(symbol - 256, 7);
        return code(0xC0 + symbol - 280, 8);
    }
    Bytes take() {
        align();
        return out_;
    }

  private:
    void bit(uint32_t b) {
        if (count_ % 8 == 0) out_.push_back(0);
        out_.back() |= static_cast<uint8_t>(b << (count_ % 8));
        ++count_;
    }
    Bytes out_;
    size_t count_ = 0;
};

// A dynamic block header: code-length symbols 0-12 take 4 bits, 13-18 take 5
// (a complete set), so each item is (symbol, extra bits, extra value).
struct LengthItem {
    uint32_t symbol, extraBits = 0, extra = 0;
};
BitWriter& dynamicHeader(BitWriter& w, bool final, uint32_t hlit, uint32_t hdist,
                         const std::vector<LengthItem>& items) {
    w.bits(final, 1).bits(2, 2).bits(hlit - 257, 5).bits(hdist - 1, 5).bits(19 - 4, 4);
    for (uint32_t i = 0; i < 19; ++i) w.bits(deflate::kCodeLengthOrder[i] < 13 ? 4 : 5, 3);
    for (const LengthItem& item : items) {
        if (item.symbol < 13)
            w.code(item.symbol, 4);
        else
            w.code(26 + item.symbol - 13, 5);
        w.bits(item.extra, item.extraBits);
    }
    return w;
}
std::vector<LengthItem> plainLengths(const std::vector<uint8_t>& lengths) {
    std::vector<LengthItem> items;
    for (uint8_t l : lengths) items.push_back({l});
    return items;
}

// Literal/length lengths where only the given symbols have codes.
std::vector<uint8_t> literalLengths(std::initializer_list<std::pair<uint32_t, uint8_t>> codes) {
    std::vector<uint8_t> lengths(257, 0);
    for (auto [symbol, length] : codes) lengths[symbol] = length;
    return lengths;
}

enum class Stage { Reset, Decode, Finish };

struct BadStream {
    const char* name;
    Bytes coded;
    size_t request;
    Stage stage;
    ZIPERROR error;
    const char* message;
};

std::vector<BadStream> badStreams() {
    std::vector<BadStream> cases;
    auto add = [&](const char* name, Bytes coded, size_t request, Stage stage, ZIPERROR error,
                   const char* message) {
        cases.push_back({name, std::move(coded), request, stage, error, message});
    };
    const char* const kCheck = "Error in ZIP compressed data: Compression flag modulo check failed";
    const char* const kMethod = "Error in ZIP compressed data: Invalid compression method";
    const char* const kType = "Error in ZIP compressed data: Invalid block type";
    const char* const kData = "Error in ZIP compressed data: Invalid data";
    const char* const kIncomplete = "Error in ZIP compressed data: Huffman code set incomplete";
    const char* const kTooMany = "Error in ZIP compressed data: More Huffman codes than bits";
    const char* const kAdler = "Error in ZIP compressed data: Adler32 checksum error";
    const char* const kShort = "Error in ZIP compressed data: Image data incomplete";

    add("HeaderCheck", {0x78, 0x9D, 0x03, 0x00}, 1, Stage::Reset, ZIPERROR::HeaderCheck, kCheck);
    add("Method9", BitWriter().header(0x79).take(), 1, Stage::Reset, ZIPERROR::BadMethod, kMethod);
    add("Window64K", BitWriter().header(0x88).take(), 1, Stage::Reset, ZIPERROR::BadMethod,
        kMethod);
    add("BlockType3", BitWriter().header().bits(1, 1).bits(3, 2).take(), 1, Stage::Decode,
        ZIPERROR::BadBlockType, kType);
    add("StoredLengthMismatch",
        BitWriter().header().bits(1, 1).bits(0, 2).byte(3).byte(0).byte(0xFC).byte(0xFE).take(), 1,
        Stage::Decode, ZIPERROR::InvalidData, kData);
    for (uint32_t symbol : {286u, 287u})
        add(symbol == 286 ? "FixedLength286" : "FixedLength287",
            BitWriter().header().bits(1, 1).bits(1, 2).fixed('a').fixed(symbol).fixed(0).take(), 2,
            Stage::Decode, ZIPERROR::InvalidData, kData);
    add("FixedDistance30",
        BitWriter().header().bits(1, 1).bits(1, 2).fixed('a').fixed(257).code(30, 5).take(), 4,
        Stage::Decode, ZIPERROR::InvalidData, kData);
    {
        BitWriter w;
        w.header().bits(1, 1).bits(2, 2).bits(287 - 257, 5).bits(0, 5).bits(0, 4);
        add("HlitOver286", w.bits(0, 12).take(), 1, Stage::Decode, ZIPERROR::InvalidData, kData);
    }
    {
        BitWriter w;
        w.header().bits(1, 1).bits(2, 2).bits(0, 5).bits(31, 5).bits(0, 4);
        add("HdistOver30", w.bits(0, 12).take(), 1, Stage::Decode, ZIPERROR::InvalidData, kData);
    }
    {
        BitWriter w;
        w.header();
        dynamicHeader(w, true, 257, 1, {{18, 7, 127}, {18, 7, 127}, {18, 7, 0}});
        add("RepeatPastTheEnd", w.take(), 1, Stage::Decode, ZIPERROR::InvalidData, kData);
    }
    {
        // Code-length code with a single code of length 2.
        BitWriter w;
        w.header().bits(1, 1).bits(2, 2).bits(0, 5).bits(0, 5).bits(0, 4);
        w.bits(0, 3).bits(0, 3).bits(2, 3).bits(0, 3).bits(0, 16);
        add("IncompleteLengthCode", w.take(), 1, Stage::Decode, ZIPERROR::IncompleteCodeSet,
            kIncomplete);
    }
    {
        BitWriter w;
        w.header();
        auto lengths = literalLengths({{'a', 2}, {256, 2}});
        lengths.push_back(1);
        lengths.push_back(1);
        dynamicHeader(w, true, 257, 2, plainLengths(lengths));
        add("IncompleteLiteralCode", w.bits(0, 16).take(), 1, Stage::Decode,
            ZIPERROR::IncompleteCodeSet, kIncomplete);
    }
    {
        BitWriter w;
        w.header();
        auto lengths = literalLengths({{'a', 1}, {'b', 1}, {256, 1}});
        lengths.push_back(1);
        lengths.push_back(1);
        dynamicHeader(w, true, 257, 2, plainLengths(lengths));
        add("OversubscribedLiteralCode", w.bits(0, 16).take(), 1, Stage::Decode,
            ZIPERROR::TooManyCodes, kTooMany);
    }
    {
        BitWriter w;
        w.header();
        auto lengths = literalLengths({{'a', 1}, {256, 1}});
        lengths.push_back(2);
        dynamicHeader(w, true, 257, 1, plainLengths(lengths));
        add("IncompleteDistanceCode", w.bits(0, 16).take(), 1, Stage::Decode,
            ZIPERROR::IncompleteCodeSet, kIncomplete);
    }
    {
        // A lone code of length 1 is accepted; its unused twin is invalid data.
        BitWriter w;
        w.header();
        auto lengths = literalLengths({{256, 1}});
        lengths.push_back(1);
        dynamicHeader(w, true, 257, 1, plainLengths(lengths));
        add("LoneCodesUnusedTwin", w.bits(1, 1).bits(0, 16).take(), 1, Stage::Decode,
            ZIPERROR::InvalidData, kData);
    }
    {
        Bytes data = {'a', 'b', 'c'};
        BitWriter w;
        w.header().bits(1, 1).bits(1, 2).fixed('a').fixed('b').fixed('c').fixed(256);
        Bytes coded = w.trailer(data).take();
        coded.back() ^= 1;
        add("WrongTrailer", coded, 3, Stage::Finish, ZIPERROR::ChecksumMismatch, kAdler);
        add("PastTheFinalBlock", w.take(), 4, Stage::Decode, ZIPERROR::DataIncomplete, kShort);
    }
    return cases;
}

TEST(ZipDecoder, EachBadStreamFailsWithItsValueAtItsStage) {
    for (const BadStream& c : badStreams()) {
        SCOPED_TRACE(c.name);
        MemorySource source(c.coded);
        ZipDecoder decoder;
        decoder.attach(&source);
        Stage reached = Stage::Reset;
        auto error = test::thrownBy<ZIPERROR>([&] {
            decoder.reset();
            reached = Stage::Decode;
            Bytes out(c.request);
            decoder.decode(out.data(), out.size());
            reached = Stage::Finish;
            decoder.finish();
        });
        EXPECT_EQ(error, std::optional(c.error));
        EXPECT_EQ(reached, c.stage);
        EXPECT_EQ(messageText(msg::ZipFirst + static_cast<uint32_t>(c.error)), c.message);
    }
}

Bytes decodeAll(const Bytes& coded, size_t size, size_t* position = nullptr) {
    return inflate(coded, size, size == 0 ? 1 : size, 1 << 30, position);
}

TEST(ZipDecoder, StoredBlocksOfLengthZeroAreSkipped) {
    const Bytes data = {'x', 'y', 'z'};
    BitWriter w;
    w.header();
    w.bits(0, 1).bits(0, 2).byte(0).byte(0).byte(0xFF).byte(0xFF);  // empty, not final
    w.bits(0, 1).bits(0, 2).byte(3).byte(0).byte(0xFC).byte(0xFF);
    for (uint8_t b : data) w.byte(b);
    w.bits(1, 1).bits(0, 2).byte(0).byte(0).byte(0xFF).byte(0xFF);  // empty, final
    Bytes coded = w.trailer(data).take();
    size_t position = 0;
    EXPECT_EQ(decodeAll(coded, 3, &position), data);
    EXPECT_EQ(position, coded.size());
}

TEST(ZipDecoder, FinishConsumesUnreadDataAndStopsAfterTheTrailer) {
    const Bytes input = sampleInput("text", 50000);
    for (int level : {0, 6}) {
        Bytes coded = zlibCompress(input, level, Z_DEFAULT_STRATEGY);
        const size_t streamSize = coded.size();
        coded.insert(coded.end(), {1, 2, 3, 4, 5, 6, 7, 8, 9});
        for (size_t step : {size_t(1), size_t(5), size_t(1) << 30}) {
            SlicedSource source(coded, step);
            ZipDecoder decoder;
            decoder.attach(&source);
            decoder.reset();
            Bytes out(1000);
            decoder.decode(out.data(), out.size());
            EXPECT_TRUE(std::equal(out.begin(), out.end(), input.begin()));
            decoder.finish();
            EXPECT_EQ(source.position(), streamSize) << "level " << level << " step " << step;
        }
    }
}

TEST(ZipDecoder, HistoryBeforeTheFirstByteReadsAsZeros) {
    // 'a', then a match of length 4 from 6 bytes back: four zeros.
    BitWriter w;
    w.header().bits(1, 1).bits(1, 2).fixed('a').fixed(258).code(4, 5).bits(1, 1).fixed(256);
    const Bytes expected = {'a', 0, 0, 0, 0};
    EXPECT_EQ(decodeAll(w.trailer(expected).take(), 5), expected);
}

TEST(ZipDecoder, LoneCodeOfLengthOneIsAccepted) {
    // Only 'q' has a literal/length code (and one distance code), each of
    // length 1: such a block can never end, but its codes decode.
    BitWriter w;
    w.header();
    auto lengths = literalLengths({{'q', 1}});
    lengths.push_back(1);
    dynamicHeader(w, false, 257, 1, plainLengths(lengths));
    w.bits(0, 3);
    const Bytes expected = {'q', 'q', 'q'};
    const Bytes coded = w.take();
    MemorySource source(coded);
    ZipDecoder decoder;
    decoder.attach(&source);
    decoder.reset();
    Bytes out(3);
    decoder.decode(out.data(), 3);
    EXPECT_EQ(out, expected);
}

TEST(ZipDecoder, LiteralBlockWithoutDistanceCodes) {
    // Every distance length 0: the literals decode, and a length symbol
    // (which would need a distance) is invalid data.
    auto lengths = literalLengths({{'a', 1}, {256, 2}});
    lengths.push_back(2);  // length symbol 257
    lengths.push_back(0);  // the only distance length
    const Bytes expected = {'a', 'a'};
    BitWriter good;
    good.header();
    dynamicHeader(good, true, 258, 1, plainLengths(lengths));
    good.code(0, 1).code(0, 1).code(2, 2);  // 'a', 'a', end of block (code 10)
    EXPECT_EQ(decodeAll(good.trailer(expected).take(), 2), expected);

    BitWriter bad;
    bad.header();
    dynamicHeader(bad, true, 258, 1, plainLengths(lengths));
    bad.code(0, 1).code(3, 2).bits(0, 16);  // 'a', length symbol 257 (code 11)
    EXPECT_EQ(test::thrownBy<ZIPERROR>([&] { decodeAll(bad.take(), 4); }),
              std::optional(ZIPERROR::InvalidData));
}

TEST(ZipDecoder, TruncatedStreamIsTheSourcesError) {
    const Bytes input = sampleInput("rows", 20000);
    Bytes coded = zlibCompress(input, 9, Z_DEFAULT_STRATEGY);
    for (size_t keep : {size_t(1), coded.size() / 2, coded.size() - 2}) {
        Bytes cut(coded.begin(), coded.begin() + keep);
        EXPECT_EQ(test::thrownBy<INFILEERROR>([&] { decodeAll(cut, input.size()); }),
                  std::optional(INFILEERROR::UnexpectedEnd))
            << "kept " << keep;
    }
}

}  // namespace
}  // namespace vivark
