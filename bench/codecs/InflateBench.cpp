// Inflate of the same zlib streams by our ZipDecoder, by zlib's inflate and by
// libdeflate's zlib decompressor, in one process. Streams: image-like 24-bit
// rows of 4 MiB at levels 6 and 9, and 4 MiB of text at level 6. Every run
// checks its output; throughput is per decoded byte, and each benchmark also
// reports x_zlib: zlib's CPU time on the same stream, run between its own
// runs, divided by its own CPU time.
#include <benchmark/benchmark.h>
#include <libdeflate.h>
#include <zlib.h>

#include <cstring>
#include <ctime>
#include <memory>
#include <random>
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

struct Stream {
    Bytes raw, coded;
};

// CPU time of this thread: the machine may be shared, wall time is not fair.
double cpuSeconds() {
    timespec t{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return double(t.tv_sec) + double(t.tv_nsec) * 1e-9;
}

double zlibInflate(const Stream& s, Bytes& out) {
    const double start = cpuSeconds();
    uLongf size = static_cast<uLongf>(out.size());
    if (uncompress(out.data(), &size, s.coded.data(), static_cast<uLong>(s.coded.size())) != Z_OK)
        return -1;
    return cpuSeconds() - start;
}

const Stream& stream(int which) {
    static std::unique_ptr<Stream> streams[3];
    if (!streams[which]) {
        auto s = std::make_unique<Stream>();
        s->raw = which == 2 ? text() : rows();
        uLongf size = compressBound(static_cast<uLong>(s->raw.size()));
        s->coded.resize(size);
        compress2(s->coded.data(), &size, s->raw.data(), static_cast<uLong>(s->raw.size()),
                  which == 1 ? 9 : 6);
        s->coded.resize(size);
        streams[which] = std::move(s);
    }
    return *streams[which];
}

const char* kNames[] = {"rows-level6", "rows-level9", "text-level6"};

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
        MemorySource source(s.coded);
        decoder->attach(&source);
        decoder->reset();
        decoder->decode(out.data(), out.size());
        decoder->finish();
        return true;
    });
}
BENCHMARK(BM_InflateVivark)->DenseRange(0, 2);

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
BENCHMARK(BM_InflateZlib)->DenseRange(0, 2);

void BM_InflateLibdeflate(benchmark::State& state) {
    libdeflate_decompressor* d = libdeflate_alloc_decompressor();
    measure(state, [&](const Stream& s, Bytes& out) {
        size_t actual = 0;
        return libdeflate_zlib_decompress(d, s.coded.data(), s.coded.size(), out.data(), out.size(),
                                          &actual) == LIBDEFLATE_SUCCESS &&
               actual == out.size();
    });
    libdeflate_free_decompressor(d);
}
BENCHMARK(BM_InflateLibdeflate)->DenseRange(0, 2);

}  // namespace
}  // namespace vivark
