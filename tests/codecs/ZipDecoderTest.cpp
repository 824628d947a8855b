// The inflater against zlib's streams (every level and strategy, sync-flushed
// streams with empty stored blocks, request and window splits), and
// hand-built streams for every ZIPERROR value and the cases zlib never writes
// (history reached before any data, a lone code of length 1).
#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <ostream>
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
        int rc = ::deflate(&z, at == input.size() ? Z_FINISH : Z_SYNC_FLUSH);
        EXPECT_TRUE(rc == Z_OK || rc == Z_STREAM_END);
    } while (at < input.size());
    out.resize(z.total_out);
    deflateEnd(&z);
    return out;
}

// Text-like words, 24-bit rows with noise, random bytes or long runs.
Bytes sampleInput(const std::string& kind, size_t size) {
    Bytes v(size);
    std::mt19937 rng(77);
    static const char* words[] = {"the ", "image ", "viewer ", "reads ", "rows,\r\n"};
    std::string s;
    while (kind == "text" && s.size() < size) s += words[rng() % 5];
    for (size_t i = 0; i < size; ++i) {
        size_t x = (i % 2991) / 3, y = i / 2991;
        v[i] = kind == "text" ? uint8_t(s[i])
               : kind == "rows"
                   ? (x < 300 ? uint8_t(y / 4 + i % 3 * 40) : uint8_t((x * y) >> 6 ^ (rng() & 3)))
               : kind == "runs" ? uint8_t((i / 5000) * 37)
                                : uint8_t(rng());
    }
    return v;
}

// Decodes `size` bytes in requests of `request` bytes from `step`-byte windows,
// finishes, and returns what came out; `position` receives where the source
// was left.
Bytes inflate(const Bytes& coded, size_t size, size_t request = 1 << 30, size_t step = 1 << 30,
              size_t* position = nullptr) {
    SlicedSource source(coded, step);
    ZipDecoder decoder;
    decoder.attach(&source);
    decoder.reset();
    Bytes out(size);
    for (size_t at = 0; at < size; at += request)
        decoder.decode(out.data() + at, std::min(request, size - at));
    decoder.finish();
    if (position != nullptr) *position = source.position();
    return out;
}

struct InputCase {
    const char* kind;
    size_t size;
};

// ctest lists a case by its kind and size, not by its raw bytes.
void PrintTo(const InputCase& c, std::ostream* os) {
    *os << c.kind << " of " << c.size << " bytes";
}

class ZipRoundTrip : public ::testing::TestWithParam<InputCase> {};

