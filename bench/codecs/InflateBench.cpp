// Inflate of the same zlib streams by our ZipDecoder, by zlib's inflate and by
// libdeflate's zlib decompressor, in one process. Streams: image-like 24-bit
// rows of 4 MiB at levels 6 and 9, 4 MiB of text at level 6, and a noisy
// photo-like picture cut in 6144-byte rows, each its own level-9 stream with
// its own dynamic tables, as TIFF strips of one row are (mostly literals and
// short matches; the per-stream set-up counts as much as the loop). Every run
// checks its output; throughput is per decoded byte, and each benchmark also
// reports x_zlib: zlib's CPU time on the same stream, run between its own
// runs, divided by its own CPU time.
#include <benchmark/benchmark.h>
#include <libdeflate.h>
#include <zlib.h>

#include <cstring>
#include <ctime>
#include <iterator>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "codecs/ByteSources.h"
#include "codecs/ZipDecoder.h"

namespace vivark {
namespace {

using Bytes = std::vector<uint8_t>;
constexpr size_t kSize = 4u << 20;

Bytes rows() {
    Bytes v(kSize);
    std::mt19937 rng(3);
    const size_t stride = 3 * 1500;
    for (size_t i = 0; i < kSize; ++i) {
        size_t x = (i % stride) / 3, y = i / stride, c = i % 3;
        v[i] = x < 500    ? uint8_t(y / 8 + c * 60)
               : x < 1000 ? uint8_t((x + y) * (c + 1) / 4)
                          : uint8_t((x * y) >> 8 ^ (rng() & 7));
    }
    return v;
}

Bytes text() {
    static const char* words[] = {"image ",   "viewer ", "the ",    "reads ",     "rows ",   "of ",
                                  "pixels, ", "and ",    "writes ", "files.\r\n", "colour ", "a "};
    std::mt19937 rng(4);
    std::string s;
    while (s.size() < kSize) s += words[rng() % 12];
    return Bytes(s.begin(), s.begin() + kSize);
}

// 2048 x 1536 RGB, gradients with three bits of noise per sample.
Bytes photo() {
    Bytes v(size_t{2048} * 1536 * 3);
    uint32_t s = 7;
    for (size_t y = 0, i = 0; y < 1536; ++y) {
        for (size_t x = 0; x < 2048; ++x, i += 3) {
            s = s * 1103515245u + 12345u;
            const uint8_t noise = uint8_t(s >> 29);
            v[i] = uint8_t(x / 8 + noise);
            v[i + 1] = uint8_t((x + y) / 12 + noise);
            v[i + 2] = uint8_t(y / 6 + (x * y >> 12));
        }
    }
    return v;
}

// One stream, or (with `pieces`) consecutive streams, piece i decoding to
// `pieceRaw` bytes from `pieces[i]` coded bytes.
struct Stream {
    Bytes raw, coded;
    size_t pieceRaw = 0;
    std::vector<size_t> pieces;
};

// Calls run(codedPiece, codedSize, rawPiece, rawSize) for each stream of `s`.
template <class Run>
bool eachPiece(const Stream& s, Bytes& out, Run run) {
    if (s.pieces.empty()) return run(s.coded.data(), s.coded.size(), out.data(), out.size());
    const uint8_t* coded = s.coded.data();
    uint8_t* raw = out.data();
    for (size_t size : s.pieces) {
        if (!run(coded, size, raw, s.pieceRaw)) return false;
        coded += size;
        raw += s.pieceRaw;
    }
    return true;
}

// CPU time of this thread: the machine may be shared, wall time is not fair.
double cpuSeconds() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
}

double zlibInflate(const Stream& s, Bytes& out) {
    const double start = cpuSeconds();
    const bool ok = eachPiece(s, out, [](const uint8_t* in, size_t n, uint8_t* raw, size_t want) {
        uLongf size = static_cast<uLongf>(want);
        return uncompress(raw, &size, in, static_cast<uLong>(n)) == Z_OK;
    });
    return ok ? cpuSeconds() - start : -1;
}

const char* kNames[] = {"rows-level6", "rows-level9", "text-level6", "photo-strips-level9"};
constexpr int kStreams = std::size(kNames);

const Stream& stream(int which) {
    static std::unique_ptr<Stream> streams[kStreams];
    if (!streams[which]) {
        auto s = std::make_unique<Stream>();
        s->raw = which == 3 ? photo() : which == 2 ? text() : rows();
        if (which == 3) s->pieceRaw = 2048 * 3;
        const size_t piece = which == 3 ? s->pieceRaw : s->raw.size();
        const int level = which == 0 || which == 2 ? 6 : 9;
        for (size_t at = 0; at < s->raw.size(); at += piece) {
            uLongf size = compressBound(static_cast<uLong>(piece));
            const size_t before = s->coded.size();
            s->coded.resize(before + size);
            compress2(s->coded.data() + before, &size, s->raw.data() + at,
                      static_cast<uLong>(piece), level);
            s->coded.resize(before + size);
            if (which == 3) s->pieces.push_back(size);
        }
        streams[which] = std::move(s);
    }
    return *streams[which];
}

// Runs `run` on the stream and, between its timed runs, zlib on the same
// stream, so that both see the same load on a shared machine.
template <class Run>
void measure(benchmark::State& state, Run run) {
    const Stream& s = stream(static_cast<int>(state.range(0)));
    state.SetLabel(kNames[state.range(0)]);
    Bytes out(s.raw.size()), scratch(s.raw.size());
    double ours = 0, zlib = 0;
    for (auto _ : state) {
        const double start = cpuSeconds();
        if (!run(s, out)) state.SkipWithError("inflate failed");
        benchmark::DoNotOptimize(out.data());
        ours += cpuSeconds() - start;
        state.PauseTiming();
        zlib += zlibInflate(s, scratch);
        state.ResumeTiming();
    }
    if (out != s.raw) state.SkipWithError("output differs");
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(s.raw.size()));
    state.counters["x_zlib"] = zlib / ours;
}

