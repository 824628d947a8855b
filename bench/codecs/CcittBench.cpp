// The CCITT codecs against libtiff's in one process: Group 4 decode and
// encode and Group 3 two-dimensional decode of an A4 page at 300 dots per
// inch (2480 x 3508) of text-like blocks. libtiff reads a strip of a TIFF it
// wrote once (memory-mapped by libtiff) and writes a one-strip TIFF per run.
// Every run checks its output; throughput is per byte of packed output rows
// (bytes_per_second), so the ratio of two benchmarks' rates is the speed-up.
#include <benchmark/benchmark.h>
#include <tiffio.h>

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "codecs/ByteSinks.h"
#include "codecs/ByteSources.h"
#include "codecs/CcittDecoder.h"
#include "codecs/CcittEncoder.h"

namespace vivark {
namespace {

constexpr uint32_t kWidth = 2480;
constexpr uint32_t kHeight = 3508;
constexpr size_t kRowBytes = (kWidth + 7) / 8;

using Bytes = std::vector<uint8_t>;

// Lines of "glyphs": small blocks of strokes with gaps, in text lines with
// margins, 1 = black.
const Bytes& page() {
    static const Bytes rows = [] {
        Bytes v(kRowBytes * kHeight, 0);
        std::mt19937 rng(7);
        auto set = [&](uint32_t x, uint32_t y) {
            v[y * kRowBytes + x / 8] |= uint8_t(0x80 >> (x % 8));
        };
        for (uint32_t line = 200; line + 40 < kHeight - 200; line += 50) {
            uint32_t x = 240;
            while (x < kWidth - 260) {
                const uint32_t glyph = 14 + rng() % 16;
                const uint32_t strokes = rng();
                for (uint32_t y = 0; y < 34; ++y)
                    for (uint32_t dx = 0; dx < glyph; ++dx)
                        if (((strokes >> ((dx / 3 + y / 6) % 32)) & 1) != 0 && (dx + y) % 5 != 0)
                            set(x + dx, line + y);
                x += glyph + 4 + (rng() % 7 == 0 ? 20 : 0);
            }
        }
        return v;
    }();
    return rows;
}

std::string tempPath(const char* name) {
    return "/tmp/vivark-ccitt-bench-" + std::to_string(getpid()) + name;
}

// libtiff's file of the page, one strip, and its raw strip.
struct Coded {
    std::string path;
    Bytes strip;
};

void writeTiff(const std::string& path, uint16_t compression, uint32_t t4) {
    TIFF* out = TIFFOpen(path.c_str(), "w");
    TIFFSetField(out, TIFFTAG_IMAGEWIDTH, kWidth);
    TIFFSetField(out, TIFFTAG_IMAGELENGTH, kHeight);
    TIFFSetField(out, TIFFTAG_BITSPERSAMPLE, 1);
    TIFFSetField(out, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(out, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    TIFFSetField(out, TIFFTAG_ROWSPERSTRIP, kHeight);
    TIFFSetField(out, TIFFTAG_COMPRESSION, compression);
    if (compression == COMPRESSION_CCITTFAX3) TIFFSetField(out, TIFFTAG_GROUP3OPTIONS, t4);
    TIFFWriteEncodedStrip(out, 0, const_cast<uint8_t*>(page().data()),
                          static_cast<tmsize_t>(page().size()));
    TIFFClose(out);
}

const Coded& coded(uint16_t compression, uint32_t t4) {
    static Coded g4, g3;
    Coded& c = compression == COMPRESSION_CCITTFAX4 ? g4 : g3;
    if (c.path.empty()) {
        TIFFSetWarningHandler(nullptr);
        c.path = tempPath(compression == COMPRESSION_CCITTFAX4 ? "-g4.tif" : "-g3.tif");
        writeTiff(c.path, compression, t4);
        TIFF* in = TIFFOpen(c.path.c_str(), "r");
        c.strip.resize(static_cast<size_t>(TIFFRawStripSize(in, 0)));
        TIFFReadRawStrip(in, 0, c.strip.data(), static_cast<tmsize_t>(c.strip.size()));
        TIFFClose(in);
    }
    return c;
}

void check(benchmark::State& state, const Bytes& rows) {
    if (rows != page()) state.SkipWithError("decoded rows differ from the page");
}

void ourDecode(benchmark::State& state, uint16_t compression, uint32_t t4, uint32_t mode) {
    const Coded& c = coded(compression, t4);
    Bytes out(page().size());
    for (auto _ : state) {
        MemorySource source(c.strip);
        CcittDecoder decoder(kWidth, mode);
        decoder.attach(&source);
        decoder.reset();
        decoder.decode(out.data(), out.size());
        benchmark::DoNotOptimize(out.data());
    }
    check(state, out);
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(out.size()));
}

void libtiffDecode(benchmark::State& state, uint16_t compression, uint32_t t4) {
    const Coded& c = coded(compression, t4);
    Bytes out(page().size());
    TIFF* in = TIFFOpen(c.path.c_str(), "rm");
    for (auto _ : state) {
        TIFFReadEncodedStrip(in, 0, out.data(), static_cast<tmsize_t>(out.size()));
        benchmark::DoNotOptimize(out.data());
    }
    TIFFClose(in);
    check(state, out);
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(out.size()));
}

void BM_G4Decode_Ours(benchmark::State& state) {
    ourDecode(state, COMPRESSION_CCITTFAX4, 0, ccitt::tiffMode(4, 0, 0));
}
void BM_G4Decode_Libtiff(benchmark::State& state) {
    libtiffDecode(state, COMPRESSION_CCITTFAX4, 0);
}
void BM_G3TwoDDecode_Ours(benchmark::State& state) {
    ourDecode(state, COMPRESSION_CCITTFAX3, GROUP3OPT_2DENCODING,
              ccitt::tiffMode(3, 0, GROUP3OPT_2DENCODING));
}
void BM_G3TwoDDecode_Libtiff(benchmark::State& state) {
    libtiffDecode(state, COMPRESSION_CCITTFAX3, GROUP3OPT_2DENCODING);
}

void BM_G4Encode_Ours(benchmark::State& state) {
    Bytes out;
    out.reserve(page().size());
    for (auto _ : state) {
        out.clear();
        MemorySink sink(out);
        CcittEncoder encoder(kWidth, ccitt::tiffMode(4, 0, 0) | ccitt::kEndOfPage);
        encoder.attach(&sink);
        encoder.reset();
        encoder.encode(page().data(), page().size());
        encoder.finish();
        encoder.close();
        benchmark::DoNotOptimize(out.data());
    }
    // What was written decodes to the page.
    Bytes back(page().size());
    MemorySource source(out);
    CcittDecoder decoder(kWidth, ccitt::tiffMode(4, 0, 0));
    decoder.attach(&source);
    decoder.reset();
    decoder.decode(back.data(), back.size());
    check(state, back);
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(page().size()));
}

void BM_G4Encode_Libtiff(benchmark::State& state) {
    const std::string path = tempPath("-g4-out.tif");
    for (auto _ : state) writeTiff(path, COMPRESSION_CCITTFAX4, 0);
    std::remove(path.c_str());
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(page().size()));
}

BENCHMARK(BM_G4Decode_Ours)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_G4Decode_Libtiff)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_G3TwoDDecode_Ours)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_G3TwoDDecode_Libtiff)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_G4Encode_Ours)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_G4Encode_Libtiff)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vivark