TEST_P(ZipRoundTrip, EveryLevelStrategyAndSplitDecodesToTheInput) {
    const InputCase& c = GetParam();
    const Bytes input = sampleInput(c.kind, c.size);
    const bool large = c.size > (1u << 20);
    for (int strategy : {Z_DEFAULT_STRATEGY, Z_FILTERED, Z_HUFFMAN_ONLY, Z_RLE, Z_FIXED})
        for (int level = 0; level <= 9; ++level) {
            if (large && level != 1 && level != 6 && level != 9) continue;
            Bytes coded = zlibCompress(input, level, strategy);
            coded.insert(coded.end(), {'T', 'A', 'I', 'L'});
            size_t position = 0;
            EXPECT_EQ(inflate(coded, input.size(), input.size() + 1, 1 << 30, &position), input)
                << "level " << level << " strategy " << strategy;
            EXPECT_EQ(position, coded.size() - 4) << "the source must stop after the trailer";
        }
    // Sync flushes leave empty stored blocks between the data.
    for (size_t sync : {size_t(0), size_t(5000)}) {
        Bytes coded = zlibCompress(input, 6, Z_DEFAULT_STRATEGY, sync);
        for (auto [request, step] : {std::pair<size_t, size_t>{1, 1 << 30},
                                     {7, 1},
                                     {4093, 13},
                                     {65537, 4096},
                                     {1 << 30, 3}}) {
            if ((large && request < 4093) || (c.size > 300000 && request == 1)) continue;
            EXPECT_EQ(inflate(coded, input.size(), request, step), input)
                << "request " << request << " step " << step << " sync " << sync;
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
    BitWriter& byte(uint8_t value) {
        while (count_ % 8 != 0) bit(0);
        return bits(value, 8);
    }
    // A zlib header with the method and window in `cmf` and a valid check.
    BitWriter& header(uint8_t cmf = 0x78) { return byte(cmf).byte(31 - (cmf * 256) % 31); }
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
    // A final dynamic block header whose code-length code gives symbols 0-12
    // 4 bits and 13-18 5 bits; each item is (symbol, extra bits, extra value).
    BitWriter& dynamic(bool final, uint32_t hlit, uint32_t hdist,
                       const std::vector<uint32_t>& lengths,
                       std::initializer_list<std::array<uint32_t, 3>> items = {}) {
        bits(final, 1).bits(2, 2).bits(hlit - 257, 5).bits(hdist - 1, 5).bits(19 - 4, 4);
        for (uint32_t i = 0; i < 19; ++i) bits(deflate::kCodeLengthOrder[i] < 13 ? 4 : 5, 3);
        auto item = [&](uint32_t s, uint32_t extraBits, uint32_t extra) {
            (s < 13 ? code(s, 4) : code(26 + s - 13, 5)).bits(extra, extraBits);
        };
        for (uint32_t l : lengths) item(l, 0, 0);
        for (const auto& i : items) item(i[0], i[1], i[2]);
        return *this;
    }
    Bytes take() {
        while (count_ % 8 != 0) bit(0);
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

// Literal/length lengths where only the given symbols have codes, then the
// given distance lengths.
std::vector<uint32_t> lengths(std::initializer_list<std::pair<uint32_t, uint32_t>> codes,
                              std::initializer_list<uint32_t> distances, size_t literals = 257) {
    std::vector<uint32_t> v(literals, 0);
    for (auto [symbol, length] : codes) v[symbol] = length;
    v.insert(v.end(), distances);
    return v;
}

enum class Stage { Reset, Decode, Finish };

TEST(ZipDecoder, EachBadStreamFailsWithItsValueAtItsStage) {
    struct Case {
        const char* name;
        Bytes coded;
        size_t request;
        Stage stage;
        ZIPERROR error;
    };
    using E = ZIPERROR;
    const Bytes abc = {'a', 'b', 'c'};
    BitWriter fixedAbc;
    fixedAbc.header().bits(1, 1).bits(1, 2).fixed('a').fixed('b').fixed('c').fixed(256);
    Bytes wrongTrailer = BitWriter(fixedAbc).trailer(abc).take();
    wrongTrailer.back() ^= 1;
    auto fixedBlock = [] { return BitWriter().header().bits(1, 1).bits(1, 2).fixed('a'); };
    // A final dynamic block with the given header counts, then zeros.
    auto counts = [](uint32_t hlit, uint32_t hdist) {
        return BitWriter().header().bits(5, 3).bits(hlit - 257, 5).bits(hdist - 1, 5).bits(0, 16);
    };
    // A final dynamic block with the given code lengths, then `first` and zeros.
    auto codes = [](uint32_t hdist, const std::vector<uint32_t>& lengths, uint32_t first = 0) {
        return BitWriter().header().dynamic(true, 257, hdist, lengths).bits(first, 1).bits(0, 16);
    };
    BitWriter repeats;
    repeats.header().dynamic(true, 257, 1, {}, {{{18, 7, 127}}, {{18, 7, 127}}, {{18, 7, 0}}});
    const std::vector<Case> cases = {
        {"HeaderCheck", {0x78, 0x9D, 0x03, 0x00}, 1, Stage::Reset, E::HeaderCheck},
        {"Method9", BitWriter().header(0x79).take(), 1, Stage::Reset, E::BadMethod},
        {"Window64K", BitWriter().header(0x88).take(), 1, Stage::Reset, E::BadMethod},
        {"BlockType3", BitWriter().header().bits(1, 1).bits(3, 2).take(), 1, Stage::Decode,
         E::BadBlockType},
        {"StoredLengthMismatch",
         BitWriter().header().bits(1, 1).bits(0, 2).byte(3).byte(0).byte(0xFC).byte(0xFE).take(), 1,
         Stage::Decode, E::InvalidData},
        {"FixedLength286", fixedBlock().fixed(286).fixed(0).take(), 2, Stage::Decode,
         E::InvalidData},
        {"FixedDistance30", fixedBlock().fixed(257).code(30, 5).take(), 4, Stage::Decode,
         E::InvalidData},
        {"HlitOver286", counts(287, 1).take(), 1, Stage::Decode, E::InvalidData},
        {"HdistOver30", counts(257, 32).take(), 1, Stage::Decode, E::InvalidData},
        {"RepeatPastTheEnd", repeats.take(), 1, Stage::Decode, E::InvalidData},
        {"IncompleteLiteralCode", codes(2, lengths({{'a', 2}, {256, 2}}, {1, 1})).take(), 1,
         Stage::Decode, E::IncompleteCodeSet},
        {"IncompleteDistanceCode", codes(1, lengths({{'a', 1}, {256, 1}}, {2})).take(), 1,
         Stage::Decode, E::IncompleteCodeSet},
        {"OversubscribedLiteralCode",
         codes(2, lengths({{'a', 1}, {'b', 1}, {256, 1}}, {1, 1})).take(), 1, Stage::Decode,
         E::TooManyCodes},
        // A lone code of length 1 is accepted; its unused twin is invalid data.
        {"LoneCodesUnusedTwin", codes(1, lengths({{256, 1}}, {1}), 1).take(), 1, Stage::Decode,
         E::InvalidData},
        {"WrongTrailer", wrongTrailer, 3, Stage::Finish, E::ChecksumMismatch},
        {"PastTheFinalBlock", BitWriter(fixedAbc).trailer(abc).take(), 4, Stage::Decode,
         E::DataIncomplete},
    };
    const char* const kMessages[] = {"Compression flag modulo check failed",
                                     "Invalid compression method",
                                     "Invalid block type",
                                     "Invalid data",
                                     "Huffman code set incomplete",
                                     "More Huffman codes than bits",
                                     "Adler32 checksum error",
                                     "Image data incomplete"};
    for (const Case& c : cases) {
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
        EXPECT_EQ(messageText(msg::ZipFirst + static_cast<uint32_t>(c.error)),
                  std::string("Error in ZIP compressed data: ") +
                      kMessages[static_cast<uint32_t>(c.error)]);
    }
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
    EXPECT_EQ(inflate(coded, 3, 3, 1 << 30, &position), data);
    EXPECT_EQ(position, coded.size());
}

TEST(ZipDecoder, FinishConsumesUnreadDataAndStopsAfterTheTrailer) {
    const Bytes input = sampleInput("text", 50000);
    for (int level : {0, 6}) {
        Bytes coded = zlibCompress(input, level, Z_DEFAULT_STRATEGY);
        const size_t streamSize = coded.size();
        coded.insert(coded.end(), {1, 2, 3, 4, 5, 6, 7, 8, 9});
        for (size_t step : {size_t(1), size_t(5), size_t(1) << 30}) {
            size_t position = 0;
            Bytes out = inflate(coded, 1000, 1000, step, &position);
            EXPECT_TRUE(std::equal(out.begin(), out.end(), input.begin()));
            EXPECT_EQ(position, streamSize) << "level " << level << " step " << step;
        }
    }
}

TEST(ZipDecoder, CasesZlibNeverWritesDecode) {
    // 'a', then a match of length 4 from 6 bytes back: history before the
    // first byte reads as zeros.
    const Bytes early = {'a', 0, 0, 0, 0};
    BitWriter w;
    w.header().bits(1, 1).bits(1, 2).fixed('a').fixed(258).code(4, 5).bits(1, 1).fixed(256);
    EXPECT_EQ(inflate(w.trailer(early).take(), 5), early);

    // Only 'q' has a literal/length code, of length 1: the block never ends,
    // but its codes decode.
    const Bytes lone =
        BitWriter().header().dynamic(false, 257, 1, lengths({{'q', 1}}, {1})).bits(0, 3).take();
    MemorySource source(lone);
    ZipDecoder decoder;
    decoder.attach(&source);
    decoder.reset();
    Bytes out(3);
    decoder.decode(out.data(), 3);
    EXPECT_EQ(out, (Bytes{'q', 'q', 'q'}));

    // Every distance length 0: literals decode, and a length symbol (which
    // would need a distance) is invalid data.
    const auto noDistances = lengths({{'a', 1}, {256, 2}, {257, 2}}, {0}, 258);
    BitWriter good;
    good.header().dynamic(true, 258, 1, noDistances).code(0, 1).code(0, 1).code(2, 2);
    EXPECT_EQ(inflate(good.trailer({'a', 'a'}).take(), 2), (Bytes{'a', 'a'}));
    BitWriter bad;
    bad.header().dynamic(true, 258, 1, noDistances).code(0, 1).code(3, 2).bits(0, 16);
    EXPECT_EQ(test::thrownBy<ZIPERROR>([&] { inflate(bad.take(), 4); }),
              std::optional(ZIPERROR::InvalidData));
}

TEST(ZipDecoder, TruncatedStreamIsTheSourcesError) {
    const Bytes input = sampleInput("rows", 20000);
    Bytes coded = zlibCompress(input, 9, Z_DEFAULT_STRATEGY);
    for (size_t keep : {size_t(1), coded.size() / 2, coded.size() - 2}) {
        Bytes cut(coded.begin(), coded.begin() + keep);
        EXPECT_EQ(test::thrownBy<INFILEERROR>([&] { inflate(cut, input.size()); }),
                  std::optional(INFILEERROR::UnexpectedEnd))
            << "kept " << keep;
    }
}

}  // namespace
}  // namespace vivark