void BM_InflateVivark(benchmark::State& state) {
    auto decoder = std::make_unique<ZipDecoder>();
    measure(state, [&](const Stream& s, Bytes& out) {
        return eachPiece(s, out, [&](const uint8_t* in, size_t n, uint8_t* raw, size_t want) {
            MemorySource source(std::span<const uint8_t>(in, n));
            decoder->attach(&source);
            decoder->reset();
            decoder->decode(raw, want);
            decoder->finish();
            return true;
        });
    });
}
BENCHMARK(BM_InflateVivark)->DenseRange(0, kStreams - 1);

void BM_InflateVivarkRows(benchmark::State& state) {
    // As the PNG reader asks: one 4500-byte row at a time.
    auto decoder = std::make_unique<ZipDecoder>();
    measure(state, [&](const Stream& s, Bytes& out) {
        MemorySource source(s.coded);
        decoder->attach(&source);
        decoder->reset();
        for (size_t at = 0; at < out.size(); at += 4500)
            decoder->decode(out.data() + at, std::min<size_t>(4500, out.size() - at));
        decoder->finish();
        return true;
    });
}
BENCHMARK(BM_InflateVivarkRows)->DenseRange(0, 2);

void BM_InflateZlib(benchmark::State& state) {
    measure(state, [](const Stream& s, Bytes& out) { return zlibInflate(s, out) >= 0; });
}
BENCHMARK(BM_InflateZlib)->DenseRange(0, kStreams - 1);

void BM_InflateLibdeflate(benchmark::State& state) {
    libdeflate_decompressor* d = libdeflate_alloc_decompressor();
    measure(state, [&](const Stream& s, Bytes& out) {
        return eachPiece(s, out, [&](const uint8_t* in, size_t n, uint8_t* raw, size_t want) {
            size_t actual = 0;
            return libdeflate_zlib_decompress(d, in, n, raw, want, &actual) == LIBDEFLATE_SUCCESS &&
                   actual == want;
        });
    });
    libdeflate_free_decompressor(d);
}
BENCHMARK(BM_InflateLibdeflate)->DenseRange(0, kStreams - 1);

}  // namespace
}  // namespace vivark
