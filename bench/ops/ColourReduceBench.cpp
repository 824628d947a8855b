// 24-bit to 256-colour reduction on a 1920 x 1280 photo-like picture, for
// each way the user can ask for it. Each run reports pixels per second and
// the result's mean squared error per channel against the source (counter
// "mse"). No peer library does this in process; colour-bench.sh runs
// ImageMagick's -colors on a similar picture beside the vivark tool.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>

#include "core/Image.h"
#include "ops/ColourReduce.h"

namespace vivark {
namespace {

constexpr uint32_t kWidth = 1920, kHeight = 1280;

// Smooth shading in several hues, a bright disc with a soft edge, a darker
// ground and a little noise: the colour spread of an outdoor photograph.
Image photoLike() {
    Image image(kWidth, kHeight, 24);
    uint32_t seed = 7;
    for (uint32_t y = 0; y < kHeight; ++y) {
        uint8_t* row = image.plane.mutableRow(y);
        for (uint32_t x = 0; x < kWidth; ++x) {
            seed = seed * 1103515245u + 12345u;
            const int noise = int(seed >> 29) - 4;
            const double fx = double(x) / kWidth, fy = double(y) / kHeight;
            double r = 40 + 150 * fy + 40 * fx, g = 60 + 90 * fx * (1 - fy), b = 180 - 120 * fy;
            const double dx = fx - 0.7, dy = fy - 0.3;
            const double disc = std::clamp((0.02 - dx * dx - dy * dy) * 400, 0.0, 1.0);
            r += disc * (230 - r), g += disc * (110 - g), b += disc * (40 - b);
            if (fy > 0.68) r = 30 + 40 * fx, g = 150 - 100 * (fy - 0.68), b = 40 + 20 * fx;
            auto level = [noise](double v) { return uint8_t(std::clamp(int(v) + noise, 0, 255)); };
            row[3 * x] = level(b), row[3 * x + 1] = level(g), row[3 * x + 2] = level(r);
        }
    }
    return image;
}

const Image& picture() {
    static const Image image = photoLike();
    return image;
}

double meanSquaredError(const Image& source, const Image& reduced) {
    double sum = 0;
    for (uint32_t y = 0; y < kHeight; ++y) {
        const uint8_t* s = source.plane.row(y);
        const uint8_t* r = reduced.plane.row(y);
        for (uint32_t x = 0; x < kWidth; ++x) {
            const Colour c = reduced.palette[r[x]];
            const double db = double(s[3 * x]) - blueOf(c), dg = double(s[3 * x + 1]) - greenOf(c),
                         dr = double(s[3 * x + 2]) - redOf(c);
            sum += db * db + dg * dg + dr * dr;
        }
    }
    return sum / (3.0 * kWidth * kHeight);
}

void reduce(benchmark::State& state, PaletteType palette, DitherType dither) {
    const Image& source = picture();
    Image reduced;
    for (auto _ : state) {
        reduced = source;
        benchmark::DoNotOptimize(reduceColours(reduced, 256, uint32_t(palette), uint32_t(dither)));
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * kWidth * kHeight);
    state.counters["mse"] = meanSquaredError(source, reduced);
}

void AdaptiveDiffusion(benchmark::State& state) {
    reduce(state, PaletteType::Adaptive, DitherType::Diffusion);
}
void AdaptiveNearest(benchmark::State& state) {
    reduce(state, PaletteType::Adaptive, DitherType::None);
}
void Cube884Ordered(benchmark::State& state) {
    reduce(state, PaletteType::Cube884, DitherType::Ordered);
}
void SystemDiffusion(benchmark::State& state) {
    reduce(state, PaletteType::FixedSystem, DitherType::Diffusion);
}

BENCHMARK(AdaptiveDiffusion)->Unit(benchmark::kMillisecond);
BENCHMARK(AdaptiveNearest)->Unit(benchmark::kMillisecond);
BENCHMARK(Cube884Ordered)->Unit(benchmark::kMillisecond);
BENCHMARK(SystemDiffusion)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace vivark
