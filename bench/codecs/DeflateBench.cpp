// Deflate compression with ZipEncoder against zlib's deflate, in one process,
// on PNG-like image rows, on a photo-like picture filtered as a PNG writer
// filters it, and on text of a few megabytes, at levels 6 and 9.
// Throughput is per input byte; "ratio" is input size over output size, and
// our output is checked to be zlib's, byte for byte.
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "codecs/ByteSinks.h"
#include "codecs/ZipEncoder.h"

namespace vivark {
namespace {

using Bytes = std::vector<uint8_t>;

// 1600 x 800 RGB rows, each led by a PNG filter byte: the left half a smooth
// picture with noise (sub-filtered), the right half flat graphics (up-filtered).
Bytes imageRows() {
    constexpr uint32_t kWidth = 1600, kHeight = 800;
    std::mt19937 rng(21);
    Bytes out;
    Bytes row(kWidth * 3), previous(kWidth * 3);
    for (uint32_t y = 0; y < kHeight; ++y) {
        for (uint32_t x = 0; x < kWidth; ++x)
            for (uint32_t c = 0; c < 3; ++c) {
                uint8_t value;
                if (x < kWidth / 2)
                    value = static_cast<uint8_t>(120 + 70 * std::sin(x * 0.01 + y * 0.017 + c) +
                                                 rng() % 7);
                else
                    value = static_cast<uint8_t>(((x / 40 + y / 30) % 4) * 60 + c * 10);
                row[x * 3 + c] = value;
            }
        out.push_back(2);  // filter byte; the halves are filtered by hand below
        for (uint32_t i = 0; i < row.size(); ++i) {
            bool photo = i < row.size() / 2;
            uint8_t predictor = photo ? (i >= 3 ? row[i - 3] : 0) : previous[i];
            out.push_back(static_cast<uint8_t>(row[i] - predictor));
        }
        previous = row;
    }
    return out;
}

// 2048 x 1536 RGB, a smooth photo-like picture (overlapping gradients and
// a soft blob under sensor-like noise that grows from clean at the top to
// grainy at the bottom), every row Paeth-filtered behind its filter byte.
Bytes photoRows() {
    constexpr int kWidth = 2048, kHeight = 1536;
    std::mt19937 rng(23);
    std::normal_distribution<double> noise(0.0, 1.0);
    Bytes out;
    Bytes row(kWidth * 3), previous(kWidth * 3, 0);
    auto paeth = [](int a, int b, int c) {
        const int p = a + b - c, pa = std::abs(p - a), pb = std::abs(p - b), pc = std::abs(p - c);
        return pa <= pb && pa <= pc ? a : pb <= pc ? b : c;
    };
    for (int y = 0; y < kHeight; ++y) {
        const double grain = 0.2 + 2.0 * y / kHeight;
        for (int x = 0; x < kWidth; ++x) {
            const double sky = 0.5 + 0.5 * std::sin(x * 0.0021 + y * 0.0013);
            const double blob = std::exp(
                -((x - 1300.0) * (x - 1300.0) + (y - 700.0) * (y - 700.0)) / (2 * 260.0 * 260.0));
            for (int c = 0; c < 3; ++c) {
                const double v = 40 + 150 * sky * (1.0 - 0.2 * c) + 60 * blob * (c == 0) +
                                 25 * std::sin(y * 0.011 + c) + grain * noise(rng);
                row[x * 3 + c] = static_cast<uint8_t>(std::clamp(v, 0.0, 255.0));
            }
        }
        out.push_back(4);
        for (int i = 0; i < kWidth * 3; ++i) {
            const int a = i >= 3 ? row[i - 3] : 0, c = i >= 3 ? previous[i - 3] : 0;
            out.push_back(static_cast<uint8_t>(row[i] - paeth(a, previous[i], c)));
        }
        previous = row;
    }
    return out;
}

Bytes text() {
    static const char* const words[] = {
        "image ",      "viewer ",    "converts ",  "files ",  "of ",    "forty ",    "formats ",
        "and ",        "saves ",     "them ",      "in ",     "batch ", "scripts ",  "palette ",
        "colour ",     "reduce ",    "rotate ",    "mirror ", "the ",   "a ",        "with ",
        "dithering. ", "\r\n",       "resize ",    "filter ", "JPEG ",  "lossless ", "transform ",
        "wallpaper ",  "slideshow ", "thumbnail ", "scanner "};
    std::mt19937 rng(22);
    Bytes out;
    while (out.size() < (4u << 20)) {
        const char* w = words[rng() % (sizeof words / sizeof words[0])];
        out.insert(out.end(), w, w + std::strlen(w));
    }
    return out;
}

const Bytes& sample(int64_t kind) {
    static const Bytes rows = imageRows();
    static const Bytes words = text();
    static const Bytes photo = photoRows();
    return kind == 0 ? rows : kind == 1 ? words : photo;
}

Bytes zlibDeflate(const Bytes& input, int level) {
    z_stream z{};
    deflateInit2(&z, level, Z_DEFLATED, 15, 8, Z_DEFAULT_STRATEGY);
    Bytes out(deflateBound(&z, input.size()));
    z.next_in = const_cast<Bytef*>(input.data());
    z.avail_in = static_cast<uInt>(input.size());
    z.next_out = out.data();
    z.avail_out = static_cast<uInt>(out.size());
    ::deflate(&z, Z_FINISH);
    out.resize(z.total_out);
    deflateEnd(&z);
    return out;
}

Bytes vivarkDeflate(ZipEncoder& encoder, const Bytes& input) {
    Bytes out;
    out.reserve(input.size() / 2);
    MemorySink sink(out);
    encoder.attach(&sink);
    encoder.reset();
    encoder.encode(input.data(), input.size());
    encoder.finish();
    encoder.close();
    return out;
}

void report(benchmark::State& state, const Bytes& input, size_t coded) {
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(input.size()));
    state.counters["ratio"] = double(input.size()) / double(coded);
}

// Arguments: level, input (0 image rows, 1 text, 2 photo).
void BM_DeflateVivark(benchmark::State& state) {
    const int level = int(state.range(0));
    const Bytes& input = sample(state.range(1));
    const Bytes reference = zlibDeflate(input, level);
    auto encoder = std::make_unique<ZipEncoder>(level);
    Bytes out;
    for (auto _ : state) {
        out = vivarkDeflate(*encoder, input);
        benchmark::DoNotOptimize(out.data());
    }
    if (out != reference) state.SkipWithError("output differs from zlib's");
    report(state, input, out.size());
}
BENCHMARK(BM_DeflateVivark)->ArgsProduct({{6, 9}, {0, 1, 2}})->Unit(benchmark::kMillisecond);

void BM_DeflateZlib(benchmark::State& state) {
    const int level = int(state.range(0));
    const Bytes& input = sample(state.range(1));
    size_t coded = 0;
    for (auto _ : state) {
        Bytes out = zlibDeflate(input, level);
        benchmark::DoNotOptimize(out.data());
        coded = out.size();
    }
    report(state, input, coded);
}
BENCHMARK(BM_DeflateZlib)->ArgsProduct({{6, 9}, {0, 1, 2}})->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vivark
